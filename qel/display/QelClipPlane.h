#pragma once

#include "qel/display/QelSwitchableObject.h"
#include "qel/math/QelMatrix4.h"
#include "qel/math/QelPlane.h"
#include "qel/platform/QelExport.h"

#include <vector>

/// A clipping plane: the local XY plane of its transform, keeping what lies on the side its
/// local +Z points to. At most kMaxPlanes are on at once in the process; turning on one more is
/// refused with a warning naming those that are on.
class QEL_EXPORT QelClipPlane : public QelSwitchableObject
{
public:
    /// The clipping planes every OpenGL implementation offers (GL_CLIP_PLANE0 to 5).
    static constexpr int kMaxPlanes = 6;

    QelClipPlane();
    /// Places the plane through vPoint with the kept side towards vNormal; a zero or non-finite
    /// normal or point is refused with a warning.
    bool SetPlane(const QelVec3& vPoint, const QelVec3& vNormal);
    /// The world plane; false (warned once until valid again) for a degenerate transform.
    bool GetWorldPlane(QelPlane& cPlane);

    /// Loads every plane that is on into its OpenGL slot under the view matrix and disables the rest.
    static void ApplyAll(const QelMatrix4& mView);
    /// The planes that are on, in slot order.
    static std::vector<QelClipPlane*> GetPlanesOn();

    bool Save(QelXMLInterface* pXML) override;
    bool Load(QelXMLInterface* pXML) override;
};
