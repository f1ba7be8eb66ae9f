// SPDX-License-Identifier: MIT
// Calls the hooks of testing.h when a dialog is shown.
#include "platform/testing/testing.h"

#include "platform/qt/qt_dialog.h"
#include "platform/qt/qt_filedialog.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <QWindow>

namespace
{
constexpr int kHookWaitMs = 2000;

// Calls `hook` from the dialog's loop, after the dialog is on the screen and has the focus. If the dialog is
// still open after the hook, calls `end`.
void RunWhenReady(QDialog* dialog, std::function<void()> hook, std::function<void()> end)
{
    auto* timer = new QTimer(dialog);
    QElapsedTimer since;
    since.start();
    QObject::connect(timer, &QTimer::timeout, dialog,
                     [dialog = QPointer(dialog), hook = std::move(hook), end = std::move(end), timer, since] {
                         const QWindow* window = dialog->windowHandle();
                         const bool ready = window && window->isExposed() && dialog->isActiveWindow();
                         if (!ready && since.elapsed() < kHookWaitMs)
                             return;
                         timer->stop();
                         hook();
                         if (dialog && dialog->isVisible())
                             end();
                     });
    timer->start(0);
}

// Filters the events of the whole program to find each dialog that is shown.
class DialogWatcher : public QObject
{
public:
    static DialogWatcher& Get()
    {
        static DialogWatcher watcher;
        if (qApp)
            qApp->installEventFilter(&watcher);
        return watcher;
    }

    std::function<void(CDialog&)> hook;
    std::function<void(CFileDialog&)> file_hook;

protected:
    bool eventFilter(QObject* object, QEvent* event) override
    {
        if (event->type() != QEvent::Show || event->spontaneous()) // spontaneous: from the window manager
            return false;
        if (auto* dialog = dynamic_cast<DialogWidget*>(object); dialog && hook)
            RunWhenReady(
                dialog, [this, owner = dialog->Owner()] { hook(*owner); },
                [owner = dialog->Owner()] { owner->EndDialog(IDCANCEL); });
        else if (auto* file_dialog = dynamic_cast<FileDialogWidget*>(object); file_dialog && file_hook)
            RunWhenReady(
                file_dialog, [this, owner = file_dialog->Owner()] { file_hook(*owner); },
                [file_dialog] { file_dialog->reject(); });
        return false;
    }
};
} // namespace

void SetDialogHook(std::function<void(CDialog&)> hook)
{
    DialogWatcher::Get().hook = std::move(hook);
}

void SetFileDialogHook(std::function<void(CFileDialog&)> hook)
{
    DialogWatcher::Get().file_hook = std::move(hook);
}
