// Facts that both builds compile, so that the stand-in matches the real headers: sizes and offsets of data that is
// passed to calls, constants, and signatures of the calls that the product makes.
#include <windows.h>

#include <objidl.h>

#include <aclapi.h>
#include <commctrl.h>
#include <gdiplus.h>
#include <ntsecapi.h>
#include <objbase.h>
#include <oleauto.h>
#include <process.h>
#include <richedit.h>
#include <shellapi.h>
#include <shlobj.h>
#include <tasktriggers.h>
#include <userenv.h>
#include <wchar.h>
#include <winsafer.h>
#include <winver.h>
#include <wtsapi32.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <type_traits>

static_assert(sizeof(WCHAR) == 2 && sizeof(BYTE) == 1 && sizeof(WORD) == 2 && sizeof(DWORD) == 4 && sizeof(LONG) == 4);
static_assert(sizeof(ULONG) == 4 && sizeof(LONGLONG) == 8 && sizeof(HANDLE) == 8 && sizeof(ULONG_PTR) == 8);
static_assert(sizeof(BOOL) == 4 && sizeof(HRESULT) == 4 && sizeof(LSTATUS) == 4);
static_assert(std::is_unsigned_v<DWORD> && std::is_signed_v<LONG> && std::is_signed_v<HRESULT>);
static_assert(!std::is_same_v<HWND, HKEY> && !std::is_same_v<HRSRC, HINSTANCE> && std::is_same_v<HMODULE, HINSTANCE>);

static_assert(sizeof(SYSTEMTIME) == 16 && offsetof(SYSTEMTIME, wDay) == 6 && offsetof(SYSTEMTIME, wMilliseconds) == 14);
static_assert(sizeof(LARGE_INTEGER) == 8 && sizeof(LUID) == 8 && offsetof(LUID, HighPart) == 4);
static_assert(sizeof(RECT) == 16 && offsetof(RECT, right) == 8 && sizeof(COLORREF) == 4);
static_assert(sizeof(GUID) == 16 && offsetof(GUID, Data2) == 4 && offsetof(GUID, Data4) == 8);
static_assert(sizeof(SECURITY_ATTRIBUTES) == 24 && offsetof(SECURITY_ATTRIBUTES, bInheritHandle) == 16);
static_assert(sizeof(OVERLAPPED) == 32 && offsetof(OVERLAPPED, hEvent) == 24);
static_assert(offsetof(FILE_NOTIFY_INFORMATION, FileName) == 12);
static_assert(FILE_FLAG_OVERLAPPED == 0x40000000 && FILE_FLAG_BACKUP_SEMANTICS == 0x02000000);
static_assert(FILE_NOTIFY_CHANGE_FILE_NAME == 1 && FILE_NOTIFY_CHANGE_LAST_WRITE == 0x10 && FILE_LIST_DIRECTORY == 1);
static_assert(FILE_ACTION_ADDED == 1 && FILE_ACTION_REMOVED == 2 && FILE_ACTION_MODIFIED == 3);
static_assert(FILE_ACTION_RENAMED_OLD_NAME == 4 && FILE_ACTION_RENAMED_NEW_NAME == 5);
static_assert(ERROR_OPERATION_ABORTED == 995 && ERROR_IO_INCOMPLETE == 996 && ERROR_NOT_FOUND == 1168 &&
              ERROR_NOTIFY_ENUM_DIR == 1022);
static_assert(sizeof(WIN32_FIND_DATAW) == 592 && offsetof(WIN32_FIND_DATAW, cFileName) == 44);
static_assert(INFINITE == 0xffffffff && WAIT_OBJECT_0 == 0 && WAIT_TIMEOUT == 258 && WAIT_FAILED == 0xffffffff);
static_assert(sizeof(CRITICAL_SECTION) == 40 && sizeof(INITCOMMONCONTROLSEX) == 8);

static_assert(sizeof(MSG) == 48 && offsetof(MSG, wParam) == 16 && offsetof(MSG, pt) == 36 && sizeof(POINT) == 8);
static_assert(sizeof(WNDCLASSEXW) == 80 && offsetof(WNDCLASSEXW, hCursor) == 40);
static_assert(offsetof(WNDCLASSEXW, lpszClassName) == 64);
static_assert(sizeof(CREATESTRUCTW) == 80 && offsetof(CREATESTRUCTW, style) == 48);
static_assert(sizeof(WINDOWPOS) == 40 && offsetof(WINDOWPOS, flags) == 32 && sizeof(MINMAXINFO) == 40);
static_assert(sizeof(MONITORINFOEXW) == 104 && offsetof(MONITORINFO, rcWork) == 20);
static_assert(offsetof(MINMAXINFO, ptMinTrackSize) == 24 && sizeof(Gdiplus::GdiplusStartupInput) == 24);

static_assert(WM_CREATE == 1 && WM_DESTROY == 2 && WM_MOVE == 3 && WM_SIZE == 5 && WM_ACTIVATE == 6);
static_assert(WM_SETFOCUS == 7 && WM_KILLFOCUS == 8 && WM_SETTEXT == 12 && WM_GETTEXT == 13);
static_assert(WM_GETTEXTLENGTH == 14 && WM_PAINT == 15 && WM_CLOSE == 16 && WM_QUERYENDSESSION == 17);
static_assert(WM_QUIT == 18 && WM_ERASEBKGND == 20 && WM_ENDSESSION == 22 && ENDSESSION_CLOSEAPP == 1);
static_assert(WM_SHOWWINDOW == 24);
static_assert(WM_SETTINGCHANGE == 0x1A && WM_MOUSEACTIVATE == 0x21 && WM_WINDOWPOSCHANGING == 0x46);
static_assert(WM_WINDOWPOSCHANGED == 0x47 && WM_DISPLAYCHANGE == 0x7E && WM_NCCREATE == 0x81);
static_assert(WM_NCDESTROY == 0x82 && WM_NCHITTEST == 0x84 && WM_TIMER == 0x113 && WM_DPICHANGED == 0x2E0);
static_assert(WM_APP == 0x8000 && WA_INACTIVE == 0 && WA_ACTIVE == 1 && MA_ACTIVATE == 1 && SIZE_RESTORED == 0);
static_assert(HTCLIENT == 1 && SW_SHOWNOACTIVATE == 4 && SWP_NOSIZE == 1 && SWP_NOMOVE == 2 && SWP_NOZORDER == 4);
static_assert(SWP_NOACTIVATE == 0x10 && SWP_SHOWWINDOW == 0x40 && GWLP_USERDATA == -21 && GWL_STYLE == -16);
static_assert((CS_VREDRAW | CS_HREDRAW | CS_DBLCLKS | CS_DROPSHADOW) == 0x2000B && GWL_EXSTYLE == -20);
static_assert((WS_EX_TOOLWINDOW | WS_EX_TOPMOST) == 0x88 && (WS_POPUP | WS_CLIPCHILDREN) == 0x82000000);
static_assert(WS_CHILD == 0x40000000 && WS_VISIBLE == 0x10000000 && PM_REMOVE == 1);
static_assert(SM_CXSCREEN == 0 && SM_CYSCREEN == 1 && MONITORINFOF_PRIMARY == 1 && LOGPIXELSX == 88);
static_assert(MONITOR_DEFAULTTONULL == 0 && MONITOR_DEFAULTTOPRIMARY == 1 && MONITOR_DEFAULTTONEAREST == 2);
static_assert((BSF_POSTMESSAGE | BSF_IGNORECURRENTTASK) == 0x12 && BSM_APPLICATIONS == 8);

static_assert(WM_SETFONT == 0x30 && WM_SETCURSOR == 0x20 && WM_KEYDOWN == 0x100 && WM_CHAR == 0x102);
static_assert(WM_COMMAND == 0x111 && WM_LBUTTONDOWN == 0x201 && WM_USER == 0x400 && VK_DELETE == 0x2E);
static_assert(EM_GETSEL == 0xB0 && EM_SETSEL == 0xB1 && EM_SETREADONLY == 0xCF && EM_SETMARGINS == 0xD3);
static_assert(EN_SETFOCUS == 0x100 && EN_KILLFOCUS == 0x200 && EN_CHANGE == 0x300 && EN_UPDATE == 0x400);
static_assert(EN_MAXTEXT == 0x501 && (EC_LEFTMARGIN | EC_RIGHTMARGIN) == 3 && ES_READONLY == 0x800);
static_assert((ES_MULTILINE | ES_AUTOVSCROLL | ES_AUTOHSCROLL | ES_NOHIDESEL | ES_WANTRETURN) == 0x11C4);
static_assert(EM_EXGETSEL == 1076 && EM_EXSETSEL == 1079 && EM_SETBKGNDCOLOR == 1091 && EM_SETCHARFORMAT == 1092);
static_assert(EM_EXLIMITTEXT == 1077 && EM_SETEVENTMASK == 1093 && EM_STREAMIN == 1097 && EM_STREAMOUT == 1098 &&
              ENM_CHANGE == 1);
static_assert(SF_RTF == 2 && SCF_DEFAULT == 0 && SCF_SELECTION == 1 && ES_SAVESEL == 0x8000 && WS_VSCROLL == 0x200000);
static_assert(CFM_COLOR == 0x40000000 && CFE_AUTOCOLOR == 0x40000000);
static_assert(sizeof(EDITSTREAM) == 20 && offsetof(EDITSTREAM, dwError) == 8 &&
              offsetof(EDITSTREAM, pfnCallback) == 12);
static_assert(sizeof(CHARRANGE) == 8 && offsetof(CHARRANGE, cpMax) == 4);
static_assert(sizeof(CHARFORMATW) == 92 && offsetof(CHARFORMATW, crTextColor) == 20 && sizeof(CHARFORMAT2W) == 116);
static_assert(MAKEWPARAM(0x1234, 0x8000) == 0x80001234 && MAKELPARAM(0x1234, 0x8000) == 0x80001234);
static_assert(MAKELONG(5, 1) == 0x10005);

static_assert(MAX_PATH == 260 && INVALID_FILE_ATTRIBUTES == 0xffffffff);
static_assert(GENERIC_READ == 0x80000000 && GENERIC_WRITE == 0x40000000 && DELETE == 0x10000);
static_assert(FILE_READ_DATA == 1 && FILE_WRITE_DATA == 2 && FILE_APPEND_DATA == 4);
static_assert(FILE_SHARE_READ == 1 && FILE_SHARE_WRITE == 2 && FILE_SHARE_DELETE == 4);
static_assert(CREATE_NEW == 1 && CREATE_ALWAYS == 2 && OPEN_EXISTING == 3 && OPEN_ALWAYS == 4);
static_assert(FILE_ATTRIBUTE_READONLY == 1 && FILE_ATTRIBUTE_DIRECTORY == 0x10 && FILE_ATTRIBUTE_ARCHIVE == 0x20);
static_assert(FILE_ATTRIBUTE_NORMAL == 0x80 && FILE_ATTRIBUTE_REPARSE_POINT == 0x400);
static_assert(MOVEFILE_REPLACE_EXISTING == 1 && MOVEFILE_WRITE_THROUGH == 8);
static_assert(STD_OUTPUT_HANDLE == static_cast<DWORD>(-11) && ATTACH_PARENT_PROCESS == 0xffffffff);
static_assert(REG_NONE == 0 && REG_SZ == 1 && REG_EXPAND_SZ == 2 && REG_BINARY == 3 && REG_DWORD == 4);
static_assert(REG_OPTION_NON_VOLATILE == 0 && KEY_QUERY_VALUE == 1 && KEY_SET_VALUE == 2);
static_assert(CP_UTF8 == 65001 && CSTR_LESS_THAN == 1 && CSTR_EQUAL == 2 && CSTR_GREATER_THAN == 3);
static_assert(MB_ICONINFORMATION == 0x40 && IDOK == 1 && ICC_STANDARD_CLASSES == 0x4000 && WTSUserName == 5);
static_assert((COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE) == 6);

static_assert(ERROR_SUCCESS == 0 && ERROR_FILE_NOT_FOUND == 2 && ERROR_PATH_NOT_FOUND == 3);
static_assert(ERROR_TOO_MANY_OPEN_FILES == 4 && ERROR_ACCESS_DENIED == 5 && ERROR_INVALID_HANDLE == 6);
static_assert(ERROR_INVALID_DATA == 13 && ERROR_NOT_SAME_DEVICE == 17 && ERROR_WRITE_PROTECT == 19);
static_assert(ERROR_WRITE_FAULT == 29 && ERROR_GEN_FAILURE == 31 && ERROR_SHARING_VIOLATION == 32);
static_assert(ERROR_FILE_EXISTS == 80 && ERROR_INVALID_PARAMETER == 87 && ERROR_DISK_FULL == 112);
static_assert(ERROR_CALL_NOT_IMPLEMENTED == 120 && ERROR_INSUFFICIENT_BUFFER == 122 && ERROR_INVALID_NAME == 123);
static_assert(ERROR_DIR_NOT_EMPTY == 145 && ERROR_ALREADY_EXISTS == 183 && ERROR_ENVVAR_NOT_FOUND == 203);
static_assert(ERROR_LOCK_VIOLATION == 33 && ERROR_HANDLE_EOF == 38 && ERROR_BAD_PATHNAME == 161);
static_assert(ERROR_FILENAME_EXCED_RANGE == 206 && ERROR_NO_DATA == 232 && ERROR_MORE_DATA == 234);
static_assert(ERROR_FILE_TOO_LARGE == 223 && ERROR_NO_UNICODE_TRANSLATION == 1113 && MB_ERR_INVALID_CHARS == 8);
static_assert(ERROR_MOD_NOT_FOUND == 126 && ERROR_PROC_NOT_FOUND == 127 && ERROR_INVALID_WINDOW_HANDLE == 1400);
static_assert(ERROR_TLW_WITH_WSCHILD == 1406 && ERROR_CANNOT_FIND_WND_CLASS == 1407);
static_assert(ERROR_CLASS_ALREADY_EXISTS == 1410 && ERROR_INVALID_MONITOR_HANDLE == 1461);
static_assert(ERROR_NOT_ENOUGH_QUOTA == 1816 && ERROR_NO_MORE_FILES == 18 && ERROR_NOT_OWNER == 288);
static_assert(ERROR_IO_DEVICE == 1117 && ERROR_RESOURCE_DATA_NOT_FOUND == 1812);
static_assert(ERROR_RESOURCE_TYPE_NOT_FOUND == 1813 && ERROR_RESOURCE_NAME_NOT_FOUND == 1814);
static_assert(ERROR_CANT_ACCESS_FILE == 1920 && ERROR_CTX_WINSTATION_NOT_FOUND == 7022);
static_assert(!FAILED(S_FALSE) && FAILED(E_FAIL) && HRESULT_FROM_WIN32(5) == static_cast<HRESULT>(0x80070005));
static_assert(E_INVALIDARG == static_cast<HRESULT>(0x80070057) &&
              RPC_E_CHANGED_MODE == static_cast<HRESULT>(0x80010106));

static_assert(offsetof(SID, SubAuthority) == 8 && SECURITY_MAX_SID_SIZE == 68 && sizeof(SID_AND_ATTRIBUTES) == 16);
static_assert(WinLocalSystemSid == 22 && WinBuiltinAdministratorsSid == 26 && WinMediumLabelSid == 67);
static_assert(SECURITY_BUILTIN_DOMAIN_RID == 0x20 && DOMAIN_ALIAS_RID_ADMINS == 0x220);
static_assert(SECURITY_MANDATORY_UNTRUSTED_RID == 0 && SECURITY_MANDATORY_LOW_RID == 0x1000);
static_assert(SECURITY_MANDATORY_MEDIUM_RID == 0x2000 && SECURITY_MANDATORY_HIGH_RID == 0x3000);
static_assert(SECURITY_MANDATORY_SYSTEM_RID == 0x4000 && PROCESS_QUERY_LIMITED_INFORMATION == 0x1000);
static_assert((TOKEN_ASSIGN_PRIMARY | TOKEN_DUPLICATE | TOKEN_IMPERSONATE | TOKEN_QUERY | TOKEN_ADJUST_DEFAULT) ==
              0x8F);
static_assert(TOKEN_QUERY == 8 && TOKEN_DUPLICATE == 2 && TOKEN_ADJUST_PRIVILEGES == 0x20);
static_assert(SE_GROUP_MANDATORY == 1 && SE_GROUP_ENABLED_BY_DEFAULT == 2 && SE_GROUP_ENABLED == 4);
static_assert(SE_GROUP_OWNER == 8 && SE_GROUP_USE_FOR_DENY_ONLY == 0x10 && SE_GROUP_INTEGRITY == 0x20);
static_assert(SE_GROUP_INTEGRITY_ENABLED == 0x40 && SE_PRIVILEGE_ENABLED == 2 && SE_PRIVILEGE_REMOVED == 4);
static_assert(TokenUser == 1 && TokenGroups == 2 && TokenStatistics == 10 && TokenSessionId == 12);
static_assert(TokenElevationType == 18 && TokenLinkedToken == 19 && TokenIntegrityLevel == 25);
static_assert(TokenPrimary == 1 && TokenImpersonation == 2 && SecurityIdentification == 1 &&
              SecurityImpersonation == 2);
static_assert(TokenElevationTypeDefault == 1 && TokenElevationTypeFull == 2 && TokenElevationTypeLimited == 3);
static_assert(sizeof(TOKEN_USER) == 16 && offsetof(TOKEN_GROUPS, Groups) == 8 && sizeof(TOKEN_LINKED_TOKEN) == 8);
static_assert(sizeof(TOKEN_MANDATORY_LABEL) == 16 && sizeof(TOKEN_STATISTICS) == 56);
static_assert(offsetof(TOKEN_STATISTICS, AuthenticationId) == 8 && offsetof(TOKEN_STATISTICS, TokenType) == 24);
static_assert(sizeof(TOKEN_PRIVILEGES) == 16 && offsetof(TOKEN_PRIVILEGES, Privileges) == 4);
static_assert(sizeof(SECURITY_LOGON_SESSION_DATA) == 272 && offsetof(SECURITY_LOGON_SESSION_DATA, LogonType) == 64);
static_assert(offsetof(SECURITY_LOGON_SESSION_DATA, Session) == 68 && offsetof(SECURITY_LOGON_SESSION_DATA, Sid) == 72);
static_assert(offsetof(SECURITY_LOGON_SESSION_DATA, LogonTime) == 80 && sizeof(LSA_UNICODE_STRING) == 16);
static_assert(Interactive == 2 && RemoteInteractive == 10 && CachedInteractive == 11);
static_assert(KEY_READ == 0x20019 && KEY_WRITE == 0x20006 && CSIDL_LOCAL_APPDATA == 28 && SHGFP_TYPE_CURRENT == 0);
static_assert(ERROR_BAD_LENGTH == 24 && ERROR_MR_MID_NOT_FOUND == 317 && ERROR_NO_TOKEN == 1008);
static_assert(ERROR_NOT_ALL_ASSIGNED == 1300 && ERROR_NO_IMPERSONATION_TOKEN == 1309);
static_assert(ERROR_NO_SUCH_LOGON_SESSION == 1312 && ERROR_NO_SUCH_PRIVILEGE == 1313 && ERROR_INVALID_SID == 1337);
static_assert(E_HANDLE == static_cast<HRESULT>(0x80070006));

static_assert(READ_CONTROL == 0x20000 && FILE_READ_ATTRIBUTES == 0x80 && FILE_ALL_ACCESS == 0x1F01FF);
static_assert(FILE_FLAG_OPEN_REPARSE_POINT == 0x200000 && ACCESS_ALLOWED_ACE_TYPE == 0);
static_assert((OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE) == 3 && SECURITY_DESCRIPTOR_REVISION == 1);
static_assert(SE_DACL_PRESENT == 4 && SE_DACL_PROTECTED == 0x1000 && SE_FILE_OBJECT == 1);
static_assert(OWNER_SECURITY_INFORMATION == 1 && DACL_SECURITY_INFORMATION == 4);
static_assert(SET_ACCESS == 2 && TRUSTEE_IS_SID == 0 && TRUSTEE_IS_USER == 1 && NO_MULTIPLE_TRUSTEE == 0);
static_assert(sizeof(SECURITY_DESCRIPTOR) == 40 && offsetof(SECURITY_DESCRIPTOR, Owner) == 8);
static_assert(offsetof(SECURITY_DESCRIPTOR, Dacl) == 32 && sizeof(ACL) == 8 && offsetof(ACL, AceCount) == 4);
static_assert(sizeof(ACE_HEADER) == 4 && sizeof(ACCESS_ALLOWED_ACE) == 12);
static_assert(offsetof(ACCESS_ALLOWED_ACE, Mask) == 4 && offsetof(ACCESS_ALLOWED_ACE, SidStart) == 8);
static_assert(sizeof(TRUSTEE_W) == 32 && offsetof(TRUSTEE_W, ptstrName) == 24 && sizeof(EXPLICIT_ACCESSW) == 48);
static_assert(offsetof(EXPLICIT_ACCESSW, Trustee) == 16 && offsetof(TRUSTEE_W, TrusteeType) == 16);
static_assert(FileRenameInfo == 3 && FileDispositionInfo == 4 && sizeof(FILE_DISPOSITION_INFO) == 1);
static_assert(sizeof(FILE_RENAME_INFO) == 24 && offsetof(FILE_RENAME_INFO, RootDirectory) == 8);
static_assert(offsetof(FILE_RENAME_INFO, FileNameLength) == 16 && offsetof(FILE_RENAME_INFO, FileName) == 20);
static_assert(sizeof(BY_HANDLE_FILE_INFORMATION) == 52);
static_assert(offsetof(BY_HANDLE_FILE_INFORMATION, nNumberOfLinks) == 40);
static_assert(ERROR_UNKNOWN_REVISION == 1305 && ERROR_INVALID_OWNER == 1307 && ERROR_INVALID_ACL == 1336);
static_assert(ERROR_INVALID_SECURITY_DESCR == 1338 && ERROR_PRIVILEGE_NOT_HELD == 1314);
static_assert(ERROR_BAD_IMPERSONATION_LEVEL == 1346 && DISABLE_MAX_PRIVILEGE == 1);
static_assert(SAFER_SCOPEID_USER == 2 && SAFER_LEVELID_NORMALUSER == 0x20000 && SAFER_LEVEL_OPEN == 1);

static_assert(sizeof(VARIANT) == 24 && offsetof(VARIANT, bstrVal) == 8 && offsetof(VARIANT, lVal) == 8 && VT_I4 == 3 &&
              sizeof(VARIANT_BOOL) == 2);
static_assert(VARIANT_TRUE == -1 && VARIANT_FALSE == 0 && VT_EMPTY == 0 && VT_BSTR == 8 && CLSCTX_INPROC_SERVER == 1);
static_assert(TASK_LOGON_SERVICE_ACCOUNT == 5 && TASK_RUNLEVEL_HIGHEST == 1 && TASK_INSTANCES_IGNORE_NEW == 2);
static_assert(TASK_TRIGGER_TIME == 1 && TASK_TRIGGER_BOOT == 8 && TASK_TRIGGER_LOGON == 9);
static_assert(TASK_TRIGGER_SESSION_STATE_CHANGE == 11 && TASK_ACTION_EXEC == 0 && TASK_CREATE_OR_UPDATE == 6);
static_assert(TASK_SESSION_UNLOCK == 8 && TASK_REMOTE_CONNECT == 3 && TASK_CONSOLE_CONNECT == 1);
static_assert(static_cast<DWORD>(E_ACCESSDENIED) == 0x80070005 && static_cast<DWORD>(E_OUTOFMEMORY) == 0x8007000E);
static_assert(static_cast<DWORD>(E_POINTER) == 0x80004003 && static_cast<DWORD>(E_NOTIMPL) == 0x80004001);
static_assert(static_cast<DWORD>(CO_E_NOTINITIALIZED) == 0x800401F0);
static_assert(static_cast<DWORD>(REGDB_E_CLASSNOTREG) == 0x80040154);
static_assert(static_cast<DWORD>(CLASS_E_NOAGGREGATION) == 0x80040110 && ERROR_ONLY_IF_CONNECTED == 1251);
static_assert(SECURITY_BUILTIN_DOMAIN_RID == 32 && DOMAIN_ALIAS_RID_ADMINS == 544);

template <typename Signature, typename Call>
constexpr bool has(Call*) {
    return std::is_same_v<Signature, Call>;
}

#define CALL(name, ...) static_assert(has<__VA_ARGS__>(&name))

CALL(CreateProcessW, BOOL(LPCWSTR, LPWSTR, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD, LPVOID, LPCWSTR,
                          LPSTARTUPINFOW, LPPROCESS_INFORMATION));
CALL(CreateProcessAsUserW, BOOL(HANDLE, LPCWSTR, LPWSTR, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD,
                                LPVOID, LPCWSTR, LPSTARTUPINFOW, LPPROCESS_INFORMATION));
CALL(ResumeThread, DWORD(HANDLE));
CALL(TerminateProcess, BOOL(HANDLE, UINT));
CALL(CreateEnvironmentBlock, BOOL(LPVOID*, HANDLE, BOOL));
CALL(DestroyEnvironmentBlock, BOOL(LPVOID));
static_assert(sizeof(STARTUPINFOW) == 104 && offsetof(STARTUPINFOW, lpDesktop) == 16 &&
              sizeof(PROCESS_INFORMATION) == 24);
static_assert(CREATE_SUSPENDED == 4 && CREATE_UNICODE_ENVIRONMENT == 0x400 && CREATE_BREAKAWAY_FROM_JOB == 0x1000000);
static_assert(ERROR_BAD_TOKEN_TYPE == 1349 && ERROR_NOT_ENOUGH_MEMORY == 8);
CALL(WTSEnumerateSessionsW, BOOL(HANDLE, DWORD, DWORD, PWTS_SESSION_INFOW*, DWORD*));
CALL(WTSQueryUserToken, BOOL(ULONG, PHANDLE));
static_assert(sizeof(WTS_SESSION_INFOW) == 24 && WTSActive == 0 && WTSConnected == 1 && WTSDisconnected == 4);
CALL(GetLastError, DWORD());
CALL(SetLastError, void(DWORD));
CALL(CloseHandle, BOOL(HANDLE));
CALL(CreateFileW, HANDLE(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE));
CALL(ReadFile, BOOL(HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED));
CALL(WriteFile, BOOL(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED));
CALL(FlushFileBuffers, BOOL(HANDLE));
CALL(GetFileSizeEx, BOOL(HANDLE, PLARGE_INTEGER));
CALL(GetFileInformationByHandle, BOOL(HANDLE, LPBY_HANDLE_FILE_INFORMATION));
CALL(SetFileInformationByHandle, BOOL(HANDLE, FILE_INFO_BY_HANDLE_CLASS, LPVOID, DWORD));
CALL(DeleteFileW, BOOL(LPCWSTR));
CALL(MoveFileExW, BOOL(LPCWSTR, LPCWSTR, DWORD));
CALL(GetFileAttributesW, DWORD(LPCWSTR));
CALL(CreateDirectoryW, BOOL(LPCWSTR, LPSECURITY_ATTRIBUTES));
CALL(ReadDirectoryChangesW,
     BOOL(HANDLE, LPVOID, DWORD, BOOL, DWORD, LPDWORD, LPOVERLAPPED, LPOVERLAPPED_COMPLETION_ROUTINE));
CALL(GetOverlappedResult, BOOL(HANDLE, LPOVERLAPPED, LPDWORD, BOOL));
CALL(CancelIoEx, BOOL(HANDLE, LPOVERLAPPED));
CALL(FindFirstFileW, HANDLE(LPCWSTR, WIN32_FIND_DATAW*));
CALL(FindNextFileW, BOOL(HANDLE, WIN32_FIND_DATAW*));
CALL(FindClose, BOOL(HANDLE));
CALL(CreateEventW, HANDLE(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCWSTR));
CALL(SetEvent, BOOL(HANDLE));
CALL(ResetEvent, BOOL(HANDLE));
CALL(CreateMutexW, HANDLE(LPSECURITY_ATTRIBUTES, BOOL, LPCWSTR));
CALL(ReleaseMutex, BOOL(HANDLE));
CALL(WaitForSingleObject, DWORD(HANDLE, DWORD));
CALL(WaitForMultipleObjects, DWORD(DWORD, const HANDLE*, BOOL, DWORD));
CALL(Sleep, void(DWORD));
CALL(GetTickCount64, ULONGLONG());
CALL(_beginthreadex, uintptr_t(void*, unsigned, unsigned (*)(void*), void*, unsigned, unsigned*));
CALL(GetSystemTime, void(LPSYSTEMTIME));
CALL(GetLocalTime, void(LPSYSTEMTIME));
CALL(GetEnvironmentVariableW, DWORD(LPCWSTR, LPWSTR, DWORD));
CALL(SetEnvironmentVariableW, BOOL(LPCWSTR, LPCWSTR));
CALL(GetCommandLineW, LPWSTR());
CALL(GetCurrentProcessId, DWORD());
CALL(GetCurrentProcess, HANDLE());
CALL(GetCurrentThread, HANDLE());
CALL(OpenProcess, HANDLE(DWORD, BOOL, DWORD));
CALL(OpenProcessToken, BOOL(HANDLE, DWORD, PHANDLE));
CALL(OpenThreadToken, BOOL(HANDLE, DWORD, BOOL, PHANDLE));
CALL(GetTokenInformation, BOOL(HANDLE, TOKEN_INFORMATION_CLASS, LPVOID, DWORD, PDWORD));
CALL(LookupPrivilegeValueW, BOOL(LPCWSTR, LPCWSTR, PLUID));
CALL(AdjustTokenPrivileges, BOOL(HANDLE, BOOL, PTOKEN_PRIVILEGES, DWORD, PTOKEN_PRIVILEGES, PDWORD));
CALL(DuplicateTokenEx, BOOL(HANDLE, DWORD, LPSECURITY_ATTRIBUTES, SECURITY_IMPERSONATION_LEVEL, TOKEN_TYPE, PHANDLE));
CALL(CreateRestrictedToken,
     BOOL(HANDLE, DWORD, DWORD, PSID_AND_ATTRIBUTES, DWORD, PLUID_AND_ATTRIBUTES, DWORD, PSID_AND_ATTRIBUTES, PHANDLE));
CALL(SetTokenInformation, BOOL(HANDLE, TOKEN_INFORMATION_CLASS, LPVOID, DWORD));
CALL(SaferCreateLevel, BOOL(DWORD, DWORD, DWORD, SAFER_LEVEL_HANDLE*, LPVOID));
CALL(SaferComputeTokenFromLevel, BOOL(SAFER_LEVEL_HANDLE, HANDLE, PHANDLE, DWORD, LPVOID));
CALL(SaferCloseLevel, BOOL(SAFER_LEVEL_HANDLE));
CALL(CheckTokenMembership, BOOL(HANDLE, PSID, PBOOL));
CALL(IsValidSid, BOOL(PSID));
CALL(GetLengthSid, DWORD(PSID));
CALL(CopySid, BOOL(DWORD, PSID, PSID));
CALL(EqualSid, BOOL(PSID, PSID));
CALL(GetSidSubAuthorityCount, PUCHAR(PSID));
CALL(GetSidSubAuthority, PDWORD(PSID, DWORD));
CALL(IsWellKnownSid, BOOL(PSID, WELL_KNOWN_SID_TYPE));
CALL(CreateWellKnownSid, BOOL(WELL_KNOWN_SID_TYPE, PSID, PSID, DWORD*));
CALL(AllocateAndInitializeSid,
     BOOL(PSID_IDENTIFIER_AUTHORITY, BYTE, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, PSID*));
CALL(FreeSid, PVOID(PSID));
CALL(InitializeSecurityDescriptor, BOOL(PSECURITY_DESCRIPTOR, DWORD));
CALL(SetSecurityDescriptorOwner, BOOL(PSECURITY_DESCRIPTOR, PSID, BOOL));
CALL(SetSecurityDescriptorDacl, BOOL(PSECURITY_DESCRIPTOR, BOOL, PACL, BOOL));
CALL(SetSecurityDescriptorControl,
     BOOL(PSECURITY_DESCRIPTOR, SECURITY_DESCRIPTOR_CONTROL, SECURITY_DESCRIPTOR_CONTROL));
CALL(GetAce, BOOL(PACL, DWORD, LPVOID*));
CALL(SetEntriesInAclW, DWORD(ULONG, PEXPLICIT_ACCESS_W, PACL, PACL*));
CALL(GetSecurityInfo,
     DWORD(HANDLE, SE_OBJECT_TYPE, SECURITY_INFORMATION, PSID*, PSID*, PACL*, PACL*, PSECURITY_DESCRIPTOR*));
CALL(LsaGetLogonSessionData, NTSTATUS(PLUID, PSECURITY_LOGON_SESSION_DATA*));
CALL(LsaFreeReturnBuffer, NTSTATUS(PVOID));
CALL(LsaNtStatusToWinError, ULONG(NTSTATUS));
CALL(ProcessIdToSessionId, BOOL(DWORD, DWORD*));
CALL(GetUserNameW, BOOL(LPWSTR, LPDWORD));
CALL(GetModuleFileNameW, DWORD(HMODULE, LPWSTR, DWORD));
CALL(GetStdHandle, HANDLE(DWORD));
CALL(AttachConsole, BOOL(DWORD));
CALL(OutputDebugStringW, void(LPCWSTR));
CALL(LocalFree, HLOCAL(HLOCAL));
CALL(FindResourceW, HRSRC(HMODULE, LPCWSTR, LPCWSTR));
CALL(SizeofResource, DWORD(HMODULE, HRSRC));
CALL(LoadResource, HGLOBAL(HMODULE, HRSRC));
CALL(LockResource, LPVOID(HGLOBAL));
CALL(InitializeCriticalSection, void(LPCRITICAL_SECTION));
CALL(EnterCriticalSection, void(LPCRITICAL_SECTION));
CALL(LeaveCriticalSection, void(LPCRITICAL_SECTION));
CALL(MultiByteToWideChar, int(UINT, DWORD, LPCCH, int, LPWSTR, int));
CALL(WideCharToMultiByte, int(UINT, DWORD, LPCWCH, int, LPSTR, int, LPCCH, LPBOOL));
CALL(CompareStringOrdinal, int(LPCWCH, int, LPCWCH, int, BOOL));
CALL(RegOpenCurrentUser, LSTATUS(REGSAM, PHKEY));
CALL(RegCreateKeyExW, LSTATUS(HKEY, LPCWSTR, DWORD, LPWSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, PHKEY, LPDWORD));
CALL(RegOpenKeyExW, LSTATUS(HKEY, LPCWSTR, DWORD, REGSAM, PHKEY));
CALL(RegSetValueExW, LSTATUS(HKEY, LPCWSTR, DWORD, DWORD, const BYTE*, DWORD));
CALL(RegQueryValueExW, LSTATUS(HKEY, LPCWSTR, LPDWORD, LPDWORD, LPBYTE, LPDWORD));
CALL(RegDeleteValueW, LSTATUS(HKEY, LPCWSTR));
CALL(RegCloseKey, LSTATUS(HKEY));
CALL(LoadLibraryW, HMODULE(LPCWSTR));
CALL(GetModuleHandleW, HMODULE(LPCWSTR));
CALL(GetProcAddress, FARPROC(HMODULE, LPCSTR));
CALL(RegisterClassExW, ATOM(const WNDCLASSEXW*));
CALL(CreateWindowExW, HWND(DWORD, LPCWSTR, LPCWSTR, DWORD, int, int, int, int, HWND, HMENU, HINSTANCE, LPVOID));
CALL(DestroyWindow, BOOL(HWND));
CALL(IsWindow, BOOL(HWND));
CALL(ShowWindow, BOOL(HWND, int));
CALL(UpdateWindow, BOOL(HWND));
CALL(SetWindowPos, BOOL(HWND, HWND, int, int, int, int, UINT));
CALL(GetWindowRect, BOOL(HWND, LPRECT));
CALL(GetWindowLongW, LONG(HWND, int));
CALL(GetWindowLongPtrW, LONG_PTR(HWND, int));
CALL(SetWindowLongPtrW, LONG_PTR(HWND, int, LONG_PTR));
CALL(FindWindowExW, HWND(HWND, HWND, LPCWSTR, LPCWSTR));
CALL(LoadCursorW, HCURSOR(HINSTANCE, LPCWSTR));
CALL(SetCursor, HCURSOR(HCURSOR));
CALL(GetParent, HWND(HWND));
CALL(GetShellWindow, HWND());
CALL(GetWindowThreadProcessId, DWORD(HWND, LPDWORD));
CALL(SetWindowTextW, BOOL(HWND, LPCWSTR));
CALL(GetWindowTextW, int(HWND, LPWSTR, int));
CALL(GetWindowTextLengthW, int(HWND));
CALL(SetWindowSubclass, BOOL(HWND, SUBCLASSPROC, UINT_PTR, DWORD_PTR));
CALL(RemoveWindowSubclass, BOOL(HWND, SUBCLASSPROC, UINT_PTR));
CALL(DefSubclassProc, LRESULT(HWND, UINT, WPARAM, LPARAM));
static_assert(std::is_same_v<EDITSTREAMCALLBACK, DWORD (*)(DWORD_PTR, LPBYTE, LONG, LONG*)>);
CALL(DefWindowProcW, LRESULT(HWND, UINT, WPARAM, LPARAM));
CALL(SendMessageW, LRESULT(HWND, UINT, WPARAM, LPARAM));
CALL(PostMessageW, BOOL(HWND, UINT, WPARAM, LPARAM));
CALL(PostQuitMessage, void(int));
CALL(GetMessageW, BOOL(LPMSG, HWND, UINT, UINT));
CALL(PeekMessageW, BOOL(LPMSG, HWND, UINT, UINT, UINT));
CALL(TranslateMessage, BOOL(const MSG*));
CALL(DispatchMessageW, LRESULT(const MSG*));
CALL(RegisterWindowMessageW, UINT(LPCWSTR));
CALL(BroadcastSystemMessageW, LONG(DWORD, LPDWORD, UINT, WPARAM, LPARAM));
CALL(SetTimer, UINT_PTR(HWND, UINT_PTR, UINT, TIMERPROC));
CALL(KillTimer, BOOL(HWND, UINT_PTR));
CALL(MonitorFromRect, HMONITOR(LPCRECT, DWORD));
CALL(MonitorFromWindow, HMONITOR(HWND, DWORD));
CALL(GetMonitorInfoW, BOOL(HMONITOR, LPMONITORINFO));
CALL(EnumDisplayMonitors, BOOL(HDC, LPCRECT, MONITORENUMPROC, LPARAM));
CALL(GetSystemMetrics, int(int));
CALL(GetDC, HDC(HWND));
CALL(ReleaseDC, int(HWND, HDC));
CALL(GetDeviceCaps, int(HDC, int));
CALL(Gdiplus::GdiplusStartup,
     Gdiplus::GpStatus(ULONG_PTR*, const Gdiplus::GdiplusStartupInput*, Gdiplus::GdiplusStartupOutput*));
CALL(Gdiplus::GdiplusShutdown, void(ULONG_PTR));
CALL(MessageBoxW, int(HWND, LPCWSTR, LPCWSTR, UINT));
CALL(CoInitializeEx, HRESULT(LPVOID, DWORD));
CALL(CoUninitialize, void());
CALL(CoCreateInstance, HRESULT(REFCLSID, IUnknown*, DWORD, REFIID, LPVOID*));
CALL(CoCreateGuid, HRESULT(GUID*));
CALL(SysAllocString, BSTR(const WCHAR*));
CALL(SysFreeString, void(BSTR));
CALL(VariantInit, void(VARIANTARG*));
CALL(VariantClear, HRESULT(VARIANTARG*));
CALL(StringFromGUID2, int(REFGUID, LPOLESTR, int));
CALL(CoTaskMemFree, void(LPVOID));
CALL(CommandLineToArgvW, LPWSTR*(LPCWSTR, int*));
CALL(SHGetFolderPathW, HRESULT(HWND, int, HANDLE, DWORD, LPWSTR));
CALL(SHGetKnownFolderPath, HRESULT(REFKNOWNFOLDERID, DWORD, HANDLE, PWSTR*));
CALL(InitCommonControlsEx, BOOL(const INITCOMMONCONTROLSEX*));
CALL(WTSQuerySessionInformationW, BOOL(HANDLE, DWORD, WTS_INFO_CLASS, LPWSTR*, DWORD*));
CALL(WTSFreeMemory, void(PVOID));
CALL(WTSEnumerateProcessesW, BOOL(HANDLE, DWORD, DWORD, PWTS_PROCESS_INFOW*, DWORD*));
static_assert(sizeof(WTS_PROCESS_INFOW) == 24 && offsetof(WTS_PROCESS_INFOW, pProcessName) == 8);
CALL(QueryFullProcessImageNameW, BOOL(HANDLE, DWORD, LPWSTR, DWORD*));
CALL(GetFileVersionInfoSizeW, DWORD(LPCWSTR, DWORD*));
CALL(GetFileVersionInfoW, BOOL(LPCWSTR, DWORD, DWORD, LPVOID));
CALL(VerQueryValueW, BOOL(LPCVOID, LPCWSTR, LPVOID*, UINT*));
static_assert(sizeof(VS_FIXEDFILEINFO) == 52 && offsetof(VS_FIXEDFILEINFO, dwFileVersionMS) == 8);
static_assert(SCHED_S_TASK_RUNNING == 0x41301 && SCHED_S_TASK_HAS_NOT_RUN == 0x41303);
static_assert(has<int(WCHAR*, std::size_t, const WCHAR*, std::va_list)>(
    static_cast<int (*)(WCHAR*, std::size_t, const WCHAR*, std::va_list)>(&vsnwprintf)));
