#pragma once

#include "ViewerPanels.h"
#include "ViewerSession.h"

#include <string>
#include <vector>

struct GLFWwindow;

/// The viewer's window: GLFW for the window and its input, Dear ImGui for the panels, the library's
/// display system for the 3D view. Input over the view goes to the view's hooks as the library's
/// mouse and key records; input over a panel stays with the panel. Ctrl+Z and Ctrl+Y (or
/// Ctrl+Shift+Z) undo and redo.
class ViewerWindow : public ViewerSession
{
public:
    explicit ViewerWindow(ViewerApp& cApp);
    ~ViewerWindow() override;

    /// Opens the window; false, with the reason in the log, when no window or OpenGL can be had.
    bool Create(int nWidth, int nHeight);
    /// Runs until the window is closed.
    void Run();

    bool RenderFrames(int nFrames) override;
    /// Renders one more frame and writes it, panels included, as it will appear.
    bool Screenshot(const std::string& strPath) override;
    bool Resize(int nWidth, int nHeight) override;
    /// Draws n frames without waiting for the display's refresh and gives each one's wall and
    /// process CPU time in milliseconds, panels and buffer swap included, the drawing finished.
    void TimeFrames(int nFrames, std::vector<double>& vWallMs, std::vector<double>& vCpuMs);

    /// Asks the main loop to end after this frame.
    void Close();

private:
    void RenderFrame(const std::string& strShot, bool& bShotOk);
    /// The mouse position in framebuffer pixels, relative to the view (origin top left, as window
    /// systems report it).
    void MouseInView(double dX, double dY, int& nX, int& nY, bool& bInside) const;
    void FillModifiers(int nMods, bool& bShift, bool& bControl, bool& bAlt) const;

    static ViewerWindow* FromGlfw(GLFWwindow* pWindow);
    static void OnMouseButton(GLFWwindow* pWindow, int nButton, int nAction, int nMods);
    static void OnCursor(GLFWwindow* pWindow, double dX, double dY);
    static void OnScroll(GLFWwindow* pWindow, double dX, double dY);
    static void OnKey(GLFWwindow* pWindow, int nKey, int nScancode, int nAction, int nMods);
    static void OnChar(GLFWwindow* pWindow, unsigned int nCodepoint);
    static void OnDrop(GLFWwindow* pWindow, int nCount, const char** ppPaths);

    GLFWwindow* m_pWindow = nullptr;
    bool m_bImGui = false;
    ViewerPanels m_cPanels;
    unsigned int m_nButtons = 0;
    double m_dLastX = 0.0, m_dLastY = 0.0;
    bool m_bDragInView = false;
};
