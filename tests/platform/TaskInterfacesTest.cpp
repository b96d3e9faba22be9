// Task Scheduler interfaces. The program and the stand-in declare some of them on their own. This checks that each
// called method has its published vtable slot, and each interface its published IID.
#include <windows.h>

#include <gtest/gtest.h>
#include <objbase.h>
#include <tasktriggers.h>

#include <cstring>

#include "support/Text.h"

namespace {

// The vtable slot of a method. Both compilers store a pointer to a virtual method as the slot's byte offset plus 1.
template <typename Method>
std::size_t slotOf(Method method) {
    std::size_t word = 0;
    std::memcpy(&word, &method, sizeof word);
    return (word - 1) / sizeof(void*);
}

}  // namespace

TEST(TaskInterfaces, methodsHaveTheirPublishedSlots) {
    const std::tuple<const char*, std::size_t, std::size_t> rows[] = {
#define METHOD(name, published) {#name, slotOf(&name), published}
        // clang-format off
        METHOD(ITaskService::GetFolder, 7), METHOD(ITaskService::NewTask, 9), METHOD(ITaskService::Connect, 10),
        METHOD(ITaskFolder::DeleteTask, 15), METHOD(ITaskFolder::RegisterTaskDefinition, 17),
        METHOD(ITaskDefinition::get_RegistrationInfo, 7), METHOD(ITaskDefinition::get_Triggers, 9),
        METHOD(ITaskDefinition::get_Settings, 11), METHOD(ITaskDefinition::get_Principal, 15),
        METHOD(ITaskDefinition::get_Actions, 17), METHOD(IRegistrationInfo::put_Description, 8),
        METHOD(IRegistrationInfo::put_Author, 10), METHOD(IPrincipal::put_UserId, 12),
        METHOD(IPrincipal::put_LogonType, 14), METHOD(IPrincipal::put_RunLevel, 18),
        METHOD(ITaskSettings::put_AllowDemandStart, 8), METHOD(ITaskSettings::put_RestartInterval, 10),
        METHOD(ITaskSettings::put_RestartCount, 12), METHOD(ITaskSettings::put_MultipleInstances, 14),
        METHOD(ITaskSettings::put_StopIfGoingOnBatteries, 16),
        METHOD(ITaskSettings::put_DisallowStartIfOnBatteries, 18), METHOD(ITaskSettings::put_StartWhenAvailable, 22),
        METHOD(ITaskSettings::put_RunOnlyIfNetworkAvailable, 26), METHOD(ITaskSettings::put_ExecutionTimeLimit, 28),
        METHOD(ITaskSettings::put_Enabled, 30), METHOD(ITaskSettings::put_RunOnlyIfIdle, 42),
        METHOD(ITriggerCollection::Create, 10), METHOD(ITrigger::put_Id, 9), METHOD(ITrigger::get_Repetition, 10),
        METHOD(ITrigger::put_StartBoundary, 15), METHOD(ILogonTrigger::put_Delay, 21),
        METHOD(IBootTrigger::put_Delay, 21), METHOD(ISessionStateChangeTrigger::put_Delay, 21),
        METHOD(ISessionStateChangeTrigger::put_StateChange, 25), METHOD(IRepetitionPattern::put_Interval, 8),
        METHOD(IRepetitionPattern::put_StopAtDurationEnd, 12), METHOD(IActionCollection::Create, 12),
        METHOD(IExecAction::put_Path, 11), METHOD(IExecAction::put_Arguments, 13),
        METHOD(IExecAction::put_WorkingDirectory, 15), METHOD(IRegisteredTask::Run, 12),
        METHOD(ITaskFolder::GetTasks, 14), METHOD(IRegisteredTask::get_Name, 7),
        METHOD(IRegisteredTask::get_LastRunTime, 15), METHOD(IRegisteredTask::get_LastTaskResult, 16),
        METHOD(IRegisteredTaskCollection::get_Count, 7), METHOD(IRegisteredTaskCollection::get_Item, 8),
    // clang-format on
#undef METHOD
    };
    for (const auto& [method, slot, published] : rows)
        EXPECT_EQ(slot, published) << method;
}

TEST(TaskInterfaces, identifiersMatchThePublishedOnes) {
    const std::pair<GUID, const char*> rows[] = {
        {CLSID_TaskScheduler, "{0F87369F-A4E5-4CFC-BD3E-73E6154572DD}"},
        {IID_ITaskService, "{2FABA4C7-4DA9-4013-9697-20CC3FD40F85}"},
        {IID_ILogonTrigger, "{72DADE38-FAE4-4B3E-BAF4-5D009AF02B1C}"},
        {IID_IBootTrigger, "{2A9C35DA-D357-41F4-BBC1-207AC1B1F3CB}"},
        {IID_ISessionStateChangeTrigger, "{754DA71B-4385-4475-9DD9-598294FA3641}"},
        {IID_IExecAction, "{4C3D624D-FD6B-49A3-B9B7-09CB3CD3F047}"}};
    for (const auto& [id, published] : rows) {
        WCHAR text[39] = {};
        StringFromGUID2(id, text, 39);
        EXPECT_EQ(utf8(text), published);
    }
}
