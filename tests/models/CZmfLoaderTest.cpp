#include "qel/models/CZmfLoader.h"
#include "qel/models/QelModelData.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/models/QelModelTestSupport.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>

namespace
{
/// A model that uses every field: two nodes deep, odd floats, every attribute, names of any bytes.
QelModelData RichModel(const QelModelTempDir& dir)
{
    QelModelData data;
    QelModelMaterial mat;
    mat.m_strName = "caf\xC3\xA9 <&> \x01";
    mat.m_vecDiffuse = QelVec4(0.1f, 0.2f, 0.3f, 0.4f);
    mat.m_fShininess = 1e-30f;
    mat.m_fOpacity = 0.4f;
    mat.m_nIllumination = 7;
    QelModelTextureMap map;
    map.m_eChannel = QelModelTextureMap::eChannelOpacity;
    map.m_strFilename = dir.File("maps/alpha.png");
    map.m_vecOffset = QelVec3(0.1f, -0.2f, 3.0f);
    map.m_bClamp = true;
    map.m_nTexCoordLayer = 1;
    mat.m_vTextures.push_back(map);
    data.m_vMaterials.push_back(mat);
    data.m_vMaterials.emplace_back();

    QelModelMesh mesh;
    mesh.m_strName = "body";
    mesh.m_nMaterial = 0;
    mesh.m_vPositions = {QelVec3(0, 0, 0), QelVec3(1, 0, 0), QelVec3(0, 1, 0), QelVec3(-0.0f, 1e-40f, 3.4e38f)};
    mesh.m_vNormals = {QelVec3(0, 0, 1), QelVec3(0, 0, 1), QelVec3(0, 0, 1), QelVec3(0, 1, 0)};
    mesh.m_vTexCoords = {{QelVec2(0, 0), QelVec2(1, 0), QelVec2(0, 1), QelVec2(0.5f, 0.5f)},
                         {QelVec2(2, 2), QelVec2(3, 3), QelVec2(4, 4), QelVec2(5, 5)}};
    mesh.m_vColors = {0xFF0000FFu, 0xFF00FF00u, 0xFFFF0000u, 0x80808080u};
    mesh.m_vTriangles = {0, 1, 2};
    mesh.m_vLines = {2, 3};
    mesh.m_vPoints = {3};
    data.m_vMeshes.push_back(mesh);
    mesh.m_strName = "";
    mesh.m_nMaterial = -1;
    mesh.m_vTexCoords.clear();
    mesh.m_vColors.clear();
    data.m_vMeshes.push_back(mesh);

    QelModelNode root;
    root.m_strName = "root";
    root.m_vMeshes = {1};
    QelModelNode child;
    child.m_strName = "child";
    child.m_nParent = 0;
    child.m_matLocal.m_fM[12] = 10.0f;
    child.m_matLocal.m_fM[1] = 0.333333343f;
    child.m_vMeshes = {0};
    data.m_vNodes = {root, child};
    data.ComputeBounds();
    return data;
}

std::string ReadFile(const std::string& strPath)
{
    std::ifstream f(strPath, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
}
} // namespace

TEST(CZmfLoader, WritesGzipAndReadsBackEveryFieldBitForBit)
{
    QelModelTempDir dir;
    QelCapture cap;
    QelModelData data = RichModel(dir);
    ExpectOwnFormatRoundTrip(data, dir);
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
    std::string strBytes = ReadFile(dir.File("roundtrip.zmf"));
    ASSERT_GE(strBytes.size(), 2u);
    EXPECT_EQ(strBytes.substr(0, 2), "\x1F\x8B"); // gzip
    // Texture names are stored relative to the model file.
    QelMasterXMLInterface xml;
    ASSERT_TRUE(xml.LoadDataFromFile(dir.File("roundtrip.zmf")));
    EXPECT_EQ(xml.GetNodeName(), "ZubModel");
    EXPECT_EQ(xml.ReadIntAttribute("version", 0), 1);
    ASSERT_TRUE(xml.MoveToChildNode("Materials") && xml.MoveToChildNode("Material") && xml.MoveToChildNode("Texture"));
    EXPECT_EQ(xml.ReadString("Filename", ""), "maps/alpha.png");
}

TEST(CZmfLoader, LargeArraysAreSplitIntoChunks)
{
    QelModelTempDir dir;
    QelModelData data;
    QelModelMesh mesh;
    for (uint32_t i = 0; i < 500000; ++i)
        mesh.m_vPositions.emplace_back(float(i), float(i) * 0.5f, -float(i));
    for (uint32_t i = 0; i + 2 < 500000; i += 3)
        mesh.m_vTriangles.insert(mesh.m_vTriangles.end(), {i, i + 1, i + 2});
    data.m_vMeshes.push_back(mesh);
    data.ComputeBounds();
    ExpectOwnFormatRoundTrip(data, dir);
}

TEST(CZmfLoader, BadDocumentsAreRefusedWithAMessage)
{
    struct Row
    {
        const char* m_pName;
        std::string m_strText;
        std::string m_strMessage; // after "<error> CZmfLoader - [t.zmf] "
    };
    const std::string kHead = "<ZubModel version=\"1\"><Meshes><Mesh><Positions count=\"";
    const Row kRows[] = {
        {"another root", "<Scene/>", "is not a ZUB model document"},
        {"newer version", "<ZubModel version=\"2\"/>", "has version 2; this library reads versions 1 to 1"},
        {"no version", "<ZubModel/>", "has version 0; this library reads versions 1 to 1"},
        {"count beyond the data", kHead + "1000000000\"><D0>AAAA</D0></Positions></Mesh></Meshes></ZubModel>",
         "line 1: [Positions] claims 1000000000 elements, more than it holds"},
        {"count past the address space", kHead + "99999999999999999999\"/></Mesh></Meshes></ZubModel>",
         "line 1: [Positions] claims 99999999999999999999 elements, more than it holds"},
        {"count that is no number", kHead + "x\"/></Mesh></Meshes></ZubModel>",
         "line 1: [Positions] claims x elements, more than it holds"},
        {"short chunk", kHead + "2\"><D0>AAAAAAAA</D0></Positions></Mesh></Meshes></ZubModel>",
         "line 1: [Positions] holds fewer bytes than its count says"},
        {"short material", "<ZubModel version=\"1\"><Materials><Material><Values>AAAA</Values></Material></Materials></ZubModel>",
         "line 1: [Values] is missing or too short"},
    };
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.m_pName);
        QelCapture cap;
        QelModelData data;
        EXPECT_FALSE(CZmfLoader::LoadFromMemory(row.m_strText.data(), row.m_strText.size(), "t.zmf", data));
        EXPECT_TRUE(data.Empty());
        EXPECT_EQ(cap.Messages(), std::vector<std::string>{"<error> CZmfLoader - [t.zmf] " + row.m_strMessage + "\n"});
    }
}

TEST(CZmfLoader, BadReferencesAreDroppedWithAWarning)
{
    QelModelTempDir dir;
    QelModelData data = RichModel(dir);
    data.m_vMeshes[0].m_vTriangles = {0, 1, 2, 0, 1, 9};
    data.m_vMeshes[0].m_nMaterial = 5;
    data.m_vNodes[1].m_vMeshes = {0, 7};
    QelMasterXMLInterface xml;
    ASSERT_TRUE(CZmfLoader::WriteDocument(xml, data, dir.File("m.zmf")));
    QelCapture cap;
    QelModelData back;
    ASSERT_TRUE(CZmfLoader::ReadDocument(xml, back, dir.File("m.zmf")));
    EXPECT_EQ(cap.Messages(),
              std::vector<std::string>{"<warning> CZmfLoader - [" + dir.File("m.zmf") + "] had 3 bad references; they were dropped\n"});
    EXPECT_EQ(back.m_vMeshes[0].m_vTriangles, (std::vector<uint32_t>{0, 1, 2}));
    EXPECT_EQ(back.m_vMeshes[0].m_nMaterial, -1);
    EXPECT_EQ(back.m_vNodes[1].m_vMeshes, std::vector<int>{0});
}

TEST(CZmfLoader, FilesThatAreNotModelsFail)
{
    QelModelTempDir dir;
    QelModelFormat& loader = RegisteredLoader("zmf");
    QelModelData data;
    {
        QelCapture cap;
        EXPECT_FALSE(loader.Load(dir.Path(), data));
        EXPECT_EQ(cap.Messages(), std::vector<std::string>{"<error> CZmfLoader - [" + dir.Path() + "] is a folder, not a file\n"});
    }
    {
        QelCapture cap;
        std::string strFile = dir.Write("junk.zmf", "\x1F\x8B\x08 truncated gzip");
        EXPECT_FALSE(loader.Load(strFile, data));
        EXPECT_EQ(cap.Messages(), std::vector<std::string>{"<error> CZmfLoader - [" + strFile +
                                                           "] is damaged: its compressed data is cut short or corrupt\n"});
    }
}

TEST(CZmfLoader, FilesCutShortOrDamagedAreRefusedNamingTheFile)
{
    QelModelTempDir dir;
    QelModelData data = RichModel(dir);
    QelModelFormat& loader = RegisteredLoader("zmf");
    const std::string strGood = dir.File("good.zmf");
    ASSERT_TRUE(loader.Save(strGood, data));
    const std::string strBytes = ReadFile(strGood);
    struct Row
    {
        const char* m_pName;
        std::string m_strBytes;
        std::string m_strMessage; // after "<error> CZmfLoader - [<file>] "
    };
    const Row kRows[] = {
        {"gzip cut in the middle", strBytes.substr(0, strBytes.size() / 2),
         "is damaged: its compressed data is cut short or corrupt"},
        {"array chunk with characters outside base64",
         "<ZubModel version=\"1\"><Meshes><Mesh><Positions count=\"1\"><D0>AAAAAA*AAAAAAAAAAAAA</D0></Positions>"
         "</Mesh></Meshes></ZubModel>",
         "line 1: [Positions] is damaged: 1 of its characters are not base64"},
    };
    QelModelData back;
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.m_pName);
        const std::string strFile = dir.Write("bad.zmf", row.m_strBytes);
        QelCapture cap;
        EXPECT_FALSE(loader.Load(strFile, back));
        EXPECT_TRUE(back.Empty());
        EXPECT_EQ(cap.Messages(), std::vector<std::string>{"<error> CZmfLoader - [" + strFile + "] " + row.m_strMessage + "\n"});
    }
    {
        SCOPED_TRACE("text that is not XML");
        const std::string strFile = dir.Write("text.zmf", "<ZubModel version=\"1\"><Meshes>");
        QelCapture cap;
        EXPECT_FALSE(loader.Load(strFile, back));
        ASSERT_EQ(cap.Messages().size(), 1u);
        EXPECT_EQ(cap.Messages()[0].rfind("<error> CZmfLoader - [" + strFile + "] is not well-formed XML (line 1: ", 0), 0u)
            << cap.Joined();
    }
}

TEST(CZmfLoader, DocumentsWrittenByTheXmlSaverLoad)
{
    // Files of the first releases were the document saved indented at level 9, each array's chunks
    // as text nodes; a host may also write one in two gzip members, or plain.
    QelModelTempDir dir;
    QelModelData data = RichModel(dir);
    QelModelFormat& loader = RegisteredLoader("zmf");
    const std::string strFile = dir.File("indented.zmf");
    QelMasterXMLInterface xml;
    ASSERT_TRUE(CZmfLoader::WriteDocument(xml, data, strFile));
    ASSERT_TRUE(xml.SaveDataToFile(strFile, true));
    QelModelData back;
    ASSERT_TRUE(loader.Load(strFile, back));
    ExpectSameModel(data, back);

    const std::string strPlain = dir.File("plain.zmf");
    ASSERT_TRUE(xml.SaveDataToFile(strPlain, false));
    const std::string strText = ReadFile(strPlain);
    const std::string strTwo = dir.File("two.zmf");
    for (const char* pMode : {"wb", "ab"})
    {
        gzFile gz = gzopen(strTwo.c_str(), pMode);
        ASSERT_NE(gz, nullptr);
        const std::string strHalf = pMode[0] == 'w' ? strText.substr(0, strText.size() / 2) : strText.substr(strText.size() / 2);
        EXPECT_EQ(gzwrite(gz, strHalf.data(), unsigned(strHalf.size())), int(strHalf.size()));
        gzclose(gz);
    }
    for (const std::string& strPath : {strPlain, strTwo})
    {
        SCOPED_TRACE(strPath);
        QelCapture cap;
        QelModelData other;
        ASSERT_TRUE(loader.Load(strPath, other)) << cap.Joined();
        ExpectSameModel(data, other);
    }
}
