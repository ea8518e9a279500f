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
