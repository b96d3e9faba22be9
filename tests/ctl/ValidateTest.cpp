// What vellumctl says about files.
#include <gtest/gtest.h>

#include "ctl/Validate.h"
#include "notes/Text.h"

namespace {

std::string mistakesIn(const std::string& text, WideView name = TEXT("a.json")) {
    std::string out;
    for (const std::string& mistake : ctl::findMistakes(name, text))
        out += (out.empty() ? "" : "; ") + mistake;
    return out;
}

}  // namespace

TEST(Validate, goodNoteHasNoMistake) {
    for (const char* text :
         {R"({"id":"a"})", R"({"id":"A"})", R"({"$schema":"x","id":"a","bgColor":"#abc","logo":""})",
          R"({"id":"a","created":"2026-12-31T23:59:59Z","position":{"x":-1,"y":2.0,"width":120,"height":8000}})",
          R"({"id":"a","monitor":{"device":"d","bounds":{"left":0,"top":0,"right":1,"bottom":1}}})"})
        EXPECT_EQ(mistakesIn(text), "") << text;
}

TEST(Validate, saysWhatIsWrongAndWhatWouldBeRight) {
    const std::pair<const char*, const char*> cases[] = {
        {"{\"id\":\"a\",}", "refused: JSON parse error at line 1 col 11: "},
        {"[]", "refused: invalid note structure: it is not an object"},
        {R"({"id":""})", "refused: invalid note structure: \"id\" has to be a string that is not empty"},
        {R"({"id":"a","tittle":"x"})", "\"tittle\" is not a key of a note; did you mean \"title\"?"},
        {R"({"id":"a","Title":"x"})", "did you mean \"title\"?"},
        {R"({"id":"a","unknown":"x"})", "\"unknown\" is not a key of a note"},
        {R"({"id":"a","bgColor":"yellow"})", "\"bgColor\" is not a colour: write \"#RRGGBB\" or \"#RGB\""},
        {R"({"id":"a","created":"2026-3-14T09:26:53Z"})", "\"created\" is not a time: write UTC as"},
        {R"({"id":"a","created":"2026-13-14T09:26:53Z"})", "\"created\" is a time that does not exist"},
        {R"({"id":"a","modified":"2026-12-00T09:26:53Z"})", "\"modified\" is a time that does not exist"},
        {R"({"id":"a","modified":"2026-12-01T24:00:00Z"})", "\"modified\" is a time that does not exist"},
        {R"({"id":"a","modified":"2026-12-01T00:60:00Z"})", "\"modified\" is a time that does not exist"},
        {R"({"id":"a","editable":"true"})", "\"editable\" must be true or false, without quotes"},
        {R"({"id":"a","content":null})", "\"content\" must be a string"},
        {R"({"id":"a","logo":"a b"})", "\"logo\" must not have blanks or line ends"},
        {R"({"id":"a","position":[1,2]})", "\"position\" must be an object"},
        {R"({"id":"a","position":{"width":119}})", "\"position.width\" must be a whole number from 120 to 8000"},
        {R"({"id":"a","position":{"height":8001}})", "\"position.height\" must be a whole number from 100 to 8000"},
        {R"({"id":"a","position":{"x":0.5}})", "\"position.x\" must be a whole number of pixels"},
        {R"({"id":"a","monitor":{"bounds":{"lefft":0}}})", "did you mean \"left\"?"},
        {R"({"id":"b"})", "the id \"b\" is not the name of the file, which wins"},
        {R"({"id":"a/b"})", "\"id\" cannot be the name of a file"},
        {"\xEF\xBB\xBF{\"id\":\"a\"}", "begins with a byte order mark"},
        {"{\"id\":\"a\",\"title\":\"\xFF\"}", "holds bytes that are not UTF-8"},
    };
    for (const auto& [text, wanted] : cases)
        EXPECT_NE(mistakesIn(text).find(wanted), std::string::npos) << text << "\n" << mistakesIn(text);
    EXPECT_NE(mistakesIn("{\"id\":\"" + std::string(201, 'a') + "\"}").find("\"id\" is longer than 200 characters"),
              std::string::npos);
    EXPECT_NE(mistakesIn(R"({"id":"a"})", TEXT("a.txt")).find("has to end in \".json\""), std::string::npos);
}
