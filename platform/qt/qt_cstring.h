// SPDX-License-Identifier: MIT
// Conversions between the texts of the application and those of Qt.
#pragma once

#include "platform/cstring.h"

#include <QString>

[[nodiscard]] QString ToQString(const CString& text);
[[nodiscard]] CString FromQString(const QString& text);
