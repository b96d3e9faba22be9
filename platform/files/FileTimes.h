// Times of files, in both forms.
#pragma once

#include <windef.h>

#include <cstdint>
#include <ctime>

namespace platform {

inline FILETIME fileTimeOf(const timespec& time) {
    constexpr std::int64_t kTicksBefore1970 = 116444736000000000;
    const auto ticks = static_cast<std::uint64_t>(time.tv_sec * 10'000'000 + time.tv_nsec / 100 + kTicksBefore1970);
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

}  // namespace platform
