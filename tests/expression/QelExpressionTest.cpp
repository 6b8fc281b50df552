#include "qel/expression/QelExpression.h"
#include "qel/platform/QelRandom.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{
double Eval(const std::string& strText)
{
    QelExpression e;
    const std::string strError = e.SetExpression(strText);
    EXPECT_EQ(strError, "") << strText;
    return e.Evaluate();
}

std::string Error(const std::string& strText)
{
    QelExpression e;
    return e.SetExpression(strText);
}

const double kInf = std::numeric_limits<double>::infinity();
} // namespace

TEST(QelExpression, PrecedencesKeepTheirOddities)
{
    EXPECT_EQ(Eval("1 + 2 * 3"), 7.0);
    EXPECT_EQ(Eval("(1 + 2) * 3"), 9.0);
    EXPECT_EQ(Eval("10 - 4 - 3"), 3.0);  // left to right
    EXPECT_EQ(Eval("2 ^ 3 ^ 2"), 64.0);  // left to right as well
    EXPECT_EQ(Eval("-2 ^ 2"), 4.0);      // unary minus binds tighter than ^
    EXPECT_EQ(Eval("2 ^ -1"), 0.5);
    EXPECT_EQ(Eval("!0 * 5"), 5.0);      // ! binds like *: (!0)*5
    EXPECT_EQ(Eval("!0 + 1"), 2.0);
    EXPECT_EQ(Eval("!2 ^ 2"), 0.0);      // ^ binds tighter than !
    EXPECT_EQ(Eval("1 + 1 > 1"), 1.0);   // comparisons bind loosest...
    EXPECT_EQ(Eval("1 < 2 & 0"), 0.0);   // ...and like & and |, left to right: (1<2)&0
    EXPECT_EQ(Eval("0 & 1 < 2"), 1.0);   // (0&1)<2
    EXPECT_EQ(Eval("1 | 0 == 0"), 0.0);  // (1|0)==0
    EXPECT_EQ(Eval("--3"), 3.0);
    EXPECT_EQ(Eval("2 * -3"), -6.0);
    EXPECT_EQ(Eval("7 % 3 * 2"), 2.0);
}

TEST(QelExpression, OperatorsFollowTheirRules)
{
    EXPECT_EQ(Eval("-7 % 3"), -1.0); // the sign follows the dividend
    EXPECT_EQ(Eval("7 % -3"), 1.0);
    EXPECT_EQ(Eval("5.5 % 2"), 1.5);
    EXPECT_EQ(Eval("2 & 3"), 1.0);
    EXPECT_EQ(Eval("2 & 0"), 0.0);
    EXPECT_EQ(Eval("0 | 0"), 0.0);
    EXPECT_EQ(Eval("0 | -1"), 1.0);
    EXPECT_EQ(Eval("!0"), 1.0);
    EXPECT_EQ(Eval("!3"), 0.0);
    EXPECT_EQ(Eval("!(-0.5)"), 0.0);
    EXPECT_EQ(Eval("2 > 1") + Eval("1 > 2") * 10, 1.0);
    EXPECT_EQ(Eval("1 >= 1") + Eval("1 <= 0") * 10 + Eval("1 < 2") * 100, 101.0);
    EXPECT_EQ(Eval("1 != 1") + Eval("1 == 1") * 10, 10.0);
    EXPECT_EQ(Eval("0.1 + 0.2"), 0.1 + 0.2);
    // IEEE results, never a trap.
    EXPECT_EQ(Eval("1 / 0"), kInf);
    EXPECT_EQ(Eval("-1 / 0"), -kInf);
    EXPECT_TRUE(std::isnan(Eval("0 / 0")));
    EXPECT_TRUE(std::isnan(Eval("1 % 0")));
    EXPECT_EQ(Eval("0 ^ 0"), 1.0);
    EXPECT_EQ(Eval("1e400"), kInf);
    EXPECT_EQ(Eval("1e-400"), 0.0);
    EXPECT_EQ(Eval("2.5e3 + .5 + 1E+1"), 2510.5);
}

TEST(QelExpression, FunctionsOnOrdinaryAndBoundaryArguments)
{
    EXPECT_DOUBLE_EQ(Eval("sin(pi/2)"), 1.0);
    EXPECT_DOUBLE_EQ(Eval("asin(1)"), std::asin(1.0));
    EXPECT_DOUBLE_EQ(Eval("sinh(1)"), std::sinh(1.0));
    EXPECT_DOUBLE_EQ(Eval("cos(0)"), 1.0);
    EXPECT_DOUBLE_EQ(Eval("acos(0.5)"), std::acos(0.5));
    EXPECT_DOUBLE_EQ(Eval("cosh(1)"), std::cosh(1.0));
    EXPECT_DOUBLE_EQ(Eval("tan(1)"), std::tan(1.0));
    EXPECT_DOUBLE_EQ(Eval("tanh(1)"), std::tanh(1.0));
    EXPECT_DOUBLE_EQ(Eval("atan(1)"), std::atan(1.0));
    EXPECT_TRUE(std::isnan(Eval("asin(2)")));
    EXPECT_EQ(Eval("sqrt(16)"), 4.0);
    EXPECT_TRUE(std::isnan(Eval("sqrt(-1)")));
    EXPECT_EQ(Eval("abs(-3)"), 3.0);
    EXPECT_EQ(Eval("ln(e)"), 1.0);
    EXPECT_EQ(Eval("ln(0)"), -kInf);
    EXPECT_EQ(Eval("log(1000)"), 3.0);
    EXPECT_DOUBLE_EQ(Eval("exp(1)"), std::exp(1.0));
    EXPECT_EQ(Eval("exp(1000)"), kInf);
    EXPECT_EQ(Eval("sigmoid(0)"), 0.5);
    EXPECT_EQ(Eval("sigmoid(-1000)"), 0.0);
    EXPECT_EQ(Eval("ceil(1.2)") + Eval("ceil(-1.2)") * 10, -8.0);
    EXPECT_EQ(Eval("floor(1.8)") + Eval("floor(-1.2)") * 10, -19.0);
    EXPECT_EQ(Eval("fact(0)"), 1.0);
    EXPECT_EQ(Eval("fact(5)"), 120.0);
    EXPECT_NEAR(Eval("fact(170)") / std::tgamma(171.0), 1.0, 1e-12);
    EXPECT_EQ(Eval("fact(171)"), kInf);
    EXPECT_EQ(Eval("fact(1e300)"), kInf);
    EXPECT_TRUE(std::isnan(Eval("fact(-1)")));
    EXPECT_DOUBLE_EQ(Eval("fact(0.5)"), std::sqrt(std::acos(-1.0)) / 2); // the gamma function in between
    EXPECT_EQ(Eval("norm(5, 0, 10)"), 0.5);
    EXPECT_EQ(Eval("norm(15, 0, 10)"), 1.5);
    EXPECT_EQ(Eval("norm(3, 2, 2)"), 0.0); // empty range
    EXPECT_EQ(Eval("norm_clamp(15, 0, 10)"), 1.0);
    EXPECT_EQ(Eval("norm_clamp(-5, 0, 10)"), 0.0);
    EXPECT_EQ(Eval("norm_clamp(2.5, 0, 10)"), 0.25);
    EXPECT_EQ(Eval("clamp(5, 0, 3)"), 3.0);
    EXPECT_EQ(Eval("clamp(-5, 0, 3)"), 0.0);
    EXPECT_EQ(Eval("clamp(5, 10, 0)"), 10.0); // inverted range: the minimum wins
    EXPECT_EQ(Eval("interp(0.25, 10, 20)"), 12.5);
    EXPECT_EQ(Eval("if_else(1, 2, 3)"), 2.0);
    EXPECT_EQ(Eval("if_else(0, 2, 3)"), 3.0);
    EXPECT_EQ(Eval("radtodeg(1)"), 57.295776);
    EXPECT_EQ(Eval("degtorad(180)"), 180 * 0.017453292);
    EXPECT_EQ(Eval("pi"), 3.141592653589793);
    EXPECT_EQ(Eval("PI"), 3.141592653589793);
    EXPECT_EQ(Eval("e"), 2.718281828459045);
}

TEST(QelExpression, OverloadsAreChosenByArgumentCount)
{
    EXPECT_EQ(Eval("min(3, 1)"), 1.0);
    EXPECT_EQ(Eval("min(3, 1, 2)"), 1.0);
    EXPECT_EQ(Eval("min(3, 1, 2, -4, 5)"), -4.0);
    EXPECT_EQ(Eval("min(7)"), 7.0);
    EXPECT_EQ(Eval("max(3, 1)"), 3.0);
    EXPECT_EQ(Eval("max(3, 1, 9)"), 9.0);
    EXPECT_EQ(Eval("max(3, 1, 2, 14, 5)"), 14.0);
    EXPECT_EQ(Eval("sum(1, 2, 3, 4)"), 10.0);
    EXPECT_EQ(Eval("avg(1, 2, 3, 4)"), 2.5);
    EXPECT_EQ(Eval("avg(4)"), 4.0);
    EXPECT_EQ(Error("sin(1, 2)"), "Function :sin.  No overloaded function takes 2 arguments 'sin' at position 0");
    EXPECT_EQ(Error("1+rand(1)"), "Function :rand.  No overloaded function takes 1 arguments 'rand' at position 2");
    EXPECT_EQ(Error("sum()"), "Function :sum.  No overloaded function takes 0 arguments 'sum' at position 0");

    // The set forms with variables, partly folded, in every mix of temporaries.
    QelExpression x;
    ASSERT_EQ(x.SetExpression("min(a*2, 5, b+1, a-b) + max(1, 2, a, b*b) * 10 + avg(a, 1, b, a*b) * 100"), "");
    x.SetVar("a", 3);
    x.SetVar("b", 4);
    EXPECT_DOUBLE_EQ(x.Evaluate(), -1 + 16 * 10 + 5 * 100);
    ASSERT_EQ(x.SetExpression("sum(a*b, a*b, sum(a, b*a), 1) + sum(1, 2)"), "");
    EXPECT_DOUBLE_EQ(x.Evaluate(), 12 + 12 + 15 + 1 + 3);
}

TEST(QelExpression, RandomValuesComeFromThePlatformGenerator)
{
    QelExpression e;
    ASSERT_EQ(e.SetExpression("rand()"), "");
    QelSRand(7);
    const double f = e.Evaluate();
    QelSRand(7);
    EXPECT_EQ(f, QelRand() / 32767.0);
    EXPECT_NE(e.Evaluate(), e.Evaluate() + 1.0); // evaluated each time, not folded
    ASSERT_EQ(e.SetExpression("rand(10, 20)"), "");
    for (int i = 0; i < 100; ++i)
    {
        const double v = e.Evaluate();
        ASSERT_GE(v, 10.0);
        ASSERT_LE(v, 20.0);
    }
}

TEST(QelExpression, ParsingErrorsNameTheItemAndItsPosition)
{
    EXPECT_EQ(Error("2 +"), "Invalid operator syntax: +");
    EXPECT_EQ(Error("min(2 *, 1)"), "Invalid operator syntax: *");
    EXPECT_EQ(Error("a ] b"), "Unexpected end variable name character ']' at position 2");
    EXPECT_EQ(Error("[a[b]"), "Unexpected begin variable name character '[' at position 2");
    EXPECT_EQ(Error("1 + [abc"), "Unexpected begin variable name character '[' at position 4");
    EXPECT_EQ(Error("[]"), "Unexpected end variable name character ']' at position 1");
    EXPECT_EQ(Error("* 3"), "Unexpected operator '*' at position 0");
    EXPECT_EQ(Error("3 ! 2"), "Unexpected operator '!' at position 2");
    EXPECT_EQ(Error("(1 + 2))"), "Missing opening bracket to match closing bracket ')' at position 7");
    EXPECT_EQ(Error("1 , 2"), "Invalid use of an argument separator outside a function ',' at position 2");
    EXPECT_EQ(Error("(1, 2)"), "Invalid use of an argument separator outside a function ',' at position 2");
    EXPECT_EQ(Error("sin((1)"), "Missing closing bracket to match opening bracket '(' at position 3");
    EXPECT_EQ(Error("sin"), "Invalid syntax near position 0. Use: sin(x)");
    EXPECT_EQ(Error("2 * min + 1"), "Invalid syntax near position 4. Use: min(x,y)");
    EXPECT_EQ(Error("2 3"), "Missing operator before : 3");
    EXPECT_EQ(Error("a (1)"), "Undefined function: a");
    EXPECT_EQ(Error("(1) sin(2)"), "Missing operator before : sin");
    EXPECT_EQ(Error("(1)(2)"), "Missing operator before : (");
    EXPECT_EQ(Error("foo(1)"), "Undefined function: foo");
    EXPECT_EQ(Error("min(1,,2)"), "Invalid use of an argument separator at position: 6");
    EXPECT_EQ(Error("min(,2)"), "Invalid use of an argument separator at position: 4");
    EXPECT_EQ(Error("min(1,)"), "Invalid use of an argument separator at position: 5");
    EXPECT_EQ(Error("()"), "Unknown error");
    EXPECT_EQ(Error("(("), "Missing closing bracket to match opening bracket '(' at position 1");

    // A failed text leaves no expression and is logged.
    QelCapture cap;
    QelExpression e;
    ASSERT_EQ(e.SetExpression("a + 1"), "");
    EXPECT_NE(e.SetExpression("a +"), "");
    EXPECT_FALSE(e.HasExpression());
    EXPECT_EQ(e.Evaluate(), 0.0);
    std::string strText = "x";
    e.GetExpression(strText);
    EXPECT_EQ(strText, "");
    EXPECT_EQ(cap.Warnings(), 1u);
    EXPECT_NE(cap.Joined().find("Invalid operator syntax: +"), std::string::npos);
}

TEST(QelExpression, HostileTextGivesAnErrorOrAResult)
{
    EXPECT_EQ(Error(std::string("1 +\0 2", 6)), "Missing operator before : 2");
    EXPECT_EQ(Eval(std::string(100000, '(') + "1" + std::string(100000, ')')), 1.0);
    EXPECT_EQ(Error(std::string(100000, '(')), "Missing closing bracket to match opening bracket '(' at position 99999");
    EXPECT_EQ(Error(std::string(100000, ')')), "Missing opening bracket to match closing bracket ')' at position 0");
    EXPECT_EQ(Eval(std::string(100000, '-') + "1"), 1.0);
    std::string strDeep;
    for (int i = 0; i < 50000; ++i)
        strDeep += "sin(";
    strDeep += "x" + std::string(50000, ')');
    QelExpression d;
    ASSERT_EQ(d.SetExpression(strDeep), "");
    d.SetVar("x", 0.5);
    EXPECT_GT(d.Evaluate(), 0.0);

    // Ten megabytes: folded constants, then a long chain over a variable.
    std::string strBig;
    strBig.reserve(10 << 20);
    double fTerms = 1.0;
    for (; strBig.size() < (10u << 20); fTerms += 1.0)
        strBig += "1.0 + ";
    strBig += "1";
    EXPECT_EQ(Eval(strBig), fTerms);
    std::string strVars;
    double fExpected = 1.0;
    for (; strVars.size() < (1u << 20); fExpected += 2.0)
        strVars += "a*2+";
    strVars += "a";
    QelExpression v;
    ASSERT_EQ(v.SetExpression(strVars), "");
    v.SetVar("a", 1.0);
    EXPECT_EQ(v.Evaluate(), fExpected);
}

TEST(QelExpression, ConstantsAreFoldedButRandIsNot)
{
    // Folding is observable through the variables an expression reads and its results.
    QelExpression e;
    ASSERT_EQ(e.SetExpression("2 * pi * 3 + sqrt(16) - fact(3)"), "");
    EXPECT_DOUBLE_EQ(e.Evaluate(), 2 * 3.141592653589793 * 3 + 4 - 6);
    ASSERT_EQ(e.SetExpression("rand() * 0"), "");
    QelSRand(3);
    e.Evaluate();
    const int nAfterOne = QelRand();
    QelSRand(3);
    QelRand();
    EXPECT_EQ(QelRand(), nAfterOne); // the expression drew one number per evaluation
}

TEST(QelExpression, VariablesBelongToTheExpression)
{
    QelExpression e;
    EXPECT_EQ(e.Evaluate(), 0.0); // never set
    EXPECT_EQ(e.FindVar("a"), nullptr);
    ASSERT_EQ(e.SetExpression("a * b + [my var] - [2]"), "");
    EXPECT_TRUE(e.HasExpression());
    double* pA = e.FindVar("a");
    ASSERT_NE(pA, nullptr);
    EXPECT_NE(e.FindVar("my var"), nullptr);
    EXPECT_NE(e.FindVar("2"), nullptr);
    EXPECT_EQ(e.FindVar("c"), nullptr);
    EXPECT_EQ(e.FindVar("A"), nullptr); // case-sensitive
    e.SetVar("a", 2);
    e.SetVar("b", 5);
    e.SetVar("my var", 1);
    e.SetVar("2", 3);
    EXPECT_EQ(e.Evaluate(), 8.0);
    *pA = 3; // the storage is read directly
    EXPECT_EQ(e.Evaluate(), 13.0);
    // Setting a new text keeps the storage of existing variables.
    ASSERT_EQ(e.SetExpression("a + 1"), "");
    EXPECT_EQ(e.FindVar("a"), pA);
    EXPECT_EQ(e.Evaluate(), 4.0);
    std::string strText;
    e.GetExpression(strText);
    EXPECT_EQ(strText, "a + 1");
    e.Clear();
    EXPECT_FALSE(e.HasExpression());
    EXPECT_EQ(e.Evaluate(), 0.0);
    EXPECT_EQ(e.SetExpression(" \t\n"), ""); // blank removes the expression
    EXPECT_FALSE(e.HasExpression());

    // Copies compile their own program and keep the host's values.
    ASSERT_EQ(e.SetExpression("a * 10"), "");
    QelExpression c(e);
    EXPECT_EQ(c.Evaluate(), 30.0);
    e.SetVar("a", 1);
    EXPECT_EQ(c.Evaluate(), 30.0);
    QelExpression d;
    d = e;
    EXPECT_EQ(d.Evaluate(), 10.0);
    QelExpression& rSame = d;
    d = rSame;
    EXPECT_EQ(d.Evaluate(), 10.0);
}

TEST(QelExpression, GlobalVariablesAreSharedUntilTheHostSetsItsOwn)
{
    EXPECT_EQ(QelExpression::GetGlobalVar("gUnknown"), 0.0);
    EXPECT_FALSE(QelExpression::DeleteGlobalVar("gUnknown"));
    QelExpression::SetGlobalVar("gScale", 2.0);
    EXPECT_TRUE(QelExpression::DoesGlobalVarExist("gScale"));
    {
        QelExpression e;
        ASSERT_EQ(e.SetExpression("gScale * 10 + gLater"), "");
        EXPECT_EQ(e.Evaluate(), 20.0);
        QelExpression::SetGlobalVar("gScale", 3.0);
        QelExpression::SetGlobalVar("gLater", 1.0); // created after compiling, still found
        EXPECT_EQ(e.Evaluate(), 31.0);
        EXPECT_TRUE(QelExpression::IsGlobalVarUsed("gScale"));
        EXPECT_FALSE(QelExpression::DeleteGlobalVar("gScale")); // in use: refused
        QelExpression::DeleteAllPossibleGlobalVar();
        EXPECT_TRUE(QelExpression::DoesGlobalVarExist("gScale"));
        e.SetVar("gScale", 100.0); // the host's own value wins
        EXPECT_EQ(e.Evaluate(), 1001.0);
        e.Clear();
        EXPECT_FALSE(QelExpression::IsGlobalVarUsed("gScale"));
        ASSERT_EQ(e.SetExpression("gLater"), "");
    }
    QelExpression::SetGlobalVar("gFree", 5.0);
    std::vector<std::string> vecNames;
    std::vector<double> vecValues;
    QelExpression::GetAllGlobalVars(vecNames, vecValues);
    ASSERT_EQ(vecNames.size(), 3u);
    EXPECT_EQ(vecNames[0], "gFree");
    EXPECT_EQ(vecValues[2], 3.0);
    EXPECT_TRUE(QelExpression::DeleteGlobalVar("gScale"));
    QelExpression::DeleteAllPossibleGlobalVar();
    QelExpression::GetAllGlobalVars(vecNames, vecValues);
    EXPECT_TRUE(vecNames.empty());
}

TEST(QelExpression, InformationListsAndBlankText)
{
    QelExpression e;
    std::vector<std::string> vecNames, vecSyntax, vecDescriptions;
    e.GetFunctionInformation(vecNames, vecSyntax, vecDescriptions);
    ASSERT_EQ(vecNames.size(), 35u);
    ASSERT_EQ(vecSyntax.size(), 35u);
    EXPECT_EQ(std::count(vecNames.begin(), vecNames.end(), "min"), 3);
    EXPECT_EQ(std::count(vecNames.begin(), vecNames.end(), "max"), 3);
    EXPECT_EQ(vecSyntax[12], "min(v1,v2,v3,...)");
    EXPECT_EQ(vecDescriptions[33], "Converts input radius to degrees");
    EXPECT_EQ(vecSyntax[18], "rand(min, max)");
    e.GetOperatorInformation(vecNames, vecSyntax, vecDescriptions);
    ASSERT_EQ(vecNames.size(), 16u);
    EXPECT_EQ(vecNames[2], "-");
    EXPECT_EQ(vecSyntax[2], "-x");
    EXPECT_EQ(vecDescriptions[7], "Greater than logical operator.  Return 1 if true, 0 if false.");
    EXPECT_EQ(vecDescriptions[15], "Not logical operator. Return 1 if x is 0, else return 1");

    EXPECT_TRUE(QelExpression::ExpressionIsBlank(""));
    EXPECT_TRUE(QelExpression::ExpressionIsBlank(" \t\r\n"));
    EXPECT_FALSE(QelExpression::ExpressionIsBlank(" 1"));
}
