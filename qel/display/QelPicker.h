#pragma once

#include "qel/display/QelCamera.h"
#include "qel/display/QelDisplayObject.h"
#include "qel/display/QelDisplaySystem.h"
#include "qel/math/QelRay.h"
#include "qel/math/QelVec3.h"
#include "qel/platform/QelExport.h"

#include <vector>

/// One object a pick ray meets: where, and how far along the ray.
struct QelPickHit
{
    /// The object hit; null for no hit.
    QelDisplayObject* m_pObject = nullptr;
    /// Distance along the ray, in units of its direction.
    float m_fDistance = 0.0f;
    /// The hit point in world coordinates (the ray's own).
    QelVec3 m_vecPoint;
};

/// Finds display objects under the mouse or inside a screen rectangle, and selects them on a
/// display system. An object takes part when it is drawn (hidden objects and the children a
/// hidden parent hides are skipped), has valid extents and is not a manipulator. Its extents are
/// tested as a box in its own coordinates; when it offers a pick mesh, the triangles decide.
class QEL_EXPORT QelPicker
{
public:
    /// Every object the ray meets, nearest first.
    static std::vector<QelPickHit> PickAll(const std::vector<QelDisplayObject*>& vecRoots, const QelRay& ray);
    /// The nearest object the ray meets; no object in the hit when there is none.
    static QelPickHit Pick(const std::vector<QelDisplayObject*>& vecRoots, const QelRay& ray);
    /// The nearest object under the mouse (viewport pixels, origin top left). A position outside
    /// the viewport picks nothing, with a warning.
    static QelPickHit Pick(const std::vector<QelDisplayObject*>& vecRoots, QelCamera& camera, int nMouseX, int nMouseY);
    /// The objects whose bounds lie wholly inside the rectangle between two mouse positions (in any
    /// order; clamped to the viewport) and in front of the eye.
    static std::vector<QelDisplayObject*> PickRectangle(const std::vector<QelDisplayObject*>& vecRoots,
                                                       QelCamera& camera, int nX0, int nY0, int nX1, int nY1);

    /// A click on the view's objects (GetDisplayObjects): the object under the mouse becomes the
    /// selection, or with bToggle is added to or taken from it; a click on nothing clears the
    /// selection unless bToggle. Returns the object clicked.
    static QelDisplayObject* ClickSelect(QelDisplaySystem& view, QelCamera& camera, int nMouseX, int nMouseY,
                                         bool bToggle);
    /// Rubber-band selection: the objects inside the rectangle become the selection, or with bAdd
    /// join it.
    static void RubberBandSelect(QelDisplaySystem& view, QelCamera& camera, int nX0, int nY0, int nX1, int nY1,
                                 bool bAdd);
};
