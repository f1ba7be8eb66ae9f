#include "app/scalefrm.h"

#include "app/pagedraw.h"

#include <algorithm>

const CRuntimeClass CScaleFrame::classRecord{"CScaleFrame", &CPageFrame::classRecord,
                                             CreateObjectOf<CScaleFrame>};

int32_t ChooseScale(CSize page, CSize screen)
{
    constexpr int64_t kStep = 8;
    const auto needed = [](int64_t size, int64_t room) {
        room = std::max<int64_t>(room, 1);
        return (size + room - 1) / room;
    };
    const int64_t factor = std::max(needed(page.cx, screen.cx / 2), needed(page.cy, screen.cy));
    return static_cast<int32_t>(
        std::clamp<int64_t>((factor + kStep - 1) / kStep * kStep, kStep, kMaxReduction));
}

void CScaleFrame::PostNcDestroy()
{
    if (m_ppBackPointer && *m_ppBackPointer == this)
        *m_ppBackPointer = nullptr;
    m_ppBackPointer = nullptr;
    CPageFrame::PostNcDestroy();
}
