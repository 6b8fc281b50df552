#include "qel/models/QelModel.h"

#include "qel/framework/QelSysApp.h"
#include "qel/models/QelModelFormat.h"
#include "qel/models/detail/QelModelDrawDef.h"
#include "qel/models/detail/QelModelPickDef.h"
#include "qel/properties/QelProperty.h"
#include "qel/xml/QelXMLInterface.h"

#include <algorithm>
#include <vector>

namespace
{
const char* const kFilename = "Filename";
}

QelModel::QelModel()
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
    SetExtents(QelBox3());
    if (strFile.empty())
        return false;
    QelModelFormat* pFormat = QelModelFormat::GetFileHandlerForFilename(strFile);
    if (!pFormat)
    {
        QelSysApp::App().PrintToConsole("<error> QelModel - No loader found for file [%s]\n", strFile.c_str());
        return false;
    }
    if (!pFormat->Load(strFile, m_cData))
    {
        m_cData.Clear();
        return false;
    }
    SetExtents(m_cData.m_cBounds);
    return true;
}

void QelModel::Draw()
{
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
}

bool QelModel::Save(QelXMLInterface* pXML)
{
    if (!pXML || !QelDisplayObject::Save(pXML))
        return false;
    std::string strFile = GetFilename();
    std::string strRelative = QelSysApp::App().ConvertPathToRelative(strFile);
    return pXML->WriteString(kFilename, strRelative.empty() ? strFile : strRelative);
}

bool QelModel::Load(QelXMLInterface* pXML)
{
    if (!pXML || !QelDisplayObject::Load(pXML))
        return false;
    std::string strFile = pXML->ReadString(kFilename, "");
    std::string strAbsolute = strFile.empty() ? strFile : QelSysApp::App().ConvertPathToAbsolute(strFile);
    LoadFile(strAbsolute.empty() ? strFile : strAbsolute);
    return true;
}

std::string QelModel::GetPropertyDescription(const QelProperty* pProperty)
{
    if (pProperty && pProperty == m_pFilename)
        return "Model file to display";
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
