// The command line: options, the help text (help.txt) and the version.
#include <cstdint>
#include <cstdio>
#include <cstring>
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
    {"--canonical", nullptr, make_canonical_mode},
    {"--quiet", "-q", make_quiet_mode},
};

int usage_error(const std::string& what)
{
    std::cerr << "vornxml: " << what << "; try vornxml --help\n";
    return 2;
}

// The limit options, by name: --max-text=BYTES and so on.
const struct {
    const char* name;
    uint64_t VORN_XML_LIMITS::*field;
} limit_options[] = {
    {"--max-name=", &VORN_XML_LIMITS::longest_name},
    {"--max-text=", &VORN_XML_LIMITS::longest_text},
    {"--max-tag=", &VORN_XML_LIMITS::longest_tag},
    {"--max-depth=", &VORN_XML_LIMITS::deepest_nesting},
    {"--max-attributes=", &VORN_XML_LIMITS::attributes_per_tag},
    {"--max-messages=", &VORN_XML_LIMITS::messages_kept},
};

// Reads `arg` into `limits` when it is a limit option: 1 read, 0 not one,
// -1 one with a value that is not a count.
int read_limit(const std::string& arg, VORN_XML_LIMITS& limits)
{
    for (const auto& option : limit_options) {
        const std::size_t length = std::strlen(option.name);
        if (arg.compare(0, length, option.name) != 0)
            continue;
        const std::string digits = arg.substr(length);
        if (digits.empty() || digits.size() > 19 || digits.find_first_not_of("0123456789") != std::string::npos)
            return -1;
        limits.*option.field = std::stoull(digits);
        return 1;
    }
    return 0;
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

// Makes --select's mode from its PATH, --count and the mode option given
// (null: none).
int read_select(const std::string& text, bool count, std::unique_ptr<DOCUMENT_MODE> (*mode_given)(), COMMAND& command)
{
    if (mode_given != nullptr && mode_given != make_format_mode)
        return usage_error("--select goes with --format or --count only");
    if (count && mode_given != nullptr)
        return usage_error("--format and --count exclude each other");
    auto path = std::make_shared<VORN_XML_PATH>();
    if (!path->compile(text)) {
        std::cerr << "vornxml: bad path " << quoted(text) << ": " << path->get_error_message() << '\n';
        return 2;
    }
    const SELECT_OUTPUT written = command.standard ? SELECT_OUTPUT::STANDARD_FORMAT : SELECT_OUTPUT::FORMAT;
    const SELECT_OUTPUT output = count                            ? SELECT_OUTPUT::COUNT
                                 : mode_given == make_format_mode ? written
                                                                  : SELECT_OUTPUT::TREE;
    command.make_mode = [path, output] { return make_select_mode(path, output); };
    return -1;
}

}  // namespace

int read_command_line(int argc, char** argv, COMMAND& command)
{
    std::unique_ptr<DOCUMENT_MODE> (*mode_given)() = nullptr;
    bool select_given = false;
    std::string select;
    bool count = false;
    bool options_done = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (!options_done && arg == "--select") {
            if (i + 1 == argc)
                return usage_error("--select needs a PATH");
            select = argv[++i];
            select_given = true;
            continue;
        }
        if (!options_done && arg == "--standard") {
            command.standard = true;
            continue;
        }
        if (!options_done && arg == "--count") {
            count = true;
            continue;
        }
        if (options_done || arg == "-" || arg.empty() || arg[0] != '-') {
            command.files.push_back(arg);
            continue;
        }
        if (arg == "--") {
            options_done = true;
            continue;
        }
        if (arg == "--huge") {  // every limit but the messages kept
            const uint64_t kept = command.limits.messages_kept;
            command.limits = VORN_XML_LIMITS();
            command.limits.messages_kept = kept;
            continue;
        }
        if (const int read = read_limit(arg, command.limits)) {
            if (read < 0)
                return usage_error(arg.substr(0, arg.find('=')) + " needs a count (0 for no limit)");
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
        if (mode_given != nullptr && chosen != mode_given)
            return usage_error(exclusion_message());
        command.make_mode = chosen;
        mode_given = chosen;
    }
    if (command.files.empty())
        return usage_error("expected at least one FILE (or - for standard input)");
    // The canonical form is that of standard XML; standard XML is written
    // back as standard XML.
    if (mode_given == make_canonical_mode)
        command.standard = true;
    if (command.standard && mode_given == make_format_mode)
        command.make_mode = make_standard_format_mode;
    if (!select_given)
        return count ? usage_error("--count goes with --select") : -1;
    return read_select(select, count, mode_given, command);
}

}  // namespace vornxml_tool
