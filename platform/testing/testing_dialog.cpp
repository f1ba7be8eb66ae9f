// SPDX-License-Identifier: MIT
// The functions of testing.h for dialogs.
#include "platform/testing/testing.h"

#include "platform/qt/dialogitems.h"
#include "platform/qt/namelist.h"
#include "platform/qt/qt_cstring.h"
#include "platform/qt/qt_dialog.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QProgressBar>
#include <QStyleOptionButton>

// An internal function of Qt. Offers a key to access letters and shortcuts first, as Qt does with keys from
// the display.
extern bool qt_sendShortcutOverrideEvent(QObject* object, ulong timestamp, int key,
                                         Qt::KeyboardModifiers modifiers, const QString& text, bool repeated,
                                         ushort count);

namespace
{
void PressKey(const QPointer<DialogWidget>& dialog, int key, Qt::KeyboardModifiers modifiers,
              const QString& text)
{
    QWidget* const popup = QApplication::activePopupWidget();
    const QPointer<QWidget> target = popup                   ? popup
                                     : !dialog               ? nullptr
                                     : dialog->focusWidget() ? dialog->focusWidget()
                                                             : dialog.data();
    if (!target)
        return;
    if (!popup && qt_sendShortcutOverrideEvent(target, 0, key, modifiers, text, false, 1))
        return;
    QKeyEvent press(QEvent::KeyPress, key, modifiers, text);
    QCoreApplication::sendEvent(target, &press);
    if (!target)
        return;
    QKeyEvent release(QEvent::KeyRelease, key, modifiers, text);
    QCoreApplication::sendEvent(target, &release);
}

void Click(const QPointer<QWidget>& widget, QPoint point, Qt::KeyboardModifiers modifiers, bool twice)
{
    // A user moves the mouse a little during the second click.
    constexpr QEvent::Type kClicks[] = {QEvent::MouseButtonPress, QEvent::MouseButtonRelease,
                                        QEvent::MouseButtonDblClick, QEvent::MouseMove,
                                        QEvent::MouseButtonRelease};
    for (int i = 0; widget && i < (twice ? 5 : 2); ++i) {
        const bool moves = kClicks[i] == QEvent::MouseMove;
        if (moves)
            point += QPoint(0, 1);
        const bool down = kClicks[i] != QEvent::MouseButtonRelease;
        QMouseEvent event(kClicks[i], QPointF(point), QPointF(widget->mapToGlobal(point)),
                          moves ? Qt::NoButton : Qt::LeftButton, down ? Qt::LeftButton : Qt::NoButton,
                          modifiers);
        QCoreApplication::sendEvent(widget, &event);
    }
}

// Returns the name that assistive technology reads out, in quotation marks. For a combo box, Qt's accessible
// name is its current entry, so this returns its label.
QString QuotedName(QWidget* widget)
{
    const QAccessibleInterface* object = QAccessible::queryAccessibleInterface(widget);
    QString name = object ? object->text(QAccessible::Name) : QString();
    if (object && qobject_cast<QComboBox*>(widget))
        for (const auto& relation : object->relations(QAccessible::Label))
            name = relation.first->text(QAccessible::Name);
    return QStringLiteral(" \"%1\"").arg(name);
}

QString DescribeItem(const DialogItem& item, QWidget* widget)
{
    const QString number = QString::number(item.id) + QLatin1Char(' ');
    const auto describe = [&](const char* kind, const QString& content) {
        return number + QLatin1String(kind) + QuotedName(widget) +
               (widget->hasFocus() ? QStringLiteral(" [keys]") : QString()) +
               (content.isEmpty() ? QString() : QLatin1Char(' ') + content);
    };
    if (const auto* list = dynamic_cast<const NameList*>(widget)) {
        int selected = 0;
        for (const QItemSelectionRange& range : list->selectionModel()->selection())
            selected += range.height();
        return describe("list",
                        QStringLiteral("%1 of %2 selected").arg(selected).arg(list->model()->rowCount()));
    }
    if (const auto* combo = qobject_cast<const QComboBox*>(widget))
        return describe("combo", combo->currentText());
    if (const auto* edit = qobject_cast<const QLineEdit*>(widget))
        return describe("number", edit->text());
    if (const auto* check = qobject_cast<const QCheckBox*>(widget))
        return describe("check", check->isChecked() ? QStringLiteral("on") : QStringLiteral("off"));
    if (qobject_cast<const QAbstractButton*>(widget))
        return describe("button", {});
    if (const auto* text = qobject_cast<const QPlainTextEdit*>(widget))
        return describe("text", text->toPlainText().replace(QLatin1Char('\n'), QLatin1String(" | ")));
    if (const auto* progress = qobject_cast<const QProgressBar*>(widget))
        return describe("progress", QString::number(progress->value()));
    if (const auto* chart = dynamic_cast<const BarChart*>(widget))
        return describe("bars", chart->accessibleDescription());
    const auto* label = qobject_cast<const QLabel*>(widget);
    return number + (label && !label->text().isEmpty() ? label->text() : QStringLiteral("(empty)"));
}
} // namespace

void PressDialogKeys(CDialog& dialog, std::initializer_list<const char*> keys)
{
    const QPointer<DialogWidget> widget = DialogOf(&dialog);
    for (const char* name : keys) {
        const QKeyCombination combination = QKeySequence(QString::fromLatin1(name))[0];
        const int key = combination.key();
        const bool types = combination.keyboardModifiers() == Qt::NoModifier && key < Qt::Key_Escape;
        PressKey(widget, key, combination.keyboardModifiers(),
                 types ? QString(QChar(key)).toLower() : QString());
        QCoreApplication::processEvents();
    }
}

void TypeText(CDialog& dialog, const char* text)
{
    const QPointer<DialogWidget> widget = DialogOf(&dialog);
    for (const QChar c : QString::fromUtf8(text))
        PressKey(widget, c.toUpper().unicode(), Qt::NoModifier, QString(c));
}

void ClickControl(CDialog& dialog, UINT id)
{
    const DialogWidget* widget = DialogOf(&dialog);
    QWidget* const control = widget ? widget->Control(id) : nullptr;
    if (!control)
        return;
    QPoint point = control->rect().center();
    if (const auto* check = qobject_cast<const QCheckBox*>(control)) {
        QStyleOptionButton option;
        option.initFrom(check);
        point = check->style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, check).center();
    }
    Click(control, point, Qt::NoModifier, false);
}

void ClickEntry(CDialog& dialog, UINT id, int index, bool control, bool twice)
{
    const DialogWidget* widget = DialogOf(&dialog);
    auto* view = widget ? dynamic_cast<QAbstractItemView*>(widget->Control(id)) : nullptr;
    if (auto* combo = widget ? qobject_cast<QComboBox*>(widget->Control(id)) : nullptr) {
        combo->showPopup();
        view = combo->view();
    }
    if (!view)
        return;
    const QModelIndex entry = view->model()->index(index, 0);
    view->scrollTo(entry);
    const QPoint point = view->visualRect(entry).center();
    Click(view->viewport(), point, control ? Qt::ControlModifier : Qt::NoModifier, twice);
}

CString ShownEntry(CDialog& dialog, UINT id, int index)
{
    const DialogWidget* widget = DialogOf(&dialog);
    const auto* view = widget ? dynamic_cast<NameList*>(widget->Control(id)) : nullptr;
    return view ? FromQString(view->model()->index(index, 0).data().toString()) : CString{};
}

std::vector<std::string> DescribeDialog(CDialog& dialog)
{
    std::vector<std::string> lines;
    const DialogWidget* widget = DialogOf(&dialog);
    if (!widget)
        return lines;
    lines.push_back(widget->windowTitle().toStdString());
    for (const DialogItem& item : widget->Contents().items)
        if (QWidget* control = item.id != 0 ? widget->Control(item.id) : nullptr)
            lines.push_back(DescribeItem(item, control).toStdString());
    return lines;
}
