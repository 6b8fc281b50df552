#pragma once

#include "qel/math/QelMathConstants.h"
#include "qel/math/QelMatrix4.h"
#include "qel/math/QelRay.h"
#include "qel/math/QelVec2.h"
#include "qel/math/QelVec3.h"
#include "qel/platform/QelExport.h"

#include <cmath>
#include <string>

/// Axis-aligned box: extents of nodes and picking volumes. The default box is the empty box.
class QEL_EXPORT QelBox3
{
public:
    /// The lowest and highest corner; min above max on an axis makes the box invalid.
    ///@{
    QelVec3 m_vecMin;
    QelVec3 m_vecMax;
    ///@}

    /// The empty box by default (ready for ExpandAround), else the corners given as they are.
    ///@{
    QelBox3() { Initialize(); }
    QelBox3(const QelVec3& vMin, const QelVec3& vMax) : m_vecMin(vMin), m_vecMax(vMax) {}
    ///@}

    /// The empty box: min at the largest float, max at its negation.
    void Initialize()
    {
        m_vecMin.Set(kQelMaxFloat);
        m_vecMax.Set(-kQelMaxFloat);
    }
    /// False for the empty box (a corner still at the float limits) or one with max below min
    /// on an axis; a single point is a valid box.
    bool IsValid() const
    {
        if (m_vecMin.x == kQelMaxFloat || m_vecMin.y == kQelMaxFloat || m_vecMin.z == kQelMaxFloat ||
            m_vecMax.x == -kQelMaxFloat || m_vecMax.y == -kQelMaxFloat || m_vecMax.z == -kQelMaxFloat)
            return false;
        return m_vecMax.x >= m_vecMin.x && m_vecMax.y >= m_vecMin.y && m_vecMax.z >= m_vecMin.z;
    }

    /// Exact comparison of both corners.
    ///@{
    bool operator==(const QelBox3& o) const { return m_vecMin == o.m_vecMin && m_vecMax == o.m_vecMax; }
    bool operator!=(const QelBox3& o) const { return !(*this == o); }
    ///@}

    /// (min + max) / 2; meaningless for an invalid box.
    QelVec3 Center() const { return (m_vecMin + m_vecMax) * 0.5f; }
    /// max - min: the size on each axis.
    QelVec3 Dimensions() const { return m_vecMax - m_vecMin; }
    /// The largest of the sizes on the axes, for framing the box in a view.
    float LongestExtent() const { return Dimensions().AbsoluteValue().MaxAxis(); }

    /// Grows to include the point.
    void ExpandAround(const QelVec3& p)
    {
        m_vecMin.Set(std::fmin(m_vecMin.x, p.x), std::fmin(m_vecMin.y, p.y), std::fmin(m_vecMin.z, p.z));
        m_vecMax.Set(std::fmax(m_vecMax.x, p.x), std::fmax(m_vecMax.y, p.y), std::fmax(m_vecMax.z, p.z));
    }
    /// The box grown to include the point (ExpandAround).
    ///@{
    QelBox3& operator+=(const QelVec3& p)
    {
        ExpandAround(p);
        return *this;
    }
    QelBox3 operator+(const QelVec3& p) const
    {
        QelBox3 b(*this);
        b.ExpandAround(p);
        return b;
    }
    ///@}
    /// Grows to include the other box.
    QelBox3& operator+=(const QelBox3& o)
    {
        m_vecMin.Set(std::fmin(m_vecMin.x, o.m_vecMin.x), std::fmin(m_vecMin.y, o.m_vecMin.y),
                     std::fmin(m_vecMin.z, o.m_vecMin.z));
        m_vecMax.Set(std::fmax(m_vecMax.x, o.m_vecMax.x), std::fmax(m_vecMax.y, o.m_vecMax.y),
                     std::fmax(m_vecMax.z, o.m_vecMax.z));
        return *this;
    }
    /// A copy grown to include the other box.
    QelBox3 operator+(const QelBox3& o) const
    {
        QelBox3 b(*this);
        b += o;
        return b;
    }

    /// Scales the box about its center: the half-extents times s.
    QelBox3 operator*(float s) const
    {
        QelBox3 b(*this);
        b.ScaleFromCenter(QelVec3(s, s, s));
        return b;
    }
    /// The bounding box of the eight corners transformed by m (see Transform).
    QelBox3 operator*(const QelMatrix4& m) const
    {
        QelBox3 b(*this);
        b.Transform(m);
        return b;
    }
    /// Scales each half-extent by the matching component of v about the center.
    void ScaleFromCenter(const QelVec3& v)
    {
        const QelVec3 c = Center();
        QelVec3 h = Dimensions() * 0.5f;
        h.Set(h.x * v.x, h.y * v.y, h.z * v.z);
        m_vecMin = c - h;
        m_vecMax = c + h;
    }
    /// Keeps min and scales the extents by v.
    void ScaleFromMin(const QelVec3& v)
    {
        const QelVec3 d = Dimensions();
        m_vecMax = m_vecMin + QelVec3(d.x * v.x, d.y * v.y, d.z * v.z);
    }

    /// Becomes the bounding box of its eight corners transformed by m (affine, as QelMatrix4 * QelVec3).
    /// An invalid box is left unchanged rather than sending the float limits through the matrix.
    void Transform(const QelMatrix4& m);
    /// Moves with m but keeps its extents: only the min and max corners are transformed and then
    /// re-sorted per axis, so a rotation does not inflate the box. Invalid boxes are left unchanged.
    void TransformMaintainingExtents(const QelMatrix4& m);
    /// Grows to contain itself turned about its own center by m's upper-left 3 x 3 (the translation is
    /// ignored): the union of the box and the bounds of its rotated corners. Invalid boxes stay.
    void ExpandToContainRotation(const QelMatrix4& m);

    /// Strictly inside o on every axis.
    bool operator<(const QelBox3& o) const
    {
        return m_vecMin.x > o.m_vecMin.x && m_vecMin.y > o.m_vecMin.y && m_vecMin.z > o.m_vecMin.z &&
               m_vecMax.x < o.m_vecMax.x && m_vecMax.y < o.m_vecMax.y && m_vecMax.z < o.m_vecMax.z;
    }
    /// o lies strictly inside this box.
    bool operator>(const QelBox3& o) const { return o < *this; }

    /// Strictly inside: a point on a face is outside.
    bool IsPointIn(const QelVec3& p) const
    {
        return p.x > m_vecMin.x && p.x < m_vecMax.x && p.y > m_vecMin.y && p.y < m_vecMax.y && p.z > m_vecMin.z &&
               p.z < m_vecMax.z;
    }
    /// x and y only.
    bool IsPointIn(const QelVec2& p) const
    {
        return p.x > m_vecMin.x && p.x < m_vecMax.x && p.y > m_vecMin.y && p.y < m_vecMax.y;
    }

    /// Tests the ray against the twelve face triangles (two per face) with
    /// QelTriangle::IsRayIntersecting and fTolerance, so hits on triangle edges, face diagonals
    /// included, miss when fTolerance < 1. bNearest true: the hit nearest the ray's start is
    /// written; false: the first hit found (faces -X, +X, -Y, +Y, -Z, +Z). The scratch corners are
    /// local, so the test may run on any thread.
    bool IsRayIntersecting(const QelRay& ray, QelVec3& vPoint, const bool& bNearest, const float& fTolerance) const;

    /// "{ min:(X:..),\n  max:(X:..) }\n"
    std::string String() const;

private:
    void Corners(QelVec3* pCorners) const;
};
