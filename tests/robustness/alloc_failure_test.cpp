// Allocation failure: the global operator new of this executable fails at
// the N-th allocation once armed.  For N = 1, 2, ... a parse must throw
// std::bad_alloc, leak nothing and leave parser, handler, tree and collector
// destroyable, with the messages filed so far a prefix of the full run's,
// until N is large enough for the parse to finish as it does unhindered.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "vorn_test_support.h"

namespace {

// Every block has a header that says whether it was allocated while counting,
// so that only those blocks are counted when freed.
constexpr std::size_t header = 16;

bool counting = false;
long fail_at = 0;  // allocations still allowed; the next one past it fails
long live = 0;     // counted blocks not yet freed

}  // namespace

// The array forms of the standard library call these.
void* operator new(std::size_t size)
{
    auto* block = counting && fail_at-- == 0 ? nullptr : static_cast<unsigned char*>(std::malloc(size + header));
    if (block == nullptr)
        throw std::bad_alloc();
    *reinterpret_cast<bool*>(block) = counting;
    live += counting ? 1 : 0;
    return block + header;
}
void operator delete(void* pointer) noexcept
{
    if (pointer == nullptr)
        return;
    unsigned char* block = static_cast<unsigned char*>(pointer) - header;
    live -= *reinterpret_cast<bool*>(block) ? 1 : 0;
    std::free(block);
}
void operator delete(void* pointer, std::size_t /*size*/) noexcept
{
    operator delete(pointer);
}

namespace {

// One parse with allocations failing after `allowed` of them (never when
// negative); true when it threw.  The report, read with the failure switched
// off, is the messages filed and, when the parse finished, its result and
// tree.
bool parse_failing_after(const std::string& document, const std::string& path, long allowed, bool from_file,
                         std::vector<std::string>& report)
{
    bool threw = false;
    report.clear();
    live = 0;
    fail_at = allowed;
    counting = allowed >= 0;
    try {
        VORN_XML_SAX_PARSER parser;
        VORN_XML_FILE_INPUT_SOURCE file(path);
        VORN_XML_STRING_INPUT_SOURCE text(document);
        bool ok = false;
        try {
            ok = parser.parse(from_file ? static_cast<VORN_XML_SAX_INPUT_SOURCE*>(&file) : &text);
        } catch (const std::bad_alloc&) {
            threw = true;
        }
        counting = false;  // read back and tear down without failures
        report = vorn_test::error_messages(parser.get_error_handler());
        const std::string tree = vorn_test::dump_tree(parser.get_tree_handler()->get_root_element());
        if (!threw)
            report.insert(report.end(), {ok ? "ok" : "failed", tree});
    } catch (const std::bad_alloc&) {
        threw = true;  // the parser or a source could not be made
    }
    counting = false;
    return threw;
}

TEST(alloc_failure, every_allocation_of_a_parse_may_fail)
{
    // A valid document, then one of each kind of failure.
    const std::string declaration = "<?xml version=\"1.0\"?>";
    const std::string cases[] = {
        declaration + "<catalog lang=\"en\"><book id=\"1\" Id=\"2\"><title>A &amp; B</title></book><!-- c -->"
                      "<empty/>tail</catalog>",
        "<a/>",
        "<?xml version=\"2.0\"?><a/>",
        declaration + "<a><?pi?></a>",
        declaration + "<a b c=\"1\" d=e>x</a>",
        declaration + "<a 5></a>",
        declaration + "<a>head<b/></a>",
        declaration + "<a><b></a></b>",
        declaration + "<a/></b>",
        declaration + "<a b=\"never closed",
    };
    vorn_test::TEMP_DIR dir;
    for (const std::string& document : cases) {
        const std::string path = dir.write("doc.xml", document);
        for (const bool from_file : {false, true}) {
            std::vector<std::string> full, partial;
            parse_failing_after(document, path, -1, from_file, full);
            long allowed = 0;
            for (; parse_failing_after(document, path, allowed, from_file, partial); ++allowed) {
                ASSERT_LT(allowed, 10000) << document;
                EXPECT_EQ(live, 0) << "blocks leaked with allocation " << allowed << " failing: " << document;
                EXPECT_TRUE(partial.size() < full.size() && std::equal(partial.begin(), partial.end(), full.begin()))
                    << "allocation " << allowed << ": " << document;
            }
            EXPECT_EQ(live, 0) << document;
            EXPECT_GT(allowed, 0) << document;
            EXPECT_EQ(partial, full) << document;
        }
    }
}

}  // namespace
