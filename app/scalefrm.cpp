// SPDX-License-Identifier: MIT
#include "app/scalefrm.h"

const CRuntimeClass CScaleFrame::classRecord{"CScaleFrame", &CPageFrame::classRecord,
                                             CreateObjectOf<CScaleFrame>};

// Sets the page view's pointer to null, unless it points to another frame.
void CScaleFrame::PostNcDestroy()
{
    if (m_ppBackPointer && *m_ppBackPointer == this)
        *m_ppBackPointer = nullptr;
    m_ppBackPointer = nullptr;
    CPageFrame::PostNcDestroy();
}
