// Menus, accelerators, texts, cursor and icon of the application.
#pragma once

#include "platform/resources.h"

extern const ApplicationResources kLumentaResources;
