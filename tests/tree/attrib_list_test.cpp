#include <gtest/gtest.h>

#include <iterator>

#include "vorn_test_support.h"

namespace {

// The pairs from the cursor on, as "name=value;".
std::string walk(VORN_XML_ATTRIB_LIST& list)
{
    std::string out, name, value;
    while (list.get_next_attrib(name, value))
        out.append(name).append("=").append(value).append(";");
    return out;
}

}  // namespace

TEST(attrib_list, name_order_folds_capitals_only)
{
    const LESS_C_STRING less;
    const std::string ascending[] = {"", "@", "[", "_x", "`", "a", "ab", "ABC", "z", "{", "\x80", "\xC9", "\xE9"};
    for (std::size_t i = 1; i < std::size(ascending); ++i)
        EXPECT_TRUE(less(ascending[i - 1], ascending[i]) && !less(ascending[i], ascending[i - 1])) << i;
    const std::pair<std::string, std::string> same[] = {
        {"Version", "vERSION"}, {std::string("a\0b", 3), "a"}, {std::string("\0x", 2), ""}};
    for (const auto& [a, b] : same)
        EXPECT_TRUE(!less(a, b) && !less(b, a)) << a;
}

TEST(attrib_list, set_and_find)
{
    VORN_XML_ATTRIB_LIST list;
    for (const char* name : {"b", "A", "_x", "\xC9", "\xE9", "Version", "a", "VERSION"})
        list.set_attrib(name, name);
    list.reset_attrib_list();
    EXPECT_EQ(walk(list), "_x=_x;A=a;b=b;Version=VERSION;\xC9=\xC9;\xE9=\xE9;");  // first spelling, last value
    std::string value = "untouched";
    for (const char* absent : {"", "versio", "\xC9_", "\xE9x"})
        EXPECT_FALSE(list.find_attrib(absent, value)) << absent;
    EXPECT_EQ(value, "untouched");
    EXPECT_TRUE(list.find_attrib(std::string("vErsion\0zz", 10), value));
    EXPECT_EQ(value, "VERSION");
}

TEST(attrib_list, cursor_rules)
{
    VORN_XML_ATTRIB_LIST list;
    std::string name = "n", value = "v";
    EXPECT_FALSE(list.get_next_attrib(name, value));
    list.reset_attrib_list();
    list.set_attrib("b", "2");
    EXPECT_FALSE(list.get_next_attrib(name, value));  // still at the end
    EXPECT_EQ(name + value, "nv");
    list.reset_attrib_list();
    list.set_attrib("a", "1");  // before the cursor: not reached
    list.set_attrib("c", "3");
    EXPECT_EQ(walk(list), "b=2;c=3;");
    list.reset_attrib_list();
    EXPECT_EQ(walk(list), "a=1;b=2;c=3;");
    list.clear_attribs();
    list.reset_attrib_list();
    EXPECT_EQ(walk(list), "");
}
