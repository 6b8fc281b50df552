// The three ways of filling a buffer: what each makes of its input on screen, in both paths,
// and the refusals with their exact texts.
#include "qel/buffers/QelImmediateModeBuffer.h"
#include "qel/buffers/QelInterleavedBuffer.h"
#include "qel/buffers/QelTightlyPackedBuffer.h"
#include "tests/buffers/QelBufferTestSupport.h"
#include "tests/support/QelGLTest.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

using namespace QelBufferTest;

namespace
{
/// Runs the body once with buffer objects and once with client arrays.
void InBothPaths(const std::function<void()>& fnBody)
{
    for (bool bVideo : {true, false})
    {
        SCOPED_TRACE(bVideo ? "buffer objects" : "client arrays");
        std::unique_ptr<QelNullEntryPoint<PFNGLGENBUFFERSARBPROC>> pNoBuffers;
        if (!bVideo)
            pNoBuffers.reset(new QelNullEntryPoint<PFNGLGENBUFFERSARBPROC>(__glewGenBuffersARB));
        fnBody();
    }
}

/// Corners of the square of side 0.5 centred in quadrant (qx, qy), each -1 or 1, counter-clockwise.
void QuadCorners(float qx, float qy, float aOut[4][3])
{
    const float aUnit[4][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
    for (int i = 0; i < 4; ++i)
    {
        aOut[i][0] = 0.5f * qx + 0.25f * aUnit[i][0];
        aOut[i][1] = 0.5f * qy + 0.25f * aUnit[i][1];
        aOut[i][2] = 0.0f;
    }
}

/// A row of a refusal table: what to do to a fresh buffer and the exact log it must leave.
struct Refusal
{
    const char* pName;
    std::function<void()> fnDo;
    std::string strMessage;
};

void ExpectRefusals(const std::vector<Refusal>& vRows)
{
    for (const Refusal& r : vRows)
    {
        SCOPED_TRACE(r.pName);
        QelCapture log;
        r.fnDo();
        EXPECT_EQ(log.Joined(), r.strMessage);
    }
}
} // namespace

// Vertices take the attributes current when they are emitted; those emitted before an attribute
// was first set get OpenGL's default for it, as they would in immediate mode.
TEST(QelImmediateModeBufferGL, VerticesTakeTheCurrentAttributesAndDefaultsBeforeTheFirstSet)
{
    QEL_REQUIRE_GL();
    InBothPaths([] {
        QelCapture log;
        QelImmediateModeBuffer b(4);
        float q[4][3];
        QuadCorners(-1, -1, q); // before any color: white
        for (auto& c : q)
            b.Vertex3v(c);
        b.Color3(1.0f, 0.0f, 0.0f); // alpha 255
        QuadCorners(1, -1, q);
        for (auto& c : q)
            b.Vertex3(c[0], c[1], c[2]);
        b.Color4(0xFF00FF00ul);
        QuadCorners(1, 1, q); // w = 2: the same place at twice the coordinates; earlier vertices get w = 1
        for (auto& c : q)
            b.Vertex4(2 * c[0], 2 * c[1], 0.0f, 2.0f);
        b.Color4(0.5f, 0.5f, 0.5f, 1.0f); // 127.5 truncates to 127
        QuadCorners(-1, 1, q);
        for (auto& c : q)
        {
            const float xyzw[4] = {c[0], c[1], c[2], 1.0f};
            b.Vertex4v(xyzw);
        }
        EXPECT_EQ(b.NumVertices(), 16);
        b.FinishVertices();
        EXPECT_EQ(b.VertexSize(), 16 + 4);
        EXPECT_EQ(b.NumVertices(), 16);
        BeginFrame();
        EXPECT_TRUE(b.DrawArrays(QelGeometryBuffer::QUADS, 0, 16, true, true));
        EXPECT_EQ(PixelAt(-0.5f, -0.5f), kWhite);
        EXPECT_EQ(PixelAt(0.5f, -0.5f), kRed);
        EXPECT_EQ(PixelAt(0.5f, 0.5f), kGreen);
        EXPECT_EQ(PixelAt(-0.5f, 0.5f), 0xFF7F7F7Fu);
        EXPECT_EQ(PixelAt(0.0f, 0.0f), kBlack);
        EXPECT_TRUE(log.Messages().empty()) << log.Joined();
    });
}

// Lit from the viewer: the first quad was emitted before any normal was set, so it has the
// default (0, 0, 1) and is fully lit; the second faces away and gets no light. A buffer that never
// set a color leaves the color out, so the current OpenGL color (white) is the material.
TEST(QelImmediateModeBufferGL, NormalsDefaultToFacingTheViewerUntilSet)
{
    QEL_REQUIRE_GL();
    InBothPaths([] {
        QelImmediateModeBuffer b;
        float q[4][3];
        QuadCorners(-1, 0, q);
        for (auto& c : q)
            b.Vertex3v(c);
        b.Normal(0.0f, 0.0f, -1.0f);
        QuadCorners(1, 0, q);
        for (auto& c : q)
            b.Vertex3v(c);
        b.FinishVertices();
        EXPECT_EQ(b.VertexSize(), 12 + 12);
        BeginFrame();
        const float aBlack[4] = {0, 0, 0, 1}, aWhite[4] = {1, 1, 1, 1}, aFromViewer[4] = {0, 0, 1, 0};
        glLightModelfv(GL_LIGHT_MODEL_AMBIENT, aBlack);
        glLightfv(GL_LIGHT0, GL_POSITION, aFromViewer);
        glLightfv(GL_LIGHT0, GL_DIFFUSE, aWhite);
        glEnable(GL_LIGHT0);
        glEnable(GL_LIGHTING);
        glEnable(GL_COLOR_MATERIAL);
        glColor4f(1, 1, 1, 1);
        EXPECT_TRUE(b.DrawArrays(QelGeometryBuffer::QUADS, 0, 8, true, true));
        glDisable(GL_COLOR_MATERIAL);
        glDisable(GL_LIGHTING);
        EXPECT_EQ(PixelAt(-0.5f, 0.0f), kWhite);
        EXPECT_EQ(PixelAt(0.5f, 0.0f), kBlack);
        EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    });
}

TEST(QelImmediateModeBufferGL, TextureLayersGrowOnlyAndBadLayersAndArraysAreRefused)
{
    QEL_REQUIRE_GL();
    QelImmediateModeBuffer b;
    const float aCoords[4] = {0.1f, 0.2f, 0.3f, 0.4f};
    auto fnLayer = [](const char* pName) {
        return std::string("<warning> Texture layer 8 passed to ") + pName + " exceeds range of [0,7]\n";
    };
    ExpectRefusals({
        {"TexCoord1", [&] { b.TexCoord1(8, 0.5f); }, fnLayer("TexCoord1")},
        {"TexCoord2", [&] { b.TexCoord2(8, 0.5f, 0.5f); }, fnLayer("TexCoord2")},
        {"TexCoord2v", [&] { b.TexCoord2v(8, aCoords); }, fnLayer("TexCoord2v")},
        {"TexCoord3", [&] { b.TexCoord3(8, 0.5f, 0.5f, 0.5f); }, fnLayer("TexCoord3")},
        {"TexCoord3v", [&] { b.TexCoord3v(8, aCoords); }, fnLayer("TexCoord3v")},
        {"TexCoord4", [&] { b.TexCoord4(8, 0.5f, 0.5f, 0.5f, 0.5f); }, fnLayer("TexCoord4")},
        {"TexCoord4v", [&] { b.TexCoord4v(8, aCoords); }, fnLayer("TexCoord4v")},
        {"huge layer", [&] { b.TexCoord2(0xFFFFFFFFu, 0.5f, 0.5f); },
         "<warning> Texture layer -1 passed to TexCoord2 exceeds range of [0,7]\n"},
        {"null vertex", [&] { b.Vertex3v(nullptr); }, "<error> NULL array passed to QelImmediateModeBuffer::Vertex3v()\n"},
        {"null color", [&] { b.Color4v(nullptr); }, "<error> NULL array passed to QelImmediateModeBuffer::Color4v()\n"},
        {"nothing gathered", [&] { b.FinishVertices(); },
         "<warning> CZubImmediateModeBuffer::FinishVertices, m_nMaxCoordSize < 1, cannot run sanity test\n"},
    });
    EXPECT_EQ(b.NumVertices(), 0);
    EXPECT_EQ(b.VertexSize(), -1);

    // Layer 3 is raised to 3 coordinates and stays there; layer 5 to 1, then 2.
    QelCapture log;
    b.TexCoord3v(3, aCoords);
    b.TexCoord1(3, 0.5f);
    b.TexCoord1(5, 0.5f);
    b.Vertex3(0, 0, 0);
    b.TexCoord2(5, 0.5f, 0.5f);
    b.Vertex3(1, 0, 0);
    b.FinishVertices();
    EXPECT_EQ(b.VertexSize(), 12 + 12 + 8);
    EXPECT_EQ(b.NumVertices(), 2);
    EXPECT_TRUE(log.Messages().empty()) << log.Joined();
}

namespace
{
struct ColoredVertex
{
    float p[3];
    unsigned char c[4];
};

/// The left and right squares of the middle row, both in one color.
std::vector<ColoredVertex> TwoSquares(unsigned int nLeft, unsigned int nRight)
{
    std::vector<ColoredVertex> v;
    float q[4][3];
    for (int s = 0; s < 2; ++s)
    {
        QuadCorners(s ? 1.0f : -1.0f, 0.0f, q);
        const unsigned int n = s ? nRight : nLeft;
        for (auto& c : q)
            v.push_back({{c[0], c[1], c[2]},
                         {(unsigned char)n, (unsigned char)(n >> 8), (unsigned char)(n >> 16), (unsigned char)(n >> 24)}});
    }
    return v;
}
} // namespace

TEST(QelInterleavedBufferGL, ABlockAtAnOffsetChangesOnlyThoseVerticesOnScreen)
{
    QEL_REQUIRE_GL();
    InBothPaths([] {
        const bool bVideo = glGenBuffersARB != nullptr;
        QelCapture log;
        QelInterleavedBuffer b(true);
        DescribePositionAndColor<ColoredVertex>(b, 8);
        const std::vector<ColoredVertex> vRed = TwoSquares(kRed, kRed), vGreen = TwoSquares(kGreen, kGreen);
        b.SetBuffer(vRed.data(), 8, 0);
        EXPECT_EQ(b.NumVertices(), 8);
        b.SetBuffer(vGreen.data() + 4, 4, 4 * sizeof(ColoredVertex));
        BeginFrame();
        EXPECT_TRUE(b.DrawArrays(QelGeometryBuffer::QUADS, 0, 8, true, true));
        EXPECT_EQ(PixelAt(-0.5f, 0.0f), kRed);
        EXPECT_EQ(PixelAt(0.5f, 0.0f), kGreen);
        // Offset 0 redefines the store with buffer objects: it now holds the left square only.
        // Client arrays keep their capacity and what was written.
        b.SetBuffer(vGreen.data(), 4, 0);
        EXPECT_EQ(b.NumVertices(), bVideo ? 4 : 8);
        BeginFrame();
        EXPECT_TRUE(b.DrawArrays(QelGeometryBuffer::QUADS, 0, 4, true, true));
        EXPECT_EQ(PixelAt(-0.5f, 0.0f), kGreen);
        EXPECT_EQ(PixelAt(0.5f, 0.0f), kBlack);
        EXPECT_TRUE(log.Messages().empty()) << log.Joined();
        if (bVideo)
        {
            b.SetBuffer(vRed.data(), 2, 3 * sizeof(ColoredVertex));
            EXPECT_EQ(log.Joined(), "<error> QelInterleavedBuffer::SetBuffer() - bytes 48 to 80 lie past the 64 bytes "
                                    "defined at offset 0\n");
        }
        EXPECT_EQ(QelGeometryBuffer::VideoMemoryVertexBytes(), bVideo ? 64u : 0u);
    });
}

TEST(QelInterleavedBufferGL, LayoutAndBlockRefusalsLeaveTheBufferAsItWas)
{
    QEL_REQUIRE_GL();
    const std::vector<ColoredVertex> v = TwoSquares(kRed, kRed);
    QelInterleavedBuffer b;
    QelInterleavedBuffer unset;
    ExpectRefusals({
        {"two coordinates", [&] { b.SetVertexOffset(2, 0); }, "<warning> Vertex coord count must be either 3 or 4\n"},
        {"layer 8", [&] { b.SetTexCoordOffset(8, 2, 0); },
         "<warning> Texture layer 8 passed to SetTexCoordOffset exceeds range of [0,7]\n"},
        {"no texture coordinates", [&] { b.SetTexCoordOffset(0, 0, 0); },
         "<warning> Texture coord count must be in range of [1,4]\n"},
        {"five texture coordinates", [&] { b.SetTexCoordOffset(0, 5, 0); },
         "<warning> Texture coord count must be in range of [1,4]\n"},
        {"capacity before stride", [&] { b.SetMaxNumVertices(8); },
         "<error> QelInterleavedBuffer::SetMaxNumVertices(), vertex size not yet set\n"},
        {"block before stride", [&] { unset.SetBuffer(v.data(), 8, 0); },
         "<error> QelInterleavedBuffer::SetBuffer() called before vertex size specified\n"},
        {"null block", [&] { b.SetBuffer(nullptr, 8, 0); }, "<error> NULL buffer passed to QelInterleavedBuffer::SetBuffer()\n"},
        {"offset past the stride", [&] { b.SetNormalOffset(0x80000000u); },
         "<warning> QelInterleavedBuffer - normal offset of 2147483648 bytes is out of range\n"},
    });
    DescribePositionAndColor<ColoredVertex>(b, 8);
    ExpectRefusals({
        {"too many", [&] { b.SetBuffer(v.data(), 9, 0); },
         "<error> QelInterleavedBuffer::SetBuffer() - too many vertices + offset, greater than [8] specified\n"},
        {"offset plus count", [&] { b.SetBuffer(v.data(), 2, 7 * 16); },
         "<error> QelInterleavedBuffer::SetBuffer() - too many vertices + offset, greater than [8] specified\n"},
        {"offset inside the last vertex", [&] { b.SetBuffer(v.data(), 1, 7 * 16 + 4); },
         "<error> QelInterleavedBuffer::SetBuffer() - too many vertices + offset, greater than [8] specified\n"},
        {"absurd count", [&] { b.SetBuffer(v.data(), 0x80000000u, 0); },
         "<error> QelInterleavedBuffer::SetBuffer() - too many vertices + offset, greater than [8] specified\n"},
        {"absurd capacity", [&] { b.SetMaxNumVertices(0x7FFFFFFF); },
         "<error> QelInterleavedBuffer::SetMaxNumVertices() - 2147483647 vertices of 16 bytes are outside 0 to "
         "2147483647 bytes\n"},
    });
    EXPECT_EQ(b.NumVertices(), 0);
    // A normal at byte 8 would run 4 bytes past a 16-byte vertex: the binding is refused and nothing drawn.
    b.SetBuffer(v.data(), 8, 0);
    b.SetNormalOffset(8);
    ExpectRefusals({{"normal past the stride", [&] {
                         BeginFrame();
                         EXPECT_FALSE(b.DrawArrays(QelGeometryBuffer::QUADS, 0, 8, true, true));
                     },
                     "<error> QelGeometryBuffer::BindVertexBuffer() - the normal at byte 8 (12 bytes) does not fit a "
                     "vertex of 16 bytes\n"}});
    EXPECT_EQ(PixelAt(-0.5f, 0.0f), kBlack);
    GLint nDepth = -1;
    glGetIntegerv(GL_CLIENT_ATTRIB_STACK_DEPTH, &nDepth);
    EXPECT_EQ(nDepth, 0);
}

// Positions, one texture layer, normals and colors given in separate arrays, colors both as
// floats and packed: interleaved into one vertex of 36 bytes and drawn the same in both paths.
TEST(QelTightlyPackedBufferGL, SeparateArraysAreInterleavedAndDrawn)
{
    QEL_REQUIRE_GL();
    InBothPaths([] {
        QelCapture log;
        QelTightlyPackedBuffer b(8);
        float q[4][3];
        std::vector<float> vPositions, vTex, vNormals;
        for (int s = 0; s < 2; ++s)
        {
            QuadCorners(s ? 1.0f : -1.0f, 0.0f, q);
            for (auto& c : q)
            {
                vPositions.insert(vPositions.end(), c, c + 3);
                vTex.insert(vTex.end(), {0.5f, 0.5f});
                vNormals.insert(vNormals.end(), {0.0f, 0.0f, 1.0f});
            }
        }
        b.AppendVertices(4, 3, vPositions.data());
        b.AppendVertices(4, 3, vPositions.data() + 12);
        b.AppendTexCoords(8, 2, 2, vTex.data());
        b.AppendNormals(8, vNormals.data());
        const float aRed[16] = {1, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 1};
        const unsigned long aGreen[4] = {kGreen, kGreen, kGreen, kGreen};
        b.AppendColors(4, aRed);
        b.AppendColors(4, aGreen);
        EXPECT_EQ(b.NumVertices(), 8);
        b.FinishVertices();
        EXPECT_EQ(b.VertexSize(), 12 + 8 + 12 + 4);
        EXPECT_EQ(b.NumVertices(), 8);
        BeginFrame();
        EXPECT_TRUE(b.DrawArrays(QelGeometryBuffer::QUADS, 0, 8, true, true));
        EXPECT_EQ(PixelAt(-0.5f, 0.0f), kRed);
        EXPECT_EQ(PixelAt(0.5f, 0.0f), kGreen);
        EXPECT_TRUE(log.Messages().empty()) << log.Joined();
    });
}

TEST(QelTightlyPackedBufferGL, MismatchedCountsAndBadArraysAreRefused)
{
    QEL_REQUIRE_GL();
    const float aData[12] = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
    QelTightlyPackedBuffer b;
    b.AppendVertices(4, 3, aData);
    ExpectRefusals({
        {"layer 8", [&] { b.AppendTexCoords(4, 8, 2, aData); },
         "<warning> Texture layer 8 passed to AppendTexCoords exceeds range of [0,7]\n"},
        {"five texture coordinates", [&] { b.AppendTexCoords(4, 0, 5, aData); },
         "<warning> Texture coord count must be in range of [1,4]\n"},
        {"two position coordinates", [&] { b.AppendVertices(4, 2, aData); },
         "<warning> Vertex coord count must be either 3 or 4\n"},
        {"another coordinate count", [&] { b.AppendVertices(3, 4, aData); },
         "<warning> QelTightlyPackedBuffer::AppendVertices() - 4 coordinates per vertex, earlier calls gave 3\n"},
        {"negative count", [&] { b.AppendNormals(-1, aData); },
         "<error> QelTightlyPackedBuffer::AppendNormals() - cannot add -1 vertices to 0, the limit is 2147483647 bytes\n"},
        {"absurd count", [&] { b.AppendVertices(0x7FFFFFFF, 3, aData); },
         "<error> QelTightlyPackedBuffer::AppendVertices() - cannot add 2147483647 vertices to 4, the limit is "
         "2147483647 bytes\n"},
        {"null colors", [&] { b.AppendColors(2, static_cast<const float*>(nullptr)); },
         "<error> NULL array passed to QelTightlyPackedBuffer::AppendColors()\n"},
    });
    b.AppendNormals(3, aData);
    ExpectRefusals({{"three normals for four positions", [&] { b.FinishVertices(); },
                     "<warning> QelTightlyPackedBuffer::FinishVertices() - 4 positions but 3 normals; nothing finished\n"}});
    EXPECT_EQ(b.VertexSize(), -1);
    b.AppendNormals(1, aData);
    b.AppendTexCoords(2, 6, 1, aData);
    ExpectRefusals({{"two coordinates in layer 6", [&] { b.FinishVertices(); },
                     "<warning> QelTightlyPackedBuffer::FinishVertices() - 4 positions but 2 texture coordinates of "
                     "layer 6; nothing finished\n"}});
    b.AppendTexCoords(2, 6, 1, aData);
    QelCapture log;
    b.FinishVertices();
    EXPECT_EQ(b.VertexSize(), 12 + 4 + 12);
    EXPECT_EQ(b.NumVertices(), 4);
    EXPECT_TRUE(log.Messages().empty()) << log.Joined();
}

// Interleaving byte for byte, over more vertices than one pass of the interleaver takes, and
// again into the array of the last finish (client arrays), first larger and then smaller.
TEST(QelTightlyPackedBufferGL, InterleavesEveryArrayInPlaceAndReusesTheLastArray)
{
    QEL_REQUIRE_GL();
    InBothPaths([] {
        QelCapture log;
        QelTightlyPackedBuffer b;
        for (int nVertices : {300, 1001, 257})
        {
            SCOPED_TRACE(nVertices);
            std::vector<float> vPositions, vTex, vNormals;
            std::vector<unsigned long> vColors;
            std::vector<unsigned char> vExpected;
            auto fnAdd = [&vExpected](const void* p, size_t n) {
                vExpected.insert(vExpected.end(), static_cast<const unsigned char*>(p),
                                 static_cast<const unsigned char*>(p) + n);
            };
            for (int i = 0; i < nVertices; ++i)
            {
                const float p[4] = {float(i), float(-i), 0.5f * float(i), 2.0f};
                const float t[3] = {float(i) / 7.0f, 1.0f, float(nVertices)};
                const float n[3] = {0.0f, float(i & 1), 1.0f};
                const uint32_t c = 0x01020304u * uint32_t(i + 1);
                vPositions.insert(vPositions.end(), p, p + 4);
                vTex.insert(vTex.end(), t, t + 3);
                vNormals.insert(vNormals.end(), n, n + 3);
                vColors.push_back(c);
                fnAdd(p, 16), fnAdd(t, 12), fnAdd(n, 12), fnAdd(&c, 4);
            }
            b.AppendVertices(nVertices, 4, vPositions.data());
            b.AppendTexCoords(nVertices, 2, 3, vTex.data());
            b.AppendNormals(nVertices, vNormals.data());
            b.AppendColors(nVertices, vColors.data());
            b.FinishVertices();
            ASSERT_EQ(b.VertexSize(), 44);
            EXPECT_TRUE(FinishedBytes(b) == vExpected);
        }
        EXPECT_TRUE(log.Messages().empty()) << log.Joined();
    });
}
