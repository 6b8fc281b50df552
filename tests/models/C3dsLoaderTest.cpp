#include "qel/models/C3dsLoader.h"
#include "qel/models/QelModelData.h"
#include "qel/models/QelModelFormat.h"
#include "tests/models/Qel3dsTestFile.h"
#include "tests/models/QelModelTestSupport.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Qel3dsBytes;

namespace
{
/// Where the first chunk of the editor data starts in a file made by File().
const unsigned kFirstEditorChunk = 32;

/// Writes the bytes as strName into the folder and loads them; what loads must also come back bit
/// for bit from the own format.
bool Load(const QelModelTempDir& dir, const std::string& strName, const std::string& strBytes, QelModelData& data)
{
    bool bLoaded = RegisteredLoader("3ds").Load(dir.Write(strName, strBytes), data);
    if (bLoaded)
        ExpectOwnFormatRoundTrip(data, dir);
    return bLoaded;
}

std::string Triangle(const std::string& strName, const std::string& strFaceChunks = "")
{
    return Object(strName, Points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}) + Faces({{{0, 1, 2}}}, strFaceChunks));
}

/// Where a node places a position of one of its meshes.
QelVec3 Placed(const QelModelData& data, int nNode, const QelVec3& p)
{
    return data.WorldMatrix(nNode) * p;
}

void ExpectNear(const QelVec3& a, const QelVec3& b)
{
    EXPECT_NEAR(a.x, b.x, 1e-5f);
    EXPECT_NEAR(a.y, b.y, 1e-5f);
    EXPECT_NEAR(a.z, b.z, 1e-5f);
}
} // namespace

TEST(C3dsLoader, RegisteredWithItsLabel)
{
    QelModelFormat* p = QelModelFormat::GetFileHandlerForFilename("SCENE.3DS");
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetLabel(), "3D Studio MAX Files");
    EXPECT_NE(dynamic_cast<C3dsLoader*>(p), nullptr);
}

TEST(C3dsLoader, MeshesMaterialsAndTexturesFoundWithoutCase)
{
    QelModelTempDir dir;
    dir.Write("maps/wood.png", "not really an image");
    std::string strWood = Material("Wood", MaterialColor(0xA010, 51, 102, 153) + MaterialColor(0xA020, 255, 128, 0) +
                                               MaterialColor(0xA030, 255, 255, 255) + MaterialPercent(0xA040, 50) +
                                               MaterialPercent(0xA050, 25) + Flag(0xA081) +
                                               TextureMap("MAPS\\WOOD.PNG", 0x10, {2, 3}, {0.5f, 0.25f}, 30.0f));
    std::string strQuad =
        Object("Quad", Points({{0, 0, 0}, {2, 0, 0}, {2, 1, 0}, {0, 1, 0}}) +
                           TexCoords({{0, 0}, {1, 0}, {1, 1}, {0, 1}}) +
                           Faces({{{0, 1, 2}}, {{0, 2, 3}}}, MaterialGroup("Wood", {0, 1}) + Smoothing({1, 1})));
    QelCapture cap;
    QelModelData data;
    ASSERT_TRUE(Load(dir, "scene.3ds", File(strWood + strQuad + Triangle("Plain"), ""), data));
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();

    ASSERT_EQ(data.m_vMeshes.size(), 2u);
    EXPECT_EQ(data.NumTriangles(), 3u);
    // Sorted by name as the reader keeps them.
    const QelModelMesh& plain = data.m_vMeshes[0];
    const QelModelMesh& quad = data.m_vMeshes[1];
    EXPECT_EQ(plain.m_strName, "Plain");
    EXPECT_EQ(plain.m_nMaterial, -1);
    EXPECT_EQ(quad.m_strName, "Quad");
    EXPECT_EQ(quad.m_nMaterial, 0);
    EXPECT_EQ(quad.NumVertices(), 4u);
    ASSERT_EQ(quad.m_vTexCoords.size(), 1u);
    EXPECT_EQ(quad.m_vTexCoords[0][2], QelVec2(1, 1));
    EXPECT_EQ(data.m_cBounds.m_vecMin, QelVec3(0, 0, 0));
    EXPECT_EQ(data.m_cBounds.m_vecMax, QelVec3(2, 1, 0));

    ASSERT_EQ(data.m_vMaterials.size(), 1u);
    const QelModelMaterial& wood = data.m_vMaterials[0];
    EXPECT_EQ(wood.m_strName, "Wood");
    ExpectNear(QelVec3(wood.m_vecAmbient.x, wood.m_vecAmbient.y, wood.m_vecAmbient.z), QelVec3(0.2f, 0.4f, 0.6f));
    EXPECT_EQ(wood.m_vecDiffuse, QelVec4(1.0f, 128 / 255.0f, 0.0f, 0.75f));
    EXPECT_EQ(wood.m_vecSpecular, QelVec4(1, 1, 1, 1));
    EXPECT_FLOAT_EQ(wood.m_fShininess, 64.0f);
    EXPECT_FLOAT_EQ(wood.m_fOpacity, 0.75f);
    EXPECT_TRUE(wood.m_bTwoSided);
    ASSERT_EQ(wood.m_vTextures.size(), 1u);
    const QelModelTextureMap& map = wood.m_vTextures[0];
    EXPECT_EQ(map.m_eChannel, QelModelTextureMap::eChannelDiffuse);
    EXPECT_EQ(map.m_strFilename, dir.File("maps/wood.png"));
    EXPECT_EQ(map.m_vecScale, QelVec3(2, 3, 1));
    EXPECT_EQ(map.m_vecOffset, QelVec3(0.5f, 0.25f, 0));
    EXPECT_TRUE(map.m_bClamp);
    EXPECT_EQ(map.m_fRotation, 30.0f);

    // Without keyframes each object is a node below the root, placed by its mesh matrix.
    ASSERT_EQ(data.m_vNodes.size(), 3u);
    EXPECT_EQ(data.m_vNodes[0].m_strName, "scene.3ds");
    EXPECT_EQ(data.m_vNodes[2].m_strName, "Quad");
    EXPECT_EQ(data.m_vNodes[2].m_nParent, 0);
    EXPECT_EQ(data.m_vNodes[2].m_vMeshes, std::vector<int>{1});
}

TEST(C3dsLoader, SmoothingGroupsDecideWhichCornersShareNormals)
{
    // Two triangles folded along the edge 0-1 by 90 degrees.
    struct SRow
    {
        const char* pName;
        uint32_t nFirst, nSecond;
        size_t nVertices;
    };
    const SRow rows[] = {{"same group", 1, 1, 4}, {"groups share a bit", 3, 6, 4}, {"group 0 is hard", 0, 0, 6},
                         {"different groups", 1, 2, 6}};
    QelModelTempDir dir;
    for (const SRow& row : rows)
    {
        SCOPED_TRACE(row.pName);
        std::string strFold = Object("Fold", Points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}) +
                                                 Faces({{{0, 1, 2}}, {{1, 0, 3}}}, Smoothing({row.nFirst, row.nSecond})));
        QelModelData data;
        ASSERT_TRUE(Load(dir, "fold.3ds", File(strFold, ""), data));
        ASSERT_EQ(data.m_vMeshes.size(), 1u);
        const QelModelMesh& mesh = data.m_vMeshes[0];
        EXPECT_EQ(mesh.NumVertices(), row.nVertices);
        ASSERT_EQ(mesh.m_vNormals.size(), mesh.NumVertices());
        // The first corner of the first face: its own normal when hard, halfway when smooth.
        const QelVec3& n = mesh.m_vNormals[mesh.m_vTriangles[0]];
        if (row.nVertices == 4)
            ExpectNear(n, QelVec3(0, 0.70710678f, 0.70710678f));
        else
            ExpectNear(n, QelVec3(0, 0, 1));
    }
}

TEST(C3dsLoader, NodesPlaceMeshesWithPivotsAndUndoTheMeshMatrix)
{
    // "Box" is stored in world space at x 10 (its mesh matrix says so); its node moves it to x 5,
    // doubles it and turns about the pivot (1, 0, 0). "Small" hangs below it, moved up by 1; the
    // parent's pivot places the parent's mesh only.
    std::string strBox = Object("Box", Points({{10, 0, 0}, {11, 0, 0}, {10, 1, 0}}) + Faces({{{0, 1, 2}}}, "") +
                                           MeshMatrix({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {10, 0, 0}));
    std::string strKeys = ObjectNode(0, "Box", 0xFFFF, {1, 0, 0}, {5, 0, 0}, {2, 2, 2}) +
                          ObjectNode(1, "Small", 0, {0, 0, 0}, {0, 0, 1}, {1, 1, 1});
    QelModelTempDir dir;
    QelCapture cap;
    QelModelData data;
    ASSERT_TRUE(Load(dir, "nodes.3ds", File(strBox + Triangle("Small"), strKeys), data));
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
    ASSERT_EQ(data.m_vNodes.size(), 3u);
    const QelModelNode& box = data.m_vNodes[1];
    const QelModelNode& small = data.m_vNodes[2];
    EXPECT_EQ(box.m_strName, "Box");
    EXPECT_EQ(box.m_nParent, 0);
    EXPECT_EQ(small.m_strName, "Small");
    EXPECT_EQ(small.m_nParent, 1);
    ASSERT_EQ(box.m_vMeshes.size(), 1u);
    ASSERT_EQ(small.m_vMeshes.size(), 1u);
    const QelModelMesh& boxMesh = data.m_vMeshes[size_t(box.m_vMeshes[0])];
    const QelModelMesh& smallMesh = data.m_vMeshes[size_t(small.m_vMeshes[0])];
    // Object space: the mesh matrix undone.
    EXPECT_EQ(boxMesh.m_vPositions[1], QelVec3(1, 0, 0));
    ExpectNear(Placed(data, 1, boxMesh.m_vPositions[0]), QelVec3(3, 0, 0));
    ExpectNear(Placed(data, 1, boxMesh.m_vPositions[1]), QelVec3(5, 0, 0));
    ExpectNear(Placed(data, 1, boxMesh.m_vPositions[2]), QelVec3(3, 2, 0));
    ExpectNear(Placed(data, 2, smallMesh.m_vPositions[1]), QelVec3(7, 0, 2));
    ExpectNear(data.m_cBounds.m_vecMin, QelVec3(3, 0, 0));
    ExpectNear(data.m_cBounds.m_vecMax, QelVec3(7, 2, 2));
}

TEST(C3dsLoader, HostileFilesAreRefusedWithTheirFault)
{
    const std::string strSound = File(Triangle("Tri"), "");
    std::string strLyingPoints = File(Triangle("Tri"), "");
    // The point list (at 48) claims 200 bytes inside a mesh chunk of far fewer.
    strLyingPoints.replace(50, 4, Dword(200));
    const unsigned nPoints = kFirstEditorChunk + 6 + 4 + 6;
    struct SRow
    {
        const char* pName;
        std::string strBytes;
        std::string strMessage;
    };
    const SRow rows[] = {
        {"empty", "", "is not a 3DS file"},
        {"not 3DS", "hello, world", "is not a 3DS file"},
        {"truncated", strSound.substr(0, strSound.size() / 2),
         "is truncated: it holds " + std::to_string(strSound.size() / 2) + " of the " + std::to_string(strSound.size()) +
             " bytes it claims"},
        {"chunk size lies", strLyingPoints,
         "chunk 0x4110 at offset " + std::to_string(nPoints) + " claims 200 bytes, which do not fit its parent"},
        {"chunk of size 0", File(Object("Tri", Chunk(0x4110, Word(0)) + Word(0x4120) + Dword(0)), ""),
         "chunk 0x4120 at offset " + std::to_string(nPoints + 8) + " claims 0 bytes, which do not fit its parent"},
        {"count past the data", File(Object("Tri", Chunk(0x4110, Word(5) + Dword(0) + Dword(0) + Dword(0))), ""),
         "chunk 0x4110 at offset " + std::to_string(nPoints) + " counts more entries than it holds"},
        {"name without end", File(Object(std::string(70, 'n'), ""), ""),
         "chunk 0x4000 at offset " + std::to_string(kFirstEditorChunk) + " has a name that does not end within 64 bytes"},
        // Inside a texture map, where only the reader looks: a chunk of size 0 would hold it forever.
        {"reader led in circles",
         File(Material("M", Chunk(0xA200, Chunk(0xA300, Name("A.PNG")) + Word(0xA3FF) + Dword(0))), ""),
         "has chunk sizes that lead the reader in circles"}};
    QelModelTempDir dir;
    for (const SRow& row : rows)
    {
        SCOPED_TRACE(row.pName);
        QelCapture cap;
        QelModelData data;
        EXPECT_FALSE(Load(dir, "bad.3ds", row.strBytes, data));
        EXPECT_TRUE(data.Empty());
        ASSERT_EQ(cap.Messages().size(), 1u) << cap.Joined();
        EXPECT_EQ(cap.Messages()[0], "<error> C3dsLoader - [" + dir.File("bad.3ds") + "] " + row.strMessage + "\n");
    }
}

TEST(C3dsLoader, BadElementsAreSkippedAndTheRestLoads)
{
    struct SRow
    {
        const char* pName;
        std::string strBytes;
        std::string strMessage;
        size_t nTriangles;
        size_t nNodes;
    };
    const unsigned nFaces = kFirstEditorChunk + 6 + 4 + 6 + 6 + 2 + 36;
    const SRow rows[] = {
        {"face past the vertices",
         File(Object("Tri", Points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}) + Faces({{{0, 1, 2}}, {{0, 1, 7}}}, "")), ""),
         "object [Tri]: 1 faces index past its 3 vertices and are skipped", 1, 2},
        {"material group past the faces", File(Triangle("Tri", MaterialGroup("M", {0, 5})), ""),
         "chunk 0x4130 at offset " + std::to_string(nFaces + 6 + 2 + 8) + " names face 5 of 1; the material group is skipped",
         1, 2},
        {"node its own ancestor", File(Triangle("Tri"), ObjectNode(3, "Tri", 3, {}, {}, {1, 1, 1})),
         "keyframes skipped: node 3 is its own ancestor; the meshes are placed as stored", 1, 2},
        {"node id twice",
         File(Triangle("Tri"), ObjectNode(3, "Tri", 0xFFFF, {}, {}, {1, 1, 1}) + ObjectNode(3, "Tri", 0xFFFF, {}, {}, {1, 1, 1})),
         "keyframes skipped: node id 3 is used twice; the meshes are placed as stored", 1, 2},
        {"unknown material", File(Triangle("Tri", MaterialGroup("Nowhere", {0})), ""),
         "object [Tri] uses the unknown material [Nowhere]", 1, 2}};
    QelModelTempDir dir;
    for (const SRow& row : rows)
    {
        SCOPED_TRACE(row.pName);
        QelCapture cap;
        QelModelData data;
        ASSERT_TRUE(Load(dir, "odd.3ds", row.strBytes, data));
        EXPECT_EQ(data.NumTriangles(), row.nTriangles);
        EXPECT_EQ(data.m_vNodes.size(), row.nNodes);
        ASSERT_EQ(cap.Messages().size(), 1u) << cap.Joined();
        EXPECT_EQ(cap.Messages()[0], "<warning> C3dsLoader - [" + dir.File("odd.3ds") + "] " + row.strMessage + "\n");
    }
}

TEST(C3dsLoader, LoadsFromMemoryAndReportsMissingFiles)
{
    QelCapture cap;
    QelModelData data;
    std::string strBytes = File(Triangle("Tri"), "");
    ASSERT_TRUE(C3dsLoader::LoadFromMemory(strBytes.data(), strBytes.size(), "mem.3ds", "/nonexistent", data));
    EXPECT_EQ(data.NumTriangles(), 1u);
    EXPECT_FALSE(C3dsLoader::LoadFromMemory(nullptr, 10, "null.3ds", "/nonexistent", data));
    EXPECT_TRUE(data.Empty());
    QelModelTempDir dir;
    EXPECT_FALSE(RegisteredLoader("3ds").Load(dir.File("missing.3ds"), data));
    ASSERT_EQ(cap.Messages().size(), 2u) << cap.Joined();
    EXPECT_EQ(cap.Messages()[0], "<error> C3dsLoader - [null.3ds] is not a 3DS file\n");
    EXPECT_EQ(cap.Messages()[1], "<error> C3dsLoader - [" + dir.File("missing.3ds") + "] cannot be opened\n");
}
