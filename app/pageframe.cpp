// SPDX-License-Identifier: MIT
#include "app/pageframe.h"

#include "app/lumentadoc.h"

namespace
{
constexpr UINT kFileTimer = 1;
constexpr UINT kFileCheckMs = 1000; // a change must be shown within two seconds
} // namespace

const CRuntimeClass CPageFrame::classRecord{"CPageFrame", &CFrameWnd::classRecord, nullptr};

const MessageEntry CPageFrame::entries[] = {
    On<WM_ACTIVATE, &CPageFrame::OnActivate>(),
    On<WM_TIMER, &CPageFrame::OnTimer>(),
};
const MessageMap CPageFrame::messages{&CFrameWnd::messages, entries};

void CPageFrame::WatchFile(bool has_page)
{
    m_bHasPage = has_page;
    UpdateTimer();
}

LRESULT CPageFrame::OnActivate(WPARAM active, LPARAM)
{
    m_bActive = active != 0;
    UpdateTimer();
    if (m_bActive)
        CheckFile();
    return Default();
}

LRESULT CPageFrame::OnTimer(WPARAM id, LPARAM)
{
    if (id == kFileTimer)
        CheckFile();
    return Default();
}

void CPageFrame::UpdateTimer()
{
    if (m_bActive && m_bHasPage)
        SetTimer(kFileTimer, kFileCheckMs);
    else
        KillTimer(kFileTimer);
}

// The message field shows the result when the status bar is updated next.
void CPageFrame::CheckFile()
{
    if (auto* const document = DynamicDowncast<CLumentaDoc>(GetActiveDocument()))
        document->CheckFile();
}
