#include "qel/math/QelMatrix3.h"

#include "qel/math/detail/QelLUInverse.h"
#include "qel/math/detail/QelMathInternal.h"

#include <sstream>

bool QelMatrix3::Invert()
{
    return QelLUInvert<3>(m_fM);
}

void QelMatrix3::OrthoNormalize()
{
    QelOrthoNormalizeColumns<3>(m_fM);
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
