#include "qel/properties/QelInterpColorProperty.h"
#include "qel/properties/QelMultiProperty.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace
{
typedef std::vector<std::string> Texts;

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

Texts Names(const QelPropertyContainer& c, bool bVisibleOnly = false)
{
    std::vector<QelProperty*> vec(5, nullptr); // filled afresh, not appended to
    c.GetProperties(vec, bVisibleOnly);
    Texts out;
    for (QelProperty* p : vec)
        out.push_back(p->GetName());
    return out;
}
} // namespace

TEST(QelPropertyContainer, CreateFindAndRefuseDuplicates)
{
    QelCapture cap;
    QelPropertyContainer fresh(QelPluginAttributes(kZeroGUID, "Box", "Shapes", "QelCommon", "A box", "cube", 3));
    EXPECT_EQ(fresh.GetName(), "Undefined");
    EXPECT_EQ(fresh.GetIconDescription(), "A box");
    EXPECT_TRUE(fresh.HasAutoComputedHistory());
    EXPECT_FALSE(fresh.IsDirty() || fresh.CalculateFunctionIsActive() || fresh.HasAnyHistoryChanged() ||
                 fresh.IsBeingDestroyed());

    Named c("Box");
    QelProperty* pWidth = c.CreateProperty("Width", eDataReal);
    ASSERT_NE(pWidth, nullptr);
    EXPECT_EQ(c.CreateProperty("Width", eDataInteger), nullptr);
    EXPECT_EQ(c.GetProperty("Width")->GetDataType(), eDataReal);
    QelProperty* pThis = c.CreateProperty("Reserved:This", eDataContainerObject);
    EXPECT_EQ(c.CreateProperty("Reserved:This", eDataContainerObject), nullptr); // silently
    EXPECT_EQ(pThis->GetDescription(), "Object pointer to this object");
    EXPECT_EQ(c.GetProperty("width"), nullptr);
    EXPECT_EQ(c.GetProperty(pWidth->GetGuid()), pWidth);
    EXPECT_EQ(c.GetProperty(kZeroGUID), nullptr);
    EXPECT_EQ(c.GetPropertyCount(), 2);

    // Adoption: a free-standing property joins; one owned elsewhere is refused, as is null.
    auto* pLoose = new QelProperty("Loose", nullptr, eDataInteger);
    EXPECT_TRUE(c.AddProperty(pLoose));
    EXPECT_EQ(pLoose->GetContainer(), &c);
    Named other("Other");
    EXPECT_FALSE(other.AddProperty(pLoose));
    other.DeleteProperty(pLoose); // not other's to delete
    EXPECT_EQ(c.GetProperty("Loose"), pLoose);
    EXPECT_FALSE(c.AddProperty(nullptr));
    EXPECT_EQ(cap.Messages(), (Texts{"<error> Failed to add property [Width], a property with the same name already exists\n",
                                     "<error> Failed to add property [Loose], it belongs to container [Box]\n",
                                     "<warning> Property [Loose] belongs to container [Box] and was not deleted by [Other]\n",
                                     "<error> Failed to add property [(null)] to [Box]\n"}));
}

TEST(QelPropertyContainer, OrderingAndFilteredListing)
{
    QelCapture cap;
    Named c("Box");
    QelProperty* pA = c.CreateProperty("A", eDataReal);
    c.CreateProperty("Hidden", eDataReal);
    QelProperty* pC = c.CreateProperty("C", eDataReal);
    EXPECT_EQ(Names(c), (Texts{"A", "Hidden", "C"}));
    EXPECT_EQ(Names(c, true), (Texts{"A", "C"}));
    EXPECT_TRUE(c.SetPropertyIndex(pC, 0));
    EXPECT_EQ(Names(c), (Texts{"C", "A", "Hidden"}));
    EXPECT_TRUE(c.SetPropertyIndex(pC, 2));
    EXPECT_EQ(cap.Messages().size(), 0u);

    EXPECT_FALSE(c.SetPropertyIndex(pA, 3));
    EXPECT_FALSE(c.SetPropertyIndex(pA, -1));
    QelProperty loose("Loose", nullptr, eDataReal);
    EXPECT_FALSE(c.SetPropertyIndex(&loose, 0));
    EXPECT_EQ(Names(c), (Texts{"A", "Hidden", "C"}));
    EXPECT_EQ(cap.Messages(), (Texts{"<warning>Could not move property [A] in list. Index passed [3] is out of range.\n",
                                     "<warning>Could not move property [A] in list. Index passed [-1] is out of range.\n",
                                     "<warning>Property [(unknown)] could not be found in current list of properties\n"}));
}

TEST(QelPropertyContainer, IndependentPropertyAndItsDeletion)
{
    Named a("A"), b("B");
    QelProperty* pTime = a.CreateProperty("Time", eDataReal);
    QelProperty* pForeign = b.CreateProperty("Foreign", eDataReal);
    EXPECT_TRUE(a.SetIndependentProperty(pTime));
    EXPECT_EQ(pTime->GetIndependentProperty(), pTime);
    EXPECT_FALSE(a.SetIndependentProperty(pForeign));
    EXPECT_EQ(a.GetIndependentProperty(), pForeign); // deliberately kept although refused
    EXPECT_TRUE(a.SetIndependentProperty(nullptr));
    a.SetIndependentProperty(pTime);
    a.DeleteProperty(pTime); // deleting it clears the pointer (across containers: QelNoDangling)
    EXPECT_EQ(a.GetIndependentProperty(), nullptr);
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
    auto Held = [](const char* pHolder) {
        return std::string("<warning> Property [Size] of [Doomed] is still held by [") + pHolder +
               "] as its container goes; the holder is told\n";
    };
    Texts vecMessages = cap.Messages(); // holders are reported in pointer order
    std::sort(vecMessages.begin(), vecMessages.end());
    EXPECT_EQ(vecMessages, (Texts{Held("Link"), Held("Other")}));

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
    QelMultiProperty* pPos = c.CreateMultiPropertyGroup("Position", {"X", "Y", "Z"}, {eDataReal, eDataReal, eDataReal});
    ASSERT_NE(pPos, nullptr);
    EXPECT_TRUE(pPos->IsMultiProperty());
    QelProperty* pY = c.GetProperty("Position:Y");
    ASSERT_NE(pY, nullptr);
    EXPECT_TRUE(pY->IsMultiPropertyChild());
    EXPECT_EQ(pPos->GetChild(1), pY);
    EXPECT_EQ(pPos->GetChild(3), nullptr);

    pPos->SetChildClamp(-1.0, 1.0);
    pPos->SetChangedFlag(false);
    for (QelProperty* p : pPos->GetChildren())
        p->SetChangedFlag(false);
    EXPECT_TRUE(pPos->SetValues({QelVariant(0.5f), QelVariant(2), QelVariant("-3")}));
    EXPECT_TRUE(pPos->HasChanged());
    std::vector<QelVariant> values;
    pPos->GetValues(values);
    EXPECT_EQ(values, (std::vector<QelVariant>{QelVariant(0.5f), QelVariant(1.0f), QelVariant(-1.0f)}));
    EXPECT_FALSE(pPos->SetValues({QelVariant(1.0f)}));

    // Renaming the group renames its children; deleting the group lets them go (deletions: QelNoDangling).
    EXPECT_TRUE(pPos->SetName("Offset"));
    QelProperty* pX = c.GetProperty("Offset:X");
    ASSERT_NE(pX, nullptr);
    c.DeleteProperty(pPos);
    EXPECT_FALSE(pX->IsMultiPropertyChild());
    EXPECT_EQ(c.GetPropertyCount(), 3);

    // A taken child name leaves nothing behind; a foreign or doubled child is refused.
    c.CreateProperty("Scale:X", eDataReal);
    EXPECT_EQ(c.CreateMultiPropertyGroup("Scale", {"W", "X"}, {eDataReal, eDataReal}), nullptr);
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
    EXPECT_EQ(cap.Messages(),
              (Texts{"<warning> Node.Position - 1 values given for a group of 3 properties\n",
                     "<error> Failed to add property [Scale:X], a property with the same name already exists\n",
                     "<error> Failed to create group [Bad], 1 names given for 0 types\n",
                     "<warning> Node.Group - Property [Other.Far] is not in the group's container and cannot become its child\n",
                     "<warning> Node.Group - Property [Node.Offset:X] is already a child of a group\n"}));
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
    EXPECT_NE(copy.GetProperty("Size"), pSize);
    EXPECT_EQ(copy.GetProperty("Size")->GetAsDouble(), 4.0);
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
    EXPECT_EQ(Names(assigned), Names(source));
}

namespace
{
/// Two containers linked every way a host can link them. Deleting anything in any order must leave
/// no pointer behind: under the sanitizer build a stale link is a use after free here.
struct Scene
{
    std::unique_ptr<Named> a = std::make_unique<Named>("A"), b = std::make_unique<Named>("B");
    QelInterpColorProperty* pTint = static_cast<QelInterpColorProperty*>(a->CreateProperty("Tint", eDataInterpColor));
    QelMultiProperty* pGroup = a->CreateMultiPropertyGroup("Pos", {"X", "Y"}, {eDataReal, eDataReal});
    QelProperty* pShared = b->CreateProperty("Shared", eDataColor);

    Scene()
    {
        pTint->SetHighColor(pShared);       // a child in another container
        a->SetIndependentProperty(pShared); // a foreign independent property
        b->SetIndependentProperty(pGroup->GetChild(0));
        for (QelProperty* p : {pShared, pGroup->GetChild(1)})
            for (int i = 0; i < 10; ++i)
                p->AppendHistory(QelVariant(float(i)));
    }

    /// Touches every remaining link.
    void Exercise()
    {
        std::vector<QelVariant> values;
        if (pTint)
        {
            pTint->SetValue(0.5f);
            pTint->GetAsColor();
            for (QelProperty* p : {pTint->GetHighColorProperty(), pTint->GetLowColorProperty()})
                if (p)
                    p->GetAsColor();
        }
        if (pGroup)
            pGroup->GetValues(values);
        for (QelPropertyContainer* c : {a.get(), b.get()})
            if (c && c->GetIndependentProperty())
                c->GetIndependentProperty()->GetAsFloat();
    }
};
} // namespace

TEST(QelNoDangling, DeletingPropertiesClearsEveryLink)
{
    QelCapture cap;
    Scene s;
    s.Exercise();
    s.b->DeleteProperty(s.pShared);
    EXPECT_EQ(s.a->GetIndependentProperty(), nullptr);
    EXPECT_EQ(s.pTint->GetHighColorProperty(), nullptr);
    s.Exercise();
    s.a->DeleteProperty(s.pGroup->GetChild(0));
    EXPECT_EQ(s.b->GetIndependentProperty(), nullptr);
    EXPECT_EQ(s.pGroup->GetChildCount(), 1);
    s.Exercise();
    s.a->DeleteProperty(s.pTint->GetValueProperty());
    s.Exercise();
    EXPECT_EQ(cap.Errors(), 0u);
}

// A host that deletes an owned property itself must not leave the container a dangling entry
// (its destructor would free the property again): run under AddressSanitizer in make test SANITIZE=1.
TEST(QelNoDangling, DeletingAnOwnedPropertyDirectly)
{
    QelCapture cap;
    {
        Named c("Box01");
        HostLink link;
        QelProperty* pA = c.CreateProperty("A", eDataReal, true);
        c.CreateProperty("B", eDataInteger, false);
        QelMultiProperty* pGroup = c.CreateMultiPropertyGroup("G", {"x", "y"}, {eDataReal, eDataReal}, false);
        c.SetIndependentProperty(pA);
        link.Hold(pA);
        delete pA;
        EXPECT_EQ(c.GetProperty("A"), nullptr);
        EXPECT_EQ(c.GetIndependentProperty(), nullptr);
        EXPECT_EQ(link.m_nNotices, 1);
        EXPECT_EQ(Names(c), (Texts{"B", "G", "G:x", "G:y"}));
        delete c.GetProperty("G:x");
        EXPECT_EQ(pGroup->GetChildCount(), 1);
        delete pGroup;
        EXPECT_EQ(Names(c), (Texts{"B", "G:y"}));
        // The name is free again.
        EXPECT_NE(c.CreateProperty("A", eDataReal, true), nullptr);
    }
    EXPECT_EQ(cap.Errors(), 0u);
}

TEST(QelNoDangling, DeletingContainersInEitherOrder)
{
    QelCapture cap;
    {
        Scene s;
        s.a.reset(); // A goes first: B's independent property was A's
        EXPECT_EQ(s.b->GetIndependentProperty(), nullptr);
        EXPECT_EQ(s.b->GetProperty("Shared")->History().GetRaw()->size(), 10u);
    }
    {
        Scene s;
        s.b.reset(); // B goes first: A's tint child and independent property were B's
        EXPECT_EQ(s.a->GetIndependentProperty(), nullptr);
        EXPECT_EQ(s.pTint->GetHighColorProperty(), nullptr);
        s.Exercise();
    }
    {
        Scene s;
        s.a->DeleteProperty(s.pTint);
        s.a->DeleteProperty(s.pGroup);
        s.pTint = nullptr;
        s.pGroup = nullptr;
        // Left: the replaced "Tint:High color" and the group's two children; the foreign child stays.
        EXPECT_EQ(s.a->GetPropertyCount(), 3);
        EXPECT_EQ(s.b->GetProperty("Shared"), s.pShared);
        s.Exercise();
        s.a->OnDelete();
        s.b->OnDelete();
    }
    EXPECT_EQ(cap.Errors(), 0u);
}

namespace
{
/// Records what a property sees of its container while being torn down with it.
class Probe : public QelProperty
{
public:
    Probe(QelPropertyContainer* pContainer, bool& bSawNull)
        : QelProperty("Probe", pContainer, eDataReal), m_bSawNull(bSawNull)
    {
    }
    ~Probe() override
    {
        m_bSawNull = GetContainer() == nullptr;
        SetAsDouble(1.0); // must not call back into the half-destroyed container
        GetAsFloat();
        m_bSawNull = m_bSawNull && GetFullName() == "(no container).Probe";
    }
    bool& m_bSawNull;
};
} // namespace

TEST(QelNoDangling, PropertiesTornDownWithTheirContainerSeeNoContainer)
{
    bool bSawNull = false;
    {
        QelPropertyContainer c;
        ASSERT_TRUE(c.AddProperty(new Probe(&c, bSawNull)));
        c.GetProperty("Probe")->SetAsDouble(2.0);
        EXPECT_TRUE(c.IsDirty());
    }
    EXPECT_TRUE(bSawNull);
}

TEST(QelPropertyContainer, MessagesQuoteHugeNamesByTheirStartAndLength)
{
    QelCapture cap;
    Named c("Box");
    const std::string strHuge(1 << 20, 'n');
    ASSERT_NE(c.CreateProperty(strHuge, eDataReal), nullptr);
    EXPECT_EQ(c.CreateProperty(strHuge, eDataReal), nullptr);
    ASSERT_EQ(cap.Messages().size(), 1u);
    EXPECT_EQ(cap.Messages()[0], "<error> Failed to add property [" + std::string(256, 'n') +
                                     "... (1048576 bytes)], a property with the same name already exists\n");
}
