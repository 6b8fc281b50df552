#pragma once

#include "qel/framework/QelSysApp.h"

#include <functional>
#include <string>

class QelModel;

/// The demo's application object: prints the log with its level shown, colored on a terminal.
class QelDemoApp : public QelSysApp
{
public:
    QelDemoApp();
    void PrintToConsole(const char* pFormat, ...) const override;
    double GetTime() const override;

    /// Counts by level, reported at the end of the run.
    mutable int m_nErrors = 0;
    mutable int m_nWarnings = 0;
    /// Errors and warnings that a section announced (QelDemoExpect) and has yet to provoke.
    mutable int m_nAnnounced = 0;
    /// Errors and warnings nobody announced, and announced ones that never came: either fails the run.
    mutable int m_nUnexpected = 0;
    int m_nMissing = 0;

private:
    bool m_bColor;
};

/// One section of the demo. Each source file registers its own, so sections are added without
/// touching the others; they run in ascending order.
struct QelDemoSection
{
    QelDemoSection(int nOrder, const char* pTitle, std::function<void(QelDemoApp&)> fnRun);
};

/// Announces the errors and warnings that the calls within its scope provoke on purpose. Any other
/// error or warning, or fewer than announced, makes the demo exit with a failure (it runs as a test).
class QelDemoExpect
{
public:
    QelDemoExpect(QelDemoApp& app, int nMessages);
    ~QelDemoExpect();
    QelDemoExpect(const QelDemoExpect&) = delete;
    QelDemoExpect& operator=(const QelDemoExpect&) = delete;

private:
    QelDemoApp& m_cApp;
    int m_nOuter;
};

/// Prints a heading for a section.
void QelDemoHeading(const char* pTitle);

/// Folder the demo writes its output files to (created on demand).
std::string QelDemoOutputDir();

/// Writes the bytes to a file; false when it cannot be written whole.
bool QelDemoWriteFile(const std::string& strPath, const std::string& strBytes);

/// Makes the offscreen context current at the given size; false, with the reason printed, when there is
/// none (the section then draws nothing).
bool QelDemoBeginFrame(int nWidth, int nHeight);

/// Draws the model into the given part of the frame, framed to its bounds from the three-quarter view
/// under a head light; the lights are off again afterwards.
void QelDemoDrawModel(QelModel& model, int nX, int nY, int nWidth, int nHeight);
