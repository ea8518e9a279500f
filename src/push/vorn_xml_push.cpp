// The push parser: parse() on a stack of its own, suspended whenever the
// piece it reads is used up (see vorn_xml_push.h).
#include "vorn_xml_push.h"

#include <exception>
#include <optional>

#include "../internal/vorn_xml_push_source.h"
#include "vorn_xml_fiber.h"

namespace {

// The most a piece may hold: the source's position is 32 bits.  Longer
// pieces are read in parts.
constexpr std::size_t largest_piece = std::size_t{1} << 30;

}  // namespace

VORN_XML_PUSH_INPUT_SOURCE::~VORN_XML_PUSH_INPUT_SOURCE() = default;

int VORN_XML_PUSH_INPUT_SOURCE::next_piece()
{
    while (piece_pos >= piece_count) {
        if (input_ended) {
            last_char = -1;
            return -1;
        }
        waiter->wait_for_piece();
    }
    return get_next_char();
}

struct VORN_XML_PUSH_PARSER::STATE final : VORN_XML_PUSH_INPUT_SOURCE::WAITER {
    // The parse run for each document, and what the push parser knows of the
    // parser running it: the dialect's parser gives token and failure
    // positions and can be silenced when a document is abandoned.
    bool (*run)(void* parser, VORN_XML_SAX_INPUT_SOURCE* source);
    void* parser;
    VORN_XML_SAX_PARSER* dialect;
    bool counting;  // positions are counted

    VORN_XML_PUSH_INPUT_SOURCE source{*this};
    std::optional<VORN_XML_TRACKING_INPUT_SOURCE> tracking;  // over source, when counting
    std::unique_ptr<VORN_XML_FIBER> fiber;                   // made with the first document

    STATUS status = PUSH_MORE;
    bool started = false;   // the current document's parse has begun
    bool in_parse = false;  // ... and has not returned
    bool running = false;   // the fiber runs: we are in the handler's events
    bool quit = false;      // the fiber's loop is to end
    bool verdict = false;   // what the last parse returned
    std::exception_ptr thrown;

    STATE(bool (*parse)(void*, VORN_XML_SAX_INPUT_SOURCE*), void* parser_object, VORN_XML_SAX_PARSER* dialect_parser,
          bool count_positions)
        : run(parse), parser(parser_object), dialect(dialect_parser), counting(count_positions)
    {
        restart_counting();
    }
    STATE(const STATE&) = delete;
    STATE& operator=(const STATE&) = delete;
    ~STATE() = default;

    void wait_for_piece() override { fiber->suspend(); }

    VORN_XML_SAX_INPUT_SOURCE* read_from()
    {
        if (tracking)
            return &*tracking;
        return &source;
    }

    // A count from the start, over what the source lends now.
    void restart_counting()
    {
        if (counting)
            tracking.emplace(source);
    }

    // A question about positions, or line 0, column 0 and offset 0 when
    // they are not counted.
    template <class ASK> VORN_XML_POSITION position(ASK ask) const
    {
        if (!tracking)
            return VORN_XML_POSITION{0, 0, 0};
        return ask(*tracking);
    }

    // On the fiber: one parse per document, until told to quit.
    static void main(void* argument)
    {
        STATE& state = *static_cast<STATE*>(argument);
        while (!state.quit) {
            try {
                state.verdict = state.run(state.parser, state.read_from());
            } catch (...) {
                state.thrown = std::current_exception();
            }
            state.in_parse = false;
            state.fiber->suspend();
        }
    }

    // Starts the document's parse with what the source lends now.  The
    // tracking source is made anew, so that it sees the first piece.
    void begin()
    {
        if (!fiber)
            fiber = std::make_unique<VORN_XML_FIBER>(&STATE::main, this, stack_size);
        restart_counting();
        started = true;
        in_parse = true;
    }

    // Runs the parse until it wants the next piece or returns; then, when it
    // returned, settles the verdict and throws again what it threw.
    void go_on()
    {
        running = true;
        fiber->resume();
        running = false;
        if (in_parse)
            return;
        if (tracking)
            (void)tracking->get_reading_position();  // counts what the parse took since the last piece
        status = verdict ? PUSH_ACCEPTED : PUSH_FAILED;
        if (thrown) {
            status = PUSH_FAILED;
            std::exception_ptr exception = thrown;
            thrown = nullptr;
            std::rethrow_exception(exception);
        }
    }

    // Ends an open document with its events and messages sent nowhere.
    void abandon()
    {
        if (!in_parse)
            return;
        VORN_XML_SAX_TREE_HANDLER nowhere;
        nowhere.DOM_mode = false;
        VORN_XML_SAX_ERROR_HANDLER unheard;
        VORN_XML_SAX_TREE_HANDLER* handler = nullptr;
        VORN_XML_SAX_ERROR_HANDLER* errors = nullptr;
        if (dialect != nullptr) {
            handler = dialect->tree_handler;
            errors = dialect->error_handler;
            dialect->tree_handler = &nowhere;
            dialect->error_handler = &unheard;
        }
        source.input_ended = true;
        running = true;
        fiber->resume();
        running = false;
        thrown = nullptr;
        if (dialect != nullptr) {
            dialect->tree_handler = handler;
            dialect->error_handler = errors;
        }
    }
};

VORN_XML_PUSH_PARSER::VORN_XML_PUSH_PARSER(VORN_XML_SAX_PARSER& parser, bool count_positions)
    : state_(std::make_unique<STATE>(
          [](void* object, VORN_XML_SAX_INPUT_SOURCE* source) {
              return static_cast<VORN_XML_SAX_PARSER*>(object)->parse(source);
          },
          &parser, &parser, count_positions))
{
}

VORN_XML_PUSH_PARSER::~VORN_XML_PUSH_PARSER()
{
    STATE& state = *state_;
    if (state.running || !state.fiber)
        return;
    state.abandon();
    state.quit = true;
    state.fiber->resume();  // the loop ends and the fiber leaves for good
}

VORN_XML_PUSH_PARSER::STATUS VORN_XML_PUSH_PARSER::feed(const char* bytes, std::size_t size)
{
    STATE& state = *state_;
    if (state.running || state.status != PUSH_MORE)
        return PUSH_REFUSED;
    while (size != 0) {
        const std::size_t part = size < largest_piece ? size : largest_piece;
        state.source.piece = bytes;
        state.source.piece_pos = 0;
        state.source.piece_count = static_cast<uint32_t>(part);
        if (!state.started)
            state.begin();
        state.go_on();
        if (state.status != PUSH_MORE)
            break;
        bytes += part;
        size -= part;
    }
    return state.status;
}

VORN_XML_PUSH_PARSER::STATUS VORN_XML_PUSH_PARSER::finish()
{
    STATE& state = *state_;
    if (state.running)
        return PUSH_REFUSED;
    if (state.status != PUSH_MORE)
        return state.status;
    state.source.input_ended = true;
    if (!state.started)
        state.begin();
    state.go_on();
    return state.status;
}

VORN_XML_PUSH_PARSER::STATUS VORN_XML_PUSH_PARSER::get_status() const
{
    return state_->status;
}

void VORN_XML_PUSH_PARSER::reset()
{
    STATE& state = *state_;
    if (state.running)
        return;
    state.abandon();
    state.source.restart();
    state.restart_counting();
    state.status = PUSH_MORE;
    state.started = false;
    state.verdict = false;
}

uint64_t VORN_XML_PUSH_PARSER::offset() const
{
    return state_->tracking ? state_->tracking->offset() : 0;
}

VORN_XML_POSITION VORN_XML_PUSH_PARSER::get_reading_position() const
{
    return state_->position([](const VORN_XML_TRACKING_INPUT_SOURCE& t) { return t.get_reading_position(); });
}

// Token and failure positions are worked out from the dialect parser's
// reading state; a parse by any other parser is placed where it reads.
VORN_XML_POSITION VORN_XML_PUSH_PARSER::get_token_position() const
{
    const VORN_XML_SAX_PARSER* parser = state_->dialect;
    return state_->position([&](const VORN_XML_TRACKING_INPUT_SOURCE& t) {
        return parser != nullptr ? t.get_token_position(*parser) : t.get_reading_position();
    });
}

VORN_XML_POSITION VORN_XML_PUSH_PARSER::get_failure_position() const
{
    const VORN_XML_SAX_PARSER* parser = state_->dialect;
    return state_->position([&](const VORN_XML_TRACKING_INPUT_SOURCE& t) {
        return parser != nullptr ? t.get_failure_position(*parser) : t.get_reading_position();
    });
}
