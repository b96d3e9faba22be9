// Writing all bytes to an open file or pipe.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <string_view>

// Writes all bytes, at most `atOnce` in one call. False with the reason in GetLastError: ERROR_WRITE_FAULT if a call
// writes nothing.
inline bool writeAll(HANDLE file, std::string_view bytes, std::size_t atOnce = UINT32_MAX) {
    while (!bytes.empty()) {
        DWORD written = 0;
        const DWORD wanted = static_cast<DWORD>(std::min(bytes.size(), atOnce));
        if (!WriteFile(file, bytes.data(), wanted, &written, nullptr)) return false;
        if (written == 0) {
            SetLastError(ERROR_WRITE_FAULT);
            return false;
        }
        bytes.remove_prefix(written);
    }
    return true;
}
