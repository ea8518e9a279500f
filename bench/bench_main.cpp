// vornxml_bench: this library and its peers on the same three documents, in
// one run, with MB/s (10^6 bytes per second) and the ratios between them.
//
//   vornxml_bench [--mb=20] [--reps=7] [--warmup=2] [--wall] [--check] [benchmark flags]
//
// Times are the CPU time of the parsing thread unless --wall is given: on a
// shared machine wall time mostly measures the other processes.
//
// --check parses each document once with every target and fails unless all
// accept it and the tree builders agree on the number of elements.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "targets.h"

using namespace vorn_bench;

namespace {

const SHAPE shapes[] = {SHAPE::RECORDS, SHAPE::ATTRIBUTES, SHAPE::TEXT};

// The seconds of every timed iteration, by "shape/target".
std::map<std::string, std::vector<double>> samples;

double median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// Median MB/s of one target on one document; 0 when it did not run.
double mbps(const DOC& doc, const char* target)
{
    const auto found = samples.find(std::string(shape_name(doc.shape)) + "/" + target);
    if (found == samples.end() || found->second.empty())
        return 0;
    return static_cast<double>(doc.text.size()) / median(found->second) / 1e6;
}

void print_summary(const std::vector<DOC>& docs, int reps)
{
    std::printf("\nMB/s (10^6 bytes/s) from the median %s of all timed iterations (%d repetitions); ",
                measure_wall_time ? "wall time" : "thread CPU time", reps);
    std::printf("documents: ");
    for (const DOC& doc : docs)
        std::printf("%s %.1f MB  ", shape_name(doc.shape), static_cast<double>(doc.text.size()) / 1e6);
    std::printf("\n\n%-26s", "target");
    for (const DOC& doc : docs)
        std::printf("%12s", shape_name(doc.shape));
    std::printf("\n");
    for (std::size_t t = 0; t < target_count; ++t) {
        std::printf("%-26s", targets[t].name);
        for (const DOC& doc : docs)
            std::printf("%12.0f", mbps(doc, targets[t].name));
        std::printf("\n");
    }
    struct RATIO {
        const char* ours;
        const char* peer;
    };
    const RATIO ratios[] = {
        {"vornxml_sax_string", "expat"},
        {"vornxml_sax_string", "libxml2_sax2"},
        {"vornxml_sax_string", "floor"},
        {"vornxml_dom_string_free", "tinyxml2"},
        {"vornxml_dom_string_free", "libxml2_dom_free"},
        {"vornxml_dom_string", "libxml2_dom"},
        {"vornxml_dom_string_free", "pugixml"},
        {"vornxml_sax_file", "vornxml_sax_string"},
        {"vornxml_dom_file_free", "vornxml_dom_string_free"},
    };
    std::printf("\nRatios (first / second; above 1.00 the first is faster)\n");
    for (const RATIO& r : ratios) {
        char label[80];
        std::snprintf(label, sizeof label, "%s / %s", r.ours, r.peer);
        std::printf("%-50s", label);
        for (const DOC& doc : docs) {
            const double a = mbps(doc, r.ours);
            const double b = mbps(doc, r.peer);
            if (a > 0 && b > 0)
                std::printf("%10.2f", a / b);
            else
                std::printf("%10s", "-");
        }
        std::printf("\n");
    }
}

// Every target accepts every document, and the tree builders count the same
// elements.
int check(const std::vector<DOC>& docs)
{
    int failures = 0;
    for (const DOC& doc : docs) {
        long expected = -1;
        for (std::size_t t = 0; t < target_count; ++t) {
            const RUN run = targets[t].run(doc, true);
            release_kept();
            const bool counted = run.elements >= 0;
            bool ok = run.elements != -2;
            if (counted && expected < 0)
                expected = run.elements;
            else if (counted && run.elements != expected)
                ok = false;
            std::printf("check %-10s %-26s %s", shape_name(doc.shape), targets[t].name, ok ? "ok" : "FAILED");
            if (counted)
                std::printf(" (%ld elements)", run.elements);
            std::printf("\n");
            failures += ok ? 0 : 1;
        }
    }
    std::printf("%d passed, %d failed\n", static_cast<int>(docs.size() * target_count) - failures, failures);
    return failures == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    double mb = 20;
    int reps = 7;
    int warmup = 2;
    bool only_check = false;
    std::vector<char*> rest{argv[0]};
    bool interleave_given = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "--mb=", 5) == 0)
            mb = std::atof(argv[i] + 5);
        else if (std::strncmp(argv[i], "--reps=", 7) == 0)
            reps = std::max(1, std::atoi(argv[i] + 7));
        else if (std::strncmp(argv[i], "--warmup=", 9) == 0)
            warmup = std::max(0, std::atoi(argv[i] + 9));
        else if (std::strcmp(argv[i], "--wall") == 0)
            measure_wall_time = true;
        else if (std::strcmp(argv[i], "--check") == 0)
            only_check = true;
        else {
            interleave_given |= std::strncmp(argv[i], "--benchmark_enable_random_interleaving", 38) == 0;
            rest.push_back(argv[i]);
        }
    }
    // Repetitions of different targets are interleaved, so that a burst of
    // load on the machine spreads over all of them instead of hitting one.
    static char interleave[] = "--benchmark_enable_random_interleaving=true";
    if (!interleave_given)
        rest.push_back(interleave);
    int rest_argc = static_cast<int>(rest.size());
    rest.push_back(nullptr);

    keep_freed_memory();
    xmlInitParser();

    char dir_template[] = "/tmp/vornxml_bench_XXXXXX";
    if (mkdtemp(dir_template) == nullptr) {
        std::perror("mkdtemp");
        return 2;
    }
    const std::string dir = dir_template;
    std::vector<DOC> docs;
    for (SHAPE shape : shapes) {
        DOC doc{shape, make_document(shape, static_cast<std::size_t>(mb * 1e6)), dir + "/" + shape_name(shape) + ".xml",
                ""};
        std::ofstream(doc.path, std::ios::binary).write(doc.text.data(), static_cast<std::streamsize>(doc.text.size()));
        docs.push_back(std::move(doc));
    }
    int status = 0;
    if (only_check) {
        status = check(docs);
    } else {
        std::printf("vornxml_bench: %d warm-up round(s) per target, then %d timed repetitions, interleaved; "
                    "clock: %s.\n"
                    "glibc told to keep freed memory: mallopt(M_MMAP_MAX, 0), M_TRIM_THRESHOLD 1 GiB, "
                    "M_TOP_PAD 64 MiB.\n",
                    warmup, reps, measure_wall_time ? "wall time" : "CPU time of the parsing thread");
        for (int round = 0; round < warmup; ++round) {
            for (const DOC& doc : docs) {
                for (std::size_t t = 0; t < target_count; ++t)
                    (void)targets[t].run(doc, false);
            }
        }
        for (const DOC& doc : docs) {
            for (std::size_t t = 0; t < target_count; ++t) {
                const TARGET& target = targets[t];
                const DOC* d = &doc;
                const std::string name = std::string(shape_name(doc.shape)) + "/" + target.name;
                std::vector<double>* times = &samples[name];
                benchmark::RegisterBenchmark(name.c_str(),
                                             [d, &target, times](benchmark::State& state) {
                                                 for (auto _ : state) {
                                                     const RUN run = target.run(*d, false);
                                                     state.SetIterationTime(run.seconds);
                                                     times->push_back(run.seconds);
                                                     if (run.elements == -2)
                                                         state.SkipWithError("parse failed");
                                                 }
                                                 state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                                                                         static_cast<int64_t>(d->text.size()));
                                             })
                    ->UseManualTime()
                    ->Unit(benchmark::kMillisecond)
                    ->Repetitions(reps)
                    ->ReportAggregatesOnly(true);
            }
        }
        benchmark::Initialize(&rest_argc, rest.data());
        benchmark::RunSpecifiedBenchmarks();
        benchmark::Shutdown();
        print_summary(docs, reps);
    }
    for (const DOC& doc : docs)
        std::remove(doc.path.c_str());
    rmdir(dir.c_str());
    return status;
}
