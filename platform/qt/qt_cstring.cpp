// SPDX-License-Identifier: MIT
#include "platform/qt/qt_cstring.h"

QString ToQString(const CString& text)
{
    return QString::fromUtf8(text.c_str(), text.GetLength());
}

CString FromQString(const QString& text)
{
    return CString{text.toStdString()};
}
