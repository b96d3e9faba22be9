// OutputDebugStringW and MessageBoxW. Both print to standard error. After a test has called silence(true), they are
// recorded instead.
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
// `run` is called while the next message box is open.
void duringNextBox(std::function<void()> run);
void silence(bool on);

}  // namespace notices
}  // namespace platform
