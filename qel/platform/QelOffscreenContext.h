#pragma once

#include "qel/platform/QelExport.h"

#include <string>
#include <vector>

/// An OpenGL context without a window, for hosts that render to files, for tests and for tools.
///
/// One context per process: EGL on Mesa's surfaceless platform, a compatibility profile (so
/// fixed-function drawing works), GLEW initialised, and a colour + depth framebuffer object bound
/// as the draw and read target. A host renders without a window in three lines:
///
///     QelOffscreenContext::MakeCurrent(640, 480);
///     ... draw ...
///     QelOffscreenContext::SavePng("frame.png");
class QEL_EXPORT QelOffscreenContext
{
public:
    /// Makes the context on the first call and binds it, with a framebuffer of the given size when
    /// the context is new. Later calls bind it again and keep its size (see Resize). Returns false,
    /// with the reason in pWhy and a warning in the log, when no context can be had.
    static bool MakeCurrent(int nWidth = 64, int nHeight = 64, std::string* pWhy = nullptr);

    /// Gives the framebuffer a new size (its contents are lost) and sets the viewport to cover it.
    static bool Resize(int nWidth, int nHeight);

    /// True once a context exists.
    static bool IsAvailable();
    /// The framebuffer's size in pixels; 0 before the context exists.
    ///@{
    static int Width();
    static int Height();
    ///@}

    /// The pixel at (x, y), origin bottom left, packed as the library packs colors: red in the low byte.
    static unsigned int ReadPixel(int x, int y);

    /// The whole frame as RGBA bytes, top row first (the order image files use).
    static std::vector<unsigned char> ReadFrame();

    /// Writes the current frame to a PNG file (RGBA, 8 bits a channel). False with an error in the
    /// log when there is no context or the file cannot be written.
    static bool SavePng(const std::string& strFilename);
};
