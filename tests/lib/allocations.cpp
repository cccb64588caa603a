#include "lib/allocations.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstddef>
#include <new>

// Clang's address sanitizer is part of the program and takes these functions itself.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define PETRELRADAR_FIXED_ALLOCATIONS 1
#endif
#endif

namespace test_support {

namespace {

/** Null also while the recording itself allocates. */
Allocations* current = nullptr;

#ifndef PETRELRADAR_FIXED_ALLOCATIONS

/** The function that the program would call without its own. */
template <typename Function>
Function* next(char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
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

constexpr bool kShortSize = sizeof(std::size_t) == sizeof(unsigned int);

#endif

}  // namespace

Allocations::Allocations() {
    current = this;
}

Allocations::~Allocations() {
    current = nullptr;
}

bool Allocations::can_be_replaced() {
#ifdef PETRELRADAR_FIXED_ALLOCATIONS
    return false;
#else
    return true;
#endif
}

}  // namespace test_support

#ifndef PETRELRADAR_FIXED_ALLOCATIONS

using namespace test_support;  // NOLINT(google-build-using-namespace): one set of replacements

void* operator new(std::size_t size) {
    static auto* const real = next<void*(std::size_t)>(kShortSize ? "_Znwj" : "_Znwm");
    if (current != nullptr && current->out_of_memory) throw std::bad_alloc();
    void* const memory = real(size);
    if (current != nullptr && current->error_left != 0) errno = current->error_left;
    return memory;
}

void* operator new[](std::size_t size) {
    static auto* const real = next<void*(std::size_t)>(kShortSize ? "_Znaj" : "_Znam");
    if (array_fails()) throw std::bad_alloc();
    void* const array = real(size);
    record(&Allocations::allocated_arrays, array);
    return array;
}

// What these free comes from the functions in whose place those above stand.
void operator delete(void* memory) noexcept {
    static auto* const real = next<void(void*)>("_ZdlPv");
    real(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}

void operator delete[](void* array) noexcept {
    static auto* const real = next<void(void*)>("_ZdaPv");
    record(&Allocations::freed_arrays, array);
    real(array);
}

void operator delete[](void* array, std::size_t) noexcept {
    operator delete[](array);
}

#endif
