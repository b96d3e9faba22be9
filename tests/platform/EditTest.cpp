// The EDIT control, which shows the title of a note.
#include "common/DrawingHandles.h"
#include "support/ControlParent.h"

namespace {

class Edit : public testing::Test {
  protected:
    ControlParent parent;
    const HWND edit = parent.makeEdit(TEXT("hello"));

    void resetAndSelect(int first, int last) {
        SetWindowTextW(edit, TEXT("hello"));
        select(first, last);
    }
    void select(int first, int last) {
        SendMessageW(edit, EM_SETSEL, static_cast<WPARAM>(first), last);
        parent.take();
    }
};

}  // namespace

TEST_F(Edit, everyChangeSendsUpdateAndChange) {
    const std::tuple<void (*)(HWND), int, int, const char*, const char*> rows[] = {
        {[](HWND e) { SetWindowTextW(e, TEXT("new")); }, 1, 2, "new", "0-0"},
        {[](HWND e) { SetWindowTextW(e, TEXT("hello")); }, 1, 1, "hello", "0-0"},
        {[](HWND e) { SetWindowTextW(e, TEXT("")); }, 1, 1, "", "0-0"},
        {[](HWND e) { typeText(e, TEXT("x")); }, 2, 2, "hexllo", "3-3"},
        {[](HWND e) { typeText(e, TEXT("\u00e9")); }, 1, 4, "h\u00e9o", "2-2"},
        {pressBackspace, 2, 2, "hllo", "1-1"},
        {pressBackspace, 0, -1, "", "0-0"},
        {[](HWND e) { press(e, VK_DELETE); }, 0, 0, "ello", "0-0"},
        {[](HWND e) { press(e, VK_DELETE); }, 3, 1, "hlo", "1-1"}};
    for (const auto& [act, first, last, text, selection] : rows) {
        resetAndSelect(first, last);
        act(edit);
        EXPECT_EQ(textOf(edit) + " " + selectionOf(edit), text + std::string(" ") + selection);
        EXPECT_EQ(parent.take(), "400 300") << text;
    }
    typeText(edit, TEXT("xy"));
    EXPECT_EQ(parent.take(), "400 300 400 300") << "each character is one";
}

TEST_F(Edit, keysWithoutEffectSendNothing) {
    const std::tuple<void (*)(HWND), int, const char*> rows[] = {
        {pressBackspace, 0, "0-0"},
        {[](HWND e) { press(e, VK_DELETE); }, 5, "5-5"},
        {pressReturn, 5, "5-5"},
        {[](HWND e) { typeText(e, TEXT("\t\x1b\a\n")); }, 5, "5-5"},
        {[](HWND e) { press(e, 'X'); }, 5, "5-5"}};
    for (const auto& [act, caret, selection] : rows) {
        resetAndSelect(caret, caret);
        act(edit);
        EXPECT_EQ(textOf(edit) + " " + selectionOf(edit), std::string("hello ") + selection);
        EXPECT_EQ(parent.take(), "");
    }
}

TEST_F(Edit, readOnlyStopsTheUserButNotTheProgram) {
    EXPECT_EQ(SendMessageW(edit, EM_SETREADONLY, TRUE, 0), TRUE);
    EXPECT_NE(GetWindowLongW(edit, GWL_STYLE) & ES_READONLY, 0);
    select(1, 3);
    typeText(edit, TEXT("x"));
    pressBackspace(edit);
    press(edit, VK_DELETE);
    EXPECT_EQ(textOf(edit), "hello");
    EXPECT_EQ(parent.take(), "");
    SetWindowTextW(edit, TEXT("by the program"));
    EXPECT_EQ(textOf(edit), "by the program");
    EXPECT_EQ(parent.take(), "400 300");
    SendMessageW(edit, EM_SETREADONLY, FALSE, 0);
    EXPECT_EQ(GetWindowLongW(edit, GWL_STYLE) & ES_READONLY, 0);
    typeText(edit, TEXT("x"));
    EXPECT_EQ(textOf(edit), "xby the program");
}

TEST_F(Edit, newFontResetsTheMargins) {
    LOGFONTW description = {};
    description.lfHeight = -20;
    WideView(TEXT("Segoe UI")).copy(description.lfFaceName, LF_FACESIZE);
    const Font font(CreateFontIndirectW(&description));
    const auto margins = [&] { return SendMessageW(edit, EM_GETMARGINS, 0, 0); };
    SendMessageW(edit, EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN, MAKELONG(20, 30));
    EXPECT_EQ(margins(), MAKELONG(20, 30));
    SendMessageW(edit, WM_SETFONT, reinterpret_cast<WPARAM>(font.get()), TRUE);
    for (const int margin : {LOWORD(margins()), HIWORD(margins())})
        EXPECT_TRUE(margin > 0 && margin < 20) << margin;
    SendMessageW(edit, WM_SETFONT, 0, TRUE);
}

TEST_F(Edit, showsTheIBeamCursor) {
    SetCursor(LoadCursorW(nullptr, IDC_ARROW));
    SendMessageW(edit, WM_SETCURSOR, reinterpret_cast<WPARAM>(edit), MAKELPARAM(HTCLIENT, WM_MOUSEMOVE));
    EXPECT_EQ(SetCursor(nullptr), LoadCursorW(nullptr, IDC_IBEAM));
    SendMessageW(parent.handle(), WM_SETCURSOR, reinterpret_cast<WPARAM>(parent.handle()),
                 MAKELPARAM(HTCLIENT, WM_MOUSEMOVE));
    EXPECT_EQ(SetCursor(nullptr), LoadCursorW(nullptr, IDC_ARROW));
}
