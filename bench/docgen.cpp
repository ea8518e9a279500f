#include "docgen.h"

namespace vorn_bench {

namespace {

// splitmix64: tiny, fast and fully defined, so documents do not depend on
// the standard library's distributions.
class RANDOM {
public:
    explicit RANDOM(std::uint64_t seed) : state(seed) {}

    std::uint64_t next()
    {
        std::uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }

    // A number in [low, high].
    unsigned between(unsigned low, unsigned high) { return low + static_cast<unsigned>(next() % (high - low + 1)); }

    bool chance(unsigned percent) { return next() % 100 < percent; }

private:
    std::uint64_t state;
};

const char* const words[] = {"alpha",  "bravo",  "charlie", "delta",  "echo",    "foxtrot",  "golf",    "hotel",
                             "india",  "juliet", "kilo",    "lima",   "mike",    "november", "oscar",   "papa",
                             "quebec", "romeo",  "sierra",  "tango",  "uniform", "victor",   "whiskey", "xray",
                             "yankee", "zulu",   "market",  "street", "harbour", "station",  "garden",  "river",
                             "Bridge", "North",  "Lake",    "Stone"};
constexpr unsigned word_count = sizeof words / sizeof words[0];

const char* const record_fields[] = {"name", "street", "city", "country", "phone", "note", "amount", "status"};

// Words separated by blanks; the first one is always a word, so every run of
// text starts with a letter.  `ampersands` allows an occasional "&amp;".
void append_words(std::string& out, RANDOM& random, unsigned count, bool ampersands)
{
    for (unsigned i = 0; i < count; ++i) {
        if (i > 0) {
            if (ampersands && random.chance(4))
                out += " &amp; ";
            else
                out += ' ';
        }
        out += words[random.next() % word_count];
        if (random.chance(10))
            out += std::to_string(random.between(1, 9999));
    }
}

void make_records(std::string& out, RANDOM& random, std::size_t bytes)
{
    out += "<records>\n";
    for (unsigned id = 1; out.size() < bytes; ++id) {
        out += "  <record id=\"";
        out += std::to_string(id);
        out += '"';
        if (random.chance(40)) {
            out += " kind=\"";
            out += words[random.next() % word_count];
            out += '"';
        }
        out += ">\n";
        const unsigned fields = random.between(3, 6);
        for (unsigned f = 0; f < fields; ++f) {
            const char* field = record_fields[(f + id) % (sizeof record_fields / sizeof record_fields[0])];
            out += "    <";
            out += field;
            if (random.chance(15)) {
                out += " lang=\"en\"";
            }
            out += '>';
            append_words(out, random, random.between(1, 5), true);
            out += "</";
            out += field;
            out += ">\n";
        }
        out += "  </record>\n";
    }
    out += "</records>\n";
}

void make_attributes(std::string& out, RANDOM& random, std::size_t bytes)
{
    out += "<items>\n";
    for (unsigned id = 1; out.size() < bytes; ++id) {
        out += "  <item id=\"";
        out += std::to_string(id);
        out += '"';
        // Distinct names: a0 .. a9 picked without repetition.
        const unsigned more = random.between(3, 9);
        unsigned used = 0;
        for (unsigned a = 0; a < more; ++a) {
            unsigned k = static_cast<unsigned>(random.next() % 10);
            while ((used & (1u << k)) != 0)
                k = (k + 1) % 10;
            used |= 1u << k;
            out += " a";
            out += static_cast<char>('0' + k);
            out += "=\"";
            append_words(out, random, random.between(1, 2), false);
            out += '"';
        }
        out += "/>\n";
    }
    out += "</items>\n";
}

void make_text(std::string& out, RANDOM& random, std::size_t bytes)
{
    out += "<book>\n";
    for (unsigned id = 1; out.size() < bytes; ++id) {
        out += "<chapter n=\"";
        out += std::to_string(id);
        out += "\">";
        const std::size_t target = out.size() + random.between(4096u, 65536u);
        bool first = true;
        while (out.size() < target) {
            if (!first)
                out += random.chance(20) ? "\n" : " ";
            first = false;
            append_words(out, random, random.between(5, 15), true);
            out += '.';
        }
        out += "</chapter>\n";
    }
    out += "</book>\n";
}

}  // namespace

const char* shape_name(SHAPE shape)
{
    switch (shape) {
    case SHAPE::RECORDS: return "records";
    case SHAPE::ATTRIBUTES: return "attributes";
    case SHAPE::TEXT: return "text";
    }
    return "?";
}

std::string make_document(SHAPE shape, std::size_t bytes, std::uint64_t seed)
{
    RANDOM random(seed ^ static_cast<std::uint64_t>(shape));
    std::string out;
    out.reserve(bytes + std::size_t{128} * 1024);
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- generated benchmark document -->\n";
    switch (shape) {
    case SHAPE::RECORDS: make_records(out, random, bytes); break;
    case SHAPE::ATTRIBUTES: make_attributes(out, random, bytes); break;
    case SHAPE::TEXT: make_text(out, random, bytes); break;
    }
    return out;
}

}  // namespace vorn_bench
