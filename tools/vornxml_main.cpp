// vornxml: reads an XML document and prints its element tree, or the reasons
// it was refused.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vorn_xml.h>

namespace {

const char usage_text[] = "usage: vornxml FILE\n"
                          "       vornxml -            read the document from standard input\n"
                          "       vornxml --help\n"
                          "\n"
                          "Reads an XML document and prints its element tree: one element a line,\n"
                          "indented by depth, with its attributes as name=\"value\" and its text after\n"
                          "a colon.  Control characters, quotes, backslashes and bytes from 0x80 up\n"
                          "are shown as C escapes.\n"
                          "\n"
                          "Exit status: 0 the document was read; 1 it was refused (every error\n"
                          "message is printed on standard error, one a line); 2 the file could not be\n"
                          "read or the command line was wrong.\n";

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

int report_errors(VORN_XML_SAX_PARSER& parser)
{
    VORN_XML_SAX_ERROR_HANDLER* errors = parser.get_error_handler();
    if (errors != nullptr && errors->has_error_messages()) {
        errors->reset_error_message_list();
        for (std::string m = errors->get_next_error_message(); !m.empty(); m = errors->get_next_error_message())
            std::cerr << m << '\n';
    }
    return 1;
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

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        std::fputs(usage_text, stdout);
        return 0;
    }
    if (argc != 2 || (argv[1][0] == '-' && argv[1][1] != '\0')) {
        std::fputs("vornxml: expected one FILE (or - for standard input); try vornxml --help\n", stderr);
        return 2;
    }
    const std::string path = argv[1];

    VORN_XML_SAX_PARSER parser;
    bool ok = false;
    if (path == "-") {
        std::string text(std::istreambuf_iterator<char>(std::cin), {});
        VORN_XML_STRING_INPUT_SOURCE source(std::move(text));
        ok = parser.parse(&source);
    } else {
        std::string why;
        if (!check_readable(path, why)) {
            std::cerr << "vornxml: cannot read " << path << ": " << why << '\n';
            return 2;
        }
        VORN_XML_FILE_INPUT_SOURCE source(path);
        if (!source.is_open) {
            std::cerr << "vornxml: cannot open " << path << '\n';
            return 2;
        }
        ok = parser.parse(&source);
    }
    if (!ok)
        return report_errors(parser);
    if (VORN_XML_ELEMENT* root = parser.get_tree_handler()->get_root_element())
        print_tree(root);
    return 0;
}
