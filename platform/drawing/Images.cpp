#include <stb/stb_image.h>

#include "drawing/Surface.h"

namespace platform {
namespace {

std::string mediaTypeOf(const std::vector<unsigned char>& bytes) {
    const auto startsWith = [&](std::string_view mark) {
        return bytes.size() >= mark.size() &&
               std::equal(mark.begin(), mark.end(), bytes.begin(),
                          [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; });
    };
    if (startsWith("\x89PNG")) return "image/png";
    if (startsWith("\xFF\xD8\xFF")) return "image/jpeg";
    if (startsWith("BM")) return "image/bmp";
    if (startsWith("GIF8")) return "image/gif";
    return {};
}

}  // namespace

// Decodes the whole image, so that a truncated file is refused.
std::shared_ptr<const ImageData> decodeImage(std::vector<unsigned char> bytes) {
    auto image = std::make_shared<ImageData>();
    image->mediaType = mediaTypeOf(bytes);
    int width = 0, height = 0, channels = 0;
    stbi_uc* const pixels =
        image->mediaType.empty()
            ? nullptr
            : stbi_load_from_memory(bytes.data(), static_cast<int>(bytes.size()), &width, &height, &channels, 4);
    if (pixels == nullptr) return nullptr;
    stbi_image_free(pixels);
    image->bytes = std::move(bytes);
    image->width = width;
    image->height = height;
    return image;
}

}  // namespace platform
