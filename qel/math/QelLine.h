#pragma once

#include "qel/math/QelRay.h"
#include "qel/math/QelVec2.h"
#include "qel/math/QelVec3.h"
#include "qel/platform/QelExport.h"

#include <string>

/// A line segment from a start to an end point; the 2D tests use x and y only.
class QEL_EXPORT QelLine
{
public:
    /// Result of the 2D segment tests.
    enum EIntersectType
    {
        eIntersect = 0,   ///< the segments cross; the point is written
        eNoIntersect = 1,
        eCollinear = 2    ///< the lines are parallel or collinear
    };

    /// The two end points of the segment.
    ///@{
    QelVec3 m_vecStart;
    QelVec3 m_vecEnd;
    ///@}

    /// A zero-length segment at the origin by default, else the end points given.
    ///@{
    QelLine() = default;
    QelLine(const QelVec3& vStart, const QelVec3& vEnd) : m_vecStart(vStart), m_vecEnd(vEnd) {}
    ///@}
    /// From 2D points, z = 0.
    QelLine(const QelVec2& vStart, const QelVec2& vEnd)
        : m_vecStart(vStart.x, vStart.y, 0.0f), m_vecEnd(vEnd.x, vEnd.y, 0.0f)
    {
    }
    /// Replaces both end points.
    void Set(const QelVec3& vStart, const QelVec3& vEnd)
    {
        m_vecStart = vStart;
        m_vecEnd = vEnd;
    }

    /// Exact comparison of both end points.
    ///@{
    bool operator==(const QelLine& o) const { return m_vecStart == o.m_vecStart && m_vecEnd == o.m_vecEnd; }
    bool operator!=(const QelLine& o) const { return !(*this == o); }
    ///@}

    /// The segment as a vector, end - start or start - end.
    ///@{
    QelVec3 StartToEnd() const { return m_vecEnd - m_vecStart; }
    QelVec3 EndToStart() const { return m_vecStart - m_vecEnd; }
    ///@}
    /// A ray from the start with direction end - start, so t = 1 is the end point.
    QelRay ToRay() const { return QelRay(m_vecStart, StartToEnd()); }
    /// Exact, as QelRay::IsParallelTo.
    bool IsParallelTo(const QelLine& o) const { return ToRay().IsParallelTo(o.ToRay()); }
    /// Within 0.05 degrees of a right angle, as QelRay::IsPerpendicularTo.
    bool IsPerpendicularTo(const QelLine& o) const { return ToRay().IsPerpendicularTo(o.ToRay()); }
    /// Foot of the perpendicular from vPoint onto the infinite line through the segment.
    QelVec3 PerpendicularBisector(const QelVec3& vPoint) const { return ToRay().PerpendicularBisector(vPoint); }

    /// 2D crossing of two segments by the classic two-step sign test. The side values are truncated
    /// to integers before their signs are compared, so values within (-1, 1) count as zero of
    /// either sign and near-touching segments in small coordinate ranges miss. Deliberate: the
    /// sandbox's wire hit tests are tuned to it.
    EIntersectType Intersects2D(const QelLine& o, QelVec2& vPoint) const;
    /// eIntersect when this segment crosses any of the four edges of a rectangle; otherwise
    /// eCollinear when it is parallel to one of them, else eNoIntersect.
    EIntersectType IntersectsBox(const QelLine& e1, const QelLine& e2, const QelLine& e3, const QelLine& e4) const;

    /// "{ Start:(X:..),\n  End  :(X:..) }\n"
    std::string String() const;
};
