#include "qel/display/QelDisplaySystem.h"
#include "qel/properties/QelProperty.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(QelDisplaySystem, HookDefaultsRedrawFlagSizeAndTablet)
{
    QelCapture cap;
    QelDisplaySystem ds;
    EXPECT_EQ(int(ds.GetCategory()), 5);
    EXPECT_EQ(ds.GetClearBit(), 17664u);
    EXPECT_EQ(ds.GetClearColor(), QelVec4(0, 0, 0, 0));
    void* pResource = nullptr;
    unsigned int nButtons = 0;
    EToolbarDock eDock = eToolbarDockTop;
    EXPECT_FALSE(ds.GetToolbarInfo(pResource, nButtons, eDock));
    ds.SetCursor(); // the test application has no cursors: nothing happens
    EXPECT_TRUE(cap.Messages().empty());

    EXPECT_TRUE(ds.NeedsRedraw());
    ds.ResetRedrawFlag();
    EXPECT_FALSE(ds.NeedsRedraw());
    ds.Redraw();
    EXPECT_TRUE(ds.NeedsRedraw());

    ds.WindowResized(640, 480);
    unsigned int w = 0, h = 0;
    ds.GetWindowSize(w, h);
    EXPECT_EQ(w, 640u);
    EXPECT_EQ(h, 480u);

    QelDisplaySystem::STabletData t = ds.GetTabletData(), zero;
    EXPECT_EQ(std::memcmp(&t, &zero, sizeof t), 0);
    t.m_nX = 1;
    t.m_nButtons = 0xFFFFFFFFu;
    ds.SetTabletData(t);
    QelDisplaySystem::STabletData back = ds.GetTabletData();
    EXPECT_EQ(std::memcmp(&t, &back, sizeof t), 0);
}

TEST(QelDisplaySystem, ReservedThisPointsAtItsOwnDisplaySystemInCopiesToo)
{
    QelCapture cap;
    QelDisplaySystem ds;
    QelProperty* p = ds.GetProperty("Reserved:This");
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetDataType(), eDataDisplaySystem);
    EXPECT_EQ(p->GetAsDisplaySystem(), &ds);
    EXPECT_FALSE(p->WillAutoSave());
    EXPECT_EQ(ds.CreateProperty("Reserved:This", eDataDisplaySystem, false), nullptr);

    ds.WindowResized(10, 20);
    QelDisplaySystem copy(ds), assigned;
    assigned = ds;
    for (QelDisplaySystem* pOther : {&copy, &assigned})
    {
        EXPECT_EQ(pOther->GetPropertyCount(), 1);
        EXPECT_EQ(pOther->GetProperty("Reserved:This")->GetAsDisplaySystem(), pOther);
        unsigned int w = 1, h = 1;
        pOther->GetWindowSize(w, h);
        EXPECT_EQ(w, 0u); // the state is each one's own
    }
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
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
    QelDisplaySystem::SetCurrentViewportInfo(-5, 7, 0, 0, 0, 0); // the flags do not matter here
    QelDisplaySystem::GetScreenCoordinate(10, 20, x, y);
    EXPECT_EQ(x, 5);
    EXPECT_EQ(y, 27);
}
