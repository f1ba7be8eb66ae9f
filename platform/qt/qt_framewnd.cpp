// SPDX-License-Identifier: MIT
#include "platform/qt/qt_framewnd.h"

#include "platform/qt/qt_cstring.h"

#include <QDialog>
#include <memory>

FramePeer::FramePeer(CFrameWnd* owner, const CREATESTRUCT& cs) : m_widget(new FrameWidget(owner, cs))
{
    WindowPeer::SetText(ToQString(cs.title));
}

FramePeer::~FramePeer()
{
    if (!m_widget)
        return;
    m_widget->Detach();
    // A box that is still open is on the stack, so it must not be deleted with its parent. Removing the
    // parent also ends the box.
    for (QDialog* const box : m_widget->findChildren<QDialog*>(QString(), Qt::FindDirectChildrenOnly))
        box->setParent(nullptr);
    m_widget->hide();
    m_widget->deleteLater();
}

FrameWidget* FrameOf(const CWnd* window)
{
    const auto* peer = PeerOf<FramePeer>(window);
    return peer ? peer->Frame() : nullptr;
}

void CFrameWnd::MakePeer(const CREATESTRUCT& cs)
{
    m_peer = std::make_unique<FramePeer>(this, cs);
}

void CFrameWnd::PlaceClient(CPoint corner, CSize client)
{
    if (FrameWidget* widget = FrameOf(this))
        widget->PlaceClient(corner, client);
}

void CFrameWnd::ShowFullScreen(bool on)
{
    if (FrameWidget* widget = FrameOf(this))
        widget->ShowFullScreen(on);
}

bool CFrameWnd::IsFullScreen() const
{
    const FrameWidget* widget = FrameOf(this);
    return widget && widget->IsFullScreen();
}
