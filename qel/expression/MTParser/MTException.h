#pragma once

#include "qel/platform/QelExport.h"

#include <string>

/// One error raised by the expression compiler or registrar: the finished message text.
/// Errors travel as exceptions only inside the expression code; exported calls return the text.
class QEL_EXPORT MTException
{
public:
    explicit MTException(const std::string& strDescription) : m_strDescription(strDescription) {}

    const std::string& GetDescription() const { return m_strDescription; }

private:
    std::string m_strDescription;
};
