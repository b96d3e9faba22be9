#include "window/Logo.h"

#include <cstring>
#include <new>

#include "common/Logger.h"
#include "notes/FileIo.h"
#include "window/LogoSource.h"

namespace flat = Gdiplus::DllExports;

namespace {

constexpr const WCHAR* kComponent = TEXT("NoteWindow");

struct StreamTraits {
    using Raw = IStream*;
    static Raw none() { return nullptr; }
    static bool isEmpty(Raw raw) { return raw == nullptr; }
    static void close(Raw raw) { raw->Release(); }
};
using Stream = Guard<StreamTraits>;
using GlobalMemory = Guard<PointerTraits<HGLOBAL, GlobalFree>>;

// `load` fills an image pointer and gives a status.
template <typename Load>
Logo makeLogo(Load load) {
    void* const memory = flat::GdipAlloc(sizeof(LogoImage));
    if (memory == nullptr) return Logo();
    Logo logo(new (memory) LogoImage);
    return load(&logo.get()->image) == Gdiplus::Ok ? std::move(logo) : Logo();
}

Logo logoFromFile(const WideString& path) {
    if (path.empty()) return Logo();
    return makeLogo([&](Gdiplus::GpImage** image) { return flat::GdipLoadImageFromFile(path.c_str(), image); });
}

// The stream owns the memory. None when the system has no memory to give.
Stream streamOver(const std::vector<BYTE>& bytes) {
    Stream stream;
    GlobalMemory memory(GlobalAlloc(GMEM_MOVEABLE, bytes.size()));
    void* const target = memory ? GlobalLock(memory.get()) : nullptr;
    if (target == nullptr) return stream;
    std::memcpy(target, bytes.data(), bytes.size());
    GlobalUnlock(memory.get());
    if (SUCCEEDED(CreateStreamOnHGlobal(memory.get(), TRUE, stream.put()))) static_cast<void>(memory.release());
    return stream;
}

Logo logoFromText(const WideString& logo, const WideString& id) {
    const WideString text = logoBase64(logo);
    if (text.empty()) return Logo();
    const std::vector<BYTE> bytes = decodeBase64(text);
    if (bytes.empty()) {
        logWrite(LogLevel::Warn, kComponent, TEXT("logo: not a usable filename or base64 image (id=%ls)"), id.c_str());
        return Logo();
    }
    const Stream stream = streamOver(bytes);
    if (!stream) return Logo();
    Logo decoded =
        makeLogo([&](Gdiplus::GpImage** image) { return flat::GdipLoadImageFromStream(stream.get(), image); });
    if (!decoded)
        logWrite(LogLevel::Warn, kComponent, TEXT("logo: GDI+ could not decode base64 image (id=%ls)"), id.c_str());
    return decoded;
}

}  // namespace

void LogoTraits::close(Raw raw) {
    if (raw->image != nullptr) flat::GdipDisposeImage(raw->image);
    flat::GdipFree(raw);
}

Logo loadLogo(const WideString& folder, const WideString& logo, const WideString& id) {
    Logo fromFile = logoFromFile(logoFile(folder, logo, fileExists));
    if (fromFile) return fromFile;
    return logo.empty() ? Logo() : logoFromText(logo, id);
}

Size sizeOf(const Logo& logo) {
    UINT width = 0, height = 0;
    if (!logo || flat::GdipGetImageWidth(logo.get()->image, &width) != Gdiplus::Ok ||
        flat::GdipGetImageHeight(logo.get()->image, &height) != Gdiplus::Ok)
        return {};
    return {static_cast<LONG>(width), static_cast<LONG>(height)};
}
