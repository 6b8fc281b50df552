#include "qel/framework/QelBase.h"
#include "qel/framework/QelObjectMessage.h"
#include "qel/framework/QelSandboxIcon.h"
#include "qel/framework/QelSysApp.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

namespace
{
std::string Compose(const char* pTag, const std::string& strName, const char* pFormat, ...)
{
    va_list args;
    va_start(args, pFormat);
    std::string s = QelComposeObjectMessage(pTag, strName, pFormat, args);
    va_end(args);
    return s;
}

void PrintError(const std::string& strName, const char* pFormat, ...)
{
    va_list args;
    va_start(args, pFormat);
    QelPrintObjectMessage("<error>", strName, pFormat, args);
    va_end(args);
}
} // namespace

TEST(QelSysApp, TheFirstApplicationObjectStaysTheSingleton)
{
    QelCapture cap;
    ASSERT_EQ(QelSysApp::m_pQelSysApp, &QelTestApp::Get());
    EXPECT_EQ(&QelSysApp::App(), &QelTestApp::Get());
    {
        QelTestApp second;
        EXPECT_EQ(QelSysApp::m_pQelSysApp, &QelTestApp::Get());
    }
    ASSERT_EQ(cap.Messages().size(), 1u);
    EXPECT_EQ(cap.Messages()[0], "[FATALERROR]Two classes have registered as the QelSysApp class!");
    // A plain application object is just as refused, and the destructor leaves the singleton alone.
    {
        QelSysApp plain(nullptr);
    }
    EXPECT_EQ(QelSysApp::m_pQelSysApp, &QelTestApp::Get());
    EXPECT_EQ(cap.Messages().size(), 2u);
}

// A host that destroys its application object and then lets a library object speak: the message
// goes nowhere instead of through a dangling pointer (AddressSanitizer catches the latter).
TEST(QelSysApp, DestroyingTheRegisteredApplicationObjectUnregistersIt)
{
    QelSysApp* pSaved = QelSysApp::m_pQelSysApp;
    QelSysApp::m_pQelSysApp = nullptr;
    auto* pApp = new QelTestApp;
    EXPECT_EQ(QelSysApp::m_pQelSysApp, pApp);
    delete pApp;
    EXPECT_EQ(QelSysApp::m_pQelSysApp, nullptr);
    QelBase object("x");
    object.SetName("bad\tname");
    EXPECT_EQ(object.GetName(), "bad_name");
    // A later application object registers afresh.
    {
        QelTestApp again;
        EXPECT_EQ(QelSysApp::m_pQelSysApp, &again);
        object.SetName("bad\nname");
        EXPECT_EQ(again.Messages().size(), 1u);
    }
    QelSysApp::m_pQelSysApp = pSaved;
}

TEST(QelSysApp, ObjectMessagesAreComposedExactly)
{
    QelCapture cap;
    PrintError("A", "value %d", 5);
    ASSERT_EQ(cap.Messages().size(), 1u);
    EXPECT_EQ(cap.Messages()[0], "<error>A - value 5<flush>");

    EXPECT_EQ(Compose("<warning>", "Box01", "Bad value"), "<warning>Box01 - Bad value<flush>");
    std::string long100(100, 'q');
    EXPECT_EQ(Compose("<error>", "n", "%s", long100.c_str()), "<error>n - " + long100 + "<flush>");
    EXPECT_EQ(Compose("<error>", "", ""), "<error> - <flush>");
    // A percent sign in the name survives to a literal console.
    PrintError("50%s", "%s", "x%d");
    EXPECT_EQ(cap.Messages().back(), "<error>50%s - x%d<flush>");
}

// A console that formats what it is given: names full of directives come out as they are, both in
// messages composed by objects and in framework messages that carry the name as an argument.
TEST(QelSysApp, PercentSignsInNamesReachAFormattingConsoleAsData)
{
    QelCapture cap;
    QelSandboxIcon icon;
    icon.SetName("50%s %n %d");
    icon.PrintError("value %s", "x%d%s");
    ASSERT_EQ(cap.Messages().size(), 1u);
    EXPECT_EQ(cap.Messages()[0], "<error>50%s %n %d - value x%d%s<flush>");
    icon.SetName("%s%s\t");
    EXPECT_EQ(cap.Messages().back(), "<warning> Invalid name [%s%s\t] has been changed to [%s%s_].\n");
}

