// SPDX-License-Identifier: MIT

#pragma once

// Replaces the global allocation functions of a test program with counting ones, so that a
// test can show that a hot path allocates nothing. Include it in exactly one source of a test
// program (each tests/<area>/test_X.cpp is its own program): it defines the replacements and a
// check, run before the tests, that the count sees allocations made inside the library.
//
// With an ELF shared library the program's operator new replaces the library's too. A Windows
// DLL keeps its own: its operator new (in the C++ runtime DLL, or linked into it by MSVC) ends
// in the C runtime's malloc. So on Windows the count also hooks the imports through which the
// library and the C++ runtime DLL reach malloc, and counts every heap block they take.

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

#include "YdNurbsLib/nurbs/YdKnotVec.h"

#ifdef _WIN32
#include <malloc.h>

#include "YdImportHooks.h"
#endif

namespace ydtest {

/// Number of heap allocations in this program so far (calls to any form of operator new, and
/// on Windows also the library's and the C++ runtime's own calls into malloc).
inline std::atomic<long> g_allocationCount{0};

inline void CountOne() {
    g_allocationCount.fetch_add(1, std::memory_order_relaxed);
}

inline void* CountedAlloc(std::size_t n) {
    CountOne();
    if (void* p = std::malloc(n == 0 ? 1 : n)) {
        return p;
    }
    throw std::bad_alloc();
}

#ifdef _WIN32

// The Windows C runtime has no aligned_alloc; aligned blocks come from _aligned_malloc and
// must go back through _aligned_free.
inline void* AlignedAlloc(std::size_t n, std::size_t a) {
    return _aligned_malloc(n == 0 ? 1 : n, a);
}
inline void AlignedFree(void* p) {
    _aligned_free(p);
}

inline void* CountedMalloc(std::size_t n) {
    CountOne();
    return std::malloc(n);
}
inline void* CountedCalloc(std::size_t n, std::size_t size) {
    CountOne();
    return std::calloc(n, size);
}
inline void* CountedRealloc(void* p, std::size_t n) {
    CountOne();
    return std::realloc(p, n);
}
inline void* CountedAlignedMalloc(std::size_t n, std::size_t a) {
    CountOne();
    return _aligned_malloc(n, a);
}

// The library and whichever C++ runtime DLLs are loaded (MinGW's, or MSVC's release and debug).
inline int HookLibraryAllocations() {
    const AllocationHooks hooks = {&CountedMalloc, &CountedCalloc, &CountedRealloc,
                                   &CountedAlignedMalloc};
    int hooked = 0;
    for (const char* name :
         {"YdNurbsLib.dll", "libstdc++-6.dll", "msvcp140.dll", "msvcp140d.dll"}) {
        hooked += HookAllocationImports(name, hooks);
    }
    return hooked;
}

/// Import slots changed at start-up; the program's static objects are built after the DLLs it
/// links are loaded, so every later allocation by them is seen.
inline const int g_hookedImports = HookLibraryAllocations();

#else

inline void* AlignedAlloc(std::size_t n, std::size_t a) {
    return std::aligned_alloc(a, (n + a - 1) / a * a);
}
inline void AlignedFree(void* p) {
    std::free(p);
}

#endif

inline void* CountedAlignedAlloc(std::size_t n, std::align_val_t al) {
    CountOne();
    if (void* p = AlignedAlloc(n, static_cast<std::size_t>(al))) {
        return p;
    }
    throw std::bad_alloc();
}

/// Guards the guard: a no-allocation test proves nothing unless the count sees the blocks the
/// library takes inside its own code (a DLL does not use the program's operator new). Checked
/// before the program's tests run; a failure here fails the whole program.
class AllocationCountCheck : public ::testing::Environment {
  public:
    void SetUp() override {
        const long before = g_allocationCount.load();
        {
            YdKnotVec knots;
            knots.AllocateMemory(1000);  // fills its vector inside the library
        }
        EXPECT_GE(g_allocationCount.load() - before, 1)
            << "allocations inside the library are not counted on this platform: the "
               "no-allocation tests of this program would measure nothing";
#ifdef _WIN32
        EXPECT_GT(g_hookedImports, 0) << "no allocation import of the library was hooked";
#endif
    }
};

/// Registered once per program (gtest owns and deletes it).
inline ::testing::Environment* const g_allocationCountCheck =
    ::testing::AddGlobalTestEnvironment(new AllocationCountCheck);

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
    ydtest::AlignedFree(p);
}
void operator delete[](void* p, std::align_val_t) noexcept {
    ydtest::AlignedFree(p);
}
void operator delete(void* p, std::size_t, std::align_val_t) noexcept {
    ydtest::AlignedFree(p);
}
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept {
    ydtest::AlignedFree(p);
}
