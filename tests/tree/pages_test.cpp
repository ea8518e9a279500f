// Where the tree's blocks live: pages that the library takes from the global
// operator new and gives back once their last block is freed, on whichever
// thread.  This executable counts the live blocks of operator new, and can
// make allocations fail after a given number of them.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "vorn_test_support.h"

namespace {

constexpr std::size_t header = 16;  // keeps the blocks aligned as malloc's
std::atomic<long> live{0};
std::atomic<long> allowed{-1};  // allocations still allowed; -1: no limit

}  // namespace

// Out of line, so that the compiler does not pair these with the blocks it sees
// the standard library make.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    for (long left = allowed.load(); left >= 0;) {
        if (left == 0)
            throw std::bad_alloc();
        if (allowed.compare_exchange_weak(left, left - 1))
            break;
    }
    auto* block = static_cast<unsigned char*>(std::malloc(size + header));
    if (block == nullptr)
        throw std::bad_alloc();
    ++live;
    return block + header;
}
[[gnu::noinline]] void operator delete(void* block) noexcept
{
    if (block == nullptr)
        return;
    unsigned char* start = static_cast<unsigned char*>(block) - header;
    --live;
    std::free(start);
}
void operator delete(void* block, std::size_t /*size*/) noexcept
{
    operator delete(block);
}

namespace {

const std::string records = [] {
    std::string text = "<?xml version=\"1.0\"?><list>";
    for (int i = 0; i < 3000; ++i)
        text += "<r id=\"" + std::to_string(i) + "\" kind=\"k\"><a>text number " + std::to_string(i) + "</a><b/></r>";
    return text + "</list>";
}();

VORN_XML_ELEMENT* parse_and_take(VORN_XML_SAX_PARSER& parser)
{
    VORN_XML_STRING_INPUT_SOURCE source(records);
    EXPECT_TRUE(parser.parse(&source));
    return parser.get_tree_handler()->take_root_element();
}

// The blocks that `work`, run on a thread of its own, leaves allocated.
long left_by(const std::function<void()>& work)
{
    const long before = live;
    std::thread(work).join();
    return live - before;
}

TEST(pages, nothing_stays_allocated_once_the_last_parser_and_tree_are_gone)
{
    const std::vector<std::pair<const char*, std::function<void()>>> cases = {
        {"a parse, then the parser destroyed",
         [] {
             VORN_XML_SAX_PARSER parser;
             delete parse_and_take(parser);
         }},
        {"the tree outlives its parser",
         [] {
             VORN_XML_ELEMENT* root = nullptr;
             {
                 VORN_XML_SAX_PARSER parser;
                 root = parse_and_take(parser);
             }
             delete root;
         }},
        {"elements built without a parser",
         [] {
             auto* root = new VORN_XML_ELEMENT("root", nullptr);
             for (int i = 0; i < 20000; ++i)
                 root->add_sub_element(new VORN_XML_ELEMENT("e", nullptr));
             delete root;
         }},
        {"one element made and freed at a time",
         [] {
             for (int i = 0; i < 1000; ++i)
                 delete new VORN_XML_ELEMENT("e", nullptr);
         }},
    };
    for (const auto& [name, work] : cases)
        EXPECT_EQ(left_by(work), 0) << name;

    // A tree whose thread has ended, freed on another.
    VORN_XML_ELEMENT* root = nullptr;
    const long before = live;
    std::thread([&root] {
        VORN_XML_SAX_PARSER parser;
        root = parse_and_take(parser);
    }).join();
    EXPECT_GT(live - before, 0);
    delete root;
    EXPECT_EQ(live - before, 0);
}

TEST(pages, a_live_parser_keeps_a_bounded_number_of_empty_pages)
{
    std::vector<long> held;
    held.reserve(12);
    EXPECT_EQ(left_by([&held] {
                  VORN_XML_SAX_PARSER parser;
                  const long before = live;
                  for (int i = 0; i < 12; ++i) {
                      delete parse_and_take(parser);
                      held.push_back(live - before);
                  }
              }),
              0);
    // Steady after the first parses, and no more than the kept pages and
    // the parser's own blocks.
    EXPECT_EQ(held[held.size() - 2], held.back());
    EXPECT_LE(*std::max_element(held.begin(), held.end()), 16);
}

// A host's element with a payload of N bytes aligned to A, which it checks
// at its end.
template <std::size_t N, std::size_t A> struct PAYLOAD : VORN_XML_ELEMENT {
    alignas(A) unsigned char payload[N];
    explicit PAYLOAD(int& ended) : VORN_XML_ELEMENT(std::to_string(N), nullptr), ended(ended) { fill(); }
    ~PAYLOAD() override { ended += intact() ? 1 : 1000; }
    void fill()
    {
        for (std::size_t i = 0; i < N; ++i)
            payload[i] = static_cast<unsigned char>(i * 7 + N);
    }
    bool intact() const
    {
        for (std::size_t i = 0; i < N; ++i)
            if (payload[i] != static_cast<unsigned char>(i * 7 + N))
                return false;
        return reinterpret_cast<std::uintptr_t>(this) % alignof(PAYLOAD) == 0;
    }
    int& ended;
};

TEST(pages, derived_elements_of_any_size_and_alignment)
{
    EXPECT_EQ(left_by([] {
                  int ended = 0;
                  auto* root = new VORN_XML_ELEMENT("root", nullptr);
                  const std::vector<std::function<VORN_XML_ELEMENT*()>> makers = {
                      [&] { return new PAYLOAD<1, 1>(ended); },      [&] { return new PAYLOAD<24, 16>(ended); },
                      [&] { return new PAYLOAD<300, 8>(ended); },    [&] { return new PAYLOAD<5000, 64>(ended); },
                      [&] { return new PAYLOAD<40000, 16>(ended); }, [&] { return new PAYLOAD<300000, 16>(ended); },
                      [&] { return new PAYLOAD<100, 4096>(ended); },
                  };
                  int made = 0;
                  VORN_XML_ELEMENT* previous = root;
                  for (int round = 0; round < 40; ++round)
                      for (const auto& make : makers) {
                          VORN_XML_ELEMENT* element = make();
                          // Under one another as well as side by side.
                          (round % 2 == 0 ? root : previous)->add_sub_element(element);
                          previous = element;
                          ++made;
                      }
                  // The other forms of new.
                  VORN_XML_ELEMENT* spared = new (std::nothrow) VORN_XML_ELEMENT("n", nullptr);
                  ASSERT_NE(spared, nullptr);
                  delete spared;
                  alignas(VORN_XML_ELEMENT) unsigned char room[sizeof(VORN_XML_ELEMENT)];
                  (new (room) VORN_XML_ELEMENT("p", nullptr))->~VORN_XML_ELEMENT();
                  delete root;
                  EXPECT_EQ(ended, made);
              }),
              0);
}

TEST(pages, a_failed_allocation_leaves_every_block_as_it_was)
{
    EXPECT_EQ(left_by([] {
                  VORN_XML_ATTRIB_LIST attributes;
                  attributes.set_attrib("id", "7");
                  std::vector<VORN_XML_ELEMENT*> made;
                  made.reserve(100000);
                  made.push_back(new VORN_XML_ELEMENT("first", nullptr));  // takes a page
                  // Nothing more from operator new: the page is filled, then the
                  // next page fails; an element whose attribute copy fails
                  // gives its block back.
                  allowed = 0;
                  EXPECT_THROW(delete new VORN_XML_ELEMENT("x", &attributes), std::bad_alloc);
                  try {
                      for (;;)
                          made.push_back(new VORN_XML_ELEMENT("e", nullptr));
                  } catch (const std::bad_alloc&) {
                  }
                  allowed = -1;
                  EXPECT_GT(made.size(), 100U);
                  made.push_back(new VORN_XML_ELEMENT("after", &attributes));
                  std::string value;
                  EXPECT_TRUE(made.back()->get_attribute("ID", value));
                  for (VORN_XML_ELEMENT* element : made) {
                      EXPECT_TRUE(element->element_name == "e" || element == made.front() || element == made.back());
                      delete element;
                  }
              }),
              0);
}

// Runs `work` on a thread with a stack of 64 KiB.
void on_small_stack(std::function<void()> work)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, std::size_t{64} * 1024);
    pthread_t thread;
    ASSERT_EQ(pthread_create(
                  &thread, &attributes,
                  [](void* work) -> void* {
                      (*static_cast<std::function<void()>*>(work))();
                      return nullptr;
                  },
                  &work),
              0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST(pages, a_million_elements_freed_on_a_small_stack_of_another_thread)
{
    const long before = live;
    auto handler = std::make_unique<VORN_XML_SAX_TREE_HANDLER>();
    VORN_XML_ATTRIB_LIST* none = nullptr;
    const std::string name = "e";
    for (int i = 0; i < 250000; ++i)  // a chain
        handler->process_start_element(name, none);
    for (int i = 0; i < 750000; ++i) {  // a fan under its innermost element
        handler->process_start_element(name, none);
        handler->process_end_element(name);
    }
    for (int i = 0; i < 250000; ++i)
        handler->process_end_element(name);
    VORN_XML_ELEMENT* root = handler->take_root_element();
    ASSERT_NE(root, nullptr);
    on_small_stack([root] { delete root; });
    handler.reset();
    EXPECT_EQ(live - before, 0);
}

}  // namespace
