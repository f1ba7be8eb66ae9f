// SPDX-License-Identifier: MIT
// The peers of dialogs and of their controls. They connect CDialog and the control classes to their Qt
// widgets.
#pragma once

#include "platform/qt/dialogwidget.h"
#include "platform/qt/qt_wnd.h"

#include <QPointer>

class DialogPeer final : public WindowPeer
{
public:
    DialogPeer(CDialog* owner, const DialogTemplate& contents, QWidget* parent);
    ~DialogPeer() override;
    [[nodiscard]] QWidget* Widget() const override { return m_widget; }
    [[nodiscard]] DialogWidget* Dialog() const { return m_widget; }

private:
    QPointer<DialogWidget> m_widget;
};

// The peer of a control. The dialog owns the widget.
class ControlPeer final : public WindowPeer
{
public:
    explicit ControlPeer(QWidget* widget) : m_widget(widget) {}
    [[nodiscard]] QWidget* Widget() const override { return m_widget; }
    [[nodiscard]] QString Text() const override;
    void SetText(const QString& text) override;

private:
    QPointer<QWidget> m_widget;
};

[[nodiscard]] DialogWidget* DialogOf(const CWnd* window); // null if it is no open dialog
