// Plain page bitmaps in TIFF form: one sample of 1 or 8 bits per pixel. libtiff reads the directory and the
// rows; the rows of Group 4 strips come from the codec library.
#pragma once

#include "app/group4strips.h"
#include "app/image.h"

class TIFFImage : public Image
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    // From here on libtiff's warnings go nowhere. Of its errors with a file, the first goes to the standard
    // error stream.
    TIFFImage();
    ~TIFFImage() override;

    int Open(const CString& path) override;
    int Close() override;
    // Works through ReadRow, with BytesPerRow bytes per row.
    int ReadRows(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count) override;
    // Bytes after the scanline become 0. CurrentRow moves on even if the row cannot be read.
    int ReadRow(uint8_t* buffer, int32_t rowBytes) override;
    int Rewind() override;
    int32_t SkipRows(int32_t count, Skip which) override;
    int IsValid() override;
    void Describe(Description* description) const override;

    // What libtiff has said about the open file.
    struct Messages {
        bool printed = false; // an error
        bool damage = false;  // in rows of a fax code
    };

private:
    int Fail(const char* text);
    bool ReadTags();
    bool PrepareStrips();
    bool ReadLibtiffRow(uint8_t* buffer, uint32_t row);

    tiff* Tiff = nullptr;     // null while closed
    int32_t ScanlineSize = 0; // bytes of a row as libtiff counts them

    bool m_bGroup4 = false; // rows are Group 4 codes
    bool m_bStrips = false; // rows come from m_strips
    Group4Strips m_strips;
    Messages m_messages;
};

// The label of a page without a name of its own: the file's name without directory and without ".tif" or
// ".low".
CString LabelFromPath(const CString& path);

// Whole dots per inch of a resolution tag: cut toward 0, clamped to 0 to 0x7fffffff, 0 if it is not a number.
int32_t WholeDpi(float resolution, bool per_centimetre);
