#pragma once

#include <string>

class QelMappedFile;

/// The messages of one file load: errors and warnings naming the loader, the file and the line.
/// Warnings stop after a fixed number so that a damaged file cannot flood the host's log; the
/// number left out is reported once at the end.
class QelLoadLog
{
public:
    QelLoadLog(const char* pLoader, const std::string& strFile) : m_pLoader(pLoader), m_strFile(strFile) {}
    ~QelLoadLog();
    QelLoadLog(const QelLoadLog&) = delete;
    QelLoadLog& operator=(const QelLoadLog&) = delete;

    static constexpr unsigned kMaxWarnings = 20;

    /// "<warning> <loader> - [<file>] line <n>: <reason>".
    void Warn(unsigned nLine, const std::string& strReason);
    /// "<error> <loader> - [<file>] line <n>: <reason>".
    void ErrorAt(unsigned nLine, const std::string& strReason);
    /// "<error> <loader> - [<file>] <reason>".
    void Error(const std::string& strReason);
    /// "<warning> <loader> - [<file>] <reason>", not counted against the limit.
    void Note(const std::string& strReason);

    /// Opens the log's file; when it cannot be, reports why ("is a folder, not a file", "cannot be
    /// opened", "cannot be read") and returns false.
    bool Open(QelMappedFile& file);

    unsigned Warnings() const { return m_nWarnings; }
    const std::string& File() const { return m_strFile; }

private:
    const char* m_pLoader;
    std::string m_strFile;
    unsigned m_nWarnings = 0;
};
