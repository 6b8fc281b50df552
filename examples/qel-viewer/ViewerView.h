#pragma once

#include "ViewerCamera.h"

#include "qel/display/QelDisplaySystem.h"

class QelProperty;
class ViewerScene;

/// The viewer's 3D view: a display system that draws the scene through its camera and turns the
/// input the window passes to its hooks into camera moves. Its own properties (background, field of
/// view, a zoom button) are edited in the property panel like any object's and saved with the scene.
class ViewerView : public QelDisplaySystem
{
public:
    explicit ViewerView(ViewerScene* pScene);

    ViewerCamera& Camera() { return m_cCamera; }
    ViewerScene* GetScene() const { return m_pScene; }

    // Drawing
    /// Clears and draws the scene into the current viewport; a view without area draws nothing.
    void Draw() override;
    QelVec4 GetClearColor() override;
    bool IsManagingScreenClears() override { return true; }
    void WindowResized(unsigned int nWidth, unsigned int nHeight) override;
    void Zoom(EZoomTypes eZoom) override;
    std::vector<QelDisplayObject*>* GetDisplayObjects() override;

    // Input: left drag tumbles, middle drag (or shift + left) pans, right drag and the wheel dolly.
    void MouseButtonPress(const QelMouseState& mouse) override;
    void MouseButtonRelease(const QelMouseState& mouse) override;
    bool MouseMotion(const QelMouseState& mouse, QelVec2 vecMotion, bool& bHandled) override;
    void MouseWheelMotion(const QelMouseState& mouse, short nDelta) override;
    /// F fits the selection (or everything), Home resets, the digits 1 to 7 pick the view presets.
    void KeyPressed(const QelKeyState& key) override;
    /// "+" and "-" zoom in and out.
    void CharacterPressed(const QelKeyState& key) override;

    // Properties
    bool IsPropertyButton(QelProperty* pProperty) const override;
    void ButtonPressed(QelProperty* pProperty) override;
    std::string GetPropertyDescription(const QelProperty* pProperty) override;
    /// Takes the field of view from its property.
    void Calculate() override;

private:
    /// Width over height of the stored size, 1 for a view without area.
    float Aspect();
    void DrawSelection();

    ViewerScene* m_pScene;
    ViewerCamera m_cCamera;
    QelProperty* m_pBackground = nullptr;
    QelProperty* m_pFieldOfView = nullptr;
    QelProperty* m_pScreenshotFolder = nullptr;
    QelProperty* m_pZoomExtents = nullptr;
    bool m_bDragging = false;
};
