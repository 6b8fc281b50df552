#pragma once

#include <string>

/// One offscreen OpenGL context per process (the GL tests and the demo draw into it): EGL on Mesa's surfaceless platform, with a
/// colour+depth framebuffer object of the given size bound as the draw target. Compatibility profile,
/// so fixed-function drawing works.
class QelOffscreenGL
{
public:
    /// Makes (once) and binds the context; false with a reason when no context can be had.
    static bool MakeCurrent(std::string* pWhy = nullptr, int nWidth = 64, int nHeight = 64);
    static int Width();
    static int Height();
    /// Reads the pixel at (x, y) (origin bottom left) as packed RGBA, red in the low byte.
    static unsigned int ReadPixel(int x, int y);
};

/// Skips the current test when there is no GL context, with the reason.
#define QEL_REQUIRE_GL()                                                                                       \
    do                                                                                                         \
    {                                                                                                          \
        std::string strWhy_;                                                                                   \
        if (!QelOffscreenGL::MakeCurrent(&strWhy_))                                                            \
            GTEST_SKIP() << "no OpenGL context: " << strWhy_;                                                  \
    } while (0)
