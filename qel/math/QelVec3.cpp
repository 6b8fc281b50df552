#include "qel/math/QelVec3.h"

#include "qel/math/QelMathConstants.h"

#include <sstream>

float QelVec3::AngleTo(const QelVec3& o) const
{
    const float fLengths = Magnitude() * o.Magnitude();
    if (fLengths == 0.0f)
        return 0.0f;
    const float c = Dot(o) / fLengths;
    if (c >= 1.0f)
        return 0.0f;
    if (c <= -1.0f)
        return 180.0f;
    return std::acos(c) * kQelRadToDeg;
}

std::string QelVec3::String() const
{
    std::ostringstream os;
    os << "(X:" << x << ", Y:" << y << ", Z:" << z << ")";
    return os.str();
}
