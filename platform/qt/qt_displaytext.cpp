// SPDX-License-Identifier: MIT
#include "platform/qt/qt_displaytext.h"

QString Showable(QString text)
{
    for (QChar& c : text) {
        const char16_t code = c.unicode();
        if (c.category() == QChar::Other_Control || (code >= 0x2028 && code <= 0x202e) ||
            (code >= 0x2066 && code <= 0x2069) || code == 0x200e || code == 0x200f || code == 0x061c)
            c = QChar(QChar::ReplacementCharacter);
    }
    return text;
}

QString ToolTipOf(const QString& text)
{
    return text.toHtmlEscaped().prepend(QLatin1String("<span>"));
}
