// The inner loops of reading and writing JSON: copying runs of text that need no thought. Each comes twice, with SSE2,
// which every x86-64 processor has, and plainly; both give the same, and tests hold them to it.
//
// A unit is plain when it stands for itself inside a JSON string: not a control character, not `"`, not `\`. Reading
// from bytes and writing to bytes it has to be ASCII as well.
//
// copyPlainRun copies the longest plain run at the head of `from`, at most `count` units, to `to`, and returns its
// length. `to` has room for `count` units; what lies in it behind the run may change.
#pragma once

#include <emmintrin.h>

#include <bit>
#include <type_traits>

#include "common/WideText.h"

namespace onebyone {

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

}  // namespace onebyone

namespace textruns {

inline __m128i load(const void* from) {
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}
inline void store(void* to, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i*>(to), value);
}

// One bit for each of 16 bytes that is not plain. As signed numbers, bytes from 0x80 up lie below the blank too.
inline unsigned specialBytes(__m128i bytes) {
    const __m128i control = _mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20));
    const __m128i quote = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
    const __m128i backslash = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(control, _mm_or_si128(quote, backslash))));
}

// Each step takes 16 units: it copies them, and gives a bit for each that is not plain.
inline unsigned step(const char* from, WCHAR* to) {
    const __m128i bytes = load(from);
    store(to, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    store(to + 8, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
    return specialBytes(bytes);
}

// The pack takes units as signed: those from 0x80 up become bytes from 0x80 up or, where they look negative, 0. None of
// these is a plain byte.
inline unsigned step(const WCHAR* from, char* to) {
    const __m128i bytes = _mm_packus_epi16(load(from), load(from + 8));
    store(to, bytes);
    return specialBytes(bytes);
}

// Here units from 0x80 up are plain: as bytes they are made to look like letters.
inline unsigned step(const WCHAR* from, WCHAR* to) {
    const __m128i low = load(from), high = load(from + 8), most = _mm_set1_epi16(0x7F);
    store(to, low);
    store(to + 8, high);
    // The excess over 0x7F, taken off again, leaves the smaller of the two.
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
    return done + onebyone::copyPlainRun(from + done, count - done, to + done);
}
