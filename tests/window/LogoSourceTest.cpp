#include "window/LogoSource.h"

#include <gtest/gtest.h>

#include "support/Text.h"

namespace {

std::string decoded(const WCHAR* text) {
    const std::vector<BYTE> bytes = decodeBase64(text);
    return std::string(bytes.begin(), bytes.end());
}

// The file that logoFile chooses if only these files exist.
std::string chosen(const WideString& folder, const WideString& logo, std::vector<std::string> existing,
                   std::string* asked = nullptr) {
    return utf8(logoFile(folder, logo, [&](const WideString& path) {
        if (asked != nullptr) *asked += utf8(path) + " ";
        return std::find(existing.begin(), existing.end(), utf8(path)) != existing.end();
    }));
}

}  // namespace

TEST(LogoSource, decodesBase64UpToAnEndMarkAndRefusesOtherCharacters) {
    const std::pair<const WCHAR*, const char*> rows[] = {{TEXT(""), ""},
                                                         {TEXT("TWFu"), "Man"},
                                                         {TEXT("TWE="), "Ma"},
                                                         {TEXT("TQ=="), "M"},
                                                         {TEXT("TWE"), "Ma"},
                                                         {TEXT("TQ"), "M"},
                                                         {TEXT("T"), ""},
                                                         {TEXT("TWFu-TWFu"), "Man"},
                                                         {TEXT("TWFu=\x20AC"), "Man"},
                                                         {TEXT("TW\x00E9u"), ""},
                                                         {TEXT("TWFu.png"), ""},
                                                         {TEXT("TW u"), ""},
                                                         {TEXT("TWFuTWE_"), ""},
                                                         {TEXT("++//"), "\xFB\xEF\xFF"},
                                                         {TEXT("=TWFu"), ""}};
    for (const auto& [text, bytes] : rows)
        EXPECT_EQ(decoded(text), bytes) << utf8(text);
}

TEST(LogoSource, removesDataUriPrefixAndBlanks) {
    EXPECT_EQ(utf8(logoBase64(TEXT("data:image/png;base64,TWFu"))), "TWFu");
    EXPECT_EQ(utf8(logoBase64(TEXT("data:,a,b"))), "a,b") << "up to the first comma";
    EXPECT_EQ(utf8(logoBase64(TEXT("DATA:image/png;base64,TWFu"))), "DATA:image/png;base64,TWFu");
    EXPECT_EQ(utf8(logoBase64(TEXT("data:TWFu"))), "data:TWFu") << "no comma, no head";
    EXPECT_EQ(utf8(logoBase64(TEXT(" T\tW\r\nF u "))), "TWFu");
}

TEST(LogoSource, searchesFilesInTheFolderOnly) {
    const WideString folder = TEXT("D:\\logos");
    EXPECT_EQ(chosen(folder, TEXT("a.png"), {"D:\\logos\\a.png"}), "D:\\logos\\a.png");
    EXPECT_EQ(chosen(folder, TEXT("sub\\a.png"), {"D:\\logos\\sub\\a.png"}), "D:\\logos\\sub\\a.png");
    EXPECT_EQ(chosen(folder, TEXT(""), {"D:\\logos\\default.gif", "D:\\logos\\default.jpg"}), "D:\\logos\\default.jpg");
    std::string asked;
    EXPECT_EQ(chosen(folder, TEXT(""), {}, &asked), "");
    EXPECT_EQ(asked,
              "D:\\logos\\default.png D:\\logos\\default.jpg D:\\logos\\default.jpeg D:\\logos\\default.bmp "
              "D:\\logos\\default.gif ");
}

TEST(LogoSource, doesNotSearchForTextsThatCannotBeFileNames) {
    const WideString folder = TEXT("D:\\logos"), none;
    std::string asked;
    for (const auto& [where, logo] : {std::pair{none, WideString(TEXT("a.png"))},
                                      {none, none},
                                      {folder, WideString(TEXT("a b.png"))},
                                      {folder, WideString(TEXT("a\nb"))},
                                      {folder, WideString(260, TEXT('a'))}})
        chosen(where, logo, {}, &asked);
    EXPECT_EQ(asked, "");
    chosen(folder, WideString(259, TEXT('a')), {}, &asked);
    EXPECT_EQ(asked.size(), 9U + 259 + 1);
}
