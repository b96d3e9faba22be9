#include "applet/QueueName.h"

namespace AppletNotes {
namespace {

constexpr std::size_t kPlainUnits = 49, kClaimedUnits = 84;

int digitValue(WCHAR unit) {
    if (unit >= TEXT('0') && unit <= TEXT('9')) return unit - TEXT('0');
    if (unit >= TEXT('A') && unit <= TEXT('F')) return unit - TEXT('A') + 10;
    if (unit >= TEXT('a') && unit <= TEXT('f')) return unit - TEXT('a') + 10;
    return -1;
}

// At most 16 digits.
bool readHex(WideView digits, ULONGLONG& value) {
    value = 0;
    for (const WCHAR unit : digits) {
        const int digit = digitValue(unit);
        if (digit < 0) return false;
        value = (value << 4) | static_cast<ULONGLONG>(digit);
    }
    return true;
}

bool readIdentity(WideView text, LogonIdentity& identity) {
    ULONGLONG session = 0, logon = 0, time = 0;
    if (!readHex(text.substr(7, 8), session) || !readHex(text.substr(16, 16), logon)) return false;
    if (!readHex(text.substr(33, 16), time) || (time >> 63) != 0) return false;
    identity.sessionId = static_cast<DWORD>(session);
    identity.logonId.HighPart = static_cast<LONG>(logon >> 32);
    identity.logonId.LowPart = static_cast<DWORD>(logon & 0xFFFFFFFF);
    identity.logonTime = static_cast<LONGLONG>(time);
    return isValid(identity);
}

bool readClaim(WideView text, WideString& token) {
    ULONGLONG half = 0;
    if (text.substr(0, 3) != TEXT("-r-")) return false;
    if (!readHex(text.substr(3, 16), half) || !readHex(text.substr(19, 16), half)) return false;
    token = text.substr(3);
    return true;
}

}  // namespace

bool parseQueueName(WideView text, QueueName& name) {
    name = QueueName();
    if (text.size() != kPlainUnits && text.size() != kClaimedUnits) return false;
    if (text.substr(0, 7) != TEXT("applet-") || text[15] != TEXT('-') || text[32] != TEXT('-')) return false;
    QueueName parsed;
    if (!readIdentity(text, parsed.identity)) return false;
    if (text.size() == kClaimedUnits && !readClaim(text.substr(kPlainUnits), parsed.claimToken)) return false;
    name = std::move(parsed);
    return true;
}

}  // namespace AppletNotes
