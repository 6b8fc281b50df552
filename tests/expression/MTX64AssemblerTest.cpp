#include "qel/expression/MTParser/detail/MTX64Assembler.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <vector>

using namespace MTParserDetail;

namespace
{
typedef std::vector<std::uint8_t> Bytes;

struct Row
{
    const char* pName;
    std::function<void(X64Assembler&)> fnEmit;
    Bytes vecExpected;
};

const X64Loc Reg(int n) { return {eX64Reg, n}; }
const X64Loc Stack(int n) { return {eX64Stack, n}; }
const X64Loc Rax(int n) { return {eX64Rax, n}; }
} // namespace

// Every operand form the native expression code uses, checked against the processor manual's
// encodings: both register classes (REX.R, REX.B), short and long stack and rax displacements.
TEST(MTX64Assembler, EncodesEveryOperandForm)
{
    const Row rows[] = {
        {"addsd xmm1, xmm2", [](X64Assembler& a) { a.Addsd(1, Reg(2)); }, {0xF2, 0x0F, 0x58, 0xCA}},
        {"addsd xmm9, xmm2", [](X64Assembler& a) { a.Addsd(9, Reg(2)); }, {0xF2, 0x44, 0x0F, 0x58, 0xCA}},
        {"addsd xmm1, xmm10", [](X64Assembler& a) { a.Addsd(1, Reg(10)); }, {0xF2, 0x41, 0x0F, 0x58, 0xCA}},
        {"addsd xmm15, xmm8", [](X64Assembler& a) { a.Addsd(15, Reg(8)); }, {0xF2, 0x45, 0x0F, 0x58, 0xF8}},
        {"subsd mulsd divsd minsd maxsd sqrtsd",
         [](X64Assembler& a) {
             a.Subsd(0, Reg(1));
             a.Mulsd(0, Reg(1));
             a.Divsd(0, Reg(1));
             a.Minsd(0, Reg(1));
             a.Maxsd(0, Reg(1));
             a.Sqrtsd(0, Reg(1));
         },
         {0xF2, 0x0F, 0x5C, 0xC1, 0xF2, 0x0F, 0x59, 0xC1, 0xF2, 0x0F, 0x5E, 0xC1, 0xF2, 0x0F, 0x5D, 0xC1,
          0xF2, 0x0F, 0x5F, 0xC1, 0xF2, 0x0F, 0x51, 0xC1}},
        {"movsd xmm3, [rsp]", [](X64Assembler& a) { a.Movsd(3, Stack(0)); }, {0xF2, 0x0F, 0x10, 0x5C, 0x24, 0x00}},
        {"movsd xmm3, [rsp+127]", [](X64Assembler& a) { a.Movsd(3, Stack(127)); },
         {0xF2, 0x0F, 0x10, 0x5C, 0x24, 0x7F}},
        {"movsd xmm3, [rsp+128]", [](X64Assembler& a) { a.Movsd(3, Stack(128)); },
         {0xF2, 0x0F, 0x10, 0x9C, 0x24, 0x80, 0x00, 0x00, 0x00}},
        {"movsd [rsp+2040], xmm12", [](X64Assembler& a) { a.MovsdStore(Stack(2040), 12); },
         {0xF2, 0x44, 0x0F, 0x11, 0xA4, 0x24, 0xF8, 0x07, 0x00, 0x00}},
        {"movsd xmm0, [rax]", [](X64Assembler& a) { a.Movsd(0, Rax(0)); }, {0xF2, 0x0F, 0x10, 0x00}},
        {"movsd xmm0, [rax-8]", [](X64Assembler& a) { a.Movsd(0, Rax(-8)); }, {0xF2, 0x0F, 0x10, 0x40, 0xF8}},
        {"mulsd xmm5, [rax-128]", [](X64Assembler& a) { a.Mulsd(5, Rax(-128)); }, {0xF2, 0x0F, 0x59, 0x68, 0x80}},
        {"mulsd xmm5, [rax-129]", [](X64Assembler& a) { a.Mulsd(5, Rax(-129)); },
         {0xF2, 0x0F, 0x59, 0xA8, 0x7F, 0xFF, 0xFF, 0xFF}},
        {"addsd xmm11, [rax+200]", [](X64Assembler& a) { a.Addsd(11, Rax(200)); },
         {0xF2, 0x44, 0x0F, 0x58, 0x98, 0xC8, 0x00, 0x00, 0x00}},
        {"cmpsd xmm2, xmm3, le", [](X64Assembler& a) { a.Cmpsd(2, Reg(3), eX64LessEqual); },
         {0xF2, 0x0F, 0xC2, 0xD3, 0x02}},
        {"cmpsd xmm8, [rsp+16], neq", [](X64Assembler& a) { a.Cmpsd(8, Stack(16), eX64NotEqual); },
         {0xF2, 0x44, 0x0F, 0xC2, 0x44, 0x24, 0x10, 0x04}},
        {"xorpd xmm8, xmm0", [](X64Assembler& a) { a.Xorpd(8, Reg(0)); }, {0x66, 0x44, 0x0F, 0x57, 0xC0}},
        {"movapd xmm0, xmm13", [](X64Assembler& a) { a.Movapd(0, Reg(13)); }, {0x66, 0x41, 0x0F, 0x28, 0xC5}},
        {"mov rax, imm64; call rax",
         [](X64Assembler& a) {
             a.MovRax(0x1122334455667788ull);
             a.CallRax();
         },
         {0x48, 0xB8, 0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11, 0xFF, 0xD0}},
    };
    for (const Row& r : rows)
    {
        SCOPED_TRACE(r.pName);
        X64Assembler a;
        r.fnEmit(a);
        EXPECT_EQ(a.Body(), r.vecExpected);
    }
}

// The pool follows the code at a 16-byte boundary; each reference to it is relative to the end of
// its own instruction (after cmpsd's immediate byte), and equal constants share one entry.
TEST(MTX64Assembler, LinksTheFrameAndTheConstantPool)
{
    X64Assembler a;
    const int nOne = a.Pool(0x3FF0000000000000ull);
    const int nSign = a.Pool(0x8000000000000000ull);
    EXPECT_EQ(a.Pool(0x3FF0000000000000ull), nOne);
    a.Andpd(1, {eX64Pool, nOne});                      // 8 bytes: 66 0F 54 0D d32
    a.Cmpsd(9, {eX64Pool, nSign}, eX64Less);           // 10 bytes: F2 44 0F C2 0D d32 01
    const Bytes vecCode = a.Link(24);
    const Bytes vecExpected = {
        0x48, 0x81, 0xEC, 0x18, 0x00, 0x00, 0x00,       // sub rsp, 24
        0x66, 0x0F, 0x54, 0x0D, 0x21, 0x00, 0x00, 0x00, // andpd xmm1, [rip+33]: offset 15 + 33 = 48
        0xF2, 0x44, 0x0F, 0xC2, 0x0D, 0x27, 0x00, 0x00, 0x00, 0x01, // cmpsd xmm9, [rip+39], lt: 25 + 39 = 64
        0x48, 0x81, 0xC4, 0x18, 0x00, 0x00, 0x00,       // add rsp, 24
        0xC3,                                           // ret, at offset 32
        0xCC, 0xCC, 0xCC, 0xCC, 0xCC, 0xCC, 0xCC, 0xCC, 0xCC, 0xCC, 0xCC, 0xCC, 0xCC, 0xCC, 0xCC, // to 48
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0x3F, 0, 0, 0, 0, 0, 0, 0, 0,
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x80, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(vecCode, vecExpected);
    // Without a frame: the body starts the function.
    X64Assembler b;
    b.Movsd(0, {eX64Pool, b.Pool(1)});
    const Bytes vecBare = b.Link(0);
    ASSERT_EQ(vecBare.size(), 32u);
    EXPECT_EQ(Bytes(vecBare.begin(), vecBare.begin() + 9), (Bytes{0xF2, 0x0F, 0x10, 0x05, 0x08, 0, 0, 0, 0xC3}));
    EXPECT_EQ(vecBare[16], 1);
}
