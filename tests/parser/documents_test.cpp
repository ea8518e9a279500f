// Whole documents through every kind of source (see parse_all_ways): the
// verdict, the messages in order and the events in order.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

#include "vorn_test_support.h"

using namespace vorn_test::msg;

namespace {

const std::string DECL = "<?xml version=\"1.0\"?>";
const std::string EMPTY_END = mismatch("a", "");
const std::string A = "start a {}; end a";

struct CASE {
    std::string doc;
    bool ok;
    std::vector<std::string> errors;
    std::string events;  // those between the document events, joined by "; "
};

// start-document always comes first; end-document last exactly when the
// parse succeeds.
void check(const std::vector<CASE>& cases, const std::string& prefix = DECL)
{
    for (const CASE& c : cases) {
        const vorn_test::OUTCOME out = vorn_test::parse_all_ways(prefix + c.doc);
        std::string events;
        for (const std::string& e : out.events)
            events += (events.empty() ? "" : "; ") + e;
        const std::string middle = c.events.empty() ? "" : "; " + c.events;
        EXPECT_EQ(out.ok, c.ok);
        EXPECT_EQ(out.errors, c.errors);
        EXPECT_EQ(events, "start-document" + middle + (c.ok ? "; end-document" : ""));
    }
}

}  // namespace

TEST(documents, declaration)
{
    check({{DECL, true, {}, ""},
           {" <!-- c --> <?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><a/>", true, {}, A},
           {"< ? XML version = \"1.0\"\n? ><a/>", true, {}, A},
           {"<?Xml VERSION=\"1.0\" encoding=\"x\"?><a/>", true, {}, A},
           {"<?xml?><a/>", false, {bad_version}, ""},
           {"<?xml version=\"1.00\"?><a/>", false, {bad_version}, ""},
           {"<?xml version=\"1.0 \"?><a/>", false, {bad_version}, ""},
           {"", false, {needed("<", ""), no_declaration}, ""},
           {"\xEF\xBB\xBF" + DECL, false, {needed("<", "\xEF"), no_declaration}, ""},
           {"<root/>", false, {needed("?", "root"), no_declaration}, ""},
           {"<?foo version=\"1.0\"?>", false, {needed("xml", "foo"), no_declaration}, ""},
           {"<?XMLversion=\"1.0\"?>", false, {needed("xml", "xmlversion"), no_declaration}, ""},
           {"<?xml-stylesheet href=\"a\"?>", false, {needed("?", "-"), no_declaration}, ""},
           {"<?xml version='1.0'?>", false, {no_value("version"), no_declaration}, ""},
           {"<?xml version=\"1.0\">", false, {needed("?", ">"), no_declaration}, ""},
           {"<?xml version=\"1.0\"?", false, {needed(">", ""), no_declaration}, ""},
           {"<?xml version=\"1.0?>", false, {unquoted, no_value("version"), no_declaration}, ""},
           {"<?xml \"", false, {unquoted, needed("?", "\xFF"), no_declaration}, ""}},
          "");
}

// Elements, attributes, what comes around the top-level element, character
// data, and text cut short: one table.
TEST(documents, markup)
{
    const auto text = [](const std::string& content, const std::string& data) {
        return CASE{"<a>" + content + "</a>", true, {}, "start a {}; chars " + data + "; end a"};
    };
    std::vector<CASE> cases = {
        // Elements.
        {"<a x=\"1\" y=\"2\"></a>", true, {}, "start a {x=1,y=2}; end a"},
        {"<a/ >", true, {}, A},
        {"< a >x</ a >", true, {}, "start a {}; chars x; end a"},
        {"<a\n>\n  <b/>\r\n</a\t>", true, {}, "start a {}; start b {}; end b; end a"},
        {"<a><b/>tail</a>", true, {}, "start a {}; start b {}; end b; chars tail; end a"},
        {"<a><!-- c --><b/></a><!-- d -->", true, {}, "start a {}; start b {}; end b; end a"},
        {"<a><b><c>t</c></b><d/></a>",
         true,
         {},
         "start a {}; start b {}; start c {}; chars t; end c; end b; start d {}; end d; end a"},
        {"<a \"/\">", true, {}, A},  // only the token's text is looked at
        // A missing ">" is reported and reading goes on.
        {"<a 5></a>", true, {needed(">", "5")}, "start a {}; chars 5>; end a"},
        {"<a></a", true, {needed(">", "")}, A},
        {"<a/", true, {needed(">", "")}, A},
        {"<a>head<b/></a>", false, {needed("</", "<"), EMPTY_END}, "start a {}; chars head"},
        {"<a>x<!-- c -->y</a>", false, {needed("</", "y"), EMPTY_END}, "start a {}; chars x"},
        {"<a>text", false, {needed("</", ""), EMPTY_END}, "start a {}; chars text"},
        {"<a></>", false, {no_name(""), EMPTY_END}, "start a {}"},
        {"<a></A>", false, {mismatch("a", "A")}, "start a {}"},
        {"<a><b><c></c></x></a>", false, {mismatch("b", "x")}, "start a {}; start b {}; start c {}; end c"},
        // End names that extend, shorten or differ inside the open name (compared in blocks in place).
        {"<ab>x</abc>", false, {mismatch("ab", "abc")}, "start ab {}; chars x"},
        {"<abc></ab>", false, {mismatch("abc", "ab")}, "start abc {}"},
        {"<abcdef></abXdef>", false, {mismatch("abcdef", "abXdef")}, "start abcdef {}"},
        {"<abcdefghij>x</abcdefghiJ>", false, {mismatch("abcdefghij", "abcdefghiJ")}, "start abcdefghij {}; chars x"},
        {"<a><?pi?></a>", false, {no_name("")}, "start a {}"},
        {"<my-tag/>", false, {needed(">", "-"), needed("</", ""), mismatch("my", "")}, "start my {}; chars -tag/>"},
        // Attributes.
        {"<a _b1 = \"1\"\n c=\"2\"/>", true, {}, "start a {_b1=1,c=2}; end a"},
        {"<a b=\"\"/>", true, {}, "start a {b=}; end a"},
        {"<a B=\"1\" b=\"2\"/>", true, {}, "start a {B=2}; end a"},
        {"<a y=\"1\" x=\"2\" Y=\"3\"/>", true, {}, "start a {x=2,y=3}; end a"},
        // The same, with the entries of an earlier tag to reuse.
        {"<r><a p=\"1\" q=\"2\" r=\"3\" s=\"4\"/><a B=\"1\" b=\"2\" A=\"3\" a=\"4\"/></r>",
         true,
         {},
         "start r {}; start a {p=1,q=2,r=3,s=4}; end a; start a {A=4,B=2}; end a; end r"},
        {"<a <!-- c --> b=\"1\"/>", true, {}, "start a {b=1}; end a"},
        {"<a b=\"x &amp; <y>\n&#60;\"/>", true, {}, "start a {b=x &amp; <y>\n&#60;}; end a"},
        {"<a x=\"1\"><b y=\"2\"/><c/></a>",
         true,
         {},
         "start a {x=1}; start b {y=2}; end b; start c {}; end c; end a"},  // each tag its own list
        {"<a 1b=\"x\"></a>", true, {needed(">", "1")}, "start a {}; chars 1b=\"x\">; end a"},
        {"<a></a x=\"1\">", true, {needed(">", "x")}, "start a {}; end a; chars x=\"1\">"},
        {"<a b=c>", false, {no_value("b"), needed("=", ">"), no_equal("c")}, ""},
        {"<a data-x=\"1\"/>", false, {needed("=", "-"), no_equal("data")}, ""},
        {"<a b=\"1/>", false, {unquoted, no_value("b")}, ""},
        {"<a b c=\"1\" d=e f='x'/>",
         false,
         {needed("=", "c"), no_equal("b"), no_value("d"), needed("=", "f"), no_equal("e"), no_value("f")},
         ""},
        // Around the top-level element.
        {"<a/><b/>", true, {}, "start a {}; end a; start b {}; end b"},
        {"<a/>tail", true, {}, "start a {}; end a; chars tail"},
        {"<a/>\xFF<b>", true, {}, A},
        {"<a/><!-- open", true, {}, A},
        // A comment ends at the first "-->", found by a scan that never
        // reuses the hyphen that broke a near miss; "<!" always opens one.
        {"<!-- a --->x--><a/>", true, {}, A},
        {"<!-- a -----><!----><a/>", true, {}, A},
        {"<!-->x--><a/>", true, {}, A},
        {"<!DOCTYPE d [<!ELEMENT d ANY>]>y--><a/>", true, {}, A},
        {"<a/>\"tail", true, {unquoted}, "start a {}; end a; chars tail"},
        {"<a/></b>", false, {extra}, A},
        {"text<a/>", false, {extra}, "chars text"},
        {"<a/>x<!-- -->y", false, {extra}, "start a {}; end a; chars x"},
        // Character data of <a>CONTENT</a>, which must parse cleanly.
        text("a&lt;b", "a<b"),
        text("x&gt;&quot;&amp;&apos;", "x>\"&'"),
        text("x&amp;lt;", "x&lt;"),
        text("x&ltx &lx &LT; AT&T &#60; &#x3C;", "x&ltx &lx &LT; AT&T &#60; &#x3C;"),
        text("x&am;&apo;&quo;&g;&ax", "x&am;&apo;&quo;&g;&ax"),
        text("x&&lt;", "x&&lt;"),
        text("a > b 'c' \"d\"", "a > b 'c' \"d\""),
        text("\r\nl1\r\nl2\r ", "l1\r\nl2\r "),
        text(" \t\n\v\f\rx\t&apos;\xE9\x01", "x\t'\xE9\x01"),
        // The first token of a run is read as a token: a reference there is
        // not decoded, and quotes around a leading string are dropped.
        text("&lt;y&lt;", "&lt;y<"),
        text("<!-- c -->x&amp;", "x&"),
        text("1&lt;2", "1<2"),
        text("\"q\" &lt; r", "q < r"),
        // Text cut short.
        {"<a>x&lt", false, {needed("</", ""), EMPTY_END}, "start a {}; chars x&lt"},
        {"<a>x&lt</a>", false, {needed("</", ""), EMPTY_END}, "start a {}; chars x&lt</a>"},  // "<" ends no reference
        {"<a>x\xFF</a>", false, {needed("</", ""), EMPTY_END}, "start a {}; chars x"},
        {"<a>\"q</a>", false, {unquoted, needed("</", ""), EMPTY_END}, "start a {}; chars q</a>"},
        {"<a>\"", false, {unquoted, needed("</", ""), EMPTY_END}, "start a {}; chars \xFF"},  // the end taken once
    };
    // A byte the tokenizer does not know is not consumed: it is all the text
    // there is, and it is what the end tag gets.
    for (const char c : std::string(":\\\x7F\x01\x1F\x80\xEF\xFE")) {
        const std::string byte(1, c);
        cases.push_back({"<a>" + byte + "x</a>", false, {needed("</", byte), EMPTY_END}, "start a {}; chars " + byte});
    }
    for (const char c : std::string("!#$%&'()*+,-./;=?@[]^{|}~`"))  // every symbol, as a token of its own
        cases.push_back(text(std::string(1, c) + "x", std::string(1, c) + "x"));
    check(cases);
}

// What a string source hands process_end_document: the text it delivered, cut
// before a byte 0xFF that ended it, or nothing when the parse ended early.
TEST(documents, text_handed_to_the_end_of_the_document)
{
    const std::string doc = DECL + "<a/>";
    for (const auto& [tail, text] :
         std::vector<std::pair<std::string, std::string>>{{"", doc}, {"x\xFFy", doc + "x"}, {"x<!-- -->\"\"y", ""}}) {
        SCOPED_TRACE(tail);
        EXPECT_EQ(vorn_test::parse_all_ways(doc + tail).end_text, text);
    }
}

// Names, values and text runs of every length around the sizes at which the
// reader changes gear: the 256-byte pieces in which long runs are gathered,
// the 4095-byte chunks of the file source and the 64 KiB chunks of the
// streaming source.
TEST(documents, long_runs_keep_every_byte)
{
    for (const std::size_t n : {1, 15, 16, 254, 255, 256, 257, 511, 512, 4094, 4095, 4096, 9000, 65535, 65536, 70000}) {
        const std::string name = "n" + std::string(n, 'm'), value(n, 'v'), text(n, 'x');
        check({{"<" + name + " a=\"" + value + "\">t" + text + "&amp;y&lt z</" + name + ">" + text,
                true,
                {},
                "start " + name + " {a=" + value + "}; chars t" + text + "&y&lt z; end " + name + "; chars " + text},
               {"<a b=\"" + value, false, {unquoted, no_value("b")}, ""}});
    }
    // "&quot;" starting at each offset around a 256-byte boundary of the run.
    for (std::size_t lead = 248; lead <= 262; ++lead) {
        const std::string text = "t" + std::string(lead, 'x');
        check({{"<a>" + text + "&quot;&amp;lt;</a>", true, {}, "start a {}; chars " + text + "\"&lt;; end a"}});
    }
}

namespace {

// A file object that reads exactly as asked, with no read-ahead: what the
// file source sees of a plain file.
struct PLAIN_FILE : VORN_FILE {
    int fd = -1;
    ~PLAIN_FILE() override { PLAIN_FILE::close(); }
    bool open(const std::string& path, int /*flags*/) override { return (fd = ::open(path.c_str(), O_RDONLY)) >= 0; }
    void close() override
    {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
    bool is_open() const override { return fd >= 0; }
    int read(char* buffer, int max) override { return static_cast<int>(::read(fd, buffer, max)); }
};

// The file source's fields at each event and after the parse, one line each.
struct FIELDS_HANDLER : vorn_test::RECORDING_HANDLER {
    VORN_XML_FILE_INPUT_SOURCE* source = nullptr;
    std::vector<std::string> fields;
    void note()
    {
        const std::size_t held = static_cast<std::size_t>(std::clamp(source->buffer_count + 1, 0, 4096));
        fields.push_back(std::to_string(source->buffer_pos) + " " + std::to_string(source->buffer_count) + " " +
                         std::to_string(std::hash<std::string_view>()({vorn_xml_buffer, held})) + " " +
                         std::to_string(source->xml_text.size()) + " " +
                         std::to_string(std::hash<std::string>()(source->xml_text)));
    }
    void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override
    {
        note();
        RECORDING_HANDLER::process_start_element(name, attributes);
    }
    void process_end_element(const std::string& name) override
    {
        note();
        RECORDING_HANDLER::process_end_element(name);
    }
    void process_characters(const std::string& text) override
    {
        note();
        RECORDING_HANDLER::process_characters(text);
    }
    void process_end_document(const char* text) override
    {
        note();
        RECORDING_HANDLER::process_end_document(text);
    }
};

std::vector<std::string> file_fields(const std::string& path, bool plain)
{
    VORN_XML_FILE_INPUT_SOURCE source;
    if (plain) {
        delete source.xml_file;
        source.xml_file = new PLAIN_FILE;
    }
    source.is_open = source.open_xml_file(path);
    FIELDS_HANDLER handler;
    handler.source = &source;
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&handler);
    std::vector<std::string> out = {parser.parse(&source) ? "ok" : "refused", handler.end_document_text};
    handler.note();
    out.insert(out.end(), handler.events.begin(), handler.events.end());
    out.insert(out.end(), handler.fields.begin(), handler.fields.end());
    return out;
}

}  // namespace

// A file over 64 KiB: its read-ahead changes nothing a host sees.  The
// source's fields, the shared buffer's bytes, the text kept and the text at
// the end of the document are those of plain 4095-byte reads, at every
// event and after the parse, whatever falls where a read-ahead block ends.
TEST(documents, file_read_ahead_is_invisible)
{
    const vorn_test::TEMP_DIR dir;
    std::vector<std::string> documents = {DECL + "<a>" + std::string(70000, 'x') + "</a>"};
    std::string records = DECL + "<r>";
    while (records.size() < 140000)
        records += "<e k=\"" + std::to_string(records.size()) + "\">t&amp;</e>";
    documents.push_back(records + "</r>");
    for (const std::size_t at : {65533, 65535, 65536, 65538}) {
        std::string cut = records + "</r>";
        cut[at] = '\xFF';  // the end of input just before, at or after the block's end
        documents.push_back(cut);
        documents.push_back(DECL + "<a>" + std::string(at - DECL.size() - 3, 'x') + "<b/>y</a>");
    }
    for (const std::string& document : documents) {
        const std::string path = dir.write("big.xml", document);
        EXPECT_EQ(file_fields(path, false), file_fields(path, true)) << document.size();
    }
}
