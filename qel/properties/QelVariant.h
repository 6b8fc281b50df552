#pragma once

#include "qel/platform/QelAutomationVariant.h"
#include "qel/platform/QelExport.h"
#include "qel/platform/QelTypes.h"
#include "qel/properties/QelDataType.h"

#include <cstdint>
#include <string>

class QelInput;
class QelDisplayObject;
class QelDisplaySystem;
class QelManipulator;
class QelPropertyContainer;

/// The tagged value carried by properties, histories, command arguments and scripts: one type
/// code and one payload word; string payloads are owned, object pointers are not.
class QEL_EXPORT QelVariant
{
public:
    QelVariant() { m_pValue = nullptr; }
    QelVariant(bool bValue) : m_eType(eDataBoolean) { m_pValue = nullptr; m_bValue = bValue; }
    QelVariant(int nValue) : m_eType(eDataInteger) { m_pValue = nullptr; m_nValue = nValue; }
    /// Unsigned values are always colors.
    QelVariant(unsigned int nColor) : m_eType(eDataColor) { m_pValue = nullptr; m_nColor = nColor; }
    QelVariant(unsigned long nColor) : m_eType(eDataColor) { m_pValue = nullptr; m_nColor = uint32_t(nColor); }
    QelVariant(float fValue) : m_eType(eDataReal) { m_pValue = nullptr; m_fValue = fValue; }
    /// Stored single precision.
    QelVariant(double dValue) : m_eType(eDataReal) { m_pValue = nullptr; m_fValue = float(dValue); }
    QelVariant(const std::string& strValue) : m_eType(eDataString) { m_pString = new std::string(strValue); }
    /// A String, so that a literal does not decay to a Boolean; null gives an empty String.
    QelVariant(const char* pValue) : m_eType(eDataString) { m_pString = new std::string(pValue ? pValue : ""); }
    QelVariant(QelInput* pObject) : m_eType(eDataInputObject) { m_pValue = nullptr; m_pInput = pObject; }
    QelVariant(QelDisplayObject* pObject) : m_eType(eDataDisplayObject) { m_pValue = nullptr; m_pDisplayObject = pObject; }
    QelVariant(QelDisplaySystem* pObject) : m_eType(eDataDisplaySystem) { m_pValue = nullptr; m_pDisplaySystem = pObject; }
    QelVariant(QelManipulator* pObject) : m_eType(eDataManipulatorObject) { m_pValue = nullptr; m_pManipulator = pObject; }
    QelVariant(QelPropertyContainer* pObject) : m_eType(eDataContainerObject) { m_pValue = nullptr; m_pContainer = pObject; }
    /// The type's empty value: false, zero, null, empty text, or opaque white for a color.
    QelVariant(QelDataType eType);
    /// From an automation value; unsupported automation types stay Uninitialized with an error.
    QelVariant(const QelAutomationVariant& varVariant);

    QelVariant(const QelVariant& other) : m_eType(other.m_eType)
    {
        if (IsStringType(m_eType))
            m_pString = new std::string(*other.m_pString);
        else
            m_pValue = other.m_pValue;
    }
    QelVariant(QelVariant&& other) noexcept : m_eType(other.m_eType)
    {
        m_pValue = other.m_pValue;
        other.m_eType = eDataUninitialized;
        other.m_pValue = nullptr;
    }
    QelVariant& operator=(const QelVariant& other)
    {
        if (!IsStringType(m_eType) && !IsStringType(other.m_eType))
        {
            m_eType = other.m_eType;
            m_pValue = other.m_pValue;
        }
        else
            Assign(other);
        return *this;
    }
    QelVariant& operator=(QelVariant&& other) noexcept
    {
        if (this != &other)
        {
            if (IsStringType(m_eType))
                delete m_pString;
            m_eType = other.m_eType;
            m_pValue = other.m_pValue;
            other.m_eType = eDataUninitialized;
            other.m_pValue = nullptr;
        }
        return *this;
    }
    /// Takes the other's type and value; text is copied.
    void Assign(const QelVariant& other);
    ~QelVariant()
    {
        if (IsStringType(m_eType))
            delete m_pString;
    }

    QelDataType GetDataType() const { return m_eType; }
    bool IsNumeric() const { return m_eType == eDataInteger || m_eType == eDataReal; }
    bool IsString() const { return IsStringType(m_eType); }
    bool IsObject() const { return m_eType >= eDataInputObject && m_eType <= eDataContainerObject; }

    /// Changes the type code only. A string payload is freed or made as the type leaves or enters
    /// the string group; other payloads keep their bits (deliberate: callers reinterpret in place).
    void SetDataType(QelDataType eType);
    /// Converts the value in place to the given type.
    void ConvertTo(QelDataType eType);

    /// The name shown for a type code ("Real", "Interpolated Color"); "Unknown" for unlisted codes.
    static const char* GetDataTypeName(int nType);

    operator bool() const { return m_eType == eDataBoolean ? m_bValue : ConvertToBool(); }
    operator int() const { return m_eType == eDataInteger ? m_nValue : ConvertToInt(); }
    operator short() const { return short(int(*this)); }
    operator unsigned short() const { return static_cast<unsigned short>(int(*this) & 0xFFFF); }
    /// The Integer or Color payload as it stands, else the integer conversion.
    operator unsigned int() const
    {
        return (m_eType == eDataInteger || m_eType == eDataColor) ? m_nColor : unsigned(ConvertToInt());
    }
    operator unsigned long() const { return (unsigned long)(unsigned int)(*this); }
    operator float() const
    {
        return m_eType == eDataReal ? m_fValue : (m_eType == eDataInteger ? float(m_nValue) : ConvertToFloat());
    }
    operator double() const { return float(*this); }
    operator std::string() const { return IsStringType(m_eType) ? *m_pString : ConvertToString(); }
    operator QelInput*() const { return m_eType == eDataInputObject ? m_pInput : nullptr; }
    operator QelDisplayObject*() const { return m_eType == eDataDisplayObject ? m_pDisplayObject : nullptr; }
    operator QelDisplaySystem*() const { return m_eType == eDataDisplaySystem ? m_pDisplaySystem : nullptr; }
    operator QelManipulator*() const { return m_eType == eDataManipulatorObject ? m_pManipulator : nullptr; }
    operator QelPropertyContainer*() const { return m_eType == eDataContainerObject ? m_pContainer : nullptr; }
    operator QelAutomationVariant() const { return GetAsWindowsVariant(); }

    /// Values of different types are never equal nor ordered; no conversion is tried.
    bool operator==(const QelVariant& other) const;
    bool operator!=(const QelVariant& other) const { return !(*this == other); }
    bool operator<(const QelVariant& other) const;
    bool operator>(const QelVariant& other) const;
    bool operator<=(const QelVariant& other) const;
    bool operator>=(const QelVariant& other) const;

    /// The value as an automation value (objects pass as a Boolean "not null").
    QelAutomationVariant GetAsWindowsVariant() const;

    // Conversions from the stored type, whatever it is; used by properties and histories too.
    bool ConvertToBool() const;
    /// Saturates at the int range (with a warning) where the number does not fit.
    int ConvertToInt() const;
    float ConvertToFloat() const;
    QelPackedColor ConvertToColor() const { return m_eType == eDataColor ? m_nColor : 0xFFFFFFFFu; }
    std::string ConvertToString() const;

    /// The library's single-precision number reader: blanks, sign, digits, fraction, exponent;
    /// it stops at the first character that fits none of them.
    static float ParseFloat(const char* pText);

private:
    static bool IsStringType(QelDataType eType)
    {
        return eType == eDataString || eType == eDataFilename || eType == eDataFolder;
    }

    bool GetAsBool() const { return bool(*this); }
    int GetAsInt() const { return int(*this); }
    float GetAsFloat() const { return float(*this); }
    double GetAsDouble() const { return double(*this); }
    double GetAsNumeric() const { return double(*this); }
    QelPackedColor GetAsColor() const { return unsigned(*this); }
    std::string GetAsString() const { return std::string(*this); }
    QelInput* GetAsInputObject() const { return *this; }
    QelDisplayObject* GetAsDisplayObject() const { return *this; }
    QelDisplaySystem* GetAsDisplaySystem() const { return *this; }
    QelManipulator* GetAsManipulator() const { return *this; }
    QelPropertyContainer* GetAsPropertyContainer() const { return *this; }

    /// Reports a comparison of a type that has no order and answers false.
    bool ReportUncomparable(const char* pOperator) const;

    QelDataType m_eType = eDataUninitialized;
    union
    {
        bool m_bValue;
        int m_nValue;
        float m_fValue;
        uint32_t m_nColor;
        std::string* m_pString;
        QelInput* m_pInput;
        QelDisplayObject* m_pDisplayObject;
        QelDisplaySystem* m_pDisplaySystem;
        QelManipulator* m_pManipulator;
        QelPropertyContainer* m_pContainer;
        void* m_pValue;
    };
};
