// The standard XML reader: documents and their events, faults and their
// places, the tree it builds, encodings and sources, and hostile input.
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include <vorn_xml.h>

namespace {

// Every event a standard handler gets, as one line.
class RECORDER : public VORN_XML_STANDARD_HANDLER {
public:
    std::string log;

    RECORDER() { DOM_mode = false; }
    void add(const std::string& event) { log += (log.empty() ? "" : " ") + event; }
    void process_attributes(const std::string& element,
                            const std::vector<VORN_XML_STANDARD_ATTRIBUTE>& attributes) override
    {
        std::string tag = "<" + element;
        for (const VORN_XML_STANDARD_ATTRIBUTE& a : attributes)
            tag += " " + a.name + "=[" + a.value + "]" + (a.specified ? "" : "*");
        add(tag + ">");
    }
    void process_end_element(const std::string& name) override
    {
        add("</" + name + ">");
        VORN_XML_STANDARD_HANDLER::process_end_element(name);
    }
    void process_characters(const std::string& text) override { add("'" + text + "'"); }
    void process_comment(const std::string& text) override { add("!" + text); }
    void process_processing_instruction(const std::string& target, const std::string& data) override
    {
        add("?" + target + "[" + data + "]");
    }
    void process_doctype(const std::string& name, const std::string& public_id, const std::string& system_id) override
    {
        add("DOCTYPE " + name + "[" + public_id + "][" + system_id + "]");
    }
};

struct RESULT {
    bool ok;
    std::string events;
    std::string place;  // "LINE:COLUMN message" after a fault
};

RESULT read(const std::string& document, uint64_t expansion_limit = 0)
{
    RECORDER recorder;
    VORN_XML_STANDARD_PARSER parser;
    parser.set_expansion_limit(expansion_limit);
    parser.set_tree_handler(&recorder);
    VORN_XML_STRING_INPUT_SOURCE source(document);
    RESULT result{parser.parse(&source), recorder.log, ""};
    if (!result.ok) {
        VORN_XML_SAX_ERROR_HANDLER* errors = parser.get_error_handler();
        errors->reset_error_message_list();
        const std::string message = errors->get_next_error_message();
        EXPECT_EQ(errors->get_next_error_message(), "") << "one message only: " << document;
        result.place = std::to_string(parser.get_error_line()) + ":" + std::to_string(parser.get_error_column()) + " " +
                       message.substr(message.find(": ") + 2);
    }
    return result;
}

struct ACCEPTED {
    std::string document;
    std::string events;
};

TEST(standard_reader, accepts_and_reports_in_document_order)
{
    const ACCEPTED cases[] = {
        {"<a/>", "<a> </a>"},
        {"<?xml version='1.0' encoding='utf-8' standalone='yes'?>\n<a-b.c:d x='1' y=\"2\"/>",
         "<a-b.c:d x=[1] y=[2]> </a-b.c:d>"},
        {"<?xml version=\"1.1\"?><a/>", "<a> </a>"},
        {"<\xC3\xA9l\xC2\xB7x/>", "<\xC3\xA9l\xC2\xB7x> </\xC3\xA9l\xC2\xB7x>"},
        {"<p>Hello <b>big</b> world</p>", "<p> 'Hello ' <b> 'big' </b> ' world' </p>"},
        {"<a>x&lt;&gt;&amp;&apos;&quot;&#65;&#x42;<![CDATA[<&]]>y</a>", "<a> 'x<>&'\"AB<&y' </a>"},
        {"<a>1\r\n2\r3</a>", "<a> '1\n2\n3' </a>"},
        {"<a v=' x\ty\r\nz &#9; '/>", "<a v=[ x y z \t ]> </a>"},
        {"<!-- c --><?pi  some data ?><a><?t?><!---->x</a><!--e-->", "! c  ?pi[some data ] <a> ?t[] ! 'x' </a> !e"},
        {"<!DOCTYPE a SYSTEM 'a.dtd'><a>&undeclared;</a>", "DOCTYPE a[][a.dtd] <a> </a>"},
        {"<!DOCTYPE a PUBLIC '-//X//Y' \"s\" [<!ELEMENT a (#PCDATA|b)*>]><a/>", "DOCTYPE a[-//X//Y][s] <a> </a>"},
        {"<!DOCTYPE a [<!ENTITY e 'x<b>&f;</b>y'><!ENTITY f '&#38;#60;'>]><a>1&e;2</a>",
         "DOCTYPE a[][] <a> '1x' <b> '<' </b> 'y2' </a>"},
        {"<!DOCTYPE a [<!ENTITY e 'v &#10; w'>]><a x='&e;' y='&#10;'/>", "DOCTYPE a[][] <a x=[v   w] y=[\n]> </a>"},
        {"<!DOCTYPE a [<!ATTLIST a t NMTOKENS ' p  q ' c CDATA #FIXED ' r ' i ID #IMPLIED>]><a t='  m  n '/>",
         "DOCTYPE a[][] <a t=[m n] c=[ r ]*> </a>"},
        {"<!DOCTYPE a [<!ATTLIST a x CDATA 'first'><!ATTLIST a x CDATA 'second'>]><a/>",
         "DOCTYPE a[][] <a x=[first]*> </a>"},
        {"<!DOCTYPE a [<!ENTITY % p '<!ENTITY e \"pe\">'> %p; <!NOTATION n PUBLIC 'p'>]><a>&e;</a>",
         "DOCTYPE a[][] <a> 'pe' </a>"},
        {"<!DOCTYPE a [<!ENTITY % ext SYSTEM 'x.ent'> %ext; <!ENTITY e 'not read'>]><a>&e;</a>",
         "DOCTYPE a[][] <a> </a>"},
        {"<!DOCTYPE a [<!ELEMENT a ((b,c)|(d?,e*)+)><!ENTITY x SYSTEM 'x' NDATA n>]><a/>", "DOCTYPE a[][] <a> </a>"},
        {"<a A='1' a='2'/>", "<a A=[1] a=[2]> </a>"},
        // Defaults that add attributes to one tag, then a tag with pairs of its own.
        {"<!DOCTYPE a [<!ATTLIST a p CDATA '1' q CDATA '2'>]><a><b x='3' y='4' z='5'/></a>",
         "DOCTYPE a[][] <a p=[1]* q=[2]*> <b x=[3] y=[4] z=[5]> </b> </a>"},
        {"\xEF\xBB\xBF<a/>", "<a> </a>"},
        {"<a>" + std::string(121, 'x') + "</a>", "<a> '" + std::string(121, 'x') + "' </a>"},
    };
    for (const ACCEPTED& c : cases) {
        const RESULT r = read(c.document);
        EXPECT_TRUE(r.ok) << c.document << "\n" << r.place;
        EXPECT_EQ(r.events, c.events) << c.document;
    }
}

struct REFUSED {
    std::string document;
    std::string place;  // "LINE:COLUMN" and the start of the message
};

TEST(standard_reader, refuses_at_the_first_fault_with_its_place)
{
    const REFUSED cases[] = {
        {"", "1:1 the document has no root"},
        {"<a>", "1:4 the document ends before the end tag of <a>"},
        {"<a></b>", "1:4 end tag </b> does not match <a>"},
        {"<a/><b/>", "1:5 content after the root element"},
        {"<a/>x", "1:5 text after the root"},
        {" <?xml version='1.0'?><a/>", "1:2 the XML declaration is allowed only at the start"},
        {"<?xml version='2.0'?><a/>", "1:15 version \"2.0\""},
        {"<?xml encoding='utf-8'?><a/>", "1:7 the XML declaration needs a version"},
        {"<?xml version='1.0' standalone='maybe'?><a/>", "1:39 standalone must be"},
        {"<a x='1' x='2'/>", "1:1 attribute 'x' is repeated"},
        {"<r><a x='1' y='2' z='3'/><b z='1' z='2'/></r>", "1:26 attribute 'z' is repeated"},  // entries reused
        {"<a x='<'/>", "1:7 \"<\" in an attribute value"},
        {"<a x=1/>", "1:6 a quoted attribute value"},
        {"<a x='1'y='2'/>", "1:9 white space, \">\" or \"/>\""},
        {"<1a/>", "1:2 a name was expected"},
        {"<a>]]></a>", "1:4 \"]]>\" in character data"},
        {"<a>&#0;</a>", "1:4 character reference to a character"},
        {"<a>&#xD800;</a>", "1:4 character reference to a character"},
        {"<a>&nope;</a>", "1:4 entity 'nope' is not declared"},
        {"<a>&amp</a>", "1:4 \";\" expected"},
        {"<a><!-- a -- b --></a>", "1:11 \"--\" inside a comment"},
        {"<a><?xml-x?><?XmL?></a>", "1:13 processing instruction target 'XmL' is reserved"},
        {"<a>\n  <b>\xC3\xA9\x01</b></a>", "2:7 character U+0001"},
        {"<a>\xC3\x28</a>", "1:4 invalid UTF-8"},
        {"<a>\xED\xA0\x80</a>", "1:4 invalid UTF-8"},
        {"<a>\xEF\xBF\xBF</a>", "1:4 character U+FFFF"},
        {"<?xml version='1.0' encoding='KOI8-R'?><a/>", "1:1 encoding \"KOI8-R\" is not supported"},
        {"<?xml version='1.0' encoding='US-ASCII'?><a>\xC3\xA9</a>", "1:45 byte 0xC3 is not US-ASCII"},
        {"<!DOCTYPE a [<!ENTITY e '&e;'>]><a>&e;</a>", "1:36 entity 'e' refers to itself"},
        {"<!DOCTYPE a [<!ENTITY e '<b>'>]><a>&e;</b></a>", "1:36 an element begun in an entity"},
        {"<!DOCTYPE a [<!ENTITY e 'x<'>]><a v='&e;'/>", "1:38 \"<\" in the replacement text"},
        {"<!DOCTYPE a [<!ENTITY e SYSTEM 'x'>]><a v='&e;'/>", "1:44 attribute value refers to external"},
        {"<!DOCTYPE a [<!ENTITY e SYSTEM 'x' NDATA n>]><a>&e;</a>", "1:49 unparsed entity 'e'"},
        {"<!DOCTYPE a [<!ENTITY e '%p;'>]><a/>", "1:26 a parameter entity reference inside"},
        {"<!DOCTYPE a [<![INCLUDE[]]>]><a/>", "1:14 conditional sections"},
        {"<!DOCTYPE a [<!ELEMENT a (b,c|d)>]><a/>", "1:30 \",\" and \"|\" mixed"},
        {"<!DOCTYPE a [<!ELEMENT a (#PCDATA|b)>]><a/>", "1:37 mixed content with names"},
        {"<!DOCTYPE a [<!ATTLIST a x WORD #IMPLIED>]><a/>", "1:28 unknown attribute type"},
        {"<!DOCTYPE a PUBLIC 'a{b' 's'><a/>", "1:25 character not allowed in a public identifier"},
        {"<a/><!DOCTYPE a>", "1:5 a DOCTYPE is allowed only once"},
        {"<a><![CDATA[x]]</a>", "1:20 the document ends inside a CDATA section"},
        {"<?xml version='1.0' standalone='yes'?><!DOCTYPE a SYSTEM 'x'><a>&e;</a>", "1:65 entity 'e' is not declared"},
    };
    for (const REFUSED& c : cases) {
        const RESULT r = read(c.document);
        EXPECT_FALSE(r.ok) << c.document;
        EXPECT_EQ(r.place.substr(0, c.place.size()), c.place) << c.document;
    }
}

// The tree: each element's text joined, indentation left out, and names
// that only letter case tells apart refused rather than merged.
TEST(standard_reader, builds_the_tree_with_all_of_the_text)
{
    const struct {
        const char* document;
        const char* root_text;
        const char* first_child_text;
    } cases[] = {
        {"<p>Hello <b>big</b> world</p>", "Hello  world", "big"},
        {"<r>\n  <i> </i>\n  <i>1</i>\n</r>", "", " "},
        {"<r> <!-- c --> </r>", "  ", nullptr},
        {"<!DOCTYPE r [<!ENTITY e '<i>x</i>'>]><r>a&e;b</r>", "ab", "x"},
    };
    for (const auto& c : cases) {
        VORN_XML_STANDARD_PARSER parser;
        VORN_XML_STRING_INPUT_SOURCE source(c.document);
        ASSERT_TRUE(parser.parse(&source)) << c.document;
        VORN_XML_ELEMENT* root = parser.get_tree_handler()->get_root_element();
        ASSERT_NE(root, nullptr);
        EXPECT_EQ(root->get_element_data(), c.root_text) << c.document;
        VORN_XML_ELEMENT* child = root->get_first_sub_element();
        if (c.first_child_text == nullptr)
            EXPECT_EQ(child, nullptr);
        else if (child != nullptr)
            EXPECT_EQ(child->get_element_data(), c.first_child_text) << c.document;
        else
            ADD_FAILURE() << c.document;
    }

    // A plain tree handler gets the same texts, one event per element.
    VORN_XML_SAX_TREE_HANDLER plain;
    VORN_XML_STANDARD_PARSER parser;
    parser.set_tree_handler(&plain);
    VORN_XML_STRING_INPUT_SOURCE mixed("<p>Hello <b>big</b> world\n <i/>\n</p>");
    ASSERT_TRUE(parser.parse(&mixed));
    EXPECT_EQ(plain.get_root_element()->get_element_data(), "Hello  world\n ");

    VORN_XML_STANDARD_PARSER tree;
    VORN_XML_STRING_INPUT_SOURCE cased("<a>\n<b Id='1' ID='2'/></a>");
    EXPECT_FALSE(tree.parse(&cased));
    EXPECT_EQ(tree.get_error_line(), 2u);
    tree.get_error_handler()->reset_error_message_list();
    EXPECT_NE(tree.get_error_handler()->get_next_error_message().find(
                  "attributes 'Id' and 'ID' of <b> differ only in letter case"),
              std::string::npos);
}

std::string utf16(const std::string& ascii, bool little)
{
    std::string out = little ? "\xFF\xFE" : "\xFE\xFF";
    for (const char c : ascii) {
        out += little ? c : '\0';
        out += little ? '\0' : c;
    }
    return out;
}

TEST(standard_reader, decodes_every_encoding_it_names_into_utf8)
{
    const struct {
        std::string document;
        std::string events;
    } cases[] = {
        {utf16("<?xml version='1.0' encoding='UTF-16'?><a>x\r\ny</a>", true), "<a> 'x\ny' </a>"},
        {utf16("<a b='c'/>", false), "<a b=[c]> </a>"},
        {utf16("<a>", false) + std::string("\xD8\x3D\xDE\x00", 4) + utf16("</a>", false).substr(2),
         "<a> '\xF0\x9F\x98\x80' </a>"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9\xFF</a>", "<a> '\xC3\xA9\xC3\xBF' </a>"},
        {"<?xml version='1.0' encoding='us-ascii'?><a>x</a>", "<a> 'x' </a>"},
    };
    for (const auto& c : cases) {
        const RESULT r = read(c.document);
        EXPECT_TRUE(r.ok) << r.place;
        EXPECT_EQ(r.events, c.events);
    }
    EXPECT_EQ(read(utf16("<?xml version='1.0' encoding='UTF-8'?><a/>", true)).place.substr(0, 25),
              "1:1 the document is UTF-1");
    EXPECT_EQ(read(std::string("<\0?\0x\0", 6)).place, "1:1 UTF-16 without a byte order mark");
}

// A source of the host's own, one character at a time.
class ONE_BY_ONE : public VORN_XML_SAX_INPUT_SOURCE {
public:
    explicit ONE_BY_ONE(std::string text) : text(std::move(text)) { is_open = true; }
    int get_next_char() override { return at < text.size() ? static_cast<signed char>(text[at++]) : -1; }

private:
    std::string text;
    std::size_t at = 0;
};

TEST(standard_reader, reads_every_kind_of_source)
{
    const std::string document = "<r a='1'>\n <i>\xC3\xA9</i>\n</r>";
    const std::string expected = "<r a=[1]> '\n ' <i> '\xC3\xA9' </i> '\n' </r>";
    char path[] = "/tmp/standard_reader_testXXXXXX";
    const int fd = ::mkstemp(path);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::write(fd, document.data(), document.size()), static_cast<ssize_t>(document.size()));
    ::close(fd);

    VORN_XML_STRING_INPUT_SOURCE text(document);
    VORN_XML_FILE_INPUT_SOURCE file(path);
    VORN_XML_STREAM_INPUT_SOURCE stream(path);
    VORN_XML_STREAM_INPUT_SOURCE inner(path);
    VORN_XML_TRACKING_INPUT_SOURCE tracking(inner);
    VORN_XML_STRING_INPUT_SOURCE counted_text(document);
    VORN_XML_COUNTING_INPUT_SOURCE counting(counted_text);
    ONE_BY_ONE own(document);
    VORN_XML_SAX_INPUT_SOURCE* sources[] = {&text, &file, &stream, &tracking, &counting, &own};
    for (VORN_XML_SAX_INPUT_SOURCE* source : sources) {
        RECORDER recorder;
        VORN_XML_STANDARD_PARSER parser;
        parser.set_tree_handler(&recorder);
        EXPECT_TRUE(parser.parse(source));
        EXPECT_EQ(recorder.log, expected);
        EXPECT_EQ(source->get_next_char(), -1) << "left at its end";
    }
    std::remove(path);

    VORN_XML_STANDARD_PARSER parser;
    EXPECT_FALSE(parser.parse(nullptr));
    EXPECT_EQ(parser.get_error_handler(), nullptr);
    parser.set_tree_handler(nullptr);
    VORN_XML_STRING_INPUT_SOURCE any("<a/>");
    EXPECT_FALSE(parser.parse(&any));
}

// Documents built to exhaust: exponential entities, deep nesting, many
// attributes.  Each must end quickly with a verdict and no deep stack.
TEST(standard_reader, bounds_hostile_documents)
{
    std::string laughs = "<!DOCTYPE a [<!ENTITY e0 'haha'>";
    for (int i = 1; i <= 30; ++i)
        laughs +=
            "<!ENTITY e" + std::to_string(i) + " '&e" + std::to_string(i - 1) + ";&e" + std::to_string(i - 1) + ";'>";
    laughs += "]>";
    const std::string at = "1:" + std::to_string(laughs.size() + 4) + " entity expansion passes the limit of 100000";
    EXPECT_EQ(read(laughs + "<a>&e30;</a>", 100000).place.substr(0, at.size()), at);
    const std::string in_value = "1:" + std::to_string(laughs.size() + 7) + " entity expansion passes";
    EXPECT_EQ(read(laughs + "<a v='&e30;'/>", 100000).place.substr(0, in_value.size()), in_value);

    const std::size_t depth = 50000;
    std::string deep;
    for (std::size_t i = 0; i < depth; ++i)
        deep += "<d>";
    for (std::size_t i = 0; i < depth; ++i)
        deep += "</d>";
    VORN_XML_STANDARD_PARSER tree;
    VORN_XML_STRING_INPUT_SOURCE source(deep);
    EXPECT_TRUE(tree.parse(&source));

    std::string wide = "<a";
    for (int i = 0; i < 5000; ++i)
        wide += " a" + std::to_string(i) + "='" + std::to_string(i) + "'";
    EXPECT_TRUE(read(wide + "/>").ok);
    EXPECT_EQ(read(wide + " a7='x'/>").place.substr(0, 26), "1:1 attribute 'a7' is repe");
}

}  // namespace
