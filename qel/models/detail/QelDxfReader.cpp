#include "qel/models/detail/QelDxfReader.h"

#include "qel/models/detail/QelFastNumber.h"

#include <charconv>
#include <cmath>
#include <cstring>

QelDxfReader::EResult QelDxfReader::NextGeneral()
{
    m_nLine = m_nNextLine;
    // The usual code line: optional blanks, digits, an optional CR, the line break.
    int n = 0;
    const char* p = CodeDigits(n);
    if (p && p < m_e && (*p == '\n' || (*p == '\r' && p + 1 < m_e && p[1] == '\n')))
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
    return ReadValue();
}

bool QelDxfReader::ParseDouble(const char* p, const char* e, double& f)
{
    if (QelFastNumber::Decimal(p, e, f))
        return true;
    if (p < e && *p == '+')
        ++p;
    auto r = std::from_chars(p, e, f);
    return r.ec == std::errc() && r.ptr == e && std::isfinite(f);
}

bool QelDxfReader::IntGeneral(int64_t& n) const
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
