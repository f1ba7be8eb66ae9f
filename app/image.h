// SPDX-License-Identifier: MIT
// The page image: an open page file as a sequence of rows, numbered from 0. Open receives a path. ReadRow and
// ReadRows deliver decoded rows. Each derived class reads one format.
#pragma once

#include "platform/cobject.h"
#include "platform/cstring.h"

#include <cstdint>

class Description;

// ReadRow reads the rows in order from the top. To go back, call Rewind and read again from row 0. Reading
// rows again costs as much as reading them the first time.
//
// Unless stated otherwise, an operation returns 1 for success and 0 for failure. A failure sets ErrorText. A
// success does not clear it, so read it right after a failure.
class Image : public CObject
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CString Path;               // as passed to Open; empty while closed
    CString Name;               // the page's label for display; empty while closed
    int32_t Width = 0;          // pixels per row
    int32_t BytesPerRow = 0;    // bytes of a whole row in the caller's buffer
    int32_t Height = 0;         // rows
    int32_t XDpi = 0;           // dots per inch across the page, set by a successful Open
    int32_t YDpi = 0;           // dots per inch down the page, set by a successful Open
    int32_t BitsPerPixel = 0;   // 1: packed, the leftmost pixel in the top bit; 8: one byte per pixel
    int32_t MinIsBlack = 0;     // 0: the lowest sample value is white; any other value: it is black
    int32_t CurrentRow = -1;    // the last row delivered; -1 before the first
    CString ErrorText;          // message of the last failure
    int32_t SuspiciousRow = -1; // the first delivered row that may be wrong; -1 if there is none so far

    // Closes the open file, if any, then opens and checks the new one. After a failure the object is closed.
    [[nodiscard]] virtual int Open(const CString& path) = 0;
    // Always returns 1. May be called while closed.
    virtual int Close() = 0;
    // Reads `count` rows, from firstRow on. Row firstRow + k is stored at buffer + k * stride. Rewinds if
    // firstRow comes before the next row. Uses the buffer as scratch space while it skips rows. Returns the
    // number of rows delivered, which is below `count` after a failure or at the end.
    [[nodiscard]] virtual int ReadRows(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count) = 0;
    // Reads the next row into `buffer`, which has rowBytes bytes.
    [[nodiscard]] virtual int ReadRow(uint8_t* buffer, int32_t rowBytes) = 0;
    virtual int Rewind() = 0; // makes row 0 the next row
    // Skips up to `count` of the next rows if skipping them costs less than reading them. With zeroRows,
    // skips only rows whose bytes are all 0. Returns the number of rows skipped, which may be 0.
    enum class Skip : uint8_t { anyRows, zeroRows };
    [[nodiscard]] virtual int32_t SkipRows(int32_t count, Skip which);
    // Returns 1 if rows can be read, else 0. Changes nothing.
    [[nodiscard]] virtual int IsValid() = 0;
    // Adds rows that describe the page, without the fields above. The first row is the kind of the file. Uses
    // the information that Open has read, and does not read the file.
    virtual void Describe(Description* description) const;

protected:
    // Limit of Width and Height; leaves room for rounding up.
    static constexpr uint32_t kLargestSide = 0x7ffffff7;
    static constexpr const char* kOpenFailed = "Open failed";

    // The first step of Open: closes the object, sets Path and opens the file, which must be a regular one.
    // Returns its descriptor, which the caller must close, or -1. `path` may be this object's own Path.
    [[nodiscard]] int OpenFile(const CString& path);
    // The last step of an Open that has failed: closes the object, sets ErrorText and returns 0.
    int Fail(const char* text);
    // The first step of ReadRow and ReadRows: returns whether rows can be read. If not, sets ErrorText.
    //
    //   has_buffer  the caller's buffer has room for a row
    //   invalid     the text if IsValid returns 0
    //
    // After the last row CurrentRow is Height - 1, so one more read reaches the decoder and usually fails
    // there.
    [[nodiscard]] bool CanRead(bool has_buffer, const char* invalid)
    {
        if (!IsValid())
            ErrorText = invalid;
        else if (CurrentRow >= Height)
            ErrorText = "Past end of image";
        else if (!has_buffer)
            ErrorText = "Invalid Buffer";
        else
            return true;
        return false;
    }
    // Sets the bytes after each row to 0. Row k has row_bytes bytes and starts at rows + k * stride. Does
    // nothing if the stride is not larger than the row.
    static void ClearAfterRows(uint8_t* rows, int32_t stride, int32_t count, int64_t row_bytes);
    // Sets the fields to the values that they have while closed. The resolutions, MinIsBlack and ErrorText
    // are unchanged.
    void ClearFields();
    // Records that a delivered row may be wrong. SuspiciousRow is the first such row. A negative `row` has no
    // effect.
    void NoteSuspiciousRow(int32_t row);
};
