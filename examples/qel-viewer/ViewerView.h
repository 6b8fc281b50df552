#pragma once

#include "qel/display/QelCamera.h"
#include "qel/display/QelDisplaySystem.h"
#include "qel/display/QelManipulator.h"
#include "qel/display/QelPopupMenu.h"

#include <string>

class QelGrid;
class QelProperty;
class ViewerScene;

/// The viewer's 3D view: a display system that draws the scene through the library's camera and
/// passes the input its hooks receive to the manipulator, the camera and the picker, in that
/// order. Its own properties (background, field of view, a zoom button) are edited in the
/// property panel like any object's and saved with the scene.
///
/// Mouse: left click selects (Ctrl toggles), Alt + left drag selects by rubber band (Alt + Shift
/// adds), a drag on a manipulator handle moves, turns or scales the selection; otherwise left drag
/// tumbles, middle drag (or Shift + left) pans, right drag dollies and the wheel zooms. A right
/// click asks for the popup menu of the object under the mouse (TakePopupMenu).
class ViewerView : public QelDisplaySystem
{
public:
    /// The presets as the menus, keys (1 to 7) and scripts list them.
    static constexpr int kPresetCount = QelCamera::eViewPresetCount;
    /// The preset's name as scripts and menus spell it ("front" ... "iso"); n from 0 to kPresetCount - 1.
    static const char* PresetName(int n);
    /// False when the name is none of them.
    static bool PresetFromName(const std::string& strName, QelCamera::EViewPreset& ePreset);

    explicit ViewerView(ViewerScene* pScene);
    ~ViewerView() override;

    QelCamera& Camera() { return m_cCamera; }
    QelManipulator& Manipulator() { return m_cManipulator; }
    ViewerScene* GetScene() const { return m_pScene; }
    void SetPreset(QelCamera::EViewPreset ePreset);

    // Drawing
    /// Clears and draws the scene into the current viewport; a view without area draws nothing.
    void Draw() override;
    QelVec4 GetClearColor() override;
    bool IsManagingScreenClears() override { return true; }
    void WindowResized(unsigned int nWidth, unsigned int nHeight) override;
    /// Zooming to the selection with nothing selected zooms to everything.
    void Zoom(EZoomTypes eZoom) override;
    std::vector<QelDisplayObject*>* GetDisplayObjects() override;
    /// The manipulator follows the selection.
    void HandleChangeOfSelection() override;

    // Input
    void MouseButtonPress(const QelMouseState& mouse) override;
    void MouseButtonRelease(const QelMouseState& mouse) override;
    bool MouseMotion(const QelMouseState& mouse, QelVec2 vecMotion, bool& bHandled) override;
    void MouseWheelMotion(const QelMouseState& mouse, short nDelta) override;
    /// F fits the selection (or everything), Home goes home, the digits 1 to 7 pick the view
    /// presets, W, E and R set the manipulator to move, turn or scale, Delete removes the selection.
    void KeyPressed(const QelKeyState& key) override;
    /// "+" and "-" zoom in and out.
    void CharacterPressed(const QelKeyState& key) override;

    /// The menu a right click asked for, handed over once (the owner is null when none is due).
    QelPopupMenu TakePopupMenu();
    /// The rubber band being dragged, in viewport pixels; false when there is none.
    bool GetRubberBand(int& nX0, int& nY0, int& nX1, int& nY1) const;

    // Properties
    bool IsPropertyButton(QelProperty* pProperty) const override;
    void ButtonPressed(QelProperty* pProperty) override;
    std::string GetPropertyDescription(const QelProperty* pProperty) override;
    /// Takes the field of view from its property.
    void Calculate() override;

private:
    /// What a left or right press turned into, decided by the first motion.
    enum EGesture
    {
        eGestureNone,
        eGesturePending, ///< pressed, not moved far enough to be a drag
        eGestureCamera,
        eGestureManipulator,
        eGestureRubberBand
    };

    /// Gives the camera the view's rectangle in the window; a view without area keeps the last one.
    void PlaceCamera();
    void DrawSelection();
    void DrawRubberBand(int nWidth, int nHeight);
    /// The first grid of the scene, whose snapping the manipulator uses.
    QelGrid* FindGrid() const;

    ViewerScene* m_pScene;
    QelCamera m_cCamera;
    QelManipulator m_cManipulator;
    QelProperty* m_pBackground = nullptr;
    QelProperty* m_pFieldOfView = nullptr;
    QelProperty* m_pScreenshotFolder = nullptr;
    QelProperty* m_pZoomExtents = nullptr;
    EGesture m_eGesture = eGestureNone;
    QelMouseState m_cPress;
    QelVec2 m_vecPending;
    int m_nMouseX = 0, m_nMouseY = 0;
    QelPopupMenu m_cPopup;
};
