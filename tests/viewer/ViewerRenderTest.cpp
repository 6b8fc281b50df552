#include "ViewerTestSupport.h"

#include "ViewerScript.h"
#include "ViewerSession.h"

#include "qel/platform/QelOffscreenContext.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

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

namespace
{
/// A front view of one box at the origin, drawn once so that the camera knows the viewport.
struct ViewerPickTest : ::testing::Test
{
    ViewerSession m_cSession{ViewerTestApp()};
    QelDisplayObject* m_pBox = nullptr;

    void SetUp() override
    {
        std::string strWhy;
        if (!QelOffscreenContext::MakeCurrent(64, 64, &strWhy))
            GTEST_SKIP() << "no OpenGL context: " << strWhy;
        ViewerTestApp().ClearUndo();
        ASSERT_TRUE(ViewerScript::Run(m_cSession, "size 200 150\nadd shape Box01\nview front\nzoom extents\n"
                                                  "select none\nframes 1\n", "t"));
        m_pBox = m_cSession.Scene().FindByName("Box01");
    }

    QelMouseState Mouse(QelMouseState::EMouseButtons eButton, int x, int y)
    {
        QelMouseState cMouse;
        cMouse.m_nX = x, cMouse.m_nY = y, cMouse.m_eButton = eButton, cMouse.m_nButtons = eButton;
        return cMouse;
    }
    void Release(QelMouseState cMouse)
    {
        cMouse.m_nButtons = 0;
        m_cSession.View().MouseButtonRelease(cMouse);
    }
};

TEST_F(ViewerPickTest, ClicksAndRubberBandsSelectThroughTheViewsSelectionSet)
{
    ViewerView& cView = m_cSession.View();
    struct SRow
    {
        const char* m_pName;
        std::string m_strScript;
        size_t m_nSelected;
    };
    const SRow kRows[] = {
        {"click on the box", "pick 100 75", 1},
        {"click beside it", "pick 5 5", 0},
        {"band round it", "band 10 10 190 140", 1},
        {"band over half of it", "band 10 10 100 140", 0},
    };
    for (const SRow& cRow : kRows)
    {
        SCOPED_TRACE(cRow.m_pName);
        ASSERT_TRUE(ViewerScript::Run(m_cSession, "select none\n" + cRow.m_strScript, "t"));
        EXPECT_EQ(cView.GetSelection().size(), cRow.m_nSelected);
        EXPECT_EQ(m_cSession.Scene().GetSelectedCount(), int(cRow.m_nSelected));
    }

    // The same through the mouse hooks: a click, and an Alt drag that draws its band.
    QelMouseState cClick = Mouse(QelMouseState::eButtonLeft, 100, 75);
    cView.MouseButtonPress(cClick);
    Release(cClick);
    EXPECT_EQ(m_cSession.Scene().GetSelection(), m_pBox);
    QelMouseState cBand = Mouse(QelMouseState::eButtonLeft, 195, 145);
    cBand.m_bAlt = true;
    cView.MouseButtonPress(cBand);
    bool bHandled = false;
    cBand.m_nX = 100, cBand.m_nY = 75;
    EXPECT_TRUE(cView.MouseMotion(cBand, QelVec2(-95.0f, -70.0f), bHandled));
    int n[4] = {0, 0, 0, 0};
    ASSERT_TRUE(cView.GetRubberBand(n[0], n[1], n[2], n[3]));
    EXPECT_EQ((std::vector<int>{n[0], n[1], n[2], n[3]}), (std::vector<int>{195, 145, 100, 75}));
    Release(cBand);
    EXPECT_FALSE(cView.GetRubberBand(n[0], n[1], n[2], n[3]));
    EXPECT_TRUE(cView.GetSelection().empty()); // the band held only part of the box
}

TEST_F(ViewerPickTest, TheManipulatorMovesTheSelectionOnTheGridAndIsUndone)
{
    ViewerView& cView = m_cSession.View();
    // A grid snaps moves to its spacing.
    ASSERT_TRUE(ViewerScript::Run(m_cSession, "add grid\nset Grid:Spacing 0.25\n", "t"));
    m_cSession.Scene().Select(m_pBox, false);
    EXPECT_EQ(cView.Manipulator().GetTarget(), m_pBox);
    m_cSession.RenderFrames(1);
    // The X arrow runs right from the box's centre; find a pixel of it.
    int nHandleX = -1;
    for (int x = 101; x < 200 && nHandleX < 0; ++x)
        if (cView.Manipulator().HitTest(x, 75) == QelManipulator::eHandleX)
            nHandleX = x;
    ASSERT_GE(nHandleX, 0);
    QelMouseState cMouse = Mouse(QelMouseState::eButtonLeft, nHandleX, 75);
    cView.MouseButtonPress(cMouse);
    bool bHandled = false;
    cMouse.m_nX += 37;
    EXPECT_TRUE(cView.MouseMotion(cMouse, QelVec2(37.0f, 0.0f), bHandled));
    Release(cMouse);
    QelVec3 vMoved = m_pBox->GetTranslation();
    EXPECT_GE(vMoved.x, 0.25f);
    EXPECT_FLOAT_EQ(vMoved.x * 4.0f, std::round(vMoved.x * 4.0f));
    EXPECT_FLOAT_EQ(vMoved.z, 0.0f);
    EXPECT_TRUE(ViewerTestApp().Undo());
    EXPECT_FLOAT_EQ(m_pBox->GetTranslation().x, 0.0f);
}

TEST_F(ViewerPickTest, ARightClickOffersTheObjectsMenuWhichRunsItsCommands)
{
    ViewerView& cView = m_cSession.View();
    m_pBox->SetTranslation(QelVec3(0.1f, 0.0f, 0.0f));
    QelMouseState cMouse = Mouse(QelMouseState::eButtonRight, 5, 5);
    cView.MouseButtonPress(cMouse);
    Release(cMouse);
    EXPECT_EQ(cView.TakePopupMenu().GetOwner(), nullptr); // nothing under the mouse
    cMouse = Mouse(QelMouseState::eButtonRight, 100, 75);
    cView.MouseButtonPress(cMouse);
    Release(cMouse);
    QelPopupMenu cMenu = cView.TakePopupMenu();
    ASSERT_EQ(cMenu.GetOwner(), m_pBox);
    EXPECT_EQ(cView.TakePopupMenu().GetOwner(), nullptr); // handed over once
    unsigned int nCommand = 0;
    ASSERT_TRUE(ViewerScript::FindMenuItem(cMenu.GetItems(), "Move to origin", nCommand));
    EXPECT_TRUE(cMenu.Choose(nCommand));
    EXPECT_FLOAT_EQ(m_pBox->GetTranslation().x, 0.0f);
}
} // namespace
