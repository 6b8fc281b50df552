#include "ViewerDocument.h"

#include "ViewerApp.h"
#include "ViewerPropertyValues.h"
#include "ViewerScene.h"
#include "ViewerTypes.h"
#include "ViewerView.h"

#include "qel/display/QelDisplayObject.h"
#include "qel/models/QelModel.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelVariant.h"
#include "qel/xml/QelMasterXMLInterface.h"

#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

const int ViewerDocument::kVersion = 1;
const char* const ViewerDocument::kRootName = "QelViewerScene";

namespace
{
/// A property as the document holds it.
struct SSavedProperty
{
    std::string m_strName;
    int m_nType = 0;
    std::string m_strValue;
    bool m_bHasExpression = false;
    std::string m_strExpression;
};

/// A property of the new scene with the value it will get once the whole document checked out.
struct SStagedProperty
{
    QelProperty* m_pProperty;
    QelVariant m_cValue;
    bool m_bHasExpression;
    std::string m_strExpression;
};

/// The reason a document is refused; empty while it is fine.
struct SCheck
{
    std::string m_strWhy;
    bool Fail(const std::string& strWhy)
    {
        if (m_strWhy.empty())
            m_strWhy = strWhy;
        return false;
    }
};

/// bDocument: for a scene document, which takes what the object does not save itself, and the
/// expressions of what it does (a model saves its material colors but not their expressions); an
/// undo state takes every value a person can edit.
bool IsSaved(QelPropertyContainer& cContainer, QelProperty& cProperty, bool bDocument)
{
    // Group and interpolated-color parents are left to their children, which carry the values.
    return (cProperty.WillAutoSave() || !bDocument || cProperty.HasExpression()) && !cProperty.IsMultiProperty() && !cProperty.IsInterpColorProperty() &&
           ViewerValues::IsTextType(cProperty.GetDataType()) && !cContainer.IsPropertyButton(&cProperty) &&
           cProperty.GetName().rfind("Reserved:", 0) != 0;
}

/// A model writes its file name itself, relative to the document, so that a folder of a scene and
/// its models can move; the absolute name as a property would undo that on opening.
bool IsModelFile(QelPropertyContainer& cContainer, QelProperty& cProperty)
{
    return dynamic_cast<QelModel*>(&cContainer) && cProperty.GetDataType() == eDataFilename &&
           cProperty.GetName() == "Filename";
}

void WriteProperties(QelXMLInterface& cXml, QelPropertyContainer& cContainer, bool bDocument)
{
    std::vector<QelProperty*> vProperties;
    cContainer.GetProperties(vProperties, false);
    for (QelProperty* pProperty : vProperties)
    {
        if (!IsSaved(cContainer, *pProperty, bDocument) || (bDocument && IsModelFile(cContainer, *pProperty)))
            continue;
        cXml.AddAndMoveToChildNode("Property");
        cXml.WriteStringAttribute("name", pProperty->GetName());
        cXml.WriteIntAttribute("type", int(pProperty->GetDataType()));
        cXml.WriteStringAttribute("value", ViewerValues::Format(*pProperty));
        if (pProperty->HasExpression())
        {
            std::string strExpression;
            pProperty->GetExpression(strExpression);
            cXml.WriteStringAttribute("expression", strExpression);
        }
        cXml.MoveToParent();
    }
}

/// Reads the "Property" children of the current node; other children are left for the object.
bool ReadProperties(QelXMLInterface& cXml, std::vector<SSavedProperty>& vOut, SCheck& cCheck)
{
    if (!cXml.MoveToFirstChildNode())
        return true;
    bool bOk = true;
    do
    {
        if (cXml.GetNodeName() != "Property")
            continue;
        SSavedProperty cSaved;
        cSaved.m_strName = cXml.ReadStringAttribute("name", "");
        cSaved.m_nType = cXml.ReadIntAttribute("type", -1);
        const char* const kMissing = "\x01";
        cSaved.m_strValue = cXml.ReadStringAttribute("value", kMissing);
        cSaved.m_strExpression = cXml.ReadStringAttribute("expression", kMissing);
        cSaved.m_bHasExpression = cSaved.m_strExpression != kMissing;
        if (cSaved.m_strName.empty() || cSaved.m_strValue == kMissing)
        {
            bOk = cCheck.Fail("a property on line " + std::to_string(cXml.GetLineNumber()) +
                              " lacks its name or value");
            break;
        }
        vOut.push_back(std::move(cSaved));
    } while (cXml.MoveToNextSibling());
    cXml.MoveToParent();
    return bOk;
}

/// Parses every saved value for its property. Properties the object does not have, or has with
/// another type, are skipped with a warning (an older or newer kind of object); a value that does
/// not parse means the document is damaged.
bool Stage(QelPropertyContainer& cContainer, const std::vector<SSavedProperty>& vSaved,
           std::vector<SStagedProperty>& vOut, SCheck& cCheck)
{
    for (const SSavedProperty& cSaved : vSaved)
    {
        QelProperty* pProperty = cContainer.GetProperty(cSaved.m_strName);
        if (!pProperty || int(pProperty->GetDataType()) != cSaved.m_nType)
        {
            QelSysApp::App().PrintToConsole("<warning> %s has no property %s of type %d; its saved value is skipped\n",
                                            cContainer.GetName().c_str(), cSaved.m_strName.c_str(), cSaved.m_nType);
            continue;
        }
        SStagedProperty cStaged{pProperty, QelVariant(), cSaved.m_bHasExpression, cSaved.m_strExpression};
        std::string strWhy;
        if (!ViewerValues::Parse(*pProperty, cSaved.m_strValue, cStaged.m_cValue, strWhy))
            return cCheck.Fail("the value \"" + cSaved.m_strValue + "\" of " + pProperty->GetFullName() + " is " +
                               strWhy);
        vOut.push_back(std::move(cStaged));
    }
    return true;
}

void Commit(std::vector<SStagedProperty>& vStaged, bool bClearOtherExpressions)
{
    for (SStagedProperty& cStaged : vStaged)
    {
        QelProperty& cProperty = *cStaged.m_pProperty;
        if (cStaged.m_bHasExpression)
            cProperty.SetExpression(cStaged.m_strExpression);
        else if (bClearOtherExpressions && cProperty.HasExpression())
            cProperty.SetExpression("");
        // A value computed by an expression is the expression's; storing it would only be overwritten.
        if (!cProperty.HasExpression())
            ViewerValues::Store(cProperty, cStaged.m_cValue);
    }
}

/// An object read from the document, made but not yet in any scene.
struct SLoadedObject
{
    QelDisplayObject* m_pObject = nullptr;
    std::vector<SStagedProperty> m_vStaged;
};

/// A model loads its file as it is read. A missing file only leaves the model empty, but a device,
/// a pipe or a folder could block or flood the loader, so a document naming one is refused.
bool CheckModelFile(QelXMLInterface& cXml, SCheck& cCheck)
{
    std::string strFile = cXml.ReadString("Filename", "");
    if (strFile.empty())
        return true;
    std::string strAbsolute = QelSysApp::App().ConvertPathToAbsolute(strFile);
    std::error_code cError;
    std::filesystem::file_status cStatus = std::filesystem::status(strAbsolute.empty() ? strFile : strAbsolute, cError);
    if (!std::filesystem::exists(cStatus) || std::filesystem::is_regular_file(cStatus))
        return true;
    return cCheck.Fail("its model file " + strFile + " is not a regular file");
}

/// Makes the object the current "Object" node describes and stages its properties.
bool ReadObject(QelMasterXMLInterface& cXml, ViewerScene& cInto, std::vector<SLoadedObject>& vOut, SCheck& cCheck)
{
    std::string strType = cXml.ReadStringAttribute("type", "");
    std::string strName = cXml.ReadStringAttribute("name", "");
    GUID guid{};
    bool bGuid = QelGuidFromString(cXml.ReadStringAttribute("guid", ""), guid);
    if (strType.empty())
        return cCheck.Fail("an object on line " + std::to_string(cXml.GetLineNumber()) + " has no type");
    QelPlugin* pPlugin = QelSysApp::App().InstantiateNewPlugin(strType, bGuid ? &guid : nullptr);
    auto* pObject = dynamic_cast<QelDisplayObject*>(pPlugin);
    if (!pObject)
    {
        delete pPlugin;
        return cCheck.Fail("it holds an object of type \"" + strType + "\", which this viewer cannot make");
    }
    if (dynamic_cast<QelModel*>(pObject) && !CheckModelFile(cXml, cCheck))
    {
        delete pObject;
        return false;
    }
    // In the scene at once, so that whatever happens next it is freed with the scene.
    if (!strName.empty())
        pObject->SetName(strName);
    if (bGuid)
        pObject->SetGuid(guid);
    cInto.Add(pObject);
    pObject->Load(&cXml);

    std::vector<SSavedProperty> vSaved;
    SLoadedObject cLoaded;
    cLoaded.m_pObject = pObject;
    if (!ReadProperties(cXml, vSaved, cCheck) || !Stage(*pObject, vSaved, cLoaded.m_vStaged, cCheck))
        return false;
    vOut.push_back(std::move(cLoaded));
    return true;
}

bool ReadDocument(QelMasterXMLInterface& cXml, ViewerScene& cInto, std::vector<SLoadedObject>& vObjects,
                  ViewerView& cView, std::vector<SStagedProperty>& vViewStaged, SCheck& cCheck)
{
    if (cXml.GetRootNodeName() != ViewerDocument::kRootName)
        return cCheck.Fail("its root element is <" + cXml.GetRootNodeName() + ">, not <" +
                           ViewerDocument::kRootName + ">");
    const int kNoVersion = -1;
    int nVersion = cXml.ReadIntAttribute("version", kNoVersion);
    if (nVersion == kNoVersion || nVersion < 1)
        return cCheck.Fail("it has no valid version");
    if (nVersion > ViewerDocument::kVersion)
        return cCheck.Fail("it was written by a newer viewer (version " + std::to_string(nVersion) +
                           "; this one reads up to " + std::to_string(ViewerDocument::kVersion) + ")");
    if (!cXml.MoveToFirstChildNode())
        return true;
    bool bOk = true;
    do
    {
        std::string strNode = cXml.GetNodeName();
        if (strNode == "View")
        {
            std::vector<SSavedProperty> vSaved;
            bOk = ReadProperties(cXml, vSaved, cCheck) && Stage(cView, vSaved, vViewStaged, cCheck);
        }
        else if (strNode == "Object")
            bOk = ReadObject(cXml, cInto, vObjects, cCheck);
    } while (bOk && cXml.MoveToNextSibling());
    cXml.MoveToParent();
    return bOk;
}

bool OpenLoaded(QelMasterXMLInterface& cXml, const std::string& strLabel, ViewerScene& cScene, ViewerView& cView)
{
    ViewerScene cNew;
    std::vector<SLoadedObject> vObjects;
    std::vector<SStagedProperty> vViewStaged;
    SCheck cCheck;
    if (!ReadDocument(cXml, cNew, vObjects, cView, vViewStaged, cCheck))
    {
        QelSysApp::App().PrintToConsole("<error> Scene %s is refused: %s; the current scene is kept\n",
                                        strLabel.c_str(), cCheck.m_strWhy.c_str());
        return false;
    }
    auto* pApp = dynamic_cast<ViewerApp*>(&QelSysApp::App());
    if (pApp)
        pApp->SetLoading(true);
    for (SLoadedObject& cLoaded : vObjects)
        Commit(cLoaded.m_vStaged, false);
    Commit(vViewStaged, true);
    if (pApp)
    {
        pApp->SetLoading(false);
        pApp->ClearUndo();
    }
    cScene.Swap(cNew); // the old content goes with cNew
    cView.Redraw();
    return true;
}
} // namespace

namespace ViewerDocument
{
bool Save(const std::string& strPath, bool bCompress, ViewerScene& cScene, ViewerView& cView)
{
    auto* pApp = dynamic_cast<ViewerApp*>(&QelSysApp::App());
    if (pApp)
    {
        pApp->SetSaving(true);
        pApp->SetDocumentPath(strPath);
    }
    QelMasterXMLInterface cXml;
    cXml.NewData(kRootName, " qel-viewer scene ");
    cXml.WriteIntAttribute("version", kVersion);
    cXml.AddAndMoveToChildNode("View");
    WriteProperties(cXml, cView, true);
    cXml.MoveToParent();
    for (QelDisplayObject* pObject : cScene.Objects())
    {
        cXml.AddAndMoveToChildNode("Object");
        cXml.WriteStringAttribute("type", ViewerTypes::TypeName(*pObject));
        cXml.WriteStringAttribute("name", pObject->GetName());
        cXml.WriteStringAttribute("guid", QelGuidToString(pObject->GetGuid()));
        pObject->Save(&cXml);
        WriteProperties(cXml, *pObject, true);
        cXml.MoveToParent();
    }
    bool bOk = cXml.SaveDataToFile(strPath, bCompress);
    if (pApp)
    {
        pApp->SetSaving(false);
        pApp->SetDocumentPath("");
    }
    if (!bOk)
        QelSysApp::App().PrintToConsole("<error> Could not write scene %s\n", strPath.c_str());
    return bOk;
}

bool Open(const std::string& strPath, ViewerScene& cScene, ViewerView& cView)
{
    QelMasterXMLInterface cXml;
    if (!cXml.LoadDataFromFile(strPath))
    {
        QelSysApp::App().PrintToConsole("<error> Scene %s is refused: it cannot be read as XML; the current scene is "
                                        "kept\n", strPath.c_str());
        return false;
    }
    // File names in the document are relative to its folder while it is read.
    auto* pApp = dynamic_cast<ViewerApp*>(&QelSysApp::App());
    if (pApp)
        pApp->SetDocumentPath(strPath);
    bool bOk = OpenLoaded(cXml, strPath, cScene, cView);
    if (pApp)
        pApp->SetDocumentPath("");
    return bOk;
}

bool OpenFromString(const std::string& strText, const std::string& strLabel, ViewerScene& cScene, ViewerView& cView)
{
    QelMasterXMLInterface cXml;
    if (!cXml.LoadDataFromString(strText))
    {
        QelSysApp::App().PrintToConsole("<error> Scene %s is refused: it cannot be read as XML; the current scene is "
                                        "kept\n", strLabel.c_str());
        return false;
    }
    return OpenLoaded(cXml, strLabel, cScene, cView);
}

std::string SaveState(QelPropertyContainer& cContainer)
{
    QelMasterXMLInterface cXml;
    cXml.NewData("State", "");
    WriteProperties(cXml, cContainer, false);
    return cXml.SaveDataToString();
}

bool RestoreState(QelPropertyContainer& cContainer, const std::string& strState)
{
    QelMasterXMLInterface cXml;
    std::vector<SSavedProperty> vSaved;
    std::vector<SStagedProperty> vStaged;
    SCheck cCheck;
    if (!cXml.LoadDataFromString(strState) || !ReadProperties(cXml, vSaved, cCheck) ||
        !Stage(cContainer, vSaved, vStaged, cCheck))
        return false;
    Commit(vStaged, true);
    return true;
}

bool IsSceneFile(const std::string& strPath)
{
    auto fnEndsWith = [&strPath](const char* pSuffix) {
        std::string strSuffix(pSuffix);
        return strPath.size() >= strSuffix.size() &&
               strPath.compare(strPath.size() - strSuffix.size(), strSuffix.size(), strSuffix) == 0;
    };
    return fnEndsWith(".qvs") || fnEndsWith(".qvs.gz") || fnEndsWith(".xml");
}
} // namespace ViewerDocument
