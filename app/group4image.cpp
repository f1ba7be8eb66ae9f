#include "app/group4image.h"

#include <kesterlib/faxhdr.h>
#include <kesterlib/unccitt.h>

const CRuntimeClass Group4Image::classRecord{"Group4Image", &RunImage::classRecord,
                                             CreateObjectOf<Group4Image>};

const HeaderImage::Kind Group4Image::kKind{FAXHEADER_GROUP4, 0, "Not CCITT Group 4 compressed file",
                                           "Invalid CCITT Group 4 object", "CCITT Group 4 decode error"};
const RunImage::Codec Group4Image::kCodec{Unccitt4_Open_Callback, Unccitt4_Decode};
