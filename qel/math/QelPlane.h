#pragma once

#include "qel/math/QelRay.h"
#include "qel/math/QelVec3.h"
#include "qel/platform/QelExport.h"

#include <string>

/// The plane a*x + b*y + c*z + d = 0, (a, b, c) its unit normal.
class QEL_EXPORT QelPlane
{
public:
    /// The coefficients of a*x + b*y + c*z + d = 0; all zero (no plane) by default.
    ///@{
    float m_fA = 0.0f, m_fB = 0.0f, m_fC = 0.0f, m_fD = 0.0f;
    ///@}

    /// All coefficients zero: no plane until Set.
    QelPlane() = default;
    /// Through three points, the normal along (p2 - p1) x (p3 - p1).
    QelPlane(const QelVec3& p1, const QelVec3& p2, const QelVec3& p3) { Set(p1, p2, p3); }
    /// Through vPoint with the normal vNormal (normalised here).
    QelPlane(const QelVec3& vNormal, const QelVec3& vPoint) { Set(vNormal, vPoint); }
    /// From a normal taken as given and d.
    QelPlane(const QelVec3& vNormal, float fD) { Set(vNormal, fD); }

    /// The same three forms as the constructors: three points, a normal and a point
    /// (normalised), or a normal taken as given and d.
    ///@{
    void Set(const QelVec3& p1, const QelVec3& p2, const QelVec3& p3) { Set((p2 - p1).Cross(p3 - p1), p1); }
    void Set(const QelVec3& vNormal, const QelVec3& vPoint)
    {
        QelVec3 n = vNormal;
        n.Normalize();
        Set(n, -n.Dot(vPoint));
    }
    void Set(const QelVec3& vNormal, float fD)
    {
        m_fA = vNormal.x;
        m_fB = vNormal.y;
        m_fC = vNormal.z;
        m_fD = fD;
    }
    ///@}

    /// Exact comparison of the four coefficients.
    ///@{
    bool operator==(const QelPlane& o) const
    {
        return m_fA == o.m_fA && m_fB == o.m_fB && m_fC == o.m_fC && m_fD == o.m_fD;
    }
    bool operator!=(const QelPlane& o) const { return !(*this == o); }
    ///@}

    /// (a, b, c): the unit normal, pointing to the positive side.
    QelVec3 GetNormal() const { return QelVec3(m_fA, m_fB, m_fC); }
    /// Signed distance, positive on the side the normal points to.
    float PointDistance(const QelVec3& p) const { return m_fA * p.x + m_fB * p.y + m_fC * p.z + m_fD; }
    /// Strictly more than fTolerance above the plane.
    bool IsAbove(const QelVec3& p, float fTolerance) const { return PointDistance(p) > fTolerance; }
    /// Writes to vOut the point of the plane nearest vIn.
    void ProjectPointToPlane(const QelVec3& vIn, QelVec3& vOut) const { vOut = vIn - GetNormal() * PointDistance(vIn); }
    /// Hit strictly in front of the ray's start. fT is written whenever the ray is not parallel;
    /// vPoint only on a hit.
    bool IsRayIntersecting(const QelRay& ray, QelVec3& vPoint, float& fT) const
    {
        const float fDenom = ray.m_vecDirection.Dot(GetNormal());
        if (fDenom == 0.0f)
            return false;
        fT = -PointDistance(ray.m_vecStart) / fDenom;
        if (!(fT > 0.0f))
            return false;
        vPoint = ray.m_vecStart + ray.m_vecDirection * fT;
        return true;
    }

    /// "(A:0, B:0, C:1, D:-2)"
    std::string String() const;
};
