// The gate that every function of the stand-in passes. It counts the calls by name and injects the faults that Faults.h
// or the environment armed. A function begins with
//
//     static constinit CallSite site{__func__};
//     if (site.fails()) return FALSE;
//
// and then does its work.
#pragma once

#include <windef.h>

#include <atomic>
#include <optional>

namespace platform {

class CallSite {
  public:
    explicit constexpr CallSite(const char* name) : name_(name) {}
    CallSite(const CallSite&) = delete;
    CallSite& operator=(const CallSite&) = delete;

    // For functions that report failures through the last error: sets it and returns true if the call must fail.
    bool fails();
    // For functions that return a Windows error code: the code to return, or 0 to continue.
    DWORD error();
    // For functions that return an HRESULT: a failure code to return, or S_OK to continue.
    HRESULT hresult();
    // For reads and writes: true if the call must fail. Otherwise limits `wanted` to the bytes that the call may
    // transfer.
    bool failsTransfer(DWORD& wanted);
    // For functions that cannot fail.
    void pass();

    const char* name() const { return name_; }
    unsigned count() const { return count_.load(std::memory_order_relaxed); }
    void resetCount() { count_.store(0, std::memory_order_relaxed); }

  private:
    bool armed();

    const char* name_;
    std::atomic<unsigned> count_{0};
    std::atomic<bool> listed_{false};
};

}  // namespace platform
