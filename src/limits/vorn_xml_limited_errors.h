// The collector of a limited parser: keeps the first messages of a parse up
// to messages_kept, counts the rest, and says how many it left out in one
// message of its own after the kept ones.
#ifndef VORN_XML_LIMITED_ERRORS_H
#define VORN_XML_LIMITED_ERRORS_H

#include <cstdint>
#include <string>

#include "vorn_xml_errors.h"

class VORN_XML_LIMITED_ERROR_HANDLER final : public VORN_XML_SAX_ERROR_HANDLER {
public:
    VORN_XML_LIMITED_ERROR_HANDLER() = default;
    ~VORN_XML_LIMITED_ERROR_HANDLER() override;

    // A parse begins: up to `kept` (0: all) of its messages are kept.
    void begin(uint64_t kept)
    {
        keep = kept;
        filed = 0;
        left_out = 0;
    }

    // handle_error() of this collector: appends `message`, or counts it and
    // brings the closing message up to date.  On allocation failure the list
    // and the counts are as they were.
    void file(const std::string& message);
    // The message of a limit that ends the parse: kept whatever `kept` says,
    // last.  When messages were left out it takes the closing message's
    // place and says how many after its own text.
    void file_last(const std::string& message);

    uint64_t left_out = 0;  // messages of this parse not kept

private:
    uint64_t keep = 0;
    uint64_t filed = 0;  // messages of this parse kept
};

#endif
