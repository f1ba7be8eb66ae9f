// SPDX-License-Identifier: MIT
// The base of all page files with a text header: reads and checks the header, then reads the raster after it.
// Open receives a path. ReadRow and ReadRows deliver the rows, which a decoder of the derived class decodes.
#pragma once

#include "app/image.h"

#include <cstdio>
#include <kesterlib/faxhdr.h>
#include <memory>

// The Kind of a derived class says which files the class accepts and which texts it uses. The class supplies
// the decoder of the raster.
class HeaderImage : public Image
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    [[nodiscard]] int Open(const CString& path) override;
    int Close() override;
    [[nodiscard]] int ReadRows(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count) override;
    // If rowBytes is larger than the row, the rest of the buffer becomes 0.
    [[nodiscard]] int ReadRow(uint8_t* buffer, int32_t rowBytes) override;
    int Rewind() override;
    [[nodiscard]] int IsValid() override;
    void Describe(Description* description) const override;

protected:
    struct Kind {
        int32_t compression;    // value of the header's key Compression
        int32_t min_is_black;   // see MinIsBlack
        const char* refused;    // error text: the file is not a page of this kind
        const char* invalid;    // error text: no row can be read, see IsValid
        const char* read_error; // error text: a row cannot be decoded
        const char* name;       // name of the format, for Describe
    };
    explicit HeaderImage(const Kind& kind) : m_kind(kind) {}
    ~HeaderImage() override; // the derived class has already ended its decoder

    // Makes a decoder for the raster, which starts at the position of File. Returns false if that fails.
    [[nodiscard]] virtual bool StartDecoder() = 0;
    virtual void EndDecoder() = 0; // frees the decoder, if there is one
    [[nodiscard]] virtual bool HasDecoder() const = 0;
    // Decodes the next `count` rows into `buffer`, stride bytes apart. Returns the number of rows delivered:
    // fewer than count if the data are damaged or at their end. Does not change CurrentRow. The caller does
    // this.
    [[nodiscard]] virtual int32_t DecodeRows(uint8_t* buffer, int32_t stride, int32_t count) = 0;
    // Makes firstRow the next row to decode. `buffer` is scratch space for `count` rows, stride bytes apart.
    // Returns false if the position of the row cannot be reached. If the data end before that row, returns
    // true, and DecodeRows then delivers no rows.
    [[nodiscard]] virtual bool SeekRow(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count) = 0;
    // Returns whether a buffer of row_bytes bytes per row is accepted. If a row of the page is longer, only
    // its first bytes are delivered.
    [[nodiscard]] virtual bool HasRoom(int32_t row_bytes) const { return row_bytes >= 0; }

    FILE* File = nullptr;      // the open file; null while closed
    int64_t DataOffset = 4096; // position of the raster in the file

private:
    [[nodiscard]] bool UseHeader();
    [[nodiscard]] bool CanReadInto(const uint8_t* buffer, int32_t row_bytes);

    const Kind& m_kind;
    std::unique_ptr<const FAXHeader> m_header; // the header of the open file; null while closed
};
