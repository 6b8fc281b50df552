#pragma once

#include "qel/math/QelMathConstants.h"
#include "qel/math/QelMatrix4.h"
#include "qel/math/QelVec2.h"
#include "qel/platform/QelExport.h"

#include <cmath>
#include <string>

/// Axis-aligned rectangle: sandbox icon extents and screen regions. The default box is the empty box.
class QEL_EXPORT QelBox2
{
public:
    /// The lowest and highest corner; min above max on an axis makes the box invalid.
    ///@{
    QelVec2 m_vecMin;
    QelVec2 m_vecMax;
    ///@}

    /// The empty box by default (ready for ExpandAround), else the corners given as they are.
    ///@{
    QelBox2() { Initialize(); }
    QelBox2(const QelVec2& vMin, const QelVec2& vMax) : m_vecMin(vMin), m_vecMax(vMax) {}
    ///@}

    /// The empty box: min at the largest float, max at its negation.
    void Initialize()
    {
        m_vecMin.Set(kQelMaxFloat, kQelMaxFloat);
        m_vecMax.Set(-kQelMaxFloat, -kQelMaxFloat);
    }
    /// False for the empty box (a corner still at the float limits) or one with max below min
    /// on an axis; a single point is a valid box.
    bool IsValid() const
    {
        if (m_vecMin.x == kQelMaxFloat || m_vecMin.y == kQelMaxFloat || m_vecMax.x == -kQelMaxFloat ||
            m_vecMax.y == -kQelMaxFloat)
            return false;
        return m_vecMax.x >= m_vecMin.x && m_vecMax.y >= m_vecMin.y;
    }

    /// Exact comparison of both corners.
    ///@{
    bool operator==(const QelBox2& o) const { return m_vecMin == o.m_vecMin && m_vecMax == o.m_vecMax; }
    bool operator!=(const QelBox2& o) const { return !(*this == o); }
    ///@}

    /// (min + max) / 2; meaningless for an invalid box.
    QelVec2 Center() const { return (m_vecMin + m_vecMax) * 0.5f; }
    /// max - min: the size on each axis.
    QelVec2 Dimensions() const { return m_vecMax - m_vecMin; }
    /// The largest of the sizes on the axes, for framing the box in a view.
    float LongestExtent() const { return Dimensions().AbsoluteValue().MaxAxis(); }

    /// Grows to include the point.
    void ExpandAround(const QelVec2& p)
    {
        m_vecMin.Set(std::fmin(m_vecMin.x, p.x), std::fmin(m_vecMin.y, p.y));
        m_vecMax.Set(std::fmax(m_vecMax.x, p.x), std::fmax(m_vecMax.y, p.y));
    }
    /// The box grown to include the point (ExpandAround).
    ///@{
    QelBox2& operator+=(const QelVec2& p)
    {
        ExpandAround(p);
        return *this;
    }
    QelBox2 operator+(const QelVec2& p) const
    {
        QelBox2 b(*this);
        b.ExpandAround(p);
        return b;
    }
    ///@}
    /// The box grown to include the other box.
    ///@{
    QelBox2& operator+=(const QelBox2& o)
    {
        m_vecMin.Set(std::fmin(m_vecMin.x, o.m_vecMin.x), std::fmin(m_vecMin.y, o.m_vecMin.y));
        m_vecMax.Set(std::fmax(m_vecMax.x, o.m_vecMax.x), std::fmax(m_vecMax.y, o.m_vecMax.y));
        return *this;
    }
    QelBox2 operator+(const QelBox2& o) const
    {
        QelBox2 b(*this);
        b += o;
        return b;
    }
    ///@}

    /// Scales the box about its center: the half-extents times s.
    QelBox2 operator*(float s) const
    {
        QelBox2 b(*this);
        b.ScaleFromCenter(QelVec2(s, s));
        return b;
    }
    /// The bounding box of the four corners (z = 0) transformed by m (see Transform).
    QelBox2 operator*(const QelMatrix4& m) const
    {
        QelBox2 b(*this);
        b.Transform(m);
        return b;
    }
    /// Moves both corners by v.
    void Translate(const QelVec2& v)
    {
        m_vecMin += v;
        m_vecMax += v;
    }
    /// Scales each half-extent by the matching component of v about the center.
    void ScaleFromCenter(const QelVec2& v)
    {
        const QelVec2 c = Center();
        QelVec2 h = Dimensions() * 0.5f;
        h.Set(h.x * v.x, h.y * v.y);
        m_vecMin = c - h;
        m_vecMax = c + h;
    }
    /// Keeps min and scales the extents by v.
    void ScaleFromMin(const QelVec2& v)
    {
        const QelVec2 d = Dimensions();
        m_vecMax = m_vecMin + QelVec2(d.x * v.x, d.y * v.y);
    }

    /// Becomes the bounds of its four corners (at z = 0) transformed by m, x and y kept.
    /// An invalid box is left unchanged.
    void Transform(const QelMatrix4& m);
    /// Only min and max are transformed and re-sorted, so a rotation does not inflate the box.
    void TransformMaintainingExtents(const QelMatrix4& m);
    /// Grows to contain itself turned about its center by m's upper-left part (translation ignored).
    void ExpandToContainRotation(const QelMatrix4& m);

    /// Strictly inside o on both axes.
    bool operator<(const QelBox2& o) const
    {
        return m_vecMin.x > o.m_vecMin.x && m_vecMin.y > o.m_vecMin.y && m_vecMax.x < o.m_vecMax.x &&
               m_vecMax.y < o.m_vecMax.y;
    }
    /// o lies strictly inside this box.
    bool operator>(const QelBox2& o) const { return o < *this; }
    /// Strictly inside: a point on an edge is outside.
    bool IsPointIn(const QelVec2& p) const
    {
        return p.x > m_vecMin.x && p.x < m_vecMax.x && p.y > m_vecMin.y && p.y < m_vecMax.y;
    }

    /// "{ min:(X:..),\n  max:(X:..) }\n"
    std::string String() const;
};
