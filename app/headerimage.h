// What page files with a text header have in common: the header judged and taken over, the raster behind it.
#pragma once

#include "app/image.h"

#include <cstdio>
#include <kesterlib/faxhdr.h>
#include <memory>

// A concrete class says by its Kind which pages are its own and how its failures are worded, and gives rows.
class HeaderImage : public Image
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    int Open(const CString& path) override;
    int Close() override;
    int ReadRows(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count) override;
    // What is behind the row in rowBytes becomes 0.
    int ReadRow(uint8_t* buffer, int32_t rowBytes) override;
    int Rewind() override;
    int IsValid() override;
    void Describe(Description* description) const override;

protected:
    struct Kind {
        int32_t compression; // the value of the header's key
        int32_t min_is_black;
        const char* refused;
        const char* invalid;
        const char* read_error;
        const char* name;
    };
    explicit HeaderImage(const Kind& kind) : m_kind(kind) {}
    ~HeaderImage() override; // a class that has a decoder ends it before

    // A decoder of the raster from the stream's position on; false where none could be made.
    virtual bool StartDecoder() = 0;
    virtual void EndDecoder() = 0; // harmless without one
    virtual bool HasDecoder() const = 0;
    // The next rows, stride bytes apart; as many as came.
    virtual int32_t DecodeRows(uint8_t* buffer, int32_t stride, int32_t count) = 0;
    // Makes firstRow the next row; false where its place cannot be reached. Where the rows before it come to
    // an end, there are no next rows. The buffer is scratch space for count rows.
    virtual bool GoToRow(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count) = 0;
    // Whether the caller's memory for a row will do; a row that is larger is cut.
    virtual bool HasRoom(int32_t row_bytes) const { return row_bytes >= 0; }

    FILE* File = nullptr;      // null while closed
    int64_t DataOffset = 4096; // of the raster in the file

private:
    int Fail(const char* words);
    bool TakeHeader();
    bool CanRead(const uint8_t* buffer, int32_t row_bytes);

    const Kind& m_kind;
    std::unique_ptr<const FAXHeader> m_header; // null while closed
};
