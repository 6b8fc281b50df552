#include "ViewerScene.h"

#include "qel/display/QelDisplayObject.h"
#include "qel/display/QelDisplaySystem.h"

#include <algorithm>

ViewerScene::~ViewerScene() { Clear(); }

bool ViewerScene::Add(QelDisplayObject* pObject)
{
    if (!pObject)
        return false;
    if (std::find(m_vObjects.begin(), m_vObjects.end(), pObject) != m_vObjects.end())
        return false;
    std::string strName = pObject->GetName();
    if (FindByName(strName))
        pObject->SetName(UniqueName(strName));
    m_vObjects.push_back(pObject);
    return true;
}

bool ViewerScene::Remove(QelDisplayObject* pObject)
{
    auto it = std::find(m_vObjects.begin(), m_vObjects.end(), pObject);
    if (it == m_vObjects.end())
        return false;
    if (m_pView)
        m_pView->RemoveFromSelection(pObject);
    m_vObjects.erase(it);
    pObject->OnDelete();
    delete pObject;
    return true;
}

void ViewerScene::Clear()
{
    if (m_pView)
        m_pView->ClearSelection();
    // Every object lets go of the others first, so that no destructor meets a dangling link.
    for (QelDisplayObject* pObject : m_vObjects)
        pObject->OnDelete();
    for (QelDisplayObject* pObject : m_vObjects)
        delete pObject;
    m_vObjects.clear();
}

void ViewerScene::Swap(ViewerScene& other)
{
    ClearSelection();
    other.ClearSelection();
    m_vObjects.swap(other.m_vObjects);
}

QelDisplayObject* ViewerScene::FindByName(const std::string& strName) const
{
    for (QelDisplayObject* pObject : m_vObjects)
        if (pObject->GetName() == strName)
            return pObject;
    return nullptr;
}

QelDisplayObject* ViewerScene::FindByGuid(const GUID& guid) const
{
    for (QelDisplayObject* pObject : m_vObjects)
        if (pObject->GetGuid() == guid)
            return pObject;
    return nullptr;
}

std::string ViewerScene::UniqueName(const std::string& strBase) const
{
    if (!FindByName(strBase))
        return strBase;
    for (int n = 2;; ++n)
    {
        std::string strName = strBase + std::to_string(n);
        if (!FindByName(strName))
            return strName;
    }
}

void ViewerScene::Select(QelDisplayObject* pObject, bool bAdd)
{
    if (m_pView)
    {
        if (!bAdd)
            m_pView->SetSelection(pObject ? std::vector<QelDisplayObject*>{pObject} : std::vector<QelDisplayObject*>());
        else if (pObject)
            m_pView->AddToSelection(pObject);
        return;
    }
    if (!bAdd)
        ClearSelection();
    if (pObject)
        pObject->Select(true);
}

void ViewerScene::ClearSelection()
{
    if (m_pView)
        m_pView->ClearSelection();
    for (QelDisplayObject* pObject : m_vObjects)
        pObject->Select(false);
}

QelDisplayObject* ViewerScene::GetSelection() const
{
    for (QelDisplayObject* pObject : m_vObjects)
        if (pObject->IsSelected())
            return pObject;
    return nullptr;
}

int ViewerScene::GetSelectedCount() const
{
    return int(std::count_if(m_vObjects.begin(), m_vObjects.end(),
                             [](const QelDisplayObject* pObject) { return pObject->IsSelected(); }));
}

QelBox3 ViewerScene::GetExtents(bool bSelectedOnly) const
{
    QelBox3 cBox;
    for (QelDisplayObject* pRoot : m_vObjects)
    {
        if (bSelectedOnly && !pRoot->IsSelected())
            continue;
        pRoot->Traverse(QelMatrix4(true), [&cBox](QelDisplayObject& object, const QelMatrix4& mWorld) {
            QelBox3 cWorld = object.GetExtents();
            if (!cWorld.IsValid())
                return;
            cWorld.Transform(mWorld);
            cBox += cWorld;
        });
    }
    return cBox;
}
