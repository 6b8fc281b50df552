#include "qel/expression/MTParser/MTFunctionI.h"
#include "qel/expression/MTParser/MTOperatorI.h"
#include "qel/expression/MTParser/MTParserCompiler.h"
#include "qel/expression/MTParser/MTParserProgram.h"
#include "qel/expression/MTParser/MTParserRegistrar.h"
#include "qel/expression/MTParser/MemVariableEvaluator.h"
#include "qel/expression/MTParser/MemVariableFactory.h"
#include "qel/platform/QelRandom.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <random>

namespace
{
/// A host-defined function: twice the sum of its arguments, optionally not constant.
class TwiceSumFct : public MTFunctionI
{
public:
    TwiceSumFct(const char* pName, int nArgs, bool bConstant = true) : m_pName(pName), m_nArgs(nArgs), m_bConst(bConstant) {}
    std::string GetSyntax() const override { return "twice(...)"; }
    std::string GetDescription() const override { return "Twice the sum"; }
    bool IsConstant() const override { return m_bConst; }
    double Evaluate(const double* pArgs) override { return EvaluateSet(static_cast<unsigned>(m_nArgs), pArgs); }
    double EvaluateSet(unsigned int nArgs, const double* pArgs) override
    {
        ++m_nCalls;
        double f = 0;
        for (unsigned int i = 0; i < nArgs; ++i)
            f += pArgs[i];
        return 2 * f;
    }
    std::string GetSymbol() const override { return m_pName; }
    int GetNbArgs() const override { return m_nArgs; }
    MTFunctionI* Clone() const override { return new TwiceSumFct(m_pName, m_nArgs, m_bConst); }

    int m_nCalls = 0;

private:
    const char* m_pName;
    int m_nArgs;
    bool m_bConst;
};

/// A host-defined operator: "@" gives the larger operand.
class TestOp : public MTOperatorI
{
public:
    TestOp(const char* pSymbol, unsigned int nPrecedence, bool bUnary = false)
        : m_pSymbol(pSymbol), m_nPrecedence(nPrecedence), m_bUnary(bUnary)
    {
    }
    std::string GetSyntax() const override { return "x @ y"; }
    std::string GetDescription() const override { return "Larger"; }
    bool IsConstant() const override { return true; }
    double Evaluate(const double* p) override { return m_bUnary ? p[0] * 100 : (p[0] > p[1] ? p[0] : p[1]); }
    unsigned int GetPrecedence() const override { return m_nPrecedence; }
    std::string GetSymbol() const override { return m_pSymbol; }
    bool IsUnaryOp() const override { return m_bUnary; }
    MTOperatorI* Clone() const override { return new TestOp(m_pSymbol, m_nPrecedence, m_bUnary); }

private:
    const char* m_pSymbol;
    unsigned int m_nPrecedence;
    bool m_bUnary;
};

/// A variable that computes its value, read through a call at each evaluation.
class CountingVar : public MTVariableI
{
public:
    std::string GetSymbol() const override { return "counter"; }
    double Evaluate() override { return ++m_fCount; }
    double m_fCount = 0;
};
} // namespace

TEST(MTParserRegistrar, DefinitionErrorsAreReturnedAsText)
{
    MTParserRegistrar r;
    r.DefineDefaults();
    EXPECT_EQ(r.DefineFunc(new TwiceSumFct("+", 1)), "Function name '+' conflicts with the operator '+'.");
    EXPECT_EQ(r.DefineFunc(new TwiceSumFct("a>=b", 1)), "Function name 'a>=b' conflicts with the operator '>'.");
    EXPECT_EQ(r.DefineFunc(new TwiceSumFct("", 1)), "Function name cannot be null");
    EXPECT_EQ(r.DefineFunc(new TwiceSumFct("sin", 1)), "Function already defined: sin");
    EXPECT_EQ(r.DefineFunc(new TwiceSumFct("sin", 2)), ""); // another argument count is an overload
    EXPECT_EQ(r.DefineFunc(nullptr), "Unknow error");
    EXPECT_EQ(r.DefineOp(new TestOp("+", 1)), "Operator already defined: +");
    EXPECT_EQ(r.DefineOp(new TestOp("", 1)), "Operator name cannot be null");
    EXPECT_EQ(r.DefineOp(new TestOp("@,", 1)), "Operator name '@,' conflicts with the syntax element character: ','.");
    EXPECT_EQ(r.DefineOp(new TestOp("@", 5000)), "Operator: @; invalid precedence.");
    EXPECT_EQ(r.DefineOp(new TestOp("@", 1)), "");
    EXPECT_EQ(r.DefineConst("pi", 3), "Constant already defined: pi");
    EXPECT_EQ(r.DefineConst("", 3), "Constant name cannot be null");
    EXPECT_EQ(r.DefineConst("2x", 3), "Invalid constant name: 2x");
    EXPECT_EQ(r.DefineVar(new MTParser::MemVariableEvaluator("x")), "");
    EXPECT_EQ(r.DefineConst("x", 3), "Constant name 'x' conflicts with the variable of the same name.");
    EXPECT_EQ(r.DefineVar(new MTParser::MemVariableEvaluator("x")), "Variable already defined: x");
    EXPECT_EQ(r.DefineVar(new MTParser::MemVariableEvaluator("")), "Variable name cannot be null");
    EXPECT_EQ(r.DefineVar(new MTParser::MemVariableEvaluator("123")),
              "Invalid variable name: 123. Cannot be composed only of numbers");
    EXPECT_EQ(r.DefineVar(new MTParser::MemVariableEvaluator("e")),
              "Variable name 'e' conflicts with the constant of the same name.");
    EXPECT_EQ(r.DefineVar(new MTParser::MemVariableEvaluator("a]")),
              "Variable name 'a]' contains the variable delimiter character: ']'.");
    EXPECT_EQ(r.UndefineVar("nope"), "Variable not found: nope");
    EXPECT_EQ(r.UndefineVar("x"), "");

    MTSyntax s;
    s.m_cDecimalPoint = ',';
    EXPECT_EQ(r.SetSyntax(s), "The argument separator character and the decinal point character are the same");
    s = MTSyntax();
    s.m_cVariableEnd = ',';
    EXPECT_EQ(r.SetSyntax(s),
              "The argument separator character and one of the variable name delimiter characters are the same");
    s = MTSyntax();
    s.m_cVariableBegin = '.';
    EXPECT_EQ(r.SetSyntax(s), "The decimal point character and one of the variable name delimiter characters are the same");
}

TEST(MTParserCompiler, FoldsConstantsAndKeepsTheRest)
{
    const MTParserRegistrar& r = MTParserRegistrar::GetDefault();
    MTParser::MemVariableFactory f;
    MTParserCompiler c(r, &f);
    MTParserProgram p;
    EXPECT_EQ(p.Evaluate(), 0.0);
    ASSERT_EQ(c.Compile("sin(pi / 2) * 2 + max(1, 2, 3, 4) - avg(2, 4) + -(3)", p), "");
    EXPECT_TRUE(p.IsConstant());
    EXPECT_EQ(p.Evaluate(), 2.0 + 4 - 3 - 3);
    ASSERT_EQ(c.Compile("rand() + 1 * 2", p), "");
    EXPECT_FALSE(p.IsConstant());
    EXPECT_EQ(p.GetNbInstructions(), 2u); // rand, then + with the folded 2
    ASSERT_EQ(c.Compile("rand(1, 1)", p), "");
    EXPECT_FALSE(p.IsConstant());
    ASSERT_EQ(c.Compile("x * 2 + (3 * 4) - x", p), "");
    EXPECT_EQ(p.GetNbInstructions(), 2u); // x*2+12 fused, then - x
    ASSERT_EQ(p.GetVariables().size(), 1u);
    f.Get("x")->SetValue(5);
    EXPECT_EQ(p.Evaluate(), 17.0);
    ASSERT_EQ(c.Compile("x", p), "");
    EXPECT_EQ(p.GetNbInstructions(), 0u);
    EXPECT_FALSE(p.IsConstant());
    EXPECT_EQ(p.Evaluate(), 5.0);
    EXPECT_NE(c.Compile("x +", p), "");
    EXPECT_FALSE(p.IsCompiled());
    EXPECT_EQ(p.Evaluate(), 0.0);

    // Without a factory, unknown names are errors.
    MTParserCompiler cStrict(r);
    EXPECT_EQ(cStrict.Compile("y + 1", p), "Undefined variable: y");
    EXPECT_EQ(cStrict.Compile("", p), "Unknown error");
}

TEST(MTParserCompiler, HostDefinitionsTakePart)
{
    MTParserRegistrar r;
    r.DefineDefaults();
    TwiceSumFct* pTwice = new TwiceSumFct("twice", -1);
    ASSERT_EQ(r.DefineFunc(pTwice), "");
    TwiceSumFct* pVolatile = new TwiceSumFct("vol", 1, false);
    ASSERT_EQ(r.DefineFunc(pVolatile), "");
    ASSERT_EQ(r.DefineOp(new TestOp("@", 2)), "");
    ASSERT_EQ(r.DefineOp(new TestOp("#", 4, true)), "");
    ASSERT_EQ(r.DefineVar(new CountingVar), "");
    ASSERT_EQ(r.DefineVar(new MTParser::MemVariableEvaluator("m", 4)), "");
    MTParserCompiler c(r);
    MTParserProgram p;
    ASSERT_EQ(c.Compile("twice(1, 2, 3, 4, 5) + (2 @ 7) + #1", p), "");
    EXPECT_TRUE(p.IsConstant());
    EXPECT_EQ(p.Evaluate(), 30.0 + 7 + 100);
    ASSERT_EQ(c.Compile("twice(m, 1, counter, m, m) @ 0", p), "");
    EXPECT_EQ(p.Evaluate(), 2 * (4 + 1 + 1 + 4 + 4));
    EXPECT_EQ(p.Evaluate(), 2 * (4 + 1 + 2 + 4 + 4));
    pVolatile->m_nCalls = 0;
    ASSERT_EQ(c.Compile("vol(1)", p), "");
    EXPECT_EQ(pVolatile->m_nCalls, 0); // not folded
    EXPECT_EQ(p.Evaluate(), 2.0);
    EXPECT_EQ(pVolatile->m_nCalls, 1);

    // Other syntax characters.
    MTSyntax s;
    s.m_cArgumentSeparator = ';';
    s.m_cDecimalPoint = ',';
    s.m_cVariableBegin = '{';
    s.m_cVariableEnd = '}';
    ASSERT_EQ(r.SetSyntax(s), "");
    ASSERT_EQ(c.Compile("max(1,5; 2) + {m}", p), "");
    EXPECT_EQ(p.Evaluate(), 6.0);
}

TEST(MTParserCompiler, TreeAndFlatFormsAgree)
{
    // Shallow expressions run as a tree of nodes, deep ones as the flat list; wrapping an expression
    // in many exact multiplications by one forces the flat form without changing any value.
    const char* const texts[] = {
        "a*b + c", "(a+b)*(c-a)/(b+1)", "sin(a)*cos(b) + sqrt(c)", "a^2 + b^2 + c^2", "c + a^2",
        "min(a, b) + max(b, c) + abs(a - c)", "exp(0-a) * 3.5 + 2.0*pi", "(a > b) * c + (a <= b) * (c + 1)",
        "sqrt(a*a + b*b + c*c) / (1 + exp(0 - c))", "-a % b ^ 2 != !c & a | b >= c == (a < b)",
        "min(a, b, c) + max(a, b, c) + min(a, b, c, 1) + avg(a, b, c) + sum(a, 2, b)",
        "norm(a, b, c) + norm_clamp(a, b, c) + clamp(a, b, c) + interp(a, b, c) + if_else(a - b, b, c)",
        "asin(a / 10) + acos(b / 10) + atan(c) + sinh(a) + cosh(b) + tanh(c) + tan(a)",
        "ln(b) + log(c) + sigmoid(a) + ceil(b) + floor(c) + fact(a) + radtodeg(b) + degtorad(c)",
        "a * b * c + a", "a + a * b", "(a*b) + (c*a)", "1 / (a - a)", "sin(a) * b + sqrt(c)",
        "sqrt(c) + a ^ 2", "a ^ 2 + sqrt(c)", "(a + b) + c * a", "rand() + a * b", "rand(a, b) * rand() + (rand() + rand() * a)",
        "sin(a - b) + cos(a * c) + tan(b / c) + sqrt(a + 10) + exp(0 - c) + ln(b * b) + abs(a - c)",
        "-(a - b) * sigmoid(c / 2) + rand() * (a * b) + sqrt(c * c + 1)", "a * b + (c * c + rand())"};
    const double values[][3] = {{1.5, -2.25, 3.0}, {0.0, 0.0, 0.0}, {-7.0, 3.5, 0.125}, {4.0, 4.0, -1.0}};
    std::string strWrap;
    for (unsigned int i = 0; i < MTParserProgram::kMaxTreeDepth + 5; ++i)
        strWrap += "1 * (";
    MTParser::MemVariableFactory f;
    MTParserCompiler c(MTParserRegistrar::GetDefault(), &f);
    for (const char* pText : texts)
    {
        MTParserProgram cTree, cFlat;
        ASSERT_EQ(c.Compile(pText, cTree), "") << pText;
        ASSERT_EQ(c.Compile(strWrap + pText + std::string(MTParserProgram::kMaxTreeDepth + 5, ')'), cFlat), "");
        EXPECT_NE(cTree.GetRoot(), nullptr) << pText;
        EXPECT_EQ(cFlat.GetRoot(), nullptr) << pText;
        for (const auto& v : values)
        {
            f.Get("a")->SetValue(v[0]);
            f.Get("b")->SetValue(v[1]);
            f.Get("c")->SetValue(v[2]);
            QelSRand(5);
            const double fTree = cTree.EvaluateInterpreted();
            QelSRand(5);
            const double fFlat = cFlat.EvaluateInterpreted();
            if (std::isnan(fTree))
                EXPECT_TRUE(std::isnan(fFlat)) << pText;
            else
                EXPECT_EQ(fTree, fFlat) << pText << " a=" << v[0];
        }
    }
}

namespace
{
// Random expressions over every operator and function, for comparing the native code with the
// interpreter.
std::string RandomExpression(std::mt19937& g, int nDepth)
{
    static const char* const leaves[] = {"a", "b", "c", "[a]", "0", "1", "2", "0.5", "3.25", "1e300", "pi", "-0"};
    static const char* const ops[] = {"+", "-", "*", "/", "^", "%", ">", "<", ">=", "<=", "!=", "==", "&", "|"};
    static const struct
    {
        const char* pName;
        int nArgs;
    } functions[] = {{"sin", 1}, {"asin", 1}, {"sinh", 1}, {"cos", 1}, {"acos", 1}, {"cosh", 1}, {"tan", 1},
                     {"tanh", 1}, {"atan", 1}, {"sqrt", 1}, {"abs", 1}, {"ln", 1}, {"log", 1}, {"exp", 1},
                     {"sigmoid", 1}, {"ceil", 1}, {"floor", 1}, {"fact", 1}, {"radtodeg", 1}, {"degtorad", 1},
                     {"rand", 0}, {"rand", 2}, {"min", 2}, {"max", 2}, {"min", 3}, {"max", 4}, {"norm", 3},
                     {"norm_clamp", 3}, {"clamp", 3}, {"interp", 3}, {"if_else", 3}, {"avg", 3}, {"sum", 4}};
    const unsigned int nPick = g() % 10;
    if (nDepth == 0 || nPick < 2)
        return leaves[g() % (sizeof leaves / sizeof *leaves)];
    if (nPick < 6)
        return "(" + RandomExpression(g, nDepth - 1) + ops[g() % (sizeof ops / sizeof *ops)] +
               RandomExpression(g, nDepth - 1) + ")";
    if (nPick == 6)
        return (g() % 2 ? "-" : "!") + RandomExpression(g, nDepth - 1);
    const auto& f = functions[g() % (sizeof functions / sizeof *functions)];
    std::string strText = std::string(f.pName) + "(";
    for (int i = 0; i < f.nArgs; ++i)
        strText += (i ? ", " : "") + RandomExpression(g, nDepth - 1);
    return strText + ")";
}

bool SameValue(double x, double y)
{
    return (std::isnan(x) && std::isnan(y)) || std::memcmp(&x, &y, sizeof x) == 0;
}
} // namespace

TEST(MTParserCompiler, NativeCodeComputesWhatTheInterpreterComputes)
{
    if (!MTParserProgram::IsNativeCodeSupported())
        GTEST_SKIP() << "no native code on this platform";
    MTParser::MemVariableFactory f;
    MTParserCompiler c(MTParserRegistrar::GetDefault(), &f);
    std::vector<std::string> vecTexts;
    std::mt19937 g(20261121);
    for (int i = 0; i < 3000; ++i)
        vecTexts.push_back(RandomExpression(g, 1 + i % 7));
    // More live values than registers, with and without calls in between; and a program too long to translate.
    std::string strWide = "a", strCalls = "b", strLong = "a";
    for (int i = 0; i < 40; ++i)
    {
        strWide = "a*" + std::to_string(i + 2) + " - (b + (" + strWide + "))";
        strCalls = "exp(a/" + std::to_string(i + 2) + ") + (c * (" + strCalls + "))";
    }
    for (int i = 0; i < 1200; ++i)
        strLong += "+a*b";
    // Three hundred values live at once need more stack than the code may take: interpreted too.
    std::string strDeep = "a";
    for (int i = 0; i < 300; ++i)
        strDeep = "sin(b) * (" + strDeep + ")";
    vecTexts.insert(vecTexts.end(), {strWide, strCalls, strDeep, strLong});

    const double values[] = {1.5, -2.25, 0.0, -0.0, 3.0, 0.5, 1e308, -INFINITY, NAN, 170.5};
    std::vector<std::unique_ptr<MTParserProgram>> vecPrograms; // all alive at once: code in several chunks
    size_t nNative = 0;
    for (const std::string& strText : vecTexts)
    {
        vecPrograms.emplace_back(new MTParserProgram);
        MTParserProgram& p = *vecPrograms.back();
        ASSERT_EQ(c.Compile(strText, p), "") << strText;
        if (p.GetNbInstructions() == 0) // a constant or a lone variable: nothing to run
            continue;
        EXPECT_EQ(p.HasNativeCode(), &strText < &vecTexts.back() - 1) << strText.substr(0, 80);
        nNative += p.HasNativeCode();
        for (int k = 0; k < 6; ++k)
        {
            f.Get("a")->SetValue(values[(k * 3 + strText.size()) % 10]);
            f.Get("b")->SetValue(values[(k * 7 + 1) % 10]);
            f.Get("c")->SetValue(values[(k + strText.size() / 3) % 10]);
            QelSRand(9);
            const double fNative = p.Evaluate();
            QelSRand(9);
            const double fInterpreted = p.EvaluateInterpreted();
            ASSERT_TRUE(SameValue(fNative, fInterpreted)) << strText << " = " << fNative << " vs " << fInterpreted;
        }
    }
    EXPECT_GT(nNative, 1500u);
    // Code blocks go back to the pool and are handed out again.
    vecPrograms.clear();
    MTParserProgram p;
    ASSERT_EQ(c.Compile("a * b + c", p), "");
    f.Get("a")->SetValue(2);
    f.Get("b")->SetValue(3);
    f.Get("c")->SetValue(4);
    EXPECT_TRUE(p.HasNativeCode());
    EXPECT_EQ(p.Evaluate(), 10.0);
    p.Clear();
    EXPECT_FALSE(p.HasNativeCode());
    EXPECT_EQ(p.Evaluate(), 0.0);
}
