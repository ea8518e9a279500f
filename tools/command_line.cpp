// The command line: options, the help text.
#include <cstdio>
#include <iostream>

#include "vornxml_tool.h"

namespace vornxml_tool {
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

// The modes, by option.  Short names may be null.
const struct {
    const char* name;
    const char* short_name;
    std::unique_ptr<DOCUMENT_MODE> (*make)();
} modes[] = {
    {"--events", nullptr, make_events_mode},
    {"--format", nullptr, make_format_mode},
    {"--quiet", "-q", make_quiet_mode},
};

int usage_error(const std::string& what)
{
    std::cerr << "vornxml: " << what << "; try vornxml --help\n";
    return 2;
}

// "--a, --b and --c exclude each other"
std::string exclusion_message()
{
    std::string names;
    const std::size_t count = sizeof modes / sizeof modes[0];
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0)
            names += i + 1 == count ? " and " : ", ";
        names += modes[i].name;
    }
    return names + " exclude each other";
}

}  // namespace

int read_command_line(int argc, char** argv, COMMAND& command)
{
    bool mode_given = false;
    bool options_done = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (options_done || arg == "-" || arg.empty() || arg[0] != '-') {
            command.files.push_back(arg);
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
        std::unique_ptr<DOCUMENT_MODE> (*chosen)() = nullptr;
        for (const auto& mode : modes)
            if (arg == mode.name || (mode.short_name != nullptr && arg == mode.short_name))
                chosen = mode.make;
        if (chosen == nullptr)
            return usage_error("unknown option " + arg);
        if (mode_given && chosen != command.make_mode)
            return usage_error(exclusion_message());
        command.make_mode = chosen;
        mode_given = true;
    }
    if (command.files.empty())
        return usage_error("expected at least one FILE (or - for standard input)");
    return -1;
}

}  // namespace vornxml_tool
