// Builds, registers and deletes the scheduled task through the COM interfaces of the Task Scheduler. App::initialize
// calls it for /register and /delete, on the main thread.
#include "dispatch/TaskSched.h"

#include <objbase.h>
#include <tasktriggers.h>

#include "common/ComHandles.h"
#include "common/Logger.h"
#include "common/UtcTime.h"
#include "dispatch/SessionPlan.h"

namespace TaskSched {
namespace {

constexpr const WCHAR* kComponent = TEXT("TaskSched");

constexpr const WCHAR* kAuthor = TEXT("Quorvane Ombrel");
constexpr const WCHAR* kDescription =
    TEXT("Starts and recovers Vellumd independently in every logged-on user session.");
constexpr const WCHAR* kRootFolder = TEXT("\\");
constexpr const WCHAR* kLocalSystem = TEXT("S-1-5-18");
constexpr const WCHAR* kSecurity = TEXT("D:P(A;;GA;;;SY)(A;;GA;;;BA)");

struct SessionRow {
    const WCHAR* id;
    TASK_SESSION_STATE_CHANGE_TYPE change;
};
constexpr SessionRow kSessionRows[] = {
    {TEXT("UnlockTrigger"), TASK_SESSION_UNLOCK},
    {TEXT("RemoteConnectTrigger"), TASK_REMOTE_CONNECT},
    {TEXT("ConsoleConnectTrigger"), TASK_CONSOLE_CONNECT},
};

// A call that succeeds without an object counts as E_POINTER.
template <typename Object>
HRESULT requireObject(HRESULT hr, const ComPointer<Object>& object) {
    return SUCCEEDED(hr) && !object ? E_POINTER : hr;
}

// Runs calls in order, each with the text for its failure. After the first failure the rest is skipped.
class Steps {
  public:
    explicit Steps(WideString* error) : error_(error) {}

    bool ok() const { return ok_; }

    template <typename Call>
    void run(const WCHAR* name, Call call) {
        if (ok_) ok_ = checkStep(call(), name, error_);
    }
    // Gets or creates an object with a method of `from`.
    template <typename From, typename Method, typename Object, typename... Arguments>
    void get(const WCHAR* name, const ComPointer<From>& from, Method method, ComPointer<Object>& object,
             Arguments... arguments) {
        run(name, [&] { return requireObject((from.get()->*method)(arguments..., object.put()), object); });
    }
    // Another interface of the same object.
    template <typename From, typename Object>
    void as(const WCHAR* name, const ComPointer<From>& from, REFIID id, ComPointer<Object>& object) {
        run(name, [&] {
            return requireObject(from.get()->QueryInterface(id, reinterpret_cast<void**>(object.put())), object);
        });
    }
    template <typename Object, typename Method, typename Value>
    void put(const WCHAR* name, const ComPointer<Object>& object, Method method, Value value) {
        run(name, [&] { return (object.get()->*method)(value); });
    }
    // Sets a text property. Fails with E_OUTOFMEMORY when there is no memory for the string.
    template <typename Object, typename Method>
    void putText(const WCHAR* name, const ComPointer<Object>& object, Method method, const WCHAR* value) {
        run(name, [&] {
            const OwnedBstr text(SysAllocString(value));
            return text ? (object.get()->*method)(text.get()) : E_OUTOFMEMORY;
        });
    }

  private:
    WideString* error_;
    bool ok_ = true;
};

HRESULT createService(ComPointer<ITaskService>& service) {
    return CoCreateInstance(CLSID_TaskScheduler, nullptr, CLSCTX_INPROC_SERVER, IID_ITaskService,
                            reinterpret_cast<void**>(service.put()));
}

// Connects to the local scheduler as the current user.
HRESULT connectHere(const ComPointer<ITaskService>& service) {
    const Variant server, user, domain, password;
    return service.get()->Connect(server.get(), user.get(), domain.get(), password.get());
}

HRESULT getRootFolder(const ComPointer<ITaskService>& service, ComPointer<ITaskFolder>& folder) {
    const OwnedBstr root(SysAllocString(kRootFolder));
    return root ? service.get()->GetFolder(root.get(), folder.put()) : E_OUTOFMEMORY;
}

void describe(Steps& steps, const ComPointer<ITaskDefinition>& definition) {
    ComPointer<IRegistrationInfo> info;
    steps.get(TEXT("Get registration info"), definition, &ITaskDefinition::get_RegistrationInfo, info);
    steps.putText(TEXT("Set author"), info, &IRegistrationInfo::put_Author, kAuthor);
    steps.putText(TEXT("Set description"), info, &IRegistrationInfo::put_Description, kDescription);
}

void setPrincipal(Steps& steps, const ComPointer<ITaskDefinition>& definition) {
    ComPointer<IPrincipal> principal;
    steps.get(TEXT("Get principal"), definition, &ITaskDefinition::get_Principal, principal);
    steps.putText(TEXT("Set SYSTEM principal"), principal, &IPrincipal::put_UserId, kLocalSystem);
    steps.put(TEXT("Set service-account logon"), principal, &IPrincipal::put_LogonType, TASK_LOGON_SERVICE_ACCOUNT);
    steps.put(TEXT("Set dispatcher run level"), principal, &IPrincipal::put_RunLevel, TASK_RUNLEVEL_HIGHEST);
}

void setSettings(Steps& steps, const ComPointer<ITaskDefinition>& definition) {
    struct Switch {
        const WCHAR* name;
        decltype(&ITaskSettings::put_Enabled) method;
        VARIANT_BOOL value;
    };
    const Switch switches[] = {
        {TEXT("Enable task"), &ITaskSettings::put_Enabled, VARIANT_TRUE},
        {TEXT("Enable missed-start recovery"), &ITaskSettings::put_StartWhenAvailable, VARIANT_TRUE},
        {TEXT("Allow battery start"), &ITaskSettings::put_DisallowStartIfOnBatteries, VARIANT_FALSE},
        {TEXT("Allow battery operation"), &ITaskSettings::put_StopIfGoingOnBatteries, VARIANT_FALSE},
        {TEXT("Disable idle requirement"), &ITaskSettings::put_RunOnlyIfIdle, VARIANT_FALSE},
        {TEXT("Disable network requirement"), &ITaskSettings::put_RunOnlyIfNetworkAvailable, VARIANT_FALSE},
        {TEXT("Allow immediate dispatch"), &ITaskSettings::put_AllowDemandStart, VARIANT_TRUE},
    };
    ComPointer<ITaskSettings> settings;
    steps.get(TEXT("Get settings"), definition, &ITaskDefinition::get_Settings, settings);
    for (const Switch& row : switches)
        steps.put(row.name, settings, row.method, row.value);
    steps.putText(TEXT("Limit dispatcher duration"), settings, &ITaskSettings::put_ExecutionTimeLimit, TEXT("PT2M"));
    steps.put(TEXT("Suppress overlapping dispatchers"), settings, &ITaskSettings::put_MultipleInstances,
              TASK_INSTANCES_IGNORE_NEW);
    steps.putText(TEXT("Set failure retry interval"), settings, &ITaskSettings::put_RestartInterval, TEXT("PT1M"));
    steps.put(TEXT("Set failure retry count"), settings, &ITaskSettings::put_RestartCount, 3);
}

// Ten seconds after the logon of any user.
void addLogonTrigger(Steps& steps, const ComPointer<ITriggerCollection>& triggers) {
    ComPointer<ITrigger> trigger;
    ComPointer<ILogonTrigger> logon;
    steps.get(TEXT("Create logon trigger"), triggers, &ITriggerCollection::Create, trigger, TASK_TRIGGER_LOGON);
    steps.as(TEXT("Get logon trigger"), trigger, IID_ILogonTrigger, logon);
    steps.putText(TEXT("Name logon trigger"), logon, &ITrigger::put_Id, TEXT("LogonTrigger"));
    steps.putText(TEXT("Set logon delay"), logon, &ILogonTrigger::put_Delay, TEXT("PT10S"));
}

void addBootTrigger(Steps& steps, const ComPointer<ITriggerCollection>& triggers) {
    ComPointer<ITrigger> trigger;
    ComPointer<IBootTrigger> boot;
    steps.get(TEXT("Create boot trigger"), triggers, &ITriggerCollection::Create, trigger, TASK_TRIGGER_BOOT);
    steps.as(TEXT("Get boot trigger"), trigger, IID_IBootTrigger, boot);
    steps.putText(TEXT("Name boot trigger"), boot, &ITrigger::put_Id, TEXT("BootTrigger"));
    steps.putText(TEXT("Set boot delay"), boot, &IBootTrigger::put_Delay, TEXT("PT30S"));
}

void addSessionTrigger(Steps& steps, const ComPointer<ITriggerCollection>& triggers, const SessionRow& row) {
    ComPointer<ITrigger> trigger;
    ComPointer<ISessionStateChangeTrigger> session;
    steps.get(TEXT("Create session trigger"), triggers, &ITriggerCollection::Create, trigger,
              TASK_TRIGGER_SESSION_STATE_CHANGE);
    steps.as(TEXT("Get session trigger"), trigger, IID_ISessionStateChangeTrigger, session);
    steps.putText(TEXT("Name session trigger"), session, &ITrigger::put_Id, row.id);
    steps.put(TEXT("Set session event"), session, &ISessionStateChangeTrigger::put_StateChange, row.change);
    steps.putText(TEXT("Set session delay"), session, &ISessionStateChangeTrigger::put_Delay, TEXT("PT5S"));
}

// Every five minutes from now on. No duration is set, so the repetition never ends.
void addRecoveryTrigger(Steps& steps, const ComPointer<ITriggerCollection>& triggers) {
    ComPointer<ITrigger> trigger;
    ComPointer<IRepetitionPattern> repetition;
    steps.get(TEXT("Create recovery trigger"), triggers, &ITriggerCollection::Create, trigger, TASK_TRIGGER_TIME);
    steps.putText(TEXT("Name recovery trigger"), trigger, &ITrigger::put_Id, TEXT("RecoveryTrigger"));
    steps.putText(TEXT("Set recovery start"), trigger, &ITrigger::put_StartBoundary, nowUtcText().c_str());
    steps.get(TEXT("Get repetition pattern"), trigger, &ITrigger::get_Repetition, repetition);
    steps.putText(TEXT("Set recovery interval"), repetition, &IRepetitionPattern::put_Interval, TEXT("PT5M"));
    steps.put(TEXT("Keep recovery independent of UI lifetime"), repetition, &IRepetitionPattern::put_StopAtDurationEnd,
              VARIANT_FALSE);
}

void addTriggers(Steps& steps, const ComPointer<ITaskDefinition>& definition) {
    ComPointer<ITriggerCollection> triggers;
    steps.get(TEXT("Get triggers"), definition, &ITaskDefinition::get_Triggers, triggers);
    addLogonTrigger(steps, triggers);
    addBootTrigger(steps, triggers);
    for (const SessionRow& row : kSessionRows)
        addSessionTrigger(steps, triggers, row);
    addRecoveryTrigger(steps, triggers);
}

void addAction(Steps& steps, const ComPointer<ITaskDefinition>& definition, const WideString& executable,
               const WideString& arguments) {
    ComPointer<IActionCollection> actions;
    ComPointer<IAction> action;
    ComPointer<IExecAction> run;
    steps.get(TEXT("Get actions"), definition, &ITaskDefinition::get_Actions, actions);
    steps.get(TEXT("Create executable action"), actions, &IActionCollection::Create, action, TASK_ACTION_EXEC);
    steps.as(TEXT("Get executable action"), action, IID_IExecAction, run);
    steps.putText(TEXT("Set executable path"), run, &IExecAction::put_Path, executable.c_str());
    steps.putText(TEXT("Set dispatcher arguments"), run, &IExecAction::put_Arguments, arguments.c_str());
    steps.putText(TEXT("Set working directory"), run, &IExecAction::put_WorkingDirectory,
                  SessionLauncher::workingFolder(executable).c_str());
}

HRESULT registerTask(const ComPointer<ITaskFolder>& folder, const WideString& name,
                     const ComPointer<ITaskDefinition>& definition, ComPointer<IRegisteredTask>& registered) {
    const OwnedBstr text(SysAllocString(name.c_str()));
    if (!text) return E_OUTOFMEMORY;
    const Variant user(kLocalSystem), password, security(kSecurity);
    return folder.get()->RegisterTaskDefinition(text.get(), definition.get(), TASK_CREATE_OR_UPDATE, user.get(),
                                                password.get(), TASK_LOGON_SERVICE_ACCOUNT, security.get(),
                                                registered.put());
}

bool dispatchNow(const ComPointer<IRegisteredTask>& registered, const WideString& name, WideString* error) {
    const Variant none;
    ComPointer<IRunningTask> running;  // not used, but the call requires it
    const HRESULT hr = registered ? registered.get()->Run(none.get(), running.put()) : E_POINTER;
    if (!checkStep(hr, TEXT("Task registered, but immediate dispatch request failed"), error)) return false;
    logWrite(LogLevel::Info, kComponent, TEXT("Immediate dispatch requested for '%ls'"), name.c_str());
    return true;
}

bool makeAdministrators(AllocatedSid& sid) {
    SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
    return AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0,
                                    0, sid.put());
}

void empty(WideString* error) {
    if (error != nullptr) error->clear();
}

}  // namespace

void formatHr(WideString* error, WideView message, HRESULT hr) {
    if (error != nullptr)
        *error = WideString(message) + formatWideString(TEXT(" (hr=0x%08lx)"), static_cast<DWORD>(hr));
}

bool checkStep(HRESULT hr, const WCHAR* step, WideString* error) {
    if (SUCCEEDED(hr)) return true;
    formatHr(error, step, hr);
    return false;
}

bool requireElevation(WideString* error) {
    AllocatedSid administrators;
    if (!makeAdministrators(administrators)) {
        formatHr(error, TEXT("AllocateAndInitializeSid failed"), HRESULT_FROM_WIN32(GetLastError()));
        return false;
    }
    BOOL isMember = FALSE;
    HRESULT hr = E_ACCESSDENIED;
    if (!CheckTokenMembership(nullptr, administrators.get(), &isMember))
        hr = HRESULT_FROM_WIN32(GetLastError());
    else if (isMember)
        return true;
    formatHr(error, TEXT("Task management requires an elevated administrator or LocalSystem"), hr);
    return false;
}

bool registerRecoveryTask(const WideString& name, const WideString& executable, const WideString& arguments,
                          bool runNow, WideString* error) {
    empty(error);
    if (!requireElevation(error)) return false;
    Steps steps(error);
    ComPointer<ITaskService> service;
    ComPointer<ITaskFolder> folder;
    ComPointer<ITaskDefinition> definition;
    ComPointer<IRegisteredTask> registered;
    steps.run(TEXT("Create Task Scheduler service"), [&] { return requireObject(createService(service), service); });
    steps.run(TEXT("Connect to Task Scheduler"), [&] { return connectHere(service); });
    steps.run(TEXT("Get task folder"), [&] { return requireObject(getRootFolder(service, folder), folder); });
    steps.get(TEXT("Create task definition"), service, &ITaskService::NewTask, definition, DWORD{0});
    describe(steps, definition);
    setPrincipal(steps, definition);
    setSettings(steps, definition);
    addTriggers(steps, definition);
    addAction(steps, definition, executable, arguments);
    steps.run(TEXT("Register recovery task"), [&] { return registerTask(folder, name, definition, registered); });
    if (!steps.ok()) return false;
    logWrite(LogLevel::Info, kComponent, TEXT("Registered all-session recovery task '%ls'"), name.c_str());
    return !runNow || dispatchNow(registered, name, error);
}

HRESULT openRootFolder(ComPointer<ITaskFolder>& folder) {
    ComPointer<ITaskService> service;
    HRESULT hr = requireObject(createService(service), service);
    if (SUCCEEDED(hr)) hr = connectHere(service);
    return SUCCEEDED(hr) ? requireObject(getRootFolder(service, folder), folder) : hr;
}

bool deleteRecoveryTask(const WideString& name, WideString* error) {
    empty(error);
    if (!requireElevation(error)) return false;
    const auto fails = [&](HRESULT hr, const WCHAR* text) {
        formatHr(error, text, hr);
        return false;
    };
    ComPointer<ITaskService> service;
    HRESULT hr = createService(service);
    if (FAILED(hr) || !service) return fails(hr, TEXT("CoCreateInstance(TaskScheduler) failed"));
    hr = connectHere(service);
    if (FAILED(hr)) return fails(hr, TEXT("ITaskService::Connect failed"));
    ComPointer<ITaskFolder> folder;
    hr = getRootFolder(service, folder);
    if (FAILED(hr) || !folder) return fails(hr, TEXT("GetFolder(root) failed"));
    const OwnedBstr text(SysAllocString(name.c_str()));
    hr = text ? folder.get()->DeleteTask(text.get(), 0) : E_OUTOFMEMORY;
    if (FAILED(hr) && hr != HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) return fails(hr, TEXT("DeleteTask failed"));
    logWrite(LogLevel::Info, kComponent, TEXT("Deleted logon task '%ls'"), name.c_str());
    return true;
}

}  // namespace TaskSched
