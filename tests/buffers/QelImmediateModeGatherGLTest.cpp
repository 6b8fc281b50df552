// What immediate-mode gathering stores, byte for byte: a long random sequence of calls against a
// plain model of OpenGL's current-attribute rule, across growth of the gathered array, layout
// changes after vertices were gathered, and sharing of the gathering between copies.
#include "qel/buffers/QelImmediateModeBuffer.h"
#include "qel/math/QelVecColor.h"
#include "tests/buffers/QelBufferTestSupport.h"
#include "tests/support/QelGLTest.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

using namespace QelBufferTest;

namespace
{
/// The current attributes as OpenGL keeps them, and each vertex as it was emitted.
struct Model
{
    struct Vertex
    {
        float xyzw[4];
        float tex[8][4];
        float normal[3];
        unsigned char color[4];
    };
    Vertex current = {{0, 0, 0, 1}, {}, {0, 0, 1}, {255, 255, 255, 255}};
    int nCoords = 0;
    int nTexCoords[8] = {};
    bool bNormal = false, bColor = false;
    std::vector<Vertex> vEmitted;

    Model()
    {
        for (auto& t : current.tex)
            t[3] = 1.0f;
    }

    /// The emitted vertices packed as position, used layers, normal, color.
    std::vector<unsigned char> Packed() const
    {
        std::vector<unsigned char> v;
        auto fnAdd = [&v](const void* p, size_t n) {
            const unsigned char* b = static_cast<const unsigned char*>(p);
            v.insert(v.end(), b, b + n);
        };
        for (const Vertex& e : vEmitted)
        {
            fnAdd(e.xyzw, 4 * size_t(nCoords));
            for (int i = 0; i < 8; ++i)
                fnAdd(e.tex[i], 4 * size_t(nTexCoords[i]));
            if (bNormal)
                fnAdd(e.normal, 12);
            if (bColor)
                fnAdd(e.color, 4);
        }
        return v;
    }
    int Stride() const
    {
        int n = 4 * nCoords + (bNormal ? 12 : 0) + (bColor ? 4 : 0);
        for (int c : nTexCoords)
            n += 4 * c;
        return n;
    }
};

/// Small deterministic random numbers.
struct Random
{
    uint32_t n;
    uint32_t Next(uint32_t nBelow)
    {
        n = n * 1664525u + 1013904223u;
        return (n >> 8) % nBelow;
    }
    float Value() { return float(Next(20001)) * 0.001f - 10.0f; }
};

/// One random call, made on the buffer and on the model alike.
void RandomCall(Random& r, bool bAllowVertex4, QelImmediateModeBuffer& b, Model& m)
{
    const uint32_t nKind = r.Next(100);
    float v[4] = {r.Value(), r.Value(), r.Value(), r.Value()};
    if (nKind < 45 || (nKind < 48 && !bAllowVertex4))
    {
        nKind % 2 ? b.Vertex3(v[0], v[1], v[2]) : b.Vertex3v(v);
        m.nCoords = m.nCoords < 3 ? 3 : m.nCoords;
        m.current.xyzw[0] = v[0], m.current.xyzw[1] = v[1], m.current.xyzw[2] = v[2], m.current.xyzw[3] = 1.0f;
        m.vEmitted.push_back(m.current);
    }
    else if (nKind < 48)
    {
        nKind % 2 ? b.Vertex4(v[0], v[1], v[2], v[3]) : b.Vertex4v(v);
        m.nCoords = 4;
        std::memcpy(m.current.xyzw, v, 16);
        m.vEmitted.push_back(m.current);
    }
    else if (nKind < 72)
    {
        const unsigned int aLayers[3] = {0, 3, 7};
        const unsigned int nLayer = aLayers[r.Next(3)];
        // Mostly the count the layer already has, sometimes a wider or narrower one.
        const int nCoords = r.Next(4) ? (m.nTexCoords[nLayer] ? m.nTexCoords[nLayer] : 2) : int(r.Next(4)) + 1;
        const bool bVector = r.Next(2) != 0;
        switch (nCoords)
        {
        case 1: b.TexCoord1(nLayer, v[0]); break;
        case 2: bVector ? b.TexCoord2v(nLayer, v) : b.TexCoord2(nLayer, v[0], v[1]); break;
        case 3: bVector ? b.TexCoord3v(nLayer, v) : b.TexCoord3(nLayer, v[0], v[1], v[2]); break;
        default: bVector ? b.TexCoord4v(nLayer, v) : b.TexCoord4(nLayer, v[0], v[1], v[2], v[3]); break;
        }
        const float aFull[4] = {v[0], nCoords > 1 ? v[1] : 0.0f, nCoords > 2 ? v[2] : 0.0f, nCoords > 3 ? v[3] : 1.0f};
        std::memcpy(m.current.tex[nLayer], aFull, 16);
        m.nTexCoords[nLayer] = nCoords > m.nTexCoords[nLayer] ? nCoords : m.nTexCoords[nLayer];
    }
    else if (nKind < 84)
    {
        nKind % 2 ? b.Normal(v[0], v[1], v[2]) : b.Normalv(v);
        std::memcpy(m.current.normal, v, 12);
        m.bNormal = true;
    }
    else
    {
        const float c[4] = {float(r.Next(256)) / 255.0f, float(r.Next(256)) / 255.0f, float(r.Next(256)) / 255.0f,
                            float(r.Next(256)) / 255.0f};
        const unsigned char aBytes[4] = {QelColorByte(c[0]), QelColorByte(c[1]), QelColorByte(c[2]), QelColorByte(c[3])};
        switch (nKind % 5)
        {
        case 0: b.Color3(c[0], c[1], c[2]); break;
        case 1: b.Color3v(c); break;
        case 2: b.Color4(c[0], c[1], c[2], c[3]); break;
        case 3: b.Color4v(c); break;
        default:
            b.Color4((unsigned long)aBytes[0] | (unsigned long)aBytes[1] << 8 | (unsigned long)aBytes[2] << 16 |
                     (unsigned long)aBytes[3] << 24);
            break;
        }
        std::memcpy(m.current.color, aBytes, 4);
        if (nKind % 5 < 2)
            m.current.color[3] = 255;
        m.bColor = true;
    }
}
} // namespace

// Each vertex holds the attributes current when it was emitted, and OpenGL's defaults for those
// first set after it, in both paths, from an empty array and from a capacity hint, and again for
// a second gathering after the first was finished (the current attributes carry over).
TEST(QelImmediateModeGather, StoresEveryVertexWithTheAttributesCurrentAtItsEmission)
{
    QEL_REQUIRE_GL();
    for (bool bVideo : {true, false})
        for (int nCapacity : {0, 7, 5000})
        {
            SCOPED_TRACE(std::string(bVideo ? "buffer objects" : "client arrays") + ", capacity " +
                         std::to_string(nCapacity));
            std::unique_ptr<QelNullEntryPoint<PFNGLGENBUFFERSARBPROC>> pNoBuffers;
            if (!bVideo)
                pNoBuffers.reset(new QelNullEntryPoint<PFNGLGENBUFFERSARBPROC>(__glewGenBuffersARB));
            QelCapture log;
            QelImmediateModeBuffer b(nCapacity);
            Model m;
            Random r{uint32_t(nCapacity) + 17u};
            for (int nRound = 0; nRound < 2; ++nRound)
            {
                SCOPED_TRACE(nRound ? "second gathering" : "first gathering");
                m.vEmitted.clear();
                for (int i = 0; i < 3000; ++i)
                    RandomCall(r, i > 1000, b, m);
                ASSERT_EQ(b.NumVertices(), int(m.vEmitted.size()));
                b.FinishVertices();
                ASSERT_EQ(b.VertexSize(), m.Stride());
                EXPECT_TRUE(FinishedBytes(b) == m.Packed());
            }
            EXPECT_TRUE(log.Messages().empty()) << log.Joined();
        }
}

// A buffer given another's gathering through the base class emits into that one from then on;
// its own, now unheld, is gone without a trace (AddressSanitizer would see a stale use).
TEST(QelImmediateModeGather, AssignmentThroughTheBaseMovesTheInlineCallsToTheSharedGathering)
{
    QEL_REQUIRE_GL();
    QelCapture log;
    QelImmediateModeBuffer a(2), b;
    a.Color4(0xFF00FF00ul);
    a.Vertex3(1, 2, 3);
    b.Color4(0xFF0000FFul);
    b.Vertex3(4, 5, 6);
    QelGeometryBuffer& rA = a;
    rA = b;
    a.Vertex3(7, 8, 9); // takes b's current red
    QelImmediateModeBuffer c(b);
    c.Vertex4(1, 1, 1, 2);
    EXPECT_EQ(b.NumVertices(), 3);
    b.FinishVertices();
    ASSERT_EQ(a.VertexSize(), 20);
    const std::vector<unsigned char> vBytes = FinishedBytes(a);
    ASSERT_EQ(vBytes.size(), 60u);
    const float aPositions[3][4] = {{4, 5, 6, 1}, {7, 8, 9, 1}, {1, 1, 1, 2}};
    for (int i = 0; i < 3; ++i)
    {
        SCOPED_TRACE(i);
        EXPECT_EQ(std::memcmp(vBytes.data() + 20 * i, aPositions[i], 16), 0);
        uint32_t nColor = 0;
        std::memcpy(&nColor, vBytes.data() + 20 * i + 16, 4);
        EXPECT_EQ(nColor, 0xFF0000FFu);
    }
    EXPECT_TRUE(log.Messages().empty()) << log.Joined();
}
