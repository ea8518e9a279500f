// Reads several documents at once on one thread, as an event loop does:
// every input (standard input when none is named; pipes, FIFOs, sockets or
// files) is made non-blocking and watched with poll(), and whatever arrives
// on one is fed to that input's push parser at once.  Counts the elements
// of each document without building a tree, and says where a refused one
// went wrong:
//   some_command | example_push_poll
//   example_push_poll fifo1 fifo2 data.xml
#include <cerrno>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <vorn_xml.h>

namespace {

class COUNTER : public VORN_XML_SAX_TREE_HANDLER {
public:
    long elements = 0;
    void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override
    {
        ++elements;
        VORN_XML_SAX_TREE_HANDLER::process_start_element(name, attributes);
    }
};

// One input and the parser reading it.
struct INPUT {
    std::string name;
    int fd = -1;
    COUNTER counter;
    VORN_XML_SAX_PARSER parser;
    VORN_XML_PUSH_PARSER push{parser};

    INPUT(std::string label, int descriptor) : name(std::move(label)), fd(descriptor)
    {
        parser.set_tree_handler(&counter);  // ours: the parser never deletes it
        parser.enable_DOM_mode(false);      // events only
    }

    // The document is over: says how it went.  0 accepted, 1 refused.
    int report()
    {
        if (push.get_status() == VORN_XML_PUSH_PARSER::PUSH_ACCEPTED) {
            std::cout << name << ": " << counter.elements << " elements\n";
            return 0;
        }
        const VORN_XML_POSITION at = push.get_failure_position();
        VORN_XML_SAX_ERROR_HANDLER* errors = parser.get_error_handler();
        errors->reset_error_message_list();
        std::cout << name << ":" << at.line << ":" << at.column << ": " << errors->get_next_error_message() << "\n";
        return 1;
    }
};

}  // namespace

int main(int argc, char** argv)
{
    std::vector<std::unique_ptr<INPUT>> inputs;
    if (argc < 2)
        inputs.push_back(std::make_unique<INPUT>("<stdin>", STDIN_FILENO));
    for (int i = 1; i < argc; ++i) {
        const int fd = ::open(argv[i], O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0) {
            std::cerr << argv[i] << ": " << std::strerror(errno) << "\n";
            return 2;
        }
        inputs.push_back(std::make_unique<INPUT>(argv[i], fd));
    }
    for (const auto& input : inputs)
        ::fcntl(input->fd, F_SETFL, ::fcntl(input->fd, F_GETFL) | O_NONBLOCK);

    int status = 0;
    std::vector<char> buffer(std::size_t{64} * 1024);
    std::size_t open = inputs.size();
    while (open > 0) {
        std::vector<pollfd> watched;
        watched.reserve(inputs.size());
        for (const auto& input : inputs)
            watched.push_back({input->fd, POLLIN, 0});  // fd -1 once done: poll skips it
        if (::poll(watched.data(), watched.size(), -1) < 0) {
            if (errno == EINTR)
                continue;
            std::cerr << "poll: " << std::strerror(errno) << "\n";
            return 2;
        }
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            INPUT& input = *inputs[i];
            if (input.fd < 0 || watched[i].revents == 0)
                continue;
            const ssize_t got = ::read(input.fd, buffer.data(), buffer.size());
            if (got < 0 && (errno == EAGAIN || errno == EINTR))
                continue;
            if (got < 0)
                std::cerr << input.name << ": " << std::strerror(errno) << "\n";
            // The bytes that arrived, or the end of the data (also after a
            // read error, which the parse then reports as a cut document).
            const auto verdict =
                got > 0 ? input.push.feed(buffer.data(), static_cast<std::size_t>(got)) : input.push.finish();
            if (verdict == VORN_XML_PUSH_PARSER::PUSH_MORE)
                continue;
            status |= input.report();
            if (input.fd != STDIN_FILENO)
                ::close(input.fd);
            input.fd = -1;  // a document refused early is not read further
            --open;
        }
    }
    return status;
}
