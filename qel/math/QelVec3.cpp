#include "qel/math/QelVec3.h"

#include "qel/math/detail/QelMathInternal.h"

#include <sstream>

float QelVec3::AngleTo(const QelVec3& o) const
{
    return QelAngleFromDot(Dot(o), Magnitude() * o.Magnitude());
}

std::string QelVec3::String() const
{
    std::ostringstream os;
    os << "(X:" << x << ", Y:" << y << ", Z:" << z << ")";
    return os.str();
}
