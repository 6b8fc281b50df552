#pragma once

// Encoders for the few x86-64 instructions the native expression code is made of. Internal to the
// library; header-only so that a test can check the bytes of every form.

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace MTParserDetail
{
/// Where the memory or register operand of an SSE instruction lies.
enum EX64Loc
{
    eX64Reg,   // the SSE register n
    eX64Stack, // [rsp + n]
    eX64Pool,  // the 16-byte constant n after the code, addressed relative to the instruction
    eX64Rax    // [rax + n]
};

struct X64Loc
{
    EX64Loc e;
    int n;
};

/// Predicates of cmpsd, chosen to match C++ comparisons of NaN.
enum EX64Compare
{
    eX64Equal = 0,
    eX64Less = 1,
    eX64LessEqual = 2,
    eX64NotEqual = 4
};

/// Appends instructions to a function body and links the body with its frame and constant pool.
class X64Assembler
{
public:
    typedef void (X64Assembler::*SseOp)(int, const X64Loc&);

    // Scalar double: xmm nReg = xmm nReg op src (movsd loads).
    void Movsd(int nReg, const X64Loc& src) { Sse(kScalar, 0x10, nReg, src); }
    void Addsd(int nReg, const X64Loc& src) { Sse(kScalar, 0x58, nReg, src); }
    void Mulsd(int nReg, const X64Loc& src) { Sse(kScalar, 0x59, nReg, src); }
    void Subsd(int nReg, const X64Loc& src) { Sse(kScalar, 0x5C, nReg, src); }
    void Minsd(int nReg, const X64Loc& src) { Sse(kScalar, 0x5D, nReg, src); }
    void Divsd(int nReg, const X64Loc& src) { Sse(kScalar, 0x5E, nReg, src); }
    void Maxsd(int nReg, const X64Loc& src) { Sse(kScalar, 0x5F, nReg, src); }
    void Sqrtsd(int nReg, const X64Loc& src) { Sse(kScalar, 0x51, nReg, src); }
    void Cmpsd(int nReg, const X64Loc& src, EX64Compare ePredicate) { Sse(kScalar, 0xC2, nReg, src, ePredicate); }
    /// movsd to memory: dst = xmm nReg.
    void MovsdStore(const X64Loc& dst, int nReg) { Sse(kScalar, 0x11, nReg, dst); }
    // Packed double, for bit masks and whole-register moves.
    void Andpd(int nReg, const X64Loc& src) { Sse(kPacked, 0x54, nReg, src); }
    void Xorpd(int nReg, const X64Loc& src) { Sse(kPacked, 0x57, nReg, src); }
    void Movapd(int nReg, const X64Loc& src) { Sse(kPacked, 0x28, nReg, src); }
    /// mov rax, imm64
    void MovRax(std::uint64_t n)
    {
        Byte(0x48);
        Byte(0xB8);
        Bytes(n, 8);
    }
    /// call rax
    void CallRax()
    {
        Byte(0xFF);
        Byte(0xD0);
    }

    /// The pool entry holding the 16 bytes (nLow, nHigh); equal entries are shared.
    int Pool(std::uint64_t nLow, std::uint64_t nHigh = 0)
    {
        for (size_t i = 0; i < m_vecPool.size(); ++i)
            if (m_vecPool[i].first == nLow && m_vecPool[i].second == nHigh)
                return static_cast<int>(i);
        m_vecPool.emplace_back(nLow, nHigh);
        return static_cast<int>(m_vecPool.size() - 1);
    }

    const std::vector<std::uint8_t>& Body() const { return m_vecCode; }

    /// The function: sub rsp, nFrame (when not 0), the body, add rsp, nFrame, ret, int3 up to a
    /// 16-byte boundary, then the pool, with every pool displacement of the body filled in.
    std::vector<std::uint8_t> Link(std::uint32_t nFrame) const
    {
        std::vector<std::uint8_t> vecOut;
        auto Frame = [&](std::uint8_t nOp) {
            vecOut.insert(vecOut.end(), {0x48, 0x81, nOp});
            for (int i = 0; i < 4; ++i)
                vecOut.push_back(static_cast<std::uint8_t>(nFrame >> (8 * i)));
        };
        if (nFrame)
            Frame(0xEC); // sub rsp, imm32
        const size_t nBody = vecOut.size();
        vecOut.insert(vecOut.end(), m_vecCode.begin(), m_vecCode.end());
        if (nFrame)
            Frame(0xC4); // add rsp, imm32
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

private:
    static const std::uint8_t kScalar = 0xF2;
    static const std::uint8_t kPacked = 0x66;

    void Byte(std::uint8_t b) { m_vecCode.push_back(b); }
    void Bytes(std::uint64_t n, int nCount)
    {
        for (int i = 0; i < nCount; ++i)
            Byte(static_cast<std::uint8_t>(n >> (8 * i)));
    }

    /// prefix, REX when a register above xmm7 is named, 0F, opcode, ModRM (and SIB or displacement
    /// as the operand needs), optional immediate byte.
    void Sse(std::uint8_t nPrefix, std::uint8_t nOp, int nReg, const X64Loc& src, int nImm = -1)
    {
        Byte(nPrefix);
        const std::uint8_t nRex =
            static_cast<std::uint8_t>(0x40 | ((nReg & 8) ? 4 : 0) | ((src.e == eX64Reg && (src.n & 8)) ? 1 : 0));
        if (nRex != 0x40)
            Byte(nRex);
        Byte(0x0F);
        Byte(nOp);
        const int r = (nReg & 7) << 3;
        switch (src.e)
        {
        case eX64Reg: Byte(static_cast<std::uint8_t>(0xC0 | r | (src.n & 7))); break;
        case eX64Rax:
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
                Bytes(static_cast<std::uint32_t>(src.n), 4);
            }
            break;
        case eX64Stack:
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
                Bytes(static_cast<std::uint32_t>(src.n), 4);
            }
            break;
        case eX64Pool:
            Byte(static_cast<std::uint8_t>(0x05 | r));
            m_vecFixups.push_back({m_vecCode.size(), m_vecCode.size() + 4 + (nImm >= 0 ? 1 : 0), src.n});
            Bytes(0, 4);
            break;
        }
        if (nImm >= 0)
            Byte(static_cast<std::uint8_t>(nImm));
    }

    struct Fixup
    {
        size_t nAt;  // where the 32-bit displacement is
        size_t nEnd; // end of its instruction, which the displacement is relative to
        int nPool;
    };
    std::vector<std::uint8_t> m_vecCode;
    std::vector<Fixup> m_vecFixups;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> m_vecPool;
};
} // namespace MTParserDetail
