// SPDX-License-Identifier: MIT
#include "app/statustext.h"

#include "app/units.h"

#include <cmath>

namespace
{
// Converts pixels to the unit. Returns 0 if the unit needs a resolution and dpi is not above 0.
double LengthOrZero(int units, int pixels, int dpi)
{
    return dpi > 0 || UnitsFor(units, 1, 1) == kPixels ? PixelsToUnits(pixels, units, dpi) : 0;
}

CString FormatPair(int units, const char* first_name, double first, const char* second_name, double second)
{
    return CString{first_name} + FormatNumber(units, first) + second_name + FormatNumber(units, second);
}

CString FormatLineNote(const char* text, std::optional<int32_t> line)
{
    CString note;
    if (line)
        note.Format("%s from line %d", text, *line);
    return note;
}

const char* FileNote(FileState file)
{
    switch (file) {
    case FileState::changed: return "file has changed, F5 reads it again";
    case FileState::gone: return "file is gone";
    case FileState::unreadable: return "file cannot be read";
    case FileState::asOpened: break;
    }
    return "";
}
} // namespace

CString FormatPosition(int units, int left, int top, int x_dpi, int y_dpi)
{
    return FormatPair(units, "left=", LengthOrZero(units, left, x_dpi),
                      " top=", LengthOrZero(units, top, y_dpi));
}

CString FormatSize(int units, int width, int depth, int x_dpi, int y_dpi)
{
    return FormatPair(units, "width=", LengthOrZero(units, width, x_dpi),
                      " depth=", LengthOrZero(units, depth, y_dpi));
}

CString FormatPointer(int units, CPoint point, int x_dpi, int y_dpi)
{
    units = UnitsFor(units, x_dpi, y_dpi);
    return FormatPair(units, "x=", PixelsToUnits(point.x, units, x_dpi),
                      " y=", PixelsToUnits(point.y, units, y_dpi));
}

CString FormatDistance(int units, CSize distance, int x_dpi, int y_dpi)
{
    units = UnitsFor(units, x_dpi, y_dpi);
    const double x = PixelsToUnits(distance.cx, units, x_dpi);
    const double y = PixelsToUnits(distance.cy, units, y_dpi);
    return FormatPair(units, "dx=", x, " dy=", y) + " d=" + FormatNumber(units, std::hypot(x, y));
}

CString FormatResolution(int x_dpi, int y_dpi)
{
    CString text;
    text.Format("Res  X=%d Y=%d", x_dpi, y_dpi);
    return text;
}

CString FormatPageNotes(std::optional<int32_t> suspicious_line, std::optional<int32_t> damaged_line,
                        FileState file)
{
    return JoinNotes({FormatLineNote("suspicious", suspicious_line), FormatLineNote("damaged", damaged_line),
                      FileNote(file)});
}

CString FormatListNote(size_t number, size_t count)
{
    CString note;
    note.Format("page %zu of %zu", number, count);
    return note;
}

CString FormatMessageField(const MessageField& field, int units, int x_dpi, int y_dpi)
{
    if (field.distance)
        return JoinNotes({field.page_notes, FormatDistance(units, *field.distance, x_dpi, y_dpi)});
    return JoinNotes({field.page_notes, field.list_note,
                      field.pointer ? FormatPointer(units, *field.pointer, x_dpi, y_dpi) : CString{}});
}

CString JoinNotes(std::initializer_list<CString> notes)
{
    CString text;
    for (const CString& note : notes) {
        if (!text.IsEmpty() && !note.IsEmpty())
            text += ", ";
        text += note;
    }
    return text;
}
