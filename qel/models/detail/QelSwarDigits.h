#pragma once

#include <cstdint>
#include <cstring>

/// Runs of up to eight decimal digits read at once from one 64-bit word of text, instead of a
/// character at a time: numbers in model files are mostly that short. The characters must be
/// readable; the first one goes into the low byte.
namespace QelSwarDigits
{
/// The count of zero bits below the lowest set one; x is not 0.
inline unsigned LowestBit(uint64_t x)
{
#if defined(__GNUC__)
    return unsigned(__builtin_ctzll(x));
#else
    unsigned n = 0;
    for (; !(x & 1u); x >>= 1)
        ++n;
    return n;
#endif
}

/// The eight characters from p on.
inline uint64_t Load8(const char* p)
{
    uint64_t x = 0;
    std::memcpy(&x, p, sizeof x);
    return x;
}

/// How many of the eight characters, from the first, are the digits '0' to '9' (8 when all are).
inline unsigned LeadingDigits(uint64_t x)
{
    const uint64_t kHigh = 0x8080808080808080ull;
    // Per byte, with no carry or borrow crossing into the next: the top bit is set when the
    // character is at or above 0x80, at or above ':' or below '0'.
    const uint64_t nLow = x & ~kHigh;
    const uint64_t nAbove = nLow + 0x4646464646464646ull;
    const uint64_t nBelow = ~((nLow | kHigh) - 0x3030303030303030ull);
    const uint64_t nOther = (x | nAbove | nBelow) & kHigh;
    return nOther ? LowestBit(nOther) >> 3 : 8;
}

/// The value of the first n characters of x, which are digits; n is 1 to 8.
inline uint32_t Value(uint64_t x, unsigned n)
{
    // The digits move to the top bytes, zeros before them, and pairs, fours and the eight are
    // summed with their weights by three multiplications.
    x = (x - 0x3030303030303030ull) << (8 * (8 - n));
    x = x * 10 + (x >> 8);
    x = ((x & 0x000000FF000000FFull) * (100 + (1000000ull << 32)) +
         ((x >> 16) & 0x000000FF000000FFull) * (1 + (10000ull << 32))) >> 32;
    return uint32_t(x);
}
} // namespace QelSwarDigits
