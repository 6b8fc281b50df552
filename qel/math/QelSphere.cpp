#include "qel/math/QelSphere.h"

#include <sstream>

std::string QelSphere::String() const
{
    std::ostringstream os;
    os << "{ Center:" << m_vecCenter.String() << ", Radius:" << m_fRadius;
    return os.str();
}
