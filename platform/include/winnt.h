// Access rights, file attributes and the like.
#pragma once

#include <windef.h>

// Security identifiers.
using PSID = PVOID;

struct SID_IDENTIFIER_AUTHORITY {
    BYTE Value[6];
};
using PSID_IDENTIFIER_AUTHORITY = SID_IDENTIFIER_AUTHORITY*;

struct SID {
    BYTE Revision;
    BYTE SubAuthorityCount;
    SID_IDENTIFIER_AUTHORITY IdentifierAuthority;
    DWORD SubAuthority[1];
};

struct SID_AND_ATTRIBUTES {
    PSID Sid;
    DWORD Attributes;
};
using PSID_AND_ATTRIBUTES = SID_AND_ATTRIBUTES*;

enum WELL_KNOWN_SID_TYPE { WinLocalSystemSid = 22, WinBuiltinAdministratorsSid = 26, WinMediumLabelSid = 67 };

#define SECURITY_MAX_SID_SIZE 68
#define SECURITY_BUILTIN_DOMAIN_RID 0x00000020
#define DOMAIN_ALIAS_RID_ADMINS 0x00000220
#define SECURITY_NT_AUTHORITY \
    { 0, 0, 0, 0, 0, 5 }

#define SECURITY_MANDATORY_UNTRUSTED_RID 0x0000
#define SECURITY_MANDATORY_LOW_RID 0x1000
#define SECURITY_MANDATORY_MEDIUM_RID 0x2000
#define SECURITY_MANDATORY_HIGH_RID 0x3000
#define SECURITY_MANDATORY_SYSTEM_RID 0x4000

// Tokens.
#define TOKEN_ASSIGN_PRIMARY 0x0001
#define TOKEN_DUPLICATE 0x0002
#define TOKEN_IMPERSONATE 0x0004
#define TOKEN_QUERY 0x0008
#define TOKEN_ADJUST_PRIVILEGES 0x0020
#define TOKEN_ADJUST_DEFAULT 0x0080

#define SE_GROUP_MANDATORY 0x00000001
#define SE_GROUP_ENABLED_BY_DEFAULT 0x00000002
#define SE_GROUP_ENABLED 0x00000004
#define SE_GROUP_OWNER 0x00000008
#define SE_GROUP_USE_FOR_DENY_ONLY 0x00000010
#define SE_GROUP_INTEGRITY 0x00000020
#define SE_GROUP_INTEGRITY_ENABLED 0x00000040
#define SE_PRIVILEGE_ENABLED 0x00000002

#define SE_ASSIGNPRIMARYTOKEN_NAME TEXT("SeAssignPrimaryTokenPrivilege")
#define SE_INCREASE_QUOTA_NAME TEXT("SeIncreaseQuotaPrivilege")
#define SE_TCB_NAME TEXT("SeTcbPrivilege")

enum TOKEN_INFORMATION_CLASS {
    TokenUser = 1,
    TokenGroups = 2,
    TokenStatistics = 10,
    TokenSessionId = 12,
    TokenElevationType = 18,
    TokenLinkedToken = 19,
    TokenIntegrityLevel = 25
};
enum TOKEN_TYPE { TokenPrimary = 1, TokenImpersonation = 2 };
enum TOKEN_ELEVATION_TYPE { TokenElevationTypeDefault = 1, TokenElevationTypeFull, TokenElevationTypeLimited };
enum SECURITY_IMPERSONATION_LEVEL { SecurityAnonymous, SecurityIdentification, SecurityImpersonation };

struct LUID_AND_ATTRIBUTES {
    LUID Luid;
    DWORD Attributes;
};

using PLUID_AND_ATTRIBUTES = LUID_AND_ATTRIBUTES*;

struct TOKEN_PRIVILEGES {
    DWORD PrivilegeCount;
    LUID_AND_ATTRIBUTES Privileges[1];
};
using PTOKEN_PRIVILEGES = TOKEN_PRIVILEGES*;

struct TOKEN_USER {
    SID_AND_ATTRIBUTES User;
};

struct TOKEN_GROUPS {
    DWORD GroupCount;
    SID_AND_ATTRIBUTES Groups[1];
};

struct TOKEN_MANDATORY_LABEL {
    SID_AND_ATTRIBUTES Label;
};

struct TOKEN_STATISTICS {
    LUID TokenId;
    LUID AuthenticationId;
    LARGE_INTEGER ExpirationTime;
    TOKEN_TYPE TokenType;
    SECURITY_IMPERSONATION_LEVEL ImpersonationLevel;
    DWORD DynamicCharged;
    DWORD DynamicAvailable;
    DWORD GroupCount;
    DWORD PrivilegeCount;
    LUID ModifiedId;
};

struct TOKEN_LINKED_TOKEN {
    HANDLE LinkedToken;
};

#define DISABLE_MAX_PRIVILEGE 0x1

// Access control lists and security descriptors.
using ACCESS_MASK = DWORD;

struct ACE_HEADER {
    BYTE AceType;
    BYTE AceFlags;
    WORD AceSize;
};

struct ACCESS_ALLOWED_ACE {
    ACE_HEADER Header;
    ACCESS_MASK Mask;
    DWORD SidStart;  // the SID begins here
};

struct ACL {
    BYTE AclRevision;
    BYTE Sbz1;
    WORD AclSize;
    WORD AceCount;
    WORD Sbz2;
};
using PACL = ACL*;

using SECURITY_INFORMATION = DWORD;
using SECURITY_DESCRIPTOR_CONTROL = WORD;
using PSECURITY_DESCRIPTOR = PVOID;

struct SECURITY_DESCRIPTOR {
    BYTE Revision;
    BYTE Sbz1;
    SECURITY_DESCRIPTOR_CONTROL Control;
    PSID Owner;
    PSID Group;
    PACL Sacl;
    PACL Dacl;
};

#define ACCESS_ALLOWED_ACE_TYPE 0
#define OBJECT_INHERIT_ACE 1
#define CONTAINER_INHERIT_ACE 2
#define SECURITY_DESCRIPTOR_REVISION 1
#define SE_DACL_PRESENT 0x0004
#define SE_DACL_PROTECTED 0x1000
#define OWNER_SECURITY_INFORMATION 0x00000001
#define DACL_SECURITY_INFORMATION 0x00000004

#define PROCESS_QUERY_LIMITED_INFORMATION 0x1000

#define GENERIC_READ 0x80000000U
#define GENERIC_WRITE 0x40000000U
#define DELETE 0x00010000U
#define READ_CONTROL 0x00020000U

#define FILE_READ_DATA 0x0001U
#define FILE_WRITE_DATA 0x0002U
#define FILE_APPEND_DATA 0x0004U

#define FILE_READ_ATTRIBUTES 0x0080U
#define FILE_ALL_ACCESS 0x001F01FFU

#define FILE_LIST_DIRECTORY 0x0001U

#define FILE_NOTIFY_CHANGE_FILE_NAME 0x00000001U
#define FILE_NOTIFY_CHANGE_LAST_WRITE 0x00000010U
#define FILE_ACTION_ADDED 1U
#define FILE_ACTION_REMOVED 2U
#define FILE_ACTION_MODIFIED 3U
#define FILE_ACTION_RENAMED_OLD_NAME 4U
#define FILE_ACTION_RENAMED_NEW_NAME 5U

struct FILE_NOTIFY_INFORMATION {
    DWORD NextEntryOffset;
    DWORD Action;
    DWORD FileNameLength;  // in bytes
    WCHAR FileName[1];
};

#define FILE_SHARE_READ 0x00000001U
#define FILE_SHARE_WRITE 0x00000002U
#define FILE_SHARE_DELETE 0x00000004U

#define FILE_ATTRIBUTE_READONLY 0x00000001U
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010U
#define FILE_ATTRIBUTE_ARCHIVE 0x00000020U
#define FILE_ATTRIBUTE_NORMAL 0x00000080U
#define FILE_ATTRIBUTE_REPARSE_POINT 0x00000400U

#define REG_OPTION_NON_VOLATILE 0U
#define REG_NONE 0U
#define REG_SZ 1U
#define REG_EXPAND_SZ 2U
#define REG_BINARY 3U
#define REG_DWORD 4U
#define KEY_QUERY_VALUE 0x0001U
#define KEY_SET_VALUE 0x0002U
#define KEY_READ 0x20019U
#define KEY_WRITE 0x20006U
