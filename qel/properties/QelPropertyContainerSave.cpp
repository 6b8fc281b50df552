// Saving and loading of the properties a container marks for saving.

#include "qel/properties/QelPropertyContainer.h"

#include "qel/framework/QelSysApp.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelVariant.h"
#include "qel/xml/QelXMLInterface.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace
{
const char* const kPropertyElement = "Property";

bool HasOwnValue(QelDataType eType)
{
    switch (eType)
    {
    case eDataBoolean:
    case eDataInteger:
    case eDataReal:
    case eDataString:
    case eDataFilename:
    case eDataFolder:
    case eDataColor:
        return true;
    default:
        return false;
    }
}

std::string ValueText(QelProperty& cProperty)
{
    char aText[32];
    switch (cProperty.GetDataType())
    {
    case eDataBoolean:
        return cProperty.GetAsBool() ? "1" : "0";
    case eDataInteger:
        std::snprintf(aText, sizeof(aText), "%d", cProperty.GetAsInt());
        return aText;
    case eDataReal:
        // Nine significant digits tell every float apart.
        std::snprintf(aText, sizeof(aText), "%.9g", double(cProperty.GetAsFloat()));
        return aText;
    case eDataColor:
        std::snprintf(aText, sizeof(aText), "%u", unsigned(cProperty.GetAsColor()));
        return aText;
    default:
        return cProperty.GetAsString();
    }
}

/// Parses the whole text as a number of the property's type and sets it; false when the text is not one.
bool SetFromText(QelProperty& cProperty, const std::string& strText)
{
    const char* pBegin = strText.c_str();
    char* pEnd = nullptr;
    errno = 0;
    switch (cProperty.GetDataType())
    {
    case eDataBoolean:
        if (strText != "0" && strText != "1")
            return false;
        return cProperty.SetAsBool(strText == "1");
    case eDataInteger:
    {
        const long n = std::strtol(pBegin, &pEnd, 10);
        if (pEnd == pBegin || *pEnd || errno || n < -2147483647L - 1 || n > 2147483647L)
            return false;
        return cProperty.SetAsInt(int(n));
    }
    case eDataReal:
    {
        const float f = std::strtof(pBegin, &pEnd);
        if (pEnd == pBegin || *pEnd)
            return false;
        return cProperty.SetAsFloat(f);
    }
    case eDataColor:
    {
        const unsigned long n = std::strtoul(pBegin, &pEnd, 10);
        if (pEnd == pBegin || *pEnd || errno || n > 0xFFFFFFFFul || strText[0] == '-')
            return false;
        return cProperty.SetAsColor(n);
    }
    default:
        return cProperty.SetAsString(strText);
    }
}
} // namespace

bool QelPropertyContainer::SaveProperties(QelXMLInterface& cXml)
{
    if (!cXml.IsValid())
        return false;
    bool bOk = true;
    for (QelProperty* p : m_vecProperties)
    {
        if (!p->WillAutoSave() || p->IsMultiProperty() || !HasOwnValue(p->GetDataType()))
            continue;
        bOk = cXml.AddAndMoveToChildNode(kPropertyElement) && cXml.WriteStringAttribute("Name", p->GetName()) &&
              cXml.WriteIntAttribute("Type", int(p->GetDataType())) && cXml.WriteString("Value", ValueText(*p)) &&
              cXml.MoveToParent() && bOk;
    }
    return bOk;
}

bool QelPropertyContainer::LoadProperties(QelXMLInterface& cXml)
{
    if (!cXml.IsValid() || !cXml.PushPosition())
        return false;
    bool bOk = true;
    for (bool bMore = cXml.MoveToFirstChildNode(); bMore; bMore = cXml.MoveToNextSibling())
    {
        if (cXml.GetNodeName() != kPropertyElement)
            continue;
        const std::string strName = cXml.ReadStringAttribute("Name", "");
        const int nType = cXml.ReadIntAttribute("Type", eDataUninitialized);
        QelProperty* p = GetProperty(strName);
        if (!p || !p->WillAutoSave() || p->IsMultiProperty() || !HasOwnValue(p->GetDataType()))
        {
            QelSysApp::App().PrintToConsole("<warning> %s - No property [%s] is saved with this object; its saved "
                                            "value is skipped\n",
                                            GetName().c_str(), strName.c_str());
            bOk = false;
            continue;
        }
        if (nType != int(p->GetDataType()))
        {
            QelSysApp::App().PrintToConsole("<warning> %s - Property [%s] was saved as [%s] but is of type [%s]; its "
                                            "saved value is skipped\n",
                                            GetName().c_str(), strName.c_str(), QelVariant::GetDataTypeName(nType),
                                            QelVariant::GetDataTypeName(p->GetDataType()));
            bOk = false;
            continue;
        }
        const std::string strText = cXml.ReadString("Value", "");
        if (!SetFromText(*p, strText))
        {
            QelSysApp::App().PrintToConsole("<warning> %s - Saved value [%s] of property [%s] is no %s; it is "
                                            "skipped\n",
                                            GetName().c_str(), strText.substr(0, 64).c_str(), strName.c_str(),
                                            QelVariant::GetDataTypeName(p->GetDataType()));
            bOk = false;
        }
    }
    cXml.PopPosition();
    return bOk;
}
