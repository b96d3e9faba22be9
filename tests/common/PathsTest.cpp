#include "common/Paths.h"

#include <gtest/gtest.h>

#include "support/Text.h"

TEST(Paths, joinsWithOneSeparatorAndNormalisesNothing) {
    const std::tuple<const WCHAR*, const WCHAR*, const WCHAR*> rows[] = {
        {TEXT("C:\\x"), TEXT("y"), TEXT("C:\\x\\y")},       {TEXT("C:\\x\\"), TEXT("y"), TEXT("C:\\x\\y")},
        {TEXT("C:/x/"), TEXT("y"), TEXT("C:/x/y")},         {TEXT(""), TEXT("y"), TEXT("y")},
        {TEXT("C:\\x"), TEXT(""), TEXT("C:\\x")},           {TEXT("C:\\x"), TEXT("\\y"), TEXT("C:\\x\\\\y")},
        {TEXT("C:\\x\\"), TEXT("\\y"), TEXT("C:\\x\\\\y")}, {TEXT(""), TEXT(""), TEXT("")}};
    for (const auto& [left, right, joined] : rows)
        EXPECT_EQ(utf8(joinPath(left, right)), utf8(joined));
}

TEST(Paths, splitsAtTheLastSeparatorOfEitherKind) {
    const std::tuple<const WCHAR*, const WCHAR*, const WCHAR*, const WCHAR*> rows[] = {
        {TEXT("C:\\"), TEXT("C:\\"), TEXT(""), TEXT("")},
        {TEXT("C:\\a"), TEXT("C:\\"), TEXT("a"), TEXT("")},
        {TEXT("C:\\a\\b"), TEXT("C:\\a"), TEXT("b"), TEXT("")},
        {TEXT("C:/a\\b/c"), TEXT("C:/a\\b"), TEXT("c"), TEXT("")},
        {TEXT("a"), TEXT(""), TEXT("a"), TEXT("")},
        {TEXT("\\a"), TEXT(""), TEXT("a"), TEXT("")},
        {TEXT("ab\\c"), TEXT("ab"), TEXT("c"), TEXT("")},
        {TEXT("\\:\\c"), TEXT("\\:\\"), TEXT("c"), TEXT("")},
        {TEXT("C:"), TEXT(""), TEXT("C:"), TEXT("")},
        {TEXT(""), TEXT(""), TEXT(""), TEXT("")},
        {TEXT("C:\\x\\"), TEXT("C:\\x"), TEXT(""), TEXT("")},
        {TEXT("note.JSON"), TEXT(""), TEXT("note.JSON"), TEXT("json")},
        {TEXT("C:\\a.b.json"), TEXT("C:\\"), TEXT("a.b.json"), TEXT("json")},
        {TEXT("a."), TEXT(""), TEXT("a."), TEXT("")},
        {TEXT("x.AZ[@"), TEXT(""), TEXT("x.AZ[@"), TEXT("az[@")},
        {TEXT(".json"), TEXT(""), TEXT(".json"), TEXT("")},
        {TEXT("C:\\x.y\\file"), TEXT("C:\\x.y"), TEXT("file"), TEXT("")},
        {TEXT("a.\u00C4Z\u0130"), TEXT(""), TEXT("a.\u00C4Z\u0130"), TEXT("\u00C4z\u0130")}};
    for (const auto& [path, parent, leaf, extension] : rows) {
        SCOPED_TRACE(utf8(path));
        EXPECT_EQ(utf8(parentPath(path)), utf8(parent));
        EXPECT_EQ(utf8(leafName(path)), utf8(leaf));
        EXPECT_EQ(utf8(lowerExtension(path)), utf8(extension));
    }
}

TEST(Paths, plainStemCannotNameADeviceOrAnotherFolder) {
    const WCHAR* const plain[] = {TEXT("a"),    TEXT("hidden"),     TEXT("..."),   TEXT("a."),   TEXT(" a "),
                                  TEXT("a..b"), TEXT("\x7F\u00E9"), TEXT("COM"),   TEXT("com0"), TEXT("com10"),
                                  TEXT("nul1"), TEXT("xnul"),       TEXT("a.nul"), TEXT("lpta")};
    for (const WCHAR* stem : plain)
        EXPECT_TRUE(isPlainStem(stem)) << utf8(stem);
    const WCHAR* const others[] = {TEXT("."),     TEXT(".."),       TEXT("..\\a"),    TEXT("../a"),   TEXT("\\a"),
                                   TEXT("a:b"),   TEXT("a*"),       TEXT("a?"),       TEXT("\"a"),    TEXT("<a"),
                                   TEXT("a>"),    TEXT("a|b"),      TEXT("\x01"),     TEXT("a\x1F"),  TEXT("nul"),
                                   TEXT("AUX.x"), TEXT("con .x"),   TEXT("Prn "),     TEXT("CONIN$"), TEXT("conout$"),
                                   TEXT("com1"),  TEXT("LPT9.a.b"), TEXT("Com\u00B2")};
    for (const WCHAR* stem : others)
        EXPECT_FALSE(isPlainStem(stem)) << utf8(stem);
    EXPECT_FALSE(isPlainStem(WideView(TEXT("a\0"), 2)));
}
