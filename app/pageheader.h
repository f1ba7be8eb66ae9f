// A page file's header: the record with defaults, its text in memory and in files, and its text fields.
#pragma once

#include "platform/cstring.h"
#include "platform/file.h"

#include <kesterlib/faxhdr.h>

// Operations that read or write give ErrorCode, 0 for success, and leave the words of a failure in ErrorText.
// None throws, and none shows anything to the user. The header stands at the start of a page file: the forms
// with a path go there, those with an open file or handle work at its position.
class PageHeader : public FAXHeader
{
public:
    static constexpr int32_t kInvalidText = 0x20000057; // no header, or one that cannot be written
    static constexpr int32_t kTooLarge = 0x2000007a;    // the text does not fit in HeaderSize
    static constexpr int32_t kOutOfMemory = 8;          // ErrorText stays as it was
    // Any other code is that of the system, of a file operation.

    CString ErrorText;
    int32_t ErrorCode = 0;

    PageHeader(); // as after Reset
    // Each text field is closed by its last byte, as the setters close it.
    explicit PageHeader(const FAXHeader& header);
    void Reset(); // version 3, HeaderSize 4096, all else 0 or empty

    // HeaderSize becomes 0 where the text does not get as far as that.
    int32_t ParseBuffer(const char* buffer, uint32_t size);
    // At first 4096 bytes; only a header that says that it is longer and is not complete within them has the
    // rest fetched too. A file that ends early is no failure by itself. `overlapped` may be null; a pending
    // transfer is waited for.
    int32_t ReadFromHandle(HANDLE handle, OVERLAPPED* overlapped);
    int32_t ReadFromFile(CFile& file);
    int32_t ReadFromPath(const CString& path);

    // With pad blanks fill the text up to HeaderSize; without, only the text is written.
    int32_t WriteToBuffer(char* buffer, uint32_t buffer_bytes, bool pad);
    // A HeaderSize of 0 writes nothing, and that is a success.
    int32_t WriteToHandle(HANDLE handle, OVERLAPPED* overlapped, bool pad);
    int32_t WriteToFile(CFile& file, bool pad);
    // Makes the file where there is none; one that is there keeps what lies behind the header.
    int32_t WriteToPath(const CString& path, bool pad);

    // Setters cut a text to its field.
    void SetJobName(const char* text); // 31 bytes
    CString GetJobName() const;
    void SetCreator(const char* text); // 15 bytes
    CString GetCreator() const;
    void SetMux(const char* text); // 32 bytes
    CString GetMux() const;

    // 15 bytes each. Entries run from 0 to 63; one that cannot be set gives 0, else the result is 1.
    int SetDestination(int32_t entry, const char* text); // raises NumDestinations so that it counts the entry
    int AddDestination(const char* text);                // behind the last one
    const char* GetDestination(int32_t entry) const;     // in the record; empty for one that is not in use
    CString GetDestinationText(int32_t entry) const;
    void ClearDestinations();
    // A list is a row of zero-terminated texts, closed by an empty one. Null counts as empty; texts after the
    // 64th are dropped. Always 1.
    int SetDestinationList(const char* list);
    // 0 where an entry does not fit; the list is then closed before it.
    int GetDestinationList(char* buffer, uint32_t buffer_bytes) const;

    CString SeparationName() const; // "black", "cyan", ..., "spot 0" for layer 4

private:
    int32_t DestinationsInUse() const;
    int32_t Compose(char* buffer, uint32_t buffer_bytes, bool pad);
    int32_t FailReading(int32_t code);
    int32_t FailWriting(int32_t code);
    template <class Read, class Left>
    int32_t ReadText(Read read, Left bytes_left);
    template <class Write>
    int32_t WriteText(bool pad, Write write);
};

// A page's label: "12.C News" for page 12 of job News in the process colour of layer 1, "12.5 News" for
// layer 5.
CString FormatPageLabel(const char* job_name, int32_t page_number, int32_t layer);
