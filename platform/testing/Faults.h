// Faults that a test, or the environment of a process, breaks the platform with.
//
// The environment variable VELLUM_FAULTS holds faults separated by ";", each "call:use=action":
// call is the name of a platform call, or "*" for any; use is the number of the use that is hit, counted from 1,
// or "every"; action is fail, fail(error), short(bytes), delay(ms) or kill. An example:
//
//     VELLUM_FAULTS="CreateDirectoryW:2=fail(5);WriteFile:1=short(10);*:40=kill"
#pragma once

#include <windef.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace platform::faults {

enum class Action {
    Fail,   // the call fails with the error `value`
    Short,  // a read or write moves at most `value` bytes
    Delay,  // the call starts `value` milliseconds later
    Kill,   // the process ends at once, as if it were killed from outside
    Hold,   // the call starts when the fault is disarmed; for tests of what happens meanwhile on another thread
};

struct Fault {
    std::string call;  // "*" matches every call, with Fail and Short every call that can fail in that way
    unsigned use = 1;  // counted from the moment of arming; 0 means every use
    Action action = Action::Fail;
    DWORD value = 31;  // ERROR_GEN_FAILURE
};

void arm(Fault fault);
// Disarms what was armed for this name, and lets the calls go on that it holds. The counts stay.
void disarm(std::string_view call);
// Disarms everything. Also resets the counts.
void clear();
// Whether any armed fault was carried out since clear().
bool fired();
// How often the call was used since the process started or clear() was called.
unsigned uses(std::string_view call);
// Reads the form of VELLUM_FAULTS. False when the text is malformed; `faults` then holds those before the fault.
bool parse(std::string_view text, std::vector<Fault>& faults);

// What a leak would leave behind.
std::size_t openHandles();         // files, keys and the like
std::size_t openAllocations();     // memory that the caller owes to LocalFree, CoTaskMemFree, WTSFreeMemory
std::size_t openApartments();      // CoInitializeEx without its CoUninitialize, on this thread
std::size_t openDrawing();         // of GDI+: its start, graphics, brushes, pens, images, memory
std::size_t openDrawingObjects();  // of GDI: contexts, bitmaps, brushes, fonts
std::size_t openMemory();          // GlobalAlloc without its GlobalFree
std::size_t openInterfaces();      // references to objects of the task scheduler
std::size_t openStrings();         // SysAllocString without its SysFreeString
std::size_t openVariants();        // VariantInit without its VariantClear

}  // namespace platform::faults
