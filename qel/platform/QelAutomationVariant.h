#pragma once

#include "qel/platform/QelExport.h"

#include <cstdint>
#include <string>

#if defined(_WIN32)
#  include <comutil.h>
#endif

/// Type codes of automation values, with the numbers of the Windows VARTYPE they stand for.
enum EAutomationType : unsigned short
{
    eVtEmpty = 0,
    eVtI4 = 3,
    eVtR4 = 4,
    eVtR8 = 5,
    eVtBstr = 8,
    eVtBool = 11,
    eVtUI4 = 19,
    eVtInt = 22
};

/// The automation value exchanged with a host's scripting layer: a VARTYPE code and its payload,
/// text kept as wide characters. On Windows it converts to and from the real `_variant_t`.
class QEL_EXPORT QelAutomationVariant
{
public:
    /// An empty value (eVtEmpty).
    QelAutomationVariant() = default;
    /// A value of any type code with a zero payload; codes outside the supported set stay as given.
    explicit QelAutomationVariant(unsigned short nType) : m_nType(nType) {}

    /// A value of the named type: VT_I4 and VT_INT (a 32-bit int), VT_R4 (float), VT_R8 (double).
    ///@{
    static QelAutomationVariant MakeI4(int32_t nValue);
    static QelAutomationVariant MakeInt(int nValue);
    static QelAutomationVariant MakeR4(float fValue);
    static QelAutomationVariant MakeR8(double dValue);
    ///@}
    /// VT_BOOL: true is stored as -1, false as 0.
    static QelAutomationVariant MakeBool(bool bValue);
    /// VT_UI4: an unsigned 32-bit int.
    static QelAutomationVariant MakeUI4(uint32_t nValue);
    /// VT_BSTR from UTF-8 text.
    static QelAutomationVariant MakeText(const std::string& strUtf8);
    /// VT_BSTR from wide text.
    static QelAutomationVariant MakeWide(const std::wstring& strWide);

    /// The VARTYPE code (see EAutomationType); the payload getters below read the member of
    /// that type, so call the one that matches.
    unsigned short GetType() const { return m_nType; }
    /// The integer payload of VT_I4 or VT_INT.
    int GetInt() const { return m_nInt; }
    /// The VT_R4 or VT_R8 payload.
    ///@{
    float GetR4() const { return m_fR4; }
    double GetR8() const { return m_dR8; }
    ///@}
    /// The VARIANT_BOOL payload: -1 for true, 0 for false.
    short GetBoolValue() const { return m_nBool; }
    /// The VT_UI4 payload.
    uint32_t GetUI4() const { return m_nUI4; }
    /// The VT_BSTR text as wide characters.
    const std::wstring& GetWide() const { return m_strWide; }
    /// The VT_BSTR text as UTF-8.
    std::string GetText() const { return WideToUtf8(m_strWide); }

    /// Changes the value in place to the given type as the automation runtime would for numbers,
    /// booleans and empty values (an empty value becomes zero). Returns false, leaving the value
    /// unchanged, for conversions from or to text and unknown codes.
    bool ChangeType(unsigned short nType);

    /// UTF-8 to wide characters (UTF-16 or UTF-32 by the platform's wchar_t); bad bytes become U+FFFD.
    static std::wstring Utf8ToWide(const std::string& strUtf8);
    /// Wide characters to UTF-8; unpaired surrogates and values past U+10FFFF become U+FFFD.
    static std::string WideToUtf8(const std::wstring& strWide);

#if defined(_WIN32)
    QelAutomationVariant(const _variant_t& varValue);
    operator _variant_t() const;
#endif

private:
    unsigned short m_nType = eVtEmpty;
    union
    {
        int m_nInt = 0;
        float m_fR4;
        double m_dR8;
        short m_nBool;
        uint32_t m_nUI4;
    };
    std::wstring m_strWide;
};
