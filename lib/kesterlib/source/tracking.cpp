// SPDX-License-Identifier: MIT
// Memory through a callback block: the counters of every block, and the records of a block that tracks
// allocations, which find leaks and wrong frees. Searches are linear, because tracking is for tests and
// debugging.
#include "io-callback.h"

#include <stdlib.h>

namespace
{
constexpr const char* kCleanup = "memory cleanup";

// Conversions to the types that the report formats take.
long as_long(uint32_t number)
{
    return static_cast<long>(number);
}

unsigned long address(const void* pointer)
{
    return static_cast<unsigned long>(reinterpret_cast<uintptr_t>(pointer));
}

int as_int(uint32_t number)
{
    return static_cast<int>(number);
}

// Returns whether each allocation that returned memory has been released.
bool counts_agree(const callback_block* block)
{
    return block->allocation_count - block->failed_allocation_count == block->deallocation_count;
}

// Returns the link that points to the record of `pointer`, or null. Unlinking needs the link, not the
// record.
memory_debug_record** find_link(memory_debug_record** link, const void* pointer)
{
    for (; *link != nullptr; link = &(*link)->next)
        if ((*link)->pointer == pointer)
            return link;
    return nullptr;
}

memory_debug_record* pop(memory_debug_record** list)
{
    memory_debug_record* record = *list;
    *list = record->next;
    return record;
}

void push(memory_debug_record** list, memory_debug_record* record)
{
    record->next = *list;
    *list = record;
}

void track(callback_block* block, void* memory, size_t size, const char* description)
{
    auto* record = static_cast<memory_debug_record*>(
        block->allocate(sizeof(memory_debug_record), "memory debug record"));
    if (record == nullptr)
        return; // this memory then counts as allocated elsewhere
    *record = {.size = size < UINT32_MAX ? static_cast<uint32_t>(size) : UINT32_MAX,
               .allocated_by = description,
               .freed_by = nullptr,
               .tick = block->tick,
               .pointer = memory,
               .next = nullptr};
    push(&block->allocated_list, record);
}

// Moves the record of `pointer` to freed_list, or reports a wrong free. Returns false if the memory was
// already released and must not be released again.
bool untrack(callback_block* block, void* pointer, const char* description)
{
    if (memory_debug_record** live = find_link(&block->allocated_list, pointer)) {
        memory_debug_record* record = pop(live);
        record->tick = block->tick;
        record->freed_by = description;
        push(&block->freed_list, record);
        return true;
    }

    memory_debug_record** freed = find_link(&block->freed_list, pointer);
    if (freed != nullptr) {
        const memory_debug_record* record = *freed;
        callback_message(block, "Tick %d: Free of %lx (%s), an object alread freed\n", as_int(block->tick),
                         address(pointer), description);
        callback_message(block, "..Object was allocated: %s\n", record->allocated_by);
        callback_message(block, "..Object was freed at tick %d: %s\n", as_int(record->tick),
                         record->freed_by);
    } else {
        callback_message(block, "Tick %d: Free of %lx : %s (was allocated elsewhere)\n", as_int(block->tick),
                         address(pointer), description);
    }
    if (block->debug_memory < 0)
        callback_assertion_failed(block, "cb->debug_memory>=0",
                                  "Debugging, memory management errors have occurred", "memory", __LINE__);
    return freed == nullptr;
}
} // namespace

void* callback_allocate(callback_block* block, size_t size, const char* description)
{
    set_current_callback_block(block);
    void* memory = block->allocate(size, description);
    ++block->tick;
    ++block->allocation_count;
    block->failed_allocation_count += memory == nullptr;
    if (block->debug_memory != 0 && memory != nullptr)
        track(block, memory, size, description);
    return memory;
}

void callback_deallocate(callback_block* block, void* pointer, const char* description)
{
    set_current_callback_block(block);
    ++block->tick;
    if (pointer == nullptr)
        return;
    ++block->deallocation_count;
    if (block->debug_memory == 0 || untrack(block, pointer, description))
        block->deallocate(pointer, description);
}

int32_t debug_memory_state(const callback_block* block)
{
    return block->debug_memory;
}

void set_callback_debug_memory(callback_block* block, int32_t mode)
{
    block->debug_memory = mode;
}

void debug_memory_report(callback_block* block)
{
    callback_message(block, "Beginning of leak report\n");
    for (const memory_debug_record* record = block->allocated_list; record != nullptr; record = record->next)
        callback_message(block, "Tick %ld: %ld bytes at %lx, allocated: %s\n", as_long(record->tick),
                         as_long(record->size), address(record->pointer), record->allocated_by);
    if (!counts_agree(block))
        callback_message(block, "%d allocations, %d deallocations\n", as_int(block->allocation_count),
                         as_int(block->deallocation_count));
    callback_message(block, "end of leak report\n");
}

void debug_memory_cleanup(callback_block* block)
{
    set_current_callback_block(block);
    while (block->freed_list != nullptr)
        block->deallocate(pop(&block->freed_list), kCleanup);

    // The counts alone can require a report, because they are kept without tracking as well.
    if (block->allocated_list == nullptr && counts_agree(block))
        return;
    debug_memory_report(block);
    while (block->allocated_list != nullptr) {
        memory_debug_record* record = pop(&block->allocated_list);
        block->deallocate(record->pointer, "memory cleanup of allocated data");
        block->deallocate(record, kCleanup);
        ++block->deallocation_count; // so that a later report does not repeat it
    }
}

void* safe_malloc(size_t size, const char* description, jmp_buf* recover)
{
    void* memory = malloc(size);
    if (memory != nullptr)
        return memory;
    fprintf(stderr, "\nMalloc for %zu bytes failed, %s\n", size, description);
    if (recover != nullptr)
        longjmp(*recover, 0);
    exit(1);
}
