// The Task Scheduler 2.0 API. Each interface lists its methods in the published order. The list ends after the last
// method that the product calls, or is complete if another interface derives from it.
#pragma once

#include <oaidl.h>

enum TASK_LOGON_TYPE { TASK_LOGON_NONE = 0, TASK_LOGON_SERVICE_ACCOUNT = 5 };
enum TASK_RUNLEVEL_TYPE { TASK_RUNLEVEL_LUA = 0, TASK_RUNLEVEL_HIGHEST = 1 };
enum TASK_TRIGGER_TYPE2 {
    TASK_TRIGGER_TIME = 1,
    TASK_TRIGGER_BOOT = 8,
    TASK_TRIGGER_LOGON = 9,
    TASK_TRIGGER_SESSION_STATE_CHANGE = 11
};
enum TASK_ACTION_TYPE { TASK_ACTION_EXEC = 0 };
enum TASK_INSTANCES_POLICY { TASK_INSTANCES_IGNORE_NEW = 2 };
enum TASK_CREATION { TASK_CREATE_OR_UPDATE = 6 };
enum TASK_COMPATIBILITY : int;
enum TASK_STATE : int;

struct IIdleSettings;
struct IRunningTaskCollection;
struct ITaskFolderCollection;

inline constexpr GUID CLSID_TaskScheduler = {
    0x0f87369f, 0xa4e5, 0x4cfc, {0xbd, 0x3e, 0x73, 0xe6, 0x15, 0x45, 0x72, 0xdd}};
inline constexpr GUID IID_ITrigger = {0x09941815, 0xea89, 0x4b5b, {0x89, 0xe0, 0x2a, 0x77, 0x38, 0x01, 0xfa, 0xc3}};
inline constexpr GUID IID_IExecAction = {0x4c3d624d, 0xfd6b, 0x49a3, {0xb9, 0xb7, 0x09, 0xcb, 0x3c, 0xd3, 0xf0, 0x47}};
inline constexpr GUID IID_ITaskService = {0x2faba4c7, 0x4da9, 0x4013, {0x96, 0x97, 0x20, 0xcc, 0x3f, 0xd4, 0x0f, 0x85}};

struct IRepetitionPattern : IDispatch {
    virtual HRESULT get_Interval(BSTR* interval) = 0;
    virtual HRESULT put_Interval(BSTR interval) = 0;
    virtual HRESULT get_Duration(BSTR* duration) = 0;
    virtual HRESULT put_Duration(BSTR duration) = 0;
    virtual HRESULT get_StopAtDurationEnd(VARIANT_BOOL* stop) = 0;
    virtual HRESULT put_StopAtDurationEnd(VARIANT_BOOL stop) = 0;

  protected:
    ~IRepetitionPattern() = default;
};

struct ITrigger : IDispatch {
    virtual HRESULT get_Type(TASK_TRIGGER_TYPE2* type) = 0;
    virtual HRESULT get_Id(BSTR* id) = 0;
    virtual HRESULT put_Id(BSTR id) = 0;
    virtual HRESULT get_Repetition(IRepetitionPattern** repeat) = 0;
    virtual HRESULT put_Repetition(IRepetitionPattern* repeat) = 0;
    virtual HRESULT get_ExecutionTimeLimit(BSTR* limit) = 0;
    virtual HRESULT put_ExecutionTimeLimit(BSTR limit) = 0;
    virtual HRESULT get_StartBoundary(BSTR* start) = 0;
    virtual HRESULT put_StartBoundary(BSTR start) = 0;
    virtual HRESULT get_EndBoundary(BSTR* end) = 0;
    virtual HRESULT put_EndBoundary(BSTR end) = 0;
    virtual HRESULT get_Enabled(VARIANT_BOOL* enabled) = 0;
    virtual HRESULT put_Enabled(VARIANT_BOOL enabled) = 0;

  protected:
    ~ITrigger() = default;
};

struct ITriggerCollection : IDispatch {
    virtual HRESULT get_Count(LONG* count) = 0;
    virtual HRESULT get_Item(LONG index, ITrigger** trigger) = 0;
    virtual HRESULT get__NewEnum(IUnknown** penum) = 0;
    virtual HRESULT Create(TASK_TRIGGER_TYPE2 type, ITrigger** trigger) = 0;

  protected:
    ~ITriggerCollection() = default;
};

struct IAction : IDispatch {
    virtual HRESULT get_Id(BSTR* id) = 0;
    virtual HRESULT put_Id(BSTR id) = 0;
    virtual HRESULT get_Type(TASK_ACTION_TYPE* type) = 0;

  protected:
    ~IAction() = default;
};

struct IExecAction : IAction {
    virtual HRESULT get_Path(BSTR* path) = 0;
    virtual HRESULT put_Path(BSTR path) = 0;
    virtual HRESULT get_Arguments(BSTR* argument) = 0;
    virtual HRESULT put_Arguments(BSTR argument) = 0;
    virtual HRESULT get_WorkingDirectory(BSTR* directory) = 0;
    virtual HRESULT put_WorkingDirectory(BSTR directory) = 0;

  protected:
    ~IExecAction() = default;
};

struct IActionCollection : IDispatch {
    virtual HRESULT get_Count(LONG* count) = 0;
    virtual HRESULT get_Item(LONG index, IAction** action) = 0;
    virtual HRESULT get__NewEnum(IUnknown** penum) = 0;
    virtual HRESULT get_XmlText(BSTR* xml) = 0;
    virtual HRESULT put_XmlText(BSTR xml) = 0;
    virtual HRESULT Create(TASK_ACTION_TYPE type, IAction** action) = 0;

  protected:
    ~IActionCollection() = default;
};

struct IRegistrationInfo : IDispatch {
    virtual HRESULT get_Description(BSTR* description) = 0;
    virtual HRESULT put_Description(BSTR description) = 0;
    virtual HRESULT get_Author(BSTR* author) = 0;
    virtual HRESULT put_Author(BSTR author) = 0;

  protected:
    ~IRegistrationInfo() = default;
};

struct IPrincipal : IDispatch {
    virtual HRESULT get_Id(BSTR* id) = 0;
    virtual HRESULT put_Id(BSTR id) = 0;
    virtual HRESULT get_DisplayName(BSTR* name) = 0;
    virtual HRESULT put_DisplayName(BSTR name) = 0;
    virtual HRESULT get_UserId(BSTR* user) = 0;
    virtual HRESULT put_UserId(BSTR user) = 0;
    virtual HRESULT get_LogonType(TASK_LOGON_TYPE* logon) = 0;
    virtual HRESULT put_LogonType(TASK_LOGON_TYPE logon) = 0;
    virtual HRESULT get_GroupId(BSTR* group) = 0;
    virtual HRESULT put_GroupId(BSTR group) = 0;
    virtual HRESULT get_RunLevel(TASK_RUNLEVEL_TYPE* level) = 0;
    virtual HRESULT put_RunLevel(TASK_RUNLEVEL_TYPE level) = 0;

  protected:
    ~IPrincipal() = default;
};

struct ITaskSettings : IDispatch {
    virtual HRESULT get_AllowDemandStart(VARIANT_BOOL* allow) = 0;
    virtual HRESULT put_AllowDemandStart(VARIANT_BOOL allow) = 0;
    virtual HRESULT get_RestartInterval(BSTR* interval) = 0;
    virtual HRESULT put_RestartInterval(BSTR interval) = 0;
    virtual HRESULT get_RestartCount(INT* count) = 0;
    virtual HRESULT put_RestartCount(INT count) = 0;
    virtual HRESULT get_MultipleInstances(TASK_INSTANCES_POLICY* policy) = 0;
    virtual HRESULT put_MultipleInstances(TASK_INSTANCES_POLICY policy) = 0;
    virtual HRESULT get_StopIfGoingOnBatteries(VARIANT_BOOL* stop) = 0;
    virtual HRESULT put_StopIfGoingOnBatteries(VARIANT_BOOL stop) = 0;
    virtual HRESULT get_DisallowStartIfOnBatteries(VARIANT_BOOL* disallow) = 0;
    virtual HRESULT put_DisallowStartIfOnBatteries(VARIANT_BOOL disallow) = 0;
    virtual HRESULT get_AllowHardTerminate(VARIANT_BOOL* allow) = 0;
    virtual HRESULT put_AllowHardTerminate(VARIANT_BOOL allow) = 0;
    virtual HRESULT get_StartWhenAvailable(VARIANT_BOOL* start) = 0;
    virtual HRESULT put_StartWhenAvailable(VARIANT_BOOL start) = 0;
    virtual HRESULT get_XmlText(BSTR* xml) = 0;
    virtual HRESULT put_XmlText(BSTR xml) = 0;
    virtual HRESULT get_RunOnlyIfNetworkAvailable(VARIANT_BOOL* run) = 0;
    virtual HRESULT put_RunOnlyIfNetworkAvailable(VARIANT_BOOL run) = 0;
    virtual HRESULT get_ExecutionTimeLimit(BSTR* limit) = 0;
    virtual HRESULT put_ExecutionTimeLimit(BSTR limit) = 0;
    virtual HRESULT get_Enabled(VARIANT_BOOL* enabled) = 0;
    virtual HRESULT put_Enabled(VARIANT_BOOL enabled) = 0;
    virtual HRESULT get_DeleteExpiredTaskAfter(BSTR* delay) = 0;
    virtual HRESULT put_DeleteExpiredTaskAfter(BSTR delay) = 0;
    virtual HRESULT get_Priority(INT* priority) = 0;
    virtual HRESULT put_Priority(INT priority) = 0;
    virtual HRESULT get_Compatibility(TASK_COMPATIBILITY* level) = 0;
    virtual HRESULT put_Compatibility(TASK_COMPATIBILITY level) = 0;
    virtual HRESULT get_Hidden(VARIANT_BOOL* hidden) = 0;
    virtual HRESULT put_Hidden(VARIANT_BOOL hidden) = 0;
    virtual HRESULT get_IdleSettings(IIdleSettings** settings) = 0;
    virtual HRESULT put_IdleSettings(IIdleSettings* settings) = 0;
    virtual HRESULT get_RunOnlyIfIdle(VARIANT_BOOL* run) = 0;
    virtual HRESULT put_RunOnlyIfIdle(VARIANT_BOOL run) = 0;

  protected:
    ~ITaskSettings() = default;
};

struct ITaskDefinition : IDispatch {
    virtual HRESULT get_RegistrationInfo(IRegistrationInfo** info) = 0;
    virtual HRESULT put_RegistrationInfo(IRegistrationInfo* info) = 0;
    virtual HRESULT get_Triggers(ITriggerCollection** triggers) = 0;
    virtual HRESULT put_Triggers(ITriggerCollection* triggers) = 0;
    virtual HRESULT get_Settings(ITaskSettings** settings) = 0;
    virtual HRESULT put_Settings(ITaskSettings* settings) = 0;
    virtual HRESULT get_Data(BSTR* data) = 0;
    virtual HRESULT put_Data(BSTR data) = 0;
    virtual HRESULT get_Principal(IPrincipal** principal) = 0;
    virtual HRESULT put_Principal(IPrincipal* principal) = 0;
    virtual HRESULT get_Actions(IActionCollection** actions) = 0;

  protected:
    ~ITaskDefinition() = default;
};

struct IRunningTask : IDispatch {
  protected:
    ~IRunningTask() = default;
};

struct IRegisteredTask : IDispatch {
    virtual HRESULT get_Name(BSTR* name) = 0;
    virtual HRESULT get_Path(BSTR* path) = 0;
    virtual HRESULT get_State(TASK_STATE* state) = 0;
    virtual HRESULT get_Enabled(VARIANT_BOOL* enabled) = 0;
    virtual HRESULT put_Enabled(VARIANT_BOOL enabled) = 0;
    virtual HRESULT Run(VARIANT params, IRunningTask** task) = 0;
    virtual HRESULT RunEx(VARIANT params, LONG flags, LONG session, BSTR user, IRunningTask** task) = 0;
    virtual HRESULT GetInstances(LONG flags, IRunningTaskCollection** tasks) = 0;
    virtual HRESULT get_LastRunTime(DATE* date) = 0;
    virtual HRESULT get_LastTaskResult(LONG* result) = 0;

  protected:
    ~IRegisteredTask() = default;
};

struct IRegisteredTaskCollection : IDispatch {
    virtual HRESULT get_Count(LONG* count) = 0;
    virtual HRESULT get_Item(VARIANT index, IRegisteredTask** task) = 0;

  protected:
    ~IRegisteredTaskCollection() = default;
};

struct ITaskFolder : IDispatch {
    virtual HRESULT get_Name(BSTR* name) = 0;
    virtual HRESULT get_Path(BSTR* path) = 0;
    virtual HRESULT GetFolder(BSTR path, ITaskFolder** folder) = 0;
    virtual HRESULT GetFolders(LONG flags, ITaskFolderCollection** folders) = 0;
    virtual HRESULT CreateFolder(BSTR name, VARIANT sddl, ITaskFolder** folder) = 0;
    virtual HRESULT DeleteFolder(BSTR name, LONG flags) = 0;
    virtual HRESULT GetTask(BSTR path, IRegisteredTask** task) = 0;
    virtual HRESULT GetTasks(LONG flags, IRegisteredTaskCollection** tasks) = 0;
    virtual HRESULT DeleteTask(BSTR name, LONG flags) = 0;
    virtual HRESULT RegisterTask(BSTR path, BSTR xml, LONG flags, VARIANT user, VARIANT password,
                                 TASK_LOGON_TYPE logonType, VARIANT sddl, IRegisteredTask** task) = 0;
    virtual HRESULT RegisterTaskDefinition(BSTR path, ITaskDefinition* definition, LONG flags, VARIANT user,
                                           VARIANT password, TASK_LOGON_TYPE logon, VARIANT sddl,
                                           IRegisteredTask** task) = 0;

  protected:
    ~ITaskFolder() = default;
};

struct ITaskService : IDispatch {
    virtual HRESULT GetFolder(BSTR path, ITaskFolder** folder) = 0;
    virtual HRESULT GetRunningTasks(LONG flags, IRunningTaskCollection** tasks) = 0;
    virtual HRESULT NewTask(DWORD flags, ITaskDefinition** definition) = 0;
    virtual HRESULT Connect(VARIANT server, VARIANT user, VARIANT domain, VARIANT password) = 0;

  protected:
    ~ITaskService() = default;
};
