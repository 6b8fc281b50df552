#pragma once

#include "qel/display/QelKeyState.h"
#include "qel/display/QelMouseState.h"
#include "qel/math/QelVec2.h"
#include "qel/math/QelVec4.h"
#include "qel/platform/QelExport.h"
#include "qel/platform/QelHandles.h"
#include "qel/properties/QelPropertyContainer.h"

#include <cstdint>
#include <vector>

class QelDisplayObject;
class QelDisplaySystemDef;

/// The zoom commands a host's view menu or keys send to a display system.
enum EZoomTypes
{
    eZoomIn = 0,
    eZoomOut = 1,
    eZoomExtents = 2,         ///< fit every object in view
    eZoomSelectedExtents = 3, ///< fit the selected objects in view
    eZoomReset = 4            ///< back to the view's home position
};

/// Where a display system wants its toolbar docked in the host window.
enum EToolbarDock
{
    eToolbarDockTop = 0,
    eToolbarDockBottom = 1,
    eToolbarDockLeft = 2,
    eToolbarDockRight = 3,
    eToolbarFloating = 4
};

/// Base of a host's viewport: one OpenGL drawing surface in a host window. It offers viewport and
/// scissor set-up relative to the shared current-viewport record, a redraw flag, the tablet record
/// and a default for every hook; the host derives from it and overrides the hooks it needs.
class QEL_EXPORT QelDisplaySystem : public QelPropertyContainer
{
public:
    /// Tablet input as the host's input side received it; copied whole.
    struct STabletData
    {
        int32_t m_nX = 0;         ///< Pen position in the tablet's own units.
        int32_t m_nY = 0;         ///< Pen position in the tablet's own units.
        int32_t m_nZ = 0;         ///< Height above the pad, where the tablet reports one.
        int32_t m_nPressure = 0;  ///< Tip pressure in the tablet's own range.
        int32_t m_nAzimuth = 0;   ///< Pen direction around the vertical, as the driver reports it.
        int32_t m_nAltitude = 0;  ///< Pen tilt from the pad, as the driver reports it.
        uint32_t m_nButtons = 0;  ///< One bit per pen button held.
    };

    /// A view that needs a redraw, with no window yet, and its own "Reserved:This" property naming
    /// it; the second form is the plug-in creation path.
    ///@{
    QelDisplaySystem();
    explicit QelDisplaySystem(const QelPluginAttributes& attributes);
    ///@}
    /// Copies the property container part; the copy has its own state and its own "Reserved:This".
    QelDisplaySystem(const QelDisplaySystem& other);
    /// Copies the property container part only.
    QelDisplaySystem& operator=(const QelDisplaySystem& other);
    ~QelDisplaySystem() override;

    // The shared current-viewport record: where the current viewport lies in its window.
    /// Sets glViewport and glScissor to (record x + x, record y + y, width, height) when the record
    /// is enabled and active; otherwise issues no OpenGL call.
    static void SetViewport(int x, int y, int nWidth, int nHeight);
    /// Sets glScissor like SetViewport, under the same condition.
    static void SetScissor(int x, int y, int nWidth, int nHeight);
    /// Converts viewport-relative coordinates to window-relative ones.
    static void GetScreenCoordinate(int x, int y, int& nOutX, int& nOutY);
    /// Sets the shared record: the viewport's place in its window (y counted from the bottom, as
    /// OpenGL does) and two flags; SetViewport and SetScissor act only while both flags are non-zero.
    static void SetCurrentViewportInfo(int x, int y, int nWidth, int nHeight, unsigned int nEnabled,
                                       unsigned int nActive);
    /// Reads the shared record's place and size (all zero before the first SetCurrentViewportInfo).
    static void GetCurrentViewportInfo(int& x, int& y, int& nWidth, int& nHeight);

    /// Display System, so plug-in lists file it with the views.
    ECategories GetCategory() const override;
    const QelVec4& GetIconColor() override;

    /// Stores the host window and frame returned by GetWnd and GetFrame.
    void SetMfcData(CWnd* pWnd, CFrameWnd* pFrame);

    /// The mouse moved by vecMotion pixels; set bHandled when the view consumed it. Returns whether the
    /// view changed (false and nothing done here).
    virtual bool MouseMotion(const QelMouseState& mouse, QelVec2 vecMotion, bool& bHandled);
    /// Stores the new size of the drawing surface.
    virtual void WindowResized(unsigned int nWidth, unsigned int nHeight);
    /// Asks the application object for the standard arrow cursor.
    virtual void SetCursor();
    /// The host window and frame given to SetMfcData (null until then); the flag is for hosts that
    /// create them on demand.
    ///@{
    virtual CWnd* GetWnd(bool bForce);
    virtual CFrameWnd* GetFrame(bool bForce);
    ///@}
    /// Marks the view as needing a redraw.
    virtual void Redraw();
    /// Whether the host may give this view the keyboard focus by itself; true here.
    virtual bool AllowFocusManipulation();
    /// Whether the host should create a multisampled surface for this view; false here.
    virtual bool AllowMultisampling();

    // Drawing and object hooks; they do nothing here.
    /// The host tells the view of an object entering or leaving the scene; the view does not own it.
    ///@{
    virtual void AddObject(const QelDisplayObject* pObject);
    virtual void RemoveObject(const QelDisplayObject* pObject);
    ///@}
    /// The objects the view draws; no list (null) here.
    virtual std::vector<QelDisplayObject*>* GetDisplayObjects();
    /// Draws the scene into the current OpenGL context; the host has made the context current and
    /// swaps buffers afterwards.
    virtual void Draw();
    /// Called once after the view and its OpenGL context exist, before the first Draw.
    virtual void OnCreate();
    /// Called after the host swapped buffers, e.g. to read back the finished frame.
    virtual void PostSwap();
    /// Called once for every change of the selection set (see SetSelection).
    virtual void HandleChangeOfSelection();
    /// Keyboard events with the modifiers held; KeyPressed and KeyReleased carry key codes,
    /// CharacterPressed the typed character.
    ///@{
    virtual void KeyPressed(const QelKeyState& key);
    virtual void KeyReleased(const QelKeyState& key);
    virtual void CharacterPressed(const QelKeyState& key);
    ///@}
    /// Mouse button events, the position relative to the viewport with the origin top left.
    ///@{
    virtual void MouseButtonPress(const QelMouseState& mouse);
    virtual void MouseButtonRelease(const QelMouseState& mouse);
    virtual void MouseButtonDoublePress(const QelMouseState& mouse);
    ///@}
    /// Wheel motion in the usual units: 120 per notch, positive away from the user.
    virtual void MouseWheelMotion(const QelMouseState& mouse, short nDelta);
    /// A button of the toolbar described by GetToolbarInfo was pressed.
    virtual void ToolbarButtonPress(unsigned int nButton);
    /// The host asks how to show a toolbar button; leave the flags as they are for the default.
    virtual void UpdateToolbarButton(unsigned int nButton, bool& bEnabled, bool& bChecked);
    /// The host window was created or is about to be destroyed.
    ///@{
    virtual void WindowCreated();
    virtual void WindowDestroyed();
    ///@}

    /// The size last given to WindowResized, in pixels (0 x 0 before it); may be zero when minimised.
    virtual void GetWindowSize(unsigned int& nWidth, unsigned int& nHeight);
    /// (0, 0, 0, 0) here.
    virtual QelVec4 GetClearColor();
    /// The OpenGL clear mask for color, depth and stencil (17664).
    virtual unsigned int GetClearBit();
    /// False here: the host clears the screen.
    virtual bool IsManagingScreenClears();
    /// False here: no toolbar.
    virtual bool GetToolbarInfo(void*& pResource, unsigned int& nButtons, EToolbarDock& eDock);
    /// A zoom command from the host's menu or keys; nothing here (a view forwards it to its camera).
    virtual void Zoom(EZoomTypes eZoom);
    /// The last tablet record the input side stored, copied whole (all zero until then).
    ///@{
    virtual void SetTabletData(const STabletData& data);
    virtual STabletData GetTabletData();
    ///@}
    /// The frame loop asks NeedsRedraw, draws, then calls ResetRedrawFlag; a new view needs a redraw.
    ///@{
    virtual bool NeedsRedraw();
    virtual void ResetRedrawFlag();
    ///@}
    /// A flag for the host: whether loading a document may open this view; true by default.
    ///@{
    virtual void SetAllowOpenOnLoad(bool bAllow);
    virtual bool IsAllowedOpenOnLoad();
    ///@}

    // The selection set. Every change that alters the set calls HandleChangeOfSelection once and
    // keeps the objects' own selected flags in step; the view holds the selected objects, so one
    // that is deleted leaves the set (and the hook is called).
    /// The selected objects in the order they were selected.
    const std::vector<QelDisplayObject*>& GetSelection() const;
    /// Whether the object is in the selection set (null never is).
    bool IsInSelection(const QelDisplayObject* pObject) const;
    /// Replaces the set; null and duplicate entries are skipped.
    void SetSelection(const std::vector<QelDisplayObject*>& vecObjects);
    /// Add one object at the end, take one out, or empty the set; a call that changes nothing (null,
    /// already selected, not selected, already empty) does not call HandleChangeOfSelection.
    ///@{
    void AddToSelection(QelDisplayObject* pObject);
    void RemoveFromSelection(QelDisplayObject* pObject);
    void ClearSelection();
    ///@}
    /// A selected object being deleted leaves the selection.
    void OnObjectDeletion(QelBase* pDeleted) override;

private:
    /// Creates "Reserved:This" (or points an existing one back at this object).
    void BindReservedThis();
    /// Stores the set without telling anyone; true when it differs from the current one.
    bool ReplaceSelection(const std::vector<QelDisplayObject*>& vecObjects);

    QelDisplaySystemDef* m_pDef;
};
