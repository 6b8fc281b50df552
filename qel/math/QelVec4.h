#pragma once

#include "qel/platform/QelExport.h"
#include "qel/platform/QelTypes.h"

#include <cmath>
#include <string>
#include <vector>

/// Four-component float vector; also the library's float color (red, green, blue, alpha).
class QEL_EXPORT QelVec4
{
public:
    /// The components, contiguous; as a color red, green, blue and alpha, passed to OpenGL as a float[4].
    ///@{
    float x, y, z, w;
    ///@}

    /// The zero vector by default, else the four components given.
    ///@{
    constexpr QelVec4() : x(0.0f), y(0.0f), z(0.0f), w(0.0f) {}
    constexpr QelVec4(const float& fX, const float& fY, const float& fZ, const float& fW)
        : x(fX), y(fY), z(fZ), w(fW)
    {
    }
    ///@}
    /// Reads four floats; a null pointer gives the zero vector.
    explicit QelVec4(const float* pf)
        : x(pf ? pf[0] : 0.0f), y(pf ? pf[1] : 0.0f), z(pf ? pf[2] : 0.0f), w(pf ? pf[3] : 0.0f)
    {
    }
    /// From a packed color (red in the low byte); alpha from the word when bUseAlpha, else exactly 1.
    QelVec4(QelPackedColor nColor, bool bUseAlpha) { Set(nColor, bUseAlpha); }

    /// Shared constants: all 0, all 1 and the four unit axes.
    ///@{
    static const QelVec4 kZero;
    static const QelVec4 kOne;
    static const QelVec4 kUnitX;
    static const QelVec4 kUnitY;
    static const QelVec4 kUnitZ;
    static const QelVec4 kUnitW;
    ///@}

    /// Replaces all four components.
    void Set(const float& fX, const float& fY, const float& fZ, const float& fW) { x = fX; y = fY; z = fZ; w = fW; }
    /// Unpacks a packed color (red in the low byte), each byte / 255; alpha from the word when
    /// bUseAlpha, else exactly 1.
    void Set(QelPackedColor nColor, bool bUseAlpha)
    {
        x = float(nColor & 0xFF) / 255.0f;
        y = float((nColor >> 8) & 0xFF) / 255.0f;
        z = float((nColor >> 16) & 0xFF) / 255.0f;
        w = bUseAlpha ? float((nColor >> 24) & 0xFF) / 255.0f : 1.0f;
    }

    /// Address of x, for calls that take a float array (glColor4fv, glLightfv and the like).
    ///@{
    operator float*() { return &x; }
    operator const float*() const { return &x; }
    ///@}

    /// Component-wise sum and difference.
    ///@{
    QelVec4 operator+(const QelVec4& o) const { return QelVec4(x + o.x, y + o.y, z + o.z, w + o.w); }
    QelVec4 operator-(const QelVec4& o) const { return QelVec4(x - o.x, y - o.y, z - o.z, w - o.w); }
    QelVec4& operator+=(const QelVec4& o) { x += o.x; y += o.y; z += o.z; w += o.w; return *this; }
    QelVec4& operator-=(const QelVec4& o) { x -= o.x; y -= o.y; z -= o.z; w -= o.w; return *this; }
    ///@}
    /// Scaling by a scalar; division multiplies by 1/s, so a zero divisor gives infinities, not a fault.
    ///@{
    QelVec4 operator*(const float& s) const { return QelVec4(x * s, y * s, z * s, w * s); }
    QelVec4 operator/(const float& s) const { const float r = 1.0f / s; return *this * r; }
    QelVec4& operator*=(const float& s) { x *= s; y *= s; z *= s; w *= s; return *this; }
    QelVec4& operator/=(const float& s) { const float r = 1.0f / s; return *this *= r; }
    ///@}

    /// Exact comparison of every component; use Equals for a tolerance.
    ///@{
    bool operator==(const QelVec4& o) const { return x == o.x && y == o.y && z == o.z && w == o.w; }
    bool operator!=(const QelVec4& o) const { return !(*this == o); }
    ///@}

    /// Length over all four components and its square.
    ///@{
    float MagnitudeSquared() const { return x * x + y * y + z * z + w * w; }
    float Magnitude() const { return std::sqrt(MagnitudeSquared()); }
    ///@}
    /// Scales to unit length; a zero vector stays as it is.
    void Normalize()
    {
        // A select rather than a branch: the result then stays in registers in callers' loops.
        const float fSq = MagnitudeSquared();
        const float fScale = fSq != 0.0f ? 1.0f / std::sqrt(fSq) : 1.0f;
        *this *= fScale;
    }
    /// Copy with the absolute value of each component.
    QelVec4 AbsoluteValue() const { return QelVec4(std::fabs(x), std::fabs(y), std::fabs(z), std::fabs(w)); }
    /// x if it is strictly the greatest, else y, else z likewise, else w.
    float MaxAxis() const
    {
        if (x > y && x > z && x > w)
            return x;
        if (y > x && y > z && y > w)
            return y;
        if (z > x && z > y && z > w)
            return z;
        return w;
    }
    /// x if it is strictly the smallest, else y, else z likewise, else w.
    float MinAxis() const
    {
        if (x < y && x < z && x < w)
            return x;
        if (y < x && y < z && y < w)
            return y;
        if (z < x && z < y && z < w)
            return z;
        return w;
    }
    /// Tolerance 0: exact; otherwise every |difference| < fTolerance.
    bool Equals(const QelVec4& o, float fTolerance) const
    {
        if (fTolerance == 0.0f)
            return *this == o;
        return std::fabs(x - o.x) < fTolerance && std::fabs(y - o.y) < fTolerance &&
               std::fabs(z - o.z) < fTolerance && std::fabs(w - o.w) < fTolerance;
    }
    /// "(X:1, Y:2, Z:3, W:4)"
    std::string String() const;

    /// Writes hue (degrees), saturation, value and the unchanged alpha to pfHsva[0..3].
    void ConvertRgbToHsv(float* pfHsva) const;
    /// Reads this vector as hue, saturation, value, alpha and writes red, green, blue, alpha.
    void ConvertHsvToRgb(float* pfRgba) const;
    /// Sets this to a fully saturated, opaque color whose hue stands far from the given colors'.
    void MakeBestColor(const std::vector<QelVec4>& vExisting);
};

inline constexpr QelVec4 QelVec4::kZero(0.0f, 0.0f, 0.0f, 0.0f);
inline constexpr QelVec4 QelVec4::kOne(1.0f, 1.0f, 1.0f, 1.0f);
inline constexpr QelVec4 QelVec4::kUnitX(1.0f, 0.0f, 0.0f, 0.0f);
inline constexpr QelVec4 QelVec4::kUnitY(0.0f, 1.0f, 0.0f, 0.0f);
inline constexpr QelVec4 QelVec4::kUnitZ(0.0f, 0.0f, 1.0f, 0.0f);
inline constexpr QelVec4 QelVec4::kUnitW(0.0f, 0.0f, 0.0f, 1.0f);
