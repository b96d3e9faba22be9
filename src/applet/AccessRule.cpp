#include "applet/AccessRule.h"

#include "applet/Sid.h"

namespace AppletNotes {
namespace {

bool isEqual(PSID sid, PSID wanted) {
    return isUsable(sid) && EqualSid(sid, wanted);
}

bool allows(void* entry, PSID wanted) {
    return static_cast<ACE_HEADER*>(entry)->AceType == ACCESS_ALLOWED_ACE_TYPE &&
           isEqual(&static_cast<ACCESS_ALLOWED_ACE*>(entry)->SidStart, wanted);
}

}  // namespace

bool allowsOwnerOnly(PSID owner, PACL list, PSID wanted) {
    if (!isEqual(owner, wanted) || list == nullptr || list->AceCount == 0) return false;
    for (DWORD i = 0; i < list->AceCount; ++i) {
        void* entry = nullptr;
        if (!GetAce(list, i, &entry) || !allows(entry, wanted)) return false;
    }
    return true;
}

}  // namespace AppletNotes
