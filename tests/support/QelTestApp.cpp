#include "tests/support/QelTestApp.h"

#include "qel/framework/QelObjectMessage.h"

#include <cstdarg>

void QelTestApp::PrintToConsole(const char* pFormat, ...) const
{
    if (!pFormat)
        return;
    va_list args;
    va_start(args, pFormat);
    m_vMessages.push_back(QelConsoleText(pFormat, args));
    va_end(args);
}

QelTestApp& QelTestApp::Get()
{
    static QelTestApp s_app;
    return s_app;
}

std::string QelTestApp::Joined() const
{
    std::string s;
    for (const auto& m : m_vMessages)
        s += m;
    return s;
}

size_t QelTestApp::CountTagged(const std::string& strTag) const
{
    size_t n = 0;
    for (const auto& m : m_vMessages)
        if (m.compare(0, strTag.size(), strTag) == 0)
            ++n;
    return n;
}
