#include "qel/expression/MTParser/detail/MTParserNative.h"

#include "qel/expression/MTParser/detail/MTParserExecute.h"
#include "qel/expression/MTParser/detail/MTX64Assembler.h"

#include <cstdint>
#include <cstring>
#include <unordered_map>
#include <unordered_set>

// x86-64 code for the System V calling convention: every value is a double in an SSE register or a
// stack slot; operations the processor has (arithmetic, square root, comparisons, minimum and
// maximum with the same operand order as the interpreter) are emitted inline, everything else calls
// the interpreter's own functor through a plain function, so both forms round identically.

namespace MTParserDetail
{
namespace
{
typedef double (*CallTarget)(double, double, double);

typedef double (*Unary)(double);
typedef double (*BinaryFn)(double, double);

template <class Fn>
const void* Address(Fn pfn)
{
    return reinterpret_cast<const void*>(pfn);
}

/// What a call instruction of the code runs. The library functions the interpreter's functors call
/// are called directly: the same functions, so the same results, one jump fewer. Argument registers
/// beyond a function's own are simply ignored by it.
const void* TargetOf(unsigned int nCode)
{
    switch (nCode)
    {
    case eMTSin: return Address(static_cast<Unary>(std::sin));
    case eMTCos: return Address(static_cast<Unary>(std::cos));
    case eMTTan: return Address(static_cast<Unary>(std::tan));
    case eMTAsin: return Address(static_cast<Unary>(std::asin));
    case eMTAcos: return Address(static_cast<Unary>(std::acos));
    case eMTAtan: return Address(static_cast<Unary>(std::atan));
    case eMTSinh: return Address(static_cast<Unary>(std::sinh));
    case eMTCosh: return Address(static_cast<Unary>(std::cosh));
    case eMTTanh: return Address(static_cast<Unary>(std::tanh));
    case eMTLn: return Address(static_cast<Unary>(std::log));
    case eMTLog: return Address(static_cast<Unary>(std::log10));
    case eMTExp: return Address(static_cast<Unary>(std::exp));
    case eMTPow: return Address(static_cast<BinaryFn>(std::pow));
    case eMTMod: return Address(static_cast<BinaryFn>(std::fmod));
    default: break;
    }
    switch (nCode)
    {
#define QEL_MT_TARGET0(Code, Name, Expr)                                                                               \
    case Code: return Address<CallTarget>([](double, double, double) { return Name::Apply(); });
#define QEL_MT_TARGET1(Code, Name, Expr)                                                                               \
    case Code: return Address<CallTarget>([](double a, double, double) { return Name::Apply(a); });
#define QEL_MT_TARGET2(Code, Name, Expr)                                                                               \
    case Code: return Address<CallTarget>([](double a, double b, double) { return Name::Apply(a, b); });
#define QEL_MT_TARGET3(Code, Name, Expr)                                                                               \
    case Code: return Address<CallTarget>([](double a, double b, double c) { return Name::Apply(a, b, c); });
        QEL_MT_BUILTINS(QEL_MT_TARGET0, QEL_MT_TARGET1, QEL_MT_TARGET2, QEL_MT_TARGET3)
    default: return nullptr;
    }
}

/// An operand of an instruction: a constant, a variable read through its address, or the value
/// of an earlier instruction.
struct Source
{
    enum EKind { eConst, eMemory, eValue } eKind;
    double fConst;
    const double* pMemory;
    int nValue;
};

const int kFree = -1, kScratch = -2;
const std::uint32_t kMaxFrame = 2048;

/// Allocates registers and stack slots to the values of a program and emits its instructions.
class Emitter
{
public:
    explicit Emitter(size_t nValues) : m_vecRegOf(nValues, -1), m_vecSlotOf(nValues, -1)
    {
        for (int& n : m_nOwner)
            n = kFree;
    }

    void Instruction(unsigned int nOp, const Source* pArgs, int nArity, int nValue);
    /// Leaves the value in xmm0 and returns the finished function.
    std::vector<std::uint8_t> Finish(int nValue);

private:
    typedef X64Assembler::SseOp SseOp;

    X64Loc PoolDouble(double f)
    {
        std::uint64_t n;
        std::memcpy(&n, &f, sizeof n);
        return {eX64Pool, m_cAsm.Pool(n)};
    }
    void MovRax(const void* p) { m_cAsm.MovRax(reinterpret_cast<std::uintptr_t>(p)); }

    int NewSlot();
    void Spill(int nReg);
    int AllocReg();
    X64Loc Use(const Source& s);
    void Release(const Source& s);
    int Materialize(const Source& s);
    void Define(int nValue, int nReg)
    {
        m_nOwner[nReg] = nValue;
        m_vecRegOf[nValue] = nReg;
    }
    bool InReg(const Source& s) const { return s.eKind == Source::eValue && m_vecRegOf[s.nValue] >= 0; }

    void Binary(SseOp pfnOp, const Source& a, const Source& b, int nValue);
    void Compare(EX64Compare ePredicate, const Source& a, const Source& b, int nValue);
    void Call(const void* pTarget, const Source* pArgs, int nArity, int nValue);

    X64Assembler m_cAsm;
    int m_nOwner[16];
    std::vector<int> m_vecRegOf, m_vecSlotOf;
    std::vector<int> m_vecFreeSlots;
    int m_nSlots = 0;
    bool m_bCalls = false;
    const double* m_pRax = nullptr; // what rax holds, null when unknown
};

int Emitter::NewSlot()
{
    if (!m_vecFreeSlots.empty())
    {
        const int n = m_vecFreeSlots.back();
        m_vecFreeSlots.pop_back();
        return n;
    }
    return m_nSlots++;
}

void Emitter::Spill(int nReg)
{
    const int nValue = m_nOwner[nReg];
    const int nSlot = NewSlot();
    m_cAsm.MovsdStore({eX64Stack, 8 * nSlot}, nReg);
    m_vecSlotOf[nValue] = nSlot;
    m_vecRegOf[nValue] = -1;
    m_nOwner[nReg] = kFree;
}

int Emitter::AllocReg()
{
    // xmm0-2 last: calls want them for arguments.
    static const int kOrder[16] = {3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0, 1, 2};
    for (int r : kOrder)
        if (m_nOwner[r] == kFree)
        {
            m_nOwner[r] = kScratch;
            return r;
        }
    for (int r : kOrder)
        if (m_nOwner[r] >= 0)
        {
            Spill(r);
            m_nOwner[r] = kScratch;
            return r;
        }
    return 0; // unreachable: at most three registers are scratch at once
}

X64Loc Emitter::Use(const Source& s)
{
    switch (s.eKind)
    {
    case Source::eConst: return PoolDouble(s.fConst);
    case Source::eMemory:
    {
        // Variables usually live close together: one address in rax reaches its neighbours too.
        const std::intptr_t nDelta = reinterpret_cast<std::intptr_t>(s.pMemory) - reinterpret_cast<std::intptr_t>(m_pRax);
        if (!m_pRax || nDelta < INT32_MIN || nDelta > INT32_MAX)
        {
            MovRax(s.pMemory);
            m_pRax = s.pMemory;
            return {eX64Rax, 0};
        }
        return {eX64Rax, static_cast<int>(nDelta)};
    }
    default:
        if (m_vecRegOf[s.nValue] >= 0)
            return {eX64Reg, m_vecRegOf[s.nValue]};
        return {eX64Stack, 8 * m_vecSlotOf[s.nValue]};
    }
}

void Emitter::Release(const Source& s)
{
    if (s.eKind != Source::eValue)
        return;
    if (m_vecRegOf[s.nValue] >= 0)
        m_nOwner[m_vecRegOf[s.nValue]] = kFree;
    else if (m_vecSlotOf[s.nValue] >= 0)
        m_vecFreeSlots.push_back(m_vecSlotOf[s.nValue]);
    m_vecRegOf[s.nValue] = -1;
    m_vecSlotOf[s.nValue] = -1;
}

int Emitter::Materialize(const Source& s)
{
    if (InReg(s))
    {
        const int r = m_vecRegOf[s.nValue];
        m_nOwner[r] = kScratch;
        m_vecRegOf[s.nValue] = -1;
        return r;
    }
    const int r = AllocReg();
    m_cAsm.Movsd(r, Use(s));
    Release(s);
    return r;
}

void Emitter::Binary(SseOp pfnOp, const Source& a, const Source& b, int nValue)
{
    const int r = Materialize(a);
    (m_cAsm.*pfnOp)(r, Use(b));
    Release(b);
    Define(nValue, r);
}

void Emitter::Compare(EX64Compare ePredicate, const Source& a, const Source& b, int nValue)
{
    const int r = Materialize(a);
    m_cAsm.Cmpsd(r, Use(b), ePredicate);
    Release(b);
    m_cAsm.Andpd(r, PoolDouble(1.0));
    Define(nValue, r);
}

void Emitter::Call(const void* pTarget, const Source* pArgs, int nArity, int nValue)
{
    // Every register is the callee's to clobber: whatever is still needed goes to the stack, and
    // with more than one argument the arguments too, so that loading them cannot overwrite another.
    for (int r = 0; r < 16; ++r)
    {
        bool bArgument = false;
        for (int i = 0; i < nArity; ++i)
            bArgument = bArgument || (pArgs[i].eKind == Source::eValue && m_vecRegOf[pArgs[i].nValue] == r);
        if (m_nOwner[r] >= 0 && (!bArgument || nArity > 1))
            Spill(r);
    }
    if (nArity == 1 && InReg(pArgs[0]))
    {
        if (m_vecRegOf[pArgs[0].nValue] != 0)
            m_cAsm.Movapd(0, Use(pArgs[0]));
    }
    else
        for (int i = 0; i < nArity; ++i)
            m_cAsm.Movsd(i, Use(pArgs[i]));
    for (int i = 0; i < nArity; ++i)
        Release(pArgs[i]);
    MovRax(pTarget);
    m_cAsm.CallRax();
    m_pRax = nullptr; // the callee may have changed it
    m_bCalls = true;
    Define(nValue, 0);
}

void Emitter::Instruction(unsigned int nOp, const Source* a, int nArity, int nValue)
{
    const X64Assembler::SseOp kAdd = &X64Assembler::Addsd, kMul = &X64Assembler::Mulsd;
    switch (nOp)
    {
    // Sums and products commute exactly (only which of two NaNs survives may change): a value
    // already in a register stays the destination.
    case eMTAdd:
        if (!InReg(a[0]) && InReg(a[1]))
            return Binary(kAdd, a[1], a[0], nValue);
        return Binary(kAdd, a[0], a[1], nValue);
    case eMTMul:
        if (!InReg(a[0]) && InReg(a[1]))
            return Binary(kMul, a[1], a[0], nValue);
        return Binary(kMul, a[0], a[1], nValue);
    case eMTSub: return Binary(&X64Assembler::Subsd, a[0], a[1], nValue);
    case eMTDiv: return Binary(&X64Assembler::Divsd, a[0], a[1], nValue);
    // minsd/maxsd return their second operand unless the first is strictly smaller/larger, which is
    // b < a ? b : a and a < b ? b : a with b first.
    case eMTMin2: return Binary(&X64Assembler::Minsd, a[1], a[0], nValue);
    case eMTMax2: return Binary(&X64Assembler::Maxsd, a[1], a[0], nValue);
    case eMTGreater: return Compare(eX64Less, a[1], a[0], nValue);
    case eMTLess: return Compare(eX64Less, a[0], a[1], nValue);
    case eMTGreaterEqual: return Compare(eX64LessEqual, a[1], a[0], nValue);
    case eMTLessEqual: return Compare(eX64LessEqual, a[0], a[1], nValue);
    case eMTEqual: return Compare(eX64Equal, a[0], a[1], nValue);
    case eMTNotEqual: return Compare(eX64NotEqual, a[0], a[1], nValue);
    case eMTNot: return Compare(eX64Equal, a[0], Source{Source::eConst, 0.0, nullptr, 0}, nValue);
    case eMTRadToDeg: return Binary(kMul, a[0], Source{Source::eConst, kRadToDeg, nullptr, 0}, nValue);
    case eMTDegToRad: return Binary(kMul, a[0], Source{Source::eConst, kDegToRad, nullptr, 0}, nValue);
    case eMTNeg:
    case eMTAbs:
    {
        const int r = Materialize(a[0]);
        const std::uint64_t nSign = std::uint64_t(1) << 63;
        if (nOp == eMTNeg)
            m_cAsm.Xorpd(r, {eX64Pool, m_cAsm.Pool(nSign)});
        else
            m_cAsm.Andpd(r, {eX64Pool, m_cAsm.Pool(~nSign)});
        return Define(nValue, r);
    }
    case eMTSqrt:
    {
        if (InReg(a[0]))
        {
            const int r = Materialize(a[0]);
            m_cAsm.Sqrtsd(r, {eX64Reg, r});
            return Define(nValue, r);
        }
        const int r = AllocReg();
        m_cAsm.Sqrtsd(r, Use(a[0]));
        Release(a[0]);
        return Define(nValue, r);
    }
    case eMTSquare:
    case eMTSquareAdd:
    case eMTSumSquares:
    {
        const int r = Materialize(a[0]);
        m_cAsm.Mulsd(r, {eX64Reg, r});
        if (nOp == eMTSquareAdd)
        {
            m_cAsm.Addsd(r, Use(a[1]));
            Release(a[1]);
        }
        if (nOp == eMTSumSquares)
        {
            const int t = Materialize(a[1]);
            m_cAsm.Mulsd(t, {eX64Reg, t});
            m_cAsm.Addsd(r, {eX64Reg, t});
            m_nOwner[t] = kFree;
        }
        return Define(nValue, r);
    }
    case eMTMulAdd:
    {
        const int r = Materialize(a[0]);
        m_cAsm.Mulsd(r, Use(a[1]));
        Release(a[1]);
        m_cAsm.Addsd(r, Use(a[2]));
        Release(a[2]);
        return Define(nValue, r);
    }
    default: return Call(TargetOf(nOp), a, nArity, nValue);
    }
}

std::vector<std::uint8_t> Emitter::Finish(int nValue)
{
    const Source cResult{Source::eValue, 0.0, nullptr, nValue};
    if (!InReg(cResult))
        m_cAsm.Movsd(0, Use(cResult));
    else if (m_vecRegOf[nValue] != 0)
        m_cAsm.Movapd(0, Use(cResult));
    // The stack is 16-byte aligned at calls: the return address takes 8 bytes.
    std::uint32_t nFrame = static_cast<std::uint32_t>(8 * m_nSlots);
    if (m_bCalls && nFrame % 16 == 0)
        nFrame += 8;
    if (nFrame > kMaxFrame)
        return std::vector<std::uint8_t>(); // the code does not probe the stack, so it never moves it past a guard page
    return m_cAsm.Link(nFrame);
}
} // namespace

QelCodeBlock TranslateToNative(const std::vector<MTInstruction>& vecCode, const std::deque<double>& deqConstants,
                               const double* pResult)
{
    if (vecCode.empty() || vecCode.size() > kMaxNativeInstructions || !QelNativeCodeSupported())
        return QelCodeBlock();
    std::unordered_set<const double*> setConstants, setTemps;
    for (const double& f : deqConstants)
        setConstants.insert(&f);
    for (const MTInstruction& c : vecCode)
        setTemps.insert(c.pDst);
    // Which instruction's value each temporary holds at this point of the program.
    std::unordered_map<const double*, int> mapWriter;
    Emitter cEmitter(vecCode.size());
    for (size_t i = 0; i < vecCode.size(); ++i)
    {
        const MTInstruction& c = vecCode[i];
        const int nArity = Arity(c.nOp);
        if (nArity < 0)
            return QelCodeBlock();
        Source cArgs[3];
        const double* pOperands[3] = {c.pA, c.pB, c.pC};
        for (int k = 0; k < nArity; ++k)
        {
            const double* p = pOperands[k];
            auto it = mapWriter.find(p);
            if (it != mapWriter.end())
            {
                cArgs[k] = {Source::eValue, 0.0, nullptr, it->second};
                mapWriter.erase(it);
            }
            else if (setConstants.count(p))
                cArgs[k] = {Source::eConst, *p, nullptr, 0};
            else if (!p || setTemps.count(p))
                return QelCodeBlock(); // a temporary read before it is written: not a program we understand
            else
                cArgs[k] = {Source::eMemory, 0.0, p, 0};
        }
        cEmitter.Instruction(c.nOp, cArgs, nArity, static_cast<int>(i));
        mapWriter[c.pDst] = static_cast<int>(i);
    }
    auto it = mapWriter.find(pResult);
    if (it == mapWriter.end() || it->second + 1 != static_cast<int>(vecCode.size()))
        return QelCodeBlock();
    const std::vector<std::uint8_t> vecBytes = cEmitter.Finish(it->second);
    if (vecBytes.empty())
        return QelCodeBlock();
    QelCodeBlock cBlock = QelAllocateCode(vecBytes.size());
    if (cBlock.pWrite)
        std::memcpy(cBlock.pWrite, vecBytes.data(), vecBytes.size());
    return cBlock;
}
} // namespace MTParserDetail
