// SPDX-License-Identifier: MIT
// Reads and writes bytes and numbers. The functions for streams and those for blocks use the same templates.
// Stream and Block transfer the bytes and make the reports. If a client's slot returns more bytes than
// requested, this is treated as no bytes.
#include "kesterlib/files.h"

#include "read_up_to.h"

#include <string.h>

namespace
{
struct Stream {
    FILE* stream;

    size_t read(void* buffer, size_t bytes) const { return fread(buffer, 1, bytes, stream); }
    size_t write(const void* buffer, size_t bytes) const { return fwrite(buffer, 1, bytes, stream); }
    int get() const { return fgetc(stream); }
    bool put(uint8_t byte) const { return putc(byte, stream) != EOF; }
    bool at_end() const { return feof(stream) != 0; }
    void report(const char* text) const { perror(text); }
};

struct Block {
    callback_block* block;

    size_t read(void* buffer, size_t bytes) const { return callback_fread(block, 1, bytes, buffer); }
    size_t write(const void* buffer, size_t bytes) const { return callback_fwrite(block, 1, bytes, buffer); }
    int get() const { return callback_fgetc(block); }
    bool put(uint8_t byte) const { return callback_fputc(block, byte) == 1; }
    bool at_end() const { return callback_feof(block) != 0; }
    void report(const char* text) const { callback_perror(block, text); }
};

template <typename File>
size_t read_bytes(const File& file, void* buffer, size_t bytes)
{
    const size_t arrived = kesterlib::read_up_to(
        buffer, bytes, [&file](void* to, size_t count) { return file.read(to, count); });
    if (arrived < bytes && !file.at_end())
        file.report("reading file");
    return arrived;
}

template <typename File>
size_t write_bytes(const File& file, const void* buffer, size_t bytes)
{
    const auto* next = static_cast<const uint8_t*>(buffer);
    for (size_t missing = bytes; missing > 0;) {
        const size_t put = file.write(next, missing);
        if (put == 0 || put > missing) {
            file.report("writing file");
            return bytes - missing;
        }
        next += put;
        missing -= put;
    }
    return bytes;
}

template <typename File, typename Number>
int read_number(const File& file, Number* out, const char* error_text)
{
    uint32_t number = 0;
    for (size_t i = 0; i < sizeof(Number); ++i) {
        const int byte = file.get();
        if (byte < 0) {
            file.report(error_text);
            return 0;
        }
        number = number << 8 | static_cast<uint32_t>(byte);
    }
    *out = static_cast<Number>(number);
    return 1;
}

template <typename File, typename Number>
int write_number(const File& file, Number value, const char* error_text)
{
    for (size_t i = sizeof(Number); i-- > 0;)
        if (!file.put(static_cast<uint8_t>(value >> (8 * i)))) {
            file.report(error_text);
            return 0;
        }
    return 1;
}

uint16_t reversed(uint16_t word)
{
    return static_cast<uint16_t>(word << 8 | word >> 8);
}

uint32_t reversed(uint32_t word)
{
    return word << 24 | (word << 8 & 0xff0000) | (word >> 8 & 0xff00) | word >> 24;
}

template <typename Word>
void swap_words(void* buffer, size_t bytes)
{
    auto* next = static_cast<unsigned char*>(buffer);
    for (size_t words = bytes / sizeof(Word); words > 0; --words, next += sizeof(Word)) {
        Word word = 0;
        memcpy(&word, next, sizeof word); // the address may be unaligned
        word = reversed(word);
        memcpy(next, &word, sizeof word);
    }
}
} // namespace

size_t file_read(FILE* stream, void* buffer, size_t n)
{
    return read_bytes(Stream{stream}, buffer, n);
}

size_t file_write(FILE* stream, const void* buffer, size_t n)
{
    return write_bytes(Stream{stream}, buffer, n);
}

size_t callback_read_nbytes(callback_block* block, void* buffer, size_t n)
{
    return read_bytes(Block{block}, buffer, n);
}

size_t callback_write_nbytes(callback_block* block, const void* buffer, size_t n)
{
    return write_bytes(Block{block}, buffer, n);
}

int file_write_byte(FILE* stream, uint8_t value)
{
    return write_number(Stream{stream}, value, "writing a char");
}

int file_write_short(FILE* stream, uint16_t value)
{
    return write_number(Stream{stream}, value, "writing a short");
}

int file_write_long(FILE* stream, uint32_t value)
{
    return write_number(Stream{stream}, value, "writing a long");
}

int file_read_byte(FILE* stream, uint8_t* out)
{
    return read_number(Stream{stream}, out, "reading a char");
}

int file_read_short(FILE* stream, uint16_t* out)
{
    return read_number(Stream{stream}, out, "reading a short");
}

int file_read_long(FILE* stream, uint32_t* out)
{
    return read_number(Stream{stream}, out, "reading a long");
}

int callback_write_byte(callback_block* block, uint8_t value)
{
    return write_number(Block{block}, value, "writing a char");
}

int callback_write_short(callback_block* block, uint16_t value)
{
    return write_number(Block{block}, value, "writing a short");
}

int callback_write_long(callback_block* block, uint32_t value)
{
    return write_number(Block{block}, value, "writing a long");
}

int callback_read_byte(callback_block* block, uint8_t* out)
{
    return read_number(Block{block}, out, "reading a char");
}

int callback_read_short(callback_block* block, uint16_t* out)
{
    return read_number(Block{block}, out, "reading a short");
}

int callback_read_long(callback_block* block, uint32_t* out)
{
    return read_number(Block{block}, out, "reading a long");
}

void endian_swap_32(void* buffer, size_t bytes)
{
    swap_words<uint32_t>(buffer, bytes);
}

void endian_swap_16(void* buffer, size_t bytes)
{
    swap_words<uint16_t>(buffer, bytes);
}
