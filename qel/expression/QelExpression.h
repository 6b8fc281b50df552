#pragma once

#include "qel/platform/QelExport.h"

#include <string>
#include <vector>

class QelProperty;
class QelExpressionDef;
struct MTNode;

/// A mathematical expression of a property: compiled once, evaluated to a double on demand.
///
/// Variables are written bare ("width * 2") or between brackets when the name holds other
/// characters ("[Transform:Scale:X] * 2"). When evaluated, each variable reads, in this order:
/// the value the host gave it with SetVar; the numeric value of the property of that name in the
/// container of the expression's property; the global variable of that name; otherwise 0.0.
/// Properties are looked up by name at each evaluation: after a rename or a deletion the variable
/// simply reads the next source in that order, and no pointer to the old property is kept. The
/// property an expression serves must outlive it (a property owns and frees its own expression).
/// Nothing here throws; errors come back as text.
class QEL_EXPORT QelExpression
{
public:
    /// An empty expression serving pProperty, whose container supplies the property variables; null
    /// leaves only the host's and the global variables.
    explicit QelExpression(QelProperty* pProperty = nullptr);
    /// Copies the text (compiled again for the copy) and the host's variable values; the copy serves
    /// the same property.
    QelExpression(const QelExpression& other);
    /// Takes the text and host variables of other; this expression keeps serving its own property.
    QelExpression& operator=(const QelExpression& other);
    virtual ~QelExpression();

    /// Sets and compiles the text; returns an empty text on success. A blank text removes the
    /// expression and also succeeds. On failure the compiler's message is returned and logged as a
    /// warning, and the expression is left empty.
    std::string SetExpression(const std::string& strText);
    /// The text as set; empty when no expression is set.
    void GetExpression(std::string& strText) const;
    /// True when a text is set and compiled.
    bool HasExpression() const;
    /// 0.0 when nothing is compiled.
    double Evaluate()
    {
        // Inline, so that an expression with nothing to refresh costs the host one indirect call.
        if (m_pfnFastEval)
            return m_pfnFastEval(m_pFastRoot);
        return EvaluateFull();
    }
    /// Removes the text and the compiled form; variables and their values stay.
    void Clear();

    /// Gives the variable a value of the host's; from then on it no longer reads a property or a global.
    void SetVar(const std::string& strName, double fValue);
    /// The storage of a variable the expression uses or the host set, or null. The address stays
    /// valid as long as the expression lives.
    double* FindVar(const std::string& strName);

    /// Three parallel lists: name, syntax and description of every function, in registration order.
    void GetFunctionInformation(std::vector<std::string>& vecNames, std::vector<std::string>& vecSyntax,
                                std::vector<std::string>& vecDescriptions) const;
    /// The same for the operators (the symbol as name).
    void GetOperatorInformation(std::vector<std::string>& vecNames, std::vector<std::string>& vecSyntax,
                                std::vector<std::string>& vecDescriptions) const;

    /// True for the empty text and for a text of white space only.
    static bool ExpressionIsBlank(const std::string& strText);

    // Process-wide global variables (exact, case-sensitive names).
    /// Creates the global or changes its value; every expression reading the name sees it at its next
    /// evaluation.
    static void SetGlobalVar(const std::string& strName, double fValue);
    /// 0.0 for a name that is not defined.
    static double GetGlobalVar(const std::string& strName);
    /// Whether a global of exactly that name is defined.
    static bool DoesGlobalVarExist(const std::string& strName);
    /// Refuses (false) while a compiled expression names the variable, so no expression loses a value
    /// it reads; false also for an unknown name.
    static bool DeleteGlobalVar(const std::string& strName);
    /// True while at least one compiled expression names a variable of that name.
    static bool IsGlobalVarUsed(const std::string& strName);
    /// Deletes every global variable that no compiled expression names.
    static void DeleteAllPossibleGlobalVar();
    /// Both lists are cleared first; names in ascending order.
    static void GetAllGlobalVars(std::vector<std::string>& vecNames, std::vector<double>& vecValues);

    /// The property this expression serves (may be null).
    QelProperty* GetProperty() const;
    /// The names the compiled expression reads from properties or globals: every variable it uses
    /// that the host did not set with SetVar, once each.
    void GetReadNames(std::vector<std::string>& vecNames) const;

private:
    /// Refreshes property and global variables, then runs whichever form the program has.
    double EvaluateFull();
    /// Arms the inline path when the program runs as a tree and no variable needs refreshing.
    void UpdateFastPath();

    QelExpressionDef* m_pDef;
    double (*m_pfnFastEval)(const MTNode*) = nullptr;
    const MTNode* m_pFastRoot = nullptr;
};
