#include "qel/math/QelBox2.h"

namespace
{
QelVec2 Apply(const QelMatrix4& m, const QelVec2& p)
{
    const QelVec3 v = m * QelVec3(p.x, p.y, 0.0f);
    return QelVec2(v.x, v.y);
}
} // namespace

void QelBox2::Transform(const QelMatrix4& m)
{
    if (!IsValid())
        return;
    const QelVec2 corners[4] = {m_vecMin, QelVec2(m_vecMax.x, m_vecMin.y), m_vecMax, QelVec2(m_vecMin.x, m_vecMax.y)};
    Initialize();
    for (const QelVec2& c : corners)
        ExpandAround(Apply(m, c));
}

void QelBox2::TransformMaintainingExtents(const QelMatrix4& m)
{
    if (!IsValid())
        return;
    const QelVec2 a = Apply(m, m_vecMin), b = Apply(m, m_vecMax);
    Initialize();
    ExpandAround(a);
    ExpandAround(b);
}

void QelBox2::ExpandToContainRotation(const QelMatrix4& m)
{
    if (!IsValid())
        return;
    QelMatrix4 rotation(m);
    rotation.GetTranslation() = QelVec3::kZero;
    const QelVec2 vCenter = Center();
    const QelVec2 corners[4] = {m_vecMin, QelVec2(m_vecMax.x, m_vecMin.y), m_vecMax, QelVec2(m_vecMin.x, m_vecMax.y)};
    for (const QelVec2& c : corners)
        ExpandAround(Apply(rotation, c - vCenter) + vCenter);
}

std::string QelBox2::String() const
{
    return "{ min:" + m_vecMin.String() + ",\n  max:" + m_vecMax.String() + " }\n";
}
