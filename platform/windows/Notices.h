// What the process said: every OutputDebugStringW and every MessageBoxW. Both go to standard error, until a test
// silences them; from then on they are kept for it instead.
#pragma once

#include <windef.h>

#include <functional>
#include <string>
#include <vector>

namespace platform {

struct MessageBox {
    std::u16string caption;
    std::u16string text;
    UINT type = 0;
    HWND owner = nullptr;
};

namespace notices {

std::vector<std::u16string> takeDebugOutput();
std::vector<MessageBox> takeMessageBoxes();
// What happens while the next box is open.
void duringNextBox(std::function<void()> run);
void silence(bool on);

}  // namespace notices
}  // namespace platform
