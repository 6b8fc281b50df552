#pragma once

#include "qel/math/QelPlane.h"
#include "qel/math/QelRay.h"
#include "qel/math/QelVec3.h"
#include "qel/platform/QelExport.h"

#include <string>

/// A triangle of three corners.
class QEL_EXPORT QelTriangle
{
public:
    /// The corners; their order A, B, C fixes the normal's side (counter-clockwise seen from it).
    ///@{
    QelVec3 m_vecA, m_vecB, m_vecC;
    ///@}

    /// Three corners at the origin by default, else the corners given.
    ///@{
    QelTriangle() = default;
    QelTriangle(const QelVec3& vA, const QelVec3& vB, const QelVec3& vC) : m_vecA(vA), m_vecB(vB), m_vecC(vC) {}
    void Set(const QelVec3& vA, const QelVec3& vB, const QelVec3& vC)
    {
        m_vecA = vA;
        m_vecB = vB;
        m_vecC = vC;
    }
    ///@}

    /// Exact comparison of the three corners, in order.
    ///@{
    bool operator==(const QelTriangle& o) const { return m_vecA == o.m_vecA && m_vecB == o.m_vecB && m_vecC == o.m_vecC; }
    bool operator!=(const QelTriangle& o) const { return !(*this == o); }
    ///@}

    /// Unit normal along (B - A) x (C - A); zero for a degenerate triangle.
    QelVec3 GetNormal() const { return (m_vecB - m_vecA).Cross(m_vecC - m_vecA).NormalizeWithReturn(); }
    /// The plane through the three corners, its normal as GetNormal.
    QelPlane ToPlane() const { return QelPlane(m_vecA, m_vecB, m_vecC); }

    /// Hits the plane in front of the ray and then checks that the unit normals of the three small
    /// triangles (edge, hit point) match the triangle's within fTolerance (0: exactly). A hit on an
    /// edge or corner has a zero small normal and so misses; deliberate, picking code relies on
    /// shared edges not reporting twice.
    bool IsRayIntersecting(const QelRay& ray, QelVec3& vPoint, const float& fTolerance) const
    {
        const QelPlane plane = ToPlane();
        QelVec3 p;
        float t;
        if (!plane.IsRayIntersecting(ray, p, t))
            return false;
        const QelVec3 n = plane.GetNormal();
        if (!EdgeAgrees(m_vecA, m_vecB, p, n, fTolerance) || !EdgeAgrees(m_vecB, m_vecC, p, n, fTolerance) ||
            !EdgeAgrees(m_vecC, m_vecA, p, n, fTolerance))
            return false;
        vPoint = p;
        return true;
    }

    /// "{ A:(X:..),\n  B:(X:..),\n  C:(X:..) }\n"
    std::string String() const;

private:
    static bool EdgeAgrees(const QelVec3& vI, const QelVec3& vJ, const QelVec3& p, const QelVec3& n, float fTolerance)
    {
        QelVec3 e = (vJ - vI).Cross(p - vI);
        e.Normalize();
        return e.Equals(n, fTolerance);
    }
};
