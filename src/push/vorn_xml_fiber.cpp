#include "vorn_xml_fiber.h"

#include <cstdint>
#include <new>

#include <sys/mman.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#define VORN_XML_FIBER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VORN_XML_FIBER_ASAN 1
#endif
#endif
#if defined(__SANITIZE_THREAD__)
#define VORN_XML_FIBER_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define VORN_XML_FIBER_TSAN 1
#endif
#endif

// The sanitizers' interfaces for programs that switch stacks themselves.
extern "C" {
#ifdef VORN_XML_FIBER_ASAN
void __sanitizer_start_switch_fiber(void** fake_stack_save, const void* bottom, std::size_t size);
void __sanitizer_finish_switch_fiber(void* fake_stack_save, const void** bottom_old, std::size_t* size_old);
void __asan_unpoison_memory_region(const volatile void* address, std::size_t size);
#endif
#ifdef VORN_XML_FIBER_TSAN
void* __tsan_get_current_fiber();
void* __tsan_create_fiber(unsigned flags);
void __tsan_destroy_fiber(void* fiber);
void __tsan_switch_to_fiber(void* fiber, unsigned flags);
#endif
}

#ifdef VORN_XML_FIBER_ASM
// vorn_xml_fiber_switch(save, to): pushes the registers a callee keeps
// (rbp, rbx, r12 to r15), stores the stack pointer in *save, takes `to` as
// the stack pointer and pops the same registers from there: the return
// lands where that stack was left.  The floating-point control words are
// not switched: both sides run on one thread as one call chain.
// vorn_xml_fiber_first: where a new stack's first switch returns to; calls
// r13(r12) with the stack aligned as a call wants, and marks the end of the
// call chain for unwinders and debuggers.
extern "C" void vorn_xml_fiber_switch(void** save, void* to);
extern "C" void vorn_xml_fiber_first();
asm(R"(
    .text
    .p2align 4
    .globl vorn_xml_fiber_switch
    .hidden vorn_xml_fiber_switch
    .type vorn_xml_fiber_switch, @function
vorn_xml_fiber_switch:
    pushq %rbp
    pushq %rbx
    pushq %r12
    pushq %r13
    pushq %r14
    pushq %r15
    movq %rsp, (%rdi)
    movq %rsi, %rsp
    popq %r15
    popq %r14
    popq %r13
    popq %r12
    popq %rbx
    popq %rbp
    ret
    .size vorn_xml_fiber_switch, .-vorn_xml_fiber_switch

    .p2align 4
    .globl vorn_xml_fiber_first
    .hidden vorn_xml_fiber_first
    .type vorn_xml_fiber_first, @function
vorn_xml_fiber_first:
    .cfi_startproc
    .cfi_undefined rip
    movq %r12, %rdi
    callq *%r13
    ud2
    .cfi_endproc
    .size vorn_xml_fiber_first, .-vorn_xml_fiber_first
)");
#else
namespace {
// makecontext() passes ints: the fiber's address in two halves.
void start_from_ucontext(unsigned high, unsigned low)
{
    const auto address = (static_cast<std::uintptr_t>(high) << 32) | low;
    VORN_XML_FIBER::start(reinterpret_cast<VORN_XML_FIBER*>(address));
}
}  // namespace
#endif

VORN_XML_FIBER::VORN_XML_FIBER(ENTRY entry, void* argument, std::size_t stack_size) : entry_(entry), argument_(argument)
{
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    stack_size_ = (stack_size + page - 1) / page * page;
    mapping_size_ = stack_size_ + page;
    void* mapping = ::mmap(nullptr, mapping_size_, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
    if (mapping == MAP_FAILED)
        throw std::bad_alloc();
    mapping_ = static_cast<char*>(mapping);
    if (::mprotect(mapping_, page, PROT_NONE) != 0) {
        ::munmap(mapping_, mapping_size_);
        throw std::bad_alloc();
    }
    stack_ = mapping_ + page;
#ifdef VORN_XML_FIBER_ASM
    // The first resume() pops six registers and returns into
    // vorn_xml_fiber_first, with r12 the fiber and r13 start().
    auto** frame = reinterpret_cast<void**>(stack_ + stack_size_ - 72);
    frame[0] = nullptr;                                          // r15
    frame[1] = nullptr;                                          // r14
    frame[2] = reinterpret_cast<void*>(&VORN_XML_FIBER::start);  // r13
    frame[3] = this;                                             // r12
    frame[4] = nullptr;                                          // rbx
    frame[5] = nullptr;                                          // rbp
    frame[6] = reinterpret_cast<void*>(&vorn_xml_fiber_first);   // return address
    fiber_sp_ = frame;
#else
    ::getcontext(&fiber_context_);
    fiber_context_.uc_stack.ss_sp = stack_;
    fiber_context_.uc_stack.ss_size = stack_size_;
    fiber_context_.uc_link = nullptr;
    const auto address = reinterpret_cast<std::uintptr_t>(this);
    ::makecontext(&fiber_context_, reinterpret_cast<void (*)()>(&start_from_ucontext), 2,
                  static_cast<unsigned>(address >> 32), static_cast<unsigned>(address));
#endif
#ifdef VORN_XML_FIBER_TSAN
    tsan_fiber_ = __tsan_create_fiber(0);
#endif
}

VORN_XML_FIBER::~VORN_XML_FIBER()
{
#ifdef VORN_XML_FIBER_TSAN
    __tsan_destroy_fiber(tsan_fiber_);
#endif
#ifdef VORN_XML_FIBER_ASAN
    // Frames that ended on this stack may have left their red zones marked;
    // the next mapping at this address must not inherit them.
    __asan_unpoison_memory_region(stack_, stack_size_);
#endif
    ::munmap(mapping_, mapping_size_);
}

void VORN_XML_FIBER::start(VORN_XML_FIBER* fiber)
{
#ifdef VORN_XML_FIBER_ASAN
    __sanitizer_finish_switch_fiber(nullptr, &fiber->caller_bottom_, &fiber->caller_size_);
#endif
    fiber->entry_(fiber->argument_);
    fiber->leave();
}

void VORN_XML_FIBER::resume()
{
#ifdef VORN_XML_FIBER_ASAN
    __sanitizer_start_switch_fiber(&caller_fake_stack_, stack_, stack_size_);
#endif
#ifdef VORN_XML_FIBER_TSAN
    tsan_caller_ = __tsan_get_current_fiber();
    __tsan_switch_to_fiber(tsan_fiber_, 0);
#endif
#ifdef VORN_XML_FIBER_ASM
    vorn_xml_fiber_switch(&caller_sp_, fiber_sp_);
#else
    ::swapcontext(&caller_context_, &fiber_context_);
#endif
#ifdef VORN_XML_FIBER_ASAN
    __sanitizer_finish_switch_fiber(caller_fake_stack_, nullptr, nullptr);
#endif
}

void VORN_XML_FIBER::switch_out(bool for_good)
{
#ifdef VORN_XML_FIBER_ASAN
    __sanitizer_start_switch_fiber(for_good ? nullptr : &fiber_fake_stack_, caller_bottom_, caller_size_);
#else
    (void)for_good;
#endif
#ifdef VORN_XML_FIBER_TSAN
    __tsan_switch_to_fiber(tsan_caller_, 0);
#endif
#ifdef VORN_XML_FIBER_ASM
    vorn_xml_fiber_switch(&fiber_sp_, caller_sp_);
#else
    ::swapcontext(&fiber_context_, &caller_context_);
#endif
#ifdef VORN_XML_FIBER_ASAN
    __sanitizer_finish_switch_fiber(fiber_fake_stack_, &caller_bottom_, &caller_size_);
#endif
}

void VORN_XML_FIBER::suspend()
{
    switch_out(false);
}

void VORN_XML_FIBER::leave()
{
    switch_out(true);
    __builtin_unreachable();
}
