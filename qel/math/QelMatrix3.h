#pragma once

#include "qel/math/QelMathConstants.h"
#include "qel/math/QelVec2.h"
#include "qel/math/QelVec3.h"
#include "qel/platform/QelExport.h"

#include <cmath>
#include <string>

/// 3 x 3 float matrix, column-major (element (r, c) at index 3c + r), column vectors; operations
/// compose on the right (this = this * R) except Scale, which scales rows.
class QEL_EXPORT QelMatrix3
{
public:
    /// The nine elements, column-major: element (row r, column c) at index 3c + r.
    float m_fM[9];

    /// True: identity; false: all zeros.
    explicit QelMatrix3(bool bIdentity = true)
    {
        for (float& f : m_fM)
            f = 0.0f;
        if (bIdentity)
            m_fM[0] = m_fM[4] = m_fM[8] = 1.0f;
    }
    /// Copies nine floats; a null pointer gives the identity.
    explicit QelMatrix3(const float* pf) : QelMatrix3(true)
    {
        if (pf)
            for (int i = 0; i < 9; ++i)
                m_fM[i] = pf[i];
    }

    /// Address of the first element, for calls that take the column-major array.
    ///@{
    operator float*() { return m_fM; }
    operator const float*() const { return m_fM; }
    ///@}

    /// Resets to the identity.
    void MakeIdentity() { *this = QelMatrix3(true); }
    /// Transposes in place; for a pure rotation that is its inverse, without the cost of Invert.
    void Transpose()
    {
        Swap(1, 3);
        Swap(2, 6);
        Swap(5, 7);
    }
    /// Determinant; 0 for a singular matrix, negative for one that mirrors.
    float Determinant() const
    {
        const float* m = m_fM;
        return m[0] * (m[4] * m[8] - m[7] * m[5]) - m[3] * (m[1] * m[8] - m[7] * m[2]) +
               m[6] * (m[1] * m[5] - m[4] * m[2]);
    }
    /// True on success; a matrix with an all-zero row is refused and left unchanged.
    bool Invert();

    /// Multiplies row i by the i-th factor: this = S * this. Deliberately unlike QelMatrix4::Scale
    /// (columns); existing 2D tools rely on the row form.
    void Scale(float fX, float fY, float fZ)
    {
        const float f[3] = {fX, fY, fZ};
        for (int i = 0; i < 9; ++i)
            m_fM[i] *= f[i % 3];
    }
    /// Scale with the factors taken from x, y and z.
    void Scale(const QelVec3& v) { Scale(v.x, v.y, v.z); }

    /// this = this * R, R the right-handed rotation by fDegrees about the unit axis vAxis.
    void Rotate(const QelVec3& vAxis, float fDegrees)
    {
        const float fRad = fDegrees * kQelDegToRad;
        const float c = std::cos(fRad), s = std::sin(fRad), t = 1.0f - c;
        const float x = vAxis.x, y = vAxis.y, z = vAxis.z;
        QelMatrix3 r(false);
        r.m_fM[0] = x * x * t + c;
        r.m_fM[1] = x * y * t + z * s;
        r.m_fM[2] = x * z * t - y * s;
        r.m_fM[3] = x * y * t - z * s;
        r.m_fM[4] = y * y * t + c;
        r.m_fM[5] = y * z * t + x * s;
        r.m_fM[6] = x * z * t + y * s;
        r.m_fM[7] = y * z * t - x * s;
        r.m_fM[8] = z * z * t + c;
        *this = *this * r;
    }
    /// this = this * R, R the right-handed rotation by fDegrees about the X, Y or Z axis.
    ///@{
    void RotateX(float fDegrees) { RotatePlane(1, 2, fDegrees); }
    void RotateY(float fDegrees) { RotatePlane(2, 0, fDegrees); }
    void RotateZ(float fDegrees) { RotatePlane(0, 1, fDegrees); }
    ///@}
    /// Gram-Schmidt on the columns; a column of length exactly 0 becomes zeros.
    void OrthoNormalize();

    /// The full product this * b.
    QelMatrix3 operator*(const QelMatrix3& b) const
    {
        QelMatrix3 r(false);
        for (int c = 0; c < 3; ++c)
            for (int i = 0; i < 3; ++i)
                r.m_fM[3 * c + i] =
                    m_fM[i] * b.m_fM[3 * c] + m_fM[3 + i] * b.m_fM[3 * c + 1] + m_fM[6 + i] * b.m_fM[3 * c + 2];
        return r;
    }
    /// The full product with a column vector.
    QelVec3 operator*(const QelVec3& v) const
    {
        return QelVec3(m_fM[0] * v.x + m_fM[3] * v.y + m_fM[6] * v.z, m_fM[1] * v.x + m_fM[4] * v.y + m_fM[7] * v.z,
                       m_fM[2] * v.x + m_fM[5] * v.y + m_fM[8] * v.z);
    }
    /// Uses the upper-left 2 x 2 only.
    QelVec2 operator*(const QelVec2& v) const
    {
        return QelVec2(m_fM[0] * v.x + m_fM[3] * v.y, m_fM[1] * v.x + m_fM[4] * v.y);
    }
    /// Exact comparison of the nine elements.
    ///@{
    bool operator==(const QelMatrix3& o) const
    {
        for (int i = 0; i < 9; ++i)
            if (m_fM[i] != o.m_fM[i])
                return false;
        return true;
    }
    bool operator!=(const QelMatrix3& o) const { return !(*this == o); }
    ///@}

    /// The three rows: "{ (X:1, Y:0, Z:0),\n  (X:0, Y:1, Z:0),\n  (X:0, Y:0, Z:1) }\n".
    std::string String() const;

private:
    void Swap(int i, int j)
    {
        const float t = m_fM[i];
        m_fM[i] = m_fM[j];
        m_fM[j] = t;
    }

    /// Turns about the axis normal to the plane of axes a and b (a to b positive), composed on the right.
    void RotatePlane(int a, int b, float fDegrees)
    {
        const float fRad = fDegrees * kQelDegToRad;
        QelMatrix3 r(true);
        r.m_fM[4 * a] = r.m_fM[4 * b] = std::cos(fRad);
        r.m_fM[3 * a + b] = std::sin(fRad);
        r.m_fM[3 * b + a] = -r.m_fM[3 * a + b];
        *this = *this * r;
    }
};
