// SPDX-License-Identifier: MIT
// Menus, accelerators, texts, dialogs, cursor and icon of the application. CLumentaApp passes them to
// platform/, which makes the windows from them.
#pragma once

#include "platform/resources.h"

extern const ApplicationResources kLumentaResources;
