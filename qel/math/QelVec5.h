#pragma once

#include "qel/platform/QelExport.h"

#include <cmath>
#include <string>

/// Five-component float vector (x, y, z, w and a fifth value).
class QEL_EXPORT QelVec5
{
public:
    /// The components, contiguous, so the vector passes as a float[5].
    ///@{
    float x, y, z, w, fifth;
    ///@}

    /// All zero by default, else the five components given.
    ///@{
    constexpr QelVec5() : x(0.0f), y(0.0f), z(0.0f), w(0.0f), fifth(0.0f) {}
    constexpr QelVec5(const float& fX, const float& fY, const float& fZ, const float& fW, const float& fFifth)
        : x(fX), y(fY), z(fZ), w(fW), fifth(fFifth)
    {
    }
    ///@}
    /// Reads five floats; a null pointer gives the zero vector.
    explicit QelVec5(const float* pf)
        : x(pf ? pf[0] : 0.0f), y(pf ? pf[1] : 0.0f), z(pf ? pf[2] : 0.0f), w(pf ? pf[3] : 0.0f),
          fifth(pf ? pf[4] : 0.0f)
    {
    }

    /// Replaces all five components.
    void Set(const float& fX, const float& fY, const float& fZ, const float& fW, const float& fFifth)
    {
        x = fX; y = fY; z = fZ; w = fW; fifth = fFifth;
    }

    /// Address of x, for calls that take a float array.
    ///@{
    operator float*() { return &x; }
    operator const float*() const { return &x; }
    ///@}

    /// Component-wise sum and difference.
    ///@{
    QelVec5 operator+(const QelVec5& o) const { return QelVec5(x + o.x, y + o.y, z + o.z, w + o.w, fifth + o.fifth); }
    QelVec5 operator-(const QelVec5& o) const { return QelVec5(x - o.x, y - o.y, z - o.z, w - o.w, fifth - o.fifth); }
    QelVec5& operator+=(const QelVec5& o) { return *this = *this + o; }
    QelVec5& operator-=(const QelVec5& o) { return *this = *this - o; }
    ///@}
    /// Scaling by a scalar; division multiplies by 1/s, so a zero divisor gives infinities, not a fault.
    ///@{
    QelVec5 operator*(const float& s) const { return QelVec5(x * s, y * s, z * s, w * s, fifth * s); }
    QelVec5 operator/(const float& s) const { return *this * (1.0f / s); }
    QelVec5& operator*=(const float& s) { return *this = *this * s; }
    QelVec5& operator/=(const float& s) { return *this = *this * (1.0f / s); }
    ///@}

    /// Exact comparison of every component; use Equals for a tolerance.
    ///@{
    bool operator==(const QelVec5& o) const
    {
        return x == o.x && y == o.y && z == o.z && w == o.w && fifth == o.fifth;
    }
    bool operator!=(const QelVec5& o) const { return !(*this == o); }
    ///@}

    /// Copy with the absolute value of each component.
    QelVec5 AbsoluteValue() const
    {
        return QelVec5(std::fabs(x), std::fabs(y), std::fabs(z), std::fabs(w), std::fabs(fifth));
    }
    /// Value (not index) of the largest or smallest component.
    ///@{
    float MaxAxis() const
    {
        float m = x;
        for (float f : {y, z, w, fifth})
            m = f > m ? f : m;
        return m;
    }
    float MinAxis() const
    {
        float m = x;
        for (float f : {y, z, w, fifth})
            m = f < m ? f : m;
        return m;
    }
    ///@}
    /// Tolerance 0: exact; otherwise every |difference| < fTolerance.
    bool Equals(const QelVec5& o, float fTolerance) const
    {
        if (fTolerance == 0.0f)
            return *this == o;
        return std::fabs(x - o.x) < fTolerance && std::fabs(y - o.y) < fTolerance &&
               std::fabs(z - o.z) < fTolerance && std::fabs(w - o.w) < fTolerance &&
               std::fabs(fifth - o.fifth) < fTolerance;
    }
    /// "(X:1.000000, Y:..., Z:..., W:..., Fifth:...)"
    std::string String() const;
};
