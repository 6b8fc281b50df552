// Runs the qel-viewer program itself in a virtual X server that the test starts, the way a person
// would use it, and checks what it writes.

#include "ViewerTestSupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace
{
/// Runs argv with the given environment entries in place of inherited ones of the same name;
/// stdout and stderr go to strLog. Returns the pid, or -1 when the program cannot be started.
pid_t Spawn(const std::vector<std::string>& vArgs, const std::vector<std::string>& vEnv, const std::string& strLog,
            int nKeepFd = -1)
{
    std::vector<char*> vArgv;
    for (const std::string& s : vArgs)
        vArgv.push_back(const_cast<char*>(s.c_str()));
    vArgv.push_back(nullptr);
    std::vector<std::string> vEnvironment(vEnv);
    for (char** p = environ; *p; ++p)
    {
        std::string strEntry = *p;
        std::string strName = strEntry.substr(0, strEntry.find('=') + 1);
        bool bOverridden = false;
        for (const std::string& strOwn : vEnv)
            bOverridden |= strOwn.compare(0, strName.size(), strName) == 0;
        if (!bOverridden)
            vEnvironment.push_back(strEntry);
    }
    std::vector<char*> vEnvp;
    for (const std::string& s : vEnvironment)
        vEnvp.push_back(const_cast<char*>(s.c_str()));
    vEnvp.push_back(nullptr);

    posix_spawn_file_actions_t cActions;
    posix_spawn_file_actions_init(&cActions);
    posix_spawn_file_actions_addopen(&cActions, 1, strLog.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_adddup2(&cActions, 1, 2);
    (void)nKeepFd; // inherited as it is: it is not close-on-exec
    pid_t nPid = -1;
    int nResult = posix_spawnp(&nPid, vArgv[0], &cActions, nullptr, vArgv.data(), vEnvp.data());
    posix_spawn_file_actions_destroy(&cActions);
    return nResult == 0 ? nPid : -1;
}

/// Waits for a child; -1 after the timeout, when the child is killed.
int WaitFor(pid_t nPid, int nSeconds)
{
    auto tEnd = std::chrono::steady_clock::now() + std::chrono::seconds(nSeconds);
    int nStatus = 0;
    while (waitpid(nPid, &nStatus, WNOHANG) == 0)
    {
        if (std::chrono::steady_clock::now() > tEnd)
        {
            kill(nPid, SIGKILL);
            waitpid(nPid, &nStatus, 0);
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : 128 + WTERMSIG(nStatus);
}

std::string ReadFile(const std::string& strPath)
{
    std::ifstream cFile(strPath, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(cFile)), std::istreambuf_iterator<char>());
}

/// A virtual X server for one test suite; it picks a free display itself and is stopped at the end.
class VirtualDisplay
{
public:
    /// Empty when it runs; otherwise why it could not start.
    std::string Start(const std::string& strDir)
    {
        int vPipe[2];
        if (pipe(vPipe) != 0)
            return "no pipe";
        m_nPid = Spawn({"Xvfb", "-displayfd", std::to_string(vPipe[1]), "-screen", "0", "1280x1024x24", "-nolisten",
                        "tcp"},
                       {}, strDir + "/xvfb.log", vPipe[1]);
        close(vPipe[1]);
        if (m_nPid < 0)
        {
            close(vPipe[0]);
            return "Xvfb cannot be started (is the xvfb package installed?)";
        }
        // The server writes its display number once it accepts connections.
        std::string strNumber;
        pollfd cPoll{vPipe[0], POLLIN, 0};
        char c = 0;
        while (poll(&cPoll, 1, 10000) > 0 && read(vPipe[0], &c, 1) == 1 && c != '\n')
            strNumber += c;
        close(vPipe[0]);
        if (strNumber.empty())
            return "Xvfb did not start: " + ReadFile(strDir + "/xvfb.log");
        m_strDisplay = ":" + strNumber;
        return std::string();
    }

    ~VirtualDisplay()
    {
        if (m_nPid > 0)
        {
            kill(m_nPid, SIGTERM);
            if (WaitFor(m_nPid, 10) < 0)
                kill(m_nPid, SIGKILL);
        }
    }

    const std::string& Display() const { return m_strDisplay; }

private:
    pid_t m_nPid = -1;
    std::string m_strDisplay;
};

class ViewerWindowTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_strDir = ViewerScratchDir("window");
        if (std::string(QEL_VIEWER_PROGRAM).empty())
        {
            s_strSkip = "qel-viewer was not built (GLFW or Dear ImGui missing)";
            return;
        }
        s_pDisplay = new VirtualDisplay();
        s_strSkip = s_pDisplay->Start(s_strDir);
    }
    static void TearDownTestSuite()
    {
        delete s_pDisplay;
        s_pDisplay = nullptr;
    }
    void SetUp() override
    {
        if (!s_strSkip.empty())
            GTEST_SKIP() << s_strSkip;
    }

    /// Runs the viewer with the arguments; returns its exit status, its log in strLog.
    int RunViewer(std::vector<std::string> vArgs, std::string& strLog)
    {
        vArgs.insert(vArgs.begin(), QEL_VIEWER_PROGRAM);
        std::string strLogPath = s_strDir + "/viewer.log";
        // The window system's libraries, which GLFW loads and unloads itself, leave allocations the
        // leak checker of a sanitizer build cannot attribute once they are gone; the viewer's own
        // code is leak-checked by the other suites.
        pid_t nPid = Spawn(vArgs, {"DISPLAY=" + s_pDisplay->Display(), "ASAN_OPTIONS=detect_leaks=0"}, strLogPath);
        if (nPid < 0)
            return -2;
        int nStatus = WaitFor(nPid, 120);
        strLog = ReadFile(strLogPath);
        return nStatus;
    }

    std::string Path(const char* pName) const { return s_strDir + "/" + pName; }

    static std::string s_strDir;
    static std::string s_strSkip;
    static VirtualDisplay* s_pDisplay;
};

std::string ViewerWindowTest::s_strDir;
std::string ViewerWindowTest::s_strSkip;
VirtualDisplay* ViewerWindowTest::s_pDisplay = nullptr;

TEST_F(ViewerWindowTest, ScriptEditsAModelsMaterialSavesReopensAndShowsTheNewColor)
{
    // A square model facing the front view, in a material that the script recolors through the
    // property panel's path; the scene is saved, emptied, opened again and photographed.
    const unsigned int kOldColor = 0x337FCC, kNewColor = 0x40C020; // 0xBBGGRR
    std::ofstream(Path("square.mtl")) << "newmtl paint\nKa 0.2 0.2 0.2\nKd 0.8 0.5 0.2\n";
    std::ofstream(Path("square.obj")) << "mtllib square.mtl\nv -1 0 -1\nv 1 0 -1\nv 1 0 1\nv -1 0 1\n"
                                         "usemtl paint\nf 1 2 3 4\n";
    std::ofstream(Path("edit.txt")) << "open " << Path("square.obj") << "\n"
                                    << "select square\n"
                                    << "set Material:paint:Diffuse #20C040\n"
                                    << "save " << Path("saved.qvs.gz") << "\n"
                                    << "new\n"
                                    << "open " << Path("saved.qvs.gz") << "\n"
                                    << "select square\n"
                                    << "view front\nzoom selected\nframes 3\n"
                                    << "screenshot " << Path("shot.png") << "\n";
    std::string strLog;
    ASSERT_EQ(RunViewer({"--size", "800x600", "--script", Path("edit.txt")}, strLog), 0) << strLog;
    EXPECT_NE(strLog.find("Opened model " + Path("square.obj")), std::string::npos) << strLog;
    EXPECT_NE(strLog.find("Opened scene " + Path("saved.qvs.gz") + " (1 objects)"), std::string::npos) << strLog;
    EXPECT_EQ(strLog.find("error:"), std::string::npos) << strLog; // the model was found again
    EXPECT_EQ(strLog.find("warning:"), std::string::npos) << strLog; // and its material
    std::string strSaved = ReadFile(Path("saved.qvs.gz"));
    ASSERT_GE(strSaved.size(), 2u);
    EXPECT_EQ(strSaved.substr(0, 2), "\x1f\x8b");

    ViewerImage cImage;
    std::string strWhy;
    ASSERT_TRUE(ViewerReadPng(Path("shot.png"), cImage, strWhy)) << strWhy;
    EXPECT_EQ(cImage.m_nWidth, 800);
    EXPECT_EQ(cImage.m_nHeight, 600);
    // The square fills a good part of the view in the new color; the file's color is gone.
    EXPECT_GT(cImage.CountRgb(kNewColor), 20000u);
    EXPECT_EQ(cImage.CountRgb(kOldColor), 0u);
}

TEST_F(ViewerWindowTest, TimingPrintsTheOpenAndEveryFrame)
{
    std::ofstream(Path("timed.obj")) << "v 0 0 0\nv 1 0 0\nv 0 0 1\nf 1 2 3\n";
    std::string strLog;
    ASSERT_EQ(RunViewer({"--size", "320x240", "--timing", "3", Path("timed.obj"), Path("absent.obj")}, strLog), 0)
        << strLog;
    EXPECT_NE(strLog.find("timing: open " + Path("timed.obj") + ": "), std::string::npos) << strLog;
    EXPECT_NE(strLog.find("timing: open " + Path("absent.obj") + ": 0."), std::string::npos) << strLog;
    EXPECT_NE(strLog.find(" ms cpu (failed)\n"), std::string::npos) << strLog;
    EXPECT_NE(strLog.find(", 1 triangles\n"), std::string::npos) << strLog;
    EXPECT_NE(strLog.find("timing: later frames (2) median "), std::string::npos) << strLog;
    EXPECT_EQ(RunViewer({"--timing", "0"}, strLog), 2);
    EXPECT_NE(strLog.find("--timing takes a number of frames from 1 to 100000"), std::string::npos) << strLog;
}

TEST_F(ViewerWindowTest, BadFilesLeaveTheViewerRunning)
{
    std::ofstream(Path("damaged.qvs")) << "<QelViewerScene version=\"1\"><Object type=\"Viewer Sh";
    std::ofstream(Path("newer.qvs")) << "<QelViewerScene version=\"9\"/>";
    std::string strLog;
    ASSERT_EQ(RunViewer({"--size", "320x240", "--screenshot", Path("bad.png"), "--frames", "2", Path("damaged.qvs"),
                         Path("newer.qvs"), Path("missing.obj")},
                        strLog),
              0)
        << strLog;
    EXPECT_NE(strLog.find("error: Scene " + Path("damaged.qvs") + " is refused: it cannot be read as XML"),
              std::string::npos)
        << strLog;
    EXPECT_NE(strLog.find("error: Scene " + Path("newer.qvs") + " is refused: it was written by a newer viewer"),
              std::string::npos)
        << strLog;
    EXPECT_NE(strLog.find("error: Cannot open " + Path("missing.obj")), std::string::npos) << strLog;
    ViewerImage cImage;
    std::string strWhy;
    EXPECT_TRUE(ViewerReadPng(Path("bad.png"), cImage, strWhy)) << strWhy;
}

TEST_F(ViewerWindowTest, AMinimisedOrTinyWindowDrawsWithoutFault)
{
    std::ofstream(Path("tiny.txt")) << "add shape A\nsize 0 0\nframes 3\nzoom extents\nsize 200 30\nframes 2\n"
                                    << "size 300 200\nscreenshot " << Path("after.png") << "\n";
    std::string strLog;
    ASSERT_EQ(RunViewer({"--size", "640x480", "--script", Path("tiny.txt")}, strLog), 0) << strLog;
    ViewerImage cImage;
    std::string strWhy;
    ASSERT_TRUE(ViewerReadPng(Path("after.png"), cImage, strWhy)) << strWhy;
    EXPECT_EQ(cImage.m_nWidth, 300);
}

TEST_F(ViewerWindowTest, BadOptionsAreRefused)
{
    std::string strLog;
    EXPECT_EQ(RunViewer({"--size", "0x10"}, strLog), 2);
    EXPECT_NE(strLog.find("--size takes WIDTHxHEIGHT"), std::string::npos) << strLog;
    EXPECT_EQ(RunViewer({"--frames"}, strLog), 2);
    EXPECT_NE(strLog.find("unknown or incomplete option --frames"), std::string::npos) << strLog;
}
} // namespace
