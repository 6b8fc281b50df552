#pragma once

#include "qel/math/QelVec3.h"
#include "qel/math/QelVec4.h"
#include "qel/platform/QelExport.h"
#include "qel/platform/QelTypes.h"

#include <cstdint>
#include <cstring>
#include <string>

/// Float color component to byte: c * 255 truncated toward zero, low 8 bits kept. No rounding
/// and no clamping (1.5 wraps to 126); deliberate, packed colors of saved documents depend on it.
/// Values whose integer part is beyond 64 bits (and NaN) give 0 rather than undefined behaviour.
inline unsigned char QelColorByte(float fComponent)
{
    const float f = fComponent * 255.0f;
    if (!(f > -9.2e18f && f < 9.2e18f))
        return 0;
    return static_cast<unsigned char>(static_cast<uint64_t>(static_cast<int64_t>(f)) & 0xFFu);
}

/// Packs a float color: red | green << 8 | blue << 16 | alpha << 24.
inline QelPackedColor ColorToDW(float fRed, float fGreen, float fBlue, float fAlpha)
{
    return QelPackedColor(QelColorByte(fRed)) | QelPackedColor(QelColorByte(fGreen)) << 8 |
           QelPackedColor(QelColorByte(fBlue)) << 16 | QelPackedColor(QelColorByte(fAlpha)) << 24;
}

/// Packs four floats (red, green, blue, alpha); a null pointer packs to 0.
inline QelPackedColor ColorToDW(const float* pfRgba)
{
    return pfRgba ? ColorToDW(pfRgba[0], pfRgba[1], pfRgba[2], pfRgba[3]) : 0u;
}

/// Unpacks a packed color into four floats (red, green, blue, alpha), each byte / 255.
inline void ColorDWToFloat(QelPackedColor nColor, float* pfRgba)
{
    if (!pfRgba)
        return;
    for (int i = 0; i < 4; ++i)
        pfRgba[i] = float((nColor >> (8 * i)) & 0xFF) / 255.0f;
}

/// Four-byte color (red, green, blue, alpha in memory order); read as one little-endian word it is
/// a packed color with red in the low byte.
class QEL_EXPORT QelVecColor
{
public:
    /// The bytes red, green, blue, alpha, contiguous and 4-aligned so that they read as one packed word.
    ///@{
    alignas(4) unsigned char r;
    unsigned char g, b, a;
    ///@}

    /// All zero (transparent black) by default, else the four bytes given.
    ///@{
    constexpr QelVecColor() : r(0), g(0), b(0), a(0) {}
    constexpr QelVecColor(unsigned char nRed, unsigned char nGreen, unsigned char nBlue, unsigned char nAlpha)
        : r(nRed), g(nGreen), b(nBlue), a(nAlpha)
    {
    }
    ///@}
    /// Integers are bytes too (low 8 bits kept); this overload keeps QelVecColor(255, 0, 0, 255) unambiguous.
    constexpr QelVecColor(int nRed, int nGreen, int nBlue, int nAlpha)
        : r((unsigned char)(nRed & 0xFF)), g((unsigned char)(nGreen & 0xFF)), b((unsigned char)(nBlue & 0xFF)),
          a((unsigned char)(nAlpha & 0xFF))
    {
    }
    /// Floats are converted by truncation with wrap-around (see QelColorByte).
    QelVecColor(float fRed, float fGreen, float fBlue, float fAlpha)
        : r(QelColorByte(fRed)), g(QelColorByte(fGreen)), b(QelColorByte(fBlue)), a(QelColorByte(fAlpha))
    {
    }
    /// Doubles convert as floats; keeps QelVecColor(1.0, 0.5, 0.0, 1.0) unambiguous.
    QelVecColor(double fRed, double fGreen, double fBlue, double fAlpha)
        : QelVecColor(float(fRed), float(fGreen), float(fBlue), float(fAlpha))
    {
    }
    /// Reads four bytes; a null pointer gives (0, 0, 0, 0).
    explicit QelVecColor(const unsigned char* pn)
        : r(pn ? pn[0] : 0), g(pn ? pn[1] : 0), b(pn ? pn[2] : 0), a(pn ? pn[3] : 0)
    {
    }
    /// From a packed word, red in the low byte.
    explicit QelVecColor(QelPackedColor nColor)
        : r(nColor & 0xFF), g((nColor >> 8) & 0xFF), b((nColor >> 16) & 0xFF), a((nColor >> 24) & 0xFF)
    {
    }

    /// Address of the red byte, for glColor4ubv and the like.
    ///@{
    operator unsigned char*() { return &r; }
    operator const unsigned char*() const { return &r; }
    ///@}
    /// The four bytes read as one packed word (red low), the layout OpenGL takes as GL_RGBA bytes.
    operator QelPackedColor*() { return reinterpret_cast<QelPackedColor*>(&r); }
    /// Read-only form of the packed word.
    operator const QelPackedColor*() const { return reinterpret_cast<const QelPackedColor*>(&r); }

    /// Exact comparison of the four bytes.
    ///@{
    bool operator==(const QelVecColor& o) const { return ToABGR() == o.ToABGR(); }
    bool operator!=(const QelVecColor& o) const { return !(*this == o); }
    ///@}

    /// A component as a float in [0, 1]: byte / 255.
    ///@{
    float GetRed() const { return float(r) / 255.0f; }
    float GetGreen() const { return float(g) / 255.0f; }
    float GetBlue() const { return float(b) / 255.0f; }
    float GetAlpha() const { return float(a) / 255.0f; }
    ///@}
    /// Sets one component from a float, truncated with wrap-around as QelColorByte does (no
    /// clamping: 1.5 stores 126).
    ///@{
    void SetRed(float f) { r = QelColorByte(f); }
    void SetGreen(float f) { g = QelColorByte(f); }
    void SetBlue(float f) { b = QelColorByte(f); }
    void SetAlpha(float f) { a = QelColorByte(f); }
    ///@}
    /// Sets all four components from floats, converted as the setters do.
    void Set(float fRed, float fGreen, float fBlue, float fAlpha) { *this = QelVecColor(fRed, fGreen, fBlue, fAlpha); }

    /// The float color, each byte / 255; the 3-vector drops alpha.
    ///@{
    QelVec3 ToQelVec3() const { return QelVec3(GetRed(), GetGreen(), GetBlue()); }
    QelVec4 ToQelVec4() const { return QelVec4(GetRed(), GetGreen(), GetBlue(), GetAlpha()); }
    ///@}

    /// alpha << 24 | red << 16 | green << 8 | blue.
    QelPackedColor ToARGB() const
    {
        return QelPackedColor(a) << 24 | QelPackedColor(r) << 16 | QelPackedColor(g) << 8 | QelPackedColor(b);
    }
    /// The stored word unchanged: red in the low byte.
    QelPackedColor ToABGR() const
    {
        return QelPackedColor(r) | QelPackedColor(g) << 8 | QelPackedColor(b) << 16 | QelPackedColor(a) << 24;
    }
    /// blue << 24 | green << 16 | red << 8 | alpha.
    QelPackedColor ToBGRA() const
    {
        return QelPackedColor(b) << 24 | QelPackedColor(g) << 16 | QelPackedColor(r) << 8 | QelPackedColor(a);
    }

    /// "(R:255, G:127, B:0, A:255)"
    std::string String() const;
};
