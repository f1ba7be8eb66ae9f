// SPDX-License-Identifier: MIT
// The input is a settings file. Its values are read, written as text and read again. All values whose name
// has a group and a key must be unchanged.
#include "platform/profiletext.h"
#include "promise.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const ProfileValues values = ParseProfile({reinterpret_cast<const char*>(data), size});
    ProfileValues kept;
    for (const auto& [name, value] : values)
        if (name.find('/', 1) != std::string::npos)
            kept[name] = value;
    Promise(ParseProfile(ComposeProfile(values)) == kept);
    return 0;
}
