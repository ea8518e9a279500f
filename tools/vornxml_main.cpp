// vornxml: reads XML documents and prints their element trees, their events
// or the documents written back -- or the reasons they were refused, with
// the line and column where reading stopped.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vorn_xml.h>

namespace {

const char usage_text[] = "usage: vornxml [--events | --format | --quiet] FILE...\n"
                          "       vornxml --help\n"
                          "\n"
                          "Reads each FILE (- is standard input) as an XML document.  By default\n"
                          "prints its element tree: one element a line, indented by depth, with its\n"
                          "attributes as name=\"value\" and its text after a colon.  Control\n"
                          "characters, quotes, backslashes and bytes from 0x80 up are shown as C\n"
                          "escapes.\n"
                          "\n"
                          "  --events   print the events as they come instead (no tree is built):\n"
                          "             start-document, start NAME ATTRIBUTES, chars \"TEXT\",\n"
                          "             end NAME, end-document\n"
                          "  --format   write the document back, indented, to standard output\n"
                          "  --quiet    print nothing; only the exit status tells\n"
                          "  --help     show this text\n"
                          "\n"
                          "A refused document prints each error message on standard error as\n"
                          "FILE:LINE:COLUMN: message, all at the place where reading stopped (the\n"
                          "start of the token at which the parser stopped; after a mismatched end\n"
                          "tag, that end tag).  Lines and columns count from 1; a column counts\n"
                          "bytes.  With several files, each tree or event list is headed by a line\n"
                          "==> FILE <==.  Files over 64 MiB report their progress on standard error.\n"
                          "\n"
                          "Exit status, the worst over all files: 0 every document was read; 1 a\n"
                          "document was refused (or could not be written back); 2 a file could not\n"
                          "be read or the command line was wrong.\n";

constexpr uint64_t progress_step = uint64_t{64} << 20;

enum class MODE { TREE, EVENTS, FORMAT, QUIET };

// Shows `text` between double quotes with anything that is not a printable
// ASCII character escaped, so control characters stay visible.
std::string quoted(const std::string& text)
{
    std::string out(1, '"');
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\t': out += "\\t"; break;
        case '\r': out += "\\r"; break;
        default:
            if (byte < 0x20 || byte >= 0x7f) {
                char hex[8];
                std::snprintf(hex, sizeof hex, "\\x%02X", byte);
                out += hex;
            } else {
                out += c;
            }
        }
    }
    out += '"';
    return out;
}

void print_element(std::string& line, VORN_XML_ELEMENT* element, std::size_t depth)
{
    // Deep documents would make indentation quadratic; past a limit the
    // depth is written as a number instead.
    constexpr std::size_t max_indent = 32;
    line.clear();
    if (depth <= max_indent) {
        line.append(2 * depth, ' ');
    } else {
        line.append(2 * max_indent, ' ');
        line += "[" + std::to_string(depth) + "] ";
    }
    line += element->get_element_name();
    if (element->attrib_list != nullptr) {
        std::string name;
        std::string value;
        element->attrib_list->reset_attrib_list();
        while (element->attrib_list->get_next_attrib(name, value))
            line += " " + name + "=" + quoted(value);
    }
    if (!element->get_element_data().empty())
        line += ": " + quoted(element->get_element_data());
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stdout);
}

// Prints the tree depth first without recursion.
void print_tree(VORN_XML_ELEMENT* root)
{
    std::string line;
    std::vector<VORN_XML_ELEMENT*> open;
    print_element(line, root, 0);
    open.push_back(root);
    VORN_XML_ELEMENT* next = root->get_first_sub_element();
    while (!open.empty()) {
        if (next == nullptr) {
            open.pop_back();
            if (!open.empty())
                next = open.back()->get_next_sub_element();
            continue;
        }
        print_element(line, next, open.size());
        open.push_back(next);
        next = next->get_first_sub_element();
    }
}

// Checks that `path` names a readable regular file; on failure says why.
bool check_readable(const std::string& path, std::string& why)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        why = std::strerror(errno);
        return false;
    }
    struct stat info {};
    const bool is_dir = ::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode);
    ::close(fd);
    if (is_dir) {
        why = "is a directory";
        return false;
    }
    return true;
}

// A counting source that tells, on standard error, how far it has got
// through a large input.
class PROGRESS_SOURCE : public VORN_XML_COUNTING_INPUT_SOURCE {
public:
    PROGRESS_SOURCE(VORN_XML_SAX_INPUT_SOURCE& source, const std::string& name, uint64_t size, bool silent)
        : VORN_XML_COUNTING_INPUT_SOURCE(source), label(name), total(size),
          next_report(silent || size <= progress_step ? UINT64_MAX : progress_step)
    {
    }

    int get_next_char() override
    {
        const int c = VORN_XML_COUNTING_INPUT_SOURCE::get_next_char();
        if (next.offset >= next_report) {
            std::fprintf(stderr, "vornxml: %s: %llu of %llu MiB read\n", label.c_str(),
                         static_cast<unsigned long long>(next.offset >> 20),
                         static_cast<unsigned long long>(total >> 20));
            next_report += progress_step;
        }
        return c;
    }

private:
    std::string label;
    uint64_t total;
    uint64_t next_report;
};

// Prints each event as it comes; builds nothing (DOM mode is off).
class EVENT_PRINTER : public VORN_XML_SAX_TREE_HANDLER {
public:
    void process_start_document() override { put("start-document"); }
    void process_end_document(const char* text) override
    {
        (void)text;
        put("end-document");
    }
    void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override
    {
        std::string line = "start " + name;
        if (attributes != nullptr) {
            std::string key;
            std::string value;
            attributes->reset_attrib_list();
            while (attributes->get_next_attrib(key, value))
                line += " " + key + "=" + quoted(value);
        }
        put(line);
    }
    void process_end_element(const std::string& name) override { put("end " + name); }
    void process_characters(const std::string& text) override { put("chars " + quoted(text)); }

private:
    static void put(std::string line)
    {
        line += '\n';
        std::fwrite(line.data(), 1, line.size(), stdout);
    }
};

// Builds the tree as the default handler does, but takes each top-level
// element over as it ends: a document may hold several, and the handler alone
// keeps only the last one.
class ROOT_COLLECTOR : public VORN_XML_SAX_TREE_HANDLER {
public:
    std::vector<std::unique_ptr<VORN_XML_ELEMENT>> roots;

    void process_end_element(const std::string& name) override
    {
        VORN_XML_SAX_TREE_HANDLER::process_end_element(name);
        if (root_element != nullptr) {
            roots.emplace_back(nullptr);
            roots.back().reset(take_root_element());
        }
    }
};

void report_errors(const std::string& label, VORN_XML_SAX_PARSER& parser, const VORN_XML_COUNTING_INPUT_SOURCE& source)
{
    const VORN_XML_POSITION at = source.get_failure_position(parser);
    const std::string prefix = label + ":" + std::to_string(at.line) + ":" + std::to_string(at.column) + ": ";
    VORN_XML_SAX_ERROR_HANDLER* errors = parser.get_error_handler();
    if (errors == nullptr || !errors->has_error_messages())
        return;
    std::fflush(stdout);
    errors->reset_error_message_list();
    for (std::string m = errors->get_next_error_message(); !m.empty(); m = errors->get_next_error_message())
        std::cerr << prefix << m << '\n';
}

// Reads one document and reports on it.  Returns the exit status for it.
int process(const std::string& path, MODE mode, bool several)
{
    const bool quiet = mode == MODE::QUIET;
    const std::string label = path == "-" ? "<stdin>" : path;
    std::string why;
    if (path != "-" && !check_readable(path, why)) {
        if (!quiet)
            std::cerr << "vornxml: cannot read " << path << ": " << why << '\n';
        return 2;
    }
    if (several && (mode == MODE::TREE || mode == MODE::EVENTS))
        std::printf("==> %s <==\n", label.c_str());

    EVENT_PRINTER printer;
    ROOT_COLLECTOR collector;
    VORN_XML_SAX_PARSER parser;
    if (mode == MODE::EVENTS) {
        parser.set_tree_handler(&printer);
        parser.enable_DOM_mode(false);
    } else {
        parser.set_tree_handler(&collector);
    }
    bool ok = false;
    auto run = [&](VORN_XML_SAX_INPUT_SOURCE& inner, uint64_t size) {
        PROGRESS_SOURCE source(inner, label, size, quiet);
        ok = parser.parse(&source);
        if (!ok && !quiet)
            report_errors(label, parser, source);
    };
    if (path == "-") {
        std::string text(std::istreambuf_iterator<char>(std::cin), {});
        const uint64_t size = text.size();
        VORN_XML_STRING_INPUT_SOURCE inner(std::move(text));
        run(inner, size);
    } else {
        struct stat info {};
        const uint64_t size = ::stat(path.c_str(), &info) == 0 ? static_cast<uint64_t>(info.st_size) : 0;
        VORN_XML_FILE_INPUT_SOURCE inner(path);
        if (!inner.is_open) {
            if (!quiet)
                std::cerr << "vornxml: cannot open " << path << '\n';
            return 2;
        }
        run(inner, size);
    }
    if (!ok)
        return 1;

    if (mode == MODE::TREE) {
        for (const auto& root : collector.roots)
            print_tree(root.get());
    } else if (mode == MODE::FORMAT) {
        std::fflush(stdout);
        if (collector.roots.empty())
            std::cout << "<?xml version=\"1.0\"?>\n";
        VORN_XML_WRITER writer(2);
        std::string text;
        for (std::size_t i = 0; i < collector.roots.size(); ++i) {
            text.clear();
            if (!writer.write(collector.roots[i].get(), text)) {
                std::cerr << label << ": " << writer.error_message << '\n';
                return 1;
            }
            // Further top-level elements follow the first without a
            // declaration of their own.
            const std::size_t body = i == 0 ? 0 : text.find('\n') + 1;
            std::cout.write(text.data() + body, static_cast<std::streamsize>(text.size() - body));
        }
        std::cout.flush();
    }
    return 0;
}

int usage_error(const std::string& what)
{
    std::cerr << "vornxml: " << what << "; try vornxml --help\n";
    return 2;
}

}  // namespace

int main(int argc, char** argv)
{
    MODE mode = MODE::TREE;
    bool mode_given = false;
    bool options_done = false;
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (options_done || arg == "-" || arg.empty() || arg[0] != '-') {
            files.push_back(arg);
            continue;
        }
        if (arg == "--") {
            options_done = true;
            continue;
        }
        if (arg == "--help" || arg == "-h") {
            std::fputs(usage_text, stdout);
            return 0;
        }
        MODE chosen;
        if (arg == "--events")
            chosen = MODE::EVENTS;
        else if (arg == "--format")
            chosen = MODE::FORMAT;
        else if (arg == "--quiet" || arg == "-q")
            chosen = MODE::QUIET;
        else
            return usage_error("unknown option " + arg);
        if (mode_given && chosen != mode)
            return usage_error("--events, --format and --quiet exclude each other");
        mode = chosen;
        mode_given = true;
    }
    if (files.empty())
        return usage_error("expected at least one FILE (or - for standard input)");

    int worst = 0;
    for (const std::string& file : files) {
        const int status = process(file, mode, files.size() > 1);
        if (status > worst)
            worst = status;
    }
    return worst;
}
