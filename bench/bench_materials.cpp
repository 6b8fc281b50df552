// Textures and materials beside the raw calls doing the same work, in one offscreen OpenGL
// context: a cache hit, a 2048 x 2048 DXT5 DDS with its 12 levels through the library's own
// reader against reading the file and uploading each level by hand, 2048 x 2048 PNG and JPEG
// files as mipmapped textures against the same DevIL calls made by hand, and Activate plus
// Deactivate of a material with two texture layers against the equivalent GL calls.
#include "qel/materials/QelMaterial.h"
#include "qel/materials/QelTexture.h"
#include "qel/platform/QelOffscreenContext.h"
#include "tests/support/QelSilentApp.h"

#include <GL/glew.h>
#define ILUT_USE_OPENGL
#include <IL/il.h>
#include <IL/ilu.h>
#include <IL/ilut.h>
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{
QelSilentApp s_app;
const int kSide = 2048;
const int kLevels = 12;

/// The folder of the test files, removed again when the program ends.
struct TempDir
{
    std::string strPath = "/tmp/qel_bench_materials_" + std::to_string(::getpid());
    TempDir() { std::filesystem::create_directories(strPath); }
    ~TempDir() { std::filesystem::remove_all(strPath); }
};

std::string Dir()
{
    static const TempDir s_dir;
    return s_dir.strPath;
}

void Put(std::vector<unsigned char>& v, uint32_t n)
{
    for (int i = 0; i < 4; ++i)
        v.push_back((unsigned char)(n >> (8 * i)));
}

/// The test files, made once: noise-like DXT5 blocks, and a 2048 x 2048 picture with detail
/// saved by DevIL as PNG and JPEG.
bool MakeFiles()
{
    static int s_nState = 0;
    if (s_nState)
        return s_nState > 0;
    s_nState = -1;
    if (!QelOffscreenContext::MakeCurrent(64, 64))
        return false;
    std::vector<unsigned char> v = {'D', 'D', 'S', ' '};
    for (uint32_t n : {124u, 0x21007u, uint32_t(kSide), uint32_t(kSide), 0u, 0u, uint32_t(kLevels)})
        Put(v, n);
    for (int i = 0; i < 11; ++i)
        Put(v, 0);
    Put(v, 32);
    Put(v, 4);
    v.insert(v.end(), {'D', 'X', 'T', '5'});
    for (int i = 0; i < 5; ++i)
        Put(v, 0);
    Put(v, 0x401008);
    for (int i = 0; i < 4; ++i)
        Put(v, 0);
    uint32_t nSeed = 12345;
    for (int l = 0; l < kLevels; ++l)
    {
        const size_t nBlocks = size_t(std::max(1, (kSide >> l) / 4)) * std::max(1, (kSide >> l) / 4);
        for (size_t i = 0; i < nBlocks * 16; ++i)
        {
            nSeed = nSeed * 1664525u + 1013904223u;
            v.push_back((unsigned char)(nSeed >> 24));
        }
    }
    FILE* p = std::fopen((Dir() + "/big.dds").c_str(), "wb");
    if (!p)
        return false;
    std::fwrite(v.data(), 1, v.size(), p);
    std::fclose(p);

    ilInit();
    std::vector<unsigned char> vRgb(size_t(kSide) * kSide * 3);
    for (int y = 0; y < kSide; ++y)
        for (int x = 0; x < kSide; ++x)
        {
            unsigned char* q = &vRgb[(size_t(y) * kSide + x) * 3];
            q[0] = (unsigned char)(x ^ y);
            q[1] = (unsigned char)((x * y) >> 5);
            q[2] = (unsigned char)(x + 3 * y);
        }
    ILuint nImage = 0;
    ilGenImages(1, &nImage);
    ilBindImage(nImage);
    ilTexImage(kSide, kSide, 1, 3, IL_RGB, IL_UNSIGNED_BYTE, vRgb.data());
    ilEnable(IL_FILE_OVERWRITE);
    const bool bOk = ilSaveImage((Dir() + "/big.png").c_str()) && ilSaveImage((Dir() + "/big.jpg").c_str());
    ilDeleteImages(1, &nImage);
    // The library's first use sets DevIL up as textures need it; the hand-made calls below then
    // run under the same switches.
    QelTexture cWarm;
    cWarm.LoadFromFile(Dir() + "/big.jpg", false);
    cWarm.Release();
    QelTexture::FlushCache(true);
    s_nState = bOk ? 1 : -1;
    return bOk;
}

#define REQUIRE_FILES(state)                                                                                           \
    if (!MakeFiles())                                                                                                  \
    {                                                                                                                  \
        state.SkipWithError("no OpenGL context or test files");                                                       \
        return;                                                                                                        \
    }

// ---- cache hit ----

void BM_Qel_CacheHit(benchmark::State& state)
{
    REQUIRE_FILES(state);
    QelTexture cFirst, cAgain;
    cFirst.LoadFromFile(Dir() + "/big.dds", true);
    const std::string strOther = Dir() + "/sub/..\\big.dds";
    for (auto _ : state)
    {
        cAgain.LoadFromFile(strOther, true);
        benchmark::DoNotOptimize(cAgain.GetName());
    }
    state.counters["same_texture"] = cAgain == cFirst ? 1 : 0;
    cAgain.Release();
    cFirst.Release();
    QelTexture::FlushCache(true);
}
BENCHMARK(BM_Qel_CacheHit);

// ---- DDS ----

void BM_Qel_DdsDxt5(benchmark::State& state)
{
    REQUIRE_FILES(state);
    for (auto _ : state)
    {
        QelTexture t;
        t.LoadFromFile(Dir() + "/big.dds", true);
        glFinish();
        t.Release();
        QelTexture::FlushCache(true);
    }
    // Every level stays compressed on the GL side.
    QelTexture t;
    t.LoadFromFile(Dir() + "/big.dds", true);
    t.Bind();
    int nCompressed = 0;
    for (int l = 0; l < kLevels; ++l)
    {
        GLint b = 0;
        glGetTexLevelParameteriv(GL_TEXTURE_2D, l, GL_TEXTURE_COMPRESSED, &b);
        nCompressed += b ? 1 : 0;
    }
    state.counters["levels_compressed"] = nCompressed;
    t.Release();
    QelTexture::FlushCache(true);
}
BENCHMARK(BM_Qel_DdsDxt5)->Unit(benchmark::kMillisecond);

void BM_Raw_DdsDxt5(benchmark::State& state)
{
    REQUIRE_FILES(state);
    for (auto _ : state)
    {
        FILE* p = std::fopen((Dir() + "/big.dds").c_str(), "rb");
        std::fseek(p, 0, SEEK_END);
        std::vector<unsigned char> v(size_t(std::ftell(p)));
        std::fseek(p, 0, SEEK_SET);
        benchmark::DoNotOptimize(std::fread(v.data(), 1, v.size(), p));
        std::fclose(p);
        GLuint nName = 0;
        glGenTextures(1, &nName);
        glBindTexture(GL_TEXTURE_2D, nName);
        size_t nOffset = 128;
        for (int l = 0; l < kLevels; ++l)
        {
            const int s = std::max(1, kSide >> l);
            const GLsizei nBytes = GLsizei(((s + 3) / 4) * ((s + 3) / 4) * 16);
            glCompressedTexImage2DARB(GL_TEXTURE_2D, l, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, s, s, 0, nBytes,
                                      v.data() + nOffset);
            nOffset += size_t(nBytes);
        }
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glFinish();
        glDeleteTextures(1, &nName);
    }
}
BENCHMARK(BM_Raw_DdsDxt5)->Unit(benchmark::kMillisecond);

// ---- PNG and JPEG through DevIL ----

void QelImageFile(benchmark::State& state, const char* pName)
{
    REQUIRE_FILES(state);
    for (auto _ : state)
    {
        QelTexture t;
        t.LoadFromFile(Dir() + pName, true);
        glFinish();
        t.Release();
        QelTexture::FlushCache(true);
    }
}

void RawImageFile(benchmark::State& state, const char* pName)
{
    REQUIRE_FILES(state);
    for (auto _ : state)
    {
        ILuint nImage = 0;
        ilGenImages(1, &nImage);
        ilBindImage(nImage);
        ilLoadImage((Dir() + pName).c_str());
        GLuint nName = ilutGLBindMipmaps();
        ilDeleteImages(1, &nImage);
        glFinish();
        glDeleteTextures(1, &nName);
    }
}

void BM_Qel_Png(benchmark::State& state)
{
    QelImageFile(state, "/big.png");
}
void BM_Raw_Png(benchmark::State& state)
{
    RawImageFile(state, "/big.png");
}
void BM_Qel_Jpeg(benchmark::State& state)
{
    QelImageFile(state, "/big.jpg");
}
void BM_Raw_Jpeg(benchmark::State& state)
{
    RawImageFile(state, "/big.jpg");
}
BENCHMARK(BM_Qel_Png)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Raw_Png)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Qel_Jpeg)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Raw_Jpeg)->Unit(benchmark::kMillisecond);

// ---- Activate and Deactivate ----

void BM_Qel_ActivateDeactivateTwoLayers(benchmark::State& state)
{
    REQUIRE_FILES(state);
    QelMaterial m;
    m.m_vLayers.resize(2);
    m.m_vLayers[0].m_cTexture.LoadFromFile(Dir() + "/big.dds", true);
    m.m_vLayers[1].m_cTexture.LoadFromFile(Dir() + "/big.dds", true);
    m.m_vLayers[1].m_fTileU = 4.0f;
    const QelVec4 vecWhite(1, 1, 1, 1);
    for (auto _ : state)
    {
        m.Activate(vecWhite, 1, 1, 1, 1);
        m.Deactivate();
    }
    glFinish();
    m.m_vLayers.clear();
    QelTexture::FlushCache(true);
}
BENCHMARK(BM_Qel_ActivateDeactivateTwoLayers);

/// The same state by hand, written as a host would without the library's checks and queries.
void BM_Raw_ActivateDeactivateTwoLayers(benchmark::State& state)
{
    REQUIRE_FILES(state);
    QelTexture t;
    t.LoadFromFile(Dir() + "/big.dds", true);
    const GLuint nName = t.GetName();
    const GLfloat aAmbient[] = {0.2f, 0.2f, 0.2f, 1}, aDiffuse[] = {0.8f, 0.8f, 0.8f, 1}, aBlack[] = {0, 0, 0, 1};
    for (auto _ : state)
    {
        glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, aAmbient);
        glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, aDiffuse);
        glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, aBlack);
        glMaterialfv(GL_FRONT_AND_BACK, GL_EMISSION, aBlack);
        glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, 0);
        glColor4fv(aDiffuse);
        for (int u = 0; u < 2; ++u)
        {
            glActiveTextureARB(GL_TEXTURE0_ARB + u);
            glBindTexture(GL_TEXTURE_2D, nName);
            glEnable(GL_TEXTURE_2D);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
            glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
            glMatrixMode(GL_TEXTURE);
            glLoadIdentity();
            glScalef(u ? 4.0f : 1.0f, 1.0f, 1.0f);
            glMatrixMode(GL_MODELVIEW);
        }
        for (int u = 1; u >= 0; --u)
        {
            glActiveTextureARB(GL_TEXTURE0_ARB + u);
            glDisable(GL_TEXTURE_2D);
            glMatrixMode(GL_TEXTURE);
            glLoadIdentity();
            glMatrixMode(GL_MODELVIEW);
        }
    }
    glFinish();
    t.Release();
    QelTexture::FlushCache(true);
}
BENCHMARK(BM_Raw_ActivateDeactivateTwoLayers);
} // namespace

BENCHMARK_MAIN();
