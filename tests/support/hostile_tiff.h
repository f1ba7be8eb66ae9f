// SPDX-License-Identifier: MIT
// A small writer of TIFF files with any kind of damage: every tag can be replaced or left out. The rows
// follow the directory, so that a file that is cut off loses rows and keeps its directory.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

// At first the page is undamaged, unless its sides are: 1 bit per pixel, 1 is black, strips one after the
// other.
class HostileTiff
{
public:
    enum class ByteOrder { Little, Big };

    HostileTiff(uint32_t width, uint32_t height, uint32_t rows_per_strip); // uncompressed rows of RowByte
    // Uses these strips. The caller sets the compression tag.
    HostileTiff(uint32_t width, uint32_t height, uint32_t rows_per_strip,
                const std::vector<std::string>& strips, ByteOrder order = ByteOrder::Little);

    static constexpr uint16_t kShort = 3; // types of a tag
    static constexpr uint16_t kLong = 4;
    static constexpr uint16_t kRational = 5;

    // The file contains the values unchanged, even if they are invalid.
    void Set(uint16_t tag, uint16_t type, const std::vector<uint32_t>& values);
    void SetLong(uint16_t tag, uint32_t value) { Set(tag, kLong, {value}); }
    void SetText(uint16_t tag, const std::string& text);
    void Remove(uint16_t tag) { m_tags.erase(tag); }
    void SetNextDirectory(uint32_t offset) { m_next_directory = offset; }
    // Changes StripOffsets: `move` receives the true offsets, one per strip, and can change their values and
    // their number. Bytes can call it several times.
    void MoveStrips(const std::function<void(std::vector<uint32_t>&)>& move) { m_move_strips = move; }

    std::string Bytes() const;
    // Returns byte i of row y. Rows differ, and so do neighbouring bytes.
    static uint8_t RowByte(uint32_t y, size_t i)
    {
        return static_cast<uint8_t>(size_t{y} * 37 + i * 11 + (y >> 5) + 1);
    }

private:
    struct Tag {
        uint16_t type;
        uint32_t count;
        std::string bytes;
    };
    void Put(std::string& bytes, uint32_t value, size_t size) const;

    ByteOrder m_order;
    std::map<uint16_t, Tag> m_tags;
    std::vector<uint32_t> m_strip_bytes;
    std::string m_rows;
    uint32_t m_next_directory = 0;
    std::function<void(std::vector<uint32_t>&)> m_move_strips;
};

namespace tag
{
constexpr uint16_t kWidth = 256, kHeight = 257, kBits = 258, kCompression = 259, kPhotometric = 262;
constexpr uint16_t kFillOrder = 266, kT4Options = 292;
constexpr uint16_t kDocumentName = 269, kStripOffsets = 273, kSamples = 277, kRowsPerStrip = 278;
constexpr uint16_t kStripByteCounts = 279, kXResolution = 282, kYResolution = 283, kPlanar = 284;
constexpr uint16_t kResolutionUnit = 296, kTileWidth = 322, kTileLength = 323, kTileOffsets = 324;
constexpr uint16_t kTileByteCounts = 325;
} // namespace tag
