// SPDX-License-Identifier: MIT
// The base of the main window and of the overview's frame: while the frame is active, it watches the page's
// file.
#pragma once

#include "platform/framewnd.h"

class CPageFrame : public CFrameWnd
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    [[nodiscard]] bool IsActive() const { return m_bActive; }

protected:
    static const MessageMap messages;
    [[nodiscard]] const MessageMap& GetMessageMap() const override { return messages; }

    // Starts or stops watching. The document then checks the file when the frame becomes active, and every
    // second while it is active. Without a page or in an inactive frame no timer runs, so that an idle
    // machine can sleep.
    void WatchFile(bool has_page);

    LRESULT OnActivate(WPARAM active, LPARAM lParam);
    LRESULT OnTimer(WPARAM id, LPARAM lParam);

private:
    static const MessageEntry entries[];
    void UpdateTimer();
    void CheckFile();

    bool m_bActive = false;
    bool m_bHasPage = false;
};
