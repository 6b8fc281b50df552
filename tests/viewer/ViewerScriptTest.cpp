#include "ViewerTestSupport.h"

#include "ViewerScript.h"
#include "ViewerSession.h"

#include "qel/display/QelDisplayObject.h"
#include "qel/properties/QelProperty.h"

#include <gtest/gtest.h>

#include <fstream>

namespace
{
TEST(ViewerScript, LinesSplitIntoWordsWithQuotes)
{
    struct SRow
    {
        const char* m_pLine;
        bool m_bOk;
        std::vector<std::string> m_vWords;
    };
    const SRow kRows[] = {
        {"set Shape:Size 2", true, {"set", "Shape:Size", "2"}},
        {"  set\t\"Material:Use tint\"  true\r", true, {"set", "Material:Use tint", "true"}},
        {"set Notes \"say \\\"hi\\\"\"", true, {"set", "Notes", "say \"hi\""}},
        {"set Notes \"\"", true, {"set", "Notes", ""}},
        {"set Material:Color #FF0000", true, {"set", "Material:Color", "#FF0000"}},
        {"  # a comment", true, {}},
        {"", true, {}},
        {"set Notes \"open", false, {}},
    };
    for (const SRow& cRow : kRows)
    {
        SCOPED_TRACE(cRow.m_pLine);
        std::vector<std::string> vWords;
        EXPECT_EQ(ViewerScript::Split(cRow.m_pLine, vWords), cRow.m_bOk);
        if (cRow.m_bOk)
        {
            EXPECT_EQ(vWords, cRow.m_vWords);
        }
    }
}

TEST(ViewerScript, CommandsEditThroughThePanelsPath)
{
    ViewerSession cSession(ViewerTestApp());
    ViewerTestApp().ClearUndo();
    ASSERT_TRUE(ViewerScript::Run(cSession,
                                  "add shape A\nadd shape B\nselect A\n"
                                  "set \"Material:Use tint\" on\nexpression Shape:Size \"1 + 2\"\n"
                                  "select none\nset View:Background #000000\nselect B\npress \"Transform:Scale:Reset scaling\"\n"
                                  "view top\nzoom selected\n",
                                  "t"));
    QelDisplayObject* pA = cSession.Scene().FindByName("A");
    ASSERT_NE(pA, nullptr);
    EXPECT_TRUE(pA->GetProperty("Material:Use tint")->GetAsBool());
    EXPECT_DOUBLE_EQ(pA->GetProperty("Shape:Size")->GetAsDouble(), 3.0);
    EXPECT_EQ(cSession.View().GetProperty("View:Background")->GetAsColor(), 0xFF000000u);
    EXPECT_EQ(cSession.Scene().GetSelection(), cSession.Scene().FindByName("B"));
    // Every edit left an undo step: tint, expression, background, button.
    ASSERT_TRUE(ViewerScript::Run(cSession, "undo\nundo\nundo\nundo\n", "t"));
    EXPECT_FALSE(pA->GetProperty("Material:Use tint")->GetAsBool());
    EXPECT_FALSE(ViewerTestApp().CanUndo());
}

TEST(ViewerScript, AModelsMaterialColorIsEditedAndUndoneLikeAnyProperty)
{
    const std::string strDir = ViewerScratchDir("script_material");
    std::ofstream(strDir + "/cube.mtl") << "newmtl paint\nKd 1 0 0\n";
    std::ofstream(strDir + "/cube.obj") << "mtllib cube.mtl\nv 0 0 0\nv 1 0 0\nv 0 0 1\nusemtl paint\nf 1 2 3\n";
    ViewerSession cSession(ViewerTestApp());
    ViewerTestApp().ClearUndo();
    ASSERT_TRUE(ViewerScript::Run(cSession, "open " + strDir + "/cube.obj\nset Material:paint:Diffuse #20C040\n", "t"));
    QelDisplayObject* pModel = cSession.Scene().FindByName("cube");
    ASSERT_NE(pModel, nullptr);
    QelProperty* pDiffuse = pModel->GetProperty("Material:paint:Diffuse");
    ASSERT_NE(pDiffuse, nullptr);
    EXPECT_EQ(pDiffuse->GetAsColor(), 0xFF40C020u);
    ASSERT_TRUE(ViewerScript::Run(cSession, "undo\n", "t"));
    EXPECT_EQ(pDiffuse->GetAsColor(), 0xFF0000FFu);
    ASSERT_TRUE(ViewerScript::Run(cSession, "redo\n", "t"));
    EXPECT_EQ(pDiffuse->GetAsColor(), 0xFF40C020u);
}

TEST(ViewerScript, CustomCommandsRunAndUndo)
{
    ViewerSession cSession(ViewerTestApp());
    ViewerTestApp().ClearUndo();
    ASSERT_TRUE(ViewerScript::Run(cSession, "add shape A\nset Transform:Translation:X 3\ncommand \"Move to origin\"\n",
                                  "t"));
    QelDisplayObject* pA = cSession.Scene().FindByName("A");
    ASSERT_NE(pA, nullptr);
    EXPECT_EQ(pA->GetTranslation(), QelVec3(0.0f, 0.0f, 0.0f));
    EXPECT_EQ(ViewerTestApp().NextUndo(), "Move to origin");
    ASSERT_TRUE(ViewerTestApp().Undo());
    EXPECT_EQ(pA->GetTranslation(), QelVec3(3.0f, 0.0f, 0.0f));
}

TEST(ViewerScript, TheFirstFailingCommandStopsTheScriptWithItsReason)
{
    struct SRow
    {
        const char* m_pScript;
        const char* m_pError;
    };
    const SRow kRows[] = {
        {"fly away", "Script t line 1: there is no command \"fly\""},
        {"add shape A\n\nselect", "Script t line 3: usage: select NAME|none"},
        {"select Nobody", "Script t line 1: there is no object \"Nobody\""},
        {"add shape A\nset Gloss 1", "Script t line 2: A has no property \"Gloss\""},
        {"add shape A\nset Shape:Size big", "Script t line 2: the value was refused"},
        {"add shape A\npress Shape:Size", "Script t line 2: \"Shape:Size\" is not a button"},
        {"add cube", "Script t line 1: there is no kind of object \"cube\" to add"},
        {"pick 5", "Script t line 1: usage: pick X Y [toggle]"},
        {"pick 5 5 twice", "Script t line 1: usage: pick X Y [toggle]"},
        {"band 1 2 3 x", "Script t line 1: the corners are not four whole numbers from 0"},
        {"add shape A\ncommand \"Move to origin!\"", "Script t line 2: A has no command \"Move to origin!\""},
        {"view sideways", "Script t line 1: there is no view \"sideways\""},
        {"zoom far", "Script t line 1: there is no zoom \"far\""},
        {"frames 0", "Script t line 1: the count is not a whole number from 1 to 100000"},
        {"size 10 -1", "Script t line 1: the size is not two whole numbers from 0"},
        {"undo", "Script t line 1: nothing to undo"},
        {"command Spin", "Script t line 1: no object is selected"},
        {"add shape A\ncommand Spin", "Script t line 2: A has no command \"Spin\""},
        {"set Notes \"x", "Script t line 1: a quote is not closed"},
    };
    for (const SRow& cRow : kRows)
    {
        SCOPED_TRACE(cRow.m_pScript);
        ViewerSession cSession(ViewerTestApp());
        ViewerTestApp().ClearUndo();
        ViewerLogCapture cLog;
        EXPECT_FALSE(ViewerScript::Run(cSession, std::string(cRow.m_pScript) + "\nadd shape Late\n", "t"));
        ASSERT_FALSE(cLog.Errors().empty());
        EXPECT_EQ(cLog.Errors().back(), cRow.m_pError);
        EXPECT_EQ(cSession.Scene().FindByName("Late"), nullptr);
    }
}

TEST(ViewerScript, AMissingScriptFileIsReported)
{
    ViewerSession cSession(ViewerTestApp());
    ViewerLogCapture cLog;
    EXPECT_FALSE(ViewerScript::RunFile(cSession, "/nonexistent/script.txt"));
    EXPECT_EQ(cLog.Errors(), std::vector<std::string>{"Cannot read script /nonexistent/script.txt"});
}
} // namespace
