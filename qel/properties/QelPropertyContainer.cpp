#include "qel/properties/QelPropertyContainer.h"

#include "qel/framework/QelSysApp.h"
#include "qel/platform/QelMessageQuote.h"
#include "qel/properties/QelInterpColorProperty.h"
#include "qel/properties/QelMultiProperty.h"
#include "qel/properties/QelProperty.h"

#include <algorithm>

namespace
{
const char* const kReservedThis = "Reserved:This";

template <typename T> void EraseValue(std::vector<T*>& vec, const void* p)
{
    vec.erase(std::remove(vec.begin(), vec.end(), p), vec.end());
}
} // namespace

QelPropertyContainer::QelPropertyContainer() = default;

QelPropertyContainer::QelPropertyContainer(const QelPluginAttributes& cAttributes) : QelPlugin(cAttributes) {}

QelPropertyContainer::QelPropertyContainer(const QelPropertyContainer& other)
    : QelPlugin(other), m_mapConnections(other.m_mapConnections)
{
    m_nFlags = static_cast<unsigned char>(other.m_nFlags & (kFlagAutoHistory | kFlagHistoryChanged));
    CopyPropertiesFrom(other);
}

QelPropertyContainer& QelPropertyContainer::operator=(const QelPropertyContainer& other)
{
    if (this == &other)
        return *this;
    QelPlugin::operator=(other);
    m_mapConnections = other.m_mapConnections;
    DeleteAllProperties();
    const unsigned char kKept = kFlagAutoHistory | kFlagHistoryChanged;
    m_nFlags = static_cast<unsigned char>((m_nFlags & ~kKept) | (other.m_nFlags & kKept));
    CopyPropertiesFrom(other);
    return *this;
}

QelPropertyContainer::~QelPropertyContainer()
{
    m_nFlags |= kFlagDestroying;
    DeleteAllProperties();
}

void QelPropertyContainer::CopyPropertiesFrom(const QelPropertyContainer& other)
{
    // Interpolated colors first: they make their children, which the pass below then finds.
    for (QelInterpColorProperty* pSource : other.m_vecInterpColors)
        if (!GetProperty(pSource->GetName()))
            CreateProperty(pSource->GetName(), eDataInterpColor, pSource->WillAutoSave());
    for (QelProperty* pSource : other.m_vecProperties)
    {
        QelProperty* pTarget = GetProperty(pSource->GetName());
        if (!pTarget)
        {
            if (pSource->IsMultiProperty())
                pTarget = CreateMultiProperty(pSource->GetName(), pSource->GetDataType(), pSource->WillAutoSave());
            else
                pTarget = CreateProperty(pSource->GetName(), pSource->GetDataType(), pSource->WillAutoSave());
        }
        if (!pTarget)
            continue;
        // Left marked changed, so that the copy's first read recomputes what depends on them.
        *pTarget = *pSource;
    }
    for (size_t i = 0; i < other.m_vecProperties.size(); ++i)
        if (QelProperty* p = GetProperty(other.m_vecProperties[i]->GetName()))
            if (i < m_vecProperties.size())
                SetPropertyIndex(p, int(i));
    for (QelMultiProperty* pSource : other.m_vecMultiProperties)
        if (auto* pTarget = dynamic_cast<QelMultiProperty*>(GetProperty(pSource->GetName())))
            for (QelProperty* pChild : pSource->GetChildren())
                if (QelProperty* p = GetProperty(pChild->GetName()))
                    pTarget->AddChild(p);
    if (other.m_pIndependentProperty && other.Owns(other.m_pIndependentProperty))
        SetIndependentProperty(GetProperty(other.m_pIndependentProperty->GetName()));
}

bool QelPropertyContainer::Owns(const QelProperty* pProperty) const
{
    if (!pProperty)
        return false;
    auto it = m_mapProperties.find(pProperty->GetName());
    return it != m_mapProperties.end() && it->second == pProperty;
}

// ---- Creating and adopting ----

QelProperty* QelPropertyContainer::CreateProperty(const std::string& strName, QelDataType eType, bool bAutoSave)
{
    QelProperty* pProperty = nullptr;
    if (eType == eDataInterpColor)
        pProperty = new QelInterpColorProperty(strName, this, bAutoSave);
    else
        pProperty = new QelProperty(strName, this, eType, bAutoSave);
    if (!AddProperty(pProperty))
    {
        DeleteProperty(pProperty);
        return nullptr;
    }
    if (auto* pInterp = dynamic_cast<QelInterpColorProperty*>(pProperty))
    {
        // Listed before its parts, which it made (and which were added) first.
        int nFirst = GetPropertyCount() - 1;
        for (QelProperty* pChild :
             {pInterp->GetHighColorProperty(), pInterp->GetLowColorProperty(), pInterp->GetValueProperty()})
        {
            auto it = std::find(m_vecProperties.begin(), m_vecProperties.end(), pChild);
            if (pChild && it != m_vecProperties.end())
                nFirst = std::min(nFirst, int(it - m_vecProperties.begin()));
        }
        SetPropertyIndex(pProperty, nFirst);
    }
    return pProperty;
}

bool QelPropertyContainer::AddProperty(QelProperty* pProperty)
{
    if (!pProperty)
    {
        QelSysApp::App().PrintToConsole("<error> Failed to add property [(null)] to [%s]\n",
                                        QelQuoteInput(GetName()).c_str());
        return false;
    }
    const std::string strName = pProperty->GetName();
    if (m_mapProperties.count(strName))
    {
        if (strName != kReservedThis)
            QelSysApp::App().PrintToConsole(
                "<error> Failed to add property [%s], a property with the same name already exists\n",
                QelQuoteInput(strName).c_str());
        return false;
    }
    QelPropertyContainer* pOwner = pProperty->m_pContainer;
    if (pOwner && pOwner != this && !pOwner->IsBeingDestroyed() && pOwner->Owns(pProperty))
    {
        // Two owners would free it twice.
        QelSysApp::App().PrintToConsole("<error> Failed to add property [%s], it belongs to container [%s]\n",
                                        QelQuoteInput(strName).c_str(), QelQuoteInput(pOwner->GetName()).c_str());
        return false;
    }
    m_mapProperties.emplace(strName, pProperty);
    m_vecProperties.push_back(pProperty);
    pProperty->m_pContainer = this;
    if (auto* pInterp = dynamic_cast<QelInterpColorProperty*>(pProperty))
        m_vecInterpColors.push_back(pInterp);
    if (auto* pMulti = dynamic_cast<QelMultiProperty*>(pProperty))
        m_vecMultiProperties.push_back(pMulti);
    return true;
}

void QelPropertyContainer::DeleteProperty(QelProperty* pProperty)
{
    if (!pProperty)
        return;
    if (Owns(pProperty))
    {
        m_mapProperties.erase(pProperty->GetName());
        EraseValue(m_vecProperties, pProperty);
    }
    else
    {
        QelPropertyContainer* pOwner = pProperty->m_pContainer;
        if (pOwner && pOwner != this && !pOwner->IsBeingDestroyed() && pOwner->Owns(pProperty))
        {
            QelSysApp::App().PrintToConsole(
                "<warning> Property [%s] belongs to container [%s] and was not deleted by [%s]\n",
                QelQuoteInput(pProperty->GetName()).c_str(), QelQuoteInput(pOwner->GetName()).c_str(),
                QelQuoteInput(GetName()).c_str());
            return;
        }
    }
    if (auto* pInterp = dynamic_cast<QelInterpColorProperty*>(pProperty))
        if (!IsBeingDestroyed())
            pInterp->DeleteChildrenProperties();
    DestroyProperty(pProperty);
}

void QelPropertyContainer::Unlink(QelProperty* pProperty)
{
    EraseValue(m_vecInterpColors, pProperty);
    EraseValue(m_vecMultiProperties, pProperty);
    if (m_pIndependentProperty == pProperty)
    {
        ReleaseObject(pProperty);
        m_pIndependentProperty = nullptr;
    }
}

void QelPropertyContainer::DestroyProperty(QelProperty* pProperty)
{
    Unlink(pProperty);
    // Every holder (groups, interpolated colors, other containers, host objects) drops its pointer.
    pProperty->OnDelete();
    delete pProperty;
}

void QelPropertyContainer::ForgetDeletedProperty(QelProperty* pProperty)
{
    if (!Owns(pProperty))
        return;
    m_mapProperties.erase(pProperty->GetName());
    EraseValue(m_vecProperties, pProperty);
    Unlink(pProperty);
    // Derived containers (transforms) drop their own pointers to it through this hook.
    OnObjectDeletion(pProperty);
    if (!pProperty->IsDeleted())
        pProperty->QelBase::OnDelete();
}

void QelPropertyContainer::DeleteAllProperties()
{
    std::vector<QelProperty*> vecAll;
    vecAll.swap(m_vecProperties);
    m_mapProperties.clear();
    m_vecInterpColors.clear();
    m_vecMultiProperties.clear();
    if (m_pIndependentProperty)
    {
        ReleaseObject(m_pIndependentProperty);
        m_pIndependentProperty = nullptr;
    }
    for (QelProperty* p : vecAll)
    {
        std::vector<QelBase*> vecHolders;
        p->GetAllObjectsHolding(vecHolders);
        for (QelBase* pHolder : vecHolders)
        {
            auto* pHoldingProperty = dynamic_cast<QelProperty*>(pHolder);
            if (pHolder == this || (pHoldingProperty && pHoldingProperty->m_pContainer == this))
                continue;
            QelSysApp::App().PrintToConsole(
                "<warning> Property [%s] of [%s] is still held by [%s] as its container goes; the holder is told\n",
                QelQuoteInput(p->GetName()).c_str(), QelQuoteInput(GetName()).c_str(),
                QelQuoteInput(pHolder->GetName()).c_str());
        }
        p->OnDelete();
        delete p;
    }
}

QelMultiProperty* QelPropertyContainer::CreateMultiProperty(const std::string& strName, QelDataType eType,
                                                            bool bAutoSave)
{
    auto* pGroup = new QelMultiProperty(strName, this, eType, bAutoSave);
    if (!AddProperty(pGroup))
    {
        DeleteProperty(pGroup);
        return nullptr;
    }
    return pGroup;
}

QelMultiProperty* QelPropertyContainer::CreateMultiPropertyGroup(const std::string& strName,
                                                                 const std::vector<std::string>& vecNames,
                                                                 const std::vector<QelDataType>& vecTypes,
                                                                 bool bAutoSave)
{
    if (vecNames.size() != vecTypes.size())
    {
        QelSysApp::App().PrintToConsole("<error> Failed to create group [%s], %d names given for %d types\n",
                                        QelQuoteInput(strName).c_str(), int(vecNames.size()), int(vecTypes.size()));
        return nullptr;
    }
    // The group's own type is its children's when they share one.
    QelDataType eType = vecTypes.empty() ? eDataUninitialized : vecTypes[0];
    for (QelDataType e : vecTypes)
        if (e != eType)
            eType = eDataUninitialized;
    QelMultiProperty* pGroup = CreateMultiProperty(strName, eType, bAutoSave);
    if (!pGroup)
        return nullptr;
    for (size_t i = 0; i < vecNames.size(); ++i)
    {
        QelProperty* pChild = CreateProperty(pGroup->GetName() + ":" + vecNames[i], vecTypes[i], bAutoSave);
        if (!pChild)
        {
            // All or nothing: a half-made group would surprise the caller.
            while (pGroup->GetChildCount() > 0)
                DeleteProperty(pGroup->GetChild(0));
            DeleteProperty(pGroup);
            return nullptr;
        }
        pGroup->AddChild(pChild);
    }
    return pGroup;
}

// ---- Finding and ordering ----

QelProperty* QelPropertyContainer::GetProperty(const std::string& strName) const
{
    auto it = m_mapProperties.find(strName);
    return it == m_mapProperties.end() ? nullptr : it->second;
}

QelProperty* QelPropertyContainer::GetProperty(GUID guid) const
{
    for (QelProperty* p : m_vecProperties)
        if (p->GetGuid() == guid)
            return p;
    return nullptr;
}

void QelPropertyContainer::GetProperties(std::vector<QelProperty*>& vecOut, bool bVisibleOnly) const
{
    vecOut.clear();
    vecOut.reserve(m_vecProperties.size());
    for (QelProperty* p : m_vecProperties)
        if (!bVisibleOnly || IsPropertyVisible(p))
            vecOut.push_back(p);
}

bool QelPropertyContainer::SetPropertyIndex(QelProperty* pProperty, int nIndex)
{
    auto it = std::find(m_vecProperties.begin(), m_vecProperties.end(), pProperty);
    if (!pProperty || it == m_vecProperties.end())
    {
        // The pointer may be stale: only an owned property is asked for its name.
        const std::string strName = pProperty && Owns(pProperty) ? QelQuoteInput(pProperty->GetName()) : "(unknown)";
        QelSysApp::App().PrintToConsole("<warning>Property [%s] could not be found in current list of properties\n",
                                        strName.c_str());
        return false;
    }
    if (nIndex < 0 || size_t(nIndex) >= m_vecProperties.size())
    {
        QelSysApp::App().PrintToConsole(
            "<warning>Could not move property [%s] in list. Index passed [%i] is out of range.\n",
            QelQuoteInput(pProperty->GetName()).c_str(), nIndex);
        return false;
    }
    m_vecProperties.erase(it);
    m_vecProperties.insert(m_vecProperties.begin() + nIndex, pProperty);
    return true;
}

bool QelPropertyContainer::PropertyNameChanged(QelProperty* pProperty, const std::string& strNewName)
{
    if (!Owns(pProperty))
        return true;
    const std::string strOld = pProperty->GetName();
    if (strOld == strNewName)
        return true;
    auto it = m_mapProperties.find(strNewName);
    if (it != m_mapProperties.end())
    {
        // Refused: two properties under one key would lose one of them.
        QelSysApp::App().PrintToConsole(
            "<warning> Could not rename property [%s] to [%s], a property with that name already exists\n",
            QelQuoteInput(pProperty->GetFullName()).c_str(), QelQuoteInput(strNewName).c_str());
        return false;
    }
    m_mapProperties.erase(strOld);
    m_mapProperties.emplace(strNewName, pProperty);
    return true;
}

bool QelPropertyContainer::SetIndependentProperty(QelProperty* pProperty)
{
    if (m_pIndependentProperty != pProperty)
    {
        if (m_pIndependentProperty)
            ReleaseObject(m_pIndependentProperty);
        m_pIndependentProperty = pProperty;
        // Held, so that its deletion anywhere clears this pointer (OnObjectDeletion).
        if (pProperty)
            HoldObject(pProperty);
    }
    return !pProperty || Owns(pProperty);
}

void QelPropertyContainer::OnObjectDeletion(QelBase* pDeleted)
{
    if (pDeleted && pDeleted == m_pIndependentProperty)
        m_pIndependentProperty = nullptr;
    ReleaseObject(pDeleted);
}

void QelPropertyContainer::OnDelete()
{
    if (m_pIndependentProperty)
    {
        ReleaseObject(m_pIndependentProperty);
        m_pIndependentProperty = nullptr;
    }
    QelPlugin::OnDelete();
}

// ---- Change relay ----

void QelPropertyContainer::PropagateDirtyBit(unsigned short nBits, QelProperty* pProperty)
{
    if (nBits & kDirtyValue)
    {
        PropagateDirtyBitToNodes(kDirtyValue, pProperty);
        m_nFlags |= kFlagDirty;
    }
    if (nBits & kDirtyHistory)
    {
        PropagateDirtyBitToNodes(kDirtyHistory, pProperty);
        if (pProperty)
            pProperty->SetHistoryChangedFlag(true);
        m_nFlags |= kFlagHistoryChanged;
    }
    if (nBits & kDirtyButton)
        ButtonPressed(pProperty);
}

void QelPropertyContainer::InvokeCalculate()
{
    if (m_nFlags & kFlagCalculating)
        return;
    m_nFlags |= kFlagCalculating;
    // A name holds no behaviour here, "passenger" included: names are the user's to edit, and a
    // rename must not change how an object computes.
    for (size_t i = 0; i < m_vecInterpColors.size(); ++i)
        if (m_vecInterpColors[i]->HaveChildrenChanged())
            m_vecInterpColors[i]->Recompute();
    Calculate();
    m_nFlags &= static_cast<unsigned char>(~kFlagCalculating);
}

void QelPropertyContainer::SetDirtyBit(bool bDirty)
{
    if (bDirty)
        m_nFlags |= kFlagDirty;
    else
        m_nFlags &= static_cast<unsigned char>(~kFlagDirty);
}

void QelPropertyContainer::SetAnyHistoryHasChanged(bool bChanged)
{
    if (bChanged)
        m_nFlags |= kFlagHistoryChanged;
    else
        m_nFlags &= static_cast<unsigned char>(~kFlagHistoryChanged);
}

void QelPropertyContainer::SetAutoComputedHistory(bool bAuto)
{
    if (bAuto)
        m_nFlags |= kFlagAutoHistory;
    else
        m_nFlags &= static_cast<unsigned char>(~kFlagAutoHistory);
}

bool QelPropertyContainer::UpdateProperty(QelProperty* pTarget, QelProperty* pSource)
{
    if (!pTarget || !pSource)
        return false;
    if (!pTarget->Update(pSource))
        return false;
    pTarget->ValueChanged();
    return true;
}

// ---- Hooks ----

std::string QelPropertyContainer::GetPropertyDescription(const QelProperty* pProperty)
{
    if (pProperty && pProperty->GetName() == kReservedThis)
        return "Object pointer to this object";
    return std::string();
}

std::string QelPropertyContainer::GetPropertyFilenameFilter(QelProperty*)
{
    return std::string();
}

bool QelPropertyContainer::IsPropertyButton(QelProperty*) const
{
    return false;
}

bool QelPropertyContainer::IsPropertyVisibleInBarByDefault(QelProperty*) const
{
    return false;
}

bool QelPropertyContainer::IsPropertyVisible(QelProperty*) const
{
    return true;
}

bool QelPropertyContainer::IsHistoryManuallyDerived(QelProperty*) const
{
    return false;
}

bool QelPropertyContainer::IsPropertySpecialEdited(QelProperty*) const
{
    return false;
}

QelPackedColor QelPropertyContainer::GetPropertyBarTextColor(QelProperty*) const
{
    return 0xFF000000u;
}

std::string QelPropertyContainer::GetPropertyBarPostScript(QelProperty*)
{
    return std::string();
}

bool QelPropertyContainer::WillAcceptConnection(QelProperty*, QelProperty*)
{
    return true;
}

bool QelPropertyContainer::ManuallyDeriveHistory(QelProperty*, int)
{
    return false;
}

void QelPropertyContainer::ButtonPressed(QelProperty*) {}

void QelPropertyContainer::Calculate() {}

void QelPropertyContainer::PropertySpecialEdit(QelProperty*) {}

void QelPropertyContainer::UpdatePropertyEnumerations(QelProperty*) {}

void QelPropertyContainer::ConnectionChanged(EConnectionEvent, QelProperty*) {}

void QelPropertyContainer::PropagateDirtyBitToNodes(unsigned short, QelProperty*) {}
