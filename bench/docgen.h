// Benchmark documents: three seeded, reproducible shapes within the language
// every parser measured here accepts.
#ifndef VORNXML_BENCH_DOCGEN_H
#define VORNXML_BENCH_DOCGEN_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace vorn_bench {

enum class SHAPE {
    RECORDS,     // indented records of a few elements, some attributes,
                 // short texts with an occasional &amp; inside
    ATTRIBUTES,  // empty elements with 4 to 10 attributes each
    TEXT         // few elements holding 4 to 64 KB of text each
};

const char* shape_name(SHAPE shape);

// A document of the given shape of at least `bytes` bytes (a little more:
// the last record and the closing tag follow the threshold).  The same shape,
// size and seed give the same bytes on every machine.
std::string make_document(SHAPE shape, std::size_t bytes, std::uint64_t seed = 20240521);

}  // namespace vorn_bench

#endif
