// Any text: each character gives six bits, and an appended end mark changes nothing.
#include <cstdint>
#include <cstdlib>

#include "notes/Text.h"
#include "window/LogoSource.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const WideString text = logoBase64(utf8ToWide(reinterpret_cast<const char*>(data), size));
    const std::vector<BYTE> bytes = decodeBase64(text);
    if (bytes.size() > text.size() * 3 / 4) std::abort();
    if (decodeBase64(text + TEXT("=")) != bytes) std::abort();
    return 0;
}
