#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>

namespace
{
/// A container that counts its recalculations and calls one property a button.
class Counting : public QelPropertyContainer
{
public:
    Counting() { SetName("Box"); }
    void Calculate() override
    {
        ++m_nCalculations;
        if (m_pReadDuringCalculate)
            m_fReadDuringCalculate = m_pReadDuringCalculate->GetAsFloat();
    }
    bool IsPropertyButton(QelProperty* p) const override { return p && p->GetName() == "Reset"; }
    void ButtonPressed(QelProperty* p) override { m_vecPressed.push_back(p->GetName()); }
    bool Feed(QelProperty* pTo, QelProperty* pFrom) { return UpdateProperty(pTo, pFrom); }

    int m_nCalculations = 0;
    QelProperty* m_pReadDuringCalculate = nullptr;
    float m_fReadDuringCalculate = 0.0f;
    std::vector<std::string> m_vecPressed;
};
} // namespace

TEST(QelProperty, EditAValueAndTheContainerRecalculatesOnce)
{
    Counting box;
    QelProperty* pWidth = box.CreateProperty("Width", eDataReal);
    ASSERT_NE(pWidth, nullptr);
    pWidth->SetChangedFlag(false);
    box.SetDirtyBit(false);

    EXPECT_TRUE(pWidth->SetAsDouble(2.5));
    EXPECT_TRUE(pWidth->HasChanged());
    EXPECT_TRUE(box.IsDirty());
    EXPECT_EQ(box.m_nCalculations, 0); // pull model: nothing runs until a read
    EXPECT_EQ(pWidth->GetAsFloat(), 2.5f);
    EXPECT_EQ(box.m_nCalculations, 1);
    EXPECT_FALSE(box.IsDirty());
    EXPECT_EQ(pWidth->GetAsDouble(), 2.5);
    EXPECT_EQ(pWidth->GetAsInt(), 2);
    EXPECT_EQ(pWidth->GetAsString(), "2.5");
    EXPECT_EQ(box.m_nCalculations, 1);
    EXPECT_EQ(pWidth->GetAsVariantWithoutPull().GetDataType(), eDataReal);

    // A read reached again from inside Calculate sees the stored value and does not recurse.
    box.m_pReadDuringCalculate = pWidth;
    pWidth->SetAsFloat(4.0f);
    EXPECT_EQ(float(*pWidth), 4.0f);
    EXPECT_EQ(box.m_fReadDuringCalculate, 4.0f);
    EXPECT_EQ(box.m_nCalculations, 2);
    EXPECT_FALSE(pWidth->IsPropagationActive());

    // With propagation off nothing spreads and nothing is recalculated.
    pWidth->SetChangedFlag(false);
    pWidth->SetPropagation(false);
    pWidth->SetAsDouble(1.0);
    EXPECT_FALSE(pWidth->HasChanged());
    EXPECT_FALSE(box.IsDirty());
}

TEST(QelProperty, ClampsWithTheirLimitsAndWarnings)
{
    QelCapture cap;
    Counting box;
    QelProperty* pCount = box.CreateProperty("Count", eDataInteger);
    pCount->SetAsInt(INT_MIN);
    EXPECT_EQ(pCount->GetAsInt(), -2147483647);
    int nMin, nMax;
    EXPECT_EQ(pCount->GetClamp(nMin, nMax), QelProperty::eClampNone);
    EXPECT_EQ(nMin, -2147483647);
    pCount->SetClamp(0, 10);
    EXPECT_EQ(pCount->GetClamp(nMin, nMax), QelProperty::eClampBoth);
    pCount->SetAsInt(11);
    EXPECT_EQ(pCount->GetAsInt(), 10);

    QelProperty* pSize = box.CreateProperty("Size", eDataReal);
    float fMin, fMax;
    EXPECT_EQ(pSize->GetClamp(fMin, fMax), QelProperty::eClampNone);
    EXPECT_EQ(fMax, FLT_MAX);
    pSize->SetClamp(10.0, 0.0);
    pSize->SetAsDouble(5.0);
    EXPECT_EQ(pSize->GetAsDouble(), 10.0); // inverted range: the minimum wins
    pSize->SetClamp(0.5f, 2.0f);
    double dMin, dMax;
    EXPECT_EQ(pSize->GetClamp(dMin, dMax), QelProperty::eClampBoth);
    pSize->ResetClamp();
    pSize->SetClamp(-1.0e300, 1.0);
    EXPECT_EQ(pSize->GetClamp(fMin, fMax), QelProperty::eClampMaximum);
    EXPECT_EQ(pSize->GetClamp(dMin, dMax), QelProperty::eClampBoth);
    EXPECT_EQ(fMin, -FLT_MAX);
    EXPECT_EQ(cap.Warnings(), 0u);

    pSize->SetClamp(1, 3);
    pSize->SetAsDouble(7.0);
    EXPECT_EQ(pSize->GetAsDouble(), 3.0);
    pCount->SetClamp(0.0, 1.0e20);
    pCount->SetAsInt(INT_MAX); // a bound past the int range saturates instead of overflowing
    EXPECT_EQ(pCount->GetAsInt(), INT_MAX);
    QelProperty* pFlag = box.CreateProperty("Flag", eDataBoolean);
    pFlag->GetClamp(dMin, dMax);
    EXPECT_EQ(dMin, 0.0);
    EXPECT_EQ(dMax, 1.0);
    std::vector<std::string> expected = {
        "<warning> Integer version of QelProperty::SetClamp called on property [Box.Size] of type [Real]\n",
        "<warning> Double/float version of QelProperty::SetClamp called on property [Box.Count] of type [Integer]\n"};
    EXPECT_EQ(cap.Messages(), expected);
}

TEST(QelProperty, FreeStandingPropertyStoresButDoesNotSpread)
{
    QelProperty free("Loose", nullptr, eDataInteger);
    EXPECT_TRUE(free.SetAsInt(3));
    EXPECT_EQ(free.GetAsInt(), 3);
    EXPECT_FALSE(free.HasChanged());
    EXPECT_EQ(free.GetFullName(), "(no container).Loose");
    EXPECT_FALSE(free.PressButton());
    EXPECT_FALSE(free.IsButton());
    EXPECT_EQ(free.GetIndependentProperty(), nullptr);
    EXPECT_EQ(free.GetDescription(), "");
    EXPECT_EQ(free.GetContainer(), nullptr);

    // SetAsVariant stores as it is; the declared type stays.
    free.SetAsVariant(QelVariant("text"));
    EXPECT_EQ(free.GetDataType(), eDataInteger);
    EXPECT_EQ(free.GetAsVariant().GetDataType(), eDataString);
    EXPECT_FALSE(free.IsNumeric());
    free.ChangeType(eDataReal);
    EXPECT_EQ(free.GetDataType(), eDataReal);
    EXPECT_EQ(free.GetAsVariant().GetDataType(), eDataString);

    free.SetAsColor(1.0f, 0.5f, 0.0f, 2.0f);
    EXPECT_EQ(free.GetAsColor(), 0xFF007FFFu); // red in the low byte

    QelProperty named("bad\tname", nullptr, eDataReal);
    EXPECT_EQ(named.GetName(), "bad_name");
    EXPECT_EQ(QelProperty::SizeOfProperty(), sizeof(QelProperty));

    double dMin, dMax;
    EXPECT_TRUE(named.GetRange(dMin, dMax));
    EXPECT_EQ(dMax, 1.0);
    EXPECT_TRUE(named.DriveByPercent(0.3f, false));
    EXPECT_EQ(named.GetLastDrivenPercentage(), 1.0f);
    EXPECT_TRUE(named.ConnectTo(&free));
    EXPECT_TRUE(named.DisconnectIncoming());
    EXPECT_EQ(named.GetHistory(true), nullptr);
}

TEST(QelProperty, EnumerationsClampOrResetWithWarnings)
{
    QelCapture cap;
    Counting box;
    QelProperty* pMode = box.CreateProperty("Mode", eDataInteger);
    EXPECT_FALSE(pMode->IsEnumerated());
    pMode->SetEnumerationNames({"Off", "Slow", "Fast"}, {});
    EXPECT_TRUE(pMode->IsEnumerated());
    pMode->SetAsInt(1);
    EXPECT_EQ(pMode->GetAsInt(), 1);
    EXPECT_EQ(cap.Warnings(), 0u);
    pMode->SetAsInt(7);
    EXPECT_EQ(pMode->GetAsInt(), 2);
    pMode->SetAsInt(-4);
    EXPECT_EQ(pMode->GetAsInt(), 0);

    QelProperty* pUnit = box.CreateProperty("Unit", eDataInteger);
    pUnit->SetEnumerationNames({"mm", "cm", "m"}, {10, 100, 1000});
    pUnit->SetAsInt(100);
    pUnit->SetAsInt(5); // unlisted: the current listed value stays
    EXPECT_EQ(pUnit->GetAsInt(), 100);
    QelProperty* pOther = box.CreateProperty("Other", eDataInteger);
    pOther->SetEnumerationNames({"a", "b"}, {10, 20});
    pOther->SetAsInt(3); // current 0 is not listed either: the first listed value
    EXPECT_EQ(pOther->GetAsInt(), 10);
    std::vector<std::string> expected = {
        "<warning> Box.Mode - Invalid property enumeration value 7 was clamped to 2 (Fast)\n",
        "<warning> Box.Mode - Invalid property enumeration value -4 was clamped to 0 (Off)\n",
        "<warning> Box.Unit - Invalid property enumeration value 5 was reset to 100 (cm)\n",
        "<warning> Box.Other - Invalid property enumeration value 3 was reset to 10 (a)\n"};
    EXPECT_EQ(cap.Messages(), expected);

    std::vector<std::string> vecNames;
    std::vector<int> vecValues;
    pUnit->GetEnumerationNames(vecNames, vecValues);
    EXPECT_EQ(vecValues, (std::vector<int>{10, 100, 1000}));

    // A value list that does not pair with the names is completed by index, with a warning.
    pOther->SetEnumerationNames({"a", "b", "c"}, {5});
    pOther->GetEnumerationNames(vecNames, vecValues);
    EXPECT_EQ(vecValues, (std::vector<int>{5, 1, 2}));
    EXPECT_EQ(cap.Warnings(), 5u);
}

TEST(QelProperty, ButtonsNamesAndDescriptions)
{
    QelCapture cap;
    Counting box;
    QelProperty* pReset = box.CreateProperty("Reset", eDataBoolean);
    QelProperty* pSize = box.CreateProperty("Size", eDataReal);
    box.SetDirtyBit(false);
    EXPECT_TRUE(pReset->IsButton());
    EXPECT_TRUE(pReset->PressButton());
    EXPECT_FALSE(pSize->PressButton());
    pReset->SetAsBool(true); // a button's value change is a press, not a recalculation
    EXPECT_EQ(box.m_vecPressed, (std::vector<std::string>{"Reset", "Reset"}));
    EXPECT_FALSE(box.IsDirty());

    EXPECT_EQ(pSize->GetFullName(), "Box.Size");
    EXPECT_TRUE(pSize->SetName("Scale"));
    EXPECT_EQ(box.GetProperty("Scale"), pSize);
    EXPECT_EQ(box.GetProperty("Size"), nullptr);
    EXPECT_FALSE(pSize->SetName("Reset")); // taken: refused, name stays
    EXPECT_EQ(pSize->GetName(), "Scale");
    EXPECT_EQ(box.GetProperty("Reset"), pReset);
    EXPECT_TRUE(pSize->SetName("Sc\x01"));
    EXPECT_EQ(box.GetProperty("Sc_"), pSize);
    EXPECT_EQ(cap.Messages().size(), 2u);
    EXPECT_EQ(cap.Messages()[0],
              "<warning> Could not rename property [Box.Scale] to [Reset], a property with that name already exists\n");

    QelProperty* pThis = box.CreateProperty("Reserved:This", eDataContainerObject);
    EXPECT_EQ(pThis->GetDescription(), "Object pointer to this object");
    EXPECT_EQ(pSize->GetDescription(), "");
    EXPECT_FALSE(pSize->IsVisibleInBarByDefault());
    EXPECT_FALSE(pSize->IsMultiProperty());
}

TEST(QelProperty, UpdateFromAnotherPropertyFollowsTheCompatibilityTable)
{
    QelCapture cap;
    Counting box;
    QelProperty* pReal = box.CreateProperty("Real", eDataReal);
    QelProperty* pText = box.CreateProperty("Text", eDataString);
    QelProperty* pColor = box.CreateProperty("Color", eDataColor);
    QelProperty* pInt = box.CreateProperty("Int", eDataInteger);
    QelProperty* pRef = box.CreateProperty("Ref", eDataContainerObject);
    QelProperty* pDisplay = box.CreateProperty("Display", eDataDisplayObject);

    pText->SetAsString(" -3.75");
    EXPECT_TRUE(box.Feed(pReal, pText));
    EXPECT_EQ(pReal->GetAsVariant().GetDataType(), eDataReal);
    EXPECT_EQ(pReal->GetAsFloat(), -3.75f);
    EXPECT_TRUE(box.Feed(pInt, pReal));
    EXPECT_EQ(pInt->GetAsInt(), -3);
    EXPECT_TRUE(box.Feed(pText, pInt));
    EXPECT_EQ(pText->GetAsString(), "-3");
    pDisplay->SetAsDisplayObject(reinterpret_cast<QelDisplayObject*>(&box));
    EXPECT_TRUE(box.Feed(pRef, pDisplay));
    EXPECT_EQ(pRef->GetAsVariant().GetDataType(), eDataContainerObject);
    EXPECT_EQ(cap.Messages().size(), 0u);

    pColor->SetAsColor(0x11223344u);
    EXPECT_FALSE(box.Feed(pColor, pReal));
    EXPECT_FALSE(box.Feed(pReal, pColor));
    EXPECT_EQ(pColor->GetAsColor(), 0x11223344u);
    std::vector<std::string> expected = {"<warning> mismatched types Box.Real (Real) updating Box.Color (Color)\n",
                                         "<warning> mismatched types Box.Color (Color) updating Box.Real (Real)\n"};
    EXPECT_EQ(cap.Messages(), expected);

    pInt->SetEnumerationNames({"a", "b"}, {});
    pReal->SetAsDouble(5.0);
    EXPECT_TRUE(box.Feed(pInt, pReal));
    EXPECT_EQ(pInt->GetAsInt(), 1);
    EXPECT_EQ(cap.Messages().back(), "<warning> Box.Int - Invalid property enumeration value 5 was clamped to 1 (b)\n");
}

TEST(QelProperty, CopiesCarryValueClampAndEnumerationButNotTheContainer)
{
    Counting box;
    QelProperty* pSource = box.CreateProperty("Level", eDataInteger);
    pSource->SetClamp(0, 5);
    pSource->SetEnumerationNames({"a", "b", "c"}, {});
    pSource->SetAsInt(2);
    pSource->EnableAutoSaving(false);
    pSource->AppendHistory(QelVariant(1));

    QelProperty copy(*pSource);
    EXPECT_EQ(copy.GetName(), "Level");
    EXPECT_EQ(copy.GetContainer(), nullptr);
    EXPECT_NE(copy.GetGuid(), pSource->GetGuid());
    EXPECT_EQ(copy.GetAsInt(), 2);
    EXPECT_TRUE(copy.IsEnumerated());
    EXPECT_FALSE(copy.WillAutoSave());
    EXPECT_EQ(copy.History().GetRaw()->size(), 0u);
    int nMin, nMax;
    EXPECT_EQ(copy.GetClamp(nMin, nMax), QelProperty::eClampBoth);

    QelProperty* pTarget = box.CreateProperty("Other", eDataReal);
    box.SetDirtyBit(false);
    *pTarget = *pSource;
    EXPECT_EQ(pTarget->GetName(), "Other");
    EXPECT_EQ(pTarget->GetContainer(), &box);
    EXPECT_EQ(pTarget->GetDataType(), eDataInteger);
    EXPECT_TRUE(box.IsDirty());
    EXPECT_EQ(pTarget->GetAsInt(), 2);
}

TEST(QelProperty, DriveByValueGoesThroughTheTypedSetter)
{
    Counting box;
    QelProperty* p = box.CreateProperty("Speed", eDataReal);
    p->SetClamp(0.0, 10.0);
    EXPECT_TRUE(p->DriveByValue(QelVariant("12"), true));
    EXPECT_EQ(p->GetAsVariant().GetDataType(), eDataReal);
    EXPECT_EQ(p->GetAsFloat(), 10.0f);
    ASSERT_EQ(p->History().GetRaw()->size(), 1u);
    EXPECT_EQ(float((*p->History().GetRaw())[0]), 10.0f);
    QelProperty* pName = box.CreateProperty("File", eDataFilename);
    pName->DriveByValue(QelVariant(3), false);
    EXPECT_EQ(pName->GetAsVariant().GetDataType(), eDataFilename);
    EXPECT_EQ(pName->GetAsString(), "3");
}

TEST(QelProperty, QuietEnumerationMarkLetsOneValueThrough)
{
    QelCapture cap;
    Counting box;
    QelProperty* pMode = box.CreateProperty("Mode", eDataInteger);
    pMode->SetEnumerationNames({"a", "b"}, {});
    pMode->AcceptNextEnumerationValue();
    pMode->SetAsInt(0); // the current value: the mark stays
    pMode->SetAsInt(5);
    EXPECT_EQ(pMode->GetAsInt(), 5);
    EXPECT_EQ(cap.Warnings(), 0u);
    pMode->SetAsInt(6);
    EXPECT_EQ(pMode->GetAsInt(), 1);
    EXPECT_EQ(cap.Warnings(), 1u);
}
