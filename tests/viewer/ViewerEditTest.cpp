#include "ViewerTestSupport.h"

#include "ViewerPropertyEdit.h"
#include "ViewerPropertyValues.h"
#include "ViewerSession.h"
#include "ViewerShape.h"

#include "qel/properties/QelProperty.h"

#include <gtest/gtest.h>

#include <functional>

namespace
{
struct ViewerEditTest : ::testing::Test
{
    ViewerSession m_cSession{ViewerTestApp()};
    QelDisplayObject* m_pShape = m_cSession.AddShape("Box01");

    QelProperty& Prop(const char* pName)
    {
        QelProperty* pProperty = m_pShape->GetProperty(pName);
        EXPECT_NE(pProperty, nullptr) << pName;
        return *pProperty;
    }
};

std::vector<std::string> Names(const std::vector<QelProperty*>& v)
{
    std::vector<std::string> vNames;
    for (QelProperty* p : v)
        vNames.push_back(p->GetName());
    return vNames;
}

const ViewerEdit::SGroup* Child(const ViewerEdit::SGroup& cGroup, const std::string& strName)
{
    for (const ViewerEdit::SGroup& cChild : cGroup.m_vGroups)
        if (cChild.m_strName == strName)
            return &cChild;
    return nullptr;
}

TEST_F(ViewerEditTest, PropertiesAreGroupedByTheColonsInTheirNames)
{
    ViewerEdit::SGroup cRoot = ViewerEdit::GroupProperties(*m_pShape);
    EXPECT_EQ(Names(cRoot.m_vProperties), std::vector<std::string>{"Notes"});
    const ViewerEdit::SGroup* pMaterial = Child(cRoot, "Material");
    ASSERT_NE(pMaterial, nullptr);
    // The tint's low, high and interpolation children belong to the tint's own editor.
    EXPECT_EQ(Names(pMaterial->m_vProperties),
              (std::vector<std::string>{"Material:Color", "Material:Tint", "Material:Use tint", "Material:Reset"}));
    EXPECT_EQ(pMaterial->m_vGroups.size(), 0u);
    const ViewerEdit::SGroup* pTransform = Child(cRoot, "Transform");
    ASSERT_NE(pTransform, nullptr);
    const ViewerEdit::SGroup* pTranslation = Child(*pTransform, "Translation");
    ASSERT_NE(pTranslation, nullptr);
    EXPECT_EQ(pTranslation->m_vProperties.front()->GetName(), "Transform:Translation:X");
    // The view's "Reserved:This" is bookkeeping, not something to edit.
    ViewerEdit::SGroup cView = ViewerEdit::GroupProperties(m_cSession.View());
    EXPECT_EQ(Child(cView, "Reserved"), nullptr);
    // A group met again after another keeps one entry, in the order first met.
    m_pShape->CreateProperty("Extra:A:x", eDataReal);
    m_pShape->CreateProperty("Extra:B:y", eDataReal);
    m_pShape->CreateProperty("Extra:A:z", eDataReal);
    const ViewerEdit::SGroup cWithExtra = ViewerEdit::GroupProperties(*m_pShape);
    const ViewerEdit::SGroup* pExtra = Child(cWithExtra, "Extra");
    ASSERT_NE(pExtra, nullptr);
    ASSERT_EQ(pExtra->m_vGroups.size(), 2u);
    EXPECT_EQ(Names(pExtra->m_vGroups[0].m_vProperties), (std::vector<std::string>{"Extra:A:x", "Extra:A:z"}));
    EXPECT_EQ(pExtra->m_vGroups[1].m_strName, "B");
    EXPECT_EQ(ViewerEdit::LeafName("Material:Tint:Low color"), "Low color");
    EXPECT_EQ(ViewerEdit::LeafName("Notes"), "Notes");
}

TEST_F(ViewerEditTest, EachKindOfPropertyGetsItsEditor)
{
    struct SRow
    {
        QelPropertyContainer* m_pContainer;
        const char* m_pName;
        ViewerEdit::EEditor m_eEditor;
    };
    const SRow kRows[] = {
        {m_pShape, "Material:Use tint", ViewerEdit::eEditorCheckbox},
        {m_pShape, "Shape:Kind", ViewerEdit::eEditorEnumeration},
        {m_pShape, "Shape:Size", ViewerEdit::eEditorReal},
        {m_pShape, "Material:Color", ViewerEdit::eEditorColor},
        {m_pShape, "Material:Tint", ViewerEdit::eEditorInterpColor},
        {m_pShape, "Notes", ViewerEdit::eEditorText},
        {m_pShape, "Material:Reset", ViewerEdit::eEditorButton},
        {m_pShape, "Transform:Translation:Reset translation", ViewerEdit::eEditorButton},
        {&m_cSession.View(), "View:Screenshot folder", ViewerEdit::eEditorFolder},
        {&m_cSession.View(), "Reserved:This", ViewerEdit::eEditorReadOnly},
    };
    for (const SRow& cRow : kRows)
    {
        SCOPED_TRACE(cRow.m_pName);
        QelProperty* pProperty = cRow.m_pContainer->GetProperty(cRow.m_pName);
        ASSERT_NE(pProperty, nullptr);
        EXPECT_EQ(ViewerEdit::EditorFor(*cRow.m_pContainer, *pProperty), cRow.m_eEditor);
    }
    QelProperty cInteger("Count", nullptr, eDataInteger);
    QelProperty cFile("Model", nullptr, eDataFilename);
    EXPECT_EQ(ViewerEdit::EditorFor(*m_pShape, cInteger), ViewerEdit::eEditorInteger);
    EXPECT_EQ(ViewerEdit::EditorFor(*m_pShape, cFile), ViewerEdit::eEditorFile);
}

TEST_F(ViewerEditTest, TextIsStoredThroughTheTypedSetters)
{
    struct SRow
    {
        const char* m_pProperty;
        const char* m_pText;
        const char* m_pStored; ///< ViewerValues::Format afterwards
    };
    const SRow kRows[] = {
        {"Shape:Size", "2.5", "2.5"},
        {"Shape:Size", "-3", "0.00999999978"}, // clamped to the property's minimum (a float)
        {"Shape:Kind", "Square", "2"},
        {"Shape:Kind", "1", "1"},
        {"Material:Color", "#FF0000", "0xFF0000FF"},
        {"Material:Color", "#00FF0080", "0x8000FF00"},
        {"Material:Color", "0x11223344", "0x11223344"},
        {"Material:Use tint", "YES", "true"},
        {"Material:Use tint", "0", "false"},
        {"Notes", "", ""},
    };
    for (const SRow& cRow : kRows)
    {
        SCOPED_TRACE(std::string(cRow.m_pProperty) + " = " + cRow.m_pText);
        ViewerLogCapture cLog;
        EXPECT_TRUE(ViewerEdit::SetFromText(Prop(cRow.m_pProperty), cRow.m_pText));
        EXPECT_EQ(ViewerValues::Format(Prop(cRow.m_pProperty)), cRow.m_pStored);
    }
}

TEST_F(ViewerEditTest, TextThatDoesNotFitIsRefusedWithoutAnUndoStep)
{
    struct SRow
    {
        const char* m_pProperty;
        const char* m_pText;
        const char* m_pReason;
    };
    const SRow kRows[] = {
        {"Shape:Size", "abc", "not a number"},
        {"Shape:Size", "1.5x", "not a number"},
        {"Shape:Size", "nan", "not a number"},
        {"Shape:Kind", "Sphere", "not a whole number"},
        {"Material:Color", "red", "not a color (0xAABBGGRR or #RRGGBB)"},
        {"Material:Color", "#12345", "not a color (0xAABBGGRR or #RRGGBB)"},
        {"Material:Use tint", "maybe", "not true or false"},
        {"Material:Tint", "#FFFFFF",
         "an interpolated color follows its low color, high color and interpolation: set those"},
    };
    ViewerTestApp().ClearUndo();
    for (const SRow& cRow : kRows)
    {
        SCOPED_TRACE(std::string(cRow.m_pProperty) + " = " + cRow.m_pText);
        std::string strBefore = ViewerValues::Format(Prop(cRow.m_pProperty));
        ViewerLogCapture cLog;
        EXPECT_FALSE(ViewerEdit::SetFromText(Prop(cRow.m_pProperty), cRow.m_pText));
        EXPECT_EQ(cLog.Warnings(), std::vector<std::string>{std::string("Box01.") + cRow.m_pProperty + ": \"" +
                                                            cRow.m_pText + "\" refused: " + cRow.m_pReason});
        EXPECT_EQ(ViewerValues::Format(Prop(cRow.m_pProperty)), strBefore);
        EXPECT_FALSE(ViewerTestApp().CanUndo());
    }
}

TEST_F(ViewerEditTest, EditsUndoAndRedoThroughTheApplicationObject)
{
    ViewerApp& cApp = ViewerTestApp();
    cApp.ClearUndo();
    ViewerEdit::SetFromText(Prop("Material:Color"), "#102030");
    // A dragged slider: one step however many values pass.
    for (double d : {1.5, 2.0, 2.5})
        ViewerEdit::SetReal(Prop("Shape:Size"), d, true);
    ViewerEdit::PressButton(Prop("Material:Reset"));
    EXPECT_EQ(Prop("Material:Color").GetAsColor(), 0xFFD08030u);
    EXPECT_EQ(cApp.NextUndo(), "Set Material:Reset");

    ASSERT_TRUE(cApp.Undo()); // the button press
    EXPECT_EQ(Prop("Material:Color").GetAsColor(), 0xFF302010u);
    ASSERT_TRUE(cApp.Undo()); // the whole drag
    EXPECT_DOUBLE_EQ(Prop("Shape:Size").GetAsDouble(), 1.0);
    ASSERT_TRUE(cApp.Undo());
    EXPECT_EQ(Prop("Material:Color").GetAsColor(), 0xFFD08030u);
    EXPECT_FALSE(cApp.CanUndo());
    EXPECT_FALSE(cApp.Undo());

    ASSERT_TRUE(cApp.Redo());
    ASSERT_TRUE(cApp.Redo());
    EXPECT_EQ(Prop("Material:Color").GetAsColor(), 0xFF302010u);
    EXPECT_DOUBLE_EQ(Prop("Shape:Size").GetAsDouble(), 2.5);
    // A new edit drops what could be redone.
    ViewerEdit::SetFromText(Prop("Notes"), "new");
    EXPECT_FALSE(cApp.CanRedo());
}

TEST_F(ViewerEditTest, LettingGoEndsADragSoTheNextIsAStepOfItsOwn)
{
    ViewerApp& cApp = ViewerTestApp();
    cApp.ClearUndo();
    ViewerEdit::SetReal(Prop("Shape:Size"), 2.0, true);
    ViewerEdit::SetReal(Prop("Shape:Size"), 3.0, true);
    cApp.EndContinuousRun();
    ViewerEdit::SetReal(Prop("Shape:Size"), 4.0, true);
    ASSERT_TRUE(cApp.Undo());
    EXPECT_DOUBLE_EQ(Prop("Shape:Size").GetAsDouble(), 3.0);
    ASSERT_TRUE(cApp.Undo());
    EXPECT_DOUBLE_EQ(Prop("Shape:Size").GetAsDouble(), 1.0);
    EXPECT_FALSE(cApp.CanUndo());
}

TEST_F(ViewerEditTest, ExpressionsReportTheCompilersMessageAndUndo)
{
    ViewerApp& cApp = ViewerTestApp();
    cApp.ClearUndo();
    QelProperty& cSize = Prop("Shape:Size");
    EXPECT_EQ(ViewerEdit::SetExpression(cSize, "[Transform:Scale:X] * 4"), "");
    EXPECT_DOUBLE_EQ(cSize.GetAsDouble(), 4.0);
    ViewerLogCapture cLog;
    std::string strError = ViewerEdit::SetExpression(cSize, "2 *");
    EXPECT_FALSE(strError.empty());
    EXPECT_FALSE(cSize.HasExpression());
    ASSERT_TRUE(cApp.Undo());
    std::string strExpression;
    cSize.GetExpression(strExpression);
    EXPECT_EQ(strExpression, "[Transform:Scale:X] * 4");
    ASSERT_TRUE(cApp.Undo());
    EXPECT_FALSE(cSize.HasExpression());
    EXPECT_DOUBLE_EQ(cSize.GetAsDouble(), 1.0);
}

TEST_F(ViewerEditTest, NumericEditsAreKeptInTheHistory)
{
    QelProperty& cSize = Prop("Shape:Size");
    cSize.ClearHistory();
    ViewerEdit::SetReal(cSize, 2.0);
    ViewerEdit::SetFromText(cSize, "5000"); // clamped: the history holds what was stored
    ViewerEdit::SetInt(Prop("Shape:Kind"), 2);
    const std::vector<QelVariant>* pRaw = cSize.History().GetRaw();
    ASSERT_EQ(pRaw->size(), 2u);
    EXPECT_FLOAT_EQ(float((*pRaw)[0]), 2.0f);
    EXPECT_FLOAT_EQ(float((*pRaw)[1]), 1000.0f);
    EXPECT_EQ(Prop("Shape:Kind").History().GetRaw()->size(), 1u);
}

TEST(ViewerValues, ColorsParseInBothSpellings)
{
    struct SRow
    {
        const char* m_pText;
        bool m_bOk;
        QelPackedColor m_nColor;
    };
    const SRow kRows[] = {
        {"#112233", true, 0xFF332211u},   {"#11223344", true, 0x44332211u}, {"0xAABBCCDD", true, 0xAABBCCDDu},
        {"0XaabbccdD", true, 0xAABBCCDDu}, {"0x123", false, 0},              {"#1122334", false, 0},
        {"#11223G", false, 0},            {"", false, 0},                    {"0x-1234567", false, 0},
    };
    for (const SRow& cRow : kRows)
    {
        SCOPED_TRACE(cRow.m_pText);
        QelPackedColor n = 0;
        EXPECT_EQ(ViewerValues::ParseColor(cRow.m_pText, n), cRow.m_bOk);
        if (cRow.m_bOk)
        {
            EXPECT_EQ(n, cRow.m_nColor);
        }
    }
}
} // namespace
