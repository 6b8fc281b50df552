#include "qel/expression/MTParser/MTParserProgram.h"

#include "qel/expression/MTParser/detail/MTParserExecute.h"
#include "qel/expression/MTParser/detail/MTParserNative.h"
#include "qel/platform/QelRandom.h"
#include "qel/platform/detail/QelExecutableMemory.h"

#include <cstring>
#include <limits>
#include <unordered_map>
#include <unordered_set>

namespace MTParserDetail
{
double Factorial(double x)
{
    if (std::isnan(x))
        return x;
    if (x < 0.0)
        return std::numeric_limits<double>::quiet_NaN();
    if (x > 170.0) // 171! is beyond the largest double
        return std::numeric_limits<double>::infinity();
    if (x != std::floor(x))
        return std::tgamma(x + 1.0);
    double r = 1.0;
    const int n = static_cast<int>(x);
    for (int i = 2; i <= n; ++i)
        r *= i;
    return r;
}

double Random01()
{
    return static_cast<double>(QelRand()) / static_cast<double>(QEL_RAND_MAX);
}
MTNodeFn NodeFunction(unsigned int nCode, unsigned int nMask)
{
    switch (nCode)
    {
#define QEL_MT_NODE0(Code, Name, Expr)                                                                                 \
    case Code: return &Node0<Name, 0>;
#define QEL_MT_NODE1(Code, Name, Expr)                                                                                 \
    case Code: return Nodes1<Name>(std::make_index_sequence<3>())[nMask % 3];
#define QEL_MT_NODE2(Code, Name, Expr)                                                                                 \
    case Code: return Nodes2<Name>(std::make_index_sequence<9>())[nMask % 9];
#define QEL_MT_NODE3(Code, Name, Expr)                                                                                 \
    case Code: return Nodes3<Name>(std::make_index_sequence<27>())[nMask % 27];
        QEL_MT_BUILTINS(QEL_MT_NODE0, QEL_MT_NODE1, QEL_MT_NODE2, QEL_MT_NODE3)
    default: return nullptr;
    }
}

MTNodeFn ComposedNodeFunction(unsigned int nOuter, unsigned int nInner, unsigned int nMask)
{
#define QEL_MT_INNER(Outer)                                                                                            \
    switch (nInner)                                                                                                    \
    {                                                                                                                  \
    case eMTAdd: return Nodes2<Compose<Outer, OpAdd>>(std::make_index_sequence<9>())[nMask % 9];                      \
    case eMTSub: return Nodes2<Compose<Outer, OpSub>>(std::make_index_sequence<9>())[nMask % 9];                      \
    case eMTMul: return Nodes2<Compose<Outer, OpMul>>(std::make_index_sequence<9>())[nMask % 9];                      \
    case eMTDiv: return Nodes2<Compose<Outer, OpDiv>>(std::make_index_sequence<9>())[nMask % 9];                      \
    case eMTSquareAdd: return Nodes2<Compose<Outer, OpSquareAdd>>(std::make_index_sequence<9>())[nMask % 9];          \
    case eMTSumSquares: return Nodes2<Compose<Outer, OpSumSquares>>(std::make_index_sequence<9>())[nMask % 9];        \
    default: return nullptr;                                                                                           \
    }
    // The functions hosts most often wrap around a difference, a product or a ratio.
    switch (nOuter)
    {
    case eMTSin: QEL_MT_INNER(OpSin)
    case eMTCos: QEL_MT_INNER(OpCos)
    case eMTTan: QEL_MT_INNER(OpTan)
    case eMTSqrt: QEL_MT_INNER(OpSqrt)
    case eMTExp: QEL_MT_INNER(OpExp)
    case eMTLn: QEL_MT_INNER(OpLn)
    case eMTAbs: QEL_MT_INNER(OpAbs)
    case eMTNeg: QEL_MT_INNER(OpNeg)
    case eMTSigmoid: QEL_MT_INNER(OpSigmoid)
    default: return nullptr;
    }
#undef QEL_MT_INNER
}

int Arity(unsigned int nCode)
{
    switch (nCode)
    {
#define QEL_MT_ARITY0(Code, Name, Expr) case Code: return 0;
#define QEL_MT_ARITY1(Code, Name, Expr) case Code: return 1;
#define QEL_MT_ARITY2(Code, Name, Expr) case Code: return 2;
#define QEL_MT_ARITY3(Code, Name, Expr) case Code: return 3;
        QEL_MT_BUILTINS(QEL_MT_ARITY0, QEL_MT_ARITY1, QEL_MT_ARITY2, QEL_MT_ARITY3)
    default: return -1;
    }
}
} // namespace MTParserDetail

MTParserProgram::MTParserProgram() : m_pResult(&m_fZero) {}

bool MTParserProgram::IsNativeCodeSupported()
{
    return QelNativeCodeSupported();
}

MTParserProgram::~MTParserProgram()
{
    QelFreeCode(m_cNative);
}

double MTParserProgram::Evaluate()
{
    if (m_pfnNative)
        return m_pfnNative(nullptr);
    return EvaluateInterpreted();
}

double MTParserProgram::EvaluateInterpreted()
{
    if (m_pRoot)
        return m_pRoot->pfnEval(m_pRoot);
    return MTParserDetail::RunProgram(m_vecCode.data(), m_vecCode.data() + m_vecCode.size(), m_pResult);
}

bool MTParserProgram::GetDirectEvaluation(MTNodeFn& pfnEval, const MTNode*& pArg) const
{
    pfnEval = m_pfnNative ? m_pfnNative : m_pRoot ? m_pRoot->pfnEval : nullptr;
    pArg = m_pfnNative ? nullptr : m_pRoot;
    return pfnEval != nullptr;
}

void MTParserProgram::BuildNative()
{
    QelFreeCode(m_cNative);
    m_pfnNative = nullptr;
    m_cNative = MTParserDetail::TranslateToNative(m_vecCode, m_deqConstants, m_pResult);
    if (m_cNative.pRun)
    {
        static_assert(sizeof m_pfnNative == sizeof m_cNative.pRun, "code and data pointers differ in size");
        std::memcpy(&m_pfnNative, &m_cNative.pRun, sizeof m_pfnNative);
    }
}

void MTParserProgram::Execute(const MTInstruction& cInstr)
{
    MTParserDetail::Run(cInstr);
}
void MTParserProgram::Clear()
{
    m_vecCode.clear();
    m_deqTemps.clear();
    m_deqConstants.clear();
    m_vecCallArgs.clear();
    m_vecCallScratch.clear();
    m_vecVariables.clear();
    m_vecNodes.clear();
    m_pRoot = nullptr;
    QelFreeCode(m_cNative);
    m_cNative = QelCodeBlock();
    m_pfnNative = nullptr;
    m_pResult = &m_fZero;
    m_bCompiled = false;
    m_bResultIsConstant = false;
}

void MTParserProgram::BuildTree()
{
    m_vecNodes.clear();
    m_pRoot = nullptr;
    if (m_vecCode.empty())
        return;
    // Every temporary is written once and read once, so the instructions form a tree: an operand
    // in a temporary is the node of the instruction that last wrote it.
    m_vecNodes.reserve(m_vecCode.size()); // children point into the vector: it must not move
    std::vector<unsigned int> vecDepth, vecOp, vecMask;
    std::vector<bool> vecPure; // no rand below: may be evaluated out of its written order
    vecDepth.reserve(m_vecCode.size());
    vecOp.reserve(m_vecCode.size());
    vecMask.reserve(m_vecCode.size());
    std::unordered_map<const double*, size_t> mapWriter;
    std::unordered_set<const double*> setConstants;
    for (const double& f : m_deqConstants)
        setConstants.insert(&f);
    for (const MTInstruction& c : m_vecCode)
    {
        const int nArity = MTParserDetail::Arity(c.nOp);
        if (nArity < 0)
        {
            std::vector<MTNode>().swap(m_vecNodes); // the flat list runs; give the memory back
            return;
        }
        MTNode cNode{};
        unsigned int nMask = 0, nDepth = 1, nOp = c.nOp;
        bool bPure = nOp != eMTRand && nOp != eMTRandMinMax;
        size_t nChild[3] = {0, 0, 0};
        const double* operands[3] = {c.pA, c.pB, c.pC};
        for (int i = 0; i < nArity; ++i)
        {
            const unsigned int nDigit = MTParserDetail::Pow3(static_cast<unsigned int>(i));
            auto it = mapWriter.find(operands[i]);
            if (it == mapWriter.end())
            {
                if (setConstants.count(operands[i]))
                {
                    cNode.cArg[i].fConst = *operands[i];
                    nMask += MTParserDetail::kNodeConst * nDigit;
                }
                else
                    cNode.cArg[i].pLeaf = operands[i];
                continue;
            }
            cNode.cArg[i].pChild = &m_vecNodes[it->second];
            nChild[i] = it->second;
            bPure = bPure && vecPure[it->second];
            nMask += MTParserDetail::kNodeChild * nDigit;
            if (vecDepth[it->second] + 1 > nDepth)
                nDepth = vecDepth[it->second] + 1;
            mapWriter.erase(it);
        }
        if (nDepth > kMaxTreeDepth)
        {
            std::vector<MTNode>().swap(m_vecNodes); // the flat list runs; give the memory back
            return;
        }
        MTNodeFn pfnEval = nullptr;
        if (nOp == eMTAdd)
            FuseProduct(cNode, nOp, nMask, nChild, vecOp, vecMask, vecPure);
        else if (nArity == 1 && nMask == MTParserDetail::kNodeChild)
        {
            const MTNode& cInner = m_vecNodes[nChild[0]];
            pfnEval = MTParserDetail::ComposedNodeFunction(nOp, vecOp[nChild[0]], vecMask[nChild[0]]);
            if (pfnEval)
            {
                cNode = cInner; // the inner node stays in the vector, unused
                nOp = kComposedCode;
            }
        }
        cNode.pfnEval = pfnEval ? pfnEval : MTParserDetail::NodeFunction(nOp, nMask);
        mapWriter[c.pDst] = m_vecNodes.size();
        m_vecNodes.push_back(cNode);
        vecDepth.push_back(nDepth);
        vecOp.push_back(nOp);
        vecMask.push_back(nMask);
        vecPure.push_back(bPure);
    }
    auto it = mapWriter.find(m_pResult);
    if (it != mapWriter.end() && it->second + 1 == m_vecNodes.size())
        m_pRoot = &m_vecNodes.back();
    else
        std::vector<MTNode>().swap(m_vecNodes);
}

void MTParserProgram::FuseProduct(MTNode& cNode, unsigned int& nOp, unsigned int& nMask, const size_t* pChild,
                                  const std::vector<unsigned int>& vecOp, const std::vector<unsigned int>& vecMask,
                                  const std::vector<bool>& vecPure)
{
    // An addition of a product becomes one node, wherever the product was computed. The product may
    // be the right operand only when the left one draws no random numbers, whose order would change.
    const unsigned int kind[2] = {nMask % 3, nMask / 3 % 3};
    for (int k = 0; k < 2; ++k)
    {
        if (kind[k] != MTParserDetail::kNodeChild ||
            (k == 1 && kind[0] == MTParserDetail::kNodeChild && !vecPure[pChild[0]]))
            continue;
        const unsigned int nChildOp = vecOp[pChild[k]];
        if (nChildOp != eMTMul && nChildOp != eMTSquare)
            continue;
        const MTNode& cProduct = m_vecNodes[pChild[k]];
        const unsigned int nProductMask = vecMask[pChild[k]];
        const MTNodeOperand cOther = cNode.cArg[1 - k];
        if (nChildOp == eMTMul)
        {
            nOp = eMTMulAdd;
            nMask = nProductMask % 9 + 9 * kind[1 - k];
            cNode.cArg[0] = cProduct.cArg[0];
            cNode.cArg[1] = cProduct.cArg[1];
            cNode.cArg[2] = cOther;
        }
        else if (k == 0 && kind[1] == MTParserDetail::kNodeChild && vecOp[pChild[1]] == eMTSquare)
        {
            // A sum of two squares, the start of every length and distance, is one node.
            nOp = eMTSumSquares;
            nMask = nProductMask % 3 + 3 * (vecMask[pChild[1]] % 3);
            cNode.cArg[0] = cProduct.cArg[0];
            cNode.cArg[1] = m_vecNodes[pChild[1]].cArg[0];
        }
        else
        {
            nOp = eMTSquareAdd;
            nMask = nProductMask % 3 + 3 * kind[1 - k];
            cNode.cArg[0] = cProduct.cArg[0];
            cNode.cArg[1] = cOther;
        }
        return; // the product's node stays in the vector, unused
    }
}
