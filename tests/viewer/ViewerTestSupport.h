#pragma once

#include "ViewerApp.h"

#include <string>
#include <vector>

/// The process's application object (registered by the test main).
ViewerApp& ViewerTestApp();

/// Clears the log on construction and gives what was logged since, as the viewer shows it: one
/// line per message, tags removed.
struct ViewerLogCapture
{
    ViewerLogCapture() { ViewerTestApp().ClearLog(); }
    std::vector<std::string> Lines(ViewerApp::ELevel eAtLeast = ViewerApp::eLevelInfo) const
    {
        std::vector<std::string> v;
        for (const ViewerApp::SLogLine& cLine : ViewerTestApp().Log())
            if (cLine.m_eLevel >= eAtLeast)
                v.push_back(cLine.m_strText);
        return v;
    }
    std::vector<std::string> Errors() const { return Lines(ViewerApp::eLevelError); }
    std::vector<std::string> Warnings() const
    {
        std::vector<std::string> v;
        for (const ViewerApp::SLogLine& cLine : ViewerTestApp().Log())
            if (cLine.m_eLevel == ViewerApp::eLevelWarning)
                v.push_back(cLine.m_strText);
        return v;
    }
};

/// A PNG file read back: 8-bit RGBA, top row first.
struct ViewerImage
{
    int m_nWidth = 0;
    int m_nHeight = 0;
    std::vector<unsigned char> m_vRgba;
    /// Packed as the library packs colors: red in the low byte.
    unsigned int Pixel(int x, int y) const;
    /// How many pixels have exactly this RGB (alpha ignored).
    size_t CountRgb(unsigned int nColor) const;
};

/// Reads an 8-bit RGBA or RGB, non-interlaced PNG; false (with the reason) for anything else.
bool ViewerReadPng(const std::string& strPath, ViewerImage& cImage, std::string& strWhy);

/// A fresh folder for one test's files, under the build tree's temporary area.
std::string ViewerScratchDir(const std::string& strName);
