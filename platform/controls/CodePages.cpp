// The tables behind CodePages.h. RtfReader.cpp calls this for each non-ASCII byte. Stateless.
#include "controls/CodePages.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>

namespace platform {
namespace {

// Characters for the bytes 0x80 to 0x9F. Five of these bytes are undefined and map to themselves.
constexpr std::array<char16_t, 32> kWestern = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                               0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                               0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                               0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

std::u16string decodeWestern(std::string_view bytes) {
    std::u16string text;
    for (const char byte : bytes) {
        const auto unit = static_cast<unsigned char>(byte);
        text += unit >= 0x80 && unit < 0xA0 ? kWestern[unit - 0x80U] : char16_t{unit};
    }
    return text;
}

class Converter {
  public:
    explicit Converter(unsigned codePage)
        : handle_(iconv_open("UTF-16LE", codePage == 65001 ? "UTF-8" : ("CP" + std::to_string(codePage)).c_str())) {}
    ~Converter() {
        if (isOpen()) iconv_close(handle_);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool isOpen() const { return handle_ != reinterpret_cast<iconv_t>(-1); }
    std::u16string decode(std::string_view bytes) const {
        std::u16string text;
        char* in = const_cast<char*>(bytes.data());
        for (std::size_t left = bytes.size(); left > 0;) {
            char16_t buffer[256];
            char* out = reinterpret_cast<char*>(buffer);
            std::size_t room = sizeof buffer;
            const std::size_t result = iconv(handle_, &in, &left, &out, &room);
            const int error = errno;
            text.append(buffer, (sizeof buffer - room) / sizeof buffer[0]);
            if (result != static_cast<std::size_t>(-1) || error == E2BIG) continue;
            text += u'\xFFFD';
            ++in, --left;
        }
        return text;
    }

  private:
    iconv_t handle_;
};

}  // namespace

std::u16string decodeCodePage(std::string_view bytes, unsigned codePage) {
    if (codePage == kWesternCodePage) return decodeWestern(bytes);
    const Converter converter(codePage);
    return converter.isOpen() ? converter.decode(bytes) : decodeWestern(bytes);
}

std::optional<unsigned char> westernByte(char16_t unit) {
    if (unit < 0x80 || (unit >= 0xA0 && unit < 0x100)) return static_cast<unsigned char>(unit);
    const auto found = std::find(kWestern.begin(), kWestern.end(), unit);
    if (found == kWestern.end()) return {};
    return static_cast<unsigned char>(0x80 + std::distance(kWestern.begin(), found));
}

}  // namespace platform
