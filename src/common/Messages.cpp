#include "common/Messages.h"

#include <algorithm>

bool postText(HWND window, UINT message, WideView text) {
    OwnedText copy = std::make_unique<WCHAR[]>(text.size() + 1);
    std::copy(text.begin(), text.end(), copy.get());
    if (!PostMessageW(window, message, 0, reinterpret_cast<LPARAM>(copy.get()))) return false;
    static_cast<void>(copy.release());
    return true;
}

OwnedText takeText(LPARAM lParam) {
    return OwnedText(reinterpret_cast<WCHAR*>(lParam));
}
