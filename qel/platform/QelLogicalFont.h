#pragma once

#include "qel/platform/QelExport.h"

#include <string>

/// The font a host asks for, described as a Windows host describes one: face name, height, weight
/// and italic. The other fields of a Windows logical font (width, escapement, charset, pitch) have no
/// counterpart in the font lookup and are left out.
class QEL_EXPORT QelLogicalFont
{
public:
    /// Weights on the 1..1000 scale that Windows and OpenType share.
    enum EWeight
    {
        eWeightDontCare = 0,
        eWeightThin = 100,
        eWeightLight = 300,
        eWeightNormal = 400,
        eWeightMedium = 500,
        eWeightSemiBold = 600,
        eWeightBold = 700,
        eWeightBlack = 900
    };

    /// The default sans-serif family, 16 pixels, normal weight, upright.
    QelLogicalFont() = default;
    /// A font by face, height in pixels, weight (1..1000, 0 for the font's own) and slant.
    QelLogicalFont(const std::string& strFaceName, int nHeight, int nWeight = eWeightNormal, bool bItalic = false);

    /// Equal when every field is; face names compare exactly, case included.
    ///@{
    bool operator==(const QelLogicalFont& other) const;
    bool operator!=(const QelLogicalFont& other) const { return !(*this == other); }
    ///@}
    /// Orders by every field, so that records can key a map.
    bool operator<(const QelLogicalFont& other) const;

    /// Family name, e.g. "DejaVu Sans"; empty asks for the default sans-serif family.
    std::string m_strFaceName;
    /// Em height in pixels. Unlike a Windows record, a negative height has no meaning: zero and
    /// negative heights are refused when the font is looked up.
    int m_nHeight = 16;
    /// 0 leaves the weight to the font; 1..1000 otherwise (see EWeight).
    int m_nWeight = eWeightNormal;
    /// True asks for the italic (or oblique) style.
    bool m_bItalic = false;
};
