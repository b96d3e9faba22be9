// Any text: a queue name that is read is written as a name of the same logon; an accepted note name cannot name a file
// in another folder.
#include <cstdint>
#include <cstdlib>

#include "applet/QueueName.h"
#include "notes/Text.h"

using namespace AppletNotes;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const WideString text = utf8ToWide(reinterpret_cast<const char*>(data), size);
    QueueName name, again;
    if (parseQueueName(text, name)) {
        if (!isValid(name.identity) || (name.claimToken.size() != 32 && !name.claimToken.empty())) std::abort();
        if (!parseQueueName(formatQueueName(name.identity), again) || !(again.identity == name.identity)) std::abort();
    } else if (isValid(name.identity) || !name.claimToken.empty()) {
        std::abort();
    }
    if (isPrivateNoteName(text) && (text.size() > 96 || text.find_first_of(TEXT("\\/:*?\"<>|")) != WideString::npos))
        std::abort();
    return 0;
}
