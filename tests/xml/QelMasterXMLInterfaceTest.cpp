#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <zlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

namespace fs = std::filesystem;

namespace
{
/// A scratch folder of this test process, removed at the end.
struct TempDir
{
    TempDir()
    {
        m_path = fs::temp_directory_path() / ("qel_xml_test_" + std::to_string(::getpid()));
        fs::create_directories(m_path);
    }
    ~TempDir()
    {
        std::error_code ec;
        fs::remove_all(m_path, ec);
    }
    std::string File(const std::string& strName) const { return (m_path / strName).string(); }
    fs::path m_path;
};

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
    const char data[] = {1, 2, 3, 4, 5};
    x.WriteData("blob", data, sizeof(data));
    x.MoveToRootNode();
}

void ExpectSample(QelMasterXMLInterface& x)
{
    ASSERT_TRUE(x.IsValid());
    EXPECT_EQ(x.GetNodeName(), "Scene");
    EXPECT_EQ(x.ReadInt("version", 0), 3);
    ASSERT_TRUE(x.MoveToChildNode("Object"));
    EXPECT_EQ(x.ReadStringAttribute("name", ""), "Box01");
    EXPECT_FLOAT_EQ(x.ReadFloatAttribute("size", 0), 2.5f);
    EXPECT_FLOAT_EQ(x.ReadFloat("x", 0), 1.25f);
    EXPECT_EQ(x.ReadString("note", ""), "caf\xC3\xA9 & <tea>");
    char data[5] = {};
    EXPECT_TRUE(x.ReadData("blob", data, 5));
    EXPECT_EQ(data[4], 5);
    x.MoveToRootNode();
}

std::string MakeCompressedBlock(const std::string& strText, uint32_t nStored)
{
    uLongf n = compressBound(strText.size());
    std::string strOut(5 + n, '\0');
    compress2(reinterpret_cast<Bytef*>(&strOut[5]), &n, reinterpret_cast<const Bytef*>(strText.data()),
              strText.size(), 9);
    strOut.resize(5 + n);
    strOut[0] = 1;
    for (int i = 0; i < 4; ++i)
        strOut[1 + i] = static_cast<char>(nStored >> (8 * i));
    return strOut;
}

bool LoadBlock(QelMasterXMLInterface& x, std::string strBlock)
{
    EXPECT_FALSE(x.LoadDataFromMemory(strBlock.empty() ? nullptr : &strBlock[0],
                                      static_cast<unsigned int>(strBlock.size())));
    return x.IsValid();
}
} // namespace

TEST(QelMasterXMLInterface, NewDataMakesARootAndAnOptionalComment)
{
    TempDir dir;
    QelMasterXMLInterface x;
    x.NewData("Root", "c");
    EXPECT_TRUE(x.IsValid());
    EXPECT_EQ(x.GetNodeName(), "Root");
    ASSERT_TRUE(x.SaveDataToFile(dir.File("c.xml"), false));
    EXPECT_EQ(ReadBytes(dir.File("c.xml")), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!--c-->\n<Root/>\n");

    x.NewData("Root", "");
    unsigned int nSize = 0;
    std::unique_ptr<char[]> pBlock(x.SaveDataToMemory(nSize, false));
    ASSERT_TRUE(pBlock);
    EXPECT_EQ(std::string(pBlock.get() + 1, nSize - 1), "<?xml version=\"1.0\"?>\n<Root/>\n");

    // NewData keeps the object's position stack; its entries belonged to the freed document.
    x.PushPosition();
    x.NewData("Other", "");
    EXPECT_EQ(x.GetRootNodeName(), "Other");
    EXPECT_FALSE(x.PopPosition());
}

TEST(QelMasterXMLInterface, FilesRoundTripPlainAndCompressed)
{
    TempDir dir;
    QelMasterXMLInterface x;
    FillSample(x);
    ASSERT_TRUE(x.SaveDataToFile(dir.File("plain.xml"), false));
    ASSERT_TRUE(x.SaveDataToFile(dir.File("packed.xml.gz"), true));
    std::string strPlain = ReadBytes(dir.File("plain.xml"));
    std::string strPacked = ReadBytes(dir.File("packed.xml.gz"));
    EXPECT_EQ(strPlain.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!--saved by a test-->\n<Scene>\n  <", 0), 0u)
        << strPlain;
    ASSERT_GE(strPacked.size(), 2u);
    EXPECT_EQ(static_cast<unsigned char>(strPacked[0]), 0x1F); // gzip magic
    EXPECT_EQ(static_cast<unsigned char>(strPacked[1]), 0x8B);

    for (const char* pName : {"plain.xml", "packed.xml.gz"})
    {
        QelMasterXMLInterface y;
        ASSERT_TRUE(y.LoadDataFromFile(dir.File(pName))) << pName;
        ExpectSample(y);
        EXPECT_EQ(y.GetLineNumber(), 3u);
    }
}

TEST(QelMasterXMLInterface, StringsHoldTheCurrentSubtreeWithoutDeclaration)
{
    QelMasterXMLInterface x;
    FillSample(x);
    std::string strAll = x.SaveDataToString();
    EXPECT_EQ(strAll.rfind("<Scene>\n    <version>3</version>", 0), 0u) << strAll;
    QelMasterXMLInterface y;
    ASSERT_TRUE(y.LoadDataFromString(strAll));
    ExpectSample(y);

    ASSERT_TRUE(x.MoveToChildNode("Object"));
    ASSERT_TRUE(x.MoveToChildNode("x"));
    EXPECT_EQ(x.SaveDataToString(), "<x>1.25</x>");

    x.CloseData();
    EXPECT_FALSE(x.IsValid());
    EXPECT_EQ(x.SaveDataToString(), "");
    TempDir dir;
    EXPECT_FALSE(x.SaveDataToFile(dir.File("none.xml"), false));
    EXPECT_FALSE(fs::exists(dir.File("none.xml")));
}

TEST(QelMasterXMLInterface, StringsAreRecoveredOrReported)
{
    QelCapture cap;
    QelMasterXMLInterface x;
    EXPECT_TRUE(x.LoadDataFromString("<a><b>text</a>"));
    EXPECT_EQ(x.ReadString("b", ""), "text");
    EXPECT_TRUE(cap.Messages().empty());

    EXPECT_FALSE(x.LoadDataFromString("just words"));
    EXPECT_FALSE(x.IsValid());
    ASSERT_EQ(cap.Messages().size(), 1u);
    EXPECT_EQ(cap.Messages()[0], "String [just words] is empty\n");

    EXPECT_FALSE(x.LoadDataFromString(""));
    ASSERT_EQ(cap.Messages().size(), 2u);
    EXPECT_EQ(cap.Messages()[1], "Failed to parse string [][error:0x0]\n");
}

TEST(QelMasterXMLInterface, MemoryBlocksRoundTripAndAlwaysReturnFalse)
{
    QelCapture cap;
    QelMasterXMLInterface x;
    FillSample(x);
    x.PushPosition();
    unsigned int nPlain = 0, nPacked = 0;
    std::unique_ptr<char[]> pPlain(x.SaveDataToMemory(nPlain, false));
    std::unique_ptr<char[]> pPacked(x.SaveDataToMemory(nPacked, true));
    ASSERT_TRUE(pPlain && pPacked);
    EXPECT_EQ(pPlain[0], 0);
    std::string strText(pPlain.get() + 1, nPlain - 1);
    EXPECT_EQ(strText.rfind("<?xml version=\"1.0\"?>\n<!--saved by a test-->\n<Scene><version>", 0), 0u) << strText;
    EXPECT_EQ(pPacked[0], 1);
    const unsigned char* p = reinterpret_cast<const unsigned char*>(pPacked.get());
    EXPECT_EQ(p[1] | p[2] << 8 | p[3] << 16 | static_cast<unsigned int>(p[4]) << 24, nPlain - 1);
    EXPECT_LT(nPacked, nPlain);
    std::string strInflated(nPlain - 1, '\0');
    uLongf nInflated = strInflated.size();
    ASSERT_EQ(uncompress(reinterpret_cast<Bytef*>(&strInflated[0]), &nInflated,
                         reinterpret_cast<const Bytef*>(pPacked.get() + 5), nPacked - 5),
              Z_OK);
    EXPECT_EQ(strInflated, strText);

    for (auto* pBlock : {&pPlain, &pPacked})
    {
        QelMasterXMLInterface y;
        unsigned int n = pBlock == &pPlain ? nPlain : nPacked;
        EXPECT_FALSE(y.LoadDataFromMemory(pBlock->get(), n));
        ExpectSample(y);
    }
    // Loading empties the stack.
    EXPECT_FALSE(x.LoadDataFromMemory(pPlain.get(), nPlain));
    EXPECT_TRUE(x.IsValid());
    EXPECT_FALSE(x.PopPosition());
    EXPECT_TRUE(cap.Messages().empty());

    // Without a document there is nothing to save.
    x.CloseData();
    unsigned int nSize = 77;
    EXPECT_EQ(x.SaveDataToMemory(nSize, true), nullptr);
    EXPECT_EQ(nSize, 0u);
}

TEST(QelMasterXMLInterface, MemoryBlockFailuresUseTheirMessages)
{
    QelCapture cap;
    QelMasterXMLInterface x;
    EXPECT_FALSE(LoadBlock(x, std::string("\0", 1)));
    EXPECT_FALSE(LoadBlock(x, std::string("\0hello", 6)));
    ASSERT_EQ(cap.Messages().size(), 2u);
    EXPECT_EQ(cap.Messages()[0], "<error> QelXMLInterface - Failed to parse data [error:0x0]\n");
    EXPECT_EQ(cap.Messages()[1], "<error> QelXMLInterface - data is empty\n");
    std::string strText = "<a>1</a>";
    EXPECT_TRUE(LoadBlock(x, MakeCompressedBlock(strText, static_cast<uint32_t>(strText.size()))));
    EXPECT_EQ(cap.Messages().size(), 2u);
}

TEST(QelMasterXMLInterface, DamagedMemoryBlocksAreRefusedBeforeParsing)
{
    QelCapture cap;
    QelMasterXMLInterface x;
    std::string strText = "<root><v>1</v></root>";
    uint32_t n = static_cast<uint32_t>(strText.size());
    std::string strGood = MakeCompressedBlock(strText, n);

    struct Case
    {
        const char* pWhat;
        std::string strBlock;
    };
    std::string strBadData = strGood;
    for (size_t i = 7; i < strBadData.size(); ++i)
        strBadData[i] = static_cast<char>(strBadData[i] ^ 0x5A);
    const Case cases[] = {
        {"empty block", ""},
        {"header only partly there", std::string("\x01\x10\x00", 3)},
        {"header without data", std::string("\x02\x00\x00\x00\x00", 5)},
        {"stored length too short", MakeCompressedBlock(strText, n - 1)},
        {"stored length too long", MakeCompressedBlock(strText, n + 1)},
        {"stored length absurd", MakeCompressedBlock(strText, 0xFFFFFFF0u)},
        {"truncated stream", strGood.substr(0, strGood.size() - 4)},
        {"garbage stream", strBadData},
        {"not zlib at all", std::string("\x01\x05\x00\x00\x00hello", 10)},
    };
    for (const Case& c : cases)
    {
        cap.Messages();
        QelTestApp::Get().Clear();
        x.NewData("stale", "");
        EXPECT_FALSE(LoadBlock(x, c.strBlock)) << c.pWhat;
        EXPECT_FALSE(x.IsValid()) << c.pWhat;
        EXPECT_EQ(x.GetRootNodeName(), "") << c.pWhat;
        ASSERT_EQ(cap.Messages().size(), 1u) << c.pWhat;
        EXPECT_EQ(cap.Messages()[0].rfind("<error> QelXMLInterface - ", 0), 0u) << cap.Messages()[0];
    }
    EXPECT_FALSE(x.LoadDataFromMemory(nullptr, 10));
    EXPECT_FALSE(x.IsValid());
    EXPECT_TRUE(LoadBlock(x, strGood));
    EXPECT_EQ(x.ReadInt("v", 0), 1);
}

TEST(QelMasterXMLInterface, BadFilesAreReported)
{
    QelCapture cap;
    TempDir dir;
    QelMasterXMLInterface x;
    x.NewData("stale", "");
    std::string strMissing = dir.File("missing.xml");
    EXPECT_FALSE(x.LoadDataFromFile(strMissing));
    EXPECT_FALSE(x.IsValid());
    EXPECT_FALSE(x.LoadDataFromFile(dir.m_path.string()));
    {
        std::ofstream(dir.File("broken.xml")) << "<a><b></a>";
        std::ofstream(dir.File("empty.xml")) << "";
    }
    EXPECT_FALSE(x.LoadDataFromFile(dir.File("broken.xml")));
    EXPECT_FALSE(x.LoadDataFromFile(dir.File("empty.xml")));
    ASSERT_EQ(cap.Messages().size(), 4u);
    EXPECT_EQ(cap.Messages()[0], "Failed to parse file [" + strMissing + "]\n");
    EXPECT_EQ(cap.Messages()[1], "Failed to parse file [" + dir.m_path.string() + "]\n");
    EXPECT_EQ(cap.Messages()[2], "Failed to parse file [" + dir.File("broken.xml") + "]\n");
    EXPECT_EQ(cap.Messages()[3], "Failed to parse file [" + dir.File("empty.xml") + "]\n");

    // Saving into a folder or a missing folder fails without a word on stderr.
    x.NewData("r", "");
    EXPECT_FALSE(x.SaveDataToFile(dir.m_path.string(), false));
    EXPECT_FALSE(x.SaveDataToFile(dir.File("no/such/dir.xml"), true));
    EXPECT_TRUE(x.IsValid());
}

TEST(QelMasterXMLInterface, MalformedDeepAndHugeTextNeverBreaksTheCursor)
{
    QelCapture cap;
    QelMasterXMLInterface x;
    const std::string inputs[] = {
        "<",
        "<a",
        "<a><b><c>",
        "<a x='1' x='2'/>",
        "<a>&undefined;</a>",
        "<a>\xFF\xFE\x00</a>",
        std::string(100000, '<'),
        std::string("<a>") + std::string(3000, '\0'),
        "<?xml version='1.0' encoding='bogus'?><a/>",
        "<!DOCTYPE a [<!ENTITY e '&e;'>]><a>&e;</a>",
    };
    for (const std::string& s : inputs)
    {
        x.LoadDataFromString(s);
        if (x.IsValid())
        {
            x.GetNodeContent();
            x.SaveDataToString();
            while (x.MoveToFirstChildNode())
                x.ReadString("x", "");
        }
    }
    // Nesting far beyond the parser's limit is cut off, not followed.
    std::string strDeep;
    for (int i = 0; i < 20000; ++i)
        strDeep += "<d>";
    x.LoadDataFromString(strDeep);
    unsigned int nDepth = 0;
    while (x.IsValid() && x.MoveToFirstChildNode())
        ++nDepth;
    EXPECT_LT(nDepth, 20000u);

    // A text node beyond the parser's 10 MB limit is cut off, and the document still usable.
    std::string strHuge = "<r><t>" + std::string(11 * 1024 * 1024, 'x') + "</t><u>1</u></r>";
    if (x.LoadDataFromString(strHuge))
    {
        EXPECT_LE(x.ReadString("t", "").size(), strHuge.size());
        x.SaveDataToString();
    }

    // A large document is read whole.
    std::string strBig = "<r>";
    for (int i = 0; i < 50000; ++i)
        strBig += "<v>" + std::to_string(i) + "</v>";
    strBig += "</r>";
    ASSERT_TRUE(x.LoadDataFromString(strBig));
    EXPECT_EQ(x.GetNumChildNodes(), 50000u);
    ASSERT_TRUE(x.MoveToLastChildNode());
    EXPECT_EQ(x.GetNodeContent(), "49999");
}

TEST(QelMasterXMLInterface, LockSurvivesNavigationButNotTheDocument)
{
    QelMasterXMLInterface x;
    ASSERT_TRUE(x.LoadDataFromString("<r><a><b/></a></r>"));
    ASSERT_TRUE(x.MoveToChildNode("a"));
    x.LockRoot();
    x.MoveToRootNode();
    EXPECT_EQ(x.GetNodeName(), "a");
    EXPECT_EQ(x.SaveDataToString(), "<a>\n    <b/>\n  </a>");
    // The lock pointed into the freed document, so it cannot lead anywhere afterwards.
    x.CloseData();
    EXPECT_EQ(x.GetRootNodeName(), "");
    ASSERT_TRUE(x.LoadDataFromString("<s><t/></s>"));
    EXPECT_EQ(x.GetRootNodeName(), "s");
    x.UnlockRoot();
    EXPECT_EQ(x.GetNodeName(), "s");
}

TEST(QelMasterXMLInterface, CursorsComeAndGoWithoutLeaks)
{
    // The parser's global state is cleaned up whenever the last cursor goes, and comes back.
    for (int i = 0; i < 50; ++i)
    {
        QelMasterXMLInterface a;
        ASSERT_TRUE(a.LoadDataFromString("<r><v>" + std::to_string(i) + "</v></r>"));
        {
            QelMasterXMLInterface b;
            b.NewData("b", "");
            EXPECT_TRUE(b.CopyNode(&a));
        }
        EXPECT_EQ(a.ReadInt("v", -1), i);
    }
    EXPECT_GE(QelMasterXMLInterface::GetMemoryUsed(), 0);
}

namespace
{
int g_nHostErrors = 0;
void HostGenericError(void*, const char*, ...)
{
    ++g_nHostErrors;
}
} // namespace

TEST(QelMasterXMLInterface, LibxmlDiagnosticsAreSilencedAndTheHostHandlerKept)
{
    QelCapture cap;
    xmlSetGenericErrorFunc(nullptr, HostGenericError);
    g_nHostErrors = 0;
    QelMasterXMLInterface x;
    EXPECT_TRUE(x.LoadDataFromString("<a></b>")); // recovered, with errors along the way
    EXPECT_FALSE(x.LoadDataFromFile("/nonexistent/qel.xml"));
    x.NewData("r", "");
    EXPECT_FALSE(x.SaveDataToFile("/nonexistent/dir/qel.xml", false));
    EXPECT_EQ(g_nHostErrors, 0);
    EXPECT_EQ(cap.Messages().size(), 1u); // the file; the string was recovered
    // Outside the library's calls the host's handler is in place again.
    xmlDocPtr pDoc = xmlReadMemory("<a></b>", 7, "t.xml", nullptr, 0);
    EXPECT_GT(g_nHostErrors, 0);
    xmlFreeDoc(pDoc);
    xmlSetGenericErrorFunc(nullptr, nullptr);
}
