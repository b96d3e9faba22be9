// _beginthreadex.
#include <process.h>
#include <windows.h>

#include <cerrno>
#include <system_error>
#include <thread>

#include "core/Gate.h"
#include "core/Waitable.h"
#include "core/Waiting.h"

using namespace platform;

namespace {

struct Thread : Waitable {};

}  // namespace

std::uintptr_t _beginthreadex(void*, unsigned, ThreadFunction function, void* argument, unsigned, unsigned*) {
    static constinit CallSite site{__func__};
    if (site.fails()) {
        errno = EAGAIN;
        return 0;
    }
    const auto thread = std::make_shared<Thread>();
    try {
        std::thread([thread, function, argument] {
            function(argument);
            std::lock_guard hold(waiting::lock());
            thread->signalled = true;
            waiting::wake();
        }).detach();
    } catch (const std::system_error&) {
        errno = EAGAIN;
        return 0;
    }
    return reinterpret_cast<std::uintptr_t>(openHandle(thread));
}
