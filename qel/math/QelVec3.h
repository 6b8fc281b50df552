#pragma once

#include "qel/math/QelVec2.h"
#include "qel/platform/QelExport.h"
#include "qel/platform/detail/QelSimd.h"

#include <cmath>
#include <string>
#if QEL_SSE2
#include <emmintrin.h>
#endif

/// Three-component float vector: positions, directions, sizes and RGB colors.
class QEL_EXPORT QelVec3
{
public:
    /// The components, contiguous, so the vector passes to OpenGL as a float[3].
    ///@{
    float x, y, z;
    ///@}

    /// The zero vector by default, else the three components given.
    ///@{
    constexpr QelVec3() : x(0.0f), y(0.0f), z(0.0f) {}
    constexpr QelVec3(const float& fX, const float& fY, const float& fZ) : x(fX), y(fY), z(fZ) {}
    ///@}
    /// Reads three floats; a null pointer gives the zero vector.
    explicit QelVec3(const float* pf) : x(pf ? pf[0] : 0.0f), y(pf ? pf[1] : 0.0f), z(pf ? pf[2] : 0.0f) {}

    /// Shared constants: (0, 0, 0), (1, 1, 1) and the three unit axes.
    ///@{
    static const QelVec3 kZero;
    static const QelVec3 kOne;
    static const QelVec3 kUnitX;
    static const QelVec3 kUnitY;
    static const QelVec3 kUnitZ;
    ///@}

    /// Replaces all three components.
    void Set(const float& fX, const float& fY, const float& fZ) { x = fX; y = fY; z = fZ; }
    /// Sets x and y; z is untouched.
    void Set(const float& fX, const float& fY) { x = fX; y = fY; }
    /// Sets all three components to f.
    void Set(const float& f) { x = y = z = f; }

    /// Address of x, for calls that take a float array (glVertex3fv and the like).
    ///@{
    operator float*() { return &x; }
    operator const float*() const { return &x; }
    ///@}

    /// Component-wise sum and difference.
    ///@{
    QelVec3 operator+(const QelVec3& o) const { return QelVec3(x + o.x, y + o.y, z + o.z); }
    QelVec3 operator-(const QelVec3& o) const { return QelVec3(x - o.x, y - o.y, z - o.z); }
    QelVec3& operator+=(const QelVec3& o) { x += o.x; y += o.y; z += o.z; return *this; }
    QelVec3& operator-=(const QelVec3& o) { x -= o.x; y -= o.y; z -= o.z; return *this; }
    ///@}
    /// With a 2D vector only x and y change; z is kept.
    QelVec3 operator+(const QelVec2& o) const { return QelVec3(x + o.x, y + o.y, z); }
    /// Subtracts a 2D vector from x and y; z is kept.
    QelVec3 operator-(const QelVec2& o) const { return QelVec3(x - o.x, y - o.y, z); }
    /// Copies x and y; z is kept.
    QelVec3& operator=(const QelVec2& o) { x = o.x; y = o.y; return *this; }
    /// Scaling by a scalar; division multiplies by 1/s, so a zero divisor gives infinities, not a fault.
    ///@{
    QelVec3 operator*(const float& s) const { return QelVec3(x * s, y * s, z * s); }
    QelVec3 operator/(const float& s) const { const float r = 1.0f / s; return QelVec3(x * r, y * r, z * r); }
    QelVec3& operator*=(const float& s) { x *= s; y *= s; z *= s; return *this; }
    QelVec3& operator/=(const float& s) { const float r = 1.0f / s; x *= r; y *= r; z *= r; return *this; }
    ///@}
    /// Cross product, the same as Cross.
    QelVec3 operator*(const QelVec3& o) const { return Cross(o); }

    /// Exact comparison of every component; use Equals for a tolerance.
    ///@{
    bool operator==(const QelVec3& o) const { return x == o.x && y == o.y && z == o.z; }
    bool operator!=(const QelVec3& o) const { return !(*this == o); }
    ///@}
    /// Compares lengths only: a longer vector is "greater" whatever its direction.
    int operator<(const QelVec3& o) const { return MagnitudeSquared() < o.MagnitudeSquared(); }
    /// Compares lengths only, like operator<.
    int operator>(const QelVec3& o) const { return MagnitudeSquared() > o.MagnitudeSquared(); }

    /// Dot product; for unit vectors the cosine of the angle between them.
    float Dot(const QelVec3& o) const { return x * o.x + y * o.y + z * o.z; }
    /// Right-handed cross product, perpendicular to both; its length is the area of their parallelogram.
    QelVec3 Cross(const QelVec3& o) const
    {
        return QelVec3(y * o.z - z * o.y, z * o.x - x * o.z, x * o.y - y * o.x);
    }
    /// Length and its square; the square avoids a root when only comparing.
    ///@{
    float MagnitudeSquared() const { return x * x + y * y + z * z; }
    float Magnitude() const { return std::sqrt(MagnitudeSquared()); }
    ///@}
    /// Distance to another point and its square.
    ///@{
    float DistanceToSquared(const QelVec3& o) const { return (*this - o).MagnitudeSquared(); }
    float DistanceTo(const QelVec3& o) const { return (*this - o).Magnitude(); }
    ///@}
    /// Scales to unit length; a zero vector stays as it is.
    void Normalize()
    {
        // A select rather than a branch: the result then stays in registers in callers' loops.
        const float fSq = MagnitudeSquared();
        const float fScale = fSq != 0.0f ? 1.0f / SquareRoot(fSq) : 1.0f;
        *this *= fScale;
    }
    /// Normalizes in place and returns the result, so a zero vector comes back unchanged.
    QelVec3 NormalizeWithReturn()
    {
        Normalize();
        return *this;
    }
    /// Unsigned angle in degrees, 0..180; 0 when either vector has zero length.
    float AngleTo(const QelVec3& o) const;
    /// Copy with the absolute value of each component.
    QelVec3 AbsoluteValue() const { return QelVec3(std::fabs(x), std::fabs(y), std::fabs(z)); }
    /// Value (not index) of the largest component.
    float MaxAxis() const
    {
        const float m = x > y ? x : y;
        return m > z ? m : z;
    }
    /// Ties fall to the later component (z before y before x).
    float MinAxis() const
    {
        if (y > x && z > x)
            return x;
        if (x > y && z > y)
            return y;
        return z;
    }
    /// Tolerance 0: exact; otherwise every |difference| < fTolerance.
    bool Equals(const QelVec3& o, float fTolerance) const
    {
        if (fTolerance == 0.0f)
            return *this == o;
        return std::fabs(x - o.x) < fTolerance && std::fabs(y - o.y) < fTolerance && std::fabs(z - o.z) < fTolerance;
    }
    /// "(X:1, Y:2.5, Z:0)"
    std::string String() const;

private:
    /// The correctly rounded square root of a sum of squares. On x86 the instruction itself:
    /// std::sqrt adds a test and an error-reporting call for negative input, which a sum of
    /// squares never is, to every normalisation.
    static float SquareRoot(float f)
    {
#if QEL_SSE2
        return _mm_cvtss_f32(_mm_sqrt_ss(_mm_set1_ps(f)));
#else
        return std::sqrt(f);
#endif
    }
};

inline constexpr QelVec3 QelVec3::kZero(0.0f, 0.0f, 0.0f);
inline constexpr QelVec3 QelVec3::kOne(1.0f, 1.0f, 1.0f);
inline constexpr QelVec3 QelVec3::kUnitX(1.0f, 0.0f, 0.0f);
inline constexpr QelVec3 QelVec3::kUnitY(0.0f, 1.0f, 0.0f);
inline constexpr QelVec3 QelVec3::kUnitZ(0.0f, 0.0f, 1.0f);
