#include "ViewerTestSupport.h"

#include "ViewerCamera.h"
#include "ViewerScript.h"
#include "ViewerSession.h"

#include "qel/platform/QelOffscreenContext.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
#define REQUIRE_OFFSCREEN_GL()                                                                                   \
    do                                                                                                         \
    {                                                                                                          \
        std::string strWhy_;                                                                                   \
        if (!QelOffscreenContext::MakeCurrent(64, 64, &strWhy_))                                               \
            GTEST_SKIP() << "no OpenGL context: " << strWhy_;                                                  \
    } while (0)

TEST(ViewerRender, AScriptedFrontViewShowsTheEditedColor)
{
    REQUIRE_OFFSCREEN_GL();
    ViewerSession cSession(ViewerTestApp());
    std::string strShot = ViewerScratchDir("render") + "/front.png";
    ASSERT_TRUE(ViewerScript::Run(cSession,
                                  "size 200 150\nadd shape Box01\nset Material:Color #3366CC\nview front\n"
                                  "zoom selected\nframes 2\nscreenshot \"" + strShot + "\"\n",
                                  "t"));
    ViewerImage cImage;
    std::string strWhy;
    ASSERT_TRUE(ViewerReadPng(strShot, cImage, strWhy)) << strWhy;
    EXPECT_EQ(cImage.m_nWidth, 200);
    EXPECT_EQ(cImage.m_nHeight, 150);
    EXPECT_EQ(cImage.Pixel(100, 75) & 0xFFFFFF, 0xCC6633u);
    // The background shows at the corners.
    EXPECT_EQ(cImage.Pixel(2, 2) & 0xFFFFFF, 0x2E2219u);
}

TEST(ViewerRender, AViewWithoutAreaDrawsNothingAndDividesByNothing)
{
    REQUIRE_OFFSCREEN_GL();
    ViewerSession cSession(ViewerTestApp());
    cSession.AddShape("Box01");
    ASSERT_TRUE(ViewerScript::Run(cSession, "size 64 64\nframes 1\n", "t"));
    unsigned int nBefore = QelOffscreenContext::ReadPixel(32, 32);
    for (auto [nWidth, nHeight] : {std::pair<unsigned, unsigned>{0, 0}, {0, 64}, {64, 0}})
    {
        SCOPED_TRACE(std::to_string(nWidth) + "x" + std::to_string(nHeight));
        cSession.View().WindowResized(nWidth, nHeight);
        cSession.View().Zoom(eZoomExtents);
        cSession.View().Draw();
        EXPECT_EQ(QelOffscreenContext::ReadPixel(32, 32), nBefore);
        EXPECT_TRUE(std::isfinite(cSession.View().Camera().GetDistance()));
    }
    QelMatrix4 mIdentity(true);
    EXPECT_EQ(ViewerCamera().GetProjectionMatrix(0, 480), mIdentity);
    EXPECT_EQ(ViewerCamera().GetProjectionMatrix(640, 0), mIdentity);
}

TEST(ViewerCamera, PresetsAndMovesKeepTheCameraUsable)
{
    ViewerCamera cCamera;
    cCamera.SetPreset(ViewerCamera::ePresetFront);
    cCamera.Fit(QelBox3(QelVec3(-1, -1, -1), QelVec3(1, 1, 1)), 2.0f);
    QelVec3 vEye = cCamera.GetEye();
    EXPECT_NEAR(vEye.x, 0.0f, 1e-5f);
    EXPECT_NEAR(vEye.y, 0.0f, 1e-5f);
    EXPECT_GT(vEye.z, 1.0f);
    // Straight down: the view matrix stays finite (the up vector follows the pitch).
    cCamera.SetPreset(ViewerCamera::ePresetTop);
    QelMatrix4 mView = cCamera.GetViewMatrix();
    for (int i = 0; i < 16; ++i)
        EXPECT_TRUE(std::isfinite(mView[i])) << i;
    for (int i = 0; i < 1000; ++i)
        cCamera.Dolly(5.0f);
    EXPECT_GT(cCamera.GetDistance(), 0.0f);
    cCamera.Fit(QelBox3(), 1.0f); // invalid: nothing changes
    EXPECT_GT(cCamera.GetDistance(), 0.0f);
    ViewerCamera::EPreset ePreset;
    EXPECT_TRUE(ViewerCamera::PresetFromName("iso", ePreset));
    EXPECT_EQ(ePreset, ViewerCamera::ePresetIso);
    EXPECT_FALSE(ViewerCamera::PresetFromName("ISO", ePreset));
}
TEST(ViewerView, InputThroughTheHooksMovesTheCamera)
{
    ViewerSession cSession(ViewerTestApp());
    ViewerView& cView = cSession.View();
    cSession.AddShape("Box01");
    cView.WindowResized(400, 300);
    ViewerCamera& cCamera = cView.Camera();
    cView.KeyPressed(QelKeyState{'1', 0, 1, false, false, false}); // front
    cView.KeyPressed(QelKeyState{'F', 0, 1, false, false, false}); // fit the selection
    QelVec3 vFront = cCamera.GetEye();
    EXPECT_NEAR(vFront.x, 0.0f, 1e-4f);

    QelMouseState cMouse;
    cMouse.m_nButtons = QelMouseState::eButtonLeft;
    cMouse.m_eButton = QelMouseState::eButtonLeft;
    bool bHandled = false;
    // Motion without a press first is not a drag.
    EXPECT_FALSE(cView.MouseMotion(cMouse, QelVec2(50.0f, 0.0f), bHandled));
    cView.MouseButtonPress(cMouse);
    EXPECT_TRUE(cView.MouseMotion(cMouse, QelVec2(50.0f, 0.0f), bHandled));
    EXPECT_TRUE(bHandled);
    EXPECT_GT(std::fabs(cCamera.GetEye().x), 0.1f); // tumbled about the target
    cMouse.m_bShift = true;
    QelVec3 vTarget = cCamera.GetTarget();
    cView.MouseMotion(cMouse, QelVec2(0.0f, 40.0f), bHandled);
    EXPECT_NE(cCamera.GetTarget(), vTarget); // shift + drag pans
    cMouse.m_nButtons = 0;
    cView.MouseButtonRelease(cMouse);
    EXPECT_FALSE(cView.MouseMotion(cMouse, QelVec2(5.0f, 5.0f), bHandled));

    float fDistance = cCamera.GetDistance();
    cView.MouseWheelMotion(cMouse, 120);
    EXPECT_LT(cCamera.GetDistance(), fDistance);
    fDistance = cCamera.GetDistance();
    cView.CharacterPressed(QelKeyState{0, '-', 1, false, false, false});
    EXPECT_GT(cCamera.GetDistance(), fDistance);
    EXPECT_TRUE(cView.NeedsRedraw());
}
} // namespace
