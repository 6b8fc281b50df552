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
    enum EKind
    {
        eDefinitionError = 0,
        eParsingError = 1
    };

    MTExceptions(EKind eKind, const std::string& strDescription);

    EKind GetKind() const { return m_eKind; }
    void Add(const MTException& cError) { m_vecErrors.push_back(cError); }
    size_t GetNbErrors() const { return m_vecErrors.size(); }
    const MTException& GetError(size_t nIndex) const { return m_vecErrors[nIndex]; }
    /// The first error's text, or the kind's generic text when there is none.
    std::string GetDescription() const;

private:
    EKind m_eKind;
    std::vector<MTException> m_vecErrors;
};
