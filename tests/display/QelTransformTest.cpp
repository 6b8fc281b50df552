#include "qel/display/QelDisplayObject.h"
#include "qel/display/QelTransform.h"
#include "qel/properties/QelProperty.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <random>

namespace
{
void ExpectNear(const QelVec3& a, const QelVec3& b, float fTolerance = 1e-5f)
{
    EXPECT_TRUE(a.Equals(b, fTolerance)) << a.x << ", " << a.y << ", " << a.z;
}

void ExpectMatrixNear(const QelMatrix4& a, const QelMatrix4& b, float fTolerance = 1e-4f)
{
    for (int i = 0; i < 16; ++i)
        EXPECT_NEAR(static_cast<const float*>(a)[i], static_cast<const float*>(b)[i], fTolerance) << i;
}

QelMatrix4 Matrix(QelTransform& t)
{
    QelMatrix4 m(false);
    t.GetTransform(m);
    return m;
}

void Set(QelTransform& t, const char* pName, float fValue)
{
    t.GetProperty(pName)->SetAsFloat(fValue);
}

QelBox3 Box(float x0, float y0, float z0, float x1, float y1, float z1)
{
    return QelBox3(QelVec3(x0, y0, z0), QelVec3(x1, y1, z1));
}
} // namespace

TEST(QelTransform, FourteenPropertiesTheQuarterTurnByDefaultAndNormalisedAxes)
{
    QelCapture cap;
    QelTransform none, later, t;
    none.AddTransformProperties(false, false, false);
    EXPECT_FALSE(none.HasTransform() || none.GetPropertyCount() != 0 || none.GetMaxScale() != 1.0f);
    EXPECT_EQ(Matrix(none), QelMatrix4(true));
    later.AddTransformProperties(false, true, false);
    later.SetRotation(QelVec4(1, 0, 0, 10));
    later.AddTransformProperties(true, true, true); // adds the missing groups, keeps the rotation
    EXPECT_TRUE(later.GetPropertyCount() == 14 && later.GetRotation() == QelVec4(1, 0, 0, 10));

    const char* const kNames[] = {
        "Transform:Translation:X", "Transform:Translation:Y", "Transform:Translation:Z",
        "Transform:Translation:Reset translation", "Transform:Rotation:Axis X", "Transform:Rotation:Axis Y",
        "Transform:Rotation:Axis Z", "Transform:Rotation:Angle", "Transform:Rotation:Reset rotation",
        "Transform:Scale:X", "Transform:Scale:Y", "Transform:Scale:Z", "Transform:Scale:Uniform",
        "Transform:Scale:Reset scaling"};
    const float kInitial[] = {0, 0, 0, -1, 0, 0, 1, 90, -1, 1, 1, 1, 1, -1}; // -1: a button
    t.AddTransformProperties(true, true, true);
    std::vector<QelProperty*> vList;
    t.GetProperties(vList, false);
    ASSERT_EQ(vList.size(), 14u);
    for (size_t i = 0; i < 14; ++i)
    {
        EXPECT_EQ(vList[i]->GetName(), kNames[i]);
        EXPECT_EQ(t.IsPropertyButton(vList[i]), kInitial[i] < 0) << kNames[i];
        EXPECT_TRUE(kInitial[i] < 0 || (vList[i]->GetDataType() == eDataReal && vList[i]->GetAsFloat() == kInitial[i]))
            << kNames[i];
    }
    // Scaled first, then turned, then moved; a fresh transform turns +X onto +Y.
    ExpectNear(Matrix(t) * QelVec3(1, 0, 0), QelVec3(0, 1, 0));
    t.SetTransform(QelVec3(1, 2, 3), QelVec4(0, 0, 1, 90), QelVec3(2, 1, 1));
    ExpectNear(Matrix(t) * QelVec3(1, 0, 0), QelVec3(1, 4, 3));
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();

    // Set axes are normalised, the zero axis becomes X.
    t.SetRotation(QelVec4(0, 0, 0, 45));
    EXPECT_EQ(t.GetRotation(), QelVec4(1, 0, 0, 45));
    t.SetRotation(QelVec4(0, 3, 4, 30));
    const QelVec4 r = t.GetRotation();
    ExpectNear(QelVec3(r.x, r.y, r.z), QelVec3(0, 0.6f, 0.8f), 1e-6f);
    EXPECT_EQ(r.w, 30.0f);
    // Axes edited through the properties: zero means no turn, any length is normalised.
    t.SetTransform(QelVec3(0, 0, 0), QelVec4(0, 0, 1, 0), QelVec3(1, 1, 1));
    Set(t, "Transform:Rotation:Axis Z", 0.0f);
    Set(t, "Transform:Rotation:Angle", 90.0f);
    EXPECT_EQ(Matrix(t), QelMatrix4(true));
    Set(t, "Transform:Rotation:Axis Z", 7.0f);
    ExpectNear(Matrix(t) * QelVec3(1, 0, 0), QelVec3(0, 1, 0));
}

TEST(QelTransform, EditingOneScaleFactorSetsTheRebuildBitInTransformsAndDisplayObjectsOnly)
{
    QelNode n;
    QelDisplayObject o;
    QelTransform t;
    QelMatrix4 m;
    for (QelTransform* p : {&t, static_cast<QelTransform*>(&n), static_cast<QelTransform*>(&o)})
    {
        p->AddTransformProperties(true, true, true);
        p->GetTransform(m);
        p->Calculate();
        EXPECT_FALSE(p->NeedsRebuilding()); // the rebuild consumed the changes
        Set(*p, "Transform:Scale:Y", 3.0f);
        p->Calculate();
    }
    EXPECT_TRUE(t.NeedsRebuilding() && o.NeedsRebuilding());
    EXPECT_FALSE(n.NeedsRebuilding()); // a plain node's Calculate does nothing
    ExpectNear(Matrix(o) * QelVec3(0, 1, 0), QelVec3(-3, 0, 0));
    ExpectNear(Matrix(t) * QelVec3(0, 1, 0), QelVec3(-3, 0, 0));
    EXPECT_FALSE(t.NeedsRebuilding());
    // Without an explicit Calculate the next matrix read still sees an edit.
    Set(t, "Transform:Translation:Z", 5.0f);
    ExpectNear(Matrix(t) * QelVec3(0, 0, 0), QelVec3(0, 0, 5));
}

TEST(QelTransform, UniformScaleMultipliesTheFactorsAndEachResetButtonResetsItsGroupOnly)
{
    QelTransform t;
    t.AddTransformProperties(true, true, true);
    t.SetTransform(QelVec3(1, 2, 3), QelVec4(1, 0, 0, 0), QelVec3(1, 3, 0.5f));
    Set(t, "Transform:Scale:Uniform", 2.0f);
    ExpectNear(t.GetScale(), QelVec3(2, 6, 1));
    ExpectNear(Matrix(t) * QelVec3(1, 1, 1) - QelVec3(1, 2, 3), QelVec3(2, 6, 1));
    EXPECT_FLOAT_EQ(t.GetMaxScale(), 6.0f);
    Set(t, "Transform:Scale:X", -8.0f); // mirroring does not shrink the largest factor
    EXPECT_FLOAT_EQ(t.GetMaxScale(), 16.0f);
    t.SetScale(QelVec3(4, 5, 6)); // defines the whole scale: Uniform back to 1
    EXPECT_EQ(t.GetProperty("Transform:Scale:Uniform")->GetAsFloat(), 1.0f);
    Set(t, "Transform:Scale:Uniform", 3.0f);

    EXPECT_TRUE(t.GetProperty("Transform:Translation:Reset translation")->PressButton());
    EXPECT_TRUE(t.GetTranslation() == QelVec3(0, 0, 0) && t.GetRotation() == QelVec4(1, 0, 0, 0));
    EXPECT_TRUE(t.GetProperty("Transform:Rotation:Reset rotation")->PressButton());
    EXPECT_EQ(t.GetRotation(), QelVec4(0, 0, 1, 90));
    ExpectNear(t.GetScale(), QelVec3(12, 15, 18));
    EXPECT_TRUE(t.GetProperty("Transform:Scale:Reset scaling")->PressButton());
    for (const char* p : {"Transform:Scale:X", "Transform:Scale:Y", "Transform:Scale:Z", "Transform:Scale:Uniform"})
        EXPECT_EQ(t.GetProperty(p)->GetAsFloat(), 1.0f) << p;
    ExpectNear(Matrix(t) * QelVec3(1, 0, 0), QelVec3(0, 1, 0));
    EXPECT_FALSE(t.GetProperty("Transform:Scale:X")->PressButton());
}

TEST(QelTransform, SetTransformFromAMatrixAndBack)
{
    QelTransform t;
    t.AddTransformProperties(true, true, true);
    const QelVec3 vAxis = QelVec3(1, 2, 2) / 3.0f;
    QelMatrix4 mGeneral(true), mMirror(true), mFlat(true);
    mGeneral.Translate(4, -5, 6);
    mGeneral.Rotate(QelVec4(vAxis.x, vAxis.y, vAxis.z, 130));
    mGeneral.Scale(2, 0.5f, 3);
    t.SetTransform(mGeneral);
    ExpectNear(t.GetTranslation(), QelVec3(4, -5, 6));
    ExpectNear(t.GetScale(), QelVec3(2, 0.5f, 3));
    const QelVec4 r = t.GetRotation();
    ExpectNear(QelVec3(r.x, r.y, r.z), vAxis, 1e-4f);
    EXPECT_NEAR(r.w, 130.0f, 1e-2f);
    ExpectMatrixNear(Matrix(t), mGeneral);
    // A mirror comes back through a negative X scale; a flattened axis keeps the turn of the others.
    mMirror.Rotate(QelVec4(0, 0, 1, 30));
    mMirror.Scale(-2, 1, 1);
    mFlat.Rotate(QelVec4(0, 0, 1, 30));
    mFlat.Scale(1, 0, 2);
    for (const QelMatrix4& m : {mMirror, mFlat, QelMatrix4(true)})
    {
        t.SetTransform(m);
        ExpectMatrixNear(Matrix(t), m);
    }
    t.SetTransform(mMirror);
    EXPECT_LT(t.GetScale().x, 0.0f);

    // The angles of the three-vector form rebuild the same rotation about the fixed X, Y, Z axes.
    t.SetRotation(QelVec4(2.0f / 3, -1.0f / 3, 2.0f / 3, 75));
    QelVec3 vT, vEuler, vS;
    t.GetTransform(vT, vEuler, vS);
    QelMatrix4 mEuler(true), mAxis(true);
    mEuler.Rotate(QelVec3(0, 0, 1), vEuler.z);
    mEuler.Rotate(QelVec3(0, 1, 0), vEuler.y);
    mEuler.Rotate(QelVec3(1, 0, 0), vEuler.x);
    mAxis.Rotate(t.GetRotation());
    ExpectMatrixNear(mEuler, mAxis);
}

TEST(QelTransform, HalfTurnsAboutRandomAxesSurviveSetTransform)
{
    QelTransform t;
    t.AddTransformProperties(true, true, true);
    std::mt19937 gen(8);
    std::uniform_real_distribution<float> coord(-1.0f, 1.0f), offset(-0.001f, 0.001f);
    int nChecked = 0;
    while (nChecked < 500)
    {
        QelVec3 axis(coord(gen), coord(gen), coord(gen));
        if (axis.Magnitude() < 0.1f)
            continue;
        axis.Normalize();
        QelMatrix4 m(true);
        m.Translate(1, 2, 3);
        m.Rotate(QelVec4(axis.x, axis.y, axis.z, 180.0f + offset(gen)));
        t.SetTransform(m);
        SCOPED_TRACE(testing::Message() << "axis " << axis.String());
        ExpectMatrixNear(Matrix(t), m);
        ++nChecked;
    }
}

TEST(QelTransform, CopiesOwnTheirPropertiesAndADeletedPropertyLeavesTheTable)
{
    QelTransform a;
    a.AddTransformProperties(true, true, true);
    a.SetTranslation(QelVec3(1, 2, 3));
    QelTransform b(a), c;
    b.SetTranslation(QelVec3(7, 7, 7));
    EXPECT_EQ(a.GetTranslation(), QelVec3(1, 2, 3));
    EXPECT_FALSE(b.IsPropertyButton(a.GetProperty("Transform:Scale:Reset scaling")));
    c = b;
    ExpectNear(Matrix(c) * QelVec3(0, 0, 0), QelVec3(7, 7, 7));
    c.DeleteProperty(c.GetProperty("Transform:Translation:X"));
    EXPECT_FALSE(c.HasTranslation());
    c.SetTranslation(QelVec3(1, 1, 1)); // must not reach the deleted property
    ExpectNear(Matrix(c) * QelVec3(0, 0, 0), QelVec3(0, 0, 0));
    // Deleted by the host directly: the table lets go just the same.
    delete b.GetProperty("Transform:Rotation:Angle");
    EXPECT_EQ(b.GetTransformProperty(QelTransform::eRotationAngle), nullptr);
    b.SetRotation(QelVec4(0, 0, 1, 45));
    ExpectNear(Matrix(b) * QelVec3(0, 0, 0), QelVec3(7, 7, 7));
}

TEST(QelNode, CullRadiusOfValidAndInvalidBoxesLookVectorsAndCopies)
{
    QelNode n;
    n.SetExtents(n.GetExtents()); // the same (empty) box again: nothing changes
    EXPECT_EQ(n.GetCullRadius(), FLT_MAX);
    EXPECT_TRUE(n.IsAboveMinimumPixelThreshold(0));
    QelVec3 vLook, vUp;
    n.GetLookVectors(vLook, vUp);
    EXPECT_TRUE(vLook == QelVec3(1, 0, 0) && vUp == QelVec3(0, 1, 1)); // the odd up vector is deliberate
    const std::pair<QelBox3, float> boxes[] = {
        {Box(-1, -2, -3, 1, 2, 3), std::sqrt(14.0f)},
        {Box(1, 1, 1, 2, 2, 2), std::sqrt(12.0f)}, // the farthest corner, not the half diagonal
        {Box(0, 0, 0, 3, 4, 0), 5.0f},             // flat is valid
        {Box(-1e30f, -1e30f, -1e30f, 1e30f, 1e30f, 1e30f), 1e30f * std::sqrt(3.0f)}, // squares beyond float range
        {Box(FLT_MAX, FLT_MAX, FLT_MAX, -FLT_MAX, -FLT_MAX, -FLT_MAX), 0.0f},        // invalid boxes
        {Box(-1, -1, FLT_MAX, 1, 1, 1), 0.0f},
        {Box(-1, -1, -1, 1, -FLT_MAX, 1), 0.0f},
        {Box(2, -1, -1, 1, 1, 1), 0.0f}};
    for (const auto& k : boxes)
    {
        n.SetExtents(Box(-5, -5, -5, 5, 5, 5));
        n.SetExtents(k.first);
        EXPECT_FLOAT_EQ(n.GetCullRadius(), k.second);
        EXPECT_EQ(n.GetExtents(), k.first);
    }
    n.ToggleHidden();
    n.SetExtents(Box(0, 0, 0, 2, 0, 0));
    QelNode copy(n), assigned;
    assigned = n;
    for (QelNode* p : {&copy, &assigned})
        EXPECT_TRUE(p->IsHidden() && p->GetCullRadius() == 2.0f && p->GetExtents() == n.GetExtents());
}
