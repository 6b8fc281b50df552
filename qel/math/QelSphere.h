#pragma once

#include "qel/math/QelRay.h"
#include "qel/math/QelVec3.h"
#include "qel/platform/QelExport.h"

#include <cmath>
#include <string>

/// A sphere: bounding volumes and culling.
class QEL_EXPORT QelSphere
{
public:
    /// The center.
    QelVec3 m_vecCenter;
    /// The radius; 0 by default, so a first ExpandAround sets it.
    float m_fRadius = 0.0f;

    /// A point sphere at the origin by default, else the center and radius given.
    ///@{
    QelSphere() = default;
    QelSphere(const QelVec3& vCenter, float fRadius) : m_vecCenter(vCenter), m_fRadius(fRadius) {}
    ///@}

    /// Exact comparison of center and radius.
    ///@{
    bool operator==(const QelSphere& o) const { return m_vecCenter == o.m_vecCenter && m_fRadius == o.m_fRadius; }
    bool operator!=(const QelSphere& o) const { return !(*this == o); }
    ///@}

    /// Keeps the center and grows the radius to reach a point outside.
    void ExpandAround(const QelVec3& p)
    {
        const float fDist = m_vecCenter.DistanceTo(p);
        if (fDist > m_fRadius)
            m_fRadius = fDist;
    }
    /// The sphere grown to reach the point (ExpandAround).
    ///@{
    QelSphere& operator+=(const QelVec3& p)
    {
        ExpandAround(p);
        return *this;
    }
    QelSphere operator+(const QelVec3& p) const
    {
        QelSphere s(*this);
        s.ExpandAround(p);
        return s;
    }
    ///@}
    /// Strictly inside.
    bool IsPointIn(const QelVec3& p) const { return m_vecCenter.DistanceToSquared(p) < m_fRadius * m_fRadius; }

    /// Nearer crossing strictly in front of the ray's start; a ray starting inside misses. The
    /// quadratic's constant term is |start - center|^2 - radius, with the radius itself rather than
    /// its square: deliberate, the hit points of existing scenes depend on it.
    bool IsRayIntersecting(const QelRay& ray, QelVec3& vPoint) const
    {
        const QelVec3& d = ray.m_vecDirection;
        const float a = d.Dot(d);
        if (a == 0.0f)
            return false;
        const QelVec3 vFoot = ray.m_vecStart + d * ((m_vecCenter - ray.m_vecStart).Dot(d) / a);
        if (vFoot.DistanceToSquared(m_vecCenter) > m_fRadius * m_fRadius)
            return false;
        const QelVec3 oc = ray.m_vecStart - m_vecCenter;
        const float b = 2.0f * d.Dot(oc);
        const float c = oc.Dot(oc) - m_fRadius;
        const float fDisc = b * b - 4.0f * a * c;
        if (fDisc < 0.0f)
            return false;
        const float t = (-b - std::sqrt(fDisc)) / (2.0f * a);
        if (!(t > 0.0f))
            return false;
        vPoint = ray.m_vecStart + d * t;
        return true;
    }

    /// "{ Center:(X:..), Radius:r" (no closing brace, as saved logs have it).
    std::string String() const;
};
