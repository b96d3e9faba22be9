// Ordinal comparison: compares UTF-16 units by value, optionally after folding case with the system's table.
#include <clocale>
#include <cwctype>
#include <string_view>

#include <winbase.h>
#include <winerror.h>
#include <winnls.h>

#include "core/Error.h"
#include "core/Gate.h"
#include "core/Ordinal.h"

namespace platform {

char16_t foldOrdinal(char16_t unit) {
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (unit < 0x80) return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
    // The Windows table maps a letter to upper case only if lower-casing leads back to the same letter. This excludes
    // the dotless i, the long s, the final sigma and the title-case digraphs.
    const wint_t upper = towupper_l(unit, unicode);
    return upper <= 0xFFFF && towlower_l(upper, unicode) == unit ? static_cast<char16_t>(upper) : unit;
}

bool equalsOrdinal(std::u16string_view left, std::u16string_view right) {
    return left.size() == right.size() && compareOrdinal(left, right, true) == 0;
}

int compareOrdinal(std::u16string_view left, std::u16string_view right, bool ignoreCase) {
    for (std::size_t i = 0; i < left.size() && i < right.size(); ++i) {
        const char16_t x = ignoreCase ? foldOrdinal(left[i]) : left[i];
        const char16_t y = ignoreCase ? foldOrdinal(right[i]) : right[i];
        if (x != y) return x < y ? -1 : 1;
    }
    if (left.size() == right.size()) return 0;
    return left.size() < right.size() ? -1 : 1;
}

}  // namespace platform

using namespace platform;

int CompareStringOrdinal(LPCWCH left, int leftUnits, LPCWCH right, int rightUnits, BOOL ignoreCase) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    if (left == nullptr || right == nullptr || leftUnits < -1 || rightUnits < -1)
        return refuse(ERROR_INVALID_PARAMETER);
    const auto view = [](LPCWCH text, int units) {
        return units == -1 ? std::u16string_view(text) : std::u16string_view(text, static_cast<std::size_t>(units));
    };
    const int order = compareOrdinal(view(left, leftUnits), view(right, rightUnits), ignoreCase != FALSE);
    return order < 0 ? CSTR_LESS_THAN : order > 0 ? CSTR_GREATER_THAN : CSTR_EQUAL;
}
