// SPDX-License-Identifier: MIT
#include "app/image.h"

#include "platform/file.h"

#include <cstring>

const CRuntimeClass Image::classRecord{"Image", &CObject::classRecord, nullptr};

int32_t Image::SkipRows(int32_t, Skip)
{
    return 0;
}

void Image::Describe(Description*) const {}

int Image::OpenFile(const CString& path)
{
    // A copy, because `path` may be Path itself, which Close empties.
    const CString wanted = path; // NOLINT(performance-unnecessary-copy-initialization)
    Close();
    Path = wanted;
    return OpenRegularFile(Path);
}

int Image::Fail(const char* text)
{
    Close();
    ErrorText = text;
    return 0;
}

void Image::ClearAfterRows(uint8_t* rows, int32_t stride, int32_t count, int64_t row_bytes)
{
    if (stride <= row_bytes)
        return;
    for (int32_t row = 0; row < count; ++row)
        memset(rows + int64_t{row} * stride + row_bytes, 0, static_cast<size_t>(stride - row_bytes));
}

void Image::ClearFields()
{
    Name.Empty();
    Path.Empty();
    BitsPerPixel = 0;
    Width = 0;
    Height = 0;
    BytesPerRow = 0;
    CurrentRow = -1;
    SuspiciousRow = -1;
}

void Image::NoteSuspiciousRow(int32_t row)
{
    if (row >= 0 && (SuspiciousRow < 0 || row < SuspiciousRow))
        SuspiciousRow = row;
}
