#pragma once

#include "qel/math/QelMathConstants.h"
#include "qel/math/QelVec3.h"
#include "qel/math/QelVec4.h"
#include "qel/platform/QelExport.h"
#include "qel/platform/detail/QelSimd.h"

#include <cmath>
#include <cstring>
#include <string>
#if QEL_SSE2
#include <emmintrin.h>
#endif

/// 4 x 4 float matrix laid out as OpenGL takes it: column-major (element (r, c) at index 4c + r,
/// translation at 12-14), column vectors, every operation composing on the right (this = this * X).
/// A flag marks the matrix as mathematically sound; while it is clear (the default) products are
/// affine, with the bottom row forced to (0, 0, 0, 1).
class QEL_EXPORT QelMatrix4
{
public:
    /// The sixteen elements, column-major: element (row r, column c) at index 4c + r; hand it
    /// to glMultMatrixf or glLoadMatrixf as it is.
    alignas(16) float m_fM[16];
    /// Set: products are full 4 x 4; clear (the default): affine. Copied with the matrix.
    bool m_bMathematicallySound;

    /// True: identity; false: all zeros. The flag starts clear.
    explicit QelMatrix4(bool bIdentity = true) : m_bMathematicallySound(false)
    {
        for (float& f : m_fM)
            f = 0.0f;
        if (bIdentity)
            m_fM[0] = m_fM[5] = m_fM[10] = m_fM[15] = 1.0f;
    }
    /// Copies sixteen floats (column-major, as glGetFloatv gives them); a null pointer gives the identity.
    explicit QelMatrix4(const float* pf) : QelMatrix4(true)
    {
        if (pf)
            for (int i = 0; i < 16; ++i)
                m_fM[i] = pf[i];
    }

    /// Address of the first element, for calls that take the column-major array.
    ///@{
    operator float*() { return m_fM; }
    operator const float*() const { return m_fM; }
    ///@}

    /// Set for projection work: products become full 4 x 4 products.
    void SetMathematicallySound(bool b) { m_bMathematicallySound = b; }
    /// Whether products are full 4 x 4 rather than affine.
    bool IsMathematicallySound() const { return m_bMathematicallySound; }

    /// Identity; the flag is kept.
    void MakeIdentity()
    {
        const bool b = m_bMathematicallySound;
        *this = QelMatrix4(true);
        m_bMathematicallySound = b;
    }
    /// Transposes in place, flag kept; for a pure rotation that is its inverse.
    void Transpose()
    {
        for (int c = 1; c < 4; ++c)
            for (int r = 0; r < c; ++r)
            {
                const float t = m_fM[4 * c + r];
                m_fM[4 * c + r] = m_fM[4 * r + c];
                m_fM[4 * r + c] = t;
            }
    }
    /// Full 4 x 4 determinant.
    float Determinant() const
    {
        const float* m = m_fM;
        const float s0 = m[0] * m[5] - m[1] * m[4], s1 = m[0] * m[6] - m[2] * m[4], s2 = m[0] * m[7] - m[3] * m[4];
        const float s3 = m[1] * m[6] - m[2] * m[5], s4 = m[1] * m[7] - m[3] * m[5], s5 = m[2] * m[7] - m[3] * m[6];
        const float c5 = m[10] * m[15] - m[11] * m[14], c4 = m[9] * m[15] - m[11] * m[13];
        const float c3 = m[9] * m[14] - m[10] * m[13], c2 = m[8] * m[15] - m[11] * m[12];
        const float c1 = m[8] * m[14] - m[10] * m[12], c0 = m[8] * m[13] - m[9] * m[12];
        return s0 * c5 - s1 * c4 + s2 * c3 + s3 * c2 - s4 * c1 + s5 * c0;
    }
    /// Determinant of the upper-left 3 x 3.
    float Determinant3() const
    {
        const float* m = m_fM;
        return m[0] * (m[5] * m[10] - m[9] * m[6]) - m[4] * (m[1] * m[10] - m[9] * m[2]) +
               m[8] * (m[1] * m[6] - m[5] * m[2]);
    }
    /// True on success; a matrix with an all-zero row is refused and left unchanged.
    bool Invert();

    /// Multiplies columns 0, 1, 2 by the factors: this = this * S, as glScale does.
    void Scale(float fX, float fY, float fZ)
    {
        SetCol(0, Col(0) * fX);
        SetCol(1, Col(1) * fY);
        SetCol(2, Col(2) * fZ);
    }
    /// Scale with the factors taken from x, y and z.
    void Scale(const QelVec3& v) { Scale(v.x, v.y, v.z); }

    /// this = this * T.
    void Translate(float fX, float fY, float fZ)
    {
        SetCol(3, (Col(0) * fX + Col(1) * fY) + (Col(2) * fZ + Col(3)));
        KeepAffine();
    }
    /// Translate by the vector.
    void Translate(const QelVec3& v) { Translate(v.x, v.y, v.z); }

    /// this = this * R, R the right-handed rotation by fDegrees about vAxis, which must be of unit
    /// length (it is not normalised). The exact unit axes take a shorter path that keeps the
    /// untouched elements exact.
    void Rotate(const QelVec3& vAxis, float fDegrees)
    {
        const float fRad = fDegrees * kQelDegToRad;
        const float c = std::cos(fRad), s = std::sin(fRad);
        if (vAxis == QelVec3::kUnitX)
            Combine(1, 2, c, s);
        else if (vAxis == QelVec3::kUnitY)
            Combine(2, 0, c, s);
        else if (vAxis == QelVec3::kUnitZ)
            Combine(0, 1, c, s);
        else
        {
            const float t = 1.0f - c;
            const float x = vAxis.x, y = vAxis.y, z = vAxis.z;
            const float r[9] = {x * x * t + c,     x * y * t + z * s, x * z * t - y * s,
                                x * y * t - z * s, y * y * t + c,     y * z * t + x * s,
                                x * z * t + y * s, y * z * t - x * s, z * z * t + c};
            const Lanes c0 = Col(0), c1 = Col(1), c2 = Col(2);
            for (int col = 0; col < 3; ++col)
                SetCol(col, c0 * r[3 * col] + c1 * r[3 * col + 1] + c2 * r[3 * col + 2]);
        }
        KeepAffine();
    }
    /// Axis in x, y, z (unit length), angle in degrees in w.
    void Rotate(const QelVec4& vAxisAngle) { Rotate(QelVec3(vAxisAngle.x, vAxisAngle.y, vAxisAngle.z), vAxisAngle.w); }

    /// Camera matrix looking from vViewpoint at vTarget. s = f x up is deliberately not normalised:
    /// an up vector that is not perpendicular to the view shortens it, and saved views depend on that.
    void LookAt(const QelVec3& vViewpoint, const QelVec3& vTarget, const QelVec3& vUp)
    {
        QelVec3 f = vTarget - vViewpoint;
        f.Normalize();
        QelVec3 up = vUp;
        up.Normalize();
        const QelVec3 s = f.Cross(up);
        const QelVec3 u = s.Cross(f);
        // this = this * M, then this = this * T(-viewpoint), both kept in registers: written out
        // element by element and read back as columns, the intermediate matrices would wait for
        // their stores to reach the cache. Rounds exactly as the product followed by Translate.
        const Lanes a0 = Col(0), a1 = Col(1), a2 = Col(2), a3 = Col(3);
        Lanes p[4];
        p[0] = (a0 * s.x + a1 * u.x) + (a2 * -f.x + a3 * 0.0f);
        p[1] = (a0 * s.y + a1 * u.y) + (a2 * -f.y + a3 * 0.0f);
        p[2] = (a0 * s.z + a1 * u.z) + (a2 * -f.z + a3 * 0.0f);
        p[3] = (a0 * 0.0f + a1 * 0.0f) + (a2 * 0.0f + a3 * 1.0f);
        if (!m_bMathematicallySound)
            p[0] = ClearW(p[0]), p[1] = ClearW(p[1]), p[2] = ClearW(p[2]), p[3] = OneW(p[3]);
        Lanes t = (p[0] * -vViewpoint.x + p[1] * -vViewpoint.y) + (p[2] * -vViewpoint.z + p[3]);
        if (!m_bMathematicallySound)
            t = OneW(t);
        SetCol(0, p[0]);
        SetCol(1, p[1]);
        SetCol(2, p[2]);
        SetCol(3, t);
    }

    /// this = this * o.
    void Transform(const QelMatrix4& o) { *this = *this * o; }

    /// Gram-Schmidt on the first three columns (their x, y, z); a column of length exactly 0 becomes
    /// zeros. Column 3 and the bottom row are untouched.
    void OrthoNormalize();
    /// The rotation of the upper-left 3 x 3 as a unit quaternion (x, y, z, w).
    QelVec4 ConvertToQuaternion() const;
    /// The rotation as axis (x, y, z) and angle in degrees (w), the angle within [0, 180].
    QelVec4 ConvertToAxisAngle() const;

    /// The x, y, z of column nColumn (0..3), writable in place. An index outside 0..3 is clamped
    /// and reported: "<error> QelMatrix4::GetColumn - column %d does not exist, column %d used".
    QelVec3& GetColumn(int nColumn)
    {
        if (nColumn < 0 || nColumn > 3)
            nColumn = BadColumn(nColumn);
        return *reinterpret_cast<QelVec3*>(m_fM + 4 * nColumn);
    }
    /// The x, y, z of column nColumn, read-only; a bad index is clamped and reported as above.
    const QelVec3& GetColumn(int nColumn) const
    {
        if (nColumn < 0 || nColumn > 3)
            nColumn = BadColumn(nColumn);
        return *reinterpret_cast<const QelVec3*>(m_fM + 4 * nColumn);
    }
    /// The x, y, z of columns 0 to 3: the transformed X, Y and Z axes and the translation.
    /// The references write through into the matrix.
    ///@{
    QelVec3& GetXAxis() { return GetColumn(0); }
    QelVec3& GetYAxis() { return GetColumn(1); }
    QelVec3& GetZAxis() { return GetColumn(2); }
    QelVec3& GetTranslation() { return GetColumn(3); }
    const QelVec3& GetXAxis() const { return GetColumn(0); }
    const QelVec3& GetYAxis() const { return GetColumn(1); }
    const QelVec3& GetZAxis() const { return GetColumn(2); }
    const QelVec3& GetTranslation() const { return GetColumn(3); }
    ///@}

    /// this * b; affine (bottom row forced to 0, 0, 0, 1) unless this matrix's flag is set. The
    /// result carries this matrix's flag. The forced row is deliberate: it keeps ordinary transforms
    /// affine through long chains, and only projection work sets the flag.
    QelMatrix4 operator*(const QelMatrix4& b) const
    {
        const Lanes a0 = Col(0), a1 = Col(1), a2 = Col(2), a3 = Col(3);
        QelMatrix4 r(NoInit{});
        for (int c = 0; c < 4; ++c)
        {
            // One load per column of b, its elements spread in registers. The terms are added in
            // pairs, as in every product form here (vectors, points, Translate, LookAt), so that
            // they all round alike.
            const Lanes bc = b.Col(c);
            r.SetCol(c, (a0 * Splat<0>(bc) + a1 * Splat<1>(bc)) + (a2 * Splat<2>(bc) + a3 * Splat<3>(bc)));
        }
        r.m_bMathematicallySound = m_bMathematicallySound;
        r.KeepAffine();
        return r;
    }
    /// Flag set: the full product. Flag clear: the translation is added as if w were 1 and w is
    /// copied, whatever v.w holds.
    QelVec4 operator*(const QelVec4& v) const
    {
        const Lanes l = Load(&v.x);
        QelVec4 r;
        if (m_bMathematicallySound)
            Store(&r.x, (Col(0) * Splat<0>(l) + Col(1) * Splat<1>(l)) + (Col(2) * Splat<2>(l) + Col(3) * Splat<3>(l)));
        else
            Store(&r.x, WithW((Col(0) * Splat<0>(l) + Col(1) * Splat<1>(l)) + (Col(2) * Splat<2>(l) + Col(3)), l));
        return r;
    }
    /// Always affine: rotation part times v plus the translation, no division by w.
    QelVec3 operator*(const QelVec3& v) const
    {
        return QelVec3((m_fM[0] * v.x + m_fM[4] * v.y) + (m_fM[8] * v.z + m_fM[12]),
                       (m_fM[1] * v.x + m_fM[5] * v.y) + (m_fM[9] * v.z + m_fM[13]),
                       (m_fM[2] * v.x + m_fM[6] * v.y) + (m_fM[10] * v.z + m_fM[14]));
    }
    /// Compares the sixteen elements exactly (not the flag).
    bool operator==(const QelMatrix4& o) const
    {
        for (int i = 0; i < 16; ++i)
            if (m_fM[i] != o.m_fM[i])
                return false;
        return true;
    }
    /// Not operator==.
    bool operator!=(const QelMatrix4& o) const { return !(*this == o); }

    /// The four rows: "{ (X:m0, Y:m4, Z:m8, W:m12),\n  (X:m1, ...),\n  ...) }\n".
    std::string String() const;

private:
    struct NoInit
    {
    };
    /// One column as four lanes. With GCC and Clang a vector type, so that column arithmetic
    /// becomes packed SSE operations in callers' loops; plain floats elsewhere.
#if QEL_VECTOR_TYPES
    typedef float Lanes __attribute__((vector_size(16)));
#else
    struct Lanes
    {
        float v[4];
        float& operator[](int i) { return v[i]; }
        float operator[](int i) const { return v[i]; }
        Lanes operator*(float s) const { return Lanes{{v[0] * s, v[1] * s, v[2] * s, v[3] * s}}; }
        Lanes operator*(const Lanes& o) const { return Lanes{{v[0] * o.v[0], v[1] * o.v[1], v[2] * o.v[2], v[3] * o.v[3]}}; }
        Lanes operator+(const Lanes& o) const { return Lanes{{v[0] + o.v[0], v[1] + o.v[1], v[2] + o.v[2], v[3] + o.v[3]}}; }
        Lanes operator-(const Lanes& o) const { return Lanes{{v[0] - o.v[0], v[1] - o.v[1], v[2] - o.v[2], v[3] - o.v[3]}}; }
    };
#endif
    static Lanes Load(const float* pf)
    {
        Lanes l;
        std::memcpy(&l, pf, sizeof(l));
        return l;
    }
    static void Store(float* pf, const Lanes& l) { std::memcpy(pf, &l, sizeof(l)); }
    /// x, y, z of l and +0 for w.
    static Lanes ClearW(const Lanes& l)
    {
#if QEL_SSE2
        return _mm_and_ps(l, _mm_castsi128_ps(_mm_set_epi32(0, -1, -1, -1)));
#else
        Lanes r = l;
        r[3] = 0.0f;
        return r;
#endif
    }
    /// x, y, z of l and 1 for w.
    static Lanes OneW(const Lanes& l)
    {
#if QEL_SSE2
        return _mm_or_ps(ClearW(l), _mm_set_ps(1.0f, 0.0f, 0.0f, 0.0f));
#else
        Lanes r = l;
        r[3] = 1.0f;
        return r;
#endif
    }
    Lanes Col(int c) const { return Load(m_fM + 4 * c); }
    void SetCol(int c, const Lanes& l) { Store(m_fM + 4 * c, l); }
#if QEL_VECTOR_TYPES
    /// Lane I in all four lanes. On x86 through the integer shuffle, which unlike the float one
    /// does not overwrite its source, so no register copy goes with each of them.
    template <int I>
    static Lanes Splat(const Lanes& l)
    {
#if QEL_SSE2
        return (Lanes)_mm_shuffle_epi32((__m128i)l, _MM_SHUFFLE(I, I, I, I));
#else
        return __builtin_shufflevector(l, l, I, I, I, I);
#endif
    }
    /// x, y, z of o and w of v: two shuffles, as SSE2 has no blend.
    static Lanes WithW(const Lanes& o, const Lanes& v)
    {
#if QEL_SSE2
        return _mm_shuffle_ps(o, _mm_unpackhi_ps(o, v), _MM_SHUFFLE(3, 0, 1, 0));
#else
        return __builtin_shufflevector(o, v, 0, 1, 2, 7);
#endif
    }
#else
    template <int I>
    static Lanes Splat(const Lanes& l)
    {
        return Lanes{{l[I], l[I], l[I], l[I]}};
    }
    static Lanes WithW(const Lanes& o, const Lanes& v) { return Lanes{{o[0], o[1], o[2], v[3]}}; }
#endif
    explicit QelMatrix4(NoInit) {}

    void KeepAffine()
    {
        if (!m_bMathematicallySound)
        {
            m_fM[3] = m_fM[7] = m_fM[11] = 0.0f;
            m_fM[15] = 1.0f;
        }
    }
    /// Columns a and b turned by (c, s) in their plane: the four-element rotation about a unit axis.
    void Combine(int a, int b, float c, float s)
    {
        const Lanes fA = Col(a), fB = Col(b);
        SetCol(a, fA * c + fB * s);
        SetCol(b, fB * c - fA * s);
    }
    static int BadColumn(int nColumn);
};
