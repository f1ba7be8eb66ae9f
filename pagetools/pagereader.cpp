// SPDX-License-Identifier: MIT
// Starts a decoder of kesterlib for the raster of a page, and finds out which rows are good.
#include "pagereader.h"

#include "tool.h"

#include <kesterlib/unccitt.h>
#include <kesterlib/unsqz.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sys/mman.h>
#include <utility>

namespace
{
constexpr int32_t kDroppedBytes = 1 << 16; // uncompressed rows that are dropped are read in such pieces
constexpr int32_t kBatchPixels = 1 << 21;  // rows that are dropped between two checks for doubtful ones

struct RunDecoder {
    int32_t compression;
    UNCOMP* (*open)(callback_block*, int32_t width, int32_t row_bytes, const uint8_t* first_ref_row);
    int32_t (*decode)(UNCOMP*, int32_t rows, uint8_t* buffer, int32_t stride);
    int32_t (*discard)(UNCOMP*, int32_t rows);
};
constexpr RunDecoder kRunDecoders[] = {
    {FAXHEADER_SQUEEZE, Unsqz_Open_Callback, Unsqz_Decode, Unsqz_Discard},
    {FAXHEADER_GROUP4, Unccitt4_Open_Callback, Unccitt4_Decode, Unccitt4_Discard},
};

const RunDecoder* FindRunDecoder(int32_t compression)
{
    for (const RunDecoder& decoder : kRunDecoders)
        if (decoder.compression == compression)
            return &decoder;
    return nullptr;
}

bool IsKnownKind(int32_t compression)
{
    return compression == FAXHEADER_UNCOMPRESSED || compression == FAXHEADER_JBIG ||
           FindRunDecoder(compression);
}

// Returns why a decoder has stopped or was not opened.
const char* StatusText(int32_t status)
{
    switch (status) {
    case KESTERLIB_CUT_OFF: return "the data are cut off";
    case KESTERLIB_BAD_CODE: return "the data are not valid";
    case KESTERLIB_READ_ERROR: return "the file cannot be read";
    case KESTERLIB_NO_MEMORY: return "not enough memory";
    case KESTERLIB_TOO_LARGE: return "the raster is too large";
    case KESTERLIB_NOT_SUPPORTED: return "the raster needs a feature that the decoder does not have";
    default: return "the raster cannot be decoded";
    }
}

// Reasons to doubt a row that a run decoder has delivered.
constexpr struct {
    int32_t reason;
    const char* text;
} kDoubts[] = {
    {UNCOMP_FILLER, "the data are cut off"},
    {UNCOMP_DECREASING, "a run ends before its start"},
    {UNCOMP_PAST_WIDTH, "a run is longer than the row"},
};

constexpr int32_t kAnyDoubt = UNCOMP_FILLER | UNCOMP_DECREASING | UNCOMP_PAST_WIDTH;

// Returns the number of transitions in a row. Pixels after the last eight bytes are not counted.
int64_t CountTransitions(const uint8_t* row, int32_t bytes)
{
    int64_t transitions = 0;
    uint64_t before = 0;
    for (int32_t i = 0; i + 8 <= bytes; i += 8) {
        uint64_t word = 0;
        for (int32_t k = 0; k < 8; ++k)
            word = word << 8 | row[i + k];
        transitions += std::popcount(word ^ (word >> 1 | before << 63));
        before = word;
    }
    return transitions;
}

// Texts of the library can have line ends and blanks at their end.
std::string Trimmed(std::string text)
{
    text.erase(text.find_last_not_of(" \n") + 1);
    return text;
}

// ---- The slots of the callback block ----

// A fatal report sends a message and then calls the exit slot.
thread_local char g_last_message[256];

int KeepMessage(FILE* /*stream*/, const char* format, va_list arguments)
{
    return std::vsnprintf(g_last_message, sizeof g_last_message, format, arguments);
}

int FlushNothing(FILE* /*stream*/)
{
    return 0;
}

// A stripe can have hundreds of megabytes. With large pages its memory is available several times as fast.
void* Allocate(size_t size, const char* /*description*/)
{
    constexpr size_t kLargePage = size_t{2} << 20;
    if (size < 8 * kLargePage)
        return std::malloc(size);
    void* const memory = std::aligned_alloc(kLargePage, (size + kLargePage - 1) / kLargePage * kLargePage);
    if (memory)
        madvise(memory, size, MADV_HUGEPAGE);
    return memory;
}

void Deallocate(void* memory, const char* /*description*/)
{
    std::free(memory);
}

thread_local PageReader* g_polled = nullptr; // the reader whose JBIG decoder is running with a limit

[[noreturn]] void EndAfterFatalReport(int /*code*/)
{
    PrintMessage(std::string{"error in the decoder: "} + g_last_message);
    std::quick_exit(kFailed); // PbmOutput then removes its temporary file
}
} // namespace

int StatusOf(const Verdict& verdict)
{
    switch (verdict.state) {
    case PageState::good: return kGood;
    case PageState::unreadable: return kFailed;
    default: return kNotGood;
    }
}

std::string VerdictText(const Verdict& verdict, int32_t height)
{
    switch (verdict.state) {
    case PageState::good: return "OK";
    case PageState::damaged:
        return "DAMAGED at row " + std::to_string(verdict.row) + " of " + std::to_string(height) + ": " +
               verdict.text;
    case PageState::bad: return "BAD: " + verdict.text;
    default: return verdict.text;
    }
}

// Unlike make_callback_block, new throws without memory, so that the tool can choose its exit status.
PageReader::PageReader() : m_block{static_cast<callback_block*>(::operator new(callback_block_size()))}
{
    fill_void_callback_block(m_block.get());
    fill_unix_callback_block(m_block.get());
    m_block->message = KeepMessage;
    m_block->message_fflush = FlushNothing;
    m_block->fflush = FlushNothing;
    m_block->allocate = Allocate;
    m_block->deallocate = Deallocate;
    m_block->exit = EndAfterFatalReport;
}

void PageReader::ReleaseBlock::operator()(callback_block* block) const
{
    debug_memory_cleanup(block);
    ::operator delete(block);
}

PageReader::~PageReader()
{
    EndDecoder();
}

bool PageReader::Fail(PageState state, std::string text)
{
    m_verdict = {state, m_done, std::move(text)};
    return false;
}

bool PageReader::ReadHeader(const char* path)
{
    if (std::string error = m_input.Open(path); !error.empty())
        return Fail(PageState::unreadable, error);
    const std::string_view start = m_input.Start();
    const char* message = nullptr;
    if (start.size() < FAXHEADER_BYTES ||
        extractFaxHeader(start.data(), static_cast<uint32_t>(start.size()), &m_header, &message) <= 0)
        return Fail(PageState::bad, "not a page file");
    return true;
}

bool PageReader::OpenRaster(int64_t most_pixels)
{
    m_row_bytes = FAXHeader_Row_Bytes(&m_header);
    const std::string sides =
        std::to_string(m_header.DataWidth) + " x " + std::to_string(m_header.ImageHeight) + " pixels";
    if (m_row_bytes == 0 || m_header.ImageHeight == 0)
        return Fail(PageState::bad, sides + " cannot be decoded");
    if (!IsKnownKind(m_header.Compression))
        return Fail(PageState::bad, "unknown kind of raster, " + std::to_string(m_header.Compression));
    m_width = static_cast<int32_t>(m_header.DataWidth);
    m_height = static_cast<int32_t>(m_header.ImageHeight);
    if (most_pixels != kNoLimit) {
        const int64_t most_rows = most_pixels / std::max(m_width, kLeastCountedWidth);
        if (m_height > most_rows)
            return Fail(PageState::bad, sides + " are above the limit");
        m_most_pixels = most_pixels;
        m_limits.stripe_bytes = (most_rows + 2) * (int64_t{m_row_bytes} + 2);
        m_block->ferror = PollDecoder;
    }
    if (std::string error = m_input.MakeSeekable(); !error.empty())
        return Fail(PageState::unreadable, error);
    m_block->file = m_input.File();
    return StartDecoder();
}

bool PageReader::Restart()
{
    EndDecoder();
    m_done = 0;
    m_verdict = {};
    return StartDecoder();
}

bool PageReader::StartDecoder()
{
    if (std::string error = m_input.Seek(m_header.HeaderSize); !error.empty())
        return Fail(PageState::unreadable, error);
    if (m_header.Compression == FAXHEADER_UNCOMPRESSED) {
        m_dropped = std::make_unique_for_overwrite<uint8_t[]>(kDroppedBytes);
        return true;
    }
    if (const RunDecoder* const decoder = FindRunDecoder(m_header.Compression))
        m_frame = decoder->open(m_block.get(), m_width, m_row_bytes, nullptr);
    else
        m_jbig = Jbig_Open_Limited(m_block.get(), &m_limits);
    if (!m_frame && !m_jbig) {
        const int32_t status = kesterlib_open_status();
        if (status == KESTERLIB_TOO_LARGE && m_limits.stripe_bytes > 0)
            return Fail(PageState::bad, "the rows or stripes of the raster are above the limit");
        const bool unreadable = status == KESTERLIB_READ_ERROR || status == KESTERLIB_NO_MEMORY;
        return Fail(unreadable ? PageState::unreadable : PageState::bad, StatusText(status));
    }
    if (m_jbig && m_jbig->width != static_cast<uint32_t>(m_width))
        return Fail(PageState::bad, "the JBIG raster has rows of " + std::to_string(m_jbig->width) +
                                        " pixels, the header states " + std::to_string(m_width));
    return true;
}

void PageReader::EndDecoder()
{
    Uncomp_Free(std::exchange(m_frame, nullptr));
    Jbig_Close_Input(std::exchange(m_jbig, nullptr));
}

int32_t PageReader::DecodeRows(uint8_t* buffer, int32_t rows)
{
    switch (m_header.Compression) {
    case FAXHEADER_UNCOMPRESSED:
        return static_cast<int32_t>(
            std::fread(buffer, static_cast<size_t>(m_row_bytes), static_cast<size_t>(rows), m_input.File()));
    case FAXHEADER_JBIG: return Jbig_Decode(m_jbig, rows, buffer, m_row_bytes);
    default: return FindRunDecoder(m_header.Compression)->decode(m_frame, rows, buffer, m_row_bytes);
    }
}

int32_t PageReader::DropRows(int32_t rows)
{
    switch (m_header.Compression) {
    case FAXHEADER_UNCOMPRESSED: break;
    case FAXHEADER_JBIG: return Jbig_Decode_Discard(m_jbig, rows);
    default: return FindRunDecoder(m_header.Compression)->discard(m_frame, rows);
    }
    const int64_t bytes = int64_t{m_row_bytes} * rows;
    int64_t left = bytes;
    while (left > 0) {
        const auto wanted = static_cast<size_t>(std::min<int64_t>(left, kDroppedBytes));
        const size_t got = std::fread(m_dropped.get(), 1, wanted, m_input.File());
        left -= static_cast<int64_t>(got);
        if (got < wanted)
            break;
    }
    return static_cast<int32_t>((bytes - left) / m_row_bytes);
}

// Sets the verdict if one of the last `rows` rows is not good. `delivered` of them were delivered. Returns
// the number of good ones.
int32_t PageReader::JudgeRows(int32_t delivered, int32_t rows)
{
    const char* doubt = nullptr;
    int64_t first_doubtful = int64_t{m_done} + delivered;
    const auto judge = [&](int64_t row, const char* text) {
        if (row >= 0 && row < first_doubtful) {
            first_doubtful = row;
            doubt = text;
        }
    };
    if (m_frame && Uncomp_First_Suspicious_Row(m_frame, kAnyDoubt) >= 0)
        for (const auto& one : kDoubts)
            judge(Uncomp_First_Suspicious_Row(m_frame, one.reason), one.text);
    if (m_jbig)
        judge(Jbig_First_Row_After_Data(m_jbig), "the data are cut off");
    const auto good = static_cast<int32_t>(first_doubtful - m_done);
    m_done += good;
    if (doubt)
        Fail(PageState::damaged, doubt);
    else if (delivered < rows)
        JudgeMissingRow();
    return good;
}

// Sets the verdict if a row was not delivered.
void PageReader::JudgeMissingRow()
{
    if (std::ferror(m_input.File())) {
        Fail(PageState::unreadable, errno != 0 ? std::strerror(errno) : "read error");
        return;
    }
    const char* text = nullptr;
    int32_t status = KESTERLIB_CUT_OFF;
    if (m_frame) {
        text = Uncomp_Error_String(m_frame);
        status = Uncomp_Status(m_frame);
    } else if (m_jbig) {
        text = Jbig_Error_String(m_jbig);
        status = Jbig_Status(m_jbig);
    }
    if (status == KESTERLIB_INTERRUPTED && g_polled)
        Fail(PageState::bad, "decoding takes longer than the limit allows");
    else
        Fail(PageState::damaged, text ? Trimmed(text) : StatusText(status));
}

// The decoder calls this function about every kBatchPixels pixels of a stripe. A result above 0 ends the
// stripe.
int PageReader::PollDecoder(FILE* stream)
{
    if (g_polled && g_polled->m_jbig) {
        PageReader& page = *g_polled;
        const jbig_data& jbig = *page.m_jbig;
        if (page.m_polled_stripe != jbig.stripe_number)
            page.m_polled_rows = 0;
        page.m_polled_stripe = jbig.stripe_number;
        const int64_t rows =
            std::min<int64_t>(kBatchPixels / page.m_width + 1, jbig.stripe_lines - page.m_polled_rows);
        page.AddCost(jbig.first_row + page.m_polled_rows * jbig.row_stride, rows);
        page.m_polled_rows += rows;
        if (page.IsTooCostly())
            return 1;
    }
    return std::ferror(stream);
}

// Estimates how many pixels of the next rows the JBIG decoder has decoded one by one. It decodes runs of one
// colour at once, and needs some pixels after each transition. `first_row` is the first one of `rows` rows in
// the stripe buffer.
void PageReader::AddCost(const uint8_t* first_row, int64_t rows)
{
    constexpr int64_t kStep = 8; // only each eighth row is counted
    constexpr int64_t kPixelsPerTransition = 32;
    // The decoder writes a run of one colour fast, unless rows are so long that they are not cached.
    constexpr int32_t kCachedWidth = 1 << 20;
    const int64_t pixels_of_runs = m_width / (m_width > kCachedWidth ? 4 : 64);
    for (int64_t row = 0; row < rows; row += kStep) {
        const uint8_t* const bytes =
            first_row + std::min<int64_t>(row, m_jbig->stripe_lines - 1) * m_jbig->row_stride;
        const int64_t pixels = CountTransitions(bytes, m_row_bytes) * kPixelsPerTransition + pixels_of_runs;
        m_cost += std::min<int64_t>(m_width, pixels) * std::min(kStep, rows - row);
    }
}

// With a limit of up to 2000 megapixels, each byte of data allows 1000 pixels that are decoded one by one.
// Drawn pages of 600 megapixels have at most a quarter as many. A small file that takes longer was made to
// waste time, or repeats a dense pattern that needs no data. A lower limit does not allow less, because its
// pages need less time.
bool PageReader::IsTooCostly() const
{
    constexpr int64_t kLeastLimit = 2'000'000'000;
    constexpr double kFreeBytes = 50'000;  // so that no page of less than 50 megapixels is refused
    constexpr double kBytesPerLimit = 2e6; // as many bytes allow as many pixels as the limit has
    const auto bytes = static_cast<double>(std::max<off_t>(ftello(m_input.File()), 0));
    return static_cast<double>(m_cost) > static_cast<double>(std::max(m_most_pixels, kLeastLimit)) *
                                             ((bytes + kFreeBytes) / kBytesPerLimit);
}

int32_t PageReader::ReadRows(uint8_t* buffer, int32_t rows)
{
    errno = 0;
    const int32_t good = JudgeRows(DecodeRows(buffer, rows), rows);
    const auto row_bytes = static_cast<size_t>(m_row_bytes);
    const size_t bytes = row_bytes * static_cast<size_t>(good);
    if (m_jbig) // a 1 is white
        for (size_t i = 0; i < bytes; ++i)
            buffer[i] = static_cast<uint8_t>(~buffer[i]);
    if (m_width % 8 != 0)
        for (size_t last = row_bytes - 1; last < bytes; last += row_bytes)
            buffer[last] = static_cast<uint8_t>(buffer[last] & 0xFF00 >> m_width % 8);
    return good;
}

int32_t PageReader::SkipAllRows()
{
    const int32_t batch = std::max(kBatchPixels / m_width, 1);
    g_polled = m_jbig && m_most_pixels != kNoLimit ? this : nullptr;
    while (m_verdict.state == PageState::good && m_done < m_height) {
        errno = 0;
        const int32_t rows = std::min(batch, m_height - m_done);
        const int32_t good = JudgeRows(DropRows(rows), rows);
        // There are no polls in small stripes.
        if (g_polled && int64_t{m_width} * m_jbig->stripe_lines < kBatchPixels)
            AddCost(m_jbig->first_row, good);
        if (m_verdict.state == PageState::good && g_polled && IsTooCostly())
            Fail(PageState::bad, "decoding takes longer than the limit allows");
    }
    g_polled = nullptr;
    return m_done;
}
