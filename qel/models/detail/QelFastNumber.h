#pragma once

#include "qel/models/detail/QelSwarDigits.h"

#include <cfloat>
#include <cstdint>
#include <cstring>

/// Plain decimals ("-12.5", "0.000123") as model files write them by the million, read exactly
/// and fast. Anything else (exponents, more than 19 digits) is left to the general reader.
namespace QelFastNumber
{
namespace Detail
{
/// The reading behind DecimalPrefix and TerminatedDecimal; bBounded tests the end before each
/// character.
template <bool bBounded>
inline const char* ScanDecimal(const char* p, const char* e, double& f)
{
    static const double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,
                                     1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19};
    auto more = [&p, e] { return !bBounded || p < e; };
    const bool bNeg = more() && *p == '-';
    p += bNeg || (more() && *p == '+');
    const char* pStart = p;
    uint64_t n = 0;
    unsigned d;
    while (more() && (d = unsigned(*p - '0')) <= 9)
    {
        n = n * 10 + d;
        ++p;
    }
    const char* pPoint = p;
    if (more() && *p == '.')
    {
        ++p;
        while (more() && (d = unsigned(*p - '0')) <= 9)
        {
            n = n * 10 + d;
            ++p;
        }
    }
    const long nDigits = long(p - pStart) - (pPoint < p ? 1 : 0);
    // At most 19 digits fit the integer (more wrap, and are refused); up to 2^53 it converts
    // exactly, and one division by an exact power of ten rounds once.
    if (nDigits == 0 || nDigits > 19 || n > (uint64_t(1) << 53))
        return nullptr;
    const long nFraction = pPoint < p ? long(p - pPoint - 1) : 0;
    f = double(int64_t(n)) / kPowers[nFraction]; // below 2^53: exact, and a signed conversion is quicker
    f = bNeg ? -f : f;
    return p;
}
} // namespace Detail

/// Reads a plain decimal from p on, up to the first character that cannot continue it; returns
/// where it stopped, or null (f unchanged) when what is there is no plain decimal of at most 19
/// digits.
inline const char* DecimalPrefix(const char* p, const char* e, double& f)
{
    return Detail::ScanDecimal<true>(p, e, f);
}

/// As DecimalPrefix, for text where a character that cannot continue a number (white space, a
/// terminating zero) follows every word, so that no end is tested per character.
inline const char* TerminatedDecimal(const char* p, double& f)
{
    return Detail::ScanDecimal<false>(p, nullptr, f);
}

/// As TerminatedDecimal for the short decimals files are full of, read with the digits after the
/// point taken at once: at most 7 digits before the point and 7 after, and at least 17 characters
/// from p to e. Null (f unchanged) for anything else, which TerminatedDecimal then reads;
/// otherwise the same end and the same double as it.
inline const char* ShortDecimal(const char* p, const char* e, double& f)
{
    static const double kPowers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7};
    static const uint64_t kScales[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000};
    if (e - p < 17)
        return nullptr;
    const bool bNeg = *p == '-';
    p += bNeg || *p == '+';
    // Sign, 7 digits and the point leave the 8 characters after it inside [p, e).
    const char* pStart = p;
    uint64_t n = 0;
    unsigned d;
    while ((d = unsigned(*p - '0')) <= 9 && p - pStart < 8)
    {
        n = n * 10 + d;
        ++p;
    }
    const unsigned nInt = unsigned(p - pStart);
    if (nInt > 7)
        return nullptr;
    unsigned nFraction = 0;
    if (*p == '.')
    {
        const uint64_t x = QelSwarDigits::Load8(++p);
        nFraction = QelSwarDigits::LeadingDigits(x);
        if (nFraction == 8)
            return nullptr;
        if (nFraction)
            n = n * kScales[nFraction] + QelSwarDigits::Value(x, nFraction);
        p += nFraction;
    }
    if (nInt + nFraction == 0)
        return nullptr;
    f = double(int64_t(n)) / kPowers[nFraction]; // below 2^53: exact, and a signed conversion is quicker
    f = bNeg ? -f : f;
    return p;
}

/// Whether ShortFloat and ShortFloatOf can work: with at most 7 digits around a point, the digits
/// and the power of ten are exact floats, and one float division rounds the decimal itself; that
/// needs floats computed in float.
constexpr bool kShortFloats = FLT_EVAL_METHOD == 0;

/// x with its byte k taken out and the bytes above it moved down one: a word's point removed.
inline uint64_t WithoutByte(uint64_t x, unsigned k)
{
    const uint64_t nBelow = k ? ~uint64_t(0) >> (64 - 8 * k) : 0;
    return (x & nBelow) | ((x >> 8) & ~nBelow);
}

/// The float of the nDigits digits (1 to 8) that start x, nFraction of them (at most 7, and only
/// with at most 7 digits) after the point. Exact where kShortFloats holds.
inline float ShortFloatOf(uint64_t x, unsigned nDigits, unsigned nFraction)
{
    static const float kPowers[] = {1e0f, 1e1f, 1e2f, 1e3f, 1e4f, 1e5f, 1e6f, 1e7f};
    return float(QelSwarDigits::Value(x, nDigits)) / kPowers[nFraction];
}

/// The float of a word of n characters from w, when it is a sign or none and then at most 8
/// characters of digits with at most one point among them ("-0.123456", "12.5", "1234"): false
/// for any other word, which the general readers then take. The 8 characters after the sign must
/// be readable.
inline bool ShortFloat(const char* w, unsigned n, float& f)
{
    const bool bSign = *w == '-' || *w == '+';
    const unsigned m = n - unsigned(bSign);
    if (!kShortFloats || m - 1 > 7) // also m == 0
        return false;
    uint64_t x = QelSwarDigits::Load8(w + bSign);
    // The lowest byte that is a point (bytes above a zero byte may show falsely; the lowest not).
    const uint64_t y = x ^ 0x2E2E2E2E2E2E2E2Eull;
    const uint64_t nPoints = (y - 0x0101010101010101ull) & ~y & 0x8080808080808080ull;
    const unsigned k = nPoints ? QelSwarDigits::LowestBit(nPoints) >> 3 : 8;
    const unsigned nDigits = k < m ? m - 1 : m;
    if (k < m)
        x = WithoutByte(x, k);
    if (nDigits == 0 || QelSwarDigits::LeadingDigits(x) < nDigits)
        return false;
    const float g = ShortFloatOf(x, nDigits, k < m ? m - 1 - k : 0);
    f = *w == '-' ? -g : g;
    return true;
}

/// Reads [p, e) whole as a plain decimal; false (f unchanged) for any other form.
inline bool Decimal(const char* p, const char* e, double& f)
{
    double g = 0.0;
    if (DecimalPrefix(p, e, g) != e || p == e)
        return false;
    f = g;
    return true;
}

/// d, a plain decimal rounded once to double, as the float nearest the decimal itself; false when
/// d lies exactly halfway between two floats. Only there can the second rounding go wrong: the
/// decimal may sit just off the midpoint on the side ties-to-even does not take, so its own
/// digits must decide. Anywhere else no float midpoint separates the decimal from d. (Plain
/// decimals of at most 19 digits are 0 or at least 1e-19, far above the subnormal floats, where
/// midpoints sit at other bits.)
inline bool ToFloat(double d, float& f)
{
    uint64_t nBits = 0;
    std::memcpy(&nBits, &d, sizeof nBits);
    // A double carries 29 more fraction bits than a float; a midpoint has exactly the top one.
    if ((nBits & 0x1FFFFFFFull) == 0x10000000ull)
        return false;
    f = float(d);
    return true;
}
} // namespace QelFastNumber
