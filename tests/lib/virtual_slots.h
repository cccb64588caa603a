#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace test_support {

/**
 * The place of a virtual member function in its class's table, counted from 0, as the compiler
 * wrote it into a pointer to the member (the C++ ABI of GCC and Clang on Linux); -1 for a member
 * that is not virtual. A virtual destructor takes two places.
 */
template <typename Function>
std::ptrdiff_t slot_of(Function member) {
    struct {
        std::uintptr_t place;
        std::ptrdiff_t adjustment;
    } parts = {};
    static_assert(sizeof(parts) == sizeof(member), "a pointer to a member has two words");
    std::memcpy(&parts, &member, sizeof(parts));
#if defined(__arm__) || defined(__aarch64__)
    const bool is_virtual = (parts.adjustment & 1) != 0;
    const std::uintptr_t offset = parts.place;
#else
    const bool is_virtual = (parts.place & 1) != 0;
    const std::uintptr_t offset = parts.place - 1;
#endif
    return is_virtual ? static_cast<std::ptrdiff_t>(offset / sizeof(void*)) : -1;
}

/** What stands at a place of an object's table of virtual functions. */
template <typename Function>
Function* function_in_slot(void const* object, std::size_t slot) {
    void* const* table = nullptr;
    std::memcpy(&table, object, sizeof(table));
    Function* function = nullptr;
    std::memcpy(&function, &table[slot], sizeof(function));
    return function;
}

}  // namespace test_support
