#include "qel/properties/QelInterpColorProperty.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "qel/properties/QelPropertyHistory.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <utility>

namespace
{
typedef std::vector<std::string> Texts;

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
    Texts m_vecPressed;
};

int SetInt(QelProperty* p, int n)
{
    p->SetAsInt(n);
    return p->GetAsInt();
}

/// The range a history keeps for itself (GetRange deliberately reports 0..1 instead).
std::pair<double, double> Stored(const QelPropertyHistory& h)
{
    std::pair<double, double> r;
    h.GetStoredRange(r.first, r.second);
    return r;
}
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
    EXPECT_FALSE(box.IsDirty());
    EXPECT_EQ(pWidth->GetAsInt(), 2);
    EXPECT_EQ(box.m_nCalculations, 1);

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
    EXPECT_EQ(SetInt(pCount, INT_MIN), -2147483647); // deliberately one above the smallest int
    int nMin, nMax;
    EXPECT_EQ(pCount->GetClamp(nMin, nMax), QelProperty::eClampNone);
    pCount->SetClamp(0, 10);
    EXPECT_EQ(pCount->GetClamp(nMin, nMax), QelProperty::eClampBoth);
    EXPECT_EQ(SetInt(pCount, 11), 10);

    QelProperty* pSize = box.CreateProperty("Size", eDataReal);
    float fMin, fMax;
    double dMin, dMax;
    EXPECT_EQ(pSize->GetClamp(fMin, fMax), QelProperty::eClampNone);
    EXPECT_EQ(fMax, FLT_MAX);
    pSize->SetClamp(10.0, 0.0);
    EXPECT_TRUE(pSize->SetAsDouble(5.0));
    EXPECT_EQ(pSize->GetAsDouble(), 10.0); // inverted range: the minimum wins
    pSize->SetClamp(-1.0e300, 1.0);
    EXPECT_EQ(pSize->GetClamp(fMin, fMax), QelProperty::eClampMaximum);
    EXPECT_EQ(pSize->GetClamp(dMin, dMax), QelProperty::eClampBoth);
    EXPECT_EQ(fMin, -FLT_MAX);
    EXPECT_EQ(cap.Warnings(), 0u);

    // The wrong kind of clamp is reported and applied anyway.
    pSize->SetClamp(1, 3);
    pSize->SetAsDouble(7.0);
    EXPECT_EQ(pSize->GetAsDouble(), 3.0);
    pCount->SetClamp(0.0, 1.0e20);
    EXPECT_EQ(SetInt(pCount, INT_MAX), INT_MAX); // a bound past the int range saturates instead of overflowing
    box.CreateProperty("Flag", eDataBoolean)->GetClamp(dMin, dMax);
    EXPECT_EQ(dMin + dMax, 1.0);
    EXPECT_EQ(cap.Messages(),
              (Texts{"<warning> Integer version of QelProperty::SetClamp called on property [Box.Size] of type [Real]\n",
                     "<warning> Double/float version of QelProperty::SetClamp called on property [Box.Count] of type "
                     "[Integer]\n"}));
}

TEST(QelProperty, FreeStandingPropertyStoresButDoesNotSpread)
{
    QelProperty free("Loose", nullptr, eDataInteger);
    EXPECT_TRUE(free.SetAsInt(3));
    EXPECT_EQ(free.GetAsInt(), 3);
    EXPECT_FALSE(free.HasChanged());
    EXPECT_EQ(free.GetFullName(), "(no container).Loose");
    EXPECT_FALSE(free.PressButton());

    // SetAsVariant stores as it is; the declared type stays.
    free.SetAsVariant(QelVariant("text"));
    EXPECT_EQ(free.GetDataType(), eDataInteger);
    EXPECT_FALSE(free.IsNumeric());
    free.ChangeType(eDataReal);
    EXPECT_EQ(free.GetDataType(), eDataReal);
    EXPECT_EQ(free.GetAsVariant().GetDataType(), eDataString);

    free.SetAsColor(1.0f, 0.5f, 0.0f, 2.0f);
    EXPECT_EQ(free.GetAsColor(), 0xFF007FFFu); // red in the low byte, alpha saturated
    EXPECT_EQ(QelProperty("bad\tname", nullptr, eDataReal).GetName(), "bad_name");
}

TEST(QelProperty, EnumerationsClampOrResetWithWarnings)
{
    QelCapture cap;
    Counting box;
    QelProperty* pMode = box.CreateProperty("Mode", eDataInteger);
    EXPECT_FALSE(pMode->IsEnumerated());
    pMode->SetEnumerationNames({"Off", "Slow", "Fast"}, {});
    EXPECT_TRUE(pMode->IsEnumerated());
    EXPECT_EQ(SetInt(pMode, 1), 1);
    EXPECT_EQ(SetInt(pMode, 7), 2);
    EXPECT_EQ(SetInt(pMode, -4), 0);

    QelProperty* pUnit = box.CreateProperty("Unit", eDataInteger);
    pUnit->SetEnumerationNames({"mm", "cm", "m"}, {10, 100, 1000});
    pUnit->SetAsInt(100);
    EXPECT_EQ(SetInt(pUnit, 5), 100); // unlisted: the current listed value stays
    QelProperty* pOther = box.CreateProperty("Other", eDataInteger);
    pOther->SetEnumerationNames({"a", "b"}, {10, 20});
    EXPECT_EQ(SetInt(pOther, 3), 10); // current 0 is not listed either: the first listed value

    // A value list that does not pair with the names is completed by index, with a warning.
    std::vector<std::string> vecNames;
    std::vector<int> vecValues;
    pOther->SetEnumerationNames({"a", "b", "c"}, {5});
    pOther->GetEnumerationNames(vecNames, vecValues);
    EXPECT_EQ(vecValues, (std::vector<int>{5, 1, 2}));

    // The quiet mark lets exactly one changed value through without a check.
    pMode->AcceptNextEnumerationValue();
    pMode->SetAsInt(0); // the current value: the mark stays
    EXPECT_EQ(SetInt(pMode, 5), 5);
    EXPECT_EQ(SetInt(pMode, 6), 2);
    EXPECT_EQ(cap.Messages(),
              (Texts{"<warning> Box.Mode - Invalid property enumeration value 7 was clamped to 2 (Fast)\n",
                     "<warning> Box.Mode - Invalid property enumeration value -4 was clamped to 0 (Off)\n",
                     "<warning> Box.Unit - Invalid property enumeration value 5 was reset to 100 (cm)\n",
                     "<warning> Box.Other - Invalid property enumeration value 3 was reset to 10 (a)\n",
                     "<warning> Box.Other - 1 enumeration values given for 3 names; the lists were paired by index\n",
                     "<warning> Box.Mode - Invalid property enumeration value 6 was clamped to 2 (Fast)\n"}));
}

TEST(QelProperty, ButtonsAndRenames)
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
    EXPECT_EQ(box.m_vecPressed, (Texts{"Reset", "Reset"}));
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
    EXPECT_EQ(cap.Messages(), (Texts{"<warning> Could not rename property [Box.Scale] to [Reset], a property with that "
                                     "name already exists\n",
                                     "<warning> Invalid name [Sc\x01] has been changed to [Sc_].\n"}));
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
    EXPECT_TRUE(pReal->GetAsVariant() == QelVariant(-3.75f));
    EXPECT_TRUE(box.Feed(pInt, pReal));
    EXPECT_TRUE(pInt->GetAsVariant() == QelVariant(-3));
    EXPECT_TRUE(box.Feed(pText, pInt));
    EXPECT_TRUE(pText->GetAsVariant() == QelVariant("-3"));
    pDisplay->SetAsDisplayObject(reinterpret_cast<QelDisplayObject*>(&box));
    EXPECT_TRUE(box.Feed(pRef, pDisplay));
    EXPECT_EQ(pRef->GetAsVariant().GetDataType(), eDataContainerObject);
    EXPECT_EQ(cap.Messages().size(), 0u);

    pColor->SetAsColor(0x11223344u);
    EXPECT_FALSE(box.Feed(pColor, pReal));
    EXPECT_FALSE(box.Feed(pReal, pColor));
    EXPECT_EQ(pColor->GetAsColor(), 0x11223344u);
    QelProperty loose("Loose", nullptr, eDataColor);
    EXPECT_FALSE(box.Feed(&loose, pReal));
    EXPECT_EQ(cap.Messages(), (Texts{"<warning> mismatched types Box.Real (Real) updating Box.Color (Color)\n",
                                     "<warning> mismatched types Box.Color (Color) updating Box.Real (Real)\n",
                                     "<warning> mismatch type port update for node [NULL]\n"}));

    pInt->SetEnumerationNames({"a", "b"}, {});
    pReal->SetAsDouble(5.0);
    EXPECT_TRUE(box.Feed(pInt, pReal));
    EXPECT_EQ(pInt->GetAsInt(), 1);
    EXPECT_EQ(cap.Messages().back(), "<warning> Box.Int - Invalid property enumeration value 5 was clamped to 1 (b)\n");
}

TEST(QelProperty, CopiesAndDrivingByValue)
{
    Counting box;
    QelProperty* pSource = box.CreateProperty("Level", eDataInteger);
    pSource->SetClamp(0, 5);
    pSource->SetEnumerationNames({"a", "b", "c"}, {});
    pSource->SetAsInt(2);
    pSource->EnableAutoSaving(false);
    pSource->AppendHistory(QelVariant(1));

    // A copy carries value, clamp, enumeration and flags, but neither container, identity nor history.
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

    // Driving goes through the typed setter, with its clamp, and may record the value.
    QelProperty* pSpeed = box.CreateProperty("Speed", eDataReal);
    pSpeed->SetClamp(0.0, 10.0);
    EXPECT_TRUE(pSpeed->DriveByValue(QelVariant("12"), true));
    EXPECT_TRUE(pSpeed->GetAsVariant() == QelVariant(10.0f));
    ASSERT_EQ(pSpeed->History().GetRaw()->size(), 1u);
    EXPECT_EQ(float((*pSpeed->History().GetRaw())[0]), 10.0f);
    QelProperty* pName = box.CreateProperty("File", eDataFilename);
    pName->DriveByValue(QelVariant(3), false);
    EXPECT_EQ(pName->GetAsVariant().GetDataType(), eDataFilename);
    EXPECT_EQ(pName->GetAsString(), "3");
    EXPECT_EQ(pName->History().GetRaw()->size(), 0u);
}

TEST(QelInterpColorProperty, EditAChildAndReadTheNewColor)
{
    QelCapture cap;
    Counting m;
    auto* pTint = dynamic_cast<QelInterpColorProperty*>(m.CreateProperty("Tint", eDataInterpColor));
    ASSERT_NE(pTint, nullptr);
    EXPECT_TRUE(pTint->IsInterpColorProperty());
    EXPECT_EQ(m.GetProperty("Tint:High color"), pTint->GetHighColorProperty());
    EXPECT_EQ(m.GetProperty("Tint:Low color"), pTint->GetLowColorProperty());
    EXPECT_EQ(m.GetProperty("Tint:Interpolation"), pTint->GetValueProperty());
    EXPECT_EQ(pTint->GetValueProperty()->GetDataType(), eDataReal);
    EXPECT_EQ(pTint->GetAsColor(), 0xFFFFFFFFu);
    EXPECT_EQ(pTint->GetLowColor(), 0xFF000000u);
    EXPECT_EQ(pTint->GetAsDouble(), 1.0);
    EXPECT_FALSE(pTint->HasChanged());
    std::vector<QelProperty*> vec;
    m.GetProperties(vec, false);
    EXPECT_EQ(vec[0], pTint); // listed before its parts
    // A second one of the same name fails, and so do its children; the first keeps its own.
    EXPECT_EQ(m.CreateProperty("Tint", eDataInterpColor), nullptr);
    EXPECT_EQ(cap.Errors(), 4u);
    EXPECT_EQ(m.GetPropertyCount(), 4);
    EXPECT_EQ(pTint->GetLowColorProperty(), m.GetProperty("Tint:Low color"));

    int nBefore = m.m_nCalculations;
    pTint->SetValue(0.5f);
    EXPECT_TRUE(pTint->HasChanged());
    EXPECT_EQ(pTint->GetAsColor(), 0xFF7F7F7Fu);
    EXPECT_EQ(m.m_nCalculations, nBefore + 1);
    EXPECT_FALSE(m.IsDirty()); // writing the result did not dirty the container again
    EXPECT_TRUE(pTint->IsPropagationEnabled());
    pTint->SetLowColor(0xFF0000FFu);
    pTint->SetHighColor(0xFFFF0000u);
    pTint->GetValueProperty()->SetAsDouble(0.25);
    EXPECT_EQ(pTint->GetAsColor(), 0xFF3F00BFu);

    // Values outside 0..1 saturate; the child's own clamp is applied to the child first.
    pTint->SetValue(2.0f);
    EXPECT_EQ(pTint->GetAsColor(), 0xFFFF0000u);
    pTint->SetValue(-1.0f);
    EXPECT_EQ(pTint->GetAsColor(), 0xFF0000FFu);
    pTint->GetValueProperty()->SetClamp(0.0, 0.5);
    pTint->GetValueProperty()->SetAsVariant(QelVariant(0.9f)); // bypasses the clamp
    EXPECT_EQ(pTint->GetAsColor(), 0xFF7F007Fu);
    EXPECT_EQ(pTint->GetValueProperty()->GetAsFloat(), 0.5f);

    // Writing the result directly is announced like any value.
    m.SetDirtyBit(false);
    pTint->SetAsColor(1.0f, 0.0f, 0.0f, 1.0f);
    EXPECT_TRUE(m.IsDirty());
    EXPECT_EQ(pTint->GetAsVariantWithoutPull().GetDataType(), eDataColor);

    // A rename takes the children along; a deleted child leaves the default color, not a dangling pointer.
    EXPECT_TRUE(pTint->SetName("Shade"));
    EXPECT_EQ(m.GetProperty("Tint:Low color"), nullptr);
    m.DeleteProperty(m.GetProperty("Shade:Low color"));
    EXPECT_EQ(pTint->GetLowColorProperty(), nullptr);
    pTint->SetValue(0.0f);
    EXPECT_EQ(pTint->GetAsColor(), 0xFF000000u);
    EXPECT_EQ(cap.Errors(), 4u);
}

TEST(QelInterpColorProperty, CopyBuildsChildrenInTheSourceContainer)
{
    QelCapture cap;
    Counting m;
    auto* pTint = static_cast<QelInterpColorProperty*>(m.CreateProperty("Tint", eDataInterpColor));
    pTint->SetValue(0.5f);
    pTint->GetAsColor();
    EXPECT_TRUE(pTint->SetName("Source"));
    {
        QelInterpColorProperty copy(*pTint);
        EXPECT_EQ(copy.GetName(), "Source");
        // The names are taken by the source's children, so the copy has none (three duplicates).
        EXPECT_EQ(cap.Errors(), 3u);
        EXPECT_EQ(copy.GetLowColorProperty(), nullptr);
        EXPECT_EQ(copy.GetAsVariantWithoutPull(), QelVariant(0xFF7F7F7Fu));
    }
    // With its low color in another container, the copy builds its children there.
    Counting other;
    QelProperty* pBase = other.CreateProperty("Base", eDataColor);
    pBase->SetAsColor(0xFF0000FFu);
    pTint->SetLowColor(pBase);
    auto* pCopy = new QelInterpColorProperty(*pTint);
    ASSERT_NE(pCopy->GetLowColorProperty(), nullptr);
    EXPECT_EQ(other.GetProperty("Source:Low color"), pCopy->GetLowColorProperty());
    EXPECT_EQ(pCopy->GetLowColor(), 0xFF0000FFu);
    EXPECT_EQ(other.GetProperty("Source:Interpolation")->GetAsFloat(), 0.5f);
    EXPECT_EQ(pCopy->GetContainer(), nullptr);
    delete pCopy; // its children stay with their container, which frees them
    EXPECT_EQ(other.GetPropertyCount(), 4);
    EXPECT_EQ(cap.Errors(), 3u);
}

TEST(QelPropertyHistory, FillAndReadItsOrdering)
{
    QelCapture cap;
    Counting r;
    QelProperty* p = r.CreateProperty("Speed", eDataReal);
    QelPropertyHistory& h = p->History();
    EXPECT_EQ(h.CheckOrdering(), QelPropertyHistory::eOrderingOrdered);
    r.SetAnyHistoryHasChanged(false);
    p->SetHistoryChangedFlag(false);
    EXPECT_TRUE(p->AppendHistory(QelVariant(5.0f)));
    EXPECT_TRUE(r.HasAnyHistoryChanged());
    EXPECT_TRUE(p->HistoryHasChanged());
    h.Append(QelVariant(2.0f));
    EXPECT_EQ(h.CheckOrdering(), QelPropertyHistory::eOrderingUnordered);
    p->ClearHistory();
    for (float f : {2.0f, 5.0f, 5.0f})
        h.Append(QelVariant(f));
    EXPECT_EQ(h.CheckOrdering(), QelPropertyHistory::eOrderingOrdered); // equal neighbours are in order
    h.Append(QelVariant(20.0f));
    h.Append(QelVariant(10.0f));
    EXPECT_EQ(h.CheckOrdering(), QelPropertyHistory::eOrderingUnordered); // the cache was reset by Append

    double dMin, dMax;
    EXPECT_TRUE(h.GetRange(dMin, dMax));
    EXPECT_EQ(std::make_pair(dMin, dMax), std::make_pair(0.0, 1.0));
    EXPECT_EQ(Stored(h), std::make_pair(2.0, 20.0));
    EXPECT_EQ(h.GetType(true), QelPropertyHistory::eTypeEmpty); // 3 although Append stored 0
    EXPECT_EQ(h.Get(true), nullptr);
    EXPECT_EQ(h.Get(false), nullptr);
    h.Clear();
    EXPECT_EQ(h.GetRaw()->size(), 0u);
    EXPECT_EQ(Stored(h), std::make_pair(0.0, 1.0));

    // Set replaces the series after a type check; Append takes anything.
    EXPECT_TRUE(p->SetHistory({QelVariant(3.0f), QelVariant(-1.0f)}));
    EXPECT_EQ(Stored(h), std::make_pair(-1.0, 3.0));
    EXPECT_EQ(h.CheckOrdering(), QelPropertyHistory::eOrderingUnordered);
    EXPECT_FALSE(h.Set({QelVariant(1.0f), QelVariant("fast")}));
    EXPECT_EQ(h.GetRaw()->size(), 2u);
    EXPECT_EQ(cap.Messages(), (Texts{"<warning> Property Box.Speed is of type Real, but an attempt was made to set "
                                     "history of type String\n"}));
    EXPECT_TRUE(h.Set({}));
    EXPECT_EQ(Stored(h), std::make_pair(0.0, 1.0));
    EXPECT_TRUE(h.Append(QelVariant("text")));
    QelProperty* pName = r.CreateProperty("Name", eDataString);
    EXPECT_TRUE(pName->SetHistory({QelVariant("b"), QelVariant("a")}));
    EXPECT_EQ(Stored(pName->History()), std::make_pair(0.0, 1.0)); // not numeric: no range
}

TEST(QelPropertyHistory, FastBulkFill)
{
    QelCapture cap;
    Counting r;
    QelProperty* p = r.CreateProperty("Time", eDataReal);
    QelPropertyHistory& h = p->History();
    h.FastReserve(100);
    r.SetAnyHistoryHasChanged(false);
    for (int i = 0; i < 100; ++i)
        h.FastAppend(QelVariant(float(i)));
    EXPECT_FALSE(r.HasAnyHistoryChanged()); // nothing told until completion
    h.FastSetAt(QelVariant(-5.0f), 50);
    h.FastSetAt(QelVariant(1.0f), 100);
    h.FastSetAt(QelVariant(1.0f), -1);
    EXPECT_EQ(cap.Warnings(), 2u);
    EXPECT_EQ(cap.Messages()[0], "<warning> History index [100] is out of range [0, 100) in QelPropertyHistory::FastSetAt()\n");
    EXPECT_TRUE(h.FastComplete());
    EXPECT_TRUE(r.HasAnyHistoryChanged());
    EXPECT_EQ(Stored(h), std::make_pair(-5.0, 99.0));
    EXPECT_EQ(h.CheckOrdering(), QelPropertyHistory::eOrderingUnordered);
    h.FastSetAt(QelVariant(50.0f), 50);
    EXPECT_TRUE(h.FastComplete());
    EXPECT_EQ(h.CheckOrdering(), QelPropertyHistory::eOrderingOrdered); // completion resets the cache

    h.FastAppend(QelVariant(7));
    EXPECT_FALSE(h.FastComplete());
    EXPECT_EQ(cap.Messages().back(), "<warning> AppendFastComplete: property Box.Time is of type Real, but an attempt "
                                     "was made to set history of type Integer\n");
    h.FastResize(5);

    // Copies take the values, not the owner.
    QelPropertyHistory copy(h);
    EXPECT_EQ(copy.GetRaw()->size(), 5u);
    copy.Append(QelVariant(1.0f)); // no owner: nobody to tell, no type rules
    EXPECT_EQ(h.GetRaw()->size(), 5u);
}
