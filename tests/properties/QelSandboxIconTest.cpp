#include "qel/framework/QelPlugin.h"
#include "qel/framework/QelSandboxIcon.h"
#include "qel/properties/QelVariant.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cfloat>

namespace
{

class Icon : public QelSandboxIcon
{
public:
    using QelSandboxIcon::AddToUndoBuffer;
};
} // namespace

TEST(QelSandboxIcon, NewIconsAndTheirFlags)
{
    QelSandboxIcon icon;
    EXPECT_EQ(icon.GetName(), "Undefined");
    EXPECT_TRUE(icon.IsIconVisible());
    EXPECT_FALSE(icon.IsSelected());
    EXPECT_EQ(icon.GetIconPosition(), QelVec2(0.0f, 0.0f));
    QelBox2 empty = icon.GetTransformedIconExtents();
    EXPECT_EQ(empty.m_vecMin.x, FLT_MAX);
    EXPECT_EQ(empty.m_vecMax.y, -FLT_MAX);

    icon.ToggleSelected();
    EXPECT_TRUE(icon.IsSelected());
    icon.ToggleSelected();
    EXPECT_FALSE(icon.IsSelected());
    icon.Select(true);
    icon.Select(false);
    EXPECT_TRUE(icon.IsIconVisible());
    icon.SetIconVisibility(false);
    icon.Select(true);
    EXPECT_FALSE(icon.IsIconVisible());
    EXPECT_TRUE(icon.IsSelected());

    icon.SetName("Lamp");
    icon.SetIconPosition(QelVec2(3.0f, -2.0f));
    icon.SetIconExtents(QelBox2(QelVec2(0.0f, 0.0f), QelVec2(1.0f, 2.0f)));
    QelSandboxIcon copy(icon);
    EXPECT_EQ(copy.GetName(), "Lamp");
    EXPECT_EQ(copy.GetIconPosition(), QelVec2(3.0f, -2.0f));
    EXPECT_TRUE(copy.IsSelected());
    EXPECT_FALSE(copy.IsIconVisible());
    EXPECT_EQ(copy.GetIconExtents().m_vecMax.y, 2.0f);
    QelSandboxIcon assigned;
    assigned = icon;
    EXPECT_TRUE(assigned.IsSelected());

    std::vector<QelVariant> args;
    EXPECT_FALSE(icon.CustomCommand("Anything", args));
    EXPECT_TRUE(icon.GetCustomCommands().empty());
    EXPECT_EQ(icon.GetCategory(), QelSandboxIcon::eCategoryUnknown);
    EXPECT_STREQ(QelSandboxIcon::GetCategoryName(QelSandboxIcon::eCategoryDisplaySystem), "Display System");
    EXPECT_EQ(int(QelSandboxIcon::eCategoryDisplaySystem), 5);
    EXPECT_STREQ(QelSandboxIcon::GetCategoryName(42), "Unknown");
    EXPECT_EQ(icon.GetIconColor().w, 1.0f);
}

TEST(QelSandboxIcon, MessagesCarryTheName)
{
    QelCapture cap;
    QelSandboxIcon icon;
    icon.SetName("Box01");
    icon.PrintWarning("Bad value %d", 7);
    icon.PrintError("Missing %s", "file");
    std::vector<std::string> expected = {"<warning>Box01 - Bad value 7<flush>", "<error>Box01 - Missing file<flush>"};
    EXPECT_EQ(cap.Messages(), expected);
}

TEST(QelSandboxIcon, SaveAndLoadAnIconPosition)
{
    QelMasterXMLInterface xml;
    xml.NewData("Document", "");
    QelPlugin saved;
    saved.SetIconPosition(QelVec2(12.5f, -4.0f));
    ASSERT_TRUE(saved.Save(&xml));

    QelPlugin loaded;
    ASSERT_TRUE(xml.MoveToRootNode());
    ASSERT_TRUE(loaded.Load(&xml));
    EXPECT_EQ(loaded.GetIconPosition(), QelVec2(12.5f, -4.0f));

    // The plain icon writes nothing; a node without the values gives 0 on each axis.
    QelMasterXMLInterface other;
    other.NewData("Document", "");
    QelSandboxIcon icon;
    icon.SetIconPosition(QelVec2(1.0f, 1.0f));
    EXPECT_TRUE(icon.Save(&other));
    EXPECT_EQ(other.GetNumChildNodes(), 0u);
    ASSERT_TRUE(other.WriteFloat("YPos", 9.0f));
    EXPECT_TRUE(icon.Load(&other));
    EXPECT_EQ(icon.GetIconPosition(), QelVec2(0.0f, 9.0f));
    EXPECT_FALSE(icon.Load(nullptr));
}

TEST(QelPlugin, AttributesAndBaseAnswers)
{
    GUID guid;
    QelCreateGuid(&guid);
    QelPluginAttributes attributes(guid, "Light", "Display", "Lab", "", "lamp", 1);
    QelPlugin plugin(attributes);
    EXPECT_EQ(plugin.GetClassID(), guid);
    EXPECT_EQ(plugin.GetCategories(), "Display");
    EXPECT_EQ(plugin.GetCreator(), "Lab");
    EXPECT_EQ(plugin.GetKeywords(), "lamp");
    EXPECT_EQ(plugin.GetInfo(), "");
    EXPECT_EQ(plugin.GetIconDescription(), "Light");
    EXPECT_EQ(plugin.GetPluginAttributes().m_nFlags, 1);
    EXPECT_FALSE(plugin.Advance());
    EXPECT_TRUE(plugin.GetSupportedConnectionTypes().empty());
    EXPECT_EQ(QelPluginAttributes().m_guidClassId, QelPluginAttributes::kZeroGUID);
    QelPluginAttributes copy = attributes;
    EXPECT_EQ(copy.m_strType, "Light");
}
