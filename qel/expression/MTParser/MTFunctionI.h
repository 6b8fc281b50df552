#pragma once

#include "qel/platform/QelExport.h"

#include <string>

/// A function of the expression language. The virtual slots keep the family's order.
class QEL_EXPORT MTFunctionI
{
public:
    /// How a call is written ("sin(x)"), shown by hosts that list the functions.
    virtual std::string GetSyntax() const = 0;
    /// One line telling the user what the function computes.
    virtual std::string GetDescription() const = 0;
    /// True when the result depends on the arguments only, so the compiler may fold it.
    virtual bool IsConstant() const = 0;
    /// The result for GetNbArgs arguments at pArgs (a set form goes through EvaluateSet instead).
    virtual double Evaluate(const double* pArgs) = 0;
    virtual ~MTFunctionI() {}
    /// The name written in expressions; one name may be defined once per argument count.
    virtual std::string GetSymbol() const = 0;
    /// Number of arguments; -1 takes any number (at least one).
    virtual int GetNbArgs() const = 0;
    /// A new object of the same class, owned by the caller.
    virtual MTFunctionI* Clone() const = 0;
    /// Evaluates a call of a set form (any number of arguments); the other forms ignore the count.
    virtual double EvaluateSet(unsigned int nArgs, const double* pArgs)
    {
        (void)nArgs;
        return Evaluate(pArgs);
    }

    /// Code of a built-in function that the compiler evaluates inline; -1 for any other.
    int GetBuiltinCode() const { return m_nBuiltinCode; }

protected:
    /// Set by the built-in classes to their EMTOpCode; -1 for a host's own function.
    int m_nBuiltinCode = -1;
};
