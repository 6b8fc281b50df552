#pragma once

#include <cstddef>
#include <string>

class FTFont;

/// What a loaded font is for. Drawing uses the kind of the text; measuring uses a bitmap font
/// loaded as the drawing kind loads its glyphs (hinted for bitmaps, unhinted for outlines and
/// textures), so that extents come out the same and need no GL context.
enum EQelFontUse
{
    eFontUseBitmap = 0,
    eFontUseOutlineMetrics,
    eFontUsePolygon,
    eFontUseExtruded,
    eFontUseTexture,
    eFontUseCount
};

/// The font for a file, pixel height, use and (for extruded text) depth in pixels, loaded on first
/// request and shared from then on. Null, with a warning naming the file, when it cannot be loaded;
/// a file that failed is not opened again until the store is cleared.
FTFont* QelAcquireFont(const std::string& strFile, int nHeight, EQelFontUse eUse, float fDepth);

/// Fonts loaded now (failed loads not counted).
size_t QelLoadedFontCount();

/// Changes whenever the store is cleared, so that holders of font pointers know to look again.
unsigned int QelFontGeneration();

/// Deletes every font (texture fonts free their textures: call with the GL context current).
void QelReleaseFonts();
