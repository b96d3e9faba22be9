// Injects faults into the stand-in, for tests or from the environment of a process. Also returns the counts of open
// resources, to find leaks.
//
// The environment variable VELLUM_FAULTS holds faults separated by ";", each in the form "call:use=action". `call` is
// the name of a function, or "*" for any. `use` is the number of the call to hit, starting at 1, or "every". `action`
// is fail, fail(error), short(bytes), delay(ms) or kill. For example:
//
//     VELLUM_FAULTS="CreateDirectoryW:2=fail(5);WriteFile:1=short(10);*:40=kill"
#pragma once

#include <string_view>
#include <vector>

#include "core/Counts.h"
#include "core/Faults.h"

namespace platform::faults {

// Parses the format of VELLUM_FAULTS. Returns false if the text is malformed; `faults` then holds those before the
// mistake.
bool parse(std::string_view text, std::vector<Fault>& faults);
// Arms the faults in VELLUM_FAULTS. Ends the process if the text is malformed.
void armFromEnvironment();

// The number of open resources of each kind; see core/Counts.h.
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
