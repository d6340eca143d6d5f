// SPDX-License-Identifier: MIT

// Import redirection for the allocation counter on Windows; nothing elsewhere (an ELF
// program's operator new already serves its shared libraries).

#ifdef _WIN32

#include "YdImportHooks.h"

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <cstring>

namespace ydtest {

namespace {

// The address to put in the import slot of the named function, or 0 to leave it.
ULONG_PTR Replacement(const char* name, const AllocationHooks& hooks) {
    if (std::strcmp(name, "malloc") == 0) {
        return reinterpret_cast<ULONG_PTR>(hooks.mallocHook);
    }
    if (std::strcmp(name, "calloc") == 0) {
        return reinterpret_cast<ULONG_PTR>(hooks.callocHook);
    }
    if (std::strcmp(name, "realloc") == 0) {
        return reinterpret_cast<ULONG_PTR>(hooks.reallocHook);
    }
    if (std::strcmp(name, "_aligned_malloc") == 0) {
        return reinterpret_cast<ULONG_PTR>(hooks.alignedMallocHook);
    }
    return 0;
}

// Redirects the by-name imports of one import descriptor; returns the slots changed.
int HookDescriptor(unsigned char* base, const IMAGE_IMPORT_DESCRIPTOR& d,
                   const AllocationHooks& hooks) {
    if (d.OriginalFirstThunk == 0) {
        return 0;  // no name table to read once the loader has bound the imports
    }
    const auto* names = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + d.OriginalFirstThunk);
    auto* slots = reinterpret_cast<IMAGE_THUNK_DATA*>(base + d.FirstThunk);
    int hooked = 0;
    for (; names->u1.AddressOfData != 0; ++names, ++slots) {
        if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) {
            continue;
        }
        const auto* byName =
            reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
        const ULONG_PTR to = Replacement(reinterpret_cast<const char*>(byName->Name), hooks);
        DWORD protect = 0;
        if (to == 0 ||
            !VirtualProtect(&slots->u1.Function, sizeof(ULONG_PTR), PAGE_READWRITE, &protect)) {
            continue;
        }
        slots->u1.Function = to;
        VirtualProtect(&slots->u1.Function, sizeof(ULONG_PTR), protect, &protect);
        ++hooked;
    }
    return hooked;
}

}  // namespace

int HookAllocationImports(const char* moduleName, const AllocationHooks& hooks) {
    HMODULE module = GetModuleHandleA(moduleName);
    if (module == nullptr) {
        return 0;
    }
    auto* base = reinterpret_cast<unsigned char*>(module);
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& dir =
        nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (dir.VirtualAddress == 0) {
        return 0;
    }
    int hooked = 0;
    for (const auto* d =
             reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + dir.VirtualAddress);
         d->Name != 0; ++d) {
        hooked += HookDescriptor(base, *d, hooks);
    }
    return hooked;
}

}  // namespace ydtest

#endif
