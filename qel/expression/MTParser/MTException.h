#pragma once

#include "qel/platform/QelExport.h"

#include <string>

/// One error raised by the expression compiler or registrar: the finished message text.
/// Errors travel as exceptions only inside the expression code; exported calls return the text.
class QEL_EXPORT MTException
{
public:
    /// Keeps the finished message text.
    explicit MTException(const std::string& strDescription) : m_strDescription(strDescription) {}

    /// The message as it is shown to the user.
    const std::string& GetDescription() const { return m_strDescription; }

private:
    std::string m_strDescription;
};
