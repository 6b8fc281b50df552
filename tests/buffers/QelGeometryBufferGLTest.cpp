// Drawing through both paths: every primitive type and index size, compared pixel for pixel with
// raw OpenGL draws of the same vertices, and texture layers set up per client unit.
#include "qel/buffers/QelInterleavedBuffer.h"
#include "tests/buffers/QelBufferTestSupport.h"
#include "tests/support/QelGLTest.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

using namespace QelBufferTest;

namespace
{
// Mesa writes its shader cache from a thread that may still be finishing as the process exits,
// where LeakSanitizer's scan of the threads trips over it. These tests compile one-off shader
// variants, so the cache is off for this suite (set before main makes the context).
const bool s_bNoShaderCache = setenv("MESA_SHADER_CACHE_DISABLE", "true", 0) == 0;

struct Vertex
{
    float p[3];
    float t0[2];
    float t1[2];
    unsigned char c[4];
};

/// Eight vertices on a ring, each in its own color: every primitive type covers pixels with them.
std::vector<Vertex> Ring()
{
    std::vector<Vertex> v;
    const float aPos[8][2] = {{0.8f, 0.1f}, {0.5f, 0.7f}, {-0.1f, 0.8f}, {-0.7f, 0.5f},
                              {-0.8f, -0.1f}, {-0.5f, -0.7f}, {0.1f, -0.8f}, {0.7f, -0.5f}};
    for (int i = 0; i < 8; ++i)
        v.push_back({{aPos[i][0], aPos[i][1], 0.0f},
                     {0, 0},
                     {0, 0},
                     {(unsigned char)(40 + 25 * i), (unsigned char)(250 - 30 * i), (unsigned char)(i * 17 % 256), 255}});
    return v;
}

/// The same vertices drawn with raw OpenGL calls from a client array: all of them in order when
/// vOrder is empty, else the given 32-bit indices.
void DrawReference(GLenum nMode, const std::vector<Vertex>& v, const std::vector<unsigned>& vOrder)
{
    glPushClientAttrib(GL_CLIENT_VERTEX_ARRAY_BIT);
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_COLOR_ARRAY);
    glVertexPointer(3, GL_FLOAT, sizeof(Vertex), v[0].p);
    glColorPointer(4, GL_UNSIGNED_BYTE, sizeof(Vertex), v[0].c);
    if (vOrder.empty())
        glDrawArrays(nMode, 0, GLsizei(v.size()));
    else
        glDrawElements(nMode, GLsizei(vOrder.size()), GL_UNSIGNED_INT, vOrder.data());
    glPopClientAttrib();
}

int DifferentPixels(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b)
{
    if (a.size() != b.size())
        return -1;
    int n = 0;
    for (size_t i = 0; i + 3 < a.size(); i += 4)
        n += std::memcmp(&a[i], &b[i], 4) != 0;
    return n;
}

int LitPixels(const std::vector<unsigned char>& a)
{
    int n = 0;
    for (size_t i = 0; i + 3 < a.size(); i += 4)
        n += a[i] || a[i + 1] || a[i + 2];
    return n;
}

const GLenum kModes[] = {GL_POINTS, GL_LINE_STRIP, GL_LINE_LOOP, GL_LINES, GL_TRIANGLE_STRIP,
                         GL_TRIANGLE_FAN, GL_TRIANGLES, GL_QUAD_STRIP, GL_QUADS};
const char* const kModeNames[] = {"POINTS", "LINE_STRIP", "LINE_LOOP", "LINES", "TRIANGLE_STRIP",
                                  "TRIANGLE_FAN", "TRIANGLES", "QUAD_STRIP", "QUADS"};

struct DrawCase
{
    int ePrimitive;
    int eIndexSize;
    bool bVideo;
};

std::vector<DrawCase> AllCases()
{
    std::vector<DrawCase> v;
    for (int p = 0; p <= QelGeometryBuffer::QUADS; ++p)
        for (int s = 0; s <= QelGeometryBuffer::INDEX_32_BIT; ++s)
            for (bool bVideo : {true, false})
                v.push_back({p, s, bVideo});
    return v;
}

void PrintTo(const DrawCase& c, std::ostream* pOut)
{
    *pOut << kModeNames[c.ePrimitive] << ", index size " << c.eIndexSize << (c.bVideo ? ", buffer objects" : ", client arrays");
}

class QelBufferDraw : public testing::TestWithParam<DrawCase>
{
};
} // namespace

// The indexed draw starts at the second stored index. Without buffer objects the memory-side
// 32-bit array is read with the stored element type, so an 8- or 16-bit draw there reads the
// bytes or halves of the 32-bit entries: the reference is drawn from exactly those values.
TEST_P(QelBufferDraw, DrawsWhatRawCallsDrawWithTheSameVertices)
{
    QEL_REQUIRE_GL();
    const DrawCase c = GetParam();
    std::unique_ptr<QelNullEntryPoint<PFNGLGENBUFFERSARBPROC>> pNoBuffers;
    if (!c.bVideo)
        pNoBuffers.reset(new QelNullEntryPoint<PFNGLGENBUFFERSARBPROC>(__glewGenBuffersARB));
    QelCapture log;
    const std::vector<Vertex> v = Ring();
    const std::vector<int> vIndices = {7, 0, 2, 4, 6, 1, 3, 5, 7};
    QelInterleavedBuffer b;
    DescribePositionAndColor<Vertex>(b, 8);
    b.SetBuffer(v.data(), 8, 0);
    b.AddIndices(vIndices.data(), int(vIndices.size()));
    b.FinishIndices(QelGeometryBuffer::EIndexSize(c.eIndexSize));
    EXPECT_EQ(b.NumIndices(), 9);
    const auto eType = QelGeometryBuffer::EPrimitiveType(c.ePrimitive);

    BeginFrame();
    DrawReference(kModes[c.ePrimitive], v, {});
    const std::vector<unsigned char> vArraysRef = QelOffscreenContext::ReadFrame();
    BeginFrame();
    EXPECT_TRUE(b.DrawArrays(eType, 0, 8, true, true));
    const std::vector<unsigned char> vArrays = QelOffscreenContext::ReadFrame();
    EXPECT_GT(LitPixels(vArrays), 0);
    EXPECT_EQ(DifferentPixels(vArrays, vArraysRef), 0);

    std::vector<unsigned> vRead;
    const int nWidth = c.eIndexSize == 0 ? 1 : c.eIndexSize == 1 ? 2 : 4;
    for (int k = 0; k < 8; ++k)
    {
        unsigned n = unsigned(vIndices[1 + k]);
        if (!c.bVideo && nWidth < 4)
        {
            n = 0;
            std::memcpy(&n, reinterpret_cast<const unsigned char*>(vIndices.data() + 1) + k * nWidth, nWidth);
        }
        vRead.push_back(n);
    }
    BeginFrame();
    DrawReference(kModes[c.ePrimitive], v, vRead);
    const std::vector<unsigned char> vIndexedRef = QelOffscreenContext::ReadFrame();
    BeginFrame();
    EXPECT_TRUE(b.DrawIndexed(eType, 1, 8, true, true));
    const std::vector<unsigned char> vIndexed = QelOffscreenContext::ReadFrame();
    EXPECT_EQ(DifferentPixels(vIndexed, vIndexedRef), 0);
    if (c.bVideo || nWidth == 4)
    {
        EXPECT_GT(LitPixels(vIndexed), 0);
    }
    EXPECT_TRUE(log.Messages().empty()) << log.Joined();
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    b.Clear();
}

namespace
{
std::string CaseName(const testing::TestParamInfo<DrawCase>& info)
{
    static const char* const aSizes[] = {"8bit", "16bit", "32bit"};
    return std::string(kModeNames[info.param.ePrimitive]) + "_" + aSizes[info.param.eIndexSize] +
           (info.param.bVideo ? "_BufferObjects" : "_ClientArrays");
}
} // namespace

INSTANTIATE_TEST_SUITE_P(AllTypesSizesAndPaths, QelBufferDraw, testing::ValuesIn(AllCases()), CaseName);

namespace
{
/// A 2x1 texture on a unit, nearest filtering, with the given combine mode.
GLuint TwoTexelTexture(GLenum nUnit, unsigned int nLeft, unsigned int nRight, GLint nEnvMode)
{
    GLuint nName = 0;
    glActiveTexture(nUnit);
    glGenTextures(1, &nName);
    glBindTexture(GL_TEXTURE_2D, nName);
    const unsigned int aTexels[2] = {nLeft, nRight};
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 2, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, aTexels);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, nEnvMode);
    glEnable(GL_TEXTURE_2D);
    return nName;
}
} // namespace

// Layer 0 picks red from [red, blue]; layer 1 adds green from [black, green]. Each unit's current
// coordinate picks the other texel, so a layer that is not set up shows in the color.
TEST(QelGeometryBufferGL, TextureLayersAreSetUpPerClientUnitAndLayerZeroAloneWithoutMultitexture)
{
    QEL_REQUIRE_GL();
    const unsigned int kYellow = 0xFF00FFFFu;
    for (bool bVideo : {true, false})
        for (bool bMultitexture : {true, false})
        {
            SCOPED_TRACE(std::string(bVideo ? "buffer objects" : "client arrays") +
                         (bMultitexture ? ", multitexture" : ", no multitexture"));
            std::unique_ptr<QelNullEntryPoint<PFNGLGENBUFFERSARBPROC>> pNoBuffers;
            std::unique_ptr<QelNullEntryPoint<PFNGLCLIENTACTIVETEXTUREARBPROC>> pNoUnits;
            if (!bVideo)
                pNoBuffers.reset(new QelNullEntryPoint<PFNGLGENBUFFERSARBPROC>(__glewGenBuffersARB));
            if (!bMultitexture)
                pNoUnits.reset(new QelNullEntryPoint<PFNGLCLIENTACTIVETEXTUREARBPROC>(__glewClientActiveTextureARB));
            const Vertex aQuad[4] = {{{-1, -1, 0}, {0.25f, 0.5f}, {0.75f, 0.5f}, {255, 255, 255, 255}},
                                     {{1, -1, 0}, {0.25f, 0.5f}, {0.75f, 0.5f}, {255, 255, 255, 255}},
                                     {{1, 1, 0}, {0.25f, 0.5f}, {0.75f, 0.5f}, {255, 255, 255, 255}},
                                     {{-1, 1, 0}, {0.25f, 0.5f}, {0.75f, 0.5f}, {255, 255, 255, 255}}};
            QelInterleavedBuffer b;
            DescribePositionAndColor<Vertex>(b, 4);
            b.SetTexCoordOffset(0, 2, offsetof(Vertex, t0));
            b.SetTexCoordOffset(1, 2, offsetof(Vertex, t1));
            b.SetBuffer(aQuad, 4, 0);

            BeginFrame();
            GLuint aNames[2] = {TwoTexelTexture(GL_TEXTURE0, kRed, kBlue, GL_REPLACE),
                                TwoTexelTexture(GL_TEXTURE1, kBlack, kGreen, GL_ADD)};
            glMultiTexCoord2f(GL_TEXTURE0, 0.75f, 0.5f);
            glMultiTexCoord2f(GL_TEXTURE1, 0.25f, 0.5f);
            ASSERT_TRUE(b.BindVertexBuffer());
            GLint nClientUnit = 0;
            glGetIntegerv(GL_CLIENT_ACTIVE_TEXTURE, &nClientUnit);
            EXPECT_EQ(nClientUnit, GL_TEXTURE0);
            EXPECT_TRUE(b.DrawArrays(QelGeometryBuffer::QUADS, 0, 4, false, true));
            EXPECT_EQ(PixelAt(0, 0), bMultitexture ? kYellow : kRed);
            glActiveTexture(GL_TEXTURE1);
            glDisable(GL_TEXTURE_2D);
            glActiveTexture(GL_TEXTURE0);
            glDisable(GL_TEXTURE_2D);
            glDeleteTextures(2, aNames);
            EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
            b.Clear();
        }
}
