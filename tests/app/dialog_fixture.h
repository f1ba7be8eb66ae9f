// SPDX-License-Identifier: MIT
// Fixture for dialogs of the application without a main window.
#pragma once

#include "app/lumentaresources.h"
#include "platform/testing/testing.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

class AppDialogTest : public testing::Test
{
protected:
    using Texts = std::vector<std::string>;

    ~AppDialogTest() override { SetDialogHook({}); }

    // Runs script while the dialog is open. Returns the result of DoModal.
    static int Show(CDialog& dialog, std::function<void()> script)
    {
        SetDialogHook([script = std::move(script)](CDialog&) { script(); });
        return static_cast<int>(dialog.DoModal());
    }

    BoxTexts boxes;

private:
    struct PlainApp : CWinApp {
        PlainApp() : CWinApp(kLumentaResources) {}
        bool InitInstance() override { return true; }
    };
    PlainApp m_app;
};
