// The inner loop of the JSON parser and writer: copyPlainRun copies characters that need no escape and no conversion.
// There are two versions with the same results: one with SSE2, which every x86-64 processor has, and a scalar one.
// Tests compare them.
//
// A unit is plain if it stands for itself in a JSON string: it is not a control character, not `"` and not `\`. If the
// source or the target is UTF-8, a plain unit is also ASCII.
//
// copyPlainRun copies the longest run of plain units at the start of `from`, at most `count` units, to `to` and returns
// its length. `to` must have room for `count` units; those after the run may be overwritten.
#pragma once

#include <emmintrin.h>

#include <bit>
#include <type_traits>

#include "common/WideText.h"

namespace scalar {

template <typename From, typename To>
std::size_t copyPlainRun(const From* from, std::size_t count, To* to) {
    constexpr bool isAsciiOnly = sizeof(From) == 1 || sizeof(To) == 1;
    std::size_t done = 0;
    for (; done < count; ++done) {
        const unsigned unit =
            static_cast<std::make_unsigned_t<std::conditional_t<sizeof(From) == 1, char, short>>>(from[done]);
        if (unit < 0x20 || unit == '"' || unit == '\\' || (isAsciiOnly && unit >= 0x80)) break;
        to[done] = static_cast<To>(unit);
    }
    return done;
}

}  // namespace scalar

namespace textruns {

inline __m128i load(const void* from) {
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}
inline void store(void* to, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i*>(to), value);
}

// Returns a bit for each of the 16 bytes that is not plain. The comparison is signed, so it also finds bytes from 0x80
// up.
inline unsigned specialBytes(__m128i bytes) {
    const __m128i control = _mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20));
    const __m128i quote = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
    const __m128i backslash = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(control, _mm_or_si128(quote, backslash))));
}

// Each overload copies 16 units and returns one bit for each unit that is not plain.
inline unsigned step(const char* from, WCHAR* to) {
    const __m128i bytes = load(from);
    store(to, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    store(to + 8, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
    return specialBytes(bytes);
}

// The pack saturates signed 16-bit units to unsigned bytes: units from 0x80 to 0x7FFF become bytes from 0x80 up, units
// from 0x8000 up become 0. Neither is plain.
inline unsigned step(const WCHAR* from, char* to) {
    const __m128i bytes = _mm_packus_epi16(load(from), load(from + 8));
    store(to, bytes);
    return specialBytes(bytes);
}

// Here units from 0x80 up are plain: each is replaced by 0x7F before the test.
inline unsigned step(const WCHAR* from, WCHAR* to) {
    const __m128i low = load(from), high = load(from + 8), most = _mm_set1_epi16(0x7F);
    store(to, low);
    store(to + 8, high);
    // unit - saturate(unit - 0x7F) is the smaller of the unit and 0x7F.
    const auto capped = [most](__m128i units) { return _mm_sub_epi16(units, _mm_subs_epu16(units, most)); };
    return specialBytes(_mm_packus_epi16(capped(low), capped(high)));
}

}  // namespace textruns

template <typename From, typename To>
std::size_t copyPlainRun(const From* from, std::size_t count, To* to) {
    std::size_t done = 0;
    for (; done + 16 <= count; done += 16) {
        const unsigned special = textruns::step(from + done, to + done);
        if (special != 0) return done + static_cast<std::size_t>(std::countr_zero(special));
    }
    return done + scalar::copyPlainRun(from + done, count - done, to + done);
}
