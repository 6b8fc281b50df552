#include "qel/display/QelGrid.h"
#include "qel/display/QelManipulator.h"
#include "qel/properties/QelProperty.h"
#include "tests/display/QelSceneFixtures.h"
#include "tests/support/QelGLTest.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
const int kSize = 200;
const unsigned int kRed = 0xFF0000FFu, kBlack = 0xFF000000u;

/// A box that counts how it was told about transforms, and may refuse analog translation.
class Target : public QelTestBox
{
public:
    Target() : QelTestBox(QelVec3(0.5f, 0.5f, 0.5f), kRed) {}
    bool AllowAnalogTranslation() override { return m_bAllowAnalog; }
    void ObjectTransformed(bool bFromManipulator) override { m_nFromManipulator += bFromManipulator; }
    bool m_bAllowAnalog = true;
    int m_nFromManipulator = 0;
};

/// Looks straight down at the origin: 10 pixels a unit, +X to the right, +Y up the screen.
void TopCamera(QelCamera& camera)
{
    camera.SetViewport(0, 0, kSize, kSize);
    QelTopCamera(camera, 10);
}

/// The mouse position (origin top left) of a world point on the z = 0 plane, for TopCamera.
int MouseX(float x) { return kSize / 2 + int(std::lround(x * 10.0f)); }
int MouseY(float y) { return kSize / 2 - int(std::lround(y * 10.0f)); }

/// Drags from one mouse position to another in three steps, as a host's motion events would.
void DragBy(QelManipulator& m, int x, int y, int dx, int dy)
{
    QelMouseState mouse;
    mouse.m_eButton = QelMouseState::eButtonLeft;
    mouse.m_nButtons = QelMouseState::eButtonLeft;
    mouse.m_nX = x, mouse.m_nY = y;
    ASSERT_TRUE(m.MouseButtonPress(mouse)) << "nothing grabbed at " << x << ", " << y;
    bool bHandled = false;
    for (int k = 1; k <= 3; ++k)
    {
        mouse.m_nX = x + dx * k / 3, mouse.m_nY = y + dy * k / 3;
        EXPECT_TRUE(m.MouseMotion(mouse, QelVec2(float(dx) / 3, float(dy) / 3), bHandled));
    }
    EXPECT_TRUE(bHandled);
    EXPECT_TRUE(m.MouseButtonRelease(mouse));
}
} // namespace

TEST(QelManipulatorGL, DraggingTheXHandleByNPixelsMovesTheObjectByNPixelsWorthAndSnapsWhenAsked)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    QelCamera camera;
    TopCamera(camera);
    Target box;
    box.SetTranslation(QelVec3(0.2f, 0, 0));
    QelManipulator manipulator;
    manipulator.SetCamera(&camera);
    manipulator.SetTarget(&box);

    // The X arrow runs 80 pixels to the right of the object's origin; grab it half way.
    EXPECT_EQ(manipulator.HitTest(MouseX(0.2f) + 40, MouseY(0)), QelManipulator::eHandleX);
    EXPECT_EQ(manipulator.HitTest(MouseX(0.2f) + 40, MouseY(0) - 15), QelManipulator::eHandleNone);
    DragBy(manipulator, MouseX(0.2f) + 40, MouseY(0), 37, 0);
    EXPECT_NEAR(box.GetProperty("Transform:Translation:X")->GetAsFloat(), 0.2f + 3.7f, 1e-3f);
    EXPECT_NEAR(box.GetTranslation().y, 0.0f, 1e-4f);
    EXPECT_GE(box.m_nFromManipulator, 3);
    // What is drawn moved with it: the box now covers x 3.4 to 4.4.
    QelDrawTestFrame(camera, {&box, &manipulator});
    EXPECT_EQ(QelOffscreenContext::ReadPixel(MouseX(3.9f) + 3, kSize / 2 - 3), kRed);
    EXPECT_EQ(QelOffscreenContext::ReadPixel(MouseX(0.2f) - 3, kSize / 2 - 3), kBlack);

    // With a grid that snaps, the same drag lands on the lattice: 0.2 + 3.7 becomes 4.
    QelGrid grid;
    grid.SetSpacing(1.0f);
    grid.SetTranslationSnap(true);
    manipulator.SetGrid(&grid);
    box.SetTranslation(QelVec3(0.2f, 0.3f, 0));
    DragBy(manipulator, MouseX(0.2f) + 40, MouseY(0.3f), 37, 0);
    EXPECT_NEAR(box.GetTranslation().x, 4.0f, 1e-5f);
    EXPECT_NEAR(box.GetTranslation().y, 0.3f, 1e-5f); // only the dragged axis snaps

    // The XY square: a drag moves in both and snaps both.
    grid.SetTranslationSnap(false);
    box.SetTranslation(QelVec3(0, 0, 0));
    EXPECT_EQ(manipulator.HitTest(MouseX(3), MouseY(3)), QelManipulator::eHandleXY);
    DragBy(manipulator, MouseX(3), MouseY(3), 15, 25);
    EXPECT_NEAR(box.GetTranslation().x, 1.5f, 1e-3f);
    EXPECT_NEAR(box.GetTranslation().y, -2.5f, 1e-3f);
    manipulator.SetTarget(nullptr);
}

TEST(QelManipulatorGL, InPerspectiveTheGrabbedPointStaysUnderTheMouse)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    QelCamera camera;
    camera.SetViewport(0, 0, kSize, kSize);
    camera.SetView(QelCamera::eViewFront); // +X to the right, +Z up, looking along +Y
    camera.SetOrbit(camera.GetAzimuth(), 0, 12);
    Target box;
    box.SetTranslation(QelVec3(-2, 0, 1));
    // Under a parent that doubles everything: the property moves half as far as the world point.
    QelDisplayObject parent;
    parent.AddTransformProperties(false, false, true);
    parent.SetScale(QelVec3(2, 2, 2));
    parent.AddChild(&box);
    QelManipulator manipulator;
    manipulator.SetCamera(&camera);
    manipulator.SetTarget(&box);
    QelVec3 vBefore, vAfter;
    ASSERT_TRUE(camera.Project(QelVec3(-4, 0, 2), vBefore));
    const int x = int(vBefore.x) + 40, y = kSize - int(vBefore.y);
    DragBy(manipulator, x, y, 30, 0);
    QelMatrix4 mWorld;
    box.GetWorldTransform(mWorld);
    ASSERT_TRUE(camera.Project(mWorld.GetTranslation(), vAfter));
    EXPECT_NEAR(vAfter.x - vBefore.x, 30.0f, 0.5f);
    EXPECT_NEAR(vAfter.y, vBefore.y, 1e-3f);
    const float fMoved = box.GetTranslation().x + 2.0f;
    EXPECT_NEAR(mWorld.GetTranslation().x + 4.0f, 2.0f * fMoved, 1e-4f);
    // The Z arrow goes up the screen; it lifts the object.
    DragBy(manipulator, int(vAfter.x), kSize - int(vAfter.y) - 40, 0, -20);
    EXPECT_GT(box.GetTranslation().z, 1.0f);
    parent.RemoveChild(&box);
    manipulator.SetTarget(nullptr);
}

TEST(QelManipulatorGL, RingsTurnAndSnapArrowsScaleAndRefusalsAreSaid)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    QelCamera camera;
    TopCamera(camera);
    Target box;
    QelManipulator manipulator;
    manipulator.SetCamera(&camera);
    manipulator.SetTarget(&box);
    manipulator.SetMode(QelManipulator::eModeRotate);
    // The ring about Z has a radius of 64 pixels: a quarter of it, from east to north.
    DragBy(manipulator, MouseX(6.4f), MouseY(0), -64, -64);
    QelVec4 r = box.GetRotation();
    EXPECT_NEAR(r.z * r.w, 90.0f, 0.5f);
    // Snapped to 15 degrees: a turn of 50 becomes 45 (on top of the 90 already there).
    QelGrid grid;
    grid.SetRotationSnap(true);
    manipulator.SetGrid(&grid);
    const float c = 64 * std::cos(50 * kQelDegToRad), s = 64 * std::sin(50 * kQelDegToRad);
    DragBy(manipulator, MouseX(6.4f), MouseY(0), int(std::lround(c)) - 64, -int(std::lround(s)));
    r = box.GetRotation();
    EXPECT_NEAR(r.z * r.w, 135.0f, 0.01f);

    // Scale along the object's own X: the grabbed point (the centre of the pixel 40 out) follows
    // the mouse 20 pixels further.
    box.SetRotation(QelVec4(0, 0, 1, 0));
    manipulator.SetMode(QelManipulator::eModeScale);
    DragBy(manipulator, MouseX(4), MouseY(0), 20, 0);
    EXPECT_NEAR(box.GetProperty("Transform:Scale:X")->GetAsFloat(), 60.5f / 40.5f, 1e-4f);
    // Dragged through the origin the scale stops short of zero.
    DragBy(manipulator, MouseX(4), MouseY(0), -70, 0);
    EXPECT_GT(box.GetProperty("Transform:Scale:X")->GetAsFloat(), 0.0f);

    // An object that refuses analog translation is not moved, and the manipulator says why.
    manipulator.SetMode(QelManipulator::eModeTranslate);
    box.SetScale(QelVec3(1, 1, 1));
    box.m_bAllowAnalog = false;
    box.SetName("Anchor");
    QelCapture log;
    EXPECT_FALSE(manipulator.BeginDrag(MouseX(4), MouseY(0)));
    EXPECT_EQ(log.Joined(), "<warning>Manipulator - [Anchor] cannot be moved by dragging: it does not allow analog "
                            "translation<flush>");
    EXPECT_FALSE(manipulator.Drag(MouseX(6), MouseY(0)));
    EXPECT_NEAR(box.GetTranslation().x, 0.0f, 0);

    // A deleted target is let go.
    box.OnDelete();
    EXPECT_EQ(manipulator.GetTarget(), nullptr);
    EXPECT_EQ(manipulator.HitTest(MouseX(4), MouseY(0)), QelManipulator::eHandleNone);
}
