#pragma once

#include "qel/platform/QelExport.h"

#include <cmath>
#include <cstdlib>
#include <string>

/// Two-component integer vector: pixel positions and sizes.
/// Sums, differences and products wrap modulo 2^32 as the hardware does, but with defined
/// behaviour; lengths, distances, angles and comparisons are computed in 64 bits (or double), so
/// they stay right over the whole int range.
class QEL_EXPORT QelIVec2
{
public:
    /// The components, contiguous, so the vector passes as an int[2].
    ///@{
    int x, y;
    ///@}

    /// The zero vector by default, else the two components given.
    ///@{
    constexpr QelIVec2() : x(0), y(0) {}
    constexpr QelIVec2(const int& nX, const int& nY) : x(nX), y(nY) {}
    ///@}
    /// Reads two ints; a null pointer gives the zero vector.
    explicit QelIVec2(const int* pn) : x(pn ? pn[0] : 0), y(pn ? pn[1] : 0) {}

    /// Shared constants: (0, 0), (1, 1) and the two unit axes.
    ///@{
    static const QelIVec2 kZero;
    static const QelIVec2 kOne;
    static const QelIVec2 kUnitX;
    static const QelIVec2 kUnitY;
    ///@}

    /// Replaces both components.
    void Set(const int& nX, const int& nY) { x = nX; y = nY; }

    /// Address of x, for calls that take an int array (glVertex2iv and the like).
    ///@{
    operator int*() { return &x; }
    operator const int*() const { return &x; }
    ///@}

    /// Component-wise sum and difference, wrapping on overflow.
    ///@{
    QelIVec2 operator+(const QelIVec2& o) const { return QelIVec2(Wrap(U(x) + U(o.x)), Wrap(U(y) + U(o.y))); }
    QelIVec2 operator-(const QelIVec2& o) const { return QelIVec2(Wrap(U(x) - U(o.x)), Wrap(U(y) - U(o.y))); }
    QelIVec2& operator+=(const QelIVec2& o) { return *this = *this + o; }
    QelIVec2& operator-=(const QelIVec2& o) { return *this = *this - o; }
    ///@}
    /// Scaling by an integer, wrapping on overflow.
    ///@{
    QelIVec2 operator*(const int& s) const { return QelIVec2(Wrap(U(x) * U(s)), Wrap(U(y) * U(s))); }
    QelIVec2& operator*=(const int& s) { return *this = *this * s; }
    ///@}
    /// Truncates toward zero. A zero divisor (or INT_MIN / -1) would fault, so it is refused:
    /// the vector comes back unchanged and the log says so.
    QelIVec2 operator/(const int& s) const
    {
        QelIVec2 r(*this);
        r /= s;
        return r;
    }
    /// Divides in place, truncating toward zero; a zero divisor (or INT_MIN / -1) leaves the
    /// vector unchanged and logs "<error> QelIVec2 - division by %d refused, ...".
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

    /// Exact comparison of both components.
    ///@{
    bool operator==(const QelIVec2& o) const { return x == o.x && y == o.y; }
    bool operator!=(const QelIVec2& o) const { return !(*this == o); }
    ///@}
    /// Compares lengths only, exactly.
    bool operator<(const QelIVec2& o) const { return SumOfSquares() < o.SumOfSquares(); }
    /// Compares lengths only, exactly, like operator<.
    bool operator>(const QelIVec2& o) const { return SumOfSquares() > o.SumOfSquares(); }

    /// Wraps to int where the true dot product does not fit.
    int Dot(const QelIVec2& o) const
    {
        return Wrap(static_cast<unsigned int>(static_cast<unsigned long long>(static_cast<long long>(x) * o.x) +
                                              static_cast<unsigned long long>(static_cast<long long>(y) * o.y)));
    }
    /// The integer sum of squares (in 64 bits, where it always fits) converted to float.
    float MagnitudeSquared() const { return float(SumOfSquares()); }
    /// Length, from the exact sum of squares.
    float Magnitude() const { return std::sqrt(MagnitudeSquared()); }
    /// Of the true difference, which may not fit an int.
    float DistanceToSquared(const QelIVec2& o) const
    {
        const double dx = double(x) - double(o.x), dy = double(y) - double(o.y);
        return float(dx * dx + dy * dy);
    }
    /// Distance to another point, from the true difference.
    float DistanceTo(const QelIVec2& o) const { return std::sqrt(DistanceToSquared(o)); }
    /// Unsigned angle in degrees, 0..180; 0 when either vector has zero length.
    float AngleTo(const QelIVec2& o) const;
    /// Turns counter-clockwise by fRadians; the new components are truncated toward zero.
    void Rotate(float fRadians);
    /// The smallest int, whose absolute value no int holds, gives the largest.
    QelIVec2 AbsoluteValue() const { return QelIVec2(Abs(x), Abs(y)); }
    /// Value (not index) of the largest or smallest component.
    ///@{
    int MaxAxis() const { return x > y ? x : y; }
    int MinAxis() const { return x < y ? x : y; }
    ///@}
    /// Exact equality; integers need no tolerance.
    bool Equals(const QelIVec2& o) const { return *this == o; }
    /// "(X:1, Y:2)"
    std::string String() const;

private:
    static void ReportBadDivisor(int nDivisor);
    static unsigned int U(int n) { return static_cast<unsigned int>(n); }
    /// Two's complement, as every supported compiler defines the conversion.
    static int Wrap(unsigned int n) { return static_cast<int>(n); }
    static int Abs(int n) { return n >= 0 ? n : (n == (-2147483647 - 1) ? 2147483647 : -n); }
    unsigned long long SumOfSquares() const
    {
        return static_cast<unsigned long long>(static_cast<long long>(x) * x) +
               static_cast<unsigned long long>(static_cast<long long>(y) * y);
    }
};

inline constexpr QelIVec2 QelIVec2::kZero(0, 0);
inline constexpr QelIVec2 QelIVec2::kOne(1, 1);
inline constexpr QelIVec2 QelIVec2::kUnitX(1, 0);
inline constexpr QelIVec2 QelIVec2::kUnitY(0, 1);
