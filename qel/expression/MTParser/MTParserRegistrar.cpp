#include "qel/expression/MTParser/MTParserRegistrar.h"

#include "qel/expression/MTParser/MTExceptions.h"
#include "qel/expression/MTParser/MTFunctionI.h"
#include "qel/expression/MTParser/MTOperatorI.h"
#include "qel/expression/MTParser/detail/MTParserBuiltins.h"
#include "qel/expression/MTParser/MTVariableI.h"

#include <cctype>
#include <new>

namespace
{
// Accepted precedences; anything larger is taken for a mistake (an unset or negative value).
const unsigned int kMaxPrecedence = 1000;

[[noreturn]] void Fail(const std::string& strText)
{
    throw MTExceptions(MTExceptions::eDefinitionError, strText);
}

// Runs a definition step and turns its exception into the returned text.
template <class F>
std::string Guard(F fnStep)
{
    try
    {
        fnStep();
        return std::string();
    }
    catch (const MTExceptions& e)
    {
        return e.GetDescription();
    }
    catch (...)
    {
        return MTExceptions(MTExceptions::eDefinitionError, "Unknow error").GetDescription();
    }
}

bool IsOnlyNumbers(const std::string& s, char cDecimal)
{
    for (char c : s)
        if (!std::isdigit(static_cast<unsigned char>(c)) && c != cDecimal)
            return false;
    return true;
}

bool IsIdentifier(const std::string& s)
{
    if (s.empty() || std::isdigit(static_cast<unsigned char>(s[0])))
        return false;
    for (char c : s)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_')
            return false;
    return true;
}
} // namespace

MTParserRegistrar::MTParserRegistrar()
{
    for (bool& b : m_bOpStart)
        b = false;
}

MTParserRegistrar::~MTParserRegistrar() = default;

const MTParserRegistrar& MTParserRegistrar::GetDefault()
{
    // Never destroyed, so expressions that outlive static destruction still compile and evaluate.
    static MTParserRegistrar* s_pDefault = [] {
        MTParserRegistrar* p = new MTParserRegistrar;
        p->DefineDefaults();
        return p;
    }();
    return *s_pDefault;
}

void MTParserRegistrar::DefineDefaults()
{
    MTOperatorI* ops[] = {new AddOp, new MinusOp, new UnaryMinusOp, new MultOp, new DivOp, new ExpOp,
                          new ModuloOp, new GreaterThanOp, new LesserThanOp, new GreaterEqualThanOp,
                          new LesserEqualThanOp, new NotEqualOp, new EqualOp, new AndOp, new OrOp, new NotOp};
    for (MTOperatorI* p : ops)
        DefineOp(p);
    MTFunctionI* funcs[] = {new SinFct, new ArcSinFct, new SinhFct, new CosFct, new ArcCosFct, new CoshFct,
                            new TanFct, new TanhFct, new ArcTanFct, new SqrtFct, new MinFct, new Min3Fct,
                            new MinUndefFct, new MaxFct, new Max3Fct, new MaxUndefFct, new AbsFct, new RandFct,
                            new RandMinMaxFct, new LnFct, new LogFct, new ExpFct, new SigmoidFct, new CeilFct,
                            new FloorFct, new AvgFct, new SumFct, new FactorialFct, new NormFct, new NormClampFct,
                            new ClampFct, new InterpFct, new IfElseFct, new RadToDegFct, new DegToRadFct};
    for (MTFunctionI* p : funcs)
        DefineFunc(p);
    DefineConst("pi", 3.141592653589793);
    DefineConst("PI", 3.141592653589793);
    DefineConst("e", 2.718281828459045);
}

std::string MTParserRegistrar::SetSyntax(const MTSyntax& cSyntax)
{
    return Guard([&] {
        const MTSyntax& s = cSyntax;
        if (s.m_cArgumentSeparator == s.m_cDecimalPoint)
            Fail("The argument separator character and the decinal point character are the same");
        if (s.m_cArgumentSeparator == s.m_cVariableBegin || s.m_cArgumentSeparator == s.m_cVariableEnd)
            Fail("The argument separator character and one of the variable name delimiter characters are the same");
        if (s.m_cDecimalPoint == s.m_cVariableBegin || s.m_cDecimalPoint == s.m_cVariableEnd)
            Fail("The decimal point character and one of the variable name delimiter characters are the same");
        m_cSyntax = s;
    });
}

void MTParserRegistrar::CheckOp(const MTOperatorI* pOp) const
{
    if (!pOp)
        Fail("Unknow error");
    const std::string strSymbol = pOp->GetSymbol();
    if (strSymbol.empty())
        Fail("Operator name cannot be null");
    const char syntax[] = {m_cSyntax.m_cArgumentSeparator, m_cSyntax.m_cDecimalPoint, m_cSyntax.m_cVariableBegin,
                           m_cSyntax.m_cVariableEnd, '(', ')'};
    for (char c : syntax)
        if (strSymbol.find(c) != std::string::npos)
            Fail("Operator name '" + strSymbol + "' conflicts with the syntax element character: '" +
                 std::string(1, c) + "'.");
    if (pOp->GetPrecedence() > kMaxPrecedence)
        Fail("Operator: " + strSymbol + "; invalid precedence.");
    if (FindOp(strSymbol, pOp->IsUnaryOp()))
        Fail("Operator already defined: " + strSymbol);
}

std::string MTParserRegistrar::DefineOp(MTOperatorI* pOp)
{
    std::unique_ptr<MTOperatorI> cOwned(pOp);
    return Guard([&] {
        CheckOp(pOp);
        const std::string strSymbol = pOp->GetSymbol();
        m_vecOps.push_back(std::move(cOwned));
        m_vecOpSymbols.push_back(strSymbol);
        m_bOpStart[static_cast<unsigned char>(strSymbol[0])] = true;
    });
}

void MTParserRegistrar::CheckFunc(const MTFunctionI* pFunc) const
{
    if (!pFunc)
        Fail("Unknow error");
    const std::string strName = pFunc->GetSymbol();
    if (strName.empty())
        Fail("Function name cannot be null");
    for (const std::string& strSymbol : m_vecOpSymbols)
        if (strName.find(strSymbol) != std::string::npos)
            Fail("Function name '" + strName + "' conflicts with the operator '" + strSymbol + "'.");
    if (const std::vector<MTFunctionI*>* pSame = FindFuncs(strName))
        for (const MTFunctionI* p : *pSame)
            if (p->GetNbArgs() == pFunc->GetNbArgs())
                Fail("Function already defined: " + strName);
}

std::string MTParserRegistrar::DefineFunc(MTFunctionI* pFunc)
{
    std::unique_ptr<MTFunctionI> cOwned(pFunc);
    return Guard([&] {
        CheckFunc(pFunc);
        m_mapFuncs[pFunc->GetSymbol()].push_back(pFunc);
        m_vecFuncs.push_back(std::move(cOwned));
    });
}

void MTParserRegistrar::CheckConst(const std::string& strName) const
{
    if (strName.empty())
        Fail("Constant name cannot be null");
    double f;
    if (FindConst(strName, f))
        Fail("Constant already defined: " + strName);
    // Constants are written bare, so their names must read as one name token.
    if (!IsIdentifier(strName))
        Fail("Invalid constant name: " + strName);
    if (FindVar(strName))
        Fail("Constant name '" + strName + "' conflicts with the variable of the same name.");
}

std::string MTParserRegistrar::DefineConst(const std::string& strName, double fValue)
{
    return Guard([&] {
        CheckConst(strName);
        m_vecConsts.emplace_back(strName, fValue);
    });
}

void MTParserRegistrar::CheckVar(const std::string& strName) const
{
    if (strName.empty())
        Fail("Variable name cannot be null");
    if (FindVar(strName))
        Fail("Variable already defined: " + strName);
    if (IsOnlyNumbers(strName, m_cSyntax.m_cDecimalPoint))
        Fail("Invalid variable name: " + strName + ". Cannot be composed only of numbers");
    double f;
    if (FindConst(strName, f))
        Fail("Variable name '" + strName + "' conflicts with the constant of the same name.");
    for (char c : {m_cSyntax.m_cVariableBegin, m_cSyntax.m_cVariableEnd})
        if (strName.find(c) != std::string::npos)
            Fail("Variable name '" + strName + "' contains the variable delimiter character: '" + std::string(1, c) +
                 "'.");
}

std::string MTParserRegistrar::DefineVar(MTVariableI* pVar)
{
    std::unique_ptr<MTVariableI> cOwned(pVar);
    return Guard([&] {
        if (!pVar)
            Fail("Unknow error");
        const std::string strName = pVar->GetSymbol();
        CheckVar(strName);
        m_mapVars[strName] = std::move(cOwned);
    });
}

std::string MTParserRegistrar::UndefineVar(const std::string& strName)
{
    return Guard([&] {
        auto it = m_mapVars.find(strName);
        if (it == m_mapVars.end())
            Fail("Variable not found: " + strName);
        m_mapVars.erase(it);
    });
}

void MTParserRegistrar::GetConst(size_t nIndex, std::string& strName, double& fValue) const
{
    strName = m_vecConsts[nIndex].first;
    fValue = m_vecConsts[nIndex].second;
}

MTOperatorI* MTParserRegistrar::FindOp(const std::string& strSymbol, bool bUnary) const
{
    for (size_t i = 0; i < m_vecOps.size(); ++i)
        if (m_vecOpSymbols[i] == strSymbol && m_vecOps[i]->IsUnaryOp() == bUnary)
            return m_vecOps[i].get();
    return nullptr;
}

const std::vector<MTFunctionI*>* MTParserRegistrar::FindFuncs(const std::string& strName) const
{
    auto it = m_mapFuncs.find(strName);
    return it == m_mapFuncs.end() ? nullptr : &it->second;
}

bool MTParserRegistrar::FindConst(const std::string& strName, double& fValue) const
{
    for (const auto& c : m_vecConsts)
        if (c.first == strName)
        {
            fValue = c.second;
            return true;
        }
    return false;
}

MTVariableI* MTParserRegistrar::FindVar(const std::string& strName) const
{
    auto it = m_mapVars.find(strName);
    return it == m_mapVars.end() ? nullptr : it->second.get();
}

size_t MTParserRegistrar::MatchOp(const char* pText, size_t nLeft) const
{
    if (nLeft == 0 || !m_bOpStart[static_cast<unsigned char>(pText[0])])
        return 0;
    size_t nBest = 0;
    for (const std::string& strSymbol : m_vecOpSymbols)
        if (strSymbol.size() > nBest && strSymbol.size() <= nLeft &&
            strSymbol.compare(0, strSymbol.size(), pText, strSymbol.size()) == 0)
            nBest = strSymbol.size();
    return nBest;
}
