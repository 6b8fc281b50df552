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
    /// Uninitialized: no value, reads as false, zero, null or empty text.
    QelVariant() { m_pValue = nullptr; }
    /// Implicit on purpose, so that a plain value can be passed wherever a variant is taken; the
    /// C++ type picks the type code (bool Boolean, int Integer, float Real, text String, object
    /// pointers their object type; the pointer is not owned).
    ///@{
    QelVariant(bool bValue) : m_eType(eDataBoolean) { m_pValue = nullptr; m_bValue = bValue; }
    QelVariant(int nValue) : m_eType(eDataInteger) { m_pValue = nullptr; m_nValue = nValue; }
    ///@}
    /// Unsigned values are always colors.
    QelVariant(unsigned int nColor) : m_eType(eDataColor) { m_pValue = nullptr; m_nColor = nColor; }
    /// A packed color (red in the low byte); only the low 32 bits are kept.
    QelVariant(unsigned long nColor) : m_eType(eDataColor) { m_pValue = nullptr; m_nColor = uint32_t(nColor); }
    /// A Real.
    QelVariant(float fValue) : m_eType(eDataReal) { m_pValue = nullptr; m_fValue = fValue; }
    /// Stored single precision.
    QelVariant(double dValue) : m_eType(eDataReal) { m_pValue = nullptr; m_fValue = float(dValue); }
    /// A String holding its own copy of the text.
    QelVariant(const std::string& strValue) : m_eType(eDataString) { m_pString = new std::string(strValue); }
    /// A String, so that a literal does not decay to a Boolean; null gives an empty String.
    QelVariant(const char* pValue) : m_eType(eDataString) { m_pString = new std::string(pValue ? pValue : ""); }
    /// A reference to an object of the matching kind; the variant neither owns nor holds it.
    ///@{
    QelVariant(QelInput* pObject) : m_eType(eDataInputObject) { m_pValue = nullptr; m_pInput = pObject; }
    QelVariant(QelDisplayObject* pObject) : m_eType(eDataDisplayObject) { m_pValue = nullptr; m_pDisplayObject = pObject; }
    QelVariant(QelDisplaySystem* pObject) : m_eType(eDataDisplaySystem) { m_pValue = nullptr; m_pDisplaySystem = pObject; }
    QelVariant(QelManipulator* pObject) : m_eType(eDataManipulatorObject) { m_pValue = nullptr; m_pManipulator = pObject; }
    QelVariant(QelPropertyContainer* pObject) : m_eType(eDataContainerObject) { m_pValue = nullptr; m_pContainer = pObject; }
    ///@}
    /// The type's empty value: false, zero, null, empty text, or opaque white for a color.
    QelVariant(QelDataType eType);
    /// From an automation value; unsupported automation types stay Uninitialized with an error.
    QelVariant(const QelAutomationVariant& varVariant);

    /// Text is copied; other payloads, object references included, are shared as they are.
    QelVariant(const QelVariant& other) : m_eType(other.m_eType)
    {
        if (IsStringType(m_eType))
            m_pString = new std::string(*other.m_pString);
        else
            m_pValue = other.m_pValue;
    }
    /// Takes over the payload; the source is left Uninitialized.
    QelVariant(QelVariant&& other) noexcept : m_eType(other.m_eType)
    {
        m_pValue = other.m_pValue;
        other.m_eType = eDataUninitialized;
        other.m_pValue = nullptr;
    }
    /// Takes the other's type and value; text is copied.
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
    /// Takes over the payload, freeing this one's text; the source is left Uninitialized.
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

    /// The type code of the value held (a property's declared type may differ).
    QelDataType GetDataType() const { return m_eType; }
    /// Integer or Real only: a Boolean or Color does not count as a number here.
    bool IsNumeric() const { return m_eType == eDataInteger || m_eType == eDataReal; }
    /// String, Filename or Folder: the types whose payload is owned text.
    bool IsString() const { return IsStringType(m_eType); }
    /// One of the object reference types, Input Object to Container Object.
    bool IsObject() const { return m_eType >= eDataInputObject && m_eType <= eDataContainerObject; }

    /// Changes the type code only. A string payload is freed or made as the type leaves or enters
    /// the string group; other payloads keep their bits (deliberate: callers reinterpret in place).
    void SetDataType(QelDataType eType);
    /// Converts the value in place to the given type.
    void ConvertTo(QelDataType eType);

    /// The name shown for a type code ("Real", "Interpolated Color"); "Unknown" for unlisted codes.
    static const char* GetDataTypeName(int nType);

    /// The payload when the type matches, else the matching ConvertTo conversion.
    ///@{
    operator bool() const { return m_eType == eDataBoolean ? m_bValue : ConvertToBool(); }
    operator int() const { return m_eType == eDataInteger ? m_nValue : ConvertToInt(); }
    ///@}
    /// The integer conversion cut to 16 bits (higher bits are dropped, not saturated).
    ///@{
    operator short() const { return short(int(*this)); }
    operator unsigned short() const { return static_cast<unsigned short>(int(*this) & 0xFFFF); }
    ///@}
    /// The Integer or Color payload as it stands, else the integer conversion.
    operator unsigned int() const
    {
        return (m_eType == eDataInteger || m_eType == eDataColor) ? m_nColor : unsigned(ConvertToInt());
    }
    /// As the unsigned int conversion: a packed color in the low 32 bits.
    operator unsigned long() const { return (unsigned long)(unsigned int)(*this); }
    /// The Real or Integer payload, else ConvertToFloat.
    operator float() const
    {
        return m_eType == eDataReal ? m_fValue : (m_eType == eDataInteger ? float(m_nValue) : ConvertToFloat());
    }
    /// The float conversion widened: a Real holds single precision only.
    operator double() const { return float(*this); }
    /// The text of a string type, else ConvertToString.
    operator std::string() const { return IsStringType(m_eType) ? *m_pString : ConvertToString(); }
    /// The referenced object when the type is exactly that kind, else null (no cross-kind casts).
    ///@{
    operator QelInput*() const { return m_eType == eDataInputObject ? m_pInput : nullptr; }
    operator QelDisplayObject*() const { return m_eType == eDataDisplayObject ? m_pDisplayObject : nullptr; }
    operator QelDisplaySystem*() const { return m_eType == eDataDisplaySystem ? m_pDisplaySystem : nullptr; }
    operator QelManipulator*() const { return m_eType == eDataManipulatorObject ? m_pManipulator : nullptr; }
    operator QelPropertyContainer*() const { return m_eType == eDataContainerObject ? m_pContainer : nullptr; }
    ///@}
    /// The same as GetAsWindowsVariant.
    operator QelAutomationVariant() const { return GetAsWindowsVariant(); }

    /// Values of different types are never equal nor ordered; no conversion is tried.
    bool operator==(const QelVariant& other) const;
    /// The negation of ==, so values of different types are always unequal.
    bool operator!=(const QelVariant& other) const { return !(*this == other); }
    /// Ordering within one type (numbers, text by bytes, colors as integers, object addresses);
    /// false across types, and for a type with no order, which is reported as an error.
    ///@{
    bool operator<(const QelVariant& other) const;
    bool operator>(const QelVariant& other) const;
    bool operator<=(const QelVariant& other) const;
    bool operator>=(const QelVariant& other) const;
    ///@}

    /// The value as an automation value (objects pass as a Boolean "not null").
    QelAutomationVariant GetAsWindowsVariant() const;

    // Conversions from the stored type, whatever it is; used by properties and histories too.
    /// True for a non-zero number, and for the texts "1" and "true" in any letter case; else false.
    bool ConvertToBool() const;
    /// Saturates at the int range (with a warning) where the number does not fit.
    int ConvertToInt() const;
    /// Booleans give 0 or 1, text is read with ParseFloat; objects and colors give 0.
    float ConvertToFloat() const;
    /// The Color payload; any other type gives opaque white rather than a guessed color.
    QelPackedColor ConvertToColor() const { return m_eType == eDataColor ? m_nColor : 0xFFFFFFFFu; }
    /// "true"/"false", integers in decimal, reals with "%g"; objects and colors give empty text.
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
