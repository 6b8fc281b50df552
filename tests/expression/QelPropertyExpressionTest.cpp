#include "qel/expression/QelExpression.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
/// A container that counts its recalculations.
class Box : public QelPropertyContainer
{
public:
    Box() { SetName("Box"); }
    void Calculate() override { ++m_nCalculations; }
    int m_nCalculations = 0;
};
} // namespace

TEST(QelPropertyExpression, AComputedPropertyFollowsTheEditsOfItsSources)
{
    QelCapture cap;
    Box box;
    QelProperty* pWidth = box.CreateProperty("Width", eDataReal);
    QelProperty* pHeight = box.CreateProperty("Height", eDataInteger);
    QelProperty* pScale = box.CreateProperty("Transform:Scale:X", eDataReal);
    QelProperty* pArea = box.CreateProperty("Area", eDataReal);
    pWidth->SetAsDouble(2.0);
    pHeight->SetAsInt(3);
    pScale->SetAsDouble(0.5);
    QelExpression::SetGlobalVar("gMargin", 10.0);
    EXPECT_FALSE(pArea->HasExpression());
    ASSERT_EQ(pArea->SetExpression("Width * Height * [Transform:Scale:X] + gMargin"), "");
    EXPECT_TRUE(pArea->HasExpression());
    std::string strText;
    pArea->GetExpression(strText);
    EXPECT_EQ(strText, "Width * Height * [Transform:Scale:X] + gMargin");
    EXPECT_EQ(pArea->GetAsDouble(), 13.0);
    pWidth->SetAsDouble(4.0);
    EXPECT_EQ(pArea->GetAsDouble(), 16.0);
    pHeight->SetAsInt(5);
    QelExpression::SetGlobalVar("gMargin", 1.0);
    EXPECT_EQ(pArea->GetAsFloat(), 11.0f);
    EXPECT_EQ(std::string(pArea->GetAsVariant()), std::string(QelVariant(11.0f)));

    // A chain: a computed property read by another is computed first.
    QelProperty* pVolume = box.CreateProperty("Volume", eDataInteger);
    ASSERT_EQ(pVolume->SetExpression("Area * 2 + 0.9"), "");
    EXPECT_EQ(pVolume->GetAsInt(), 22); // the Integer property truncates
    pWidth->SetAsDouble(1.0);
    EXPECT_EQ(pVolume->GetAsInt(), 7);

    // The range of the property applies to the computed value.
    EXPECT_EQ(pArea->GetAsDouble(), 3.5);
    pArea->SetClamp(0.0, 2.0);
    EXPECT_EQ(pArea->GetAsDouble(), 2.0);

    // A bad text returns the compiler's message and leaves no expression, not even the old one.
    EXPECT_EQ(pArea->SetExpression("Width *"), "Invalid operator syntax: *");
    EXPECT_FALSE(pArea->HasExpression());
    pArea->GetExpression(strText);
    EXPECT_EQ(strText, "");
    EXPECT_EQ(cap.Warnings(), 1u);
    EXPECT_NE(cap.Joined().find("Box.Area - Invalid expression [Width *]: Invalid operator syntax: *"),
              std::string::npos);
    pArea->SetAsDouble(1.5); // a plain value again
    EXPECT_EQ(pArea->GetAsDouble(), 1.5);
    EXPECT_EQ(pArea->SetExpression("  "), ""); // blank: no expression, no complaint
    EXPECT_FALSE(pArea->HasExpression());
    QelExpression::DeleteGlobalVar("gMargin");
}

TEST(QelPropertyExpression, VariablesBindToHostValuesThenPropertiesThenGlobals)
{
    Box box;
    QelProperty* pOwner = box.CreateProperty("Result", eDataReal);
    QelProperty* pSpeed = box.CreateProperty("speed", eDataReal);
    pSpeed->SetAsDouble(3.0);
    QelExpression::SetGlobalVar("speed", 50.0);
    QelExpression::SetGlobalVar("pi", 1.0);

    QelExpression e(pOwner);
    ASSERT_EQ(e.SetExpression("speed + [pi] * 1000"), "");
    EXPECT_EQ(e.Evaluate(), 1003.0); // property before global; [pi] is a variable, here the global
    QelProperty* pPi = box.CreateProperty("pi", eDataReal);
    pPi->SetAsDouble(2.0);
    EXPECT_EQ(e.Evaluate(), 2003.0);

    // Deleting or renaming the referenced property leaves nothing dangling: the name is looked up
    // again and the global of that name takes over.
    box.DeleteProperty(pSpeed);
    EXPECT_EQ(e.Evaluate(), 2050.0);
    ASSERT_TRUE(pPi->SetName("tau"));
    EXPECT_EQ(e.Evaluate(), 1050.0);
    EXPECT_FALSE(QelExpression::DeleteGlobalVar("speed")); // still named by the expression
    e.SetVar("speed", 7.0); // the host's value wins over everything
    QelProperty* pNewSpeed = box.CreateProperty("speed", eDataReal);
    pNewSpeed->SetAsDouble(9.0);
    EXPECT_EQ(e.Evaluate(), 1007.0);

    // A free-standing property binds to globals only; an unbound name reads 0.
    QelProperty cLoose("Loose", nullptr, eDataReal);
    QelExpression f(&cLoose);
    ASSERT_EQ(f.SetExpression("speed + nothing"), "");
    {
        QelCapture cap;
        EXPECT_EQ(f.Evaluate(), 50.0);
        EXPECT_EQ(f.Evaluate(), 50.0);
        ASSERT_EQ(cap.Messages().size(), 1u);
        EXPECT_EQ(cap.Messages()[0], "<warning> (no container).Loose - Expression [speed + nothing] reads [nothing], "
                                     "which names no property and no global variable; it reads 0\n");
    }
    e.Clear();
    f.Clear();
    QelExpression::DeleteGlobalVar("speed");
    QelExpression::DeleteGlobalVar("pi");
}

TEST(QelPropertyExpression, ExpressionsThatReachThemselvesAreRefusedNamingTheCycle)
{
    QelCapture cap;
    Box box;
    QelProperty* pA = box.CreateProperty("A", eDataReal);
    QelProperty* pB = box.CreateProperty("B", eDataReal);
    QelProperty* pC = box.CreateProperty("C", eDataReal);
    QelProperty* pOut = box.CreateProperty("Out", eDataReal);
    pA->SetAsDouble(1.0);
    pB->SetAsDouble(1.0);
    ASSERT_EQ(pA->SetExpression("B + 1"), "");
    EXPECT_EQ(pB->SetExpression("A + 1"), "Circular reference: B -> A -> B");
    EXPECT_FALSE(pB->HasExpression());
    EXPECT_EQ(pOut->SetExpression("Out + 1"), "Circular reference: Out -> Out");
    EXPECT_FALSE(pOut->HasExpression());
    // Through a longer chain, and past a branch that ends elsewhere.
    ASSERT_EQ(pC->SetExpression("A * 2 + Out"), "");
    EXPECT_EQ(pB->SetExpression("Out + C"), "Circular reference: B -> C -> A -> B");
    ASSERT_EQ(cap.Messages().size(), 3u);
    EXPECT_EQ(cap.Messages()[0], "<warning> Box.B - Expression [A + 1] refused: it reads itself through B -> A -> B\n");
    EXPECT_EQ(cap.Messages()[1], "<warning> Box.Out - Expression [Out + 1] refused: it reads itself through Out -> Out\n");
    // Without the cycle the same text is fine, and the chain computes.
    ASSERT_EQ(pB->SetExpression("Out + 5"), "");
    pOut->SetAsDouble(1.0);
    EXPECT_EQ(pC->GetAsDouble(), 15.0);

    // Computed properties are destroyed with their container, and deleting one whose expression
    // is named by another leaves the other reading 0.
    box.DeleteProperty(pB);
    EXPECT_EQ(pA->GetAsDouble(), 1.0);
    EXPECT_GT(box.m_nCalculations, 0);
}
