#include "qel/framework/QelPlugin.h"

#include "qel/xml/QelXMLInterface.h"

QelPlugin::QelPlugin() = default;

QelPlugin::QelPlugin(const QelPluginAttributes& cAttributes) : m_cAttributes(cAttributes) {}

QelPlugin::~QelPlugin() = default;

std::string QelPlugin::GetIconDescription()
{
    if (!m_cAttributes.m_strInfo.empty())
        return m_cAttributes.m_strInfo;
    if (!m_cAttributes.m_strType.empty())
        return m_cAttributes.m_strType;
    return GetName();
}

std::string QelPlugin::GetHelpFilename()
{
    return std::string();
}

bool QelPlugin::Advance()
{
    return false;
}

bool QelPlugin::Load(QelXMLInterface* pXML)
{
    return QelSandboxIcon::Load(pXML);
}

bool QelPlugin::Save(QelXMLInterface* pXML)
{
    if (!pXML)
        return false;
    bool bOk = pXML->WriteFloat("XPos", GetIconPosition().x);
    bOk = pXML->WriteFloat("YPos", GetIconPosition().y) && bOk;
    return bOk;
}

bool QelPlugin::OpenDataFile(const std::string&)
{
    return false;
}

bool QelPlugin::TakeDefaultDataFileAction()
{
    return false;
}

void QelPlugin::GetSupportedFileExtensions(std::vector<SFileExtension>&) {}

const std::vector<QelDataType>& QelPlugin::GetSupportedConnectionTypes() const
{
    static const std::vector<QelDataType> kNone;
    return kNone;
}

bool QelPlugin::MakeDefaultConnections(const std::vector<QelProperty*>&)
{
    return false;
}
