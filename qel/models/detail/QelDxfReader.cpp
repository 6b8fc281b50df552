#include "qel/models/detail/QelDxfReader.h"

#include "qel/models/detail/QelFastNumber.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace
{
bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v';
}
} // namespace

bool QelDxfReader::NextLine(const char*& pBegin, const char*& pEnd)
{
    if (m_p >= m_e)
        return false;
    // Lines of DXF are a few characters long: a plain loop beats a library search here.
    const char* p = m_p;
    const char* q = p;
    while (q < m_e && *q != '\n')
        ++q;
    m_p = q < m_e ? q + 1 : m_e;
    ++m_nNextLine;
    while (p < q && IsBlank(*p))
        ++p;
    while (q > p && IsBlank(q[-1]))
        --q;
    pBegin = p;
    pEnd = q;
    return true;
}

QelDxfReader::EResult QelDxfReader::Next()
{
    m_nLine = m_nNextLine;
    // The usual code line: optional blanks, digits, an optional CR, the line break.
    const char* p = m_p;
    while (p < m_e && *p == ' ')
        ++p;
    const char* pDigits = p;
    int n = 0;
    while (p < m_e && unsigned(*p - '0') <= 9 && p - pDigits < 9)
        n = n * 10 + (*p++ - '0');
    if (p > pDigits && p < m_e && (*p == '\n' || (*p == '\r' && p + 1 < m_e && p[1] == '\n')))
    {
        m_p = p + (*p == '\r' ? 2 : 1);
        ++m_nNextLine;
        m_nCode = n;
    }
    else
    {
        const char* b;
        const char* e;
        if (!NextLine(b, e))
            return eEnd;
        // Blank lines at the very end of a file are not a truncated group.
        if (b == e && m_p >= m_e)
            return eEnd;
        bool bNeg = b < e && *b == '-';
        const char* d = bNeg ? b + 1 : b;
        n = 0;
        bool bGood = d < e && e - d <= 9;
        for (; bGood && d < e; ++d)
        {
            bGood = unsigned(*d - '0') <= 9;
            n = n * 10 + (*d - '0');
        }
        if (!bGood)
        {
            m_strBad.assign(b, size_t(e - b) < 40 ? size_t(e - b) : 40);
            return eBadCode;
        }
        m_nCode = bNeg ? -n : n;
    }
    const char* b;
    const char* e;
    if (!NextLine(b, e))
        return eTruncated;
    m_pValue = b;
    m_nValueSize = size_t(e - b);
    return eGroup;
}

bool QelDxfReader::Double(double& f) const
{
    const char* p = m_pValue;
    const char* e = p + m_nValueSize;
    if (QelFastNumber::Decimal(p, e, f))
        return true;
    if (p < e && *p == '+')
        ++p;
    auto r = std::from_chars(p, e, f);
    return r.ec == std::errc() && r.ptr == e && std::isfinite(f);
}

bool QelDxfReader::Int(int64_t& n) const
{
    const char* p = m_pValue;
    const char* e = p + m_nValueSize;
    if (e - p > 0 && e - p < 10)
    {
        // Short plain integers, nearly all of them, without the library's general reader.
        const bool bNeg = *p == '-';
        const char* d = p + bNeg;
        int64_t v = 0;
        while (d < e && unsigned(*d - '0') <= 9)
            v = v * 10 + (*d++ - '0');
        if (d == e && d > p + bNeg)
        {
            n = bNeg ? -v : v;
            return true;
        }
    }
    if (p < e && *p == '+')
        ++p;
    auto r = std::from_chars(p, e, n);
    if (r.ec != std::errc())
        return false;
    if (r.ptr == e)
        return true;
    // Some writers give integer groups as reals ("1.0"): the fraction is dropped.
    if (*r.ptr != '.')
        return false;
    for (const char* q = r.ptr + 1; q < e; ++q)
        if (unsigned(*q - '0') > 9)
            return false;
    return true;
}
