// The line of text that a title is.
#include "common/DrawingHandles.h"
#include "support/ControlParent.h"

namespace {

class Edit : public testing::Test {
  protected:
    ControlParent parent;
    const HWND edit = parent.makeEdit(TEXT("hello"));

    void select(int first, int last) {
        SendMessageW(edit, EM_SETSEL, static_cast<WPARAM>(first), last);
        parent.take();
    }
};

}  // namespace

TEST_F(Edit, everyNewTextIsAnUpdateAndAChange) {
    const struct {
        const char* title;
        int first, last;
        void (*act)(HWND);
        const char* text;
        const char* selection;
        const char* told;
    } rows[] = {
        {"a text", 1, 2, [](HWND e) { SetWindowTextW(e, TEXT("new")); }, "new", "0-0", "400 300"},
        {"the same text", 1, 1, [](HWND e) { SetWindowTextW(e, TEXT("hello")); }, "hello", "0-0", "400 300"},
        {"no text", 1, 1, [](HWND e) { SetWindowTextW(e, TEXT("")); }, "", "0-0", "400 300"},
        {"a character", 2, 2, [](HWND e) { typeText(e, TEXT("x")); }, "hexllo", "3-3", "400 300"},
        {"two characters", 5, 5, [](HWND e) { typeText(e, TEXT("xy")); }, "helloxy", "7-7", "400 300 400 300"},
        {"over a selection", 1, 4, [](HWND e) { typeText(e, TEXT("\u00e9")); }, "h\u00e9o", "2-2", "400 300"},
        {"backspace", 2, 2, pressBackspace, "hllo", "1-1", "400 300"},
        {"backspace on a selection", 0, -1, pressBackspace, "", "0-0", "400 300"},
        {"backspace at the start", 0, 0, pressBackspace, "hello", "0-0", ""},
        {"delete", 0, 0, [](HWND e) { press(e, VK_DELETE); }, "ello", "0-0", "400 300"},
        {"delete on a selection", 3, 1, [](HWND e) { press(e, VK_DELETE); }, "hlo", "1-1", "400 300"},
        {"delete at the end", 5, 5, [](HWND e) { press(e, VK_DELETE); }, "hello", "5-5", ""},
        {"return", 5, 5, pressReturn, "hello", "5-5", ""},
        {"tab, escape, bell, line feed", 5, 5, [](HWND e) { typeText(e, TEXT("\t\x1b\a\n")); }, "hello", "5-5", ""},
        {"a letter's key alone", 5, 5, [](HWND e) { press(e, 'X'); }, "hello", "5-5", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.title);
        SetWindowTextW(edit, TEXT("hello"));
        select(row.first, row.last);
        row.act(edit);
        EXPECT_EQ(textOf(edit), row.text);
        EXPECT_EQ(selectionOf(edit), row.selection);
        EXPECT_EQ(parent.take(), row.told);
    }
}

TEST_F(Edit, readOnlyStopsTheUserAndNotTheProgram) {
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

TEST_F(Edit, newFontBringsMarginsOfItsOwn) {
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

TEST_F(Edit, hasABeamForACursor) {
    SetCursor(LoadCursorW(nullptr, IDC_ARROW));
    SendMessageW(edit, WM_SETCURSOR, reinterpret_cast<WPARAM>(edit), MAKELPARAM(HTCLIENT, WM_MOUSEMOVE));
    EXPECT_EQ(SetCursor(nullptr), LoadCursorW(nullptr, IDC_IBEAM));
    SendMessageW(parent.handle(), WM_SETCURSOR, reinterpret_cast<WPARAM>(parent.handle()),
                 MAKELPARAM(HTCLIENT, WM_MOUSEMOVE));
    EXPECT_EQ(SetCursor(nullptr), LoadCursorW(nullptr, IDC_ARROW));
}
