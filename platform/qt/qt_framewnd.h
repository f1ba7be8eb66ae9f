// SPDX-License-Identifier: MIT
// The peer of a frame. It connects a CFrameWnd to its widget.
#pragma once

#include "platform/qt/framewidget.h"
#include "platform/qt/qt_wnd.h"

#include <QPointer>

class FramePeer final : public WindowPeer
{
public:
    FramePeer(CFrameWnd* owner, const CREATESTRUCT& cs);
    ~FramePeer() override;
    [[nodiscard]] QWidget* Widget() const override { return m_widget; }
    [[nodiscard]] FrameWidget* Frame() const { return m_widget; }

private:
    QPointer<FrameWidget> m_widget;
};

[[nodiscard]] FrameWidget* FrameOf(const CWnd* window); // null if it is no frame
