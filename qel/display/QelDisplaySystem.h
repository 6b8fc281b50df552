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
        int32_t m_nX = 0;
        int32_t m_nY = 0;
        int32_t m_nZ = 0;
        int32_t m_nPressure = 0;
        int32_t m_nAzimuth = 0;
        int32_t m_nAltitude = 0;
        uint32_t m_nButtons = 0;
    };

    QelDisplaySystem();
    explicit QelDisplaySystem(const QelPluginAttributes& attributes);
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
    static void SetCurrentViewportInfo(int x, int y, int nWidth, int nHeight, unsigned int nEnabled,
                                       unsigned int nActive);
    static void GetCurrentViewportInfo(int& x, int& y, int& nWidth, int& nHeight);

    ECategories GetCategory() const override;
    const QelVec4& GetIconColor() override;

    /// Stores the host window and frame returned by GetWnd and GetFrame.
    void SetMfcData(CWnd* pWnd, CFrameWnd* pFrame);

    virtual bool MouseMotion(const QelMouseState& mouse, QelVec2 vecMotion, bool& bHandled);
    /// Stores the new size of the drawing surface.
    virtual void WindowResized(unsigned int nWidth, unsigned int nHeight);
    /// Asks the application object for the standard arrow cursor.
    virtual void SetCursor();
    virtual CWnd* GetWnd(bool bForce);
    virtual CFrameWnd* GetFrame(bool bForce);
    /// Marks the view as needing a redraw.
    virtual void Redraw();
    virtual bool AllowFocusManipulation();
    virtual bool AllowMultisampling();

    // Drawing and object hooks; they do nothing here.
    virtual void AddObject(const QelDisplayObject* pObject);
    virtual void RemoveObject(const QelDisplayObject* pObject);
    /// The objects the view draws; no list (null) here.
    virtual std::vector<QelDisplayObject*>* GetDisplayObjects();
    virtual void Draw();
    virtual void OnCreate();
    virtual void PostSwap();
    virtual void HandleChangeOfSelection();
    virtual void KeyPressed(const QelKeyState& key);
    virtual void KeyReleased(const QelKeyState& key);
    virtual void CharacterPressed(const QelKeyState& key);
    virtual void MouseButtonPress(const QelMouseState& mouse);
    virtual void MouseButtonRelease(const QelMouseState& mouse);
    virtual void MouseButtonDoublePress(const QelMouseState& mouse);
    virtual void MouseWheelMotion(const QelMouseState& mouse, short nDelta);
    virtual void ToolbarButtonPress(unsigned int nButton);
    virtual void UpdateToolbarButton(unsigned int nButton, bool& bEnabled, bool& bChecked);
    virtual void WindowCreated();
    virtual void WindowDestroyed();

    virtual void GetWindowSize(unsigned int& nWidth, unsigned int& nHeight);
    /// (0, 0, 0, 0) here.
    virtual QelVec4 GetClearColor();
    /// The OpenGL clear mask for color, depth and stencil (17664).
    virtual unsigned int GetClearBit();
    /// False here: the host clears the screen.
    virtual bool IsManagingScreenClears();
    /// False here: no toolbar.
    virtual bool GetToolbarInfo(void*& pResource, unsigned int& nButtons, EToolbarDock& eDock);
    virtual void Zoom(EZoomTypes eZoom);
    virtual void SetTabletData(const STabletData& data);
    virtual STabletData GetTabletData();
    virtual bool NeedsRedraw();
    virtual void ResetRedrawFlag();
    virtual void SetAllowOpenOnLoad(bool bAllow);
    virtual bool IsAllowedOpenOnLoad();

    // The selection set. Every change that alters the set calls HandleChangeOfSelection once and
    // keeps the objects' own selected flags in step; the view holds the selected objects, so one
    // that is deleted leaves the set (and the hook is called).
    const std::vector<QelDisplayObject*>& GetSelection() const;
    bool IsInSelection(const QelDisplayObject* pObject) const;
    /// Replaces the set; null and duplicate entries are skipped.
    void SetSelection(const std::vector<QelDisplayObject*>& vecObjects);
    void AddToSelection(QelDisplayObject* pObject);
    void RemoveFromSelection(QelDisplayObject* pObject);
    void ClearSelection();
    /// A selected object being deleted leaves the selection.
    void OnObjectDeletion(QelBase* pDeleted) override;

private:
    /// Creates "Reserved:This" (or points an existing one back at this object).
    void BindReservedThis();
    /// Stores the set without telling anyone; true when it differs from the current one.
    bool ReplaceSelection(const std::vector<QelDisplayObject*>& vecObjects);

    QelDisplaySystemDef* m_pDef;
};
