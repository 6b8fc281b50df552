#include "qel/math/QelLine.h"

#include "qel/math/detail/QelMathInternal.h"

namespace
{
/// Both non-zero and, after truncation, of the same sign.
bool SameSide(float r1, float r2)
{
    return r1 != 0.0f && r2 != 0.0f && (QelTruncateToInt(r1) ^ QelTruncateToInt(r2)) >= 0;
}
} // namespace

QelLine::EIntersectType QelLine::Intersects2D(const QelLine& o, QelVec2& vPoint) const
{
    const float x1 = m_vecStart.x, y1 = m_vecStart.y, x2 = m_vecEnd.x, y2 = m_vecEnd.y;
    const float x3 = o.m_vecStart.x, y3 = o.m_vecStart.y, x4 = o.m_vecEnd.x, y4 = o.m_vecEnd.y;

    const float a1 = y2 - y1, b1 = x1 - x2, c1 = x2 * y1 - x1 * y2;
    if (SameSide(a1 * x3 + b1 * y3 + c1, a1 * x4 + b1 * y4 + c1))
        return eNoIntersect;

    const float a2 = y4 - y3, b2 = x3 - x4, c2 = x4 * y3 - x3 * y4;
    if (SameSide(a2 * x1 + b2 * y1 + c2, a2 * x2 + b2 * y2 + c2))
        return eNoIntersect;

    const float fDenom = a1 * b2 - a2 * b1;
    if (fDenom == 0.0f)
        return eCollinear;
    vPoint.x = (b1 * c2 - b2 * c1) / fDenom;
    vPoint.y = (a2 * c1 - a1 * c2) / fDenom;
    return eIntersect;
}

QelLine::EIntersectType QelLine::IntersectsBox(const QelLine& e1, const QelLine& e2, const QelLine& e3,
                                               const QelLine& e4) const
{
    EIntersectType eResult = eNoIntersect;
    for (const QelLine* pEdge : {&e1, &e2, &e3, &e4})
    {
        QelVec2 vIgnored;
        const EIntersectType e = Intersects2D(*pEdge, vIgnored);
        if (e == eIntersect)
            return eIntersect;
        if (e == eCollinear)
            eResult = eCollinear;
    }
    return eResult;
}

std::string QelLine::String() const
{
    return "{ Start:" + m_vecStart.String() + ",\n  End  :" + m_vecEnd.String() + " }\n";
}
