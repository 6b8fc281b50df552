#include "qel/properties/QelMultiProperty.h"

#include "qel/framework/QelSysApp.h"
#include "qel/properties/QelPropertyContainer.h"

#include <algorithm>

QelMultiProperty::QelMultiProperty(const std::string& strName, QelPropertyContainer* pContainer, QelDataType eType,
                                   bool bAutoSave)
    : QelProperty(strName, pContainer, eType, bAutoSave)
{
}

QelMultiProperty::QelMultiProperty(const QelMultiProperty& other) : QelProperty(other) {}

QelMultiProperty::~QelMultiProperty()
{
    ReleaseChildren();
}

void QelMultiProperty::ReleaseChildren()
{
    for (QelProperty* p : m_vecChildren)
    {
        p->SetIsMultiPropertyChild(false);
        ReleaseObject(p);
    }
    m_vecChildren.clear();
}

bool QelMultiProperty::AddChild(QelProperty* pChild)
{
    if (!pChild || pChild == this)
        return false;
    QelPropertyContainer* pContainer = GetContainer();
    if (!pContainer || pChild->GetContainer() != pContainer || pContainer->GetProperty(pChild->GetName()) != pChild)
    {
        QelSysApp::App().PrintToConsole(
            "<warning> %s - Property [%s] is not in the group's container and cannot become its child\n",
            GetFullName().c_str(), pChild->GetFullName().c_str());
        return false;
    }
    if (pChild->IsMultiPropertyChild() || std::find(m_vecChildren.begin(), m_vecChildren.end(), pChild) != m_vecChildren.end())
    {
        QelSysApp::App().PrintToConsole("<warning> %s - Property [%s] is already a child of a group\n",
                                        GetFullName().c_str(), pChild->GetFullName().c_str());
        return false;
    }
    m_vecChildren.push_back(pChild);
    pChild->SetIsMultiPropertyChild(true);
    HoldObject(pChild);
    return true;
}

bool QelMultiProperty::RemoveChild(QelProperty* pChild)
{
    auto it = std::find(m_vecChildren.begin(), m_vecChildren.end(), pChild);
    if (it == m_vecChildren.end())
        return false;
    m_vecChildren.erase(it);
    pChild->SetIsMultiPropertyChild(false);
    ReleaseObject(pChild);
    return true;
}

QelProperty* QelMultiProperty::GetChild(int nIndex) const
{
    if (nIndex < 0 || size_t(nIndex) >= m_vecChildren.size())
        return nullptr;
    return m_vecChildren[size_t(nIndex)];
}

bool QelMultiProperty::SetValues(const std::vector<QelVariant>& vecValues)
{
    if (vecValues.size() != m_vecChildren.size())
    {
        QelSysApp::App().PrintToConsole("<warning> %s - %d values given for a group of %d properties\n",
                                        GetFullName().c_str(), int(vecValues.size()), int(m_vecChildren.size()));
        return false;
    }
    for (size_t i = 0; i < vecValues.size(); ++i)
        m_vecChildren[i]->DriveByValue(vecValues[i], false);
    return true;
}

void QelMultiProperty::GetValues(std::vector<QelVariant>& vecValues)
{
    vecValues.clear();
    vecValues.reserve(m_vecChildren.size());
    for (QelProperty* p : m_vecChildren)
        vecValues.push_back(p->GetAsVariant());
}

void QelMultiProperty::SetChildClamp(double dMin, double dMax)
{
    for (QelProperty* p : m_vecChildren)
    {
        if (p->GetDataType() == eDataReal)
            p->SetClamp(dMin, dMax);
        else if (p->GetDataType() == eDataInteger)
            p->SetClamp(int(std::max(std::min(dMin, 2147483647.0), -2147483647.0)),
                        int(std::max(std::min(dMax, 2147483647.0), -2147483647.0)));
    }
}

bool QelMultiProperty::HasChanged() const
{
    if (QelProperty::HasChanged())
        return true;
    for (QelProperty* p : m_vecChildren)
        if (p->HasChanged())
            return true;
    return false;
}

bool QelMultiProperty::SetName(const std::string& strName)
{
    const std::string strOldPrefix = GetName() + ":";
    if (!QelProperty::SetName(strName))
        return false;
    const std::string strNewPrefix = GetName() + ":";
    for (QelProperty* p : m_vecChildren)
    {
        const std::string strChild = p->GetName();
        if (strChild.compare(0, strOldPrefix.size(), strOldPrefix) == 0)
            p->SetName(strNewPrefix + strChild.substr(strOldPrefix.size()));
    }
    return true;
}

void QelMultiProperty::OnDelete()
{
    ReleaseChildren();
    QelProperty::OnDelete();
}

void QelMultiProperty::OnObjectDeletion(QelBase* pDeleted)
{
    auto it = std::find(m_vecChildren.begin(), m_vecChildren.end(), pDeleted);
    if (it != m_vecChildren.end())
        m_vecChildren.erase(it);
    ReleaseObject(pDeleted);
}
