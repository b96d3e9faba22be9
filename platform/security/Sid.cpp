// Builds, copies and compares SIDs, and finds the SIDs of users. Called by the product and the security code on any
// thread. Stateless.
#include "security/Sid.h"

#include <winbase.h>
#include <winerror.h>

#include <algorithm>
#include <charconv>
#include <cstring>

#include "core/Allocations.h"
#include "core/Error.h"
#include "core/Gate.h"

namespace platform {
namespace {

constexpr BYTE kRevision = 1, kMostParts = 15;
constexpr std::size_t kHeadBytes = 8;

const SID* viewed(PSID sid) {
    return static_cast<const SID*>(sid);
}

std::size_t lengthOf(PSID sid) {
    return kHeadBytes + viewed(sid)->SubAuthorityCount * sizeof(DWORD);
}

Sid assemble(BYTE authority, const DWORD* parts, std::size_t count) {
    Sid sid(kHeadBytes + count * sizeof(DWORD));
    sid[0] = kRevision;
    sid[1] = static_cast<BYTE>(count);
    sid[7] = authority;
    std::memcpy(sid.data() + kHeadBytes, parts, count * sizeof(DWORD));
    return sid;
}

// Supports three types; returns an empty SID for others.
Sid wellKnownSid(WELL_KNOWN_SID_TYPE type) {
    switch (type) {
        case WinLocalSystemSid:
            return makeSid(5, {18});
        case WinBuiltinAdministratorsSid:
            return administratorsSid();
        case WinMediumLabelSid:
            return makeSid(16, {SECURITY_MANDATORY_MEDIUM_RID});
    }
    return {};
}

bool fill(const Sid& from, DWORD capacity, PSID to) {
    if (to == nullptr || capacity < from.size()) return refuse(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(to, from.data(), from.size());
    return true;
}

}  // namespace

Sid makeSid(BYTE authority, std::initializer_list<DWORD> parts) {
    return assemble(authority, parts.begin(), parts.size());
}

Sid readSid(std::string_view text) {
    std::vector<DWORD> numbers;
    if (!text.starts_with("S-1-")) return {};
    for (const char *at = text.data() + 4, *end = text.data() + text.size(); at <= end;) {
        DWORD number = 0;
        const auto [behind, error] = std::from_chars(at, end, number);
        if (error != std::errc() || (behind != end && *behind != '-')) return {};
        numbers.push_back(number);
        at = behind + 1;
    }
    if (numbers.size() < 2 || numbers.size() > kMostParts + 1U || numbers[0] > 255) return {};
    return assemble(static_cast<BYTE>(numbers[0]), numbers.data() + 1, numbers.size() - 1);
}

Sid copySid(PSID sid) {
    const BYTE* const bytes = static_cast<const BYTE*>(sid);
    return Sid(bytes, bytes + lengthOf(sid));
}

bool isValidSid(PSID sid) {
    return sid != nullptr && viewed(sid)->Revision == kRevision && viewed(sid)->SubAuthorityCount <= kMostParts;
}

bool sameSid(PSID left, PSID right) {
    return lengthOf(left) == lengthOf(right) && std::memcmp(left, right, lengthOf(left)) == 0;
}

const Sid& everyoneSid() {
    static const Sid& sid = *new Sid(makeSid(1, {0}));
    return sid;
}

const Sid& administratorsSid() {
    static const Sid& sid = *new Sid(makeSid(5, {SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS}));
    return sid;
}

Sid sidOfUser(const MachineDescription& machine, const std::string& user) {
    const auto found = std::ranges::find(machine.users, user, &User::name);
    if (found != machine.users.end()) return readSid(found->sid);
    DWORD hash = 2166136261U;
    for (const char c : user)
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
    return makeSid(5, {21, 1, 1, 1, hash});
}

Sid sidOfUid(const MachineDescription& machine, std::uint32_t uid) {
    const auto found = std::ranges::find(machine.users, uid, &User::uid);
    return found != machine.users.end() ? readSid(found->sid) : makeSid(5, {21, 0, 0, 0, uid});
}

bool uidOfSid(const MachineDescription& machine, PSID sid, std::uint32_t& uid) {
    for (const User& user : machine.users)
        if (readSid(user.sid) == copySid(sid)) {
            uid = user.uid;
            return true;
        }
    return false;
}

}  // namespace platform

using namespace platform;

BOOL IsValidSid(PSID sid) {
    static constinit CallSite site{__func__};
    site.pass();
    return isValidSid(sid);
}

DWORD GetLengthSid(PSID sid) {
    static constinit CallSite site{__func__};
    site.pass();
    return static_cast<DWORD>(lengthOf(sid));
}

BOOL CopySid(DWORD capacity, PSID destination, PSID source) {
    static constinit CallSite site{__func__};
    return !site.fails() && fill(copySid(source), capacity, destination);
}

BOOL EqualSid(PSID left, PSID right) {
    static constinit CallSite site{__func__};
    site.pass();
    return sameSid(left, right);
}

PUCHAR GetSidSubAuthorityCount(PSID sid) {
    static constinit CallSite site{__func__};
    site.pass();
    return &static_cast<SID*>(sid)->SubAuthorityCount;
}

PDWORD GetSidSubAuthority(PSID sid, DWORD index) {
    static constinit CallSite site{__func__};
    site.pass();
    return reinterpret_cast<DWORD*>(static_cast<BYTE*>(sid) + kHeadBytes) + index;
}

BOOL IsWellKnownSid(PSID sid, WELL_KNOWN_SID_TYPE type) {
    static constinit CallSite site{__func__};
    site.pass();
    return isValidSid(sid) && copySid(sid) == wellKnownSid(type);
}

BOOL CreateWellKnownSid(WELL_KNOWN_SID_TYPE type, PSID, PSID sid, DWORD* byteCount) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const Sid known = wellKnownSid(type);
    if (known.empty()) return refuse(ERROR_INVALID_PARAMETER);
    const DWORD capacity = *byteCount;
    *byteCount = static_cast<DWORD>(known.size());
    return fill(known, capacity, sid);
}

BOOL AllocateAndInitializeSid(PSID_IDENTIFIER_AUTHORITY authority, BYTE count, DWORD first, DWORD second, DWORD third,
                              DWORD fourth, DWORD fifth, DWORD sixth, DWORD seventh, DWORD eighth, PSID* sid) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const DWORD parts[] = {first, second, third, fourth, fifth, sixth, seventh, eighth};
    if (count > std::size(parts)) return refuse(ERROR_INVALID_SID);
    Sid made = assemble(0, parts, count);
    std::memcpy(made.data() + 2, authority->Value, sizeof authority->Value);
    *sid = allocate(made.size());
    std::memcpy(*sid, made.data(), made.size());
    return TRUE;
}

PVOID FreeSid(PSID sid) {
    static constinit CallSite site{__func__};
    site.pass();
    release(sid);
    return nullptr;
}
