#include "qel/platform/QelAutomationVariant.h"

#include <cmath>
#include <climits>

namespace
{
constexpr unsigned kReplacement = 0xFFFD;

void AppendUtf8(std::string& str, unsigned nCode)
{
    if (nCode < 0x80)
        str += char(nCode);
    else if (nCode < 0x800)
    {
        str += char(0xC0 | (nCode >> 6));
        str += char(0x80 | (nCode & 0x3F));
    }
    else if (nCode < 0x10000)
    {
        str += char(0xE0 | (nCode >> 12));
        str += char(0x80 | ((nCode >> 6) & 0x3F));
        str += char(0x80 | (nCode & 0x3F));
    }
    else
    {
        str += char(0xF0 | (nCode >> 18));
        str += char(0x80 | ((nCode >> 12) & 0x3F));
        str += char(0x80 | ((nCode >> 6) & 0x3F));
        str += char(0x80 | (nCode & 0x3F));
    }
}

void AppendWide(std::wstring& str, unsigned nCode)
{
    if (sizeof(wchar_t) == 2 && nCode >= 0x10000)
    {
        nCode -= 0x10000;
        str += wchar_t(0xD800 + (nCode >> 10));
        str += wchar_t(0xDC00 + (nCode & 0x3FF));
    }
    else
        str += wchar_t(nCode);
}

/// Round half to even, the rounding the automation runtime uses from reals to integers.
double RoundToEven(double d)
{
    return std::nearbyint(d);
}

bool ToInteger(double d, int& nOut)
{
    if (std::isnan(d))
        return false;
    d = RoundToEven(d);
    if (d < double(INT_MIN) || d > double(INT_MAX))
        return false;
    nOut = int(d);
    return true;
}
} // namespace

QelAutomationVariant QelAutomationVariant::MakeI4(int32_t nValue)
{
    QelAutomationVariant v(eVtI4);
    v.m_nInt = nValue;
    return v;
}

QelAutomationVariant QelAutomationVariant::MakeInt(int nValue)
{
    QelAutomationVariant v(eVtInt);
    v.m_nInt = nValue;
    return v;
}

QelAutomationVariant QelAutomationVariant::MakeR4(float fValue)
{
    QelAutomationVariant v(eVtR4);
    v.m_fR4 = fValue;
    return v;
}

QelAutomationVariant QelAutomationVariant::MakeR8(double dValue)
{
    QelAutomationVariant v(eVtR8);
    v.m_dR8 = dValue;
    return v;
}

QelAutomationVariant QelAutomationVariant::MakeBool(bool bValue)
{
    QelAutomationVariant v(eVtBool);
    v.m_nBool = bValue ? -1 : 0;
    return v;
}

QelAutomationVariant QelAutomationVariant::MakeUI4(uint32_t nValue)
{
    QelAutomationVariant v(eVtUI4);
    v.m_nUI4 = nValue;
    return v;
}

QelAutomationVariant QelAutomationVariant::MakeText(const std::string& strUtf8)
{
    return MakeWide(Utf8ToWide(strUtf8));
}

QelAutomationVariant QelAutomationVariant::MakeWide(const std::wstring& strWide)
{
    QelAutomationVariant v(eVtBstr);
    v.m_strWide = strWide;
    return v;
}

bool QelAutomationVariant::ChangeType(unsigned short nType)
{
    if (nType == m_nType)
        return true;
    // The source as a double (exact for every supported numeric payload).
    double d = 0.0;
    switch (m_nType)
    {
    case eVtEmpty: d = 0.0; break;
    case eVtI4:
    case eVtInt: d = m_nInt; break;
    case eVtR4: d = m_fR4; break;
    case eVtR8: d = m_dR8; break;
    case eVtBool: d = m_nBool; break;
    case eVtUI4: d = m_nUI4; break;
    default: return false;
    }
    QelAutomationVariant result(nType);
    switch (nType)
    {
    case eVtEmpty: break;
    case eVtI4:
    case eVtInt:
        if (!ToInteger(d, result.m_nInt))
            return false;
        break;
    case eVtR4:
        if (std::isfinite(d) && std::fabs(d) > 3.4028234663852886e38)
            return false;
        result.m_fR4 = float(d);
        break;
    case eVtR8: result.m_dR8 = d; break;
    case eVtBool: result.m_nBool = d != 0.0 ? -1 : 0; break;
    case eVtUI4:
        if (std::isnan(d) || RoundToEven(d) < 0.0 || RoundToEven(d) > 4294967295.0)
            return false;
        result.m_nUI4 = uint32_t(RoundToEven(d));
        break;
    default: return false;
    }
    *this = result;
    return true;
}

std::wstring QelAutomationVariant::Utf8ToWide(const std::string& strUtf8)
{
    std::wstring out;
    out.reserve(strUtf8.size());
    const unsigned char* p = reinterpret_cast<const unsigned char*>(strUtf8.data());
    size_t n = strUtf8.size();
    size_t i = 0;
    while (i < n)
    {
        unsigned c = p[i];
        unsigned nLen = c < 0x80 ? 1 : (c & 0xE0) == 0xC0 ? 2 : (c & 0xF0) == 0xE0 ? 3 : (c & 0xF8) == 0xF0 ? 4 : 0;
        if (nLen == 0 || i + nLen > n)
        {
            AppendWide(out, kReplacement);
            ++i;
            continue;
        }
        unsigned nCode = nLen == 1 ? c : nLen == 2 ? (c & 0x1F) : nLen == 3 ? (c & 0x0F) : (c & 0x07);
        bool bOk = true;
        for (unsigned k = 1; k < nLen; ++k)
        {
            if ((p[i + k] & 0xC0) != 0x80)
            {
                bOk = false;
                break;
            }
            nCode = (nCode << 6) | (p[i + k] & 0x3F);
        }
        static const unsigned kMin[5] = {0, 0, 0x80, 0x800, 0x10000};
        if (!bOk || nCode < kMin[nLen] || nCode > 0x10FFFF || (nCode >= 0xD800 && nCode <= 0xDFFF))
        {
            AppendWide(out, kReplacement);
            ++i;
            continue;
        }
        AppendWide(out, nCode);
        i += nLen;
    }
    return out;
}

std::string QelAutomationVariant::WideToUtf8(const std::wstring& strWide)
{
    std::string out;
    out.reserve(strWide.size());
    for (size_t i = 0; i < strWide.size(); ++i)
    {
        unsigned nCode = unsigned(strWide[i]) & (sizeof(wchar_t) == 2 ? 0xFFFFu : 0xFFFFFFFFu);
        if (nCode >= 0xD800 && nCode <= 0xDBFF && i + 1 < strWide.size())
        {
            unsigned nLow = unsigned(strWide[i + 1]) & (sizeof(wchar_t) == 2 ? 0xFFFFu : 0xFFFFFFFFu);
            if (nLow >= 0xDC00 && nLow <= 0xDFFF)
            {
                nCode = 0x10000 + ((nCode - 0xD800) << 10) + (nLow - 0xDC00);
                ++i;
            }
        }
        if ((nCode >= 0xD800 && nCode <= 0xDFFF) || nCode > 0x10FFFF)
            nCode = kReplacement;
        AppendUtf8(out, nCode);
    }
    return out;
}

#if defined(_WIN32)
QelAutomationVariant::QelAutomationVariant(const _variant_t& varValue) : m_nType(varValue.vt)
{
    switch (varValue.vt)
    {
    case VT_I4: m_nInt = varValue.lVal; break;
    case VT_INT: m_nInt = varValue.intVal; break;
    case VT_R4: m_fR4 = varValue.fltVal; break;
    case VT_R8: m_dR8 = varValue.dblVal; break;
    case VT_BOOL: m_nBool = varValue.boolVal; break;
    case VT_UI4: m_nUI4 = varValue.ulVal; break;
    case VT_BSTR:
        if (varValue.bstrVal)
            m_strWide.assign(varValue.bstrVal, SysStringLen(varValue.bstrVal));
        break;
    default: break;
    }
}

QelAutomationVariant::operator _variant_t() const
{
    _variant_t v;
    switch (m_nType)
    {
    case eVtI4: v = long(m_nInt); break;
    case eVtInt: v.vt = VT_INT; v.intVal = m_nInt; break;
    case eVtR4: v = m_fR4; break;
    case eVtR8: v = m_dR8; break;
    case eVtBool: v.vt = VT_BOOL; v.boolVal = m_nBool; break;
    case eVtUI4: v.vt = VT_UI4; v.ulVal = m_nUI4; break;
    case eVtBstr: v = _bstr_t(m_strWide.c_str()); break;
    default: break;
    }
    return v;
}
#endif
