#pragma once

#include "qel/platform/QelExport.h"
#include "qel/platform/QelTypes.h"
#include "qel/properties/QelProperty.h"

#include <string>

class QelInterpColorPropertyDef;

/// A color between a low and a high color, by an interpolation value: three ordinary properties
/// of the same container ("Name:Low color", "Name:High color", "Name:Interpolation") from which the
/// container recomputes this property's own color when one of them changed.
class QEL_EXPORT QelInterpColorProperty : public QelProperty
{
public:
    /// Creates the three children in the container (each with bAutoSave); white after construction.
    QelInterpColorProperty(const std::string& strName, QelPropertyContainer* pContainer, bool bAutoSave = true);
    /// Creates the children in the source's low color container under this copy's name (names that
    /// are taken there fail as duplicates) and copies the colors, the value and the result.
    QelInterpColorProperty(const QelInterpColorProperty& other);
    ~QelInterpColorProperty() override;

    /// The child properties (owned by the container); null once deleted or replaced by null.
    ///@{
    QelProperty* GetLowColorProperty() const;
    QelProperty* GetHighColorProperty() const;
    QelProperty* GetValueProperty() const;
    ///@}

    /// The child's color (opaque black without a low color property).
    QelPackedColor GetLowColor() const;
    /// The child's color (opaque white without a high color property).
    QelPackedColor GetHighColor() const;
    /// The interpolation value within its property's clamp (1.0 without one).
    double GetValue() const;
    /// Write the child's value through its own setter (so its clamp applies and the change makes a
    /// recomputation due); nothing happens when the child is missing.
    ///@{
    void SetLowColor(const QelPackedColor& nColor);
    void SetHighColor(const QelPackedColor& nColor);
    void SetValue(float fValue);
    ///@}
    /// Replaces the child, which may belong to another container; the old one stays in its container.
    ///@{
    void SetLowColor(QelProperty* pProperty);
    void SetHighColor(QelProperty* pProperty);
    void SetValue(QelProperty* pProperty);
    ///@}

    /// The resulting color (after a pull).
    QelPackedColor GetAsColor() override;
    /// The interpolation value.
    double GetAsDouble() override;
    /// Writes the resulting color directly.
    bool SetAsColor(QelPackedColor nColor) override;
    bool SetAsColor(float fRed, float fGreen, float fBlue, float fAlpha) override;
    /// The parent or any of its three children changed.
    bool HasChanged() const override;
    /// Whether the low, high or interpolation property changed (what makes a recomputation due).
    bool HaveChildrenChanged() const;
    /// Puts the interpolation property's value back into its own clamp (quietly, when outside).
    void ClampValueProperty();
    /// Renames the children that carry the old name's prefix along with it.
    bool SetName(const std::string& strName) override;
    /// Deletes the children that belong to this property's container; others are only let go.
    void DeleteChildrenProperties();
    /// Recomputes the resulting color from low, high and value without spreading the write.
    void Recompute();

    void OnDelete() override;
    void OnObjectDeletion(QelBase* pDeleted) override;

private:
    QelInterpColorProperty& operator=(const QelInterpColorProperty&);
    void MakeChildren(QelPropertyContainer* pContainer, bool bAutoSave);
    void ReplaceChild(QelProperty*& pSlot, QelProperty* pProperty);

    QelInterpColorPropertyDef* m_pDef;
};
