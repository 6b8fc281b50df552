// Transforms and scene traversal: the unchanged matrix read that every frame pays per object, the
// rebuild after one property edit, and a walk over a 10,000-object tree without drawing.
// Peers: a plain copy of a cached matrix, and the same matrix built directly with QelMatrix4 calls.
#include "qel/display/QelDisplayObject.h"
#include "qel/framework/QelSysApp.h"
#include "qel/properties/QelProperty.h"
#include "tests/support/QelSilentApp.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

namespace
{
using SilentApp = QelSilentApp;
SilentApp s_app;

void BM_GetTransformUnchanged(benchmark::State& state)
{
    QelTransform t;
    t.AddTransformProperties(true, true, true);
    t.SetTransform(QelVec3(1, 2, 3), QelVec4(0, 0.6f, 0.8f, 30), QelVec3(1, 2, 3));
    QelMatrix4 m;
    t.GetTransform(m);
    for (auto _ : state)
    {
        t.GetTransform(m);
        benchmark::DoNotOptimize(m);
    }
}
BENCHMARK(BM_GetTransformUnchanged);

void BM_PeerCopyCachedMatrix(benchmark::State& state)
{
    QelMatrix4 cached(true);
    cached.Translate(1, 2, 3);
    QelMatrix4 m;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(cached);
        m = cached;
        benchmark::DoNotOptimize(m);
    }
}
BENCHMARK(BM_PeerCopyCachedMatrix);

void BM_RebuildAfterOneEdit(benchmark::State& state)
{
    QelTransform t;
    t.AddTransformProperties(true, true, true);
    t.SetTransform(QelVec3(1, 2, 3), QelVec4(0, 0.6f, 0.8f, 30), QelVec3(1, 2, 3));
    QelProperty* pScaleY = t.GetProperty("Transform:Scale:Y");
    QelMatrix4 m;
    float f = 1.0f;
    for (auto _ : state)
    {
        f = f > 4.0f ? 1.0f : f + 0.25f;
        pScaleY->SetAsFloat(f);
        t.GetTransform(m);
        benchmark::DoNotOptimize(m);
    }
}
BENCHMARK(BM_RebuildAfterOneEdit);

void BM_PeerBuildMatrixDirectly(benchmark::State& state)
{
    float f = 1.0f;
    for (auto _ : state)
    {
        f = f > 4.0f ? 1.0f : f + 0.25f;
        QelMatrix4 m(true);
        m.Translate(1, 2, 3);
        m.Rotate(QelVec4(0, 0.6f, 0.8f, 30 * f)); // a varying angle keeps sin and cos at run time
        m.Scale(1, f, 3);
        benchmark::DoNotOptimize(m);
    }
}
BENCHMARK(BM_PeerBuildMatrixDirectly);

/// A root with 99 children of 100 children each: 10,000 objects, all transformed, none changed.
struct Tree
{
    std::vector<std::unique_ptr<QelDisplayObject>> vObjects;

    Tree()
    {
        vObjects.push_back(Make());
        for (int i = 0; i < 99; ++i)
        {
            vObjects.push_back(Make());
            QelDisplayObject* pBranch = vObjects.back().get();
            vObjects.front()->AddChild(pBranch);
            for (int j = 0; j < 100; ++j)
            {
                vObjects.push_back(Make());
                pBranch->AddChild(vObjects.back().get());
            }
        }
        QelMatrix4 m;
        for (auto& p : vObjects)
            p->GetTransform(m);
    }
    ~Tree()
    {
        // Leaves first, so no object outlives its links.
        while (!vObjects.empty())
            vObjects.pop_back();
    }
    static std::unique_ptr<QelDisplayObject> Make()
    {
        auto p = std::make_unique<QelDisplayObject>();
        p->AddTransformProperties(true, true, true);
        p->SetTranslation(QelVec3(0.1f, 0.2f, 0.3f));
        return p;
    }
};

void BM_TraverseTenThousand(benchmark::State& state)
{
    Tree tree;
    size_t nVisited = 0;
    QelDisplayObject::Visitor fnVisit = [&nVisited](QelDisplayObject&, const QelMatrix4& m) {
        benchmark::DoNotOptimize(m);
        ++nVisited;
    };
    for (auto _ : state)
    {
        nVisited = 0;
        tree.vObjects.front()->Traverse(QelMatrix4(true), fnVisit);
        benchmark::DoNotOptimize(nVisited);
    }
    state.counters["objects"] = double(nVisited);
    state.counters["ns_per_object"] =
        benchmark::Counter(double(nVisited) * double(state.iterations()),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_TraverseTenThousand)->Unit(benchmark::kMicrosecond);
} // namespace

BENCHMARK_MAIN();
