// SPDX-License-Identifier: MIT
// The texts of the status bar, computed from numbers: the read-outs and the message field.
#pragma once

#include "platform/cstring.h"
#include "platform/types.h"

#include <initializer_list>
#include <optional>

// The read-outs: the numbers in the status bar. Lengths are passed in pixels and shown in the unit. A unit
// other than pixels needs a resolution above 0. If there is none, FormatPosition and FormatSize show 0, and
// FormatPointer and FormatDistance show pixels (see UnitsFor).
[[nodiscard]] CString FormatPosition(int units, int left, int top, int x_dpi, int y_dpi);
[[nodiscard]] CString FormatSize(int units, int width, int depth, int x_dpi, int y_dpi);
[[nodiscard]] CString FormatPointer(int units, CPoint point, int x_dpi, int y_dpi);
// Shows three distances: across, down, and in a straight line.
[[nodiscard]] CString FormatDistance(int units, CSize distance, int x_dpi, int y_dpi);
[[nodiscard]] CString FormatResolution(int x_dpi, int y_dpi);

// The state of the page's file, compared with its state before it was opened.
enum class FileState : uint8_t { asOpened, changed, gone, unreadable };

// Returns the notes about an open page: the first line that may be wrong, the first damaged line, and a file
// that is not in the state in which it was opened. The text is empty if there is nothing to note.
[[nodiscard]] CString FormatPageNotes(std::optional<int32_t> suspicious_line,
                                      std::optional<int32_t> damaged_line, FileState file);
// Returns the note about the list of pages: "page 4 of 24". The number counts from 1.
[[nodiscard]] CString FormatListNote(size_t number, size_t count);

// What the message field can show.
struct MessageField {
    CString page_notes;            // the document's notes; may be empty
    CString list_note;             // may be empty
    std::optional<CSize> distance; // in pixels, while the user measures
    std::optional<CPoint> pointer; // page pixel under the pointer
};
// Returns the text of the message field. A measured distance replaces the pointer's position and the note
// about the list, because it needs their space. The text is empty if there is nothing to show.
[[nodiscard]] CString FormatMessageField(const MessageField& field, int units, int x_dpi, int y_dpi);

// Returns the notes that are not empty, in order, with ", " between two of them.
[[nodiscard]] CString JoinNotes(std::initializer_list<CString> notes);
