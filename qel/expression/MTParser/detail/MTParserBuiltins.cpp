#include "qel/expression/MTParser/detail/MTParserBuiltins.h"

namespace
{
double RunCode(EMTOpCode eCode, int nArgs, const double* pArgs)
{
    double fResult = 0.0;
    MTInstruction c{};
    c.nOp = static_cast<std::uint32_t>(eCode);
    c.pDst = &fResult;
    c.pA = nArgs > 0 ? &pArgs[0] : nullptr;
    c.pB = nArgs > 1 ? &pArgs[1] : nullptr;
    c.pC = nArgs > 2 ? &pArgs[2] : nullptr;
    MTParserProgram::Execute(c);
    return fResult;
}
} // namespace

MTBuiltinOperator::MTBuiltinOperator(const char* pSymbol, const char* pSyntax, const char* pDescription,
                                     unsigned int nPrecedence, bool bUnary, EMTOpCode eCode)
    : m_pSymbol(pSymbol), m_pSyntax(pSyntax), m_pDescription(pDescription), m_nPrecedence(nPrecedence),
      m_bUnary(bUnary)
{
    m_nBuiltinCode = eCode;
}

double MTBuiltinOperator::Evaluate(const double* pArgs)
{
    return RunCode(static_cast<EMTOpCode>(m_nBuiltinCode), m_bUnary ? 1 : 2, pArgs);
}

MTBuiltinFunction::MTBuiltinFunction(const char* pSymbol, const char* pSyntax, const char* pDescription, int nArgs,
                                     bool bConstant, EMTOpCode eCode)
    : m_pSymbol(pSymbol), m_pSyntax(pSyntax), m_pDescription(pDescription), m_nArgs(nArgs), m_bConstant(bConstant)
{
    m_nBuiltinCode = eCode;
}

double MTBuiltinFunction::Evaluate(const double* pArgs)
{
    return m_nArgs < 0 ? EvaluateSet(1, pArgs) : RunCode(static_cast<EMTOpCode>(m_nBuiltinCode), m_nArgs, pArgs);
}

double MTBuiltinFunction::EvaluateSet(unsigned int nArgs, const double* pArgs)
{
    if (m_nArgs >= 0)
        return Evaluate(pArgs);
    if (nArgs == 0)
        return 0.0;
    // Left to right, exactly as the compiler chains a call of the set form.
    double fAcc = pArgs[0];
    for (unsigned int i = 1; i < nArgs; ++i)
    {
        switch (m_nBuiltinCode)
        {
        case eMTMinN: fAcc = pArgs[i] < fAcc ? pArgs[i] : fAcc; break;
        case eMTMaxN: fAcc = fAcc < pArgs[i] ? pArgs[i] : fAcc; break;
        default: fAcc += pArgs[i]; break;
        }
    }
    return m_nBuiltinCode == eMTAvg ? fAcc / static_cast<double>(nArgs) : fAcc;
}
