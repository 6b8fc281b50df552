// The buffer's bookkeeping and refusals: byte counters, the deliberate quirks with their exact
// messages, range errors refused before OpenGL reads anything, and copies that share safely.
#include "qel/buffers/QelImmediateModeBuffer.h"
#include "qel/buffers/QelInterleavedBuffer.h"
#include "tests/buffers/QelBufferTestSupport.h"
#include "tests/support/QelGLTest.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

using namespace QelBufferTest;

namespace
{
/// Two triangles making a square over the middle of the target: a red lower left half and a
/// green upper right one. Vertex: position (12 bytes) and color (4 bytes).
void FillSquare(QelImmediateModeBuffer& b)
{
    const float aCorners[4][2] = {{-0.5f, -0.5f}, {0.5f, -0.5f}, {0.5f, 0.5f}, {-0.5f, 0.5f}};
    const int aTriangles[6] = {0, 1, 3, 1, 2, 3};
    for (int i = 0; i < 6; ++i)
    {
        b.Color4(i < 3 ? 0xFF0000FFul : 0xFF00FF00ul);
        b.Vertex3(aCorners[aTriangles[i]][0], aCorners[aTriangles[i]][1], 0.0f);
    }
    b.FinishVertices();
}

void AddSixIndices(QelGeometryBuffer& b)
{
    const long aIndices[6] = {0, 1, 2, 3, 4, 5};
    b.AddIndices(aIndices, 6L);
}

/// OpenGL's own entry point while OversizedBufferData stands in for it.
PFNGLBUFFERDATAARBPROC s_pRealBufferData = nullptr;

/// Asks OpenGL for a store far larger than it can make, so that it answers GL_OUT_OF_MEMORY as a
/// driver short of video memory would; the caller's data is not read.
void GLAPIENTRY OversizedBufferData(GLenum eTarget, GLsizeiptrARB nSize, const void*, GLenum eUsage)
{
    s_pRealBufferData(eTarget, nSize + (GLsizeiptrARB(1) << 40), nullptr, eUsage);
}

void ExpectSquareDrawn()
{
    EXPECT_EQ(PixelAt(-0.3f, -0.3f), kRed);
    EXPECT_EQ(PixelAt(0.3f, 0.3f), kGreen);
    EXPECT_EQ(PixelAt(0.8f, 0.8f), kBlack);
}
} // namespace

TEST(QelGeometryBufferRules, ByteCountersFollowUploadsAndClearOnlyWithBufferObjects)
{
    QEL_REQUIRE_GL();
    QelCapture log;
    // Each test runs in its own process, so both counters start at zero.
    ASSERT_EQ(QelGeometryBuffer::VideoMemoryVertexBytes(), 0u);
    QelImmediateModeBuffer a, b;
    FillSquare(a);
    EXPECT_EQ(a.VertexSize(), 16);
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryVertexBytes(), 6u * 16u);
    AddSixIndices(a);
    a.FinishIndices(QelGeometryBuffer::INDEX_16_BIT);
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryIndexBytes(), 12u);
    // Indices added after finishing start a new array; the next finish adds its store to the count.
    a.AddIndex(5);
    EXPECT_EQ(a.NumIndices(), 1);
    a.FinishIndices(QelGeometryBuffer::INDEX_32_BIT);
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryIndexBytes(), 16u);
    FillSquare(b);
    AddSixIndices(b);
    b.FinishIndices(QelGeometryBuffer::INDEX_8_BIT);
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryVertexBytes(), 2u * 6u * 16u);
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryIndexBytes(), 22u);

    a.Clear();
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryVertexBytes(), 6u * 16u);
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryIndexBytes(), 6u);
    EXPECT_EQ(a.VertexSize(), -1);
    EXPECT_EQ(a.NumVertices(), 0);
    EXPECT_EQ(a.NumIndices(), 0);
    a.Clear();
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryVertexBytes(), 6u * 16u);
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryIndexBytes(), 6u);
    BeginFrame();
    EXPECT_TRUE(b.DrawIndexed(QelGeometryBuffer::TRIANGLES, 0, 6, true, true));
    ExpectSquareDrawn();

    // Client arrays count nothing.
    {
        QelNullEntryPoint<PFNGLGENBUFFERSARBPROC> noBuffers(__glewGenBuffersARB);
        QelImmediateModeBuffer c;
        FillSquare(c);
        AddSixIndices(c);
        c.FinishIndices(QelGeometryBuffer::INDEX_32_BIT);
        EXPECT_EQ(QelGeometryBuffer::VideoMemoryVertexBytes(), 6u * 16u);
        EXPECT_EQ(QelGeometryBuffer::VideoMemoryIndexBytes(), 6u);
        BeginFrame();
        EXPECT_TRUE(c.DrawIndexed(QelGeometryBuffer::TRIANGLES, 0, 6, true, true));
        ExpectSquareDrawn();
    }
    b.Clear();
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryVertexBytes(), 0u);
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryIndexBytes(), 0u);
    EXPECT_TRUE(log.Messages().empty()) << log.Joined();
}

TEST(QelGeometryBufferRules, DeliberateQuirksKeepTheirResultsAndMessages)
{
    QEL_REQUIRE_GL();
    QelCapture log;
    QelImmediateModeBuffer b;
    FillSquare(b);
    // Vertices without indices count as empty, yet DrawArrays draws them.
    EXPECT_TRUE(b.Empty());
    BeginFrame();
    EXPECT_TRUE(b.DrawArrays(QelGeometryBuffer::TRIANGLES, 0, 6, true, true));
    ExpectSquareDrawn();
    AddSixIndices(b);
    b.FinishIndices(QelGeometryBuffer::INDEX_8_BIT);
    EXPECT_FALSE(b.Empty());
    EXPECT_EQ(b.NumIndices(), 6); // the memory-side array is gone, the count stays

    // A count of 0 returns at once: no binding, so the client attribute stack stays where it was.
    GLint nDepth = -1, nDepthAfter = -1;
    glGetIntegerv(GL_CLIENT_ATTRIB_STACK_DEPTH, &nDepth);
    EXPECT_TRUE(b.DrawArrays(QelGeometryBuffer::EPrimitiveType(99), 0, 0, true, false));
    EXPECT_TRUE(b.DrawIndexed(QelGeometryBuffer::EPrimitiveType(99), 0, -4, true, false));
    glGetIntegerv(GL_CLIENT_ATTRIB_STACK_DEPTH, &nDepthAfter);
    EXPECT_EQ(nDepthAfter, nDepth);
    EXPECT_TRUE(log.Messages().empty()) << log.Joined();

    BeginFrame();
    EXPECT_FALSE(b.DrawArrays(QelGeometryBuffer::EPrimitiveType(9), 0, 6, true, true));
    EXPECT_FALSE(b.DrawIndexed(QelGeometryBuffer::EPrimitiveType(9), 0, 6, true, true));
    EXPECT_EQ(PixelAt(0, 0), kBlack);
    EXPECT_EQ(log.Messages(), (std::vector<std::string>{
                                  "<error> Invalid switch/case in CZubGeometryBuffer::DrawArrays()",
                                  "<error> Invalid primitive switch/case in CZubGeometryBuffer::DrawIndexed()\n"}));

    // An invalid size is reported without a line end and stays stored for the draws to report.
    QelCapture log2;
    QelImmediateModeBuffer c;
    FillSquare(c);
    AddSixIndices(c);
    c.FinishIndices(QelGeometryBuffer::EIndexSize(3));
    EXPECT_FALSE(c.DrawIndexed(QelGeometryBuffer::TRIANGLES, 0, 6, true, true));
    EXPECT_EQ(log2.Messages(),
              (std::vector<std::string>{"<error> Invalid switch/case in CZubGeometryBuffer::FinishIndices()",
                                        "<error> Invalid index type switch/case in CZubGeometryBuffer::DrawIndexed() - "
                                        "FinishIndices() not called?\n"}));
    GLint nDepthEnd = -1;
    glGetIntegerv(GL_CLIENT_ATTRIB_STACK_DEPTH, &nDepthEnd);
    EXPECT_EQ(nDepthEnd, nDepth);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(QelGeometryBufferRules, EightBitIndicesKeepTheLowByteOnUpload)
{
    QEL_REQUIRE_GL();
    QelImmediateModeBuffer b;
    FillSquare(b);
    const int aIndices[6] = {256, 257, 258, 515, 4, 0x7FFFFF05};
    b.AddIndices(aIndices, 6);
    b.FinishIndices(QelGeometryBuffer::INDEX_8_BIT);
    BeginFrame();
    EXPECT_TRUE(b.DrawIndexed(QelGeometryBuffer::TRIANGLES, 0, 6, true, true));
    ExpectSquareDrawn();
}

// Every row is refused with its message and draws nothing; the two paths are checked alike.
TEST(QelGeometryBufferRules, RangeErrorsAndBadArgumentsAreRefusedWithTheirNumbers)
{
    QEL_REQUIRE_GL();
    for (bool bVideo : {true, false})
    {
        SCOPED_TRACE(bVideo ? "buffer objects" : "client arrays");
        std::unique_ptr<QelNullEntryPoint<PFNGLGENBUFFERSARBPROC>> pNoBuffers;
        if (!bVideo)
            pNoBuffers.reset(new QelNullEntryPoint<PFNGLGENBUFFERSARBPROC>(__glewGenBuffersARB));
        QelImmediateModeBuffer b;
        FillSquare(b);
        const int aIndices[4] = {0, 1, 2, 9};
        b.AddIndices(aIndices, 4);
        b.FinishIndices(QelGeometryBuffer::INDEX_32_BIT);
        struct Row
        {
            const char* pName;
            std::function<bool()> fnDraw;
            std::string strMessage;
        };
        const Row aRows[] = {
            {"arrays past the end", [&] { return b.DrawArrays(QelGeometryBuffer::TRIANGLES, 3, 6, true, true); },
             "<error> QelGeometryBuffer::DrawArrays() - first 3 and count 6 run past the 6 vertices\n"},
            {"negative first", [&] { return b.DrawArrays(QelGeometryBuffer::POINTS, -1, 2, true, true); },
             "<error> QelGeometryBuffer::DrawArrays() - first -1 and count 2 run past the 6 vertices\n"},
            {"huge count", [&] { return b.DrawArrays(QelGeometryBuffer::POINTS, 2, 0x7FFFFFFF, true, true); },
             "<error> QelGeometryBuffer::DrawArrays() - first 2 and count 2147483647 run past the 6 vertices\n"},
            {"start at the end", [&] { return b.DrawIndexed(QelGeometryBuffer::POINTS, 4, 1, true, true); },
             "<error> QelGeometryBuffer::DrawIndexed() - start 4 and count 1 run past the 4 indices\n"},
            {"negative start", [&] { return b.DrawIndexed(QelGeometryBuffer::POINTS, -2, 1, true, true); },
             "<error> QelGeometryBuffer::DrawIndexed() - start -2 and count 1 run past the 4 indices\n"},
            {"index past the vertices", [&] { return b.DrawIndexed(QelGeometryBuffer::TRIANGLES, 1, 3, true, true); },
             "<error> QelGeometryBuffer::DrawIndexed() - index 9 points past the 6 vertices\n"},
            // Buffer objects took the indices away from memory; client arrays keep them there.
            {"negative index count", [&] { b.AddIndices(aIndices, -1); return false; },
             std::string("<error> QelGeometryBuffer::AddIndices() - cannot add -1 indices to the ") + (bVideo ? "0" : "4") +
                 " stored, the limit is 536870911\n"},
            {"absurd index count", [&] { b.AddIndices(reinterpret_cast<const long*>(aIndices), 1L << 31); return false; },
             std::string("<error> QelGeometryBuffer::AddIndices() - cannot add 2147483648 indices to the ") +
                 (bVideo ? "0" : "4") + " stored, the limit is 536870911\n"},
            {"null indices", [&] { b.AddIndices(static_cast<const int*>(nullptr), 3); return false; },
             "<error> NULL array passed to QelGeometryBuffer::AddIndices()\n"},
        };
        for (const Row& r : aRows)
        {
            SCOPED_TRACE(r.pName);
            QelCapture log;
            BeginFrame();
            EXPECT_FALSE(r.fnDraw());
            EXPECT_EQ(log.Joined(), r.strMessage);
            EXPECT_EQ(PixelAt(-0.3f, -0.3f), kBlack);
        }
        // In range, the same buffer still draws; the refusals left nothing bound.
        BeginFrame();
        GLint nDepth = -1;
        glGetIntegerv(GL_CLIENT_ATTRIB_STACK_DEPTH, &nDepth);
        EXPECT_EQ(nDepth, 0);
        EXPECT_TRUE(b.DrawArrays(QelGeometryBuffer::TRIANGLES, 0, 6, true, true));
        ExpectSquareDrawn();
        EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    }
    // With buffer objects there must be indices to upload; the buffer is left as it was.
    QelCapture log;
    QelImmediateModeBuffer e;
    e.FinishIndices(QelGeometryBuffer::INDEX_16_BIT);
    EXPECT_EQ(log.Joined(), "<error> QelGeometryBuffer::FinishIndices() - 0 indices stored, nothing to upload\n");
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryIndexBytes(), 0u);
    EXPECT_FALSE(e.DrawIndexed(QelGeometryBuffer::TRIANGLES, 0, 3, true, true));
}

// Copies share one implementation: the last copy frees it, whichever goes first.
TEST(QelGeometryBufferRules, CopiesShareTheBufferAndOutliveTheOriginal)
{
    QEL_REQUIRE_GL();
    QelCapture log;
    std::unique_ptr<QelImmediateModeBuffer> pOriginal(new QelImmediateModeBuffer);
    FillSquare(*pOriginal);
    AddSixIndices(*pOriginal);
    pOriginal->FinishIndices(QelGeometryBuffer::INDEX_16_BIT);
    QelImmediateModeBuffer copy(*pOriginal);
    QelGeometryBuffer base(*pOriginal);
    QelImmediateModeBuffer assigned;
    assigned = copy;
    const QelImmediateModeBuffer& rSame = assigned;
    assigned = rSame; // to itself
    pOriginal.reset();
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryVertexBytes(), 96u); // counted once, still held
    for (const QelGeometryBuffer* p : std::initializer_list<const QelGeometryBuffer*>{&copy, &base, &assigned})
    {
        BeginFrame();
        EXPECT_TRUE(p->DrawIndexed(QelGeometryBuffer::TRIANGLES, 0, 6, true, true));
        ExpectSquareDrawn();
    }
    // A change through one copy is seen through the others.
    copy.Clear();
    EXPECT_EQ(base.NumVertices(), 0);
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryVertexBytes(), 0u);

    // An interleaved buffer cannot take an immediate-mode buffer's data through the base class.
    QelInterleavedBuffer interleaved;
    QelGeometryBuffer& rBase = interleaved;
    rBase = assigned;
    EXPECT_EQ(log.Joined(), "<error> QelGeometryBuffer::operator=() - the buffers are of different kinds, nothing copied\n");
    interleaved.SetStride(16);
    EXPECT_EQ(interleaved.VertexSize(), 16);
    EXPECT_EQ(assigned.VertexSize(), -1);
}

// What a draw may read is the array held, not the count of vertices still being gathered, nor
// what a stride widened after the upload would make of it.
TEST(QelGeometryBufferRules, DrawsReadOnlyTheVerticesTheArrayHolds)
{
    QEL_REQUIRE_GL();
    for (bool bVideo : {true, false})
    {
        SCOPED_TRACE(bVideo ? "buffer objects" : "client arrays");
        std::unique_ptr<QelNullEntryPoint<PFNGLGENBUFFERSARBPROC>> pNoBuffers;
        if (!bVideo)
            pNoBuffers.reset(new QelNullEntryPoint<PFNGLGENBUFFERSARBPROC>(__glewGenBuffersARB));
        QelImmediateModeBuffer b;
        FillSquare(b);
        for (int i = 0; i < 10; ++i)
            b.Vertex3(0.0f, 0.0f, 0.0f);
        EXPECT_EQ(b.NumVertices(), 10);
        QelCapture log;
        BeginFrame();
        EXPECT_FALSE(b.DrawArrays(QelGeometryBuffer::TRIANGLES, 0, 9, true, true));
        EXPECT_EQ(log.Joined(), "<error> QelGeometryBuffer::DrawArrays() - first 0 and count 9 run past the 6 vertices\n");
        EXPECT_TRUE(b.DrawArrays(QelGeometryBuffer::TRIANGLES, 0, 6, true, true));
        ExpectSquareDrawn();

        const float aTriangle[3][4] = {{-1, -1, 0, 0}, {1, -1, 0, 0}, {0, 1, 0, 0}};
        QelInterleavedBuffer i;
        i.SetStride(16);
        i.SetVertexOffset(3, 0);
        i.SetMaxNumVertices(3);
        i.SetBuffer(aTriangle, 3, 0);
        i.SetStride(24);
        QelCapture log2;
        EXPECT_FALSE(i.DrawArrays(QelGeometryBuffer::TRIANGLES, 0, 3, true, true));
        EXPECT_EQ(log2.Joined(), "<error> QelGeometryBuffer::DrawArrays() - first 0 and count 3 run past the 2 vertices\n");
    }
}

// Every upload OpenGL cannot hold is reported with the megabytes asked for, and still counted:
// the buffer stays usable in form, as hosts that only log the failure expect.
TEST(QelGeometryBufferRules, AnUploadOpenGLCannotHoldIsReportedAndStillCounted)
{
    QEL_REQUIRE_GL();
    ASSERT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    s_pRealBufferData = __glewBufferDataARB;
    struct Restore
    {
        ~Restore() { __glewBufferDataARB = s_pRealBufferData; }
    } restore;
    __glewBufferDataARB = OversizedBufferData;

    QelCapture log;
    QelImmediateModeBuffer a;
    FillSquare(a); // 6 vertices of 16 bytes
    EXPECT_EQ(log.Joined(), "<error> OpenGL failed to allocate 0.0 MB of video RAM\n");

    QelCapture log2;
    std::vector<int> vIndices(393216, 1); // 1.5 MB of 32-bit indices
    a.AddIndices(vIndices.data(), int(vIndices.size()));
    a.FinishIndices(QelGeometryBuffer::INDEX_32_BIT);
    EXPECT_EQ(log2.Joined(), "<error> OpenGL failed to allocate 1.5 MB of video RAM\n");
    EXPECT_EQ(a.NumIndices(), 393216);

    QelCapture log3;
    QelInterleavedBuffer i;
    i.SetStride(16);
    i.SetVertexOffset(3, 0);
    i.SetMaxNumVertices(65536);
    std::vector<float> vVertices(65536 * 4, 0.0f); // 1 MB
    i.SetBuffer(vVertices.data(), 65536, 0);
    EXPECT_EQ(log3.Joined(), "<error> OpenGL failed to allocate 1.0 MB of video RAM\n");

    EXPECT_EQ(QelGeometryBuffer::VideoMemoryVertexBytes(), 96u + 1048576u);
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryIndexBytes(), 1572864u);
    a.Clear();
    i.Clear();
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryVertexBytes(), 0u);
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryIndexBytes(), 0u);
}
