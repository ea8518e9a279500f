#include <gtest/gtest.h>

#include "vorn_test_support.h"

namespace {

struct NAMED : VORN_OBJ {
    explicit NAMED(char n) : name(n) {}
    char name;
};

// The names from the cursor to the end, or from the first entry after a rewind.
std::string walk(VORN_OBJ_LIST& list, bool rewind = false)
{
    if (rewind)
        list.rewind();
    std::string seen;
    while (VORN_OBJ* object = list.get_next_object())
        seen += static_cast<NAMED*>(object)->name;
    return seen;
}

}  // namespace

TEST(companion, string_helpers_touch_ascii_only)
{
    EXPECT_EQ(to_lower_case("AbZ_@[9\xC9"), "abz_@[9\xC9");
    EXPECT_EQ(to_upper_case("aBz_`{9\xE9"), "ABZ_`{9\xE9");
    EXPECT_EQ(trim_right(" a b \t\n\v\f\r "), " a b");
    EXPECT_EQ(trim_right(std::string("a\0 ", 3)), std::string("a\0", 2));
}

// The basic cursor rules are pinned through the element's sub-element walk.
TEST(companion, obj_list_removal_and_splice)
{
    NAMED a('a'), b('b'), c('c'), d('d');
    VORN_OBJ_LIST list, front;
    EXPECT_TRUE(list.remove_last_object() == nullptr && list.remove_first_object() == nullptr);
    for (NAMED* n : {&b, &c, &d})
        list.add_object(n);
    list.rewind();
    EXPECT_EQ(list.remove_first_object(), &b);  // a cursor on the removed entry moves on
    front.add_object(&a);
    front.rewind();
    list.splice_front(front);  // the cursor stays on c
    list.splice_front(front);
    list.splice_front(list);
    EXPECT_TRUE(front.is_empty() && walk(front).empty());
    EXPECT_EQ(walk(list), "cd");
    EXPECT_EQ(walk(list, true), "acd");
    EXPECT_EQ(list.get_count(), 3);
    EXPECT_EQ(list.get_object_before_last(), &c);
    list.rewind();
    list.get_next_object();
    list.get_next_object();                    // on d
    EXPECT_EQ(list.remove_last_object(), &d);  // a cursor on the removed entry goes to the end
    EXPECT_EQ(list.remove_last_object(), &c);  // back across the splice
    list.add_object(&b);
    EXPECT_EQ(walk(list), "");
    EXPECT_EQ(walk(list, true), "ab");
}
