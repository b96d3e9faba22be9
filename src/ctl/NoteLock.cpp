#include "ctl/NoteLock.h"

#include "ctl/Failure.h"
#include "notes/Text.h"

namespace ctl {
namespace {

// The name of a mutex cannot hold a path.
WideString mutexName(const WideString& path) {
    unsigned long long hash = 14695981039346656037ULL;  // FNV-1a
    for (const WCHAR unit : path) {
        const bool isUpper = unit >= TEXT('A') && unit <= TEXT('Z');
        hash = (hash ^ static_cast<unsigned>(isUpper ? unit + (TEXT('a') - TEXT('A')) : unit)) * 1099511628211ULL;
    }
    return formatWideString(TEXT("Local\\vellumctl-%08lx%08lx"), static_cast<DWORD>(hash >> 32),
                            static_cast<DWORD>(hash));
}

}  // namespace

NoteLock::NoteLock(const WideString& path) {
    constexpr DWORD kMostMs = 60000;
    KernelHandle mutex(CreateMutexW(nullptr, FALSE, mutexName(path).c_str()));
    if (!mutex) throw lastFailure("cannot lock", path);
    const DWORD result = WaitForSingleObject(mutex.get(), kMostMs);
    if (result == WAIT_TIMEOUT)
        throw Failure{kFailed, "another vellumctl has been changing " + wideToUtf8(path) + " for a minute"};
    if (result == WAIT_FAILED) throw lastFailure("cannot lock", path);
    mutex_.reset(mutex.release());  // WAIT_ABANDONED: the other command was killed, and files are written whole
}

}  // namespace ctl
