#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
/// Builds p0 = p1 + 1, p1 = p2 + 1, ... down to a plain pN holding fBottom.
void BuildChain(QelPropertyContainer& c, int nLength, double fBottom)
{
    for (int i = 0; i < nLength; ++i)
    {
        QelProperty* p = c.CreateProperty("p" + std::to_string(i), eDataReal);
        ASSERT_EQ(p->SetExpression("p" + std::to_string(i + 1) + " + 1"), "");
    }
    c.CreateProperty("p" + std::to_string(nLength), eDataReal)->SetAsDouble(fBottom);
}
} // namespace

TEST(QelPropertyChain, ALongChainOfComputedPropertiesStopsAtAStatedDepthInsteadOfOverflowingTheStack)
{
    QelCapture cap;
    {
        // Within the limit the chain is computed whole, quietly.
        QelPropertyContainer c;
        c.SetName("Short");
        BuildChain(c, 900, 0.5);
        EXPECT_EQ(c.GetProperty("p0")->GetAsDouble(), 900.5);
        EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
    }
    // 40,000 levels overflowed the stack; now the pull stops at the thousandth, which gives its
    // stored value, and says where.
    QelPropertyContainer c;
    c.SetName("Long");
    BuildChain(c, 40000, 0.0);
    QelTestApp::Get().Clear();
    EXPECT_EQ(c.GetProperty("p0")->GetAsDouble(), 1000.0);
    ASSERT_EQ(cap.Messages().size(), 1u);
    EXPECT_EQ(cap.Messages()[0], "<error> Long.p1000 - properties computed from one another nest deeper than 1000 "
                                 "levels; the stored value is read\n");
    // Read from within the last thousand levels, the rest of the chain is computed whole.
    EXPECT_EQ(c.GetProperty("p39500")->GetAsDouble(), 500.0);
    EXPECT_EQ(c.GetProperty("p39001")->GetAsDouble(), 999.0);
    EXPECT_EQ(cap.Messages().size(), 1u);
}
