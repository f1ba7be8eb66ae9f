// SPDX-License-Identifier: MIT
// Device contexts: one set of drawing calls for the screen, an image in memory, a printer, or a target of a
// test.
#pragma once

#include "platform/cobject.h"
#include "platform/types.h"

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

class CWnd;
struct PixelBuffer;

enum DeviceCap : int { HORZRES = 8, VERTRES = 10, LOGPIXELSX = 88, LOGPIXELSY = 90 };
enum RegionKind : int { ERRORREGION = 0, NULLREGION = 1, SIMPLEREGION = 2, COMPLEXREGION = 3 };
enum RasterOperation : UINT { SRCCOPY = 0x00cc0020, NOTSRCCOPY = 0x00330008 };
enum StretchMode : int { HALFTONE = 4 };

// A palette of at most 256 colours. Realising it on a true-colour device changes nothing.
class CPalette : public CObject
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    // Throws std::bad_alloc if memory is short.
    explicit CPalette(std::vector<COLORREF> entries) : m_entries(std::move(entries)) {}
    [[nodiscard]] const std::vector<COLORREF>& GetPaletteEntries() const { return m_entries; }

private:
    std::vector<COLORREF> m_entries;
};

// Header and colour table of an 8-bit device-independent bitmap.
struct BitmapInfo {
    uint32_t size = 40;
    int32_t width = 0;  // pixels, and bytes from one line to the next; a multiple of 4
    int32_t height = 0; // lines; above 0 the bottom line is first in memory, below 0 the top line
    uint16_t planes = 1;
    uint16_t bits_per_pixel = 8;
    uint32_t compression = 0;
    uint32_t image_size = 0; // bytes
    int32_t x_pixels_per_metre = 0;
    int32_t y_pixels_per_metre = 0;
    uint32_t colors_used = 0;
    uint32_t colors_important = 0;
    struct Color {
        uint8_t blue, green, red, reserved;
    };
    std::array<Color, 256> colors{};

    [[nodiscard]] int32_t Lines() const { return height < 0 ? -height : height; }
    // Returns line y of `bits`, counted from the top.
    [[nodiscard]] const uint8_t* Line(const uint8_t* bits, int y) const
    {
        return bits + (height < 0 ? ptrdiff_t{y} : ptrdiff_t{height} - 1 - y) * width;
    }
};

// A bitmap with 1 bit per pixel. It borrows its rows, which must outlive it. A 1 bit is drawn in the device's
// background colour, white, and a 0 bit in the text colour, black.
class CBitmap : public CObject
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    // width and height are in pixels. Rows are row_bytes apart. The leftmost pixel is in the top bit of a
    // byte. Returns false and changes nothing if a size is not above 0, rows is null, or row_bytes is too
    // small for width pixels.
    [[nodiscard]] bool CreateBitmap(int width, int height, const uint8_t* rows, ptrdiff_t row_bytes);

    [[nodiscard]] int Width() const { return m_width; }
    [[nodiscard]] int Height() const { return m_height; }
    [[nodiscard]] const uint8_t* Rows() const { return m_rows; }
    [[nodiscard]] ptrdiff_t RowBytes() const { return m_row_bytes; }

private:
    int m_width = 0;
    int m_height = 0;
    const uint8_t* m_rows = nullptr;
    ptrdiff_t m_row_bytes = 0;
};

// The device that a CDC draws on. Coordinates are device pixels.
class DeviceTarget
{
public:
    virtual ~DeviceTarget();

    [[nodiscard]] virtual bool IsPrinting() const { return false; }
    virtual RegionKind GetClipBox(CRect* box) const = 0;
    [[nodiscard]] virtual int GetDeviceCaps(int index) const = 0;

    // Draws the part of a 1-bit bitmap that starts at (source_x, source_y) to the rectangle dest, without
    // scaling. The caller has clipped dest to the bitmap. zero and one are the colours of the two bit values.
    // Returns false if nothing was drawn.
    [[nodiscard]] virtual bool DrawBilevel(const CRect& dest, const CBitmap& bitmap, int source_x,
                                           int source_y, COLORREF zero, COLORREF one) = 0;

    // Draws the rectangle source of an 8-bit bitmap to dest, and scales it if the sizes differ. Line 0 of
    // source is the top line. colors has 256 entries. Returns false if nothing was drawn.
    [[nodiscard]] virtual bool DrawIndexed(const CRect& dest, const BitmapInfo& info, const uint8_t* bits,
                                           const CRect& source, const COLORREF* colors) = 0;

    // See CDC::AbortDoc.
    virtual void AbortDoc(bool) {}
};

// A new context has no target, and draws nothing until it has one. A device coordinate is a logical
// coordinate plus the viewport origin.
class CDC : public CObject
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CDC() = default;
    // The context owns the target.
    explicit CDC(std::unique_ptr<DeviceTarget> target);
    ~CDC() override;

    // Makes an information context for the screen. Only its GetDeviceCaps is useful.
    void CreateDisplayInformation();
    // Makes a memory context. With a bitmap selected into it, it is a source for BitBlt. Returns false if
    // `like` is null or has no target.
    [[nodiscard]] bool CreateCompatibleDC(const CDC* like);
    // Makes a context that draws on pixels in memory, which must outlive it. The clip box is the whole
    // buffer.
    void CreateOnPixels(PixelBuffer* pixels);

    [[nodiscard]] bool IsPrinting() const;
    // index is a DeviceCap: the size of the device in pixels, or its pixels per inch. Returns 0 if the device
    // does not know it, or if there is no target.
    [[nodiscard]] int GetDeviceCaps(int index) const;
    void SetViewportOrg(int x, int y) { m_origin = {x, y}; }
    // Sets *box to the clip box, in logical coordinates. Without a target, returns ERRORREGION and sets an
    // empty box.
    RegionKind GetClipBox(CRect* box) const;

    // Returns the previous bitmap. The context does not own the bitmap. If it is null, no bitmap is selected.
    CBitmap* SelectObject(CBitmap* bitmap);
    // A palette does not change what is drawn, because every device shows true colours. Returns the palette
    // of a new context, or null if there is no target or `palette` is null.
    CPalette* SelectPalette(const CPalette* palette, bool background) const;
    UINT RealizePalette() const { return 0; } // returns the number of changed colours
    void SetStretchBltMode(int) {}            // no effect: the target chooses how to scale

    // Draws a part of the bitmap that is selected into the memory context `source`, without scaling and
    // clipped to the right and bottom edge of the bitmap. NOTSRCCOPY inverts the colours. Returns false if
    // nothing can be drawn.
    bool BitBlt(int x, int y, int width, int height, const CDC& source, int source_x, int source_y,
                UINT operation);

    // Draw an 8-bit bitmap with its own colours. (x, y) is the upper left corner of the destination. source_y
    // counts lines from the bottom of the picture. Each returns the number of lines drawn, 0 if there are
    // none.
    int SetDIBitsToDevice(int x, int y, int width, int height, int source_x, int source_y,
                          const uint8_t* bits, const BitmapInfo& info);
    int StretchDIBits(int x, int y, int width, int height, int source_x, int source_y, int source_width,
                      int source_height, const uint8_t* bits, const BitmapInfo& info, UINT operation);

    // Call this if the page cannot be drawn on a printer. Nothing is then printed. If `message_shown` is
    // false, the print shows a message that it failed. If it is true, the user has already seen a message. On
    // other devices the call has no effect.
    void AbortDoc(bool message_shown);

protected:
    void SetTarget(std::unique_ptr<DeviceTarget> target);
    [[nodiscard]] DeviceTarget* Target() const { return m_target.get(); }

private:
    [[nodiscard]] CRect ToDevice(int x, int y, int width, int height) const;
    [[nodiscard]] int DrawDib(const CRect& dest, const CRect& source, const uint8_t* bits,
                              const BitmapInfo& info, UINT operation);

    std::unique_ptr<DeviceTarget> m_target;
    CPoint m_origin;
    CBitmap* m_bitmap = nullptr;
};

// Draws on the invalid part of a window during a paint. The destructor fills the pixels that were not drawn:
// white inside the window's picture, the background grey outside it.
class CPaintDC : public CDC
{
public:
    explicit CPaintDC(CWnd* window);
    ~CPaintDC() override;
};

// Draws on the client area of a window outside of a paint.
class CClientDC : public CDC
{
public:
    explicit CClientDC(CWnd* window);
    ~CClientDC() override;
};
