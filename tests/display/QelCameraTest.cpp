#include "qel/display/QelCamera.h"
#include "qel/properties/QelProperty.h"
#include "tests/display/QelSceneFixtures.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace
{
void ExpectVec(const QelVec3& a, const QelVec3& b, float fTolerance)
{
    EXPECT_NEAR(a.x, b.x, fTolerance);
    EXPECT_NEAR(a.y, b.y, fTolerance);
    EXPECT_NEAR(a.z, b.z, fTolerance);
}

bool MatrixIsFinite(const QelMatrix4& m)
{
    for (float f : m.m_fM)
        if (!std::isfinite(f))
            return false;
    return true;
}
} // namespace

TEST(QelCamera, ProjectThenUnprojectGivesThePointBackFromMillimetresToKilometres)
{
    struct SRow
    {
        const char* m_pName;
        QelCamera::EProjection m_eProjection;
        float m_fScale; // of the scene: the camera frames a cube of this half size
    };
    const SRow kRows[] = {{"perspective, metres", QelCamera::eProjectionPerspective, 1.0f},
                          {"orthographic, metres", QelCamera::eProjectionOrthographic, 1.0f},
                          {"perspective, millimetres", QelCamera::eProjectionPerspective, 1e-3f},
                          {"perspective, kilometres", QelCamera::eProjectionPerspective, 1e3f},
                          {"orthographic, kilometres", QelCamera::eProjectionOrthographic, 1e3f}};
    for (const SRow& row : kRows)
    {
        SCOPED_TRACE(row.m_pName);
        QelCamera camera;
        camera.SetViewport(0, 0, 640, 480);
        camera.SetProjection(row.m_eProjection);
        camera.SetAutoClipping(true);
        const QelBox3 cBox(QelVec3(-1, -1, -1) * row.m_fScale, QelVec3(1, 1, 1) * row.m_fScale);
        ASSERT_TRUE(camera.ZoomToBox(cBox));
        for (const QelVec3& v : {QelVec3(0, 0, 0), QelVec3(0.9f, -0.5f, 0.3f), QelVec3(-0.7f, 0.8f, -0.9f)})
        {
            const QelVec3 vWorld = v * row.m_fScale;
            QelVec3 vWindow, vBack;
            ASSERT_TRUE(camera.Project(vWorld, vWindow));
            EXPECT_TRUE(vWindow.z > 0.0f && vWindow.z < 1.0f) << vWindow.z;
            ASSERT_TRUE(camera.Unproject(vWindow, vBack));
            ExpectVec(vBack, vWorld, 1e-3f * row.m_fScale);
        }
    }
}

TEST(QelCamera, ZoomToExtentsFramesEveryVisibleObjectAndTheSelectionAlone)
{
    QelTestView view;
    QelTestBox a(QelVec3(1, 1, 1), 0), b(QelVec3(0.5f, 2, 0.5f), 0), c(QelVec3(3, 3, 3), 0), far(QelVec3(1, 1, 1), 0);
    a.SetTranslation(QelVec3(-5, 0, 0));
    b.SetTranslation(QelVec3(4, 3, 1));
    b.SetRotation(QelVec4(1, 0, 0, 40));
    c.SetTranslation(QelVec3(0, 0, 50));
    c.Hide(true); // hidden: left out
    far.SetTranslation(QelVec3(0, -6, -2));
    a.AddChild(&b); // children count, through their parent's transform
    view.m_vRoots = {&a, &c, &far};
    QelCamera camera;
    camera.SetDisplaySystem(&view);
    camera.SetViewport(0, 0, 400, 300);
    camera.SetAutoClipping(true);
    camera.SetView(QelCamera::eViewThreeQuarter);
    camera.Zoom(eZoomExtents);

    auto fnCorners = [&](QelDisplayObject& object, bool bExpectInside) {
        QelMatrix4 mWorld;
        object.GetWorldTransform(mWorld);
        const QelBox3 e = object.GetExtents();
        bool bAllInside = true;
        for (int i = 0; i < 8; ++i)
        {
            const QelVec3 vLocal(i & 1 ? e.m_vecMax.x : e.m_vecMin.x, i & 2 ? e.m_vecMax.y : e.m_vecMin.y,
                                 i & 4 ? e.m_vecMax.z : e.m_vecMin.z);
            QelVec3 w;
            EXPECT_TRUE(camera.Project(mWorld * vLocal, w));
            bAllInside = bAllInside && w.x >= 0 && w.x <= 400 && w.y >= 0 && w.y <= 300 && w.z > 0 && w.z < 1;
        }
        EXPECT_EQ(bAllInside, bExpectInside) << object.GetName();
    };
    fnCorners(a, true);
    fnCorners(b, true);
    fnCorners(far, true);
    fnCorners(c, false);
    const float fFramedAll = camera.GetDistance();

    // The selection alone: the small box fills the view, which leaves the others out.
    view.SetSelection({&far});
    camera.Zoom(eZoomSelectedExtents);
    fnCorners(far, true);
    fnCorners(a, false);
    EXPECT_LT(camera.GetDistance(), fFramedAll);
    ExpectVec(camera.GetFocalPoint().GetPosition(), QelVec3(0, -6, -2), 1e-4f);

    // Nothing selected: a warning and the camera stays.
    view.ClearSelection();
    QelCapture log;
    const float fBefore = camera.GetDistance();
    camera.Zoom(eZoomSelectedExtents);
    EXPECT_EQ(log.Joined(), "<warning>Camera - Nothing to zoom to: no selected object has extents<flush>");
    EXPECT_EQ(camera.GetDistance(), fBefore);
    a.OnDelete();
}

TEST(QelCamera, PresetsLookAlongTheAxesWithADefinedUp)
{
    struct SRow
    {
        const char* m_pName;
        QelCamera::EViewPreset m_ePreset;
        QelVec3 m_vForward, m_vUp;
    };
    const SRow kRows[] = {{"top", QelCamera::eViewTop, {0, 0, -1}, {0, 1, 0}},
                          {"bottom", QelCamera::eViewBottom, {0, 0, 1}, {0, -1, 0}},
                          {"front", QelCamera::eViewFront, {0, 1, 0}, {0, 0, 1}},
                          {"back", QelCamera::eViewBack, {0, -1, 0}, {0, 0, 1}},
                          {"left", QelCamera::eViewLeft, {1, 0, 0}, {0, 0, 1}},
                          {"right", QelCamera::eViewRight, {-1, 0, 0}, {0, 0, 1}}};
    QelCamera camera;
    camera.GetFocalPoint().SetPosition(QelVec3(1, 2, 3));
    for (const SRow& row : kRows)
    {
        SCOPED_TRACE(row.m_pName);
        camera.SetView(row.m_ePreset);
        QelVec3 f, u, r;
        camera.GetFrame(f, u, r);
        ExpectVec(f, row.m_vForward, 1e-6f);
        ExpectVec(u, row.m_vUp, 1e-6f);
        ExpectVec(camera.GetEye(), QelVec3(1, 2, 3) - row.m_vForward * camera.GetDistance(), 1e-5f);
        EXPECT_TRUE(MatrixIsFinite(camera.GetViewMatrix()));
    }
    // Home goes back to what SetHome stored.
    camera.SetOrbit(10, 20, 30);
    camera.SetHome();
    camera.SetView(QelCamera::eViewTop);
    camera.GetFocalPoint().SetPosition(QelVec3(9, 9, 9));
    camera.Zoom(eZoomReset);
    EXPECT_FLOAT_EQ(camera.GetAzimuth(), 10);
    EXPECT_FLOAT_EQ(camera.GetElevation(), 20);
    EXPECT_FLOAT_EQ(camera.GetDistance(), 30);
    ExpectVec(camera.GetFocalPoint().GetPosition(), QelVec3(1, 2, 3), 0);
}

TEST(QelCamera, MouseDragsAndTheWheelTumblePanDollyAndZoom)
{
    QelTestView view;
    QelCamera camera;
    camera.SetDisplaySystem(&view);
    camera.SetViewport(0, 0, 200, 100);
    camera.SetOrbit(0, 0, 10);
    QelMouseState mouse;
    bool bHandled = false;

    // Motion without a press does nothing.
    EXPECT_FALSE(camera.MouseMotion(mouse, QelVec2(5, 5), bHandled));
    EXPECT_FALSE(bHandled);

    // Middle drag pans: the focal point stays under the mouse, so it moves on screen by the drag.
    QelVec3 vBefore, vAfter;
    ASSERT_TRUE(camera.Project(camera.GetFocalPoint().GetPosition(), vBefore));
    const QelVec3 vGrabbed = camera.GetFocalPoint().GetPosition();
    mouse.m_eButton = QelMouseState::eButtonMiddle;
    mouse.m_nButtons = QelMouseState::eButtonMiddle;
    EXPECT_TRUE(camera.MouseButtonPress(mouse));
    view.ResetRedrawFlag();
    EXPECT_TRUE(camera.MouseMotion(mouse, QelVec2(12, -7), bHandled));
    EXPECT_TRUE(bHandled && view.NeedsRedraw());
    ASSERT_TRUE(camera.Project(vGrabbed, vAfter));
    EXPECT_NEAR(vAfter.x - vBefore.x, 12.0f, 1e-3f);
    EXPECT_NEAR(vAfter.y - vBefore.y, 7.0f, 1e-3f); // the mouse counts down, the window up
    camera.MouseButtonRelease(mouse);

    // Left drag tumbles about the focal point: the distance stays.
    mouse.m_eButton = QelMouseState::eButtonLeft;
    mouse.m_nButtons = QelMouseState::eButtonLeft;
    camera.MouseButtonPress(mouse);
    camera.MouseMotion(mouse, QelVec2(-25, 50), bHandled);
    EXPECT_FLOAT_EQ(camera.GetAzimuth(), 10.0f);
    EXPECT_FLOAT_EQ(camera.GetElevation(), 20.0f);
    EXPECT_NEAR(camera.GetEye().DistanceTo(camera.GetFocalPoint().GetPosition()), 10.0f, 1e-4f);
    // Far past the pole the elevation stops at 90.
    camera.MouseMotion(mouse, QelVec2(0, 1000), bHandled);
    EXPECT_FLOAT_EQ(camera.GetElevation(), 90.0f);
    camera.MouseButtonRelease(mouse);

    // Control with left dollies: eye and focal point move forwards together.
    camera.SetOrbit(0, 0, 10);
    const QelVec3 vEye = camera.GetEye(), vFocus = camera.GetFocalPoint().GetPosition();
    mouse.m_bControl = true;
    camera.MouseButtonPress(mouse);
    camera.MouseMotion(mouse, QelVec2(0, -10), bHandled);
    const QelVec3 vStep = camera.GetEye() - vEye;
    EXPECT_LT(vStep.x, 0.0f); // forwards is -X from an eye on +X
    ExpectVec(camera.GetFocalPoint().GetPosition() - vFocus, vStep, 1e-4f);
    camera.MouseButtonRelease(mouse);

    // One notch of the wheel zooms by 1.25; zoom in and out through the hook undo each other.
    camera.MouseWheelMotion(mouse, 120);
    EXPECT_FLOAT_EQ(camera.GetDistance(), 8.0f);
    camera.Zoom(eZoomOut);
    camera.Zoom(eZoomIn);
    EXPECT_FLOAT_EQ(camera.GetDistance(), 8.0f);
}

TEST(QelCamera, ThePickRayRunsThroughThePixelAndTheFocalPointAtTheCentre)
{
    for (QelCamera::EProjection e : {QelCamera::eProjectionPerspective, QelCamera::eProjectionOrthographic})
    {
        SCOPED_TRACE(e);
        QelCamera camera;
        camera.SetProjection(e);
        camera.SetViewport(10, 20, 101, 51); // odd sizes: the centre pixel is exact
        camera.GetFocalPoint().SetPosition(QelVec3(3, -2, 1));
        const QelRay ray = camera.GetPickRay(50, 25);
        EXPECT_NEAR(ray.m_vecDirection.Magnitude(), 1.0f, 1e-5f);
        ExpectVec(ray.PerpendicularBisector(QelVec3(3, -2, 1)), QelVec3(3, -2, 1), 1e-3f);
        // A point on the ray of pixel (7, 40) projects back into that pixel.
        const QelRay cCorner = camera.GetPickRay(7, 40);
        QelVec3 w;
        ASSERT_TRUE(camera.Project(cCorner.m_vecStart + cCorner.m_vecDirection * 5.0f, w));
        EXPECT_NEAR(w.x, 10 + 7.5f, 1e-2f);
        EXPECT_NEAR(w.y, 20 + 51 - 40.5f, 1e-2f);
        EXPECT_TRUE(camera.IsInViewport(100, 50));
        EXPECT_FALSE(camera.IsInViewport(101, 0));
        EXPECT_FALSE(camera.IsInViewport(0, -1));
    }
}

TEST(QelCamera, DegenerateInputIsRefusedOrClampedAndTheMatricesStayFinite)
{
    QelCamera camera;
    const float fNaN = std::nanf("");
    struct SRow
    {
        const char* m_pName;
        std::function<void()> m_fnDo;
        std::string m_strMessage;
    };
    const std::vector<SRow> kRows = {
        {"NaN field of view", [&] { EXPECT_FALSE(camera.SetFieldOfView(fNaN)); },
         "<warning>Camera - Field of view nan refused: not a finite number<flush>"},
        {"zero field of view", [&] { EXPECT_TRUE(camera.SetFieldOfView(0)); },
         "<warning>Camera - Field of view 0 clamped to [1, 170] degrees<flush>"},
        {"near beyond far", [&] { EXPECT_FALSE(camera.SetClipDistances(10, 1)); },
         "<warning>Camera - Clip distances near 10 and far 1 refused: they need 0 < near < far<flush>"},
        {"eye on the focal point", [&] { EXPECT_TRUE(camera.SetOrbit(0, 0, 0)); },
         "<warning>Camera - Distance 0 to the focal point raised to 1e-05: the eye cannot sit on the focal "
         "point<flush>"},
        {"NaN orbit", [&] { EXPECT_FALSE(camera.SetOrbit(fNaN, 0, 1)); },
         "<warning>Camera - Orbit azimuth nan, elevation 0, distance 1 refused: not finite<flush>"},
        {"eye at the target", [&] { EXPECT_FALSE(camera.LookAt(QelVec3(1, 1, 1), QelVec3(1, 1, 1))); },
         "<warning>Camera - Look-at refused: eye (X:1, Y:1, Z:1) and target (X:1, Y:1, Z:1) must be finite and "
         "apart<flush>"},
        {"empty viewport", [&] { camera.SetViewport(0, 0, 0, 480); },
         "<warning>Camera - Viewport 0 x 480 is empty; 1 x 1 is used instead<flush>"},
        {"NaN typed into a property",
         [&] {
             camera.GetProperty("Camera:Distance")->SetAsFloat(fNaN);
             EXPECT_EQ(camera.GetDistance(), 10.0f);
         },
         "<warning>Camera - [Camera:Distance] is not a finite number; it was reset to 10<flush>"},
        {"NaN focal point",
         [&] {
             camera.GetFocalPoint().SetPosition(QelVec3(fNaN, 0, 0));
             camera.GetEye();
         },
         "<warning>Camera - Focal point (X:nan, Y:0, Z:0) is not finite; it was moved to the origin<flush>"},
        {"zero zoom factor", [&] { camera.ZoomBy(0); },
         "<warning>Camera - Zoom factor 0 refused: it must be a positive number<flush>"},
    };
    for (const SRow& row : kRows)
    {
        SCOPED_TRACE(row.m_pName);
        QelCapture log;
        row.m_fnDo();
        ASSERT_EQ(log.Messages().size(), 1u) << log.Joined();
        EXPECT_EQ(log.Messages()[0], row.m_strMessage);
        EXPECT_TRUE(MatrixIsFinite(camera.GetProjectionMatrix()));
        EXPECT_TRUE(MatrixIsFinite(camera.GetViewMatrix()));
    }
    int v[4];
    camera.GetViewport(v);
    EXPECT_EQ(v[2], 1);
    EXPECT_FLOAT_EQ(camera.GetFieldOfView(), 1.0f);
    EXPECT_LT(camera.GetNearClip(), camera.GetFarClip());
}

