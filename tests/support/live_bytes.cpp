#include "tests/support/live_bytes.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

// The functions below take the place of the standard library's, and of the sanitizers', in programs
// that use LiveBytes. They stand on malloc(), which the sanitizers watch.

namespace test_support {

namespace {

std::atomic<size_t> live{0};
std::atomic<size_t> peak_of_live{0};

void* allocate(size_t size) noexcept {
    void* const memory = std::malloc(size > 0 ? size : 1);
    if (memory == nullptr) return nullptr;
    const size_t now = live += malloc_usable_size(memory);
    size_t highest = peak_of_live;
    while (now > highest && !peak_of_live.compare_exchange_weak(highest, now)) {
    }
    return memory;
}

void* allocate_or_throw(size_t size) {
    if (void* const memory = allocate(size)) return memory;
    throw std::bad_alloc();
}

void free_counted(void* memory) noexcept {
    if (memory == nullptr) return;
    live -= malloc_usable_size(memory);
    std::free(memory);
}

}  // namespace

LiveBytes::LiveBytes() : before_(live) {
    peak_of_live = before_;
}

size_t LiveBytes::peak() const {
    return peak_of_live - before_;
}

}  // namespace test_support

void* operator new(size_t size) {
    return test_support::allocate_or_throw(size);
}

void* operator new[](size_t size) {
    return test_support::allocate_or_throw(size);
}

void* operator new(size_t size, std::nothrow_t const&) noexcept {
    return test_support::allocate(size);
}

void* operator new[](size_t size, std::nothrow_t const&) noexcept {
    return test_support::allocate(size);
}

void operator delete(void* memory) noexcept {
    test_support::free_counted(memory);
}

void operator delete(void* memory, size_t) noexcept {
    test_support::free_counted(memory);
}

void operator delete(void* memory, std::nothrow_t const&) noexcept {
    test_support::free_counted(memory);
}

void operator delete[](void* memory) noexcept {
    test_support::free_counted(memory);
}

void operator delete[](void* memory, size_t) noexcept {
    test_support::free_counted(memory);
}

void operator delete[](void* memory, std::nothrow_t const&) noexcept {
    test_support::free_counted(memory);
}
