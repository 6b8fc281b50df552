#pragma once

#include "qel/framework/QelSysApp.h"

#include <string>
#include <vector>

/// Application object of the test processes: keeps every message the library writes.
/// Framework messages are formatted with their arguments; "<flush>" messages are kept literally.
class QelTestApp : public QelSysApp
{
public:
    QelTestApp() : QelSysApp(this) {}

    void PrintToConsole(const char* pFormat, ...) const override;

    /// The one registered for this test process (made by the test main before any test runs).
    static QelTestApp& Get();

    /// Every message since the last Clear, in order.
    const std::vector<std::string>& Messages() const { return m_vMessages; }
    /// All messages joined, for substring checks.
    std::string Joined() const;
    /// How many messages start with the given tag ("<error>", "<warning>").
    size_t CountTagged(const std::string& strTag) const;
    void Clear() { m_vMessages.clear(); }

private:
    mutable std::vector<std::string> m_vMessages;
};

/// Clears the console on construction and gives the messages of one test.
struct QelCapture
{
    QelCapture() { QelTestApp::Get().Clear(); }
    const std::vector<std::string>& Messages() const { return QelTestApp::Get().Messages(); }
    std::string Joined() const { return QelTestApp::Get().Joined(); }
    size_t Errors() const { return QelTestApp::Get().CountTagged("<error>"); }
    size_t Warnings() const { return QelTestApp::Get().CountTagged("<warning>"); }
};
