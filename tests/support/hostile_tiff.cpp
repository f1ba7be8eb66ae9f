// SPDX-License-Identifier: MIT
// Builds the bytes of a TIFF file: the header, the directory, the values of long tags, then the strips.
#include "tests/support/hostile_tiff.h"

namespace
{
std::vector<std::string> PlainStrips(uint32_t width, uint32_t height, uint32_t rows_per_strip)
{
    std::vector<std::string> strips;
    for (uint32_t y = 0; y < height; ++y) {
        if (y % rows_per_strip == 0)
            strips.emplace_back();
        for (size_t i = 0; i < (width + 7) / 8; ++i)
            strips.back() += static_cast<char>(HostileTiff::RowByte(y, i));
    }
    return strips;
}
} // namespace

void HostileTiff::Put(std::string& bytes, uint32_t value, size_t size) const
{
    for (size_t i = 0; i < size; ++i)
        bytes += static_cast<char>(value >> 8 * (m_order == ByteOrder::Little ? i : size - 1 - i));
}

HostileTiff::HostileTiff(uint32_t width, uint32_t height, uint32_t rows_per_strip)
    : HostileTiff(width, height, rows_per_strip, PlainStrips(width, height, rows_per_strip))
{
}

HostileTiff::HostileTiff(uint32_t width, uint32_t height, uint32_t rows_per_strip,
                         const std::vector<std::string>& strips, ByteOrder order)
    : m_order(order)
{
    for (const std::string& strip : strips) {
        m_rows += strip;
        m_strip_bytes.push_back(static_cast<uint32_t>(strip.size()));
    }
    SetLong(tag::kWidth, width);
    SetLong(tag::kHeight, height);
    Set(tag::kBits, kShort, {1});
    Set(tag::kCompression, kShort, {1});
    Set(tag::kPhotometric, kShort, {0});
    Set(tag::kStripOffsets, kLong, m_strip_bytes);
    Set(tag::kSamples, kShort, {1});
    SetLong(tag::kRowsPerStrip, rows_per_strip);
    Set(tag::kStripByteCounts, kLong, m_strip_bytes);
    m_move_strips = [](std::vector<uint32_t>&) {};
}

void HostileTiff::Set(uint16_t tag, uint16_t type, const std::vector<uint32_t>& values)
{
    if (tag == tag::kStripOffsets)
        m_move_strips = nullptr;
    std::string bytes;
    for (const uint32_t value : values)
        Put(bytes, value, type == kShort ? 2 : 4);
    m_tags[tag] = {type, static_cast<uint32_t>(type == kRational ? values.size() / 2 : values.size()), bytes};
}

void HostileTiff::SetText(uint16_t tag, const std::string& text)
{
    m_tags[tag] = {2, static_cast<uint32_t>(text.size() + 1), text + '\0'};
}

std::string HostileTiff::Bytes() const
{
    std::map<uint16_t, Tag> tags = m_tags;
    const size_t after_directory = 8 + 2 + 12 * tags.size() + 4;
    size_t first_row = 0;
    // Sets the offsets of the strips, which begin at first_row. Their number can change the size of the tags,
    // so first_row is known only after the first call.
    const auto place_strips = [&] {
        std::vector<uint32_t> offsets;
        uint32_t at = static_cast<uint32_t>(first_row);
        for (const uint32_t bytes : m_strip_bytes) {
            offsets.push_back(at);
            at += bytes;
        }
        m_move_strips(offsets);
        Tag& tag = tags[tag::kStripOffsets];
        tag.count = static_cast<uint32_t>(offsets.size());
        tag.bytes.clear();
        for (const uint32_t offset : offsets)
            Put(tag.bytes, offset, 4);
    };
    const bool places = m_move_strips && tags.count(tag::kStripOffsets);
    if (places)
        place_strips();
    first_row = after_directory;
    for (const auto& [number, tag] : tags)
        first_row += tag.bytes.size() > 4 ? tag.bytes.size() : 0;
    if (places)
        place_strips();

    std::string file = m_order == ByteOrder::Little ? "II" : "MM";
    Put(file, 42, 2);
    Put(file, 8, 4);
    Put(file, static_cast<uint32_t>(tags.size()), 2);
    std::string outside;
    for (const auto& [number, tag] : tags) {
        Put(file, number, 2);
        Put(file, tag.type, 2);
        Put(file, tag.count, 4);
        if (tag.bytes.size() > 4) {
            Put(file, static_cast<uint32_t>(after_directory + outside.size()), 4);
            outside += tag.bytes;
        } else {
            std::string inside = tag.bytes;
            inside.resize(4);
            file += inside;
        }
    }
    Put(file, m_next_directory, 4);
    return file + outside + m_rows;
}
