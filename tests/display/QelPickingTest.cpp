#include "qel/display/QelPicker.h"
#include "qel/display/detail/QelTriangleBvh.h"
#include "qel/platform/QelRandom.h"
#include "tests/display/QelSceneFixtures.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

TEST(QelPicker, HitsComeNearestFirstAndHiddenObjectsAreSkipped)
{
    QelTestBox near(QelVec3(1, 1, 1), 1), far(QelVec3(1, 1, 1), 2), hidden(QelVec3(1, 1, 1), 3), child(QelVec3(1, 1, 1), 4);
    near.SetTranslation(QelVec3(0, 0, 5));
    far.SetTranslation(QelVec3(0, 0, -5));
    hidden.SetTranslation(QelVec3(0, 0, 10));
    hidden.Hide(true);
    child.SetTranslation(QelVec3(0, 0, 5)); // under the hidden box: at z = 15, still drawn and picked
    hidden.AddChild(&child);
    const std::vector<QelDisplayObject*> vRoots = {&far, &hidden, &near};
    const QelRay down(QelVec3(0.2f, 0.3f, 100), QelVec3(0, 0, -1));
    const std::vector<QelPickHit> vHits = QelPicker::PickAll(vRoots, down);
    ASSERT_EQ(vHits.size(), 3u);
    EXPECT_EQ(vHits[0].m_pObject, &child);
    EXPECT_EQ(vHits[1].m_pObject, &near);
    EXPECT_EQ(vHits[2].m_pObject, &far);
    EXPECT_FLOAT_EQ(vHits[1].m_fDistance, 94.0f);
    EXPECT_FLOAT_EQ(vHits[1].m_vecPoint.z, 6.0f);
    // A ray that starts inside a box meets it at once; one that passes beside everything meets nothing.
    EXPECT_EQ(QelPicker::Pick(vRoots, QelRay(QelVec3(0, 0, 5), QelVec3(1, 0, 0))).m_pObject, &near);
    EXPECT_EQ(QelPicker::Pick(vRoots, QelRay(QelVec3(1.5f, 0, 100), QelVec3(0, 0, -1))).m_pObject, nullptr);
    hidden.RemoveChild(&child);
}

TEST(QelPicker, TurnedBoxesArePickedByTheirOwnBoundsAndMeshesByTheirTriangles)
{
    // A thin box turned 45 degrees: its world bounds take in the point (0.9, 0.9), the box does not.
    QelTestBox slab(QelVec3(2, 0.1f, 1), 1);
    slab.SetRotation(QelVec4(0, 0, 1, 45));
    const std::vector<QelDisplayObject*> vSlab = {&slab};
    EXPECT_EQ(QelPicker::Pick(vSlab, QelRay(QelVec3(0.9f, 0.9f, 10), QelVec3(0, 0, -1))).m_pObject, &slab);
    EXPECT_EQ(QelPicker::Pick(vSlab, QelRay(QelVec3(0.9f, -0.9f, 10), QelVec3(0, 0, -1))).m_pObject, nullptr);

    // The octahedron fills half of its bounds: near a bounds corner the triangles say no.
    QelTestOctahedron diamond(QelVec3(1, 1, 1), 2);
    diamond.SetScale(QelVec3(2, 2, 2));
    const std::vector<QelDisplayObject*> vDiamond = {&diamond};
    const QelPickHit hit = QelPicker::Pick(vDiamond, QelRay(QelVec3(0.5f, 0.5f, 10), QelVec3(0, 0, -1)));
    EXPECT_EQ(hit.m_pObject, &diamond);
    EXPECT_NEAR(hit.m_vecPoint.z, 1.0f, 1e-5f); // the face x + y + z = 2 of the scaled shape
    EXPECT_EQ(QelPicker::Pick(vDiamond, QelRay(QelVec3(1.5f, 1.5f, 10), QelVec3(0, 0, -1))).m_pObject, nullptr);
}

TEST(QelTriangleBvh, AgreesWithTestingEveryTriangleAndLeavesOutBadOnes)
{
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> coord(-10.0f, 10.0f), size(-1.0f, 1.0f);
    const size_t nTriangles = 3000;
    std::vector<float> vVertices;
    std::vector<uint32_t> vIndices;
    for (size_t t = 0; t < nTriangles; ++t)
    {
        const QelVec3 c(coord(rng), coord(rng), coord(rng));
        for (int k = 0; k < 3; ++k)
        {
            vVertices.insert(vVertices.end(), {c.x + size(rng), c.y + size(rng), c.z + size(rng)});
            vIndices.push_back(uint32_t(3 * t + size_t(k)));
        }
    }
    // Two bad triangles: an index past the end and a NaN corner.
    vIndices[5] = 999999;
    vVertices[3 * 30] = std::nanf("");
    QelTriangleBvh bvh;
    EXPECT_EQ(bvh.Build(vVertices.data(), vVertices.size() / 3, vIndices.data(), nTriangles), 2u);
    EXPECT_EQ(bvh.GetTriangleCount(), nTriangles - 2);

    int nHits = 0;
    for (int r = 0; r < 400; ++r)
    {
        const QelVec3 vStart(coord(rng) * 2, coord(rng) * 2, coord(rng) * 2);
        const QelVec3 vDirection = (QelVec3(coord(rng), coord(rng), coord(rng)) - vStart).NormalizeWithReturn();
        float fBest = 3.4028235e38f;
        size_t nBest = SIZE_MAX;
        for (size_t t = 0; t < nTriangles; ++t)
        {
            if (t == 1 || t == 10)
                continue; // the bad ones
            const QelVec3 a(&vVertices[3 * vIndices[3 * t]]), b(&vVertices[3 * vIndices[3 * t + 1]]),
                c(&vVertices[3 * vIndices[3 * t + 2]]);
            QelTriangleBvh one;
            const float v[9] = {a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z};
            one.Build(v, 3, nullptr, 1);
            float t0;
            size_t n0;
            if (one.Intersect(vStart, vDirection, fBest, t0, n0))
                fBest = t0, nBest = t;
        }
        float fT = 0;
        size_t nTriangle = 0;
        const bool bHit = bvh.Intersect(vStart, vDirection, 3.4028235e38f, fT, nTriangle);
        ASSERT_EQ(bHit, nBest != SIZE_MAX) << "ray " << r;
        if (bHit)
        {
            EXPECT_EQ(nTriangle, nBest) << "ray " << r;
            EXPECT_FLOAT_EQ(fT, fBest);
            ++nHits;
        }
    }
    EXPECT_GT(nHits, 40);
    // Nothing to build from: empty, and nothing is hit.
    float fT;
    size_t n;
    EXPECT_EQ(bvh.Build(nullptr, 0, nullptr, 0), 0u);
    EXPECT_FALSE(bvh.Intersect(QelVec3(0, 0, 0), QelVec3(1, 0, 0), 1e30f, fT, n));
}

TEST(QelPicker, APickMeshReportsBadTrianglesOnceAndRebuildsWhenTold)
{
    float v[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    const uint32_t nIndices[6] = {0, 1, 2, 0, 1, 7};
    QelPickMesh mesh;
    mesh.SetTriangles(v, 3, nIndices, 2);
    QelCapture log;
    float t;
    EXPECT_TRUE(mesh.IntersectRay(QelRay(QelVec3(0.2f, 0.2f, 1), QelVec3(0, 0, -1)), t));
    EXPECT_FALSE(mesh.IntersectRay(QelRay(QelVec3(0.8f, 0.8f, 1), QelVec3(0, 0, -1)), t));
    ASSERT_EQ(log.Messages().size(), 1u);
    EXPECT_EQ(log.Messages()[0], "<warning> 1 of 2 pick triangles are left out: an index is past the 3 vertices or a "
                                 "coordinate is not finite\n");
    // The caller moves a corner: nothing changes until it says so.
    v[3] = 2, v[7] = 2;
    EXPECT_FALSE(mesh.IntersectRay(QelRay(QelVec3(0.8f, 0.8f, 1), QelVec3(0, 0, -1)), t));
    mesh.GeometryChanged();
    EXPECT_TRUE(mesh.IntersectRay(QelRay(QelVec3(0.8f, 0.8f, 1), QelVec3(0, 0, -1)), t));
    EXPECT_FLOAT_EQ(t, 1.0f);
}

TEST(QelPicker, ClicksAndRubberBandsEditTheSelectionAndTellTheViewOnce)
{
    QelTestView view;
    QelTestBox a(QelVec3(0.5f, 0.5f, 0.5f), 1), b(QelVec3(0.5f, 0.5f, 0.5f), 2), c(QelVec3(0.5f, 0.5f, 0.5f), 3);
    a.SetTranslation(QelVec3(-3, 0, 0));
    b.SetTranslation(QelVec3(0, 0, 0));
    c.SetTranslation(QelVec3(3, 0, 0));
    view.m_vRoots = {&a, &b, &c};
    QelCamera camera;
    camera.SetViewport(0, 0, 200, 100);
    QelTopCamera(camera, 5); // the view spans x -10..10, y -5..5: 10 pixels a unit

    EXPECT_EQ(QelPicker::ClickSelect(view, camera, 100, 50, false), &b);
    EXPECT_EQ(view.GetSelection(), std::vector<QelDisplayObject*>{&b});
    EXPECT_TRUE(b.IsSelected());
    EXPECT_EQ(view.m_nSelectionChanges, 1);
    // The same click again changes nothing and says nothing.
    QelPicker::ClickSelect(view, camera, 100, 50, false);
    EXPECT_EQ(view.m_nSelectionChanges, 1);
    // Toggle adds c, then removes b.
    EXPECT_EQ(QelPicker::ClickSelect(view, camera, 130, 50, true), &c);
    QelPicker::ClickSelect(view, camera, 100, 50, true);
    EXPECT_EQ(view.GetSelection(), std::vector<QelDisplayObject*>{&c});
    EXPECT_FALSE(b.IsSelected());
    EXPECT_EQ(view.m_nSelectionChanges, 3);

    // A band round a and b (x -4..1, pixels 60..110) takes both; c only half inside stays out.
    QelPicker::RubberBandSelect(view, camera, 110, 30, 60, 70, false);
    EXPECT_EQ(view.GetSelection(), (std::vector<QelDisplayObject*>{&a, &b}));
    QelPicker::RubberBandSelect(view, camera, 128, 30, 140, 70, true); // part of c: nothing added
    EXPECT_EQ(view.GetSelection().size(), 2u);
    EXPECT_EQ(view.m_nSelectionChanges, 4);

    // A click outside the viewport picks nothing and says why; a click on empty space clears.
    QelCapture log;
    EXPECT_EQ(QelPicker::ClickSelect(view, camera, 250, 50, true), nullptr);
    EXPECT_EQ(log.Joined(), "<warning> Pick at (250, 50) is outside the 200 x 100 viewport: nothing picked\n");
    EXPECT_EQ(view.GetSelection().size(), 2u);
    QelPicker::ClickSelect(view, camera, 100, 5, false);
    EXPECT_TRUE(view.GetSelection().empty());
    EXPECT_FALSE(a.IsSelected());

    // A selected object that is deleted leaves the selection, and the view is told.
    view.SetSelection({&a, &c});
    const int nBefore = view.m_nSelectionChanges;
    c.OnDelete();
    EXPECT_EQ(view.GetSelection(), std::vector<QelDisplayObject*>{&a});
    EXPECT_EQ(view.m_nSelectionChanges, nBefore + 1);
    view.ClearSelection();
}
