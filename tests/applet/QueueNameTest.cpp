#include "applet/QueueName.h"

#include <gtest/gtest.h>

#include "support/Text.h"

using namespace AppletNotes;

TEST(QueueName, readsTheNameOfAQueue) {
    QueueName name;
    ASSERT_TRUE(parseQueueName(TEXT("applet-00000002-800000010003A1F7-01DC2F6A5B3C4D10"), name));
    EXPECT_TRUE(name.identity == (LogonIdentity{2, {0x3A1F7, -0x7FFFFFFF}, 0x1DC2F6A5B3C4D10}));
    EXPECT_TRUE(name.claimToken.empty());
    EXPECT_TRUE(parseQueueName(TEXT("applet-00000002-0000000100000000-01DC2F6A5B3C4D10"), name))
        << "one half of the logon id may be zero";
}

TEST(QueueName, readsTheNameOfAClaimedQueue) {
    QueueName name;
    ASSERT_TRUE(parseQueueName(
        TEXT("applet-7fffffff-000000000004b2e0-7FFFFFFFFFFFFFFF-r-6F9619FF8B86D011b42d00c04fc964ff"), name));
    EXPECT_TRUE(name.identity == (LogonIdentity{0x7FFFFFFF, {0x4B2E0, 0}, 0x7FFFFFFFFFFFFFFF}));
    EXPECT_EQ(utf8(name.claimToken), "6F9619FF8B86D011b42d00c04fc964ff");
}

TEST(QueueName, refusesMalformedNamesAndClearsTheResult) {
    const WideString plain = TEXT("applet-00000002-000000000003A1F7-01DC2F6A5B3C4D10");
    const WideString claimed = plain + TEXT("-r-6F9619FF8B86D011B42D00C04FC964FF");
    // Each row: a valid name, a position, and texts that make it invalid there.
    const std::tuple<const WideString&, std::size_t, std::vector<const WCHAR*>> rows[] = {
        {plain, 0, {TEXT("A")}},
        {plain, 6, {TEXT("_")}},
        {plain, 15, {TEXT("0")}},
        {plain, 32, {TEXT("0")}},
        {plain, 8, {TEXT("G"), TEXT("g"), TEXT("/"), TEXT(":"), TEXT("@"), TEXT("`"), TEXT(" "), TEXT("\uFF12")}},
        {plain, 16, {TEXT("+"), TEXT("0000000000000000")}},
        {plain, 7, {TEXT("00000000"), TEXT("80000000")}},
        {plain, 33, {TEXT("0000000000000000"), TEXT("8000000000000001")}},
        {plain, 48, {TEXT("G")}},
        {claimed, 49, {TEXT("_"), TEXT("-R"), TEXT("-r0")}},
        {claimed, 52, {TEXT("x")}},
        {claimed, 83, {TEXT("-")}}};
    for (const auto& [base, position, replacements] : rows)
        for (const WCHAR* replacement : replacements) {
            WideString text = base;
            text.replace(position, WideView(replacement).size(), replacement);
            QueueName name;
            ASSERT_TRUE(parseQueueName(base, name));
            EXPECT_FALSE(parseQueueName(text, name)) << utf8(text);
            EXPECT_TRUE(name.identity.sessionId == 0 && name.claimToken.empty()) << utf8(text);
        }
}

TEST(QueueName, refusesNamesOfWrongLength) {
    const WideString plain = TEXT("applet-00000002-000000000003A1F7-01DC2F6A5B3C4D10");
    const WideString claimed = plain + TEXT("-r-6F9619FF8B86D011B42D00C04FC964FF");
    QueueName name;
    for (const WideString& text :
         {WideString(), plain.substr(1), plain + TEXT("0"), claimed.substr(0, 83), claimed + TEXT("0")})
        EXPECT_FALSE(parseQueueName(text, name)) << utf8(text);
}

TEST(QueueName, writesUpperCaseHexThatReadsBack) {
    LogonIdentity identity = {2, {0x3A1F7, 0}, 0x1DC2F6A5B3C4D10};
    EXPECT_EQ(utf8(formatQueueName(identity)), "applet-00000002-000000000003A1F7-01DC2F6A5B3C4D10");
    identity = {0x7FFFFFFF, {0xFFFFFFFF, -0x7FFFFFFF - 1}, 0x7FFFFFFFFFFFFFFF};
    EXPECT_EQ(utf8(formatQueueName(identity)), "applet-7FFFFFFF-80000000FFFFFFFF-7FFFFFFFFFFFFFFF");
    QueueName name;
    ASSERT_TRUE(parseQueueName(formatQueueName(identity), name));
    EXPECT_TRUE(name.identity == identity);
    identity.sessionId = 0;
    EXPECT_TRUE(formatQueueName(identity).empty());
}

TEST(QueueName, recognizesTheNamesOfPrivateNotes) {
    const auto ofLength = [](std::size_t units) {
        return TEXT("note_") + WideString(units - 10, TEXT('x')) + TEXT(".json");
    };
    for (const WideString& name : {WideString(TEXT("note_.json")), WideString(TEXT("note_aZ09_.x.json")), ofLength(96)})
        EXPECT_TRUE(isPrivateNoteName(name)) << utf8(name);
    for (const WideString& name :
         {WideString(), WideString(TEXT("note.json")), WideString(TEXT("Note_a.json")), WideString(TEXT("note_a.Json")),
          WideString(TEXT("note_a-b.json")), WideString(TEXT("note_a..b.json")), WideString(TEXT("note_a..json")),
          WideString(TEXT("note_a\\b.json")), WideString(TEXT("note_a/b.json")), WideString(TEXT("note_a:b.json")),
          WideString(TEXT("note_a b.json")), WideString(TEXT("note_\u00E4.json")), WideString(TEXT("note_a.json.tmp")),
          WideString(TEXT("note_a\0.json"), 12), ofLength(97)})
        EXPECT_FALSE(isPrivateNoteName(name)) << utf8(name);
}
