#pragma once

// Character tables and scanning helpers of QelTextScanner, shared by its source, line and word
// readers. Internal to the library.

#include "qel/platform/detail/QelSimd.h"

#include <climits>
#include <cstddef>
#include <cstring>
#include <new>

#if QEL_SSE2
#  include <emmintrin.h>
#endif

namespace QelTextScanDetail
{
// A line longer than this is cut and its rest read as the next line, so positions stay ints.
inline const size_t kMaxLineCapacity = size_t(1) << 30;

inline const char kCtrlZ = 0x1A;

// Character classes of the line reader.
enum : unsigned char
{
    eLineOther = 0,
    eLineEnd = 1,   // NUL, line feed, carriage return
    eLineBlank = 2, // blank, tab
};

struct LineClasses
{
    unsigned char a[256];
    LineClasses()
    {
        std::memset(a, eLineOther, sizeof(a));
        a[0] = a[static_cast<unsigned char>('\n')] = a[static_cast<unsigned char>('\r')] = eLineEnd;
        a[static_cast<unsigned char>(' ')] = a[static_cast<unsigned char>('\t')] = eLineBlank;
    }
};
inline const LineClasses s_lineClasses;

// Bits of the word reader's stop table.
enum : unsigned char
{
    eStopDelimiter = 1,
    eStopComma = 2,
    eStopEnd = 4,
};

inline unsigned char UC(char c) { return static_cast<unsigned char>(c); }

/// A line buffer of the given capacity with the scan slack behind it, zeroed.
inline char* AllocLine(size_t nCapacity, size_t nSlack)
{
    return new (std::nothrow) char[nCapacity + nSlack]();
}

#if QEL_SSE2
inline int CountTrailingZeros(unsigned nMask)
{
#  if defined(__GNUC__)
    return __builtin_ctz(nMask);
#  else
    int n = 0;
    while (!(nMask & 1u))
    {
        nMask >>= 1;
        ++n;
    }
    return n;
#  endif
}
#endif

/// Offset of the first NUL, line feed or carriage return in [p, pEnd), or pEnd - p. Up to 15 bytes
/// past pEnd may be read.
inline size_t FindLineEnd(const char* p, const char* pEnd, const unsigned char* pClass)
{
    const char* pStart = p;
#if QEL_SSE2
    const __m128i vZero = _mm_setzero_si128(), vLF = _mm_set1_epi8('\n'), vCR = _mm_set1_epi8('\r');
    while (p < pEnd)
    {
        __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        __m128i m = _mm_or_si128(_mm_cmpeq_epi8(v, vZero), _mm_or_si128(_mm_cmpeq_epi8(v, vLF), _mm_cmpeq_epi8(v, vCR)));
        unsigned nMask = unsigned(_mm_movemask_epi8(m));
        if (nMask)
        {
            p += CountTrailingZeros(nMask);
            return size_t((p < pEnd ? p : pEnd) - pStart);
        }
        p += 16;
    }
    return size_t(pEnd - pStart);
#else
    while (p < pEnd && pClass[static_cast<unsigned char>(*p)] != eLineEnd)
        ++p;
    return size_t(p - pStart);
#endif
    (void)pClass;
}

/// Length of the word at p: up to the first NUL, tab, line feed, carriage return, blank (when
/// delimiting) or comma (when delimiting), looking at no more than 1040 bytes of it. Reads in
/// 16-byte steps, never past 15 bytes beyond the line's terminator.
inline int FindWordEnd(const char* p, bool bSpace, bool bComma, const unsigned char* pStop)
{
    int n = 0;
#if QEL_SSE2
    const __m128i vZero = _mm_setzero_si128(), vTab = _mm_set1_epi8('\t'), vLF = _mm_set1_epi8('\n'),
                  vCR = _mm_set1_epi8('\r'), vSpace = _mm_set1_epi8(bSpace ? ' ' : '\0'),
                  vComma = _mm_set1_epi8(bComma ? ',' : '\0');
    for (;;)
    {
        __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + n));
        __m128i m = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, vZero), _mm_cmpeq_epi8(v, vTab)),
                                 _mm_or_si128(_mm_cmpeq_epi8(v, vLF), _mm_cmpeq_epi8(v, vCR)));
        m = _mm_or_si128(m, _mm_or_si128(_mm_cmpeq_epi8(v, vSpace), _mm_cmpeq_epi8(v, vComma)));
        unsigned nMask = unsigned(_mm_movemask_epi8(m));
        if (nMask)
            return n + CountTrailingZeros(nMask);
        n += 16;
        if (n > 1024)
            return n;
    }
    (void)pStop;
#else
    (void)bSpace;
    (void)bComma;
    while (n <= 1024 && !pStop[static_cast<unsigned char>(p[n])])
        ++n;
    return n;
#endif
}

inline int ClampToInt(long long n) { return n > INT_MAX ? INT_MAX : static_cast<int>(n); }

inline bool IsHex(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

inline bool ColorWord(const char* pWord, int nLength)
{
    if (!pWord || (nLength != 7 && nLength != 9) || pWord[0] != '#')
        return false;
    for (int i = 1; i < nLength; ++i)
        if (!IsHex(pWord[i]))
            return false;
    return true;
}

inline bool StringWord(const char* pWord, int nLength)
{
    if (!pWord || nLength < 1)
        return false;
    char c = pWord[0];
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

inline bool IntWord(const char* pWord, int nLength)
{
    if (!pWord || nLength < 1)
        return false;
    int i = pWord[0] == '-' ? 1 : 0;
    if (i == nLength)
        return false;
    for (; i < nLength; ++i)
        if (pWord[i] < '0' || pWord[i] > '9')
            return false;
    return true;
}

#if QEL_SSE2
/// Tables of the word classification: a word's type follows from the class of its first
/// character, its length and whether the rest is all decimal or all hexadecimal digits.
struct TypeTables
{
    enum
    {
        eFirstOther = 0,
        eFirstDigit = 1,
        eFirstMinus = 2,
        eFirstHash = 3,
        eFirstLetter = 4,
        eLengthEmpty = 0 << 3,
        eLengthOne = 1 << 3,
        eLengthColor = 2 << 3, // 7 or 9
        eLengthOther = 3 << 3,
        eRestDigits = 1 << 5,
        eRestHex = 1 << 6,
        eIntsAsFloats = 1 << 7,
    };
    unsigned char aFirst[256];
    unsigned char aLength[17];
    unsigned short aRest[17]; // the bits of a word's characters after the first
    unsigned char aType[256];

    constexpr TypeTables() : aFirst{}, aLength{}, aRest{}, aType{}
    {
        for (int c = 0; c < 256; ++c)
        {
            unsigned char n = eFirstOther;
            if (c >= '0' && c <= '9')
                n = eFirstDigit;
            else if (c == '-')
                n = eFirstMinus;
            else if (c == '#')
                n = eFirstHash;
            else if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'))
                n = eFirstLetter;
            aFirst[c] = n;
        }
        for (int n = 0; n <= 16; ++n)
            aRest[n] = n > 1 ? static_cast<unsigned short>(((1u << n) - 1u) & ~1u) : 0;
        for (int n = 0; n <= 16; ++n)
            aLength[n] = n == 0 ? eLengthEmpty : n == 1 ? eLengthOne : (n == 7 || n == 9) ? eLengthColor : eLengthOther;
        for (int i = 0; i < 256; ++i)
        {
            const int nFirst = i & 7, nLength = i & (3 << 3);
            unsigned char eType = eDataReal;
            if (nFirst == eFirstHash && nLength == eLengthColor && (i & eRestHex))
                eType = eDataColor;
            else if (nLength == eLengthEmpty || nFirst == eFirstLetter)
                eType = eDataString;
            else if (i & eIntsAsFloats)
                eType = eDataReal;
            else if ((i & eRestDigits) && (nFirst == eFirstDigit || (nFirst == eFirstMinus && nLength != eLengthOne)))
                eType = eDataInteger;
            aType[i] = eType;
        }
    }
};
constexpr TypeTables s_typeTables;
#endif

/// The type of the nLength characters at pWord, with at least 16 bytes readable there.
inline QelDataType Classify(const char* pWord, int nLength, bool bIntsAsFloats)
{
    const char c = pWord[0];
#if QEL_SSE2
    if (nLength <= 16)
    {
        // One mask per character class over the whole word instead of a loop per character, and
        // the type looked up instead of picked by branches: word types come in no order a
        // predictor could learn. A byte is in a range when its distance from the range's start,
        // taken unsigned, is no larger than the range.
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pWord));
        const __m128i vDigit = _mm_sub_epi8(v, _mm_set1_epi8('0'));
        const __m128i vHexLetter = _mm_sub_epi8(_mm_or_si128(v, _mm_set1_epi8(0x20)), _mm_set1_epi8('a'));
        const unsigned nDigits =
            unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_min_epu8(vDigit, _mm_set1_epi8(9)), vDigit)));
        const unsigned nHex = nDigits | unsigned(_mm_movemask_epi8(
                                            _mm_cmpeq_epi8(_mm_min_epu8(vHexLetter, _mm_set1_epi8(5)), vHexLetter)));
        // The characters after the first that are no digit, and no hexadecimal digit; a count
        // minus one has its top bit set exactly when the count was 0.
        const unsigned nRest = s_typeTables.aRest[nLength];
        const unsigned nNonDigits = nRest & ~nDigits, nNonHex = nRest & ~nHex;
        const unsigned nIndex = s_typeTables.aFirst[UC(c)] | s_typeTables.aLength[nLength] |
                                ((nNonDigits - 1u) >> 26 & TypeTables::eRestDigits) |
                                ((nNonHex - 1u) >> 25 & TypeTables::eRestHex) | unsigned(bIntsAsFloats) << 7;
        return QelDataType(s_typeTables.aType[nIndex]);
    }
#endif
    if (c == '#')
        return ColorWord(pWord, nLength) ? eDataColor : eDataReal;
    if (nLength == 0 || StringWord(pWord, nLength))
        return eDataString;
    if (bIntsAsFloats)
        return eDataReal;
    return IntWord(pWord, nLength) ? eDataInteger : eDataReal;
}

#if QEL_SSE2
/// Bit masks of the 16 bytes at p within a line: delimiters (tab, and the blank when it
/// delimits; a line holds no line feed or carriage return), commas (when they delimit) and NULs.
inline void WindowMasks(const char* p, bool bSpace, bool bComma, unsigned& nDelimiters, unsigned& nCommas,
                        unsigned& nEnds)
{
    // The switches mask the bits rather than pick the patterns, which keeps the patterns
    // constants of the code.
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    nDelimiters = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_set1_epi8('\t')))) |
                  (unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_set1_epi8(' ')))) & (0u - unsigned(bSpace)));
    nCommas = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_set1_epi8(',')))) & (0u - unsigned(bComma));
    nEnds = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_setzero_si128())));
}
#endif
} // namespace QelTextScanDetail
