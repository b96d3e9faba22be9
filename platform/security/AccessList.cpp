// Builds and reads access lists and security descriptors. Called by the product and by files/FileSecurity.cpp on any
// thread. Stateless.
#include "security/AccessList.h"

#include <aclapi.h>
#include <windows.h>

#include <cstring>

#include "core/Allocations.h"
#include "core/Error.h"
#include "core/Gate.h"

namespace platform {
namespace {

constexpr BYTE kListRevision = 2;
constexpr std::size_t kSidAt = offsetof(ACCESS_ALLOWED_ACE, SidStart);

// The start of entry `index`; null if there are fewer entries.
BYTE* entryAt(PACL list, DWORD index) {
    BYTE* at = reinterpret_cast<BYTE*>(list + 1);
    if (index >= list->AceCount) return nullptr;
    for (; index > 0; --index)
        at += reinterpret_cast<ACE_HEADER*>(at)->AceSize;
    return at;
}

// Null, with the last error set, if the descriptor was not initialised.
SECURITY_DESCRIPTOR* viewed(PSECURITY_DESCRIPTOR raw) {
    auto* const descriptor = static_cast<SECURITY_DESCRIPTOR*>(raw);
    if (descriptor->Revision == SECURITY_DESCRIPTOR_REVISION) return descriptor;
    return refuse(ERROR_UNKNOWN_REVISION);
}

}  // namespace

std::vector<BYTE> makeList(const std::vector<AccessEntry>& entries) {
    std::vector<BYTE> bytes(sizeof(ACL));
    for (const AccessEntry& entry : entries) {
        const WORD size = static_cast<WORD>(kSidAt + entry.sid.size());
        const ACCESS_ALLOWED_ACE head = {{entry.type, entry.flags, size}, entry.mask, 0};
        const std::size_t at = bytes.size();
        bytes.resize(at + size);
        std::memcpy(bytes.data() + at, &head, kSidAt);
        std::memcpy(bytes.data() + at + kSidAt, entry.sid.data(), entry.sid.size());
    }
    const ACL head = {kListRevision, 0, static_cast<WORD>(bytes.size()), static_cast<WORD>(entries.size()), 0};
    std::memcpy(bytes.data(), &head, sizeof head);
    return bytes;
}

std::vector<AccessEntry> readList(PACL list) {
    std::vector<AccessEntry> entries;
    for (DWORD i = 0; list != nullptr && i < list->AceCount; ++i) {
        BYTE* const at = entryAt(list, i);
        ACCESS_ALLOWED_ACE head;
        std::memcpy(&head, at, sizeof head);
        entries.push_back({copySid(at + kSidAt), head.Mask, head.Header.AceFlags, head.Header.AceType});
    }
    return entries;
}

}  // namespace platform

using namespace platform;

DWORD SetEntriesInAclW(ULONG count, PEXPLICIT_ACCESS_W entries, PACL before, PACL* list) {
    static constinit CallSite site{__func__};
    if (const DWORD error = site.error()) return error;
    if (before != nullptr) return ERROR_INVALID_PARAMETER;
    std::vector<AccessEntry> wanted;
    for (ULONG i = 0; i < count; ++i) {
        const EXPLICIT_ACCESS_W& entry = entries[i];
        const bool isKnown = entry.grfAccessMode == SET_ACCESS && entry.Trustee.TrusteeForm == TRUSTEE_IS_SID &&
                             isValidSid(entry.Trustee.ptstrName);
        if (!isKnown) return ERROR_INVALID_PARAMETER;
        wanted.push_back(
            {copySid(entry.Trustee.ptstrName), entry.grfAccessPermissions, static_cast<BYTE>(entry.grfInheritance)});
    }
    const std::vector<BYTE> bytes = makeList(wanted);
    *list = static_cast<PACL>(allocate(bytes.size()));
    std::memcpy(*list, bytes.data(), bytes.size());
    return ERROR_SUCCESS;
}

BOOL GetAce(PACL list, DWORD index, LPVOID* entry) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    *entry = entryAt(list, index);
    return *entry != nullptr || refuse(ERROR_INVALID_PARAMETER);
}

BOOL InitializeSecurityDescriptor(PSECURITY_DESCRIPTOR raw, DWORD revision) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    if (revision != SECURITY_DESCRIPTOR_REVISION) return refuse(ERROR_UNKNOWN_REVISION);
    SECURITY_DESCRIPTOR empty = {};
    empty.Revision = SECURITY_DESCRIPTOR_REVISION;
    std::memcpy(raw, &empty, sizeof empty);
    return TRUE;
}

// Ignores the flag that marks the owner as defaulted.
BOOL SetSecurityDescriptorOwner(PSECURITY_DESCRIPTOR raw, PSID owner, BOOL) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    SECURITY_DESCRIPTOR* const descriptor = viewed(raw);
    if (descriptor == nullptr) return FALSE;
    if (owner != nullptr && !isValidSid(owner)) return refuse(ERROR_INVALID_SID);
    descriptor->Owner = owner;
    return TRUE;
}

BOOL SetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR raw, BOOL isPresent, PACL list, BOOL) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    SECURITY_DESCRIPTOR* const descriptor = viewed(raw);
    if (descriptor == nullptr) return FALSE;
    descriptor->Dacl = isPresent ? list : nullptr;
    descriptor->Control =
        static_cast<WORD>((descriptor->Control & ~SE_DACL_PRESENT) | (isPresent ? SE_DACL_PRESENT : 0));
    return TRUE;
}

BOOL SetSecurityDescriptorControl(PSECURITY_DESCRIPTOR raw, SECURITY_DESCRIPTOR_CONTROL mask,
                                  SECURITY_DESCRIPTOR_CONTROL value) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    SECURITY_DESCRIPTOR* const descriptor = viewed(raw);
    if (descriptor == nullptr) return FALSE;
    if (mask != SE_DACL_PROTECTED || (value & ~mask) != 0) return refuse(ERROR_INVALID_PARAMETER);
    descriptor->Control = static_cast<WORD>((descriptor->Control & ~mask) | value);
    return TRUE;
}
