#include "qel/models/detail/QelLoadLog.h"

#include "qel/framework/QelSysApp.h"
#include "qel/models/detail/QelLoadSteps.h"
#include "qel/platform/QelMappedFile.h"

QelLoadLog::~QelLoadLog()
{
    if (m_nWarnings > kMaxWarnings)
        QelSysApp::App().PrintToConsole("<warning> %s - [%s] %u more warnings not shown\n", m_pLoader,
                                        m_strFile.c_str(), m_nWarnings - kMaxWarnings);
}

void QelLoadLog::Warn(unsigned nLine, const std::string& strReason)
{
    if (++m_nWarnings <= kMaxWarnings)
        QelSysApp::App().PrintToConsole("<warning> %s - [%s] line %u: %s\n", m_pLoader, m_strFile.c_str(), nLine,
                                        strReason.c_str());
}

void QelLoadLog::ErrorAt(unsigned nLine, const std::string& strReason)
{
    QelSysApp::App().PrintToConsole("<error> %s - [%s] line %u: %s\n", m_pLoader, m_strFile.c_str(), nLine,
                                    strReason.c_str());
}

void QelLoadLog::Error(const std::string& strReason)
{
    QelSysApp::App().PrintToConsole("<error> %s - [%s] %s\n", m_pLoader, m_strFile.c_str(), strReason.c_str());
}

void QelLoadLog::Note(const std::string& strReason)
{
    QelSysApp::App().PrintToConsole("<warning> %s - [%s] %s\n", m_pLoader, m_strFile.c_str(), strReason.c_str());
}

bool QelLoadLog::Open(QelMappedFile& file)
{
    return QelOpenModelFile(m_strFile, file, *this);
}
