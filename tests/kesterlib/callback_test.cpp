// SPDX-License-Identifier: MIT
// The callback block: slots and their defaults, the calls through them, allocation tracking, and reports.
#include "tests/support/test_block.h"

#include <gtest/gtest.h>

#include <cstring>

// Makes an oversized request return null under the address sanitizer. Otherwise it would end the process.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() // NOLINT
{
    return "allocator_may_return_null=1";
}

namespace
{
using test_support::RecordedBlock;
using testing::ExitedWithCode;

const volatile size_t kTooMuch = SIZE_MAX / 2; // bytes, more than any allocation can return

template <typename... Arguments>
std::string Format(const char* format, Arguments... arguments)
{
    char text[1000];
    snprintf(text, sizeof text, format, arguments...);
    return text;
}

unsigned long Address(const void* pointer)
{
    return reinterpret_cast<uintptr_t>(pointer);
}

std::string Bytes(const callback_block& block)
{
    return {reinterpret_cast<const char*>(&block), sizeof block};
}

// ---- Slots -----------------------------------------------------------------------------------------

TEST(Callback, EachIdSetsItsSlot)
{
    constexpr size_t kFields[] = {
        offsetof(callback_block, file),     offsetof(callback_block, message_file),
        offsetof(callback_block, fopen),    offsetof(callback_block, fclose),
        offsetof(callback_block, fread),    offsetof(callback_block, fwrite),
        offsetof(callback_block, fseek),    offsetof(callback_block, ftell),
        offsetof(callback_block, feof),     offsetof(callback_block, ferror),
        offsetof(callback_block, fflush),   offsetof(callback_block, message_fflush),
        offsetof(callback_block, fprintf),  offsetof(callback_block, message),
        offsetof(callback_block, allocate), offsetof(callback_block, deallocate),
        offsetof(callback_block, exit),
    };
    ASSERT_EQ(callback_n_entries(), std::ssize(kFields));
    ASSERT_EQ(callback_block_size(), sizeof(callback_block));
    for (int id = 0; id < callback_n_entries(); ++id) {
        callback_block block = {};
        set_callback_slot(id, &block, 0x1230u + unsigned(id));
        callback_block want = {};
        const uintptr_t value = 0x1230u + unsigned(id);
        memcpy(reinterpret_cast<char*>(&want) + kFields[id], &value, sizeof value);
        EXPECT_EQ(Bytes(block), Bytes(want)) << "slot " << id;
    }

    const RecordedBlock block;
    for (const int id : {17, -1}) {
        set_callback_slot(id, block, 0);
        EXPECT_EQ(block.TakeMessages(), "Assertion 0 failed;\nmissing case in set_callback slot\n"
                                        "At line N in file io-callback");
        EXPECT_EQ(block.TakeExits(), std::vector{1});
    }
}

TEST(Callback, VoidBlockReportsEachMissingOperation)
{
    struct Missing {
        const char* text;
        long result;
        long (*call)(callback_block* block);
    };
    constexpr Missing kMissing[] = {
        {"CALLBACK_FOPEN called", 0, [](auto* b) { return long{callback_fopen(b, "x", "r") != nullptr}; }},
        {"CALLBACK_FCLOSE used", -1, [](auto* b) { return b->file = stdin, long{callback_fclose(b)}; }},
        {"CALLBACK_FREAD used", 0, [](auto* b) { return long(callback_fread(b, 0, 0, nullptr)); }},
        {"CALLBACK_FWRITE used", 0, [](auto* b) { return long(callback_fwrite(b, 0, 0, nullptr)); }},
        {"CALLBACK_FSEEK called", -1, [](auto* b) { return long{callback_fseek(b, 0, SEEK_SET)}; }},
        {"CALLBACK_FTELL called", -1, [](auto* b) { return callback_ftell(b); }},
        {"CALLBACK_FEOF called", 1, [](auto* b) { return long{callback_feof(b)}; }},
        {"CALLBACK_FERROR called", 1, [](auto* b) { return long{callback_ferror(b)}; }},
        {"CALLBACK_FFLUSH called", -1, [](auto* b) { return long{callback_fflush(b)}; }},
        {"CALLBACK_FPRINTF called", 0, [](auto* b) { return long{callback_fprintf(b, "x")}; }},
    };
    const RecordedBlock block{make_callback_block()};
    for (const Missing& missing : kMissing) {
        SCOPED_TRACE(missing.text);
        EXPECT_EQ(missing.call(block), missing.result);
        EXPECT_EQ(block.TakeMessages(), Format("Assertion 0 failed;\n%s, but not installed\n"
                                               "At line N in file io-callback",
                                               missing.text));
        EXPECT_EQ(block.TakeExits(), std::vector{1});
    }
}

TEST(Callback, UnixBlockWorksOnItsStream)
{
    const std::string path = testing::TempDir() + "callback_test_data";
    const RecordedBlock block;
    ASSERT_EQ(callback_fopen(block, path.c_str(), "w+b"), block->file);
    ASSERT_NE(block->file, nullptr);
    EXPECT_EQ(callback_fwrite(block, 2, 3, "abcdef"), 3u);
    EXPECT_EQ(callback_fputc(block, 0xff), 1);
    EXPECT_EQ(callback_fprintf(block, "%d-%s", 12, "x"), 4);
    EXPECT_EQ(callback_ftell(block), 11);
    EXPECT_EQ(callback_fflush(block), 0);

    char bytes[8] = "";
    EXPECT_EQ(callback_fseek(block, -5, SEEK_END), 0);
    EXPECT_EQ(callback_fgetc(block), 255);
    EXPECT_EQ(callback_fread(block, 2, 3, bytes), 2u); // two whole elements of the three requested
    EXPECT_STREQ(bytes, "12-x");
    EXPECT_NE(callback_feof(block), 0);
    EXPECT_EQ(callback_fgetc(block), -1);
    EXPECT_EQ(callback_ferror(block), 0);

    EXPECT_EQ(callback_fclose(block), 0);
    EXPECT_EQ(block->file, nullptr);
    EXPECT_EQ(callback_fclose(block), 0); // there is no stream any more
    remove(path.c_str());
    set_stdout_callback(block);
    EXPECT_EQ(block->file, stdout);
    set_stdin_callback(block);
    EXPECT_EQ(block->file, stdin);
    EXPECT_EQ(block.TakeMessages(), "");
}

TEST(Callback, MessagesAlsoGoToTheSinkButAreCutThere)
{
    static std::string shown;
    shown.clear();
    const RecordedBlock block; // sets the sink
    block->message = [](FILE*, const char* format, va_list arguments) {
        char text[1000];
        const int length = vsnprintf(text, sizeof text, format, arguments);
        shown += text;
        return length;
    };
    EXPECT_EQ(callback_message(block, "%d rows\n", 12), 8);
    EXPECT_EQ(block.TakeMessages(), "12 rows\n");
    const std::string longer(300, 'm');
    EXPECT_EQ(callback_message(block, "%s", longer.c_str()), 300);
    EXPECT_EQ(block.TakeMessages(), longer.substr(0, 255));
    set_debug_message_sink(nullptr);
    callback_message(block, "!");
    EXPECT_EQ(block.TakeMessages(), "");
    EXPECT_EQ(shown, "12 rows\n" + longer + "!");
}

TEST(Callback, DefaultBlockIsMadeOnceAndReplacedWithAWarning)
{
    const RecordedBlock block;
    EXPECT_EQ(get_default_callback_block(), nullptr);
    set_default_callback_block(block);
    EXPECT_EQ(dfcb(), block);
    set_default_callback_block(nullptr);
    EXPECT_EQ(block.TakeMessages(), ""); // the library did not make it

    callback_block* made = dfcb();
    EXPECT_EQ(dfcb(), made);
    set_default_callback_block(block);
    EXPECT_EQ(block.TakeMessages(), "Leaking existing default callback");
    EXPECT_EQ(get_default_callback_block(), block);
    dispose_callback_block(made);

    set_default_callback_block(nullptr);
    for (void (*dispose)() : {dispose_default_callback_block, +[] { dispose_callback_block(dfcb()); }}) {
        EXPECT_NE(dfcb(), nullptr);
        dispose();
        EXPECT_EQ(get_default_callback_block(), nullptr);
    }
}

// ---- Memory ----------------------------------------------------------------------------------------

// The descriptions of all releases through the slot.
std::string released;

void Deallocate(void* pointer, const char* description)
{
    released += std::string(description) + "; ";
    free(pointer);
}

TEST(CallbackMemory, CleanupReportsAndReleasesLiveMemory)
{
    for (const bool tracked : {true, false}) {
        SCOPED_TRACE(tracked ? "tracked" : "not tracked");
        released.clear();
        callback_block* block = make_callback_block();
        const RecordedBlock owner{block};
        set_callback_slot(CALLBACK_DEALLOCATE, block, reinterpret_cast<callback_slot_value>(&Deallocate));
        EXPECT_EQ(debug_memory_state(block), 0);
        set_callback_debug_memory(block, tracked ? 1 : 0);
        EXPECT_EQ(debug_memory_state(block), tracked ? 1 : 0);

        void* first = callback_allocate(block, 40, "first");    // tick 1
        callback_deallocate(block, nullptr, "nothing");         // tick 2
        void* second = callback_allocate(block, 70000, "next"); // tick 3
        void* third = callback_allocate(block, 1, "freed");
        memset(second, 0, 70000);
        callback_deallocate(block, third, "third");
        EXPECT_EQ(block->tick, 5u);
        EXPECT_EQ(block->allocation_count, 3u);
        EXPECT_EQ(block->deallocation_count, 1u);
        EXPECT_EQ(released, "third; ");
        EXPECT_EQ(owner.TakeMessages(), "");

        debug_memory_cleanup(block);
        const std::string lines = Format("Tick 3: 70000 bytes at %lx, allocated: next\n"
                                         "Tick 1: 40 bytes at %lx, allocated: first\n",
                                         Address(second), Address(first));
        EXPECT_EQ(owner.TakeMessages(), "Beginning of leak report\n" + (tracked ? lines : "") +
                                            "3 allocations, 1 deallocations\nend of leak report\n");
        EXPECT_EQ(released, tracked ? "third; memory cleanup; "
                                      "memory cleanup of allocated data; memory cleanup; "
                                      "memory cleanup of allocated data; memory cleanup; "
                                    : "third; ");
        EXPECT_EQ(block->allocated_list, nullptr);
        EXPECT_EQ(block->freed_list, nullptr);
        if (!tracked) { // the memory is still the caller's
            callback_deallocate(block, first, "first");
            callback_deallocate(block, second, "next");
        }
    }
}

TEST(CallbackMemory, WrongFreesAreReported)
{
    for (const int mode : {1, -1}) {
        SCOPED_TRACE(mode);
        const RecordedBlock block;
        set_callback_debug_memory(block, mode);
        void* foreign = malloc(10);
        void* page = callback_allocate(block, 40, "page");
        const unsigned long foreign_address = Address(foreign), page_address = Address(page);
        callback_deallocate(block, page, "first");
        callback_deallocate(block, page, "second"); // the sanitizer would report a real second release
        callback_deallocate(block, foreign, "third");

        const char* fatal = mode > 0 ? ""
                                     : "Assertion cb->debug_memory>=0 failed;\nDebugging, memory management "
                                       "errors have occurred\nAt line N in file memory";
        EXPECT_EQ(block.TakeMessages(),
                  Format("Tick 3: Free of %lx (second), an object alread freed\n"
                         "..Object was allocated: page\n..Object was freed at tick 2: first\n%s"
                         "Tick 4: Free of %lx : third (was allocated elsewhere)\n%s",
                         page_address, fatal, foreign_address, fatal));
        EXPECT_EQ(block.TakeExits(), mode > 0 ? std::vector<int>{} : std::vector({1, 1}));
    }
}

TEST(CallbackMemory, FailedAllocation)
{
    const RecordedBlock block;
    set_callback_debug_memory(block, 1);
    EXPECT_EQ(callback_allocate(block, kTooMuch, "too much"), nullptr);
    EXPECT_EQ(block.TakeMessages(),
              "Assertion val!=0 failed;\nallocation with malloc failed\nAt line N in file io-callback");
    EXPECT_EQ(block.TakeExits(), std::vector{1});
    EXPECT_EQ(block->allocated_list, nullptr);
    debug_memory_cleanup(block);
    EXPECT_EQ(block.TakeMessages(), "") << "memory was not released";

    EXPECT_EXIT((void)safe_malloc(kTooMuch, "rows", nullptr), ExitedWithCode(1),
                "\nMalloc for [0-9]+ bytes failed, rows\n");
    static jmp_buf recover;
    if (setjmp(recover) == 0) { // NOLINT: safe_malloc needs a setjmp
        (void)safe_malloc(kTooMuch, "rows", &recover);
        FAIL() << "returned without memory";
    }
    free(safe_malloc(100, "rows", &recover));
}

// ---- Reports ---------------------------------------------------------------------------------------

TEST(CallbackDeathTest, FatalReportsEndTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // so that the child starts without an earlier report
    EXPECT_EXIT(
        (void)callback_fread(make_callback_block(), 1, 1, nullptr), ExitedWithCode(1),
        "^Assertion 0 failed;\nCALLBACK_FREAD used, but not installed\nAt line [0-9]+ in file io-callback$");
    EXPECT_EXIT(
        callback_assertion_failed(nullptr, "x", "why", "file", 12), ExitedWithCode(1),
        "Recursive error in callback_assertion_failed\nOriginal error is \\(null\\)\nAssert \\(null\\) : "
        "\\(null\\)\n at line 0\nSecond error is Assert x : why\nfile at 12\n$");
    const auto fail_within_report = [] {
        callback_block* block = make_callback_block();
        block->message = [](FILE*, const char*, va_list) {
            callback_assertion_failed(dfcb(), "b", "again", "beta", 2);
            return 0;
        };
        callback_assertion_failed(block, "a", "once", "alpha", 1);
    };
    EXPECT_EXIT(fail_within_report(), ExitedWithCode(1),
                "^Recursive error in callback_assertion_failed\nOriginal error is a\nAssert once : alpha\n "
                "at line 1\n"
                "Second error is Assert b : again\nbeta at 2\n$");
}

TEST(CallbackReport, SystemErrors)
{
    static int flushed;
    flushed = 0;
    const RecordedBlock block;
    set_callback_debug_memory(block, 1); // frees the text of the unknown code
    block->fflush = [](FILE*) { return ++flushed; };
    errno = ENOENT;
    callback_perror(block, "opening a page");
    EXPECT_EQ(block->allocated_list, nullptr);
    errno = 9999;
    callback_perror(block, "reading it");
    EXPECT_NE(block->allocated_list, nullptr);
    EXPECT_EQ(block.TakeMessages(), "\nError: No such file or directory\nopening a page\n"
                                    "\nError: Unknown error code, #9999\nreading it\n");
    EXPECT_EQ(flushed, 2);
    EXPECT_STREQ(system_error_string(EIO), strerror(EIO));
    const char* outside = system_error_string(-1);
    EXPECT_STREQ(outside, "Unknown error code, #-1");
    free(const_cast<char*>(outside));
}

TEST(CallbackReport, PrintfToBuffer)
{
    char buffer[200] = "untouched";
    EXPECT_EQ(printf_to_buffer(buffer, 100, "%d", 7), 0);
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_EQ(printf_to_buffer(buffer, 101, "%d rows", 7), 6);
    EXPECT_STREQ(buffer, "7 rows");
    memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(printf_to_buffer(buffer, 101, "%0150d", 0), 100);
    EXPECT_EQ(std::string(buffer, 103), std::string(100, '0') + '\0' + "##");
}
} // namespace
