#pragma once

#include "qel/materials/QelMaterialInterface.h"
#include "qel/platform/QelOffscreenContext.h"
#include "qel/properties/QelPropertyContainer.h"

#include <GL/glew.h>

#include <cstdint>
#include <string>
#include <vector>

/// Helpers shared by the image, texture and material tests: DDS files and image files written by
/// the test itself, and a textured quad to read back.
namespace qeltest
{
/// 5:6:5 colors that expand to exact 8-bit primaries.
enum : uint16_t
{
    k565Red = 0xF800,
    k565Green = 0x07E0,
    k565Blue = 0x001F,
    k565White = 0xFFFF,
    k565Yellow = 0xFFE0,
    k565Cyan = 0x07FF,
    k565Magenta = 0xF81F,
    k565Black = 0x0000
};

/// The packed RGBA a 5:6:5 primary reads back as, opaque.
uint32_t Expand565(uint16_t nColor);

/// A DDS file of solid 4x4 blocks. The color of a block is asked per face, level and block
/// (bx, by counted from the first stored row).
struct DdsSpec
{
    std::string strFourCC = "DXT1";
    unsigned int nWidth = 8, nHeight = 8, nLevels = 1;
    bool bCube = false;
    unsigned char nAlpha = 255; ///< DXT3/DXT5 alpha of every texel
};
using BlockColorFn = uint16_t (*)(unsigned int nFace, unsigned int nLevel, unsigned int bx, unsigned int by);
std::vector<unsigned char> MakeDds(const DdsSpec& cSpec, BlockColorFn fnColor);

/// Writes bytes to a file; true when all were written.
bool WriteFile(const std::string& strPath, const std::vector<unsigned char>& vBytes);
std::vector<unsigned char> ReadFile(const std::string& strPath);

/// A fresh folder for one test's files (ends with '/').
std::string TestDir();

/// Writes an RGBA image (top row first) through DevIL in the format of the extension. Call it
/// before the library's first use of DevIL in the test: it initialises DevIL itself.
bool WriteImage(const std::string& strPath, unsigned int nWidth, unsigned int nHeight,
                const std::vector<unsigned char>& vRgba);

/// An RGBA image (top row first) in four quadrants of the given colors.
std::vector<unsigned char> Quadrants(unsigned int nWidth, unsigned int nHeight, uint32_t nTopLeft, uint32_t nTopRight,
                                     uint32_t nBottomLeft, uint32_t nBottomRight);

/// Top half one color, bottom half another.
std::vector<unsigned char> TwoBands(unsigned int nWidth, unsigned int nHeight, uint32_t nTop, uint32_t nBottom);

/// Stores n little-endian at v[nAt].
void Put32(std::vector<unsigned char>& v, size_t nAt, uint32_t n);

/// Identity matrices and a clear to opaque black.
void ClearToBlack();

/// ClearToBlack, and a quad over the viewport with texture
/// coordinates 0..1 (t = 0 at the bottom) on units 0 and 1; the texture state is the caller's.
void DrawQuad();

/// DrawQuad with the bound 2D texture enabled in the replace environment, unlit.
void DrawTexturedQuad();

/// The pixel at a point of the viewport given in 0..1 from the bottom left.
uint32_t PixelAt(float fx, float fy);

/// Channels of two packed colors differ by at most nTolerance.
bool Near(uint32_t nA, uint32_t nB, int nTolerance);

/// A host object whose material is edited as its properties.
class Painted : public QelPropertyContainer
{
public:
    Painted() { SetName("Painted"); }
    void Calculate() override { m_cMaterial.Calculate(); }
    QelMaterialInterface m_cMaterial;
};
} // namespace qeltest
