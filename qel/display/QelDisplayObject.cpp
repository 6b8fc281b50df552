#include "qel/display/QelDisplayObject.h"

#include <GL/glew.h>

#include <algorithm>

QelDisplayObject::QelDisplayObject() = default;

QelDisplayObject::QelDisplayObject(const QelPluginAttributes& attributes) : QelNode(attributes) {}

QelDisplayObject::QelDisplayObject(const QelDisplayObject& other) : QelNode(other) {}

QelDisplayObject& QelDisplayObject::operator=(const QelDisplayObject& other)
{
    if (this != &other)
        QelNode::operator=(other);
    return *this;
}

QelDisplayObject::~QelDisplayObject()
{
    if (m_pParent)
        m_pParent->RemoveChild(this);
    DetachAllChildren();
}

QelSandboxIcon::ECategories QelDisplayObject::GetCategory() const
{
    return eCategoryDisplayObject;
}

void QelDisplayObject::Draw() {}

void QelDisplayObject::Render()
{
    GLint nDepth = 0, nMaxDepth = 0;
    glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &nDepth);
    glGetIntegerv(GL_MAX_MODELVIEW_STACK_DEPTH, &nMaxDepth);
    glMatrixMode(GL_MODELVIEW);
    RenderSubtree(nMaxDepth - nDepth);
}

void QelDisplayObject::RenderSubtree(int nFreeStackSlots)
{
    GLfloat fSaved[16];
    const bool bPush = nFreeStackSlots > 0;
    if (bPush)
        glPushMatrix();
    else
        glGetFloatv(GL_MODELVIEW_MATRIX, fSaved);

    if (HasTransform())
    {
        QelMatrix4 mLocal;
        GetTransform(mLocal);
        glMultMatrixf(mLocal);
    }
    const bool bHidden = IsHidden();
    if (!bHidden)
        Draw();
    if (!bHidden || !AreChildrenHiddenWithParent())
    {
        // By index: a Draw may add or remove children.
        for (size_t i = 0; i < m_vecChildren.size(); ++i)
            m_vecChildren[i]->RenderSubtree(nFreeStackSlots - 1);
    }

    if (bPush)
        glPopMatrix();
    else
        glLoadMatrixf(fSaved);
}

void QelDisplayObject::Traverse(const QelMatrix4& mParent, const Visitor& fnVisit)
{
    if (fnVisit)
        TraverseSubtree(mParent, fnVisit);
}

void QelDisplayObject::TraverseSubtree(const QelMatrix4& mParent, const Visitor& fnVisit)
{
    QelMatrix4 mWorld(mParent);
    if (HasTransform())
    {
        QelMatrix4 mLocal;
        GetTransform(mLocal);
        mWorld = mParent * mLocal;
    }
    const bool bHidden = IsHidden();
    if (!bHidden)
        fnVisit(*this, mWorld);
    if (!bHidden || !AreChildrenHiddenWithParent())
        for (size_t i = 0; i < m_vecChildren.size(); ++i)
            m_vecChildren[i]->TraverseSubtree(mWorld, fnVisit);
}

void QelDisplayObject::GetWorldTransform(QelMatrix4& mWorld)
{
    mWorld.MakeIdentity();
    for (QelDisplayObject* p = this; p; p = p->m_pParent)
    {
        if (!p->HasTransform())
            continue;
        QelMatrix4 mLocal;
        p->GetTransform(mLocal);
        mWorld = mLocal * mWorld;
    }
}

bool QelDisplayObject::AddChild(QelDisplayObject* pChild, int nIndex)
{
    if (!pChild)
    {
        PrintError("Cannot add a null child");
        return false;
    }
    if (pChild == this || pChild->IsAncestorOf(this))
    {
        PrintError("Cannot add [%s] as a child: it is this object or one of its parents", pChild->GetName().c_str());
        return false;
    }
    if (pChild->IsDeleted() || IsDeleted())
    {
        PrintError("Cannot add [%s] as a child: an object of the link is deleted", pChild->GetName().c_str());
        return false;
    }
    if (pChild->m_pParent)
        pChild->m_pParent->RemoveChild(pChild);
    if (nIndex > int(m_vecChildren.size()))
    {
        PrintWarning("Child index %d is past the end of %d children; [%s] is appended", nIndex,
                     int(m_vecChildren.size()), pChild->GetName().c_str());
        nIndex = -1;
    }
    if (nIndex < 0)
        m_vecChildren.push_back(pChild);
    else
        m_vecChildren.insert(m_vecChildren.begin() + nIndex, pChild);
    pChild->m_pParent = this;
    HoldObject(pChild);
    return true;
}

bool QelDisplayObject::RemoveChild(QelDisplayObject* pChild)
{
    auto it = std::find(m_vecChildren.begin(), m_vecChildren.end(), pChild);
    if (!pChild || it == m_vecChildren.end())
        return false;
    DetachChildAt(size_t(it - m_vecChildren.begin()));
    return true;
}

QelDisplayObject* QelDisplayObject::GetChild(size_t nIndex) const
{
    return nIndex < m_vecChildren.size() ? m_vecChildren[nIndex] : nullptr;
}

bool QelDisplayObject::IsAncestorOf(const QelDisplayObject* pObject) const
{
    for (const QelDisplayObject* p = pObject ? pObject->m_pParent : nullptr; p; p = p->m_pParent)
        if (p == this)
            return true;
    return false;
}

void QelDisplayObject::DetachChildAt(size_t nIndex)
{
    QelDisplayObject* pChild = m_vecChildren[nIndex];
    m_vecChildren.erase(m_vecChildren.begin() + std::ptrdiff_t(nIndex));
    pChild->m_pParent = nullptr;
    ReleaseObject(pChild);
}

void QelDisplayObject::DetachAllChildren()
{
    while (!m_vecChildren.empty())
        DetachChildAt(m_vecChildren.size() - 1);
}

void QelDisplayObject::OnDelete()
{
    DetachAllChildren();
    QelNode::OnDelete();
}

void QelDisplayObject::OnObjectDeletion(QelBase* pDeleted)
{
    auto it = std::find(m_vecChildren.begin(), m_vecChildren.end(), pDeleted);
    if (it != m_vecChildren.end())
        DetachChildAt(size_t(it - m_vecChildren.begin()));
    QelNode::OnObjectDeletion(pDeleted);
}

void QelDisplayObject::Calculate()
{
    QelTransform::Calculate();
}
