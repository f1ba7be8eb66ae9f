// Plain page bitmaps in TIFF form: one sample of 1 or 8 bits a pixel, read through libtiff row by row.
#pragma once

#include "app/image.h"

struct tiff; // libtiff's handle

class TIFFImage : public Image
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    TIFFImage(); // libtiff's warnings go nowhere from here on, its errors to the standard error stream
    ~TIFFImage() override;

    int Open(const CString& path) override;
    int Close() override;
    // Works through ReadRow, with BytesPerRow bytes a row.
    int ReadRows(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count) override;
    // What is behind the scanline in the buffer becomes 0. CurrentRow moves on also where the row cannot be
    // read.
    int ReadRow(uint8_t* buffer, int32_t rowBytes) override;
    int Rewind() override;
    int IsValid() override;

private:
    int Fail(const char* words);
    bool ReadTags();
    int64_t StripAllowance(int64_t file_bytes) const;
    bool CanHoldRow(uint32_t row) const;

    tiff* Tiff = nullptr;     // null while closed
    int32_t ScanlineSize = 0; // bytes of a row as libtiff counts them
    uint32_t RowsPerStrip = 0;
    bool IsFaxCoded = false;
};

// The label of a page without a name of its own: the file's name without directory and without ".tif" or
// ".low".
CString LabelFromPath(const CString& path);

// Whole dots per inch of a resolution tag: cut toward 0, held to 0 to 0x7fffffff, 0 where it is no number.
int32_t WholeDpi(float resolution, bool per_centimetre);
