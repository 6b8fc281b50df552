#include "ViewerWindow.h"

#include "ViewerApp.h"
#include "ViewerLayout.h"
#include "ViewerTiming.h"

#include "qel/platform/QelTimer.h"

#include <GL/glew.h>
#include <GLFW/glfw3.h>
#include <imgui.h>
#include <imgui_impl_glfw.h>
#include <imgui_impl_opengl2.h>

#include <algorithm>

namespace
{
/// GLFW keys that differ from the Windows virtual key codes QelKeyState carries. Letters and
/// digits are the same in both.
struct SKeyCode
{
    int m_nGlfw;
    unsigned int m_nVirtual;
};
const SKeyCode kKeyCodes[] = {
    {GLFW_KEY_ESCAPE, 27}, {GLFW_KEY_ENTER, 13}, {GLFW_KEY_TAB, 9},       {GLFW_KEY_BACKSPACE, 8},
    {GLFW_KEY_INSERT, 45}, {GLFW_KEY_DELETE, 46}, {GLFW_KEY_RIGHT, 39},   {GLFW_KEY_LEFT, 37},
    {GLFW_KEY_DOWN, 40},   {GLFW_KEY_UP, 38},     {GLFW_KEY_PAGE_UP, 33}, {GLFW_KEY_PAGE_DOWN, 34},
    {GLFW_KEY_HOME, 36},   {GLFW_KEY_END, 35},    {GLFW_KEY_SPACE, 32},
};

unsigned int VirtualKey(int nKey)
{
    if ((nKey >= GLFW_KEY_A && nKey <= GLFW_KEY_Z) || (nKey >= GLFW_KEY_0 && nKey <= GLFW_KEY_9))
        return unsigned(nKey);
    if (nKey >= GLFW_KEY_F1 && nKey <= GLFW_KEY_F12)
        return 112u + unsigned(nKey - GLFW_KEY_F1);
    for (const SKeyCode& cCode : kKeyCodes)
        if (cCode.m_nGlfw == nKey)
            return cCode.m_nVirtual;
    return 0;
}

unsigned int ButtonBit(int nButton)
{
    switch (nButton)
    {
    case GLFW_MOUSE_BUTTON_LEFT:
        return QelMouseState::eButtonLeft;
    case GLFW_MOUSE_BUTTON_MIDDLE:
        return QelMouseState::eButtonMiddle;
    case GLFW_MOUSE_BUTTON_RIGHT:
        return QelMouseState::eButtonRight;
    default:
        return QelMouseState::eButtonNone;
    }
}

void OnGlfwError(int nCode, const char* pText)
{
    QelSysApp::App().PrintToConsole("<error> Window system: %s (0x%x)\n", pText ? pText : "", unsigned(nCode));
}
} // namespace

ViewerWindow::ViewerWindow(ViewerApp& cApp) : ViewerSession(cApp) {}

ViewerWindow::~ViewerWindow()
{
    if (m_bImGui)
    {
        ImGui_ImplOpenGL2_Shutdown();
        ImGui_ImplGlfw_Shutdown();
        ImGui::DestroyContext();
    }
    if (m_pWindow)
        glfwDestroyWindow(m_pWindow);
    glfwTerminate();
}

bool ViewerWindow::Create(int nWidth, int nHeight)
{
    glfwSetErrorCallback(OnGlfwError);
    if (!glfwInit())
    {
        App().PrintToConsole("<error> No window can be opened (is there a display?)\n");
        return false;
    }
    glfwWindowHint(GLFW_CONTEXT_VERSION_MAJOR, 2);
    glfwWindowHint(GLFW_CONTEXT_VERSION_MINOR, 1);
    glfwWindowHint(GLFW_DEPTH_BITS, 24);
    glfwWindowHint(GLFW_STENCIL_BITS, 8);
    m_pWindow = glfwCreateWindow(std::max(nWidth, 1), std::max(nHeight, 1), "qel-viewer", nullptr, nullptr);
    if (!m_pWindow)
    {
        App().PrintToConsole("<error> No OpenGL window of %dx%d can be opened\n", nWidth, nHeight);
        return false;
    }
    glfwMakeContextCurrent(m_pWindow);
    glfwSwapInterval(1);
    GLenum nGlew = glewInit();
    // glewInit also checks the window-system layer it was built for, which can fail where the GL
    // entry points load fine; only a context without GL is fatal.
    if (nGlew != GLEW_OK && !glGetString(GL_VERSION))
    {
        App().PrintToConsole("<error> OpenGL entry points could not be loaded (GLEW error %u)\n", unsigned(nGlew));
        return false;
    }

    glfwSetWindowUserPointer(m_pWindow, this);
    // Installed before the panels' own, which call these after taking what they need.
    glfwSetMouseButtonCallback(m_pWindow, OnMouseButton);
    glfwSetCursorPosCallback(m_pWindow, OnCursor);
    glfwSetScrollCallback(m_pWindow, OnScroll);
    glfwSetKeyCallback(m_pWindow, OnKey);
    glfwSetCharCallback(m_pWindow, OnChar);
    glfwSetDropCallback(m_pWindow, OnDrop);

    IMGUI_CHECKVERSION();
    ImGui::CreateContext();
    ImGui::GetIO().IniFilename = nullptr; // no layout file left in the working folder
    ImGui::StyleColorsDark();
    ImGui_ImplGlfw_InitForOpenGL(m_pWindow, true);
    ImGui_ImplOpenGL2_Init();
    m_bImGui = true;
    App().PrintToConsole("OpenGL %s on %s\n", reinterpret_cast<const char*>(glGetString(GL_VERSION)),
                         reinterpret_cast<const char*>(glGetString(GL_RENDERER)));
    return true;
}

ViewerWindow* ViewerWindow::FromGlfw(GLFWwindow* pWindow)
{
    return static_cast<ViewerWindow*>(glfwGetWindowUserPointer(pWindow));
}

void ViewerWindow::Run()
{
    while (m_pWindow && !glfwWindowShouldClose(m_pWindow))
    {
        glfwWaitEventsTimeout(0.1);
        bool bShot = false;
        RenderFrame(std::string(), bShot);
    }
}

void ViewerWindow::Close()
{
    if (m_pWindow)
        glfwSetWindowShouldClose(m_pWindow, GLFW_TRUE);
}

void ViewerWindow::RenderFrame(const std::string& strShot, bool& bShotOk)
{
    int nFrameWidth = 0, nFrameHeight = 0;
    glfwGetFramebufferSize(m_pWindow, &nFrameWidth, &nFrameHeight);
    if (nFrameWidth <= 0 || nFrameHeight <= 0)
    {
        // Minimised: nothing to draw into, and no size to divide by.
        PlaceView(0, 0, 0, 0);
        return;
    }
    int x = 0, y = 0, nWidth = 0, nHeight = 0;
    ViewerLayout::ViewRect(nFrameWidth, nFrameHeight, x, y, nWidth, nHeight);
    PlaceView(x, y, nWidth, nHeight);

    glDisable(GL_SCISSOR_TEST);
    glViewport(0, 0, nFrameWidth, nFrameHeight);
    glClearColor(0.1f, 0.1f, 0.1f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    View().Draw();

    ImGui_ImplOpenGL2_NewFrame();
    ImGui_ImplGlfw_NewFrame();
    ImGui::NewFrame();
    bool bQuit = false;
    m_cPanels.Draw(*this, nFrameWidth, nFrameHeight, bQuit);
    ImGui::Render();
    glViewport(0, 0, nFrameWidth, nFrameHeight);
    ImGui_ImplOpenGL2_RenderDrawData(ImGui::GetDrawData());

    if (!strShot.empty())
    {
        // The frame is read before the swap, from the buffer just drawn.
        glReadBuffer(GL_BACK);
        bShotOk = WriteScreenshot(strShot, nFrameWidth, nFrameHeight);
    }
    glfwSwapBuffers(m_pWindow);
    if (bQuit)
        Close();
}

bool ViewerWindow::RenderFrames(int nFrames)
{
    if (!m_pWindow)
        return false;
    for (int i = 0; i < std::max(nFrames, 1); ++i)
    {
        glfwPollEvents();
        bool bShot = false;
        RenderFrame(std::string(), bShot);
    }
    return true;
}

void ViewerWindow::TimeFrames(int nFrames, std::vector<double>& vWallMs, std::vector<double>& vCpuMs)
{
    if (!m_pWindow)
        return;
    glfwSwapInterval(0);
    for (int i = 0; i < std::max(nFrames, 1); ++i)
    {
        const double dWall = QelGetHighResTime(), dCpu = ViewerTiming::CpuMs();
        glfwPollEvents();
        bool bShot = false;
        RenderFrame(std::string(), bShot);
        glFinish();
        vWallMs.push_back((QelGetHighResTime() - dWall) * 1000.0);
        vCpuMs.push_back(ViewerTiming::CpuMs() - dCpu);
    }
    glfwSwapInterval(1);
}

bool ViewerWindow::Screenshot(const std::string& strPath)
{
    if (!m_pWindow)
        return false;
    glfwPollEvents();
    bool bShotOk = false;
    RenderFrame(strPath, bShotOk);
    return bShotOk;
}

bool ViewerWindow::Resize(int nWidth, int nHeight)
{
    if (!m_pWindow || nWidth < 0 || nHeight < 0)
        return false;
    if (nWidth == 0 || nHeight == 0)
        glfwIconifyWindow(m_pWindow); // a window of no size is a minimised one
    else
    {
        glfwRestoreWindow(m_pWindow);
        glfwSetWindowSize(m_pWindow, nWidth, nHeight);
    }
    // The window system applies the size asynchronously; a few rounds of events let it arrive.
    for (int i = 0; i < 10; ++i)
    {
        glfwWaitEventsTimeout(0.02);
        int nFrameWidth = 0, nFrameHeight = 0;
        glfwGetFramebufferSize(m_pWindow, &nFrameWidth, &nFrameHeight);
        if (nFrameWidth == nWidth && nFrameHeight == nHeight)
            break;
    }
    return RenderFrames(1);
}

void ViewerWindow::MouseInView(double dX, double dY, int& nX, int& nY, bool& bInside) const
{
    int nWindowWidth = 1, nWindowHeight = 1, nFrameWidth = 0, nFrameHeight = 0;
    glfwGetWindowSize(m_pWindow, &nWindowWidth, &nWindowHeight);
    glfwGetFramebufferSize(m_pWindow, &nFrameWidth, &nFrameHeight);
    double dScaleX = nWindowWidth > 0 ? double(nFrameWidth) / nWindowWidth : 1.0;
    double dScaleY = nWindowHeight > 0 ? double(nFrameHeight) / nWindowHeight : 1.0;
    int x = 0, y = 0, nWidth = 0, nHeight = 0;
    ViewerLayout::ViewRect(nFrameWidth, nFrameHeight, x, y, nWidth, nHeight);
    // The view's top edge, counted from the window's top.
    int nTop = nFrameHeight - (y + nHeight);
    nX = int(dX * dScaleX) - x;
    nY = int(dY * dScaleY) - nTop;
    bInside = nX >= 0 && nY >= 0 && nX < nWidth && nY < nHeight;
}

void ViewerWindow::FillModifiers(int nMods, bool& bShift, bool& bControl, bool& bAlt) const
{
    bShift = (nMods & GLFW_MOD_SHIFT) != 0;
    bControl = (nMods & GLFW_MOD_CONTROL) != 0;
    bAlt = (nMods & GLFW_MOD_ALT) != 0;
}

void ViewerWindow::OnMouseButton(GLFWwindow* pWindow, int nButton, int nAction, int nMods)
{
    ViewerWindow* pSelf = FromGlfw(pWindow);
    double dX = 0.0, dY = 0.0;
    glfwGetCursorPos(pWindow, &dX, &dY);
    QelMouseState cMouse;
    bool bInside = false;
    pSelf->MouseInView(dX, dY, cMouse.m_nX, cMouse.m_nY, bInside);
    pSelf->FillModifiers(nMods, cMouse.m_bShift, cMouse.m_bControl, cMouse.m_bAlt);
    cMouse.m_eButton = QelMouseState::EMouseButtons(ButtonBit(nButton));
    if (nAction == GLFW_PRESS)
    {
        if (!bInside || ImGui::GetIO().WantCaptureMouse)
            return;
        pSelf->m_nButtons |= ButtonBit(nButton);
        pSelf->m_bDragInView = true;
        pSelf->m_dLastX = dX;
        pSelf->m_dLastY = dY;
        cMouse.m_nButtons = pSelf->m_nButtons;
        pSelf->View().MouseButtonPress(cMouse);
    }
    else if (nAction == GLFW_RELEASE && pSelf->m_bDragInView)
    {
        pSelf->m_nButtons &= ~ButtonBit(nButton);
        pSelf->m_bDragInView = pSelf->m_nButtons != 0;
        cMouse.m_nButtons = pSelf->m_nButtons;
        pSelf->View().MouseButtonRelease(cMouse);
    }
}

void ViewerWindow::OnCursor(GLFWwindow* pWindow, double dX, double dY)
{
    ViewerWindow* pSelf = FromGlfw(pWindow);
    if (!pSelf->m_bDragInView)
        return;
    QelMouseState cMouse;
    bool bInside = false;
    pSelf->MouseInView(dX, dY, cMouse.m_nX, cMouse.m_nY, bInside);
    cMouse.m_nButtons = pSelf->m_nButtons;
    auto fnHeld = [pWindow](int nLeft, int nRight) {
        return glfwGetKey(pWindow, nLeft) == GLFW_PRESS || glfwGetKey(pWindow, nRight) == GLFW_PRESS;
    };
    cMouse.m_bShift = fnHeld(GLFW_KEY_LEFT_SHIFT, GLFW_KEY_RIGHT_SHIFT);
    cMouse.m_bControl = fnHeld(GLFW_KEY_LEFT_CONTROL, GLFW_KEY_RIGHT_CONTROL);
    cMouse.m_bAlt = fnHeld(GLFW_KEY_LEFT_ALT, GLFW_KEY_RIGHT_ALT);
    QelVec2 vMotion(float(dX - pSelf->m_dLastX), float(dY - pSelf->m_dLastY));
    pSelf->m_dLastX = dX;
    pSelf->m_dLastY = dY;
    bool bHandled = false;
    pSelf->View().MouseMotion(cMouse, vMotion, bHandled);
}

void ViewerWindow::OnScroll(GLFWwindow* pWindow, double, double dY)
{
    ViewerWindow* pSelf = FromGlfw(pWindow);
    double dX = 0.0, dCursorY = 0.0;
    glfwGetCursorPos(pWindow, &dX, &dCursorY);
    QelMouseState cMouse;
    bool bInside = false;
    pSelf->MouseInView(dX, dCursorY, cMouse.m_nX, cMouse.m_nY, bInside);
    if (!bInside || ImGui::GetIO().WantCaptureMouse)
        return;
    // One notch of a wheel is 120, as window systems count it.
    pSelf->View().MouseWheelMotion(cMouse, short(std::clamp(dY * 120.0, -32000.0, 32000.0)));
}

void ViewerWindow::OnKey(GLFWwindow* pWindow, int nKey, int, int nAction, int nMods)
{
    if (ImGui::GetIO().WantCaptureKeyboard)
        return;
    ViewerWindow* pSelf = FromGlfw(pWindow);
    QelKeyState cKey;
    cKey.m_nKey = VirtualKey(nKey);
    cKey.m_nRepeat = nAction == GLFW_REPEAT ? 2 : 1;
    pSelf->FillModifiers(nMods, cKey.m_bShift, cKey.m_bControl, cKey.m_bAlt);
    if (cKey.m_nKey == 0)
        return;
    // Undo and redo are the window's; every other key is the view's.
    if (nAction != GLFW_RELEASE && cKey.m_bControl && (cKey.m_nKey == 'Z' || cKey.m_nKey == 'Y'))
    {
        if (cKey.m_nKey == 'Y' || cKey.m_bShift)
            pSelf->App().Redo();
        else
            pSelf->App().Undo();
        return;
    }
    if (nAction == GLFW_RELEASE)
        pSelf->View().KeyReleased(cKey);
    else
        pSelf->View().KeyPressed(cKey);
}

void ViewerWindow::OnChar(GLFWwindow* pWindow, unsigned int nCodepoint)
{
    if (ImGui::GetIO().WantCaptureKeyboard)
        return;
    QelKeyState cKey;
    cKey.m_nCharacter = nCodepoint;
    FromGlfw(pWindow)->View().CharacterPressed(cKey);
}

void ViewerWindow::OnDrop(GLFWwindow* pWindow, int nCount, const char** ppPaths)
{
    ViewerWindow* pSelf = FromGlfw(pWindow);
    for (int i = 0; i < nCount; ++i)
        pSelf->OpenFile(ppPaths[i]);
}
