#include "tests/support/QelTestApp.h"

#include "qel/platform/QelString.h"

#include <cstdarg>
#include <cstring>

void QelTestApp::PrintToConsole(const char* pFormat, ...) const
{
    if (!pFormat)
        return;
    size_t n = std::strlen(pFormat);
    static const char kFlush[] = "<flush>";
    if (n >= sizeof(kFlush) - 1 && std::strcmp(pFormat + n - (sizeof(kFlush) - 1), kFlush) == 0)
    {
        m_vMessages.emplace_back(pFormat);
        return;
    }
    va_list args;
    va_start(args, pFormat);
    m_vMessages.push_back(QelFormatV(pFormat, args));
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
