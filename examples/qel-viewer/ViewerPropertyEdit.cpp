#include "ViewerPropertyEdit.h"

#include "ViewerPropertyValues.h"

#include "qel/framework/QelSysApp.h"
#include "qel/properties/QelInterpColorProperty.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"

#include <set>

namespace
{
/// Descends to the group named by each ':'-separated part but the last, creating groups in order.
ViewerEdit::SGroup& GroupFor(ViewerEdit::SGroup& cRoot, const std::string& strName)
{
    ViewerEdit::SGroup* pGroup = &cRoot;
    size_t nStart = 0;
    for (size_t nColon = strName.find(':'); nColon != std::string::npos; nColon = strName.find(':', nStart))
    {
        std::string strPart = strName.substr(nStart, nColon - nStart);
        nStart = nColon + 1;
        ViewerEdit::SGroup* pChild = nullptr;
        // The properties of one group mostly follow each other (a model's thousand materials), so
        // the newest group is tried before the search that the panel would repeat every frame.
        if (!pGroup->m_vGroups.empty() && pGroup->m_vGroups.back().m_strName == strPart)
            pChild = &pGroup->m_vGroups.back();
        for (size_t i = 0; !pChild && i < pGroup->m_vGroups.size(); ++i)
            if (pGroup->m_vGroups[i].m_strName == strPart)
                pChild = &pGroup->m_vGroups[i];
        if (!pChild)
        {
            pGroup->m_vGroups.push_back(ViewerEdit::SGroup{strPart, {}, {}});
            pChild = &pGroup->m_vGroups.back();
        }
        pGroup = pChild;
    }
    return *pGroup;
}

void RecordUndo(QelProperty& cProperty, bool bContinuous)
{
    if (QelPropertyContainer* pContainer = cProperty.GetContainer())
        QelSysApp::App().AddToUndoBuffer(pContainer, "Set " + cProperty.GetName(), bContinuous);
}
} // namespace

namespace ViewerEdit
{
SGroup GroupProperties(QelPropertyContainer& cContainer)
{
    std::vector<QelProperty*> vProperties;
    cContainer.GetProperties(vProperties, true);
    std::set<QelProperty*> setOwnedByEditor;
    for (QelProperty* pProperty : vProperties)
        if (pProperty->IsInterpColorProperty())
        {
            auto* pInterp = static_cast<QelInterpColorProperty*>(pProperty);
            setOwnedByEditor.insert({pInterp->GetLowColorProperty(), pInterp->GetHighColorProperty(),
                                     pInterp->GetValueProperty()});
        }

    SGroup cRoot;
    for (QelProperty* pProperty : vProperties)
    {
        const std::string strName = pProperty->GetName();
        if (setOwnedByEditor.count(pProperty) || pProperty->IsMultiProperty() || strName.rfind("Reserved:", 0) == 0)
            continue;
        GroupFor(cRoot, strName).m_vProperties.push_back(pProperty);
    }
    return cRoot;
}

std::string LeafName(const std::string& strName)
{
    size_t nColon = strName.rfind(':');
    return nColon == std::string::npos ? strName : strName.substr(nColon + 1);
}

EEditor EditorFor(QelPropertyContainer& cContainer, QelProperty& cProperty)
{
    if (cContainer.IsPropertyButton(&cProperty))
        return eEditorButton;
    switch (cProperty.GetDataType())
    {
    case eDataBoolean:
        return eEditorCheckbox;
    case eDataInteger:
        return cProperty.IsEnumerated() ? eEditorEnumeration : eEditorInteger;
    case eDataReal:
        return eEditorReal;
    case eDataColor:
        return eEditorColor;
    case eDataInterpColor:
        return cProperty.IsInterpColorProperty() ? eEditorInterpColor : eEditorColor;
    case eDataString:
        return eEditorText;
    case eDataFilename:
        return eEditorFile;
    case eDataFolder:
        return eEditorFolder;
    default:
        return eEditorReadOnly;
    }
}

bool SetBool(QelProperty& cProperty, bool bValue)
{
    RecordUndo(cProperty, false);
    return cProperty.SetAsBool(bValue);
}

bool SetInt(QelProperty& cProperty, int nValue, bool bContinuous)
{
    RecordUndo(cProperty, bContinuous);
    cProperty.SetAsInt(nValue);
    return cProperty.AppendHistory(QelVariant(cProperty.GetAsInt()));
}

bool SetReal(QelProperty& cProperty, double dValue, bool bContinuous)
{
    RecordUndo(cProperty, bContinuous);
    cProperty.SetAsDouble(dValue);
    return cProperty.AppendHistory(QelVariant(cProperty.GetAsDouble()));
}

bool SetColor(QelProperty& cProperty, QelPackedColor nColor, bool bContinuous)
{
    RecordUndo(cProperty, bContinuous);
    return cProperty.SetAsColor(nColor);
}

bool SetText(QelProperty& cProperty, const std::string& strValue)
{
    RecordUndo(cProperty, false);
    return cProperty.SetAsString(strValue);
}

bool SetFromText(QelProperty& cProperty, const std::string& strText)
{
    // Parsed first, so that a refusal leaves no undo entry behind.
    QelVariant cValue;
    std::string strWhy;
    if (!ViewerValues::Parse(cProperty, strText, cValue, strWhy))
    {
        QelSysApp::App().PrintToConsole("<warning> %s: \"%s\" refused: %s\n", cProperty.GetFullName().c_str(),
                                        strText.c_str(), strWhy.c_str());
        return false;
    }
    RecordUndo(cProperty, false);
    ViewerValues::Store(cProperty, cValue);
    if (cProperty.GetDataType() == eDataInteger || cProperty.GetDataType() == eDataReal)
        cProperty.AppendHistory(cProperty.GetAsVariant());
    return true;
}

bool PressButton(QelProperty& cProperty)
{
    RecordUndo(cProperty, false);
    return cProperty.PressButton();
}

std::string SetExpression(QelProperty& cProperty, const std::string& strText)
{
    RecordUndo(cProperty, false);
    return cProperty.SetExpression(strText);
}

QelProperty* Find(QelPropertyContainer& cContainer, const std::string& strName)
{
    return cContainer.GetProperty(strName);
}
} // namespace ViewerEdit
