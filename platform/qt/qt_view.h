// SPDX-License-Identifier: MIT
// The peer of a view. It connects a CView to its widget, and to the pane with the scroll bars.
#pragma once

#include "platform/qt/panewidget.h"
#include "platform/qt/qt_wnd.h"
#include "platform/qt/viewwidget.h"

#include <QMainWindow>
#include <QPointer>

class ViewPeer final : public WindowPeer
{
public:
    ViewPeer(CView* owner, QMainWindow* frame);
    ~ViewPeer() override;
    [[nodiscard]] QWidget* Widget() const override { return m_pane ? m_pane->View() : nullptr; }
    [[nodiscard]] PaneWidget* Pane() const { return m_pane; }
    [[nodiscard]] ViewWidget* View() const { return m_pane ? m_pane->View() : nullptr; }

private:
    QPointer<PaneWidget> m_pane;
};

[[nodiscard]] ViewWidget* ViewOf(const CWnd* window); // null if it has none
[[nodiscard]] PaneWidget* PaneOf(const CWnd* window); // null if it has none
