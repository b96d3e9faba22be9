// Guards for what Windows calls return: handles, registry keys, blocks of memory. A guard takes its value in the line
// that gets it, so every path releases it. The guards for GDI are in DrawingHandles.h, those for COM in ComHandles.h.
#pragma once

#include <windows.h>

// Owns one raw value. Moving from a guard leaves it empty; assignment and reset() release the old value first.
// Releasing keeps the thread's last error, so the caller can still read why an earlier call failed.
template <typename Traits>
class Guard {
  public:
    using Raw = typename Traits::Raw;

    Guard() = default;
    explicit Guard(Raw raw) noexcept : raw_(raw) {}
    Guard(Guard&& other) noexcept : raw_(other.release()) {}
    Guard& operator=(Guard&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    ~Guard() { reset(); }

    explicit operator bool() const noexcept { return !Traits::isEmpty(raw_); }
    Raw get() const noexcept { return raw_; }
    // For calls that fill an out-parameter. Releases the old value first.
    Raw* put() noexcept {
        reset();
        return &raw_;
    }
    [[nodiscard]] Raw release() noexcept {
        const Raw raw = raw_;
        raw_ = Traits::none();
        return raw;
    }
    void reset(Raw raw = Traits::none()) noexcept {
        if (!Traits::isEmpty(raw_)) {
            const DWORD lastError = GetLastError();
            Traits::close(raw_);
            SetLastError(lastError);
        }
        raw_ = raw;
    }

  private:
    Raw raw_ = Traits::none();
};

// The empty value is null, or 0 for a value that is not a pointer.
template <typename Value, auto Close>
struct ValueTraits {
    using Raw = Value;
    static Raw none() { return Raw(); }
    static bool isEmpty(Raw raw) { return raw == Raw(); }
    static void close(Raw raw) { Close(raw); }
};

// The empty values are INVALID_HANDLE_VALUE, which the file calls return on failure, and null.
template <auto Close>
struct FileTraits {
    using Raw = HANDLE;
    static Raw none() { return INVALID_HANDLE_VALUE; }
    static bool isEmpty(Raw raw) { return raw == INVALID_HANDLE_VALUE || raw == nullptr; }
    static void close(Raw raw) { Close(raw); }
};

// ReleaseMutex fails if another process owns the mutex; that failure is ignored.
inline void closeOwnedMutex(HANDLE mutex) {
    ReleaseMutex(mutex);
    CloseHandle(mutex);
}

using FileHandle = Guard<FileTraits<CloseHandle>>;
using KernelHandle = Guard<ValueTraits<HANDLE, CloseHandle>>;  // events, threads, processes and tokens
using FindHandle = Guard<FileTraits<FindClose>>;
using InstanceMutex = Guard<ValueTraits<HANDLE, closeOwnedMutex>>;
using RegistryKey = Guard<ValueTraits<HKEY, RegCloseKey>>;
using LocalBlock = Guard<ValueTraits<void*, LocalFree>>;
using ArgumentArray = Guard<ValueTraits<LPWSTR*, LocalFree>>;
using AllocatedSid = Guard<ValueTraits<PSID, FreeSid>>;

// Enters a critical section for the length of a scope.
class CriticalSectionLock {
  public:
    explicit CriticalSectionLock(CRITICAL_SECTION& section) : section_(section) { EnterCriticalSection(&section_); }
    ~CriticalSectionLock() { LeaveCriticalSection(&section_); }
    CriticalSectionLock(const CriticalSectionLock&) = delete;
    CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;

  private:
    CRITICAL_SECTION& section_;
};
