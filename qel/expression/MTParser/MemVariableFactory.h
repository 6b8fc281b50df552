#pragma once

#include "qel/expression/MTParser/MTVariableFactoryI.h"
#include "qel/expression/MTParser/MemVariableEvaluator.h"
#include "qel/platform/QelExport.h"

#include <map>
#include <memory>
#include <string>

namespace MTParser
{
/// Makes memory variables and keeps them: one per name, alive as long as the factory, so the
/// storage a compiled program or a host points at never dangles.
class QEL_EXPORT MemVariableFactory : public MTVariableFactoryI
{
public:
    MemVariableFactory() = default;
    MemVariableFactory(const MemVariableFactory&) = delete;
    MemVariableFactory& operator=(const MemVariableFactory&) = delete;

    MTVariableI* Create(const std::string& strName) override;
    /// The variable of that name, made on demand.
    MemVariableEvaluator* Get(const std::string& strName);
    /// The variable of that name, or null when none was made (exact, case-sensitive).
    MemVariableEvaluator* Find(const std::string& strName) const;

private:
    std::map<std::string, std::unique_ptr<MemVariableEvaluator>> m_mapVariables;
};
} // namespace MTParser
