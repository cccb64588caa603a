#include "lib/allocations.h"

#include <cerrno>
#include <cstdlib>
#include <new>

// The functions below take the place of the standard library's, and of the sanitizers', for the
// program and the libraries that it links. They stand on malloc(), which the sanitizers watch.

namespace test_support {

namespace {

/** Null also while the recording itself allocates. */
Allocations* current = nullptr;

void* allocate(std::size_t size) {
    if (void* const memory = std::malloc(size > 0 ? size : 1)) return memory;
    throw std::bad_alloc();
}

void record(std::vector<void*> Allocations::*list, void* array) {
    Allocations* const object = current;
    if (object == nullptr) return;
    current = nullptr;
    (object->*list).push_back(array);
    current = object;
}

bool array_fails() {
    if (current == nullptr || current->arrays_until_failure < 0) return false;
    return current->arrays_until_failure-- == 0;
}

}  // namespace

Allocations::Allocations() {
    current = this;
}

Allocations::~Allocations() {
    current = nullptr;
}

}  // namespace test_support

using namespace test_support;  // NOLINT(google-build-using-namespace): one set of replacements

void* operator new(std::size_t size) {
    if (current != nullptr && current->out_of_memory) throw std::bad_alloc();
    void* const memory = allocate(size);
    if (current != nullptr) {
        ++current->count;
        if (current->error_left != 0) errno = current->error_left;
    }
    return memory;
}

void* operator new[](std::size_t size) {
    if (array_fails()) throw std::bad_alloc();
    void* const array = allocate(size);
    record(&Allocations::allocated_arrays, array);
    return array;
}

void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    return std::malloc(size > 0 ? size : 1);
}

void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
    return std::malloc(size > 0 ? size : 1);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::nothrow_t const&) noexcept {
    std::free(memory);
}

void operator delete[](void* array) noexcept {
    record(&Allocations::freed_arrays, array);
    std::free(array);
}

void operator delete[](void* array, std::size_t) noexcept {
    operator delete[](array);
}

void operator delete[](void* array, std::nothrow_t const&) noexcept {
    operator delete[](array);
}
