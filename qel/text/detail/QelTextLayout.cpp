#include "qel/text/detail/QelTextLayout.h"

#include <FTGL/ftgl.h>

#include <algorithm>
#include <cmath>

void QelTextLayout::Clear()
{
    m_vLines.clear();
    m_vSize = QelVec2(0.0f, 0.0f);
    m_cInk.Initialize();
}

void QelSplitLines(const std::wstring& strText, std::vector<std::wstring>& vLines)
{
    vLines.clear();
    size_t nStart = 0;
    for (size_t i = 0; i < strText.size(); ++i)
    {
        if (strText[i] != L'\n' && strText[i] != L'\r')
            continue;
        vLines.push_back(strText.substr(nStart, i - nStart));
        if (strText[i] == L'\r' && i + 1 < strText.size() && strText[i + 1] == L'\n')
            ++i;
        nStart = i + 1;
    }
    vLines.push_back(strText.substr(nStart));
}

namespace
{
float LinePitch(FTFont& cFont)
{
    return cFont.Ascender() - cFont.Descender();
}

float BlockHeight(FTFont& cFont, size_t nLines)
{
    return nLines ? LinePitch(cFont) * float(nLines) : 0.0f;
}
} // namespace

QelVec2 QelMeasureLines(FTFont& cFont, const std::vector<std::wstring>& vLines)
{
    float fWidth = 0.0f;
    for (const std::wstring& strLine : vLines)
        fWidth = std::max(fWidth, cFont.Advance(strLine.c_str(), int(strLine.size())));
    return QelVec2(fWidth, BlockHeight(cFont, vLines.size()));
}

void QelLayOutText(FTFont& cFont, const std::wstring& strText, int nHorizontal, int nVertical, bool bWholePixels,
                   QelTextLayout& cOut)
{
    cOut.Clear();
    std::vector<std::wstring> vLines;
    QelSplitLines(strText, vLines);
    const float fPitch = LinePitch(cFont);
    const float fHeight = BlockHeight(cFont, vLines.size());
    // The block's top edge relative to the anchor, then each baseline one pitch lower.
    const float fTop = fHeight * 0.5f * float(std::clamp(nVertical, 0, 2));
    auto fnSnap = [bWholePixels](float f) { return bWholePixels ? std::floor(f + 0.5f) : f; };
    float fWidth = 0.0f;
    for (size_t i = 0; i < vLines.size(); ++i)
    {
        QelTextLine cLine;
        cLine.m_strText.swap(vLines[i]);
        const int nLength = int(cLine.m_strText.size());
        const float fAdvance = cFont.Advance(cLine.m_strText.c_str(), nLength);
        fWidth = std::max(fWidth, fAdvance);
        cLine.m_fX = fnSnap(-fAdvance * 0.5f * float(std::clamp(nHorizontal, 0, 2)));
        cLine.m_fY = fnSnap(fTop - cFont.Ascender() - fPitch * float(i));
        if (nLength)
        {
            FTBBox cBox = cFont.BBox(cLine.m_strText.c_str(), nLength, FTPoint(cLine.m_fX, cLine.m_fY));
            if (cBox.Upper().X() > cBox.Lower().X() && cBox.Upper().Y() > cBox.Lower().Y())
                cOut.m_cInk += QelBox2(QelVec2(cBox.Lower().Xf(), cBox.Lower().Yf()),
                                       QelVec2(cBox.Upper().Xf(), cBox.Upper().Yf()));
        }
        cOut.m_vLines.push_back(std::move(cLine));
    }
    cOut.m_vSize = QelVec2(fWidth, fHeight);
}
