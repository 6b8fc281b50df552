#include "qel/math/QelBox2.h"
#include "qel/math/QelBox3.h"
#include "qel/math/QelLine.h"
#include "qel/math/QelPlane.h"
#include "qel/math/QelRay.h"
#include "qel/math/QelSphere.h"
#include "qel/math/QelTriangle.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

TEST(QelRay, ParallelPerpendicularAndFoot)
{
    const QelRay a(QelVec3(0, 0, 0), QelVec3(1, 0, 0));
    EXPECT_FALSE(a.IsParallelTo(QelRay(QelVec3(5, 5, 5), QelVec3(2, 0, 0)))); // exact test, lengths differ
    EXPECT_TRUE(a.IsParallelTo(QelRay(QelVec3(5, 5, 5), QelVec3(-1, 0, 0))));
    EXPECT_TRUE(a.IsPerpendicularTo(QelRay(QelVec3(), QelVec3(0, 3, 0))));
    EXPECT_TRUE(a.IsPerpendicularTo(QelRay(QelVec3(), QelVec3(0.0008f, 1, 0)))); // 0.046 degrees off
    EXPECT_FALSE(a.IsPerpendicularTo(QelRay(QelVec3(), QelVec3(0.001f, 1, 0))));
    EXPECT_FALSE(a.IsPerpendicularTo(QelRay(QelVec3(), QelVec3()))); // zero direction: angle 0
    // The foot is not clamped to the ray.
    const QelRay r(QelVec3(1, 1, 0), QelVec3(2, 0, 0));
    EXPECT_EQ(r.PerpendicularBisector(QelVec3(-3, 7, 2)), QelVec3(-3, 1, 0));

    const QelLine l(QelVec3(1, 1, 1), QelVec3(1, 4, 1));
    EXPECT_EQ(l.EndToStart(), QelVec3(0, -3, 0));
    EXPECT_EQ(l.ToRay(), QelRay(QelVec3(1, 1, 1), QelVec3(0, 3, 0)));
    EXPECT_TRUE(l.IsParallelTo(QelLine(QelVec3(), QelVec3(0, -3, 0))));
    EXPECT_TRUE(l.IsPerpendicularTo(QelLine(QelVec2(0, 0), QelVec2(5, 0))));
    EXPECT_EQ(l.PerpendicularBisector(QelVec3(9, 9, 9)), QelVec3(1, 9, 1));
}

TEST(QelLine, Intersects2DTruncatingSignTest)
{
    struct Case
    {
        QelLine a, b;
        QelLine::EIntersectType e;
    };
    const Case cases[] = {
        // Small coordinates: every side value truncates to 0, so the segments "miss" (deliberate).
        {QelLine(QelVec2(0, 0), QelVec2(0.5f, 0.5f)), QelLine(QelVec2(0, 0.5f), QelVec2(0.5f, 0)), QelLine::eNoIntersect},
        // Parallel but apart: the sign test answers first.
        {QelLine(QelVec2(0, 0), QelVec2(10, 0)), QelLine(QelVec2(0, 5), QelVec2(10, 5)), QelLine::eNoIntersect},
        {QelLine(QelVec2(0, 0), QelVec2(10, 0)), QelLine(QelVec2(5, 0), QelVec2(20, 0)), QelLine::eCollinear},
        {QelLine(QelVec2(0, 0), QelVec2(10, 10)), QelLine(QelVec2(20, 0), QelVec2(30, -10)), QelLine::eNoIntersect},
        // Side values beyond the int range saturate instead of overflowing.
        {QelLine(QelVec2(-1e20f, 0), QelVec2(1e20f, 1)), QelLine(QelVec2(0, -1e20f), QelVec2(1, 1e20f)), QelLine::eIntersect}};
    for (const Case& c : cases)
    {
        QelVec2 p(-1, -1);
        EXPECT_EQ(c.a.Intersects2D(c.b, p), c.e) << &c - cases;
        if (c.e != QelLine::eIntersect)
        {
            EXPECT_EQ(p, QelVec2(-1, -1)); // untouched on a miss
        }
    }
    QelVec2 p;
    // z is ignored.
    EXPECT_EQ(QelLine(QelVec3(0, 0, 7), QelVec3(50, 50, -3)).Intersects2D(QelLine(QelVec2(0, 50), QelVec2(50, 0)), p),
              QelLine::eIntersect);
    EXPECT_EQ(p, QelVec2(25, 25));

    const QelLine e1(QelVec2(0, 0), QelVec2(10, 0)), e2(QelVec2(10, 0), QelVec2(10, 10)),
        e3(QelVec2(10, 10), QelVec2(0, 10)), e4(QelVec2(0, 10), QelVec2(0, 0));
    EXPECT_EQ(QelLine(QelVec2(5, 5), QelVec2(15, 5)).IntersectsBox(e1, e2, e3, e4), QelLine::eIntersect);
    EXPECT_EQ(QelLine(QelVec2(20, 20), QelVec2(30, 25)).IntersectsBox(e1, e2, e3, e4), QelLine::eNoIntersect);
    EXPECT_EQ(QelLine(QelVec2(-5, 0), QelVec2(-5, 20)).IntersectsBox(e1, e2, e3, e4), QelLine::eNoIntersect);
}

TEST(QelPlane, ConstructionDistanceAndRays)
{
    const QelPlane p(QelVec3(0, 0, 2), QelVec3(1, 0, 2), QelVec3(0, 1, 2));
    EXPECT_EQ(p, QelPlane(QelVec3(0, 0, 1), -2.0f));
    EXPECT_EQ(QelPlane(QelVec3(0, 0, 5), QelVec3(3, 3, 2)), p); // the normal is normalised
    EXPECT_EQ(p.PointDistance(QelVec3(4, 4, 5)), 3.0f);
    EXPECT_EQ(p.PointDistance(QelVec3(4, 4, 0)), -2.0f);
    EXPECT_TRUE(p.IsAbove(QelVec3(0, 0, 2.5f), 0.4f));
    EXPECT_FALSE(p.IsAbove(QelVec3(0, 0, 2.5f), 0.5f)); // strict
    QelVec3 out;
    p.ProjectPointToPlane(QelVec3(7, 8, -1), out);
    EXPECT_EQ(out, QelVec3(7, 8, 2));
    const QelPlane degenerate(QelVec3(1, 1, 1), QelVec3(2, 2, 2), QelVec3(3, 3, 3));
    EXPECT_EQ(degenerate.GetNormal(), QelVec3::kZero);

    QelVec3 hit(-9, -9, -9);
    float t = -1;
    EXPECT_TRUE(p.IsRayIntersecting(QelRay(QelVec3(1, 1, 0), QelVec3(0, 0, 4)), hit, t));
    EXPECT_EQ(hit, QelVec3(1, 1, 2));
    EXPECT_EQ(t, 0.5f);
    hit = QelVec3(-9, -9, -9);
    EXPECT_FALSE(p.IsRayIntersecting(QelRay(QelVec3(1, 1, 2), QelVec3(0, 0, 1)), hit, t)); // starts on it
    EXPECT_EQ(t, 0.0f);
    EXPECT_FALSE(p.IsRayIntersecting(QelRay(QelVec3(1, 1, 5), QelVec3(0, 0, 1)), hit, t)); // behind
    EXPECT_EQ(t, -3.0f);
    t = 42;
    EXPECT_FALSE(p.IsRayIntersecting(QelRay(QelVec3(1, 1, 0), QelVec3(1, 0, 0)), hit, t)); // parallel
    EXPECT_EQ(t, 42.0f);
    EXPECT_EQ(hit, QelVec3(-9, -9, -9));
    EXPECT_EQ(p.String(), "(A:0, B:0, C:1, D:-2)");
}

TEST(QelTriangle, RayHitsInsideOnlyAndEdgesMiss)
{
    const QelTriangle tri(QelVec3(0, 0, 0), QelVec3(4, 0, 0), QelVec3(0, 4, 0));
    EXPECT_EQ(tri.ToPlane(), QelPlane(QelVec3(0, 0, 1), 0.0f));
    // Straight down unless said otherwise: corners and edges miss whatever tolerance below 1; a
    // tolerance of 2 or more accepts any point of the plane, even outside.
    const struct
    {
        QelVec3 start;
        float fTol;
        bool bHit;
    } cases[] = {{QelVec3(1, 1, 5), 0.0f, true},   {QelVec3(3, 3, 5), 0.0f, false}, {QelVec3(0, 0, 5), 0.0f, false},
                 {QelVec3(2, 0, 5), 0.5f, false},  {QelVec3(2, 2, 5), 0.9f, false}, {QelVec3(9, 9, 5), 2.5f, true},
                 {QelVec3(1, 1, -5), 0.0f, true}}; // from below, against the normal
    for (const auto& c : cases)
    {
        QelVec3 hit;
        const QelVec3 dir(0, 0, c.start.z > 0 ? -1.0f : 1.0f);
        EXPECT_EQ(tri.IsRayIntersecting(QelRay(c.start, dir), hit, c.fTol), c.bHit) << c.start.String();
        if (c.bHit)
        {
            EXPECT_EQ(hit, QelVec3(c.start.x, c.start.y, 0));
        }
    }
    EXPECT_EQ(QelTriangle(QelVec3(1, 2, 3), QelVec3(), QelVec3()).String(),
              "{ A:(X:1, Y:2, Z:3),\n  B:(X:0, Y:0, Z:0),\n  C:(X:0, Y:0, Z:0) }\n");
}

TEST(QelBox3, ValidityGrowthAndContainment)
{
    QelBox3 b;
    EXPECT_FALSE(b.IsValid());
    b += QelVec3(1, 2, 3);
    EXPECT_TRUE(b.IsValid());
    EXPECT_EQ(b.m_vecMin, b.m_vecMax);
    EXPECT_FALSE(b.IsPointIn(QelVec3(1, 2, 3)));
    b.ExpandAround(QelVec3(-1, 4, 3));
    EXPECT_EQ(b, QelBox3(QelVec3(-1, 2, 3), QelVec3(1, 4, 3)));
    b = b + QelBox3(QelVec3(0, 0, 0), QelVec3(0, 0, 9));
    EXPECT_EQ(b, QelBox3(QelVec3(-1, 0, 0), QelVec3(1, 4, 9)));
    EXPECT_EQ(b + QelBox3(), b); // the empty box adds nothing
    EXPECT_EQ(b.Center(), QelVec3(0, 2, 4.5f));
    EXPECT_EQ(b.Dimensions(), QelVec3(2, 4, 9));
    EXPECT_EQ(b.LongestExtent(), 9.0f);
    EXPECT_TRUE(b.IsPointIn(QelVec3(0, 1, 1)));
    EXPECT_FALSE(b.IsPointIn(QelVec3(1, 1, 1))); // on a face
    EXPECT_TRUE(b.IsPointIn(QelVec2(0, 1)));
    EXPECT_FALSE(QelBox3(QelVec3(1, 1, 1), QelVec3(0, 0, 0)).IsValid()); // max below min

    const QelBox3 inner(QelVec3(0, 1, 1), QelVec3(0.5f, 2, 2));
    EXPECT_TRUE(inner < b);
    EXPECT_TRUE(b > inner);
    EXPECT_FALSE(QelBox3(QelVec3(-1, 1, 1), QelVec3(0.5f, 2, 2)) < b); // touching min
    EXPECT_EQ(b.String(), "{ min:(X:-1, Y:0, Z:0),\n  max:(X:1, Y:4, Z:9) }\n");
}

TEST(QelBox3, ScalingAndTransforms)
{
    const QelBox3 b(QelVec3(0, 0, 0), QelVec3(2, 4, 6));
    EXPECT_EQ(b * 2.0f, QelBox3(QelVec3(-1, -2, -3), QelVec3(3, 6, 9)));
    QelBox3 c = b;
    c.ScaleFromCenter(QelVec3(1, 0.5f, 0));
    EXPECT_EQ(c, QelBox3(QelVec3(0, 1, 3), QelVec3(2, 3, 3)));
    c = b;
    c.ScaleFromMin(QelVec3(2, 1, 0.5f));
    EXPECT_EQ(c, QelBox3(QelVec3(0, 0, 0), QelVec3(4, 4, 3)));

    QelMatrix4 m;
    m.Translate(10, 0, 0);
    m.Rotate(QelVec3(0, 0, 1), 90);
    const QelBox3 t = b * m; // (x, y) -> (10 - y, x)
    EXPECT_TRUE(t.m_vecMin.Equals(QelVec3(6, 0, 0), 1e-5f)) << t.String();
    EXPECT_TRUE(t.m_vecMax.Equals(QelVec3(10, 2, 6), 1e-5f)) << t.String();
    c = b;
    c.TransformMaintainingExtents(m); // a quarter turn maps the diagonal to the diagonal
    EXPECT_TRUE(c.m_vecMin.Equals(t.m_vecMin, 1e-5f) && c.m_vecMax.Equals(t.m_vecMax, 1e-5f)) << c.String();

    QelMatrix4 r45;
    r45.Translate(100, 100, 100); // ignored by ExpandToContainRotation
    r45.Rotate(QelVec3(0, 0, 1), 45);
    const QelBox3 sq(QelVec3(-1, -1, -1), QelVec3(1, 1, 1));
    QelBox3 grown = sq;
    grown.ExpandToContainRotation(r45);
    const float d = std::sqrt(2.0f);
    EXPECT_TRUE(grown.m_vecMin.Equals(QelVec3(-d, -d, -1), 1e-5f)) << grown.String();
    EXPECT_TRUE(grown.m_vecMax.Equals(QelVec3(d, d, 1), 1e-5f)) << grown.String();
    QelBox3 kept = sq;
    kept.TransformMaintainingExtents(r45); // the two corners land inside the rotated bounds
    EXPECT_TRUE(kept.m_vecMax.Equals(QelVec3(100, 100 + d, 101), 1e-4f)) << kept.String();
    EXPECT_TRUE((sq * r45).m_vecMin.Equals(QelVec3(100 - d, 100 - d, 99), 1e-4f));

    QelBox3 empty;
    empty.Transform(m); // left alone rather than pushing the float limits through the matrix
    EXPECT_EQ(empty, QelBox3());
}

TEST(QelBox3, RayTestFollowsTheFaceTriangles)
{
    const QelBox3 b(QelVec3(0, 0, 0), QelVec3(2, 2, 2));
    QelVec3 hit;
    EXPECT_TRUE(b.IsRayIntersecting(QelRay(QelVec3(0.5f, 1.2f, 10), QelVec3(0, 0, -1)), hit, true, 0.0f));
    EXPECT_EQ(hit, QelVec3(0.5f, 1.2f, 2)); // nearest: the +Z face
    EXPECT_TRUE(b.IsRayIntersecting(QelRay(QelVec3(0.5f, 1.2f, 10), QelVec3(0, 0, -1)), hit, false, 0.0f));
    EXPECT_EQ(hit, QelVec3(0.5f, 1.2f, 0)); // first found: the -Z face comes before +Z
    // Face diagonals and edges count as misses.
    for (const QelVec3& start : {QelVec3(1, 1, 10), QelVec3(0, 1, 10), QelVec3(3, 1.2f, 10)})
        EXPECT_FALSE(b.IsRayIntersecting(QelRay(start, QelVec3(0, 0, -1)), hit, true, 0.0f)) << start.String();
    // From inside only the far faces lie ahead.
    EXPECT_TRUE(b.IsRayIntersecting(QelRay(QelVec3(0.5f, 1.2f, 1), QelVec3(0, 0, 1)), hit, true, 0.0f));
    EXPECT_EQ(hit, QelVec3(0.5f, 1.2f, 2));

    // Safe on several threads at once. (A tolerance of 0 demands that the renormalised small
    // normals come out exactly (0, 0, 1), which rounding denies for about a quarter of these points.)
    std::vector<std::thread> threads;
    std::vector<int> hits(4, 0);
    for (int n = 0; n < 4; ++n)
        threads.emplace_back([&, n] {
            for (int i = 0; i < 2000; ++i)
            {
                QelVec3 p;
                const float y = 0.1f + 0.0009f * float(i % 2000);
                if (b.IsRayIntersecting(QelRay(QelVec3(1.3f, y, -5), QelVec3(0, 0, 1)), p, true, 1e-4f) &&
                    p == QelVec3(1.3f, y, 0))
                    ++hits[n];
            }
        });
    for (std::thread& t : threads)
        t.join();
    for (int n = 0; n < 4; ++n)
        EXPECT_EQ(hits[n], 2000);
}

TEST(QelBox2, TwoDimensionalBox)
{
    QelBox2 b;
    EXPECT_FALSE(b.IsValid());
    b += QelVec2(1, 1);
    b += QelVec2(3, 5);
    EXPECT_TRUE(b.IsValid());
    EXPECT_EQ(b.Center(), QelVec2(2, 3));
    EXPECT_EQ(b.LongestExtent(), 4.0f);
    EXPECT_TRUE(b.IsPointIn(QelVec2(2, 2)));
    EXPECT_FALSE(b.IsPointIn(QelVec2(1, 2)));
    b.Translate(QelVec2(1, -1));
    EXPECT_EQ(b, QelBox2(QelVec2(2, 0), QelVec2(4, 4)));
    EXPECT_EQ(b * 0.5f, QelBox2(QelVec2(2.5f, 1), QelVec2(3.5f, 3)));
    QelMatrix4 m;
    m.Rotate(QelVec3(0, 0, 1), 90);
    const QelBox2 r = b * m;
    EXPECT_TRUE(r.m_vecMin.Equals(QelVec2(-4, 2), 1e-5f) && r.m_vecMax.Equals(QelVec2(0, 4), 1e-5f)) << r.String();
    EXPECT_TRUE(QelBox2(QelVec2(2.5f, 1), QelVec2(3, 2)) < b);
    EXPECT_EQ(b + QelBox2(), b);
    EXPECT_EQ(b + QelBox2(QelVec2(-1, 1), QelVec2(0, 9)), QelBox2(QelVec2(-1, 0), QelVec2(4, 9)));
    EXPECT_EQ(QelBox2(QelVec2(0, 1), QelVec2(2, 3)).String(), "{ min:(X:0, Y:1),\n  max:(X:2, Y:3) }\n");
}

TEST(QelSphere, GrowthContainmentAndRays)
{
    QelSphere s(QelVec3(0, 0, 0), 1.0f);
    s += QelVec3(0.5f, 0, 0);
    EXPECT_EQ(s.m_fRadius, 1.0f);
    s = s + QelVec3(0, 3, 4);
    EXPECT_EQ(s.m_fRadius, 5.0f);
    EXPECT_TRUE(s.IsPointIn(QelVec3(0, 0, 4.9f)));
    EXPECT_FALSE(s.IsPointIn(QelVec3(0, 0, 5)));
    EXPECT_EQ(QelSphere(QelVec3(1, 2, 3), 4).String(), "{ Center:(X:1, Y:2, Z:3), Radius:4");

    // The constant term uses the radius, not its square: a radius-4 sphere is hit at distance 2.
    const QelSphere r4(QelVec3(0, 0, 0), 4.0f);
    QelVec3 hit;
    ASSERT_TRUE(r4.IsRayIntersecting(QelRay(QelVec3(0, 0, 10), QelVec3(0, 0, -1)), hit));
    EXPECT_EQ(hit, QelVec3(0, 0, 2));
    // A radius of 1 behaves like a true sphere.
    ASSERT_TRUE(QelSphere(QelVec3(5, 0, 0), 1.0f).IsRayIntersecting(QelRay(QelVec3(0, 0, 0), QelVec3(2, 0, 0)), hit));
    EXPECT_EQ(hit, QelVec3(4, 0, 0));
    // Starting inside or at the center: no hit; behind the start: no hit.
    EXPECT_FALSE(r4.IsRayIntersecting(QelRay(QelVec3(0, 0, 0), QelVec3(1, 0, 0)), hit));
    EXPECT_FALSE(r4.IsRayIntersecting(QelRay(QelVec3(0, 0, 10), QelVec3(0, 0, 1)), hit));
    // The perpendicular pre-test uses radius squared: passing 3 away from a radius-4 sphere gets past it,
    // then the smaller effective sphere (radius 2) misses.
    EXPECT_FALSE(r4.IsRayIntersecting(QelRay(QelVec3(3, 0, 10), QelVec3(0, 0, -1)), hit));
    EXPECT_FALSE(r4.IsRayIntersecting(QelRay(QelVec3(5, 0, 10), QelVec3(0, 0, -1)), hit));
    EXPECT_FALSE(r4.IsRayIntersecting(QelRay(QelVec3(0, 0, 10), QelVec3()), hit)); // zero direction
}
