// The COM objects of the Task Scheduler. Each is a view of a task definition in memory, or holds the name of a
// registered task.
#include <objbase.h>
#include <oleauto.h>
#include <tasktriggers.h>
#include <winerror.h>

#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "com/Com.h"
#include "core/Gate.h"
#include "machine/Machine.h"
#include "tasks/TaskFile.h"
#include "tasks/View.h"

namespace platform {
namespace {

bool isSame(const GUID& left, const GUID& right) {
    return std::memcmp(&left, &right, sizeof left) == 0;
}

class RepetitionView final : public View<IRepetitionPattern, tasks::Trigger> {
  public:
    using View::View;
    NOT_CALLED(get_Interval, BSTR*)
    PUTS(IRepetitionPattern, put_Interval, BSTR, seen_->repetitionInterval)
    NOT_CALLED(get_Duration, BSTR*)
    NOT_CALLED(put_Duration, BSTR)
    NOT_CALLED(get_StopAtDurationEnd, VARIANT_BOOL*)
    PUTS(IRepetitionPattern, put_StopAtDurationEnd, VARIANT_BOOL, seen_->stopsAtDurationEnd)
};

// The common part of all triggers. The product gets an ITrigger and queries it for the interface of its type.
template <typename Interface>
class TriggerView : public View<Interface, tasks::Trigger> {
  public:
    TriggerView(std::shared_ptr<tasks::Trigger> seen, const GUID& id)
        : View<Interface, tasks::Trigger>(std::move(seen)), id_(id) {}

    HRESULT QueryInterface(REFIID id, void** object) override {
        static constinit CallSite site{"ITrigger::QueryInterface"};
        *object = nullptr;
        if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
        if (!isSame(id, id_)) return E_NOINTERFACE;
        this->AddRef();
        *object = static_cast<Interface*>(this);
        return S_OK;
    }
    NOT_CALLED(get_Type, TASK_TRIGGER_TYPE2*)
    NOT_CALLED(get_Id, BSTR*)
    PUTS(ITrigger, put_Id, BSTR, seen_->id)
    GIVES(ITrigger, get_Repetition, IRepetitionPattern, RepetitionView)
    NOT_CALLED(put_Repetition, IRepetitionPattern*)
    NOT_CALLED(get_ExecutionTimeLimit, BSTR*)
    NOT_CALLED(put_ExecutionTimeLimit, BSTR)
    NOT_CALLED(get_StartBoundary, BSTR*)
    PUTS(ITrigger, put_StartBoundary, BSTR, seen_->start)
    NOT_CALLED(get_EndBoundary, BSTR*)
    NOT_CALLED(put_EndBoundary, BSTR)
    NOT_CALLED(get_Enabled, VARIANT_BOOL*)
    NOT_CALLED(put_Enabled, VARIANT_BOOL)

  protected:
    using View<Interface, tasks::Trigger>::seen_;

  private:
    const GUID id_;
};

class LogonTriggerView final : public TriggerView<ILogonTrigger> {
  public:
    using TriggerView::TriggerView;
    NOT_CALLED(get_Delay, BSTR*)
    PUTS(ILogonTrigger, put_Delay, BSTR, seen_->delay)
    NOT_CALLED(get_UserId, BSTR*)
    NOT_CALLED(put_UserId, BSTR)
};

class BootTriggerView final : public TriggerView<IBootTrigger> {
  public:
    using TriggerView::TriggerView;
    NOT_CALLED(get_Delay, BSTR*)
    PUTS(IBootTrigger, put_Delay, BSTR, seen_->delay)
};

class SessionTriggerView final : public TriggerView<ISessionStateChangeTrigger> {
  public:
    using TriggerView::TriggerView;
    NOT_CALLED(get_Delay, BSTR*)
    PUTS(ISessionStateChangeTrigger, put_Delay, BSTR, seen_->delay)
    NOT_CALLED(get_UserId, BSTR*)
    NOT_CALLED(put_UserId, BSTR)
    NOT_CALLED(get_StateChange, TASK_SESSION_STATE_CHANGE_TYPE*)
    PUTS(ISessionStateChangeTrigger, put_StateChange, TASK_SESSION_STATE_CHANGE_TYPE, seen_->change)
};

class TriggersView final : public View<ITriggerCollection, tasks::Task> {
  public:
    using View::View;
    NOT_CALLED(get_Count, LONG*)
    NOT_CALLED(get_Item, LONG, ITrigger**)
    NOT_CALLED(get__NewEnum, IUnknown**)
    HRESULT Create(TASK_TRIGGER_TYPE2 type, ITrigger** trigger) override {
        static constinit CallSite site{"ITriggerCollection::Create"};
        *trigger = nullptr;
        if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
        seen_->triggers.push_back({});
        seen_->triggers.back().type = type;
        *trigger = view({seen_, &seen_->triggers.back()});
        if (*trigger == nullptr) seen_->triggers.pop_back();
        return *trigger == nullptr ? E_INVALIDARG : S_OK;
    }

  private:
    static ITrigger* view(std::shared_ptr<tasks::Trigger> trigger) {
        switch (trigger->type) {
            case TASK_TRIGGER_TIME:
                return new TriggerView<ITrigger>(std::move(trigger), IID_ITrigger);
            case TASK_TRIGGER_BOOT:
                return new BootTriggerView(std::move(trigger), IID_IBootTrigger);
            case TASK_TRIGGER_LOGON:
                return new LogonTriggerView(std::move(trigger), IID_ILogonTrigger);
            case TASK_TRIGGER_SESSION_STATE_CHANGE:
                return new SessionTriggerView(std::move(trigger), IID_ISessionStateChangeTrigger);
        }
        return nullptr;
    }
};

class ActionView final : public View<IExecAction, tasks::Task> {
  public:
    using View::View;
    HRESULT QueryInterface(REFIID id, void** object) override {
        static constinit CallSite site{"IAction::QueryInterface"};
        *object = nullptr;
        if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
        if (!isSame(id, IID_IExecAction)) return E_NOINTERFACE;
        AddRef();
        *object = static_cast<IExecAction*>(this);
        return S_OK;
    }
    NOT_CALLED(get_Id, BSTR*)
    NOT_CALLED(put_Id, BSTR)
    NOT_CALLED(get_Type, TASK_ACTION_TYPE*)
    NOT_CALLED(get_Path, BSTR*)
    PUTS(IExecAction, put_Path, BSTR, seen_->action->path)
    NOT_CALLED(get_Arguments, BSTR*)
    PUTS(IExecAction, put_Arguments, BSTR, seen_->action->arguments)
    NOT_CALLED(get_WorkingDirectory, BSTR*)
    PUTS(IExecAction, put_WorkingDirectory, BSTR, seen_->action->workingDirectory)
};

// A task has at most one action.
class ActionsView final : public View<IActionCollection, tasks::Task> {
  public:
    using View::View;
    NOT_CALLED(get_Count, LONG*)
    NOT_CALLED(get_Item, LONG, IAction**)
    NOT_CALLED(get__NewEnum, IUnknown**)
    NOT_CALLED(get_XmlText, BSTR*)
    NOT_CALLED(put_XmlText, BSTR)
    HRESULT Create(TASK_ACTION_TYPE type, IAction** action) override {
        static constinit CallSite site{"IActionCollection::Create"};
        *action = nullptr;
        if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
        if (type != TASK_ACTION_EXEC || seen_->action) return E_NOTIMPL;
        seen_->action.emplace();
        *action = new ActionView(seen_);
        return S_OK;
    }
};

class InfoView final : public View<IRegistrationInfo, tasks::Task> {
  public:
    using View::View;
    NOT_CALLED(get_Description, BSTR*)
    PUTS(IRegistrationInfo, put_Description, BSTR, seen_->description)
    NOT_CALLED(get_Author, BSTR*)
    PUTS(IRegistrationInfo, put_Author, BSTR, seen_->author)
};

class PrincipalView final : public View<IPrincipal, tasks::Task> {
  public:
    using View::View;
    NOT_CALLED(get_Id, BSTR*)
    NOT_CALLED(put_Id, BSTR)
    NOT_CALLED(get_DisplayName, BSTR*)
    NOT_CALLED(put_DisplayName, BSTR)
    NOT_CALLED(get_UserId, BSTR*)
    PUTS(IPrincipal, put_UserId, BSTR, seen_->user)
    NOT_CALLED(get_LogonType, TASK_LOGON_TYPE*)
    PUTS(IPrincipal, put_LogonType, TASK_LOGON_TYPE, seen_->logonType)
    NOT_CALLED(get_GroupId, BSTR*)
    NOT_CALLED(put_GroupId, BSTR)
    NOT_CALLED(get_RunLevel, TASK_RUNLEVEL_TYPE*)
    PUTS(IPrincipal, put_RunLevel, TASK_RUNLEVEL_TYPE, seen_->runLevel)
};

class SettingsView final : public View<ITaskSettings, tasks::Task> {
  public:
    using View::View;
    NOT_CALLED(get_AllowDemandStart, VARIANT_BOOL*)
    PUTS(ITaskSettings, put_AllowDemandStart, VARIANT_BOOL, seen_->allowsDemandStart)
    NOT_CALLED(get_RestartInterval, BSTR*)
    PUTS(ITaskSettings, put_RestartInterval, BSTR, seen_->restartInterval)
    NOT_CALLED(get_RestartCount, INT*)
    PUTS(ITaskSettings, put_RestartCount, INT, seen_->restartCount)
    NOT_CALLED(get_MultipleInstances, TASK_INSTANCES_POLICY*)
    PUTS(ITaskSettings, put_MultipleInstances, TASK_INSTANCES_POLICY, seen_->instances)
    NOT_CALLED(get_StopIfGoingOnBatteries, VARIANT_BOOL*)
    PUTS(ITaskSettings, put_StopIfGoingOnBatteries, VARIANT_BOOL, seen_->stopsOnBatteries)
    NOT_CALLED(get_DisallowStartIfOnBatteries, VARIANT_BOOL*)
    PUTS(ITaskSettings, put_DisallowStartIfOnBatteries, VARIANT_BOOL, seen_->staysOffOnBatteries)
    NOT_CALLED(get_AllowHardTerminate, VARIANT_BOOL*)
    NOT_CALLED(put_AllowHardTerminate, VARIANT_BOOL)
    NOT_CALLED(get_StartWhenAvailable, VARIANT_BOOL*)
    PUTS(ITaskSettings, put_StartWhenAvailable, VARIANT_BOOL, seen_->startsWhenAvailable)
    NOT_CALLED(get_XmlText, BSTR*)
    NOT_CALLED(put_XmlText, BSTR)
    NOT_CALLED(get_RunOnlyIfNetworkAvailable, VARIANT_BOOL*)
    PUTS(ITaskSettings, put_RunOnlyIfNetworkAvailable, VARIANT_BOOL, seen_->runsOnlyWithNetwork)
    NOT_CALLED(get_ExecutionTimeLimit, BSTR*)
    PUTS(ITaskSettings, put_ExecutionTimeLimit, BSTR, seen_->timeLimit)
    NOT_CALLED(get_Enabled, VARIANT_BOOL*)
    PUTS(ITaskSettings, put_Enabled, VARIANT_BOOL, seen_->isEnabled)
    NOT_CALLED(get_DeleteExpiredTaskAfter, BSTR*)
    NOT_CALLED(put_DeleteExpiredTaskAfter, BSTR)
    NOT_CALLED(get_Priority, INT*)
    NOT_CALLED(put_Priority, INT)
    NOT_CALLED(get_Compatibility, TASK_COMPATIBILITY*)
    NOT_CALLED(put_Compatibility, TASK_COMPATIBILITY)
    NOT_CALLED(get_Hidden, VARIANT_BOOL*)
    NOT_CALLED(put_Hidden, VARIANT_BOOL)
    NOT_CALLED(get_IdleSettings, IIdleSettings**)
    NOT_CALLED(put_IdleSettings, IIdleSettings*)
    NOT_CALLED(get_RunOnlyIfIdle, VARIANT_BOOL*)
    PUTS(ITaskSettings, put_RunOnlyIfIdle, VARIANT_BOOL, seen_->runsOnlyIfIdle)
};

class DefinitionView final : public View<ITaskDefinition, tasks::Task> {
  public:
    using View::View;
    const tasks::Task& task() const { return *seen_; }
    GIVES(ITaskDefinition, get_RegistrationInfo, IRegistrationInfo, InfoView)
    NOT_CALLED(put_RegistrationInfo, IRegistrationInfo*)
    GIVES(ITaskDefinition, get_Triggers, ITriggerCollection, TriggersView)
    NOT_CALLED(put_Triggers, ITriggerCollection*)
    GIVES(ITaskDefinition, get_Settings, ITaskSettings, SettingsView)
    NOT_CALLED(put_Settings, ITaskSettings*)
    NOT_CALLED(get_Data, BSTR*)
    NOT_CALLED(put_Data, BSTR)
    GIVES(ITaskDefinition, get_Principal, IPrincipal, PrincipalView)
    NOT_CALLED(put_Principal, IPrincipal*)
    GIVES(ITaskDefinition, get_Actions, IActionCollection, ActionsView)
};

class RegisteredView final : public View<IRegisteredTask, const std::u16string> {
  public:
    using View::View;
    HRESULT get_Name(BSTR* name) override {
        static constinit CallSite site{"IRegisteredTask::get_Name"};
        *name = nullptr;
        if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
        *name = SysAllocString(seen_->c_str());
        return *name == nullptr ? E_OUTOFMEMORY : S_OK;
    }
    NOT_CALLED(get_Path, BSTR*)
    NOT_CALLED(get_State, TASK_STATE*)
    NOT_CALLED(get_Enabled, VARIANT_BOOL*)
    NOT_CALLED(put_Enabled, VARIANT_BOOL)
    HRESULT Run(VARIANT parameters, IRunningTask** running) override {
        static constinit CallSite site{"IRegisteredTask::Run"};
        *running = nullptr;
        if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
        if (parameters.vt != VT_EMPTY) return E_NOTIMPL;
        if (const HRESULT refused = tasks::run(*seen_); FAILED(refused)) return refused;
        *running = new View<IRunningTask, void>(nullptr);
        return S_OK;
    }
    NOT_CALLED(RunEx, VARIANT, LONG, LONG, BSTR, IRunningTask**)
    NOT_CALLED(GetInstances, LONG, IRunningTaskCollection**)
    // In local time, as all dates of the scheduler.
    HRESULT get_LastRunTime(DATE* date) override {
        static constinit CallSite site{"IRegisteredTask::get_LastRunTime"};
        constexpr double kSecondsOfDay = 86400, kDaysTo1970 = 25569;
        *date = 0;
        if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
        const tasks::Run run = tasks::lastRun(*seen_);
        if (run.result == SCHED_S_TASK_HAS_NOT_RUN) return SCHED_S_TASK_HAS_NOT_RUN;
        const std::time_t start = run.start;
        std::tm local = {};
        localtime_r(&start, &local);
        *date = kDaysTo1970 + static_cast<double>(run.start + local.tm_gmtoff) / kSecondsOfDay;
        return S_OK;
    }
    HRESULT get_LastTaskResult(LONG* result) override {
        static constinit CallSite site{"IRegisteredTask::get_LastTaskResult"};
        *result = 0;
        if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
        *result = tasks::lastRun(*seen_).result;
        return S_OK;
    }
};

class RegisteredTasksView final : public View<IRegisteredTaskCollection, const std::vector<std::u16string>> {
  public:
    using View::View;
    HRESULT get_Count(LONG* count) override {
        static constinit CallSite site{"IRegisteredTaskCollection::get_Count"};
        *count = 0;
        if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
        *count = static_cast<LONG>(seen_->size());
        return S_OK;
    }
    // The first one has the index 1.
    HRESULT get_Item(VARIANT index, IRegisteredTask** task) override {
        static constinit CallSite site{"IRegisteredTaskCollection::get_Item"};
        *task = nullptr;
        if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
        if (index.vt != VT_I4) return E_NOTIMPL;
        if (index.lVal < 1 || static_cast<std::size_t>(index.lVal) > seen_->size()) return E_INVALIDARG;
        const std::u16string& name = (*seen_)[static_cast<std::size_t>(index.lVal) - 1];
        *task = new RegisteredView(std::make_shared<const std::u16string>(name));
        return S_OK;
    }
};

// The root folder. Subfolders are not supported.
class FolderView final : public View<ITaskFolder, void> {
  public:
    using View::View;
    NOT_CALLED(get_Name, BSTR*)
    NOT_CALLED(get_Path, BSTR*)
    NOT_CALLED(GetFolder, BSTR, ITaskFolder**)
    NOT_CALLED(GetFolders, LONG, ITaskFolderCollection**)
    NOT_CALLED(CreateFolder, BSTR, VARIANT, ITaskFolder**)
    NOT_CALLED(DeleteFolder, BSTR, LONG)
    NOT_CALLED(GetTask, BSTR, IRegisteredTask**)
    // No task is hidden. A task that the caller may not read is left out.
    HRESULT GetTasks(LONG flags, IRegisteredTaskCollection** tasks) override {
        static constinit CallSite site{"ITaskFolder::GetTasks"};
        *tasks = nullptr;
        if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
        if (flags != 0) return E_INVALIDARG;
        *tasks = new RegisteredTasksView(
            std::make_shared<const std::vector<std::u16string>>(tasks::list(isAdministrator())));
        return S_OK;
    }
    HRESULT DeleteTask(BSTR name, LONG reserved) override {
        static constinit CallSite site{"ITaskFolder::DeleteTask"};
        if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
        if (name == nullptr || reserved != 0) return E_INVALIDARG;
        return isAdministrator() ? tasks::remove(name) : E_ACCESSDENIED;
    }
    NOT_CALLED(RegisterTask, BSTR, BSTR, LONG, VARIANT, VARIANT, TASK_LOGON_TYPE, VARIANT, IRegisteredTask**)
    HRESULT RegisterTaskDefinition(BSTR name, ITaskDefinition* definition, LONG flags, VARIANT user, VARIANT password,
                                   TASK_LOGON_TYPE logonType, VARIANT security, IRegisteredTask** registered) override {
        static constinit CallSite site{"ITaskFolder::RegisterTaskDefinition"};
        *registered = nullptr;
        if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
        const bool isUnderstood = name != nullptr && flags == TASK_CREATE_OR_UPDATE && user.vt == VT_BSTR &&
                                  password.vt == VT_EMPTY && (security.vt == VT_BSTR || security.vt == VT_EMPTY);
        if (!isUnderstood) return E_INVALIDARG;
        if (!isAdministrator()) return E_ACCESSDENIED;
        tasks::Task task = static_cast<DefinitionView*>(definition)->task();
        // On Windows these arguments override the definition. The stand-in requires them to agree.
        if (task.user != user.bstrVal || task.logonType != logonType) return E_INVALIDARG;
        if (security.vt == VT_BSTR) keep(task.security, security.bstrVal);
        if (const HRESULT refused = tasks::save(name, task); FAILED(refused)) return refused;
        *registered = new RegisteredView(std::make_shared<const std::u16string>(name));
        return S_OK;
    }
};

class ServiceView final : public View<ITaskService, void> {
  public:
    using View::View;
    HRESULT GetFolder(BSTR path, ITaskFolder** folder) override {
        static constinit CallSite site{"ITaskService::GetFolder"};
        *folder = nullptr;
        if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
        if (!isConnected_) return HRESULT_FROM_WIN32(ERROR_ONLY_IF_CONNECTED);
        if (path == nullptr || std::u16string_view(path) != u"\\") return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
        *folder = new FolderView(nullptr);
        return S_OK;
    }
    NOT_CALLED(GetRunningTasks, LONG, IRunningTaskCollection**)
    HRESULT NewTask(DWORD reserved, ITaskDefinition** definition) override {
        static constinit CallSite site{"ITaskService::NewTask"};
        *definition = nullptr;
        if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
        if (!isConnected_) return HRESULT_FROM_WIN32(ERROR_ONLY_IF_CONNECTED);
        if (reserved != 0) return E_INVALIDARG;
        *definition = new DefinitionView(std::make_shared<tasks::Task>());
        return S_OK;
    }
    // Connects to this machine as the calling user.
    HRESULT Connect(VARIANT server, VARIANT user, VARIANT domain, VARIANT password) override {
        static constinit CallSite site{"ITaskService::Connect"};
        if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
        for (const VARIANT& value : {server, user, domain, password})
            if (value.vt != VT_EMPTY) return E_NOTIMPL;
        isConnected_ = true;
        return S_OK;
    }

  private:
    bool isConnected_ = false;
};

}  // namespace

}  // namespace platform

using namespace platform;

// Creates the task scheduler, the only registered class.
HRESULT CoCreateInstance(REFCLSID id, IUnknown* outer, DWORD, REFIID interfaceId, LPVOID* object) {
    static constinit CallSite site{__func__};
    *object = nullptr;
    if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
    if (!isInApartment()) return CO_E_NOTINITIALIZED;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    if (!isSame(id, CLSID_TaskScheduler)) return REGDB_E_CLASSNOTREG;
    if (!isSame(interfaceId, IID_ITaskService)) return E_NOINTERFACE;
    *object = new ServiceView(nullptr);
    return S_OK;
}
