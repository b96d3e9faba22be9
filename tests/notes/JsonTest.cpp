#include "notes/Json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "notes/Cases.h"
#include "notes/Text.h"
#include "notes/TextRuns.h"
#include "support/Text.h"

namespace {

struct Outcome {
    bool ok;
    std::string text;  // compact JSON, or the error
};

Outcome parseBytes(const std::string& bytes) {
    JsonValue value;
    WideString error = TEXT("untouched");
    const bool ok = parseJsonUtf8(bytes, value, &error);
    EXPECT_EQ(utf8(error) == "untouched", ok);
    return {ok, ok ? serializeJsonUtf8(value, false) : utf8(error)};
}

// Parses after conversion to UTF-16. This is the reference for parseBytes.
Outcome parseConverted(const std::string& bytes) {
    JsonValue value;
    WideString error;
    const std::size_t mark = bytes.starts_with("\xEF\xBB\xBF") ? 3 : 0;
    const bool ok = parseJson(utf8ToWide(bytes.substr(mark)), value, &error);
    return {ok, ok ? wideToUtf8(serializeJson(value, false)) : utf8(error)};
}

std::string errorAt(int line, int column, const char* what) {
    return "JSON parse error at line " + std::to_string(line) + " col " + std::to_string(column) + ": " + what;
}

WideString repeated(const WCHAR* text, std::size_t count) {
    WideString all;
    while (count-- > 0)
        all += text;
    return all;
}

}  // namespace

TEST(Json, acceptsValidDocumentsAndWritesThemBack) {
    const std::vector<Case> cases = readCases(TEXT("accepted.txt"));
    ASSERT_GT(cases.size(), 45U);
    for (const Case& row : cases) {
        const Outcome outcome = parseBytes(row.left);
        EXPECT_TRUE(outcome.ok) << row.left << "\n" << outcome.text;
        EXPECT_EQ(outcome.text, row.right) << row.left;
        EXPECT_EQ(parseConverted(row.left).text, row.right) << row.left;
    }
}

TEST(Json, errorsHaveTextAndPosition) {
    const std::vector<Case> cases = readCases(TEXT("refused.txt"));
    ASSERT_GT(cases.size(), 70U);
    for (const Case& row : cases) {
        const std::size_t first = row.left.find(' '), second = row.left.find(' ', first + 1);
        const std::string expected =
            errorAt(std::stoi(row.left), std::stoi(row.left.substr(first)), row.left.c_str() + second + 1);
        const Outcome outcome = parseBytes(row.right);
        EXPECT_FALSE(outcome.ok) << row.right;
        EXPECT_EQ(outcome.text, expected) << row.right;
        EXPECT_EQ(parseConverted(row.right).text, expected) << row.right;
    }
    JsonValue value;
    EXPECT_FALSE(parseJsonUtf8("x", value, nullptr)) << "nobody has to want the reason";
    EXPECT_EQ(parseConverted("\xEF\xBB\xBF\xEF\xBB\xBF{}").text, errorAt(1, 1, "unexpected character"));
}

TEST(Json, replacesMalformedUtf8LikeThePlatform) {
    // Windows replaces each longest valid prefix, and each byte that starts no character. Wine uses other rules.
    const struct {
        std::vector<std::string> bytes;
        std::size_t onWindows, underWine;
    } rows[] = {{{"\xFF", "\xC3", "\xE2\x82", "\xF0\x9F\x98"}, 1, 1},
                {{"\x80\x80", "\xC1\xBF"}, 2, 2},
                {{"\xE0\x9F\xBF", "\xED\xA0\x80"}, 3, 2},
                {{"\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80"}, 4, 3},
                {{"\xF5\x80\x80\x80"}, 4, 4}};
    for (const auto& row : rows)
        for (const std::string& bytes : row.bytes)
            EXPECT_EQ(parseBytes("[\"" + bytes + "x\",1]").text,
                      "[\"" + utf8(repeated(TEXT("\uFFFD"), isWine() ? row.underWine : row.onWindows)) + "x\",1]")
                << bytes;
    // The sequence is cut off by the end of the string. Under Wine the closing quote is lost too.
    EXPECT_EQ(parseBytes("{\"id\":\"a\xF0\"}").text,
              isWine() ? errorAt(1, 10, "unterminated string") : "{\"id\":\"a\xEF\xBF\xBD\"}");
}

TEST(Json, readsAndWritesTextsThatExactlyFillABuffer) {
    const std::pair<const char*, const char*> rows[] = {{"\\ud83d\\ude00", "\xF0\x9F\x98\x80"},
                                                        {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
                                                        {"\xE2\x82\xAC", "\xE2\x82\xAC"},
                                                        {"\\u001f", "\\u001f"}};
    for (const std::size_t buffer : {2048U, 4096U})  // the buffer of the parser, the buffer of the writer
        for (std::size_t length = buffer - 8; length <= buffer + 2; ++length)
            for (const auto& [tail, written] : rows) {
                const std::string head = "\"" + std::string(length, 'a');
                EXPECT_TRUE(parseBytes(head + tail + "b\"").text == head + written + "b\"") << length << tail;
                EXPECT_TRUE(parseConverted(head + tail + "b\"").text == head + written + "b\"") << length;
            }
}

TEST(Json, enforcesLimitsExactly) {
    JsonValue value;
    WideString error;
    EXPECT_TRUE(parseJson(repeated(TEXT("["), 65) + repeated(TEXT("]"), 65), value, &error));
    EXPECT_FALSE(parseJson(repeated(TEXT("["), 66) + repeated(TEXT("]"), 66), value, &error));
    EXPECT_EQ(utf8(error), errorAt(1, 66, "max nesting depth exceeded"));
    EXPECT_FALSE(parseJson(repeated(TEXT("{\"a\":"), 65) + TEXT("  1"), value, &error));
    EXPECT_EQ(utf8(error), errorAt(1, 326, "max nesting depth exceeded"));

    constexpr std::size_t kMost = 1048576;
    std::string many = "[1";
    for (std::size_t i = 1; i < kMost; ++i)
        many += ",1";
    EXPECT_TRUE(parseJsonUtf8(many + "]", value, &error));
    EXPECT_EQ(value.items.size(), kMost);
    EXPECT_FALSE(parseJsonUtf8(many + ", ]", value, &error));
    EXPECT_EQ(utf8(error), errorAt(1, 2097155, "too many array items"));
}

TEST(Json, memberLimitOf1048576CountsRepeatedKeys) {
    std::string many = "{\"0\":0";
    for (std::size_t i = 1; i < 1048576; ++i)
        many += ",\"" + std::to_string(i % 10) + "\":1";
    JsonValue value;
    WideString error;
    ASSERT_TRUE(parseJsonUtf8(many + "}", value, &error)) << utf8(error);
    EXPECT_EQ(value.members.size(), 10U);
    EXPECT_FALSE(parseJsonUtf8(many + ",\"x\":1}", value, &error));
    EXPECT_EQ(utf8(error), errorAt(1, static_cast<int>(many.size() + 2), "too many object members"));
}

TEST(Json, largeObjectsAreReadInLinearTime) {
    std::string many = "{\"first\":0";
    for (int i = 0; i < 200000; ++i)
        many += ",\"" + std::to_string(i % 100000) + "\":" + std::to_string(i % 10);
    JsonValue value;
    ASSERT_TRUE(parseJsonUtf8(many + "}", value, nullptr));
    ASSERT_EQ(value.members.size(), 100001U);
    EXPECT_EQ(utf8(value.members[48576].key), "48575");
    EXPECT_EQ(value.members[48576].value.numberValue, 5);
}

TEST(Json, stringsHaveALengthLimit) {
    constexpr std::size_t kMost = 16777217;
    const std::tuple<std::size_t, const char*, const char*> rows[] = {
        {kMost, "\"", ""},
        {kMost, "x\"", "string too long"},
        {kMost - 1, "\\ud83d\\ude00\"", ""},
        {kMost - 1, "\xF0\x9F\x98\x80\"", "string too long"}};
    for (const auto& [plainUnits, tail, ending] : rows) {
        JsonValue value;
        WideString error;
        EXPECT_EQ(parseJsonUtf8("\"" + std::string(plainUnits, 'a') + tail, value, &error), *ending == 0);
        EXPECT_TRUE(utf8(error).ends_with(ending)) << plainUnits << tail << utf8(error);
    }
}

TEST(Json, repeatedKeyKeepsItsFirstPositionAndLastValue) {
    for (const int members : {63, 64, 65, 200}) {
        std::string document = "{";
        for (int i = 0; i < members; ++i)
            document += "\"k" + std::to_string(i) + "\":" + std::to_string(i) + ",";
        const int again[] = {0, members - 1, members / 2, 0};
        for (const int key : again)
            document += "\"k" + std::to_string(key) + "\":-1,";
        JsonValue value;
        ASSERT_TRUE(parseJsonUtf8(document + "\"new\":1,\"new\":2}", value, nullptr));
        ASSERT_EQ(value.members.size(), static_cast<std::size_t>(members) + 1) << members;
        for (const int key : again)
            EXPECT_EQ(value.members[static_cast<std::size_t>(key)].value.numberValue, -1);
        EXPECT_EQ(value.members.back().value.numberValue, 2);
    }
}

TEST(Json, valueCanBeReplacedByAPartOfItself) {
    JsonValue value;
    ASSERT_TRUE(parseJson(TEXT("[[1,2,3,4,5,6,7,8]]"), value, nullptr));
    value = value.items[0];
    EXPECT_EQ(serializeJsonUtf8(value, false), "[1,2,3,4,5,6,7,8]");
    JsonValue text(WideString(TEXT("{\"a text that is longer than its value holds in place\":1}")));
    ASSERT_TRUE(parseJson(text.stringValue, text, nullptr));
    EXPECT_EQ(text.members.size(), 1U);
    JsonValue name(WideString(TEXT("a name that is longer than its value holds in place")));
    name.set(name.stringValue, JsonValue(true));
    EXPECT_EQ(serializeJsonUtf8(name, false), "{\"a name that is longer than its value holds in place\":true}");
}

TEST(Json, bothParsersAgreeOnDamagedDocuments) {
    std::mt19937 random(20260314);
    const std::string good =
        "{\"id\":\"a\\u00e9\\ud83d\\ude00\",\"t\":\"Gr\xC3\xBC\xC3\x9F \xE4\xBD\xA0 \xF0\x9F\x98\x80 \\\\par\\r\\n"
        "0123456789abcdef0123456789abcdef\",\n "
        "\"n\":[1,-2.5e3,1e999,0.1,12345678901234567],\"o\":{\"x\":true,\"y\":null}}";
    // Pieces of this text damage the document: characters with a meaning, whole, halved and misplaced.
    const std::string meaning("\"\\{}[],:\n\\u\\ud83d1-e x\xC3\x80\xED\xA0\x80\xF4\x90\0", 30);
    int accepted = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string bytes = good;
        for (std::size_t damage = 1 + random() % 3; damage > 0; --damage) {
            const std::size_t at = random() % bytes.size();
            const std::string piece = meaning.substr(random() % meaning.size(), 1 + random() % 3);
            if (random() % 2 == 0)
                bytes.insert(at, piece);
            else
                bytes.replace(at, 1 + random() % 3, piece);
        }
        const Outcome fast = parseBytes(bytes), exact = parseConverted(bytes);
        ASSERT_EQ(fast.ok, exact.ok) << bytes;
        ASSERT_EQ(fast.text, exact.text) << bytes;
        accepted += fast.ok;
    }
    EXPECT_GT(accepted, 500) << "damage inside of strings is often no damage";
}

TEST(Json, vectorCopiesMatchTheScalarOnes) {
    std::mt19937 random(7);
    const WCHAR units[] = {TEXT('a'), TEXT('Z'), 0x20,  0x7F,   TEXT('"'), TEXT('\\'), 0x1F,   0,
                           0x80,      0xFF,      0x100, 0x7FFF, 0x8000,    0xD83D,     0xFF80, 0xFFFF};
    for (int round = 0; round < 50000; ++round) {
        WCHAR wide[64], toWide[64], expectedWide[64];
        char narrow[64], toNarrow[64], expectedNarrow[64];
        const std::size_t count = random() % 64, special = random() % 80;
        for (std::size_t i = 0; i < count; ++i) {
            wide[i] = i == special ? units[random() % std::size(units)] : units[random() % 4];
            narrow[i] = static_cast<char>(wide[i]);
        }
        std::size_t run = scalar::copyPlainRun(narrow, count, expectedWide);
        ASSERT_EQ(copyPlainRun(narrow, count, toWide), run);
        ASSERT_EQ(WideView(toWide, run), WideView(expectedWide, run));
        run = scalar::copyPlainRun(wide, count, expectedNarrow);
        ASSERT_EQ(copyPlainRun(wide, count, toNarrow), run);
        ASSERT_EQ(std::string_view(toNarrow, run), std::string_view(expectedNarrow, run));
        run = scalar::copyPlainRun(wide, count, expectedWide);
        ASSERT_EQ(copyPlainRun(wide, count, toWide), run);
        ASSERT_EQ(WideView(toWide, run), WideView(wide, run));
    }
}

TEST(JsonValue, gettersNeverFail) {
    JsonValue value;
    ASSERT_TRUE(parseJson(TEXT("{\"s\":\"x\",\"a\":[1,\"two\"],\"o\":{\"k\":true}}"), value, nullptr));
    EXPECT_EQ(utf8(value.find(TEXT("s")).asString()), "x");
    EXPECT_EQ(utf8(value.find(TEXT("a")).at(1).asString()), "two");
    EXPECT_EQ(value.find(TEXT("a")).at(2).kind, JsonKind::Null);
    EXPECT_EQ(value.find(TEXT("S")).kind, JsonKind::Null) << "keys are compared exactly";
    EXPECT_EQ(utf8(value.find(TEXT("no")).find(TEXT("such")).at(7).asString()), "");
    EXPECT_EQ(utf8(value.find(TEXT("o")).asString()), "");
    EXPECT_TRUE(value.contains(TEXT("o")));
    EXPECT_FALSE(value.find(TEXT("s")).contains(TEXT("x")));
    EXPECT_EQ(&value.find(TEXT("no")), &value.at(0)) << "there is one Null for all";
}

TEST(JsonValue, editsInPlaceAndKeepsTheOrder) {
    JsonValue value(3.5);
    value.set(TEXT("b"), JsonValue(1.0));
    value.set(TEXT("a"), JsonValue(2.0));
    value.set(TEXT("b"), JsonValue(true));
    value.member(TEXT("c")).push(JsonValue(WideString(TEXT("x"))));
    value.member(TEXT("c")).push(JsonValue());
    EXPECT_EQ(serializeJsonUtf8(value, false), "{\"b\":true,\"a\":2,\"c\":[\"x\",null]}");
    value.erase(TEXT("a"));
    value.erase(TEXT("no"));
    EXPECT_EQ(serializeJsonUtf8(value, false), "{\"b\":true,\"c\":[\"x\",null]}");
    value.push(JsonValue(1.0));
    EXPECT_EQ(serializeJsonUtf8(value, false), "[1]") << "an object that becomes an array loses its members";
    value.erase(TEXT("b"));
}

TEST(JsonValue, moveLeavesNullAndCanMoveAPartOfTheTarget) {
    JsonValue from(WideString(TEXT("moved"))), to(std::move(from)), outer;
    EXPECT_EQ(from.kind, JsonKind::Null);  // NOLINT: the state after a move is part of the contract
    EXPECT_TRUE(from.stringValue.empty());
    EXPECT_EQ(utf8(to.asString()), "moved");
    outer.set(TEXT("in"), JsonValue(WideString(TEXT("inner"))));
    outer = std::move(outer.member(TEXT("in")));
    EXPECT_EQ(utf8(outer.asString()), "inner");
}

TEST(JsonWriter, prettyFormIsExact) {
    JsonValue value;
    ASSERT_TRUE(parseJson(TEXT("{\"a\":[1,{\"b\":null}],\"c\":{},\"d\":[]}"), value, nullptr));
    const char* const expected =
        "{\n  \"a\": [\n    1,\n    {\n      \"b\": null\n    }\n  ],\n  \"c\": {},\n  \"d\": []\n}";
    EXPECT_EQ(serializeJsonUtf8(value, true), expected);
    EXPECT_EQ(utf8(serializeJson(value, true)), expected);
    EXPECT_EQ(serializeJsonUtf8(JsonValue(std::nan("")), true), "null") << "only a program can make it";
}

TEST(JsonWriter, bothTargetsAgreeOnAnyText) {
    std::mt19937 random(11);
    const WCHAR units[] = {TEXT('a'), TEXT('b'), TEXT(' '), TEXT('/'), 0x7F,   TEXT('"'), TEXT('\\'), 0,
                           8,         9,         10,        12,        13,     0x1F,      0x80,       0xE9,
                           0x7FF,     0x800,     0x20AC,    0xD83D,    0xDE00, 0xDFFF,    0xD800,     0xFFFF};
    for (int round = 0; round < 3000; ++round) {
        WideString text;
        for (std::size_t length = random() % (round % 100 == 0 ? 9000 : 60); length > 0; --length)
            text += units[random() % (round % 2 == 0 ? 6 : std::size(units))];
        JsonValue value;
        value.set(text, JsonValue(text));
        const std::string direct = serializeJsonUtf8(value, true);
        ASSERT_EQ(direct, wideToUtf8(serializeJson(value, true)));
        JsonValue back;
        ASSERT_TRUE(parseJson(serializeJson(value, false), back, nullptr));
        ASSERT_EQ(utf8(back.members[0].key), utf8(text)) << "what was written reads back";
        ASSERT_EQ(utf8(back.members[0].value.asString()), utf8(text));
    }
    EXPECT_EQ(serializeJsonUtf8(JsonValue(WideString(TEXT("\x1F/\u00E9\xDC00-\xD83D\xD83D\xDE00"))), true),
              "\"\\u001f/\xC3\xA9\xEF\xBF\xBD-\xEF\xBF\xBD\xF0\x9F\x98\x80\"");
}
