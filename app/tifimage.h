// SPDX-License-Identifier: MIT
// Page bitmaps in TIFF files, with one sample of 1 or 8 bits per pixel. libtiff reads the directory and the
// rows. The rows of Group 4 strips are decoded by kesterlib.
#pragma once

#include "app/group4strips.h"
#include "app/image.h"

class TIFFImage : public Image
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    // Switches off libtiff's warnings for the whole program. Of libtiff's errors for the file of this object,
    // only the first is printed to the standard error stream.
    TIFFImage();
    ~TIFFImage() override;

    [[nodiscard]] int Open(const CString& path) override;
    int Close() override;
    // Calls ReadRow with BytesPerRow for each row, so every row start needs that many writable bytes after
    // it.
    [[nodiscard]] int ReadRows(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count) override;
    // If rowBytes is larger than the scanline, the rest of the buffer becomes 0. CurrentRow also counts a row
    // that cannot be decoded.
    [[nodiscard]] int ReadRow(uint8_t* buffer, int32_t rowBytes) override;
    int Rewind() override;
    [[nodiscard]] int32_t SkipRows(int32_t count, Skip which) override;
    [[nodiscard]] int IsValid() override;
    void Describe(Description* description) const override;

    // What libtiff has reported about the open file.
    struct Messages {
        bool printed = false; // an error was printed
        bool damage = false;  // a fax decoder has reported damage
    };

private:
    [[nodiscard]] bool ReadTags();
    [[nodiscard]] bool PrepareStrips();
    [[nodiscard]] bool ReadLibtiffRow(uint8_t* buffer, uint32_t row);

    tiff* Tiff = nullptr;     // null while closed
    int32_t ScanlineSize = 0; // bytes of a row, as libtiff returns it

    bool m_bGroup4 = false; // the compression is Group 4
    bool m_bStrips = false; // m_strips decodes the rows; otherwise libtiff does
    Group4Strips m_strips;
    Messages m_messages;
};

// Returns the label of a page whose file has no document name: the name of the file, without the directory
// and without ".tif" or ".low" at its end.
[[nodiscard]] CString LabelFromPath(const CString& path);

// Returns the whole dots per inch of a resolution tag, rounded toward 0 and clamped to 0 to INT32_MAX; 0 if
// the tag is not a number.
[[nodiscard]] int32_t WholeDpi(float resolution, bool per_centimetre);
