#include "applet/LogonIdentity.h"

#include <gtest/gtest.h>

using namespace AppletNotes;

namespace {

constexpr LogonIdentity kGood = {2, {0x3A1F7, 0}, 0x1DC2F6A5B3C4D10};

struct Row {
    const char* what;
    LogonIdentity identity;
};

}  // namespace

TEST(LogonIdentity, isValidWithinItsRanges) {
    for (const Row& row : std::initializer_list<Row>{{"usual", kGood},
                                                     {"largest session", {0x7FFFFFFF, {1, 0}, 1}},
                                                     {"high half of the logon id alone", {1, {0, 1}, 1}},
                                                     {"negative high half", {1, {0, -1}, 1}},
                                                     {"latest time", {1, {1, 0}, 0x7FFFFFFFFFFFFFFF}}})
        EXPECT_TRUE(isValid(row.identity)) << row.what;
    for (const Row& row : std::initializer_list<Row>{{"empty", {}},
                                                     {"session 0", {0, {1, 0}, 1}},
                                                     {"session above the largest", {0x80000000, {1, 0}, 1}},
                                                     {"logon id 0", {1, {0, 0}, 1}},
                                                     {"time 0", {1, {1, 0}, 0}},
                                                     {"time with the sign", {1, {1, 0}, -1}}})
        EXPECT_FALSE(isValid(row.identity)) << row.what;
}

TEST(LogonIdentity, ownerIsLiveOnlyWhenEverythingAgrees) {
    const auto changed = [](auto change) {
        LogonIdentity identity = kGood;
        change(identity);
        return identity;
    };
    const LogonIdentity otherSession = changed([](LogonIdentity& identity) { ++identity.sessionId; });
    const LogonIdentity otherLow = changed([](LogonIdentity& identity) { ++identity.logonId.LowPart; });
    const LogonIdentity otherHigh = changed([](LogonIdentity& identity) { ++identity.logonId.HighPart; });
    const LogonIdentity tickLater = changed([](LogonIdentity& identity) { ++identity.logonTime; });
    const LogonIdentity invalid = {};
    struct Case {
        const char* what;
        const LogonIdentity& queue;
        const LogonIdentity* live;
        bool sameUser;
        DWORD lookupError;
        OwnerState state;
    };
    const Case cases[] = {
        {"the very same", kGood, &kGood, true, 0, OwnerState::Live},
        {"another user's", kGood, &kGood, false, 0, OwnerState::Gone},
        {"another session", kGood, &otherSession, true, 0, OwnerState::Gone},
        {"another low half", kGood, &otherLow, true, 0, OwnerState::Gone},
        {"another high half", kGood, &otherHigh, true, 0, OwnerState::Gone},
        {"a tick later", kGood, &tickLater, true, 0, OwnerState::Gone},
        {"no such logon", kGood, nullptr, false, 1312, OwnerState::Gone},
        {"no such logon, whatever came with it", kGood, &kGood, true, 1312, OwnerState::Gone},
        {"another error", kGood, &kGood, true, 5, OwnerState::Unknown},
        {"no answer", kGood, nullptr, true, 0, OwnerState::Unknown},
        {"an answer that is no logon", kGood, &invalid, false, 0, OwnerState::Unknown},
        {"a queue that names no logon", invalid, nullptr, false, 1312, OwnerState::Unknown},
    };
    for (const Case& row : cases)
        EXPECT_EQ(classifyOwner(row.queue, row.live, row.sameUser, row.lookupError), row.state) << row.what;
}
