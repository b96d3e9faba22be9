// The rich edit control, which shows the body of a note.
#include "support/ControlParent.h"

namespace {

class RichEdit : public testing::Test {
  protected:
    ControlParent parent;
    const HWND edit = parent.makeRichEdit();

    void select(LONG first, LONG last) {
        CHARRANGE range = {first, last};
        SendMessageW(edit, EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&range));
    }
    std::string selection() {
        CHARRANGE range = {99, 99};
        SendMessageW(edit, EM_EXGETSEL, 0, reinterpret_cast<LPARAM>(&range));
        return std::to_string(range.cpMin) + "-" + std::to_string(range.cpMax);
    }
    LRESULT setColor(WPARAM where, COLORREF color) {
        CHARFORMAT2W format = {};
        format.cbSize = sizeof format;
        format.dwMask = CFM_COLOR;
        format.crTextColor = color;
        return SendMessageW(edit, EM_SETCHARFORMAT, where, reinterpret_cast<LPARAM>(&format));
    }
};

// Whether the RTF contains this control word.
bool hasWord(const std::string& rtf, const std::string& word) {
    for (std::size_t at = 0; (at = rtf.find("\\" + word, at)) != std::string::npos; ++at) {
        const char next = rtf[at + 1 + word.size()];
        if (next < 'a' || next > 'z') return true;
    }
    return false;
}

}  // namespace

TEST_F(RichEdit, linesOfPlainTextEndInCrLf) {
    const std::pair<const WCHAR*, const char*> rows[] = {
        {TEXT("a\r\nb"), "a\r\nb"},
        {TEXT("a\rb\nc"), "a\r\nb\r\nc"},
        {TEXT("a\r\n\r\nb\r\n"), "a\r\n\r\nb\r\n"},
        {TEXT("\n"), "\r\n"},
        {TEXT(""), ""},
        {TEXT("\t\u00e9\u20ac\u2605\U0001F600"), "\t\u00e9\u20ac\u2605\U0001F600"},
        {nullptr, ""}};
    for (const auto& [set, text] : rows) {
        SetWindowTextW(edit, set);
        EXPECT_EQ(textOf(edit), text);
    }
}

TEST_F(RichEdit, sendsOneChangeAndOnlyIfTheMaskAsksForIt) {
    const std::tuple<void (*)(HWND), const char*, int> rows[] = {
        {[](HWND e) { SetWindowTextW(e, TEXT("new")); }, "new", 1},
        {[](HWND e) { SetWindowTextW(e, TEXT("ab\r\ncd")); }, "ab\r\ncd", 1},
        {[](HWND e) { streamIn(e, "{\\rtf1 x\\par y}"); }, "x\r\ny", 1},
        {[](HWND e) { streamIn(e, "x"); }, "", 1},
        {[](HWND e) { streamOut(e); }, "ab\r\ncd", 0},
        {[](HWND e) { typeText(e, TEXT("x")); }, "axcd", 1},
        {[](HWND e) { typeText(e, TEXT("\t")); }, "a\tcd", 1},
        {pressReturn, "a\r\ncd", 1},
        {pressBackspace, "acd", 1},
        {[](HWND e) { press(e, VK_DELETE); }, "acd", 1},
        {[](HWND e) { typeText(e, TEXT("\x1b\a\n")); }, "ab\r\ncd", 0}};
    for (const auto& [act, text, changes] : rows)
        for (const LPARAM mask : {0, ENM_CHANGE}) {
            SetWindowTextW(edit, TEXT("ab\r\ncd"));
            select(1, 3);
            SendMessageW(edit, EM_SETEVENTMASK, 0, mask);
            parent.take();
            act(edit);
            EXPECT_EQ(textOf(edit), text);
            EXPECT_EQ(parent.takeChanges(), mask == 0 ? 0 : changes) << text << ", mask " << mask;
        }
}

// Wine does not report a font change, other systems may. A program has to work with both.
TEST_F(RichEdit, newFontIsReportedAtMostOnce) {
    for (const int most : {1, 0}) {
        SendMessageW(edit, EM_SETEVENTMASK, 0, most * ENM_CHANGE);
        parent.take();
        SendMessageW(edit, WM_SETFONT, 0, TRUE);
        EXPECT_LE(parent.takeChanges(), most);
    }
}

TEST_F(RichEdit, readsTheTextOfRtf) {
    const std::pair<const char*, const char*> rows[] = {
        {R"({\rtf1 plain})", "plain"},
        {R"({\rtf1\ansi\deff0 a\par b\par})", "a\r\nb"},
        {R"({\rtf1 a\par b\par\par})", "a\r\nb\r\n"},
        {R"({\rtf1 a\pard\par\pard b})", "a\r\nb"},
        {R"({\rtf1\par})", ""},
        {R"({\rtf1 })", ""},
        {"{\\rtf1 a\r\nb\nc}", "abc"},
        {"{\\rtf1 a\\\r\nb}", "a\r\nb"},
        {R"({\rtf1 a\tab b\tab  c})", "a\tb\t c"},
        {R"({\rtf1 a\line b})", "a b"},
        {R"({\rtf1\ansi\ansicpg1252 caf\'e9 \'80\'93})", "caf\u00e9 \u20ac\u201c"},
        {R"({\rtf1\ansi\ansicpg1251 \'e9\'ff})", "\u0439\u044f"},
        {R"({\rtf1\ansicpg932 \'83\'41})", "\u30a2"},
        {R"({\rtf1 \u8364?x\u9733?y})", "\u20acx\u2605y"},
        {R"({\rtf1\uc0 \u8364x})", "\u20acx"},
        {R"({\rtf1\uc2 \u8364ab!})", "\u20ac!"},
        {R"({\rtf1 {\uc0 \u8364}\u8364\'80!})", "\u20ac\u20ac!"},
        {R"({\rtf1 \u-10179?\u-8704?})", "\U0001F600"},
        {R"({\rtf1 \u8364 ?x})", "\u20acx"},
        {R"({\rtf1 \\ \{ \} \~})", "\\ { } \u00a0"},
        {R"({\rtf1 \bullet\emdash\endash\lquote\rquote\ldblquote\rdblquote})",
         "\u2022\u2014\u2013\u2018\u2019\u201c\u201d"},
        {R"({\rtf1 {\*\generator x;}{\fonttbl{\f0 Arial;}}{\stylesheet{\s0 Normal;}}{\info{\author me}}{\pict 00ff}t})",
         "t"},
        {R"({\rtf1 {\*\unknown hidden{\b hidden}}{\colortbl;\red1;}x})", "x"},
        {R"({\rtf1 a{\b b{\i c}}\unknown3 d\zzz e})", "abcde"},
        {R"({\rtf1 a}}}junk)", "a"},
        {R"({\rtf1 a}{\rtf1 b})", "a"}};
    for (const auto& [rtf, text] : rows) {
        SetWindowTextW(edit, TEXT("old"));
        EXPECT_EQ(streamIn(edit, rtf), 0U) << rtf;
        EXPECT_EQ(textOf(edit), text) << rtf;
        EXPECT_EQ(selection(), "0-0") << rtf;
    }
}

TEST_F(RichEdit, damagedRtfFailsAndKeepsTheTextBeforeTheDamage) {
    for (const char* none : {"", "{", "{\\rt", "text", "{\\pwd a}", "\xef\xbb\xbf{\\rtf1 a}", " {\\rtf1 a}"}) {
        SetWindowTextW(edit, TEXT("old"));
        Stream stream{none};
        stream.into(edit);
        EXPECT_NE(stream.error, 0U) << none;
        EXPECT_EQ(stream.result, 0) << none;
        EXPECT_EQ(textOf(edit), "") << none;
    }
    for (const char* cutShort : {"{\\rtf1 a", "{\\rtf1 a\\par", "{\\rtf1 {\\b a}", "{\\rtf1 {a{\\*\\x"}) {
        EXPECT_NE(streamIn(edit, cutShort), 0U) << cutShort;
        EXPECT_EQ(textOf(edit), "a") << cutShort;
    }
}

TEST_F(RichEdit, formatsAndTextSurviveRoundTrips) {
    const char* const texts[] = {
        R"({\rtf1 {\colortbl;\red1\green2\blue3;}a\i i\i0\ul u\ulnone\strike s\strike0\cf1 c\cf0\fs48 big\b b\par})",
        R"({\rtf1 \\\{\}caf\'e9\'80\u9733?\u-10179?\u-8704?\~ \'a0\tab\bullet\line x})",
        R"({\rtf1 a\par\par b\par\par})", R"({\rtf1 {\i a\par}{\strike b}\par c})", R"({\rtf1 })"};
    for (const char* rtf : texts) {
        SCOPED_TRACE(rtf);
        streamIn(edit, rtf);
        const std::string text = textOf(edit), once = streamOut(edit);
        ASSERT_TRUE(once.starts_with("{\\rtf1"));
        EXPECT_EQ(once.back(), '\0');
        EXPECT_TRUE(std::all_of(once.begin(), once.end(), [](char each) { return (each & 0x80) == 0; }));
        EXPECT_EQ(streamIn(edit, once), 0U);
        EXPECT_EQ(textOf(edit), text);
        EXPECT_EQ(streamOut(edit), once);
    }
    streamIn(edit, texts[0]);
    const std::string rtf = streamOut(edit);
    for (const char* word : {"i", "ul", "strike", "cf1", "fs48", "b", "red1\\green2\\blue3"})
        EXPECT_TRUE(hasWord(rtf, word)) << word << rtf;
    SetWindowTextW(edit, TEXT("plain"));
    for (const char* word : {"i", "ul", "strike"})
        EXPECT_FALSE(hasWord(streamOut(edit), word)) << word << " outlived the text";
}

TEST_F(RichEdit, colourForTheWholeTextReplacesAllColours) {
    streamIn(edit, R"({\rtf1 {\colortbl;\red1\green2\blue3;}a\cf1 b\par c})");
    select(1, 2);
    parent.take();
    EXPECT_EQ(setColor(SCF_DEFAULT, 0x332211), 1);
    EXPECT_TRUE(hasWord(streamOut(edit), "red1\\green2\\blue3")) << "the default is for text without a colour";
    parent.take();
    CHARRANGE before = {};
    SendMessageW(edit, EM_EXGETSEL, 0, reinterpret_cast<LPARAM>(&before));
    select(0, -1);
    EXPECT_EQ(setColor(SCF_SELECTION, 0x332211), 1);
    SendMessageW(edit, EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&before));
    EXPECT_EQ(selection(), "1-2");
    EXPECT_EQ(parent.takeChanges(), 0);
    const std::string rtf = streamOut(edit);
    EXPECT_TRUE(hasWord(rtf, "red17\\green34\\blue51")) << rtf;
    EXPECT_FALSE(hasWord(rtf, "red1\\green2\\blue3")) << rtf;
    EXPECT_EQ(textOf(edit), "ab\r\nc");
}

TEST_F(RichEdit, readsAndWritesInPiecesOfAnySize) {
    for (const std::size_t most : {7, 10, 1000}) {
        Stream stream{R"({\rtf1\ansi caf\'e9\u9733?{\b x}\par})", most};
        stream.into(edit);
        EXPECT_EQ(stream.error, 0U);
        EXPECT_EQ(textOf(edit), "caf\u00e9\u2605x") << most;
    }
    std::string rtf = "{\\rtf1 ", text = "line";
    for (int i = 1; i < 700; ++i)
        text += "\r\nline";
    for (int i = 0; i < 700; ++i)
        rtf += "line\\par\n";
    Stream in{rtf + "}"}, out;
    in.into(edit);
    EXPECT_GT(in.calls, 1);
    EXPECT_EQ(textOf(edit), text);
    out.outOf(edit);
    EXPECT_GT(out.calls, 1);
    EXPECT_EQ(out.error, 0U);
    streamIn(edit, out.bytes);
    EXPECT_EQ(textOf(edit), text);
}

// With the default limit, a control may cut longer text. With a raised limit it keeps all text and accepts more.
TEST_F(RichEdit, raisedLimitAcceptsLongText) {
    SendMessageW(edit, EM_EXLIMITTEXT, 0, 0x7FFFFFFE);
    std::string rtf = "{\\rtf1 ";
    for (int line = 0; line < 340; ++line)
        rtf += std::string(99, 'x') + "\\par ";
    streamIn(edit, rtf + "}");
    const std::size_t units = textOf(edit).size();
    EXPECT_GT(units, 33900U);
    select(0, 0);
    typeText(edit, TEXT("y"));
    EXPECT_EQ(textOf(edit).size(), units + 1);
}

TEST_F(RichEdit, failingCallbackEndsTheStream) {
    SetWindowTextW(edit, TEXT("old"));
    Stream in{"{\\rtf1 abc}", 6, 1};
    in.into(edit);
    EXPECT_EQ(in.error, Stream::kRefusal);
    EXPECT_EQ(textOf(edit), "");
    std::string rtf = "{\\rtf1 ";
    for (int i = 0; i < 700; ++i)
        rtf += "line\\par ";
    streamIn(edit, rtf + "}");
    for (int call = 1; call <= 2; ++call) {
        Stream stream{{}, 1000000, call};
        stream.outOf(edit);
        EXPECT_EQ(stream.error, Stream::kRefusal);
        EXPECT_EQ(stream.calls, call);
        EXPECT_EQ(static_cast<std::size_t>(stream.result), stream.bytes.size());
    }
}
