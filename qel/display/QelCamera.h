#pragma once

#include "qel/display/QelDisplayObject.h"
#include "qel/display/QelDisplaySystem.h"
#include "qel/display/QelFocalPoint.h"
#include "qel/display/QelMouseState.h"
#include "qel/math/QelBox3.h"
#include "qel/math/QelMatrix4.h"
#include "qel/math/QelRay.h"
#include "qel/math/QelVec2.h"
#include "qel/math/QelVec3.h"
#include "qel/platform/QelExport.h"

#include <vector>

/// A viewer whose eye orbits a focal point. World Z is up; the eye sits at the focal point plus
/// "Camera:Distance" along the direction given by "Camera:Azimuth" (degrees from +X towards +Y)
/// and "Camera:Elevation" (degrees above the XY plane, -90 to 90). The up vector is the
/// elevation's tangent, so straight top and bottom views are as well defined as any other.
///
/// The camera is driven through the same calls a display system receives (MouseButtonPress,
/// MouseMotion, MouseWheelMotion, Zoom), so a host's view forwards its hooks in one line each.
/// Left drag tumbles, middle drag (or Shift with left) pans, right drag (or Control with left)
/// dollies eye and focal point forwards, the wheel zooms the eye towards the focal point.
class QEL_EXPORT QelCamera : public QelDisplayObject
{
public:
    /// The values of the "Camera:Projection" enumeration property.
    enum EProjection
    {
        eProjectionPerspective = 0,
        eProjectionOrthographic = 1
    };
    /// Standard views for SetView: the direction changes, focal point and distance stay. The three
    /// quarter view is the camera's starting direction.
    enum EViewPreset
    {
        eViewTop = 0,
        eViewBottom,
        eViewFront,
        eViewBack,
        eViewLeft,
        eViewRight,
        eViewThreeQuarter,
        eViewPresetCount
    };

    QelCamera();
    ~QelCamera() override;
    /// Not copied: the members point at this camera's own properties.
    QelCamera(const QelCamera&) = delete;
    QelCamera& operator=(const QelCamera&) = delete;

    /// The point the eye orbits, owned by the camera; moving it pans the view.
    QelFocalPoint& GetFocalPoint() { return m_cFocalPoint; }
    /// Where Zoom finds the objects (GetDisplayObjects) and the selection; may be null.
    void SetDisplaySystem(QelDisplaySystem* pView) { m_pView = pView; }

    // Projection
    /// Perspective or orthographic, kept in "Camera:Projection" (saved with the camera).
    ///@{
    EProjection GetProjection();
    void SetProjection(EProjection eProjection);
    ///@}
    /// Vertical field of view in degrees, clamped to [1, 170]; in orthographic projection it sets
    /// the height seen at the focal distance, so switching projections keeps the framing.
    float GetFieldOfView();
    /// A value that is not finite is refused with a warning (false); one outside [1, 170] is clamped
    /// with a warning.
    bool SetFieldOfView(float fDegrees);
    /// The clip distances in world units in front of the eye (0.1 and 1000 for a new camera); with
    /// automatic clipping on they follow the scene.
    ///@{
    float GetNearClip();
    float GetFarClip();
    ///@}
    /// Refused with a warning unless 0 < near < far and both are finite.
    bool SetClipDistances(float fNear, float fFar);
    /// With automatic clipping on, Apply fits near and far around the visible scene every frame.
    bool IsAutoClipping();
    /// Switches automatic clipping (see IsAutoClipping); kept in a property, so it is saved.
    void SetAutoClipping(bool bAuto);

    // Placement
    /// The orbit in degrees and world units, as described for the class; a stored value that is not
    /// finite reads as the home view's.
    ///@{
    float GetAzimuth();
    float GetElevation();
    float GetDistance();
    ///@}
    /// Refused with a warning when a value is not finite; the elevation is clamped to [-90, 90]
    /// and the distance to at least the smallest distance (the eye never sits on the focal point).
    bool SetOrbit(float fAzimuth, float fElevation, float fDistance);
    /// Places the eye at vEye looking at vTarget (which becomes the focal point).
    bool LookAt(const QelVec3& vEye, const QelVec3& vTarget);
    /// The eye position in world coordinates, derived from focal point and orbit.
    QelVec3 GetEye();
    /// The focal point's position; one that is not finite is moved to the origin with a warning.
    QelVec3 GetFocus();
    /// Unit vectors of the view: forwards (eye to focal point), up and right.
    void GetFrame(QelVec3& vForward, QelVec3& vUp, QelVec3& vRight);
    /// Turns the eye to a preset direction around the current focal point at the current distance;
    /// an unknown preset is ignored with a warning.
    void SetView(EViewPreset ePreset);
    /// Stores the current view as the one eZoomReset goes back to.
    void SetHome();

    // Viewport, in window pixels with the origin bottom left as OpenGL counts them. Mouse positions
    // are relative to the viewport with the origin top left, as QelMouseState gives them.
    /// A size below 1 is clamped to 1 with a warning.
    void SetViewport(int x, int y, int nWidth, int nHeight);
    /// x, y, width and height as last set (0, 0, 1, 1 for a new camera).
    void GetViewport(int pnViewport[4]) const;

    // Matrices
    /// The OpenGL projection matrix for the viewport's aspect; clip distances that are out of order
    /// are replaced (with a warning) so the matrix stays usable.
    QelMatrix4 GetProjectionMatrix();
    /// World to eye coordinates (the modelview matrix before any object transform).
    QelMatrix4 GetViewMatrix();
    /// Loads the projection and modelview matrices; with automatic clipping, fits near and far first.
    void Apply();
    /// World to window coordinates (x, y in pixels, z depth 0 to 1), through gluProject. False
    /// for a point gluProject cannot place (on the eye plane).
    bool Project(const QelVec3& vWorld, QelVec3& vWindow);
    /// The inverse of Project, through gluUnProject; false when the matrices cannot be inverted.
    bool Unproject(const QelVec3& vWindow, QelVec3& vWorld);
    /// The ray from the near plane through the mouse position; the direction has unit length.
    QelRay GetPickRay(int nMouseX, int nMouseY);
    /// True when the mouse position lies in the viewport.
    bool IsInViewport(int nMouseX, int nMouseY) const;
    /// World units per pixel at distance fDepth in front of the eye (at the focal point for
    /// orthographic projection, where it does not depend on depth).
    float GetUnitsPerPixel(float fDepth);

    // Interaction
    /// Turns the eye around the focal point by a mouse motion in pixels (0.4 degrees per pixel).
    void Tumble(float fDx, float fDy);
    /// Moves focal point and eye sideways so the point under the mouse follows it (pixels).
    void Pan(float fDx, float fDy);
    /// Moves focal point and eye together along the view direction by a vertical motion in pixels;
    /// the distance between them stays.
    void Dolly(float fDy);
    /// Multiplies the distance to the focal point by fFactor (below 1 comes closer).
    void ZoomBy(float fFactor);
    /// Starts a tumble, pan or dolly by the button and modifiers; true when a drag started, so the
    /// host knows the camera took the press.
    bool MouseButtonPress(const QelMouseState& mouse);
    /// Ends a drag; true when one was running.
    bool MouseButtonRelease(const QelMouseState& mouse);
    /// Tumbles, pans or dollies by vecMotion pixels as the held button says; bHandled is set when
    /// the camera moved. True when the view changed.
    bool MouseMotion(const QelMouseState& mouse, QelVec2 vecMotion, bool& bHandled);
    /// One notch (120) zooms by 1.25.
    void MouseWheelMotion(const QelMouseState& mouse, short nDelta);
    /// In, out, every visible object, the selection, or home.
    void Zoom(EZoomTypes eZoom);
    /// Frames the box: the focal point goes to its center, and the eye backs off along the current
    /// direction until the box's bounding sphere fits both fields of view. False for an invalid box.
    bool ZoomToBox(const QelBox3& cBox);
    /// Sets near and far around the box's bounding sphere seen from the eye; the near distance
    /// never drops below far / 100000, which keeps depth precision from millimetres to kilometres.
    void FitClipToBox(const QelBox3& cBox);

    /// The world bounds of the visible objects under the roots that contribute to scene extents.
    static QelBox3 GetSceneExtents(const std::vector<QelDisplayObject*>& vecRoots, bool bSelectedOnly = false);

    /// False: the camera is not part of what zoom to extents frames.
    bool ContributesToSceneExtents() override { return false; }
    bool Save(QelXMLInterface* pXML) override;
    bool Load(QelXMLInterface* pXML) override;

private:
    enum EDrag
    {
        eDragNone,
        eDragTumble,
        eDragPan,
        eDragDolly
    };
    /// gluProject and gluUnProject share this signature.
    typedef int (*GluMapping)(double, double, double, const double*, const double*, const int*, double*, double*,
                              double*);
    /// Maps vIn through one of them with this camera's matrices and viewport.
    bool ThroughGlu(GluMapping fnMap, const QelVec3& vIn, QelVec3& vOut);
    float Aspect() const;
    void SetDistanceChecked(float fDistance);

    QelFocalPoint m_cFocalPoint;
    QelDisplaySystem* m_pView = nullptr;
    QelProperty* m_pProjection;
    QelProperty* m_pFieldOfView;
    QelProperty* m_pNearClip;
    QelProperty* m_pFarClip;
    QelProperty* m_pAutoClip;
    QelProperty* m_pAzimuth;
    QelProperty* m_pElevation;
    QelProperty* m_pDistance;
    int m_nViewport[4] = {0, 0, 1, 1};
    EDrag m_eDrag = eDragNone;
    QelVec3 m_vecHomeFocus;
    float m_fHome[3] = {-60.0f, 30.0f, 10.0f};
};
