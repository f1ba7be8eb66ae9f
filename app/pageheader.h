// SPDX-License-Identifier: MIT
// The header of a page file: reads and writes its text in memory and in files, and accesses its text fields.
#pragma once

#include "platform/cstring.h"
#include "platform/file.h"

#include <kesterlib/faxhdr.h>

// The functions that read or write return ErrorCode, which is 0 after a success. A failure sets ErrorText to
// a message. None of them shows anything to the user. Those that access a file do not throw.
//
// The header is at the start of a page file. The functions with a path work there. Those with an open file or
// handle work at its current position.
class PageHeader : public FAXHeader
{
public:
    static constexpr int32_t kInvalidText = 0x20000057; // no header, or the buffer is below HeaderSize
    static constexpr int32_t kTooLarge = 0x2000007a;    // the text to write is longer than HeaderSize
    static constexpr int32_t kOutOfMemory = 8;          // memory is short; ErrorText is not set
    // Any other code is the errno of a file operation.

    CString ErrorText;
    int32_t ErrorCode = 0;

    PageHeader(); // as after Reset
    // Copies a record. Sets the last byte of each text field to 0, as the setters do.
    explicit PageHeader(const FAXHeader& header);
    void Reset(); // sets version 3 and HeaderSize 4096; everything else is 0 or empty

    // Reads the header from a text of `size` bytes. If this fails before the HeaderSize is read, HeaderSize
    // is 0.
    [[nodiscard]] int32_t ParseBuffer(const char* buffer, uint32_t size);
    // These functions first read 4096 bytes. If these have a HeaderSize above 4096 and no complete header,
    // the rest of the header is read too. It is not an error by itself if the file ends early.
    //
    // `overlapped` is needed for a handle that does not block, and may be null for others. The function waits
    // for a pending transfer. If there is no memory for the rest, ReadFromHandle returns the error of the
    // first 4096 bytes instead of kOutOfMemory.
    [[nodiscard]] int32_t ReadFromHandle(HANDLE handle, OVERLAPPED* overlapped);
    [[nodiscard]] int32_t ReadFromFile(CFile& file);
    [[nodiscard]] int32_t ReadFromPath(const CString& path);

    // Writes the text. If `pad` is true, blanks follow up to HeaderSize. buffer_bytes must be at least
    // HeaderSize.
    [[nodiscard]] int32_t WriteToBuffer(char* buffer, uint32_t buffer_bytes, bool pad);
    // Write the text as WriteToBuffer does. If HeaderSize is 0, they write nothing and return 0.
    [[nodiscard]] int32_t WriteToHandle(HANDLE handle, OVERLAPPED* overlapped, bool pad);
    [[nodiscard]] int32_t WriteToFile(CFile& file, bool pad);
    // Writes the text at the start of the file. Creates the file if it does not exist. An existing file keeps
    // its contents after the header.
    [[nodiscard]] int32_t WriteToPath(const CString& path, bool pad);

    // A setter cuts the text to the given number of bytes. Null counts as an empty text.
    void SetJobName(const char* text); // 31 bytes
    [[nodiscard]] CString GetJobName() const;
    void SetCreator(const char* text); // 15 bytes
    [[nodiscard]] CString GetCreator() const;
    void SetMux(const char* text); // 32 bytes
    [[nodiscard]] CString GetMux() const;

    // A destination is a text of up to 15 bytes. Entries are numbered from 0 to 63. SetDestination makes
    // NumDestinations at least entry + 1. AddDestination sets the entry after the last one in use. Both
    // return 1, or 0 if there is no such entry.
    [[nodiscard]] int SetDestination(int32_t entry, const char* text);
    [[nodiscard]] int AddDestination(const char* text);
    // Returns a text in the record; empty if the entry is not in use.
    [[nodiscard]] const char* GetDestination(int32_t entry) const;
    [[nodiscard]] CString GetDestinationText(int32_t entry) const;
    void ClearDestinations();
    // Replaces the destinations by those of a list: zero-terminated texts, one after the other, ended by an
    // empty one. Null counts as an empty list. Texts after the 64th are dropped. Always returns 1.
    int SetDestinationList(const char* list);
    // Writes the destinations as such a list into a buffer of buffer_bytes bytes. Returns 1, or 0 if an entry
    // does not fit; the list then ends before it.
    [[nodiscard]] int GetDestinationList(char* buffer, uint32_t buffer_bytes) const;

    // Returns the name of the layer: "black", "cyan" and so on; "spot 0" for layer 4.
    [[nodiscard]] CString SeparationName() const;

private:
    [[nodiscard]] int32_t DestinationsInUse() const;
    int32_t Compose(char* buffer, uint32_t buffer_bytes, bool pad);
    int32_t FailReading(int32_t code);
    int32_t FailWriting(int32_t code);
    template <class Read, class Left>
    [[nodiscard]] int32_t ReadText(Read read, Left bytes_left);
    template <class Write>
    int32_t WriteText(bool pad, Write write);
};

// Returns a page's label: "12.C News" for page 12 of job News and layer 1, which is cyan; "12.5 News" for
// layer 5. The job name is cut to 32 bytes, the size of its field.
[[nodiscard]] CString FormatPageLabel(const char* job_name, int32_t page_number, int32_t layer);
