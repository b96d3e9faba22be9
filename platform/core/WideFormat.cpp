// The wide formatter of the C runtime that the Windows build uses, with the Windows data model: `l` means a 32-bit
// integer, `ll` and `z` mean 64 bits, `%ls` takes UTF-16. It supports only what the product's formats use. Any other
// format returns a negative number.
#include <winnls.h>

#include <algorithm>
#include <charconv>
#include <string_view>

#include "core/Gate.h"

namespace {

// Counts every unit and stores those that fit, leaving room for the terminator.
class Sink {
  public:
    Sink(WCHAR* buffer, std::size_t capacity) : buffer_(buffer), capacity_(capacity) {}
    void put(WCHAR unit) {
        if (length_ + 1 < capacity_) buffer_[length_] = unit;
        ++length_;
    }
    void fill(WCHAR unit, std::size_t count) {
        while (count-- > 0)
            put(unit);
    }
    void text(std::u16string_view units) {
        for (const WCHAR unit : units)
            put(unit);
    }
    int end() {
        if (capacity_ > 0) buffer_[std::min(length_, capacity_ - 1)] = 0;
        return static_cast<int>(length_);
    }

  private:
    WCHAR* buffer_;
    std::size_t capacity_;
    std::size_t length_ = 0;
};

struct Directive {
    bool zeroPadded = false;
    std::size_t width = 0;
    enum class Size { Int, Long, LongLong, SizeT } size = Size::Int;
    WCHAR conversion = 0;
};

Directive readDirective(const WCHAR*& at) {
    Directive directive;
    if (*at == u'0') {
        directive.zeroPadded = true;
        ++at;
    }
    for (; *at >= u'0' && *at <= u'9'; ++at)
        directive.width = directive.width * 10 + static_cast<std::size_t>(*at - u'0');
    if (*at == u'z') {
        directive.size = Directive::Size::SizeT;
        ++at;
    } else if (*at == u'l') {
        directive.size = *++at == u'l' ? Directive::Size::LongLong : Directive::Size::Long;
        if (directive.size == Directive::Size::LongLong) ++at;
    }
    directive.conversion = *at;
    if (*at != 0) ++at;
    return directive;
}

void putNumber(Sink& sink, const Directive& directive, bool negative, ULONGLONG magnitude) {
    char digits[24];
    const bool decimal = directive.conversion == u'd' || directive.conversion == u'u';
    char* const end = std::to_chars(digits, digits + sizeof digits, magnitude, decimal ? 10 : 16).ptr;
    if (directive.conversion == u'X')
        std::transform(digits, end, digits, [](char c) { return c >= 'a' ? static_cast<char>(c - 0x20) : c; });
    const std::size_t length = static_cast<std::size_t>(end - digits) + (negative ? 1 : 0);
    const std::size_t padding = directive.width > length ? directive.width - length : 0;
    if (!directive.zeroPadded) sink.fill(u' ', padding);
    if (negative) sink.put(u'-');
    if (directive.zeroPadded) sink.fill(u'0', padding);
    for (const char* digit = digits; digit != end; ++digit)
        sink.put(static_cast<WCHAR>(*digit));
}

}  // namespace

int vsnwprintf(WCHAR* buffer, std::size_t capacity, const WCHAR* format, std::va_list arguments) {
    static constinit platform::CallSite site{__func__};
    Sink sink(buffer, capacity);
    DWORD most = 0xffffffff;
    if (site.failsTransfer(most)) {
        sink.end();
        return -1;
    }
    for (const WCHAR* at = format; *at != 0;) {
        if (most-- == 0) {  // a fault stops the output here
            sink.end();
            return -1;
        }
        if (*at != u'%') {
            sink.put(*at++);
            continue;
        }
        const Directive directive = readDirective(++at);
        using Size = Directive::Size;
        const bool wide = directive.size == Size::LongLong || directive.size == Size::SizeT;
        switch (directive.conversion) {
            case u'%':
                sink.put(u'%');
                break;
            case u'd': {
                const LONGLONG value = wide ? va_arg(arguments, LONGLONG) : va_arg(arguments, LONG);
                const ULONGLONG bits = static_cast<ULONGLONG>(value);
                putNumber(sink, directive, value < 0, value < 0 ? 0 - bits : bits);
                break;
            }
            case u'u':
            case u'x':
            case u'X':
                putNumber(sink, directive, false, wide ? va_arg(arguments, ULONGLONG) : va_arg(arguments, ULONG));
                break;
            case u's': {
                if (directive.size != Size::Long || directive.zeroPadded || directive.width != 0) return sink.end(), -1;
                const WCHAR* text = va_arg(arguments, const WCHAR*);
                sink.text(text == nullptr ? u"(null)" : text);
                break;
            }
            default:
                sink.end();
                return -1;
        }
    }
    return sink.end();
}
