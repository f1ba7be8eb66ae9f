// SPDX-License-Identifier: MIT
// A device that records each call as one line of text and keeps the pixels of the last call.
#pragma once

#include "platform/dc.h"

#include <sstream>
#include <string>
#include <vector>

struct DeviceRecord {
    std::vector<std::string> calls;
    std::vector<COLORREF> pixels; // pixels of the last call, before stretching, top row first
};

class RecordingTarget : public DeviceTarget
{
public:
    RecordingTarget(DeviceRecord* record, bool printing) : m_record(record), m_printing(printing) {}

    bool IsPrinting() const override { return m_printing; }
    RegionKind GetClipBox(CRect* box) const override
    {
        *box = {};
        return NULLREGION;
    }
    int GetDeviceCaps(int) const override { return 0; }

    bool DrawBilevel(const CRect& dest, const CBitmap& bitmap, int source_x, int source_y, COLORREF zero,
                     COLORREF one) override
    {
        Write("bilevel", dest, {source_x, source_y, source_x + dest.Width(), source_y + dest.Height()});
        for (int y = source_y; y < source_y + dest.Height(); ++y)
            for (int x = source_x; x < source_x + dest.Width(); ++x)
                m_record->pixels.push_back(
                    bitmap.Rows()[y * bitmap.RowBytes() + x / 8] << x % 8 & 0x80 ? one : zero);
        return true;
    }

    bool DrawIndexed(const CRect& dest, const BitmapInfo& info, const uint8_t* bits, const CRect& source,
                     const COLORREF* colors) override
    {
        Write("indexed", dest, source);
        for (int y = source.top; y < source.bottom; ++y)
            for (int x = source.left; x < source.right; ++x)
                m_record->pixels.push_back(colors[info.Line(bits, y)[x]]);
        return true;
    }

    void AbortDoc(bool message_shown) override
    {
        if (m_printing)
            m_record->calls.push_back(message_shown ? "abort, shown" : "abort");
    }

private:
    // Records a line such as "bilevel 8,5 105x20 from 0,0 105x20".
    void Write(const char* call, const CRect& dest, const CRect& source)
    {
        std::ostringstream line;
        line << call << ' ' << dest.left << ',' << dest.top << ' ' << dest.Width() << 'x' << dest.Height()
             << " from " << source.left << ',' << source.top << ' ' << source.Width() << 'x'
             << source.Height();
        m_record->calls.push_back(line.str());
        m_record->pixels.clear();
    }

    DeviceRecord* m_record;
    bool m_printing;
};
