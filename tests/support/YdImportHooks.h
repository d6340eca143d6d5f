// SPDX-License-Identifier: MIT

#pragma once

// Redirection of a loaded Windows module's imports of the C runtime's allocation functions, so
// that a test program can count the heap blocks a DLL takes. Kept apart from the allocation
// counter so that <windows.h> and its macros (near, far, ...) stay out of the tests' sources.

#include <cstddef>

namespace ydtest {

/// Stand-ins for the C runtime's malloc, calloc, realloc and _aligned_malloc, with their
/// signatures.
struct AllocationHooks {
    void* (*mallocHook)(std::size_t n);
    void* (*callocHook)(std::size_t n, std::size_t size);
    void* (*reallocHook)(void* p, std::size_t n);
    void* (*alignedMallocHook)(std::size_t n, std::size_t alignment);
};

/// Points every import of malloc, calloc, realloc and _aligned_malloc of the loaded module
/// named moduleName (whichever DLL provides them) at the hooks, and returns how many import
/// slots it changed: 0 when that module is not loaded or imports none of them. Frees are not
/// redirected, so the hooks must take their blocks from the same C runtime. Windows only.
int HookAllocationImports(const char* moduleName, const AllocationHooks& hooks);

}  // namespace ydtest
