#pragma once

#include "qel/math/QelBox3.h"
#include "qel/platform/QelGuid.h"

#include <string>
#include <vector>

class QelDisplayObject;
class QelDisplaySystem;

/// The objects of one open document with their selection. The scene owns its objects; the view
/// draws them and the panels edit them. Replacing the whole scene (on open) swaps two scenes, so a
/// document that fails to load leaves the current one untouched.
class ViewerScene
{
public:
    ViewerScene() = default;
    /// Deletes every object (each is told through OnDelete first, so links between them drop).
    ~ViewerScene();
    ViewerScene(const ViewerScene&) = delete;
    ViewerScene& operator=(const ViewerScene&) = delete;

    /// Takes ownership of a new object; a taken name gets a numbered suffix. False (and the object
    /// deleted) for null or an object already in the scene.
    bool Add(QelDisplayObject* pObject);
    /// Deletes the object; false when it is not in the scene.
    bool Remove(QelDisplayObject* pObject);
    void Clear();
    /// Exchanges the whole content with another scene; the selection is cleared first.
    void Swap(ViewerScene& other);

    std::vector<QelDisplayObject*>& Objects() { return m_vObjects; }
    const std::vector<QelDisplayObject*>& Objects() const { return m_vObjects; }
    QelDisplayObject* FindByName(const std::string& strName) const;
    QelDisplayObject* FindByGuid(const GUID& guid) const;
    /// strBase when no object has it, else strBase followed by the first free number from 2.
    std::string UniqueName(const std::string& strBase) const;

    // Selection
    /// The view whose selection set is the scene's selection; without one the objects' own flags are.
    void SetSelectionView(QelDisplaySystem* pView) { m_pView = pView; }
    /// Selects pObject (null clears); bAdd keeps what was selected before.
    void Select(QelDisplayObject* pObject, bool bAdd);
    void ClearSelection();
    /// The first selected object in scene order, or null.
    QelDisplayObject* GetSelection() const;
    int GetSelectedCount() const;

    /// The world box of the visible objects (only the selected ones with bSelectedOnly); invalid
    /// when there is nothing to measure.
    QelBox3 GetExtents(bool bSelectedOnly) const;

private:
    std::vector<QelDisplayObject*> m_vObjects;
    QelDisplaySystem* m_pView = nullptr;
};
