#pragma once

// How compiled programs run. Internal to the library: the operations are defined once, as small
// functors, and used by both forms of a program: the flat instruction loop (any depth) and the tree
// of specialised nodes (shallow expressions, values passed in registers instead of temporaries).

#include "qel/expression/MTParser/MTFunctionI.h"
#include "qel/expression/MTParser/MTOperatorI.h"
#include "qel/expression/MTParser/MTParserProgram.h"
#include "qel/expression/MTParser/MTVariableI.h"

#include <cmath>
#include <utility>

#if defined(__GNUC__)
#  define QEL_MT_INLINE inline __attribute__((always_inline))
#else
#  define QEL_MT_INLINE inline
#endif

namespace MTParserDetail
{
double Factorial(double x);
double Random01();

// The factors the library uses for angles everywhere, kept here so that expressions agree with
// the rest of the library rather than with full double precision.
const double kDegToRad = 0.017453292;
const double kRadToDeg = 57.295776;

QEL_MT_INLINE double Norm(double v, double lo, double hi)
{
    const double d = hi - lo;
    return d == 0.0 ? 0.0 : (v - lo) / d;
}

// With an inverted range the minimum wins, as in property clamping.
QEL_MT_INLINE double ClampTo(double v, double lo, double hi)
{
    const double r = hi < v ? hi : v;
    return r < lo ? lo : r;
}

QEL_MT_INLINE double Min2(double a, double b) { return b < a ? b : a; }
QEL_MT_INLINE double Max2(double a, double b) { return a < b ? b : a; }
QEL_MT_INLINE double Bool(bool b) { return b ? 1.0 : 0.0; }
// Product and sum in two statements, so no compiler contracts them into one fused multiply-add:
// the fused forms must round exactly like the separate operations.
QEL_MT_INLINE double MulThenAdd(double a, double b, double c)
{
    const double p = a * b;
    return p + c;
}

#define QEL_MT_OP0(Name, Expr)                                                                                         \
    struct Name                                                                                                        \
    {                                                                                                                  \
        static QEL_MT_INLINE double Apply() { return Expr; }                                                           \
    };
#define QEL_MT_OP1(Name, Expr)                                                                                         \
    struct Name                                                                                                        \
    {                                                                                                                  \
        static QEL_MT_INLINE double Apply(double a) { return Expr; }                                                   \
    };
#define QEL_MT_OP2(Name, Expr)                                                                                         \
    struct Name                                                                                                        \
    {                                                                                                                  \
        static QEL_MT_INLINE double Apply(double a, double b) { return Expr; }                                         \
    };
#define QEL_MT_OP3(Name, Expr)                                                                                         \
    struct Name                                                                                                        \
    {                                                                                                                  \
        static QEL_MT_INLINE double Apply(double a, double b, double c) { return Expr; }                               \
    };

// Every built-in operation: code, arity, functor and its rule.
#define QEL_MT_BUILTINS(X0, X1, X2, X3)                                                                                \
    X2(eMTAdd, OpAdd, a + b)                                                                                           \
    X2(eMTSub, OpSub, a - b)                                                                                           \
    X2(eMTMul, OpMul, a * b)                                                                                           \
    X2(eMTDiv, OpDiv, a / b)                                                                                           \
    X2(eMTPow, OpPow, std::pow(a, b))                                                                                  \
    X2(eMTMod, OpMod, std::fmod(a, b))                                                                                 \
    X2(eMTGreater, OpGreater, Bool(a > b))                                                                             \
    X2(eMTLess, OpLess, Bool(a < b))                                                                                   \
    X2(eMTGreaterEqual, OpGreaterEqual, Bool(a >= b))                                                                  \
    X2(eMTLessEqual, OpLessEqual, Bool(a <= b))                                                                        \
    X2(eMTNotEqual, OpNotEqual, Bool(a != b))                                                                          \
    X2(eMTEqual, OpEqual, Bool(a == b))                                                                                \
    X2(eMTAnd, OpAnd, Bool(a != 0.0 && b != 0.0))                                                                      \
    X2(eMTOr, OpOr, Bool(a != 0.0 || b != 0.0))                                                                        \
    X1(eMTNeg, OpNeg, -a)                                                                                              \
    X1(eMTNot, OpNot, Bool(a == 0.0))                                                                                  \
    X1(eMTSin, OpSin, std::sin(a))                                                                                     \
    X1(eMTAsin, OpAsin, std::asin(a))                                                                                  \
    X1(eMTSinh, OpSinh, std::sinh(a))                                                                                  \
    X1(eMTCos, OpCos, std::cos(a))                                                                                     \
    X1(eMTAcos, OpAcos, std::acos(a))                                                                                  \
    X1(eMTCosh, OpCosh, std::cosh(a))                                                                                  \
    X1(eMTTan, OpTan, std::tan(a))                                                                                     \
    X1(eMTTanh, OpTanh, std::tanh(a))                                                                                  \
    X1(eMTAtan, OpAtan, std::atan(a))                                                                                  \
    X1(eMTSqrt, OpSqrt, std::sqrt(a))                                                                                  \
    X1(eMTAbs, OpAbs, std::fabs(a))                                                                                    \
    X1(eMTLn, OpLn, std::log(a))                                                                                       \
    X1(eMTLog, OpLog, std::log10(a))                                                                                   \
    X1(eMTExp, OpExp, std::exp(a))                                                                                     \
    X1(eMTSigmoid, OpSigmoid, 1.0 / (1.0 + std::exp(0.0 - a)))                                                         \
    X1(eMTCeil, OpCeil, std::ceil(a))                                                                                  \
    X1(eMTFloor, OpFloor, std::floor(a))                                                                               \
    X1(eMTFact, OpFact, Factorial(a))                                                                                  \
    X1(eMTRadToDeg, OpRadToDeg, a * kRadToDeg)                                                                          \
    X1(eMTDegToRad, OpDegToRad, a * kDegToRad)                                                                          \
    X0(eMTRand, OpRand, Random01())                                                                                    \
    X2(eMTRandMinMax, OpRandMinMax, a + (b - a) * Random01())                                                          \
    X2(eMTMin2, OpMin2, Min2(a, b))                                                                                    \
    X2(eMTMax2, OpMax2, Max2(a, b))                                                                                    \
    X3(eMTMin3, OpMin3, Min2(Min2(a, b), c))                                                                           \
    X3(eMTMax3, OpMax3, Max2(Max2(a, b), c))                                                                           \
    X3(eMTNorm, OpNorm, Norm(a, b, c))                                                                                 \
    X3(eMTNormClamp, OpNormClamp, ClampTo(Norm(a, b, c), 0.0, 1.0))                                                    \
    X3(eMTClamp, OpClamp, ClampTo(a, b, c))                                                                            \
    X3(eMTInterp, OpInterp, b + a * (c - b))                                                                           \
    X3(eMTIfElse, OpIfElse, a != 0.0 ? b : c)                                                                          \
    X3(eMTMulAdd, OpMulAdd, MulThenAdd(a, b, c))                                                                                 \
    X1(eMTSquare, OpSquare, a * a)                                                                                     \
    X2(eMTSquareAdd, OpSquareAdd, MulThenAdd(a, a, b))                                                                 \
    X2(eMTSumSquares, OpSumSquares, MulThenAdd(a, a, b * b))

#define QEL_MT_DEFINE0(Code, Name, Expr) QEL_MT_OP0(Name, Expr)
#define QEL_MT_DEFINE1(Code, Name, Expr) QEL_MT_OP1(Name, Expr)
#define QEL_MT_DEFINE2(Code, Name, Expr) QEL_MT_OP2(Name, Expr)
#define QEL_MT_DEFINE3(Code, Name, Expr) QEL_MT_OP3(Name, Expr)
QEL_MT_BUILTINS(QEL_MT_DEFINE0, QEL_MT_DEFINE1, QEL_MT_DEFINE2, QEL_MT_DEFINE3)

QEL_MT_INLINE void Run(const MTInstruction& c)
{
    switch (c.nOp)
    {
#define QEL_MT_RUN0(Code, Name, Expr)                                                                                  \
    case Code: *c.pDst = Name::Apply(); break;
#define QEL_MT_RUN1(Code, Name, Expr)                                                                                  \
    case Code: *c.pDst = Name::Apply(*c.pA); break;
#define QEL_MT_RUN2(Code, Name, Expr)                                                                                  \
    case Code: *c.pDst = Name::Apply(*c.pA, *c.pB); break;
#define QEL_MT_RUN3(Code, Name, Expr)                                                                                  \
    case Code: *c.pDst = Name::Apply(*c.pA, *c.pB, *c.pC); break;
        QEL_MT_BUILTINS(QEL_MT_RUN0, QEL_MT_RUN1, QEL_MT_RUN2, QEL_MT_RUN3)
    case eMTCallFunction:
        for (std::uint32_t i = 0; i < c.nArgs; ++i)
            c.pScratch[i] = *c.ppArgs[i];
        *c.pDst = static_cast<MTFunctionI*>(c.pExtra)->EvaluateSet(c.nArgs, c.pScratch);
        break;
    case eMTCallOperator:
        for (std::uint32_t i = 0; i < c.nArgs; ++i)
            c.pScratch[i] = *c.ppArgs[i];
        *c.pDst = static_cast<MTOperatorI*>(c.pExtra)->Evaluate(c.pScratch);
        break;
    case eMTLoadVariable: *c.pDst = static_cast<MTVariableI*>(c.pExtra)->Evaluate(); break;
    default: *c.pDst = 0.0; break; // set functions never reach a program
    }
}

QEL_MT_INLINE double RunProgram(const MTInstruction* p, const MTInstruction* pEnd, const double* pResult)
{
    for (; p != pEnd; ++p)
        Run(*p);
    return *pResult;
}

// Nodes: the kind of operand I is digit I of M in base 3: 0 read through a pointer, 1 a child node,
// 2 a constant kept in the node.
constexpr unsigned int kNodeLeaf = 0, kNodeChild = 1, kNodeConst = 2;
constexpr unsigned int Pow3(unsigned int i) { return i == 0 ? 1 : 3 * Pow3(i - 1); }

template <unsigned int M, unsigned int I>
QEL_MT_INLINE double Get(const MTNode* x)
{
    constexpr unsigned int kKind = (M / Pow3(I)) % 3;
    if (kKind == kNodeChild)
        return x->cArg[I].pChild->pfnEval(x->cArg[I].pChild);
    if (kKind == kNodeConst)
        return x->cArg[I].fConst;
    return *x->cArg[I].pLeaf;
}

template <class F, unsigned int M>
double Node0(const MTNode*)
{
    return F::Apply();
}
template <class F, unsigned int M>
double Node1(const MTNode* x)
{
    return F::Apply(Get<M, 0>(x));
}
template <class F, unsigned int M>
double Node2(const MTNode* x)
{
    const double a = Get<M, 0>(x);
    return F::Apply(a, Get<M, 1>(x));
}
template <class F, unsigned int M>
double Node3(const MTNode* x)
{
    const double a = Get<M, 0>(x);
    const double b = Get<M, 1>(x);
    return F::Apply(a, b, Get<M, 2>(x));
}

template <class F, size_t... M>
const MTNodeFn* Nodes1(std::index_sequence<M...>)
{
    static const MTNodeFn t[] = {&Node1<F, M>...};
    return t;
}
template <class F, size_t... M>
const MTNodeFn* Nodes2(std::index_sequence<M...>)
{
    static const MTNodeFn t[] = {&Node2<F, M>...};
    return t;
}
template <class F, size_t... M>
const MTNodeFn* Nodes3(std::index_sequence<M...>)
{
    static const MTNodeFn t[] = {&Node3<F, M>...};
    return t;
}

/// A function of one argument applied to an arithmetic operation (or a fused sum of squares),
/// evaluated as one node.
template <class Outer, class Inner>
struct Compose
{
    static QEL_MT_INLINE double Apply(double a, double b) { return Outer::Apply(Inner::Apply(a, b)); }
};

/// The node function of Outer(Inner(x, y)) for the operand kinds M of Inner; null when the pair is
/// not one the library fuses.
MTNodeFn ComposedNodeFunction(unsigned int nOuter, unsigned int nInner, unsigned int nMask);

/// The node function of a built-in code for the operand kinds M; null for other codes.
MTNodeFn NodeFunction(unsigned int nCode, unsigned int nMask);
/// Number of operands of a built-in code; -1 for the generic calls.
int Arity(unsigned int nCode);
} // namespace MTParserDetail
