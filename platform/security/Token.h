// Tokens, which handles are opened to. All handles of one token share what is changed in it.
#pragma once

#include <winnt.h>

#include <map>
#include <memory>
#include <mutex>

#include "core/HandleTable.h"
#include "machine/Machine.h"

namespace platform {

constexpr DWORD kAllTokenRights = 0xF01FF;

// Numbers of the privileges, as every Windows has them.
enum Privilege : DWORD { AssignPrimaryToken = 3, IncreaseQuota = 5, Tcb = 7, ChangeNotify = 23 };

struct TokenState {
    std::mutex lock;  // of `who` and `privileges`
    Token who;
    std::map<DWORD, bool> privileges;  // those it has, and whether they are enabled
    LUID id = {};
    TOKEN_TYPE type = TokenPrimary;
    SECURITY_IMPERSONATION_LEVEL level = SecurityImpersonation;
};

// A handle's view of a token.
struct TokenObject : Object {
    TokenObject(std::shared_ptr<TokenState> opened, DWORD granted) : token(std::move(opened)), access(granted) {}
    const std::shared_ptr<TokenState> token;
    const DWORD access;
};

// A new token with the privileges that such a user has.
std::shared_ptr<TokenState> makeToken(Token who, TOKEN_TYPE type = TokenPrimary);
HANDLE openTokenHandle(std::shared_ptr<TokenState> token, DWORD access);
// Null, with the last error 6 or 5, when it is no handle of a token or was not opened with that right.
std::shared_ptr<TokenState> findToken(HANDLE handle, DWORD right);

std::shared_ptr<TokenState> processTokenState();
void resetProcessToken();  // after the process got another
// Whether this process may use the privilege: it has it, and has enabled it.
bool mayUse(Privilege privilege);

}  // namespace platform
