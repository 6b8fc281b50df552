#include "qel/display/QelTransform.h"
#include "qel/properties/QelProperty.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

namespace
{
void ExpectNear(const QelVec3& a, const QelVec3& b, float fTolerance = 1e-5f)
{
    EXPECT_NEAR(a.x, b.x, fTolerance);
    EXPECT_NEAR(a.y, b.y, fTolerance);
    EXPECT_NEAR(a.z, b.z, fTolerance);
}

void ExpectMatrixNear(const QelMatrix4& a, const QelMatrix4& b, float fTolerance)
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

float Value(QelTransform& t, const char* pName)
{
    return t.GetProperty(pName)->GetAsFloat();
}
} // namespace

TEST(QelTransform, FourteenPropertiesAndTheQuarterTurnByDefault)
{
    QelCapture cap;
    QelTransform none;
    none.AddTransformProperties(false, false, false);
    EXPECT_FALSE(none.HasTransform());
    EXPECT_EQ(none.GetPropertyCount(), 0);
    EXPECT_EQ(Matrix(none), QelMatrix4(true));
    EXPECT_EQ(none.GetMaxScale(), 1.0f);

    const char* const kNames[] = {
        "Transform:Translation:X", "Transform:Translation:Y", "Transform:Translation:Z",
        "Transform:Translation:Reset translation", "Transform:Rotation:Axis X", "Transform:Rotation:Axis Y",
        "Transform:Rotation:Axis Z", "Transform:Rotation:Angle", "Transform:Rotation:Reset rotation",
        "Transform:Scale:X", "Transform:Scale:Y", "Transform:Scale:Z", "Transform:Scale:Uniform",
        "Transform:Scale:Reset scaling"};
    const float kInitial[] = {0, 0, 0, 0, 0, 0, 1, 90, 0, 1, 1, 1, 1, 0};
    QelTransform later;
    later.AddTransformProperties(false, true, false);
    later.SetRotation(QelVec4(1, 0, 0, 10));
    later.AddTransformProperties(true, true, true); // adds the missing groups, keeps the rotation
    EXPECT_EQ(later.GetPropertyCount(), 14);
    EXPECT_EQ(later.GetRotation(), QelVec4(1, 0, 0, 10));

    QelTransform t;
    t.AddTransformProperties(true, true, true);
    std::vector<QelProperty*> vList;
    t.GetProperties(vList, false);
    ASSERT_EQ(vList.size(), 14u);
    for (size_t i = 0; i < 14; ++i)
    {
        EXPECT_EQ(vList[i]->GetName(), kNames[i]);
        bool bButton = i == 3 || i == 8 || i == 13;
        EXPECT_EQ(t.IsPropertyButton(vList[i]), bButton) << kNames[i];
        if (!bButton)
        {
            EXPECT_EQ(vList[i]->GetDataType(), eDataReal);
            EXPECT_EQ(vList[i]->GetAsFloat(), kInitial[i]) << kNames[i];
        }
    }
    // Scaled first, then turned, then moved; a fresh transform turns +X onto +Y.
    ExpectNear(Matrix(t) * QelVec3(1, 0, 0), QelVec3(0, 1, 0));
    t.SetTransform(QelVec3(1, 2, 3), QelVec4(0, 0, 1, 90), QelVec3(2, 1, 1));
    ExpectNear(Matrix(t) * QelVec3(1, 0, 0), QelVec3(1, 4, 3));
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
}

TEST(QelTransform, SetRotationNormalisesTheAxisAndTheMatrixSurvivesAZeroAxis)
{
    QelTransform t;
    t.AddTransformProperties(false, true, false);
    t.SetRotation(QelVec4(0, 0, 0, 45));
    EXPECT_EQ(t.GetRotation(), QelVec4(1, 0, 0, 45));
    t.SetRotation(QelVec4(0, 3, 4, 30));
    QelVec4 r = t.GetRotation();
    ExpectNear(QelVec3(r.x, r.y, r.z), QelVec3(0, 0.6f, 0.8f), 1e-6f);
    EXPECT_EQ(r.w, 30.0f);
    // Axes edited through the properties: zero means no turn, any length is normalised.
    t.GetProperty("Transform:Rotation:Axis Y")->SetAsFloat(0.0f);
    t.GetProperty("Transform:Rotation:Axis Z")->SetAsFloat(0.0f);
    EXPECT_EQ(Matrix(t), QelMatrix4(true));
    t.GetProperty("Transform:Rotation:Axis Z")->SetAsFloat(7.0f);
    t.GetProperty("Transform:Rotation:Angle")->SetAsFloat(90.0f);
    ExpectNear(Matrix(t) * QelVec3(1, 0, 0), QelVec3(0, 1, 0));
}

TEST(QelTransform, EditingOneScaleFactorSetsTheRebuildBit)
{
    QelTransform t;
    t.AddTransformProperties(true, true, true);
    Matrix(t);
    t.Calculate();
    EXPECT_FALSE(t.NeedsRebuilding()); // the rebuild consumed the changes
    t.GetProperty("Transform:Scale:Y")->SetAsFloat(3.0f);
    t.Calculate();
    EXPECT_TRUE(t.NeedsRebuilding());
    ExpectNear(Matrix(t) * QelVec3(0, 1, 0), QelVec3(-3, 0, 0));
    EXPECT_FALSE(t.NeedsRebuilding());
    // Without an explicit Calculate the next matrix read still sees an edit.
    t.GetProperty("Transform:Translation:Z")->SetAsFloat(5.0f);
    ExpectNear(Matrix(t) * QelVec3(0, 0, 0), QelVec3(0, 0, 5));
}

TEST(QelTransform, UniformScaleMultipliesTheFactorsAndMaxScaleIgnoresMirroring)
{
    QelTransform t;
    t.AddTransformProperties(false, false, true);
    t.SetScale(QelVec3(1, 3, 0.5f));
    t.GetProperty("Transform:Scale:Uniform")->SetAsFloat(2.0f);
    ExpectNear(t.GetScale(), QelVec3(2, 6, 1));
    ExpectNear(Matrix(t) * QelVec3(1, 1, 1), QelVec3(2, 6, 1));
    EXPECT_FLOAT_EQ(t.GetMaxScale(), 6.0f);
    t.GetProperty("Transform:Scale:X")->SetAsFloat(-8.0f);
    EXPECT_FLOAT_EQ(t.GetMaxScale(), 16.0f);
    t.SetScale(QelVec3(4, 5, 6)); // defines the whole scale: Uniform back to 1
    EXPECT_EQ(Value(t, "Transform:Scale:Uniform"), 1.0f);
    ExpectNear(t.GetScale(), QelVec3(4, 5, 6));
}

TEST(QelTransform, EachResetButtonResetsItsGroupOnly)
{
    QelTransform t;
    t.AddTransformProperties(true, true, true);
    t.SetTransform(QelVec3(1, 2, 3), QelVec4(1, 0, 0, 10), QelVec3(4, 5, 6));
    t.GetProperty("Transform:Scale:Uniform")->SetAsFloat(3.0f);

    EXPECT_TRUE(t.GetProperty("Transform:Translation:Reset translation")->PressButton());
    EXPECT_EQ(t.GetTranslation(), QelVec3(0, 0, 0));
    EXPECT_EQ(t.GetRotation(), QelVec4(1, 0, 0, 10));
    EXPECT_TRUE(t.GetProperty("Transform:Rotation:Reset rotation")->PressButton());
    EXPECT_EQ(t.GetRotation(), QelVec4(0, 0, 1, 90));
    ExpectNear(t.GetScale(), QelVec3(12, 15, 18));
    EXPECT_TRUE(t.GetProperty("Transform:Scale:Reset scaling")->PressButton());
    for (const char* p : {"Transform:Scale:X", "Transform:Scale:Y", "Transform:Scale:Z", "Transform:Scale:Uniform"})
        EXPECT_EQ(Value(t, p), 1.0f) << p;
    ExpectNear(Matrix(t) * QelVec3(1, 0, 0), QelVec3(0, 1, 0));
    EXPECT_FALSE(t.GetProperty("Transform:Scale:X")->PressButton());
}

TEST(QelTransform, SetTransformFromAMatrixAndBack)
{
    QelTransform t;
    t.AddTransformProperties(true, true, true);
    const QelVec3 vAxis = QelVec3(1, 2, 2) / 3.0f;
    QelMatrix4 mSource(true);
    mSource.Translate(4, -5, 6);
    mSource.Rotate(QelVec4(vAxis.x, vAxis.y, vAxis.z, 130));
    mSource.Scale(2, 0.5f, 3);
    t.SetTransform(mSource);
    ExpectNear(t.GetTranslation(), QelVec3(4, -5, 6));
    ExpectNear(t.GetScale(), QelVec3(2, 0.5f, 3));
    QelVec4 r = t.GetRotation();
    ExpectNear(QelVec3(r.x, r.y, r.z), vAxis, 1e-4f);
    EXPECT_NEAR(r.w, 130.0f, 1e-2f);
    ExpectMatrixNear(Matrix(t), mSource, 1e-4f);

    // A mirror comes back through a negative X scale; the identity through no turn at all.
    QelMatrix4 mMirror(true);
    mMirror.Rotate(QelVec4(0, 0, 1, 30));
    mMirror.Scale(-2, 1, 1);
    t.SetTransform(mMirror);
    EXPECT_LT(t.GetScale().x, 0.0f);
    ExpectMatrixNear(Matrix(t), mMirror, 1e-4f);
    t.SetTransform(QelMatrix4(true));
    ExpectMatrixNear(Matrix(t), QelMatrix4(true), 1e-5f);
    // A flattened axis keeps the turn of the others.
    QelMatrix4 mFlat(true);
    mFlat.Rotate(QelVec4(0, 0, 1, 30));
    mFlat.Scale(1, 0, 2);
    t.SetTransform(mFlat);
    ExpectMatrixNear(Matrix(t), mFlat, 1e-4f);

    // The angles of the three-vector form rebuild the same rotation about the fixed X, Y, Z axes.
    t.SetRotation(QelVec4(2.0f / 3, -1.0f / 3, 2.0f / 3, 75));
    QelVec3 vT, vEuler, vS;
    t.GetTransform(vT, vEuler, vS);
    QelMatrix4 mEuler(true);
    mEuler.Rotate(QelVec3(0, 0, 1), vEuler.z);
    mEuler.Rotate(QelVec3(0, 1, 0), vEuler.y);
    mEuler.Rotate(QelVec3(1, 0, 0), vEuler.x);
    QelMatrix4 mAxis(true);
    mAxis.Rotate(t.GetRotation());
    ExpectMatrixNear(mEuler, mAxis, 1e-4f);
}

TEST(QelTransform, CopiesOwnTheirPropertiesAndADeletedPropertyLeavesTheTable)
{
    QelTransform a;
    a.AddTransformProperties(true, true, true);
    a.SetTranslation(QelVec3(1, 2, 3));
    QelTransform b(a);
    b.SetTranslation(QelVec3(7, 7, 7));
    EXPECT_EQ(a.GetTranslation(), QelVec3(1, 2, 3));
    EXPECT_FALSE(b.IsPropertyButton(a.GetProperty("Transform:Scale:Reset scaling")));
    QelTransform c;
    c = b;
    ExpectNear(Matrix(c) * QelVec3(0, 0, 0), QelVec3(7, 7, 7));

    c.DeleteProperty(c.GetProperty("Transform:Translation:X"));
    EXPECT_FALSE(c.HasTranslation());
    c.SetTranslation(QelVec3(1, 1, 1)); // must not reach the deleted property
    ExpectNear(Matrix(c) * QelVec3(0, 0, 0), QelVec3(0, 0, 0));
}
