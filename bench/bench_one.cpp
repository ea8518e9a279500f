// vornxml_bench_one: one target, one document, one parse; for the
// instruction counter and the memory probe.
//
//   vornxml_bench_one TARGET SHAPE MB            one measured parse
//   vornxml_bench_one --memory TARGET SHAPE MB   peak extra memory, tree alive
//
// Prints "bytes N" (the document size) and, with --memory, "extra N" (the
// peak resident bytes above the level before the parse).
#include <libxml/parser.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "targets.h"

using namespace vorn_bench;

namespace {

long resident_kb(const char* field)
{
    std::FILE* status = std::fopen("/proc/self/status", "r");
    if (status == nullptr)
        return -1;
    char line[256];
    long kb = -1;
    const std::size_t length = std::strlen(field);
    while (std::fgets(line, sizeof line, status) != nullptr) {
        if (std::strncmp(line, field, length) == 0)
            kb = std::atol(line + length + 1);
    }
    std::fclose(status);
    return kb;
}

bool reset_peak()
{
    std::FILE* refs = std::fopen("/proc/self/clear_refs", "w");
    if (refs == nullptr)
        return false;
    const bool ok = std::fputs("5", refs) >= 0;
    return std::fclose(refs) == 0 && ok;
}

}  // namespace

int main(int argc, char** argv)
{
    bool memory = false;
    int first = 1;
    if (argc > 1 && std::strcmp(argv[1], "--memory") == 0) {
        memory = true;
        first = 2;
    }
    if (argc - first != 3) {
        std::fprintf(stderr, "usage: %s [--memory] TARGET records|attributes|text MB\n", argv[0]);
        return 2;
    }
    const TARGET* target = find_target(argv[first]);
    const std::string shape_text = argv[first + 1];
    SHAPE shape = SHAPE::RECORDS;
    if (shape_text == "attributes")
        shape = SHAPE::ATTRIBUTES;
    else if (shape_text == "text")
        shape = SHAPE::TEXT;
    else if (shape_text != "records")
        target = nullptr;
    if (target == nullptr) {
        std::fprintf(stderr, "unknown target or shape\n");
        return 2;
    }
    xmlInitParser();
    const std::size_t bytes = static_cast<std::size_t>(std::atof(argv[first + 2]) * 1e6);
    DOC doc{shape, make_document(shape, bytes), "", ""};
    char path[] = "/tmp/vornxml_bench_one_XXXXXX";
    const int fd = mkstemp(path);
    if (fd < 0) {
        std::perror("mkstemp");
        return 2;
    }
    close(fd);
    doc.path = path;
    std::ofstream(doc.path, std::ios::binary).write(doc.text.data(), static_cast<std::streamsize>(doc.text.size()));
    std::printf("bytes %zu\n", doc.text.size());

    int status = 0;
    if (memory) {
        // The host's copy of the text, which a string source takes over, is
        // made before the baseline so that it is not counted.
        doc.spare = doc.text;
        if (!reset_peak()) {
            std::fprintf(stderr, "cannot reset the peak resident size\n");
            status = 2;
        } else {
            const long before = resident_kb("VmRSS:");
            const RUN run = target->run(doc, true);
            const long peak = resident_kb("VmHWM:");
            std::printf("extra %ld\n", (peak - before) * 1024);
            status = run.elements == -2 ? 1 : 0;
            release_kept();
        }
    } else {
        keep_freed_memory();
        const RUN run = target->run(doc, false);
        status = run.elements == -2 ? 1 : 0;
    }
    std::remove(path);
    return status;
}
