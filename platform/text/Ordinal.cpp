// Ordinal comparison: unit by unit, by numbers, after folding case with the system's own table.
#include <clocale>
#include <cwctype>
#include <string_view>

#include <winbase.h>
#include <winerror.h>
#include <winnls.h>

#include "Gate.h"
#include "text/Ordinal.h"

namespace platform {

char16_t foldOrdinal(char16_t unit) {
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (unit < 0x80) return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
    // The table of Windows folds a letter only where the way back leads to the same letter: not the dotless i,
    // the long s, the final sigma, the title-case digraphs.
    const wint_t upper = towupper_l(unit, unicode);
    return upper <= 0xFFFF && towlower_l(upper, unicode) == unit ? static_cast<char16_t>(upper) : unit;
}

bool equalsOrdinal(std::u16string_view left, std::u16string_view right) {
    if (left.size() != right.size()) return false;
    for (std::size_t i = 0; i < left.size(); ++i)
        if (foldOrdinal(left[i]) != foldOrdinal(right[i])) return false;
    return true;
}

}  // namespace platform

int CompareStringOrdinal(LPCWCH left, int leftUnits, LPCWCH right, int rightUnits, BOOL ignoreCase) {
    static constinit platform::CallSite site{__func__};
    if (site.fails()) return 0;
    if (left == nullptr || right == nullptr || leftUnits < -1 || rightUnits < -1) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const auto view = [](LPCWCH text, int units) {
        return units == -1 ? std::u16string_view(text) : std::u16string_view(text, static_cast<std::size_t>(units));
    };
    const std::u16string_view a = view(left, leftUnits), b = view(right, rightUnits);
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
        const char16_t x = ignoreCase ? platform::foldOrdinal(a[i]) : a[i];
        const char16_t y = ignoreCase ? platform::foldOrdinal(b[i]) : b[i];
        if (x != y) return x < y ? CSTR_LESS_THAN : CSTR_GREATER_THAN;
    }
    if (a.size() == b.size()) return CSTR_EQUAL;
    return a.size() < b.size() ? CSTR_LESS_THAN : CSTR_GREATER_THAN;
}
