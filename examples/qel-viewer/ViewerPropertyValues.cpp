#include "ViewerPropertyValues.h"

#include "qel/properties/QelProperty.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <strings.h>
#include <vector>

namespace
{
bool ParseHex(const std::string& strDigits, unsigned long& nValue)
{
    if (strDigits.empty() || strDigits.size() > 8)
        return false;
    for (char c : strDigits)
        if (!std::isxdigit(static_cast<unsigned char>(c)))
            return false;
    nValue = std::strtoul(strDigits.c_str(), nullptr, 16);
    return true;
}

bool ParseBool(const std::string& strText, bool& bValue)
{
    static const char* const kTrue[] = {"true", "1", "on", "yes"};
    static const char* const kFalse[] = {"false", "0", "off", "no"};
    for (const char* p : kTrue)
        if (strcasecmp(strText.c_str(), p) == 0)
            return bValue = true, true;
    for (const char* p : kFalse)
        if (strcasecmp(strText.c_str(), p) == 0)
            return bValue = false, true;
    return false;
}

bool ParseEnumeration(QelProperty& cProperty, const std::string& strText, int& nValue)
{
    std::vector<std::string> vNames;
    std::vector<int> vValues;
    cProperty.GetEnumerationNames(vNames, vValues);
    for (size_t i = 0; i < vNames.size(); ++i)
        if (vNames[i] == strText)
        {
            nValue = i < vValues.size() ? vValues[i] : int(i);
            return true;
        }
    return ViewerValues::ParseInt(strText, nValue);
}
} // namespace

namespace ViewerValues
{
bool IsTextType(QelDataType eType)
{
    switch (eType)
    {
    case eDataBoolean:
    case eDataInteger:
    case eDataReal:
    case eDataString:
    case eDataFilename:
    case eDataFolder:
    case eDataColor:
        return true;
    default:
        return false;
    }
}

bool ParseDouble(const std::string& strText, double& dValue)
{
    if (strText.empty())
        return false;
    char* pEnd = nullptr;
    errno = 0;
    double d = std::strtod(strText.c_str(), &pEnd);
    if (*pEnd != '\0' || errno == ERANGE || !std::isfinite(d))
        return false;
    dValue = d;
    return true;
}

bool ParseInt(const std::string& strText, int& nValue)
{
    if (strText.empty())
        return false;
    char* pEnd = nullptr;
    errno = 0;
    long n = std::strtol(strText.c_str(), &pEnd, 10);
    if (*pEnd != '\0' || errno == ERANGE || n < INT_MIN || n > INT_MAX)
        return false;
    nValue = int(n);
    return true;
}

bool ParseColor(const std::string& strText, QelPackedColor& nColor)
{
    unsigned long n = 0;
    if (strText.size() == 10 && strText[0] == '0' && (strText[1] == 'x' || strText[1] == 'X'))
    {
        if (!ParseHex(strText.substr(2), n))
            return false;
        nColor = QelPackedColor(n);
        return true;
    }
    if ((strText.size() == 7 || strText.size() == 9) && strText[0] == '#')
    {
        if (!ParseHex(strText.substr(1), n))
            return false;
        if (strText.size() == 7)
            n = (n << 8) | 0xFF;
        // RRGGBBAA in reading order; the packed word holds red in its low byte.
        nColor = QelPackedColor(((n >> 24) & 0xFF) | ((n >> 8) & 0xFF00) | ((n << 8) & 0xFF0000) | ((n & 0xFF) << 24));
        return true;
    }
    return false;
}

std::string Format(QelProperty& cProperty)
{
    char vBuffer[32];
    switch (cProperty.GetDataType())
    {
    case eDataBoolean:
        return cProperty.GetAsBool() ? "true" : "false";
    case eDataInteger:
        std::snprintf(vBuffer, sizeof(vBuffer), "%d", cProperty.GetAsInt());
        return vBuffer;
    case eDataReal:
        std::snprintf(vBuffer, sizeof(vBuffer), "%.9g", cProperty.GetAsDouble());
        return vBuffer;
    case eDataColor:
    case eDataInterpColor:
        std::snprintf(vBuffer, sizeof(vBuffer), "0x%08X", unsigned(cProperty.GetAsColor()));
        return vBuffer;
    case eDataString:
    case eDataFilename:
    case eDataFolder:
        return cProperty.GetAsString();
    default:
        return std::string();
    }
}

bool Parse(QelProperty& cProperty, const std::string& strText, QelVariant& cValue, std::string& strWhy)
{
    QelDataType eType = cProperty.GetDataType();
    switch (eType)
    {
    case eDataBoolean:
    {
        bool b = false;
        if (!ParseBool(strText, b))
            break;
        cValue = QelVariant(b);
        return true;
    }
    case eDataInteger:
    {
        int n = 0;
        if (cProperty.IsEnumerated() ? !ParseEnumeration(cProperty, strText, n) : !ParseInt(strText, n))
            break;
        cValue = QelVariant(n);
        return true;
    }
    case eDataReal:
    {
        double d = 0.0;
        if (!ParseDouble(strText, d))
            break;
        cValue = QelVariant(d);
        return true;
    }
    case eDataColor:
    {
        QelPackedColor n = 0;
        if (!ParseColor(strText, n))
            break;
        cValue = QelVariant(static_cast<unsigned int>(n));
        return true;
    }
    case eDataString:
    case eDataFilename:
    case eDataFolder:
        cValue = QelVariant(strText);
        return true;
    case eDataInterpColor:
        strWhy = "an interpolated color follows its low color, high color and interpolation: set those";
        return false;
    default:
        strWhy = "a value of this type cannot be given as text";
        return false;
    }
    static const char* const kReasons[] = {"", "", "not true or false", "not a whole number", "not a number",
                                           "", "", "", "", "not a color (0xAABBGGRR or #RRGGBB)"};
    strWhy = kReasons[eType];
    return false;
}

bool Store(QelProperty& cProperty, const QelVariant& cValue)
{
    switch (cProperty.GetDataType())
    {
    case eDataBoolean:
        return cProperty.SetAsBool(bool(cValue));
    case eDataInteger:
        return cProperty.SetAsInt(int(cValue));
    case eDataReal:
        return cProperty.SetAsDouble(double(cValue));
    case eDataColor:
        return cProperty.SetAsColor(QelPackedColor((unsigned int)(cValue)));
    case eDataString:
    case eDataFilename:
    case eDataFolder:
        return cProperty.SetAsString(std::string(cValue));
    default:
        return false;
    }
}

bool Apply(QelProperty& cProperty, const std::string& strText, std::string& strWhy)
{
    QelVariant cValue;
    return Parse(cProperty, strText, cValue, strWhy) && Store(cProperty, cValue);
}
} // namespace ViewerValues
