#include "app/image.h"

const CRuntimeClass Image::classRecord{"Image", &CObject::classRecord, nullptr};

void Image::ClearFields()
{
    Name.Empty();
    Path.Empty();
    BitsPerPixel = 0;
    Width = 0;
    Height = 0;
    BytesPerRow = 0;
    CurrentRow = -1;
}
