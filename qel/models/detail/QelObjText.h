#pragma once

#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>

/// Small readers over a text range [p, e) shared by the OBJ and MTL parsers. Each advances p past
/// what it reads and never reads at or past e.
namespace QelObjText
{
inline bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v';
}

inline void SkipBlanks(const char*& p, const char* e)
{
    while (p < e && IsBlank(*p))
        ++p;
}

/// True at the end of the statement: end of range or a comment.
inline bool AtEnd(const char* p, const char* e)
{
    return p >= e || *p == '#';
}

/// A float; false (p unchanged) when there is none or it runs into other characters.
inline bool ReadFloat(const char*& p, const char* e, float& f)
{
    SkipBlanks(p, e);
    const char* q = p;
    if (q < e && *q == '+')
        ++q;
    auto r = std::from_chars(q, e, f);
    if (r.ec == std::errc::invalid_argument)
        return false;
    if (r.ec == std::errc::result_out_of_range)
        f = (q < e && *q == '-') ? -HUGE_VALF : HUGE_VALF; // too large for a float: reported as infinite
    if (r.ptr < e && !IsBlank(*r.ptr) && *r.ptr != '#')
        return false;
    p = r.ptr;
    return true;
}

/// A signed index; values past +-2^31 saturate so that they are reported out of range, not wrapped.
inline bool ReadIndex(const char*& p, const char* e, int64_t& n)
{
    const char* q = p;
    bool bNeg = false;
    if (q < e && (*q == '-' || *q == '+'))
        bNeg = *q++ == '-';
    if (q >= e || unsigned(*q - '0') > 9)
        return false;
    const int64_t kMax = int64_t(1) << 40;
    int64_t v = 0;
    while (q < e && unsigned(*q - '0') <= 9)
    {
        v = v * 10 + (*q - '0');
        v = v > kMax ? kMax : v;
        ++q;
    }
    n = bNeg ? -v : v;
    p = q;
    return true;
}

/// The next blank-separated word.
inline std::string ReadWord(const char*& p, const char* e)
{
    SkipBlanks(p, e);
    const char* b = p;
    while (p < e && !IsBlank(*p))
        ++p;
    return std::string(b, p);
}

/// The rest of the statement with blanks trimmed at both ends (names may hold blanks); a comment
/// after a blank ends it.
inline std::string ReadRest(const char*& p, const char* e)
{
    SkipBlanks(p, e);
    const char* b = p;
    const char* q = b;
    while (q < e && !(*q == '#' && (q == b || IsBlank(q[-1]))))
        ++q;
    while (q > b && IsBlank(q[-1]))
        --q;
    p = e;
    return std::string(b, q);
}
} // namespace QelObjText
