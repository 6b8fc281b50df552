#include "qel/materials/QelTexture.h"
#include "qel/platform/QelBitmap.h"
#include "qel/platform/QelResources.h"
#include "tests/materials/QelMaterialsTestUtil.h"
#include "tests/support/QelGLTest.h"
#include "tests/support/QelTestApp.h"

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

using namespace qeltest;

namespace
{
uint16_t Quadrants(unsigned int, unsigned int, unsigned int bx, unsigned int by)
{
    static const uint16_t a[2][2] = {{k565Red, k565Green}, {k565Blue, k565White}};
    return a[by & 1][bx & 1];
}

uint16_t ByLevel(unsigned int, unsigned int nLevel, unsigned int, unsigned int)
{
    static const uint16_t a[] = {k565Red, k565Green, k565Blue, k565White};
    return a[nLevel & 3];
}

uint16_t ByFace(unsigned int nFace, unsigned int, unsigned int, unsigned int)
{
    static const uint16_t a[] = {k565Red, k565Green, k565Blue, k565Yellow, k565Cyan, k565Magenta};
    return a[nFace % 6];
}

/// Restores a GLEW flag at scope end.
struct GlewFlagGuard
{
    GLboolean& rFlag;
    GLboolean bSaved;
    explicit GlewFlagGuard(GLboolean& r) : rFlag(r), bSaved(r) {}
    ~GlewFlagGuard() { rFlag = bSaved; }
};

GLint LevelParameter(GLenum eTarget, GLint nLevel, GLenum eWhat)
{
    GLint n = 0;
    glGetTexLevelParameteriv(eTarget, nLevel, eWhat, &n);
    return n;
}
} // namespace

TEST(QelTextureGL, EachDxtFormatDrawsItsBlocksCompressed)
{
    QEL_REQUIRE_GL();
    const std::string strDir = TestDir();
    for (const char* pFourCC : {"DXT1", "DXT3", "DXT5"})
    {
        SCOPED_TRACE(pFourCC);
        DdsSpec s;
        s.strFourCC = pFourCC;
        const std::string strPath = strDir + pFourCC + ".dds";
        ASSERT_TRUE(WriteFile(strPath, MakeDds(s, Quadrants)));
        QelTexture t;
        ASSERT_TRUE(t.LoadFromFile(strPath, true));
        EXPECT_TRUE(t.IsCompressed());
        EXPECT_TRUE(t.HasAlpha());
        EXPECT_FALSE(t.IsCubeMap());
        EXPECT_EQ(t.GetWidth(), 8);
        EXPECT_EQ(t.GetHeight(), 8);
        ASSERT_TRUE(t.Bind());
        EXPECT_TRUE(LevelParameter(GL_TEXTURE_2D, 0, GL_TEXTURE_COMPRESSED));
        DrawTexturedQuad();
        // The first stored row is at t = 0, the bottom of the quad.
        EXPECT_EQ(PixelAt(0.25f, 0.25f), Expand565(k565Red));
        EXPECT_EQ(PixelAt(0.75f, 0.25f), Expand565(k565Green));
        EXPECT_EQ(PixelAt(0.25f, 0.75f), Expand565(k565Blue));
        EXPECT_EQ(PixelAt(0.75f, 0.75f), Expand565(k565White));
    }
}

TEST(QelTextureGL, DdsMipChainKeepsEveryLevelAndCapitalExtensionUsesTheOwnReader)
{
    QEL_REQUIRE_GL_SIZED(8, 8);
    DdsSpec s;
    s.strFourCC = "DXT5";
    s.nLevels = 4;
    const std::string strPath = TestDir() + "MIPS.DDS";
    ASSERT_TRUE(WriteFile(strPath, MakeDds(s, ByLevel)));
    QelTexture t;
    ASSERT_TRUE(t.LoadFromFile(strPath, true));
    EXPECT_TRUE(t.IsCompressed());
    EXPECT_TRUE(t.HasAlpha());
    t.Bind();
    GLint nMin = 0;
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &nMin);
    EXPECT_EQ(nMin, GL_LINEAR_MIPMAP_LINEAR);
    const uint16_t aColors[] = {k565Red, k565Green, k565Blue, k565White};
    for (int nLevel = 0; nLevel < 4; ++nLevel)
    {
        SCOPED_TRACE(nLevel);
        EXPECT_TRUE(LevelParameter(GL_TEXTURE_2D, nLevel, GL_TEXTURE_COMPRESSED));
        EXPECT_EQ(LevelParameter(GL_TEXTURE_2D, nLevel, GL_TEXTURE_INTERNAL_FORMAT), GL_COMPRESSED_RGBA_S3TC_DXT5_EXT);
        // An 8 x 8 texture over 8 >> n pixels samples level n.
        glViewport(0, 0, 8 >> nLevel, 8 >> nLevel);
        DrawTexturedQuad();
        EXPECT_EQ(PixelAt(0.5f, 0.5f), Expand565(aColors[nLevel]));
    }
}

TEST(QelTextureGL, BadDdsFilesFailWithTheWarningAndLeaveNoTexture)
{
    QEL_REQUIRE_GL();
    const std::string strDir = TestDir();
    DdsSpec good;
    good.nLevels = 4;
    const std::vector<unsigned char> vGood = MakeDds(good, ByLevel);
    auto with = [&](size_t nAt, uint32_t nValue) {
        std::vector<unsigned char> v = vGood;
        for (int i = 0; i < 4; ++i)
            v[nAt + i] = (unsigned char)(nValue >> (8 * i));
        return v;
    };
    DdsSpec cube = good;
    cube.bCube = true;
    std::vector<unsigned char> vFiveFaces = MakeDds(cube, ByFace);
    vFiveFaces[113] = 0x7E; // -Z face missing from the caps
    struct Row
    {
        const char* pName;
        std::vector<unsigned char> vBytes;
    };
    const Row aRows[] = {
        {"empty", {}},
        {"truncated_header", std::vector<unsigned char>(vGood.begin(), vGood.begin() + 100)},
        {"truncated_last_level", std::vector<unsigned char>(vGood.begin(), vGood.end() - 1)},
        {"header_size_wrong", with(4, 100)},
        {"size_65536", with(12, 65536)},
        {"width_zero", with(16, 0)},
        {"mips_past_the_size", with(28, 5)},
        {"height_larger_than_the_file", with(12, 4096)},
        {"fourcc_unknown", with(84, 0x44434241)},
        {"cube_missing_face", vFiveFaces},
        {"text_file", std::vector<unsigned char>{'D', 'D', 'S', ' ', 'h', 'e', 'l', 'l', 'o'}},
    };
    for (const Row& r : aRows)
    {
        SCOPED_TRACE(r.pName);
        const std::string strPath = strDir + r.pName + ".dds";
        ASSERT_TRUE(WriteFile(strPath, r.vBytes));
        QelCapture cap;
        QelTexture t;
        EXPECT_FALSE(t.LoadFromFile(strPath, true));
        EXPECT_FALSE(t.IsValid());
        EXPECT_EQ(t.GetWidth(), 0);
        ASSERT_EQ(cap.Messages().size(), 1u);
        EXPECT_EQ(cap.Messages()[0], "<warning> Texture [" + strPath + "] failed to load\n");
        QelTexture m;
        EXPECT_FALSE(m.LoadFromMemory(r.vBytes.data(), unsigned(r.vBytes.size()), false));
    }
    unsigned int nFiles = 9, nResources = 9;
    QelTexture::GetCacheUsage(nFiles, nResources);
    EXPECT_EQ(nFiles, 0u);
    QelCapture cap;
    QelTexture t;
    EXPECT_FALSE(t.LoadFromFile(strDir + "missing.png", false));
    EXPECT_TRUE(cap.Messages().empty());
}

TEST(QelTextureGL, CubeMapDdsUploadsSixCompressedFacesOrWithoutSupportBecomesA2DMipmappedTexture)
{
    QEL_REQUIRE_GL();
    DdsSpec s;
    s.nWidth = s.nHeight = 8;
    s.nLevels = 4;
    s.bCube = true;
    const std::string strPath = TestDir() + "sky.dds";
    ASSERT_TRUE(WriteFile(strPath, MakeDds(s, ByFace)));
    {
        QelTexture t;
        ASSERT_TRUE(t.LoadFromFile(strPath, true));
        EXPECT_TRUE(t.IsCubeMap());
        EXPECT_TRUE(t.IsCompressed());
        ASSERT_TRUE(t.Bind());
        GLint nBound = 0;
        glGetIntegerv(GL_TEXTURE_BINDING_CUBE_MAP_ARB, &nBound);
        EXPECT_EQ(GLuint(nBound), t.GetName());
        for (GLenum eFace = GL_TEXTURE_CUBE_MAP_POSITIVE_X_ARB; eFace <= GL_TEXTURE_CUBE_MAP_NEGATIVE_Z_ARB; ++eFace)
            for (GLint nLevel = 0; nLevel < 4; ++nLevel)
            {
                EXPECT_TRUE(LevelParameter(eFace, nLevel, GL_TEXTURE_COMPRESSED)) << eFace << " level " << nLevel;
                EXPECT_EQ(LevelParameter(eFace, nLevel, GL_TEXTURE_WIDTH), 8 >> nLevel);
            }
        QelTexture::Unbind();
        glGetIntegerv(GL_TEXTURE_BINDING_CUBE_MAP_ARB, &nBound);
        EXPECT_EQ(nBound, 0);
    }
    QelTexture::FlushCache(false); // unused now: the same file is read afresh below
    GlewFlagGuard guard(__GLEW_ARB_texture_cube_map);
    __GLEW_ARB_texture_cube_map = GL_FALSE;
    QelTexture t;
    ASSERT_TRUE(t.LoadFromFile(strPath, true));
    EXPECT_FALSE(t.IsCubeMap());
    EXPECT_EQ(t.GetWidth(), 8);
    ASSERT_TRUE(t.Bind());
    EXPECT_EQ(LevelParameter(GL_TEXTURE_2D, 1, GL_TEXTURE_WIDTH), 4);
    EXPECT_EQ(LevelParameter(GL_TEXTURE_2D, 3, GL_TEXTURE_WIDTH), 1);
    DrawTexturedQuad();
    EXPECT_TRUE(Near(PixelAt(0.5f, 0.5f), Expand565(k565Red), 8)) << std::hex << PixelAt(0.5f, 0.5f); // the first face, decoded by DevIL
}

TEST(QelTextureGL, DevILFormatsDrawTheirPixelsUpright)
{
    const std::string strDir = TestDir();
    const uint32_t nRed = 0xFF0000FFu, nGreen = 0xFF00FF00u;
    const char* aExt[] = {"png", "tga", "bmp", "jpg", "tif"};
    for (const char* pExt : aExt)
        ASSERT_TRUE(WriteImage(strDir + "bands." + pExt, 16, 16, TwoBands(16, 16, nRed, nGreen))) << pExt;
    QEL_REQUIRE_GL();
    for (const char* pExt : aExt)
    {
        SCOPED_TRACE(pExt);
        QelTexture t;
        ASSERT_TRUE(t.LoadFromFile(strDir + "bands." + pExt, true));
        EXPECT_FALSE(t.IsCompressed());
        EXPECT_EQ(t.GetWidth(), 16);
        ASSERT_TRUE(t.Bind());
        EXPECT_EQ(LevelParameter(GL_TEXTURE_2D, 4, GL_TEXTURE_WIDTH), 1); // a full mipmap chain
        DrawTexturedQuad();
        const int nTolerance = std::string(pExt) == "jpg" ? 40 : 0;
        EXPECT_TRUE(Near(PixelAt(0.5f, 0.9f), nRed, nTolerance)) << std::hex << PixelAt(0.5f, 0.9f);
        EXPECT_TRUE(Near(PixelAt(0.5f, 0.1f), nGreen, nTolerance)) << std::hex << PixelAt(0.5f, 0.1f);
    }
    // A JPEG whose frame header lies past 256 KiB of metadata is still found and loads.
    std::vector<unsigned char> vJpeg = ReadFile(strDir + "bands.jpg");
    std::vector<unsigned char> vLate(vJpeg.begin(), vJpeg.begin() + 2);
    for (int i = 0; i < 5; ++i)
    {
        vLate.insert(vLate.end(), {0xFF, 0xEF, 0xFF, 0xFF});
        vLate.insert(vLate.end(), 0xFFFF - 2, 0);
    }
    vLate.insert(vLate.end(), vJpeg.begin() + 2, vJpeg.end());
    ASSERT_TRUE(WriteFile(strDir + "late_frame.jpg", vLate));
    QelTexture late;
    EXPECT_TRUE(late.LoadFromFile(strDir + "late_frame.jpg", true));
    EXPECT_EQ(late.GetWidth(), 16);
    // DevIL's memory reader lets TIFF seeks run past the block: TIFF loads from files only.
    const std::vector<unsigned char> vTiff = ReadFile(strDir + "bands.tif");
    QelTexture t;
    EXPECT_FALSE(t.LoadFromMemory(vTiff.data(), unsigned(vTiff.size()), false));
}

TEST(QelTextureGL, OneCacheEntryForEverySpellingOfAPath)
{
    const std::string strDir = TestDir();
    std::filesystem::create_directories(strDir + "a/b");
    ASSERT_TRUE(WriteImage(strDir + "a/t.png", 4, 4, TwoBands(4, 4, 0xFFFFFFFFu, 0xFF000000u)));
    QEL_REQUIRE_GL();
    std::filesystem::current_path(strDir);
    QelTexture a, b, c, d;
    ASSERT_TRUE(a.LoadFromFile("a/b/../t.png", true));
    ASSERT_TRUE(b.LoadFromFile("a\\t.png", true));
    ASSERT_TRUE(c.LoadFromFile("./a/t.png", true));
    ASSERT_TRUE(d.LoadFromFile("A/T.PNG", true)); // cached: the file itself is not opened
    EXPECT_TRUE(a == b && a == c && a == d);
    EXPECT_FALSE(a != d || a < d || a > d);
    unsigned int nFiles = 0, nResources = 0;
    QelTexture::GetCacheUsage(nFiles, nResources);
    EXPECT_EQ(nFiles, 1u);
    EXPECT_EQ(nResources, 0u);

    // Users leave; the texture stays until a flush finds it unused. A copy is a user too.
    const GLuint nName = a.GetName();
    QelTexture e(a);
    for (QelTexture* p : {&a, &b, &c, &d})
        p->Release();
    EXPECT_FALSE(a.IsValid());
    QelTexture::FlushCache(false);
    EXPECT_TRUE(glIsTexture(nName));
    e.Release();
    EXPECT_TRUE(glIsTexture(nName));
    QelTexture::FlushCache(false);
    EXPECT_FALSE(glIsTexture(nName));
    QelTexture::GetCacheUsage(nFiles, nResources);
    EXPECT_EQ(nFiles, 0u);

    // A flush of everything takes textures in use too.
    ASSERT_TRUE(a.LoadFromFile("a/t.png", true));
    QelTexture::FlushCache(true);
    EXPECT_FALSE(glIsTexture(a.GetName()));
    QelTexture::GetCacheUsage(nFiles, nResources);
    EXPECT_EQ(nFiles, 0u);
    a.Release(); // its entry is gone: nothing to count down
}

TEST(QelTextureGL, MemoryAndResourceTextures)
{
    const std::string strDir = TestDir();
    ASSERT_TRUE(WriteImage(strDir + "m.png", 4, 4, TwoBands(4, 4, 0xFF0000FFu, 0xFF0000FFu)));
    ASSERT_TRUE(WriteImage(strDir + "m.bmp", 4, 4, TwoBands(4, 4, 0xFFFF0000u, 0xFFFF0000u)));
    QEL_REQUIRE_GL();
    const std::vector<unsigned char> vPng = ReadFile(strDir + "m.png");
    const std::vector<unsigned char> vBmp = ReadFile(strDir + "m.bmp");
    // A "Bitmap" resource is stored without the 14-byte file header.
    const std::vector<unsigned char> vDib(vBmp.begin() + 14, vBmp.end());
    HINSTANCE hModule = reinterpret_cast<HINSTANCE>(0x1000);
    QelResources::Register(hModule, 7, "PNG", vPng.data(), vPng.size());
    QelResources::Register(hModule, 8, "Bitmap", vDib.data(), vDib.size());

    QelCapture cap;
    QelTexture m;
    ASSERT_TRUE(m.LoadFromMemory(vPng.data(), unsigned(vPng.size()), true));
    m.Bind();
    DrawTexturedQuad();
    EXPECT_EQ(PixelAt(0.5f, 0.5f), 0xFF0000FFu);
    QelTexture m2;
    ASSERT_TRUE(m2.LoadFromMemory(vPng.data(), unsigned(vPng.size()), true));
    EXPECT_NE(m, m2); // memory blocks are not cached
    EXPECT_FALSE(m.LoadFromMemory(vPng.data(), true));

    QelTexture r1, r2, bmp;
    ASSERT_TRUE(r1.LoadFromResource(hModule, 7, "png", true)); // resource types compare without case
    ASSERT_TRUE(r2.LoadFromResource(hModule, 7, "PNG", true));
    EXPECT_EQ(r1, r2);
    ASSERT_TRUE(bmp.LoadFromResource(hModule, 8, "Bitmap", true));
    bmp.Bind();
    DrawTexturedQuad();
    EXPECT_EQ(PixelAt(0.5f, 0.5f), 0xFFFF0000u);
    unsigned int nFiles = 9, nResources = 0;
    QelTexture::GetCacheUsage(nFiles, nResources);
    EXPECT_EQ(nFiles, 0u);
    EXPECT_EQ(nResources, 2u);
    EXPECT_FALSE(r1.LoadFromResource(hModule, 9, "PNG", true));
    const std::vector<std::string> vExpected = {"<error> Texture from memory failed\n",
                                                "<error> Texture from resource failed\n"};
    EXPECT_EQ(cap.Messages(), vExpected);

    // A shared static texture: loaded once, released by its last sharer.
    QelTexture s;
    ASSERT_TRUE(s.StaticLoadFromResource(hModule, 7, "PNG"));
    ASSERT_TRUE(s.StaticLoadFromResource(hModule, 7, "PNG"));
    EXPECT_EQ(s, r2);
    s.StaticRelease();
    EXPECT_TRUE(s.IsValid());
    s.StaticRelease();
    EXPECT_FALSE(s.IsValid());
    QelResources::Clear();
}

TEST(QelTexture, FilenameFiltersAndAnEmptyTexture)
{
    EXPECT_EQ(QelTexture::GetFilenameFilters(),
              "Supported Image Formats|*.bmp;*.dds;*.gif;*.jpg;*.jpeg;*.png;*.tga|Bitmap (*.bmp)|*.bmp|Direct Draw "
              "Surface (*.dds)|*.dds|Compuserve GIF (*.gif)|*.gif|JPEG (*.jpg,*.jpeg)|*.jpg;*.jpeg|PNG (*.png)|*.png|"
              "Targa (*.tga)|*.tga|TIFF (*.tif,*.tiff)|*.tif;*.tiff|All (*.*)|*.*||");
    QelCapture cap;
    QelTexture t;
    EXPECT_FALSE(t.IsValid());
    EXPECT_FALSE(t.LoadFromFile("", true));
    EXPECT_EQ(cap.Messages(), std::vector<std::string>{"<warning> Texture [] failed to load\n"});
}

TEST(QelTextureGL, BrokenImageFilesAreRefusedBeforeDevILDecodesThem)
{
    const std::string strDir = TestDir();
    ASSERT_TRUE(WriteImage(strDir + "ok.bmp", 4, 4, TwoBands(4, 4, 0xFF0000FFu, 0xFF00FF00u)));
    ASSERT_TRUE(WriteImage(strDir + "ok.tga", 4, 4, TwoBands(4, 4, 0xFF0000FFu, 0xFF00FF00u)));
    ASSERT_TRUE(WriteImage(strDir + "ok.png", 4, 4, TwoBands(4, 4, 0xFF0000FFu, 0xFF00FF00u)));
    QEL_REQUIRE_GL();
    const std::vector<unsigned char> vBmp = ReadFile(strDir + "ok.bmp"), vTga = ReadFile(strDir + "ok.tga");
    const std::vector<unsigned char> vPng = ReadFile(strDir + "ok.png");
    ASSERT_EQ(vTga[2], 2); // uncompressed true color
    auto patched = [](std::vector<unsigned char> v, size_t nAt, std::initializer_list<unsigned char> l) {
        std::copy(l.begin(), l.end(), v.begin() + nAt);
        return v;
    };
    // A run-length Targa whose one packet claims more pixels than the image has.
    std::vector<unsigned char> vRle(vTga.begin(), vTga.begin() + 18);
    vRle[2] = 10;
    for (unsigned char c : {0xFF, 1, 2, 3, 4, 0x8F, 1, 2, 3, 4})
        vRle.push_back(c);
    struct Row
    {
        const char* pName;
        std::vector<unsigned char> vBytes;
    };
    const Row aRows[] = {
        {"bmp_taller_than_its_pixels.bmp", patched(vBmp, 22, {0, 1, 0, 0})},
        {"bmp_run_length.bmp", patched(vBmp, 30, {1, 0, 0, 0})},
        {"bmp_wider_than_allowed.bmp", patched(vBmp, 18, {0, 0, 1, 0})},
        {"bmp_truncated.bmp", std::vector<unsigned char>(vBmp.begin(), vBmp.end() - 3)},
        {"tga_truncated.tga", std::vector<unsigned char>(vTga.begin(), vTga.begin() + 40)},
        {"tga_zero_width.tga", patched(vTga, 12, {0, 0})},
        {"tga_color_mapped.tga", patched(vTga, 2, {1})},
        {"tga_packet_past_the_end.tga", vRle},
        {"png_truncated.png", std::vector<unsigned char>(vPng.begin(), vPng.begin() + 40)},
        {"png_wider_than_allowed.png", patched(vPng, 16, {0, 1, 0, 0})},
        {"gif_screen_too_large.gif", {'G', 'I', 'F', '8', '9', 'a', 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0}},
        {"jpeg_without_a_frame.jpg", {0xFF, 0xD8, 0xFF, 0xE0, 0, 4, 0, 0, 0xFF, 0xD9}},
        {"unknown_format.psd", {'8', 'B', 'P', 'S', 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0, 4, 0, 0, 0, 4}},
    };
    for (const Row& r : aRows)
    {
        SCOPED_TRACE(r.pName);
        const std::string strPath = strDir + r.pName;
        ASSERT_TRUE(WriteFile(strPath, r.vBytes));
        QelCapture cap;
        QelTexture t;
        EXPECT_FALSE(t.LoadFromFile(strPath, true));
        EXPECT_EQ(cap.Messages(), std::vector<std::string>{"<warning> Texture [" + strPath + "] failed to load\n"});
        EXPECT_FALSE(t.LoadFromMemory(r.vBytes.data(), unsigned(r.vBytes.size()), false));
    }
    // The sound originals load, from files and from memory.
    QelTexture t;
    EXPECT_TRUE(t.LoadFromFile(strDir + "ok.tga", true));
    EXPECT_TRUE(t.LoadFromMemory(vTga.data(), unsigned(vTga.size()), true));
    EXPECT_TRUE(t.LoadFromMemory(vBmp.data(), unsigned(vBmp.size()), true));
}
