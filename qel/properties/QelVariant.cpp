#include "qel/properties/QelVariant.h"

#include "qel/framework/QelSysApp.h"

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace
{
/// atoi without its undefined behaviour on overflow: saturates, which makes the power 0 or infinite.
int SafeAtoi(const char* pText)
{
    errno = 0;
    long n = std::strtol(pText, nullptr, 10);
    if (n > INT_MAX)
        return INT_MAX;
    if (n < INT_MIN)
        return INT_MIN;
    return int(n);
}

int TruncateToInt(float fValue, const char* pWhere)
{
    if (std::isnan(fValue) || fValue >= 2147483648.0f || fValue < -2147483648.0f)
    {
        int nClamped = std::isnan(fValue) ? 0 : (fValue > 0 ? INT_MAX : INT_MIN);
        QelSysApp::App().PrintToConsole("<warning> Value [%g] out of the integer range in %s, clamped to [%d]\n",
                                        double(fValue), pWhere, nClamped);
        return nClamped;
    }
    return int(fValue);
}
} // namespace

QelVariant::QelVariant(QelDataType eType) : m_eType(eType)
{
    m_pValue = nullptr;
    if (IsStringType(eType))
        m_pString = new std::string();
    else if (eType == eDataColor)
        m_nColor = 0xFFFFFFFFu;
}

QelVariant::QelVariant(const QelAutomationVariant& varVariant)
{
    m_pValue = nullptr;
    QelAutomationVariant v = varVariant;
    switch (v.GetType())
    {
    case eVtEmpty:
    case eVtI4:
    case eVtInt:
        v.ChangeType(eVtInt);
        m_eType = eDataInteger;
        m_nValue = v.GetInt();
        break;
    case eVtR4:
    case eVtR8:
        if (!v.ChangeType(eVtR4))
            v = QelAutomationVariant::MakeR4(v.GetR8() > 0 ? HUGE_VALF : -HUGE_VALF);
        m_eType = eDataReal;
        m_fValue = v.GetR4();
        break;
    case eVtBstr:
        m_eType = eDataString;
        m_pString = new std::string(v.GetText());
        break;
    case eVtBool:
        m_eType = eDataBoolean;
        m_bValue = v.GetBoolValue() != 0;
        break;
    case eVtUI4:
        m_eType = eDataColor;
        m_nColor = v.GetUI4();
        break;
    default:
        QelSysApp::App().PrintToConsole(
            "<error> Unknown variant type [%d] used in QelVariant::QelVariant(const _variant_t& varVariant)\n",
            int(v.GetType()));
        break;
    }
}

void QelVariant::Assign(const QelVariant& other)
{
    if (this == &other)
        return;
    if (IsStringType(other.m_eType))
    {
        if (IsStringType(m_eType))
            *m_pString = *other.m_pString;
        else
            m_pString = new std::string(*other.m_pString);
    }
    else
    {
        if (IsStringType(m_eType))
            delete m_pString;
        m_pValue = other.m_pValue;
    }
    m_eType = other.m_eType;
}

void QelVariant::SetDataType(QelDataType eType)
{
    if (eType == m_eType)
        return;
    if (IsStringType(m_eType))
    {
        delete m_pString;
        // The freed address is no value worth keeping; the other payloads keep their bits.
        m_pValue = nullptr;
    }
    m_eType = eType;
    if (IsStringType(eType))
        m_pString = new std::string();
}

void QelVariant::ConvertTo(QelDataType eType)
{
    if (eType == m_eType)
        return;
    switch (eType)
    {
    case eDataReal:
    {
        float f = ConvertToFloat();
        SetDataType(eType);
        m_fValue = f;
        return;
    }
    case eDataInteger:
    {
        int n = ConvertToInt();
        SetDataType(eType);
        m_nValue = n;
        return;
    }
    case eDataBoolean:
    {
        bool b = ConvertToBool();
        SetDataType(eType);
        m_pValue = nullptr;
        m_bValue = b;
        return;
    }
    case eDataColor:
    {
        QelPackedColor c = ConvertToColor();
        SetDataType(eType);
        m_nColor = c;
        return;
    }
    default: break;
    }
    if (IsStringType(m_eType))
    {
        // Rebuilt as a String of its own text, so moving between the string types keeps the text.
        std::string strText = ConvertToString();
        SetDataType(eDataString);
        *m_pString = strText;
        if (IsStringType(eType))
        {
            m_eType = eType;
            return;
        }
    }
    SetDataType(eType);
}

const char* QelVariant::GetDataTypeName(int nType)
{
    switch (nType)
    {
    case eDataUninitialized: return "Uninitialized";
    case eDataBoolean: return "Boolean";
    case eDataInteger: return "Integer";
    case eDataReal: return "Real";
    case eDataString: return "String";
    case eDataFilename: return "Filename";
    case eDataFolder: return "Folder";
    case eDataColor: return "Color";
    case eDataInterpColor: return "Interpolated Color";
    case eDataInputObject: return "Input Object";
    case eDataDisplayObject: return "Display Object";
    case eDataDisplaySystem: return "Display System";
    case eDataManipulatorObject: return "Manipulator Object";
    case eDataContainerObject: return "Container Object";
    default: return "Unknown";
    }
}

bool QelVariant::ConvertToBool() const
{
    switch (m_eType)
    {
    case eDataBoolean: return m_bValue;
    case eDataInteger: return m_nValue != 0;
    case eDataReal: return m_fValue != 0.0f;
    case eDataString:
    case eDataFilename:
    case eDataFolder:
    {
        const std::string& s = *m_pString;
        if (s == "1")
            return true;
        if (s.size() != 4)
            return false;
        static const char kTrue[] = "true";
        for (size_t i = 0; i < 4; ++i)
        {
            char c = s[i];
            if (c >= 'A' && c <= 'Z')
                c = char(c - 'A' + 'a');
            if (c != kTrue[i])
                return false;
        }
        return true;
    }
    default: return false;
    }
}

int QelVariant::ConvertToInt() const
{
    switch (m_eType)
    {
    case eDataBoolean: return m_bValue ? 1 : 0;
    case eDataInteger: return m_nValue;
    case eDataReal: return TruncateToInt(m_fValue, "QelVariant::ConvertToInt()");
    case eDataString:
    case eDataFilename:
    case eDataFolder: return TruncateToInt(ParseFloat(m_pString->c_str()), "QelVariant::ConvertToInt()");
    default: return 0;
    }
}

float QelVariant::ConvertToFloat() const
{
    switch (m_eType)
    {
    case eDataBoolean: return m_bValue ? 1.0f : 0.0f;
    case eDataInteger: return float(m_nValue);
    case eDataReal: return m_fValue;
    case eDataString:
    case eDataFilename:
    case eDataFolder: return ParseFloat(m_pString->c_str());
    default: return 0.0f;
    }
}

std::string QelVariant::ConvertToString() const
{
    char buffer[64];
    switch (m_eType)
    {
    case eDataBoolean: return m_bValue ? "true" : "false";
    case eDataInteger: std::snprintf(buffer, sizeof(buffer), "%d", m_nValue); return buffer;
    case eDataReal: std::snprintf(buffer, sizeof(buffer), "%g", double(m_fValue)); return buffer;
    case eDataString:
    case eDataFilename:
    case eDataFolder: return *m_pString;
    default: return std::string();
    }
}

float QelVariant::ParseFloat(const char* pText)
{
    if (!pText)
        return 0.0f;
    const char* p = pText;
    while (*p == '\t' || *p == '\n' || *p == '\r' || *p == ' ')
        ++p;
    bool bNegative = false;
    if (*p == '-')
    {
        bNegative = true;
        ++p;
    }
    else if (*p == '+')
        ++p;
    float fValue = 0.0f;
    while (*p >= '0' && *p <= '9')
    {
        fValue = fValue * 10.0f + float(*p - '0');
        ++p;
    }
    if (*p == '.')
    {
        ++p;
        float fScale = 0.1f;
        while (*p >= '0' && *p <= '9')
        {
            fValue += float(*p - '0') * fScale;
            fScale *= 0.1f;
            ++p;
        }
    }
    if (*p == 'e' || *p == 'E')
    {
        int nExponent = SafeAtoi(p + 1);
        fValue *= std::pow(10.0f, float(nExponent));
    }
    return bNegative ? -fValue : fValue;
}

bool QelVariant::ReportUncomparable(const char* pOperator) const
{
    QelSysApp::App().PrintToConsole("<error> Unknown type [%d] in QelVariant::%s\n", int(m_eType), pOperator);
    return false;
}

#define QEL_VARIANT_COMPARE(OP, NAME)                                                                         \
    bool QelVariant::operator OP(const QelVariant& other) const                                               \
    {                                                                                                         \
        if (m_eType != other.m_eType)                                                                         \
            return false;                                                                                     \
        switch (m_eType)                                                                                      \
        {                                                                                                     \
        case eDataReal: return m_fValue OP other.m_fValue;                                                    \
        case eDataInteger: return m_nValue OP other.m_nValue;                                                 \
        case eDataString:                                                                                     \
        case eDataFilename:                                                                                   \
        case eDataFolder: return *m_pString OP * other.m_pString;                                             \
        case eDataColor: return m_nColor OP other.m_nColor;                                                   \
        case eDataBoolean: return int(m_bValue) OP int(other.m_bValue);                           \
        case eDataInputObject:                                                                                \
        case eDataDisplayObject:                                                                              \
        case eDataDisplaySystem:                                                                              \
        case eDataManipulatorObject:                                                                          \
        case eDataContainerObject: return uintptr_t(m_pValue) OP uintptr_t(other.m_pValue);        \
        default: return ReportUncomparable(NAME);                                                             \
        }                                                                                                     \
    }

QEL_VARIANT_COMPARE(==, "operator==()")
QEL_VARIANT_COMPARE(<, "operator<()")
QEL_VARIANT_COMPARE(>, "operator>()")
QEL_VARIANT_COMPARE(<=, "operator<=()")
QEL_VARIANT_COMPARE(>=, "operator>=()")

#undef QEL_VARIANT_COMPARE

QelAutomationVariant QelVariant::GetAsWindowsVariant() const
{
    switch (m_eType)
    {
    case eDataReal: return QelAutomationVariant::MakeR8(double(m_fValue));
    case eDataInteger: return QelAutomationVariant::MakeInt(m_nValue);
    case eDataColor: return QelAutomationVariant::MakeUI4(m_nColor);
    case eDataBoolean: return QelAutomationVariant::MakeBool(m_bValue);
    case eDataString:
    case eDataFilename:
    case eDataFolder: return QelAutomationVariant::MakeText(*m_pString);
    case eDataInputObject:
    case eDataDisplayObject:
    case eDataDisplaySystem:
    case eDataManipulatorObject:
    case eDataContainerObject: return QelAutomationVariant::MakeBool(m_pValue != nullptr);
    default:
        QelSysApp::App().PrintToConsole("<warning> Unknown type [%s] found in QelVariant::GetAsWindowsVariant()\n",
                                        GetDataTypeName(m_eType));
        return QelAutomationVariant();
    }
}
