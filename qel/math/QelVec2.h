#pragma once

#include "qel/platform/QelExport.h"

#include <cmath>
#include <string>

/// Two-component float vector: positions and sizes on screen and in the sandbox.
class QEL_EXPORT QelVec2
{
public:
    /// The components, contiguous, so the vector passes to OpenGL as a float[2].
    ///@{
    float x, y;
    ///@}

    /// The zero vector by default, else the two components given.
    ///@{
    constexpr QelVec2() : x(0.0f), y(0.0f) {}
    constexpr QelVec2(const float& fX, const float& fY) : x(fX), y(fY) {}
    ///@}
    /// Reads two floats; a null pointer gives the zero vector.
    explicit QelVec2(const float* pf) : x(pf ? pf[0] : 0.0f), y(pf ? pf[1] : 0.0f) {}

    /// Shared constants: (0, 0), (1, 1) and the two unit axes.
    ///@{
    static const QelVec2 kZero;
    static const QelVec2 kOne;
    static const QelVec2 kUnitX;
    static const QelVec2 kUnitY;
    ///@}

    /// Replaces both components.
    void Set(const float& fX, const float& fY) { x = fX; y = fY; }

    /// Address of x, for calls that take a float array (glVertex2fv and the like).
    ///@{
    operator float*() { return &x; }
    operator const float*() const { return &x; }
    ///@}

    /// Component-wise sum and difference.
    ///@{
    QelVec2 operator+(const QelVec2& o) const { return QelVec2(x + o.x, y + o.y); }
    QelVec2 operator-(const QelVec2& o) const { return QelVec2(x - o.x, y - o.y); }
    QelVec2& operator+=(const QelVec2& o) { x += o.x; y += o.y; return *this; }
    QelVec2& operator-=(const QelVec2& o) { x -= o.x; y -= o.y; return *this; }
    ///@}
    /// Scaling by a scalar; division multiplies by 1/s, so a zero divisor gives infinities, not a fault.
    ///@{
    QelVec2 operator*(const float& s) const { return QelVec2(x * s, y * s); }
    QelVec2 operator/(const float& s) const { const float r = 1.0f / s; return QelVec2(x * r, y * r); }
    QelVec2& operator*=(const float& s) { x *= s; y *= s; return *this; }
    QelVec2& operator/=(const float& s) { const float r = 1.0f / s; x *= r; y *= r; return *this; }
    ///@}

    /// Exact comparison of both components; use Equals for a tolerance.
    ///@{
    bool operator==(const QelVec2& o) const { return x == o.x && y == o.y; }
    bool operator!=(const QelVec2& o) const { return !(*this == o); }
    ///@}
    /// Compares lengths only: a longer vector is "greater" whatever its direction.
    int operator<(const QelVec2& o) const { return MagnitudeSquared() < o.MagnitudeSquared(); }
    /// Compares lengths only, like operator<.
    int operator>(const QelVec2& o) const { return MagnitudeSquared() > o.MagnitudeSquared(); }

    /// Dot product; its sign tells whether the vectors point the same way.
    float Dot(const QelVec2& o) const { return x * o.x + y * o.y; }
    /// Length and its square; the square avoids a root when only comparing.
    ///@{
    float MagnitudeSquared() const { return x * x + y * y; }
    float Magnitude() const { return std::sqrt(MagnitudeSquared()); }
    ///@}
    /// Distance to another point and its square.
    ///@{
    float DistanceToSquared(const QelVec2& o) const { return (*this - o).MagnitudeSquared(); }
    float DistanceTo(const QelVec2& o) const { return (*this - o).Magnitude(); }
    ///@}
    /// Scales to unit length; a zero vector stays as it is.
    void Normalize()
    {
        // A select rather than a branch: the result then stays in registers in callers' loops.
        const float fSq = MagnitudeSquared();
        const float fScale = fSq != 0.0f ? 1.0f / std::sqrt(fSq) : 1.0f;
        *this *= fScale;
    }
    /// Unsigned angle in degrees, 0..180; 0 when either vector has zero length.
    float AngleTo(const QelVec2& o) const;
    /// Turns counter-clockwise by fRadians (radians, unlike every other angle of the library).
    void Rotate(float fRadians)
    {
        const float c = std::cos(fRadians), s = std::sin(fRadians);
        const float fX = x * c - y * s;
        y = x * s + y * c;
        x = fX;
    }
    /// Copy with the absolute value of each component.
    QelVec2 AbsoluteValue() const { return QelVec2(std::fabs(x), std::fabs(y)); }
    /// Value (not index) of the largest or smallest component.
    ///@{
    float MaxAxis() const { return x > y ? x : y; }
    float MinAxis() const { return x < y ? x : y; }
    ///@}
    /// With a non-zero tolerance only the signed sum of the differences is tested, so opposite
    /// differences cancel. Deliberate: callers rely on this loose test, keep it.
    bool Equals(const QelVec2& o, float fTolerance) const
    {
        if (fTolerance == 0.0f)
            return *this == o;
        return (x - o.x) + (y - o.y) < fTolerance;
    }
    /// "(X:1, Y:2.5)"
    std::string String() const;
};

inline constexpr QelVec2 QelVec2::kZero(0.0f, 0.0f);
inline constexpr QelVec2 QelVec2::kOne(1.0f, 1.0f);
inline constexpr QelVec2 QelVec2::kUnitX(1.0f, 0.0f);
inline constexpr QelVec2 QelVec2::kUnitY(0.0f, 1.0f);
