// Reads token information into values.
#pragma once

#include <windows.h>

#include <vector>

// Reads data of a fixed size. On failure `err` has the reason.
template <typename Value>
bool readTokenValue(HANDLE token, TOKEN_INFORMATION_CLASS what, Value& value, DWORD& err) {
    DWORD bytes = 0;
    if (GetTokenInformation(token, what, &value, sizeof value, &bytes)) return true;
    err = GetLastError();
    return false;
}

// Data of variable size that starts with `Header`. The data may hold pointers into itself: do not copy it.
template <typename Header>
class TokenData {
  public:
    // False with the reason in `err`, which may be 0 if the system reports no size.
    bool read(HANDLE token, TOKEN_INFORMATION_CLASS what, DWORD& err) {
        DWORD bytes = 0;
        SetLastError(ERROR_SUCCESS);
        const BOOL unexpected = GetTokenInformation(token, what, nullptr, 0, &bytes);
        err = GetLastError();
        if (unexpected || err != ERROR_INSUFFICIENT_BUFFER || bytes == 0) return false;
        buffer_.resize((bytes + sizeof(Unit) - 1) / sizeof(Unit));
        if (!GetTokenInformation(token, what, buffer_.data(), bytes, &bytes)) {
            err = GetLastError();
            return false;
        }
        err = ERROR_SUCCESS;
        return true;
    }
    const Header* operator->() const { return reinterpret_cast<const Header*>(buffer_.data()); }

  private:
    using Unit = ULONGLONG;  // aligned for every header
    std::vector<Unit> buffer_;
};
