// Table rows for the parser tests: one document and what parsing it must give,
// checked through the string, file and byte-at-a-time sources alike.
#ifndef PARSER_CASES_H
#define PARSER_CASES_H

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "vorn_test_support.h"

namespace parser_cases {

const std::string DECL = "<?xml version=\"1.0\"?>";

struct CASE {
    std::string doc;
    bool ok;
    std::vector<std::string> errors;
    std::vector<std::string> events;  // those between the two document events
};

// Parses prefix + doc for every row.  start-document always comes first;
// end-document comes last exactly when the parse succeeds.
inline void check(const std::vector<CASE>& cases, const std::string& prefix = DECL)
{
    for (const CASE& c : cases) {
        SCOPED_TRACE(prefix + c.doc);
        const vorn_test::OUTCOME out = vorn_test::parse_all_ways(prefix + c.doc);
        std::vector<std::string> events{"start-document"};
        events.insert(events.end(), c.events.begin(), c.events.end());
        if (c.ok)
            events.emplace_back("end-document");
        EXPECT_EQ(out.ok, c.ok);
        EXPECT_EQ(out.errors, c.errors);
        EXPECT_EQ(out.events, events);
    }
}

}  // namespace parser_cases

#endif
