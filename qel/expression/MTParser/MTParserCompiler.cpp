#include "qel/expression/MTParser/MTParserCompiler.h"

#include "qel/expression/MTParser/MTExceptions.h"
#include "qel/expression/MTParser/MTFunctionI.h"
#include "qel/expression/MTParser/MTOperatorI.h"
#include "qel/expression/MTParser/MTParserProgram.h"
#include "qel/expression/MTParser/MTParserRegistrar.h"
#include "qel/expression/MTParser/MTVariableFactoryI.h"
#include "qel/expression/MTParser/MTVariableI.h"

#include <cctype>
#include <charconv>
#include <limits>
#include <unordered_set>
#include <vector>

namespace
{
[[noreturn]] void Fail(const std::string& strText)
{
    throw MTExceptions(MTExceptions::eParsingError, strText);
}

std::string At(const std::string& strItem, size_t nPos)
{
    return "'" + strItem + "' at position " + std::to_string(nPos);
}

/// A value on the compile-time operand stack: known now, read from a variable, or left in a temporary.
struct Operand
{
    enum EKind
    {
        eConst,
        eVar,
        eTemp
    };
    EKind eKind;
    double fValue;       // eConst
    const double* pData; // eVar: the variable's storage; eTemp: the temporary's slot
};

/// One open bracket: a plain one or the argument list of a function call.
struct Frame
{
    size_t nPos;
    size_t nOpBase;
    unsigned int nSeparators;
    const std::vector<MTFunctionI*>* pFuncs; // null for a plain bracket
    std::string strName;
    size_t nNamePos;
};

struct PendingOp
{
    const MTOperatorI* pOp;
    size_t nPos;
};

} // namespace

/// The state of one compilation: the operator and bracket stacks of the parser and the operand
/// stack of the code generator, which emits or folds each operation as soon as it is complete.
class MTCompilation
{
public:
    MTCompilation(const MTParserRegistrar& cReg, MTVariableFactoryI* pFactory, MTParserProgram& cProgram,
                std::vector<Operand>& vecOperands)
        : m_cReg(cReg), m_cSyntax(cReg.GetSyntax()), m_pFactory(pFactory), m_cProg(cProgram),
          m_vecOperands(vecOperands)
    {
    }

    void Parse(const std::string& strText);

private:
    enum EPrev
    {
        eNone,
        eOperand,
        eOperator,
        eOpenBracket,
        eOpenCall,
        eSeparator
    };

    bool IsNameEnd(const std::string& s, size_t i) const;
    size_t ScanNumber(const std::string& s, size_t i, double& fValue) const;
    void PushName(const std::string& strName, size_t nPos, bool bDelimited);
    void PushVariable(MTVariableI* pVar);
    void ApplyOp(const PendingOp& cOp);
    void CloseFrame(const Frame& cFrame, unsigned int nArgs);
    void ApplyFunc(const MTFunctionI* pFunc, unsigned int nArgs);
    void ApplyChain(EMTOpCode eCode, unsigned int nArgs);
    void PopOpsTo(size_t nBase);

    void Emit(int nCode, void* pExtra, bool bConstant, unsigned int nArgs);
    Operand EmitRaw(int nCode, void* pExtra, const Operand* pArgs, unsigned int nArgs, double* pDst);
    Operand Fold(int nCode, void* pExtra, const Operand* pArgs, unsigned int nArgs);
    const double* Pointer(const Operand& c);
    double* TempSlot(size_t nSlot);

    const MTParserRegistrar& m_cReg;
    const MTSyntax& m_cSyntax;
    MTVariableFactoryI* m_pFactory;
    MTParserProgram& m_cProg;
    std::vector<Operand>& m_vecOperands;
    std::vector<PendingOp> m_vecOps;
    std::vector<Frame> m_vecFrames;
    std::unordered_set<MTVariableI*> m_setVariables;
    size_t m_nTempDepth = 0;
};

bool MTCompilation::IsNameEnd(const std::string& s, size_t i) const
{
    const char c = s[i];
    return std::isspace(static_cast<unsigned char>(c)) || c == '(' || c == ')' || c == m_cSyntax.m_cArgumentSeparator ||
           c == m_cSyntax.m_cVariableBegin || c == m_cSyntax.m_cVariableEnd ||
           m_cReg.MatchOp(s.data() + i, s.size() - i) > 0;
}

size_t MTCompilation::ScanNumber(const std::string& s, size_t i, double& fValue) const
{
    const size_t nStart = i, n = s.size();
    const char cPoint = m_cSyntax.m_cDecimalPoint;
    auto digit = [&](size_t k) { return k < n && std::isdigit(static_cast<unsigned char>(s[k])); };
    long nLeadExponent = 0; // decimal exponent of the first significant digit, to place out-of-range values
    bool bSignificant = false, bPoint = false;
    for (; i < n; ++i)
    {
        if (digit(i))
        {
            if (s[i] != '0')
                bSignificant = true;
            if (!bSignificant && bPoint)
                --nLeadExponent;
            else if (bSignificant && !bPoint)
                ++nLeadExponent;
        }
        else if (s[i] == cPoint && !bPoint)
            bPoint = true;
        else
            break;
    }
    long nExponent = 0;
    if (i < n && (s[i] == 'e' || s[i] == 'E'))
    {
        size_t k = i + 1;
        bool bNegative = false;
        if (k < n && (s[k] == '+' || s[k] == '-'))
            bNegative = s[k++] == '-';
        if (digit(k))
        {
            for (i = k; digit(i); ++i)
                if (nExponent < 100000)
                    nExponent = nExponent * 10 + (s[i] - '0');
            if (bNegative)
                nExponent = -nExponent;
        }
    }
    std::string strNumber = s.substr(nStart, i - nStart);
    for (char& c : strNumber)
        if (c == cPoint)
            c = '.';
    const std::from_chars_result r =
        std::from_chars(strNumber.data(), strNumber.data() + strNumber.size(), fValue, std::chars_format::general);
    if (r.ec == std::errc::result_out_of_range)
        fValue = (bSignificant && nLeadExponent + nExponent > 0) ? std::numeric_limits<double>::infinity() : 0.0;
    else if (r.ec != std::errc())
        fValue = 0.0;
    return i;
}

double* MTCompilation::TempSlot(size_t nSlot)
{
    while (m_cProg.m_deqTemps.size() <= nSlot)
        m_cProg.m_deqTemps.push_back(0.0);
    return &m_cProg.m_deqTemps[nSlot];
}

const double* MTCompilation::Pointer(const Operand& c)
{
    if (c.eKind != Operand::eConst)
        return c.pData;
    m_cProg.m_deqConstants.push_back(c.fValue);
    return &m_cProg.m_deqConstants.back();
}

void MTCompilation::PushVariable(MTVariableI* pVar)
{
    if (m_setVariables.insert(pVar).second)
        m_cProg.m_vecVariables.push_back(pVar);
    if (const double* p = pVar->GetStorage())
    {
        m_vecOperands.push_back({Operand::eVar, 0.0, p});
        return;
    }
    // A variable that computes its value is read into a temporary each time the program runs.
    m_vecOperands.push_back(EmitRaw(eMTLoadVariable, pVar, nullptr, 0, TempSlot(m_nTempDepth++)));
}

void MTCompilation::PushName(const std::string& strName, size_t nPos, bool bDelimited)
{
    if (!bDelimited)
    {
        if (const std::vector<MTFunctionI*>* pFuncs = m_cReg.FindFuncs(strName))
            Fail("Invalid syntax near position " + std::to_string(nPos) + ". Use: " + pFuncs->front()->GetSyntax());
        double fValue;
        if (m_cReg.FindConst(strName, fValue))
        {
            m_vecOperands.push_back({Operand::eConst, fValue, nullptr});
            return;
        }
    }
    MTVariableI* pVar = m_cReg.FindVar(strName);
    if (!pVar && m_pFactory)
        pVar = m_pFactory->Create(strName);
    if (!pVar)
        Fail("Undefined variable: " + strName);
    PushVariable(pVar);
}

Operand MTCompilation::Fold(int nCode, void* pExtra, const Operand* pArgs, unsigned int nArgs)
{
    std::vector<double> vecValues(nArgs > 0 ? nArgs : 1);
    for (unsigned int i = 0; i < nArgs; ++i)
        vecValues[i] = pArgs[i].fValue;
    double fResult = 0.0;
    if (pExtra && nCode == eMTCallFunction)
        fResult = static_cast<MTFunctionI*>(pExtra)->EvaluateSet(nArgs, vecValues.data());
    else if (pExtra && nCode == eMTCallOperator)
        fResult = static_cast<MTOperatorI*>(pExtra)->Evaluate(vecValues.data());
    else
    {
        MTInstruction c{};
        c.nOp = static_cast<std::uint32_t>(nCode);
        c.pDst = &fResult;
        c.pA = &vecValues[0];
        c.pB = nArgs > 1 ? &vecValues[1] : nullptr;
        c.pC = nArgs > 2 ? &vecValues[2] : nullptr;
        MTParserProgram::Execute(c);
    }
    return {Operand::eConst, fResult, nullptr};
}

Operand MTCompilation::EmitRaw(int nCode, void* pExtra, const Operand* pArgs, unsigned int nArgs, double* pDst)
{
    std::vector<MTInstruction>& vecCode = m_cProg.m_vecCode;
    if (nCode == eMTAdd && !vecCode.empty() && (vecCode.back().nOp == eMTMul || vecCode.back().nOp == eMTSquare))
    {
        // a*b + c in one step: the product is a temporary nobody else reads. Addition commutes
        // exactly, so the product may be either operand, but the tree form evaluates the fused
        // operands in order: a computed left operand stays first (rand draws keep their order).
        MTInstruction& cLast = vecCode.back();
        for (int k = 0; k < 2; ++k)
            if (pArgs[k].eKind == Operand::eTemp && pArgs[k].pData == cLast.pDst &&
                !(k == 1 && pArgs[0].eKind == Operand::eTemp))
            {
                if (cLast.nOp == eMTMul)
                {
                    cLast.nOp = eMTMulAdd;
                    cLast.pC = Pointer(pArgs[1 - k]);
                }
                else
                {
                    cLast.nOp = eMTSquareAdd;
                    cLast.pB = Pointer(pArgs[1 - k]);
                }
                cLast.pDst = pDst;
                return {Operand::eTemp, 0.0, pDst};
            }
    }
    MTInstruction c{};
    c.nOp = static_cast<std::uint32_t>(nCode);
    c.nArgs = nArgs;
    c.pDst = pDst;
    c.pExtra = pExtra;
    if (nCode == eMTCallFunction || nCode == eMTCallOperator)
    {
        std::vector<const double*> vecPtrs(nArgs);
        for (unsigned int i = 0; i < nArgs; ++i)
            vecPtrs[i] = Pointer(pArgs[i]);
        m_cProg.m_vecCallArgs.emplace_back(std::move(vecPtrs));
        m_cProg.m_vecCallScratch.emplace_back(nArgs > 0 ? nArgs : 1, 0.0);
        c.ppArgs = m_cProg.m_vecCallArgs.back().data();
        c.pScratch = m_cProg.m_vecCallScratch.back().data();
    }
    else
    {
        c.pA = nArgs > 0 ? Pointer(pArgs[0]) : nullptr;
        c.pB = nArgs > 1 ? Pointer(pArgs[1]) : nullptr;
        c.pC = nArgs > 2 ? Pointer(pArgs[2]) : nullptr;
    }
    vecCode.push_back(c);
    return {Operand::eTemp, 0.0, pDst};
}

// Pops nArgs operands and pushes the result, folded when every operand is known and the
// operation promises a constant result.
void MTCompilation::Emit(int nCode, void* pExtra, bool bConstant, unsigned int nArgs)
{
    if (m_vecOperands.size() < nArgs)
        Fail("Internal error " + At("operands", m_vecOperands.size()));
    const Operand* pArgs = m_vecOperands.data() + (m_vecOperands.size() - nArgs);
    bool bAllConst = true;
    size_t nTemps = 0;
    for (unsigned int i = 0; i < nArgs; ++i)
    {
        bAllConst = bAllConst && pArgs[i].eKind == Operand::eConst;
        nTemps += pArgs[i].eKind == Operand::eTemp;
    }
    Operand cResult;
    if (bConstant && bAllConst)
        cResult = Fold(nCode, pExtra, pArgs, nArgs);
    else
    {
        // The temporaries read here are the topmost ones, so the result takes the lowest of them.
        m_nTempDepth -= nTemps;
        double* pDst = TempSlot(m_nTempDepth++);
        if (nCode == eMTPow && pArgs[1].eKind == Operand::eConst && pArgs[1].fValue == 2.0)
        {
            // x^2 as x*x: the correctly rounded square, which the next addition can fuse with.
            cResult = EmitRaw(eMTSquare, nullptr, pArgs, 1, pDst);
        }
        else
            cResult = EmitRaw(nCode, pExtra, pArgs, nArgs, pDst);
    }
    m_vecOperands.resize(m_vecOperands.size() - nArgs);
    m_vecOperands.push_back(cResult);
}

// The set forms become chains of two-operand steps. Intermediate results go to a slot above every
// argument still waiting; the last step writes the lowest slot, where the stack discipline wants it.
void MTCompilation::ApplyChain(EMTOpCode eCode, unsigned int nArgs)
{
    if (m_vecOperands.size() < nArgs)
        Fail("Internal error " + At("operands", m_vecOperands.size()));
    std::vector<Operand> vecArgs(m_vecOperands.end() - nArgs, m_vecOperands.end());
    m_vecOperands.resize(m_vecOperands.size() - nArgs);
    size_t nTemps = 0;
    for (const Operand& c : vecArgs)
        nTemps += c.eKind == Operand::eTemp;
    const size_t nBase = m_nTempDepth - nTemps;
    double* pHigh = TempSlot(m_nTempDepth);
    const EMTOpCode eStep = eCode == eMTMinN ? eMTMin2 : eCode == eMTMaxN ? eMTMax2 : eMTAdd;
    const bool bAverage = eCode == eMTAvg && nArgs > 1;
    Operand cAcc = vecArgs[0];
    for (unsigned int k = 1; k < nArgs; ++k)
    {
        const Operand pair[2] = {cAcc, vecArgs[k]};
        if (cAcc.eKind == Operand::eConst && vecArgs[k].eKind == Operand::eConst)
            cAcc = Fold(eStep, nullptr, pair, 2);
        else
            cAcc = EmitRaw(eStep, nullptr, pair, 2, (k + 1 == nArgs && !bAverage) ? TempSlot(nBase) : pHigh);
    }
    if (bAverage)
    {
        const Operand pair[2] = {cAcc, {Operand::eConst, static_cast<double>(nArgs), nullptr}};
        cAcc = cAcc.eKind == Operand::eConst ? Fold(eMTDiv, nullptr, pair, 2)
                                             : EmitRaw(eMTDiv, nullptr, pair, 2, TempSlot(nBase));
    }
    if (cAcc.eKind == Operand::eTemp && cAcc.pData != TempSlot(nBase))
        Fail("Internal error " + At("chain", nArgs));
    m_nTempDepth = nBase + (cAcc.eKind == Operand::eTemp ? 1 : 0);
    m_vecOperands.push_back(cAcc);
}

void MTCompilation::ApplyOp(const PendingOp& cOp)
{
    const MTOperatorI* pOp = cOp.pOp;
    const int nCode = pOp->GetBuiltinCode();
    const unsigned int nArgs = pOp->IsUnaryOp() ? 1 : 2;
    if (nCode >= 0)
        Emit(nCode, nullptr, pOp->IsConstant(), nArgs);
    else
        Emit(eMTCallOperator, const_cast<MTOperatorI*>(pOp), pOp->IsConstant(), nArgs);
}

void MTCompilation::ApplyFunc(const MTFunctionI* pFunc, unsigned int nArgs)
{
    const int nCode = pFunc->GetBuiltinCode();
    if (nCode == eMTMinN || nCode == eMTMaxN || nCode == eMTSum || nCode == eMTAvg)
        ApplyChain(static_cast<EMTOpCode>(nCode), nArgs);
    else if (nCode >= 0)
        Emit(nCode, nullptr, pFunc->IsConstant(), nArgs);
    else
        Emit(eMTCallFunction, const_cast<MTFunctionI*>(pFunc), pFunc->IsConstant(), nArgs);
}

void MTCompilation::CloseFrame(const Frame& cFrame, unsigned int nArgs)
{
    if (!cFrame.pFuncs)
        return;
    const MTFunctionI* pChosen = nullptr;
    for (const MTFunctionI* p : *cFrame.pFuncs)
        if (p->GetNbArgs() >= 0 && static_cast<unsigned int>(p->GetNbArgs()) == nArgs)
            pChosen = p;
    if (!pChosen && nArgs > 0)
        for (const MTFunctionI* p : *cFrame.pFuncs)
            if (p->GetNbArgs() < 0)
                pChosen = p;
    if (!pChosen)
        Fail("Function :" + cFrame.strName + ".  No overloaded function takes " + std::to_string(nArgs) +
             " arguments " + At(cFrame.strName, cFrame.nNamePos));
    ApplyFunc(pChosen, nArgs);
}

void MTCompilation::PopOpsTo(size_t nBase)
{
    while (m_vecOps.size() > nBase)
    {
        const PendingOp cOp = m_vecOps.back();
        m_vecOps.pop_back();
        ApplyOp(cOp);
    }
}

void MTCompilation::Parse(const std::string& s)
{
    const size_t n = s.size();
    EPrev ePrev = eNone;
    std::string strPrevOp;
    size_t nPrevSeparator = 0;
    size_t i = 0;
    auto expectOperand = [&] { return ePrev != eOperand; };
    while (true)
    {
        while (i < n && std::isspace(static_cast<unsigned char>(s[i])))
            ++i;
        if (i >= n)
            break;
        const char c = s[i];
        const size_t nPos = i;
        if (c == '(')
        {
            if (!expectOperand())
                Fail("Missing operator before : (");
            m_vecFrames.push_back({nPos, m_vecOps.size(), 0, nullptr, std::string(), nPos});
            ePrev = eOpenBracket;
            ++i;
        }
        else if (c == ')')
        {
            if (m_vecFrames.empty())
                Fail("Missing opening bracket to match closing bracket " + At(")", nPos));
            unsigned int nArgs;
            if (expectOperand())
            {
                if (ePrev == eOperator)
                    Fail("Invalid operator syntax: " + strPrevOp);
                if (ePrev == eSeparator)
                    Fail("Invalid use of an argument separator at position: " + std::to_string(nPrevSeparator));
                if (ePrev != eOpenCall)
                    Fail("Unknown error"); // "()" around nothing
                nArgs = 0;
            }
            else
            {
                PopOpsTo(m_vecFrames.back().nOpBase);
                nArgs = m_vecFrames.back().nSeparators + 1;
            }
            const Frame cFrame = std::move(m_vecFrames.back());
            m_vecFrames.pop_back();
            CloseFrame(cFrame, nArgs);
            ePrev = eOperand;
            ++i;
        }
        else if (c == m_cSyntax.m_cArgumentSeparator)
        {
            if (m_vecFrames.empty() || !m_vecFrames.back().pFuncs)
                Fail("Invalid use of an argument separator outside a function " +
                     At(std::string(1, c), nPos));
            if (ePrev == eOperator)
                Fail("Invalid operator syntax: " + strPrevOp);
            if (expectOperand())
                Fail("Invalid use of an argument separator at position: " + std::to_string(nPos));
            PopOpsTo(m_vecFrames.back().nOpBase);
            ++m_vecFrames.back().nSeparators;
            ePrev = eSeparator;
            nPrevSeparator = nPos;
            ++i;
        }
        else if (c == m_cSyntax.m_cVariableBegin)
        {
            size_t j = i + 1;
            while (j < n && s[j] != m_cSyntax.m_cVariableEnd)
            {
                if (s[j] == m_cSyntax.m_cVariableBegin)
                    Fail("Unexpected begin variable name character " + At(std::string(1, s[j]), j));
                ++j;
            }
            if (j >= n)
                Fail("Unexpected begin variable name character " + At(std::string(1, c), nPos));
            if (j == i + 1)
                Fail("Unexpected end variable name character " + At(std::string(1, s[j]), j));
            const std::string strName = s.substr(i + 1, j - i - 1);
            if (!expectOperand())
                Fail("Missing operator before : " + s.substr(i, j + 1 - i));
            PushName(strName, nPos, true);
            ePrev = eOperand;
            i = j + 1;
        }
        else if (c == m_cSyntax.m_cVariableEnd)
            Fail("Unexpected end variable name character " + At(std::string(1, c), nPos));
        else if (std::isdigit(static_cast<unsigned char>(c)) ||
                 (c == m_cSyntax.m_cDecimalPoint && i + 1 < n && std::isdigit(static_cast<unsigned char>(s[i + 1]))))
        {
            double fValue = 0.0;
            const size_t nEnd = ScanNumber(s, i, fValue);
            if (!expectOperand())
                Fail("Missing operator before : " + s.substr(i, nEnd - i));
            m_vecOperands.push_back({Operand::eConst, fValue, nullptr});
            ePrev = eOperand;
            i = nEnd;
        }
        else if (const size_t nOpLen = m_cReg.MatchOp(s.data() + i, n - i))
        {
            const std::string strSymbol = s.substr(i, nOpLen);
            if (expectOperand())
            {
                const MTOperatorI* pUnary = m_cReg.FindOp(strSymbol, true);
                if (!pUnary)
                    Fail("Unexpected operator " + At(strSymbol, nPos));
                // A prefix operator waits for its operand; nothing is popped for it.
                m_vecOps.push_back({pUnary, nPos});
            }
            else
            {
                const MTOperatorI* pBinary = m_cReg.FindOp(strSymbol, false);
                if (!pBinary)
                    Fail("Unexpected operator " + At(strSymbol, nPos));
                const size_t nBase = m_vecFrames.empty() ? 0 : m_vecFrames.back().nOpBase;
                const unsigned int nPrecedence = pBinary->GetPrecedence();
                while (m_vecOps.size() > nBase && m_vecOps.back().pOp->GetPrecedence() >= nPrecedence)
                {
                    const PendingOp cOp = m_vecOps.back();
                    m_vecOps.pop_back();
                    ApplyOp(cOp);
                }
                m_vecOps.push_back({pBinary, nPos});
            }
            ePrev = eOperator;
            strPrevOp = strSymbol;
            i += nOpLen;
        }
        else
        {
            size_t j = i + 1;
            while (j < n && !IsNameEnd(s, j))
                ++j;
            const std::string strName = s.substr(i, j - i);
            if (!expectOperand())
                Fail("Missing operator before : " + strName);
            size_t k = j;
            while (k < n && std::isspace(static_cast<unsigned char>(s[k])))
                ++k;
            if (k < n && s[k] == '(')
            {
                const std::vector<MTFunctionI*>* pFuncs = m_cReg.FindFuncs(strName);
                if (!pFuncs)
                    Fail("Undefined function: " + strName);
                m_vecFrames.push_back({k, m_vecOps.size(), 0, pFuncs, strName, nPos});
                ePrev = eOpenCall;
                i = k + 1;
            }
            else
            {
                PushName(strName, nPos, false);
                ePrev = eOperand;
                i = j;
            }
        }
    }
    if (ePrev == eNone)
        Fail("Unknown error");
    if (ePrev == eOperator)
        Fail("Invalid operator syntax: " + strPrevOp);
    if (!m_vecFrames.empty())
        Fail("Missing closing bracket to match opening bracket " + At("(", m_vecFrames.back().nPos));
    PopOpsTo(0);
    if (m_vecOperands.size() != 1)
        Fail("Internal error " + At("operands", m_vecOperands.size()));
}

MTParserCompiler::MTParserCompiler(const MTParserRegistrar& cRegistrar, MTVariableFactoryI* pFactory)
    : m_cRegistrar(cRegistrar), m_pFactory(pFactory)
{
}

std::string MTParserCompiler::Compile(const std::string& strText, MTParserProgram& cProgram)
{
    cProgram.Clear();
    std::vector<Operand> vecOperands;
    std::string strError;
    try
    {
        MTCompilation(m_cRegistrar, m_pFactory, cProgram, vecOperands).Parse(strText);
        const Operand& cResult = vecOperands.front();
        if (cResult.eKind == Operand::eConst)
        {
            cProgram.m_deqConstants.push_back(cResult.fValue);
            cProgram.m_pResult = &cProgram.m_deqConstants.back();
            cProgram.m_bResultIsConstant = true;
        }
        else
            cProgram.m_pResult = cResult.pData;
        cProgram.BuildTree();
        cProgram.BuildNative();
        cProgram.m_bCompiled = true;
        return std::string();
    }
    catch (const MTExceptions& e)
    {
        strError = e.GetDescription();
    }
    catch (...)
    {
        // Out of memory, or a host-defined operation that threw while being folded.
        strError = MTExceptions(MTExceptions::eParsingError, "Unknown error").GetDescription();
    }
    cProgram.Clear();
    return strError;
}
