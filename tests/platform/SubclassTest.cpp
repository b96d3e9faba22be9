// Procedures before a window's own.
#include <gtest/gtest.h>
#include <windows.h>

#include <commctrl.h>

#include <string>

namespace {

constexpr UINT kAsk = WM_APP + 1;

std::string heard;  // by the procedures, in their order

LRESULT CALLBACK own(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != kAsk) return DefWindowProcW(window, message, wParam, lParam);
    heard += "own ";
    return 1;
}
LRESULT CALLBACK passing(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR id, DWORD_PTR data) {
    if (message == kAsk || message == WM_NCDESTROY) heard += std::to_string(id) + ":" + std::to_string(data) + " ";
    const LRESULT below = DefSubclassProc(window, message, wParam, lParam);
    return message == kAsk ? below * 10 : below;
}
LRESULT CALLBACK swallowing(HWND, UINT, WPARAM, LPARAM, UINT_PTR, DWORD_PTR) {
    heard += "swallowed ";
    return 7;
}
// Takes away the procedure whose number is `data`, and hands on.
LRESULT CALLBACK removing(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR id, DWORD_PTR data) {
    if (message != kAsk) return DefSubclassProc(window, message, wParam, lParam);
    heard += "removes " + std::to_string(data) + " ";
    EXPECT_TRUE(RemoveWindowSubclass(window, data == id ? removing : passing, data));
    return DefSubclassProc(window, message, wParam, lParam);
}

// Takes itself away, and sends a message of its own before it hands on.
LRESULT CALLBACK leaving(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR id, DWORD_PTR) {
    if (message == kAsk) {
        heard += "leaves ";
        RemoveWindowSubclass(window, leaving, id);
        SendMessageW(window, kAsk, 0, 0);
    }
    return DefSubclassProc(window, message, wParam, lParam);
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

TEST_F(Subclass, lastOneSetRunsFirst) {
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

TEST_F(Subclass, procedureMayRemoveAnyOneOnTheWay) {
    const struct {
        UINT_PTR removed;
        const char* first;
        const char* second;
    } rows[] = {
        {1, "3:0 removes 1 own = 10", "3:0 own = 10"},
        {2, "3:0 removes 2 1:0 own = 100", "3:0 1:0 own = 100"},
        {3, "3:0 removes 3 1:0 own = 100", "1:0 own = 10"},
    };
    for (const auto& row : rows) {
        SetWindowSubclass(window, passing, 1, 0);
        SetWindowSubclass(window, removing, 2, row.removed);
        SetWindowSubclass(window, passing, 3, 0);
        EXPECT_EQ(ask(), row.first);
        RemoveWindowSubclass(window, removing, 2);
        EXPECT_EQ(ask(), row.second);
        for (const UINT_PTR id : {1, 3})
            RemoveWindowSubclass(window, passing, id);
    }
}

TEST_F(Subclass, lastOneToLeaveStillHandsOn) {
    SetWindowSubclass(window, leaving, 1, 0);
    EXPECT_EQ(ask(), "leaves own own = 1");
    EXPECT_EQ(ask(), "own = 1");
}

TEST_F(Subclass, hearsTheEndOfItsWindow) {
    SetWindowSubclass(window, passing, 1, 5);
    DestroyWindow(window);
    EXPECT_EQ(heard, "1:5 ");
    EXPECT_FALSE(RemoveWindowSubclass(window, passing, 1));
}
