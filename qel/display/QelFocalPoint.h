#pragma once

#include "qel/display/QelDisplayObject.h"
#include "qel/math/QelVec3.h"
#include "qel/platform/QelExport.h"

/// The point a camera orbits, pans with and zooms towards. Its translation is the point; it
/// draws as a small cross when shown, and takes no part in the scene's extents.
class QEL_EXPORT QelFocalPoint : public QelDisplayObject
{
public:
    QelFocalPoint();

    /// The point in its parent's coordinates (world coordinates for a camera's focal point); kept in the
    /// "Transform:Translation" properties, so it is saved with the camera.
    ///@{
    QelVec3 GetPosition() { return GetTranslation(); }
    void SetPosition(const QelVec3& vPosition) { SetTranslation(vPosition); }
    ///@}
    /// Size of the drawn cross in world units.
    void SetMarkerSize(float fSize) { m_fMarkerSize = fSize; }

    /// False: zoom to extents frames the scene, not the focal point.
    bool ContributesToSceneExtents() override { return false; }
    void Draw() override;

private:
    float m_fMarkerSize = 0.25f;
};
