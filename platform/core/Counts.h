// Counts the resources that the process has open. Tests use it to find leaks.
#pragma once

#include <cstddef>

namespace platform {

enum class Open {
    Handles,         // files, registry keys and so on
    Allocations,     // memory that the caller must free with LocalFree, CoTaskMemFree or WTSFreeMemory
    Apartments,      // CoInitializeEx without its CoUninitialize
    GdiPlus,         // GdiplusStartup without its GdiplusShutdown
    GdiPlusObjects,  // graphics, brushes, pens, images, memory
    GdiObjects,      // contexts, bitmaps, brushes, fonts
    Memory,          // GlobalAlloc without its GlobalFree
    Interfaces,      // references to task scheduler objects
    Strings,         // SysAllocString without its SysFreeString
    Variants,        // VariantInit without its VariantClear
};

void countOpened(Open kind);
// Returns how many are still open.
std::size_t countClosed(Open kind);
std::size_t countOf(Open kind);

}  // namespace platform
