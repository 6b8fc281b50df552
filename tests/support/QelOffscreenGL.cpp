#include "tests/support/QelOffscreenGL.h"

#include <GL/glew.h>
#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <cstdlib>

namespace
{
struct Context
{
    bool bTried = false;
    bool bOk = false;
    std::string strWhy;
    int nWidth = 0;
    int nHeight = 0;
    GLuint nFbo = 0, nColor = 0, nDepth = 0;
};

Context& Ctx()
{
    static Context c;
    return c;
}

bool Create(Context& c, int w, int h)
{
    setenv("EGL_PLATFORM", "surfaceless", 0);
    EGLDisplay dpy = EGL_NO_DISPLAY;
    auto getPlatformDisplay =
        reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(eglGetProcAddress("eglGetPlatformDisplayEXT"));
    if (getPlatformDisplay)
        dpy = getPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    if (dpy == EGL_NO_DISPLAY)
        dpy = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    if (dpy == EGL_NO_DISPLAY)
    {
        c.strWhy = "no EGL display";
        return false;
    }
    EGLint major = 0, minor = 0;
    if (!eglInitialize(dpy, &major, &minor))
    {
        c.strWhy = "eglInitialize failed";
        return false;
    }
    if (!eglBindAPI(EGL_OPENGL_API))
    {
        c.strWhy = "desktop OpenGL is not available through EGL";
        return false;
    }
    const EGLint configAttribs[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint nConfigs = 0;
    eglChooseConfig(dpy, configAttribs, &config, 1, &nConfigs);
    const EGLint ctxAttribs[] = {EGL_CONTEXT_OPENGL_PROFILE_MASK, EGL_CONTEXT_OPENGL_COMPATIBILITY_PROFILE_BIT,
                                 EGL_NONE};
    EGLContext ctx = eglCreateContext(dpy, nConfigs ? config : nullptr, EGL_NO_CONTEXT, ctxAttribs);
    if (ctx == EGL_NO_CONTEXT)
    {
        c.strWhy = "eglCreateContext failed";
        return false;
    }
    if (!eglMakeCurrent(dpy, EGL_NO_SURFACE, EGL_NO_SURFACE, ctx))
    {
        c.strWhy = "eglMakeCurrent without a surface failed";
        return false;
    }
    // Without a display GLEW reports "no GLX display" (4) after loading every entry point.
    GLenum err = glewInit();
    if (err != GLEW_OK && err != 4)
    {
        c.strWhy = "glewInit failed";
        return false;
    }
    if (!glGenFramebuffers)
    {
        c.strWhy = "no framebuffer objects";
        return false;
    }
    glGenFramebuffers(1, &c.nFbo);
    glBindFramebuffer(GL_FRAMEBUFFER, c.nFbo);
    glGenRenderbuffers(1, &c.nColor);
    glBindRenderbuffer(GL_RENDERBUFFER, c.nColor);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, w, h);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, c.nColor);
    glGenRenderbuffers(1, &c.nDepth);
    glBindRenderbuffer(GL_RENDERBUFFER, c.nDepth);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT24, w, h);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, c.nDepth);
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE)
    {
        c.strWhy = "offscreen framebuffer incomplete";
        return false;
    }
    glDrawBuffer(GL_COLOR_ATTACHMENT0);
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    glViewport(0, 0, w, h);
    c.nWidth = w;
    c.nHeight = h;
    return true;
}
} // namespace

bool QelOffscreenGL::MakeCurrent(std::string* pWhy, int nWidth, int nHeight)
{
    Context& c = Ctx();
    if (!c.bTried)
    {
        c.bTried = true;
        c.bOk = Create(c, nWidth, nHeight);
    }
    if (!c.bOk && pWhy)
        *pWhy = c.strWhy;
    return c.bOk;
}

int QelOffscreenGL::Width() { return Ctx().nWidth; }
int QelOffscreenGL::Height() { return Ctx().nHeight; }

unsigned int QelOffscreenGL::ReadPixel(int x, int y)
{
    unsigned char rgba[4] = {0, 0, 0, 0};
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
    return unsigned(rgba[0]) | unsigned(rgba[1]) << 8 | unsigned(rgba[2]) << 16 | unsigned(rgba[3]) << 24;
}
