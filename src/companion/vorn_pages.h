// Blocks for the tree's small objects, carved out of large pages held per
// thread.
//
// A block is a bump of a pointer in the thread's current page, with an
// eight-byte header before it that points at its page.  Each page counts its
// live blocks atomically, so a block may be given back on any thread; the
// thread that gives back the last block of a page (once the page's owner has
// moved on from it) releases the page.  Nothing takes a lock.
//
// Pages come from the global operator new and go back to the global
// operator delete.  While a tree handler lives on a thread, that thread keeps
// a few empty pages for the next document; when its last tree handler is
// gone, it keeps nothing that holds no live block, and at the thread's exit
// it keeps nothing at all.
#ifndef VORN_PAGES_H
#define VORN_PAGES_H

#include <cstddef>

namespace vorn_pages {

// A block of `size` bytes aligned to 16 (to `alignment` when larger).
// Throws std::bad_alloc, with nothing changed, when no page can be had.
void* allocate(std::size_t size);
void* allocate(std::size_t size, std::size_t alignment);

// Gives back a block from allocate(); null is ignored.  Any thread.
void release(void* block) noexcept;

// A tree handler begins or ends its life on this thread: while one lives,
// empty pages are kept for reuse.
void handler_started() noexcept;
void handler_ended() noexcept;

}  // namespace vorn_pages

#endif
