// Facts that both builds compile: the stand-in is held to the real headers. Sizes and offsets where data crosses a
// call, constants that are passed or compared, signatures of the calls that the product makes.
#include <windows.h>

#include <commctrl.h>
#include <objbase.h>
#include <shellapi.h>
#include <shlobj.h>
#include <wchar.h>
#include <wtsapi32.h>

#include <cstdarg>
#include <cstddef>
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
static_assert(sizeof(CRITICAL_SECTION) == 40 && sizeof(INITCOMMONCONTROLSEX) == 8);

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
static_assert(ERROR_FILENAME_EXCED_RANGE == 206 && ERROR_NO_DATA == 232 && ERROR_MORE_DATA == 234);
static_assert(ERROR_FILE_TOO_LARGE == 223 && ERROR_NO_UNICODE_TRANSLATION == 1113 && MB_ERR_INVALID_CHARS == 8);
static_assert(ERROR_IO_DEVICE == 1117 && ERROR_RESOURCE_DATA_NOT_FOUND == 1812);
static_assert(ERROR_RESOURCE_TYPE_NOT_FOUND == 1813 && ERROR_RESOURCE_NAME_NOT_FOUND == 1814);
static_assert(ERROR_CANT_ACCESS_FILE == 1920 && ERROR_CTX_WINSTATION_NOT_FOUND == 7022);
static_assert(!FAILED(S_FALSE) && FAILED(E_FAIL) && HRESULT_FROM_WIN32(5) == static_cast<HRESULT>(0x80070005));
static_assert(E_INVALIDARG == static_cast<HRESULT>(0x80070057) &&
              RPC_E_CHANGED_MODE == static_cast<HRESULT>(0x80010106));

template <typename Signature, typename Call>
constexpr bool has(Call*) {
    return std::is_same_v<Signature, Call>;
}

#define CALL(name, ...) static_assert(has<__VA_ARGS__>(&name))

CALL(GetLastError, DWORD());
CALL(SetLastError, void(DWORD));
CALL(CloseHandle, BOOL(HANDLE));
CALL(CreateFileW, HANDLE(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE));
CALL(ReadFile, BOOL(HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED));
CALL(WriteFile, BOOL(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED));
CALL(FlushFileBuffers, BOOL(HANDLE));
CALL(GetFileSizeEx, BOOL(HANDLE, PLARGE_INTEGER));
CALL(DeleteFileW, BOOL(LPCWSTR));
CALL(MoveFileExW, BOOL(LPCWSTR, LPCWSTR, DWORD));
CALL(GetFileAttributesW, DWORD(LPCWSTR));
CALL(CreateDirectoryW, BOOL(LPCWSTR, LPSECURITY_ATTRIBUTES));
CALL(GetSystemTime, void(LPSYSTEMTIME));
CALL(GetLocalTime, void(LPSYSTEMTIME));
CALL(GetEnvironmentVariableW, DWORD(LPCWSTR, LPWSTR, DWORD));
CALL(SetEnvironmentVariableW, BOOL(LPCWSTR, LPCWSTR));
CALL(GetCommandLineW, LPWSTR());
CALL(GetCurrentProcessId, DWORD());
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
CALL(RegCreateKeyExW, LSTATUS(HKEY, LPCWSTR, DWORD, LPWSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, PHKEY, LPDWORD));
CALL(RegOpenKeyExW, LSTATUS(HKEY, LPCWSTR, DWORD, REGSAM, PHKEY));
CALL(RegSetValueExW, LSTATUS(HKEY, LPCWSTR, DWORD, DWORD, const BYTE*, DWORD));
CALL(RegQueryValueExW, LSTATUS(HKEY, LPCWSTR, LPDWORD, LPDWORD, LPBYTE, LPDWORD));
CALL(RegDeleteValueW, LSTATUS(HKEY, LPCWSTR));
CALL(RegCloseKey, LSTATUS(HKEY));
CALL(MessageBoxW, int(HWND, LPCWSTR, LPCWSTR, UINT));
CALL(CoInitializeEx, HRESULT(LPVOID, DWORD));
CALL(CoUninitialize, void());
CALL(CoCreateGuid, HRESULT(GUID*));
CALL(CoTaskMemFree, void(LPVOID));
CALL(CommandLineToArgvW, LPWSTR*(LPCWSTR, int*));
CALL(SHGetKnownFolderPath, HRESULT(REFKNOWNFOLDERID, DWORD, HANDLE, PWSTR*));
CALL(InitCommonControlsEx, BOOL(const INITCOMMONCONTROLSEX*));
CALL(WTSQuerySessionInformationW, BOOL(HANDLE, DWORD, WTS_INFO_CLASS, LPWSTR*, DWORD*));
CALL(WTSFreeMemory, void(PVOID));
static_assert(has<int(WCHAR*, std::size_t, const WCHAR*, std::va_list)>(
    static_cast<int (*)(WCHAR*, std::size_t, const WCHAR*, std::va_list)>(&vsnwprintf)));
