// SPDX-License-Identifier: MIT
// A C++ program with kesterlib. It reads a page header that it has written, and compares the versions of the
// headers and of the library.
#include "kesterlib/faxhdr.h"
#include "kesterlib/version.h"

#include <string>

int main()
{
    FAXHeader written = {}, read = {};
    written.FaxHeaderVersion = 3;
    written.HeaderSize = FAXHEADER_BYTES;
    written.JobName[0] = 'J';
    written.Creator[0] = 'C';
    written.CreateTime.tm_mday = 1;
    written.PageNumber = 7;
    std::string text(FAXHEADER_BYTES, '\0');
    const char* message = nullptr;
    if (createFaxHeader(&text[0], FAXHEADER_BYTES, &written, 1, &message) != FAXHEADER_BYTES ||
        extractFaxHeader(text.data(), FAXHEADER_BYTES, &read, &message) <= 0 || read.PageNumber != 7)
        return 1;
    return std::string(KESTERLIB_VERSION) == kesterlib_version() ? 0 : 1;
}
