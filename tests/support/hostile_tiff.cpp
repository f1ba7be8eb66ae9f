#include "tests/support/hostile_tiff.h"

#include <algorithm>

namespace
{
void Put(std::string& bytes, uint32_t value, size_t size)
{
    for (size_t i = 0; i < size; ++i)
        bytes += static_cast<char>(value >> (8 * i));
}
} // namespace

HostileTiff::HostileTiff(uint32_t width, uint32_t height, uint32_t rows_per_strip)
    : m_row_bytes((width + 7) / 8)
{
    for (uint32_t y = 0; y < height; ++y)
        for (size_t i = 0; i < m_row_bytes; ++i)
            m_rows += static_cast<char>(RowByte(y, i));
    for (uint32_t y = 0; y < height; y += rows_per_strip)
        m_strip_bytes.push_back(std::min(rows_per_strip, height - y) * static_cast<uint32_t>(m_row_bytes));
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
    const size_t behind_directory = 8 + 2 + 12 * tags.size() + 4;
    size_t first_row = behind_directory;
    for (const auto& [number, tag] : tags)
        first_row += tag.bytes.size() > 4 ? tag.bytes.size() : 0;
    if (m_move_strips && tags.count(tag::kStripOffsets)) {
        std::vector<uint32_t> offsets;
        uint32_t at = static_cast<uint32_t>(first_row);
        for (const uint32_t bytes : m_strip_bytes) {
            offsets.push_back(at);
            at += bytes;
        }
        m_move_strips(offsets);
        std::string& bytes = tags[tag::kStripOffsets].bytes;
        bytes.clear();
        for (const uint32_t offset : offsets)
            Put(bytes, offset, 4);
    }

    std::string file = "II*";
    Put(file, 0, 1);
    Put(file, 8, 4);
    Put(file, static_cast<uint32_t>(tags.size()), 2);
    std::string outside;
    for (const auto& [number, tag] : tags) {
        Put(file, number, 2);
        Put(file, tag.type, 2);
        Put(file, tag.count, 4);
        if (tag.bytes.size() > 4) {
            Put(file, static_cast<uint32_t>(behind_directory + outside.size()), 4);
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
