#include "qel/models/QelModel.h"
#include "qel/models/QelModelFormat.h"
#include "qel/properties/QelProperty.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/models/QelModelTestSupport.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
const char* const kObj = "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl red\nf 1 2 3\nusemtl grey\nf 1 3 2\n";
const char* const kMtl = "newmtl red\nKa 0.1 0 0\nKd 1 0 0\nKs 0.5 0.5 0.5\nNs 500\nd 0.25\n"
                         "newmtl grey\nKd 0.123 0.123 0.123\n";

std::string WriteModel(const QelModelTempDir& dir, const std::string& strMtl = kMtl)
{
    dir.Write("m.mtl", strMtl);
    return dir.Write("m.obj", kObj);
}

/// Saves the model under an "Object" element of a new document and leaves the cursor there.
void SaveTo(QelModel& model, QelMasterXMLInterface& xml)
{
    xml.NewData("Document", "");
    ASSERT_TRUE(xml.AddAndMoveToChildNode("Object"));
    ASSERT_TRUE(model.Save(&xml));
}

QelProperty& Get(QelModel& model, const std::string& strName)
{
    QelProperty* p = model.GetProperty(strName);
    EXPECT_NE(p, nullptr) << strName;
    static QelProperty s_cMissing("missing", nullptr, eDataReal, false);
    return p ? *p : s_cMissing;
}

/// Loads the file, makes the red material blue and less shiny, and saves it.
void SaveEdited(QelModel& model, const std::string& strFile, QelMasterXMLInterface& xml)
{
    ASSERT_TRUE(model.LoadFile(strFile));
    Get(model, "Material:red:Diffuse").SetAsColor(0xFFFF0000u);
    Get(model, "Material:red:Shininess").SetAsFloat(12.5f);
    SaveTo(model, xml);
}
} // namespace

TEST(QelModelMaterials, EachMaterialIsAGroupOfPropertiesShowingTheFilesValues)
{
    QelModelTempDir dir;
    QelCapture cap;
    QelModel model;
    ASSERT_TRUE(model.LoadFile(WriteModel(dir)));
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
    EXPECT_EQ(Get(model, "Material:red:Ambient").GetAsColor(), 0xFF000019u); // 0.1 * 255 truncated
    EXPECT_EQ(Get(model, "Material:red:Diffuse").GetAsColor(), 0x3F0000FFu);
    EXPECT_EQ(Get(model, "Material:red:Specular").GetAsColor(), 0xFF7F7F7Fu);
    EXPECT_EQ(Get(model, "Material:red:Emissive").GetAsColor(), 0xFF000000u);
    EXPECT_FLOAT_EQ(Get(model, "Material:red:Shininess").GetAsFloat(), 64.0f);
    EXPECT_FLOAT_EQ(Get(model, "Material:red:Transparency").GetAsFloat(), 0.75f);
    EXPECT_NE(model.GetProperty("Material:grey:Diffuse"), nullptr);
    // Saved by the model itself, edits only; out-of-range values are clamped like any property's.
    EXPECT_FALSE(Get(model, "Material:red:Diffuse").WillAutoSave());
    Get(model, "Material:red:Shininess").SetAsFloat(500.0f);
    EXPECT_FLOAT_EQ(Get(model, "Material:red:Shininess").GetAsFloat(), 128.0f);
    EXPECT_EQ(model.GetPropertyDescription(model.GetProperty("Material:red:Diffuse")), "Diffuse color");
    EXPECT_EQ(model.GetPropertyDescription(model.GetProperty("Material:grey:Transparency")),
              "Transparency of the material, from 0 (opaque) to 1 (invisible)");
}

TEST(QelModelMaterials, AnEditChangesTheModelDataAndUntouchedFieldsKeepTheFilesExactValues)
{
    QelModelTempDir dir;
    QelModel model;
    ASSERT_TRUE(model.LoadFile(WriteModel(dir)));
    Get(model, "Material:grey:Ambient").SetAsColor(0xFF00FF00u);
    Get(model, "Material:red:Transparency").SetAsFloat(0.0f);
    model.InvokeCalculate();
    const QelModelMaterial& grey = model.GetModelData().m_vMaterials[1];
    EXPECT_EQ(grey.m_vecAmbient, QelVec4(0.0f, 1.0f, 0.0f, 1.0f));
    // 0.123 shows as 31/255 but stays 0.123 in the data while it is not edited.
    EXPECT_EQ(grey.m_vecDiffuse.x, 0.123f);
    EXPECT_FALSE(model.GetModelData().m_vMaterials[0].IsTranslucent());
}

TEST(QelModelMaterials, OnlyEditsAreSavedAndTheyReturnOnceTheFileIsLoadedAgain)
{
    QelModelTempDir dir;
    const std::string strFile = WriteModel(dir);
    QelMasterXMLInterface xml;
    {
        QelModel model;
        SaveEdited(model, strFile, xml);
        ASSERT_TRUE(xml.MoveToChildNode("Materials"));
        EXPECT_EQ(xml.GetNumChildNodes(), 1u) << "the unedited grey material is not written";
        ASSERT_TRUE(xml.MoveToChildNode("Material"));
        EXPECT_EQ(xml.ReadStringAttribute("Name", ""), "red");
        EXPECT_EQ(xml.GetNumChildNodes(), 2u);
    }
    // The file changes the material's specular color meanwhile: the edit stays, the file shows through.
    WriteModel(dir, std::string(kMtl) + "newmtl red\nKd 1 0 0\nKs 0 1 0\n");
    QelCapture cap;
    QelModel loaded;
    ASSERT_TRUE(xml.MoveToRootNode() && xml.MoveToChildNode("Object"));
    ASSERT_TRUE(loaded.Load(&xml));
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
    EXPECT_EQ(Get(loaded, "Material:red:Diffuse").GetAsColor(), 0xFFFF0000u);
    EXPECT_FLOAT_EQ(Get(loaded, "Material:red:Shininess").GetAsFloat(), 12.5f);
    EXPECT_EQ(Get(loaded, "Material:red:Specular").GetAsColor(), 0xFF00FF00u);
    loaded.InvokeCalculate();
    EXPECT_EQ(loaded.GetModelData().m_vMaterials[0].m_vecDiffuse, QelVec4(0.0f, 0.0f, 1.0f, 1.0f));
}

TEST(QelModelMaterials, OddAndRepeatedMaterialNamesEachGetTheirOwnGroup)
{
    QelModelTempDir dir;
    QelModelData data;
    ASSERT_TRUE(RegisteredLoader("obj").Load(WriteModel(dir), data));
    data.m_vMaterials[0].m_strName = "Glas: gr\xC3\xBCn 50%";
    data.m_vMaterials[1].m_strName = "Glas: gr\xC3\xBCn 50%";
    data.m_vMaterials.push_back(data.m_vMaterials[1]);
    data.m_vMaterials.back().m_strName = "";
    const std::string strZmf = dir.File("odd.zmf");
    ASSERT_TRUE(RegisteredLoader("zmf").Save(strZmf, data));

    QelMasterXMLInterface xml;
    {
        QelCapture cap;
        QelModel model;
        ASSERT_TRUE(model.LoadFile(strZmf));
        EXPECT_TRUE(cap.Messages().empty()) << "no name warnings: " << cap.Joined();
        EXPECT_NE(model.GetProperty("Material:Glas_ gr__n 50%:Diffuse"), nullptr);
        EXPECT_NE(model.GetProperty("Material:Unnamed:Diffuse"), nullptr);
        Get(model, "Material:Glas_ gr__n 50% (2):Emissive").SetAsColor(0xFF123456u);
        SaveTo(model, xml);
    }
    QelModel loaded;
    ASSERT_TRUE(xml.MoveToRootNode() && xml.MoveToChildNode("Object"));
    ASSERT_TRUE(loaded.Load(&xml));
    EXPECT_EQ(Get(loaded, "Material:Glas_ gr__n 50% (2):Emissive").GetAsColor(), 0xFF123456u);
    EXPECT_EQ(Get(loaded, "Material:Glas_ gr__n 50%:Emissive").GetAsColor(), 0xFF000000u);
}

TEST(QelModelMaterials, EditsOfAMaterialTheFileLostAreReportedAndKeptForSaving)
{
    QelModelTempDir dir;
    const std::string strFile = WriteModel(dir);
    QelMasterXMLInterface xml;
    {
        QelModel model;
        SaveEdited(model, strFile, xml);
    }
    dir.Write("m.mtl", "newmtl grey\nKd 0.5 0.5 0.5\n");
    dir.Write("m.obj", "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl grey\nf 1 2 3\n");
    QelModel loaded;
    {
        QelCapture cap;
        ASSERT_TRUE(xml.MoveToRootNode() && xml.MoveToChildNode("Object"));
        ASSERT_TRUE(loaded.Load(&xml));
        EXPECT_EQ(cap.Messages(), std::vector<std::string>{"<warning> QelModel - Material [red] is not in [" + strFile +
                                                      "] any more; its edited values are kept but not shown\n"});
    }
    EXPECT_EQ(loaded.GetProperty("Material:red:Diffuse"), nullptr);
    QelMasterXMLInterface again;
    SaveTo(loaded, again);
    ASSERT_TRUE(again.MoveToChildNode("Materials") && again.MoveToChildNode("Material"));
    EXPECT_EQ(again.ReadStringAttribute("Name", ""), "red");
    EXPECT_EQ(again.ReadString("Diffuse", ""), "4294901760");
}

TEST(QelModelMaterials, UnreadableSavedValuesAreSkippedWithAWarning)
{
    struct SRow
    {
        const char* m_pField;
        const char* m_pText;
    };
    const SRow kRows[] = {{"Diffuse", "blue"}, {"Diffuse", "-1"}, {"Diffuse", "4294967296"}, {"Shininess", "12x"},
                          {"Transparency", "nan"}};
    QelModelTempDir dir;
    const std::string strFile = WriteModel(dir);
    for (const SRow& row : kRows)
    {
        SCOPED_TRACE(std::string(row.m_pField) + " " + row.m_pText);
        QelMasterXMLInterface xml;
        ASSERT_TRUE(xml.LoadDataFromString("<Object><Filename>" + strFile + "</Filename><Materials><Material Name=\"red\"><" +
                                           row.m_pField + ">" + row.m_pText + "</" + row.m_pField +
                                           "></Material></Materials></Object>"));
        QelCapture cap;
        QelModel model;
        ASSERT_TRUE(model.Load(&xml));
        EXPECT_EQ(cap.Messages(), std::vector<std::string>{std::string("<warning> QelModel - Saved ") + row.m_pField +
                                                           " [" + row.m_pText +
                                                           "] of material [red] is no value; it is skipped\n"});
        EXPECT_EQ(Get(model, "Material:red:Diffuse").GetAsColor(), 0x3F0000FFu);
    }
}

TEST(QelModelMaterials, ReloadingFromInsideAReadOfAnOldMaterialKeepsThatPropertyAlive)
{
    QelModelTempDir dir;
    QelModel model;
    ASSERT_TRUE(model.LoadFile(WriteModel(dir)));
    QelProperty* pOld = model.GetProperty("Material:red:Diffuse");
    QelProperty* pKept = model.GetProperty("Material:grey:Diffuse");
    pKept->SetAsColor(0xFF00FF00u);
    dir.Write("b.mtl", "newmtl grey\nKd 0 0 1\n");
    model.GetProperty("Filename")->SetAsString(dir.Write("b.obj", "mtllib b.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\n"
                                                                  "usemtl grey\nf 1 2 3\n"));
    // The read runs the reload, which must not free the property being read.
    EXPECT_EQ(pOld->GetAsColor(), 0x3F0000FFu);
    EXPECT_EQ(model.GetModelData().m_vMaterials.size(), 1u);
    // A material of the same name keeps its property, showing the new file's value.
    EXPECT_EQ(model.GetProperty("Material:grey:Diffuse"), pKept);
    EXPECT_EQ(pKept->GetAsColor(), 0xFFFF0000u);
    // Back to the first file before anything dropped the old properties: they serve again.
    QelCapture cap;
    model.GetProperty("Filename")->SetAsString(dir.File("m.obj"));
    model.InvokeCalculate();
    EXPECT_EQ(model.GetProperty("Material:red:Diffuse"), pOld);
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
    model.GetProperty("Filename")->SetAsString(dir.File("b.obj"));
    model.InvokeCalculate();
    model.LoadFile(model.GetFilename());
    EXPECT_EQ(model.GetProperty("Material:red:Diffuse"), nullptr);
}
