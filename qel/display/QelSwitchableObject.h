#pragma once

#include "qel/display/QelDisplayObject.h"
#include "qel/math/QelVec3.h"
#include "qel/platform/QelExport.h"

class QelSlotTable;

/// A display object that takes one of a fixed number of numbered OpenGL slots while it is on:
/// the base of lights and clipping planes. Turning one on when every slot is taken is refused
/// with a warning naming the objects that hold them. Its "On" property follows, and an edit of
/// that property turns the object on or off.
class QEL_EXPORT QelSwitchableObject : public QelDisplayObject
{
public:
    /// Turns the object off, freeing its slot.
    ~QelSwitchableObject() override;
    /// Not copied: a copy would need a slot of its own and its own "On" property.
    QelSwitchableObject(const QelSwitchableObject&) = delete;
    QelSwitchableObject& operator=(const QelSwitchableObject&) = delete;

    /// False, with a warning, when turning on finds no free slot.
    bool TurnOn(bool bOn);
    /// True while the object holds a slot.
    bool IsOn() const { return GetSlot() >= 0; }
    /// The OpenGL number of the slot (0 for GL_LIGHT0 or GL_CLIP_PLANE0) while on, else -1.
    int GetSlot() const;

    /// False: lights and planes do not widen zoom to extents.
    bool ContributesToSceneExtents() override { return false; }

protected:
    /// cTable is the process-wide table of this kind of object; pKind names the kind in the plural
    /// for the refusal ("lights").
    QelSwitchableObject(QelSlotTable& cTable, const char* pOnProperty, const char* pKind);
    void PropagateDirtyBitToNodes(unsigned short nBits, QelProperty* pProperty) override;
    /// Checks a placement worked out from the transform: finite, and a non-zero axis. Warns once
    /// until it is valid again.
    bool CheckPlacement(const QelVec3& vPoint, const QelVec3& vAxis, const char* pWhat);

private:
    QelSlotTable& m_cTable;
    QelProperty* m_pOn;
    const char* m_pKind;
    bool m_bSyncing = false;
    bool m_bWarned = false;
};
