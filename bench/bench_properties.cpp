// The property edit cycle and history fills beside their limits in the same run: a plain struct
// field, std::map lookup and std::vector<QelVariant>::push_back.
// Targets: edit cycle < 50 ns, clean read < 5 ns, FastAppend within 1.5x push_back.
#include "qel/framework/QelSysApp.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "qel/properties/QelPropertyHistory.h"
#include "qel/properties/QelVariant.h"
#include "tests/support/QelSilentApp.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace
{
using SilentApp = QelSilentApp;
SilentApp g_app;

/// A container whose recalculation does nothing, so the cycle measures the relay itself.
class EmptyContainer : public QelPropertyContainer
{
public:
    void Calculate() override { ++m_nCalculations; }
    long m_nCalculations = 0;
};

constexpr int kProperties = 200;
constexpr int kHistoryValues = 1000000;

std::vector<std::string> MakeNames()
{
    std::vector<std::string> vec;
    char buffer[32];
    for (int i = 0; i < kProperties; ++i)
    {
        std::snprintf(buffer, sizeof(buffer), "Property%03d", (i * 7919) % kProperties);
        vec.push_back(buffer);
    }
    return vec;
}

struct PlainStruct
{
    float m_fValue = 0.0f;
};

// ---- Edit cycle ----

void BM_EditCycle_SetAsDoubleThenPull(benchmark::State& state)
{
    EmptyContainer c;
    QelProperty* p = c.CreateProperty("Width", eDataReal);
    double d = 0.0;
    for (auto _ : state)
    {
        p->SetAsDouble(d);
        benchmark::DoNotOptimize(p->GetAsFloat());
        d += 1.0;
    }
    if (c.m_nCalculations != long(state.iterations()))
        state.SkipWithError("Calculate did not run once per edit");
}
BENCHMARK(BM_EditCycle_SetAsDoubleThenPull);

void BM_Limit_PlainFieldWriteRead(benchmark::State& state)
{
    PlainStruct s;
    float f = 0.0f;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(&s);
        s.m_fValue = f;
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(s.m_fValue);
        f += 1.0f;
    }
}
BENCHMARK(BM_Limit_PlainFieldWriteRead);

void BM_CleanRead_GetAsFloat(benchmark::State& state)
{
    EmptyContainer c;
    QelProperty* p = c.CreateProperty("Width", eDataReal);
    p->SetAsDouble(3.0);
    p->GetAsFloat();
    for (auto _ : state)
        benchmark::DoNotOptimize(p->GetAsFloat());
}
BENCHMARK(BM_CleanRead_GetAsFloat);

// ---- Lookup by name ----

void BM_GetPropertyByName_200(benchmark::State& state)
{
    EmptyContainer c;
    std::vector<std::string> vecNames = MakeNames();
    for (const std::string& s : vecNames)
        c.CreateProperty(s, eDataReal);
    size_t i = 0;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(c.GetProperty(vecNames[i]));
        i = (i + 1) % vecNames.size();
    }
}
BENCHMARK(BM_GetPropertyByName_200);

void BM_Limit_StdMapLookup_200(benchmark::State& state)
{
    std::map<std::string, void*> map;
    std::vector<std::string> vecNames = MakeNames();
    for (const std::string& s : vecNames)
        map.emplace(s, &map);
    size_t i = 0;
    for (auto _ : state)
    {
        auto it = map.find(vecNames[i]);
        benchmark::DoNotOptimize(it == map.end() ? nullptr : it->second);
        i = (i + 1) % vecNames.size();
    }
}
BENCHMARK(BM_Limit_StdMapLookup_200);

// ---- Histories of one million values ----

void BM_History_Append_1M(benchmark::State& state)
{
    EmptyContainer c;
    QelProperty* p = c.CreateProperty("Time", eDataReal);
    QelPropertyHistory& h = p->History();
    for (auto _ : state)
    {
        h.Clear();
        for (int i = 0; i < kHistoryValues; ++i)
            h.Append(QelVariant(float(i)));
        benchmark::DoNotOptimize(h.CheckOrdering());
    }
    state.SetItemsProcessed(state.iterations() * kHistoryValues);
}
BENCHMARK(BM_History_Append_1M)->Unit(benchmark::kMillisecond);

void BM_History_FastAppend_1M(benchmark::State& state)
{
    EmptyContainer c;
    QelProperty* p = c.CreateProperty("Time", eDataReal);
    QelPropertyHistory& h = p->History();
    for (auto _ : state)
    {
        h.Clear();
        for (int i = 0; i < kHistoryValues; ++i)
            h.FastAppend(QelVariant(float(i)));
        benchmark::DoNotOptimize(h.GetRaw()->data());
    }
    state.SetItemsProcessed(state.iterations() * kHistoryValues);
}
BENCHMARK(BM_History_FastAppend_1M)->Unit(benchmark::kMillisecond);

void BM_History_FastAppendCompleteOrdering_1M(benchmark::State& state)
{
    EmptyContainer c;
    QelProperty* p = c.CreateProperty("Time", eDataReal);
    QelPropertyHistory& h = p->History();
    for (auto _ : state)
    {
        h.Clear();
        for (int i = 0; i < kHistoryValues; ++i)
            h.FastAppend(QelVariant(float(i)));
        benchmark::DoNotOptimize(h.FastComplete());
        benchmark::DoNotOptimize(h.CheckOrdering());
    }
    state.SetItemsProcessed(state.iterations() * kHistoryValues);
}
BENCHMARK(BM_History_FastAppendCompleteOrdering_1M)->Unit(benchmark::kMillisecond);

void BM_Limit_VectorPushBack_1M(benchmark::State& state)
{
    std::vector<QelVariant> vec;
    for (auto _ : state)
    {
        vec.clear();
        for (int i = 0; i < kHistoryValues; ++i)
            vec.push_back(QelVariant(float(i)));
        benchmark::DoNotOptimize(vec.data());
    }
    state.SetItemsProcessed(state.iterations() * kHistoryValues);
}
BENCHMARK(BM_Limit_VectorPushBack_1M)->Unit(benchmark::kMillisecond);

// ---- Variant conversions ----

void BM_Variant_RealToFloat(benchmark::State& state)
{
    QelVariant v(2.5f);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(&v);
        benchmark::DoNotOptimize(float(v));
    }
}
BENCHMARK(BM_Variant_RealToFloat);

void BM_Variant_IntegerToFloat(benchmark::State& state)
{
    QelVariant v(7);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(&v);
        benchmark::DoNotOptimize(float(v));
    }
}
BENCHMARK(BM_Variant_IntegerToFloat);

void BM_Variant_TextToFloat(benchmark::State& state)
{
    QelVariant v(" -12.75e1");
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(&v);
        benchmark::DoNotOptimize(float(v));
    }
}
BENCHMARK(BM_Variant_TextToFloat);

void BM_Variant_RealToString(benchmark::State& state)
{
    QelVariant v(0.125f);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(&v);
        std::string s = v;
        benchmark::DoNotOptimize(s.data());
    }
}
BENCHMARK(BM_Variant_RealToString);

void BM_Variant_ConvertToIntegerInPlace(benchmark::State& state)
{
    for (auto _ : state)
    {
        QelVariant v(-2.9f);
        v.ConvertTo(eDataInteger);
        benchmark::DoNotOptimize(int(v));
    }
}
BENCHMARK(BM_Variant_ConvertToIntegerInPlace);

void BM_Variant_CopyString(benchmark::State& state)
{
    QelVariant v("a file name of some length.txt");
    for (auto _ : state)
    {
        QelVariant copy(v);
        benchmark::DoNotOptimize(&copy);
    }
}
BENCHMARK(BM_Variant_CopyString);
} // namespace

BENCHMARK_MAIN();
