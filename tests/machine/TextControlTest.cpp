// What a painter sees of the text controls, and what only the stand-in can be asked.
#include "controls/TextControl.h"

#include <iterator>
#include <random>

#include "MachineFixture.h"
#include "support/ControlParent.h"

using namespace platform;

namespace {

class TextControls : public MachineTest {
  protected:
    const TextControl& seen(HWND control) { return *textControlOf(*findWindow(control)); }

    ControlParent parent;
    const HWND title = parent.makeEdit(TEXT("title"));
    const HWND body = parent.makeRichEdit();
};

}  // namespace

TEST_F(TextControls, painterSeesFormatsColoursMarginsAndFont) {
    EXPECT_EQ(textControlOf(*findWindow(parent.handle())), nullptr);
    streamIn(body, R"({\rtf1 {\colortbl;\red1;}a\b\cf1 b})");
    SendMessageW(body, EM_SETBKGNDCOLOR, 0, 0x445566);
    SendMessageW(body, EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN, MAKELPARAM(3, 4));
    SendMessageW(body, EM_SETMARGINS, EC_RIGHTMARGIN, MAKELPARAM(9, 5));
    int font = 0;
    SendMessageW(body, WM_SETFONT, reinterpret_cast<WPARAM>(&font), TRUE);
    CHARFORMAT2W format = {};
    format.cbSize = sizeof format;
    format.dwMask = CFM_COLOR;
    format.crTextColor = 7;
    SendMessageW(body, EM_SETCHARFORMAT, SCF_DEFAULT, reinterpret_cast<LPARAM>(&format));

    const auto runs = seen(body).content().runs();
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_FALSE(runs[0].format.bold);
    EXPECT_TRUE(runs[1].format.bold);
    EXPECT_EQ(seen(body).colorOf(runs[0].format), 7U);
    EXPECT_EQ(seen(body).colorOf(runs[1].format), 1U);
    EXPECT_EQ(seen(body).background(), 0x445566U);
    EXPECT_EQ(seen(body).margins().left, 3);
    EXPECT_EQ(seen(body).margins().right, 5);
    EXPECT_EQ(reinterpret_cast<int*>(seen(body).font()), &font);
    EXPECT_FALSE(seen(body).isReadOnly());
    SendMessageW(body, EM_SETREADONLY, TRUE, 0);
    EXPECT_TRUE(seen(body).isReadOnly());
}

TEST_F(TextControls, typedTextIsLikeItsNeighbour) {
    const struct {
        LONG first, last;
        const char* bold;  // a B for each bold unit
    } rows[] = {{0, 0, "nnBBnB"}, {1, 1, "nnBBnB"}, {3, 3, "nBBBnB"}, {4, 4, "nBBnBB"}, {1, 3, "nBnB"}};
    for (const auto& row : rows) {
        streamIn(body, R"({\rtf1 a{\b bc}\par{\b d}})");
        CHARRANGE range = {row.first, row.last};
        SendMessageW(body, EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&range));
        typeText(body, TEXT("x"));
        std::string bold;
        for (std::size_t i = 0; i < seen(body).content().size(); ++i)
            bold += seen(body).content().formatAt(i).bold ? 'B' : 'n';
        EXPECT_EQ(bold, row.bold) << row.first;
    }
}

TEST_F(TextControls, controlAndASelectEverything) {
    SetWindowTextW(body, TEXT("a\nb"));
    for (const HWND control : {title, body}) {
        press(control, 'A', 1);
        pressBackspace(control);
        EXPECT_EQ(textOf(control), "");
    }
}

TEST_F(TextControls, surrogatePairsGoTogether) {
    for (const HWND control : {title, body}) {
        SetWindowTextW(control, TEXT("a\U0001F600b"));
        SendMessageW(control, EM_SETSEL, 3, 3);
        pressBackspace(control);
        EXPECT_EQ(textOf(control), "ab");
        SetWindowTextW(control, TEXT("a\U0001F600b"));
        SendMessageW(control, EM_SETSEL, 1, 1);
        press(control, VK_DELETE);
        EXPECT_EQ(textOf(control), "ab");
    }
}

TEST_F(TextControls, typingEndsAtTheLimit) {
    const struct {
        HWND control;
        std::size_t most;
    } rows[] = {{title, 30000}, {body, 32767}};
    for (const auto& row : rows) {
        SetWindowTextW(row.control, WideString(row.most, u'x').c_str());
        parent.take();
        typeText(row.control, TEXT("y"));
        EXPECT_EQ(parent.take(), "501");
        EXPECT_EQ(GetWindowTextLengthW(row.control), static_cast<int>(row.most));
        SendMessageW(row.control, EM_SETSEL, 0, 1);
        typeText(row.control, TEXT("y"));
        EXPECT_EQ(textOf(row.control)[0], 'y');
        SetWindowTextW(row.control, WideString(row.most + 1, u'x').c_str());
        EXPECT_EQ(GetWindowTextLengthW(row.control), static_cast<int>(row.most) + 1) << "a program is not limited";
    }
}

TEST_F(TextControls, otherFormsAndFormatsAreRefusedAndChangeNothing) {
    SetWindowTextW(body, TEXT("kept"));
    EDITSTREAM stream = {0, 0, nullptr};
    EXPECT_EQ(SendMessageW(body, EM_STREAMIN, 1, reinterpret_cast<LPARAM>(&stream)), 0);
    EXPECT_NE(stream.dwError, 0U);
    stream.dwError = 0;
    EXPECT_EQ(SendMessageW(body, EM_STREAMOUT, 1, reinterpret_cast<LPARAM>(&stream)), 0);
    EXPECT_NE(stream.dwError, 0U);
    CHARFORMAT2W format = {};
    format.cbSize = sizeof format;
    format.dwMask = CFM_COLOR | 1;
    EXPECT_EQ(SendMessageW(body, EM_SETCHARFORMAT, SCF_DEFAULT, reinterpret_cast<LPARAM>(&format)), 0);
    EXPECT_EQ(textOf(body), "kept");
}

TEST_F(TextControls, refusalAtAnyCallLeavesWhatCame) {
    const std::string rtf = "{\\rtf1 abcdefgh}";
    for (int call = 1; call <= static_cast<int>(rtf.size()); ++call) {
        SetWindowTextW(body, TEXT("old"));
        Stream stream{rtf, 1, call};
        stream.into(body);
        EXPECT_EQ(stream.error, Stream::kRefusal);
        EXPECT_EQ(stream.calls, call) << "it is not asked again";
        EXPECT_EQ(textOf(body), std::string("abcdefgh").substr(0, static_cast<std::size_t>(std::max(call - 8, 0))));
    }
    Stream whole{rtf, 1};
    whole.into(body);
    EXPECT_EQ(whole.error, 0U);
    EXPECT_EQ(textOf(body), "abcdefgh");
}

TEST_F(TextControls, callbackThatTakesLessThanItIsGivenEndsTheStream) {
    SetWindowTextW(body, WideString(5000, u'x').c_str());
    Stream stream{{}, 100};
    stream.outOf(body);
    EXPECT_EQ(stream.calls, 1);
    EXPECT_EQ(stream.result, 100);
}

TEST_F(TextControls, callbackThatLiesAboutItsBytesIsCutToTheBuffer) {
    struct Liar {
        LONG lie;
        int calls = 0;

        static DWORD CALLBACK read(DWORD_PTR cookie, LPBYTE buffer, LONG bytes, LONG* moved) {
            Liar& self = *reinterpret_cast<Liar*>(cookie);
            std::memset(buffer, 'x', static_cast<std::size_t>(bytes));
            std::memcpy(buffer, "{\\rtf1 ", 7);
            *moved = ++self.calls == 1 ? self.lie : 0;
            return 0;
        }
    };
    for (const LONG lie : {-5, 1000000000}) {
        Liar liar{lie};
        EDITSTREAM stream = {reinterpret_cast<DWORD_PTR>(&liar), 0, Liar::read};
        SendMessageW(body, EM_STREAMIN, SF_RTF, reinterpret_cast<LPARAM>(&stream));
        EXPECT_NE(stream.dwError, 0U);
        EXPECT_EQ(GetWindowTextLengthW(body), lie < 0 ? 0 : 4096 - 7);
    }
}

TEST_F(TextControls, windowMayGoWhileItStreams) {
    EDITSTREAM stream = {reinterpret_cast<DWORD_PTR>(body), 0, [](DWORD_PTR cookie, LPBYTE buffer, LONG, LONG* moved) {
                             DestroyWindow(reinterpret_cast<HWND>(cookie));
                             std::memcpy(buffer, "{\\rtf1 a", 8);
                             *moved = 8;
                             return DWORD{0};
                         }};
    SendMessageW(body, EM_STREAMIN, SF_RTF, reinterpret_cast<LPARAM>(&stream));
    EXPECT_FALSE(IsWindow(body));
}

// Many of the bytes mean something, so that the storm gets past the first group.
TEST_F(TextControls, anyBytesMayBeStreamedInAndWhatCameOfThemIsStable) {
    const std::string pieces[] = {"{",
                                  "}",
                                  "\\",
                                  "\\'",
                                  "\\u",
                                  "\\uc",
                                  "\\par ",
                                  "\\b",
                                  "\\cf1",
                                  "\\fs",
                                  "\\bin",
                                  "\\*",
                                  ";",
                                  "{\\colortbl",
                                  "\\red",
                                  "-",
                                  "1",
                                  "32768",
                                  "\\ansicpg932",
                                  "\\ansicpg65001",
                                  "\x83",
                                  "e",
                                  " ",
                                  "\n",
                                  "\\plain",
                                  "{\\fonttbl",
                                  std::string(1, '\0')};
    std::mt19937 random(20240501);
    for (int round = 0; round < 1000; ++round) {
        std::string rtf = round % 10 == 0 ? "" : "{\\rtf1";
        for (int i = 0; i < 60; ++i)
            rtf +=
                random() % 4 == 0 ? std::string(1, static_cast<char>(random())) : pieces[random() % std::size(pieces)];
        SCOPED_TRACE(testing::PrintToString(rtf));
        Stream stream{rtf, 1 + random() % 50};
        stream.into(body);
        const std::string text = textOf(body), written = streamOut(body);
        ASSERT_EQ(streamIn(body, written), 0U);
        ASSERT_EQ(textOf(body), text);
        ASSERT_EQ(streamOut(body), written);
    }
}

TEST_F(TextControls, libraryAndCallsMayFail) {
    faults::arm({"LoadLibraryW", 1, faults::Action::Fail, 14});
    EXPECT_EQ(LoadLibraryW(TEXT("Msftedit.dll")), nullptr);
    faults::arm({"*", 0, faults::Action::Fail, 14});
    WCHAR buffer[8] = TEXT("before");
    EXPECT_FALSE(SetWindowTextW(title, TEXT("x")));
    EXPECT_EQ(GetWindowTextW(title, buffer, 8), 0);
    EXPECT_EQ(buffer[0], 0);
    EXPECT_EQ(GetWindowTextLengthW(title), 0);
    EXPECT_EQ(GetParent(title), nullptr);
    faults::clear();
    EXPECT_EQ(textOf(title), "title");
}
