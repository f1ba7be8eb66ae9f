// SPDX-License-Identifier: MIT
// The widget of a dialog. Receives a template, and makes a control for each item. Sends the notifications of
// the controls to the CDialog, as messages.
#pragma once

#include "platform/dialog.h"
#include "platform/resources.h"

#include <QBasicTimer>
#include <QDialog>
#include <QHash>

class DialogWidget : public QDialog
{
public:
    DialogWidget(CDialog* owner, const DialogTemplate& contents, QWidget* parent);

    // Called when the dialog has ended. No message is sent to its object after this.
    void Detach() { m_owner = nullptr; }
    [[nodiscard]] CDialog* Owner() const { return m_owner; }
    [[nodiscard]] const DialogTemplate& Contents() const { return m_contents; }
    [[nodiscard]] QWidget* Control(UINT id) const { return m_controls.value(id); } // null if there is none
    [[nodiscard]] QWidget* FirstControl() const { return m_first; }
    // Sends the notification to the dialog object.
    void Notify(UINT id, UINT code);
    void StartWork();
    void StopWork();

    void reject() override; // called for Escape and the window's close button

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    [[nodiscard]] QWidget* MakeItem(const DialogItem& item);

    CDialog* m_owner;
    const DialogTemplate& m_contents;
    QHash<UINT, QWidget*> m_controls;
    QWidget* m_first = nullptr;
    QBasicTimer m_work;
    bool m_is_working = false; // OnWork is running
    bool m_wants_work = false; // StartWork was called, and the work has not ended
};
