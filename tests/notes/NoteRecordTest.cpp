#include "notes/NoteRecord.h"

#include <gtest/gtest.h>

#include "common/UtcTime.h"
#include "notes/Cases.h"
#include "support/Files.h"
#include "support/Text.h"

namespace {

// Reads a note from a document with these members after the id.
NoteRecord noteWith(const std::string& members) {
    JsonValue value;
    NoteRecord record;  // filled with values of another note
    record.bgColor = record.titleBarBGColor = record.noteTitleColor = record.noteBodyColor = 1;
    record.titleBarBGColorSet = record.hasPosition = true;
    record.x = record.y = record.width = record.height = record.monitorBounds.top = 500;
    const std::string document = "{\"id\":\"a\"" + (members.empty() ? "" : "," + members) + "}";
    EXPECT_TRUE(parseJsonUtf8(document, value, nullptr)) << document;
    EXPECT_TRUE(noteFromJson(value, record)) << document;
    EXPECT_EQ(utf8(value.find(TEXT("id")).asString()), "a") << "the value keeps its texts";
    return record;
}

// The JSON text of member `key` after one load and one save; empty if the save dropped it.
std::string saved(const std::string& members, const std::string& key) {
    JsonValue value;
    EXPECT_TRUE(parseJsonUtf8(serializeNote(noteWith(members)), value, nullptr));
    const WideString name = wide(key);
    return value.contains(name) ? serializeJsonUtf8(value.find(name), false) : "";
}

// The text of a note with default values only.
std::string shortForm(const NoteRecord& record, const std::string& author, const std::string& editable) {
    return "{\n  \"id\": \"" + utf8(record.id) + "\",\n  \"title\": \"\",\n  \"content\": \"\",\n  \"author\": \"" +
           author + "\",\n  \"created\": \"" + utf8(formatUtcTime(record.created)) + "\",\n  \"modified\": \"" +
           utf8(formatUtcTime(record.created)) +
           "\",\n  \"position\": {\n    \"x\": 0,\n    \"y\": 0,\n    \"width\": 260,\n    \"height\": 260\n"
           "  },\n  \"monitor\": {\n    \"device\": \"\",\n    \"bounds\": {\n      \"left\": 0,\n      \"top\": 0,\n"
           "      \"right\": 0,\n      \"bottom\": 0\n    }\n  },\n  \"editable\": " +
           editable + "\n}";
}

std::string now() {
    return utf8(nowUtcText());
}

}  // namespace

TEST(NoteRecord, savesOnlyValidNonDefaultValues) {
    const std::pair<const char*, std::vector<const char*>> rows[] = {
        {"unknown", {R"("unknown":1)"}},
        {"bgColor",
         {R"("bgColor":"#FEEB4D")", R"("bgColor":"#feeb4d")", R"("bgColor":"#GGGGGG")", R"("bgColor":"FEEB4D")"}},
        {"noteTitleColor", {R"("noteTitleColor":"#1e1E1e")"}},
        {"noteBodyColor", {R"("noteBodyColor":"#1E1E1E")", R"("noteBodyColor":16711680)"}},
        {"titleBarBGColor", {R"("titleBarBGColor":"yellow")"}},
        {"allowNewNote", {R"("allowNewNote":false)"}},
        {"contentRtf", {R"("contentRtf":"")", R"("contentRtf":true)"}},
        {"logo", {R"("logo":"")", R"("logo":{"a":"b"})"}}};
    for (const auto& [key, all] : rows)
        for (const char* members : all)
            EXPECT_EQ(saved(members, key), "") << members;
}

TEST(NoteRecord, normalisesTextsColoursAndTimesOnSave) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {R"("noteTitleColor":"#1E1E1F")", "noteTitleColor", R"("#1E1E1F")"},
        {R"("bgColor":"#abc")", "bgColor", R"("#AABBCC")"},
        {R"("bgColor":"#ffcc00")", "bgColor", R"("#FFCC00")"},
        {R"("titleBarBGColor":"#FEEB4D")", "titleBarBGColor", R"("#FEEB4D")"},
        {R"("created":"2026-03-14T09:26:53.9+02:00")", "created", R"("2026-03-14T09:26:53Z")"},
        {R"("created":"2026-03-14T09:26:53Z","modified":"yesterday")", "modified", R"("2026-03-14T09:26:53Z")"},
        {R"("created":"?","modified":"2026-03-14T09:26:53Z")", "modified", R"("2026-03-14T09:26:53Z")"},
        {R"("allowNewNote":true)", "allowNewNote", "true"},
        {R"("title":7)", "title", R"("")"},
        {R"("content":null)", "content", R"("")"},
        {R"("author":[])", "author", R"("")"},
        {R"("title":"one","title":"two")", "title", R"("two")"},
        {"", "editable", "false"},
        {R"("editable":"true")", "editable", "false"},
        {R"("editable":1)", "editable", "false"},
        {R"("editable":true)", "editable", "true"}};
    for (const auto& [members, key, after] : rows)
        EXPECT_EQ(saved(members, key), after) << members;
}

TEST(NoteRecord, clampsPositionAndSize) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"{}", "0 0", "260 260"},
        {R"({"width":1,"height":99999})", "0 0", "120 8000"},
        {R"({"width":8001,"height":99})", "0 0", "8000 100"},
        {R"({"x":-1.9,"y":7.9,"width":"300"})", "-1 7", "260 260"},
        {R"({"x":1e10,"y":-1e999,"width":1e10,"height":120.99})", "-2147483648 -2147483648", "120 120"},
        {R"({"x":2147483647.5,"y":-2147483648.9})", "2147483647 -2147483648", "260 260"}};
    for (const auto& [position, corner, size] : rows) {
        const NoteRecord record = noteWith(std::string("\"position\":") + position);
        EXPECT_EQ(std::to_string(record.x) + " " + std::to_string(record.y), corner) << position;
        EXPECT_EQ(std::to_string(record.width) + " " + std::to_string(record.height), size) << position;
    }
    EXPECT_EQ(saved(R"("position":{"x":5,"width":300})", "position"), R"({"x":5,"y":0,"width":300,"height":260})");
}

TEST(NoteRecord, clampsMonitorBounds) {
    const std::pair<const char*, const char*> rows[] = {
        {R"({"device":5,"bounds":[1]})", R"("left":0,"top":0,"right":0,"bottom":0)"},
        {R"({"bounds":{"left":1e10,"top":2147483648}})",
         R"("left":-2147483648,"top":-2147483648,"right":0,"bottom":0)"},
        {R"({"bounds":{"left":-5.5,"right":"7","bottom":9}})", R"("left":-5,"top":0,"right":0,"bottom":9)"}};
    for (const auto& [monitor, bounds] : rows)
        EXPECT_EQ(saved(std::string("\"monitor\":") + monitor, "monitor"),
                  std::string(R"({"device":"","bounds":{)") + bounds + "}}");
}

TEST(NoteRecord, missingTimesBecomeTheLoadTime) {
    const std::string before = now();
    const NoteRecord record = noteWith("\"created\":\"2026-3-4\"");
    EXPECT_GE(utf8(formatUtcTime(record.created)), before);
    EXPECT_LE(utf8(formatUtcTime(record.created)), now());
    EXPECT_EQ(utf8(formatUtcTime(record.modified)), utf8(formatUtcTime(record.created)));
}

TEST(NoteRecord, noteWithOnlyAnIdTakesEveryDefault) {
    const NoteRecord record = noteWith("");
    EXPECT_EQ(serializeNote(record), shortForm(record, "", "false"));
    EXPECT_EQ(record.titleBarBGColor, 0x004DEBFEU);
    EXPECT_FALSE(record.hasPosition);
    EXPECT_TRUE(noteWith("\"position\":{}").hasPosition);
    EXPECT_FALSE(noteWith("\"position\":[1,2]").hasPosition);
}

TEST(NoteRecord, documentWithoutAnIdKeepsTheRecordUnchanged) {
    for (const char* document :
         {"{}", "{\"id\":\"\"}", "{\"id\":5}", "{\"id\":null}", "[]", "\"a\"", "{\"ID\":\"a\"}"}) {
        JsonValue value;
        NoteRecord record;
        record.title = TEXT("kept");
        ASSERT_TRUE(parseJsonUtf8(document, value, nullptr));
        EXPECT_FALSE(noteFromJson(value, record)) << document;
        EXPECT_EQ(utf8(record.title), "kept") << document;
    }
}

TEST(NoteRecord, filesSurviveLoadAndSaveByteForByte) {
    const TempFolder folder;
    const std::string whole = readTestFile(TEXT("format\\good\\whole.json"));
    ASSERT_GT(whole.size(), 600U);
    writeFile(folder / TEXT("note.json"), whole);
    NoteRecord record;
    WideString error;
    ASSERT_TRUE(loadNoteFile(folder / TEXT("note.json"), record, &error)) << utf8(error);
    EXPECT_EQ(record.bgColor, 0x0000CCFFU) << "red is the lowest byte";
    EXPECT_EQ(record.monitorBounds.right, 1920);
    EXPECT_EQ(utf8(record.monitorDevice), "\\\\.\\DISPLAY1");
    ASSERT_TRUE(saveNoteFile(folder / TEXT("copy.json"), record, &error));
    EXPECT_EQ(readFile(folder / TEXT("copy.json")), whole) << "byte for byte";
    EXPECT_EQ(serializeNote(record), serializeJsonUtf8(noteToJson(record), true));

    writeFile(folder / TEXT("bom.json"), "\xEF\xBB\xBF" + whole);
    ASSERT_TRUE(loadNoteFile(folder / TEXT("bom.json"), record, nullptr));
    ASSERT_TRUE(saveNoteFile(folder / TEXT("bom.json"), record, nullptr));
    EXPECT_EQ(readFile(folder / TEXT("bom.json")), whole) << "the mark is read and never written";
}

TEST(NoteRecord, documentedSamplesLoadOrFailAsDocumented) {
    const std::pair<const char*, std::vector<const WCHAR*>> rows[] = {
        {"", {TEXT("good\\smallest.json"), TEXT("good\\whole.json"), TEXT("good\\unicode.json")}},
        {"invalid note structure",
         {TEXT("bad\\no-id.json"), TEXT("bad\\empty-id.json"), TEXT("bad\\number-id.json"), TEXT("bad\\list.json")}},
        {"JSON parse error at line 1 col 63: expected string", {TEXT("bad\\trailing-comma.json")}},
        {"JSON parse error at line 2 col 3: expected string", {TEXT("bad\\comment.json")}},
        {"JSON parse error at line 1 col 1: unexpected character", {TEXT("bad\\utf-16.json")}},
        {"cannot read file", {TEXT("bad\\missing.json")}}};
    const WideString folder = joinPath(parentPath(executablePath()), TEXT("test-data\\format\\"));
    for (const auto& [why, files] : rows)
        for (const WCHAR* file : files) {
            NoteRecord record;
            WideString error;
            record.title = TEXT("kept");
            EXPECT_EQ(loadNoteFile(folder + file, record, &error), *why == 0) << utf8(file);
            EXPECT_EQ(utf8(record.title) == "kept", *why != 0) << "a failure changes nothing";
            EXPECT_EQ(utf8(error), why) << utf8(file);
        }
}

TEST(NoteRecord, newNoteIsSavedInShortForm) {
    const NoteRecord record = newNoteRecord(TEXT("ann"));
    EXPECT_EQ(record.id.size(), 36U);
    EXPECT_EQ(serializeNote(record), shortForm(record, "ann", "true"));
}

TEST(NoteRecord, readsTwoColourFormats) {
    const std::pair<WideView, COLORREF> rows[] = {
        {TEXT("#FFCC00"), 0x0000CCFF}, {TEXT("#ffcc01"), 0x0001CCFF}, {TEXT("#abc"), 0x00CCBBAA}, {TEXT("#000"), 0}};
    COLORREF color = 0;
    for (const auto& [text, expected] : rows)
        EXPECT_TRUE(parseColor(text, color) && color == expected) << utf8(text);
    color = 7;
    for (const WideView text :
         {TEXT(""), TEXT("#"), TEXT("#FFCC0"), TEXT("#FFCC000"), TEXT("#FFCC00FF"), TEXT("FFCC000"), TEXT("#FFCC0G"),
          TEXT(" #FFCC00"), TEXT("#ab"), TEXT("#+12"), TEXT("#\uFF11\uFF12\uFF13")})
        EXPECT_TRUE(!parseColor(text, color) && color == 7) << utf8(text);
    EXPECT_EQ(utf8(formatColor(0x00ABCDEF)), "#EFCDAB");
    EXPECT_EQ(utf8(formatColor(0xFF000001)), "#010000");
}
