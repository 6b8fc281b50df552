#include "qel/display/QelTransform.h"
#include "qel/properties/QelProperty.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
const char* const kNames[] = {
    "Transform:Translation:X", "Transform:Translation:Y", "Transform:Translation:Z",
    "Transform:Translation:Reset translation", "Transform:Rotation:Axis X", "Transform:Rotation:Axis Y",
    "Transform:Rotation:Axis Z", "Transform:Rotation:Angle", "Transform:Rotation:Reset rotation",
    "Transform:Scale:X", "Transform:Scale:Y", "Transform:Scale:Z", "Transform:Scale:Uniform",
    "Transform:Scale:Reset scaling"};

/// Counts the notifications the setters send.
class CountingTransform : public QelTransform
{
public:
    void ObjectTransformed(bool bFromManipulator) override
    {
        ++m_nTransformed;
        m_bLastFlag = bFromManipulator;
    }
    int m_nTransformed = 0;
    bool m_bLastFlag = true;
};

QelVec3 Apply(const QelMatrix4& m, const QelVec3& v)
{
    return m * v;
}

void ExpectNear(const QelVec3& a, const QelVec3& b, float fTolerance = 1e-5f)
{
    EXPECT_NEAR(a.x, b.x, fTolerance);
    EXPECT_NEAR(a.y, b.y, fTolerance);
    EXPECT_NEAR(a.z, b.z, fTolerance);
}

void ExpectMatrixNear(const QelMatrix4& a, const QelMatrix4& b, float fTolerance = 1e-5f)
{
    const float* pa = a;
    const float* pb = b;
    for (int i = 0; i < 16; ++i)
        EXPECT_NEAR(pa[i], pb[i], fTolerance) << "element " << i;
}

float Value(QelTransform& t, const char* pName)
{
    QelProperty* p = t.GetProperty(pName);
    return p ? p->GetAsFloat() : NAN;
}
} // namespace

TEST(QelTransform, WithoutPropertiesItIsTheIdentity)
{
    QelCapture cap;
    QelTransform t;
    t.AddTransformProperties(false, false, false);
    EXPECT_FALSE(t.HasTranslation() || t.HasRotation() || t.HasScale() || t.HasTransform());
    EXPECT_EQ(t.GetPropertyCount(), 0);
    EXPECT_EQ(t.GetTransformProperty(QelTransform::eScaleX), nullptr);
    QelProperty other("Loose", nullptr, eDataBoolean, false);
    EXPECT_FALSE(t.IsPropertyButton(&other));
    QelMatrix4 m(false);
    t.GetTransform(m);
    EXPECT_EQ(m, QelMatrix4(true));
    EXPECT_EQ(t.GetMaxScale(), 1.0f);
    ExpectNear(t.GetScale(), QelVec3(1, 1, 1));
    // The setters do nothing harmful without a table.
    t.SetTransform(QelVec3(1, 2, 3), QelVec4(1, 0, 0, 30), QelVec3(2, 2, 2));
    t.GetTransform(m);
    EXPECT_EQ(m, QelMatrix4(true));
    EXPECT_TRUE(cap.Messages().empty());
}

TEST(QelTransform, FourteenPropertiesWithTheirInitialValuesAndTheQuarterTurn)
{
    QelCapture cap;
    CountingTransform t;
    t.AddTransformProperties(true, true, true);
    ASSERT_EQ(t.GetPropertyCount(), 14);
    std::vector<QelProperty*> vList;
    t.GetProperties(vList, false);
    ASSERT_EQ(vList.size(), 14u);
    for (int i = 0; i < 14; ++i)
    {
        EXPECT_EQ(vList[size_t(i)]->GetName(), kNames[i]);
        EXPECT_EQ(t.GetTransformProperty(QelTransform::ETransformProperty(i)), vList[size_t(i)]);
        bool bButton = i == 3 || i == 8 || i == 13;
        EXPECT_EQ(t.IsPropertyButton(vList[size_t(i)]), bButton) << kNames[i];
        if (!bButton)
        {
            EXPECT_EQ(vList[size_t(i)]->GetDataType(), eDataReal) << kNames[i];
        }
    }
    const float fExpected[] = {0, 0, 0, 0, 0, 0, 1, 90, 0, 1, 1, 1, 1, 0};
    for (int i = 0; i < 14; ++i)
        if (i != 3 && i != 8 && i != 13)
        {
            EXPECT_EQ(Value(t, kNames[i]), fExpected[i]) << kNames[i];
        }
    EXPECT_TRUE(t.HasTranslation() && t.HasRotation() && t.HasScale() && t.HasTransform());
    EXPECT_GE(t.m_nTransformed, 3);
    EXPECT_FALSE(t.m_bLastFlag);

    // A fresh transform turns its object a quarter turn about Z: +X goes to +Y.
    QelMatrix4 m;
    t.GetTransform(m);
    ExpectNear(Apply(m, QelVec3(1, 0, 0)), QelVec3(0, 1, 0));
    EXPECT_FALSE(t.NeedsRebuilding());
    EXPECT_TRUE(cap.Messages().empty());

    // A second call adds nothing and does not complain about duplicates.
    t.AddTransformProperties(true, true, true);
    EXPECT_EQ(t.GetPropertyCount(), 14);
    EXPECT_EQ(cap.Errors(), 0u);
}

TEST(QelTransform, OnlyTheGroupsAskedFor)
{
    QelTransform t;
    t.AddTransformProperties(false, true, false);
    EXPECT_FALSE(t.HasTranslation());
    EXPECT_TRUE(t.HasRotation());
    EXPECT_FALSE(t.HasScale());
    EXPECT_EQ(t.GetPropertyCount(), 5);
    t.AddTransformProperties(true, false, false);
    EXPECT_TRUE(t.HasTranslation());
    EXPECT_EQ(t.GetPropertyCount(), 9);
    // Adding the translation later leaves the rotation as the user had it.
    t.SetRotation(QelVec4(1, 0, 0, 10));
    t.AddTransformProperties(false, false, true);
    EXPECT_EQ(t.GetRotation(), QelVec4(1, 0, 0, 10));
}

TEST(QelTransform, SetRotationNormalisesTheAxisAndReplacesTheZeroAxis)
{
    QelTransform t;
    t.AddTransformProperties(false, true, false);
    t.SetRotation(QelVec4(0, 0, 0, 45));
    EXPECT_EQ(t.GetRotation(), QelVec4(1, 0, 0, 45));
    t.SetRotation(QelVec4(0, 3, 4, 30));
    QelVec4 r = t.GetRotation();
    EXPECT_FLOAT_EQ(r.x, 0.0f);
    EXPECT_FLOAT_EQ(r.y, 0.6f);
    EXPECT_FLOAT_EQ(r.z, 0.8f);
    EXPECT_EQ(r.w, 30.0f);
    EXPECT_TRUE(t.NeedsRebuilding());
}

TEST(QelTransform, EditingOneScaleFactorSetsTheRebuildBit)
{
    QelTransform t;
    t.AddTransformProperties(true, true, true);
    QelMatrix4 m;
    t.GetTransform(m);
    ASSERT_FALSE(t.NeedsRebuilding());
    // Nothing changed: Calculate leaves the bit alone (the changes were consumed by the rebuild).
    t.Calculate();
    EXPECT_FALSE(t.NeedsRebuilding());

    t.GetProperty("Transform:Scale:Y")->SetAsFloat(3.0f);
    EXPECT_FALSE(t.NeedsRebuilding());
    t.Calculate();
    EXPECT_TRUE(t.NeedsRebuilding());
    t.GetTransform(m);
    EXPECT_FALSE(t.NeedsRebuilding());
    // Y is scaled before the quarter turn, so it ends up along -X.
    ExpectNear(Apply(m, QelVec3(0, 1, 0)), QelVec3(-3, 0, 0));

    // The matrix follows a property edit without an explicit Calculate: reading pulls.
    t.GetProperty("Transform:Translation:Z")->SetAsFloat(5.0f);
    t.GetTransform(m);
    ExpectNear(Apply(m, QelVec3(0, 0, 0)), QelVec3(0, 0, 5));

    // An explicit SetRebuildTransformFlag(false) suppresses a rebuild the bit asked for.
    t.SetTranslation(QelVec3(1, 1, 1));
    t.SetRebuildTransformFlag(false);
    EXPECT_FALSE(t.NeedsRebuilding());
}

TEST(QelTransform, MatrixOrderScaleThenRotateThenTranslate)
{
    QelTransform t;
    t.AddTransformProperties(true, true, true);
    t.SetTransform(QelVec3(1, 2, 3), QelVec4(0, 0, 1, 90), QelVec3(2, 1, 1));
    QelMatrix4 m;
    t.GetTransform(m);
    ExpectNear(Apply(m, QelVec3(1, 0, 0)), QelVec3(1, 4, 3));
    ExpectNear(Apply(m, QelVec3(0, 1, 0)), QelVec3(0, 2, 3));

    QelMatrix4 mExpected(true);
    mExpected.Translate(1, 2, 3);
    mExpected.Rotate(QelVec4(0, 0, 1, 90));
    mExpected.Scale(2, 1, 1);
    ExpectMatrixNear(m, mExpected);

    // An axis edited to zero through its properties means no rotation, not a broken matrix.
    t.GetProperty("Transform:Rotation:Axis Z")->SetAsFloat(0.0f);
    t.GetTransform(m);
    ExpectNear(Apply(m, QelVec3(1, 0, 0)), QelVec3(3, 2, 3));
    // An unnormalised axis edited through the properties is normalised for the matrix.
    t.GetProperty("Transform:Rotation:Axis Z")->SetAsFloat(7.0f);
    t.GetTransform(m);
    ExpectNear(Apply(m, QelVec3(1, 0, 0)), QelVec3(1, 4, 3));
}

TEST(QelTransform, UniformScaleMultipliesTheThreeFactors)
{
    QelTransform t;
    t.AddTransformProperties(false, false, true);
    t.SetScale(QelVec3(1, 3, 0.5f));
    t.GetProperty("Transform:Scale:Uniform")->SetAsFloat(2.0f);
    ExpectNear(t.GetScale(), QelVec3(2, 6, 1));
    EXPECT_FLOAT_EQ(t.GetMaxScale(), 6.0f);
    QelMatrix4 m;
    t.GetTransform(m);
    ExpectNear(Apply(m, QelVec3(1, 1, 1)), QelVec3(2, 6, 1));

    // A mirrored factor counts by its size.
    t.GetProperty("Transform:Scale:X")->SetAsFloat(-8.0f);
    EXPECT_FLOAT_EQ(t.GetMaxScale(), 16.0f);
    // SetScale defines the whole scale: Uniform goes back to 1, and GetScale round-trips.
    t.SetScale(QelVec3(4, 5, 6));
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
    EXPECT_EQ(Value(t, "Transform:Scale:X"), 1.0f);
    EXPECT_EQ(Value(t, "Transform:Scale:Y"), 1.0f);
    EXPECT_EQ(Value(t, "Transform:Scale:Z"), 1.0f);
    EXPECT_EQ(Value(t, "Transform:Scale:Uniform"), 1.0f);

    QelMatrix4 m;
    t.GetTransform(m);
    ExpectNear(Apply(m, QelVec3(1, 0, 0)), QelVec3(0, 1, 0));
    // A float property is no button: pressing it does nothing.
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
    ExpectNear(t.GetScale(), QelVec3(2, 0.5f, 3), 1e-5f);
    QelVec4 r = t.GetRotation();
    ExpectNear(QelVec3(r.x, r.y, r.z), vAxis, 1e-4f);
    EXPECT_NEAR(r.w, 130.0f, 1e-2f);
    QelMatrix4 mBack;
    t.GetTransform(mBack);
    ExpectMatrixNear(mBack, mSource, 1e-4f);

    // A mirroring matrix comes back through a negative X scale.
    QelMatrix4 mMirror(true);
    mMirror.Rotate(QelVec4(0, 0, 1, 30));
    mMirror.Scale(-2, 1, 1);
    t.SetTransform(mMirror);
    EXPECT_LT(t.GetScale().x, 0.0f);
    t.GetTransform(mBack);
    ExpectMatrixNear(mBack, mMirror, 1e-4f);

    // The identity gives no turn at all (the quarter-turn default is not forced back in).
    t.SetTransform(QelMatrix4(true));
    t.GetTransform(mBack);
    ExpectMatrixNear(mBack, QelMatrix4(true));
}

TEST(QelTransform, EulerAnglesOfTheStoredRotation)
{
    QelTransform t;
    t.AddTransformProperties(true, true, true);
    QelVec3 vT, vE, vS;
    t.GetTransform(vT, vE, vS);
    ExpectNear(vE, QelVec3(0, 0, 90), 1e-3f);
    ExpectNear(vS, QelVec3(1, 1, 1));

    const QelVec3 vAxis = QelVec3(2, -1, 2) / 3.0f;
    t.SetRotation(QelVec4(vAxis.x, vAxis.y, vAxis.z, 75));
    t.GetTransform(vT, vE, vS);
    QelMatrix4 mFromEuler(true);
    mFromEuler.Rotate(QelVec3(0, 0, 1), vE.z);
    mFromEuler.Rotate(QelVec3(0, 1, 0), vE.y);
    mFromEuler.Rotate(QelVec3(1, 0, 0), vE.x);
    QelMatrix4 mFromAxis(true);
    mFromAxis.Rotate(QelVec4(vAxis.x, vAxis.y, vAxis.z, 75));
    ExpectMatrixNear(mFromEuler, mFromAxis, 1e-4f);

    // Straight up the Y axis: the angles still rebuild the same rotation.
    t.SetRotation(QelVec4(0, 1, 0, 90));
    t.GetTransform(vT, vE, vS);
    EXPECT_NEAR(vE.y, 90.0f, 1e-3f);
}

TEST(QelTransform, CopiesOwnTheirPropertiesAndDeletedPropertiesLeaveTheTable)
{
    QelTransform a;
    a.AddTransformProperties(true, true, true);
    a.SetTranslation(QelVec3(1, 2, 3));
    QelTransform b(a);
    ASSERT_TRUE(b.HasTranslation());
    EXPECT_NE(b.GetTransformProperty(QelTransform::eTranslationX), a.GetTransformProperty(QelTransform::eTranslationX));
    EXPECT_EQ(b.GetTranslation(), QelVec3(1, 2, 3));
    b.SetTranslation(QelVec3(7, 7, 7));
    EXPECT_EQ(a.GetTranslation(), QelVec3(1, 2, 3));
    EXPECT_TRUE(b.IsPropertyButton(b.GetProperty("Transform:Scale:Reset scaling")));
    EXPECT_FALSE(b.IsPropertyButton(a.GetProperty("Transform:Scale:Reset scaling")));

    QelTransform c;
    c = b;
    EXPECT_EQ(c.GetTranslation(), QelVec3(7, 7, 7));
    QelMatrix4 m;
    c.GetTransform(m);
    ExpectNear(Apply(m, QelVec3(0, 0, 0)), QelVec3(7, 7, 7));

    c.DeleteProperty(c.GetProperty("Transform:Translation:X"));
    EXPECT_FALSE(c.HasTranslation());
    c.SetTranslation(QelVec3(1, 1, 1)); // must not touch the deleted property
    c.GetTransform(m);
    EXPECT_EQ(c.GetTransformProperty(QelTransform::eTranslationX), nullptr);
}
