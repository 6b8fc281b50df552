#include "qel/framework/QelBase.h"

#include "qel/framework/QelSysApp.h"
#include "qel/framework/detail/QelNameRule.h"

namespace
{
constexpr unsigned char kDeletedFlag = 0x01;
}

QelBase::QelBase(const std::string& strName) : m_strName(strName)
{
    QelCreateGuid(&m_guid);
}

QelBase::QelBase(const QelBase& other) : m_strName(other.m_strName)
{
    // A copy is a new object: it must not share the source's identity.
    QelCreateGuid(&m_guid);
}

QelBase& QelBase::operator=(const QelBase& other)
{
    if (this != &other)
        m_strName = other.m_strName;
    return *this;
}

QelBase::~QelBase()
{
    if (!m_setHolders.empty())
        QelSysApp::App().PrintToConsole(
            "<error> Object [%s] was deleted without being released by holders correctly.\n", m_strName.c_str());
    // Dropped on this side only: the holders keep their (now dangling) entries, as reported.
    m_setHolders.clear();
    m_setHeld.clear();
}

std::string QelBase::GetName() const
{
    return m_strName;
}

bool QelBase::SetName(const std::string& strName)
{
    m_strName = strName;
    if (QelSanitizeName(m_strName))
        QelSysApp::App().PrintToConsole("<warning> Invalid name [%s] has been changed to [%s].\n", strName.c_str(),
                                        m_strName.c_str());
    return true;
}

void QelBase::OnDelete()
{
    const std::set<QelBase*> holders = m_setHolders;
    for (QelBase* pHolder : holders)
        pHolder->OnObjectDeletion(this);

    if (!m_setHeld.empty())
        QelSysApp::App().PrintToConsole(
            "<error> Object [%s] was deleted without releasing held objects correctly.\n", m_strName.c_str());

    const std::set<QelBase*> held = m_setHeld;
    for (QelBase* pObject : held)
        ReleaseObject(pObject);

    m_nFlags |= kDeletedFlag;
}

bool QelBase::IsDeleted() const
{
    return (m_nFlags & kDeletedFlag) != 0;
}

void QelBase::OnObjectDeletion(QelBase*) {}

void QelBase::GetAllObjectsHolding(std::vector<QelBase*>& vHolders) const
{
    vHolders.insert(vHolders.end(), m_setHolders.begin(), m_setHolders.end());
}

void QelBase::HoldObject(QelBase* pObject)
{
    if (!pObject)
        return;
    m_setHeld.insert(pObject);
    pObject->m_setHolders.insert(this);
}

void QelBase::ReleaseObject(QelBase* pObject)
{
    if (!pObject)
        return;
    m_setHeld.erase(pObject);
    pObject->m_setHolders.erase(this);
}
