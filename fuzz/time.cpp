// Any text: a time that is read is written in a form that reads back as the same time.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "common/UtcTime.h"
#include "notes/Text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    SYSTEMTIME time = {}, again = {};
    if (!parseUtcTime(utf8ToWide(reinterpret_cast<const char*>(data), size), time)) return 0;
    if (!parseUtcTime(formatUtcTime(time), again) || std::memcmp(&time, &again, sizeof time) != 0) std::abort();
    return 0;
}
