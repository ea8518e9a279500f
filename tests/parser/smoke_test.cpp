#include <gtest/gtest.h>

#include "vorn_test_support.h"

using vorn_test::parse_all_ways;

TEST(smoke, road_of_one_document)
{
    const auto out = parse_all_ways("<?xml version=\"1.0\"?><a x=\"1\"><b/>hi</a>");
    EXPECT_TRUE(out.ok);
    EXPECT_EQ(out.tree, "a{x=1}(\"hi\")[b]");
    EXPECT_EQ(out.events, (std::vector<std::string>{"start-document", "start a {x=1}", "start b {}", "end b",
                                                    "chars hi", "end a", "end-document"}));
}
