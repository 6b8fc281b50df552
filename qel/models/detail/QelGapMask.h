#pragma once

#include "qel/platform/detail/QelSimd.h"

#include <cstdint>

#if QEL_SSE2
#  include <emmintrin.h>
#endif

/// Where the gaps between words (space, tab, line feed, carriage return), digits or other
/// characters are in 64 bytes of text, as one bit per byte. With the gaps of a whole block known
/// at once, the words in it can be read side by side, instead of each word's start waiting for
/// the end of the one before.
namespace QelGapMask
{
/// The index of the highest set bit of x, which is not 0.
inline unsigned HighestBit(uint64_t x)
{
#if defined(__GNUC__)
    return 63u - unsigned(__builtin_clzll(x));
#else
    unsigned n = 0;
    while (x >>= 1)
        ++n;
    return n;
#endif
}

/// Bit i set when fnByte(p[i]); the 64 bytes from p must be readable. One byte at a time.
template <class FnByte>
inline uint64_t Mask64Plain(const char* p, FnByte fnByte)
{
    uint64_t n = 0;
    for (unsigned i = 0; i < 64; ++i)
        n |= uint64_t(fnByte(p[i])) << i;
    return n;
}

inline bool IsGapByte(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

inline bool IsDigitByte(char c)
{
    return c >= '0' && c <= '9';
}

inline uint64_t GapMask64Plain(const char* p)
{
    return Mask64Plain(p, IsGapByte);
}

inline uint64_t DigitMask64Plain(const char* p)
{
    return Mask64Plain(p, IsDigitByte);
}

inline uint64_t ByteMask64Plain(const char* p, char c)
{
    return Mask64Plain(p, [c](char b) { return b == c; });
}

#if QEL_SSE2
/// As Mask64Plain for fnTest, which compares 16 bytes at once (all ones where a byte passes).
template <class FnTest>
inline uint64_t Mask64Sse2(const char* p, FnTest fnTest)
{
    uint64_t n = 0;
    for (unsigned i = 0; i < 64; i += 16)
        n |= uint64_t(unsigned(_mm_movemask_epi8(fnTest(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i)))))) << i;
    return n;
}

inline __m128i GapTest(__m128i x)
{
    const __m128i nSpaceOrTab = _mm_or_si128(_mm_cmpeq_epi8(x, _mm_set1_epi8(' ')), _mm_cmpeq_epi8(x, _mm_set1_epi8('\t')));
    const __m128i nLineEnd = _mm_or_si128(_mm_cmpeq_epi8(x, _mm_set1_epi8('\n')), _mm_cmpeq_epi8(x, _mm_set1_epi8('\r')));
    return _mm_or_si128(nSpaceOrTab, nLineEnd);
}

/// Unsigned, c - '0' is at most 9.
inline __m128i DigitTest(__m128i x)
{
    x = _mm_sub_epi8(x, _mm_set1_epi8('0'));
    return _mm_cmpeq_epi8(_mm_min_epu8(x, _mm_set1_epi8(9)), x);
}
#endif

// The masks of 64 bytes from p, which must be readable: 16 bytes at a time where the processor
// compares them at once, one at a time otherwise.
#if QEL_SSE2
/// Bit i set when p[i] is a gap.
inline uint64_t GapMask64(const char* p) { return Mask64Sse2(p, GapTest); }
/// Bit i set when p[i] is a digit.
inline uint64_t DigitMask64(const char* p) { return Mask64Sse2(p, DigitTest); }
/// Bit i set when p[i] is c.
inline uint64_t ByteMask64(const char* p, char c)
{
    const __m128i nC = _mm_set1_epi8(c);
    return Mask64Sse2(p, [nC](__m128i x) { return _mm_cmpeq_epi8(x, nC); });
}
#else
inline uint64_t GapMask64(const char* p) { return GapMask64Plain(p); }
inline uint64_t DigitMask64(const char* p) { return DigitMask64Plain(p); }
inline uint64_t ByteMask64(const char* p, char c) { return ByteMask64Plain(p, c); }
#endif
} // namespace QelGapMask
