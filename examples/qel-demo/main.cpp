#include "QelDemo.h"

#include "qel/framework/QelObjectMessage.h"
#include "qel/platform/QelOffscreenContext.h"
#include "qel/platform/QelTimer.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace
{
struct Entry
{
    const char* pTitle;
    std::function<void(QelDemoApp&)> fnRun;
};

std::multimap<int, Entry>& Sections()
{
    static std::multimap<int, Entry> s;
    return s;
}
} // namespace

QelDemoSection::QelDemoSection(int nOrder, const char* pTitle, std::function<void(QelDemoApp&)> fnRun)
{
    Sections().emplace(nOrder, Entry{pTitle, std::move(fnRun)});
}

QelDemoApp::QelDemoApp() : QelSysApp(this), m_bColor(isatty(fileno(stdout)) != 0) {}

void QelDemoApp::PrintToConsole(const char* pFormat, ...) const
{
    if (!pFormat)
        return;
    va_list args;
    va_start(args, pFormat);
    std::string strText = QelConsoleText(pFormat, args);
    va_end(args);
    if (strText.size() >= 7 && strText.compare(strText.size() - 7, 7, "<flush>") == 0)
        strText.resize(strText.size() - 7);
    const char* pLevel = "info ";
    const char* pColor = "";
    const bool bProblem = strText.compare(0, 7, "<error>") == 0 || strText.compare(0, 9, "<warning>") == 0;
    if (bProblem && m_nAnnounced > 0)
        --m_nAnnounced;
    else if (bProblem)
    {
        ++m_nUnexpected;
        std::printf("  UNEXPECTED:\n");
    }
    if (strText.compare(0, 7, "<error>") == 0)
    {
        strText.erase(0, 7);
        pLevel = "ERROR";
        pColor = "\033[1;31m";
        ++m_nErrors;
    }
    else if (strText.compare(0, 9, "<warning>") == 0)
    {
        strText.erase(0, 9);
        pLevel = "warn ";
        pColor = "\033[33m";
        ++m_nWarnings;
    }
    while (!strText.empty() && (strText.back() == '\n' || strText.back() == ' '))
        strText.pop_back();
    while (!strText.empty() && strText.front() == ' ')
        strText.erase(0, 1);
    if (m_bColor && *pColor)
        std::printf("  %s[%s]\033[0m %s\n", pColor, pLevel, strText.c_str());
    else
        std::printf("  [%s] %s\n", pLevel, strText.c_str());
}

double QelDemoApp::GetTime() const
{
    return QelGetHighResTime();
}

QelDemoExpect::QelDemoExpect(QelDemoApp& app, int nMessages) : m_cApp(app), m_nOuter(app.m_nAnnounced)
{
    m_cApp.m_nAnnounced = nMessages;
}

QelDemoExpect::~QelDemoExpect()
{
    if (m_cApp.m_nAnnounced > 0)
    {
        std::printf("  MISSING: %d announced error(s) or warning(s) did not come\n", m_cApp.m_nAnnounced);
        m_cApp.m_nMissing += m_cApp.m_nAnnounced;
    }
    m_cApp.m_nAnnounced = m_nOuter;
}

void QelDemoHeading(const char* pTitle)
{
    std::printf("\n== %s ==\n", pTitle);
}

std::string QelDemoOutputDir()
{
    std::string dir = "qel-demo-output";
    mkdir(dir.c_str(), 0755);
    return dir;
}

bool QelDemoWriteFile(const std::string& strPath, const std::string& strBytes)
{
    FILE* p = std::fopen(strPath.c_str(), "wb");
    if (!p)
        return false;
    const bool bOk = std::fwrite(strBytes.data(), 1, strBytes.size(), p) == strBytes.size();
    return std::fclose(p) == 0 && bOk;
}

bool QelDemoBeginFrame(int nWidth, int nHeight)
{
    std::string strWhy;
    if (!QelOffscreenContext::MakeCurrent(nWidth, nHeight, &strWhy))
    {
        std::printf("  no offscreen OpenGL context (%s): nothing drawn\n", strWhy.c_str());
        return false;
    }
    return QelOffscreenContext::Resize(nWidth, nHeight);
}

int main()
{
    QelDemoApp app;
    std::printf("QelCommon demo\n");
    for (auto& [nOrder, entry] : Sections())
    {
        (void)nOrder;
        QelDemoHeading(entry.pTitle);
        entry.fnRun(app);
    }
    std::printf("\nlog: %d error(s), %d warning(s) reported by the library, %d unexpected, %d missing\n",
                app.m_nErrors, app.m_nWarnings, app.m_nUnexpected, app.m_nMissing);
    return app.m_nUnexpected == 0 && app.m_nMissing == 0 ? 0 : 1;
}
