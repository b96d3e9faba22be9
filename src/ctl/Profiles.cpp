#include "ctl/Profiles.h"

#include <sddl.h>

#include "common/Handles.h"
#include "common/Paths.h"
#include "ctl/Failure.h"
#include "notes/Text.h"

namespace ctl {
namespace {

constexpr const WCHAR* kProfileList = TEXT("SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\ProfileList");
constexpr DWORD kPathUnits = 260;

RegistryKey openKey(HKEY parent, const WCHAR* path) {
    RegistryKey key;
    const LSTATUS status = RegOpenKeyExW(parent, path, 0, KEY_READ | KEY_WOW64_64KEY, key.put());
    if (status == ERROR_SUCCESS) return key;
    throw systemFailure("cannot read the list of profiles", static_cast<DWORD>(status));
}

// The text of a value with its variables replaced; empty when there is none.
WideString pathIn(HKEY key, const WCHAR* value) {
    WCHAR text[kPathUnits];
    DWORD bytes = sizeof text;
    if (RegGetValueW(key, nullptr, value, RRF_RT_REG_SZ, nullptr, text, &bytes) != ERROR_SUCCESS) return {};
    return text;
}

// People's accounts have a SID of one of two forms. A key that ends in ".bak" is a profile that Windows has given up.
bool isOfAPerson(const WideString& sid) {
    return (sid.starts_with(TEXT("S-1-5-21-")) || sid.starts_with(TEXT("S-1-12-1-"))) && !sid.ends_with(TEXT(".bak"));
}

std::vector<WideString> sidsIn(HKEY list) {
    std::vector<WideString> sids;
    for (DWORD index = 0;; ++index) {
        WCHAR name[kPathUnits];
        DWORD units = kPathUnits;
        const LSTATUS status = RegEnumKeyExW(list, index, name, &units, nullptr, nullptr, nullptr, nullptr);
        if (status == ERROR_NO_MORE_ITEMS) return sids;
        if (status != ERROR_SUCCESS)
            throw systemFailure("cannot read the list of profiles", static_cast<DWORD>(status));
        if (isOfAPerson(name)) sids.emplace_back(name, units);
    }
}

// Empty when nobody knows the account any more, or its domain cannot be asked.
WideString accountOf(const WideString& sidText) {
    LocalBlock sid;
    if (!ConvertStringSidToSidW(sidText.c_str(), sid.put())) return {};
    WCHAR name[kPathUnits], domain[kPathUnits];
    DWORD nameUnits = kPathUnits, domainUnits = kPathUnits;
    SID_NAME_USE use;
    if (!LookupAccountSidW(nullptr, sid.get(), name, &nameUnits, domain, &domainUnits, &use)) return {};
    return name;
}

}  // namespace

std::vector<Profile> allProfiles() {
    std::vector<Profile> profiles;
    const RegistryKey list = openKey(HKEY_LOCAL_MACHINE, kProfileList);
    for (const WideString& sid : sidsIn(list.get())) {
        const WideString folder = pathIn(openKey(list.get(), sid.c_str()).get(), TEXT("ProfileImagePath"));
        if (folder.empty()) continue;
        const WideString account = accountOf(sid);
        profiles.push_back({wideToUtf8(account.empty() ? leafName(folder) : account), folder});
    }
    return profiles;
}

Profile profileOf(const WideString& user) {
    const WideString wanted = leafName(user);  // without "domain\"
    for (Profile& profile : allProfiles())
        if (equalsIgnoreCase(utf8ToWide(profile.name), wanted)) return std::move(profile);
    throw Failure{kNo, "no user '" + wideToUtf8(user) + "' has a profile on this computer"};
}

Profile profileOfNewUsers() {
    const RegistryKey list = openKey(HKEY_LOCAL_MACHINE, kProfileList);
    const WideString folder = pathIn(list.get(), TEXT("Default"));
    if (folder.empty()) throw Failure{kFailed, "the registry names no profile for new users"};
    return {"new users", folder};
}

}  // namespace ctl
