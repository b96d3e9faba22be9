// Faults that a test, or the environment of a process, breaks the platform with; and what the process has open, which
// is how a leak shows.
//
// The environment variable VELLUM_FAULTS holds faults separated by ";", each "call:use=action":
// call is the name of a platform call, or "*" for any; use is the number of the use that is hit, counted from 1,
// or "every"; action is fail, fail(error), short(bytes), delay(ms) or kill. An example:
//
//     VELLUM_FAULTS="CreateDirectoryW:2=fail(5);WriteFile:1=short(10);*:40=kill"
#pragma once

#include <string_view>
#include <vector>

#include "core/Counts.h"
#include "core/Faults.h"

namespace platform::faults {

// Reads the form of VELLUM_FAULTS. False when the text is malformed; `faults` then holds those before the fault.
bool parse(std::string_view text, std::vector<Fault>& faults);
// Arms what VELLUM_FAULTS says. A malformed text ends the process.
void armFromEnvironment();

// What is open of each kind; core/Counts.h says what the kinds are.
inline std::size_t openHandles() {
    return countOf(Open::Handles);
}
inline std::size_t openAllocations() {
    return countOf(Open::Allocations);
}
inline std::size_t openApartments() {
    return countOf(Open::Apartments);
}
inline std::size_t openDrawing() {
    return countOf(Open::GdiPlus) + countOf(Open::GdiPlusObjects);
}
inline std::size_t openDrawingObjects() {
    return countOf(Open::GdiObjects);
}
inline std::size_t openMemory() {
    return countOf(Open::Memory);
}
inline std::size_t openInterfaces() {
    return countOf(Open::Interfaces);
}
inline std::size_t openStrings() {
    return countOf(Open::Strings);
}
inline std::size_t openVariants() {
    return countOf(Open::Variants);
}

}  // namespace platform::faults
