#include "applet/QueueName.h"

#include <gtest/gtest.h>

#include "support/Text.h"

using namespace AppletNotes;

TEST(QueueName, readsBothForms) {
    QueueName name;
    ASSERT_TRUE(parseQueueName(TEXT("applet-00000002-800000010003A1F7-01DC2F6A5B3C4D10"), name));
    EXPECT_EQ(name.identity.sessionId, 2U);
    EXPECT_EQ(name.identity.logonId.HighPart, static_cast<LONG>(-0x7FFFFFFF));
    EXPECT_EQ(name.identity.logonId.LowPart, 0x3A1F7U);
    EXPECT_EQ(name.identity.logonTime, 0x1DC2F6A5B3C4D10);
    EXPECT_TRUE(name.claimToken.empty());

    EXPECT_TRUE(parseQueueName(TEXT("applet-00000002-0000000100000000-01DC2F6A5B3C4D10"), name))
        << "one half of the logon id may be zero";

    const WideView claimed =
        TEXT("applet-7fffffff-000000000004b2e0-7FFFFFFFFFFFFFFF-r-6F9619FF8B86D011b42d00c04fc964ff");
    ASSERT_TRUE(parseQueueName(claimed, name));
    EXPECT_EQ(name.identity.sessionId, 0x7FFFFFFFU);
    EXPECT_EQ(name.identity.logonTime, 0x7FFFFFFFFFFFFFFF);
    EXPECT_EQ(name.identity.logonId.LowPart, 0x4B2E0U);
    EXPECT_EQ(utf8(name.claimToken), "6F9619FF8B86D011b42d00c04fc964ff");
}

TEST(QueueName, refusesEverythingElseAndLeavesNothingBehind) {
    const WideString plain = TEXT("applet-00000002-000000000003A1F7-01DC2F6A5B3C4D10");
    const WideString claimed = plain + TEXT("-r-6F9619FF8B86D011B42D00C04FC964FF");
    struct Row {
        const char* what;
        const WideString* base;
        std::size_t position;
        const WCHAR* replacement;
    };
    const Row rows[] = {
        {"capital in the prefix", &plain, 0, TEXT("A")},
        {"first hyphen", &plain, 6, TEXT("_")},
        {"second hyphen", &plain, 15, TEXT("0")},
        {"third hyphen", &plain, 32, TEXT("0")},
        {"letter behind F", &plain, 8, TEXT("G")},
        {"letter behind f", &plain, 8, TEXT("g")},
        {"before 0", &plain, 8, TEXT("/")},
        {"behind 9", &plain, 8, TEXT(":")},
        {"before A", &plain, 8, TEXT("@")},
        {"before a", &plain, 8, TEXT("`")},
        {"blank for a digit", &plain, 7, TEXT(" ")},
        {"sign for a digit", &plain, 16, TEXT("+")},
        {"wide digit", &plain, 14, TEXT("\uFF12")},
        {"session 0", &plain, 7, TEXT("00000000")},
        {"session above the largest", &plain, 7, TEXT("80000000")},
        {"logon id 0", &plain, 16, TEXT("0000000000000000")},
        {"logon time 0", &plain, 33, TEXT("0000000000000000")},
        {"logon time with the sign", &plain, 33, TEXT("8000000000000001")},
        {"hyphen before r", &claimed, 49, TEXT("_")},
        {"capital R", &claimed, 50, TEXT("R")},
        {"hyphen behind r", &claimed, 51, TEXT("0")},
        {"first half of the token", &claimed, 52, TEXT("x")},
        {"second half of the token", &claimed, 83, TEXT("-")},
    };
    for (const Row& row : rows) {
        WideString text = *row.base;
        text.replace(row.position, WideView(row.replacement).size(), row.replacement);
        QueueName name;
        ASSERT_TRUE(parseQueueName(*row.base, name));
        EXPECT_FALSE(parseQueueName(text, name)) << row.what;
        EXPECT_EQ(name.identity.sessionId, 0U) << row.what;
        EXPECT_TRUE(name.claimToken.empty()) << row.what;
    }
    QueueName name;
    for (const WideString& text :
         {WideString(), plain.substr(1), plain + TEXT("0"), claimed.substr(0, 83), claimed + TEXT("0")})
        EXPECT_FALSE(parseQueueName(text, name)) << utf8(text);
}

TEST(QueueName, isWrittenInCapitalsAndReadsBack) {
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

TEST(QueueName, notesHaveNamesOfTheirOwn) {
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
