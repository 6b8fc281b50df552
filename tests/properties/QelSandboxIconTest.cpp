#include "qel/framework/QelPlugin.h"
#include "qel/framework/QelSandboxIcon.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

TEST(QelSandboxIcon, SelectionVisibilityCopiesAndCategoryNames)
{
    QelSandboxIcon icon;
    EXPECT_EQ(icon.GetTransformedIconExtents(), QelBox2()); // no extents: the empty box
    icon.ToggleSelected();
    EXPECT_TRUE(icon.IsSelected());
    icon.ToggleSelected();
    EXPECT_FALSE(icon.IsSelected());
    icon.SetIconVisibility(false);
    icon.Select(true); // selecting a hidden icon does not show it
    EXPECT_FALSE(icon.IsIconVisible());

    icon.SetName("Lamp");
    icon.SetIconPosition(QelVec2(3.0f, -2.0f));
    QelSandboxIcon copy(icon), assigned;
    assigned = icon;
    for (const QelSandboxIcon* p : {&copy, &assigned})
    {
        EXPECT_EQ(p->GetName(), "Lamp");
        EXPECT_EQ(p->GetIconPosition(), QelVec2(3.0f, -2.0f));
        EXPECT_TRUE(p->IsSelected());
        EXPECT_FALSE(p->IsIconVisible());
    }
    EXPECT_STREQ(QelSandboxIcon::GetCategoryName(QelSandboxIcon::eCategoryDisplaySystem), "Display System");
    EXPECT_STREQ(QelSandboxIcon::GetCategoryName(42), "Unknown");
}

TEST(QelSandboxIcon, MessagesCarryTheName)
{
    QelCapture cap;
    QelSandboxIcon icon;
    icon.SetName("Box01");
    icon.PrintWarning("Bad value %d", 7);
    icon.PrintError("Missing %s", "file");
    EXPECT_EQ(cap.Messages(),
              (std::vector<std::string>{"<warning>Box01 - Bad value 7<flush>", "<error>Box01 - Missing file<flush>"}));
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

    // The plain icon deliberately writes nothing; a node without a value gives 0 on that axis.
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

TEST(QelPlugin, TheIconDescriptionIsTheInfoElseTheTypeElseTheName)
{
    QelPlugin withInfo(QelPluginAttributes(kZeroGUID, "Light", "Display", "Lab", "Info", "lamp", 1));
    QelPlugin typeOnly(QelPluginAttributes(kZeroGUID, "Light", "Display", "Lab", "", "lamp", 1)), bare;
    bare.SetName("Lamp 2");
    EXPECT_EQ(withInfo.GetIconDescription() + "|" + typeOnly.GetIconDescription() + "|" + bare.GetIconDescription(),
              "Info|Light|Lamp 2");
}
