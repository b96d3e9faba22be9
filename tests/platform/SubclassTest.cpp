// Window subclassing.
#include <gtest/gtest.h>
#include <windows.h>

#include <commctrl.h>

#include <string>

namespace {

constexpr UINT kAsk = WM_APP + 1;

std::string heard;  // the messages received, in call order

LRESULT CALLBACK own(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == kAsk || message == WM_NCDESTROY) heard += "own ";
    return message == kAsk ? 1 : DefWindowProcW(window, message, wParam, lParam);
}
// Removes itself at WM_NCDESTROY and still calls the next procedure.
LRESULT CALLBACK passing(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR id, DWORD_PTR data) {
    if (message == kAsk || message == WM_NCDESTROY) heard += std::to_string(id) + ":" + std::to_string(data) + " ";
    if (message == WM_NCDESTROY) RemoveWindowSubclass(window, passing, id);
    const LRESULT below = DefSubclassProc(window, message, wParam, lParam);
    return message == kAsk ? below * 10 : below;
}
LRESULT CALLBACK swallowing(HWND, UINT, WPARAM, LPARAM, UINT_PTR, DWORD_PTR) {
    heard += "swallowed ";
    return 7;
}

class Subclass : public testing::Test {
  protected:
    Subclass() {
        WNDCLASSEXW description = {};
        description.cbSize = sizeof description;
        description.lpfnWndProc = own;
        description.lpszClassName = TEXT("VellumTestSubclass");
        RegisterClassExW(&description);
        window = CreateWindowExW(0, description.lpszClassName, nullptr, WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr,
                                 nullptr);
        heard.clear();
    }
    ~Subclass() override { DestroyWindow(window); }

    std::string ask() {
        heard.clear();
        const LRESULT answer = SendMessageW(window, kAsk, 0, 0);
        return heard + "= " + std::to_string(answer);
    }

    HWND window;
};

}  // namespace

TEST_F(Subclass, lastSubclassSetRunsFirst) {
    for (const UINT_PTR id : {1, 2, 3})
        EXPECT_TRUE(SetWindowSubclass(window, passing, id, id * 11));
    EXPECT_EQ(ask(), "3:33 2:22 1:11 own = 1000");
    EXPECT_TRUE(SetWindowSubclass(window, passing, 2, 99));
    EXPECT_EQ(ask(), "3:33 2:99 1:11 own = 1000") << "the same one again changes its data and not its place";
    EXPECT_TRUE(RemoveWindowSubclass(window, passing, 2));
    EXPECT_FALSE(RemoveWindowSubclass(window, passing, 2));
    EXPECT_FALSE(RemoveWindowSubclass(window, swallowing, 1));
    EXPECT_EQ(ask(), "3:33 1:11 own = 100");
    EXPECT_TRUE(SetWindowSubclass(window, swallowing, 1, 0));
    EXPECT_EQ(ask(), "swallowed = 7");
    for (const UINT_PTR id : {1, 3})
        RemoveWindowSubclass(window, passing, id);
    RemoveWindowSubclass(window, swallowing, 1);
    EXPECT_EQ(ask(), "own = 1");
}

TEST_F(Subclass, subclassReceivesNcDestroy) {
    for (const UINT_PTR id : {1, 2})
        SetWindowSubclass(window, passing, id, 5);
    DestroyWindow(window);
    EXPECT_EQ(heard, "2:5 1:5 own ");
    EXPECT_FALSE(RemoveWindowSubclass(window, passing, 1));
}
