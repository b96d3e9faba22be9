// The registry: a folder for each key and a file for each value, below registry/ in the machine folder. The file name
// holds the name and the type of the value. REG_SZ and REG_EXPAND_SZ are stored as plain UTF-8 that people can read and
// edit. Other types are stored as hexadecimal digits. A text value without a proper terminator is stored as "hex:" and
// digits.
#include <windows.h>
#include <winreg.h>

#include <unistd.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "core/Encoding.h"
#include "core/Gate.h"
#include "core/HandleTable.h"
#include "core/Ordinal.h"
#include "machine/Machine.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

struct KeyObject : KeyBase {
    KeyObject(fs::path keyFolder, REGSAM granted) : folder(std::move(keyFolder)), access(granted) {}
    fs::path folder;
    REGSAM access;
};

struct TypeName {
    DWORD type;
    const char* name;
};
constexpr TypeName kTypes[] = {
    {REG_SZ, "REG_SZ"}, {REG_EXPAND_SZ, "REG_EXPAND_SZ"}, {REG_BINARY, "REG_BINARY"}, {REG_DWORD, "REG_DWORD"}};

bool isText(DWORD type) {
    return type == REG_SZ || type == REG_EXPAND_SZ;
}

// Writes characters that a Linux file name cannot contain, or that have a special meaning there, as %XX.
std::string fileNameOf(std::u16string_view name) {
    std::string out;
    for (const char c : toUtf8(name)) {
        if (c != '/' && c != '%' && !(c == '.' && out.empty())) {
            out += c;
            continue;
        }
        char escaped[4];
        std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
        out += escaped;
    }
    return out;
}

bool sameName(const std::string& left, const std::string& right) {
    return equalsOrdinal(toWide(left), toWide(right));
}

// The folder of a key below `base`. Names are matched ignoring case.
fs::path folderOf(const fs::path& base, std::u16string_view path) {
    fs::path folder = base;
    while (!path.empty()) {
        const std::size_t end = path.find(u'\\');
        const std::string wanted = fileNameOf(path.substr(0, end));
        std::string name = wanted;
        std::error_code error;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder, error))
            if (entry.is_directory() && sameName(entry.path().filename().string(), wanted))
                name = entry.path().filename().string();
        folder /= name;
        path = end == std::u16string_view::npos ? std::u16string_view() : path.substr(end + 1);
    }
    return folder;
}

struct Value {
    fs::path file;
    DWORD type = REG_NONE;
};

// Finds the file of a value. False if it does not exist.
bool findValue(const fs::path& folder, LPCWSTR name, Value& value) {
    const std::string wanted = fileNameOf(name == nullptr ? u"" : name);
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        const std::string stem = entry.path().stem().string(), type = entry.path().extension().string();
        if (!entry.is_regular_file() || !sameName(stem, wanted)) continue;
        for (const TypeName& known : kTypes)
            if (type == std::string(".") + known.name) {
                value = {entry.path(), known.type};
                return true;
            }
    }
    return false;
}

constexpr std::string_view kHexMark = "hex:";  // marks the bytes of a text value that cannot be stored as UTF-8 text

std::vector<BYTE> bytesOf(std::string_view digits) {
    std::vector<BYTE> bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes.push_back(static_cast<BYTE>(std::strtoul(std::string(digits.substr(i, 2)).c_str(), nullptr, 16)));
    return bytes;
}

std::vector<BYTE> decode(DWORD type, std::string content) {
    if (!content.empty() && content.back() == '\n') content.pop_back();  // editors add this newline
    if (!isText(type)) return bytesOf(content);
    if (content.starts_with(kHexMark)) return bytesOf(std::string_view(content).substr(kHexMark.size()));
    const std::u16string text = toWide(content);
    std::vector<BYTE> bytes((text.size() + 1) * sizeof(WCHAR));
    std::memcpy(bytes.data(), text.c_str(), bytes.size());
    return bytes;
}

std::string encode(DWORD type, const BYTE* data, DWORD byteCount) {
    const std::vector<BYTE> bytes(data, data + byteCount);
    if (isText(type) && byteCount >= sizeof(WCHAR)) {
        std::u16string text(byteCount / sizeof(WCHAR) - 1, 0);
        std::memcpy(text.data(), data, text.size() * sizeof(WCHAR));
        if (std::string plain = toUtf8(text); decode(type, plain) == bytes) return plain;
    }
    std::string out(isText(type) ? kHexMark : std::string_view());
    for (const BYTE byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(byte));
        out += digits;
    }
    return out;
}

// %NAME% becomes the variable's value; one that is unknown stays as it is.
std::u16string expandVariables(const std::u16string& text) {
    std::u16string out;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text[at] == u'%' ? text.find(u'%', at + 1) : std::u16string::npos;
        WCHAR value[MAX_PATH];
        const bool isKnown = end != std::u16string::npos &&
                             GetEnvironmentVariableW(text.substr(at + 1, end - at - 1).c_str(), value, MAX_PATH) != 0;
        out += isKnown ? std::u16string(value) : text.substr(at, 1);
        at = isKnown ? end + 1 : at + 1;
    }
    return out;
}

fs::path userHive() {
    return machineFolder() / "registry" / "HKEY_USERS" / processToken().user;
}

LSTATUS open(HKEY parent, LPCWSTR path, REGSAM access, bool make, PHKEY key) {
    fs::path base;
    if (parent == HKEY_CURRENT_USER) {
        base = userHive();
    } else if (parent == HKEY_LOCAL_MACHINE) {
        if ((access & KEY_SET_VALUE) != 0 && !isAdministrator()) return ERROR_ACCESS_DENIED;
        base = machineFolder() / "registry" / "HKEY_LOCAL_MACHINE";
    } else {
        const auto object = find<KeyObject>(reinterpret_cast<HANDLE>(parent));
        if (object == nullptr) return ERROR_INVALID_HANDLE;
        base = object->folder;
    }
    const fs::path folder = folderOf(base, path == nullptr ? u"" : path);
    std::error_code error;
    if (make) fs::create_directories(folder, error);
    if (!fs::is_directory(folder, error)) return make ? ERROR_ACCESS_DENIED : ERROR_FILE_NOT_FOUND;
    *key = reinterpret_cast<HKEY>(openHandle(std::make_shared<KeyObject>(folder, access)));
    return ERROR_SUCCESS;
}

// Finds the key and checks that it was opened with the right that the call needs.
LSTATUS use(HKEY key, REGSAM right, std::shared_ptr<KeyObject>& object) {
    object = find<KeyObject>(reinterpret_cast<HANDLE>(key));
    if (object == nullptr) return ERROR_INVALID_HANDLE;
    return (object->access & right) == right ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

}  // namespace
}  // namespace platform

using namespace platform;

LSTATUS RegOpenCurrentUser(REGSAM access, PHKEY key) {
    static constinit CallSite site{__func__};
    if (const DWORD error = site.error()) return static_cast<LSTATUS>(error);
    std::error_code error;
    fs::create_directories(userHive(), error);  // Windows creates it at the first logon
    return open(HKEY_CURRENT_USER, u"", access, false, key);
}

LSTATUS RegCreateKeyExW(HKEY parent, LPCWSTR path, DWORD, LPWSTR, DWORD, REGSAM access, LPSECURITY_ATTRIBUTES,
                        PHKEY key, LPDWORD) {
    static constinit CallSite site{__func__};
    if (const DWORD error = site.error()) return static_cast<LSTATUS>(error);
    return open(parent, path, access, true, key);
}

LSTATUS RegOpenKeyExW(HKEY parent, LPCWSTR path, DWORD, REGSAM access, PHKEY key) {
    static constinit CallSite site{__func__};
    if (const DWORD error = site.error()) return static_cast<LSTATUS>(error);
    return open(parent, path, access, false, key);
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD, DWORD type, const BYTE* data, DWORD byteCount) {
    static constinit CallSite site{__func__};
    if (const DWORD error = site.error()) return static_cast<LSTATUS>(error);
    std::shared_ptr<KeyObject> object;
    if (const LSTATUS status = use(key, KEY_SET_VALUE, object)) return status;
    Value old;
    const bool existed = findValue(object->folder, name, old);
    for (const TypeName& known : kTypes) {
        if (known.type != type) continue;
        const std::string stem = existed ? old.file.stem().string() : fileNameOf(name == nullptr ? u"" : name);
        const fs::path file = object->folder / (stem + "." + known.name);
        const fs::path draft = object->folder / (".draft-" + std::to_string(getpid()));
        std::error_code error;
        std::ofstream(draft, std::ios::binary) << encode(type, data, byteCount);
        fs::rename(draft, file, error);
        if (error) return ERROR_ACCESS_DENIED;
        if (existed && old.file != file) fs::remove(old.file, error);
        return ERROR_SUCCESS;
    }
    return ERROR_INVALID_PARAMETER;
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD byteCount) {
    static constinit CallSite site{__func__};
    if (const DWORD error = site.error()) return static_cast<LSTATUS>(error);
    std::shared_ptr<KeyObject> object;
    if (const LSTATUS status = use(key, KEY_QUERY_VALUE, object)) return status;
    Value value;
    if (!findValue(object->folder, name, value)) return ERROR_FILE_NOT_FOUND;
    if (type != nullptr) *type = value.type;
    if (byteCount == nullptr) return data == nullptr ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
    std::ifstream file(value.file, std::ios::binary);
    const std::vector<BYTE> bytes =
        decode(value.type, {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
    const DWORD capacity = *byteCount;
    *byteCount = static_cast<DWORD>(bytes.size());
    if (data == nullptr) return ERROR_SUCCESS;
    if (capacity < bytes.size()) return ERROR_MORE_DATA;
    if (!bytes.empty()) std::memcpy(data, bytes.data(), bytes.size());
    return ERROR_SUCCESS;
}

// The keys come in the order of their names, as Windows lists them.
LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD units, LPDWORD, LPWSTR, LPDWORD, FILETIME*) {
    static constinit CallSite site{__func__};
    if (const DWORD error = site.error()) return static_cast<LSTATUS>(error);
    std::shared_ptr<KeyObject> object;
    if (const LSTATUS status = use(key, KEY_ENUMERATE_SUB_KEYS, object)) return status;
    std::vector<std::u16string> names;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(object->folder, error))
        if (entry.is_directory()) names.push_back(toWide(entry.path().filename().string()));
    std::sort(names.begin(), names.end());
    if (index >= names.size()) return ERROR_NO_MORE_ITEMS;
    const std::u16string& found = names[index];
    if (found.size() >= *units) return ERROR_MORE_DATA;
    std::memcpy(name, found.c_str(), (found.size() + 1) * sizeof(WCHAR));
    *units = static_cast<DWORD>(found.size());
    return ERROR_SUCCESS;
}

LSTATUS RegGetValueW(HKEY key, LPCWSTR path, LPCWSTR name, DWORD flags, LPDWORD, PVOID data, LPDWORD byteCount) {
    static constinit CallSite site{__func__};
    if (const DWORD error = site.error()) return static_cast<LSTATUS>(error);
    if (path != nullptr || flags != RRF_RT_REG_SZ) return ERROR_INVALID_PARAMETER;
    std::shared_ptr<KeyObject> object;
    if (const LSTATUS status = use(key, KEY_QUERY_VALUE, object)) return status;
    Value value;
    if (!findValue(object->folder, name, value)) return ERROR_FILE_NOT_FOUND;
    if (!isText(value.type)) return ERROR_UNSUPPORTED_TYPE;
    std::ifstream file(value.file, std::ios::binary);
    const std::vector<BYTE> bytes =
        decode(value.type, {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
    std::u16string text(bytes.size() / sizeof(WCHAR), 0);
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(WCHAR));
    text.resize(std::min(text.find(u'\0'), text.size()));
    if (value.type == REG_EXPAND_SZ) text = expandVariables(text);
    const DWORD needed = static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR)), capacity = *byteCount;
    *byteCount = needed;
    if (capacity < needed) return ERROR_MORE_DATA;
    std::memcpy(data, text.c_str(), needed);
    return ERROR_SUCCESS;
}

LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name) {
    static constinit CallSite site{__func__};
    if (const DWORD error = site.error()) return static_cast<LSTATUS>(error);
    std::shared_ptr<KeyObject> object;
    if (const LSTATUS status = use(key, KEY_SET_VALUE, object)) return status;
    Value value;
    std::error_code error;
    if (!findValue(object->folder, name, value)) return ERROR_FILE_NOT_FOUND;
    return fs::remove(value.file, error) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

LSTATUS RegCloseKey(HKEY key) {
    static constinit CallSite site{__func__};
    const DWORD refused = site.error();
    if (key == HKEY_CURRENT_USER) return static_cast<LSTATUS>(refused);
    const HANDLE handle = reinterpret_cast<HANDLE>(key);
    const bool closed = find<KeyObject>(handle) != nullptr && closeHandle(handle);
    return refused != 0 ? static_cast<LSTATUS>(refused) : closed ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}
