// SPDX-License-Identifier: MIT
#include "platform/statusbar.h"

const CRuntimeClass CStatusBar::classRecord{"CStatusBar", &CWnd::classRecord, &CreateObjectOf<CStatusBar>};

CStatusBar::CStatusBar() = default;
CStatusBar::~CStatusBar() = default;
