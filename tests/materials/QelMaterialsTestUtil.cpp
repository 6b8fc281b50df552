#include "tests/materials/QelMaterialsTestUtil.h"

#include <gtest/gtest.h>

#include <IL/il.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace qeltest
{
void Put32(std::vector<unsigned char>& v, size_t nAt, uint32_t n)
{
    for (int i = 0; i < 4; ++i)
        v[nAt + i] = (unsigned char)(n >> (8 * i));
}

namespace
{
void PutBlock(std::vector<unsigned char>& v, const std::string& strFourCC, uint16_t nColor, unsigned char nAlpha)
{
    if (strFourCC == "DXT3")
        for (int i = 0; i < 8; ++i)
            v.push_back((unsigned char)((nAlpha >> 4) * 0x11));
    else if (strFourCC != "DXT1")
    {
        v.push_back(nAlpha);
        v.push_back(nAlpha);
        for (int i = 0; i < 6; ++i)
            v.push_back(0);
    }
    // Both end points alike and every index 0: the whole block is the first color.
    for (int i = 0; i < 2; ++i)
    {
        v.push_back((unsigned char)(nColor & 0xFF));
        v.push_back((unsigned char)(nColor >> 8));
    }
    for (int i = 0; i < 4; ++i)
        v.push_back(0);
}
} // namespace

uint32_t Expand565(uint16_t nColor)
{
    const uint32_t r = (nColor >> 11) & 31, g = (nColor >> 5) & 63, b = nColor & 31;
    return (r << 3 | r >> 2) | (g << 2 | g >> 4) << 8 | (b << 3 | b >> 2) << 16 | 0xFF000000u;
}

std::vector<unsigned char> MakeDds(const DdsSpec& s, BlockColorFn fnColor)
{
    std::vector<unsigned char> v(128, 0);
    v[0] = 'D', v[1] = 'D', v[2] = 'S', v[3] = ' ';
    Put32(v, 4, 124);
    Put32(v, 8, 0x1007 | (s.nLevels > 1 ? 0x20000 : 0));
    Put32(v, 12, s.nHeight);
    Put32(v, 16, s.nWidth);
    Put32(v, 28, s.nLevels);
    Put32(v, 76, 32);
    Put32(v, 80, 0x4);
    for (int i = 0; i < 4 && i < int(s.strFourCC.size()); ++i)
        v[84 + i] = (unsigned char)s.strFourCC[i];
    Put32(v, 108, 0x1000 | (s.nLevels > 1 ? 0x400008 : 0) | (s.bCube ? 0x8 : 0));
    Put32(v, 112, s.bCube ? 0xFE00 : 0);
    for (unsigned int f = 0; f < (s.bCube ? 6u : 1u); ++f)
        for (unsigned int l = 0; l < s.nLevels; ++l)
        {
            const unsigned int w = std::max(1u, s.nWidth >> l), h = std::max(1u, s.nHeight >> l);
            for (unsigned int by = 0; by < (h + 3) / 4; ++by)
                for (unsigned int bx = 0; bx < (w + 3) / 4; ++bx)
                    PutBlock(v, s.strFourCC, fnColor(f, l, bx, by), s.nAlpha);
        }
    return v;
}

bool WriteFile(const std::string& strPath, const std::vector<unsigned char>& vBytes)
{
    FILE* p = std::fopen(strPath.c_str(), "wb");
    if (!p)
        return false;
    const bool bOk = std::fwrite(vBytes.data(), 1, vBytes.size(), p) == vBytes.size();
    return std::fclose(p) == 0 && bOk;
}

std::vector<unsigned char> ReadFile(const std::string& strPath)
{
    std::vector<unsigned char> v;
    FILE* p = std::fopen(strPath.c_str(), "rb");
    if (!p)
        return v;
    unsigned char a[4096];
    for (size_t n; (n = std::fread(a, 1, sizeof a, p)) > 0;)
        v.insert(v.end(), a, a + n);
    std::fclose(p);
    return v;
}

std::string TestDir()
{
    const testing::TestInfo* pInfo = testing::UnitTest::GetInstance()->current_test_info();
    // The process id keeps two test runs on one machine (two builds, say) out of each other's files.
    std::filesystem::path p = std::filesystem::path(testing::TempDir()) /
                              ("qel_materials_" + std::to_string(::getpid())) /
                              (std::string(pInfo->test_suite_name()) + "." + pInfo->name());
    std::filesystem::remove_all(p);
    std::filesystem::create_directories(p);
    return p.string() + "/";
}

bool WriteImage(const std::string& strPath, unsigned int nWidth, unsigned int nHeight,
                const std::vector<unsigned char>& vRgba)
{
    static bool s_bInit = false;
    if (!s_bInit)
        ilInit();
    s_bInit = true;
    ILuint nImage = 0;
    ilGenImages(1, &nImage);
    ilBindImage(nImage);
    bool bOk = ilTexImage(nWidth, nHeight, 1, 4, IL_RGBA, IL_UNSIGNED_BYTE, const_cast<unsigned char*>(vRgba.data()));
    ilRegisterOrigin(IL_ORIGIN_UPPER_LEFT);
    const std::string strExt = strPath.substr(strPath.rfind('.') + 1);
    if (bOk && (strExt == "jpg" || strExt == "bmp"))
        bOk = ilConvertImage(IL_RGB, IL_UNSIGNED_BYTE);
    ilEnable(IL_FILE_OVERWRITE);
    bOk = bOk && ilSaveImage(strPath.c_str());
    ilDeleteImages(1, &nImage);
    return bOk;
}

std::vector<unsigned char> Quadrants(unsigned int nWidth, unsigned int nHeight, uint32_t nTopLeft, uint32_t nTopRight,
                                     uint32_t nBottomLeft, uint32_t nBottomRight)
{
    std::vector<unsigned char> v(size_t(nWidth) * nHeight * 4);
    for (unsigned int y = 0; y < nHeight; ++y)
        for (unsigned int x = 0; x < nWidth; ++x)
        {
            const bool bLeft = x < nWidth / 2;
            const uint32_t c = y < nHeight / 2 ? (bLeft ? nTopLeft : nTopRight) : (bLeft ? nBottomLeft : nBottomRight);
            for (int i = 0; i < 4; ++i)
                v[(size_t(y) * nWidth + x) * 4 + i] = (unsigned char)(c >> (8 * i));
        }
    return v;
}

std::vector<unsigned char> TwoBands(unsigned int nWidth, unsigned int nHeight, uint32_t nTop, uint32_t nBottom)
{
    return Quadrants(nWidth, nHeight, nTop, nTop, nBottom, nBottom);
}

void ClearToBlack()
{
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

void DrawQuad()
{
    ClearToBlack();
    const float a[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    glBegin(GL_QUADS);
    for (const auto& t : a)
    {
        glMultiTexCoord2fARB(GL_TEXTURE0_ARB, t[0], t[1]);
        glMultiTexCoord2fARB(GL_TEXTURE1_ARB, t[0], t[1]);
        glVertex2f(t[0] * 2 - 1, t[1] * 2 - 1);
    }
    glEnd();
}

void DrawTexturedQuad()
{
    glDisable(GL_LIGHTING);
    glDisable(GL_DEPTH_TEST);
    glEnable(GL_TEXTURE_2D);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    glColor4f(1, 1, 1, 1);
    DrawQuad();
    glDisable(GL_TEXTURE_2D);
}

uint32_t PixelAt(float fx, float fy)
{
    GLint a[4];
    glGetIntegerv(GL_VIEWPORT, a);
    return QelOffscreenContext::ReadPixel(a[0] + int(fx * float(a[2])), a[1] + int(fy * float(a[3])));
}

bool Near(uint32_t nA, uint32_t nB, int nTolerance)
{
    for (int i = 0; i < 32; i += 8)
        if (std::abs(int((nA >> i) & 0xFF) - int((nB >> i) & 0xFF)) > nTolerance)
            return false;
    return true;
}
} // namespace qeltest

// DevIL loses the face images of cube-map DDS files it reads (and a block on some broken PNGs);
// those leaks are DevIL's own, not the library's.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libIL.so\n";
}
