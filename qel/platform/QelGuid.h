#pragma once

#include "qel/platform/QelExport.h"

#include <cstdint>
#include <string>

#if defined(_WIN32)
#  include <guiddef.h>
#else
/// Object identifier with the Windows layout: one 32-bit, two 16-bit fields and eight bytes.
struct GUID
{
    /// The fields in the Windows layout, so that saved identifiers read the same everywhere.
    ///@{
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
    ///@}
};
#endif

/// The all-zero identifier, used for "no object".
inline constexpr GUID kZeroGUID = {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};

/// Fills pGuid with a new random identifier; returns false only when pGuid is null.
QEL_EXPORT bool QelCreateGuid(GUID* pGuid);

/// Text form "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" in upper-case hex, as the registry writes it.
QEL_EXPORT std::string QelGuidToString(const GUID& guid);

/// Parses the text form with or without braces; returns false and leaves guid alone on bad text.
QEL_EXPORT bool QelGuidFromString(const std::string& strText, GUID& guid);

/// Total order over identifiers (field by field), for use as a map key.
QEL_EXPORT int QelGuidCompare(const GUID& a, const GUID& b);

#if !defined(_WIN32)
/// Identifiers are equal when all sixteen bytes are.
///@{
inline bool operator==(const GUID& a, const GUID& b) { return QelGuidCompare(a, b) == 0; }
inline bool operator!=(const GUID& a, const GUID& b) { return QelGuidCompare(a, b) != 0; }
///@}
#endif
/// The order of QelGuidCompare, so that identifiers key a std::map or std::set.
inline bool operator<(const GUID& a, const GUID& b) { return QelGuidCompare(a, b) < 0; }
