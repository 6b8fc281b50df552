#pragma once

// Internal to the library: helpers shared by the out-of-line code of the math types.

#include "qel/math/QelMathConstants.h"
#include "qel/math/QelVec3.h"

#include <cmath>

/// Unsigned angle in degrees from a dot product and the product of the two lengths: 0 when a length
/// is zero, and exactly 0 or 180 where rounding pushes the cosine beyond +-1.
inline float QelAngleFromDot(float fDot, float fLengths)
{
    if (fLengths == 0.0f)
        return 0.0f;
    const float c = fDot / fLengths;
    if (c >= 1.0f)
        return 0.0f;
    if (c <= -1.0f)
        return 180.0f;
    return std::acos(c) * kQelRadToDeg;
}

/// Float to int by truncation, saturated where the value does not fit (a plain cast would be undefined).
inline int QelTruncateToInt(float f)
{
    if (!(f == f))
        return 0;
    if (f >= 2147483520.0f)
        return 2147483647;
    if (f <= -2147483648.0f)
        return -2147483647 - 1;
    return static_cast<int>(f);
}

/// Gram-Schmidt on the first three columns of a column-major matrix whose columns are nStride floats
/// apart; a column that collapses to zero length stays zero.
template <int nStride>
void QelOrthoNormalizeColumns(float* pfM)
{
    QelVec3 c0(pfM), c1(pfM + nStride), c2(pfM + 2 * nStride);
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
        pfM[nStride * c] = cols[c]->x;
        pfM[nStride * c + 1] = cols[c]->y;
        pfM[nStride * c + 2] = cols[c]->z;
    }
}
