#include "qel/models/detail/QelDxfReader.h"

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
    const char* p = m_p;
    const char* q = static_cast<const char*>(std::memchr(p, '\n', size_t(m_e - p)));
    if (!q)
        q = m_e;
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
    const char* b;
    const char* e;
    m_nLine = m_nNextLine;
    if (!NextLine(b, e))
        return eEnd;
    // Blank lines at the very end of a file are not a truncated group.
    if (b == e && m_p >= m_e)
        return eEnd;
    int n = 0;
    bool bNeg = b < e && *b == '-';
    const char* d = bNeg ? b + 1 : b;
    if (d >= e || e - d > 9)
    {
        m_strBad.assign(b, size_t(e - b) < 40 ? size_t(e - b) : 40);
        return eBadCode;
    }
    for (; d < e; ++d)
    {
        if (unsigned(*d - '0') > 9)
        {
            m_strBad.assign(b, size_t(e - b) < 40 ? size_t(e - b) : 40);
            return eBadCode;
        }
        n = n * 10 + (*d - '0');
    }
    m_nCode = bNeg ? -n : n;
    if (!NextLine(b, e))
        return eTruncated;
    m_pValue = b;
    m_nValueSize = size_t(e - b);
    return eGroup;
}

bool QelDxfReader::ValueIs(const char* pText, size_t nLength) const
{
    return m_nValueSize == nLength && std::memcmp(m_pValue, pText, nLength) == 0;
}

bool QelDxfReader::Double(double& f) const
{
    const char* p = m_pValue;
    const char* e = p + m_nValueSize;
    if (p < e && *p == '+')
        ++p;
    auto r = std::from_chars(p, e, f);
    return r.ec == std::errc() && r.ptr == e && std::isfinite(f);
}

bool QelDxfReader::Int(int64_t& n) const
{
    const char* p = m_pValue;
    const char* e = p + m_nValueSize;
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
