// The parsers the benchmark measures, each as the steps a host takes: what
// it has ready before it parses, the parse, and freeing what the parse made.
#ifndef VORNXML_BENCH_TARGETS_H
#define VORNXML_BENCH_TARGETS_H

#include <cstddef>
#include <memory>
#include <string>

namespace vorn_bench {

// A document, read into memory before anything is measured.
struct DOC {
    std::string path;  // its file (in the page cache: it was just read)
    std::string text;  // its bytes
};

// One parse of one document by one target.  Making it is the host's setup
// (its own copy of the text, for a string source that takes it over) and is
// never measured; parse() then free() is what is timed.
class RUN {
public:
    RUN() = default;
    RUN(const RUN&) = delete;
    RUN& operator=(const RUN&) = delete;
    virtual ~RUN() = default;

    // From nothing to the document parsed: the parser made, the document
    // read, the callbacks called or the tree built.  False when the parser
    // rejected the document.
    virtual bool parse() = 0;

    // The elements the parse saw, by its callbacks or in its tree; called
    // between parse() and free(), outside any measurement.
    virtual long elements() const = 0;

    // Frees the tree, the parser and the source.
    virtual void free() = 0;
};

struct TARGET {
    const char* name;
    bool tree;  // builds a tree, which the memory probe keeps alive
    std::unique_ptr<RUN> (*make)(const DOC& doc);
};

extern const TARGET targets[];
extern const std::size_t target_count;

const TARGET* find_target(const std::string& name);

}  // namespace vorn_bench

#endif
