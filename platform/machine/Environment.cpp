// The environment variables of the process. The product reads and sets them, Children.cpp passes them to children. Any
// thread; one lock.
#include "machine/Environment.h"

#include <unistd.h>
#include <windows.h>

#include <cstring>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "core/Encoding.h"
#include "core/Error.h"
#include "core/Gate.h"
#include "core/Ordinal.h"
#include "machine/Machine.h"

extern char** environ;

namespace platform {
namespace {

struct OrdinalLess {
    bool operator()(const std::u16string& left, const std::u16string& right) const {
        const std::size_t common = std::min(left.size(), right.size());
        for (std::size_t i = 0; i < common; ++i) {
            const char16_t a = foldOrdinal(left[i]), b = foldOrdinal(right[i]);
            if (a != b) return a < b;
        }
        return left.size() < right.size();
    }
};

using Variables = std::map<std::u16string, std::u16string, OrdinalLess>;

std::mutex lock;
std::optional<Variables> current;

Variables inherited() {
    Variables variables;
    for (const auto& [name, value] : machine().environment)
        variables[toWide(name)] = toWide(value);
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        const std::size_t equals = text.find('=');
        if (equals != std::string_view::npos)
            variables[toWide(text.substr(0, equals))] = toWide(text.substr(equals + 1));
    }
    return variables;
}

Variables& variables() {
    if (!current) current = inherited();
    return *current;
}

}  // namespace

void resetEnvironment() {
    std::lock_guard hold(lock);
    current.reset();
}

std::vector<std::string> environmentTexts() {
    std::lock_guard hold(lock);
    std::vector<std::string> texts;
    for (const auto& [name, value] : variables())
        texts.push_back(toUtf8(name) + "=" + toUtf8(value));
    return texts;
}

}  // namespace platform

using namespace platform;

DWORD GetEnvironmentVariableW(LPCWSTR name, LPWSTR value, DWORD capacity) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    std::lock_guard hold(lock);
    const auto found = variables().find(name);
    if (found == variables().end()) return refuse(ERROR_ENVVAR_NOT_FOUND);
    const std::u16string& text = found->second;
    if (text.size() >= capacity) return static_cast<DWORD>(text.size() + 1);
    std::memcpy(value, text.c_str(), (text.size() + 1) * sizeof(WCHAR));
    SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(text.size());
}

BOOL SetEnvironmentVariableW(LPCWSTR name, LPCWSTR value) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    std::lock_guard hold(lock);
    if (value == nullptr)
        variables().erase(name);
    else
        variables()[name] = value;
    return TRUE;
}
