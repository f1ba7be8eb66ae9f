// SPDX-License-Identifier: MIT
// The input is the text of a page header. The reader in memory receives exactly these bytes. The reader over
// a callback block receives them as the start of a stream. All values must fit their fields, and both readers
// must return the same.
#include "promise.h"

#include <kesterlib/callback.h>
#include <kesterlib/faxhdr.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace
{
struct Input {
    const uint8_t* at;
    size_t left;
};
Input g_input; // rest of the block's stream

size_t ReadInput(void* buffer, size_t size, size_t count, FILE*)
{
    const size_t bytes = std::min(size * count, g_input.left);
    if (bytes > 0)
        memcpy(buffer, g_input.at, bytes);
    g_input.at += bytes;
    g_input.left -= bytes;
    return bytes / size;
}

int g_messages = 0;

int CountMessage(FILE*, const char* format, va_list arguments)
{
    char text[256];
    const int length = vsnprintf(text, sizeof text, format, arguments);
    Promise(length > 0 && length < static_cast<int>(sizeof text));
    ++g_messages;
    return length;
}

bool Ends(const char* text, size_t bytes)
{
    return memchr(text, 0, bytes) != nullptr;
}

// Returns a record in a heap block of its own, so that the sanitizers detect a byte too far. The record is
// filled with a pattern, so that a field that is not set does not pass for 0.
std::unique_ptr<FAXHeader> NewRecord()
{
    auto record = std::make_unique<FAXHeader>();
    memset(static_cast<void*>(record.get()), 0xa5, sizeof *record);
    return record;
}

// Returns the bytes of the record without the padding at its end.
std::string_view BytesOf(const FAXHeader& header)
{
    return {reinterpret_cast<const char*>(&header), offsetof(FAXHeader, Mux) + sizeof header.Mux};
}

void CheckRecord(const FAXHeader& header)
{
    Promise(Ends(header.JobName, sizeof header.JobName) && Ends(header.Creator, sizeof header.Creator));
    Promise(Ends(header.Mux, sizeof header.Mux));
    Promise(*header.JobName && *header.Creator && !strchr(header.JobName, '\n'));
    Promise(header.NumDestinations <= FAXHEADER_DESTINATIONS);
    for (int32_t i = 0; i < header.NumDestinations; ++i)
        Promise(Ends(header.Destination[i], FAXHEADER_DESTINATION) && *header.Destination[i]);
    for (const int32_t flag : {header.ImageNegate, header.DoubleTruck, header.Mirror})
        Promise(flag == 0 || flag == 1);
    Promise(header.FaxHeaderVersion > 1 || header.JobID == 0);
    Promise(header.FaxHeaderVersion > 2 || !*header.Mux);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::unique_ptr<char[]> text{new char[size]};
    if (size > 0)
        memcpy(text.get(), data, size);
    const auto header = NewRecord();
    const char* message = nullptr;
    const int32_t result = extractFaxHeader(text.get(), static_cast<uint32_t>(size), header.get(), &message);
    const std::string_view words = message;
    Promise(std::abs(int64_t{result}) <= static_cast<int64_t>(size));
    Promise((result > 0) == words.empty());
    Promise(words.empty() || words == "Header format error" || words == "Unable skip to end of header" ||
            words == "Destination format error");
    if (result > 0)
        CheckRecord(*header);

    // The stream is the input, followed by zeros. The reader reads only its first 4096 bytes.
    char first[FAXHEADER_BYTES] = {};
    if (size > 0)
        memcpy(first, data, std::min(size, sizeof first));
    const auto from_first = NewRecord();
    const int32_t want = extractFaxHeader(first, sizeof first, from_first.get(), &message);

    g_messages = 0;
    callback_block* const block = make_callback_block();
    block->fread = ReadInput;
    block->fflush = [](FILE*) { return 0; };
    block->message = CountMessage;
    set_callback_debug_memory(block, -1);
    g_input = {reinterpret_cast<const uint8_t*>(first), sizeof first};
    const auto from_stream = NewRecord();
    Promise((read_FAXHeader_from_callback(block, from_stream.get()) != nullptr) == (want > 0));
    Promise(BytesOf(*from_stream) == BytesOf(*from_first));
    Promise(g_messages == (want > 0 ? 0 : 1));

    g_input = {data, size}; // the input alone: a stream that is too short returns no record
    FAXHeader* const made = read_FAXHeader_from_callback(block, nullptr);
    Promise((made != nullptr) == (want > 0 && size >= sizeof first));
    callback_deallocate(block, made, "FaxHeader");
    Promise(!block->allocated_list);
    dispose_callback_block(block);
    return 0;
}
