#include "qel/buffers/QelGeometryBuffer.h"
#include "qel/display/QelPickMesh.h"
#include "qel/models/QelModel.h"
#include "qel/models/QelModelFormat.h"
#include "qel/platform/QelOffscreenContext.h"
#include "qel/properties/QelProperty.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/materials/QelMaterialsTestUtil.h"
#include "tests/models/Qel3dsTestFile.h"
#include "tests/models/QelModelTestSupport.h"
#include "tests/models/QelShpTestFile.h"
#include "tests/support/QelGLTest.h"
#include "tests/support/QelTestApp.h"

#include <GL/glew.h>
#include <gtest/gtest.h>
#include <shapefil.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace
{
const int kSize = 64;

constexpr uint32_t Rgb(int r, int g, int b)
{
    return uint32_t(r) | uint32_t(g) << 8 | uint32_t(b) << 16;
}

/// Color channels within a few steps of each other (rasterizers round differently).
void ExpectPixel(int x, int y, uint32_t nExpected, const char* pWhere)
{
    const uint32_t n = QelOffscreenContext::ReadPixel(x, y);
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(int((n >> (8 * c)) & 255), int((nExpected >> (8 * c)) & 255), 3)
            << pWhere << " at (" << x << ", " << y << "), channel " << c;
}

/// A black frame seen straight down -Z over [-1, 1] in x and y, unlit, with depth testing.
void BeginFrame()
{
    glViewport(0, 0, kSize, kSize);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-1, 1, -1, 1, -10, 10);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glDisable(GL_LIGHTING);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LESS);
}

std::string Quad(float x0, float y0, float x1, float y1, float z)
{
    char a[256];
    std::snprintf(a, sizeof(a), "v %g %g %g\nv %g %g %g\nv %g %g %g\nv %g %g %g\n", x0, y0, z, x1, y0, z, x1, y1, z, x0,
                  y1, z);
    return a;
}

/// A red quad on the left and a textured one on the right (blue texels above green ones).
std::string WriteTwoQuads(const QelModelTempDir& dir, const std::string& strMapOptions = "")
{
    EXPECT_TRUE(qeltest::WriteImage(dir.File("Bands.png"), 8, 8, qeltest::TwoBands(8, 8, 0xFFFF0000u, 0xFF00FF00u)));
    dir.Write("quads.mtl", "newmtl red\nKd 1 0 0\nnewmtl painted\nKd 1 1 1\nmap_Kd " + strMapOptions + "bands.PNG\n");
    return dir.Write("quads.obj", "mtllib quads.mtl\n" + Quad(-0.9f, -0.9f, -0.1f, 0.9f, 0) +
                                      Quad(0.1f, -0.9f, 0.9f, 0.9f, 0) +
                                      "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n"
                                      "usemtl red\nf 1 2 3 4\nusemtl painted\nf 5/1 6/2 7/3 8/4\n");
}

void ExpectTwoQuads(const char* pWhat)
{
    ExpectPixel(16, 32, Rgb(255, 0, 0), pWhat);
    ExpectPixel(48, 50, Rgb(0, 0, 255), pWhat);
    ExpectPixel(48, 14, Rgb(0, 255, 0), pWhat);
    ExpectPixel(32, 32, Rgb(0, 0, 0), pWhat);
}
} // namespace

TEST(QelModelDraw, ShowsMaterialColorsAndTexturesTheRightWayUp)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    QelModelTempDir dir;
    QelCapture cap;
    QelModel model;
    ASSERT_TRUE(model.LoadFile(WriteTwoQuads(dir)));
    const unsigned nBytesBefore = QelGeometryBuffer::VideoMemoryVertexBytes();
    BeginFrame();
    model.Render();
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
    ExpectTwoQuads("first frame");
    const unsigned nBytesUploaded = QelGeometryBuffer::VideoMemoryVertexBytes();
    EXPECT_GT(nBytesUploaded, nBytesBefore);
    // The second frame draws what the first uploaded.
    BeginFrame();
    model.Render();
    ExpectTwoQuads("second frame");
    EXPECT_EQ(QelGeometryBuffer::VideoMemoryVertexBytes(), nBytesUploaded);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(QelModelDraw, TextureScaleRepeatsTheImage)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    QelModelTempDir dir;
    QelModel model;
    ASSERT_TRUE(model.LoadFile(WriteTwoQuads(dir, "-s 1 2 1 ")));
    BeginFrame();
    model.Render();
    // Twice the image up the quad: blue, green, blue, green from the top.
    ExpectPixel(48, 50, Rgb(0, 0, 255), "upper copy, top band");
    ExpectPixel(48, 40, Rgb(0, 255, 0), "upper copy, bottom band");
    ExpectPixel(48, 24, Rgb(0, 0, 255), "lower copy, top band");
    ExpectPixel(48, 14, Rgb(0, 255, 0), "lower copy, bottom band");
}

TEST(QelModelDraw, MissingTextureIsAWarningAndAnUntexturedMaterial)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    QelModelTempDir dir;
    const std::string strZmf = dir.File("quads.zmf");
    {
        QelModelData data;
        ASSERT_TRUE(RegisteredLoader("obj").Load(WriteTwoQuads(dir), data));
        ASSERT_TRUE(RegisteredLoader("zmf").Save(strZmf, data));
    }
    ASSERT_EQ(std::remove(dir.File("Bands.png").c_str()), 0);
    QelModel model;
    ASSERT_TRUE(model.LoadFile(strZmf));
    QelCapture cap;
    BeginFrame();
    model.Render();
    EXPECT_EQ(cap.Messages(), std::vector<std::string>{"<warning> QelModel - Texture [" + dir.File("Bands.png") +
                                                       "] of material [painted] not found; drawn without it\n"});
    ExpectPixel(16, 32, Rgb(255, 0, 0), "colored quad");
    ExpectPixel(48, 50, Rgb(255, 255, 255), "untextured quad");
}

TEST(QelModelDraw, OpaqueMaterialsComeFirstAndTranslucentOnesBlendOverThem)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    QelModelTempDir dir;
    // The translucent glass comes first in the file and lies in front of the opaque quad.
    dir.Write("m.mtl", "newmtl glass\nKd 0 0 1\nd 0.5\nnewmtl solid\nKd 1 0 0\n");
    std::string strFile = dir.Write("m.obj", "mtllib m.mtl\n" + Quad(-1, -1, 1, 1, 0.5f) + Quad(-0.5f, -0.5f, 0.5f, 0.5f, 0) +
                                                 "usemtl glass\nf 1 2 3 4\nusemtl solid\nf 5 6 7 8\n");
    QelModel model;
    ASSERT_TRUE(model.LoadFile(strFile));
    BeginFrame();
    model.Render();
    ExpectPixel(32, 32, Rgb(128, 0, 128), "glass over the solid quad");
    ExpectPixel(4, 4, Rgb(0, 0, 128), "glass over the background");
    // The blending and depth writes the model turned on and off are as the caller had them.
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
    GLboolean bDepthWrites = GL_FALSE;
    glGetBooleanv(GL_DEPTH_WRITEMASK, &bDepthWrites);
    EXPECT_TRUE(bDepthWrites);
}

TEST(QelModelDraw, EditedMaterialPropertiesRepaintWithoutUploadingAndComeBackFromADocument)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    QelModelTempDir dir;
    QelMasterXMLInterface xml;
    {
        QelModel model;
        ASSERT_TRUE(model.LoadFile(WriteTwoQuads(dir)));
        BeginFrame();
        model.Render();
        const unsigned nBytesUploaded = QelGeometryBuffer::VideoMemoryVertexBytes();
        model.GetProperty("Material:red:Diffuse")->SetAsColor(0xFFFF0000u);
        BeginFrame();
        model.Render();
        ExpectPixel(16, 32, Rgb(0, 0, 255), "edited quad");
        ExpectPixel(48, 14, Rgb(0, 255, 0), "the other material's quad");
        // Made translucent it moves to the blended pass.
        model.GetProperty("Material:red:Transparency")->SetAsFloat(0.5f);
        BeginFrame();
        model.Render();
        ExpectPixel(16, 32, Rgb(0, 0, 128), "half transparent quad");
        EXPECT_EQ(QelGeometryBuffer::VideoMemoryVertexBytes(), nBytesUploaded);
        xml.NewData("Document", "");
        ASSERT_TRUE(xml.AddAndMoveToChildNode("Object"));
        ASSERT_TRUE(model.Save(&xml));
    }
    QelModel loaded;
    ASSERT_TRUE(xml.MoveToRootNode() && xml.MoveToChildNode("Object"));
    ASSERT_TRUE(loaded.Load(&xml));
    BeginFrame();
    loaded.Render();
    ExpectPixel(16, 32, Rgb(0, 0, 128), "reloaded quad");
    ExpectPixel(48, 50, Rgb(0, 0, 255), "reloaded textured quad");
}

TEST(QelModelDraw, NodesPlaceMeshesDownTheHierarchyAndPickingSeesThem)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    QelModelTempDir dir;
    QelModelData data;
    QelModelMesh mesh;
    mesh.m_vPositions = {QelVec3(-0.1f, -0.1f, 0), QelVec3(0.1f, -0.1f, 0), QelVec3(0.1f, 0.1f, 0), QelVec3(-0.1f, 0.1f, 0)};
    mesh.m_vTriangles = {0, 1, 2, 0, 2, 3};
    data.m_vMeshes.push_back(mesh);
    QelModelNode root, child;
    root.m_strName = "root";
    root.m_matLocal.m_fM[12] = 0.5f;
    root.m_vMeshes = {0};
    child.m_strName = "child";
    child.m_nParent = 0;
    child.m_matLocal.m_fM[13] = 0.5f;
    child.m_vMeshes = {0};
    data.m_vNodes = {root, child};
    data.ComputeBounds();
    const std::string strFile = dir.File("nodes.zmf");
    ASSERT_TRUE(RegisteredLoader("zmf").Save(strFile, data));

    QelModel model;
    ASSERT_TRUE(model.LoadFile(strFile));
    BeginFrame();
    glTranslatef(-0.5f, 0.0f, 0.0f);
    float aBefore[16], aAfter[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, aBefore);
    model.Render();
    glGetFloatv(GL_MODELVIEW_MATRIX, aAfter);
    EXPECT_EQ(std::vector<float>(aBefore, aBefore + 16), std::vector<float>(aAfter, aAfter + 16));
    // Default material, unlit: its diffuse gray. The root's copy sits at the origin after the
    // caller's shift; the child's half a unit above it; nothing where no node put the mesh.
    ExpectPixel(32, 32, Rgb(204, 204, 204), "root's mesh");
    ExpectPixel(32, 48, Rgb(204, 204, 204), "child's mesh");
    ExpectPixel(48, 32, Rgb(0, 0, 0), "the mesh's own place");

    QelPickMesh* pPick = model.GetPickMesh();
    ASSERT_NE(pPick, nullptr);
    float fT = 0.0f;
    EXPECT_TRUE(pPick->IntersectRay(QelRay(QelVec3(0.5f, 0.5f, 5.0f), QelVec3(0, 0, -1)), fT));
    EXPECT_FLOAT_EQ(fT, 5.0f);
    EXPECT_FALSE(pPick->IntersectRay(QelRay(QelVec3(0.0f, 0.0f, 5.0f), QelVec3(0, 0, -1)), fT));
}

TEST(QelModelDraw, TwoModelsOfOneFileDrawOnWhenOneIsDeletedOrReloaded)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    QelModelTempDir dir;
    const std::string strFile = WriteTwoQuads(dir);
    auto pFirst = std::make_unique<QelModel>();
    QelModel second;
    ASSERT_TRUE(pFirst->LoadFile(strFile));
    ASSERT_TRUE(second.LoadFile(strFile));
    BeginFrame();
    pFirst->Render();
    second.Render();
    const unsigned nBytesBoth = QelGeometryBuffer::VideoMemoryVertexBytes();
    pFirst.reset();
    EXPECT_LT(QelGeometryBuffer::VideoMemoryVertexBytes(), nBytesBoth) << "the deleted model's buffers are freed";
    BeginFrame();
    second.Render();
    ExpectTwoQuads("after the other model was deleted");

    // Reloading draws the new file, not what was uploaded for the old one.
    ASSERT_TRUE(second.LoadFile(dir.Write("one.obj", Quad(-1, -1, 0, 0, 0) + "f 1 2 3 4\n")));
    BeginFrame();
    second.Render();
    ExpectPixel(16, 16, Rgb(204, 204, 204), "the reloaded quad");
    ExpectPixel(48, 50, Rgb(0, 0, 0), "where the old file's texture was");
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(QelModelDraw, LinesAndVertexColorsAreDrawnToo)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    QelModelTempDir dir;
    QelModel model;
    ASSERT_TRUE(model.LoadFile(dir.Write("c.obj", "v -0.9 -0.9 0 0 1 0\nv -0.1 -0.9 0 0 1 0\nv -0.9 -0.1 0 0 1 0\n"
                                                  "v -1 0.51 0\nv 1 0.51 0\nf 1 2 3\nl 4 5\n")));
    BeginFrame();
    model.Render();
    ExpectPixel(10, 10, Rgb(0, 255, 0), "vertex colors");
    // In a mesh with vertex colors the loader gives the vertices without one white.
    ExpectPixel(40, 48, Rgb(255, 255, 255), "line");
    ExpectPixel(40, 40, Rgb(0, 0, 0), "beside the line");
    EXPECT_FALSE(glIsEnabled(GL_COLOR_MATERIAL));
}

namespace
{
/// Each imported format draws one quad over the left half of the frame, x in [-0.8, -0.1] and
/// y in [-0.6, 0.6], in the color its material or layer gives it.
struct SFormatRow
{
    const char* pName;
    std::string (*fnWrite)(const QelModelTempDir& dir);
    uint32_t nColor;
};

std::string Write3ds(const QelModelTempDir& dir)
{
    using namespace Qel3dsBytes;
    const std::string strMaterial = Material("Green", MaterialColor(0xA020, 0, 255, 0));
    const std::string strQuad = Object("Quad", Points({{-0.8f, -0.6f, 0}, {-0.1f, -0.6f, 0}, {-0.1f, 0.6f, 0},
                                                       {-0.8f, 0.6f, 0}}) +
                                                   Faces({{{0, 1, 2}}, {{0, 2, 3}}}, MaterialGroup("Green", {0, 1})));
    return dir.Write("quad.3ds", File(strMaterial + strQuad, ""));
}

std::string WriteDxf(const QelModelTempDir& dir)
{
    // Layer "Walls" has color index 1, red; the face takes its layer's color.
    return dir.Write("quad.dxf", "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nLAYER\n0\nLAYER\n2\nWalls\n70\n0\n62\n1\n"
                                 "0\nENDTAB\n0\nENDSEC\n0\nSECTION\n2\nENTITIES\n0\n3DFACE\n8\nWalls\n"
                                 "10\n-0.8\n20\n-0.6\n30\n0\n11\n-0.1\n21\n-0.6\n31\n0\n"
                                 "12\n-0.1\n22\n0.6\n32\n0\n13\n-0.8\n23\n0.6\n33\n0\n0\nENDSEC\n0\nEOF\n");
}

std::string WriteCollada(const QelModelTempDir& dir)
{
    return dir.Write("quad.dae", R"(<?xml version="1.0" encoding="utf-8"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset><up_axis>Y_UP</up_axis></asset>
<library_effects><effect id="fx"><profile_COMMON><technique sid="t"><lambert><diffuse><color>0 0 1 1</color></diffuse>
</lambert></technique></profile_COMMON></effect></library_effects>
<library_materials><material id="blue"><instance_effect url="#fx"/></material></library_materials>
<library_geometries><geometry id="quad"><mesh>
 <source id="pos"><float_array id="pos-a" count="12">-0.8 -0.6 0 -0.1 -0.6 0 -0.1 0.6 0 -0.8 0.6 0</float_array>
  <technique_common><accessor source="#pos-a" count="4" stride="3"><param name="X" type="float"/>
  <param name="Y" type="float"/><param name="Z" type="float"/></accessor></technique_common></source>
 <vertices id="v"><input semantic="POSITION" source="#pos"/></vertices>
 <triangles count="2" material="m"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 2 0 2 3</p></triangles>
</mesh></geometry></library_geometries>
<library_visual_scenes><visual_scene id="s"><node id="n"><instance_geometry url="#quad"><bind_material>
 <technique_common><instance_material symbol="m" target="#blue"/></technique_common></bind_material>
</instance_geometry></node></visual_scene></library_visual_scenes>
<scene><instance_visual_scene url="#s"/></scene>
</COLLADA>
)");
}

std::string WriteShapefile(const QelModelTempDir& dir)
{
    // A shapefile has no colors: the default material's gray.
    SShape quad{"Quad", {0}, {}, {-0.8, -0.8, -0.1, -0.1, -0.8}, {-0.6, 0.6, 0.6, -0.6, -0.6}, {}};
    return WriteShapes(dir, "quad", SHPT_POLYGON, {quad});
}
} // namespace

TEST(QelModelDraw, EachImportedFormatShowsItsColorWhereTheModelIs)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    const SFormatRow aRows[] = {
        {"3DS", Write3ds, Rgb(0, 255, 0)},
        {"DXF", WriteDxf, Rgb(255, 0, 0)},
        {"COLLADA", WriteCollada, Rgb(0, 0, 255)},
        {"shapefile", WriteShapefile, Rgb(204, 204, 204)},
    };
    for (const SFormatRow& row : aRows)
    {
        SCOPED_TRACE(row.pName);
        QelModelTempDir dir;
        QelCapture cap;
        QelModel model;
        ASSERT_TRUE(model.LoadFile(row.fnWrite(dir)));
        BeginFrame();
        model.Render();
        EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
        ExpectPixel(16, 32, row.nColor, "inside the quad");
        ExpectPixel(48, 32, Rgb(0, 0, 0), "right of the quad");
        ExpectPixel(16, 58, Rgb(0, 0, 0), "above the quad");
        EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    }
}
