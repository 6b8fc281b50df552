#include "qel/math/QelVec2.h"

#include "qel/math/detail/QelMathInternal.h"

#include <sstream>

float QelVec2::AngleTo(const QelVec2& o) const
{
    return QelAngleFromDot(Dot(o), Magnitude() * o.Magnitude());
}

std::string QelVec2::String() const
{
    std::ostringstream os;
    os << "(X:" << x << ", Y:" << y << ")";
    return os.str();
}
