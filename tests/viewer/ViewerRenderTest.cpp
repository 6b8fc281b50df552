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
} // namespace
