#pragma once

#include "qel/platform/QelExport.h"
#include "qel/platform/QelLogicalFont.h"

#include <cstddef>
#include <string>

/// The process-wide fonts of text objects. A logical font is matched to a font file through
/// fontconfig; each file is loaded once per pixel height and way of drawing and shared by every text
/// object that resolves to it, so a thousand labels in one font load it once.
class QEL_EXPORT QelFontCache
{
public:
    /// Tallest font loaded, in pixels; taller requests are clamped to it with a warning.
    static constexpr int kMaxHeight = 1024;

    /// The file and family that cFont resolves to. A family that is not installed falls back to the
    /// library's fallback family with a warning naming both; a non-positive height, a configuration
    /// that cannot be loaded, or no font at all give a warning and false.
    static bool ResolveFont(const QelLogicalFont& cFont, std::string& strFile, std::string& strFamily);

    /// The family used when the one asked for is not installed: "DejaVu Sans".
    static const char* GetFallbackFamily();

    /// Fonts loaded now, each a file at one height for one way of drawing.
    static size_t GetFontCount();

    /// Frees every font and forgets the font configuration (it is read again on the next lookup).
    /// Texture fonts free their textures, so call it with the GL context current. Text objects
    /// notice and load their fonts again when they next draw or measure.
    static void Clear();
};
