// SPDX-License-Identifier: MIT
// The peer of a window: the part of a CWnd that uses Qt. It connects the window to its widget.
#pragma once

#include "platform/wnd.h"

#include <QString>
#include <QWidget>

// A widget outlives its peer: the event loop deletes it later, because a handler of the widget may be
// running.
class WindowPeer
{
public:
    WindowPeer() = default;
    WindowPeer(const WindowPeer&) = delete;
    WindowPeer& operator=(const WindowPeer&) = delete;
    virtual ~WindowPeer();
    [[nodiscard]] virtual QWidget* Widget() const = 0;
    // The title of a window, or the text of a control.
    [[nodiscard]] virtual QString Text() const;
    virtual void SetText(const QString& text);
};

// Returns the peer of a window if it is a Peer, else null.
template <class Peer>
[[nodiscard]] Peer* PeerOf(const CWnd* window)
{
    return window ? dynamic_cast<Peer*>(window->Peer()) : nullptr;
}
