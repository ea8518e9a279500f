#include "vorn_xml_failures.h"

namespace vorn_xml {

namespace {

struct PIECES {
    const char* before;
    const char* between;  // null: the kind takes at most one piece of input
    const char* after;
    int inputs;  // how many pieces of input the message carries
};

// No default: the compiler checks that every kind has its text.
PIECES pieces_of(FAILURE kind)
{
    switch (kind) {
    case FAILURE::QUOTED_STRING_CUT: return {"Unexpected end of a quoted string encountered", nullptr, "", 0};
    case FAILURE::TOKEN_NEEDED: return {"Error: ", " was needed but got ", "", 2};
    case FAILURE::IDENTIFIER_NEEDED: return {"Expected identifier (", nullptr, " not found", 1};
    case FAILURE::ATTRIBUTE_EQUAL_MISSING:
        return {"Attribute equal (\"=\") token is missing for attribute : ", nullptr, "", 1};
    case FAILURE::ATTRIBUTE_VALUE_MISSING: return {"Attribute value is missing for attribute : ", nullptr, "", 1};
    case FAILURE::END_TAG_MISMATCH: return {"Start (", ") and end tag (", ") identifiers do not match", 2};
    case FAILURE::SIGNATURE_NOT_FOUND: return {"XML signature header line not found", nullptr, "", 0};
    case FAILURE::UNKNOWN_VERSION: return {"Unknown XML version encountered", nullptr, "", 0};
    case FAILURE::EXTRA_INPUT: return {"Extra input found after the root end tag", nullptr, "", 0};
    }
    return {"", nullptr, "", 0};
}

constexpr FAILURE all_kinds[] = {
    FAILURE::QUOTED_STRING_CUT,
    FAILURE::TOKEN_NEEDED,
    FAILURE::IDENTIFIER_NEEDED,
    FAILURE::ATTRIBUTE_EQUAL_MISSING,
    FAILURE::ATTRIBUTE_VALUE_MISSING,
    FAILURE::END_TAG_MISMATCH,
    FAILURE::SIGNATURE_NOT_FOUND,
    FAILURE::UNKNOWN_VERSION,
    FAILURE::EXTRA_INPUT,
};

bool starts_with(const std::string& text, const std::string& piece)
{
    return text.compare(0, piece.size(), piece) == 0;
}

bool ends_with(const std::string& text, const std::string& piece)
{
    return text.size() >= piece.size() && text.compare(text.size() - piece.size(), piece.size(), piece) == 0;
}

}  // namespace

std::string failure_message(FAILURE kind, const std::string& first, const std::string& second)
{
    const PIECES pieces = pieces_of(kind);
    std::string message(pieces.before);
    if (pieces.inputs >= 1)
        message += first;
    if (pieces.inputs == 2) {
        message += pieces.between;
        message += second;
    }
    message += pieces.after;
    return message;
}

bool failure_kind_of(const std::string& message, FAILURE& kind, std::string* second)
{
    for (const FAILURE candidate : all_kinds) {
        const PIECES pieces = pieces_of(candidate);
        const std::string before(pieces.before);
        const std::string after(pieces.after);
        if (pieces.inputs == 0) {
            if (message != before)
                continue;
        } else if (message.size() < before.size() + after.size() || !starts_with(message, before) ||
                   !ends_with(message, after)) {
            continue;
        }
        if (pieces.between != nullptr) {
            const std::string between(pieces.between);
            const std::size_t at = message.find(between, before.size());
            if (at == std::string::npos || at + between.size() > message.size() - after.size())
                continue;
            if (second != nullptr)
                second->assign(message, at + between.size(), message.size() - after.size() - at - between.size());
        }
        kind = candidate;
        return true;
    }
    return false;
}

}  // namespace vorn_xml
