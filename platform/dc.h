// Device contexts: one set of drawing calls over the screen, an image in memory, a printer or a recorder.
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
enum StretchMode : int { COLORONCOLOR = 3, HALFTONE = 4 };

// 256 colours at most. On a true-colour device realising one changes nothing.
class CPalette : public CObject
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    // Throws std::bad_alloc where memory is short.
    explicit CPalette(std::vector<COLORREF> entries) : m_entries(std::move(entries)) {}
    const std::vector<COLORREF>& GetPaletteEntries() const { return m_entries; }

private:
    std::vector<COLORREF> m_entries;
};

// Header and colour table of an 8-bit device-independent bitmap.
struct BitmapInfo {
    uint32_t size = 40;
    int32_t width = 0;  // pixels and bytes from line to line, a multiple of 4
    int32_t height = 0; // lines; above 0 the bottom line comes first, below 0 the top line
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

    int32_t Lines() const { return height < 0 ? -height : height; }
    // Line y of its bits, counted from the top.
    const uint8_t* Line(const uint8_t* bits, int y) const
    {
        return bits + (height < 0 ? ptrdiff_t{y} : ptrdiff_t{height} - 1 - y) * width;
    }
};

// A bitmap of 1 bit a pixel over rows that it borrows: they must outlive it. A 1 bit takes the device's
// background colour, white, and a 0 bit its text colour, black.
class CBitmap : public CObject
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    // width and height in pixels; rows are row_bytes apart, the leftmost pixel in the top bit.
    // False where a size is not above 0, rows is null or a row does not hold width bits.
    bool CreateBitmap(int width, int height, const uint8_t* rows, ptrdiff_t row_bytes);

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    const uint8_t* Rows() const { return m_rows; }
    ptrdiff_t RowBytes() const { return m_row_bytes; }

private:
    int m_width = 0;
    int m_height = 0;
    const uint8_t* m_rows = nullptr;
    ptrdiff_t m_row_bytes = 0;
};

// What a CDC draws on. Coordinates are the device's pixels.
class DeviceTarget
{
public:
    virtual ~DeviceTarget();

    virtual bool IsPrinting() const { return false; }
    virtual RegionKind GetClipBox(CRect* box) const = 0;
    virtual int GetDeviceCaps(int index) const = 0;

    // Pixels (source_x, source_y) and on of a bilevel bitmap, one to one, to the rectangle dest. The caller
    // has cut dest to the bitmap. zero and one are the colours of the two bit values.
    virtual bool DrawBilevel(const CRect& dest, const CBitmap& bitmap, int source_x, int source_y,
                             COLORREF zero, COLORREF one) = 0;

    // The rectangle source (top line 0) of an 8-bit bitmap to dest, stretched if the sizes differ. colors has
    // 256 entries.
    virtual bool DrawIndexed(const CRect& dest, const BitmapInfo& info, const uint8_t* bits,
                             const CRect& source, const COLORREF* colors) = 0;

    virtual void AbortDoc(bool) {}
};

// A context starts without a target and draws nothing then. Logical coordinates are device coordinates moved
// by the viewport origin.
class CDC : public CObject
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CDC();
    explicit CDC(std::unique_ptr<DeviceTarget> target);
    ~CDC() override;

    // An information context on the screen: its GetDeviceCaps alone is of use.
    bool CreateDisplayInformation();
    // A memory context: a source for BitBlt with the bitmap that is selected into it.
    bool CreateCompatibleDC(const CDC* like);
    // Draws on pixels in memory, which must outlive the context. The clip box is the whole buffer.
    bool CreateOnPixels(PixelBuffer* pixels);

    bool IsPrinting() const;
    int GetDeviceCaps(int index) const;
    void SetViewportOrg(int x, int y) { m_origin = {x, y}; }
    RegionKind GetClipBox(CRect* box) const; // logical coordinates

    CBitmap* SelectObject(CBitmap* bitmap);                      // the old one, or null
    CPalette* SelectPalette(CPalette* palette, bool background); // the old one; never null on a device
    UINT RealizePalette();                                       // colours changed: 0 on true-colour devices
    int SetStretchBltMode(int mode);                             // the old mode

    // One to one from a memory context with a bitmap. Cut to the bitmap's edges. False where nothing can be
    // drawn.
    bool BitBlt(int x, int y, int width, int height, const CDC& source, int source_x, int source_y,
                UINT operation);

    // An 8-bit bitmap with its own colours. y is where the top line goes; the source rectangle's origin is
    // the lower left corner of the picture. Both return the number of lines drawn, 0 for none.
    int SetDIBitsToDevice(int x, int y, int width, int height, int source_x, int source_y,
                          const uint8_t* bits, const BitmapInfo& info);
    int StretchDIBits(int x, int y, int width, int height, int source_x, int source_y, int source_width,
                      int source_height, const uint8_t* bits, const BitmapInfo& info, UINT operation);

    // On a printer: the page cannot be drawn, so nothing is printed. told: the user knows already; otherwise
    // the print says that it failed. Elsewhere without effect.
    void AbortDoc(bool told);

protected:
    void SetTarget(std::unique_ptr<DeviceTarget> target);
    DeviceTarget* Target() const { return m_target.get(); }

private:
    CRect ToDevice(int x, int y, int width, int height) const;
    int DrawDib(const CRect& dest, const CRect& source, const uint8_t* bits, const BitmapInfo& info,
                UINT operation);

    std::unique_ptr<DeviceTarget> m_target;
    CPoint m_origin;
    CBitmap* m_bitmap = nullptr;
    CPalette* m_palette;
    int m_stretch_mode = COLORONCOLOR;
};

// The invalid part of a window, for the time of a paint. At its end the pixels that were not drawn become
// white inside the window's picture and the background grey outside it.
class CPaintDC : public CDC
{
public:
    explicit CPaintDC(CWnd* window);
    ~CPaintDC() override;
};

// A window's client area outside of a paint.
class CClientDC : public CDC
{
public:
    explicit CClientDC(CWnd* window);
    ~CClientDC() override;
};
