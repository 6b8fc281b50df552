#include "qel/math/QelPlane.h"

#include <sstream>

std::string QelPlane::String() const
{
    std::ostringstream os;
    os << "(A:" << m_fA << ", B:" << m_fB << ", C:" << m_fC << ", D:" << m_fD << ")";
    return os.str();
}
