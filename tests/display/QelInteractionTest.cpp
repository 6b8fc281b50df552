#include "qel/display/QelCamera.h"
#include "qel/display/QelClipPlane.h"
#include "qel/display/QelGrid.h"
#include "qel/display/QelLight.h"
#include "qel/display/QelManipulator.h"
#include "qel/display/QelPopupMenu.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelVariant.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace
{
void ExpectVec(const QelVec3& a, const QelVec3& b, float fTolerance)
{
    EXPECT_NEAR(a.x, b.x, fTolerance);
    EXPECT_NEAR(a.y, b.y, fTolerance);
    EXPECT_NEAR(a.z, b.z, fTolerance);
}

/// An object with two menu items of its own and two custom commands, recording what ran.
class MenuOwner : public QelPropertyContainer
{
public:
    void FillPopupMenu(QelPopupMenu& menu) override
    {
        menu.AddItem("Show", 1, true, m_bShown);
        menu.AddItem("Rebuild", 2, false);
        QelPopupMenu sub;
        sub.AddItem("Small", 10);
        sub.AddItem("Large", 11);
        menu.AddSubMenu("Size", sub);
    }
    void RespondToPopupMenu(unsigned int nCommand) override { m_vRan.push_back("menu " + std::to_string(nCommand)); }
    const std::vector<std::string>& GetCustomCommands() const override { return m_vCommands; }
    bool CustomCommand(const std::string& strName, std::vector<QelVariant>&) override
    {
        m_vRan.push_back("custom " + strName);
        return true;
    }
    bool m_bShown = true;
    std::vector<std::string> m_vCommands = {"Reset", "Export"};
    std::vector<std::string> m_vRan;
};
} // namespace

TEST(QelPopupMenu, BuildsFromTheOwnerAndRunsWhatIsChosen)
{
    MenuOwner owner;
    QelPopupMenu menu = QelPopupMenu::Build(owner);
    const std::vector<QelPopupMenu::SItem>& v = menu.GetItems();
    ASSERT_EQ(v.size(), 5u);
    EXPECT_EQ(v[0].m_strLabel, "Show");
    EXPECT_TRUE(v[0].m_bChecked);
    EXPECT_FALSE(v[1].m_bEnabled);
    EXPECT_EQ(v[2].m_vSubItems.size(), 2u);
    EXPECT_TRUE(v[3].m_bSeparator);
    EXPECT_EQ(v[4].m_strLabel, "Commands");
    ASSERT_EQ(v[4].m_vSubItems.size(), 2u);
    EXPECT_EQ(v[4].m_vSubItems[1].m_nCommand, QelPopupMenu::kFirstCustomCommand + 1);

    EXPECT_TRUE(menu.Choose(1));
    EXPECT_TRUE(menu.Choose(11)); // from the sub-menu
    EXPECT_TRUE(menu.Choose(QelPopupMenu::kFirstCustomCommand + 1));
    EXPECT_EQ(owner.m_vRan, (std::vector<std::string>{"menu 1", "menu 11", "custom Export"}));

    struct SRow
    {
        const char* m_pName;
        std::function<bool()> m_fnDo;
        std::string m_strMessage;
    };
    QelPopupMenu orphan;
    orphan.AddItem("Lonely", 4);
    const std::vector<SRow> kRows = {
        {"disabled", [&] { return menu.Choose(2); }, "<warning> Popup menu command 2 not run: it is disabled\n"},
        {"unknown", [&] { return menu.Choose(99); }, "<warning> Popup menu command 99 not run: it is not in the menu\n"},
        {"a sub-menu is no command", [&] { return menu.Choose(0); },
         "<warning> Popup menu command 0 not run: it is not in the menu\n"},
        {"no owner", [&] { return orphan.Choose(4); },
         "<warning> Popup menu command 4 not run: the menu has no owner\n"},
        {"repeated command", [&] { return menu.AddItem("Again", 10); },
         "<warning> Popup menu item [Again] refused: command 10 is already in the menu\n"},
        {"custom range", [&] { return menu.AddItem("Mine", QelPopupMenu::kFirstCustomCommand + 5); },
         "<warning> Popup menu item [Mine] refused: command 57349 is kept for custom commands\n"},
    };
    for (const SRow& row : kRows)
    {
        SCOPED_TRACE(row.m_pName);
        QelCapture log;
        EXPECT_FALSE(row.m_fnDo());
        EXPECT_EQ(log.Joined(), row.m_strMessage);
    }
    EXPECT_EQ(owner.m_vRan.size(), 3u);
    EXPECT_EQ(menu.GetItems().size(), 5u);
}

TEST(QelGrid, SnapsPositionsToItsLatticeAndAnglesToTheIncrement)
{
    QelGrid grid;
    grid.SetSpacing(0.5f);
    const QelVec3 p(1.3f, -0.7f, 0.2f);
    ExpectVec(grid.SnapPosition(p), p, 0); // off by default
    grid.SetTranslationSnap(true);
    ExpectVec(grid.SnapPosition(p), QelVec3(1.5f, -0.5f, 0.0f), 1e-6f);
    // The grid placed by its transform: shifted by 0.25 and turned a quarter about Z.
    grid.SetTransform(QelVec3(0.25f, 0, 0), QelVec4(0, 0, 1, 90), QelVec3(1, 1, 1));
    ExpectVec(grid.SnapPosition(QelVec3(1.3f, -0.7f, 0.2f)), QelVec3(1.25f, -0.5f, 0.0f), 1e-5f);
    // Polar: radius to the spacing, angle to the spokes (12: 30 degrees).
    grid.SetTransform(QelVec3(0, 0, 0), QelVec4(0, 0, 1, 0), QelVec3(1, 1, 1));
    grid.SetGridType(QelGrid::eGridPolar);
    const float a = 37.0f * kQelDegToRad;
    const QelVec3 q = grid.SnapPosition(QelVec3(2.1f * std::cos(a), 2.1f * std::sin(a), 0.4f));
    ExpectVec(q, QelVec3(2.0f * std::cos(30 * kQelDegToRad), 2.0f * std::sin(30 * kQelDegToRad), 0.5f), 1e-5f);
    // NaN comes back as it went in.
    EXPECT_TRUE(std::isnan(grid.SnapPosition(QelVec3(std::nanf(""), 0, 0)).x));

    EXPECT_EQ(grid.SnapAngle(37.0f), 37.0f);
    grid.SetRotationSnap(true);
    EXPECT_EQ(grid.SnapAngle(37.0f), 30.0f);
    EXPECT_EQ(grid.SnapAngle(-23.0f), -30.0f);
    grid.SetAngleIncrement(5.0f);
    EXPECT_EQ(grid.SnapAngle(37.0f), 35.0f);

    QelCapture log;
    grid.SetSpacing(0.0f);
    EXPECT_EQ(log.Joined(), "<warning>Grid - Spacing 0 replaced by 1e-06: it must be a positive number<flush>");
    EXPECT_GT(grid.GetSpacing(), 0.0f);
}

TEST(QelInteractionXML, CameraLightGridAndPlaneSaveAndLoadWithTheScene)
{
    QelCamera camera;
    camera.SetProjection(QelCamera::eProjectionOrthographic);
    camera.SetFieldOfView(30);
    camera.SetOrbit(12, 34, 56);
    camera.GetFocalPoint().SetPosition(QelVec3(1, 2, 3));
    QelLight light;
    light.SetType(QelLight::eLightSpot);
    light.SetSpot(12.5f, 3);
    light.SetTranslation(QelVec3(4, 5, 6));
    QelGrid grid;
    grid.SetGridType(QelGrid::eGridPolar);
    grid.SetTranslationSnap(true);
    grid.SetColors(QelVec4(1, 0, 0, 1), QelVec4(0, 0, 1, 1));
    QelClipPlane plane;
    plane.SetPlane(QelVec3(0, 0, 7), QelVec3(0, 1, 0));
    QelManipulator manipulator;
    manipulator.SetMode(QelManipulator::eModeScale);

    QelMasterXMLInterface xml;
    xml.NewData("Scene", "");
    const char* const kElements[5] = {"Camera", "Light", "Grid", "Plane", "Manipulator"};
    const std::vector<QelPlugin*> vSaved = {&camera, &light, &grid, &plane, &manipulator};
    for (size_t i = 0; i < 5; ++i)
    {
        QelPlugin* p = vSaved[i];
        xml.AddAndMoveToChildNode(kElements[i]);
        ASSERT_TRUE(p->Save(&xml));
        xml.MoveToParent();
    }
    const std::string strText = xml.SaveDataToString();

    QelMasterXMLInterface in;
    ASSERT_TRUE(in.LoadDataFromString(strText));
    QelCamera camera2;
    QelLight light2;
    QelGrid grid2;
    QelClipPlane plane2;
    QelManipulator manipulator2;
    const std::vector<QelPlugin*> vLoaded = {&camera2, &light2, &grid2, &plane2, &manipulator2};
    for (size_t i = 0; i < 5; ++i)
    {
        QelPlugin* p = vLoaded[i];
        in.MoveToRootNode();
        ASSERT_TRUE(in.MoveToChildNode(kElements[i]));
        ASSERT_TRUE(p->Load(&in));
    }
    EXPECT_EQ(camera2.GetProjection(), QelCamera::eProjectionOrthographic);
    EXPECT_FLOAT_EQ(camera2.GetFieldOfView(), 30);
    EXPECT_FLOAT_EQ(camera2.GetElevation(), 34);
    EXPECT_EQ(camera2.GetViewMatrix(), camera.GetViewMatrix());
    EXPECT_EQ(light2.GetType(), QelLight::eLightSpot);
    EXPECT_FLOAT_EQ(light2.GetProperty("Light:Spot:Cut-off")->GetAsFloat(), 12.5f);
    ExpectVec(light2.GetTranslation(), QelVec3(4, 5, 6), 0);
    EXPECT_FALSE(light2.IsOn()); // turning on is the host's decision at load time
    EXPECT_EQ(grid2.GetGridType(), QelGrid::eGridPolar);
    EXPECT_TRUE(grid2.IsTranslationSnapOn());
    EXPECT_EQ(grid2.GetProperty("Grid:Color")->GetAsColor(), grid.GetProperty("Grid:Color")->GetAsColor());
    QelPlane a, b;
    ASSERT_TRUE(plane.GetWorldPlane(a) && plane2.GetWorldPlane(b));
    EXPECT_NEAR(a.m_fB, b.m_fB, 1e-6f);
    EXPECT_NEAR(a.m_fD, b.m_fD, 1e-5f);
    EXPECT_EQ(manipulator2.GetMode(), QelManipulator::eModeScale);

    // A document with values no one should trust: clamped or reset, never NaN in the camera.
    QelMasterXMLInterface bad;
    ASSERT_TRUE(bad.LoadDataFromString(
        "<Scene><Camera><Camera><Property name=\"Camera:Field of view\" value=\"nan\"/>"
        "<Property name=\"Camera:Projection\" value=\"7\"/><Property name=\"Camera:Distance\" value=\"-3\"/>"
        "<Property name=\"No such\" value=\"1\"/><Property value=\"1\"/></Camera></Camera></Scene>"));
    bad.MoveToRootNode();
    bad.MoveToChildNode("Camera");
    QelCamera camera3;
    QelCapture log;
    EXPECT_TRUE(camera3.Load(&bad));
    EXPECT_EQ(camera3.GetProjection(), QelCamera::eProjectionOrthographic); // 7 clamped to the last
    EXPECT_GT(camera3.GetDistance(), 0.0f);
    const QelMatrix4 m = camera3.GetProjectionMatrix();
    for (float f : m.m_fM)
        EXPECT_TRUE(std::isfinite(f));
}

TEST(QelInteractionXML, TheLightSwitchPropertyFollowsTheSlots)
{
    QelLight a;
    EXPECT_FALSE(a.GetProperty("Light:On")->GetAsBool());
    EXPECT_TRUE(a.TurnOn(true));
    EXPECT_TRUE(a.GetProperty("Light:On")->GetAsBool());
    EXPECT_EQ(QelLight::GetLightsOn(), std::vector<QelLight*>{&a});
    a.GetProperty("Light:On")->SetAsBool(false);
    EXPECT_FALSE(a.IsOn());
    EXPECT_TRUE(QelLight::GetLightsOn().empty());
    {
        QelClipPlane p;
        p.GetProperty("Clip plane:On")->SetAsBool(true);
        EXPECT_EQ(p.GetSlot(), 0);
    }
    // Destroyed planes free their slot.
    EXPECT_TRUE(QelClipPlane::GetPlanesOn().empty());
}
