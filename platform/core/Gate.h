// The one gate that every call of the stand-in passes. It counts the call by name and carries out the faults
// that Faults.h or the environment armed. A call begins with
//
//     static constinit CallSite site{__func__};
//     if (site.fails()) return FALSE;
//
// and behaves from there on as if the system had refused it.
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

    // For calls that answer with the last error: true when the call has to fail, with the last error set.
    bool fails();
    // For calls that return a Windows error number: that number, 0 to go on.
    DWORD error();
    // For calls that return an HRESULT: a negative value to return, or S_OK to go on.
    HRESULT hresult();
    // For reads and writes: as fails(); otherwise the most bytes that may be moved, of `wanted`.
    bool failsTransfer(DWORD& wanted);
    // For calls that cannot fail.
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
