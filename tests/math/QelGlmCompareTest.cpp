// Checks against GLM on generated inputs where the semantics agree, and pins down where this
// library deliberately differs.
#include "qel/math/QelMatrix3.h"
#include "qel/math/QelMatrix4.h"
#include "qel/math/QelVec3.h"
#include "qel/platform/QelRandom.h"

#include <gtest/gtest.h>

#include <glm/glm.hpp>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/quaternion.hpp>
#include <glm/gtc/type_ptr.hpp>

#include <cstring>

namespace
{
constexpr int kCases = 2000;

float Uniform(float fLo, float fHi) { return fLo + (fHi - fLo) * float(QelRand()) / 32767.0f; }
QelVec3 RandomVec(float f) { return QelVec3(Uniform(-f, f), Uniform(-f, f), Uniform(-f, f)); }

QelVec3 RandomUnit()
{
    QelVec3 v;
    do
        v = RandomVec(1.0f);
    while (v.MagnitudeSquared() < 0.01f);
    v.Normalize();
    return v;
}

glm::vec3 G(const QelVec3& v) { return glm::vec3(v.x, v.y, v.z); }
glm::mat4 G(const QelMatrix4& m) { return glm::make_mat4(m.m_fM); } // both column-major

/// A well-conditioned affine matrix: rotation, scale in [0.5, 2], translation.
QelMatrix4 RandomAffine()
{
    QelMatrix4 m;
    m.Translate(RandomVec(10.0f));
    m.Rotate(RandomUnit(), Uniform(-360.0f, 360.0f));
    m.Scale(Uniform(0.5f, 2.0f), Uniform(0.5f, 2.0f), Uniform(0.5f, 2.0f));
    return m;
}

/// Every element within fTol, relative to the peer's value where that exceeds 1.
::testing::AssertionResult Near(const float* pa, const float* pb, int n, float fTol)
{
    for (int i = 0; i < n; ++i)
        if (!(std::fabs(pa[i] - pb[i]) <= fTol * std::fmax(1.0f, std::fabs(pb[i]))))
            return ::testing::AssertionFailure() << "element " << i << ": " << pa[i] << " vs " << pb[i];
    return ::testing::AssertionSuccess();
}
template <class Qel, class Glm>
::testing::AssertionResult Near(const Qel& a, const Glm& b, float fTol)
{
    static_assert(sizeof(Qel) >= sizeof(Glm), "the elements come first, in GLM's order");
    return Near(static_cast<const float*>(static_cast<const void*>(&a)), glm::value_ptr(b), int(sizeof(Glm) / 4), fTol)
           << "\n" << a.String();
}

struct GlmCompare : ::testing::Test
{
    void SetUp() override { QelSRand(20240611u); }
};
} // namespace

TEST_F(GlmCompare, RotationAboutUnitAxis)
{
    for (int i = 0; i < kCases; ++i)
    {
        const QelMatrix4 base = RandomAffine();
        const QelVec3 axis = RandomUnit();
        const float fDeg = Uniform(-720.0f, 720.0f);
        QelMatrix4 m = base;
        m.Rotate(axis, fDeg);
        ASSERT_TRUE(Near(m, glm::rotate(G(base), glm::radians(fDeg), G(axis)), 2e-5f)) << i;
    }
    // The unit-axis shortcuts agree with GLM too.
    for (const QelVec3& axis : {QelVec3::kUnitX, QelVec3::kUnitY, QelVec3::kUnitZ})
    {
        const glm::mat4 g = glm::rotate(glm::mat4(1.0f), glm::radians(123.0f), G(axis));
        QelMatrix4 m;
        m.Rotate(axis, 123.0f);
        EXPECT_TRUE(Near(m, g, 1e-6f));
        QelMatrix3 m3;
        m3.Rotate(axis, 123.0f);
        EXPECT_TRUE(Near(m3, glm::mat3(g), 1e-6f));
    }
}

// With up perpendicular to the view GLM agrees; otherwise s is deliberately left unnormalised and
// comes out shorter by the sine of the angle between f and up.
TEST_F(GlmCompare, LookAtAgreesExceptForTheUnnormalisedS)
{
    for (int i = 0; i < kCases; ++i)
    {
        const QelVec3 eye = RandomVec(50.0f);
        const QelVec3 f = RandomUnit();
        const QelVec3 target = eye + f * Uniform(0.5f, 50.0f);
        QelVec3 up = RandomUnit();
        const bool bTilted = i % 2 == 1;
        if (!bTilted)
            up -= f * up.Dot(f);
        if (up.MagnitudeSquared() < 0.01f)
            continue;
        const float fSin = f.Cross(up).Magnitude() / up.Magnitude();
        if (fSin < 0.1f)
            continue;
        up *= Uniform(0.1f, 5.0f); // any length; it is normalised
        QelMatrix4 m;
        m.LookAt(eye, target, up);
        const glm::mat4 g = glm::lookAt(G(eye), G(target), G(up));
        if (!bTilted)
        {
            ASSERT_TRUE(Near(m, g, 1e-4f)) << i;
            continue;
        }
        for (int c = 0; c < 3; ++c)
        {
            ASSERT_NEAR(m.m_fM[4 * c], g[c][0] * fSin, 1e-4f) << i;
            ASSERT_NEAR(m.m_fM[4 * c + 2], g[c][2], 1e-5f) << i; // -f matches
        }
    }
}

TEST_F(GlmCompare, InverseOfWellConditionedMatrices)
{
    for (int i = 0; i < kCases; ++i)
    {
        QelMatrix4 m = RandomAffine();
        const glm::mat4 g = glm::inverse(G(m));
        ASSERT_TRUE(m.Invert());
        ASSERT_TRUE(Near(m, g, 1e-4f)) << i;
    }
    // General (projective) matrices too: a perspective times an affine matrix.
    for (int i = 0; i < 200; ++i)
    {
        const glm::mat4 g = glm::perspective(Uniform(0.3f, 1.5f), Uniform(0.5f, 2.0f), 0.5f, 100.0f) * G(RandomAffine());
        QelMatrix4 m(glm::value_ptr(g));
        ASSERT_TRUE(m.Invert());
        ASSERT_TRUE(Near(m, glm::inverse(g), 1e-3f)) << i;
    }
    QelMatrix3 m3;
    m3.Rotate(RandomUnit(), 33.0f);
    m3.Scale(2.0f, 0.5f, 3.0f);
    const glm::mat3 g3 = glm::inverse(glm::make_mat3(m3.m_fM));
    ASSERT_TRUE(m3.Invert());
    EXPECT_TRUE(Near(m3, g3, 1e-5f));
}

// Affine operands: products agree with GLM whatever the flag. General operands: with the flag clear
// the product's bottom row is forced to (0, 0, 0, 1) and a vector gets the translation whatever its w.
TEST_F(GlmCompare, ProductsAndTheForcedBottomRow)
{
    for (int i = 0; i < kCases; ++i)
    {
        const QelMatrix4 a = RandomAffine(), b = RandomAffine();
        ASSERT_TRUE(Near(a * b, G(a) * G(b), 1e-5f)) << i;
        const QelVec3 v = RandomVec(10.0f);
        ASSERT_TRUE(Near(a * v, glm::vec3(G(a) * glm::vec4(G(v), 1.0f)), 1e-4f)) << i;
        QelMatrix4 sound = a;
        sound.SetMathematicallySound(true);
        const QelVec4 w = sound * QelVec4(v.x, v.y, v.z, 0.25f);
        const glm::vec4 gw = G(a) * glm::vec4(G(v), 0.25f);
        ASSERT_TRUE(Near(QelVec3(w.x, w.y, w.z), glm::vec3(gw), 1e-4f)) << i;
        ASSERT_NEAR(w.w, gw.w, 1e-6f);
    }
    for (int i = 0; i < 200; ++i)
    {
        QelMatrix4 a(false), b(false);
        for (int k = 0; k < 16; ++k)
        {
            a.m_fM[k] = Uniform(-2.0f, 2.0f);
            b.m_fM[k] = Uniform(-2.0f, 2.0f);
        }
        glm::mat4 expected = G(a) * G(b);
        QelMatrix4 sound = a;
        sound.SetMathematicallySound(true);
        ASSERT_TRUE(Near(sound * b, expected, 1e-5f));
        for (int c = 0; c < 4; ++c)
            expected[c][3] = c == 3 ? 1.0f : 0.0f;
        ASSERT_TRUE(Near(a * b, expected, 1e-5f));

        const QelVec4 v(Uniform(-1, 1), Uniform(-1, 1), Uniform(-1, 1), Uniform(-1, 1));
        const QelVec4 r = a * v;
        ASSERT_TRUE(Near(QelVec3(r.x, r.y, r.z), glm::vec3(G(a) * glm::vec4(v.x, v.y, v.z, 1.0f)), 1e-5f));
        ASSERT_EQ(r.w, v.w);
    }
    // QelMatrix3::Scale scales rows (S * M), where GLM's scale, like QelMatrix4::Scale, scales columns.
    const float f[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    QelMatrix3 m(f);
    m.Scale(2.0f, 3.0f, 4.0f);
    const glm::mat3 rows = glm::mat3(glm::scale(glm::mat4(1.0f), glm::vec3(2, 3, 4))) * glm::make_mat3(f);
    EXPECT_EQ(0, std::memcmp(m.m_fM, glm::value_ptr(rows), sizeof(m.m_fM)));
    const QelMatrix4 a = RandomAffine();
    QelMatrix4 m4 = a;
    m4.Scale(2.0f, 3.0f, 4.0f);
    EXPECT_TRUE(Near(m4, glm::scale(G(a), glm::vec3(2, 3, 4)), 0.0f));
}

TEST_F(GlmCompare, VectorsAndQuaternions)
{
    for (int i = 0; i < kCases; ++i)
    {
        const QelVec3 a = RandomVec(100.0f), b = RandomVec(100.0f);
        ASSERT_TRUE(Near(a.Cross(b), glm::cross(G(a), G(b)), 1e-2f));
        ASSERT_NEAR(a.Dot(b), glm::dot(G(a), G(b)), 1e-2f);
        QelVec3 n = a;
        n.Normalize();
        ASSERT_TRUE(Near(n, glm::normalize(G(a)), 1e-6f));
        const float fCos = glm::dot(glm::normalize(G(a)), glm::normalize(G(b)));
        ASSERT_NEAR(a.AngleTo(b), glm::degrees(std::acos(glm::clamp(fCos, -1.0f, 1.0f))), 0.05f);

        QelMatrix4 r;
        r.Rotate(RandomUnit(), Uniform(-179.0f, 179.0f));
        const QelVec4 q = r.ConvertToQuaternion();
        glm::quat g = glm::quat_cast(glm::mat3(G(r)));
        if (g.w * q.w + g.x * q.x + g.y * q.y + g.z * q.z < 0.0f)
            g = -g; // q and -q are the same rotation
        ASSERT_TRUE(Near(&q.x, &g.x, 4, 1e-5f)); // both store x, y, z, w
        const QelVec4 aa = r.ConvertToAxisAngle();
        const float fAngle = glm::degrees(glm::angle(g));
        if (aa.w > 0.5f)
        {
            ASSERT_NEAR(aa.w, fAngle > 180.0f ? 360.0f - fAngle : fAngle, 2e-2f);
        }
    }
}
