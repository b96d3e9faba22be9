// The scheduled tasks of Vellumd, as the scheduler tells of them.
#include <objbase.h>
#include <taskschd.h>

#include <cmath>

#include "app/CommandLine.h"
#include "common/ComHandles.h"
#include "ctl/LogTime.h"
#include "ctl/Status.h"
#include "dispatch/TaskSched.h"
#include "notes/Text.h"

namespace ctl {
namespace {

// An apartment of COM. Every object has to be gone before it ends.
struct Apartment {
    const HRESULT entered = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    Apartment() = default;
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
    ~Apartment() {
        if (SUCCEEDED(entered)) CoUninitialize();
    }
};

std::string hrText(HRESULT hr) {
    return wideToUtf8(formatWideString(TEXT("cannot be read (hr=0x%08lx)"), static_cast<DWORD>(hr)));
}

// Whether it is the name of a task of Vellumd.
bool readInstance(WideView name, WideString& instance) {
    const WideString plain = taskName({}), prefix = taskName(TEXT("x"));
    const std::size_t length = prefix.size() - 1;
    instance.clear();
    if (equalsIgnoreCase(name, plain)) return true;
    if (name.size() <= length || !equalsIgnoreCase(name.substr(0, length), WideView(prefix).substr(0, length)))
        return false;
    instance = name.substr(length);
    return true;
}

std::string runTimeOf(DATE date) {
    constexpr double kDaysFrom1601 = 109205, kSecondsOfDay = 86400;
    constexpr FileTime kTicksOfSecond = 1000 * kTicksOfMs;
    return logTimeOf(
        utcOf(static_cast<FileTime>(std::llround((date + kDaysFrom1601) * kSecondsOfDay)) * kTicksOfSecond));
}

void readLastRun(IRegisteredTask* task, TaskState& state) {
    DATE date = 0;
    HRESULT hr = task->get_LastTaskResult(&state.lastResult);
    if (SUCCEEDED(hr) && state.lastResult != SCHED_S_TASK_HAS_NOT_RUN) {
        hr = task->get_LastRunTime(&date);
        if (SUCCEEDED(hr)) state.lastRun = runTimeOf(date);
    }
    if (FAILED(hr)) state.problem = hrText(hr);
}

HRESULT readTask(IRegisteredTaskCollection* tasks, LONG index, std::vector<TaskState>& out) {
    ComPointer<IRegisteredTask> task;
    OwnedBstr name;
    VARIANT wanted = {};
    wanted.vt = VT_I4;
    wanted.lVal = index;
    HRESULT hr = tasks->get_Item(wanted, task.put());
    if (SUCCEEDED(hr) && task) hr = task.get()->get_Name(name.put());
    if (FAILED(hr) || !name) return hr;
    TaskState state;
    state.name = name.get();
    if (!readInstance(state.name, state.instance)) return hr;
    readLastRun(task.get(), state);
    out.push_back(std::move(state));
    return hr;
}

HRESULT readAll(std::vector<TaskState>& out) {
    ComPointer<ITaskFolder> folder;
    ComPointer<IRegisteredTaskCollection> tasks;
    LONG count = 0;
    HRESULT hr = TaskSched::openRootFolder(folder);
    if (SUCCEEDED(hr)) hr = folder.get()->GetTasks(0, tasks.put());
    if (SUCCEEDED(hr)) hr = tasks ? tasks.get()->get_Count(&count) : E_POINTER;
    for (LONG index = 1; SUCCEEDED(hr) && index <= count; ++index)
        hr = readTask(tasks.get(), index, out);
    return hr;
}

}  // namespace

bool TaskState::hasFailed() const {
    constexpr LONG kQueued = 0x41325;  // SCHED_S_TASK_QUEUED
    return problem.empty() && lastResult != 0 && lastResult != SCHED_S_TASK_RUNNING &&
           lastResult != SCHED_S_TASK_HAS_NOT_RUN && lastResult != kQueued;
}

Listing<TaskState> readTasks() {
    Listing<TaskState> tasks;
    const Apartment apartment;
    const HRESULT hr = FAILED(apartment.entered) ? apartment.entered : readAll(tasks.items);
    if (FAILED(hr)) tasks.problem = hrText(hr);
    // The scheduler does not name the tasks that the user may not read.
    if (SUCCEEDED(hr) && tasks.items.empty() && !TaskSched::requireElevation(nullptr))
        tasks.problem = hrText(E_ACCESSDENIED);
    return tasks;
}

}  // namespace ctl
