#include "vorn_companion.h"

VORN_OBJ_LIST::~VORN_OBJ_LIST()
{
    NODE* node = first;
    while (node != nullptr) {
        NODE* next = node->next;
        delete node;
        node = next;
    }
}

void VORN_OBJ_LIST::add_object(VORN_OBJ* object)
{
    NODE* node = new NODE{last, nullptr, object};
    if (last != nullptr)
        last->next = node;
    else
        first = node;
    last = node;
    ++count;
}

VORN_OBJ* VORN_OBJ_LIST::get_last_object()
{
    return last != nullptr ? last->object : nullptr;
}

void VORN_OBJ_LIST::rewind()
{
    cursor = first;
}

VORN_OBJ* VORN_OBJ_LIST::get_next_object()
{
    if (cursor == nullptr)
        return nullptr;
    VORN_OBJ* object = cursor->object;
    cursor = cursor->next;
    return object;
}

bool VORN_OBJ_LIST::is_empty()
{
    return first == nullptr;
}

VORN_OBJ* VORN_OBJ_LIST::remove_last_object()
{
    NODE* node = last;
    if (node == nullptr)
        return nullptr;
    if (cursor == node)
        cursor = nullptr;
    last = node->prev;
    if (last != nullptr)
        last->next = nullptr;
    else
        first = nullptr;
    --count;
    VORN_OBJ* object = node->object;
    delete node;
    return object;
}

long VORN_OBJ_LIST::get_count()
{
    return count;
}

VORN_OBJ* VORN_OBJ_LIST::remove_first_object()
{
    NODE* node = first;
    if (node == nullptr)
        return nullptr;
    if (cursor == node)
        cursor = node->next;
    first = node->next;
    if (first != nullptr)
        first->prev = nullptr;
    else
        last = nullptr;
    --count;
    VORN_OBJ* object = node->object;
    delete node;
    return object;
}

void VORN_OBJ_LIST::splice_front(VORN_OBJ_LIST& other)
{
    if (&other == this || other.first == nullptr)
        return;
    other.last->next = first;
    if (first != nullptr)
        first->prev = other.last;
    else
        last = other.last;
    first = other.first;
    count += other.count;
    other.first = nullptr;
    other.last = nullptr;
    other.cursor = nullptr;
    other.count = 0;
}

VORN_OBJ* VORN_OBJ_LIST::get_object_before_last() const
{
    return (last != nullptr && last->prev != nullptr) ? last->prev->object : nullptr;
}

VORN_OBJ* VORN_OBJ_LIST::get_object_at(long index) const
{
    if (index < 0 || index >= count)
        return nullptr;
    NODE* node = first;
    for (; index > 0; --index)
        node = node->next;
    return node->object;
}
