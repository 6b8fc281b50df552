#include "qel/properties/QelInterpColorProperty.h"
#include "qel/properties/QelMultiProperty.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{
class Named : public QelPropertyContainer
{
public:
    explicit Named(const std::string& strName) { SetName(strName); }
    bool IsPropertyVisible(QelProperty* p) const override { return p->GetName() != "Hidden"; }
};

/// A host-side object that holds properties the way a host's own links would.
class HostLink : public QelBase
{
public:
    HostLink() : QelBase("Link") {}
    ~HostLink() override
    {
        for (QelBase* p : std::vector<QelBase*>(GetHeldObjects().begin(), GetHeldObjects().end()))
            ReleaseObject(p);
    }
    void Hold(QelBase* p) { HoldObject(p); }
    void OnObjectDeletion(QelBase* p) override
    {
        ++m_nNotices;
        ReleaseObject(p);
    }
    int m_nNotices = 0;
};

std::vector<std::string> Names(const QelPropertyContainer& c, bool bVisibleOnly = false)
{
    std::vector<QelProperty*> vec;
    c.GetProperties(vec, bVisibleOnly);
    std::vector<std::string> out;
    for (QelProperty* p : vec)
        out.push_back(p->GetName());
    return out;
}
} // namespace

TEST(QelPropertyContainer, FreshContainerFlags)
{
    QelPropertyContainer c;
    EXPECT_EQ(c.GetName(), "Undefined");
    EXPECT_TRUE(c.HasAutoComputedHistory());
    EXPECT_FALSE(c.IsDirty());
    EXPECT_FALSE(c.CalculateFunctionIsActive());
    EXPECT_FALSE(c.HasAnyHistoryChanged());
    EXPECT_FALSE(c.IsBeingDestroyed());
    EXPECT_EQ(c.GetPropertyCount(), 0);
    EXPECT_EQ(c.GetCategory(), QelSandboxIcon::eCategoryContainerObject);
    c.SetAutoComputedHistory(false);
    c.SetAnyHistoryHasChanged(true);
    EXPECT_FALSE(c.HasAutoComputedHistory());
    EXPECT_TRUE(c.HasAnyHistoryChanged());

    QelPluginAttributes attributes(kZeroGUID, "Box", "Shapes", "QelCommon", "A box", "cube", 3);
    QelPropertyContainer withKind(attributes);
    EXPECT_EQ(withKind.GetType(), "Box");
    EXPECT_EQ(withKind.GetFlags(), 3);
    EXPECT_EQ(withKind.GetIconDescription(), "A box");

    // The base hooks' answers.
    QelProperty* p = c.CreateProperty("X", eDataReal);
    EXPECT_EQ(c.GetPropertyFilenameFilter(p), "");
    EXPECT_FALSE(c.IsPropertyButton(p));
    EXPECT_TRUE(c.IsPropertyVisible(p));
    EXPECT_FALSE(c.IsHistoryManuallyDerived(p));
    EXPECT_FALSE(c.IsPropertySpecialEdited(p));
    EXPECT_EQ(c.GetPropertyBarTextColor(p), 0xFF000000u);
    EXPECT_EQ(c.GetPropertyBarPostScript(p), "");
    EXPECT_TRUE(c.WillAcceptConnection(p, p));
    EXPECT_FALSE(c.ManuallyDeriveHistory(p, 0));
}

TEST(QelPropertyContainer, CreateFindAndRefuseDuplicates)
{
    QelCapture cap;
    Named c("Box");
    QelProperty* pWidth = c.CreateProperty("Width", eDataReal);
    ASSERT_NE(pWidth, nullptr);
    EXPECT_EQ(c.CreateProperty("Width", eDataInteger), nullptr);
    EXPECT_EQ(c.GetProperty("Width"), pWidth);
    EXPECT_EQ(c.GetProperty("Width")->GetDataType(), eDataReal);
    ASSERT_EQ(cap.Messages().size(), 1u);
    EXPECT_EQ(cap.Messages()[0], "<error> Failed to add property [Width], a property with the same name already exists\n");

    EXPECT_NE(c.CreateProperty("Reserved:This", eDataContainerObject), nullptr);
    EXPECT_EQ(c.CreateProperty("Reserved:This", eDataContainerObject), nullptr);
    EXPECT_EQ(cap.Messages().size(), 1u);

    EXPECT_EQ(c.GetProperty("width"), nullptr);
    EXPECT_EQ(c.GetProperty(pWidth->GetGuid()), pWidth);
    EXPECT_EQ(c.GetProperty(kZeroGUID), nullptr);
    EXPECT_EQ(c.GetPropertyCount(), 2);

    // Adoption: a free-standing property joins; one owned elsewhere is refused.
    auto* pLoose = new QelProperty("Loose", nullptr, eDataInteger);
    EXPECT_TRUE(c.AddProperty(pLoose));
    EXPECT_EQ(pLoose->GetContainer(), &c);
    Named other("Other");
    EXPECT_FALSE(other.AddProperty(pLoose));
    EXPECT_EQ(cap.Messages().back(), "<error> Failed to add property [Loose], it belongs to container [Box]\n");
    other.DeleteProperty(pLoose); // not other's to delete
    EXPECT_EQ(c.GetProperty("Loose"), pLoose);
    EXPECT_FALSE(c.AddProperty(nullptr));
}

TEST(QelPropertyContainer, OrderingAndFilteredListing)
{
    QelCapture cap;
    Named c("Box");
    QelProperty* pA = c.CreateProperty("A", eDataReal);
    c.CreateProperty("Hidden", eDataReal);
    QelProperty* pC = c.CreateProperty("C", eDataReal);
    EXPECT_EQ(Names(c), (std::vector<std::string>{"A", "Hidden", "C"}));
    EXPECT_EQ(Names(c, true), (std::vector<std::string>{"A", "C"}));
    EXPECT_TRUE(c.SetPropertyIndex(pC, 0));
    EXPECT_EQ(Names(c), (std::vector<std::string>{"C", "A", "Hidden"}));
    EXPECT_TRUE(c.SetPropertyIndex(pC, 2));
    EXPECT_EQ(Names(c), (std::vector<std::string>{"A", "Hidden", "C"}));
    EXPECT_EQ(cap.Messages().size(), 0u);

    EXPECT_FALSE(c.SetPropertyIndex(pA, 3));
    EXPECT_FALSE(c.SetPropertyIndex(pA, -1));
    QelProperty loose("Loose", nullptr, eDataReal);
    EXPECT_FALSE(c.SetPropertyIndex(&loose, 0));
    EXPECT_EQ(Names(c), (std::vector<std::string>{"A", "Hidden", "C"}));
    std::vector<std::string> expected = {
        "<warning>Could not move property [A] in list. Index passed [3] is out of range.\n",
        "<warning>Could not move property [A] in list. Index passed [-1] is out of range.\n",
        "<warning>Property [(unknown)] could not be found in current list of properties\n"};
    EXPECT_EQ(cap.Messages(), expected);

    std::vector<QelProperty*> vec(5, nullptr);
    c.GetProperties(vec, false);
    EXPECT_EQ(vec.size(), 3u);
}

TEST(QelPropertyContainer, IndependentPropertyAndItsDeletion)
{
    Named a("A"), b("B");
    QelProperty* pTime = a.CreateProperty("Time", eDataReal);
    QelProperty* pForeign = b.CreateProperty("Foreign", eDataReal);
    EXPECT_TRUE(a.SetIndependentProperty(pTime));
    EXPECT_EQ(pTime->GetIndependentProperty(), pTime);
    EXPECT_FALSE(a.SetIndependentProperty(pForeign));
    EXPECT_EQ(a.GetIndependentProperty(), pForeign); // kept although refused
    EXPECT_TRUE(a.SetIndependentProperty(nullptr));
    EXPECT_EQ(a.GetIndependentProperty(), nullptr);

    // Deleting the property anywhere clears the pointer.
    a.SetIndependentProperty(pForeign);
    b.DeleteProperty(pForeign);
    EXPECT_EQ(a.GetIndependentProperty(), nullptr);
    a.SetIndependentProperty(pTime);
    a.DeleteProperty(pTime);
    EXPECT_EQ(a.GetIndependentProperty(), nullptr);
    EXPECT_EQ(a.GetPropertyCount(), 0);
}

TEST(QelPropertyContainer, DeletingAContainerWhosePropertiesAreHeld)
{
    QelCapture cap;
    HostLink link;
    auto pOther = std::make_unique<Named>("Other");
    {
        Named doomed("Doomed");
        QelProperty* p = doomed.CreateProperty("Size", eDataReal);
        link.Hold(p);
        pOther->SetIndependentProperty(p);
    }
    EXPECT_EQ(link.m_nNotices, 1);
    EXPECT_EQ(pOther->GetIndependentProperty(), nullptr);
    std::vector<std::string> expected = {
        "<warning> Property [Size] of [Doomed] is still held by [Link] as its container goes; the holder is told\n",
        "<warning> Property [Size] of [Doomed] is still held by [Other] as its container goes; the holder is told\n"};
    // Holders are reported in pointer order.
    ASSERT_EQ(cap.Messages().size(), 2u);
    EXPECT_EQ(cap.Errors(), 0u);

    // And the other way round: the container holding a foreign property goes first.
    Named keeper("Keeper");
    QelProperty* pKept = keeper.CreateProperty("Kept", eDataReal);
    pOther->SetIndependentProperty(pKept);
    pOther.reset();
    keeper.DeleteProperty(pKept);
    EXPECT_EQ(cap.Errors(), 0u);
}

TEST(QelPropertyContainer, MultiPropertyGroups)
{
    QelCapture cap;
    Named c("Node");
    QelMultiProperty* pPos =
        c.CreateMultiPropertyGroup("Position", {"X", "Y", "Z"}, {eDataReal, eDataReal, eDataReal});
    ASSERT_NE(pPos, nullptr);
    EXPECT_TRUE(pPos->IsMultiProperty());
    EXPECT_EQ(pPos->GetDataType(), eDataReal);
    EXPECT_EQ(pPos->GetChildCount(), 3);
    QelProperty* pY = c.GetProperty("Position:Y");
    ASSERT_NE(pY, nullptr);
    EXPECT_TRUE(pY->IsMultiPropertyChild());
    EXPECT_EQ(pPos->GetChild(1), pY);
    EXPECT_EQ(pPos->GetChild(3), nullptr);

    pPos->SetChildClamp(-1.0, 1.0);
    pPos->SetChangedFlag(false);
    for (int i = 0; i < 3; ++i)
        pPos->GetChild(i)->SetChangedFlag(false);
    EXPECT_FALSE(pPos->HasChanged());
    EXPECT_TRUE(pPos->SetValues({QelVariant(0.5f), QelVariant(2), QelVariant("-3")}));
    EXPECT_TRUE(pPos->HasChanged());
    std::vector<QelVariant> values;
    pPos->GetValues(values);
    ASSERT_EQ(values.size(), 3u);
    EXPECT_EQ(float(values[0]), 0.5f);
    EXPECT_EQ(float(values[1]), 1.0f);
    EXPECT_EQ(float(values[2]), -1.0f);
    EXPECT_FALSE(pPos->SetValues({QelVariant(1.0f)}));
    EXPECT_EQ(cap.Messages().back(), "<warning> Node.Position - 1 values given for a group of 3 properties\n");

    // Renaming the group renames its children; deleting a child leaves no pointer in the group.
    EXPECT_TRUE(pPos->SetName("Offset"));
    EXPECT_NE(c.GetProperty("Offset:Y"), nullptr);
    c.DeleteProperty(c.GetProperty("Offset:Y"));
    EXPECT_EQ(pPos->GetChildCount(), 2);
    pPos->GetValues(values);
    EXPECT_EQ(values.size(), 2u);

    // Deleting the group frees its children from the group, not from the container.
    QelProperty* pX = c.GetProperty("Offset:X");
    c.DeleteProperty(pPos);
    EXPECT_FALSE(pX->IsMultiPropertyChild());
    EXPECT_EQ(c.GetPropertyCount(), 2);

    // A taken child name leaves nothing behind; a foreign child is refused.
    c.CreateProperty("Scale:X", eDataReal);
    size_t nErrors = cap.Errors();
    EXPECT_EQ(c.CreateMultiPropertyGroup("Scale", {"W", "X"}, {eDataReal, eDataReal}), nullptr);
    EXPECT_EQ(cap.Errors(), nErrors + 1);
    EXPECT_EQ(c.GetProperty("Scale"), nullptr);
    EXPECT_EQ(c.GetProperty("Scale:W"), nullptr);
    EXPECT_EQ(c.CreateMultiPropertyGroup("Bad", {"A"}, {}), nullptr);
    Named other("Other");
    QelMultiProperty* pGroup = c.CreateMultiProperty("Group", eDataInteger);
    EXPECT_FALSE(pGroup->AddChild(other.CreateProperty("Far", eDataInteger)));
    EXPECT_TRUE(pGroup->AddChild(pX));
    EXPECT_FALSE(pGroup->AddChild(pX));
    EXPECT_TRUE(pGroup->RemoveChild(pX));
    EXPECT_FALSE(pX->IsMultiPropertyChild());
}

TEST(QelPropertyContainer, CopiesRebuildTheProperties)
{
    Named source("Source");
    QelProperty* pSize = source.CreateProperty("Size", eDataReal);
    pSize->SetClamp(0.0, 10.0);
    pSize->SetAsDouble(4.0);
    auto* pTint = static_cast<QelInterpColorProperty*>(source.CreateProperty("Tint", eDataInterpColor));
    pTint->SetValue(0.5f);
    source.CreateMultiPropertyGroup("Pos", {"X", "Y"}, {eDataReal, eDataReal});
    source.SetIndependentProperty(pSize);

    QelPropertyContainer copy(source);
    EXPECT_EQ(Names(copy), Names(source));
    EXPECT_EQ(copy.GetProperty("Size")->GetAsDouble(), 4.0);
    EXPECT_NE(copy.GetProperty("Size"), pSize);
    EXPECT_EQ(copy.GetIndependentProperty(), copy.GetProperty("Size"));
    auto* pCopyTint = dynamic_cast<QelInterpColorProperty*>(copy.GetProperty("Tint"));
    ASSERT_NE(pCopyTint, nullptr);
    EXPECT_EQ(pCopyTint->GetAsColor(), 0xFF7F7F7Fu);
    auto* pCopyPos = dynamic_cast<QelMultiProperty*>(copy.GetProperty("Pos"));
    ASSERT_NE(pCopyPos, nullptr);
    EXPECT_EQ(pCopyPos->GetChildCount(), 2);

    Named assigned("Assigned");
    assigned.CreateProperty("Old", eDataReal);
    assigned = source;
    EXPECT_EQ(assigned.GetProperty("Old"), nullptr);
    EXPECT_EQ(Names(assigned), Names(source));
}
