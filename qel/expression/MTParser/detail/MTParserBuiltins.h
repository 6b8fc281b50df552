#pragma once

#include "qel/expression/MTParser/MTFunctionI.h"
#include "qel/expression/MTParser/MTOperatorI.h"
#include "qel/expression/MTParser/MTParserProgram.h"

#include <string>

/// Common body of the built-in operators: fixed texts, and evaluation through the program's own
/// instruction code so that folded and run-time results never differ.
class MTBuiltinOperator : public MTOperatorI
{
public:
    MTBuiltinOperator(const char* pSymbol, const char* pSyntax, const char* pDescription, unsigned int nPrecedence,
                      bool bUnary, EMTOpCode eCode);
    std::string GetSyntax() const override { return m_pSyntax; }
    std::string GetDescription() const override { return m_pDescription; }
    bool IsConstant() const override { return true; }
    double Evaluate(const double* pArgs) override;
    unsigned int GetPrecedence() const override { return m_nPrecedence; }
    std::string GetSymbol() const override { return m_pSymbol; }
    bool IsUnaryOp() const override { return m_bUnary; }

private:
    const char* m_pSymbol;
    const char* m_pSyntax;
    const char* m_pDescription;
    unsigned int m_nPrecedence;
    bool m_bUnary;
};

/// Common body of the built-in functions, like MTBuiltinOperator.
class MTBuiltinFunction : public MTFunctionI
{
public:
    MTBuiltinFunction(const char* pSymbol, const char* pSyntax, const char* pDescription, int nArgs, bool bConstant,
                      EMTOpCode eCode);
    std::string GetSyntax() const override { return m_pSyntax; }
    std::string GetDescription() const override { return m_pDescription; }
    bool IsConstant() const override { return m_bConstant; }
    double Evaluate(const double* pArgs) override;
    double EvaluateSet(unsigned int nArgs, const double* pArgs) override;
    std::string GetSymbol() const override { return m_pSymbol; }
    int GetNbArgs() const override { return m_nArgs; }

private:
    const char* m_pSymbol;
    const char* m_pSyntax;
    const char* m_pDescription;
    int m_nArgs;
    bool m_bConstant;
};

#define QEL_MT_OPERATOR(Name, Symbol, Syntax, Description, Precedence, Unary, Code)                                \
    class Name : public MTBuiltinOperator                                                                          \
    {                                                                                                              \
    public:                                                                                                        \
        Name() : MTBuiltinOperator(Symbol, Syntax, Description, Precedence, Unary, Code) {}                        \
        MTOperatorI* Clone() const override { return new Name; }                                                   \
    };

#define QEL_MT_FUNCTION(Name, Symbol, Syntax, Description, Args, Constant, Code)                                   \
    class Name : public MTBuiltinFunction                                                                          \
    {                                                                                                              \
    public:                                                                                                        \
        Name() : MTBuiltinFunction(Symbol, Syntax, Description, Args, Constant, Code) {}                           \
        MTFunctionI* Clone() const override { return new Name; }                                                   \
    };

// Operators, each a class of its own. The texts are offered to hosts letter for letter, the double
// blanks and the description of "!" included.
QEL_MT_OPERATOR(AddOp, "+", "x + y", "Addition operator", 1, false, eMTAdd)
QEL_MT_OPERATOR(MinusOp, "-", "x - y", "Minus operator", 1, false, eMTSub)
QEL_MT_OPERATOR(UnaryMinusOp, "-", "-x", "Unary minus operator", 4, true, eMTNeg)
QEL_MT_OPERATOR(MultOp, "*", "x * y", "Multiplication operator", 2, false, eMTMul)
QEL_MT_OPERATOR(DivOp, "/", "x / y", "Division operator", 2, false, eMTDiv)
QEL_MT_OPERATOR(ExpOp, "^", "x ^ y", "Calculates x raised to the power of y", 3, false, eMTPow)
QEL_MT_OPERATOR(ModuloOp, "%", "x % y", "Modulo; find remainder of the division of x by y", 2, false, eMTMod)
QEL_MT_OPERATOR(GreaterThanOp, ">", "x > y", "Greater than logical operator.  Return 1 if true, 0 if false.", 0,
                false, eMTGreater)
QEL_MT_OPERATOR(LesserThanOp, "<", "x < y", "Lesser than logical operator.  Return 1 if true, 0 if false.", 0, false,
                eMTLess)
QEL_MT_OPERATOR(GreaterEqualThanOp, ">=", "x >= y",
                "Greater than or equal logical operator.  Return 1 if true, 0 if false.", 0, false, eMTGreaterEqual)
QEL_MT_OPERATOR(LesserEqualThanOp, "<=", "x <= y",
                "Lesser than or equal logical operator.  Return 1 if true, 0 if false.", 0, false, eMTLessEqual)
QEL_MT_OPERATOR(NotEqualOp, "!=", "x != y", "Not equal logical operator.  Return 1 if true, 0 if false.", 0, false,
                eMTNotEqual)
QEL_MT_OPERATOR(EqualOp, "==", "x == y", "Equal logical operator.  Return 1 if true, 0 if false.", 0, false, eMTEqual)
QEL_MT_OPERATOR(AndOp, "&", "x & y", "And logical operator.  Return 1 if true, 0 if false.", 0, false, eMTAnd)
QEL_MT_OPERATOR(OrOp, "|", "x | y", "Or logical operator.  Return 1 if true, 0 if false.", 0, false, eMTOr)
QEL_MT_OPERATOR(NotOp, "!", "!x", "Not logical operator. Return 1 if x is 0, else return 1", 2, true, eMTNot)

// Functions, each a class of its own; the "Undef" classes take any number of arguments.
QEL_MT_FUNCTION(SinFct, "sin", "sin(x)", "Sine", 1, true, eMTSin)
QEL_MT_FUNCTION(ArcSinFct, "asin", "asin(x)", "Arcsine", 1, true, eMTAsin)
QEL_MT_FUNCTION(SinhFct, "sinh", "sinh(x)", "Hyperbolic sine", 1, true, eMTSinh)
QEL_MT_FUNCTION(CosFct, "cos", "cos(x)", "Cosine", 1, true, eMTCos)
QEL_MT_FUNCTION(ArcCosFct, "acos", "acos(x)", "Arccosine", 1, true, eMTAcos)
QEL_MT_FUNCTION(CoshFct, "cosh", "cosh(x)", "Hyperbolic cosine", 1, true, eMTCosh)
QEL_MT_FUNCTION(TanFct, "tan", "tan(x)", "Tangent", 1, true, eMTTan)
QEL_MT_FUNCTION(TanhFct, "tanh", "tanh(x)", "Hyperbolic tangent", 1, true, eMTTanh)
QEL_MT_FUNCTION(ArcTanFct, "atan", "atan(x)", "Arctangent", 1, true, eMTAtan)
QEL_MT_FUNCTION(SqrtFct, "sqrt", "sqrt(x)", "Square root", 1, true, eMTSqrt)
QEL_MT_FUNCTION(MinFct, "min", "min(x,y)", "Return smaller of two values", 2, true, eMTMin2)
QEL_MT_FUNCTION(Min3Fct, "min", "min(x,y,z)", "Return smaller of three values", 3, true, eMTMin3)
QEL_MT_FUNCTION(MinUndefFct, "min", "min(v1,v2,v3,...)", "Return smaller of a set of values", -1, true, eMTMinN)
QEL_MT_FUNCTION(MaxFct, "max", "max(x,y)", "Return larger of two values", 2, true, eMTMax2)
QEL_MT_FUNCTION(Max3Fct, "max", "max(x,y,z)", "Return larger of three values", 3, true, eMTMax3)
QEL_MT_FUNCTION(MaxUndefFct, "max", "max(v1,v2,v3,...)", "Return larger of a set of values", -1, true, eMTMaxN)
QEL_MT_FUNCTION(AbsFct, "abs", "abs(x)", "Absolute value", 1, true, eMTAbs)
// rand answers "not constant" in both forms so that it is never folded.
QEL_MT_FUNCTION(RandFct, "rand", "rand()", "Random value between 0 and 1", 0, false, eMTRand)
QEL_MT_FUNCTION(RandMinMaxFct, "rand", "rand(min, max)", "Random value between min and max", 2, false, eMTRandMinMax)
QEL_MT_FUNCTION(LnFct, "ln", "ln(x)", "Natural logarithm (base e logarithm)", 1, true, eMTLn)
QEL_MT_FUNCTION(LogFct, "log", "log(x)", "Base 10 logarithm", 1, true, eMTLog)
QEL_MT_FUNCTION(ExpFct, "exp", "exp(x)", "Exponential: e^x", 1, true, eMTExp)
QEL_MT_FUNCTION(SigmoidFct, "sigmoid", "sigmoid(x)", "Sigmoid s-curve function: 1/(1+exp(-x))", 1, true, eMTSigmoid)
QEL_MT_FUNCTION(CeilFct, "ceil", "ceil(x)", "Returns the smallest integer greater than or equal to x", 1, true, eMTCeil)
QEL_MT_FUNCTION(FloorFct, "floor", "floor(x)", "Returns the largest integer less than or equal to x", 1, true,
                eMTFloor)
QEL_MT_FUNCTION(AvgFct, "avg", "avg(v1,v2,v3,...)", "Return the average of a set of values", -1, true, eMTAvg)
QEL_MT_FUNCTION(SumFct, "sum", "sum(v1,v2,v3,...)", "Return the sum of a set of values", -1, true, eMTSum)
QEL_MT_FUNCTION(FactorialFct, "fact", "fact(x)", "Return the factorial of x: x*(x-1)*(x-2)*...(x-x+1)", 1, true,
                eMTFact)
QEL_MT_FUNCTION(NormFct, "norm", "norm(value,min,max)", "Return value normalized to min and max", 3, true, eMTNorm)
QEL_MT_FUNCTION(NormClampFct, "norm_clamp", "norm_clamp(value,min,max)",
                "Return value normalized to min and max (clamped to [0, 1])", 3, true, eMTNormClamp)
QEL_MT_FUNCTION(ClampFct, "clamp", "clamp(value,min,max)",
                "Limit the value between min and max (clamped to [min, max])", 3, true, eMTClamp)
QEL_MT_FUNCTION(InterpFct, "interp", "interp(percent,min,max)", "Return value percent of the way between min and max",
                3, true, eMTInterp)
QEL_MT_FUNCTION(IfElseFct, "if_else", "if_else(test, x, y)",
                "If value of test is not zero, return value is x, otherwise it is y", 3, true, eMTIfElse)
QEL_MT_FUNCTION(RadToDegFct, "radtodeg", "radtodeg(radians)", "Converts input radius to degrees", 1, true,
                eMTRadToDeg)
QEL_MT_FUNCTION(DegToRadFct, "degtorad", "degtorad(degrees)", "Converts input degrees to radians", 1, true,
                eMTDegToRad)

#undef QEL_MT_OPERATOR
#undef QEL_MT_FUNCTION
