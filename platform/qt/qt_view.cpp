// SPDX-License-Identifier: MIT
#include "platform/qt/qt_view.h"

#include "platform/qt/qt_framewnd.h"

#include <utility>

ViewPeer::ViewPeer(CView* owner, QMainWindow* frame) : m_pane(new PaneWidget(owner, frame))
{
    frame->setCentralWidget(m_pane);
    m_pane->View()->setFocus();
}

ViewPeer::~ViewPeer()
{
    if (!m_pane)
        return;
    m_pane->View()->Detach();
    m_pane->hide();
    m_pane->deleteLater();
}

ViewWidget* ViewOf(const CWnd* window)
{
    const auto* peer = PeerOf<ViewPeer>(window);
    return peer ? peer->View() : nullptr;
}

PaneWidget* PaneOf(const CWnd* window)
{
    const auto* peer = PeerOf<ViewPeer>(window);
    return peer ? peer->Pane() : nullptr;
}

void CView::MakePeer(CFrameWnd* frame)
{
    m_peer = std::make_unique<ViewPeer>(this, FrameOf(frame));
}

void CView::SetOverlay(std::vector<OverlayShape> shapes)
{
    if (ViewWidget* view = ViewOf(this))
        view->SetOverlay(std::move(shapes));
}

void CView::OnActivateView(bool activate, CView*, CView*)
{
    ViewWidget* view = ViewOf(this);
    if (activate && view && !view->hasFocus())
        view->setFocus();
}

void CScrollView::SetPicture(CSize total, CSize page, CSize line)
{
    if (PaneWidget* pane = PaneOf(this))
        pane->SetPicture(total, page, line);
}
