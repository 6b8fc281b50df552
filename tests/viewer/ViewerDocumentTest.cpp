#include "ViewerTestSupport.h"

#include "ViewerDocument.h"
#include "ViewerPropertyEdit.h"
#include "ViewerSession.h"
#include "ViewerShape.h"

#include "qel/properties/QelInterpColorProperty.h"
#include "qel/properties/QelProperty.h"

#include <gtest/gtest.h>

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

TEST_F(ViewerDocumentTest, SavingToAnUnwritablePlaceReportsIt)
{
    ViewerLogCapture cLog;
    std::string strPath = Path("no/such/folder/scene.qvs");
    EXPECT_FALSE(m_cSession.SaveScene(strPath));
    ASSERT_FALSE(cLog.Errors().empty());
    EXPECT_EQ(cLog.Errors().back(), "Could not write scene " + strPath);
}
} // namespace
