// SPDX-License-Identifier: MIT
// The status bar of a frame: a message pane, and panes of fixed width. The frame sets the texts.
#pragma once

#include "platform/framewnd.h"
#include "platform/resources.h"
#include "platform/wnd.h"

#include <span>

class CStatusBar : public CWnd
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CStatusBar();
    ~CStatusBar() override;

    // Makes the bar in a frame. style and id have no effect. Returns false if `parent` has no window.
    [[nodiscard]] bool Create(CFrameWnd* parent, uint32_t style = WS_CHILD | WS_VISIBLE | CBRS_BOTTOM,
                              UINT id = 59393);
    // Makes one pane for each number. ID_SEPARATOR is the message pane, which takes the free width. The
    // others are as wide as their string resource. Returns false if the bar has no window.
    [[nodiscard]] bool SetIndicators(std::span<const UINT> ids);
    bool SetPaneText(int index, const CString& text); // shown at once; false if there is no such pane
    [[nodiscard]] CString GetPaneText(int index) const;
    void EnablePane(int index, bool on); // a disabled pane is blank
    [[nodiscard]] int GetPaneCount() const;
    [[nodiscard]] UINT GetPaneId(int index) const;
};
