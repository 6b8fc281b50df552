#include "qel/math/detail/QelLUInverse.h"
#include "qel/math/QelMatrix3.h"
#include "qel/math/QelMatrix4.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <type_traits>

static_assert(offsetof(QelMatrix4, m_fM) == 0 && sizeof(QelMatrix3) == 36,
              "the elements come first, ready for glLoadMatrixf");
static_assert(std::is_trivially_copyable<QelMatrix4>::value, "matrices are plain values");

namespace
{
void ExpectNear(const QelMatrix4& a, const QelMatrix4& b, float fTol = 1e-5f)
{
    for (int i = 0; i < 16; ++i)
        EXPECT_NEAR(a.m_fM[i], b.m_fM[i], fTol) << "element " << i << "\n" << a.String() << b.String();
}

QelMatrix4 FromRows(std::initializer_list<float> rows)
{
    QelMatrix4 m(false);
    int i = 0;
    for (float f : rows)
    {
        m.m_fM[(i % 4) * 4 + i / 4] = f;
        ++i;
    }
    return m;
}
} // namespace

TEST(QelMatrix4, FlagLayoutAndColumns)
{
    QelCapture cap;
    QelMatrix4 m;
    m.Translate(4, 5, 6);
    m.SetMathematicallySound(true);
    QelMatrix4 copy(m);
    copy.MakeIdentity();
    EXPECT_TRUE(copy.IsMathematicallySound()); // the flag survives
    EXPECT_EQ(copy, QelMatrix4(true));          // == ignores the flag
    EXPECT_FALSE(QelMatrix4(true).IsMathematicallySound());
    // An index out of range is clamped and reported.
    EXPECT_EQ(m.GetColumn(7), QelVec3(4, 5, 6));
    EXPECT_EQ(m.GetColumn(-2), QelVec3(1, 0, 0));
    ASSERT_EQ(cap.Errors(), 2u);
    EXPECT_EQ(cap.Messages()[0], "<error> QelMatrix4::GetColumn - column 7 does not exist, column 3 used\n");

    const float f[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    QelMatrix4 a(f);
    EXPECT_EQ(a.GetColumn(1), QelVec3(5, 6, 7));
    a.GetYAxis() = QelVec3(0, 0, 0); // a reference into column 1, leaving its w alone
    EXPECT_EQ(a.m_fM[6], 0.0f);
    EXPECT_EQ(a.m_fM[7], 8.0f);
    a.Transpose();
    EXPECT_EQ(a.m_fM[1], 0.0f);
    EXPECT_EQ(a.m_fM[4], 2.0f);
}

TEST(QelMatrix4, AffineProductsUnlessSound)
{
    // Two projection-like matrices with non-trivial bottom rows.
    const QelMatrix4 a = FromRows({1, 0, 0, 1, 0, 2, 0, 2, 0, 0, 3, 3, 0, 0, -1, 0});
    const QelMatrix4 b = FromRows({2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 1, 1, 1, 1});
    const QelMatrix4 affine = a * b;
    EXPECT_EQ(affine, FromRows({3, 1, 1, 1, 2, 6, 2, 2, 3, 3, 9, 3, 0, 0, 0, 1}));
    QelMatrix4 t = a;
    t.Transform(b);
    EXPECT_EQ(t, affine);
    QelMatrix4 sound = a;
    sound.SetMathematicallySound(true);
    const QelMatrix4 full = sound * b;
    EXPECT_TRUE(full.IsMathematicallySound());
    EXPECT_EQ(full, FromRows({3, 1, 1, 1, 2, 6, 2, 2, 3, 3, 9, 3, 0, 0, -2, 0}));
    // Only the left operand's flag counts.
    QelMatrix4 soundB = b;
    soundB.SetMathematicallySound(true);
    EXPECT_FALSE((a * soundB).IsMathematicallySound());
    EXPECT_EQ(a * soundB, affine);

    QelMatrix4 m;
    m.Translate(10, 20, 30);
    // Flag clear: translation added even though w is 0, and w copied.
    EXPECT_EQ(m * QelVec4(1, 2, 3, 0), QelVec4(11, 22, 33, 0));
    EXPECT_EQ(m * QelVec4(1, 2, 3, 5), QelVec4(11, 22, 33, 5));
    m.SetMathematicallySound(true);
    EXPECT_EQ(m * QelVec4(1, 2, 3, 0), QelVec4(1, 2, 3, 0));
    EXPECT_EQ(m * QelVec4(1, 2, 3, 2), QelVec4(21, 42, 63, 2));
    // A QelVec3 always gets the affine product, without division by w.
    QelMatrix4 p = FromRows({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0});
    p.SetMathematicallySound(true);
    EXPECT_EQ(p * QelVec3(2, 3, 4), QelVec3(2, 3, 4));
    EXPECT_EQ(p * QelVec4(2, 3, 4, 1), QelVec4(2, 3, 4, 4));
}

TEST(QelMatrix4, ProductFormsRoundAlike)
{
    // A host mixes the forms freely (a point through a chain, or the chain first), so they must
    // agree to the bit: each column of a * b is a times that column, a point is a QelVec4 with w
    // 1, and Translate is the product with a translation matrix.
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> d(-10.0f, 10.0f);
    for (int n = 0; n < 2000; ++n)
    {
        QelMatrix4 a(false), b(false);
        for (int i = 0; i < 16; ++i)
            a.m_fM[i] = d(rng), b.m_fM[i] = d(rng);
        a.SetMathematicallySound(true);
        const QelMatrix4 ab = a * b;
        for (int c = 0; c < 4; ++c)
        {
            const QelVec4 col(b.m_fM[4 * c], b.m_fM[4 * c + 1], b.m_fM[4 * c + 2], b.m_fM[4 * c + 3]);
            const QelVec4 r = a * col;
            EXPECT_EQ(0, std::memcmp(&ab.m_fM[4 * c], &r.x, 16)) << n << ' ' << c;
        }
        a.SetMathematicallySound(false);
        const QelVec3 v(d(rng), d(rng), d(rng));
        const QelVec4 p = a * QelVec4(v.x, v.y, v.z, d(rng));
        const QelVec3 q = a * v;
        EXPECT_EQ(0, std::memcmp(&q.x, &p.x, 12)) << n;
        QelMatrix4 t = a;
        t.Translate(v);
        QelMatrix4 tm;
        tm.GetTranslation() = v;
        const QelMatrix4 atm = a * tm;
        EXPECT_EQ(0, std::memcmp(&t.m_fM[12], &atm.m_fM[12], 12)) << n;
    }
}

TEST(QelMatrix4, LookAt)
{
    // The unnormalised s of a tilted up vector is checked against GLM elsewhere.
    QelMatrix4 m;
    // Coincident viewpoint and target: f stays zero and nothing faults.
    m.LookAt(QelVec3(1, 1, 1), QelVec3(1, 1, 1), QelVec3(0, 1, 0));
    EXPECT_EQ(m.m_fM[0], 0.0f);
    EXPECT_EQ(m.m_fM[15], 1.0f);
    // On any matrix, with the flag clear or set, the result is bit for bit the product with the
    // camera matrix followed by Translate(-viewpoint).
    for (bool bSound : {false, true})
    {
        QelMatrix4 a = FromRows({0.5f, -2, 3, 4, 1.5f, 0.25f, -0.0f, 7, 2, 9, -1, 0.125f, 3, -5, 6, 2});
        a.SetMathematicallySound(bSound);
        const QelVec3 eye(1, -2, 3), target(-0.5f, 4, 2), upIn(0.3f, 1, -0.2f);
        QelVec3 f = target - eye, up = upIn;
        f.Normalize();
        up.Normalize();
        const QelVec3 s = f.Cross(up), u = s.Cross(f);
        QelMatrix4 cam = FromRows({s.x, s.y, s.z, 0, u.x, u.y, u.z, 0, -f.x, -f.y, -f.z, 0, 0, 0, 0, 1});
        QelMatrix4 expected = a * cam;
        expected.Translate(-eye.x, -eye.y, -eye.z);
        a.LookAt(eye, target, upIn);
        EXPECT_EQ(0, std::memcmp(a.m_fM, expected.m_fM, sizeof(a.m_fM))) << bSound;
        EXPECT_EQ(a.IsMathematicallySound(), bSound);
    }
}

TEST(QelMatrix4, InvertAndDeterminants)
{
    QelMatrix4 zeroRow = FromRows({1, 2, 3, 4, 0, 0, 0, 0, 9, 10, 11, 12, 0, 0, 0, 1});
    const QelMatrix4 before = zeroRow;
    EXPECT_FALSE(zeroRow.Invert());
    EXPECT_EQ(zeroRow, before);
    // Singular without a zero row: the zero pivot becomes 1e-20 and the call still succeeds.
    QelMatrix4 dup = FromRows({1, 2, 3, 0, 2, 4, 6, 0, 0, 0, 1, 0, 0, 0, 0, 1});
    EXPECT_TRUE(dup.Invert());
    // Pivoting and general inverses are compared with the plain elimination and with GLM.
    const QelMatrix4 g = FromRows({2, 0, 1, 3, 1, 3, 0, -1, 0, 1, 4, 2, 1, 0, 2, 5});
    EXPECT_NEAR(g.Determinant(), 62.0f, 1e-4f);
    EXPECT_NEAR(g.Determinant3(), 25.0f, 1e-5f);
}

// The packed 4 x 4 inversion must pick the same pivots, refuse the same matrices and round the
// same way as the plain elimination: small integers give exact ties and exact zero pivots, where
// a different tie-break or a missed 1e-20 replacement changes the result completely; arbitrary bit
// patterns bring NaN, infinities, denormal row scales and overflow on the way. Every other matrix
// gets the affine bottom row (sometimes with -0), which takes the shortened route.
TEST(QelMatrix4, InvertMatchesTheGenericEliminationBitForBit)
{
    std::mt19937 rng(11);
    int nRefused = 0, nHuge = 0, nAffineInverted = 0;
    for (int i = 0; i < 60000; ++i)
    {
        float f[16];
        for (float& x : f)
        {
            switch (i % 4)
            {
            case 0:
                x = std::uniform_real_distribution<float>(-10.0f, 10.0f)(rng);
                break;
            case 1:
                x = float(int(rng() % 5) - 2);
                break;
            case 2:
                x = rng() % 3 == 0 ? 0.0f : float(int(rng() % 3) - 1) * 0.5f;
                break;
            default:
            {
                const uint32_t nBits = uint32_t(rng());
                std::memcpy(&x, &nBits, sizeof(x));
                break;
            }
            }
        }
        const bool bAffine = (i / 4) % 2 == 0;
        if (bAffine)
        {
            f[3] = f[7] = f[11] = 0.0f;
            f[15] = 1.0f;
            f[3 + 4 * int(rng() % 3)] = rng() % 4 == 0 ? -0.0f : 0.0f;
        }
        QelMatrix4 m(f);
        float g[16];
        std::memcpy(g, f, sizeof(g));
        const bool bGeneric = QelLUInvert<4>(g);
        ASSERT_EQ(m.Invert(), bGeneric) << i;
        nRefused += bGeneric ? 0 : 1;
        nAffineInverted += bAffine && bGeneric ? 1 : 0;
        for (int k = 0; k < 16; ++k)
        {
            nHuge += std::fabs(g[k]) > 1e15f ? 1 : 0;
            if (!(std::isnan(g[k]) && std::isnan(m.m_fM[k])))
            {
                ASSERT_EQ(std::memcmp(&g[k], &m.m_fM[k], sizeof(float)), 0)
                    << "matrix " << i << " element " << k << ": " << g[k] << " vs " << m.m_fM[k];
            }
        }
    }
    // Both kinds of degenerate input really occurred.
    EXPECT_GT(nRefused, 100);
    EXPECT_GT(nHuge, 100);
    EXPECT_GT(nAffineInverted, 15000);
}

TEST(QelMatrix, OrthoNormalize)
{
    QelMatrix4 m = FromRows({2, 1, 0, 7, 0, 1, 0, 8, 0, 0, 3, 9, 0.5f, 0.5f, 0.5f, 2});
    m.OrthoNormalize(); // the translation and the bottom row are left alone
    ExpectNear(m, FromRows({1, 0, 0, 7, 0, 1, 0, 8, 0, 0, 1, 9, 0.5f, 0.5f, 0.5f, 2}));
    QelMatrix4 z = FromRows({1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    z.OrthoNormalize(); // column 1 is parallel to column 0 and collapses to zeros
    EXPECT_EQ(z.GetColumn(1), QelVec3::kZero);
    EXPECT_EQ(z.GetColumn(2), QelVec3::kZero);
    const float f[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    QelMatrix3 o(f);
    o.OrthoNormalize();
    EXPECT_NEAR(QelVec3(o.m_fM).Magnitude(), 1.0f, 1e-6f);
    EXPECT_NEAR(QelVec3(o.m_fM).Dot(QelVec3(o.m_fM + 3)), 0.0f, 1e-6f);
}

TEST(QelMatrix4, QuaternionAndAxisAngle)
{
    QelMatrix4 r;
    r.Rotate(QelVec3(0, 0, 1), 90);
    EXPECT_TRUE(r.ConvertToQuaternion().Equals(QelVec4(0, 0, std::sqrt(0.5f), std::sqrt(0.5f)), 1e-6f));
    EXPECT_TRUE(r.ConvertToAxisAngle().Equals(QelVec4(0, 0, 1, 90), 1e-4f));

    // A rotation's trace is 2 + 2cos(angle), so the other branches serve exactly 180 degrees;
    // each must rebuild the same matrix through Rotate(QelVec4).
    const QelVec3 n = QelVec3(1, 2, 3).NormalizeWithReturn();
    const QelVec4 cases[] = {QelVec4(1, 0, 0, 180), QelVec4(0, 1, 0, 180), QelVec4(0, 0, 1, 180),
                             QelVec4(n.x, n.y, n.z, 180), QelVec4(n.x, n.y, n.z, 30),
                             QelVec4(n.x, n.y, n.z, 170)};
    for (const QelVec4& aa : cases)
    {
        QelMatrix4 m, rebuilt;
        m.Rotate(aa);
        const QelVec4 back = m.ConvertToAxisAngle();
        EXPECT_LE(back.w, 180.0f);
        EXPECT_NEAR(back.w, aa.w, 2e-3f) << back.String() << " for " << aa.String();
        rebuilt.Rotate(back);
        ExpectNear(rebuilt, m);
    }
    // Beyond 180 degrees the equivalent rotation about the opposite axis comes back, angle <= 180.
    QelMatrix4 big, rebuilt;
    big.Rotate(QelVec3(0, 1, 0), 270);
    const QelVec4 aa = big.ConvertToAxisAngle();
    EXPECT_TRUE(aa.Equals(QelVec4(0, -1, 0, 90), 1e-3f)) << aa.String();
    rebuilt.Rotate(aa);
    ExpectNear(rebuilt, big);
    // A branch whose quaternion comes out with w < 0 (just past a half turn about +X) is folded
    // onto the negated quaternion: an angle just under 180 about -X.
    const QelVec4 folded = FromRows({1, 0, 0, 0, 0, -1, 0.1f, 0, 0, -0.1f, -1, 0, 0, 0, 0, 1}).ConvertToAxisAngle();
    EXPECT_LT(folded.x, 0.0f);
    EXPECT_GT(folded.w, 170.0f);
    EXPECT_LT(folded.w, 180.0f);
    // No rotation: a zero axis (the root is below the threshold) and angle 0.
    EXPECT_EQ(QelMatrix4(true).ConvertToAxisAngle(), QelVec4(0, 0, 0, 0));
}

// Near a half turn 1 + trace is rounding noise; the conversion must take a branch that is well
// conditioned there, or the angle comes back far from 180 (111 degrees for this axis once).
TEST(QelMatrix4, RotationsWithinAThousandthOfADegreeOfAHalfTurnComeBack)
{
    QelMatrix4 half;
    half.Rotate(QelVec3(0.6f, 0.8f, 0.0f), 180.0f);
    const QelVec4 aa = half.ConvertToAxisAngle();
    EXPECT_NEAR(aa.w, 180.0f, 0.05f);
    EXPECT_NEAR(std::fabs(aa.x), 0.6f, 1e-3f);
    EXPECT_NEAR(std::fabs(aa.y), 0.8f, 1e-3f);

    std::mt19937 gen(180);
    std::uniform_real_distribution<float> coord(-1.0f, 1.0f), offset(-0.001f, 0.001f);
    for (int i = 0; i < 2000; ++i)
    {
        QelVec3 axis(coord(gen), coord(gen), coord(gen));
        if (axis.Magnitude() < 0.1f)
            continue;
        axis.Normalize();
        const float fAngle = 180.0f + offset(gen);
        QelMatrix4 m, rebuilt;
        m.Rotate(QelVec4(axis.x, axis.y, axis.z, fAngle));
        const QelVec4 back = m.ConvertToAxisAngle();
        SCOPED_TRACE(testing::Message() << "axis " << axis.String() << " angle " << fAngle);
        EXPECT_NEAR(back.w, fAngle > 180.0f ? 360.0f - fAngle : fAngle, 0.05f);
        rebuilt.Rotate(back);
        ExpectNear(rebuilt, m, 1e-4f);
        const QelVec4 q = m.ConvertToQuaternion();
        EXPECT_NEAR(q.Magnitude(), 1.0f, 1e-5f);
    }
}

TEST(QelMatrix, TextForms)
{
    QelMatrix4 m;
    m.Translate(1, 2.5f, -3);
    EXPECT_EQ(m.String(), "{ (X:1, Y:0, Z:0, W:1),\n"
                          "  (X:0, Y:1, Z:0, W:2.5),\n"
                          "  (X:0, Y:0, Z:1, W:-3),\n"
                          "  (X:0, Y:0, Z:0, W:1) }\n");
    const float f[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(QelMatrix3(f).String(), "{ (X:1, Y:4, Z:7),\n  (X:2, Y:5, Z:8),\n  (X:3, Y:6, Z:9) }\n");
}

TEST(QelMatrix3, TransposeRotateAndDeterminant)
{
    const float f[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9}; // columns
    QelMatrix3 m(f); // Scale (rows, unlike QelMatrix4) and Invert are compared with GLM
    m.Transpose();
    EXPECT_EQ(m.m_fM[1], 4.0f);

    QelMatrix3 r;
    r.RotateZ(90);
    EXPECT_TRUE((r * QelVec3(1, 0, 0)).Equals(QelVec3(0, 1, 0), 1e-6f));
    EXPECT_TRUE((r * QelVec2(0, 1)).Equals(QelVec2(-1, 0), 1e-6f) && QelVec2(-1, 0).Equals(r * QelVec2(0, 1), 1e-6f));
    r.MakeIdentity();
    r.RotateX(90); // (0, 1, 0) turns to (0, 0, 1)
    EXPECT_TRUE((r * QelVec3(0, 1, 0)).Equals(QelVec3(0, 0, 1), 1e-6f));
    void (QelMatrix3::*const rotations[3])(float) = {&QelMatrix3::RotateX, &QelMatrix3::RotateY, &QelMatrix3::RotateZ};
    const QelVec3 axes[3] = {QelVec3::kUnitX, QelVec3::kUnitY, QelVec3::kUnitZ};
    for (int axis = 0; axis < 3; ++axis)
    {
        QelMatrix3 a, b;
        (a.*rotations[axis])(37);
        b.Rotate(axes[axis], 37);
        for (int i = 0; i < 9; ++i)
            EXPECT_NEAR(a.m_fM[i], b.m_fM[i], 1e-6f) << axis << " " << i;
    }

    const float h[9] = {2, 0, 1, 1, 3, 0, 0, 1, 4};
    EXPECT_NEAR(QelMatrix3(h).Determinant(), 25.0f, 1e-5f);
    const float zero[9] = {1, 0, 3, 2, 0, 4, 5, 0, 6}; // row 1 is zero
    QelMatrix3 z(zero);
    EXPECT_FALSE(z.Invert());
    EXPECT_EQ(z, QelMatrix3(zero));
}
