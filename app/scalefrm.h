// The scaled window's frame: a further top-level window, with neither menu nor bars.
#pragma once

#include "app/pageframe.h"

// The factor at which a page fits into half the screen's width and into its height, so that both windows can
// stand side by side: a multiple of 8. On a screen that is too small for that, the largest there is.
int32_t ChooseScale(CSize page, CSize screen);

class CScaleFrame : public CPageFrame
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CScaleFrame() { WatchFile(true); } // it closes with its page

    int32_t m_nClientWidth = 0; // wanted for the client area
    int32_t m_nClientHeight = 0;
    CScaleFrame** m_ppBackPointer = nullptr; // the owner's pointer to this frame, which is cleared at its end

protected:
    void PostNcDestroy() override;
};
