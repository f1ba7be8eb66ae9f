// SPDX-License-Identifier: MIT
// The application's own messages and commands, and the hints of UpdateAllViews.
#pragma once

#include "platform/types.h"

// These messages are sent, so they are handled before the sender continues. Each comment names the sender,
// the receiver and the two parameters.
constexpr UINT WM_PAGE_POSITION = 0x405;   // page view to main frame: left and top scroll position in pixels
constexpr UINT WM_PAGE_RESOLUTION = 0x406; // document to main frame: horizontal and vertical dots per inch
constexpr UINT WM_PAGE_SIZE = 0x407;       // document to main frame: width and depth in pixels
// Overview to main frame, which passes it to the page view: 0 and the CLumenta that has the picked point.
constexpr UINT WM_PAGE_CENTER = 0x408;
constexpr UINT WM_PAGE_CLOSED = 0x40a; // document to its views: 0 and the document

// This message is posted, so that waiting input and paints are handled before it.
constexpr UINT WM_SCALE_NEXT = 0x7e8; // overview to itself: reduce the next batch of lines

constexpr UINT kScaledPageCommand = 32769;
constexpr UINT kInchesCommand = 32771;
constexpr UINT kMillimetersCommand = 32772;
constexpr UINT kPixelsCommand = 32773;
constexpr UINT kPointsCommand = 32774;
constexpr UINT kOpenMultipleCommand = 32775;
constexpr UINT kNextPageCommand = 32776;
constexpr UINT kLinesPerUpdateCommand = 32777;
constexpr UINT kPreviousPageCommand = 32780;
constexpr UINT kKeepPlaceCommand = 32781;
constexpr UINT kClearListCommand = 32782;
constexpr UINT kPageInformationCommand = 32783;
constexpr UINT kGoToCommand = 32784;
constexpr UINT kReloadCommand = 32785;
constexpr UINT kFullScreenCommand = 32786;
constexpr UINT kKeysCommand = 32787;
constexpr UINT kCloseOverviewCommand = 32788;

// Sections of the settings.
constexpr const char* kAppSettings = "App";
constexpr const char* kDefaultSettings = "Defaults";

// Status panes.
constexpr UINT kPositionIndicator = 59136;
constexpr UINT kResolutionIndicator = 59137;
constexpr UINT kSizeIndicator = 59138;

constexpr UINT kDragCursor = 103;
constexpr UINT kFrameResource = 2; // menu, accelerators, icon and the template's string

constexpr LPARAM kHintPage = 0;         // another page was opened, or the page was closed
constexpr LPARAM kHintReducedLines = 1; // the reduced picture has new lines; the page is unchanged
