// How many things the process has open that one call gives out and another takes back. Tests look for what is left.
#pragma once

#include <cstddef>

namespace platform {

enum class Open {
    Handles,         // files, keys and the like
    Allocations,     // memory that the caller owes to LocalFree, CoTaskMemFree, WTSFreeMemory
    Apartments,      // CoInitializeEx without its CoUninitialize
    GdiPlus,         // its starts
    GdiPlusObjects,  // graphics, brushes, pens, images, memory
    GdiObjects,      // contexts, bitmaps, brushes, fonts
    Memory,          // GlobalAlloc without its GlobalFree
    Interfaces,      // references to objects of the task scheduler
    Strings,         // SysAllocString without its SysFreeString
    Variants,        // VariantInit without its VariantClear
};

void countOpened(Open kind);
// How many are left.
std::size_t countClosed(Open kind);
std::size_t countOf(Open kind);

}  // namespace platform
