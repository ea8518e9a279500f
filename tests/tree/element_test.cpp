// Elements and their attribute lists: names compared with ASCII capitals
// folded, each element its own copy of its list, the list's cursor, and
// teardown.  The sub-element cursor is the object list's (companion_test).
#include <gtest/gtest.h>

#include <iterator>
#include <tuple>

#include "vorn_test_support.h"

using vorn_test::dump_tree;

namespace {

// The pairs from the cursor on, as "name=value;".
std::string walk(VORN_XML_ATTRIB_LIST& list)
{
    std::string out, name, value;
    while (list.get_next_attrib(name, value))
        out.append(name).append("=").append(value).append(";");
    return out;
}

// Appends its name and the number of sub-elements it still sees to `deleted`
// when it is destroyed.
std::string deleted;
struct COUNTED : VORN_XML_ELEMENT {
    explicit COUNTED(char name) : VORN_XML_ELEMENT(std::string(1, name), nullptr) {}
    ~COUNTED() override
    {
        int seen = 0;
        for (VORN_XML_ELEMENT* e = get_first_sub_element(); e != nullptr; e = get_next_sub_element())
            ++seen;
        deleted += element_name + std::to_string(seen);
    }
};

}  // namespace

TEST(attributes, names_fold_ascii_capitals_only)
{
    const LESS_C_STRING less;
    const std::string ascending[] = {"", "@", "[", "_x", "`", "a", "ab", "ABC", "z", "{", "\x80", "\xC9", "\xE9"};
    for (std::size_t i = 1; i < std::size(ascending); ++i)
        EXPECT_TRUE(less(ascending[i - 1], ascending[i]) && !less(ascending[i], ascending[i - 1])) << i;
    auto* given = new VORN_XML_ATTRIB_LIST;
    for (const char* name : {"b", "A", "_x", "\xC9", "\xE9", "Version", "a", "VERSION", "Empty"})
        given->set_attrib(name, name == std::string("Empty") ? "" : name);
    VORN_XML_ATTRIB_LIST empty;
    VORN_XML_ELEMENT e("Item", given), bare("a", nullptr), none("b", &empty);
    given->set_attrib("b", "changed");
    delete given;  // the element keeps its own copy
    EXPECT_EQ(dump_tree(&e),
              "Item{_x=_x,A=a,b=b,Empty=,Version=VERSION,\xC9=\xC9,\xE9=\xE9}");  // first spelling, last value
    std::string kept = "kept";  // the list's own look-up leaves the value alone when it finds nothing
    EXPECT_FALSE(e.attrib_list->find_attrib("versio", kept) || kept != "kept");
    const std::tuple<VORN_XML_ELEMENT*, std::string, bool, const char*> cases[] = {
        {&e, "vErsion", true, "VERSION"}, {&e, std::string("vErsion\0zz", 10), true, "VERSION"},
        {&e, "EMPTY", true, ""},          {&e, "versio", false, ""},
        {&e, "\xE9x", false, ""},         {&e, "", false, ""},
        {&bare, "a", false, ""},          {&none, "a", false, ""}};
    for (const auto& [element, attribute, found, expected] : cases) {
        std::string value = "stale";
        EXPECT_EQ(element->get_attribute(attribute, value), found) << attribute;
        EXPECT_EQ(value, expected) << attribute;
        EXPECT_EQ(element->get_case_insensitive_attrib_val(attribute), expected) << attribute;
    }
}

TEST(attributes, cursor_rules)
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

TEST(element, teardown_deletes_each_element_once_parents_first)
{
    COUNTED* n[7];
    for (int i = 0; i < 7; ++i)
        n[i] = new COUNTED(static_cast<char>('a' + i));
    for (const char* edge : {"eg", "bd", "be", "cf", "ab", "a", "ac"})  // "a": a null sub-element, ignored
        n[edge[0] - 'a']->add_sub_element(edge[1] != '\0' ? n[edge[1] - 'a'] : nullptr);
    EXPECT_EQ(dump_tree(n[0]), "a[b[d,e[g]],c[f]]");
    delete n[0];
    EXPECT_EQ(deleted, "a2b2d0e1g0c1f0");
}
