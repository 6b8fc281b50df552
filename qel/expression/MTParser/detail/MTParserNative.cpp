#include "qel/expression/MTParser/detail/MTParserNative.h"

#include "qel/expression/MTParser/detail/MTParserExecute.h"

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

// Opcodes after 0F of the scalar-double (F2) and packed-double (66) instructions used.
enum : std::uint8_t
{
    kMovLoad = 0x10, kMovStore = 0x11, kSqrt = 0x51, kAnd = 0x54, kXor = 0x57, kAdd = 0x58, kMul = 0x59,
    kSub = 0x5C, kMin = 0x5D, kDiv = 0x5E, kMax = 0x5F, kCmp = 0xC2, kMovAligned = 0x28
};
const std::uint8_t kScalar = 0xF2, kPacked = 0x66;
// Predicates of cmpsd, chosen to match C++ comparisons of NaN.
const int kCmpEq = 0, kCmpLt = 1, kCmpLe = 2, kCmpNeq = 4;

enum ELoc
{
    eLocReg,   // an SSE register
    eLocStack, // [rsp + n]
    eLocPool,  // a 16-byte constant after the code, addressed relative to the instruction
    eLocRax    // [rax + n], rax pointing near a variable
};
struct Loc
{
    ELoc e;
    int n;
};

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
    void Byte(std::uint8_t b) { m_vecCode.push_back(b); }
    void Bytes32(std::uint32_t n)
    {
        for (int i = 0; i < 4; ++i)
            Byte(static_cast<std::uint8_t>(n >> (8 * i)));
    }
    void Bytes64(std::uint64_t n)
    {
        Bytes32(static_cast<std::uint32_t>(n));
        Bytes32(static_cast<std::uint32_t>(n >> 32));
    }
    int Pool(std::uint64_t nLow, std::uint64_t nHigh = 0);
    int PoolDouble(double f)
    {
        std::uint64_t n;
        std::memcpy(&n, &f, sizeof n);
        return Pool(n);
    }
    /// An SSE instruction: register destination nReg, source src, optional immediate byte.
    void Sse(std::uint8_t nPrefix, std::uint8_t nOp, int nReg, const Loc& src, int nImm = -1);
    void MovRax(const void* p)
    {
        Byte(0x48);
        Byte(0xB8);
        Bytes64(reinterpret_cast<std::uintptr_t>(p));
    }

    int NewSlot();
    void Spill(int nReg);
    int AllocReg();
    Loc Use(const Source& s);
    void Release(const Source& s);
    int Materialize(const Source& s);
    void Define(int nValue, int nReg)
    {
        m_nOwner[nReg] = nValue;
        m_vecRegOf[nValue] = nReg;
    }
    bool InReg(const Source& s) const { return s.eKind == Source::eValue && m_vecRegOf[s.nValue] >= 0; }

    void Binary(std::uint8_t nOp, const Source& a, const Source& b, int nValue);
    void Compare(int nPredicate, const Source& a, const Source& b, int nValue);
    void Call(const void* pTarget, const Source* pArgs, int nArity, int nValue);

    std::vector<std::uint8_t> m_vecCode;
    struct Fixup
    {
        size_t nAt;  // where the 32-bit displacement is
        size_t nEnd; // end of its instruction, which the displacement is relative to
        int nPool;
    };
    std::vector<Fixup> m_vecFixups;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> m_vecPool;
    int m_nOwner[16];
    std::vector<int> m_vecRegOf, m_vecSlotOf;
    std::vector<int> m_vecFreeSlots;
    int m_nSlots = 0;
    bool m_bCalls = false;
    const double* m_pRax = nullptr; // what rax holds, null when unknown
};

int Emitter::Pool(std::uint64_t nLow, std::uint64_t nHigh)
{
    for (size_t i = 0; i < m_vecPool.size(); ++i)
        if (m_vecPool[i].first == nLow && m_vecPool[i].second == nHigh)
            return static_cast<int>(i);
    m_vecPool.emplace_back(nLow, nHigh);
    return static_cast<int>(m_vecPool.size() - 1);
}

void Emitter::Sse(std::uint8_t nPrefix, std::uint8_t nOp, int nReg, const Loc& src, int nImm)
{
    Byte(nPrefix);
    const std::uint8_t nRex =
        static_cast<std::uint8_t>(0x40 | ((nReg & 8) ? 4 : 0) | ((src.e == eLocReg && (src.n & 8)) ? 1 : 0));
    if (nRex != 0x40)
        Byte(nRex);
    Byte(0x0F);
    Byte(nOp);
    const int r = (nReg & 7) << 3;
    switch (src.e)
    {
    case eLocReg: Byte(static_cast<std::uint8_t>(0xC0 | r | (src.n & 7))); break;
    case eLocRax:
        if (src.n == 0)
            Byte(static_cast<std::uint8_t>(r));
        else if (src.n >= -128 && src.n < 128)
        {
            Byte(static_cast<std::uint8_t>(0x40 | r));
            Byte(static_cast<std::uint8_t>(src.n));
        }
        else
        {
            Byte(static_cast<std::uint8_t>(0x80 | r));
            Bytes32(static_cast<std::uint32_t>(src.n));
        }
        break;
    case eLocStack:
        if (src.n < 128)
        {
            Byte(static_cast<std::uint8_t>(0x44 | r));
            Byte(0x24);
            Byte(static_cast<std::uint8_t>(src.n));
        }
        else
        {
            Byte(static_cast<std::uint8_t>(0x84 | r));
            Byte(0x24);
            Bytes32(static_cast<std::uint32_t>(src.n));
        }
        break;
    case eLocPool:
        Byte(static_cast<std::uint8_t>(0x05 | r));
        m_vecFixups.push_back({m_vecCode.size(), m_vecCode.size() + 4 + (nImm >= 0 ? 1 : 0), src.n});
        Bytes32(0);
        break;
    }
    if (nImm >= 0)
        Byte(static_cast<std::uint8_t>(nImm));
}

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
    Sse(kScalar, kMovStore, nReg, {eLocStack, 8 * nSlot});
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

Loc Emitter::Use(const Source& s)
{
    switch (s.eKind)
    {
    case Source::eConst: return {eLocPool, PoolDouble(s.fConst)};
    case Source::eMemory:
    {
        // Variables usually live close together: one address in rax reaches its neighbours too.
        const std::intptr_t nDelta = reinterpret_cast<std::intptr_t>(s.pMemory) - reinterpret_cast<std::intptr_t>(m_pRax);
        if (!m_pRax || nDelta < INT32_MIN || nDelta > INT32_MAX)
        {
            MovRax(s.pMemory);
            m_pRax = s.pMemory;
            return {eLocRax, 0};
        }
        return {eLocRax, static_cast<int>(nDelta)};
    }
    default:
        if (m_vecRegOf[s.nValue] >= 0)
            return {eLocReg, m_vecRegOf[s.nValue]};
        return {eLocStack, 8 * m_vecSlotOf[s.nValue]};
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
    Sse(kScalar, kMovLoad, r, Use(s));
    Release(s);
    return r;
}

void Emitter::Binary(std::uint8_t nOp, const Source& a, const Source& b, int nValue)
{
    const int r = Materialize(a);
    Sse(kScalar, nOp, r, Use(b));
    Release(b);
    Define(nValue, r);
}

void Emitter::Compare(int nPredicate, const Source& a, const Source& b, int nValue)
{
    const int r = Materialize(a);
    Sse(kScalar, kCmp, r, Use(b), nPredicate);
    Release(b);
    Sse(kPacked, kAnd, r, {eLocPool, PoolDouble(1.0)});
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
            Sse(kPacked, kMovAligned, 0, Use(pArgs[0]));
    }
    else
        for (int i = 0; i < nArity; ++i)
            Sse(kScalar, kMovLoad, i, Use(pArgs[i]));
    for (int i = 0; i < nArity; ++i)
        Release(pArgs[i]);
    MovRax(pTarget);
    Byte(0xFF); // call rax
    Byte(0xD0);
    m_pRax = nullptr; // the callee may have changed it
    m_bCalls = true;
    Define(nValue, 0);
}

void Emitter::Instruction(unsigned int nOp, const Source* a, int nArity, int nValue)
{
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
    case eMTSub: return Binary(kSub, a[0], a[1], nValue);
    case eMTDiv: return Binary(kDiv, a[0], a[1], nValue);
    // minsd/maxsd return their second operand unless the first is strictly smaller/larger, which is
    // b < a ? b : a and a < b ? b : a with b first.
    case eMTMin2: return Binary(kMin, a[1], a[0], nValue);
    case eMTMax2: return Binary(kMax, a[1], a[0], nValue);
    case eMTGreater: return Compare(kCmpLt, a[1], a[0], nValue);
    case eMTLess: return Compare(kCmpLt, a[0], a[1], nValue);
    case eMTGreaterEqual: return Compare(kCmpLe, a[1], a[0], nValue);
    case eMTLessEqual: return Compare(kCmpLe, a[0], a[1], nValue);
    case eMTEqual: return Compare(kCmpEq, a[0], a[1], nValue);
    case eMTNotEqual: return Compare(kCmpNeq, a[0], a[1], nValue);
    case eMTNot: return Compare(kCmpEq, a[0], Source{Source::eConst, 0.0, nullptr, 0}, nValue);
    case eMTRadToDeg: return Binary(kMul, a[0], Source{Source::eConst, kRadToDeg, nullptr, 0}, nValue);
    case eMTDegToRad: return Binary(kMul, a[0], Source{Source::eConst, kDegToRad, nullptr, 0}, nValue);
    case eMTNeg:
    case eMTAbs:
    {
        const int r = Materialize(a[0]);
        const std::uint64_t nSign = std::uint64_t(1) << 63;
        Sse(kPacked, nOp == eMTNeg ? kXor : kAnd, r, {eLocPool, Pool(nOp == eMTNeg ? nSign : ~nSign)});
        return Define(nValue, r);
    }
    case eMTSqrt:
    {
        if (InReg(a[0]))
        {
            const int r = Materialize(a[0]);
            Sse(kScalar, kSqrt, r, {eLocReg, r});
            return Define(nValue, r);
        }
        const int r = AllocReg();
        Sse(kScalar, kSqrt, r, Use(a[0]));
        Release(a[0]);
        return Define(nValue, r);
    }
    case eMTSquare:
    case eMTSquareAdd:
    case eMTSumSquares:
    {
        const int r = Materialize(a[0]);
        Sse(kScalar, kMul, r, {eLocReg, r});
        if (nOp == eMTSquareAdd)
        {
            Sse(kScalar, kAdd, r, Use(a[1]));
            Release(a[1]);
        }
        if (nOp == eMTSumSquares)
        {
            const int t = Materialize(a[1]);
            Sse(kScalar, kMul, t, {eLocReg, t});
            Sse(kScalar, kAdd, r, {eLocReg, t});
            m_nOwner[t] = kFree;
        }
        return Define(nValue, r);
    }
    case eMTMulAdd:
    {
        const int r = Materialize(a[0]);
        Sse(kScalar, kMul, r, Use(a[1]));
        Release(a[1]);
        Sse(kScalar, kAdd, r, Use(a[2]));
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
        Sse(kScalar, kMovLoad, 0, Use(cResult));
    else if (m_vecRegOf[nValue] != 0)
        Sse(kPacked, kMovAligned, 0, Use(cResult));
    // The stack is 16-byte aligned at calls: the return address takes 8 bytes.
    std::uint32_t nFrame = static_cast<std::uint32_t>(8 * m_nSlots);
    if (m_bCalls && nFrame % 16 == 0)
        nFrame += 8;
    std::vector<std::uint8_t> vecOut;
    if (nFrame > kMaxFrame)
        return vecOut; // the code does not probe the stack, so it never moves it past a guard page
    const std::uint8_t kSubRsp[3] = {0x48, 0x81, 0xEC}, kAddRsp[3] = {0x48, 0x81, 0xC4};
    auto Frame = [&](const std::uint8_t* pOp) {
        vecOut.insert(vecOut.end(), pOp, pOp + 3);
        for (int i = 0; i < 4; ++i)
            vecOut.push_back(static_cast<std::uint8_t>(nFrame >> (8 * i)));
    };
    if (nFrame)
        Frame(kSubRsp);
    const size_t nBody = vecOut.size();
    vecOut.insert(vecOut.end(), m_vecCode.begin(), m_vecCode.end());
    if (nFrame)
        Frame(kAddRsp);
    vecOut.push_back(0xC3); // ret
    while (vecOut.size() % 16)
        vecOut.push_back(0xCC);
    const size_t nPool = vecOut.size();
    for (const auto& p : m_vecPool)
        for (std::uint64_t n : {p.first, p.second})
            for (int i = 0; i < 8; ++i)
                vecOut.push_back(static_cast<std::uint8_t>(n >> (8 * i)));
    for (const Fixup& f : m_vecFixups)
    {
        const std::int64_t nDisp = static_cast<std::int64_t>(nPool + 16 * static_cast<size_t>(f.nPool)) -
                                   static_cast<std::int64_t>(nBody + f.nEnd);
        const std::uint32_t n = static_cast<std::uint32_t>(static_cast<std::int32_t>(nDisp));
        for (int i = 0; i < 4; ++i)
            vecOut[nBody + f.nAt + static_cast<size_t>(i)] = static_cast<std::uint8_t>(n >> (8 * i));
    }
    return vecOut;
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
