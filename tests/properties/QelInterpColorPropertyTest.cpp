#include "qel/properties/QelInterpColorProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

namespace
{
class Material : public QelPropertyContainer
{
public:
    Material() { SetName("Mat"); }
    void Calculate() override { ++m_nCalculations; }
    int m_nCalculations = 0;
};
} // namespace

TEST(QelInterpColorProperty, MakesItsChildrenAndReadsWhite)
{
    QelCapture cap;
    Material m;
    auto* pTint = dynamic_cast<QelInterpColorProperty*>(m.CreateProperty("Tint", eDataInterpColor));
    ASSERT_NE(pTint, nullptr);
    EXPECT_EQ(pTint->GetDataType(), eDataInterpColor);
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
    ASSERT_EQ(vec.size(), 4u);
    EXPECT_EQ(vec[0], pTint); // listed before its parts
    EXPECT_EQ(cap.Messages().size(), 0u);

    // A second one of the same name fails, and so do its children.
    EXPECT_EQ(m.CreateProperty("Tint", eDataInterpColor), nullptr);
    EXPECT_EQ(cap.Errors(), 4u);
    EXPECT_EQ(m.GetPropertyCount(), 4);
    EXPECT_EQ(m.GetProperty("Tint"), pTint);
    EXPECT_EQ(pTint->GetLowColorProperty(), m.GetProperty("Tint:Low color"));
}

TEST(QelInterpColorProperty, EditAChildAndReadTheNewColor)
{
    Material m;
    auto* pTint = static_cast<QelInterpColorProperty*>(m.CreateProperty("Tint", eDataInterpColor));
    pTint->GetAsColor();
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
    EXPECT_EQ(pTint->GetAsDouble(), 0.5);

    // Writing the result directly is announced like any value.
    m.SetDirtyBit(false);
    pTint->SetAsColor(1.0f, 0.0f, 0.0f, 1.0f);
    EXPECT_TRUE(m.IsDirty());
    EXPECT_EQ(pTint->GetAsVariantWithoutPull().GetDataType(), eDataColor);
}

TEST(QelInterpColorProperty, RenameAndDeleteLeaveNoDanglingChildren)
{
    Material m;
    auto* pTint = static_cast<QelInterpColorProperty*>(m.CreateProperty("Tint", eDataInterpColor));
    EXPECT_TRUE(pTint->SetName("Shade"));
    EXPECT_NE(m.GetProperty("Shade:Low color"), nullptr);
    EXPECT_EQ(m.GetProperty("Tint:Low color"), nullptr);

    // Deleting a child clears the parent's pointer; the color falls back to the default.
    m.DeleteProperty(pTint->GetLowColorProperty());
    EXPECT_EQ(pTint->GetLowColorProperty(), nullptr);
    EXPECT_EQ(pTint->GetLowColor(), 0xFF000000u);
    pTint->SetValue(0.0f);
    EXPECT_EQ(pTint->GetAsColor(), 0xFF000000u);

    // A child replaced by a property of another container is let go of, not deleted.
    Material other;
    QelProperty* pForeign = other.CreateProperty("Foreign", eDataColor);
    pForeign->SetAsColor(0xFF00FF00u);
    pTint->SetLowColor(pForeign);
    pTint->GetValueProperty()->SetAsDouble(0.0);
    EXPECT_EQ(pTint->GetAsColor(), 0xFF00FF00u);
    m.DeleteProperty(pTint);
    EXPECT_EQ(m.GetPropertyCount(), 0);
    EXPECT_EQ(other.GetProperty("Foreign"), pForeign);

    // Deleting a foreign child clears the pointer too.
    auto* pGlow = static_cast<QelInterpColorProperty*>(m.CreateProperty("Glow", eDataInterpColor));
    pGlow->SetHighColor(pForeign);
    other.DeleteProperty(pForeign);
    EXPECT_EQ(pGlow->GetHighColorProperty(), nullptr);
    EXPECT_EQ(pGlow->GetAsColor(), 0xFFFFFFFFu);
}

TEST(QelInterpColorProperty, CopyBuildsChildrenInTheSourceContainer)
{
    QelCapture cap;
    Material m;
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
    Material other;
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
