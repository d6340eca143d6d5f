#pragma once

// Replaces the global allocation functions of a test program with counting ones, so that a
// test can show that a hot path allocates nothing. Include it in exactly one source of a test
// program (each tests/<area>/test_X.cpp is its own program): it defines the replacements.

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace ydtest {

/// Number of calls to any form of operator new in this program so far.
inline std::atomic<long> g_allocationCount{0};

inline void* CountedAlloc(std::size_t n) {
    g_allocationCount.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(n == 0 ? 1 : n)) {
        return p;
    }
    throw std::bad_alloc();
}

inline void* CountedAlignedAlloc(std::size_t n, std::align_val_t al) {
    g_allocationCount.fetch_add(1, std::memory_order_relaxed);
    const std::size_t a = static_cast<std::size_t>(al);
    if (void* p = std::aligned_alloc(a, (n + a - 1) / a * a)) {
        return p;
    }
    throw std::bad_alloc();
}

}  // namespace ydtest

void* operator new(std::size_t n) {
    return ydtest::CountedAlloc(n);
}
void* operator new[](std::size_t n) {
    return ydtest::CountedAlloc(n);
}
void* operator new(std::size_t n, const std::nothrow_t&) noexcept {
    try {
        return ydtest::CountedAlloc(n);
    } catch (...) {
        return nullptr;
    }
}
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept {
    try {
        return ydtest::CountedAlloc(n);
    } catch (...) {
        return nullptr;
    }
}
void* operator new(std::size_t n, std::align_val_t al) {
    return ydtest::CountedAlignedAlloc(n, al);
}
void* operator new[](std::size_t n, std::align_val_t al) {
    return ydtest::CountedAlignedAlloc(n, al);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}
void operator delete(void* p, std::align_val_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::align_val_t) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t, std::align_val_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept {
    std::free(p);
}
