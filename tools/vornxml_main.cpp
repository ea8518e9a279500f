// vornxml: reads XML documents and prints their element trees, their events
// or the documents written back -- or the reasons they were refused, with
// the line and column where reading stopped.  vornxml_tool.h says which
// file holds what.
#include "vornxml_tool.h"

int main(int argc, char** argv)
{
    vornxml_tool::COMMAND command;
    const int done = vornxml_tool::read_command_line(argc, argv, command);
    if (done >= 0)
        return done;
    int worst = 0;
    for (const std::string& file : command.files) {
        const int status = vornxml_tool::read_document(file, command.make_mode, command.files.size() > 1,
                                                       command.standard, command.limits);
        if (status > worst)
            worst = status;
    }
    return worst;
}
