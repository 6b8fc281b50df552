#include "qel/models/CObjLoader.h"
#include "qel/models/QelModelData.h"
#include "tests/models/QelModelTestSupport.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{
const char* const kQuad = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n";

/// Loads, and expects the own format written in another folder (texture names relative across
/// folders) to give back the same data.
bool Load(const std::string& strFile, QelModelData& data)
{
    QelModelFormat& loader = RegisteredLoader("obj");
    bool bLoaded = loader.Load(strFile, data);
    if (bLoaded)
    {
        QelModelTempDir other;
        ExpectOwnFormatRoundTrip(data, other);
    }
    return bLoaded;
}
} // namespace

TEST(CObjMaterial, LibraryGivesColorsShininessTransparencyAndTextureOptions)
{
    QelModelTempDir dir;
    dir.Write("textures/wood.png", "not really an image");
    dir.Write("textures/bump map.png", "x");
    // Made on Windows: the library and the texture are named in another case, with backslashes.
    dir.Write("scene.mtl", "# materials\r\nnewmtl wood\r\nKa 0.1 0.2 0.3\r\nKd 0.5 0.25 0.125\r\nKs 1\r\n"
                           "Ns 500\r\nd 0.5\r\nillum 2\r\nmap_Kd -o 0.5 0.25 -s 2 3 1 -clamp on Textures\\WOOD.png\r\n"
                           "map_bump -bm 0.5 textures\\bump map.png\r\n"
                           "newmtl glass\nKd 0 0 1\nTr 0.75\nKe 0.1 0.1 0.1\n");
    std::string strObj = dir.Write("scene.obj", std::string("mtllib Scene.MTL\n") + kQuad +
                                                    "usemtl wood\nf 1/1 2/2 3/3 4/4\nusemtl glass\nf 1 3 4\n");
    QelCapture cap;
    QelModelData data;
    ASSERT_TRUE(Load(strObj, data));
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
    ASSERT_EQ(data.m_vMaterials.size(), 2u);
    const QelModelMaterial& wood = data.m_vMaterials[0];
    EXPECT_EQ(wood.m_strName, "wood");
    EXPECT_EQ(wood.m_vecAmbient, QelVec4(0.1f, 0.2f, 0.3f, 1.0f));
    EXPECT_EQ(wood.m_vecDiffuse, QelVec4(0.5f, 0.25f, 0.125f, 0.5f));
    EXPECT_EQ(wood.m_vecSpecular, QelVec4(1, 1, 1, 1));
    EXPECT_FLOAT_EQ(wood.m_fShininess, 64.0f);
    EXPECT_FLOAT_EQ(wood.m_fOpacity, 0.5f);
    EXPECT_TRUE(wood.IsTranslucent());
    EXPECT_EQ(wood.m_nIllumination, 2);
    ASSERT_EQ(wood.m_vTextures.size(), 2u);
    const QelModelTextureMap* pDiffuse = wood.FindTexture(QelModelTextureMap::eChannelDiffuse);
    ASSERT_NE(pDiffuse, nullptr);
    EXPECT_EQ(pDiffuse->m_strFilename, dir.File("textures/wood.png"));
    EXPECT_EQ(pDiffuse->m_vecOffset, QelVec3(0.5f, 0.25f, 0.0f));
    EXPECT_EQ(pDiffuse->m_vecScale, QelVec3(2, 3, 1));
    EXPECT_TRUE(pDiffuse->m_bClamp);
    const QelModelTextureMap* pBump = wood.FindTexture(QelModelTextureMap::eChannelBump);
    ASSERT_NE(pBump, nullptr);
    EXPECT_EQ(pBump->m_strFilename, dir.File("textures/bump map.png"));
    EXPECT_FLOAT_EQ(pBump->m_fBumpScale, 0.5f);
    const QelModelMaterial& glass = data.m_vMaterials[1];
    EXPECT_FLOAT_EQ(glass.m_fOpacity, 0.25f);
    EXPECT_EQ(glass.m_vecEmissive, QelVec4(0.1f, 0.1f, 0.1f, 1.0f));
    EXPECT_EQ(data.NumTextures(), 2u);
    ASSERT_EQ(data.m_vMeshes.size(), 2u);
    EXPECT_EQ(data.m_vMeshes[0].m_nMaterial, 0);
    EXPECT_EQ(data.m_vMeshes[1].m_nMaterial, 1);
}

TEST(CObjMaterial, MissingLibrariesAndTexturesWarnAndFallBackToTheDefault)
{
    QelModelTempDir dir;
    dir.Write("lib.mtl", "newmtl red\nKd 1 0 0\nmap_Kd gone.png\n");
    std::string strObj = dir.Write("m.obj", std::string("mtllib nowhere.mtl\nmtllib lib.mtl\n") + kQuad +
                                                "usemtl red\nf 1 2 3\nusemtl green\nf 1 3 4\n");
    QelCapture cap;
    QelModelData data;
    ASSERT_TRUE(Load(strObj, data));
    EXPECT_EQ(cap.Messages(),
              (std::vector<std::string>{
                  "<warning> CObjLoader - [" + strObj +
                      "] line 1: material library [nowhere.mtl] not found; its materials are drawn with the default material\n",
                  "<warning> CObjLoader - [" + dir.File("lib.mtl") +
                      "] line 3: texture [gone.png] not found; the material is drawn without it\n",
                  "<warning> CObjLoader - [" + strObj + "] material [green] is not defined; the default material is used\n"}));
    ASSERT_EQ(data.m_vMaterials.size(), 2u);
    EXPECT_EQ(data.m_vMaterials[0].m_vecDiffuse, QelVec4(1, 0, 0, 1));
    EXPECT_TRUE(data.m_vMaterials[0].m_vTextures.empty());
    EXPECT_EQ(data.m_vMaterials[1].m_strName, "green");
    EXPECT_EQ(data.m_vMaterials[1].m_vecDiffuse, QelModelMaterial().m_vecDiffuse);
}

TEST(CObjMaterial, LibrariesNamingEachOtherAreReadOnce)
{
    QelModelTempDir dir;
    dir.Write("a.mtl", "mtllib b.mtl\nnewmtl a\nKd 1 0 0\n");
    dir.Write("b.mtl", "mtllib a.mtl\nmtllib b.mtl\nnewmtl b\nKd 0 1 0\n");
    dir.Write("folder.mtl/x", "");
    std::string strObj = dir.Write("m.obj", std::string("mtllib a.mtl\nmtllib a.mtl\nmtllib folder.mtl\n") + kQuad +
                                                "usemtl b\nf 1 2 3\n");
    QelCapture cap;
    QelModelData data;
    ASSERT_TRUE(Load(strObj, data));
    ASSERT_EQ(data.m_vMaterials.size(), 2u);
    EXPECT_EQ(data.m_vMaterials[0].m_strName, "b");
    EXPECT_EQ(data.m_vMaterials[1].m_strName, "a");
    EXPECT_EQ(data.m_vMeshes[0].m_nMaterial, 0);
    // The folder is not a library.
    EXPECT_EQ(cap.Messages(),
              std::vector<std::string>{"<warning> CObjLoader - [" + strObj +
                                       "] line 3: material library [folder.mtl] not found; its materials are drawn with the default material\n"});
}

TEST(CObjMaterial, BadLibraryTextIsReportedWithItsLine)
{
    struct Row
    {
        const char* m_pName;
        std::string m_strText;
        std::string m_strMessage;
    };
    const Row kRows[] = {
        {"statement before newmtl", "Kd 1 0 0\n", "line 1: [Kd] before any newmtl skipped"},
        {"bad color", "newmtl m\nKd red\n", "line 2: bad value of [Kd] skipped"},
        {"infinite shininess", "newmtl m\nNs inf\n", "line 2: bad value of [Ns] skipped"},
        {"unknown statement", "newmtl m\nwobble 1\n", "line 2: unknown statement [wobble] skipped"},
        {"texture without a name", "newmtl m\nmap_Kd -clamp on\n", "line 2: texture statement without a file name skipped"},
        {"binary", std::string("newmtl m\nKd\0 1", 14), "line 2: binary data (a zero byte) where text was expected"},
    };
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.m_pName);
        QelCapture cap;
        QelModelData data;
        EXPECT_TRUE(CObjLoader::LoadMaterialsFromMemory(row.m_strText.data(), row.m_strText.size(), "t.mtl", "/nonexistent", data));
        ASSERT_FALSE(cap.Messages().empty());
        std::string strTag = row.m_pName == std::string("binary") ? "<error>" : "<warning>";
        EXPECT_EQ(cap.Messages()[0], strTag + " CObjLoader - [t.mtl] " + row.m_strMessage + "\n");
    }
}
