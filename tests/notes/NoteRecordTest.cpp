#include "notes/NoteRecord.h"

#include <gtest/gtest.h>

#include "common/UtcTime.h"
#include "notes/Cases.h"
#include "support/Files.h"
#include "support/Text.h"

namespace {

// A note read from a document with this behind the id.
NoteRecord noteWith(const std::string& members) {
    JsonValue value;
    NoteRecord record;  // has held another note
    record.bgColor = record.titleBarBGColor = record.noteTitleColor = record.noteBodyColor = 1;
    record.titleBarBGColorSet = record.hasPosition = true;
    record.x = record.y = record.width = record.height = record.monitorBounds.top = 500;
    const std::string document = "{\"id\":\"a\"" + (members.empty() ? "" : "," + members) + "}";
    EXPECT_TRUE(parseJsonUtf8(document, value, nullptr)) << document;
    EXPECT_TRUE(noteFromJson(value, record)) << document;
    EXPECT_EQ(utf8(value.find(TEXT("id")).asString()), "a") << "the value keeps its texts";
    return record;
}

// What becomes of one member by one load and one save: the text behind its key; empty when the key is gone.
std::string saved(const std::string& members, const std::string& key) {
    JsonValue value;
    EXPECT_TRUE(parseJsonUtf8(serializeNote(noteWith(members)), value, nullptr));
    const WideString name = wide(key);
    return value.contains(name) ? serializeJsonUtf8(value.find(name), false) : "";
}

// The text of a note that has nothing but defaults.
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

TEST(NoteRecord, whatSurvivesOneLoadAndSave) {
    struct Row {
        const char *members, *key, *after;
    };
    const Row rows[] = {
        {"\"unknown\":1", "unknown", ""},
        {"\"bgColor\":\"#FEEB4D\"", "bgColor", ""},
        {"\"bgColor\":\"#feeb4d\"", "bgColor", ""},
        {"\"noteTitleColor\":\"#1e1E1e\"", "noteTitleColor", ""},
        {"\"noteBodyColor\":\"#1E1E1E\"", "noteBodyColor", ""},
        {"\"noteTitleColor\":\"#1E1E1F\"", "noteTitleColor", "\"#1E1E1F\""},
        {"\"bgColor\":\"#abc\"", "bgColor", "\"#AABBCC\""},
        {"\"bgColor\":\"#ffcc00\"", "bgColor", "\"#FFCC00\""},
        {"\"bgColor\":\"#GGGGGG\"", "bgColor", ""},
        {"\"bgColor\":\"FEEB4D\"", "bgColor", ""},
        {"\"noteBodyColor\":16711680", "noteBodyColor", ""},
        {"\"titleBarBGColor\":\"#FEEB4D\"", "titleBarBGColor", "\"#FEEB4D\""},
        {"\"titleBarBGColor\":\"yellow\"", "titleBarBGColor", ""},
        {"\"created\":\"2026-03-14T09:26:53.9+02:00\"", "created", "\"2026-03-14T09:26:53Z\""},
        {"\"created\":\"2026-03-14T09:26:53Z\",\"modified\":\"yesterday\"", "modified", "\"2026-03-14T09:26:53Z\""},
        {"\"created\":\"?\",\"modified\":\"2026-03-14T09:26:53Z\"", "modified", "\"2026-03-14T09:26:53Z\""},
        {"\"position\":{}", "position", "{\"x\":0,\"y\":0,\"width\":260,\"height\":260}"},
        {"\"position\":{\"width\":1,\"height\":99999}", "position", "{\"x\":0,\"y\":0,\"width\":120,\"height\":8000}"},
        {"\"position\":{\"width\":8001,\"height\":99}", "position", "{\"x\":0,\"y\":0,\"width\":8000,\"height\":100}"},
        {"\"position\":{\"x\":-1.9,\"y\":7.9,\"width\":\"300\"}", "position",
         "{\"x\":-1,\"y\":7,\"width\":260,\"height\":260}"},
        {"\"position\":{\"x\":1e10,\"y\":-1e999,\"width\":1e10,\"height\":120.99}", "position",
         "{\"x\":-2147483648,\"y\":-2147483648,\"width\":120,\"height\":120}"},
        {"\"position\":{\"x\":2147483647.5,\"y\":-2147483648.9}", "position",
         "{\"x\":2147483647,\"y\":-2147483648,\"width\":260,\"height\":260}"},
        {"\"monitor\":{\"device\":5,\"bounds\":[1]}", "monitor",
         "{\"device\":\"\",\"bounds\":{\"left\":0,\"top\":0,\"right\":0,\"bottom\":0}}"},
        {"\"monitor\":{\"bounds\":{\"left\":1e10,\"top\":2147483648}}", "monitor",
         "{\"device\":\"\",\"bounds\":{\"left\":-2147483648,\"top\":-2147483648,\"right\":0,\"bottom\":0}}"},
        {"\"monitor\":{\"bounds\":{\"left\":-5.5,\"right\":\"7\",\"bottom\":9}}", "monitor",
         "{\"device\":\"\",\"bounds\":{\"left\":-5,\"top\":0,\"right\":0,\"bottom\":9}}"},
        {"", "editable", "false"},
        {"\"editable\":\"true\"", "editable", "false"},
        {"\"editable\":1", "editable", "false"},
        {"\"editable\":true", "editable", "true"},
        {"\"allowNewNote\":false", "allowNewNote", ""},
        {"\"allowNewNote\":true", "allowNewNote", "true"},
        {"\"contentRtf\":\"\"", "contentRtf", ""},
        {"\"logo\":\"\"", "logo", ""},
        {"\"logo\":{\"a\":\"b\"}", "logo", ""},
        {"\"title\":7", "title", "\"\""},
        {"\"content\":null", "content", "\"\""},
        {"\"contentRtf\":true", "contentRtf", ""},
        {"\"author\":[]", "author", "\"\""},
        {"\"title\":\"one\",\"title\":\"two\"", "title", "\"two\""},
    };
    for (const Row& row : rows)
        EXPECT_EQ(saved(row.members, row.key), row.after) << row.members;
}

TEST(NoteRecord, missingTimesBecomeTheTimeOfTheLoad) {
    const std::string before = now();
    const NoteRecord record = noteWith("\"created\":\"2026-3-4\"");
    EXPECT_GE(utf8(formatUtcTime(record.created)), before);
    EXPECT_LE(utf8(formatUtcTime(record.created)), now());
    EXPECT_EQ(utf8(formatUtcTime(record.modified)), utf8(formatUtcTime(record.created)));
}

TEST(NoteRecord, smallestNoteTakesEveryDefault) {
    const NoteRecord record = noteWith("");
    EXPECT_EQ(serializeNote(record), shortForm(record, "", "false"));
    EXPECT_EQ(record.titleBarBGColor, 0x004DEBFEU);
    EXPECT_FALSE(record.hasPosition);
    EXPECT_TRUE(noteWith("\"position\":{}").hasPosition);
    EXPECT_FALSE(noteWith("\"position\":[1,2]").hasPosition);
}

TEST(NoteRecord, valueThatIsNoNoteLeavesTheRecordAlone) {
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

TEST(NoteRecord, filesOfTheFormatReadAndWriteBack) {
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

TEST(NoteRecord, samplesAreWhatTheDocumentationSays) {
    const struct {
        const WCHAR* file;
        const char* error;  // empty: it loads
    } rows[] = {
        {TEXT("good\\smallest.json"), ""},
        {TEXT("good\\whole.json"), ""},
        {TEXT("good\\unicode.json"), ""},
        {TEXT("bad\\no-id.json"), "invalid note structure"},
        {TEXT("bad\\empty-id.json"), "invalid note structure"},
        {TEXT("bad\\number-id.json"), "invalid note structure"},
        {TEXT("bad\\list.json"), "invalid note structure"},
        {TEXT("bad\\trailing-comma.json"), "JSON parse error at line 1 col 63: expected string"},
        {TEXT("bad\\comment.json"), "JSON parse error at line 2 col 3: expected string"},
        {TEXT("bad\\utf-16.json"), "JSON parse error at line 1 col 1: unexpected character"},
        {TEXT("bad\\missing.json"), "cannot read file"},
    };
    for (const auto& row : rows) {
        NoteRecord record;
        WideString error;
        const WideString path =
            joinPath(parentPath(executablePath()), WideString(TEXT("test-data\\format\\")) + row.file);
        record.title = TEXT("kept");
        EXPECT_EQ(loadNoteFile(path, record, &error), *row.error == 0) << utf8(row.file);
        EXPECT_EQ(utf8(record.title) == "kept", *row.error != 0) << "a failure changes nothing";
        EXPECT_EQ(utf8(error), row.error) << utf8(row.file);
    }
}

TEST(NoteRecord, newNoteIsWrittenInItsShortForm) {
    const NoteRecord record = newNoteRecord(TEXT("ann"));
    EXPECT_EQ(record.id.size(), 36U);
    EXPECT_EQ(serializeNote(record), shortForm(record, "ann", "true"));
}

TEST(NoteRecord, colorsHaveTwoForms) {
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
