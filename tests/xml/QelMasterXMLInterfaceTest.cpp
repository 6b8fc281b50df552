#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelTestApp.h"
#include "tests/xml/QelXMLTestFiles.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <tuple>

namespace fs = std::filesystem;

namespace
{
using TempDir = QelXMLTempDir;

std::string ReadBytes(const std::string& strPath)
{
    std::ifstream f(strPath, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
}

void FillSample(QelMasterXMLInterface& x)
{
    x.NewData("Scene", "saved by a test");
    x.WriteInt("version", 3);
    x.AddAndMoveToChildNode("Object");
    x.WriteStringAttribute("name", "Box01");
    x.WriteFloatAttribute("size", 2.5f);
    x.WriteFloat("x", 1.25f);
    x.WriteString("note", "caf\xC3\xA9 & <tea>");
    x.WriteData("blob", "\x01\x02\x03\x04\x05", 5);
    x.MoveToRootNode();
}

void ExpectSample(QelMasterXMLInterface& x, const std::string& strForm)
{
    SCOPED_TRACE(strForm);
    ASSERT_TRUE(x.IsValid());
    EXPECT_EQ(x.GetNodeName(), "Scene");
    EXPECT_EQ(x.ReadInt("version", 0), 3);
    ASSERT_TRUE(x.MoveToChildNode("Object"));
    EXPECT_EQ(x.ReadStringAttribute("name", "") + "|" + x.ReadString("note", ""), "Box01|caf\xC3\xA9 & <tea>");
    EXPECT_EQ(x.ReadFloatAttribute("size", 0) * 100 + x.ReadFloat("x", 0), 251.25f);
    char data[5] = {};
    EXPECT_TRUE(x.ReadData("blob", data, 5));
    EXPECT_EQ(std::string(data, 5), "\x01\x02\x03\x04\x05");
    x.MoveToRootNode();
}

/// Every operation of a cursor without a document gives its failure value.
void ExpectNoDocument(QelMasterXMLInterface& x)
{
    QelXMLInterface& c = x;
    char buf[4];
    std::vector<char> vec(3, 'z');
    // Each entry is true when an operation did not give its failure value.
    const bool bWrong[] = {
        c.IsValid(), c.MoveToRootNode(), c.MoveToNextSibling(), c.MoveToPreviousSibling(), c.MoveToParent(),
        c.MoveToFirstChildNode(), c.MoveToLastChildNode(), c.MoveToChildNode(0u), c.MoveToChildNode("a"),
        c.AddChildNode("a"), c.AddAndMoveToChildNode("a"), c.PushPosition(), c.PopPosition(), c.ReadData("a", buf, 4),
        c.ReadData("a", vec), vec.size() != 3, c.WriteBool("a", true), c.WriteInt("a", 1), c.WriteChar("a", 'c'),
        c.WriteFloat("a", 1), c.WriteDouble("a", 1), c.WriteString("a", "s"), c.WriteData("a", "abc", 3),
        c.WriteStringAttribute("a", "s"), c.WriteFloatAttribute("a", 1), c.WriteIntAttribute("a", 1),
        c.WriteBoolAttribute("a", true), c.GetNumChildNodes() != 0, c.GetLineNumber() != 0,
        c.GetRootNodeName() + c.GetNodeName() + c.GetNodeContent() != "", !c.ReadBool("a", true),
        c.ReadInt("a", 7) != 7, c.ReadChar("a", 'q') != 'q', c.ReadFloat("a", 1.5f) != 1.5f,
        c.ReadDouble("a", 2.5) != 2.5, c.ReadString("a", "d") != "d", c.ReadStringAttribute("a", "d") != "d",
        c.ReadFloatAttribute("a", 1.5f) != 1.5f, c.ReadIntAttribute("a", 3) != 3, !c.ReadBoolAttribute("a", true),
        // These test no validity of their own and must refuse safely without a current node.
        c.MoveNodeForward(), c.MoveNodeBackward(), c.CopyNode(&x), c.RemoveNode()};
    for (size_t i = 0; i < std::size(bWrong); ++i)
        EXPECT_FALSE(bWrong[i]) << "operation #" << i;
}

/// Loads a memory block, which always answers false; the result is whether a document came of it.
bool LoadBlock(QelMasterXMLInterface& x, std::string strBlock)
{
    EXPECT_FALSE(x.LoadDataFromMemory(strBlock.empty() ? nullptr : &strBlock[0],
                                      static_cast<unsigned int>(strBlock.size())));
    return x.IsValid();
}
} // namespace

TEST(QelMasterXMLInterface, RoundTripsThroughFilesStringsAndMemoryBlocks)
{
    QelCapture cap;
    TempDir dir;
    QelMasterXMLInterface x;
    FillSample(x);
    x.PushPosition();

    // Files, plain and gzip-compressed, load through the same call.
    ASSERT_TRUE(x.SaveDataToFile(dir.File("plain.xml"), false) && x.SaveDataToFile(dir.File("packed.gz"), true));
    const std::string strFile = ReadBytes(dir.File("plain.xml"));
    EXPECT_EQ(strFile.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!--saved by a test-->\n<Scene>\n  <v", 0), 0u);
    EXPECT_EQ(ReadBytes(dir.File("packed.gz")).substr(0, 2), "\x1F\x8B");
    for (const char* pName : {"plain.xml", "packed.gz"})
    {
        QelMasterXMLInterface y;
        ASSERT_TRUE(y.LoadDataFromFile(dir.File(pName)));
        ExpectSample(y, pName);
        EXPECT_EQ(y.GetLineNumber(), 3u);
    }

    // Strings hold the current subtree without declaration.
    QelMasterXMLInterface fromString;
    std::string strAll = x.SaveDataToString();
    EXPECT_EQ(strAll.rfind("<Scene>\n    <version>3</version>", 0), 0u) << strAll;
    ASSERT_TRUE(fromString.LoadDataFromString(strAll));
    ExpectSample(fromString, "string");

    // Memory blocks: a flag byte, then the text or its length and the zlib stream.
    unsigned int nPlain = 0, nPacked = 0;
    std::unique_ptr<char[]> pPlain(x.SaveDataToMemory(nPlain, false)), pPacked(x.SaveDataToMemory(nPacked, true));
    ASSERT_TRUE(pPlain && pPacked);
    std::string strText(pPlain.get() + 1, nPlain - 1);
    EXPECT_EQ(pPlain[0], 0);
    EXPECT_EQ(strText.rfind("<?xml version=\"1.0\"?>\n<!--saved by a test-->\n<Scene><version>", 0), 0u) << strText;
    const unsigned char* p = reinterpret_cast<const unsigned char*>(pPacked.get());
    EXPECT_EQ(p[0], 1);
    EXPECT_EQ(p[1] | p[2] << 8 | p[3] << 16 | static_cast<unsigned int>(p[4]) << 24, nPlain - 1);
    EXPECT_LT(nPacked, nPlain);
    std::string strInflated(nPlain - 1, '\0');
    uLongf nInflated = strInflated.size();
    EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(&strInflated[0]), &nInflated, p + 5, nPacked - 5), Z_OK);
    EXPECT_EQ(strInflated, strText);
    EXPECT_TRUE(LoadBlock(fromString, std::string(pPacked.get(), nPacked)));
    ExpectSample(fromString, "compressed block");
    EXPECT_TRUE(LoadBlock(x, std::string(pPlain.get(), nPlain))); // into the object that saved it
    ExpectSample(x, "plain block");
    EXPECT_FALSE(x.PopPosition()); // loading empties the stack
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();

    // The cursor on a child writes that subtree only; without a document there is nothing to save.
    ASSERT_TRUE(x.MoveToChildNode("Object") && x.MoveToChildNode("x"));
    EXPECT_EQ(x.SaveDataToString(), "<x>1.25</x>");
    x.CloseData();
    EXPECT_EQ(x.SaveDataToString(), "");
    EXPECT_FALSE(x.SaveDataToFile(dir.File("none.xml"), false));
    EXPECT_FALSE(fs::exists(dir.File("none.xml")));
    unsigned int nSize = 77;
    EXPECT_EQ(x.SaveDataToMemory(nSize, true), nullptr);
    EXPECT_EQ(nSize, 0u);

    // A new document without a comment holds the root alone. NewData keeps the position stack,
    // whose entries belonged to the freed document.
    x.NewData("Root", "");
    x.PushPosition();
    x.NewData("Root", "");
    EXPECT_FALSE(x.PopPosition());
    pPlain.reset(x.SaveDataToMemory(nSize, false));
    EXPECT_EQ(std::string(pPlain.get(), nSize), std::string("\0<?xml version=\"1.0\"?>\n<Root/>\n", 31));
}

TEST(QelMasterXMLInterface, FailedLoadsReportAndLeaveNoDocument)
{
    QelCapture cap;
    QelMasterXMLInterface fresh;
    ExpectNoDocument(fresh); // quietly
    EXPECT_TRUE(cap.Messages().empty());
    TempDir dir;
    std::ofstream(dir.File("broken.xml")) << "<a><b></a>";
    std::ofstream(dir.File("empty.xml")) << "";
    const std::string strText = "<root><v>1</v></root>";
    const uint32_t n = static_cast<uint32_t>(strText.size());
    const std::string strGood = QelXMLCompressedBlock(strText, n);
    std::string strScrambled = strGood;
    for (size_t i = 7; i < strScrambled.size(); ++i)
        strScrambled[i] = static_cast<char>(strScrambled[i] ^ 0x5A);
    // Form (file, string, memory block), input, message (whole when it ends in a line break, else its start).
    const std::string kErr = "<error> QelXMLInterface - ";
    const std::tuple<char, std::string, std::string> cases[] = {
        {'f', dir.File("missing.xml"), "Failed to parse file [" + dir.File("missing.xml") + "]\n"},
        {'f', dir.m_path.string(), "Failed to parse file [" + dir.m_path.string() + "]\n"},
        {'f', dir.File("broken.xml"), "Failed to parse file [" + dir.File("broken.xml") + "]\n"},
        {'f', dir.File("empty.xml"), "Failed to parse file [" + dir.File("empty.xml") + "]\n"},
        {'s', "just words", "String [just words] is empty\n"},
        {'s', "", "Failed to parse string [][error:0x0]\n"},
        {'m', std::string("\0", 1), kErr + "Failed to parse data [error:0x0]\n"},
        {'m', std::string("\0hello", 6), kErr + "data is empty\n"},
        {'m', "", kErr + "memory block is empty\n"},
        {'m', std::string("\x01\x10\x00", 3), kErr + "compressed block of 3 bytes is shorter than its header\n"},
        {'m', std::string("\x02\x00\x00\x00\x00", 5), kErr},
        {'m', QelXMLCompressedBlock(strText, n - 1), kErr + "stored length 20 does not match"},
        {'m', QelXMLCompressedBlock(strText, n + 1), kErr + "stored length 22 does not match"},
        {'m', QelXMLCompressedBlock(strText, 0x00FFFFF0u), kErr + "stored length 16777200 is impossible"},
        {'m', QelXMLCompressedBlock(strText, 0xFFFFFFF0u),
         kErr + "a document of 4294967280 bytes is larger than the limit of 1073741824 bytes\n"},
        {'m', strGood.substr(0, strGood.size() - 4), kErr + "compressed data does not inflate"},
        {'m', strScrambled, kErr + "compressed data does not inflate"},
        {'m', std::string("\x01\x05\x00\x00\x00hello", 10), kErr + "compressed data does not inflate"},
        {'n', "", kErr}, // a null block with a size
    };
    QelMasterXMLInterface x;
    for (const auto& [cForm, strInput, strMessage] : cases)
    {
        SCOPED_TRACE(strMessage);
        x.NewData("stale", "");
        QelTestApp::Get().Clear();
        if (cForm == 'f' || cForm == 's')
            cForm == 'f' ? x.LoadDataFromFile(strInput) : x.LoadDataFromString(strInput);
        else
            EXPECT_FALSE(cForm == 'm' ? LoadBlock(x, strInput) : x.LoadDataFromMemory(nullptr, 10));
        ExpectNoDocument(x);
        ASSERT_EQ(cap.Messages().size(), 1u) << cap.Joined();
        const std::string& strGot = cap.Messages()[0];
        EXPECT_EQ(strMessage.back() == '\n' ? strGot : strGot.substr(0, strMessage.size()), strMessage);
    }
    // A recovering parse is no failure; the intact block still loads.
    QelTestApp::Get().Clear();
    EXPECT_TRUE(x.LoadDataFromString("<a><b>text</a>"));
    EXPECT_EQ(x.ReadString("b", ""), "text");
    EXPECT_TRUE(LoadBlock(x, strGood));
    EXPECT_EQ(x.ReadInt("v", 0), 1);
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
    // Saving into a folder or a missing folder fails, and leaves the document alone.
    EXPECT_FALSE(x.SaveDataToFile(dir.m_path.string(), false) || x.SaveDataToFile(dir.File("no/dir.xml"), true));
    EXPECT_TRUE(x.IsValid());
}

TEST(QelMasterXMLInterface, MalformedDeepAndHugeTextNeverBreaksTheCursor)
{
    QelCapture cap;
    QelMasterXMLInterface x;
    // Nesting past the limit and text nodes past libxml2's own limit have their own tests.
    const std::string inputs[] = {"<", "<a", "<a><b><c>", "<a x='1' x='2'/>", "<a>&undefined;</a>",
                                  "<a>\xFF\xFE\x00</a>", std::string(100000, '<'), "<a>" + std::string(3000, '\0'),
                                  "<?xml version='1.0' encoding='bogus'?><a/>",
                                  "<!DOCTYPE a [<!ENTITY e '&e;'>]><a>&e;</a>"};
    for (const std::string& s : inputs) // each either loads a usable document or none
    {
        x.LoadDataFromString(s);
        EXPECT_TRUE(!x.IsValid() || (x.GetNodeContent().size() <= s.size() && !x.SaveDataToString().empty()));
        unsigned int nDepth = 0;
        for (; x.IsValid() && x.MoveToFirstChildNode(); ++nDepth)
            x.ReadString("x", "");
        EXPECT_LT(nDepth, 20000u); // nesting far beyond the parser's limit is cut off, not followed
    }
}

namespace
{
int g_nHostErrors = 0;
void HostGenericError(void*, const char*, ...)
{
    ++g_nHostErrors;
}
} // namespace

TEST(QelMasterXMLInterface, CursorsComeAndGoQuietlyAndCleanUpTheParser)
{
    QelCapture cap;
    xmlSetGenericErrorFunc(nullptr, HostGenericError);
    g_nHostErrors = 0;
    // The parser's global state is cleaned up whenever the last cursor goes, and comes back.
    for (int i = 0; i < 50; ++i)
    {
        QelMasterXMLInterface a;
        EXPECT_TRUE(a.LoadDataFromString("<r><v>" + std::to_string(i) + "</v></b>")); // recovered, with errors
        {
            QelMasterXMLInterface b;
            b.NewData("b", "");
            EXPECT_TRUE(b.CopyNode(&a));
            EXPECT_FALSE(b.SaveDataToFile("/nonexistent/dir/qel.xml", false) || b.LoadDataFromFile("/nonexistent"));
        }
        EXPECT_EQ(a.ReadInt("v", -1), i);
    }
    EXPECT_GE(QelMasterXMLInterface::GetMemoryUsed(), 0);
    // libxml2's own diagnostics never reach the host's handler; the log has the files only.
    EXPECT_EQ(g_nHostErrors, 0);
    EXPECT_EQ(cap.Messages().size(), 50u);
    // Outside the library's calls the host's handler is in place again.
    xmlFreeDoc(xmlReadMemory("<a></b>", 7, "t.xml", nullptr, 0));
    EXPECT_GT(g_nHostErrors, 0);
    xmlSetGenericErrorFunc(nullptr, nullptr);
}
