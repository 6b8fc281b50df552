#pragma once

#include "qel/expression/MTParser/MTException.h"
#include "qel/platform/QelExport.h"

#include <string>
#include <vector>

/// The errors of one failed definition or compilation, thrown inside the expression code.
/// The kind tells a definition error (registrar) from a parsing error (compiler).
class QEL_EXPORT MTExceptions
{
public:
    /// Which side raised the errors: a definition in the registrar, or the compiler on a text.
    enum EKind
    {
        eDefinitionError = 0,
        eParsingError = 1
    };

    /// Starts the list with one error of the given text.
    MTExceptions(EKind eKind, const std::string& strDescription);

    /// The kind given at construction.
    EKind GetKind() const { return m_eKind; }
    /// Appends a further error, e.g. one that explains the first.
    void Add(const MTException& cError) { m_vecErrors.push_back(cError); }
    /// Number of errors held; at least one for an object built by the constructor.
    size_t GetNbErrors() const { return m_vecErrors.size(); }
    /// The error at nIndex, which must be below GetNbErrors (not checked).
    const MTException& GetError(size_t nIndex) const { return m_vecErrors[nIndex]; }
    /// The first error's text, or the kind's generic text when there is none.
    std::string GetDescription() const;

private:
    EKind m_eKind;
    std::vector<MTException> m_vecErrors;
};
