#include <gtest/gtest.h>

#include "vorn_test_support.h"

namespace {

using COLLECTOR = VORN_XML_SAX_ERROR_HANDLER;

// The four operations of one kind of message.
struct KIND {
    void (COLLECTOR::*append)(const std::string&);
    void (COLLECTOR::*rewind)();
    bool (COLLECTOR::*has)();
    std::string (COLLECTOR::*next)();
};

const KIND kinds[] = {
    {&COLLECTOR::handle_error, &COLLECTOR::reset_error_message_list, &COLLECTOR::has_error_messages,
     &COLLECTOR::get_next_error_message},
    {&COLLECTOR::handle_warning, &COLLECTOR::reset_warning_message_list, &COLLECTOR::has_warning_messages,
     &COLLECTOR::get_next_warning_message},
    {&COLLECTOR::handle_info, &COLLECTOR::reset_info_message_list, &COLLECTOR::has_info_messages,
     &COLLECTOR::get_next_info_message},
};

// The messages up to the first empty one, each followed by "|".
std::string read_all(COLLECTOR& c, const KIND& k)
{
    std::string out;
    for (std::string m = (c.*k.next)(); !m.empty(); m = (c.*k.next)())
        out += m + "|";
    return out;
}

}  // namespace

// Each kind keeps its own list and cursor; the other two kinds sit with their
// cursors on "y" throughout and must not move.
TEST(collector, cursor_rules_for_every_kind)
{
    for (const KIND& k : kinds) {
        SCOPED_TRACE(&k - kinds);
        COLLECTOR c;
        for (const KIND& other : kinds) {
            if (&other != &k) {
                (c.*other.append)("x");
                (c.*other.append)("y");
                (c.*other.rewind)();
                (c.*other.next)();
            }
        }
        EXPECT_FALSE((c.*k.has)());  // empty while the other lists are not
        (c.*k.rewind)();             // on an empty list: an append is not seen until the next rewind
        (c.*k.append)("a");
        (c.*k.append)("b");
        EXPECT_TRUE((c.*k.has)());
        EXPECT_EQ(read_all(c, k), "");
        (c.*k.rewind)();
        EXPECT_EQ((c.*k.next)(), "a");
        (c.*k.append)("c");  // cursor on "b": "c" follows in turn
        EXPECT_EQ(read_all(c, k), "b|c|");
        (c.*k.append)("d");  // a cursor at the end stays there
        EXPECT_EQ(read_all(c, k), "");
        (c.*k.rewind)();
        EXPECT_EQ(read_all(c, k), "a|b|c|d|");
        for (const KIND& other : kinds)
            EXPECT_EQ(read_all(c, other), &other == &k ? "" : "y|");
    }
}
