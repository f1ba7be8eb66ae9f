// SPDX-License-Identifier: MIT
// Makes texts safe for Qt's controls and tool tips, because Qt would interpret some characters in them.
#pragma once

#include <QString>

// Returns a name that can be shown in one line. Control characters, and characters that would break the line
// or change the reading direction, become the replacement character.
[[nodiscard]] QString Showable(QString text);

// Returns the text as a tool tip without markup: Qt would interpret markup in it.
[[nodiscard]] QString ToolTipOf(const QString& text);
