#include "qel/display/QelDisplaySystem.h"
#include "qel/properties/QelProperty.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(QelDisplaySystem, DefaultsOfEveryHook)
{
    QelCapture cap;
    QelDisplaySystem ds;
    EXPECT_EQ(int(ds.GetCategory()), 5);
    EXPECT_EQ(ds.GetClearBit(), 17664u);
    EXPECT_EQ(ds.GetClearColor(), QelVec4(0, 0, 0, 0));
    EXPECT_FALSE(ds.IsManagingScreenClears());
    EXPECT_TRUE(ds.AllowFocusManipulation());
    EXPECT_FALSE(ds.AllowMultisampling());
    EXPECT_EQ(ds.GetDisplayObjects(), nullptr);
    EXPECT_EQ(ds.GetWnd(false), nullptr);
    EXPECT_EQ(ds.GetFrame(true), nullptr);
    EXPECT_EQ(&ds.GetIconColor(), &QelDisplaySystem().GetIconColor());

    QelMouseState mouse;
    bool bHandled = false;
    EXPECT_FALSE(ds.MouseMotion(mouse, QelVec2(1, 2), bHandled));
    EXPECT_FALSE(bHandled);
    void* pResource = &ds;
    unsigned int nButtons = 7;
    EToolbarDock eDock = eToolbarDockLeft;
    EXPECT_FALSE(ds.GetToolbarInfo(pResource, nButtons, eDock));

    // The no-op hooks do nothing, and the cursor request goes to the application object quietly.
    QelKeyState key;
    ds.KeyPressed(key);
    ds.MouseWheelMotion(mouse, 120);
    ds.Zoom(eZoomExtents);
    ds.Draw();
    ds.SetCursor();
    EXPECT_TRUE(cap.Messages().empty());

    int nFrame = 0;
    CWnd* pWnd = reinterpret_cast<CWnd*>(&nFrame);
    CFrameWnd* pFrame = reinterpret_cast<CFrameWnd*>(&eDock);
    ds.SetMfcData(pWnd, pFrame);
    EXPECT_EQ(ds.GetWnd(false), pWnd);
    EXPECT_EQ(ds.GetFrame(false), pFrame);
}

TEST(QelDisplaySystem, RedrawFlagWindowSizeTabletAndOpenOnLoad)
{
    QelDisplaySystem ds;
    EXPECT_TRUE(ds.NeedsRedraw());
    ds.ResetRedrawFlag();
    EXPECT_FALSE(ds.NeedsRedraw());
    ds.Redraw();
    EXPECT_TRUE(ds.NeedsRedraw());

    unsigned int w = 9, h = 9;
    ds.GetWindowSize(w, h);
    EXPECT_EQ(w, 0u);
    EXPECT_EQ(h, 0u);
    ds.WindowResized(640, 480);
    ds.GetWindowSize(w, h);
    EXPECT_EQ(w, 640u);
    EXPECT_EQ(h, 480u);

    QelDisplaySystem::STabletData t = ds.GetTabletData();
    QelDisplaySystem::STabletData zero;
    EXPECT_EQ(std::memcmp(&t, &zero, sizeof t), 0);
    t.m_nX = 1;
    t.m_nPressure = 512;
    t.m_nButtons = 0xFFFFFFFFu;
    ds.SetTabletData(t);
    QelDisplaySystem::STabletData back = ds.GetTabletData();
    EXPECT_EQ(std::memcmp(&t, &back, sizeof t), 0);
    EXPECT_EQ(sizeof(QelDisplaySystem::STabletData), 28u);

    EXPECT_TRUE(ds.IsAllowedOpenOnLoad());
    ds.SetAllowOpenOnLoad(false);
    EXPECT_FALSE(ds.IsAllowedOpenOnLoad());
}

TEST(QelDisplaySystem, ReservedThisPointsAtItsOwnDisplaySystem)
{
    QelCapture cap;
    QelDisplaySystem ds;
    QelProperty* p = ds.GetProperty("Reserved:This");
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetDataType(), eDataDisplaySystem);
    EXPECT_EQ(p->GetAsDisplaySystem(), &ds);
    EXPECT_EQ(ds.GetPropertyCount(), 1);
    // A second one is refused without a message.
    EXPECT_EQ(ds.CreateProperty("Reserved:This", eDataDisplaySystem, false), nullptr);

    QelDisplaySystem copy(ds);
    ASSERT_NE(copy.GetProperty("Reserved:This"), nullptr);
    EXPECT_EQ(copy.GetProperty("Reserved:This")->GetAsDisplaySystem(), &copy);
    EXPECT_EQ(copy.GetPropertyCount(), 1);
    // The copy's state is its own.
    ds.WindowResized(10, 20);
    unsigned int w = 0, h = 0;
    copy.GetWindowSize(w, h);
    EXPECT_EQ(w, 0u);

    QelDisplaySystem assigned;
    assigned = ds;
    EXPECT_EQ(assigned.GetProperty("Reserved:This")->GetAsDisplaySystem(), &assigned);
    EXPECT_EQ(cap.Errors(), 0u);
}

TEST(QelDisplaySystem, ScreenCoordinatesAddTheViewportOffset)
{
    QelDisplaySystem::SetCurrentViewportInfo(100, 50, 640, 480, 1, 1);
    int x = 0, y = 0, w = 0, h = 0;
    QelDisplaySystem::GetCurrentViewportInfo(x, y, w, h);
    EXPECT_EQ(x, 100);
    EXPECT_EQ(y, 50);
    EXPECT_EQ(w, 640);
    EXPECT_EQ(h, 480);
    QelDisplaySystem::GetScreenCoordinate(10, 20, x, y);
    EXPECT_EQ(x, 110);
    EXPECT_EQ(y, 70);
    // The offset applies whatever the flags say.
    QelDisplaySystem::SetCurrentViewportInfo(-5, 7, 0, 0, 0, 0);
    QelDisplaySystem::GetScreenCoordinate(10, 20, x, y);
    EXPECT_EQ(x, 5);
    EXPECT_EQ(y, 27);
}
