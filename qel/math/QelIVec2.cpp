#include "qel/math/QelIVec2.h"

#include "qel/framework/QelSysApp.h"
#include "qel/math/QelMathConstants.h"

#include <sstream>

namespace
{
/// Float to int by truncation, saturated where the value does not fit (a plain cast would be undefined).
int TruncateToInt(float f)
{
    if (!(f == f))
        return 0;
    if (f >= 2147483520.0f)
        return 2147483647;
    if (f <= -2147483648.0f)
        return -2147483647 - 1;
    return static_cast<int>(f);
}
} // namespace

float QelIVec2::AngleTo(const QelIVec2& o) const
{
    const float fLengths = Magnitude() * o.Magnitude();
    if (fLengths == 0.0f)
        return 0.0f;
    const float c = float(Dot(o)) / fLengths;
    if (c >= 1.0f)
        return 0.0f;
    if (c <= -1.0f)
        return 180.0f;
    return std::acos(c) * kQelRadToDeg;
}

void QelIVec2::Rotate(float fRadians)
{
    const float c = std::cos(fRadians), s = std::sin(fRadians);
    const float fX = float(x) * c - float(y) * s;
    const float fY = float(x) * s + float(y) * c;
    x = TruncateToInt(fX);
    y = TruncateToInt(fY);
}

std::string QelIVec2::String() const
{
    std::ostringstream os;
    os << "(X:" << x << ", Y:" << y << ")";
    return os.str();
}

void QelIVec2::ReportBadDivisor(int nDivisor)
{
    QelSysApp::App().PrintToConsole("<error> QelIVec2 - division by %d refused, the vector is left unchanged\n",
                                    nDivisor);
}
