// Converts owner and mode bits to security descriptors and back. The functions that create files use it, and the
// product through GetSecurityInfo, on any thread. The kernel keeps the state.
#include "files/FileSecurity.h"

#include <aclapi.h>
#include <sys/stat.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "core/Allocations.h"
#include "core/Error.h"
#include "core/Gate.h"
#include "files/FileObject.h"
#include "security/AccessList.h"
#include "security/Sid.h"

namespace platform {
namespace {

constexpr ACCESS_MASK kReads = 0x00120089, kWrites = 0x00120116, kRuns = 0x001200A0;
constexpr mode_t kNoList = 07777;
constexpr WORD kSelfRelative = 0x8000;
constexpr ACCESS_MASK kReadBits = FILE_READ_DATA | GENERIC_READ, kWriteBits = FILE_WRITE_DATA | GENERIC_WRITE;

ACCESS_MASK maskOf(mode_t bits) {
    if ((bits & 6) == 6) return FILE_ALL_ACCESS;
    return ((bits & 4) ? kReads : 0) | ((bits & 2) ? kWrites : 0) | ((bits & 1) ? kRuns : 0);
}

mode_t bitsOf(ACCESS_MASK mask, bool isFolder) {
    const mode_t bits = ((mask & kReadBits) ? 4U : 0U) | ((mask & kWriteBits) ? 2U : 0U);
    return isFolder && (bits & 4) != 0 ? bits | 1 : bits;
}

std::vector<AccessEntry> entriesOf(const struct stat& status, const Sid& user) {
    const BYTE flags = S_ISDIR(status.st_mode) ? OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE : 0;
    std::vector<AccessEntry> entries;
    const Sid* const holders[] = {&user, &administratorsSid(), &everyoneSid()};
    if ((status.st_mode & S_ISGID) != 0)
        entries.push_back({user, maskOf((status.st_mode >> 6) & 7), flags, ACCESS_DENIED_ACE_TYPE});
    for (unsigned shift = 6; const Sid* holder : holders) {
        const mode_t bits = (status.st_mode >> shift) & 7;
        if (bits != 0) entries.push_back({*holder, maskOf(bits), flags});
        shift -= 3;
    }
    return entries;
}

// Adds the mode bits of one access entry. False if mode bits cannot express the entry.
bool addEntry(const AccessEntry& entry, const Sid& owner, bool isFolder, mode_t& mode) {
    const mode_t bits = bitsOf(entry.mask, isFolder);
    if (entry.type != ACCESS_ALLOWED_ACE_TYPE) return false;
    if (entry.sid == owner)
        mode |= bits << 6;
    else if (entry.sid == administratorsSid())
        mode |= bits << 3;
    else if (entry.sid == everyoneSid())
        mode |= bits;
    else
        return false;
    return true;
}

// The header of a self-relative descriptor, with the offsets of the owner and the list that follow it.
struct RelativeHead {
    BYTE revision, reserved;
    WORD control;
    DWORD owner, group, auditList, list;
};

}  // namespace

bool readSecurity(const SECURITY_ATTRIBUTES* wanted, const std::string& native, bool isFolder,
                  std::optional<NewSecurity>& security) {
    security.reset();
    if (wanted == nullptr || wanted->lpSecurityDescriptor == nullptr) return true;
    const auto* descriptor = static_cast<const SECURITY_DESCRIPTOR*>(wanted->lpSecurityDescriptor);
    if (descriptor->Revision != SECURITY_DESCRIPTOR_REVISION || (descriptor->Control & kSelfRelative) != 0)
        return refuse(ERROR_INVALID_SECURITY_DESCR);
    NewSecurity asked{0, geteuid()};
    uint32_t uid = 0;
    if (!isValidSid(descriptor->Owner) || !uidOfSid(machine(), descriptor->Owner, uid))
        return refuse(ERROR_INVALID_OWNER);
    asked.owner = uid;
    if ((descriptor->Control & SE_DACL_PRESENT) == 0) return refuse(ERROR_INVALID_ACL);
    const Sid owner = copySid(descriptor->Owner);
    const bool isProtected = (descriptor->Control & SE_DACL_PROTECTED) != 0;
    asked.mode = isProtected ? S_ISVTX : inheritedMode(native, isFolder) & 077;
    if (descriptor->Dacl == nullptr) asked.mode = kNoList;
    for (const AccessEntry& entry : readList(descriptor->Dacl))
        if (!addEntry(entry, owner, isFolder, asked.mode)) return refuse(ERROR_INVALID_ACL);
    security = asked;
    return true;
}

bool applySecurity(int descriptor, const NewSecurity& security) {
    if (security.owner != geteuid() && fchown(descriptor, security.owner, static_cast<gid_t>(-1)) != 0)
        return refuse(ERROR_INVALID_OWNER);
    return fchmod(descriptor, security.mode) == 0 || refuse(ERROR_ACCESS_DENIED);
}

mode_t inheritedMode(const std::string& native, bool isFolder) {
    struct stat parent;
    if (stat(native.substr(0, native.rfind('/') + 1).c_str(), &parent) != 0) parent.st_mode = 0755;
    return isFolder ? (parent.st_mode & 0777) | 0700 : (parent.st_mode & 0666) | 0600;
}

}  // namespace platform

using namespace platform;

// Supports files only, and only the owner together with the DACL.
DWORD GetSecurityInfo(HANDLE handle, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID* owner, PSID*, PACL* list,
                      PACL*, PSECURITY_DESCRIPTOR* descriptor) {
    static constinit CallSite site{__func__};
    if (const DWORD error = site.error()) return error;
    constexpr SECURITY_INFORMATION kKnown = OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    if (type != SE_FILE_OBJECT || what != kKnown || owner == nullptr || list == nullptr || descriptor == nullptr)
        return ERROR_INVALID_PARAMETER;
    const auto item = findItem(handle, READ_CONTROL);
    if (item == nullptr) return GetLastError();
    struct stat status;
    if (fstat(item->descriptor.get(), &status) != 0) return ERROR_GEN_FAILURE;
    const Sid user = sidOfUid(machine(), status.st_uid);
    const bool hasList = (status.st_mode & kNoList) != kNoList;
    const Sid& sid = hasList && (status.st_mode & S_ISUID) != 0 ? administratorsSid() : user;
    const std::vector<BYTE> entries = hasList ? makeList(entriesOf(status, user)) : std::vector<BYTE>();
    const WORD isProtected = (status.st_mode & S_ISVTX) != 0 ? SE_DACL_PROTECTED : 0;
    constexpr DWORD kSidAt = sizeof(RelativeHead);
    const DWORD listAt = kSidAt + static_cast<DWORD>(sid.size());
    BYTE* const block = static_cast<BYTE*>(allocate(listAt + entries.size()));
    const WORD control = static_cast<WORD>(kSelfRelative | SE_DACL_PRESENT | isProtected);
    const RelativeHead head = {SECURITY_DESCRIPTOR_REVISION, 0, control, kSidAt, 0, 0, hasList ? listAt : 0};
    std::memcpy(block, &head, sizeof head);
    std::memcpy(block + kSidAt, sid.data(), sid.size());
    std::copy(entries.begin(), entries.end(), block + listAt);
    *owner = block + kSidAt;
    *list = hasList ? reinterpret_cast<PACL>(block + listAt) : nullptr;
    *descriptor = block;
    return ERROR_SUCCESS;
}
