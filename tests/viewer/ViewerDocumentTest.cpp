#include "ViewerTestSupport.h"

#include "ViewerDocument.h"
#include "ViewerPropertyEdit.h"
#include "ViewerSession.h"
#include "ViewerShape.h"

#include "qel/display/QelClipPlane.h"
#include "qel/display/QelGrid.h"
#include "qel/display/QelLight.h"
#include "qel/models/QelModel.h"
#include "qel/properties/QelInterpColorProperty.h"
#include "qel/properties/QelProperty.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace
{
QelProperty& Prop(QelPropertyContainer* pContainer, const char* pName)
{
    QelProperty* pProperty = pContainer->GetProperty(pName);
    EXPECT_NE(pProperty, nullptr) << pName;
    static QelProperty s_cMissing("missing", nullptr, eDataUninitialized);
    return pProperty ? *pProperty : s_cMissing;
}

std::string ReadFile(const std::string& strPath)
{
    std::ifstream cFile(strPath, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(cFile)), std::istreambuf_iterator<char>());
}

/// A scene with one edited shape and a changed view, saved to a file.
struct ViewerDocumentTest : ::testing::Test
{
    ViewerSession m_cSession{ViewerTestApp()};
    QelDisplayObject* m_pShape = nullptr;
    std::string m_strDir = ViewerScratchDir(::testing::UnitTest::GetInstance()->current_test_info()->name());

    void SetUp() override
    {
        m_pShape = m_cSession.AddShape("Box01");
        ViewerEdit::SetFromText(Prop(m_pShape, "Material:Color"), "#C02040");
        ViewerEdit::SetFromText(Prop(m_pShape, "Shape:Kind"), "Pyramid");
        ViewerEdit::SetFromText(Prop(m_pShape, "Notes"), "a <note> & \"quotes\"");
        ViewerEdit::SetFromText(Prop(m_pShape, "Material:Tint:Interpolation"), "0.25");
        ViewerEdit::SetExpression(Prop(m_pShape, "Shape:Size"), "2 * 1.5");
        ViewerEdit::SetFromText(Prop(&m_cSession.View(), "View:Background"), "0xFF102030");
    }

    std::string Path(const char* pName) const { return m_strDir + "/" + pName; }
};

TEST_F(ViewerDocumentTest, SavedSceneOpensWithObjectsPropertiesAndExpressions)
{
    for (const char* pName : {"scene.qvs", "scene.qvs.gz"})
    {
        SCOPED_TRACE(pName);
        GUID guid = m_pShape->GetGuid();
        ASSERT_TRUE(m_cSession.SaveScene(Path(pName)));
        std::string strBytes = ReadFile(Path(pName));
        bool bGzip = std::string(pName).find(".gz") != std::string::npos;
        ASSERT_GE(strBytes.size(), 2u);
        EXPECT_EQ(bGzip, strBytes[0] == '\x1f' && strBytes[1] == '\x8b');

        ViewerSession cOther(ViewerTestApp());
        ASSERT_TRUE(cOther.OpenFile(Path(pName)));
        ASSERT_EQ(cOther.Scene().Objects().size(), 1u);
        QelDisplayObject* pLoaded = cOther.Scene().Objects()[0];
        EXPECT_EQ(pLoaded->GetName(), "Box01");
        EXPECT_EQ(pLoaded->GetGuid(), guid);
        EXPECT_EQ(Prop(pLoaded, "Material:Color").GetAsColor(), 0xFF4020C0u);
        EXPECT_EQ(Prop(pLoaded, "Shape:Kind").GetAsInt(), ViewerShape::eKindPyramid);
        EXPECT_EQ(Prop(pLoaded, "Notes").GetAsString(), "a <note> & \"quotes\"");
        EXPECT_FLOAT_EQ(Prop(pLoaded, "Material:Tint:Interpolation").GetAsFloat(), 0.25f);
        std::string strExpression;
        Prop(pLoaded, "Shape:Size").GetExpression(strExpression);
        EXPECT_EQ(strExpression, "2 * 1.5");
        EXPECT_DOUBLE_EQ(Prop(pLoaded, "Shape:Size").GetAsDouble(), 3.0);
        EXPECT_EQ(Prop(&cOther.View(), "View:Background").GetAsColor(), 0xFF102030u);
        // Opening starts a fresh history of edits.
        EXPECT_FALSE(ViewerTestApp().CanUndo());
    }
}

TEST_F(ViewerDocumentTest, DamagedOrNewerDocumentsAreRefusedAndTheSceneKept)
{
    const std::string strObject = "<Object type=\"Viewer Shape\" name=\"X\">"
                                  "<Property name=\"Material:Color\" type=\"9\" value=\"0xFF0000FF\"/></Object>";
    struct SRow
    {
        const char* m_pName;
        std::string m_strText;
        std::string m_strError; ///< the refusal, after "Scene <file> is refused: "
    };
    const SRow kRows[] = {
        {"truncated", "<QelViewerScene version=\"1\"><Object type=\"Viewer Sh", "it cannot be read as XML"},
        {"not xml", "\x1f\x8b garbage", "it cannot be read as XML"},
        {"other root", "<Scene version=\"1\"/>", "its root element is <Scene>, not <QelViewerScene>"},
        {"no version", "<QelViewerScene/>", "it has no valid version"},
        {"newer", "<QelViewerScene version=\"2\">" + strObject + "</QelViewerScene>",
         "it was written by a newer viewer (version 2; this one reads up to 1)"},
        {"unknown type", "<QelViewerScene version=\"1\"><Object type=\"Teapot\"/></QelViewerScene>",
         "it holds an object of type \"Teapot\", which this viewer cannot make"},
        {"object without type", "<QelViewerScene version=\"1\">\n<Object/></QelViewerScene>",
         "an object on line 2 has no type"},
        {"bad color", "<QelViewerScene version=\"1\"><Object type=\"Viewer Shape\"><Property name=\"Material:Color\" "
                      "type=\"9\" value=\"0xGG\"/></Object></QelViewerScene>",
         "the value \"0xGG\" of Shape.Material:Color is not a color (0xAABBGGRR or #RRGGBB)"},
        {"bad number", "<QelViewerScene version=\"1\"><Object type=\"Viewer Shape\"><Property name=\"Shape:Size\" "
                       "type=\"4\" value=\"1e999\"/></Object></QelViewerScene>",
         "the value \"1e999\" of Shape.Shape:Size is not a number"},
        {"value missing", "<QelViewerScene version=\"1\"><View>\n\n<Property name=\"View:Background\" type=\"9\"/>"
                          "</View></QelViewerScene>",
         "a property on line 3 lacks its name or value"},
    };
    for (const SRow& cRow : kRows)
    {
        SCOPED_TRACE(cRow.m_pName);
        std::string strPath = Path("bad.qvs");
        std::ofstream(strPath, std::ios::binary) << cRow.m_strText;
        ViewerLogCapture cLog;
        EXPECT_FALSE(m_cSession.OpenFile(strPath));
        std::vector<std::string> vErrors = cLog.Errors();
        ASSERT_FALSE(vErrors.empty());
        EXPECT_EQ(vErrors.back(), "Scene " + strPath + " is refused: " + cRow.m_strError + "; the current scene is kept");
        ASSERT_EQ(m_cSession.Scene().Objects().size(), 1u);
        EXPECT_EQ(m_cSession.Scene().Objects()[0], m_pShape);
        EXPECT_EQ(Prop(m_pShape, "Material:Color").GetAsColor(), 0xFF4020C0u);
        EXPECT_EQ(Prop(&m_cSession.View(), "View:Background").GetAsColor(), 0xFF102030u);
    }
}

TEST_F(ViewerDocumentTest, PropertiesTheObjectLacksAreSkippedWithAWarning)
{
    const std::string strText = "<QelViewerScene version=\"1\"><Object type=\"Viewer Shape\" name=\"Old\">"
                                "<Property name=\"Material:Gloss\" type=\"4\" value=\"0.5\"/>"
                                "<Property name=\"Shape:Size\" type=\"3\" value=\"4\"/>"
                                "<Property name=\"Material:Color\" type=\"9\" value=\"0xFF00FF00\"/>"
                                "</Object></QelViewerScene>";
    ViewerLogCapture cLog;
    ASSERT_TRUE(ViewerDocument::OpenFromString(strText, "old", m_cSession.Scene(), m_cSession.View()));
    EXPECT_EQ(cLog.Warnings(), (std::vector<std::string>{
                                   "Old has no property Material:Gloss of type 4; its saved value is skipped",
                                   "Old has no property Shape:Size of type 3; its saved value is skipped"}));
    QelDisplayObject* pOld = m_cSession.Scene().FindByName("Old");
    ASSERT_NE(pOld, nullptr);
    EXPECT_EQ(Prop(pOld, "Material:Color").GetAsColor(), 0xFF00FF00u);
    EXPECT_DOUBLE_EQ(Prop(pOld, "Shape:Size").GetAsDouble(), 1.0);
}

TEST_F(ViewerDocumentTest, FilesThatCannotBeOpenedLeaveTheSceneAlone)
{
    // The loader's own message comes first, then the viewer's.
    std::string strModel = Path("teapot.obj");
    std::ofstream(strModel) << "v 0 0 0\n";
    std::string strUnknown = Path("teapot.xyz");
    std::ofstream(strUnknown) << "v 0 0 0\n";
    struct SRow
    {
        std::string m_strPath;
        std::vector<std::string> m_vErrors;
    };
    const SRow kRows[] = {
        {Path("missing.qvs"), {"Cannot open " + Path("missing.qvs") + ": no such file or no permission to read it"}},
        {strModel, {"CObjLoader - [" + strModel + "] holds no faces, lines or points",
                    "Model " + strModel + " was not opened"}},
        {strUnknown, {"QelModel - No loader found for file [" + strUnknown + "]",
                      "Model " + strUnknown + " was not opened"}},
    };
    for (const SRow& cRow : kRows)
    {
        SCOPED_TRACE(cRow.m_strPath);
        ViewerLogCapture cLog;
        EXPECT_FALSE(m_cSession.OpenFile(cRow.m_strPath));
        EXPECT_EQ(cLog.Errors(), cRow.m_vErrors);
        EXPECT_EQ(m_cSession.Scene().Objects().size(), 1u);
    }
}

/// A small OBJ model (one red triangle) with its material file, in a folder.
void WriteTriangleModel(const std::string& strDir, const std::string& strName)
{
    std::ofstream(strDir + "/" + strName + ".mtl") << "newmtl red\nKd 1 0 0\n";
    std::ofstream(strDir + "/" + strName + ".obj") << "mtllib " << strName << ".mtl\nv 0 0 0\nv 2 0 0\nv 0 0 1\n"
                                                   << "usemtl red\nf 1 2 3\n";
}

TEST_F(ViewerDocumentTest, AModelsMaterialEditsAndTheirExpressionsReopen)
{
    WriteTriangleModel(m_strDir, "tri");
    ASSERT_TRUE(m_cSession.OpenFile(m_strDir + "/tri.obj"));
    QelDisplayObject* pTri = m_cSession.Scene().FindByName("tri");
    ASSERT_NE(pTri, nullptr);
    ASSERT_TRUE(ViewerEdit::SetFromText(Prop(pTri, "Material:red:Emissive"), "#2040C0"));
    ASSERT_EQ(ViewerEdit::SetExpression(Prop(pTri, "Material:red:Shininess"), "4 * 8"), "");
    ASSERT_TRUE(m_cSession.SaveScene(Path("scene.qvs")));
    // Only the model writes the edited color; the document adds the expression alone.
    const std::string strSaved = ReadFile(Path("scene.qvs"));
    EXPECT_EQ(strSaved.find("Material:red:Emissive"), std::string::npos) << strSaved;
    EXPECT_NE(strSaved.find("name=\"Material:red:Shininess\""), std::string::npos) << strSaved;
    m_cSession.NewScene();
    ASSERT_TRUE(m_cSession.OpenFile(Path("scene.qvs")));
    pTri = m_cSession.Scene().FindByName("tri");
    ASSERT_NE(pTri, nullptr);
    EXPECT_EQ(Prop(pTri, "Material:red:Emissive").GetAsColor(), 0xFFC04020u);
    std::string strExpression;
    Prop(pTri, "Material:red:Shininess").GetExpression(strExpression);
    EXPECT_EQ(strExpression, "4 * 8");
    EXPECT_DOUBLE_EQ(Prop(pTri, "Material:red:Shininess").GetAsDouble(), 32.0);
}

TEST_F(ViewerDocumentTest, ModelsOpenSideBySideAndReopenFromTheScenesFolder)
{
    std::string strFirst = ViewerScratchDir("models-first");
    WriteTriangleModel(strFirst, "tri");
    WriteTriangleModel(strFirst, "other");
    for (const char* pName : {"tri.obj", "other.obj", "tri.obj"})
        ASSERT_TRUE(m_cSession.OpenFile(strFirst + "/" + pName)) << pName;
    QelModel* pTri = dynamic_cast<QelModel*>(m_cSession.Scene().FindByName("tri"));
    ASSERT_NE(pTri, nullptr);
    EXPECT_NE(m_cSession.Scene().FindByName("tri2"), nullptr); // one file twice: two models
    EXPECT_NE(m_cSession.Scene().FindByName("other"), nullptr);
    ASSERT_EQ(pTri->GetModelData().m_vMaterials.size(), 1u);
    EXPECT_TRUE(pTri->GetExtents().IsValid());
    EXPECT_EQ(m_cSession.Scene().GetSelection(), m_cSession.Scene().FindByName("tri2")); // the last opened
    ASSERT_TRUE(m_cSession.SaveScene(strFirst + "/scene.qvs"));
    EXPECT_NE(ReadFile(strFirst + "/scene.qvs").find(">tri.obj<"), std::string::npos) << "saved relative";

    // The scene and its models move to another folder together; the models come from there.
    std::string strSecond = ViewerScratchDir("models-second");
    WriteTriangleModel(strSecond, "tri");
    WriteTriangleModel(strSecond, "other");
    std::ofstream(strSecond + "/scene.qvs") << ReadFile(strFirst + "/scene.qvs");
    m_cSession.NewScene();
    ASSERT_TRUE(m_cSession.OpenFile(strSecond + "/scene.qvs"));
    EXPECT_EQ(m_cSession.Scene().Objects().size(), 4u);
    pTri = dynamic_cast<QelModel*>(m_cSession.Scene().FindByName("tri"));
    ASSERT_NE(pTri, nullptr);
    EXPECT_EQ(pTri->GetFilename(), strSecond + "/tri.obj");
    EXPECT_TRUE(pTri->GetExtents().IsValid());

    // A model whose file is gone stays in the scene, empty, with the loader's reason in the log.
    std::remove((strSecond + "/other.obj").c_str());
    ViewerLogCapture cLog;
    ASSERT_TRUE(m_cSession.OpenFile(strSecond + "/scene.qvs"));
    ASSERT_FALSE(cLog.Errors().empty());
    EXPECT_NE(cLog.Errors()[0].find(strSecond + "/other.obj"), std::string::npos) << cLog.Errors()[0];
    ASSERT_NE(m_cSession.Scene().FindByName("other"), nullptr);
    EXPECT_FALSE(m_cSession.Scene().FindByName("other")->GetExtents().IsValid());

    // A model "file" that is a device or a folder is never handed to a loader.
    for (const char* pFile : {"/dev/zero", "/tmp"})
    {
        SCOPED_TRACE(pFile);
        ViewerLogCapture cRefused;
        EXPECT_FALSE(ViewerDocument::OpenFromString(
            std::string("<QelViewerScene version=\"1\"><Object type=\"Model\" name=\"M\"><Filename>") + pFile +
                "</Filename></Object></QelViewerScene>",
            "dev", m_cSession.Scene(), m_cSession.View()));
        EXPECT_EQ(cRefused.Errors(), std::vector<std::string>{std::string("Scene dev is refused: its model file ") +
                                                              pFile + " is not a regular file; the current scene "
                                                                      "is kept"});
    }
    EXPECT_EQ(m_cSession.Scene().Objects().size(), 4u);

    // A model opened by a relative name is found again from a scene saved in another folder.
    std::filesystem::path cWorking = std::filesystem::current_path();
    std::filesystem::current_path(strFirst);
    QelModel* pRelative = m_cSession.OpenModel("tri.obj");
    std::filesystem::current_path(cWorking);
    ASSERT_NE(pRelative, nullptr);
    std::string strName = pRelative->GetName();
    ASSERT_TRUE(m_cSession.SaveScene(Path("elsewhere.qvs")));
    ASSERT_TRUE(m_cSession.OpenFile(Path("elsewhere.qvs")));
    pRelative = dynamic_cast<QelModel*>(m_cSession.Scene().FindByName(strName));
    ASSERT_NE(pRelative, nullptr);
    EXPECT_EQ(pRelative->GetFilename(), strFirst + "/tri.obj");
    EXPECT_TRUE(pRelative->GetExtents().IsValid());
}

TEST_F(ViewerDocumentTest, LightsGridsAndClipPlanesAreSavedWithTheirProperties)
{
    ASSERT_NE(m_cSession.Add("light", "Sun"), nullptr);
    ASSERT_NE(m_cSession.Add("grid", ""), nullptr);
    ASSERT_NE(m_cSession.Add("clip plane", ""), nullptr);
    EXPECT_EQ(m_cSession.Add("cube", ""), nullptr);
    ViewerEdit::SetFromText(Prop(m_cSession.Scene().FindByName("Grid"), "Grid:Spacing"), "0.25");
    ASSERT_TRUE(m_cSession.SaveScene(Path("kinds.qvs")));
    m_cSession.NewScene();
    ASSERT_TRUE(m_cSession.OpenFile(Path("kinds.qvs")));
    auto* pLight = dynamic_cast<QelLight*>(m_cSession.Scene().FindByName("Sun"));
    auto* pGrid = dynamic_cast<QelGrid*>(m_cSession.Scene().FindByName("Grid"));
    auto* pPlane = dynamic_cast<QelClipPlane*>(m_cSession.Scene().FindByName("Clip Plane"));
    ASSERT_NE(pLight, nullptr);
    ASSERT_NE(pGrid, nullptr);
    ASSERT_NE(pPlane, nullptr);
    EXPECT_TRUE(pLight->IsOn());
    EXPECT_TRUE(pPlane->IsOn());
    EXPECT_FLOAT_EQ(pGrid->GetSpacing(), 0.25f);
    EXPECT_TRUE(pGrid->IsTranslationSnapOn());
    // The scene's lights and planes give their slots back when the scene goes.
    m_cSession.NewScene();
    EXPECT_TRUE(QelLight::GetLightsOn().empty());
    EXPECT_TRUE(QelClipPlane::GetPlanesOn().empty());
}

TEST_F(ViewerDocumentTest, SavingToAnUnwritablePlaceReportsIt)
{
    ViewerLogCapture cLog;
    std::string strPath = Path("no/such/folder/scene.qvs");
    EXPECT_FALSE(m_cSession.SaveScene(strPath));
    ASSERT_FALSE(cLog.Errors().empty());
    EXPECT_EQ(cLog.Errors().back(), "Could not write scene " + strPath);
}
} // namespace
