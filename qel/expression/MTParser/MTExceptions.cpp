#include "qel/expression/MTParser/MTExceptions.h"

MTExceptions::MTExceptions(EKind eKind, const std::string& strDescription) : m_eKind(eKind)
{
    m_vecErrors.emplace_back(strDescription);
}

std::string MTExceptions::GetDescription() const
{
    if (!m_vecErrors.empty())
        return m_vecErrors.front().GetDescription();
    // The two generic texts differ by design: hosts tell the kinds apart by them.
    return m_eKind == eDefinitionError ? "Unknow error" : "Unknown error";
}
