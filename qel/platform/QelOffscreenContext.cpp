#include "qel/platform/QelOffscreenContext.h"

#include "qel/framework/QelSysApp.h"
#include "qel/platform/detail/QelPngEncoder.h"

#include <GL/glew.h>
#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <algorithm>

namespace
{
struct Context
{
    bool bTried = false;
    bool bOk = false;
    std::string strWhy;
    int nWidth = 0;
    int nHeight = 0;
    EGLDisplay pDisplay = EGL_NO_DISPLAY;
    EGLContext pContext = EGL_NO_CONTEXT;
    GLuint nFbo = 0, nColor = 0, nDepth = 0;
};

Context& Ctx()
{
    static Context c;
    return c;
}

// Largest side we allow; llvmpipe's own limit is 16384 and a larger request would only fail later.
constexpr int kMaxSide = 16384;

bool CreateDisplayAndContext(Context& c)
{
    // The surfaceless platform needs no display server; the default display is the fallback for
    // drivers that lack the platform extension.
    auto getPlatformDisplay =
        reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(eglGetProcAddress("eglGetPlatformDisplayEXT"));
    if (getPlatformDisplay)
        c.pDisplay = getPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    if (c.pDisplay == EGL_NO_DISPLAY)
        c.pDisplay = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    if (c.pDisplay == EGL_NO_DISPLAY)
        return c.strWhy = "no EGL display", false;
    EGLint nMajor = 0, nMinor = 0;
    if (!eglInitialize(c.pDisplay, &nMajor, &nMinor))
        return c.strWhy = "eglInitialize failed", false;
    if (!eglBindAPI(EGL_OPENGL_API))
        return c.strWhy = "desktop OpenGL is not available through EGL", false;
    const EGLint aConfig[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
    EGLConfig pConfig = nullptr;
    EGLint nConfigs = 0;
    eglChooseConfig(c.pDisplay, aConfig, &pConfig, 1, &nConfigs);
    const EGLint aContext[] = {EGL_CONTEXT_OPENGL_PROFILE_MASK, EGL_CONTEXT_OPENGL_COMPATIBILITY_PROFILE_BIT,
                               EGL_NONE};
    c.pContext = eglCreateContext(c.pDisplay, nConfigs ? pConfig : nullptr, EGL_NO_CONTEXT, aContext);
    if (c.pContext == EGL_NO_CONTEXT)
        return c.strWhy = "eglCreateContext failed", false;
    if (!eglMakeCurrent(c.pDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, c.pContext))
        return c.strWhy = "eglMakeCurrent without a surface failed", false;
    // Without an X display GLEW answers GLEW_ERROR_NO_GLX_DISPLAY (4), but only after it has
    // loaded every entry point: for an EGL context that is success.
    const GLenum nErr = glewInit();
    if (nErr != GLEW_OK && nErr != GLEW_ERROR_NO_GLX_DISPLAY)
        return c.strWhy = "glewInit failed", false;
    if (!glGenFramebuffers || !glGenRenderbuffers)
        return c.strWhy = "no framebuffer objects", false;
    return true;
}

bool AllocateFramebuffer(Context& c, int nWidth, int nHeight)
{
    if (!c.nFbo)
    {
        glGenFramebuffers(1, &c.nFbo);
        glGenRenderbuffers(1, &c.nColor);
        glGenRenderbuffers(1, &c.nDepth);
    }
    glBindFramebuffer(GL_FRAMEBUFFER, c.nFbo);
    glBindRenderbuffer(GL_RENDERBUFFER, c.nColor);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, nWidth, nHeight);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, c.nColor);
    glBindRenderbuffer(GL_RENDERBUFFER, c.nDepth);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, nWidth, nHeight);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, c.nDepth);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_STENCIL_ATTACHMENT, GL_RENDERBUFFER, c.nDepth);
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE)
        return c.strWhy = "offscreen framebuffer incomplete", false;
    glDrawBuffer(GL_COLOR_ATTACHMENT0);
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    glViewport(0, 0, nWidth, nHeight);
    c.nWidth = nWidth;
    c.nHeight = nHeight;
    return true;
}

bool SizeIsValid(int nWidth, int nHeight)
{
    return nWidth > 0 && nHeight > 0 && nWidth <= kMaxSide && nHeight <= kMaxSide;
}
} // namespace

bool QelOffscreenContext::MakeCurrent(int nWidth, int nHeight, std::string* pWhy)
{
    Context& c = Ctx();
    if (!c.bTried)
    {
        c.bTried = true;
        if (!SizeIsValid(nWidth, nHeight))
            c.strWhy = "framebuffer size " + std::to_string(nWidth) + " x " + std::to_string(nHeight) +
                       " is outside 1 to " + std::to_string(kMaxSide);
        else
            c.bOk = CreateDisplayAndContext(c) && AllocateFramebuffer(c, nWidth, nHeight);
        if (!c.bOk)
            QelSysApp::App().PrintToConsole("<warning> QelOffscreenContext - %s\n", c.strWhy.c_str());
    }
    else if (c.bOk && eglGetCurrentContext() != c.pContext)
    {
        eglMakeCurrent(c.pDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, c.pContext);
        glBindFramebuffer(GL_FRAMEBUFFER, c.nFbo);
    }
    if (!c.bOk && pWhy)
        *pWhy = c.strWhy;
    return c.bOk;
}

bool QelOffscreenContext::Resize(int nWidth, int nHeight)
{
    Context& c = Ctx();
    if (!c.bOk)
        return false;
    if (!SizeIsValid(nWidth, nHeight))
    {
        QelSysApp::App().PrintToConsole("<warning> QelOffscreenContext - framebuffer size %d x %d is outside 1 to %d\n",
                                        nWidth, nHeight, kMaxSide);
        return false;
    }
    if (nWidth == c.nWidth && nHeight == c.nHeight)
        return true;
    if (!AllocateFramebuffer(c, nWidth, nHeight))
    {
        QelSysApp::App().PrintToConsole("<error> QelOffscreenContext - %s\n", c.strWhy.c_str());
        return false;
    }
    return true;
}

bool QelOffscreenContext::IsAvailable() { return Ctx().bOk; }
int QelOffscreenContext::Width() { return Ctx().nWidth; }
int QelOffscreenContext::Height() { return Ctx().nHeight; }

unsigned int QelOffscreenContext::ReadPixel(int x, int y)
{
    const Context& c = Ctx();
    if (!c.bOk || x < 0 || y < 0 || x >= c.nWidth || y >= c.nHeight)
        return 0;
    unsigned char aRgba[4] = {0, 0, 0, 0};
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, aRgba);
    return unsigned(aRgba[0]) | unsigned(aRgba[1]) << 8 | unsigned(aRgba[2]) << 16 | unsigned(aRgba[3]) << 24;
}

std::vector<unsigned char> QelOffscreenContext::ReadFrame()
{
    const Context& c = Ctx();
    if (!c.bOk)
        return {};
    const size_t nRow = static_cast<size_t>(c.nWidth) * 4;
    std::vector<unsigned char> vBottomUp(nRow * static_cast<size_t>(c.nHeight));
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, c.nWidth, c.nHeight, GL_RGBA, GL_UNSIGNED_BYTE, vBottomUp.data());
    std::vector<unsigned char> vTopDown(vBottomUp.size());
    for (int y = 0; y < c.nHeight; ++y)
        std::copy_n(vBottomUp.data() + nRow * static_cast<size_t>(c.nHeight - 1 - y), nRow,
                    vTopDown.data() + nRow * static_cast<size_t>(y));
    return vTopDown;
}

bool QelOffscreenContext::SavePng(const std::string& strFilename)
{
    const Context& c = Ctx();
    if (!c.bOk)
    {
        QelSysApp::App().PrintToConsole("<error> QelOffscreenContext - no context to save [%s] from\n",
                                        strFilename.c_str());
        return false;
    }
    const std::vector<unsigned char> vFrame = ReadFrame();
    const std::vector<unsigned char> vPng = qel::detail::EncodePngRgba(vFrame.data(), c.nWidth, c.nHeight);
    if (vPng.empty() || !qel::detail::WriteFileBytes(strFilename, vPng))
    {
        QelSysApp::App().PrintToConsole("<error> QelOffscreenContext - could not write [%s]\n", strFilename.c_str());
        return false;
    }
    return true;
}
