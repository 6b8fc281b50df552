#include "qel/math/QelIVec2.h"

#include "qel/framework/QelSysApp.h"
#include "qel/math/detail/QelMathInternal.h"

#include <sstream>

float QelIVec2::AngleTo(const QelIVec2& o) const
{
    // The dot product in double: the int one wraps for long vectors.
    const double fDot = double(static_cast<long long>(x) * o.x) + double(static_cast<long long>(y) * o.y);
    return QelAngleFromDot(float(fDot), Magnitude() * o.Magnitude());
}

void QelIVec2::Rotate(float fRadians)
{
    const float c = std::cos(fRadians), s = std::sin(fRadians);
    const float fX = float(x) * c - float(y) * s;
    const float fY = float(x) * s + float(y) * c;
    x = QelTruncateToInt(fX);
    y = QelTruncateToInt(fY);
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
