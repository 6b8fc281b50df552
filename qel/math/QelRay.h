#pragma once

#include "qel/math/QelVec3.h"
#include "qel/platform/QelExport.h"

#include <cmath>
#include <string>

/// A start point and a direction (not necessarily of unit length): picking rays and axes.
class QEL_EXPORT QelRay
{
public:
    /// Where the ray begins; hits at or behind it are misses in every ray test.
    QelVec3 m_vecStart;
    /// Direction, any length; the hit parameters of the ray tests are in units of it.
    QelVec3 m_vecDirection;

    /// The zero ray by default, else the start and direction given.
    ///@{
    QelRay() = default;
    QelRay(const QelVec3& vStart, const QelVec3& vDirection) : m_vecStart(vStart), m_vecDirection(vDirection) {}
    void Set(const QelVec3& vStart, const QelVec3& vDirection)
    {
        m_vecStart = vStart;
        m_vecDirection = vDirection;
    }
    ///@}

    /// Exact comparison of start and direction.
    ///@{
    bool operator==(const QelRay& o) const { return m_vecStart == o.m_vecStart && m_vecDirection == o.m_vecDirection; }
    bool operator!=(const QelRay& o) const { return !(*this == o); }
    ///@}

    /// Exact: the directions are equal or exact negations; (1,0,0) and (2,0,0) are not parallel.
    bool IsParallelTo(const QelRay& o) const
    {
        return m_vecDirection == o.m_vecDirection || m_vecDirection == o.m_vecDirection * -1.0f;
    }
    /// The angle between the directions is within 0.05 degrees of 90.
    bool IsPerpendicularTo(const QelRay& o) const
    {
        return std::fabs(m_vecDirection.AngleTo(o.m_vecDirection) - 90.0f) < 0.05f;
    }
    /// Foot of the perpendicular from vPoint onto the infinite line (not clamped to the ray).
    /// A zero direction gives the start.
    QelVec3 PerpendicularBisector(const QelVec3& vPoint) const
    {
        const float fLenSq = m_vecDirection.MagnitudeSquared();
        if (fLenSq == 0.0f)
            return m_vecStart;
        return m_vecStart + m_vecDirection * ((vPoint - m_vecStart).Dot(m_vecDirection) / fLenSq);
    }

    /// "{ Start    :(X:..),\n  Direction:(X:..) }\n"
    std::string String() const;
};
