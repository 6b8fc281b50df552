#include "ViewerPanels.h"

#include "ViewerApp.h"
#include "ViewerDocument.h"
#include "ViewerFileFilter.h"
#include "ViewerLayout.h"
#include "ViewerPropertyValues.h"
#include "ViewerSession.h"
#include "ViewerTypes.h"

#include "qel/display/QelDisplayObject.h"
#include "qel/models/QelModel.h"
#include "qel/platform/QelGuid.h"
#include "qel/properties/QelInterpColorProperty.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "qel/properties/QelVariant.h"

#include <imgui.h>
#include <imgui_stdlib.h>

#include <algorithm>
#include <cctype>
#include <cfloat>
#include <filesystem>
#include <vector>

namespace
{
const ImVec4 kErrorColor(1.0f, 0.38f, 0.35f, 1.0f);
const ImVec4 kWarningColor(1.0f, 0.82f, 0.3f, 1.0f);
const char* const kSceneFilter = "Scene documents (*.qvs, *.qvs.gz, *.xml)";
const char* const kSceneFilterString = "Scene Documents (*.qvs;*.qvs.gz;*.xml)|*.qvs;*.qvs.gz;*.xml|";

ImVec4 Unpack(QelPackedColor n)
{
    return ImVec4(float(n & 0xFF) / 255.0f, float((n >> 8) & 0xFF) / 255.0f, float((n >> 16) & 0xFF) / 255.0f,
                  float((n >> 24) & 0xFF) / 255.0f);
}

/// Truncates c * 255 as the library packs colors.
QelPackedColor Pack(const float* p)
{
    auto fnByte = [](float f) { return QelPackedColor(std::clamp(f, 0.0f, 1.0f) * 255.0f) & 0xFF; };
    return fnByte(p[0]) | fnByte(p[1]) << 8 | fnByte(p[2]) << 16 | fnByte(p[3]) << 24;
}

bool ColorEditor(const char* pLabel, QelProperty& cProperty)
{
    ImVec4 v = Unpack(cProperty.GetAsColor());
    float vColor[4] = {v.x, v.y, v.z, v.w};
    if (!ImGui::ColorEdit4(pLabel, vColor, ImGuiColorEditFlags_AlphaBar))
        return false;
    return ViewerEdit::SetColor(cProperty, Pack(vColor), true);
}
} // namespace

void ViewerPanels::Draw(ViewerSession& cSession, int nFrameWidth, int nFrameHeight, bool& bQuit)
{
    DrawMenu(cSession, bQuit);
    DrawFilePrompt(cSession);
    DrawOpenDialog(cSession);

    int nPanelWidth = std::min(ViewerLayout::kPanelWidth, nFrameWidth);
    int nPanelHeight = std::max(nFrameHeight - ViewerLayout::kMenuHeight, 0);
    ImGui::SetNextWindowPos(ImVec2(0.0f, float(ViewerLayout::kMenuHeight)));
    ImGui::SetNextWindowSize(ImVec2(float(nPanelWidth), float(nPanelHeight)));
    ImGui::Begin("Scene", nullptr, ImGuiWindowFlags_NoMove | ImGuiWindowFlags_NoResize | ImGuiWindowFlags_NoCollapse);
    DrawScenePanel(cSession, nPanelHeight / 4);
    ImGui::Separator();
    QelPropertyContainer* pTarget = cSession.EditTarget();
    ImGui::TextUnformatted(pTarget->GetName().c_str());
    ImGui::BeginChild("Properties");
    DrawProperties(*pTarget);
    ImGui::EndChild();
    ImGui::End();

    DrawLog(cSession, nFrameWidth, nFrameHeight);
    DrawViewPopup(cSession);
    // Sliders and color pickers record one undo step per drag: the drag ends when no widget is held.
    if (!ImGui::IsAnyItemActive())
        cSession.App().EndContinuousRun();
}

bool ViewerPanels::DrawMenuItems(const std::vector<QelPopupMenu::SItem>& vItems, unsigned int& nChosen)
{
    bool bChosen = false;
    for (const QelPopupMenu::SItem& cItem : vItems)
    {
        ImGui::PushID(&cItem);
        if (cItem.m_bSeparator)
            ImGui::Separator();
        else if (!cItem.m_vSubItems.empty())
        {
            if (ImGui::BeginMenu(cItem.m_strLabel.c_str(), cItem.m_bEnabled))
            {
                bChosen |= DrawMenuItems(cItem.m_vSubItems, nChosen);
                ImGui::EndMenu();
            }
        }
        else if (ImGui::MenuItem(cItem.m_strLabel.c_str(), nullptr, cItem.m_bChecked, cItem.m_bEnabled))
        {
            nChosen = cItem.m_nCommand;
            bChosen = true;
        }
        ImGui::PopID();
    }
    return bChosen;
}

void ViewerPanels::DrawViewPopup(ViewerSession& cSession)
{
    QelPopupMenu cAsked = cSession.View().TakePopupMenu();
    if (cAsked.GetOwner())
    {
        m_cViewPopup = cAsked;
        ImGui::OpenPopup("ViewPopup");
    }
    if (!ImGui::BeginPopup("ViewPopup"))
        return;
    // The owner may have gone since the click (deleted, or the scene replaced).
    auto* pOwner = dynamic_cast<QelDisplayObject*>(m_cViewPopup.GetOwner());
    std::vector<QelDisplayObject*>& vObjects = cSession.Scene().Objects();
    if (!pOwner || std::find(vObjects.begin(), vObjects.end(), pOwner) == vObjects.end())
    {
        ImGui::CloseCurrentPopup();
        ImGui::EndPopup();
        return;
    }
    ImGui::TextDisabled("%s", pOwner->GetName().c_str());
    ImGui::Separator();
    unsigned int nChosen = 0;
    if (m_cViewPopup.GetItems().empty())
        ImGui::TextDisabled("(no commands)");
    else if (DrawMenuItems(m_cViewPopup.GetItems(), nChosen))
    {
        m_cViewPopup.Choose(nChosen);
        cSession.View().Redraw();
    }
    ImGui::EndPopup();
}

void ViewerPanels::DrawMenu(ViewerSession& cSession, bool& bQuit)
{
    if (!ImGui::BeginMainMenuBar())
        return;
    ViewerApp& cApp = cSession.App();
    if (ImGui::BeginMenu("File"))
    {
        if (ImGui::MenuItem("New"))
            cSession.NewScene();
        if (ImGui::MenuItem("Open..."))
            m_bOpenDialogJustOpened = true;
        if (ImGui::MenuItem("Open path..."))
            m_ePrompt = ePromptOpen, m_bPromptJustOpened = true;
        if (ImGui::MenuItem("Save", nullptr, false, !cSession.GetCurrentFile().empty()))
            cSession.SaveScene(cSession.GetCurrentFile());
        if (ImGui::MenuItem("Save as..."))
            m_ePrompt = ePromptSaveAs, m_bPromptJustOpened = true;
        if (ImGui::MenuItem("Screenshot..."))
            m_ePrompt = ePromptScreenshot, m_bPromptJustOpened = true;
        ImGui::Separator();
        if (ImGui::MenuItem("Quit"))
            bQuit = true;
        ImGui::EndMenu();
    }
    if (ImGui::BeginMenu("Edit"))
    {
        std::string strUndo = "Undo " + cApp.NextUndo(), strRedo = "Redo " + cApp.NextRedo();
        if (ImGui::MenuItem(strUndo.c_str(), nullptr, false, cApp.CanUndo()))
            cApp.Undo();
        if (ImGui::MenuItem(strRedo.c_str(), nullptr, false, cApp.CanRedo()))
            cApp.Redo();
        ImGui::EndMenu();
    }
    if (ImGui::BeginMenu("Add"))
    {
        for (const std::string& strKind : ViewerTypes::AddableKinds())
        {
            std::string strLabel = strKind;
            strLabel[0] = char(std::toupper(static_cast<unsigned char>(strLabel[0])));
            if (ImGui::MenuItem(strLabel.c_str()))
                cSession.Add(strKind, "");
        }
        ImGui::EndMenu();
    }
    if (ImGui::BeginMenu("View"))
    {
        for (int i = 0; i < ViewerView::kPresetCount; ++i)
        {
            std::string strShortcut = std::to_string(i + 1);
            QelCamera::EViewPreset ePreset;
            if (ImGui::MenuItem(ViewerView::PresetName(i), strShortcut.c_str()) &&
                ViewerView::PresetFromName(ViewerView::PresetName(i), ePreset))
                cSession.View().SetPreset(ePreset);
        }
        ImGui::Separator();
        if (ImGui::MenuItem("Zoom extents"))
            cSession.View().Zoom(eZoomExtents);
        if (ImGui::MenuItem("Zoom to selection"))
            cSession.View().Zoom(eZoomSelectedExtents);
        ImGui::EndMenu();
    }
    ImGui::EndMainMenuBar();
}

void ViewerPanels::DrawFilePrompt(ViewerSession& cSession)
{
    static const char* const kTitles[] = {"", "Open file", "Save scene as", "Save screenshot"};
    if (m_ePrompt == ePromptNone)
        return;
    if (m_bPromptJustOpened)
    {
        ImGui::OpenPopup(kTitles[m_ePrompt]);
        m_bPromptJustOpened = false;
    }
    if (!ImGui::BeginPopupModal(kTitles[m_ePrompt], nullptr, ImGuiWindowFlags_AlwaysAutoResize))
    {
        m_ePrompt = ePromptNone;
        return;
    }
    if (m_ePrompt != ePromptScreenshot)
        ImGui::TextUnformatted(kSceneFilter);
    bool bGo = ImGui::InputText("Path", &m_strPromptPath, ImGuiInputTextFlags_EnterReturnsTrue);
    bGo |= ImGui::Button("OK");
    ImGui::SameLine();
    bool bCancel = ImGui::Button("Cancel");
    if (bGo && !m_strPromptPath.empty())
    {
        if (m_ePrompt == ePromptOpen)
            cSession.OpenFile(m_strPromptPath);
        else if (m_ePrompt == ePromptSaveAs)
            cSession.SaveScene(m_strPromptPath);
        else
            cSession.Screenshot(m_strPromptPath);
    }
    if (bGo || bCancel)
    {
        m_ePrompt = ePromptNone;
        ImGui::CloseCurrentPopup();
    }
    ImGui::EndPopup();
}

void ViewerPanels::DrawOpenDialog(ViewerSession& cSession)
{
    namespace fs = std::filesystem;
    const char* const kTitle = "Open files";
    if (m_bOpenDialogJustOpened)
    {
        m_bOpenDialogJustOpened = false;
        // Scene documents first, then the model types the library's registry knows now.
        m_vFilters = ViewerFileFilter::Parse(kSceneFilterString + QelModel::GetFilenameFilters());
        m_nFilter = std::min(m_nFilter, m_vFilters.empty() ? 0 : int(m_vFilters.size()) - 1);
        if (m_strFolder.empty())
        {
            std::error_code cError;
            m_strFolder = fs::current_path(cError).string();
        }
        m_vChosen.clear();
        ImGui::OpenPopup(kTitle);
    }
    ImGui::SetNextWindowSize(ImVec2(560.0f, 420.0f), ImGuiCond_Appearing);
    if (!ImGui::BeginPopupModal(kTitle))
        return;
    ImGui::InputText("Folder", &m_strFolder);
    if (!m_vFilters.empty() &&
        ImGui::BeginCombo("Type", m_vFilters[size_t(m_nFilter)].m_strLabel.c_str()))
    {
        for (size_t i = 0; i < m_vFilters.size(); ++i)
            if (ImGui::Selectable(m_vFilters[i].m_strLabel.c_str(), int(i) == m_nFilter))
                m_nFilter = int(i);
        ImGui::EndCombo();
    }

    // Folders, then the files the chosen type shows; a click chooses one file, Ctrl adds more.
    std::vector<fs::path> vFolders, vFiles;
    std::error_code cError;
    for (fs::directory_iterator it(m_strFolder, cError), end; !cError && it != end; it.increment(cError))
    {
        std::error_code cTypeError;
        if (it->is_directory(cTypeError))
            vFolders.push_back(it->path());
        else if (m_vFilters.empty() ||
                 ViewerFileFilter::Matches(m_vFilters[size_t(m_nFilter)], it->path().filename().string()))
            vFiles.push_back(it->path());
    }
    std::sort(vFolders.begin(), vFolders.end());
    std::sort(vFiles.begin(), vFiles.end());
    bool bOpen = false;
    ImGui::BeginChild("Files", ImVec2(0.0f, -ImGui::GetFrameHeightWithSpacing() * 2.0f), true);
    if (ImGui::Selectable("../", false, ImGuiSelectableFlags_AllowDoubleClick) && ImGui::IsMouseDoubleClicked(0))
        m_strFolder = fs::path(m_strFolder).parent_path().string(), m_vChosen.clear();
    for (const fs::path& cFolder : vFolders)
        if (ImGui::Selectable((cFolder.filename().string() + "/").c_str(), false,
                              ImGuiSelectableFlags_AllowDoubleClick) &&
            ImGui::IsMouseDoubleClicked(0))
            m_strFolder = cFolder.string(), m_vChosen.clear();
    for (const fs::path& cFile : vFiles)
    {
        std::string strFile = cFile.string();
        auto it = std::find(m_vChosen.begin(), m_vChosen.end(), strFile);
        bool bChosen = it != m_vChosen.end();
        if (!ImGui::Selectable(cFile.filename().string().c_str(), bChosen, ImGuiSelectableFlags_AllowDoubleClick))
            continue;
        if (ImGui::GetIO().KeyCtrl)
        {
            if (bChosen)
                m_vChosen.erase(it);
            else
                m_vChosen.push_back(strFile);
        }
        else
            m_vChosen.assign(1, strFile);
        bOpen |= ImGui::IsMouseDoubleClicked(0);
    }
    if (cError)
        ImGui::TextColored(kErrorColor, "%s", cError.message().c_str());
    ImGui::EndChild();
    ImGui::Text("%d chosen", int(m_vChosen.size()));
    bOpen |= ImGui::Button("Open") && !m_vChosen.empty();
    ImGui::SameLine();
    bool bCancel = ImGui::Button("Cancel");
    if (bOpen)
        for (const std::string& strFile : m_vChosen)
            cSession.OpenFile(strFile); // each failure is in the log; the others still open
    if (bOpen || bCancel)
        ImGui::CloseCurrentPopup();
    ImGui::EndPopup();
}

void ViewerPanels::DrawScenePanel(ViewerSession& cSession, int nHeight)
{
    ImGui::BeginChild("Objects", ImVec2(0.0f, float(std::max(nHeight, 60))), true);
    if (ImGui::Selectable("View", cSession.Scene().GetSelection() == nullptr))
        cSession.Scene().ClearSelection();
    QelDisplayObject* pDelete = nullptr;
    for (QelDisplayObject* pObject : cSession.Scene().Objects())
    {
        ImGui::PushID(pObject);
        if (ImGui::Selectable(pObject->GetName().c_str(), pObject->IsSelected()))
            cSession.Scene().Select(pObject, ImGui::GetIO().KeyCtrl);
        // The right-click menu: the object's own menu, then Delete.
        if (ImGui::BeginPopupContextItem())
        {
            QelPopupMenu cMenu = QelPopupMenu::Build(*pObject);
            unsigned int nChosen = 0;
            if (DrawMenuItems(cMenu.GetItems(), nChosen))
            {
                cMenu.Choose(nChosen);
                cSession.View().Redraw();
            }
            ImGui::Separator();
            if (ImGui::MenuItem("Delete"))
                pDelete = pObject;
            ImGui::EndPopup();
        }
        ImGui::PopID();
    }
    ImGui::EndChild();
    if (pDelete)
    {
        // Undo entries of a deleted object can no longer be replayed.
        cSession.App().ClearUndo();
        cSession.Scene().Remove(pDelete);
        cSession.View().Redraw();
    }
}

void ViewerPanels::DrawProperties(QelPropertyContainer& cContainer)
{
    ViewerEdit::SGroup cRoot = ViewerEdit::GroupProperties(cContainer);
    DrawGroup(cContainer, cRoot, 0);
}

void ViewerPanels::DrawGroup(QelPropertyContainer& cContainer, const ViewerEdit::SGroup& cGroup, int nDepth)
{
    for (QelProperty* pProperty : cGroup.m_vProperties)
        DrawProperty(cContainer, *pProperty);
    // Top-level groups start open, the ones inside them closed, so a long list stays short.
    for (const ViewerEdit::SGroup& cChild : cGroup.m_vGroups)
        if (ImGui::TreeNodeEx(cChild.m_strName.c_str(), nDepth == 0 ? ImGuiTreeNodeFlags_DefaultOpen : 0))
        {
            DrawGroup(cContainer, cChild, nDepth + 1);
            ImGui::TreePop();
        }
}

void ViewerPanels::DrawProperty(QelPropertyContainer& cContainer, QelProperty& cProperty)
{
    ImGui::PushID(&cProperty);
    SPropertyUi& cUi = m_mapUi[QelGuidToString(cContainer.GetGuid()) + "/" + cProperty.GetName()];
    // The field follows the property (an undo may change it) except while the user types in it.
    if (!cUi.m_bEditing)
        cProperty.GetExpression(cUi.m_strExpression);
    // The small arrow opens the expression and history row of this property.
    if (ImGui::ArrowButton("more", cUi.m_bOpen || cProperty.HasExpression() ? ImGuiDir_Down : ImGuiDir_Right))
        cUi.m_bOpen = !cUi.m_bOpen;
    ImGui::SameLine();
    DrawEditor(cContainer, cProperty, ViewerEdit::LeafName(cProperty.GetName()));
    if (ImGui::IsItemHovered())
    {
        std::string strDescription = cContainer.GetPropertyDescription(&cProperty);
        if (!strDescription.empty())
            ImGui::SetTooltip("%s", strDescription.c_str());
    }
    if (cUi.m_bOpen || cProperty.HasExpression() || !cUi.m_strError.empty())
        DrawExtras(cProperty, cUi);
    ImGui::PopID();
}

void ViewerPanels::DrawEditor(QelPropertyContainer& cContainer, QelProperty& cProperty, const std::string& strLabel)
{
    const char* pLabel = strLabel.c_str();
    switch (ViewerEdit::EditorFor(cContainer, cProperty))
    {
    case ViewerEdit::eEditorCheckbox:
    {
        bool b = cProperty.GetAsBool();
        if (ImGui::Checkbox(pLabel, &b))
            ViewerEdit::SetBool(cProperty, b);
        break;
    }
    case ViewerEdit::eEditorInteger:
    {
        int n = cProperty.GetAsInt();
        if (ImGui::InputInt(pLabel, &n))
            ViewerEdit::SetInt(cProperty, n);
        break;
    }
    case ViewerEdit::eEditorReal:
    {
        double dMin = 0.0, dMax = 0.0;
        bool bClamped = cProperty.GetClamp(dMin, dMax) == QelProperty::eClampBoth && dMax > dMin;
        double d = cProperty.GetAsDouble();
        float fSpeed = bClamped ? float((dMax - dMin) / 500.0) : 0.01f;
        if (ImGui::DragScalar(pLabel, ImGuiDataType_Double, &d, std::max(fSpeed, 1e-4f), bClamped ? &dMin : nullptr,
                              bClamped ? &dMax : nullptr, "%.4g"))
            ViewerEdit::SetReal(cProperty, d, true);
        break;
    }
    case ViewerEdit::eEditorEnumeration:
    {
        std::vector<std::string> vNames;
        std::vector<int> vValues;
        cProperty.GetEnumerationNames(vNames, vValues);
        int nValue = cProperty.GetAsInt();
        std::string strCurrent = std::to_string(nValue);
        for (size_t i = 0; i < vNames.size(); ++i)
            if ((i < vValues.size() ? vValues[i] : int(i)) == nValue)
                strCurrent = vNames[i];
        if (ImGui::BeginCombo(pLabel, strCurrent.c_str()))
        {
            for (size_t i = 0; i < vNames.size(); ++i)
            {
                int nItem = i < vValues.size() ? vValues[i] : int(i);
                if (ImGui::Selectable(vNames[i].c_str(), nItem == nValue))
                    ViewerEdit::SetInt(cProperty, nItem);
            }
            ImGui::EndCombo();
        }
        break;
    }
    case ViewerEdit::eEditorColor:
        ColorEditor(pLabel, cProperty);
        break;
    case ViewerEdit::eEditorInterpColor:
    {
        auto& cInterp = static_cast<QelInterpColorProperty&>(cProperty);
        ImGui::ColorButton("##result", Unpack(cInterp.GetAsColor()));
        ImGui::SameLine();
        if (ImGui::TreeNode(pLabel))
        {
            if (QelProperty* pLow = cInterp.GetLowColorProperty())
                ColorEditor("Low color", *pLow);
            if (QelProperty* pHigh = cInterp.GetHighColorProperty())
                ColorEditor("High color", *pHigh);
            if (QelProperty* pValue = cInterp.GetValueProperty())
                DrawEditor(cContainer, *pValue, "Interpolation");
            ImGui::TreePop();
        }
        break;
    }
    case ViewerEdit::eEditorText:
    case ViewerEdit::eEditorFile:
    case ViewerEdit::eEditorFolder:
    {
        std::string strText = cProperty.GetAsString();
        if (ImGui::InputText(pLabel, &strText, ImGuiInputTextFlags_EnterReturnsTrue))
            ViewerEdit::SetText(cProperty, strText);
        if (ImGui::IsItemHovered() && ViewerEdit::EditorFor(cContainer, cProperty) == ViewerEdit::eEditorFile)
        {
            std::string strFilter = cContainer.GetPropertyFilenameFilter(&cProperty);
            if (!strFilter.empty())
                ImGui::SetTooltip("%s", strFilter.c_str());
        }
        break;
    }
    case ViewerEdit::eEditorButton:
        if (ImGui::Button(pLabel))
            ViewerEdit::PressButton(cProperty);
        break;
    default:
        ImGui::TextDisabled("%s: (object)", pLabel);
        break;
    }
}

void ViewerPanels::DrawExtras(QelProperty& cProperty, SPropertyUi& cUi)
{
    ImGui::Indent();
    if (ImGui::InputText("= expression", &cUi.m_strExpression, ImGuiInputTextFlags_EnterReturnsTrue))
        cUi.m_strError = ViewerEdit::SetExpression(cProperty, cUi.m_strExpression);
    cUi.m_bEditing = ImGui::IsItemActive();
    if (!cUi.m_strError.empty())
    {
        ImGui::PushStyleColor(ImGuiCol_Text, kErrorColor);
        ImGui::TextWrapped("%s", cUi.m_strError.c_str());
        ImGui::PopStyleColor();
    }
    const std::vector<QelVariant>* pHistory = cProperty.History().GetRaw();
    if (pHistory && !pHistory->empty())
    {
        std::vector<float> vValues;
        vValues.reserve(pHistory->size());
        for (const QelVariant& cValue : *pHistory)
            vValues.push_back(float(cValue));
        std::string strOverlay = std::to_string(vValues.size()) + " values";
        ImGui::PlotLines("history", vValues.data(), int(vValues.size()), 0, strOverlay.c_str(), FLT_MAX, FLT_MAX,
                         ImVec2(0.0f, 50.0f));
    }
    ImGui::Unindent();
}

void ViewerPanels::DrawLog(ViewerSession& cSession, int nFrameWidth, int nFrameHeight)
{
    int x = 0, y = 0, nWidth = 0, nHeight = 0;
    ViewerLayout::ViewRect(nFrameWidth, nFrameHeight, x, y, nWidth, nHeight);
    ImGui::SetNextWindowPos(ImVec2(float(x), float(nFrameHeight - y)));
    ImGui::SetNextWindowSize(ImVec2(float(std::max(nFrameWidth - x, 1)), float(std::max(y, 1))));
    ImGui::Begin("Log", nullptr, ImGuiWindowFlags_NoMove | ImGuiWindowFlags_NoResize | ImGuiWindowFlags_NoCollapse);
    const auto& vLog = cSession.App().Log();
    if (ImGui::SmallButton("Clear"))
        cSession.App().ClearLog();
    ImGui::BeginChild("Lines");
    for (const ViewerApp::SLogLine& cLine : vLog)
    {
        if (cLine.m_eLevel == ViewerApp::eLevelError)
            ImGui::TextColored(kErrorColor, "%s", cLine.m_strText.c_str());
        else if (cLine.m_eLevel == ViewerApp::eLevelWarning)
            ImGui::TextColored(kWarningColor, "%s", cLine.m_strText.c_str());
        else
            ImGui::TextUnformatted(cLine.m_strText.c_str());
    }
    if (vLog.size() != m_nLogLinesSeen)
    {
        ImGui::SetScrollHereY(1.0f);
        m_nLogLinesSeen = vLog.size();
    }
    ImGui::EndChild();
    ImGui::End();
}
