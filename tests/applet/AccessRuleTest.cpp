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

// The bytes of an access list, as Windows lays it out.
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

}  // namespace

TEST(AccessRule, onlyAllowingEntriesOfTheOwnerMakeAnObjectTheOwnersAlone) {
    const Bytes user = userSid(0), other = userSid(1);
    Bytes bad = user;
    bad[0] = 2;  // a revision that nobody knows
    const Entry own = {kAllow, 0, user};
    struct Row {
        const char* what;
        Bytes owner;
        std::vector<Entry> entries;
        bool isGood;
    };
    const Row rows[] = {
        {"one entry", user, {own}, true},
        {"several, one of them to inherit only", user, {own, {kAllow, kInheritOnly, user}, own}, true},
        {"foreign owner", other, {own}, false},
        {"bad owner", bad, {own}, false},
        {"no entry", user, {}, false},
        {"denied", user, {{kDeny, 0, user}, own}, false},
        {"allowed on a condition", user, {{kCallback, 0, user}}, false},
        {"foreign entry alone", user, {{kAllow, 0, other}}, false},
        {"foreign entry first", user, {{kAllow, 0, other}, own}, false},
        {"foreign entry last", user, {own, own, {kAllow, 0, other}}, false},
        {"foreign entry to inherit only", user, {own, {kAllow, kInheritOnly, other}}, false},
        {"entry with a bad SID", user, {own, {kAllow, 0, bad}}, false},
    };
    for (Row row : rows) {
        Bytes list = listOf(row.entries), wanted = user;
        EXPECT_EQ(allowsOwnerOnly(row.owner.data(), reinterpret_cast<PACL>(list.data()), wanted.data()), row.isGood)
            << row.what;
    }
    Bytes list = listOf({own}), owner = user, wanted = user;
    EXPECT_FALSE(allowsOwnerOnly(nullptr, reinterpret_cast<PACL>(list.data()), wanted.data())) << "no owner";
    EXPECT_FALSE(allowsOwnerOnly(owner.data(), nullptr, wanted.data())) << "no list, which lets everybody in";
}
