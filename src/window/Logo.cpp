// Loads a logo with GDI+, from a file or from base64 text. Called by a note window on the main thread.
#include "window/Logo.h"

#include <cstring>
#include <new>

#include "common/ComHandles.h"
#include "common/Folders.h"
#include "common/Logger.h"
#include "notes/FileIo.h"
#include "window/LogoSource.h"

namespace flat = Gdiplus::DllExports;

namespace {

constexpr const WCHAR* kComponent = TEXT("NoteWindow");

using GlobalMemory = Guard<ValueTraits<HGLOBAL, GlobalFree>>;

// A logo whose image is not loaded yet; empty when there is no memory.
Logo makeLogo() {
    void* const memory = flat::GdipAlloc(sizeof(LogoImage));
    return memory == nullptr ? Logo() : Logo(new (memory) LogoImage);
}

Logo logoFromFile(const WideString& path) {
    Logo logo = path.empty() ? Logo() : makeLogo();
    if (!logo || flat::GdipLoadImageFromFile(path.c_str(), &logo.get()->image) != Gdiplus::Ok) return Logo();
    return logo;
}

// A stream that owns a copy of the bytes; empty when there is no memory.
ComPointer<IStream> streamOver(const std::vector<BYTE>& bytes) {
    ComPointer<IStream> stream;
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
    const ComPointer<IStream> stream = streamOver(bytes);
    Logo decoded = stream ? makeLogo() : Logo();
    if (!decoded || flat::GdipLoadImageFromStream(stream.get(), &decoded.get()->image) == Gdiplus::Ok) return decoded;
    logWrite(LogLevel::Warn, kComponent, TEXT("logo: GDI+ could not decode base64 image (id=%ls)"), id.c_str());
    return Logo();
}

}  // namespace

void disposeLogo(LogoImage* logo) {
    if (logo->image != nullptr) flat::GdipDisposeImage(logo->image);
    flat::GdipFree(logo);
}

Logo loadLogoImage(const WideString& folder, const WideString& logo, const WideString& id) {
    // Most users have no folder of logos: one test saves five searches for a default logo.
    if (logo.empty() && !isFolder(folder)) return Logo();
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
