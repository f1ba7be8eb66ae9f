// SPDX-License-Identifier: MIT
// The page header: reading and writing by path, file and handle, the report of each failure, and the text
// fields.
#include "app/pageheader.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <new>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>
#include <vector>

namespace
{
size_t g_largest_array = SIZE_MAX; // in bytes; the allocation of a larger array fails
size_t g_array_seen = 0;           // the largest array requested so far

bool g_takes_nothing = false;  // every write returns 0
std::function<void()> g_waits; // called before the program waits for a handle
} // namespace

// These functions replace those of the system in this program.
extern "C" ssize_t write(int file, const void* buffer, size_t bytes)
{
    const iovec part{const_cast<void*>(buffer), bytes};
    return g_takes_nothing ? 0 : writev(file, &part, 1);
}

extern "C" int poll(pollfd* files, nfds_t count, int)
{
    if (g_waits)
        g_waits();
    return ppoll(files, count, nullptr, nullptr);
}

void* operator new[](size_t bytes)
{
    g_array_seen = std::max(g_array_seen, bytes);
    void* const memory = bytes <= g_largest_array ? malloc(bytes ? bytes : 1) : nullptr;
    if (!memory)
        throw std::bad_alloc();
    return memory;
}
void operator delete[](void* memory) noexcept
{
    free(memory);
}
void operator delete[](void* memory, size_t) noexcept
{
    free(memory);
}

namespace
{
class MemoryLimit
{
public:
    explicit MemoryLimit(size_t largest_array) { g_largest_array = largest_array; }
    ~MemoryLimit() { g_largest_array = SIZE_MAX; }
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;
};

PageHeader Sample()
{
    PageHeader header;
    header.SetJobName("News");
    header.SetCreator("rip");
    header.PageNumber = 12;
    return header;
}

std::string TextOf(PageHeader header, bool pad)
{
    std::vector<char> text(std::max(header.HeaderSize, 1U));
    EXPECT_EQ(header.WriteToBuffer(text.data(), header.HeaderSize, pad), 0);
    return {text.data(), pad ? text.size() : strlen(text.data())};
}

// The record without the padding at its end.
std::string_view BytesOf(const FAXHeader& header)
{
    return {reinterpret_cast<const char*>(&header), offsetof(FAXHeader, Mux) + sizeof header.Mux};
}

// A version 4 text of about `bytes` bytes, filled up with unknown keys and closed by the destinations.
std::string LongText(const std::string& header_size, size_t bytes)
{
    PageHeader header = Sample();
    header.FaxHeaderVersion = 4;
    EXPECT_EQ(header.AddDestination("north"), 1);
    std::string text = TextOf(header, false);
    text.replace(text.find("4096"), 4, header_size);
    while (text.size() < bytes)
        text.insert(text.find(">>"), " /Later key\n");
    return text;
}

// The two routes to an open file. Each starts at offset 0 of the file and returns the position after it.
struct Outcome {
    int32_t code;
    std::string text;
    int64_t position;
};
struct Route {
    const char* name;
    Outcome (*read)(PageHeader& header, const std::string& path);
    Outcome (*write)(PageHeader& header, const std::string& path, bool pad);
};
Outcome OutcomeOf(const PageHeader& header, int32_t code, int64_t position)
{
    EXPECT_EQ(header.ErrorCode, code);
    return {code, header.ErrorText.c_str(), position};
}
constexpr Route kRoutes[] = {
    {"handle",
     [](PageHeader& header, const std::string& path) {
         const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
         const int32_t code = header.ReadFromHandle(file, nullptr);
         const int64_t position = lseek(file, 0, SEEK_CUR);
         close(file);
         return OutcomeOf(header, code, position);
     },
     [](PageHeader& header, const std::string& path, bool pad) {
         const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
         const int32_t code = header.WriteToHandle(file, nullptr, pad);
         close(file);
         return OutcomeOf(header, code, 0);
     }},
    {"file",
     [](PageHeader& header, const std::string& path) {
         CFile file{path, CFile::modeRead};
         const int64_t size = file.BytesLeft();
         const int32_t code = header.ReadFromFile(file);
         return OutcomeOf(header, code, size - file.BytesLeft());
     },
     [](PageHeader& header, const std::string& path, bool pad) {
         CFile file{path, CFile::modeWrite | CFile::modeCreate};
         return OutcomeOf(header, header.WriteToFile(file, pad), 0);
     }},
};

TEST(PageHeader, ReadsByEveryRoute)
{
    const ScratchDirectory scratch;
    const std::string no_header = "Header format error", no_end = "Unable skip to end of header";
    constexpr int32_t kInvalid = 0x20000057;
    struct {
        const char* name;
        std::string bytes;
        int32_t code;
        std::string text;
        int64_t position;
        size_t memory; // bytes of the largest array allowed
    } const cases[] = {
        {"padded", TextOf(Sample(), true) + "raster", 0, "", 4096, 0},
        {"text alone", TextOf(Sample(), false), 0, "", static_cast<int64_t>(TextOf(Sample(), false).size()),
         0},
        {"claims 9000, but complete in 4096", LongText("9000", 0) + std::string(9000, ' '), 0, "", 4096, 0},
        {"longer than 4096", LongText("9000", 8000) + std::string(9000, ' '), 0, "", 9000, 9000},
        {"not complete at its HeaderSize", LongText("4100", 8000) + std::string(9000, ' '), kInvalid, no_end,
         4100, 4100},
        {"file ends first", LongText("9000", 8000).substr(0, 6000), kInvalid, no_end, 6000, 6000},
        {"file ends with the text", LongText("4294967295", 8000), 0, "",
         static_cast<int64_t>(LongText("4294967295", 8000).size()), 8200},
        {"claims 4 GB", "<<\n/FaxHeaderVersion 4\n/HeaderSize 4294967295\n", kInvalid, no_header, 46, 4096},
        {"no header", std::string(9000, 'x'), kInvalid, no_header, 4096, 0},
        {"empty", "", kInvalid, no_header, 0, 0},
    };
    for (const auto& c : cases) {
        const std::string path = scratch.Write("page.fax", c.bytes);
        for (const Route& route : kRoutes) {
            SCOPED_TRACE(testing::Message() << c.name << " by " << route.name);
            PageHeader header;
            header.ErrorText = "of before";
            g_array_seen = 0;
            const Outcome got = route.read(header, path);
            EXPECT_LE(g_array_seen, c.memory);
            EXPECT_EQ(got.code, c.code);
            EXPECT_EQ(got.text, c.text);
            EXPECT_EQ(got.position, c.position);
            EXPECT_EQ(header.GetJobName() == "News", c.code == 0 || c.position > 4096);

            PageHeader by_path;
            EXPECT_EQ(by_path.ReadFromPath(path), c.code);
            EXPECT_EQ(by_path.ErrorText, c.text.c_str());
            EXPECT_EQ(BytesOf(by_path), BytesOf(header));
        }
    }
    PageHeader header;
    EXPECT_EQ(header.ParseBuffer("x", 1), kInvalid);
    header.Reset();
    EXPECT_EQ(TextOf(header, false), TextOf(PageHeader{}, false));
    EXPECT_TRUE(header.ErrorText.IsEmpty() && header.ErrorCode == 0);
}

TEST(PageHeader, WritesByEveryRoute)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.File("page.fax");
    for (const bool pad : {false, true}) {
        const std::string want = TextOf(Sample(), pad);
        for (const Route& route : kRoutes) {
            SCOPED_TRACE(route.name);
            unlink(path.c_str());
            PageHeader header = Sample();
            header.ErrorText = "of before";
            EXPECT_EQ(route.write(header, path, pad).code, 0);
            EXPECT_TRUE(header.ErrorText.IsEmpty());
            EXPECT_EQ(scratch.Read("page.fax"), want);
            header.HeaderSize = 0; // nothing to write
            EXPECT_EQ(route.write(header, scratch.File("nothing"), pad).code, 0);
            EXPECT_EQ(std::filesystem::file_size(scratch.File("nothing")), 0U);
            header.HeaderSize = 99;
            EXPECT_EQ(route.write(header, path, pad).code, 0x2000007a);
            EXPECT_EQ(header.ErrorText, "Header is too large");
            const MemoryLimit limit(99);
            EXPECT_EQ(route.write(header, path, pad).code, 8);
        }
        unlink(path.c_str());
        PageHeader header = Sample();
        EXPECT_EQ(header.WriteToPath(path, pad), 0);
        EXPECT_EQ(scratch.Read("page.fax"), want);
        scratch.Write("page.fax", std::string(9999, 'x'));
        EXPECT_EQ(header.WriteToPath(path, pad), 0);
        EXPECT_EQ(scratch.Read("page.fax"), want + std::string(9999 - want.size(), 'x'));
    }
    PageHeader header = Sample();
    char small[99];
    EXPECT_EQ(header.WriteToBuffer(small, sizeof small, true), 0x20000057);
    EXPECT_EQ(header.ErrorText, "Buffer is smaller than HeaderSize");
}

TEST(PageHeader, ReportsWhyAFileCannotBeReadOrWritten)
{
    const ScratchDirectory scratch;
    const std::string page = scratch.Write("page.fax", TextOf(Sample(), true));
    const std::string fifo = scratch.File("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0644), 0);
    const std::string long_path = scratch.Path() + std::string(4096, '/') + "page.fax";
    const std::pair<std::string, int> cases[] = {
        {scratch.File("none/page.fax"), ENOENT},
        {page + "/page.fax", ENOTDIR},
        {scratch.Path(), EISDIR},
        {long_path, ENAMETOOLONG},
        {fifo, EACCES},
        {"/dev/full", EACCES},
    };
    for (const auto& [path, code] : cases) {
        SCOPED_TRACE(path);
        const std::string place_and_code = path + " [" + std::to_string(code) + "]";
        PageHeader header = Sample();
        alarm(20); // a call that blocks ends the program
        EXPECT_EQ(header.ReadFromPath(path), code);
        EXPECT_EQ(header.ErrorText, ("Fax header read error: " + place_and_code).c_str());
        EXPECT_EQ(header.WriteToPath(path, true), code);
        EXPECT_EQ(header.ErrorText, ("File write error: " + place_and_code).c_str());
        alarm(0);
    }

    // Transfers that fail: a regular file that cannot be read, a full disk, an invalid handle.
    PageHeader header = Sample();
    EXPECT_EQ(header.ReadFromPath("/proc/self/mem"), EIO);
    EXPECT_EQ(header.ErrorText, "File read error on header [5]");
    EXPECT_EQ(header.ReadFromHandle(-1, nullptr), EBADF);
    EXPECT_EQ(header.ErrorText, "File read error on header [9]");
    header = Sample();
    EXPECT_EQ(kRoutes[0].write(header, "/dev/full", true).text, "Header write error [28]");
    {
        const FileSizeLimit limit(2000);
        EXPECT_EQ(kRoutes[1].write(header, page, true).text, "Header write error [27]");
        EXPECT_EQ(header.WriteToPath(page, true), EFBIG);
        EXPECT_EQ(header.ErrorText, "Header write error [27]");
    }
    for (const Route& route : kRoutes) {
        alarm(20);
        g_takes_nothing = true;
        const Outcome got = route.write(header, page, true);
        g_takes_nothing = false;
        alarm(0);
        EXPECT_EQ(got.text, "Header write error [5]") << route.name;
    }
    // There is no memory for the rest of a long header.
    const std::string path = scratch.Write("long.fax", LongText("9000", 8000));
    const MemoryLimit limit(5000);
    EXPECT_EQ(kRoutes[0].read(header, path).code,
              0x20000057); // the error of the first parse
    EXPECT_EQ(kRoutes[1].read(header, path).code, 8);
    EXPECT_EQ(header.ReadFromPath(path), 8);
}

TEST(PageHeader, WaitsForPendingTransfers)
{
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_NONBLOCK | O_CLOEXEC), 0);
    OVERLAPPED overlapped;
    PageHeader header;
    EXPECT_EQ(header.ReadFromHandle(ends[0], nullptr), EAGAIN) << "without the record it cannot wait";

    // The bytes come in two parts, each while the reader waits.
    const std::string text = LongText("9000", 8000);
    size_t sent = 0;
    g_waits = [&] {
        const ssize_t count = write(ends[1], text.data() + sent, std::min<size_t>(4096, text.size() - sent));
        sent += count > 0 ? static_cast<size_t>(count) : 0;
    };
    EXPECT_EQ(header.ReadFromHandle(ends[0], &overlapped), 0);
    EXPECT_STREQ(header.GetDestination(0), "north");

    // The pipe is full, and gets room while the writer waits.
    const std::string much(4096, 'x');
    while (write(ends[1], much.data(), much.size()) > 0) {
    }
    std::string got;
    const auto take = [&] {
        char part[4096];
        const ssize_t count = read(ends[0], part, sizeof part);
        got.append(part, count > 0 ? static_cast<size_t>(count) : 0);
        return count > 0;
    };
    g_waits = take;
    EXPECT_EQ(header.WriteToHandle(ends[1], &overlapped, true), 0);
    while (take()) {
    }
    EXPECT_TRUE(got.ends_with("x" + TextOf(header, true)));
    g_waits = nullptr;
}

TEST(PageHeader, TextFieldsAndDestinations)
{
    const std::string text = "0123456789abcdefghijklmnopqrstuvwxyz0123456789";
    FAXHeader record{};
    memset(static_cast<void*>(&record), 'x', sizeof record); // no text field is terminated
    PageHeader header{record};
    EXPECT_EQ(header.GetJobName().GetLength(), 31);
    EXPECT_EQ(strlen(header.GetDestination(63)), 15U);
    EXPECT_STREQ(header.GetDestination(64), "");
    EXPECT_EQ(header.AddDestination("more"), 0);
    header.SetJobName(text.c_str());
    header.SetCreator(text.c_str());
    header.SetMux(text.c_str());
    EXPECT_EQ(header.GetJobName(), text.substr(0, 31).c_str());
    EXPECT_EQ(header.GetCreator(), text.substr(0, 15).c_str());
    EXPECT_EQ(header.GetMux(), text.substr(0, 32).c_str());

    header.Reset();
    EXPECT_EQ(header.SetDestination(-1, "x") + header.SetDestination(64, "x"), 0);
    EXPECT_EQ(header.SetDestination(10, text.c_str()), 1);
    EXPECT_EQ(header.SetDestination(0, "first"), 1);
    EXPECT_EQ(header.NumDestinations, 11);
    EXPECT_EQ(header.GetDestinationText(10), text.substr(0, 15).c_str());
    header.ClearDestinations();
    EXPECT_EQ(header.NumDestinations + header.Destination[0][0] + header.Destination[10][0], 0);
    header.NumDestinations = INT32_MIN; // a file can contain this
    for (int i = 0; i < 65; ++i)
        EXPECT_EQ(header.AddDestination("d"), i < 64 ? 1 : 0);
    EXPECT_EQ(header.NumDestinations, 64);

    EXPECT_EQ(header.SetDestinationList("north\0\0south"), 1);
    EXPECT_EQ(header.NumDestinations, 1);
    EXPECT_EQ(header.SetDestinationList("ab\0c\0"), 1);
    // "ab", "c" and the closing text take 2 + 1 + 1 + 1 + 1 bytes, but one more byte is required.
    const std::string closing(1, '\0'), ab = "ab" + closing, abc = ab + "c" + closing;
    const std::string want[] = {"",      closing,      closing,      closing,
                                closing, ab + closing, ab + closing, abc + closing};
    for (uint32_t bytes = 0; bytes < std::size(want); ++bytes) {
        const auto buffer = std::make_unique<char[]>(bytes);
        EXPECT_EQ(header.GetDestinationList(buffer.get(), bytes), bytes == 7 ? 1 : 0) << bytes;
        EXPECT_EQ(memcmp(buffer.get(), want[bytes].data(), want[bytes].size()), 0) << bytes;
    }
    EXPECT_EQ(header.SetDestinationList(nullptr), 1);
    EXPECT_EQ(header.NumDestinations, 0);
}

TEST(PageHeader, SeparationsAndLabels)
{
    struct {
        int32_t layer;
        const char *name, *label;
    } const cases[] = {
        {0, "black", "12.B News"},
        {3, "yellow", "12.Y News"},
        {4, "spot 0", "12.4 News"},
        {-1, "spot 4294967291", "12.-1 News"},
    };
    for (const auto& c : cases) {
        PageHeader header = Sample();
        header.Layer = c.layer;
        EXPECT_EQ(header.SeparationName(), c.name);
        EXPECT_EQ(FormatPageLabel(header.JobName, header.PageNumber, header.Layer), c.label);
    }
}
} // namespace
