#include "qel/models/detail/QelDxfEntity.h"

#include <cmath>

namespace
{
QelDxfVec Cross(const QelDxfVec& a, const QelDxfVec& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

QelDxfVec Unit(const QelDxfVec& v, const QelDxfVec& vFallback)
{
    double d = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
    if (!(d > 1e-300) || !std::isfinite(d))
        return vFallback;
    return {v.x / d, v.y / d, v.z / d};
}
} // namespace

QelDxfMatrix QelDxfMatrix::FromExtrusion(const QelDxfVec& vDirection)
{
    const QelDxfVec vN = Unit(vDirection, {0.0, 0.0, 1.0});
    QelDxfMatrix r;
    if (vN.x == 0.0 && vN.y == 0.0 && vN.z > 0.0)
        return r;
    // Near the world z axis the x axis comes from world y, elsewhere from world z.
    const double kLimit = 1.0 / 64.0;
    QelDxfVec vAx = std::fabs(vN.x) < kLimit && std::fabs(vN.y) < kLimit ? Cross({0.0, 1.0, 0.0}, vN)
                                                                        : Cross({0.0, 0.0, 1.0}, vN);
    vAx = Unit(vAx, {1.0, 0.0, 0.0});
    QelDxfVec vAy = Unit(Cross(vN, vAx), {0.0, 1.0, 0.0});
    const QelDxfVec* pAxes[3] = {&vAx, &vAy, &vN};
    for (int c = 0; c < 3; ++c)
    {
        r.m[0][c] = pAxes[c]->x;
        r.m[1][c] = pAxes[c]->y;
        r.m[2][c] = pAxes[c]->z;
    }
    return r;
}

bool QelDxfMatrix::IsIdentity() const
{
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j)
            if (m[i][j] != (i == j ? 1.0 : 0.0))
                return false;
    return true;
}

void QelDxfEntity::Reset(EType eNew, unsigned nNewLine)
{
    eType = eNew;
    nLine = nNewLine;
    nLayer = 0;
    nColor = 256;
    nTrueColor = 0;
    nFlags = 0;
    nPointsGiven = 0;
    for (QelDxfVec& v : p)
        v = QelDxfVec();
    vecExtrusion = {0.0, 0.0, 1.0};
    fRadius = fStart = fRotation = fElevation = 0.0;
    fEnd = 360.0;
    fBulge = fSpacing[0] = fSpacing[1] = 0.0;
    vecScale = {1.0, 1.0, 1.0};
    for (int32_t& n : nIndices)
        n = 0;
    for (SText& t : aFirstPoint)
        t = SText();
    strBlock.clear();
    vVertices.clear();
    vVertexFlags.clear();
    vBulges.clear();
    vFaces.clear();
}
