// OutputDebugStringW and MessageBoxW. Called by the product on any thread; one lock.
#include "windows/Notices.h"

#include <unistd.h>
#include <windows.h>

#include <mutex>
#include <utility>

#include "core/Encoding.h"
#include "core/Gate.h"

namespace platform {
namespace {

std::mutex lock;
bool silent = false;
bool keep = false;
// Never destroyed: a thread may write while the process ends.
std::vector<std::u16string>& debugOutput = *new std::vector<std::u16string>;
std::vector<MessageBox>& boxes = *new std::vector<MessageBox>;
std::function<void()>& duringBox = *new std::function<void()>;

// Makes one write, so that output of several threads or processes does not mix.
void toStandardError(const std::string& text) {
    if (silent) return;
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

std::vector<std::u16string> notices::takeDebugOutput() {
    std::lock_guard hold(lock);
    return std::exchange(debugOutput, {});
}

std::vector<MessageBox> notices::takeMessageBoxes() {
    std::lock_guard hold(lock);
    return std::exchange(boxes, {});
}

void notices::duringNextBox(std::function<void()> run) {
    std::lock_guard hold(lock);
    duringBox = std::move(run);
}

void notices::silence(bool on) {
    std::lock_guard hold(lock);
    silent = keep = on;
}

}  // namespace platform

using namespace platform;

void OutputDebugStringW(LPCWSTR text) {
    static constinit CallSite site{__func__};
    site.pass();
    std::lock_guard hold(lock);
    if (keep) debugOutput.emplace_back(text);
    toStandardError(toUtf8(text));
}

// Returns IDOK at once: no user can press the button.
int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    std::function<void()> meanwhile;
    {
        std::lock_guard hold(lock);
        if (keep) boxes.push_back({caption, text, type, owner});
        toStandardError("[" + toUtf8(caption) + "]\n" + toUtf8(text) + "\n");
        meanwhile.swap(duringBox);
    }
    if (meanwhile) meanwhile();
    return IDOK;
}
