#include "qel/display/detail/QelPropertyHelpers.h"

#include "qel/math/QelVecColor.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "qel/xml/QelXMLInterface.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace QelDisplayDetail
{
QelProperty* AddFloat(QelPropertyContainer& c, const char* pName, float fValue, float fMin, float fMax)
{
    QelProperty* p = c.CreateProperty(pName, eDataReal);
    if (p)
    {
        p->SetClamp(double(fMin), double(fMax));
        p->SetAsFloat(fValue);
    }
    return p;
}

QelProperty* AddBool(QelPropertyContainer& c, const char* pName, bool bValue)
{
    QelProperty* p = c.CreateProperty(pName, eDataBoolean);
    if (p)
        p->SetAsBool(bValue);
    return p;
}

QelProperty* AddEnum(QelPropertyContainer& c, const char* pName, int nValue, const std::vector<std::string>& vecNames)
{
    QelProperty* p = c.CreateProperty(pName, eDataInteger);
    if (p)
    {
        p->SetEnumerationNames(vecNames, {});
        // Loaded or typed values outside the list are clamped into it.
        p->SetClamp(0, int(vecNames.size()) - 1);
        p->SetAsInt(nValue);
    }
    return p;
}

QelProperty* AddColor(QelPropertyContainer& c, const char* pName, const QelVec4& vColor)
{
    QelProperty* p = c.CreateProperty(pName, eDataColor);
    if (p)
        p->SetAsColor(vColor.x, vColor.y, vColor.z, vColor.w);
    return p;
}

float ReadFinite(const QelPropertyContainer& cOwner, QelProperty* p, float fFallback)
{
    if (!p)
        return fFallback;
    const float f = p->GetAsFloat();
    if (std::isfinite(f))
        return f;
    cOwner.PrintWarning("[%s] is not a finite number; it was reset to %g", p->GetName().c_str(), double(fFallback));
    p->SetAsFloat(fFallback);
    return fFallback;
}

QelVec4 ReadColor(QelProperty* p)
{
    return p ? QelVec4(p->GetAsColor(), true) : QelVec4(1.0f, 1.0f, 1.0f, 1.0f);
}

bool SaveProperties(QelPropertyContainer& c, QelXMLInterface* pXML, const std::string& strElement)
{
    if (!pXML || !pXML->AddAndMoveToChildNode(strElement))
        return false;
    std::vector<QelProperty*> vecProperties;
    c.GetProperties(vecProperties, false);
    for (QelProperty* p : vecProperties)
    {
        // Buttons are actions, not state: writing one back would press it.
        if (!p->WillAutoSave() || c.IsPropertyButton(p))
            continue;
        char szValue[64];
        switch (p->GetDataType())
        {
        case eDataReal: std::snprintf(szValue, sizeof(szValue), "%.9g", p->GetAsDouble()); break;
        case eDataInteger: std::snprintf(szValue, sizeof(szValue), "%d", p->GetAsInt()); break;
        case eDataBoolean: std::snprintf(szValue, sizeof(szValue), "%s", p->GetAsBool() ? "true" : "false"); break;
        case eDataColor: std::snprintf(szValue, sizeof(szValue), "%u", unsigned(p->GetAsColor())); break;
        default: continue;
        }
        pXML->AddAndMoveToChildNode("Property");
        pXML->WriteStringAttribute("name", p->GetName());
        pXML->WriteStringAttribute("value", szValue);
        pXML->MoveToParent();
    }
    pXML->MoveToParent();
    return true;
}

bool LoadProperties(QelPropertyContainer& c, QelXMLInterface* pXML, const std::string& strElement)
{
    if (!pXML || !pXML->PushPosition())
        return false;
    if (!pXML->MoveToChildNode(strElement))
    {
        pXML->PopPosition();
        return false;
    }
    for (bool bMore = pXML->MoveToFirstChildNode(); bMore; bMore = pXML->MoveToNextSibling())
    {
        if (pXML->GetNodeName() != "Property")
            continue;
        QelProperty* p = c.GetProperty(pXML->ReadStringAttribute("name", ""));
        if (!p || c.IsPropertyButton(p))
            continue;
        const std::string strValue = pXML->ReadStringAttribute("value", "");
        switch (p->GetDataType())
        {
        case eDataReal: p->SetAsDouble(std::strtod(strValue.c_str(), nullptr)); break;
        case eDataInteger: p->SetAsInt(std::atoi(strValue.c_str())); break;
        case eDataBoolean: p->SetAsBool(strValue == "true" || strValue == "1"); break;
        case eDataColor: p->SetAsColor(QelPackedColor(std::strtoul(strValue.c_str(), nullptr, 10))); break;
        default: break;
        }
    }
    pXML->PopPosition();
    return true;
}
} // namespace QelDisplayDetail
