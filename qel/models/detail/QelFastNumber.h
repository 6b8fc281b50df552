#pragma once

#include "qel/models/detail/QelSwarDigits.h"

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
