// The page image: one open page file seen as a numbered sequence of rows.
#pragma once

#include "platform/cobject.h"
#include "platform/cstring.h"

#include <cstdint>

class Description;

// Rows come strictly forward, each by ReadRow; the only way back is Rewind and a new run from row 0, which
// costs as much as the rows passed over. Operations report by a number, 1 for success unless told otherwise,
// and leave the words of a failure in ErrorText, which nothing else clears: read it right after a failure.
class Image : public CObject
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CString Path;            // as given to Open; empty while closed
    CString Name;            // the page's label for display; empty while closed
    int32_t Width = 0;       // pixels in a row
    int32_t BytesPerRow = 0; // bytes that a whole row takes in the caller's buffer
    int32_t Height = 0;      // rows
    int32_t XDpi = 0;        // dots per inch, set by a successful Open
    int32_t YDpi = 0;
    int32_t BitsPerPixel = 0; // 1: packed, the leftmost pixel in the top bit; 8: a byte a pixel
    int32_t MinIsBlack = 0;   // 0: the lowest sample value is white; else it is black
    int32_t CurrentRow = -1;  // the last row delivered, -1 before the first
    CString ErrorText;
    int32_t SuspiciousRow = -1; // the first row delivered that may be wrong, as far as read; -1 if none is

    // Closes what is open, then opens the file and judges it. 0 leaves the object closed.
    virtual int Open(const CString& path) = 0;
    // Always 1; harmless on a closed object.
    virtual int Close() = 0;
    // Rows firstRow and on, stride bytes apart; rewinds where it must. The rows delivered. The buffer is
    // scratch space while rows are passed over.
    virtual int ReadRows(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count) = 0;
    // The next row into buffer, which has rowBytes bytes.
    virtual int ReadRow(uint8_t* buffer, int32_t rowBytes) = 0;
    virtual int Rewind() = 0;
    // Passes over the next rows, count at most, if that is cheaper than to deliver them; zeroRows: only if
    // all their bytes are 0. The rows passed over, perhaps fewer or none.
    enum class Skip : uint8_t { anyRows, zeroRows };
    virtual int32_t SkipRows(int32_t count, Skip which);
    // Whether rows can be read; changes nothing.
    virtual int IsValid() = 0;
    // What the open file says about the page besides the fields above, its kind first. Reads no file.
    virtual void Describe(Description* description) const;

protected:
    // The empty values of the fields that a closed object has none of.
    void ClearFields();
    // The row, unless it is below 0, was delivered and may be wrong.
    void SuspectRow(int32_t row);
};
