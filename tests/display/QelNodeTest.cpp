#include "qel/framework/QelNode.h"
#include "qel/properties/QelProperty.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>

namespace
{
QelBox3 Box(float x0, float y0, float z0, float x1, float y1, float z1)
{
    return QelBox3(QelVec3(x0, y0, z0), QelVec3(x1, y1, z1));
}

/// A node that must be at least 12 pixels on screen.
class ThresholdNode : public QelNode
{
public:
    unsigned int GetMinimumPixelThreshold() const override { return 12; }
};
} // namespace

TEST(QelNode, FreshNodeDefaults)
{
    QelNode n;
    EXPECT_FALSE(n.IsHidden());
    EXPECT_FALSE(n.AreChildrenHiddenWithParent());
    EXPECT_TRUE(n.ContributesToSceneExtents());
    EXPECT_EQ(n.GetCullRadius(), FLT_MAX);
    QelBox3 b = n.GetExtents();
    EXPECT_EQ(b.m_vecMin, QelVec3(FLT_MAX, FLT_MAX, FLT_MAX));
    EXPECT_EQ(b.m_vecMax, QelVec3(-FLT_MAX, -FLT_MAX, -FLT_MAX));
    EXPECT_FALSE(n.HasTransform());
    EXPECT_EQ(n.GetPropertyDescription(nullptr), "");

    QelVec3 vLook, vUp;
    n.GetLookVectors(vLook, vUp);
    EXPECT_EQ(vLook, QelVec3(1, 0, 0));
    EXPECT_EQ(vUp, QelVec3(0, 1, 1));

    EXPECT_TRUE(n.IsAboveMinimumPixelThreshold(0));
    ThresholdNode t;
    EXPECT_FALSE(t.IsAboveMinimumPixelThreshold(11));
    EXPECT_TRUE(t.IsAboveMinimumPixelThreshold(12));

    n.Hide(true);
    EXPECT_TRUE(n.IsHidden());
    n.ToggleHidden();
    EXPECT_FALSE(n.IsHidden());
    n.ToggleHidden();
    EXPECT_TRUE(n.IsHidden());
}

TEST(QelNode, CullRadiusOfValidAndInvalidBoxes)
{
    QelNode n;
    n.SetExtents(Box(-1, -2, -3, 1, 2, 3));
    EXPECT_FLOAT_EQ(n.GetCullRadius(), std::sqrt(14.0f));
    // The farthest corner counts, not the box's half diagonal.
    n.SetExtents(Box(1, 1, 1, 2, 2, 2));
    EXPECT_FLOAT_EQ(n.GetCullRadius(), std::sqrt(12.0f));

    // The empty box, a box with one untouched axis, and an inverted box are invalid: radius 0.
    n.SetExtents(Box(FLT_MAX, FLT_MAX, FLT_MAX, -FLT_MAX, -FLT_MAX, -FLT_MAX));
    EXPECT_EQ(n.GetCullRadius(), 0.0f);
    n.SetExtents(Box(-1, -1, FLT_MAX, 1, 1, 1));
    EXPECT_EQ(n.GetCullRadius(), 0.0f);
    n.SetExtents(Box(2, -1, -1, 1, 1, 1));
    EXPECT_EQ(n.GetCullRadius(), 0.0f);
    EXPECT_EQ(n.GetExtents().m_vecMin.x, 2.0f);
    // A flat box (zero thickness) is valid.
    n.SetExtents(Box(0, 0, 0, 3, 4, 0));
    EXPECT_FLOAT_EQ(n.GetCullRadius(), 5.0f);

    // Coordinates whose squares overflow a float still give a finite radius.
    n.SetExtents(Box(-1e30f, -1e30f, -1e30f, 1e30f, 1e30f, 1e30f));
    EXPECT_FLOAT_EQ(n.GetCullRadius(), 1e30f * std::sqrt(3.0f));
}

TEST(QelNode, SettingTheSameBoxAgainChangesNothing)
{
    QelNode n;
    // The stored box equals the empty box at first: setting it keeps the never-culled radius.
    n.SetExtents(n.GetExtents());
    EXPECT_EQ(n.GetCullRadius(), FLT_MAX);
    n.SetExtents(Box(-1, -2, -3, 1, 2, 3));
    float fFirst = n.GetCullRadius();
    n.SetExtents(Box(-1, -2, -3, 1, 2, 3));
    EXPECT_EQ(n.GetCullRadius(), fFirst);
}

TEST(QelNode, CopiesCarryHiddenStateExtentsAndRadius)
{
    QelNode a;
    a.AddTransformProperties(true, false, false);
    a.SetTranslation(QelVec3(1, 2, 3));
    a.Hide(true);
    a.SetExtents(Box(-1, -2, -3, 1, 2, 3));
    QelNode b(a);
    EXPECT_TRUE(b.IsHidden());
    EXPECT_EQ(b.GetCullRadius(), a.GetCullRadius());
    EXPECT_EQ(b.GetTranslation(), QelVec3(1, 2, 3));

    QelNode c;
    c = a;
    EXPECT_TRUE(c.IsHidden());
    EXPECT_EQ(c.GetExtents().m_vecMax, QelVec3(1, 2, 3));
    QelNode& self = c;
    c = self;
    EXPECT_TRUE(c.IsHidden());
}

TEST(QelNode, TheMatrixFollowsPropertyEdits)
{
    QelNode n;
    n.AddTransformProperties(true, true, true);
    QelMatrix4 m;
    n.GetTransform(m);
    n.GetProperty("Transform:Scale:Y")->SetAsFloat(2.0f);
    n.Calculate();
    EXPECT_TRUE(n.NeedsRebuilding());
    n.GetTransform(m);
    QelVec3 v = m * QelVec3(0, 1, 0);
    EXPECT_NEAR(v.x, -2.0f, 1e-5f);
}
