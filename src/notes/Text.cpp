#include "notes/Text.h"

WideString utf8ToWide(const char* bytes, std::size_t length) {
    if (bytes == nullptr || length == 0) return WideString();
    const int byteCount = static_cast<int>(length);
    int units = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes, byteCount, nullptr, 0);
    if (units < 1) units = MultiByteToWideChar(CP_UTF8, 0, bytes, byteCount, nullptr, 0);
    if (units < 1) return WideString();
    WideString text(static_cast<std::size_t>(units), WCHAR(0));
    const int written = MultiByteToWideChar(CP_UTF8, 0, bytes, byteCount, text.data(), units);
    text.resize(static_cast<std::size_t>(written < 1 ? 0 : written));
    return text;
}

WideString utf8ToWide(std::string_view bytes) {
    return utf8ToWide(bytes.data(), bytes.size());
}

std::string wideToUtf8(const WCHAR* text, std::size_t length) {
    if (text == nullptr || length == 0) return std::string();
    const int units = static_cast<int>(length);
    const int byteCount = WideCharToMultiByte(CP_UTF8, 0, text, units, nullptr, 0, nullptr, nullptr);
    if (byteCount < 1) return std::string();
    std::string bytes(static_cast<std::size_t>(byteCount), 0);
    const int written = WideCharToMultiByte(CP_UTF8, 0, text, units, bytes.data(), byteCount, nullptr, nullptr);
    bytes.resize(static_cast<std::size_t>(written < 1 ? 0 : written));
    return bytes;
}

std::string wideToUtf8(WideView text) {
    return wideToUtf8(text.data(), text.size());
}
