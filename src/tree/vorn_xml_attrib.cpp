#include "vorn_xml_attrib.h"
#include "../companion/vorn_pages.h"

#include "../internal/vorn_xml_chars.h"

bool LESS_C_STRING::operator()(const std::string& a, const std::string& b) const
{
    // Works on the C-string forms: a NUL ends a name.
    const unsigned char* p = reinterpret_cast<const unsigned char*>(a.c_str());
    const unsigned char* q = reinterpret_cast<const unsigned char*>(b.c_str());
    for (;; ++p, ++q) {
        if (*p == *q) {  // the same byte folds the same way
            if (*p == 0)
                return false;
            continue;
        }
        const unsigned x = static_cast<unsigned char>(vorn_xml_chars::fold_case(static_cast<char>(*p)));
        const unsigned y = static_cast<unsigned char>(vorn_xml_chars::fold_case(static_cast<char>(*q)));
        if (x != y)
            return x < y;
    }
}

VORN_XML_ATTRIB_LIST::VORN_XML_ATTRIB_LIST() : attrib_cursor(attrib_map.begin()) {}

VORN_XML_ATTRIB_LIST::VORN_XML_ATTRIB_LIST(const VORN_XML_ATTRIB_LIST& other)
    : attrib_map(other.attrib_map), attrib_cursor(attrib_map.end())
{
}

VORN_XML_ATTRIB_LIST::~VORN_XML_ATTRIB_LIST() = default;

void VORN_XML_ATTRIB_LIST::set_attrib(const std::string& name, const std::string& value)
{
    MAP::iterator at = attrib_map.lower_bound(name);
    if (at == attrib_map.end() || attrib_map.key_comp()(name, at->first)) {
        // Build the pair first so a failed allocation leaves the map as it was.
        attrib_map.emplace_hint(at, name, value);
        return;
    }
    at->second = value;
}

bool VORN_XML_ATTRIB_LIST::find_attrib(const std::string& name, std::string& value)
{
    const MAP::const_iterator at = attrib_map.find(name);
    if (at == attrib_map.end())
        return false;
    value = at->second;
    return true;
}

void VORN_XML_ATTRIB_LIST::reset_attrib_list()
{
    attrib_cursor = attrib_map.begin();
}

bool VORN_XML_ATTRIB_LIST::get_next_attrib(std::string& name, std::string& value)
{
    if (attrib_cursor == attrib_map.end())
        return false;
    name = attrib_cursor->first;
    value = attrib_cursor->second;
    ++attrib_cursor;
    return true;
}

void VORN_XML_ATTRIB_LIST::clear_attribs()
{
    attrib_map.clear();
    attrib_cursor = attrib_map.end();
}

// Blocks from the thread's pages.
void* VORN_XML_ATTRIB_LIST::operator new(std::size_t size)
{
    return vorn_pages::allocate(size);
}
void* VORN_XML_ATTRIB_LIST::operator new(std::size_t size, std::align_val_t alignment)
{
    return vorn_pages::allocate(size, static_cast<std::size_t>(alignment));
}
void* VORN_XML_ATTRIB_LIST::operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    try {
        return vorn_pages::allocate(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void VORN_XML_ATTRIB_LIST::operator delete(void* block) noexcept
{
    vorn_pages::release(block);
}
void VORN_XML_ATTRIB_LIST::operator delete(void* block, std::align_val_t) noexcept
{
    vorn_pages::release(block);
}
void VORN_XML_ATTRIB_LIST::operator delete(void* block, const std::nothrow_t&) noexcept
{
    vorn_pages::release(block);
}
