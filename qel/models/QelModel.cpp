#include "qel/models/QelModel.h"

#include "qel/framework/QelSysApp.h"
#include "qel/models/QelModelFormat.h"
#include "qel/models/detail/QelModelDrawDef.h"
#include "qel/models/detail/QelModelMaterialPropertiesDef.h"
#include "qel/models/detail/QelModelPickDef.h"
#include "qel/properties/QelProperty.h"
#include "qel/xml/QelXMLInterface.h"

#include <algorithm>
#include <vector>

namespace
{
const char* const kFilename = "Filename";
}

QelModel::QelModel() : m_pMaterials(new QelModelMaterialPropertiesDef())
{
    m_pFilename = CreateProperty(kFilename, eDataFilename);
}

QelModel::~QelModel() = default;

std::string QelModel::GetFilename() const
{
    return m_pFilename ? m_pFilename->GetAsString() : std::string();
}

bool QelModel::LoadFile(const std::string& strFile)
{
    m_pMaterials->DropOrphans(*this);
    if (m_pFilename)
        m_pFilename->SetAsString(strFile);
    return LoadNamedFile(strFile);
}

bool QelModel::LoadNamedFile(const std::string& strFile)
{
    m_strLoaded = strFile;
    m_pDraw.reset();
    m_pPick.reset();
    m_cData.Clear();
    m_pMaterials->ClearPending();
    SetExtents(QelBox3());
    const bool bOk = ReadNamedFile(strFile);
    if (!bOk)
        m_cData.Clear();
    m_pMaterials->Build(*this, m_cData);
    SetExtents(m_cData.m_cBounds);
    return bOk;
}

bool QelModel::ReadNamedFile(const std::string& strFile)
{
    if (strFile.empty())
        return false;
    QelModelFormat* pFormat = QelModelFormat::GetFileHandlerForFilename(strFile);
    if (!pFormat)
    {
        QelSysApp::App().PrintToConsole("<error> QelModel - No loader found for file [%s]\n", strFile.c_str());
        return false;
    }
    return pFormat->Load(strFile, m_cData);
}

void QelModel::Draw()
{
    m_pMaterials->DropOrphans(*this);
    if (IsDirty())
    {
        SetDirtyBit(false);
        InvokeCalculate();
    }
    if (m_cData.Empty())
        return;
    if (!m_pDraw)
        m_pDraw.reset(new QelModelDrawDef(m_cData, m_strLoaded));
    m_pDraw->Draw();
}

QelPickMesh* QelModel::GetPickMesh()
{
    if (m_cData.Empty())
        return nullptr;
    if (!m_pPick)
        m_pPick.reset(new QelModelPickDef(m_cData));
    return &m_pPick->Mesh();
}

void QelModel::Calculate()
{
    QelDisplayObject::Calculate();
    std::string strFile = GetFilename();
    if (strFile != m_strLoaded)
        LoadNamedFile(strFile);
    std::vector<size_t> vChanged;
    m_pMaterials->Apply(m_cData, vChanged);
    if (m_pDraw)
        for (size_t n : vChanged)
            m_pDraw->UpdateMaterial(n, m_cData.m_vMaterials[n]);
}

bool QelModel::Save(QelXMLInterface* pXML)
{
    if (!pXML || !QelDisplayObject::Save(pXML))
        return false;
    std::string strFile = GetFilename();
    std::string strRelative = QelSysApp::App().ConvertPathToRelative(strFile);
    const bool bOk = pXML->WriteString(kFilename, strRelative.empty() ? strFile : strRelative);
    return m_pMaterials->Save(*pXML) && bOk;
}

bool QelModel::Load(QelXMLInterface* pXML)
{
    if (!pXML || !QelDisplayObject::Load(pXML))
        return false;
    std::string strFile = pXML->ReadString(kFilename, "");
    std::string strAbsolute = strFile.empty() ? strFile : QelSysApp::App().ConvertPathToAbsolute(strFile);
    LoadFile(strAbsolute.empty() ? strFile : strAbsolute);
    m_pMaterials->Load(*pXML, GetFilename());
    return true;
}

std::string QelModel::GetPropertyDescription(const QelProperty* pProperty)
{
    if (pProperty && pProperty == m_pFilename)
        return "Model file to display";
    std::string strMaterial = m_pMaterials->Description(pProperty);
    if (!strMaterial.empty())
        return strMaterial;
    return QelDisplayObject::GetPropertyDescription(pProperty);
}

std::string QelModel::GetPropertyFilenameFilter(QelProperty* pProperty)
{
    if (pProperty && pProperty == m_pFilename)
        return GetFilenameFilters();
    return QelDisplayObject::GetPropertyFilenameFilter(pProperty);
}

std::string QelModel::GetFilenameFilters()
{
    std::vector<QelModelFormat::SFileType> vTypes;
    QelModelFormat::GetSupportedFileTypes(vTypes);
    std::sort(vTypes.begin(), vTypes.end());
    std::string strFilter = "Common Model Formats|*.3ds;*.dae;*.dxf;*.obj|";
    for (const QelModelFormat::SFileType& t : vTypes)
        strFilter += t.m_strLabel + " (" + "*." + t.m_strExtension + ")|" + "*." + t.m_strExtension + "|";
    return strFilter + "All Files (*.*)|*.*|||";
}
