// Errors, files, time, process, threads, resources.
#pragma once

#include <windef.h>

#include <minwinbase.h>
#include <securitybaseapi.h>

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1)))
#define INVALID_FILE_ATTRIBUTES 0xffffffffU

#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4
#define MOVEFILE_REPLACE_EXISTING 0x00000001U
#define MOVEFILE_WRITE_THROUGH 0x00000008U

#define FILE_FLAG_OVERLAPPED 0x40000000U
#define FILE_FLAG_BACKUP_SEMANTICS 0x02000000U
#define FILE_FLAG_OPEN_REPARSE_POINT 0x00200000U

#define INFINITE 0xffffffffU
#define WAIT_OBJECT_0 0U
#define WAIT_TIMEOUT 258U
#define WAIT_FAILED 0xffffffffU

#define STD_INPUT_HANDLE (static_cast<DWORD>(-10))
#define STD_OUTPUT_HANDLE (static_cast<DWORD>(-11))
#define STD_ERROR_HANDLE (static_cast<DWORD>(-12))
#define ATTACH_PARENT_PROCESS (static_cast<DWORD>(-1))

#define CREATE_SUSPENDED 0x00000004U
#define CREATE_UNICODE_ENVIRONMENT 0x00000400U
#define CREATE_BREAKAWAY_FROM_JOB 0x01000000U

struct STARTUPINFOW {
    DWORD cb;
    LPWSTR lpReserved;
    LPWSTR lpDesktop;
    LPWSTR lpTitle;
    DWORD dwX;
    DWORD dwY;
    DWORD dwXSize;
    DWORD dwYSize;
    DWORD dwXCountChars;
    DWORD dwYCountChars;
    DWORD dwFillAttribute;
    DWORD dwFlags;
    WORD wShowWindow;
    WORD cbReserved2;
    BYTE* lpReserved2;
    HANDLE hStdInput;
    HANDLE hStdOutput;
    HANDLE hStdError;
};
using LPSTARTUPINFOW = STARTUPINFOW*;

struct PROCESS_INFORMATION {
    HANDLE hProcess;
    HANDLE hThread;
    DWORD dwProcessId;
    DWORD dwThreadId;
};
using LPPROCESS_INFORMATION = PROCESS_INFORMATION*;

struct OVERLAPPED {
    ULONG_PTR Internal;
    ULONG_PTR InternalHigh;
    union {
        struct {
            DWORD Offset;
            DWORD OffsetHigh;
        };
        PVOID Pointer;
    };
    HANDLE hEvent;
};
using LPOVERLAPPED = OVERLAPPED*;
using LPOVERLAPPED_COMPLETION_ROUTINE = void(WINAPI*)(DWORD, DWORD, LPOVERLAPPED);

struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

struct WIN32_FIND_DATAW {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;
    DWORD dwReserved1;
    WCHAR cFileName[MAX_PATH];
    WCHAR cAlternateFileName[14];
};

struct BY_HANDLE_FILE_INFORMATION {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD dwVolumeSerialNumber;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD nNumberOfLinks;
    DWORD nFileIndexHigh;
    DWORD nFileIndexLow;
};
using LPBY_HANDLE_FILE_INFORMATION = BY_HANDLE_FILE_INFORMATION*;

enum FILE_INFO_BY_HANDLE_CLASS { FileRenameInfo = 3, FileDispositionInfo = 4 };

struct FILE_RENAME_INFO {
    BOOLEAN ReplaceIfExists;
    HANDLE RootDirectory;
    DWORD FileNameLength;  // in bytes
    WCHAR FileName[1];
};

struct FILE_DISPOSITION_INFO {
    BOOLEAN DeleteFile;
};

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};
using LPSYSTEMTIME = SYSTEMTIME*;

struct CRITICAL_SECTION {
    alignas(8) BYTE opaque[40];
};
using LPCRITICAL_SECTION = CRITICAL_SECTION*;

DWORD GetLastError();
void SetLastError(DWORD error);

BOOL CloseHandle(HANDLE handle);
HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                   DWORD flagsAndAttributes, HANDLE templateFile);
BOOL ReadFile(HANDLE file, LPVOID bytes, DWORD byteCount, LPDWORD read, LPOVERLAPPED overlapped);
BOOL WriteFile(HANDLE file, LPCVOID bytes, DWORD byteCount, LPDWORD written, LPOVERLAPPED overlapped);
BOOL FlushFileBuffers(HANDLE file);
BOOL GetFileSizeEx(HANDLE file, PLARGE_INTEGER size);
BOOL GetFileInformationByHandle(HANDLE file, LPBY_HANDLE_FILE_INFORMATION information);
BOOL SetFileInformationByHandle(HANDLE file, FILE_INFO_BY_HANDLE_CLASS what, LPVOID information, DWORD byteCount);
BOOL DeleteFileW(LPCWSTR path);
BOOL MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags);
DWORD GetFileAttributesW(LPCWSTR path);
BOOL CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES security);

// Starts one asynchronous read of the changes in a folder. Its completion sets the event in `overlapped`.
BOOL ReadDirectoryChangesW(HANDLE directory, LPVOID buffer, DWORD bufferBytes, BOOL subtree, DWORD filter,
                           LPDWORD bytes, LPOVERLAPPED overlapped, LPOVERLAPPED_COMPLETION_ROUTINE routine);
BOOL GetOverlappedResult(HANDLE file, LPOVERLAPPED overlapped, LPDWORD bytes, BOOL wait);
BOOL CancelIoEx(HANDLE file, LPOVERLAPPED overlapped);

HANDLE FindFirstFileW(LPCWSTR pattern, WIN32_FIND_DATAW* data);
BOOL FindNextFileW(HANDLE search, WIN32_FIND_DATAW* data);
BOOL FindClose(HANDLE search);

HANDLE CreateEventW(LPSECURITY_ATTRIBUTES security, BOOL manualReset, BOOL signalled, LPCWSTR name);
BOOL SetEvent(HANDLE event);
BOOL ResetEvent(HANDLE event);
HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES security, BOOL initialOwner, LPCWSTR name);
BOOL ReleaseMutex(HANDLE mutex);
DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds);
DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL all, DWORD milliseconds);
void Sleep(DWORD milliseconds);
ULONGLONG GetTickCount64();

void GetSystemTime(LPSYSTEMTIME time);
void GetLocalTime(LPSYSTEMTIME time);
BOOL SystemTimeToFileTime(const SYSTEMTIME* time, FILETIME* fileTime);
BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local);
BOOL FileTimeToSystemTime(const FILETIME* fileTime, LPSYSTEMTIME time);

DWORD GetEnvironmentVariableW(LPCWSTR name, LPWSTR value, DWORD capacity);
BOOL SetEnvironmentVariableW(LPCWSTR name, LPCWSTR value);
LPWSTR GetCommandLineW();
DWORD GetCurrentProcessId();
HANDLE GetCurrentProcess();
HANDLE GetCurrentThread();
BOOL CreateProcessW(LPCWSTR image, LPWSTR commandLine, LPSECURITY_ATTRIBUTES processSecurity,
                    LPSECURITY_ATTRIBUTES threadSecurity, BOOL inheritHandles, DWORD flags, LPVOID environment,
                    LPCWSTR folder, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION made);
BOOL CreateProcessAsUserW(HANDLE token, LPCWSTR image, LPWSTR commandLine, LPSECURITY_ATTRIBUTES processSecurity,
                          LPSECURITY_ATTRIBUTES threadSecurity, BOOL inheritHandles, DWORD flags, LPVOID environment,
                          LPCWSTR folder, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION made);
DWORD ResumeThread(HANDLE thread);
BOOL TerminateProcess(HANDLE process, UINT exitCode);
HANDLE OpenProcess(DWORD access, BOOL inherit, DWORD processId);
BOOL QueryFullProcessImageNameW(HANDLE process, DWORD flags, LPWSTR path, DWORD* units);
BOOL OpenProcessToken(HANDLE process, DWORD access, PHANDLE token);
BOOL OpenThreadToken(HANDLE thread, DWORD access, BOOL openAsSelf, PHANDLE token);
BOOL LookupPrivilegeValueW(LPCWSTR system, LPCWSTR name, PLUID privilege);
BOOL ProcessIdToSessionId(DWORD processId, DWORD* sessionId);
BOOL GetUserNameW(LPWSTR name, LPDWORD capacity);
DWORD GetModuleFileNameW(HMODULE module, LPWSTR path, DWORD capacity);
HANDLE GetStdHandle(DWORD which);
// A terminal counts as a console.
BOOL GetConsoleMode(HANDLE console, LPDWORD mode);
BOOL WriteConsoleW(HANDLE console, const void* text, DWORD units, LPDWORD written, LPVOID reserved);
BOOL ReadConsoleW(HANDLE console, LPVOID text, DWORD units, LPDWORD read, LPVOID control);
BOOL LookupAccountSidW(LPCWSTR system, PSID sid, LPWSTR name, LPDWORD nameUnits, LPWSTR domain, LPDWORD domainUnits,
                       PSID_NAME_USE use);
BOOL AttachConsole(DWORD processId);
void OutputDebugStringW(LPCWSTR text);
HLOCAL LocalFree(HLOCAL memory);

#define GMEM_MOVEABLE 0x0002U
HGLOBAL GlobalAlloc(UINT flags, SIZE_T bytes);
LPVOID GlobalLock(HGLOBAL memory);
BOOL GlobalUnlock(HGLOBAL memory);
HGLOBAL GlobalFree(HGLOBAL memory);

HMODULE LoadLibraryW(LPCWSTR name);
HMODULE GetModuleHandleW(LPCWSTR name);
FARPROC GetProcAddress(HMODULE module, LPCSTR name);

HRSRC FindResourceW(HMODULE module, LPCWSTR name, LPCWSTR type);
DWORD SizeofResource(HMODULE module, HRSRC resource);
HGLOBAL LoadResource(HMODULE module, HRSRC resource);
LPVOID LockResource(HGLOBAL data);

void InitializeCriticalSection(LPCRITICAL_SECTION section);
void EnterCriticalSection(LPCRITICAL_SECTION section);
void LeaveCriticalSection(LPCRITICAL_SECTION section);
