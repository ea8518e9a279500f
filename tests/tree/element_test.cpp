#include <gtest/gtest.h>

#include <tuple>

#include "vorn_test_support.h"

using vorn_test::dump_tree;

namespace {

// An element that appends its name and the number of sub-elements it still
// sees to `deleted` when it is destroyed.
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

TEST(element, keeps_its_own_copy_of_the_attributes)
{
    auto* given = new VORN_XML_ATTRIB_LIST;
    given->set_attrib("id", "7");
    given->set_attrib("Empty", "");
    VORN_XML_ATTRIB_LIST empty;
    VORN_XML_ELEMENT e("Item", given), bare("a", nullptr), none("b", &empty);
    given->set_attrib("id", "8");
    delete given;
    EXPECT_EQ(dump_tree(&e), "Item{Empty=,id=7}");
    EXPECT_TRUE(bare.attrib_list == nullptr && none.attrib_list != nullptr);
    const std::tuple<VORN_XML_ELEMENT*, const char*, bool, const char*> cases[] = {{&e, "iD", true, "7"},
                                                                                   {&e, "EMPTY", true, ""},
                                                                                   {&e, "i", false, ""},
                                                                                   {&bare, "a", false, ""},
                                                                                   {&none, "a", false, ""}};
    for (const auto& [element, attribute, found, expected] : cases) {
        std::string value = "stale";
        EXPECT_EQ(element->get_attribute(attribute, value), found) << attribute;
        EXPECT_EQ(value, expected) << attribute;
        EXPECT_EQ(element->get_case_insensitive_attrib_val(attribute), expected) << attribute;
    }
}

TEST(element, data_and_sub_element_cursor)
{
    VORN_XML_ELEMENT root("r", nullptr);
    root.set_element_data("one");
    root.set_element_data("two");
    root.add_sub_element(nullptr);
    EXPECT_TRUE(root.subelement_list == nullptr && root.get_first_sub_element() == nullptr);
    VORN_XML_ELEMENT* s[] = {new VORN_XML_ELEMENT("A", nullptr), new VORN_XML_ELEMENT("B", nullptr),
                             new VORN_XML_ELEMENT("C", nullptr), new VORN_XML_ELEMENT("D", nullptr)};
    root.add_sub_element(s[0]);
    root.add_sub_element(s[1]);
    EXPECT_EQ(root.get_next_sub_element(), nullptr);  // no walk begun yet
    EXPECT_EQ(root.get_first_sub_element(), s[0]);
    root.add_sub_element(s[2]);  // the cursor is on B: C is reached in turn
    EXPECT_EQ(root.get_next_sub_element(), s[1]);
    EXPECT_EQ(root.get_next_sub_element(), s[2]);
    EXPECT_EQ(root.get_next_sub_element(), nullptr);
    root.add_sub_element(s[3]);  // after the end: only the next walk sees D
    EXPECT_EQ(root.get_next_sub_element(), nullptr);
    EXPECT_EQ(dump_tree(&root), "r(\"two\")[A,B,C,D]");
}

TEST(element, teardown_deletes_each_element_once_parents_first)
{
    deleted.clear();
    COUNTED* n[7];
    for (int i = 0; i < 7; ++i)
        n[i] = new COUNTED(static_cast<char>('a' + i));
    for (const char* edge : {"eg", "bd", "be", "cf", "ab", "ac"})
        n[edge[0] - 'a']->add_sub_element(n[edge[1] - 'a']);
    EXPECT_EQ(dump_tree(n[0]), "a[b[d,e[g]],c[f]]");
    delete n[0];
    EXPECT_EQ(deleted, "a2b2d0e1g0c1f0");
}
