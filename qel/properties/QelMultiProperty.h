#pragma once

#include "qel/platform/QelExport.h"
#include "qel/properties/QelProperty.h"

#include <string>
#include <vector>

/// A group over child properties of the same container, e.g. the three components of a position:
/// set and read them together; the group counts as changed when a child did.
class QEL_EXPORT QelMultiProperty : public QelProperty
{
public:
    /// An empty group; the arguments are those of QelProperty. Add the children with AddChild.
    QelMultiProperty(const std::string& strName, QelPropertyContainer* pContainer, QelDataType eType,
                     bool bAutoSave = true);
    /// A free-standing copy of the group's own value and state, without children.
    QelMultiProperty(const QelMultiProperty& other);
    ~QelMultiProperty() override;

    /// Adds a property of the same container as the next child and marks it as a group child.
    bool AddChild(QelProperty* pChild);
    /// Lets a child go (it stays in its container as an ordinary property).
    bool RemoveChild(QelProperty* pChild);
    /// How many children the group holds.
    int GetChildCount() const { return int(m_vecChildren.size()); }
    /// The child at nIndex, or null outside 0..count-1.
    QelProperty* GetChild(int nIndex) const;
    /// The children in order; they are owned by the container, not by the group.
    const std::vector<QelProperty*>& GetChildren() const { return m_vecChildren; }

    /// Drives each child with its value (clamps and enumerations apply); the counts must match.
    bool SetValues(const std::vector<QelVariant>& vecValues);
    /// The children's values after a pull, in child order.
    void GetValues(std::vector<QelVariant>& vecValues);
    /// Sets the same clamp on every child of a matching kind (Real children take it as doubles).
    void SetChildClamp(double dMin, double dMax);

    /// The group or any child changed.
    bool HasChanged() const override;
    /// Renames the children that carry the old name's prefix along with it.
    bool SetName(const std::string& strName) override;

    void OnDelete() override;
    void OnObjectDeletion(QelBase* pDeleted) override;

private:
    QelMultiProperty& operator=(const QelMultiProperty&);
    void ReleaseChildren();

    std::vector<QelProperty*> m_vecChildren;
};
