#pragma once

#include <algorithm>

/// Where the panels sit in the window and what is left for the 3D view: the property panel on the
/// left, the log under the view, the menu bar on top. Sizes are framebuffer pixels.
struct ViewerLayout
{
    static constexpr int kPanelWidth = 340;
    static constexpr int kLogHeight = 170;
    static constexpr int kMenuHeight = 20;

    /// The view's rectangle, origin bottom left as OpenGL counts; never negative, zero when the
    /// panels take the whole window (or the window is minimised).
    static void ViewRect(int nFrameWidth, int nFrameHeight, int& x, int& y, int& nWidth, int& nHeight)
    {
        x = std::min(kPanelWidth, std::max(nFrameWidth, 0));
        y = std::min(kLogHeight, std::max(nFrameHeight, 0));
        nWidth = std::max(nFrameWidth - x, 0);
        nHeight = std::max(nFrameHeight - y - kMenuHeight, 0);
    }
};
