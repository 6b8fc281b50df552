#include "qel/math/QelBox3.h"

#include "qel/math/QelTriangle.h"

void QelBox3::Corners(QelVec3* pCorners) const
{
    for (int i = 0; i < 8; ++i)
        pCorners[i].Set((i & 1) ? m_vecMax.x : m_vecMin.x, (i & 2) ? m_vecMax.y : m_vecMin.y,
                        (i & 4) ? m_vecMax.z : m_vecMin.z);
}

void QelBox3::Transform(const QelMatrix4& m)
{
    if (!IsValid())
        return;
    QelVec3 corners[8];
    Corners(corners);
    Initialize();
    for (const QelVec3& c : corners)
        ExpandAround(m * c);
}

void QelBox3::TransformMaintainingExtents(const QelMatrix4& m)
{
    if (!IsValid())
        return;
    const QelVec3 a = m * m_vecMin, b = m * m_vecMax;
    Initialize();
    ExpandAround(a);
    ExpandAround(b);
}

void QelBox3::ExpandToContainRotation(const QelMatrix4& m)
{
    if (!IsValid())
        return;
    QelMatrix4 rotation(m);
    rotation.GetTranslation() = QelVec3::kZero;
    const QelVec3 vCenter = Center();
    QelVec3 corners[8];
    Corners(corners);
    for (const QelVec3& c : corners)
        ExpandAround(rotation * (c - vCenter) + vCenter);
}

bool QelBox3::IsRayIntersecting(const QelRay& ray, QelVec3& vPoint, const bool& bNearest,
                                const float& fTolerance) const
{
    // Each face as a cycle of corner indices (bit 0: max x, bit 1: max y, bit 2: max z), split
    // along the diagonal from its first to its third corner.
    static const int kFaces[6][4] = {{0, 2, 6, 4}, {1, 3, 7, 5}, {0, 1, 5, 4},
                                     {2, 3, 7, 6}, {0, 1, 3, 2}, {4, 5, 7, 6}};
    QelVec3 corners[8];
    Corners(corners);
    bool bHit = false;
    float fBest = 0.0f;
    for (const auto& face : kFaces)
    {
        const QelTriangle tris[2] = {QelTriangle(corners[face[0]], corners[face[1]], corners[face[2]]),
                                     QelTriangle(corners[face[0]], corners[face[2]], corners[face[3]])};
        for (const QelTriangle& tri : tris)
        {
            QelVec3 p;
            if (!tri.IsRayIntersecting(ray, p, fTolerance))
                continue;
            if (!bNearest)
            {
                vPoint = p;
                return true;
            }
            const float fDist = (p - ray.m_vecStart).MagnitudeSquared();
            if (!bHit || fDist < fBest)
            {
                bHit = true;
                fBest = fDist;
                vPoint = p;
            }
        }
    }
    return bHit;
}

std::string QelBox3::String() const
{
    return "{ min:" + m_vecMin.String() + ",\n  max:" + m_vecMax.String() + " }\n";
}
