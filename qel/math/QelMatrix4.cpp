#include "qel/math/QelMatrix4.h"

#include "qel/framework/QelSysApp.h"
#include "qel/math/detail/QelLUInverse.h"
#include "qel/math/detail/QelMathInternal.h"
#include "qel/platform/detail/QelSimd.h"

#include <sstream>

bool QelMatrix4::Invert()
{
#if QEL_SSE2
    return QelLUInvert4(m_fM);
#else
    return QelLUInvert<4>(m_fM);
#endif
}

void QelMatrix4::OrthoNormalize()
{
    QelOrthoNormalizeColumns<4>(m_fM);
}

QelVec4 QelMatrix4::ConvertToQuaternion() const
{
    const float* m = m_fM;
    QelVec4 q;
    // Each branch is exact algebra for a rotation; they differ in what they divide by. The trace
    // branch divides by 4w, which near a half turn is rounding noise, so the branch taken is the
    // one of the largest component: w when the trace is at least every diagonal term (4w^2 - 4x^2
    // = 2(trace - m0)), else the largest diagonal term, ties falling to the later one.
    const float fTrace = m[0] + m[5] + m[10];
    if (fTrace >= m[0] && fTrace >= m[5] && fTrace >= m[10] && 1.0f + fTrace > 0.0f)
    {
        const float s = std::sqrt(1.0f + fTrace) * 2.0f;
        q.Set((m[6] - m[9]) / s, (m[8] - m[2]) / s, (m[1] - m[4]) / s, 0.25f * s);
    }
    else
    {
        if (m[0] > m[5] && m[0] > m[10])
        {
            const float s = std::sqrt(1.0f + m[0] - m[5] - m[10]) * 2.0f;
            q.Set(0.25f * s, (m[4] + m[1]) / s, (m[8] + m[2]) / s, (m[6] - m[9]) / s);
        }
        else if (m[5] > m[10])
        {
            const float s = std::sqrt(1.0f + m[5] - m[0] - m[10]) * 2.0f;
            q.Set((m[4] + m[1]) / s, 0.25f * s, (m[9] + m[6]) / s, (m[8] - m[2]) / s);
        }
        else
        {
            const float s = std::sqrt(1.0f + m[10] - m[0] - m[5]) * 2.0f;
            q.Set((m[8] + m[2]) / s, (m[9] + m[6]) / s, 0.25f * s, (m[1] - m[4]) / s);
        }
        // Where the trace branch used to serve, its sign (w > 0) is kept, so callers see the same
        // quaternion as before up to rounding.
        if (1.0f + fTrace > 0.0f && q.w < 0.0f)
            q = q * -1.0f;
    }
    q.Normalize();
    return q;
}

QelVec4 QelMatrix4::ConvertToAxisAngle() const
{
    QelVec4 q = ConvertToQuaternion();
    // q and -q are the same rotation; taking the one with w >= 0 keeps the angle within [0, 180],
    // the form the transform properties show and feed back to Rotate(QelVec4).
    if (q.w < 0.0f)
        q = q * -1.0f;
    const float w = q.w > 1.0f ? 1.0f : q.w;
    const float fAngle = 2.0f * std::acos(w) * kQelRadToDeg;
    float fRoot = std::sqrt(1.0f - w * w);
    if (fRoot < 0.000001f)
        fRoot = 1.0f;
    return QelVec4(q.x / fRoot, q.y / fRoot, q.z / fRoot, fAngle);
}

int QelMatrix4::BadColumn(int nColumn)
{
    const int nClamped = nColumn < 0 ? 0 : 3;
    QelSysApp::App().PrintToConsole("<error> QelMatrix4::GetColumn - column %d does not exist, column %d used\n",
                                    nColumn, nClamped);
    return nClamped;
}

std::string QelMatrix4::String() const
{
    std::ostringstream os;
    os << "{ ";
    for (int r = 0; r < 4; ++r)
    {
        if (r)
            os << ",\n  ";
        os << "(X:" << m_fM[r] << ", Y:" << m_fM[4 + r] << ", Z:" << m_fM[8 + r] << ", W:" << m_fM[12 + r] << ")";
    }
    os << " }\n";
    return os.str();
}
