#pragma once

#include "qel/framework/QelNode.h"
#include "qel/math/QelMatrix4.h"
#include "qel/platform/QelExport.h"

#include <cstddef>
#include <functional>
#include <vector>

class QelPickMesh;

/// A node drawn in the OpenGL view, with a parent and ordered children. A derived object overrides
/// Draw; Render draws the object and its subtree under their transforms.
///
/// A parent holds its children in the named-object bookkeeping, so deleting either side
/// through OnDelete, or destroying it, leaves the other side without a dangling link.
class QEL_EXPORT QelDisplayObject : public QelNode
{
public:
    /// Called for each object a traversal reaches, with the object's world matrix.
    using Visitor = std::function<void(QelDisplayObject& object, const QelMatrix4& mWorld)>;

    /// An object without parent or children; the second form is the plug-in creation path.
    ///@{
    QelDisplayObject();
    explicit QelDisplayObject(const QelPluginAttributes& attributes);
    ///@}
    /// Copies the node part; the copy starts without parent and children.
    QelDisplayObject(const QelDisplayObject& other);
    /// Copies the node part; the links of both objects stay as they are.
    QelDisplayObject& operator=(const QelDisplayObject& other);
    /// Detaches from the parent and from every child.
    ~QelDisplayObject() override;

    /// Display Object, so plug-in lists file it with the drawable objects.
    ECategories GetCategory() const override;

    /// Draws the object in its own coordinates; nothing here.
    virtual void Draw();
    /// Runs the transform's change detection, which a plain node skips, so that edits move the object.
    void Calculate() override;
    /// Pushes the transform onto the modelview stack, draws the object unless it is hidden, renders
    /// the children (skipped when the object is hidden and AreChildrenHiddenWithParent says so) and
    /// pops. Past the depth of OpenGL's matrix stack the matrix is saved and restored instead.
    void Render();
    /// Visits the objects Render would draw, in the same order, with their world matrices
    /// (mParent times the transforms down to the object), without any OpenGL call.
    void Traverse(const QelMatrix4& mParent, const Visitor& fnVisit);
    /// The transforms of the ancestors and of this object, composed from the root down.
    void GetWorldTransform(QelMatrix4& mWorld);

    /// Inserts pChild at nIndex (appended when nIndex is negative or past the end), taking it from
    /// its former parent. Refuses null, deleted objects and anything that would close a cycle.
    bool AddChild(QelDisplayObject* pChild, int nIndex = -1);
    /// Detaches a direct child; false when pChild is not one.
    bool RemoveChild(QelDisplayObject* pChild);
    /// The parent, or null for a root; it is not owned.
    QelDisplayObject* GetParent() const { return m_pParent; }
    /// Number of direct children.
    size_t GetChildCount() const { return m_vecChildren.size(); }
    /// Null past the end.
    QelDisplayObject* GetChild(size_t nIndex) const;
    /// The direct children in drawing order; they are held, not owned.
    const std::vector<QelDisplayObject*>& GetChildren() const { return m_vecChildren; }
    /// True when pObject lies below this object (not for the object itself).
    bool IsAncestorOf(const QelDisplayObject* pObject) const;

    /// The triangles picking tests after the object's bounds, in its own coordinates; null (the
    /// default) lets the bounds (GetExtents) stand for the object.
    virtual QelPickMesh* GetPickMesh() { return nullptr; }

    /// Detaches the children first, then deletes as a node does (the parent is told and lets go).
    void OnDelete() override;
    /// A child being deleted leaves the list of children.
    void OnObjectDeletion(QelBase* pDeleted) override;

private:
    void RenderSubtree(int nFreeStackSlots);
    void TraverseSubtree(const QelMatrix4& mParent, const Visitor& fnVisit);
    /// Removes the child at nIndex from the list and both links.
    void DetachChildAt(size_t nIndex);
    void DetachAllChildren();

    QelDisplayObject* m_pParent = nullptr;
    std::vector<QelDisplayObject*> m_vecChildren;
};
