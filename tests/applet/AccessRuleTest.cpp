#include "applet/AccessRule.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

using namespace AppletNotes;

namespace {

using Bytes = std::vector<BYTE>;

constexpr BYTE kAllow = 0, kDeny = 1, kCallback = 9, kInheritOnly = 8;

Bytes userSid(BYTE last) {
    return {1, 2, 0, 0, 0, 0, 0, 5, 21, 0, 0, 0, 233, 3, 0, last};
}

struct Entry {
    BYTE type, flags;
    Bytes sid;
};

// The bytes of an access list in Windows' layout.
Bytes listOf(const std::vector<Entry>& entries) {
    Bytes list(sizeof(ACL));
    for (const Entry& entry : entries) {
        const BYTE size = static_cast<BYTE>(8 + entry.sid.size());
        for (const Bytes& part : {Bytes{entry.type, entry.flags, size, 0, 0xFF, 1, 0x1F, 0}, entry.sid})
            list.insert(list.end(), part.begin(), part.end());
    }
    const ACL head = {2, 0, static_cast<WORD>(list.size()), static_cast<WORD>(entries.size()), 0};
    std::memcpy(list.data(), &head, sizeof head);
    return list;
}

const Bytes kUser = userSid(0), kOther = userSid(1), kBad = [] {
    Bytes sid = userSid(0);
    sid[0] = 2;  // an unknown revision
    return sid;
}();
const Entry kOwn = {kAllow, 0, kUser};

bool isGood(Bytes owner, const std::vector<Entry>& entries) {
    Bytes list = listOf(entries), wanted = kUser;
    return allowsOwnerOnly(owner.data(), reinterpret_cast<PACL>(list.data()), wanted.data());
}

}  // namespace

TEST(AccessRule, objectIsPrivateIfEveryEntryAllowsItsOwner) {
    EXPECT_TRUE(isGood(kUser, {kOwn}));
    EXPECT_TRUE(isGood(kUser, {kOwn, {kAllow, kInheritOnly, kUser}, kOwn}));
}

TEST(AccessRule, objectOfAnotherOwnerIsRefused) {
    EXPECT_FALSE(isGood(kOther, {kOwn}));
    EXPECT_FALSE(isGood(kBad, {kOwn}));
    Bytes list = listOf({kOwn}), wanted = kUser;
    EXPECT_FALSE(allowsOwnerOnly(nullptr, reinterpret_cast<PACL>(list.data()), wanted.data())) << "no owner";
}

TEST(AccessRule, anyOtherEntryIsRefused) {
    const std::vector<Entry> rows[] = {{},
                                       {{kDeny, 0, kUser}, kOwn},
                                       {{kCallback, 0, kUser}},
                                       {{kAllow, 0, kOther}},
                                       {{kAllow, 0, kOther}, kOwn},
                                       {kOwn, kOwn, {kAllow, 0, kOther}},
                                       {kOwn, {kAllow, kInheritOnly, kOther}},
                                       {kOwn, {kAllow, 0, kBad}}};
    for (const std::vector<Entry>& entries : rows)
        EXPECT_FALSE(isGood(kUser, entries)) << testing::PrintToString(listOf(entries));
    Bytes owner = kUser, wanted = kUser;
    EXPECT_FALSE(allowsOwnerOnly(owner.data(), nullptr, wanted.data())) << "no list, which lets everybody in";
}
