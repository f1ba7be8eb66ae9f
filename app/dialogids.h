// SPDX-License-Identifier: MIT
// The numbers of the dialogs and their controls. The templates in lumentaresources.cpp and the dialog classes
// use them.
#pragma once

#include "platform/types.h"

constexpr UINT kAboutDialog = 100;
constexpr UINT kBuildStampText = 101;
constexpr UINT kVersionText = 107;
constexpr UINT kAboutIcon = 108;
constexpr UINT kCommitText = 111;

constexpr UINT kOpenMultipleDialog = 106;
constexpr UINT kDirectoryText = 102;
constexpr UINT kPageList = 103;
constexpr UINT kTypeBox = 104;
constexpr UINT kShowViewedBox = 105;
constexpr UINT kMarkViewedBox = 106;

constexpr UINT kLinesPerUpdateDialog = 109;
constexpr UINT kLinesControl = 110;

constexpr UINT kInformationDialog = 120;
constexpr UINT kPageText = 121;
constexpr UINT kCheckButton = 122;
constexpr UINT kCheckProgress = 123;
constexpr UINT kCheckText = 124;
constexpr UINT kCheckBars = 125;

constexpr UINT kGoToDialog = 140;
constexpr UINT kGoToUnitText = 141;
constexpr UINT kGoToX = 142;
constexpr UINT kGoToY = 143;

constexpr UINT kKeysDialog = 150;
constexpr UINT kKeysText = 151;
