#include "qel/display/QelDisplayObject.h"
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
} // namespace

TEST(QelNode, DefaultsLookVectorsAndCopies)
{
    QelNode n;
    EXPECT_FALSE(n.IsHidden());
    EXPECT_EQ(n.GetCullRadius(), FLT_MAX);
    EXPECT_EQ(n.GetExtents(), Box(FLT_MAX, FLT_MAX, FLT_MAX, -FLT_MAX, -FLT_MAX, -FLT_MAX));
    EXPECT_TRUE(n.IsAboveMinimumPixelThreshold(0));
    QelVec3 vLook, vUp;
    n.GetLookVectors(vLook, vUp);
    EXPECT_EQ(vLook, QelVec3(1, 0, 0));
    EXPECT_EQ(vUp, QelVec3(0, 1, 1));

    n.ToggleHidden();
    n.SetExtents(Box(-1, -2, -3, 1, 2, 3));
    QelNode copy(n), assigned;
    assigned = n;
    for (QelNode* p : {&copy, &assigned})
    {
        EXPECT_TRUE(p->IsHidden());
        EXPECT_EQ(p->GetCullRadius(), n.GetCullRadius());
        EXPECT_EQ(p->GetExtents(), n.GetExtents());
    }
}

TEST(QelNode, CullRadiusOfValidAndInvalidBoxes)
{
    QelNode n;
    n.SetExtents(n.GetExtents()); // the same (empty) box again: nothing changes
    EXPECT_EQ(n.GetCullRadius(), FLT_MAX);
    n.SetExtents(Box(-1, -2, -3, 1, 2, 3));
    EXPECT_FLOAT_EQ(n.GetCullRadius(), std::sqrt(14.0f));
    n.SetExtents(Box(1, 1, 1, 2, 2, 2)); // the farthest corner, not the half diagonal
    EXPECT_FLOAT_EQ(n.GetCullRadius(), std::sqrt(12.0f));
    n.SetExtents(Box(0, 0, 0, 3, 4, 0)); // flat is valid
    EXPECT_FLOAT_EQ(n.GetCullRadius(), 5.0f);
    n.SetExtents(Box(-1e30f, -1e30f, -1e30f, 1e30f, 1e30f, 1e30f)); // squares beyond float range
    EXPECT_FLOAT_EQ(n.GetCullRadius(), 1e30f * std::sqrt(3.0f));

    for (const QelBox3& b : {Box(FLT_MAX, FLT_MAX, FLT_MAX, -FLT_MAX, -FLT_MAX, -FLT_MAX),
                             Box(-1, -1, FLT_MAX, 1, 1, 1), Box(-1, -1, -1, 1, -FLT_MAX, 1), Box(2, -1, -1, 1, 1, 1)})
    {
        n.SetExtents(Box(-1, -2, -3, 1, 2, 3));
        n.SetExtents(b);
        EXPECT_EQ(n.GetCullRadius(), 0.0f);
        EXPECT_EQ(n.GetExtents(), b);
    }
}

TEST(QelNode, OnlyDisplayObjectsDetectTransformEditsInCalculate)
{
    QelNode n;
    n.AddTransformProperties(true, true, true);
    QelMatrix4 m;
    n.GetTransform(m);
    n.GetProperty("Transform:Scale:Y")->SetAsFloat(2.0f);
    n.Calculate();
    EXPECT_FALSE(n.NeedsRebuilding());

    QelDisplayObject o;
    o.AddTransformProperties(true, true, true);
    o.GetTransform(m);
    o.GetProperty("Transform:Scale:Y")->SetAsFloat(2.0f);
    o.Calculate();
    EXPECT_TRUE(o.NeedsRebuilding());
    o.GetTransform(m);
    EXPECT_NEAR((m * QelVec3(0, 1, 0)).x, -2.0f, 1e-5f);
}
