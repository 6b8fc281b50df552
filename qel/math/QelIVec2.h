#pragma once

#include "qel/platform/QelExport.h"

#include <cmath>
#include <cstdlib>
#include <string>

/// Two-component integer vector: pixel positions and sizes.
class QEL_EXPORT QelIVec2
{
public:
    int x, y;

    constexpr QelIVec2() : x(0), y(0) {}
    constexpr QelIVec2(const int& nX, const int& nY) : x(nX), y(nY) {}
    /// Reads two ints; a null pointer gives the zero vector.
    explicit QelIVec2(const int* pn) : x(pn ? pn[0] : 0), y(pn ? pn[1] : 0) {}

    static const QelIVec2 kZero;
    static const QelIVec2 kOne;
    static const QelIVec2 kUnitX;
    static const QelIVec2 kUnitY;

    void Set(const int& nX, const int& nY) { x = nX; y = nY; }

    operator int*() { return &x; }
    operator const int*() const { return &x; }

    QelIVec2 operator+(const QelIVec2& o) const { return QelIVec2(x + o.x, y + o.y); }
    QelIVec2 operator-(const QelIVec2& o) const { return QelIVec2(x - o.x, y - o.y); }
    QelIVec2& operator+=(const QelIVec2& o) { x += o.x; y += o.y; return *this; }
    QelIVec2& operator-=(const QelIVec2& o) { x -= o.x; y -= o.y; return *this; }
    QelIVec2 operator*(const int& s) const { return QelIVec2(x * s, y * s); }
    QelIVec2& operator*=(const int& s) { x *= s; y *= s; return *this; }
    /// Truncates toward zero. A zero divisor (or INT_MIN / -1) would fault, so it is refused:
    /// the vector comes back unchanged and the log says so.
    QelIVec2 operator/(const int& s) const
    {
        QelIVec2 r(*this);
        r /= s;
        return r;
    }
    QelIVec2& operator/=(const int& s)
    {
        if (s == 0 || (s == -1 && (x == (-2147483647 - 1) || y == (-2147483647 - 1))))
        {
            ReportBadDivisor(s);
            return *this;
        }
        x /= s;
        y /= s;
        return *this;
    }

    bool operator==(const QelIVec2& o) const { return x == o.x && y == o.y; }
    bool operator!=(const QelIVec2& o) const { return !(*this == o); }
    /// Compares lengths only.
    bool operator<(const QelIVec2& o) const { return MagnitudeSquared() < o.MagnitudeSquared(); }
    bool operator>(const QelIVec2& o) const { return MagnitudeSquared() > o.MagnitudeSquared(); }

    int Dot(const QelIVec2& o) const { return x * o.x + y * o.y; }
    /// The integer sum of squares converted to float.
    float MagnitudeSquared() const { return float(x * x + y * y); }
    float Magnitude() const { return std::sqrt(MagnitudeSquared()); }
    float DistanceToSquared(const QelIVec2& o) const { return (*this - o).MagnitudeSquared(); }
    float DistanceTo(const QelIVec2& o) const { return (*this - o).Magnitude(); }
    /// Unsigned angle in degrees, 0..180; 0 when either vector has zero length.
    float AngleTo(const QelIVec2& o) const;
    /// Turns counter-clockwise by fRadians; the new components are truncated toward zero.
    void Rotate(float fRadians);
    QelIVec2 AbsoluteValue() const { return QelIVec2(std::abs(x), std::abs(y)); }
    int MaxAxis() const { return x > y ? x : y; }
    int MinAxis() const { return x < y ? x : y; }
    bool Equals(const QelIVec2& o) const { return *this == o; }
    /// "(X:1, Y:2)"
    std::string String() const;

private:
    static void ReportBadDivisor(int nDivisor);
};

inline constexpr QelIVec2 QelIVec2::kZero(0, 0);
inline constexpr QelIVec2 QelIVec2::kOne(1, 1);
inline constexpr QelIVec2 QelIVec2::kUnitX(1, 0);
inline constexpr QelIVec2 QelIVec2::kUnitY(0, 1);
