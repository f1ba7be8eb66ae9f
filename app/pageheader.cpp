// SPDX-License-Identifier: MIT
// Converts the header between record and text, and reads and writes the text in files. The functions for
// handles, open files and paths share ReadText and WriteText. Their arguments are functions that transfer the
// bytes.
#include "app/pageheader.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace
{
constexpr size_t kWorkSlack = 256; // spare bytes after HeaderSize in the buffer for a new text

// HeaderSize comes from the file and may be any number. At most this many bytes of a header are read. The
// buffer for them is never larger than the rest of the file.
constexpr uint32_t kLargestHeader = uint32_t{64} << 20;

// Copies a text into a field. A text that is too long is cut, so that a 0 always ends it. The rest of the
// field becomes 0. Null counts as empty.
template <size_t N>
void SetField(char (&field)[N], const char* text)
{
    const size_t length = text ? strnlen(text, N - 1) : 0;
    memcpy(field, text ? text : "", length);
    memset(field + length, 0, N - length);
}

template <size_t N>
CString FieldText(const char (&field)[N])
{
    return std::string_view{field, strnlen(field, N)};
}

// Opens an existing file, or creates it.
CFile OpenForHeader(const CString& path)
{
    try {
        return CFile{path, CFile::modeReadWrite | CFile::shareDenyNone};
    } catch (const CFileException& failure) {
        if (failure.m_cause != CFileException::fileNotFound)
            throw;
    }
    // Not truncated, because another program may have created the file meanwhile.
    return CFile{path, CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite | CFile::shareDenyNone};
}
} // namespace

PageHeader::PageHeader() : FAXHeader{}
{
    Reset();
}

PageHeader::PageHeader(const FAXHeader& header) : FAXHeader(header)
{
    std::end(JobName)[-1] = 0;
    std::end(Creator)[-1] = 0;
    std::end(Mux)[-1] = 0;
    for (auto& destination : Destination)
        std::end(destination)[-1] = 0;
}

void PageHeader::Reset()
{
    ErrorText.Empty();
    ErrorCode = 0;
    static_cast<FAXHeader&>(*this) = FAXHeader{};
    FaxHeaderVersion = 3;
    HeaderSize = FAXHEADER_BYTES;
}

int32_t PageHeader::ParseBuffer(const char* buffer, uint32_t size)
{
    ErrorText.Empty();
    ErrorCode = 0;
    HeaderSize = 0; // so that ReadText reads more only if this text has a HeaderSize
    const char* message = nullptr;
    if (extractFaxHeader(buffer, size, this, &message) <= 0) {
        ErrorCode = kInvalidText;
        ErrorText = message;
    }
    return ErrorCode;
}

int32_t PageHeader::FailReading(int32_t code)
{
    ErrorCode = code;
    ErrorText.Format("File read error on header [%d]", code);
    return ErrorCode;
}

int32_t PageHeader::FailWriting(int32_t code)
{
    ErrorCode = code;
    ErrorText.Format("Header write error [%d]", code);
    return ErrorCode;
}

// read(buffer, bytes, &count) returns whether it succeeded; if not, it has set the error. bytes_left()
// returns the number of bytes from the position to the end, or -1 if it is unknown.
template <class Read, class Left>
int32_t PageHeader::ReadText(Read read, Left bytes_left)
{
    char first[FAXHEADER_BYTES] = {};
    uint32_t count = 0;
    if (!read(first, sizeof first, &count))
        return ErrorCode;
    if (ParseBuffer(first, count) == 0 || HeaderSize <= sizeof first)
        return ErrorCode;

    uint32_t rest = std::min(HeaderSize, kLargestHeader) - FAXHEADER_BYTES;
    if (const int64_t left = bytes_left(); left >= 0 && left < rest)
        rest = static_cast<uint32_t>(left);
    const auto whole = std::make_unique_for_overwrite<char[]>(sizeof first + rest);
    memcpy(whole.get(), first, sizeof first);
    if (!read(whole.get() + sizeof first, rest, &count))
        return ErrorCode;
    return ParseBuffer(whole.get(), FAXHEADER_BYTES + count);
}

int32_t PageHeader::ReadFromHandle(HANDLE handle, OVERLAPPED* overlapped)
{
    try {
        return ReadText(
            [&](char* buffer, uint32_t bytes, uint32_t* count) {
                if (ReadFile(handle, buffer, bytes, count, overlapped) ||
                    (overlapped && GetLastError() == kIoPending &&
                     GetOverlappedResult(handle, overlapped, count, true)))
                    return true;
                FailReading(GetLastError());
                return false;
            },
            [&] { return BytesLeft(handle); });
    } catch (const std::bad_alloc&) {
        return ErrorCode; // the error of the first bytes, which do not have a complete header
    }
}

int32_t PageHeader::ReadFromFile(CFile& file)
{
    try {
        return ReadText(
            [&](char* buffer, uint32_t bytes, uint32_t* count) {
                try {
                    *count = file.Read(buffer, bytes);
                    return true;
                } catch (const CFileException& failure) {
                    FailReading(failure.m_lOsError);
                    return false;
                }
            },
            [&] { return file.BytesLeft(); });
    } catch (const std::bad_alloc&) {
        return ErrorCode = kOutOfMemory;
    }
}

int32_t PageHeader::ReadFromPath(const CString& path)
{
    try {
        try {
            CFile file{path, CFile::modeRead | CFile::shareDenyNone};
            file.Seek(0);
            ErrorCode = ReadFromFile(file);
            file.Close();
        } catch (const CFileException& failure) {
            ErrorCode = failure.m_lOsError;
            ErrorText.Format("Fax header read error: %s [%d]", path.c_str(), failure.m_lOsError);
        }
    } catch (const std::bad_alloc&) {
        ErrorCode = kOutOfMemory;
    }
    return ErrorCode;
}

// Writes the text. Returns the number of bytes of the header, above 0. On failure sets the error and returns
// 0 or less.
int32_t PageHeader::Compose(char* buffer, uint32_t buffer_bytes, bool pad)
{
    ErrorText.Empty();
    ErrorCode = 0;
    const char* message = nullptr;
    const int32_t length = createFaxHeader(buffer, buffer_bytes, this, pad ? 1 : 0, &message);
    if (length <= 0) {
        ErrorCode = length == 0 ? kInvalidText : kTooLarge;
        ErrorText = message;
    }
    return length;
}

int32_t PageHeader::WriteToBuffer(char* buffer, uint32_t buffer_bytes, bool pad)
{
    Compose(buffer, buffer_bytes, pad);
    return ErrorCode;
}

// write(buffer, bytes) sets the error if it fails.
template <class Write>
int32_t PageHeader::WriteText(bool pad, Write write)
{
    ErrorText.Empty();
    ErrorCode = 0;
    if (HeaderSize == 0)
        return 0;
    const auto work = std::make_unique_for_overwrite<char[]>(HeaderSize + kWorkSlack);
    if (const int32_t bytes = Compose(work.get(), HeaderSize, pad); bytes > 0)
        write(work.get(), static_cast<uint32_t>(bytes));
    return ErrorCode;
}

int32_t PageHeader::WriteToHandle(HANDLE handle, OVERLAPPED* overlapped, bool pad)
{
    try {
        return WriteText(pad, [&](const char* buffer, uint32_t bytes) {
            uint32_t count = 0;
            if (!WriteFile(handle, buffer, bytes, &count, overlapped) &&
                !(overlapped && GetLastError() == kIoPending &&
                  GetOverlappedResult(handle, overlapped, &count, true)))
                FailWriting(GetLastError());
        });
    } catch (const std::bad_alloc&) {
        return ErrorCode = kOutOfMemory;
    }
}

int32_t PageHeader::WriteToFile(CFile& file, bool pad)
{
    try {
        return WriteText(pad, [&](const char* buffer, uint32_t bytes) {
            try {
                file.Write(buffer, bytes);
            } catch (const CFileException& failure) {
                FailWriting(failure.m_lOsError);
            }
        });
    } catch (const std::bad_alloc&) {
        return ErrorCode = kOutOfMemory;
    }
}

int32_t PageHeader::WriteToPath(const CString& path, bool pad)
{
    try {
        try {
            CFile file = OpenForHeader(path);
            file.Seek(0);
            ErrorCode = WriteToFile(file, pad);
            file.Close();
        } catch (const CFileException& failure) {
            ErrorCode = failure.m_lOsError;
            ErrorText.Format("File write error: %s [%d]", path.c_str(), failure.m_lOsError);
        }
    } catch (const std::bad_alloc&) {
        ErrorCode = kOutOfMemory;
    }
    return ErrorCode;
}

void PageHeader::SetJobName(const char* text)
{
    SetField(JobName, text);
}

CString PageHeader::GetJobName() const
{
    return FieldText(JobName);
}

void PageHeader::SetCreator(const char* text)
{
    SetField(Creator, text);
}

CString PageHeader::GetCreator() const
{
    return FieldText(Creator);
}

void PageHeader::SetMux(const char* text)
{
    SetField(Mux, text);
}

CString PageHeader::GetMux() const
{
    return FieldText(Mux);
}

// NumDestinations may be any number, because it may come from a file.
int32_t PageHeader::DestinationsInUse() const
{
    return std::clamp<int32_t>(NumDestinations, 0, FAXHEADER_DESTINATIONS);
}

int PageHeader::SetDestination(int32_t entry, const char* text)
{
    if (entry < 0 || entry >= FAXHEADER_DESTINATIONS)
        return 0;
    SetField(Destination[entry], text);
    NumDestinations = std::max(NumDestinations, entry + 1);
    return 1;
}

int PageHeader::AddDestination(const char* text)
{
    return SetDestination(DestinationsInUse(), text);
}

const char* PageHeader::GetDestination(int32_t entry) const
{
    return entry >= 0 && entry < DestinationsInUse() ? Destination[entry] : "";
}

CString PageHeader::GetDestinationText(int32_t entry) const
{
    return GetDestination(entry);
}

void PageHeader::ClearDestinations()
{
    for (int32_t i = 0; i < DestinationsInUse(); ++i)
        Destination[i][0] = 0;
    NumDestinations = 0;
}

int PageHeader::SetDestinationList(const char* list)
{
    NumDestinations = 0;
    for (const char* text = list; text && *text && AddDestination(text); text += strlen(text) + 1) {
    }
    return 1;
}

int PageHeader::GetDestinationList(char* buffer, uint32_t buffer_bytes) const
{
    if (buffer_bytes == 0)
        return 0;
    size_t written = 0;
    int32_t entry = 0;
    for (; entry < DestinationsInUse(); ++entry) {
        const size_t length = strlen(Destination[entry]);
        if (length + written + 2 >= buffer_bytes) // 2: the bytes that end the entry and the list
            break;
        memcpy(buffer + written, Destination[entry], length + 1);
        written += length + 1;
    }
    buffer[written] = 0;
    return entry == DestinationsInUse() ? 1 : 0;
}

CString PageHeader::SeparationName() const
{
    static constexpr const char* kNames[] = {"black", "cyan", "magenta", "yellow"};
    if (Layer >= 0 && Layer < 4)
        return kNames[Layer];
    CString name;
    name.Format("spot %u", static_cast<uint32_t>(Layer) - 4U);
    return name;
}

CString FormatPageLabel(const char* job_name, int32_t page_number, int32_t layer)
{
    FAXHeader header{};
    memcpy(header.JobName, job_name, strnlen(job_name, sizeof header.JobName));
    header.PageNumber = page_number;
    header.Layer = layer;
    char label[2 * sizeof header.JobName];
    FAXHeader_Label(&header, label, sizeof label);
    return label;
}
