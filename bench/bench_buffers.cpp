// Geometry buffers against raw OpenGL calls on the same data, in the same context and run:
// one frame of a 1,000,000-triangle mesh (indexed and unshared, buffer objects and client
// arrays), 10,000 small draws under one binding, index and vertex uploads, gathering 500,000
// vertices in immediate mode, and interleaving separate arrays. Mesa's llvmpipe draws here, so
// only the ratios between a library row and its raw peer mean anything. The machine may be shared:
// each row is repeated and reported as aggregates (compare the medians), and
// --benchmark_enable_random_interleaving=true spreads a passing load over both rows of a pair.
#include "qel/buffers/QelImmediateModeBuffer.h"
#include "qel/buffers/QelInterleavedBuffer.h"
#include "qel/buffers/QelTightlyPackedBuffer.h"
#include "qel/platform/QelOffscreenContext.h"
#include "tests/support/QelSilentApp.h"

#include <GL/glew.h>
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace
{
QelSilentApp s_app;

const int kWidth = 1024, kHeight = 768;

struct GridVertex
{
    float p[3];
    unsigned char c[4];
};

/// A grid of side n vertices over the whole view: 2 (n - 1)^2 triangles.
struct Mesh
{
    std::vector<GridVertex> vVertices;
    std::vector<int> vIndices;
    std::vector<GridVertex> vUnshared; ///< the triangles' corners one after another
};

const Mesh& MillionTriangles()
{
    static Mesh m;
    if (!m.vVertices.empty())
        return m;
    const int n = 708; // 2 * 707^2 = 999,698 triangles
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
        m.vVertices.push_back({{-1.0f + 2.0f * float(x) / float(n - 1), -1.0f + 2.0f * float(y) / float(n - 1), 0.0f},
                               {(unsigned char)(x * 255 / n), (unsigned char)(y * 255 / n), (unsigned char)((x ^ y) & 255), 255}});
    for (int y = 0; y + 1 < n; ++y)
        for (int x = 0; x + 1 < n; ++x)
        {
        const int a = y * n + x;
        m.vIndices.insert(m.vIndices.end(), {a, a + 1, a + n, a + 1, a + n + 1, a + n});
        }
    for (int i : m.vIndices)
        m.vUnshared.push_back(m.vVertices[size_t(i)]);
    return m;
}

/// Every row: warmed up first (first-touch faults, caches, state Mesa builds lazily), then a second
/// of iterations, five times over.
void Settled(benchmark::internal::Benchmark* b)
{
    b->Unit(benchmark::kMillisecond)->MinWarmUpTime(0.5)->MinTime(1.0)->Repetitions(5)->ReportAggregatesOnly(true);
}

bool Context()
{
    static bool bOk = QelOffscreenContext::MakeCurrent(kWidth, kHeight);
    return bOk;
}

/// Nulls glGenBuffersARB for the client-array rows, as a context without buffer objects would.
class PathGuard
{
public:
    explicit PathGuard(bool bVideo) : m_pSaved(__glewGenBuffersARB)
    {
        if (!bVideo)
        __glewGenBuffersARB = nullptr;
    }
    ~PathGuard() { __glewGenBuffersARB = m_pSaved; }

private:
    PFNGLGENBUFFERSARBPROC m_pSaved;
};

void Describe(QelInterleavedBuffer& b, const std::vector<GridVertex>& v)
{
    b.SetStride(sizeof(GridVertex));
    b.SetVertexOffset(3, offsetof(GridVertex, p));
    b.SetColorOffset(offsetof(GridVertex, c));
    b.SetMaxNumVertices(int(v.size()));
    b.SetBuffer(v.data(), unsigned(v.size()), 0);
}

/// The raw peer's binding: a buffer object of the vertices (or none) and pointers into it.
struct RawArrays
{
    GLuint nVertices = 0, nIndices = 0;
    const unsigned char* pBase = nullptr;
    const void* pIndices = nullptr;

    RawArrays(bool bVideo, const std::vector<GridVertex>& v, const std::vector<int>* pIdx)
    {
        if (bVideo)
        {
        glGenBuffers(1, &nVertices);
        glBindBuffer(GL_ARRAY_BUFFER, nVertices);
        glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(v.size() * sizeof(GridVertex)), v.data(), GL_STATIC_DRAW);
        if (pIdx)
        {
            glGenBuffers(1, &nIndices);
            glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, nIndices);
            glBufferData(GL_ELEMENT_ARRAY_BUFFER, GLsizeiptr(pIdx->size() * 4), pIdx->data(), GL_STATIC_DRAW);
        }
        }
        else
        {
        pBase = reinterpret_cast<const unsigned char*>(v.data());
        pIndices = pIdx ? pIdx->data() : nullptr;
        }
        glEnableClientState(GL_VERTEX_ARRAY);
        glEnableClientState(GL_COLOR_ARRAY);
        const uintptr_t nBase = reinterpret_cast<uintptr_t>(pBase);
        glVertexPointer(3, GL_FLOAT, sizeof(GridVertex), reinterpret_cast<const void*>(nBase + offsetof(GridVertex, p)));
        glColorPointer(4, GL_UNSIGNED_BYTE, sizeof(GridVertex), reinterpret_cast<const void*>(nBase + offsetof(GridVertex, c)));
    }
    ~RawArrays()
    {
        glDisableClientState(GL_VERTEX_ARRAY);
        glDisableClientState(GL_COLOR_ARRAY);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
        if (nVertices)
        glDeleteBuffers(1, &nVertices);
        if (nIndices)
        glDeleteBuffers(1, &nIndices);
    }
};

void BeginFrame()
{
    glViewport(0, 0, kWidth, kHeight);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
}

/// Times whole frames: clear, draw, wait for the pixels.
template <class FnDraw>
void Frames(benchmark::State& state, FnDraw fnDraw)
{
    for (auto _ : state)
    {
        BeginFrame();
        fnDraw();
        glFinish();
    }
}

/// Records whether the library's last frame equals, pixel for pixel, the raw calls' frame of the same data.
template <class FnRawDraw>
void CompareWithRaw(benchmark::State& state, FnRawDraw fnRawDraw)
{
    const std::vector<unsigned char> vLibrary = QelOffscreenContext::ReadFrame();
    BeginFrame();
    fnRawDraw();
    state.counters["same_pixels"] = vLibrary == QelOffscreenContext::ReadFrame() ? 1.0 : 0.0;
}

// Library and raw rows of one frame. Arguments: 1 buffer objects, 0 client arrays.
void BM_Qel_DrawIndexed_1MTriangles(benchmark::State& state)
{
    if (!Context())
        return state.SkipWithError("no OpenGL context");
    const Mesh& m = MillionTriangles();
    PathGuard path(state.range(0) != 0);
    QelInterleavedBuffer b;
    Describe(b, m.vVertices);
    b.AddIndices(m.vIndices.data(), int(m.vIndices.size()));
    b.FinishIndices(QelGeometryBuffer::INDEX_32_BIT);
    Frames(state, [&] {
        b.DrawIndexed(QelGeometryBuffer::TRIANGLES, 0, int(m.vIndices.size()), true, true);
    });
    CompareWithRaw(state, [&] {
        RawArrays raw(state.range(0) != 0, m.vVertices, &m.vIndices);
        glDrawElements(GL_TRIANGLES, GLsizei(m.vIndices.size()), GL_UNSIGNED_INT, raw.pIndices);
    });
}
BENCHMARK(BM_Qel_DrawIndexed_1MTriangles)->Arg(1)->Arg(0)->Apply(Settled);

void BM_Raw_DrawElements_1MTriangles(benchmark::State& state)
{
    if (!Context())
        return state.SkipWithError("no OpenGL context");
    const Mesh& m = MillionTriangles();
    RawArrays raw(state.range(0) != 0, m.vVertices, &m.vIndices);
    Frames(state, [&] {
        glDrawElements(GL_TRIANGLES, GLsizei(m.vIndices.size()), GL_UNSIGNED_INT, raw.pIndices);
    });
}
BENCHMARK(BM_Raw_DrawElements_1MTriangles)->Arg(1)->Arg(0)->Apply(Settled);

void BM_Qel_DrawArrays_1MTriangles(benchmark::State& state)
{
    if (!Context())
        return state.SkipWithError("no OpenGL context");
    const Mesh& m = MillionTriangles();
    PathGuard path(state.range(0) != 0);
    QelInterleavedBuffer b;
    Describe(b, m.vUnshared);
    Frames(state, [&] {
        b.DrawArrays(QelGeometryBuffer::TRIANGLES, 0, int(m.vUnshared.size()), true, true);
    });
    CompareWithRaw(state, [&] {
        RawArrays raw(state.range(0) != 0, m.vUnshared, nullptr);
        glDrawArrays(GL_TRIANGLES, 0, GLsizei(m.vUnshared.size()));
    });
}
BENCHMARK(BM_Qel_DrawArrays_1MTriangles)->Arg(1)->Arg(0)->Apply(Settled);

void BM_Raw_DrawArrays_1MTriangles(benchmark::State& state)
{
    if (!Context())
        return state.SkipWithError("no OpenGL context");
    const Mesh& m = MillionTriangles();
    RawArrays raw(state.range(0) != 0, m.vUnshared, nullptr);
    Frames(state, [&] {
        glDrawArrays(GL_TRIANGLES, 0, GLsizei(m.vUnshared.size()));
    });
}
BENCHMARK(BM_Raw_DrawArrays_1MTriangles)->Arg(1)->Arg(0)->Apply(Settled);

/// 10,000 small meshes of 12 triangles, one after another in one buffer, over a 100 x 100 grid of cells.
const Mesh& SmallMeshes()
{
    static Mesh m;
    if (!m.vVertices.empty())
        return m;
    for (int k = 0; k < 10000; ++k)
    {
        const float x0 = -1.0f + 0.02f * float(k % 100), y0 = -1.0f + 0.02f * float(k / 100);
        const int nBase = int(m.vVertices.size());
        for (int j = 0; j < 3; ++j) // a 4 x 3 strip of corners: 12 triangles
        for (int i = 0; i < 4; ++i)
            m.vVertices.push_back({{x0 + 0.006f * float(i), y0 + 0.009f * float(j), 0.0f}, {200, 120, 40, 255}});
        for (int j = 0; j < 2; ++j)
        for (int i = 0; i < 3; ++i)
        {
            const int a = nBase + j * 4 + i;
            m.vIndices.insert(m.vIndices.end(), {a, a + 1, a + 4, a + 1, a + 5, a + 4});
        }
    }
    return m;
}

void BM_Qel_10000SmallDraws(benchmark::State& state)
{
    if (!Context())
        return state.SkipWithError("no OpenGL context");
    const Mesh& m = SmallMeshes();
    QelInterleavedBuffer b;
    Describe(b, m.vVertices);
    b.AddIndices(m.vIndices.data(), int(m.vIndices.size()));
    b.FinishIndices(QelGeometryBuffer::INDEX_32_BIT);
    Frames(state, [&] {
        for (int k = 0; k < 10000; ++k)
            b.DrawIndexed(QelGeometryBuffer::TRIANGLES, 36 * k, 36, k == 0, k == 9999);
    });
    CompareWithRaw(state, [&] {
        RawArrays raw(true, m.vVertices, &m.vIndices);
        for (int k = 0; k < 10000; ++k)
            glDrawElements(GL_TRIANGLES, 36, GL_UNSIGNED_INT, reinterpret_cast<const void*>(size_t(36 * 4 * k)));
    });
}
BENCHMARK(BM_Qel_10000SmallDraws)->Apply(Settled);

void BM_Raw_10000SmallDraws(benchmark::State& state)
{
    if (!Context())
        return state.SkipWithError("no OpenGL context");
    const Mesh& m = SmallMeshes();
    RawArrays raw(true, m.vVertices, &m.vIndices);
    Frames(state, [&] {
        for (int k = 0; k < 10000; ++k)
            glDrawElements(GL_TRIANGLES, 36, GL_UNSIGNED_INT, reinterpret_cast<const void*>(size_t(36 * 4 * k)));
    });
}
BENCHMARK(BM_Raw_10000SmallDraws)->Apply(Settled);

// Uploads: 3,000,000 indices (12 MB) and 500,000 vertices of 36 bytes (18 MB).
void BM_Qel_FinishIndices_3M(benchmark::State& state)
{
    if (!Context())
        return state.SkipWithError("no OpenGL context");
    const Mesh& m = MillionTriangles();
    QelInterleavedBuffer b;
    for (auto _ : state)
    {
        state.PauseTiming();
        b.Clear();
        b.AddIndices(m.vIndices.data(), 3000000);
        glFinish();
        state.ResumeTiming();
        b.FinishIndices(QelGeometryBuffer::INDEX_32_BIT);
        glFinish();
    }
    b.Clear();
    state.SetBytesProcessed(int64_t(state.iterations()) * 3000000 * 4);
}
BENCHMARK(BM_Qel_FinishIndices_3M)->Apply(Settled);

void BM_Raw_BufferData_12MB(benchmark::State& state)
{
    if (!Context())
        return state.SkipWithError("no OpenGL context");
    const Mesh& m = MillionTriangles();
    for (auto _ : state)
    {
        // Uploaded from an array just filled and then dropped, as the library uploads the one
        // AddIndices filled and drops its memory-side copy.
        state.PauseTiming();
        std::vector<int> vIndices(m.vIndices.begin(), m.vIndices.begin() + 3000000);
        state.ResumeTiming();
        GLuint n = 0;
        glGenBuffers(1, &n);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, n);
        glBufferData(GL_ELEMENT_ARRAY_BUFFER, 3000000 * 4, vIndices.data(), GL_STATIC_DRAW);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
        std::vector<int>().swap(vIndices);
        glFinish();
        state.PauseTiming();
        glDeleteBuffers(1, &n);
        glFinish();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * 3000000 * 4);
}
BENCHMARK(BM_Raw_BufferData_12MB)->Apply(Settled);

const int kGathered = 500000;

/// The values one vertex of the gathering rows is made of.
inline void VertexValues(int i, float& x, float& y, float& s, unsigned long& nColor)
{
    x = float(i % 1000) * 0.001f;
    y = float(i / 1000) * 0.002f;
    s = x + y;
    nColor = 0xFF000000ul | (unsigned long)(i & 0xFFFFFF);
}

/// Four calls a vertex; or three, with one color set before the first vertex for the whole mesh.
void GatherImmediate(QelImmediateModeBuffer& b, bool bOneColor = false)
{
    float x, y, s;
    unsigned long nColor;
    for (int i = 0; i < kGathered; ++i)
    {
        VertexValues(i, x, y, s, nColor);
        b.TexCoord2(0, s, 0.5f);
        b.Normal(0.0f, 0.0f, 1.0f);
        if (!bOneColor || i == 0)
            b.Color4(nColor);
        b.Vertex3(x, y, 0.0f);
    }
}

void BM_Qel_FinishVertices_Upload(benchmark::State& state)
{
    if (!Context())
        return state.SkipWithError("no OpenGL context");
    QelImmediateModeBuffer b(kGathered);
    for (auto _ : state)
    {
        state.PauseTiming();
        b.Clear();
        GatherImmediate(b);
        glFinish();
        state.ResumeTiming();
        b.FinishVertices();
        glFinish();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kGathered * 36);
    b.Clear();
}
BENCHMARK(BM_Qel_FinishVertices_Upload)->Apply(Settled);

void BM_Raw_BufferData_18MB(benchmark::State& state)
{
    if (!Context())
        return state.SkipWithError("no OpenGL context");
    for (auto _ : state)
    {
        // Filled outside the timing and dropped inside it, as the library's finish drops the
        // array it gathered once that is uploaded.
        state.PauseTiming();
        std::vector<unsigned char> v(size_t(kGathered) * 36, 7);
        state.ResumeTiming();
        GLuint n = 0;
        glGenBuffers(1, &n);
        glBindBuffer(GL_ARRAY_BUFFER, n);
        glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(v.size()), v.data(), GL_STATIC_DRAW);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        std::vector<unsigned char>().swap(v);
        glFinish();
        state.PauseTiming();
        glDeleteBuffers(1, &n);
        glFinish();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kGathered * 36);
}
BENCHMARK(BM_Raw_BufferData_18MB)->Apply(Settled);

// Gathering: four calls a vertex, then the upload, against the same values stored by hand; and the
// same with one color for the whole mesh, where each vertex leaves its color to the one before.
void BM_Qel_ImmediateGather(benchmark::State& state, bool bOneColor)
{
    if (!Context())
        return state.SkipWithError("no OpenGL context");
    QelImmediateModeBuffer b(kGathered);
    for (auto _ : state)
    {
        GatherImmediate(b, bOneColor);
        b.FinishVertices();
        glFinish();
        state.PauseTiming();
        b.Clear();
        state.ResumeTiming();
    }
}
BENCHMARK_CAPTURE(BM_Qel_ImmediateGather, AndFinish, false)->Apply(Settled);
BENCHMARK_CAPTURE(BM_Qel_ImmediateGather, OneColor, true)->Apply(Settled);

void BM_Raw_HandInterleaveAndUpload(benchmark::State& state)
{
    if (!Context())
        return state.SkipWithError("no OpenGL context");
    struct V
    {
        float p[3];
        float t[2];
        float n[3];
        unsigned int c;
    };
    for (auto _ : state)
    {
        std::vector<V> v;
        v.reserve(kGathered);
        float x, y, s;
        unsigned long nColor;
        for (int i = 0; i < kGathered; ++i)
        {
            VertexValues(i, x, y, s, nColor);
            v.push_back({{x, y, 0.0f}, {s, 0.5f}, {0.0f, 0.0f, 1.0f}, (unsigned int)nColor});
        }
        // A fresh buffer object, as the library's after its Clear: refilling one of the same
        // size would let OpenGL overwrite the old store in place and skip its allocation.
        GLuint nBuffer = 0;
        glGenBuffers(1, &nBuffer);
        glBindBuffer(GL_ARRAY_BUFFER, nBuffer);
        glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(v.size() * sizeof(V)), v.data(), GL_STATIC_DRAW);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        glFinish();
        state.PauseTiming();
        glDeleteBuffers(1, &nBuffer);
        glFinish();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_Raw_HandInterleaveAndUpload)->Apply(Settled);

/// Separate arrays of the gathering rows' values.
struct Separate
{
    std::vector<float> vPositions, vTex, vNormals;
    std::vector<unsigned long> vColors;
    Separate()
    {
        float x, y, s;
        unsigned long nColor;
        for (int i = 0; i < kGathered; ++i)
        {
        VertexValues(i, x, y, s, nColor);
        vPositions.insert(vPositions.end(), {x, y, 0.0f});
        vTex.insert(vTex.end(), {s, 0.5f});
        vNormals.insert(vNormals.end(), {0.0f, 0.0f, 1.0f});
        vColors.push_back(nColor);
        }
    }
};

// Interleaving alone: client arrays, so no upload follows; the appends are outside the timing.
// Both sides interleave into the array their last pass filled (the library keeps it as its client
// array), so neither pays for mapping a fresh block: that is the allocator's cost, not interleaving's.
void BM_Qel_TightlyPackedInterleave(benchmark::State& state)
{
    if (!Context())
        return state.SkipWithError("no OpenGL context");
    static const Separate s;
    PathGuard path(false);
    QelTightlyPackedBuffer b(kGathered);
    for (auto _ : state)
    {
        state.PauseTiming();
        b.AppendVertices(kGathered, 3, s.vPositions.data());
        b.AppendTexCoords(kGathered, 0, 2, s.vTex.data());
        b.AppendNormals(kGathered, s.vNormals.data());
        b.AppendColors(kGathered, s.vColors.data());
        state.ResumeTiming();
        b.FinishVertices();
    }
}
BENCHMARK(BM_Qel_TightlyPackedInterleave)->Apply(Settled);

void BM_Raw_HandInterleave(benchmark::State& state)
{
    static const Separate s;
    struct V
    {
        float p[3];
        float t[2];
        float n[3];
        unsigned int c;
    };
    std::unique_ptr<V[]> pOut(new V[kGathered]);
    for (auto _ : state)
    {
        // The arrays are read as the library reads its own: just copied into fresh memory, as
        // its appends do, outside the timing; and dropped once interleaved, as it drops them.
        state.PauseTiming();
        std::unique_ptr<Separate> pFresh(new Separate(s));
        state.ResumeTiming();
        const Separate& f = *pFresh;
        for (int i = 0; i < kGathered; ++i)
        {
            V& v = pOut[size_t(i)];
            std::memcpy(v.p, &f.vPositions[size_t(i) * 3], 12);
            std::memcpy(v.t, &f.vTex[size_t(i) * 2], 8);
            std::memcpy(v.n, &f.vNormals[size_t(i) * 3], 12);
            v.c = (unsigned int)f.vColors[size_t(i)];
        }
        benchmark::DoNotOptimize(pOut.get());
        benchmark::ClobberMemory();
        pFresh.reset();
    }
}
BENCHMARK(BM_Raw_HandInterleave)->Apply(Settled);
} // namespace

int main(int argc, char** argv)
{
#if defined(__GLIBC__)
    // Arrays of up to 32 MB are served from memory the process already holds, as in a host that
    // fills its buffers again and again, and never given back. glibc otherwise moves its bound for
    // fresh memory after each large free (the 1,000,000-triangle rows free hundreds of megabytes),
    // and then one row of a pair can get recycled memory while its peer, asking for a few bytes
    // more, faults in fresh pages: a ratio of the allocator, not of the code measured.
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
#endif
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
