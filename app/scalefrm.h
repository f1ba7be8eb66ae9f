// SPDX-License-Identifier: MIT
// The frame of the overview: a second top-level window, without menu and status bar. CLumentaView creates it
// and keeps a pointer to it.
#pragma once

#include "app/pageframe.h"

class CScaleFrame : public CPageFrame
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CScaleFrame() { WatchFile(true); } // it closes with its page, so it always has one

    int32_t m_nClientWidth = 0;  // requested width of the client area in pixels
    int32_t m_nClientHeight = 0; // requested height
    // The address of the page view's pointer to this frame. That pointer becomes null when the frame is
    // destroyed.
    CScaleFrame** m_ppBackPointer = nullptr;

protected:
    void PostNcDestroy() override;
};
