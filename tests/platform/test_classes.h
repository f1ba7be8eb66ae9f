// SPDX-License-Identifier: MIT
// A minimal application. Each of its classes records the messages that reach it.
#pragma once

#include "platform/statusbar.h"
#include "platform/testing/testing.h"
#include "tests/platform/qt_support.h"
#include "tests/support/recorder.h"
#include "tests/support/test_page.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>

constexpr UINT WM_TEST = WM_USER + 1;

// Commands. The classes with a handler are, in order: all; all except the view; frame and application; only
// the application; none.
constexpr UINT kForView = 101, kForDocument = 102, kForFrame = 103, kForApp = 104, kForNobody = 105;
constexpr UINT kDisabled = 106; // the frame handles it, but the document's update handler disables it
constexpr UINT kChecked = 107;  // checked by the view's update handler
constexpr UINT kPaneOn = 108, kPaneOff = 109;
constexpr UINT kTestDialog = 200, kTestPath = 201, kTestList = 202, kTestCombo = 203, kTestCheck = 204,
               kTestNumber = 205;
constexpr UINT kTestReport = 210, kTestText = 211, kTestProgress = 212, kTestBars = 213;

extern Recorder g_recorder;
extern int g_alive; // number of documents, frames and views

class TestDocument : public CDocument
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }
    TestDocument() { ++g_alive; }
    ~TestDocument() override
    {
        --g_alive;
        g_recorder.Add("document deleted");
    }
    bool OnOpenDocument(const CString& path) override { return path.Find('!') < 0; }
    void OnRun() { g_recorder.Add("document"); }
    void OnUpdateDisabled(CCmdUI& ui) { ui.Enable(false); }

protected:
    static const MessageEntry entries[];
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }
};

class TestView : public CScrollView
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }
    TestView() { ++g_alive; }
    ~TestView() override { --g_alive; }

    void ShowPage(TestPage shown);
    void OnDraw(CDC* dc) override;
    void OnRun() { g_recorder.Add("view"); }
    void OnUpdateChecked(CCmdUI& ui) { ui.SetCheck(true); }

    bool OnPreparePrinting(CPrintInfo* info) override;
    void OnBeginPrinting(CDC*, CPrintInfo*) override { g_recorder.Add("begin printing"); }
    void OnPrint(CDC* dc, CPrintInfo* info) override { print(dc, info); }
    void OnEndPrinting(CDC*, CPrintInfo*) override { g_recorder.Add("end printing"); }

    std::string name;
    TestPage page;
    std::map<UINT, std::function<void()>> on_message; // called before the message is handled
    std::function<void(CDC*, const CRect&)> draw;     // called instead of drawing the page
    std::function<void(CDC*, CPrintInfo*)> print;

protected:
    static const MessageEntry entries[];
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;
};

class TestFrame : public CFrameWnd
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }
    TestFrame() { ++g_alive; }
    ~TestFrame() override { --g_alive; }
    int OnCreate(const CREATESTRUCT& cs) override;
    void OnRun() { g_recorder.Add("frame"); }
    void OnUpdatePane(CCmdUI& ui) { ui.Enable(true); }
    CString GetMessageText() const override { return note; }
    TestView* View() const { return DynamicDowncast<TestView>(GetDescendantWindow(AFX_IDW_PANE_FIRST)); }

    std::string name = "frame";
    std::string note = "note";
    bool records_activation = false;
    CStatusBar status;

protected:
    static const MessageEntry entries[];
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;
};

class TestApp : public CWinApp
{
public:
    TestApp();
    bool InitInstance() override;
    void OnDroppedFiles(const std::vector<CString>& paths) override;
    void OnRun() { g_recorder.Add("app"); }

protected:
    static const MessageEntry entries[];
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }
};

class WindowTest : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override; // expects that every object is deleted
    TestFrame* MakeFurtherFrame(const char* name);
    // Expects the page at the scroll position on the screen, and the background grey outside it.
    static void ExpectShown(TestView* view);
    std::vector<std::string> Settle(); // pumps until idle; returns the records since the last call

    std::unique_ptr<TestApp> app;
    TestFrame* frame = nullptr;
    TestView* view = nullptr;
};
