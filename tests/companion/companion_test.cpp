#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "vorn_test_support.h"

TEST(companion, string_helpers_touch_ascii_only)
{
    EXPECT_EQ(to_lower_case("AbZ_@[9\xC9"), "abz_@[9\xC9");
    EXPECT_EQ(to_upper_case("aBz_`{9\xE9"), "ABZ_`{9\xE9");
    EXPECT_EQ(trim_right(" a b \t\n\v\f\r "), " a b");
    EXPECT_EQ(trim_right(std::string("a\0 ", 3)), std::string("a\0", 2));
}

namespace {

struct NAMED : VORN_OBJ {
    explicit NAMED(char n) : name(n) {}
    char name;
};

// Runs a script on a new list: a letter appends that object ("0" appends
// null), "r" rewinds, "n" logs get_next_object(), "x" remove_last_object(),
// "F" remove_first_object() and "B" get_object_before_last() ("-" for null);
// "S" splices g and h in front.  Then logs "|", the count, and every entry
// by index.
std::string run(const std::string& script)
{
    static NAMED objects[] = {NAMED('a'), NAMED('b'), NAMED('c'), NAMED('d'), NAMED('e'),
                              NAMED('f'), NAMED('g'), NAMED('h'), NAMED('i')};
    const auto name = [](VORN_OBJ* object) { return object != nullptr ? static_cast<NAMED*>(object)->name : '-'; };
    VORN_OBJ_LIST list;
    std::string log;
    for (const char step : script) {
        if (step == 'r')
            list.rewind();
        else if (step == 'n' || step == 'x')
            log += name(step == 'n' ? list.get_next_object() : list.remove_last_object());
        else if (step == 'F')
            log += name(list.remove_first_object());
        else if (step == 'B')
            log += name(list.get_object_before_last());
        else if (step == 'S') {
            VORN_OBJ_LIST front;
            front.add_object(&objects[6]);
            front.add_object(&objects[7]);
            list.splice_front(front);
            log += front.is_empty() && front.get_next_object() == nullptr ? "" : "!";
        } else
            list.add_object(step == '0' ? nullptr : &objects[step - 'a']);
    }
    log += "|" + std::to_string(list.get_count()) + (list.is_empty() ? "E" : "") + name(list.get_last_object());
    for (long i = -1; i <= list.get_count(); ++i)
        log += name(list.get_object_at(i));
    return log;
}

}  // namespace

TEST(companion, obj_list_cursor_rules)
{
    const std::pair<const char*, const char*> cases[] = {
        {"nrnx", "---|0E---"},                               // a new list: the cursor at the end
        {"abnrnn", "-ab|2b-ab-"},                            // appends leave an end cursor alone
        {"abrncnn", "abc|3c-abc-"},                          // and one on an entry moves on to them
        {"abrnnncrn", "ab-a|3c-abc-"},                       // the end stays the end after appends
        {"abcrnnxncn", "abc--|3c-abc-"},                     // removing the entry under the cursor: at the end
        {"abcrnxnn", "acb-|2b-ab-"},                         // removing another entry: the cursor stays
        {"a0brnnn", "a-b|3b-a-b-"},                          // null entries
        {"abcdefghixxrnnnnnnnn", "ihabcdefg-|7g-abcdefg-"},  // past a regrowth
        {"abxxxa", "ba-|1a-a-"},
        {"abrFnF", "abb|0E---"},         // the cursor moves off a removed first entry
        {"abcrnFn", "aab|2c-bc-"},       // and follows the entries down
        {"abSxx", "ba|2h-gh-"},          // a splice links both ways: removals from the back
        {"abrnSn", "ab|4b-ghab-"},       // the cursor stays on its entry
        {"BaBbBxBFB", "--ab-a-|0E---"},  // before the last: only from two entries on
    };
    for (const auto& [script, expected] : cases)
        EXPECT_EQ(run(script), expected) << script;
}
