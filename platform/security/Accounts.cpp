// Names of accounts. The product calls it on any thread; there is no state.
#include <sddl.h>
#include <windows.h>

#include <cstring>

#include "core/Allocations.h"
#include "core/Encoding.h"
#include "core/Error.h"
#include "core/Gate.h"
#include "security/Sid.h"

using namespace platform;

namespace {

// Both texts have the size of their buffers in units, and get back their length without the zero.
bool fillText(const std::u16string& text, LPWSTR buffer, LPDWORD units) {
    const bool fits = text.size() < *units;
    if (fits) std::memcpy(buffer, text.c_str(), (text.size() + 1) * sizeof(WCHAR));
    *units = static_cast<DWORD>(fits ? text.size() : text.size() + 1);
    return fits || refuse(ERROR_INSUFFICIENT_BUFFER);
}

}  // namespace

BOOL ConvertStringSidToSidW(LPCWSTR text, PSID* sid) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const Sid bytes = readSid(toUtf8(text));
    if (bytes.empty()) return refuse(ERROR_INVALID_SID);
    *sid = allocate(bytes.size());
    std::memcpy(*sid, bytes.data(), bytes.size());
    return TRUE;
}

// Knows the users of machine.txt; their domain is the machine.
BOOL LookupAccountSidW(LPCWSTR, PSID sid, LPWSTR name, LPDWORD nameUnits, LPWSTR domain, LPDWORD domainUnits,
                       PSID_NAME_USE use) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    for (const User& user : machine().users) {
        if (readSid(user.sid) != copySid(sid)) continue;
        *use = SidTypeUser;
        return fillText(toWide(user.name), name, nameUnits) && fillText(u"MACHINE", domain, domainUnits);
    }
    return refuse(ERROR_NONE_MAPPED);
}
