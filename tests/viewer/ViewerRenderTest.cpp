#include "ViewerTestSupport.h"

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
    // Below and left of the centre, clear of the manipulator's handles at the selected box's origin.
    EXPECT_EQ(cImage.Pixel(85, 90) & 0xFFFFFF, 0xCC6633u);
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
}

TEST(ViewerView, PresetNamesMapToTheCamerasPresets)
{
    QelCamera::EViewPreset ePreset;
    for (int i = 0; i < ViewerView::kPresetCount; ++i)
    {
        SCOPED_TRACE(ViewerView::PresetName(i));
        ASSERT_TRUE(ViewerView::PresetFromName(ViewerView::PresetName(i), ePreset));
        for (int j = 0; j < i; ++j)
        {
            QelCamera::EViewPreset eOther;
            ViewerView::PresetFromName(ViewerView::PresetName(j), eOther);
            EXPECT_NE(eOther, ePreset) << ViewerView::PresetName(j);
        }
    }
    EXPECT_TRUE(ViewerView::PresetFromName("iso", ePreset));
    EXPECT_EQ(ePreset, QelCamera::eViewThreeQuarter);
    EXPECT_FALSE(ViewerView::PresetFromName("ISO", ePreset));
    EXPECT_STREQ(ViewerView::PresetName(ViewerView::kPresetCount), "");
}

TEST(ViewerView, InputThroughTheHooksMovesTheCamera)
{
    ViewerSession cSession(ViewerTestApp());
    ViewerView& cView = cSession.View();
    cSession.AddShape("Box01");
    cView.WindowResized(400, 300);
    QelCamera& cCamera = cView.Camera();
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
    // Shift held at the press pans.
    cView.MouseButtonRelease(QelMouseState());
    cMouse.m_bShift = true;
    cView.MouseButtonPress(cMouse);
    QelVec3 vTarget = cCamera.GetFocus();
    cView.MouseMotion(cMouse, QelVec2(0.0f, 40.0f), bHandled);
    EXPECT_NE(cCamera.GetFocus(), vTarget);
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
