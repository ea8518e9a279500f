// A function run on a stack of its own, on the caller's thread, that can
// suspend itself and be resumed: what lets the pull parser serve a push
// parser (see vorn_xml_push.h for why).  Internal: not installed.
//
// resume() runs the function until it calls suspend() or returns, and
// returns then; suspend() returns when resume() is called next.  The
// function must not let an exception out and must not return while a
// resume() could still want it: the fiber's owner makes it loop.  No
// thread, no signal mask, no global state: a switch saves the registers the
// calling convention asks a callee to keep, moves the stack pointer and
// jumps (x86-64, about twenty instructions; elsewhere ucontext, which also
// makes a system call per switch for the signal mask).
//
// The stack is reserved with mmap when the fiber is made and committed page
// by page as it is touched; a page below it without access stops an
// overflow with a fault instead of overwriting memory.  Under
// AddressSanitizer and ThreadSanitizer every switch is announced to them.
#ifndef VORN_XML_FIBER_H
#define VORN_XML_FIBER_H

#include <cstddef>

#if defined(__x86_64__) && !defined(VORN_XML_FIBER_UCONTEXT)
#define VORN_XML_FIBER_ASM 1
#else
#include <ucontext.h>
#endif

class VORN_XML_FIBER {
public:
    using ENTRY = void (*)(void* argument);

    // Reserves `stack_size` bytes (rounded up to whole pages) and a guard
    // page; the function does not start before the first resume().
    // std::bad_alloc when the memory cannot be reserved.
    VORN_XML_FIBER(ENTRY entry, void* argument, std::size_t stack_size);
    VORN_XML_FIBER(const VORN_XML_FIBER&) = delete;
    VORN_XML_FIBER& operator=(const VORN_XML_FIBER&) = delete;
    // Releases the stack.  The function must have returned, or never have
    // started: nothing on the stack is destroyed.
    ~VORN_XML_FIBER();

    // From the caller's stack: runs the function until it suspends or
    // returns.  Not after it returned.
    void resume();

    // From the function: back to the resume() that runs it.
    void suspend();

    // From the function, as it ends for good: back to resume(), never to
    // come back here.  The function may then return or not; the stack can be
    // released.
    [[noreturn]] void leave();

    // The first frame on the fiber's stack; nobody else calls it.
    static void start(VORN_XML_FIBER* fiber);

private:
    void switch_out(bool for_good);

    ENTRY entry_;
    void* argument_;
    char* mapping_ = nullptr;  // the guard page, then the stack
    std::size_t mapping_size_ = 0;
    char* stack_ = nullptr;  // lowest usable byte
    std::size_t stack_size_ = 0;
#ifdef VORN_XML_FIBER_ASM
    void* fiber_sp_ = nullptr;   // the fiber's stack pointer while suspended
    void* caller_sp_ = nullptr;  // resume()'s while the fiber runs
#else
    ucontext_t fiber_context_;
    ucontext_t caller_context_;
#endif
    // What the sanitizers need: the stack the fiber was resumed from, and the
    // fake stacks kept while each side is away.
    // (Used only in builds with those sanitizers.)
    [[maybe_unused]] const void* caller_bottom_ = nullptr;
    [[maybe_unused]] std::size_t caller_size_ = 0;
    [[maybe_unused]] void* caller_fake_stack_ = nullptr;
    [[maybe_unused]] void* fiber_fake_stack_ = nullptr;
    [[maybe_unused]] void* tsan_fiber_ = nullptr;
    [[maybe_unused]] void* tsan_caller_ = nullptr;
};

#endif
