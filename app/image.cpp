#include "app/image.h"

const CRuntimeClass Image::classRecord{"Image", &CObject::classRecord, nullptr};

int32_t Image::SkipRows(int32_t, Skip)
{
    return 0;
}

void Image::Describe(Description*) const {}

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

void Image::SuspectRow(int32_t row)
{
    if (row >= 0 && (SuspiciousRow < 0 || row < SuspiciousRow))
        SuspiciousRow = row;
}
