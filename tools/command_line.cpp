// The command line: options, the help text (help.txt) and the version.
#include <cstdio>
#include <iostream>

#include "vornxml_help.h"
#include "vornxml_tool.h"

namespace vornxml_tool {
namespace {

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
            std::fputs(help_text, stdout);
            return 0;
        }
        if (arg == "--version") {
            std::fputs(version_text, stdout);
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
