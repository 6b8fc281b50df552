#pragma once

#include "qel/math/QelBox2.h"
#include "qel/math/QelVec2.h"

#include <string>
#include <vector>

class FTFont;

/// One line of text and the pen position of its baseline start, relative to the anchor.
struct QelTextLine
{
    std::wstring m_strText;
    float m_fX = 0.0f;
    float m_fY = 0.0f;
};

/// A string placed about its anchor in a font's pixels, y up.
struct QelTextLayout
{
    std::vector<QelTextLine> m_vLines;
    /// Advance of the widest line, and the block's height: ascent and descent of one line plus one
    /// line pitch (ascent + descent) per further line.
    QelVec2 m_vSize;
    /// What the glyphs cover; the empty box when nothing is inked (spaces, no text).
    QelBox2 m_cInk;

    void Clear();
};

/// Splits at "\n", "\r\n" and "\r"; an empty string is one empty line.
void QelSplitLines(const std::wstring& strText, std::vector<std::wstring>& vLines);

/// The size of the block of lines (see QelTextLayout::m_vSize), without placing them.
QelVec2 QelMeasureLines(FTFont& cFont, const std::vector<std::wstring>& vLines);

/// Places each line by the alignments (0 left/top, 1 center/middle, 2 right/bottom), every line
/// aligned on its own, and computes the ink box. bWholePixels rounds each line's start to a pixel,
/// as bitmaps are drawn.
void QelLayOutText(FTFont& cFont, const std::wstring& strText, int nHorizontal, int nVertical, bool bWholePixels,
                   QelTextLayout& cOut);
