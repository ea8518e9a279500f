// vornxml_bench: one measurement in a process of its own, and the report that
// turns the measurements of many processes into the tables of
// bench/README.md.  bench/run.sh drives it.
//
//   vornxml_bench generate DIR MB            DIR/records.xml, attributes.xml, text.xml
//   vornxml_bench list [trees]               the targets (only the tree builders)
//   vornxml_bench steady TARGET FILE WARMUP REPS
//   vornxml_bench cold TARGET FILE
//   vornxml_bench memory TARGET FILE
//   vornxml_bench threads TARGET FILE THREADS REPS
//   vornxml_bench threads-cpu TARGET FILE THREADS REPS
//   vornxml_bench report RESULTS
//
// A measurement prints "BYTES ELEMENTS VALUE": the document's size, the
// elements the target saw (-1 when it did not count them) and
//   steady  the median seconds of REPS parses (parse plus free) after WARMUP
//           untimed ones, all on the same document;
//   cold    the seconds of the first parse in the process;
//   memory  the peak resident bytes a parse adds, its tree still alive;
//   threads the wall-clock seconds per document when THREADS threads, each
//           with its own copy of the document and its own parsers, parse it
//           REPS times each after one untimed parse: the aggregate
//           throughput is the document's size over it;
//   threads-cpu the same by each thread's CPU time, as if each had a core.
// Other seconds are the CPU time of the thread (user and system): on a shared
// machine the wall clock mostly measures the other processes.  Under
// callgrind (--collect-atstart=no) only the timed parse is counted.
//
// The document is read into memory, and the host's copy made, before any
// measuring.  glibc's allocator keeps its default settings for every target.
#include <libxml/parser.h>
#include <valgrind/callgrind.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "docgen.h"
#include "targets.h"

using namespace vorn_bench;

namespace {

double thread_seconds()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// One parse plus free, timed; callgrind counts only this.
double timed_parse(const TARGET& target, const DOC& doc, bool& ok)
{
    const std::unique_ptr<RUN> run = target.make(doc);
    CALLGRIND_TOGGLE_COLLECT;
    const double start = thread_seconds();
    ok = run->parse();
    run->free();
    const double seconds = thread_seconds() - start;
    CALLGRIND_TOGGLE_COLLECT;
    return seconds;
}

// One parse, untimed, that counts the elements; -2 when it failed.
long counted_parse(const TARGET& target, const DOC& doc)
{
    const std::unique_ptr<RUN> run = target.make(doc);
    const long elements = run->parse() ? run->elements() : -2;
    run->free();
    return elements;
}

long status_kb(const char* field)
{
    std::ifstream status("/proc/self/status");
    const std::size_t length = std::strlen(field);
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, length, field) == 0)
            return std::atol(line.c_str() + length);
    }
    return -1;
}

// The peak resident size a parse adds, measured from just before it.
double peak_added(const TARGET& target, const DOC& doc, long& elements)
{
    const std::unique_ptr<RUN> run = target.make(doc);
    std::ofstream refs("/proc/self/clear_refs");
    refs << "5";  // resets VmHWM to VmRSS
    refs.close();
    if (!refs) {
        std::fprintf(stderr, "cannot reset the peak resident size\n");
        return -1;
    }
    const long before = status_kb("VmRSS:");
    elements = run->parse() ? run->elements() : -2;
    const long peak = status_kb("VmHWM:");
    run->free();
    return before < 0 || peak < 0 ? -1 : static_cast<double>(peak - before) * 1024;
}

double wall_seconds()
{
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

// `threads` threads, started together after one untimed parse each, parse
// their own copies of the document `reps` times.  The seconds per document:
// by the wall clock, or (`by_cpu`) by each thread's CPU time as if every
// thread had a core of its own, which a machine busy with other work can
// still tell: what the threads cost each other shows there.
double threaded(const TARGET& target, const DOC& doc, int threads, int reps, bool by_cpu, long& elements)
{
    const std::vector<DOC> docs(static_cast<std::size_t>(threads), doc);
    std::vector<long> counted(docs.size(), 0);
    std::vector<double> cpu(docs.size(), 0);
    std::atomic<int> waiting{threads};
    std::atomic<bool> go{false};
    std::vector<std::thread> pool;
    for (std::size_t i = 0; i < docs.size(); ++i)
        pool.emplace_back([&, i] {
            counted[i] = counted_parse(target, docs[i]);
            --waiting;
            while (!go)
                std::this_thread::yield();
            for (int r = 0; r < reps; ++r) {
                const std::unique_ptr<RUN> run = target.make(docs[i]);
                const double start = thread_seconds();
                counted[i] = run->parse() ? counted[i] : -2;
                run->free();
                cpu[i] += thread_seconds() - start;
            }
        });
    while (waiting > 0)
        std::this_thread::yield();
    const double start = wall_seconds();
    go = true;
    for (std::thread& thread : pool)
        thread.join();
    const double seconds = wall_seconds() - start;
    elements = *std::min_element(counted.begin(), counted.end());
    if (!by_cpu)
        return seconds / (threads * reps);
    double total = 0;
    for (const double c : cpu)
        total += c;
    return total / threads / reps / threads;
}

int measure(const std::string& mode, const TARGET& target, const char* path, int warmup, int reps)
{
    DOC doc{path, {}};
    std::ifstream in(path, std::ios::binary);
    doc.text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    if (!in || doc.text.empty()) {
        std::fprintf(stderr, "cannot read %s\n", path);
        return 2;
    }
    xmlInitParser();
    long elements = -1;
    double value = 0;
    bool ok = true;
    if (mode == "cold") {
        value = timed_parse(target, doc, ok);
    } else if (mode == "memory") {
        value = peak_added(target, doc, elements);
        ok = value >= 0;
    } else if (mode == "threads" || mode == "threads-cpu") {
        value = threaded(target, doc, warmup, reps, mode == "threads-cpu", elements);
    } else {
        for (int i = 0; i < warmup; ++i)
            elements = counted_parse(target, doc);
        std::vector<double> times;
        for (int i = 0; i < reps && ok; ++i)
            times.push_back(timed_parse(target, doc, ok));
        value = median(times);
    }
    if (!ok || elements == -2) {
        std::fprintf(stderr, "%s failed on %s\n", target.name, path);
        return 1;
    }
    std::printf("%zu %ld %.9g\n", doc.text.size(), elements, value);
    return 0;
}

int generate(const std::string& dir, double mb)
{
    for (SHAPE shape : {SHAPE::RECORDS, SHAPE::ATTRIBUTES, SHAPE::TEXT}) {
        const std::string text = make_document(shape, static_cast<std::size_t>(mb * 1e6));
        std::ofstream out(dir + "/" + shape_name(shape) + ".xml", std::ios::binary);
        out.write(text.data(), static_cast<std::streamsize>(text.size()));
        if (!out) {
            std::fprintf(stderr, "cannot write into %s\n", dir.c_str());
            return 2;
        }
    }
    return 0;
}

// --- the report -----------------------------------------------------------

const char* const shape_names[] = {"records", "attributes", "text"};

// The values of one figure (mode, shape, target) over its processes.
struct FIGURE {
    double bytes = 0;
    std::vector<double> values;
    double value() const { return median(values); }
    // (max - min) / median: how far the processes disagreed.
    double spread() const
    {
        const auto [low, high] = std::minmax_element(values.begin(), values.end());
        return (*high - *low) / value();
    }
    // The narrowest range that holds a majority of the processes, over the
    // median: small when most agreed, whatever one outlier did.
    double majority_spread() const
    {
        std::vector<double> sorted = values;
        std::sort(sorted.begin(), sorted.end());
        const std::size_t majority = sorted.size() / 2 + 1;
        double narrowest = sorted.back() - sorted.front();
        for (std::size_t i = 0; i + majority <= sorted.size(); ++i)
            narrowest = std::min(narrowest, sorted[i + majority - 1] - sorted[i]);
        return narrowest / value();
    }
};

// A row of the table: ours against a peer (or against another of ours).
struct ROW {
    const char* label;
    const char* mode;
    const char* ours;
    const char* peer;
};

const ROW rows[] = {
    {"SAX (string source) / libxml2 SAX2", "steady", "vornxml_sax_string", "libxml2_sax2"},
    {"DOM parse+free / tinyxml2, steady", "steady", "vornxml_dom_string", "tinyxml2"},
    {"DOM parse+free / tinyxml2, cold", "cold", "vornxml_dom_string", "tinyxml2"},
    {"DOM parse+free / pugixml", "steady", "vornxml_dom_string", "pugixml"},
    {"DOM file source / string source", "steady", "vornxml_dom_file", "vornxml_dom_string"},
    {"SAX pushed in 64 KiB pieces / string source", "steady", "vornxml_sax_push", "vornxml_sax_string"},
    {"DOM pushed in 64 KiB pieces / string source", "steady", "vornxml_dom_push", "vornxml_dom_string"},
    {"SAX pushed byte by byte / string source", "steady", "vornxml_sax_push_bytes", "vornxml_sax_string"},
    {"peak memory with the tree alive / tinyxml2", "memory", "vornxml_dom_file", "tinyxml2"},
    {"the same, string source / tinyxml2", "memory", "vornxml_dom_string", "tinyxml2"},
    {"standard XML SAX / libxml2 SAX2", "steady", "vornxml_standard_sax_string", "libxml2_sax2"},
    {"standard XML SAX / expat", "steady", "vornxml_standard_sax_string", "expat"},
    {"standard XML DOM / the dialect's DOM", "steady", "vornxml_standard_dom_string", "vornxml_dom_string"},
};

// A time figure whose processes differ by more than this is shown with its
// spread; a ratio is starred when, in one of its two figures, no majority of
// the processes agreed within it.
constexpr double wide = 0.1;

class REPORT {
public:
    // Reads lines "MODE SHAPE TARGET BYTES ELEMENTS VALUE"; false, with a
    // message, when a line is malformed or two targets counted different
    // numbers of elements in one document.
    bool read(std::istream& in)
    {
        std::string line;
        while (std::getline(in, line)) {
            std::istringstream fields(line);
            std::string mode, shape, target;
            double bytes = 0, value = 0;
            long counted = 0;
            if (!(fields >> mode >> shape >> target >> bytes >> counted >> value)) {
                std::fprintf(stderr, "malformed result line: %s\n", line.c_str());
                return false;
            }
            FIGURE& f = figures[key(mode, shape, target)];
            f.bytes = bytes;
            f.values.push_back(value);
            if (counted < 0)
                continue;
            const auto [known, fresh] = elements.emplace(shape, counted);
            if (!fresh && known->second != counted) {
                std::fprintf(stderr, "%s counted %ld elements in %s, another target %ld\n", target.c_str(), counted,
                             shape.c_str(), known->second);
                return false;
            }
        }
        return true;
    }

    // The tables, for glibc's allocator as it comes and, when measured, for
    // the allocator keeping freed memory (modes ending in "-kept").
    void print() const
    {
        // Kept memory first: it times every library on its own work; glibc's
        // defaults add the kernel's page faults of whoever gives memory back.
        for (const char* setting : {"-kept", ""}) {
            if (!measured(std::string("steady") + setting))
                continue;
            std::printf("\n### Ours against the peers, %s\n\n| | records | attribute-heavy | text-heavy |\n"
                        "|---|---|---|---|\n",
                        *setting != 0 ? "glibc keeping freed memory" : "glibc's allocator as it comes");
            for (const ROW& row : rows) {
                if (measured(row.mode + std::string(setting)))
                    ratio_row(row, row.mode + std::string(setting));
            }
        }
        std::printf("\nSpeeds are ratios of MB/s (above 1: ours is faster), memory a ratio of bytes (above 1: ours "
                    "needs more).  *: in one of the two figures no majority of the processes agreed within %.0f %%.\n",
                    100 * wide);
        const FIGURE* sax = find(key("callgrind", "records", "vornxml_sax_string"));
        const FIGURE* dom = find(key("callgrind", "records", "vornxml_dom_string"));
        if (sax != nullptr && dom != nullptr)
            std::printf("\nCallgrind, records: %.1f instructions per byte in SAX mode (string source), %.1f for DOM "
                        "parse plus free.\n",
                        sax->value() / sax->bytes, dom->value() / dom->bytes);
        threads_table();
        for (const char* mode : {"steady-kept", "cold-kept", "steady", "cold", "memory"})
            target_table(mode);
        std::printf("\nElements:");
        for (const auto& [shape, count] : elements)
            std::printf(" %s %ld;", shape.c_str(), count);
        std::printf(" the same count from every target that counts them.\n");
    }

private:
    std::map<std::string, FIGURE> figures;
    std::map<std::string, long> elements;  // by shape

    static std::string key(const std::string& mode, const std::string& shape, const std::string& target)
    {
        return mode + " " + shape + " " + target;
    }

    bool measured(const std::string& mode) const
    {
        const auto next = figures.lower_bound(mode + " ");
        return next != figures.end() && next->first.compare(0, mode.size() + 1, mode + " ") == 0;
    }

    const FIGURE* find(const std::string& key) const
    {
        const auto found = figures.find(key);
        return found == figures.end() || found->second.value() <= 0 ? nullptr : &found->second;
    }

    // MB/s for times, bytes per input byte for memory.
    static double per_byte(const std::string& mode, const FIGURE& f)
    {
        return mode == "memory" ? f.value() / f.bytes : f.bytes / f.value() / 1e6;
    }

    void ratio_row(const ROW& row, const std::string& mode) const
    {
        std::printf("| %s |", row.label);
        for (const char* shape : shape_names) {
            const FIGURE* a = find(key(mode, shape, row.ours));
            const FIGURE* b = find(key(mode, shape, row.peer));
            if (a == nullptr || b == nullptr) {
                std::printf(" - |");
                continue;
            }
            const bool noisy = mode != "memory" && std::max(a->majority_spread(), b->majority_spread()) > wide;
            std::printf(" %.2f%s |", per_byte(mode, *a) / per_byte(mode, *b), noisy ? " *" : "");
        }
        std::printf("\n");
    }

    // Aggregate throughput of one parser per core against one thread.
    void threads_table() const
    {
        if (!measured("threads-many-kept"))
            return;
        std::printf("\nThreads, glibc keeping freed memory: one parser per thread on every core, each parsing its "
                    "own copies of the document; aggregate MB/s over one thread's, by the wall clock and by each "
                    "thread's CPU time (as if every thread had a core: what the threads cost each other)\n\n"
                    "| | records | attribute-heavy | text-heavy |\n|---|---|---|---|\n");
        for (const auto& [target, clock] : {std::pair{"vornxml_sax_string", ""},
                                            {"vornxml_sax_string", "-cpu"},
                                            {"vornxml_dom_string", ""},
                                            {"vornxml_dom_string", "-cpu"}}) {
            std::printf("| %s, %s |", target, *clock != 0 ? "CPU time" : "wall clock");
            for (const char* shape : shape_names) {
                const FIGURE* many = find(key(std::string("threads") + clock + "-many-kept", shape, target));
                const FIGURE* one = find(key(std::string("threads") + clock + "-1-kept", shape, target));
                if (many == nullptr || one == nullptr)
                    std::printf(" - |");
                else
                    std::printf(" %.2f |", one->value() / many->value());
            }
            std::printf("\n");
        }
    }

    void target_table(const std::string& mode) const
    {
        if (!measured(mode))
            return;
        const bool memory = mode == "memory";
        const bool kept = mode.find("-kept") != std::string::npos;
        std::printf("\n%s%s%s\n\n| target | records | attribute-heavy | text-heavy |\n|---|---:|---:|---:|\n",
                    memory           ? "Peak resident bytes a parse adds per input byte, tree alive"
                    : mode[0] == 's' ? "MB/s (10^6 bytes per second), steady: median over processes of each one's "
                                       "median parse"
                                     : "MB/s, cold: the first parse in a fresh process, median over processes",
                    kept ? ", glibc keeping freed memory" : "",
                    memory ? "" : "; (N %): the processes differed by N % of the median");
        for (std::size_t t = 0; t < target_count; ++t) {
            if (find(key(mode, "records", targets[t].name)) == nullptr)
                continue;
            std::printf("| %s |", targets[t].name);
            for (const char* shape : shape_names) {
                const FIGURE* f = find(key(mode, shape, targets[t].name));
                if (f == nullptr)
                    std::printf(" - |");
                else if (memory)
                    std::printf(" %.2f |", per_byte(mode, *f));
                else if (f->spread() > wide)
                    std::printf(" %.0f (%.0f %%) |", per_byte(mode, *f), 100 * f->spread());
                else
                    std::printf(" %.0f |", per_byte(mode, *f));
            }
            std::printf("\n");
        }
    }
};

int usage(const char* self)
{
    std::fprintf(stderr,
                 "usage: %s generate DIR MB | list [trees] | steady TARGET FILE WARMUP REPS | cold TARGET FILE | "
                 "memory TARGET FILE | threads[-cpu] TARGET FILE THREADS REPS | report RESULTS\n",
                 self);
    return 2;
}

}  // namespace

int main(int argc, char** argv)
{
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "generate" && argc == 4)
        return generate(argv[2], std::atof(argv[3]));
    if (mode == "list" && argc <= 3) {
        const bool trees = argc == 3 && std::strcmp(argv[2], "trees") == 0;
        for (std::size_t t = 0; t < target_count; ++t) {
            if (targets[t].tree || !trees)
                std::printf("%s\n", targets[t].name);
        }
        return 0;
    }
    if (mode == "report" && argc == 3) {
        std::ifstream in(argv[2]);
        REPORT report;
        if (!in || !report.read(in))
            return 1;
        report.print();
        return 0;
    }
    const bool steady = (mode == "steady" || mode == "threads" || mode == "threads-cpu") && argc == 6;
    if (!steady && !((mode == "cold" || mode == "memory") && argc == 4))
        return usage(argv[0]);
    const TARGET* target = find_target(argv[2]);
    if (target == nullptr) {
        std::fprintf(stderr, "unknown target %s\n", argv[2]);
        return 2;
    }
    return measure(mode, *target, argv[3], steady ? std::max(1, std::atoi(argv[4])) : 0,
                   steady ? std::max(1, std::atoi(argv[5])) : 0);
}
