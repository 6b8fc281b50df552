#pragma once

#include <string>
#include <vector>

/// PNG output for screenshots of the window. The library's PNG writer is internal to it (it only
/// saves the offscreen context's own frame), so the viewer keeps this small one over zlib.
namespace ViewerPng
{
/// Writes 8-bit RGBA pixels, top row first. False when the size is not positive, the pixels are
/// too few, or the file cannot be written.
bool Write(const std::string& strPath, const unsigned char* pRgba, int nWidth, int nHeight);

/// Reads the current read buffer's rectangle (origin bottom left, as OpenGL counts) as RGBA bytes,
/// top row first. Empty for a rectangle without area.
std::vector<unsigned char> ReadPixels(int x, int y, int nWidth, int nHeight);
} // namespace ViewerPng
