// A token fed one byte at a time costs the same per byte however long it
// grows: an attribute value of 1 MB and of 10 MB, fed byte by byte, are
// each delivered once per byte and allocate the same per byte (a reader
// that took the token up again at each piece would copy what it has so
// far, and allocate in proportion to the square of its length).  Counted
// through operator new, so this test replaces it and is left out under
// valgrind; instruction counts are in the benchmark's notes.
#include <cstdlib>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "vorn_test_support.h"

namespace {

long allocations = 0;
std::size_t allocated = 0;

struct COST {
    double allocations_per_byte;
    double bytes_allocated_per_byte;
};

COST feed_attribute_byte_by_byte(std::size_t length)
{
    std::string doc = "<?xml version=\"1.0\"?><a v=\"" + std::string(length, 'x') + "\"/>";
    VORN_XML_SAX_PARSER parser;
    parser.enable_DOM_mode(false);
    VORN_XML_PUSH_PARSER push(parser);
    const long allocations_before = allocations;
    const std::size_t allocated_before = allocated;
    for (const char& byte : doc)
        EXPECT_EQ(push.feed(&byte, 1), VORN_XML_PUSH_PARSER::PUSH_MORE);
    EXPECT_EQ(push.offset(), doc.size());  // every byte delivered once
    EXPECT_EQ(push.finish(), VORN_XML_PUSH_PARSER::PUSH_ACCEPTED);
    const auto bytes = static_cast<double>(doc.size());
    return {static_cast<double>(allocations - allocations_before) / bytes,
            static_cast<double>(allocated - allocated_before) / bytes};
}

}  // namespace

void* operator new(std::size_t size)
{
    ++allocations;
    allocated += size;
    if (void* p = std::malloc(size == 0 ? 1 : size))
        return p;
    throw std::bad_alloc();
}

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t /*size*/) noexcept
{
    std::free(p);
}

TEST(push_cost, a_token_fed_byte_by_byte_costs_the_same_per_byte_whatever_its_length)
{
    const COST small = feed_attribute_byte_by_byte(1 << 20);
    const COST large = feed_attribute_byte_by_byte(10 << 20);
    // The value's string doubles as it grows: a few bytes allocated per byte
    // of input, a vanishing number of allocations.
    EXPECT_LT(small.allocations_per_byte, 0.001);
    EXPECT_LT(large.allocations_per_byte, 0.001);
    EXPECT_LT(small.bytes_allocated_per_byte, 8.0);
    EXPECT_LT(large.bytes_allocated_per_byte, 8.0);
}
