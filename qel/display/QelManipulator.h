#pragma once

#include "qel/display/QelCamera.h"
#include "qel/display/QelDisplayObject.h"
#include "qel/display/QelDisplaySystem.h"
#include "qel/display/QelGrid.h"
#include "qel/display/QelMouseState.h"
#include "qel/math/QelMatrix4.h"
#include "qel/math/QelVec2.h"
#include "qel/math/QelVec3.h"
#include "qel/platform/QelExport.h"

/// Handles drawn at a target object that move, turn or scale it by dragging: arrows along the
/// world axes and squares in their planes (translate), rings about the axes (rotate), and arrows
/// with boxes along the target's own axes (scale). The size on screen stays the same whatever the
/// distance. Drags edit the target's "Transform:..." properties, so histories, expressions and
/// undo follow; the grid's snapping applies when one is set.
///
/// Takes the display system's input hooks: MouseButtonPress grabs a handle under the mouse,
/// MouseMotion drags it, MouseButtonRelease lets go. Each returns true when it used the event,
/// so a host passes the event on to the camera otherwise.
class QEL_EXPORT QelManipulator : public QelDisplayObject
{
public:
    /// What a drag does, and which handles are drawn; the values of "Manipulator:Mode".
    enum EMode
    {
        eModeTranslate = 0,
        eModeRotate = 1,
        eModeScale = 2
    };
    /// The handle under the mouse or held: one axis, or the plane of two axes (translation only).
    enum EHandle
    {
        eHandleNone = 0,
        eHandleX,
        eHandleY,
        eHandleZ,
        eHandleXY,
        eHandleYZ,
        eHandleXZ
    };

    QelManipulator();
    ~QelManipulator() override;
    /// Not copied: the target is held by one manipulator.
    QelManipulator(const QelManipulator&) = delete;
    QelManipulator& operator=(const QelManipulator&) = delete;

    /// Manipulator Object, so picking and plug-in lists can leave it out.
    ECategories GetCategory() const override { return eCategoryManipulatorObject; }

    /// The object the handles act on; null hides them. The manipulator holds it, so it lets go
    /// when the object is deleted.
    void SetTarget(QelDisplayObject* pTarget);
    /// The object the handles act on; null when none (or after it was deleted).
    QelDisplayObject* GetTarget() const { return m_pTarget; }
    /// Targets the first object of the view's selection (none when it is empty).
    void FollowSelection(QelDisplaySystem& view);
    /// The camera that turns mouse positions into rays and keeps the handles' size on screen; not
    /// owned. Without one, nothing can be grabbed.
    void SetCamera(QelCamera* pCamera) { m_pCamera = pCamera; }
    /// The grid whose snapping drags honour; null (the default) snaps nothing. Not owned.
    void SetGrid(QelGrid* pGrid) { m_pGrid = pGrid; }
    /// "Manipulator:Mode".
    void SetMode(EMode eMode);
    /// The current mode; a stored value out of range reads as the nearest mode.
    EMode GetMode();
    /// Length of the handles in pixels ("Manipulator:Handle size", 10 to 1000).
    void SetHandlePixels(float fPixels);

    /// The handle under the mouse (viewport pixels, origin top left), or eHandleNone.
    EHandle HitTest(int nMouseX, int nMouseY);
    /// Grabs the handle under the mouse. Refused for translation when the target does not
    /// AllowAnalogTranslation. Records an undo step for the target.
    bool BeginDrag(int nMouseX, int nMouseY);
    /// Moves the grabbed handle to the mouse position; false when nothing is grabbed.
    bool Drag(int nMouseX, int nMouseY);
    /// Lets go; the target hears ObjectTransformed(true) once more.
    void EndDrag();
    /// True between BeginDrag and EndDrag.
    bool IsDragging() const { return m_eGrabbed != eHandleNone; }
    /// The handle being dragged, or eHandleNone.
    EHandle GetGrabbedHandle() const { return m_eGrabbed; }

    /// A left press on a handle starts a drag (BeginDrag); true when it did.
    bool MouseButtonPress(const QelMouseState& mouse);
    /// Drags the grabbed handle to the mouse; sets bHandled and returns true when a drag is running.
    bool MouseMotion(const QelMouseState& mouse, QelVec2 vecMotion, bool& bHandled);
    /// Ends a running drag (EndDrag); true when there was one.
    bool MouseButtonRelease(const QelMouseState& mouse);

    /// Draws the handles at the target (world coordinates: the manipulator is drawn at the root of
    /// a scene, without a transform of its own).
    void Draw() override;
    /// False: the handles do not widen zoom to extents.
    bool ContributesToSceneExtents() override { return false; }
    void OnObjectDeletion(QelBase* pDeleted) override;
    bool Save(QelXMLInterface* pXML) override;
    bool Load(QelXMLInterface* pXML) override;

private:
    struct SFrame
    {
        QelVec3 m_vecOrigin;
        QelVec3 m_vecAxis[3];
        float m_fLength = 0.0f;
    };
    bool GetFrame(SFrame& cFrame);
    /// The parameter along the handle's axis closest to the pick ray through the mouse.
    bool AxisParameter(const QelVec3& vAxis, int nMouseX, int nMouseY, float& fS);
    /// Where the pick ray meets the plane through the origin with the given normal.
    bool PlanePoint(const QelVec3& vNormal, int nMouseX, int nMouseY, QelVec3& vPoint);
    void DragTranslate(int nMouseX, int nMouseY);
    void DragRotate(int nMouseX, int nMouseY);
    void DragScale(int nMouseX, int nMouseY);
    void WriteProperty(const char* pName, float fValue);

    QelDisplayObject* m_pTarget = nullptr;
    QelCamera* m_pCamera = nullptr;
    QelGrid* m_pGrid = nullptr;
    QelProperty* m_pMode;
    QelProperty* m_pHandlePixels;
    /// The mode of the drag in progress.
    EMode m_eMode = eModeTranslate;
    EHandle m_eGrabbed = eHandleNone;
    SFrame m_cStartFrame;
    QelVec3 m_vecStartPoint; ///< where the drag started on the handle's line or plane
    float m_fStartParameter = 0.0f;
    QelVec3 m_vecStartTranslation;
    QelVec3 m_vecStartScale;
    QelMatrix4 m_mStartLocal;
    QelMatrix4 m_mParent;
};
