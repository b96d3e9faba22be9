#include "applet/LogonIdentity.h"

#include <gtest/gtest.h>

using namespace AppletNotes;

namespace {

constexpr LogonIdentity kGood = {2, {0x3A1F7, 0}, 0x1DC2F6A5B3C4D10};

}  // namespace

TEST(LogonIdentity, acceptsOnlyValuesInRange) {
    for (const LogonIdentity& valid : std::initializer_list<LogonIdentity>{
             kGood, {0x7FFFFFFF, {1, 0}, 1}, {1, {0, 1}, 1}, {1, {0, -1}, 1}, {1, {1, 0}, 0x7FFFFFFFFFFFFFFF}})
        EXPECT_TRUE(isValid(valid)) << valid.sessionId << " " << valid.logonTime;
    for (const LogonIdentity& invalid : std::initializer_list<LogonIdentity>{
             {}, {0, {1, 0}, 1}, {0x80000000, {1, 0}, 1}, {1, {0, 0}, 1}, {1, {1, 0}, 0}, {1, {1, 0}, -1}})
        EXPECT_FALSE(isValid(invalid)) << invalid.sessionId << " " << invalid.logonTime;
}

TEST(LogonIdentity, ownerIsLiveOnlyIfEveryFieldMatches) {
    LogonIdentity otherSession = kGood, otherLow = kGood, otherHigh = kGood, tickLater = kGood;
    ++otherSession.sessionId;
    ++otherLow.logonId.LowPart;
    ++otherHigh.logonId.HighPart;
    ++tickLater.logonTime;
    EXPECT_EQ(classifyOwner(kGood, &kGood, true, 0), OwnerState::Live);
    EXPECT_EQ(classifyOwner(kGood, &kGood, false, 0), OwnerState::Gone) << "another user's";
    for (const LogonIdentity& other : {otherSession, otherLow, otherHigh, tickLater})
        EXPECT_EQ(classifyOwner(kGood, &other, true, 0), OwnerState::Gone);
}

TEST(LogonIdentity, ownerIsGoneIfTheLogonDoesNotExist) {
    for (const LogonIdentity* live : {static_cast<const LogonIdentity*>(nullptr), &kGood})
        EXPECT_EQ(classifyOwner(kGood, live, true, ERROR_NO_SUCH_LOGON_SESSION), OwnerState::Gone);
}

TEST(LogonIdentity, ownerIsUnknownIfTheQueryFails) {
    const LogonIdentity invalid = {};
    EXPECT_EQ(classifyOwner(kGood, &kGood, true, ERROR_ACCESS_DENIED), OwnerState::Unknown);
    EXPECT_EQ(classifyOwner(kGood, nullptr, true, 0), OwnerState::Unknown);
    EXPECT_EQ(classifyOwner(kGood, &invalid, false, 0), OwnerState::Unknown) << "an answer that is no logon";
    EXPECT_EQ(classifyOwner(invalid, nullptr, false, ERROR_NO_SUCH_LOGON_SESSION), OwnerState::Unknown);
}
