// SPDX-License-Identifier: MIT
// The reduced picture if one allocation fails, for each allocation in turn. This is a separate program,
// because it replaces the allocator.
#include "app/lumentadoc.h"
#include "tests/support/fake_image.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <utility>

namespace
{
int g_allocations_left = -1; // allocations that succeed before the next one fails; below 0: all succeed

void* Allocate(size_t bytes)
{
    if (g_allocations_left >= 0 && g_allocations_left-- == 0)
        throw std::bad_alloc();
    void* const memory = malloc(bytes ? bytes : 1);
    if (!memory)
        throw std::bad_alloc();
    return memory;
}
} // namespace

void* operator new(size_t bytes)
{
    return Allocate(bytes);
}
void* operator new[](size_t bytes)
{
    return Allocate(bytes);
}
void* operator new(size_t bytes, const std::nothrow_t&) noexcept
{
    return malloc(bytes ? bytes : 1); // used by the row store, which is not tested here
}
void* operator new[](size_t bytes, const std::nothrow_t&) noexcept
{
    return malloc(bytes ? bytes : 1);
}
void operator delete(void* memory) noexcept
{
    free(memory);
}
void operator delete[](void* memory) noexcept
{
    free(memory);
}
void operator delete(void* memory, size_t) noexcept
{
    free(memory);
}
void operator delete[](void* memory, size_t) noexcept
{
    free(memory);
}

extern "C" void* __real_calloc(size_t count, size_t bytes); // NOLINT
// Only the linker refers to it.
extern "C" [[gnu::used]] void* __wrap_calloc(size_t count, size_t bytes) // NOLINT
{
    if (g_allocations_left >= 0 && g_allocations_left-- == 0)
        return nullptr;
    return __real_calloc(count, bytes);
}

namespace
{
TEST(ScaleMemory, EachFailedAllocationIsReported)
{
    // The hook suspends the count, because it allocates memory itself.
    static std::vector<std::string> box_texts;
    SetMessageBoxHook([](const CString& text) {
        const int left = std::exchange(g_allocations_left, -1);
        box_texts.emplace_back(text.c_str());
        g_allocations_left = left;
    });
    int at = 0;
    for (bool made = false; !made && at < 100; ++at) {
        CLumentaDoc document;
        PutPageOnHeap(document, std::make_unique<FakeImage>(400, 300), 300);
        box_texts.clear();
        g_allocations_left = at;
        made = document.MakeScaledBitmap(8);
        g_allocations_left = -1;
        EXPECT_EQ(box_texts, made ? std::vector<std::string>{}
                                  : std::vector<std::string>{"Unable to create scaled bitmap"})
            << at;
        EXPECT_EQ(document.m_pScaled != nullptr, made) << at;
    }
    SetMessageBoxHook({});
    EXPECT_GE(at, 6) << "allocations of the bitmap, its pixels, its header, the ramp and the palette";
    EXPECT_LT(at, 100);
}
} // namespace
