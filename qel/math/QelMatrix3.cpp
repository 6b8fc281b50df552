#include "qel/math/QelMatrix3.h"

#include "qel/math/QelLUInverse.h"

#include <sstream>

bool QelMatrix3::Invert()
{
    return QelLUInvert<3>(m_fM);
}

void QelMatrix3::OrthoNormalize()
{
    QelVec3 c0(m_fM), c1(m_fM + 3), c2(m_fM + 6);
    auto unit = [](QelVec3& v) {
        if (v.MagnitudeSquared() == 0.0f)
            v = QelVec3::kZero;
        else
            v.Normalize();
    };
    unit(c0);
    c1 -= c0 * c1.Dot(c0);
    unit(c1);
    c2 -= c0 * c2.Dot(c0) + c1 * c2.Dot(c1);
    unit(c2);
    const QelVec3* cols[3] = {&c0, &c1, &c2};
    for (int c = 0; c < 3; ++c)
    {
        m_fM[3 * c] = cols[c]->x;
        m_fM[3 * c + 1] = cols[c]->y;
        m_fM[3 * c + 2] = cols[c]->z;
    }
}

std::string QelMatrix3::String() const
{
    std::ostringstream os;
    os << "{ ";
    for (int r = 0; r < 3; ++r)
    {
        if (r)
            os << ",\n  ";
        os << "(X:" << m_fM[r] << ", Y:" << m_fM[3 + r] << ", Z:" << m_fM[6 + r] << ")";
    }
    os << " }\n";
    return os.str();
}
