#include "vorn_companion.h"
#include "vorn_pages.h"

namespace {

// Entry arrays come from the thread's pages too: most lists are short and
// die with their tree.
constexpr std::size_t entry_size = sizeof(void*);  // an entry is one pointer

VORN_OBJ** new_entries(long size)
{
    return static_cast<VORN_OBJ**>(vorn_pages::allocate(static_cast<std::size_t>(size) * entry_size));
}

}  // namespace

VORN_OBJ_LIST::~VORN_OBJ_LIST()
{
    vorn_pages::release(entries);
}

void VORN_OBJ_LIST::add_object(VORN_OBJ* object)
{
    if (count == capacity) {
        // The new array is filled before it replaces the old one, so a failed
        // allocation leaves the list as it was.
        const long grown = capacity == 0 ? 8 : capacity * 2;
        VORN_OBJ** larger = new_entries(grown);
        for (long i = 0; i < count; ++i)
            larger[i] = entries[i];
        vorn_pages::release(entries);
        entries = larger;
        capacity = grown;
    }
    entries[count++] = object;
}

VORN_OBJ* VORN_OBJ_LIST::get_last_object()
{
    return count > 0 ? entries[count - 1] : nullptr;
}

void VORN_OBJ_LIST::rewind()
{
    cursor = count > 0 ? 0 : -1;
}

VORN_OBJ* VORN_OBJ_LIST::get_next_object()
{
    if (cursor < 0)
        return nullptr;
    VORN_OBJ* object = entries[cursor];
    // Past the last entry the cursor is at the end, where later appends
    // leave it.
    cursor = cursor + 1 < count ? cursor + 1 : -1;
    return object;
}

bool VORN_OBJ_LIST::is_empty()
{
    return count == 0;
}

VORN_OBJ* VORN_OBJ_LIST::remove_last_object()
{
    if (count == 0)
        return nullptr;
    --count;
    if (cursor == count)
        cursor = -1;
    return entries[count];
}

long VORN_OBJ_LIST::get_count()
{
    return count;
}

VORN_OBJ* VORN_OBJ_LIST::get_object_before_last() const
{
    return count > 1 ? entries[count - 2] : nullptr;
}

VORN_OBJ* VORN_OBJ_LIST::get_object_at(long index) const
{
    return index >= 0 && index < count ? entries[index] : nullptr;
}

VORN_OBJ* VORN_OBJ_LIST::remove_first_object()
{
    if (count == 0)
        return nullptr;
    VORN_OBJ* object = entries[0];
    for (long i = 1; i < count; ++i)
        entries[i - 1] = entries[i];
    --count;
    // The entries moved down by one: so does a cursor on any of them.  A
    // cursor on the removed entry lands on the one that followed it.
    if (cursor > 0)
        --cursor;
    else if (cursor == 0 && count == 0)
        cursor = -1;
    return object;
}

void VORN_OBJ_LIST::splice_front(VORN_OBJ_LIST& other)
{
    if (&other == this || other.count == 0)
        return;
    const long total = count + other.count;
    VORN_OBJ** joined = new_entries(total > capacity ? total : capacity);
    for (long i = 0; i < other.count; ++i)
        joined[i] = other.entries[i];
    for (long i = 0; i < count; ++i)
        joined[other.count + i] = entries[i];
    vorn_pages::release(entries);
    entries = joined;
    if (total > capacity)
        capacity = total;
    if (cursor >= 0)
        cursor += other.count;
    count = total;
    other.count = 0;
    other.cursor = -1;
}

// Blocks from the thread's pages.
void* VORN_OBJ_LIST::operator new(std::size_t size)
{
    return vorn_pages::allocate(size);
}
void* VORN_OBJ_LIST::operator new(std::size_t size, std::align_val_t alignment)
{
    return vorn_pages::allocate(size, static_cast<std::size_t>(alignment));
}
void* VORN_OBJ_LIST::operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    try {
        return vorn_pages::allocate(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void VORN_OBJ_LIST::operator delete(void* block) noexcept
{
    vorn_pages::release(block);
}
void VORN_OBJ_LIST::operator delete(void* block, std::align_val_t) noexcept
{
    vorn_pages::release(block);
}
void VORN_OBJ_LIST::operator delete(void* block, const std::nothrow_t&) noexcept
{
    vorn_pages::release(block);
}
