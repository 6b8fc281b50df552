#pragma once

#include "qel/platform/QelExport.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

class MTOperatorI;
class MTFunctionI;
class MTVariableI;

/// The syntax characters of the expression language. They must all differ.
struct MTSyntax
{
    char m_cArgumentSeparator = ','; ///< Separates function arguments: "min(a, b)".
    char m_cDecimalPoint = '.';      ///< Separates the fraction in number literals.
    /// A variable name written between these may hold any text: "[Transform:Scale:X]".
    char m_cVariableBegin = '[';
    char m_cVariableEnd = ']'; ///< Closes a name begun with m_cVariableBegin.
};

/// Holds the operators, functions, constants and variables an expression may use, and checks each
/// definition against the others and the syntax. Each Define call returns an empty text on success
/// and the definition error otherwise; nothing here throws.
class QEL_EXPORT MTParserRegistrar
{
public:
    MTParserRegistrar();
    ~MTParserRegistrar();
    MTParserRegistrar(const MTParserRegistrar&) = delete;
    MTParserRegistrar& operator=(const MTParserRegistrar&) = delete;

    /// The registrar with every built-in operator, function and constant, shared by all expressions.
    static const MTParserRegistrar& GetDefault();
    /// Defines the built-in operators, functions and the constants pi, PI and e.
    void DefineDefaults();

    /// Replaces the syntax characters; a set in which two coincide is refused with the definition
    /// error naming them, and the old set stays.
    std::string SetSyntax(const MTSyntax& cSyntax);
    /// The syntax characters in use.
    const MTSyntax& GetSyntax() const { return m_cSyntax; }

    /// The registrar owns the object from here on, also when the definition is refused.
    std::string DefineOp(MTOperatorI* pOp);
    /// As DefineOp; a name may be defined once per argument count, and never as an operator symbol.
    std::string DefineFunc(MTFunctionI* pFunc);
    /// A named value folded into expressions at compile time; the name must not be a variable's.
    std::string DefineConst(const std::string& strName, double fValue);
    /// The registrar owns the variable from here on, also when the definition is refused.
    std::string DefineVar(MTVariableI* pVar);
    /// Destroys the variable; "Variable not found: name" when there is none.
    std::string UndefineVar(const std::string& strName);

    /// The definitions in registration order, by index below the matching count (not checked); the
    /// registrar keeps ownership.
    ///@{
    size_t GetNbOps() const { return m_vecOps.size(); }
    const MTOperatorI* GetOp(size_t nIndex) const { return m_vecOps[nIndex].get(); }
    size_t GetNbFuncs() const { return m_vecFuncs.size(); }
    const MTFunctionI* GetFunc(size_t nIndex) const { return m_vecFuncs[nIndex].get(); }
    size_t GetNbConsts() const { return m_vecConsts.size(); }
    void GetConst(size_t nIndex, std::string& strName, double& fValue) const;
    ///@}

    /// The operator with that symbol and arity, or null.
    MTOperatorI* FindOp(const std::string& strSymbol, bool bUnary) const;
    /// Every definition of a function name (one per argument count), or null.
    const std::vector<MTFunctionI*>* FindFuncs(const std::string& strName) const;
    /// Writes the constant's value and returns true, or false for an unknown name.
    bool FindConst(const std::string& strName, double& fValue) const;
    /// The variable of that exact name, or null; the registrar keeps ownership.
    MTVariableI* FindVar(const std::string& strName) const;
    /// Length of the longest operator symbol that starts at pText (at most nLeft bytes), 0 for none.
    size_t MatchOp(const char* pText, size_t nLeft) const;

private:
    void CheckOp(const MTOperatorI* pOp) const;
    void CheckFunc(const MTFunctionI* pFunc) const;
    void CheckConst(const std::string& strName) const;
    void CheckVar(const std::string& strName) const;

    MTSyntax m_cSyntax;
    std::vector<std::unique_ptr<MTOperatorI>> m_vecOps;
    std::vector<std::string> m_vecOpSymbols; // cached, the tokenizer asks for them at every operator
    std::vector<std::unique_ptr<MTFunctionI>> m_vecFuncs;
    std::map<std::string, std::vector<MTFunctionI*>> m_mapFuncs;
    std::vector<std::pair<std::string, double>> m_vecConsts;
    std::map<std::string, std::unique_ptr<MTVariableI>> m_mapVars;
    bool m_bOpStart[256];
};
