// The gate: the list of armed faults, and how a call site reacts to them. Every function of the stand-in passes it, on
// any thread. A lock guards the list, since a test may change it meanwhile.
#include "core/Gate.h"

#include <winbase.h>
#include <winerror.h>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <algorithm>

#include "core/Faults.h"

namespace platform {
namespace {

// The last error that a successful call leaves. On Windows it can be anything, so no code may read it.
constexpr DWORD kMeaningless = 0x2BADBAD0;

struct Armed {
    faults::Fault fault;
    unsigned seen = 0;
    unsigned number = 0;  // identifies this arming
};

struct Gate {
    std::mutex lock;
    std::condition_variable disarmed;
    unsigned armings = 0;
    std::vector<Armed> armed;
    std::vector<CallSite*> sites;
    bool fired = false;
};

Gate& gate() {
    static Gate& instance = *new Gate;  // never destroyed: calls continue until the process ends
    return instance;
}

std::atomic<bool> anythingArmed{false};

struct Verdict {
    bool fails = false;
    DWORD value = 0;
    std::optional<DWORD> limit;
    DWORD delayMs = 0;
    unsigned heldBy = 0;  // number of the arming that holds the call; 0 if none
};

// How a site can be affected. A fault on "*" counts only the calls that it can affect.
enum class Ability { PassOnly, Fail, Transfer };

bool canHit(faults::Action action, Ability ability) {
    if (action == faults::Action::Fail) return ability != Ability::PassOnly;
    if (action == faults::Action::Short) return ability == Ability::Transfer;
    return true;
}

Verdict verdictOf(std::string_view call, Ability ability) {
    Verdict verdict;
    std::lock_guard hold(gate().lock);
    for (Armed& armed : gate().armed) {
        const faults::Fault& fault = armed.fault;
        if (fault.call != "*" && fault.call != call) continue;
        if (!canHit(fault.action, ability)) continue;
        if (++armed.seen != fault.use && fault.use != 0) continue;
        gate().fired = true;
        switch (fault.action) {
            case faults::Action::Fail:
                verdict.fails = true;
                verdict.value = fault.value;
                break;
            case faults::Action::Short:
                verdict.limit = fault.value;
                break;
            case faults::Action::Delay:
                verdict.delayMs += fault.value;
                break;
            case faults::Action::Kill:
                std::raise(SIGKILL);
                break;
            case faults::Action::Hold:
                verdict.heldBy = armed.number;
                break;
        }
    }
    return verdict;
}

void waitForDisarming(unsigned number) {
    std::unique_lock held(gate().lock);
    gate().disarmed.wait(held, [number] {
        return std::ranges::none_of(gate().armed, [&](const Armed& armed) { return armed.number == number; });
    });
}

Verdict judge(std::string_view call, Ability ability) {
    const Verdict verdict = verdictOf(call, ability);
    if (verdict.heldBy != 0) waitForDisarming(verdict.heldBy);
    if (verdict.delayMs != 0) std::this_thread::sleep_for(std::chrono::milliseconds(verdict.delayMs));
    return verdict;
}

}  // namespace

bool CallSite::armed() {
    count_.fetch_add(1, std::memory_order_relaxed);
    if (!listed_.exchange(true, std::memory_order_relaxed)) {
        std::lock_guard hold(gate().lock);
        gate().sites.push_back(this);
    }
    SetLastError(kMeaningless);
    return anythingArmed.load(std::memory_order_relaxed);
}

bool CallSite::fails() {
    if (!armed()) return false;
    const Verdict verdict = judge(name_, Ability::Fail);
    if (verdict.fails) SetLastError(verdict.value);
    return verdict.fails;
}

// The error is the return value, so the last error is meaningless here as well.
DWORD CallSite::error() {
    const DWORD refused = fails() ? GetLastError() : ERROR_SUCCESS;
    SetLastError(kMeaningless);
    return refused;
}

HRESULT CallSite::hresult() {
    const DWORD refused = error();
    return refused == ERROR_SUCCESS ? S_OK : HRESULT_FROM_WIN32(refused);
}

bool CallSite::failsTransfer(DWORD& wanted) {
    if (!armed()) return false;
    const Verdict verdict = judge(name_, Ability::Transfer);
    if (verdict.fails) SetLastError(verdict.value);
    if (verdict.limit && *verdict.limit < wanted) wanted = *verdict.limit;
    return verdict.fails;
}

void CallSite::pass() {
    const DWORD before = GetLastError();
    if (armed()) judge(name_, Ability::PassOnly);
    SetLastError(before);
}

namespace faults {

void arm(Fault fault) {
    std::lock_guard hold(gate().lock);
    gate().armed.push_back({std::move(fault), 0, ++gate().armings});
    anythingArmed = true;
}

void disarm(std::string_view call) {
    std::lock_guard hold(gate().lock);
    std::erase_if(gate().armed, [&](const Armed& armed) { return armed.fault.call == call; });
    anythingArmed = !gate().armed.empty();
    gate().disarmed.notify_all();
}

void clear() {
    std::lock_guard hold(gate().lock);
    gate().armed.clear();
    gate().fired = false;
    anythingArmed = false;
    gate().disarmed.notify_all();
    for (CallSite* site : gate().sites)
        site->resetCount();
}

bool fired() {
    std::lock_guard hold(gate().lock);
    return gate().fired;
}

unsigned uses(std::string_view call) {
    std::lock_guard hold(gate().lock);
    for (const CallSite* site : gate().sites)
        if (site->name() == call) return site->count();
    return 0;
}

}  // namespace faults
}  // namespace platform
