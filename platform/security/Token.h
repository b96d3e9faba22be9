// The tokens behind token handles. All handles of a token share its state.
#pragma once

#include <winnt.h>

#include <map>
#include <memory>
#include <mutex>

#include "core/HandleTable.h"
#include "machine/Machine.h"

namespace platform {

constexpr DWORD kAllTokenRights = 0xF01FF;

// LUIDs of the privileges; the same on every Windows.
enum Privilege : DWORD { AssignPrimaryToken = 3, IncreaseQuota = 5, Tcb = 7, ChangeNotify = 23 };

struct TokenState {
    std::mutex lock;  // guards `who` and `privileges`
    Token who;
    std::map<DWORD, bool> privileges;  // the privileges held, and whether each is enabled
    LUID id = {};
    TOKEN_TYPE type = TokenPrimary;
    SECURITY_IMPERSONATION_LEVEL level = SecurityImpersonation;
};

// A token as one handle sees it, with the access rights of that handle.
struct TokenObject : Object {
    TokenObject(std::shared_ptr<TokenState> opened, DWORD granted) : token(std::move(opened)), access(granted) {}
    const std::shared_ptr<TokenState> token;
    const DWORD access;
};

// Creates a token with the privileges that such a user has by default.
std::shared_ptr<TokenState> makeToken(Token who, TOKEN_TYPE type = TokenPrimary);
HANDLE openTokenHandle(std::shared_ptr<TokenState> token, DWORD access);
// Null, with error 6 if the handle is not a token, or error 5 if it was opened without that right.
std::shared_ptr<TokenState> findToken(HANDLE handle, DWORD right);

std::shared_ptr<TokenState> processTokenState();
void resetProcessToken();  // call it after the process token has changed
// Whether this process holds the privilege and has enabled it.
bool mayUse(Privilege privilege);

}  // namespace platform
