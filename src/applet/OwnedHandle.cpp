#include "applet/OwnedHandle.h"

namespace AppletNotes {

bool closeChecked(OwnedHandle& handle, DWORD& err) {
    if (CloseHandle(handle.release())) return true;
    err = GetLastError();
    return false;
}

}  // namespace AppletNotes
