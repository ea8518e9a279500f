#include "vorn_companion.h"

VORN_OBJ_LIST::~VORN_OBJ_LIST()
{
    delete[] entries;
}

void VORN_OBJ_LIST::add_object(VORN_OBJ* object)
{
    if (count == capacity) {
        // The new array is filled before it replaces the old one, so a failed
        // allocation leaves the list as it was.
        const long grown = capacity == 0 ? 8 : capacity * 2;
        auto** larger = new VORN_OBJ*[static_cast<unsigned long>(grown)];
        for (long i = 0; i < count; ++i)
            larger[i] = entries[i];
        delete[] entries;
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
    auto** joined = new VORN_OBJ*[static_cast<unsigned long>(total > capacity ? total : capacity)];
    for (long i = 0; i < other.count; ++i)
        joined[i] = other.entries[i];
    for (long i = 0; i < count; ++i)
        joined[other.count + i] = entries[i];
    delete[] entries;
    entries = joined;
    if (total > capacity)
        capacity = total;
    if (cursor >= 0)
        cursor += other.count;
    count = total;
    other.count = 0;
    other.cursor = -1;
}
