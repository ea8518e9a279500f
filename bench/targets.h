// The parsers measured by the benchmark, the instruction counter and the
// memory probe, each behind one function with one measured region.
#ifndef VORNXML_BENCH_TARGETS_H
#define VORNXML_BENCH_TARGETS_H

#include <cstddef>
#include <string>

#include "docgen.h"

namespace vorn_bench {

struct DOC {
    SHAPE shape;
    std::string text;  // the document in memory
    std::string path;  // the same bytes in a file
    // When not empty, the host's copy of the text that the next run hands
    // to its string source, made ahead (the memory probe counts only what
    // the parse adds).
    mutable std::string spare;
};

// What one run gives: the seconds of its measured region, and the number of
// elements it saw (-1 when the target does not count; -2 when the parse
// failed).
struct RUN {
    double seconds = 0;
    long elements = -1;
};

// One target runs one whole parse of `doc`.  The measured region starts
// after the host's own copy of the text is made and ends once the parse is
// done (and, for "+free" targets, the document freed).  Under callgrind
// only the measured region is counted (run with --collect-atstart=no).
// With `keep` set, a DOM target leaves its tree alive until the next call
// (for the memory probe).
using TARGET_FN = RUN (*)(const DOC& doc, bool keep);

struct TARGET {
    const char* name;
    const char* what;
    TARGET_FN run;
    bool dom;  // builds a tree that can be kept alive
};

// The clock of the measured regions: the thread's CPU time (the default;
// other processes on a shared machine then do not count) or wall time.
extern bool measure_wall_time;

extern const TARGET targets[];
extern const std::size_t target_count;

const TARGET* find_target(const std::string& name);

// Frees whatever the last run with `keep` left alive.
void release_kept();

// Turns glibc's return of freed memory to the kernel off, so that runs after
// the first do not measure page faults.
void keep_freed_memory();

}  // namespace vorn_bench

#endif
