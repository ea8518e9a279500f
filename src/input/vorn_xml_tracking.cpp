#include <typeinfo>

#include "../internal/vorn_xml_counting_window.h"
#include "vorn_xml_position.h"

// The counting is the counting source's own: count_ wraps the same inner
// source, every character delivered through a call goes through count_, and
// what the parser took from the inner source's memory in bulk is handed to
// the counting source's run counter before anyone looks.  So the answers
// are the counting source's, by construction.
//
// The inner source's index (string_pos, or buffer_pos, which is never
// negative while bytes are taken in bulk) is read as unsigned: offset()
// stays exact modulo 2^64 whatever its value, since origin_ is set from it
// after every call.
VORN_XML_TRACKING_INPUT_SOURCE::VORN_XML_TRACKING_INPUT_SOURCE(VORN_XML_SAX_INPUT_SOURCE& source)
    : count_(source), position_(&no_position_), kind_(INNER_KIND::OTHER)
{
    is_open = source.is_open;
    const std::type_info* const type = &typeid(source);
    if (type == &typeid(VORN_XML_STRING_INPUT_SOURCE)) {
        kind_ = INNER_KIND::STRING;
        position_ = &static_cast<VORN_XML_STRING_INPUT_SOURCE&>(source).string_pos;
    } else if (type == &typeid(VORN_XML_FILE_INPUT_SOURCE)) {
        kind_ = INNER_KIND::FILE;
        position_ = reinterpret_cast<const uint32_t*>(&static_cast<VORN_XML_FILE_INPUT_SOURCE&>(source).buffer_pos);
    } else if (type == &typeid(VORN_XML_STREAM_INPUT_SOURCE)) {
        kind_ = INNER_KIND::STREAM;
        position_ = reinterpret_cast<const uint32_t*>(&static_cast<VORN_XML_STREAM_INPUT_SOURCE&>(source).buffer_pos);
    } else if (type == &typeid(VORN_XML_PUSH_INPUT_SOURCE)) {  // a push parser's own (vorn_xml_push.h)
        kind_ = INNER_KIND::PUSH;
        position_ = &static_cast<VORN_XML_PUSH_INPUT_SOURCE&>(source).piece_pos;
    }
    look_again();
}

VORN_XML_TRACKING_INPUT_SOURCE::~VORN_XML_TRACKING_INPUT_SOURCE() = default;

void VORN_XML_TRACKING_INPUT_SOURCE::look_again()
{
    const char* next = nullptr;
    switch (kind_) {
    case INNER_KIND::STRING: {
        const auto& inner = static_cast<const VORN_XML_STRING_INPUT_SOURCE&>(*count_.inner);
        base_ = inner.xml_string.data();
        VORN_XML_WINDOW_OF<VORN_XML_STRING_INPUT_SOURCE>::bytes(inner, next, end_);
        break;
    }
    case INNER_KIND::FILE: {
        base_ = vorn_xml_buffer;
        VORN_XML_WINDOW_OF<VORN_XML_FILE_INPUT_SOURCE>::bytes(
            static_cast<const VORN_XML_FILE_INPUT_SOURCE&>(*count_.inner), next, end_);
        break;
    }
    case INNER_KIND::STREAM: {
        const auto& inner = static_cast<const VORN_XML_STREAM_INPUT_SOURCE&>(*count_.inner);
        base_ = inner.buffer.get();
        VORN_XML_WINDOW_OF<VORN_XML_STREAM_INPUT_SOURCE>::bytes(inner, next, end_);
        break;
    }
    case INNER_KIND::PUSH: {
        const auto& inner = static_cast<const VORN_XML_PUSH_INPUT_SOURCE&>(*count_.inner);
        base_ = inner.piece;
        VORN_XML_WINDOW_OF<VORN_XML_PUSH_INPUT_SOURCE>::bytes(inner, next, end_);
        break;
    }
    case INNER_KIND::OTHER: base_ = end_ = nullptr; break;
    }
    origin_ = count_.next.offset - *position_;
    counted_ = base_ == nullptr ? nullptr : base_ + *position_;
}

void VORN_XML_TRACKING_INPUT_SOURCE::catch_up() const
{
    if (base_ == nullptr)
        return;
    const char* const now = base_ + *position_;
    if (now == counted_)
        return;
    // Bytes taken in bulk since the last count: never 0xFF, never past the
    // inner source's window, which has not been refilled since.  A long run
    // is counted for the places the fields keep only.
    const auto size = static_cast<std::size_t>(now - counted_);
    if (size >= 64)
        vorn_xml_counting::count_run_in_bulk(count_, counted_, size);
    else
        vorn_xml_counting::count_run(count_, counted_, size, now);
    counted_ = now;
}

int VORN_XML_TRACKING_INPUT_SOURCE::get_next_char()
{
    // A byte the inner source holds in memory (a reference's, read one at a
    // time) is counted with the rest; only a call that may read on or end
    // the input needs the count brought up to date first.
    if (base_ != nullptr) {
        const char* const now = base_ + *position_;
        if (now < end_ && now >= base_ && *now != static_cast<char>(-1))
            return count_.inner->get_next_char();
    }
    catch_up();
    const int c = count_.VORN_XML_COUNTING_INPUT_SOURCE::get_next_char();
    look_again();
    return c;
}

VORN_XML_POSITION VORN_XML_TRACKING_INPUT_SOURCE::get_reading_position() const
{
    catch_up();
    return count_.get_reading_position();
}

VORN_XML_POSITION VORN_XML_TRACKING_INPUT_SOURCE::get_token_position(const VORN_XML_SAX_PARSER& parser) const
{
    catch_up();
    return count_.get_token_position(parser);
}

VORN_XML_POSITION VORN_XML_TRACKING_INPUT_SOURCE::get_failure_position(const VORN_XML_SAX_PARSER& parser) const
{
    catch_up();
    return count_.get_failure_position(parser);
}
