#include "common/Arguments.h"

#include <gtest/gtest.h>

#include <random>

#include "common/Folders.h"
#include "support/Text.h"

namespace {

std::string shown(const std::vector<WideString>& arguments) {
    std::string text;
    for (const WideString& argument : arguments)
        text += "<" + utf8(argument) + ">";
    return text;
}

}  // namespace

TEST(Arguments, quotedArgumentSplitsBackToItself) {
    const std::pair<const WCHAR*, const WCHAR*> rows[] = {{TEXT(""), TEXT("\"\"")},
                                                          {TEXT("plain"), TEXT("\"plain\"")},
                                                          {TEXT("C:\\a b\\"), TEXT("\"C:\\a b\\\\\"")},
                                                          {TEXT("a\"b"), TEXT("\"a\\\"b\"")},
                                                          {TEXT("a\\\"b"), TEXT("\"a\\\\\\\"b\"")},
                                                          {TEXT("a\\b\\\\c"), TEXT("\"a\\b\\\\c\"")},
                                                          {TEXT("\\\\"), TEXT("\"\\\\\\\\\"")},
                                                          {TEXT("\"\""), TEXT("\"\\\"\\\"\"")}};
    for (const auto& [text, quoted] : rows)
        EXPECT_EQ(utf8(quoteArgument(text)), utf8(quoted));
}

TEST(Arguments, splitsLikeTheSystem) {
    const std::pair<const WCHAR*, const char*> rows[] = {
        {TEXT("p"), "<p>"},
        {TEXT("p   "), "<p>"},
        {TEXT("p\tq"), "<p><q>"},
        {TEXT(" p q"), "<><p><q>"},
        {TEXT("p \"\""), "<p><>"},
        {TEXT("p \"a"), "<p><a>"},
        {TEXT("p a\\\\b"), "<p><a\\\\b>"},
        {TEXT("p \"x\\\\\" y"), "<p><x\\><y>"},
        {TEXT("p a\\\\\\\"b"), "<p><a\\\"b>"},
        {TEXT("p a\" \"b"), "<p><a b>"},
        {TEXT("p \"a\"\"b\" c"), "<p><a\"b c>"},
        {TEXT("p \"a\"\"\"b c\""), "<p><a\"b c>"},
        {TEXT("p \"\"\"\" x"), "<p><\" x>"},
        {TEXT("a \"b c\" d"), "<a><b c><d>"},
        // In the program name, backslashes and inner quotes have no special meaning.
        {TEXT("\"a\\\" b"), "<a\\><b>"},
        {TEXT("\"a b\"c d"), "<a b><c><d>"},
        {TEXT("p\"q r\"s t"), "<p\"q><rs t>"}};
    for (const auto& [line, arguments] : rows)
        EXPECT_EQ(shown(splitCommandLine(line)), arguments) << utf8(line);
    EXPECT_EQ(shown(splitCommandLine(TEXT(""))), "<" + utf8(executablePath()) + ">");
}

TEST(Arguments, randomTextsSurviveQuotingAndSplitting) {
    std::mt19937 random(20260314);
    constexpr WideView alphabet = TEXT("\\\\\\\\\"\"\" \tab\u00E9\u2605\xD83D\xDE00");
    for (int round = 0; round < 20000; ++round) {
        std::vector<WideString> texts(1 + random() % 4);
        WideString line = TEXT("program");
        for (WideString& text : texts) {
            for (std::size_t length = random() % 12; length > 0; --length)
                text += alphabet[random() % alphabet.size()];
            line += TEXT(" ") + quoteArgument(text);
        }
        texts.insert(texts.begin(), TEXT("program"));
        ASSERT_EQ(shown(splitCommandLine(line)), shown(texts)) << utf8(line);
    }
}
