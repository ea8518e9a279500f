#include "vorn_pages.h"

#include <atomic>
#include <cstdint>
#include <limits>
#include <new>

namespace vorn_pages {

namespace {

constexpr std::size_t page_size = std::size_t{256} * 1024;
constexpr std::size_t grain = 16;       // every block is aligned to this
constexpr std::size_t header_size = 8;  // the page pointer before each block
constexpr std::size_t first_block = 32;
constexpr std::size_t largest_shared = page_size / 8;  // larger blocks get a page of their own
constexpr int most_kept = 8;                           // empty pages a thread keeps: 2 MiB

// While a page is a thread's current page, its count holds `owned` more
// than its live blocks less the blocks handed out from it, so that handing
// a block out touches no shared memory; the owner takes the difference off
// when it moves on.  Once it has, the count is the number of live blocks,
// and whoever takes it to zero releases the page.
constexpr long owned = 1L << 40;

struct PAGE {
    std::atomic<long> count;
    PAGE* next_kept;        // the next page in the thread's kept list
    std::size_t alignment;  // 0: a shared page of page_size; else a page of one block so aligned
};
static_assert(sizeof(PAGE) + header_size <= first_block, "a page's first header overlaps the page");
static_assert(header_size == sizeof(void*), "the header is not one pointer");
static_assert(first_block % grain == 0, "the first block is not aligned");

// A thread's pages.  Plain data, so that the thread-local variable needs no
// guard on the common path; the cleanup at the thread's exit is registered
// by the first page the thread takes.
struct THREAD_PAGES {
    char* next;       // where the next block goes in `current`
    char* end;        // the end of `current`
    PAGE* current;    // the page blocks are handed out from; null when none
    long handed_out;  // blocks handed out from `current`
    PAGE* kept;       // empty pages kept for reuse
    int kept_count;
    int handlers;  // tree handlers alive on this thread
};

thread_local THREAD_PAGES state __attribute__((tls_model("initial-exec"))) = {};

PAGE* page_of(void* block)
{
    PAGE* page = nullptr;
    __builtin_memcpy(&page, static_cast<char*>(block) - header_size, header_size);
    return page;
}

void* hand_out(char* at, PAGE* page)
{
    __builtin_memcpy(at - header_size, &page, header_size);
    return at;
}

void free_page(PAGE* page) noexcept
{
    const std::size_t alignment = page->alignment;
    page->~PAGE();
    if (alignment > grain)
        ::operator delete(page, std::align_val_t(alignment));
    else
        ::operator delete(page);
}

// The last block of `page` is back, and the page is no thread's current one.
void drop_page(PAGE* page) noexcept
{
    THREAD_PAGES& t = state;
    if (page->alignment == 0 && t.handlers > 0 && t.kept_count < most_kept) {
        page->next_kept = t.kept;
        t.kept = page;
        ++t.kept_count;
        return;
    }
    free_page(page);
}

void free_kept(THREAD_PAGES& t) noexcept
{
    while (PAGE* page = t.kept) {
        t.kept = page->next_kept;
        free_page(page);
    }
    t.kept_count = 0;
}

// The thread moves on from its current page.
void retire_current(THREAD_PAGES& t) noexcept
{
    PAGE* page = t.current;
    if (page == nullptr)
        return;
    t.current = nullptr;
    t.next = t.end = nullptr;
    const long unused = owned - t.handed_out;
    if (page->count.fetch_sub(unused, std::memory_order_acq_rel) == unused)
        drop_page(page);
}

bool current_is_empty(const THREAD_PAGES& t) noexcept
{
    return t.current != nullptr && t.current->count.load(std::memory_order_acquire) == owned - t.handed_out;
}

struct CLEANUP {
    CLEANUP() = default;
    CLEANUP(const CLEANUP&) = delete;
    CLEANUP& operator=(const CLEANUP&) = delete;
    ~CLEANUP()
    {
        THREAD_PAGES& t = state;
        t.handlers = 0;
        retire_current(t);
        free_kept(t);
    }
};

void clean_up_at_exit()
{
    thread_local CLEANUP cleanup;
    (void)&cleanup;
}

// A block in a page of its own.
void* allocate_alone(std::size_t size, std::size_t alignment)
{
    const std::size_t at = (first_block + alignment - 1) / alignment * alignment;
    if (size > std::numeric_limits<std::size_t>::max() - at)
        throw std::bad_alloc();
    void* raw = alignment > grain ? ::operator new(at + size, std::align_val_t(alignment)) : ::operator new(at + size);
    PAGE* page = new (raw) PAGE{{1}, nullptr, alignment};
    return hand_out(static_cast<char*>(raw) + at, page);
}

void* allocate_in_new_page(std::size_t stride)
{
    THREAD_PAGES& t = state;
    clean_up_at_exit();
    PAGE* page = t.kept;
    if (page != nullptr) {
        t.kept = page->next_kept;
        --t.kept_count;
    } else {
        page = new (::operator new(page_size)) PAGE{{0}, nullptr, 0};  // may throw: nothing has changed
    }
    page->count.store(owned, std::memory_order_relaxed);
    retire_current(t);
    t.current = page;
    t.handed_out = 1;
    char* block = reinterpret_cast<char*>(page) + first_block;
    t.next = block + stride;
    t.end = reinterpret_cast<char*>(page) + page_size;
    return hand_out(block, page);
}

}  // namespace

void* allocate(std::size_t size)
{
    if (size > largest_shared)
        return allocate_alone(size, grain);
    const std::size_t stride = (size + header_size + grain - 1) & ~(grain - 1);
    THREAD_PAGES& t = state;
    char* block = t.next;
    if (stride > static_cast<std::size_t>(t.end - block))
        return allocate_in_new_page(stride);
    t.next = block + stride;
    ++t.handed_out;
    return hand_out(block, t.current);
}

void* allocate(std::size_t size, std::size_t alignment)
{
    return alignment <= grain ? allocate(size) : allocate_alone(size, alignment);
}

void release(void* block) noexcept
{
    if (block == nullptr)
        return;
    PAGE* page = page_of(block);
    const long left = page->count.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) {
        drop_page(page);
        return;
    }
    THREAD_PAGES& t = state;
    if (page != t.current || left != owned - t.handed_out)
        return;
    // The thread's current page holds no live block: begin it again, or give
    // it back when no tree handler lives on this thread.
    if (t.handlers > 0) {
        page->count.store(owned, std::memory_order_relaxed);
        t.handed_out = 0;
        t.next = reinterpret_cast<char*>(page) + first_block;
    } else {
        retire_current(t);
    }
}

void handler_started() noexcept
{
    ++state.handlers;
}

void handler_ended() noexcept
{
    THREAD_PAGES& t = state;
    if (t.handlers == 0 || --t.handlers > 0)
        return;
    free_kept(t);
    if (current_is_empty(t))
        retire_current(t);
}

}  // namespace vorn_pages
