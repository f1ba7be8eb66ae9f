// What the frames of a page have in common: while one of them is active, it watches the page's file.
#pragma once

#include "platform/frame.h"

class CPageFrame : public CFrameWnd
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    bool IsActive() const { return m_bActive; }

protected:
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

    // The document looks at the file when the frame becomes active, and then every second. Without a page, or
    // while another program is active, nothing runs: an idle machine stays asleep.
    void WatchFile(bool has_page);

    LRESULT OnActivate(WPARAM active, LPARAM lParam);
    LRESULT OnTimer(WPARAM id, LPARAM lParam);

private:
    static const MessageEntry entries[];
    void StartOrStop();
    void CheckFile();

    bool m_bActive = false;
    bool m_bHasPage = false;
};
