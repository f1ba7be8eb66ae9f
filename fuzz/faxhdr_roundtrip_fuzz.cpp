// SPDX-License-Identifier: MIT
// The input is a record as it is in memory. Missing bytes are 0. The record is written as text and read back.
// All fields that the text contains must be equal. A second round trip must not change the record.
#include "promise.h"

#include <kesterlib/faxhdr.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace
{
// Returns the bytes of the record without the padding at its end.
std::string_view BytesOf(const FAXHeader& header)
{
    return {reinterpret_cast<const char*>(&header), offsetof(FAXHeader, Mux) + sizeof header.Mux};
}

// Returns the text of a record, written into a buffer of exactly HeaderSize bytes. Returns an empty text if
// it does not fit, or if HeaderSize is above twice FAXHEADER_BYTES.
std::string TextOf(const FAXHeader& header, bool pad)
{
    if (header.HeaderSize > 2 * FAXHEADER_BYTES)
        return {};
    const std::unique_ptr<char[]> buffer{new char[header.HeaderSize]};
    const char* message = nullptr;
    const int32_t length = createFaxHeader(buffer.get(), header.HeaderSize, &header, pad, &message);
    Promise((length > 0) == (*message == 0));
    Promise(length <= static_cast<int32_t>(header.HeaderSize));
    Promise(length > 0 || -length > static_cast<int32_t>(header.HeaderSize));
    return {buffer.get(), static_cast<size_t>(std::max(length, 0))};
}

template <size_t N>
std::string_view FieldText(const char (&field)[N])
{
    return {field, strnlen(field, N)};
}

bool IsPlain(std::string_view text, std::string_view none_of)
{
    return text.find_first_of(none_of) == std::string_view::npos;
}

// Whether a line can represent this field: it has no line feed, no white space at its ends, and a final 0.
template <size_t N>
bool IsLineText(const char (&field)[N])
{
    const std::string_view text = FieldText(field);
    const auto white = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    return text.size() < N && IsPlain(text, "\n") &&
           (text.empty() || (!white(text.front()) && !white(text.back())));
}
template <size_t N>
bool IsWord(const char (&field)[N])
{
    const std::string_view text = FieldText(field);
    return !text.empty() && text.size() < N && IsPlain(text, " \t\n\v\f\r");
}

// Whether the reader accepts the text of the record and returns all fields, except the time.
bool SurvivesTheTrip(const FAXHeader& header)
{
    bool survives =
        IsLineText(header.JobName) && *header.JobName && IsWord(header.Creator) && IsLineText(header.Mux);
    for (int32_t i = 0; i < std::min<int32_t>(header.NumDestinations, FAXHEADER_DESTINATIONS); ++i)
        survives = survives && IsWord(header.Destination[i]);
    return survives;
}

// Returns the record as its text describes it. Fields that the text does not contain are empty.
FAXHeader AsWritten(const FAXHeader& header)
{
    FAXHeader written = header;
    written.NumDestinations = std::clamp<int32_t>(header.NumDestinations, 0, FAXHEADER_DESTINATIONS);
    for (int32_t* flag : {&written.ImageNegate, &written.DoubleTruck, &written.Mirror})
        *flag = *flag ? 1 : 0;
    if (header.FaxHeaderVersion < 2)
        written.JobID = 0;
    if (header.FaxHeaderVersion < 3)
        written.Mux[0] = 0;
    return written;
}

template <size_t N>
bool SameText(const char (&a)[N], const char (&b)[N])
{
    return FieldText(a) == FieldText(b);
}

bool Same(const FAXHeader& a, const FAXHeader& b)
{
    const auto numbers = [](const FAXHeader& h) {
        return std::vector<int64_t>{h.FaxHeaderVersion,
                                    h.HeaderSize,
                                    h.Size,
                                    h.PageNumber,
                                    h.NumberOfPages,
                                    h.ImageWidth,
                                    h.ImageHeight,
                                    h.DataWidth,
                                    h.BandHeight,
                                    h.Compression,
                                    h.XResolution,
                                    h.YResolution,
                                    h.LeftMargin,
                                    h.RightMargin,
                                    h.ResolutionMultiplier,
                                    h.TopMargin,
                                    h.BottomMargin,
                                    h.Layer,
                                    h.PSet,
                                    h.ImageNegate,
                                    h.DoubleTruck,
                                    h.Mirror,
                                    h.Rotation,
                                    h.Priority,
                                    h.NumDestinations,
                                    h.JobID};
    };
    bool same = numbers(a) == numbers(b) && SameText(a.JobName, b.JobName) &&
                SameText(a.Creator, b.Creator) && SameText(a.Mux, b.Mux);
    for (int32_t i = 0; i < a.NumDestinations; ++i)
        same = same && SameText(a.Destination[i], b.Destination[i]);
    return same;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool in_utc = setenv("TZ", "UTC0", 1) == 0; // UTC has no summer time, so every hour exists
    Promise(in_utc);
    FAXHeader header{};
    memcpy(static_cast<void*>(&header), data, std::min(size, sizeof header));
    TextOf(header, true); // with any HeaderSize
    header.HeaderSize = FAXHEADER_BYTES;
    const std::string text = TextOf(header, false);
    const std::string padded = TextOf(header, true);
    Promise(!text.empty() && padded.size() == FAXHEADER_BYTES && padded.compare(0, text.size(), text) == 0);
    Promise(padded.find_first_not_of(' ', text.size()) == std::string::npos);

    FAXHeader first{};
    const char* message = nullptr;
    const bool reads =
        extractFaxHeader(text.data(), static_cast<uint32_t>(text.size()), &first, &message) > 0;
    if (SurvivesTheTrip(AsWritten(header)))
        Promise(reads && Same(first, AsWritten(header)));
    FAXHeader from_padded{};
    const bool padded_reads = extractFaxHeader(padded.data(), FAXHEADER_BYTES, &from_padded, &message) > 0;
    Promise(padded_reads == reads && (!reads || BytesOf(from_padded) == BytesOf(first)));
    if (!reads)
        return 0;

    const std::string again = TextOf(first, false);
    FAXHeader second{};
    Promise(extractFaxHeader(again.data(), static_cast<uint32_t>(again.size()), &second, &message) > 0);
    Promise(Same(second, first) && TextOf(second, false) == again);
    return 0;
}
