// Expressions: evaluation and compilation of eight expressions, each beside muparser and the same
// expression written in C++. Variables change between evaluations.
#include "qel/expression/QelExpression.h"
#include "qel/framework/QelSysApp.h"
#include "tests/support/QelSilentApp.h"

#include <benchmark/benchmark.h>
#include <muParser.h>

#include <cmath>
#include <string>

namespace
{
using BenchApp = QelSilentApp;
BenchApp s_app;

const double kPi = 3.141592653589793;

const char* const kExpressions[] = {
    "a*b + c",
    "(a+b)*(c-a)/(b+1)",
    "sin(a)*cos(b) + sqrt(c)",
    "a^2 + b^2 + c^2",
    "min(a, b) + max(b, c) + abs(a - c)",
    "exp(0-a) * 3.5 + 2.0*pi",
    "(a > b) * c + (a <= b) * (c + 1)",
    "sqrt(a*a + b*b + c*c) / (1 + exp(0 - c))",
};

/// The same expressions written in C++.
template <int N>
inline double Native(double a, double b, double c)
{
    switch (N)
    {
    case 0: return a * b + c;
    case 1: return (a + b) * (c - a) / (b + 1);
    case 2: return std::sin(a) * std::cos(b) + std::sqrt(c);
    case 3: return std::pow(a, 2) + std::pow(b, 2) + std::pow(c, 2);
    case 4: return std::min(a, b) + std::max(b, c) + std::fabs(a - c);
    case 5: return std::exp(0 - a) * 3.5 + 2.0 * kPi;
    case 6: return (a > b) * c + (a <= b) * (c + 1);
    default: return std::sqrt(a * a + b * b + c * c) / (1 + std::exp(0 - c));
    }
}

/// The values the variables take, one triple per evaluation: drawn in advance, so the loop carries
/// no dependency from one evaluation to the next and each side is timed on its evaluation alone.
struct Inputs
{
    struct Triple
    {
        double a, b, c;
    };
    static const size_t kCount = 1024;
    Triple m_cTriples[kCount];
    size_t m_nNext = 0;
    Inputs()
    {
        double a = 0.7, b = 1.3, c = 2.1;
        for (Triple& t : m_cTriples)
        {
            t = {a, b, c};
            a += 0.001;
            b -= 0.0007;
            c += 0.0003;
        }
    }
    const Triple& Next() { return m_cTriples[m_nNext++ % kCount]; }
};

template <int N>
void BM_Qel_Eval(benchmark::State& state)
{
    QelExpression e;
    if (!e.SetExpression(kExpressions[N]).empty())
        state.SkipWithError("compile failed");
    e.SetVar("a", 0);
    e.SetVar("b", 0);
    e.SetVar("c", 0);
    double* pa = e.FindVar("a");
    double* pb = e.FindVar("b");
    double* pc = e.FindVar("c");
    Inputs in;
    for (auto _ : state)
    {
        const Inputs::Triple& t = in.Next();
        *pa = t.a;
        *pb = t.b;
        *pc = t.c;
        benchmark::DoNotOptimize(e.Evaluate());
    }
}

template <int N>
void BM_MuParser_Eval(benchmark::State& state)
{
    Inputs in;
    double a = 0, b = 0, c = 0;
    mu::Parser p;
    p.DefineVar("a", &a);
    p.DefineVar("b", &b);
    p.DefineVar("c", &c);
    p.DefineConst("pi", kPi);
    p.SetExpr(kExpressions[N]);
    p.Eval();
    for (auto _ : state)
    {
        const Inputs::Triple& t = in.Next();
        a = t.a;
        b = t.b;
        c = t.c;
        benchmark::DoNotOptimize(p.Eval());
    }
}

template <int N>
void BM_Native_Eval(benchmark::State& state)
{
    Inputs in;
    for (auto _ : state)
    {
        const Inputs::Triple& t = in.Next();
        benchmark::DoNotOptimize(Native<N>(t.a, t.b, t.c));
    }
}

template <int N>
void BM_Qel_Compile(benchmark::State& state)
{
    QelExpression e;
    for (auto _ : state)
    {
        e.SetExpression(kExpressions[N]);
        benchmark::DoNotOptimize(e.Evaluate());
    }
}

template <int N>
void BM_MuParser_Compile(benchmark::State& state)
{
    double a = 1, b = 2, c = 3;
    mu::Parser p;
    p.DefineVar("a", &a);
    p.DefineVar("b", &b);
    p.DefineVar("c", &c);
    p.DefineConst("pi", kPi);
    for (auto _ : state)
    {
        p.SetExpr(kExpressions[N]); // muparser builds its bytecode at the first Eval
        benchmark::DoNotOptimize(p.Eval());
    }
}

#define QEL_EXPR_BENCH(N)                                                                                              \
    BENCHMARK_TEMPLATE(BM_Qel_Eval, N);                                                                                \
    BENCHMARK_TEMPLATE(BM_MuParser_Eval, N);                                                                           \
    BENCHMARK_TEMPLATE(BM_Native_Eval, N);                                                                             \
    BENCHMARK_TEMPLATE(BM_Qel_Compile, N);                                                                             \
    BENCHMARK_TEMPLATE(BM_MuParser_Compile, N);

QEL_EXPR_BENCH(0)
QEL_EXPR_BENCH(1)
QEL_EXPR_BENCH(2)
QEL_EXPR_BENCH(3)
QEL_EXPR_BENCH(4)
QEL_EXPR_BENCH(5)
QEL_EXPR_BENCH(6)
QEL_EXPR_BENCH(7)
} // namespace

BENCHMARK_MAIN();
