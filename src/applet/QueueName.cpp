// Parsing and formatting the names of queues and notes. No system call; any thread.
#include "applet/QueueName.h"

#include <algorithm>

namespace AppletNotes {
namespace {

constexpr std::size_t kPlainUnits = 49, kClaimedUnits = 84;

bool isNameUnit(WCHAR unit) {
    const bool isDigit = unit >= TEXT('0') && unit <= TEXT('9');
    const bool isLetter = (unit >= TEXT('A') && unit <= TEXT('Z')) || (unit >= TEXT('a') && unit <= TEXT('z'));
    return isDigit || isLetter || unit == TEXT('_') || unit == TEXT('.');
}

bool readIdentity(WideView text, LogonIdentity& identity) {
    ULONGLONG session = 0, logon = 0, time = 0;
    if (!parseHexField(text.substr(7, 8), session) || !parseHexField(text.substr(16, 16), logon)) return false;
    if (!parseHexField(text.substr(33, 16), time) || (time >> 63) != 0) return false;
    identity.sessionId = static_cast<DWORD>(session);
    identity.logonId.HighPart = static_cast<LONG>(logon >> 32);
    identity.logonId.LowPart = static_cast<DWORD>(logon & 0xFFFFFFFF);
    identity.logonTime = static_cast<LONGLONG>(time);
    return isValid(identity);
}

bool readClaim(WideView text, WideString& token) {
    ULONGLONG half = 0;
    if (text.substr(0, 3) != TEXT("-r-")) return false;
    if (!parseHexField(text.substr(3, 16), half) || !parseHexField(text.substr(19, 16), half)) return false;
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

WideString formatQueueName(const LogonIdentity& identity) {
    if (!isValid(identity)) return WideString();
    const ULONGLONG time = static_cast<ULONGLONG>(identity.logonTime);
    const WideString name = formatWideString(TEXT("applet-%08lX-%08lX%08lX-%08lX%08lX"), identity.sessionId,
                                             identity.logonId.HighPart, identity.logonId.LowPart,
                                             static_cast<DWORD>(time >> 32), static_cast<DWORD>(time & 0xFFFFFFFF));
    return name.size() == kPlainUnits ? name : WideString();
}

bool parseHexField(WideView digits, ULONGLONG& value) {
    value = 0;
    for (const WCHAR unit : digits) {
        const int digit = hexValue(unit);
        if (digit < 0) return false;
        value = (value << 4) | static_cast<ULONGLONG>(digit);
    }
    return true;
}

bool isPrivateNoteName(WideView name) {
    constexpr std::size_t kMinUnits = 10, kMaxUnits = 96;
    if (name.size() < kMinUnits || name.size() > kMaxUnits) return false;
    if (!name.starts_with(TEXT("note_")) || !name.ends_with(TEXT(".json"))) return false;
    return name.find(TEXT("..")) == WideView::npos && std::all_of(name.begin(), name.end(), isNameUnit);
}

}  // namespace AppletNotes
