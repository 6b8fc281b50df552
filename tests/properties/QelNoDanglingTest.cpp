// Deleting properties and containers in every order leaves no pointer behind: run under the
// sanitizer build, any stale link would be a use after free here.
#include "qel/properties/QelInterpColorProperty.h"
#include "qel/properties/QelMultiProperty.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{
struct Scene
{
    std::unique_ptr<QelPropertyContainer> a = std::make_unique<QelPropertyContainer>();
    std::unique_ptr<QelPropertyContainer> b = std::make_unique<QelPropertyContainer>();
    QelInterpColorProperty* pTint = nullptr;
    QelMultiProperty* pGroup = nullptr;
    QelProperty* pShared = nullptr;

    Scene()
    {
        a->SetName("A");
        b->SetName("B");
        pTint = static_cast<QelInterpColorProperty*>(a->CreateProperty("Tint", eDataInterpColor));
        pGroup = a->CreateMultiPropertyGroup("Pos", {"X", "Y"}, {eDataReal, eDataReal});
        pShared = b->CreateProperty("Shared", eDataColor);
        pTint->SetHighColor(pShared);      // a child in another container
        a->SetIndependentProperty(pShared); // a foreign independent property
        b->SetIndependentProperty(pGroup->GetChild(0));
        for (QelProperty* p : {pShared, pGroup->GetChild(1)})
            for (int i = 0; i < 10; ++i)
                p->AppendHistory(QelVariant(float(i)));
    }

    /// Touches every remaining link.
    void Exercise()
    {
        if (a && pTint && pGroup)
        {
            pTint->SetValue(0.5f);
            pTint->GetAsColor();
            std::vector<QelVariant> values;
            pGroup->GetValues(values);
            if (QelProperty* p = a->GetIndependentProperty())
                p->GetAsFloat();
            for (QelProperty* p : {pTint->GetHighColorProperty(), pTint->GetLowColorProperty()})
                if (p)
                    p->GetAsColor();
        }
        if (b)
            if (QelProperty* p = b->GetIndependentProperty())
                p->GetAsFloat();
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
        // Left: the replaced "Tint:High color" and the group's two children.
        EXPECT_EQ(s.a->GetPropertyCount(), 3);
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
