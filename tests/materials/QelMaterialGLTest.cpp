#include "qel/materials/QelMaterial.h"
#include "qel/materials/QelMaterialInterface.h"
#include "qel/materials/QelTexture.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "tests/materials/QelMaterialsTestUtil.h"
#include "tests/support/QelGLTest.h"
#include "tests/support/QelTestApp.h"

#include <GL/glew.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

using namespace qeltest;

namespace
{
const uint32_t kRed = 0xFF0000FFu, kGreen = 0xFF00FF00u, kBlue = 0xFFFF0000u, kWhite = 0xFFFFFFFFu;
const QelVec4 kOpaqueWhite(1, 1, 1, 1);

/// A 4 x 4 image: top left red, top right green, bottom left blue, bottom right white. In texture
/// space (t = 0 at the bottom) blue and white lie below v = 0.5.
std::vector<unsigned char> Quadrants()
{
    return qeltest::Quadrants(4, 4, kRed, kGreen, kBlue, kWhite);
}

std::vector<unsigned char> Solid(uint32_t nColor)
{
    return TwoBands(4, 4, nColor, nColor);
}

/// A quad over the viewport facing the eye at z = 0, with one normal for every corner.
void DrawNormalQuad(float nx, float ny, float nz)
{
    glBegin(GL_QUADS);
    glNormal3f(nx, ny, nz);
    glVertex2f(-1, -1);
    glVertex2f(1, -1);
    glVertex2f(1, 1);
    glVertex2f(-1, 1);
    glEnd();
}

QelMaterial WithLayer(const std::string& strFile, int nFunction, int nCoordinates = QelTextureLayer::eCoordTexCoord0)
{
    QelMaterial m;
    m.m_vecDiffuse = QelVec4(1, 1, 1, 1);
    QelTextureLayer c;
    c.m_strFilename = strFile;
    EXPECT_TRUE(c.m_cTexture.LoadFromFile(strFile, true)) << strFile;
    c.m_nFunction = nFunction;
    c.m_nCoordinates = nCoordinates;
    m.m_vLayers.push_back(c);
    return m;
}

bool Enabled(GLenum eCap)
{
    GLboolean b = GL_FALSE;
    glGetBooleanv(eCap, &b);
    return b == GL_TRUE;
}
} // namespace

TEST(QelMaterialGL, TextureFunctionsCombineTexelAndColorAsTheirEnvironment)
{
    const std::string strDir = TestDir();
    ASSERT_TRUE(WriteImage(strDir + "y.png", 4, 4, Solid(0x8000FFFFu))); // yellow, half alpha
    QEL_REQUIRE_GL();
    struct Row
    {
        const char* pName;
        int nFunction;
        uint32_t nExpected; // RGB; alpha not compared
    };
    const Row aRows[] = {
        {"modulate", QelTextureLayer::eFunctionModulate, 0x00008080u},
        {"replace", QelTextureLayer::eFunctionReplace, 0x0000FFFFu},
        {"decal", QelTextureLayer::eFunctionDecal, 0x0080BFBFu},
    };
    for (const Row& r : aRows)
    {
        SCOPED_TRACE(r.pName);
        QelMaterial m = WithLayer(strDir + "y.png", r.nFunction);
        m.m_vecDiffuse = QelVec4(0.5f, 0.5f, 1.0f, 1.0f);
        m.Activate(kOpaqueWhite, 1, 1, 1, 1);
        DrawQuad();
        m.Deactivate();
        const uint32_t nPixel = PixelAt(0.5f, 0.5f) | 0xFF000000u;
        EXPECT_TRUE(Near(nPixel, r.nExpected | 0xFF000000u, 2)) << std::hex << nPixel;
    }
}

TEST(QelMaterialGL, TilingOffsetAndRotationMoveTheSampledTexels)
{
    const std::string strDir = TestDir();
    ASSERT_TRUE(WriteImage(strDir + "q.png", 4, 4, Quadrants()));
    QEL_REQUIRE_GL();
    struct Row
    {
        const char* pName;
        int nTile;
        float fTileU, fOffsetU, fRotation;
        float fx, fy; // where to look, 0..1 of the viewport
        uint32_t nExpected;
    };
    const Row aRows[] = {
        {"plain", QelTextureLayer::eTileBoth, 1, 0, 0, 0.25f, 0.75f, kRed},
        {"tiled_first_copy", QelTextureLayer::eTileBoth, 2, 0, 0, 0.375f, 0.25f, kWhite},
        {"tiled_second_copy", QelTextureLayer::eTileBoth, 2, 0, 0, 0.625f, 0.25f, kBlue},
        {"clamped_past_the_edge", QelTextureLayer::eTileNone, 2, 0, 0, 0.875f, 0.25f, kWhite},
        {"offset_half", QelTextureLayer::eTileBoth, 1, 0.5f, 0, 0.25f, 0.75f, kGreen},
        {"rotated_quarter", QelTextureLayer::eTileBoth, 1, 0, 90, 0.25f, 0.25f, kWhite},
    };
    for (const Row& r : aRows)
    {
        SCOPED_TRACE(r.pName);
        QelMaterial m = WithLayer(strDir + "q.png", QelTextureLayer::eFunctionReplace);
        m.m_vLayers[0].m_nTile = r.nTile;
        m.m_vLayers[0].m_fTileU = r.fTileU;
        m.m_vLayers[0].m_fOffsetU = r.fOffsetU;
        m.m_vLayers[0].m_fRotation = r.fRotation;
        m.Activate(kOpaqueWhite, 1, 1, 1, 1);
        DrawQuad();
        m.Deactivate();
        EXPECT_EQ(PixelAt(r.fx, r.fy), r.nExpected) << std::hex << PixelAt(r.fx, r.fy);
    }
    // Deactivate leaves the unit at rest.
    EXPECT_FALSE(Enabled(GL_TEXTURE_2D));
    GLfloat aMatrix[16];
    glGetFloatv(GL_TEXTURE_MATRIX, aMatrix);
    EXPECT_EQ(aMatrix[0], 1.0f);
    EXPECT_EQ(aMatrix[12], 0.0f);
}

TEST(QelMaterialGL, CubeMapIsSampledThroughReflectionCoordinates)
{
    DdsSpec s;
    s.nWidth = s.nHeight = 4;
    s.bCube = true;
    const std::string strPath = TestDir() + "sky.dds";
    ASSERT_TRUE(WriteFile(strPath, MakeDds(s, [](unsigned int nFace, unsigned int, unsigned int, unsigned int) {
                              const uint16_t a[] = {k565Red, k565Green, k565Blue, k565Yellow, k565Cyan, k565Magenta};
                              return a[nFace];
                          })));
    QEL_REQUIRE_GL();
    QelMaterial m = WithLayer(strPath, QelTextureLayer::eFunctionReplace, QelTextureLayer::eCoordCubeReflection);
    ASSERT_TRUE(m.m_vLayers[0].m_cTexture.IsCubeMap());
    struct Row
    {
        const char* pName;
        float nx, nz;
        uint16_t nFace;
    };
    const float h = 0.70710678f;
    const Row aRows[] = {{"facing_the_eye_reflects_to_+Z", 0, 1, k565Cyan}, {"tilted_45_reflects_to_+X", h, h, k565Red}};
    for (const Row& r : aRows)
    {
        SCOPED_TRACE(r.pName);
        ClearToBlack();
        glTranslatef(0, 0, -0.5f); // the eye looks down -Z at the quad
        m.Activate(kOpaqueWhite, 1, 1, 1, 1);
        EXPECT_TRUE(Enabled(GL_TEXTURE_CUBE_MAP_ARB));
        DrawNormalQuad(r.nx, 0, r.nz);
        m.Deactivate();
        EXPECT_EQ(PixelAt(0.5f, 0.5f), Expand565(r.nFace)) << std::hex << PixelAt(0.5f, 0.5f);
    }
    EXPECT_FALSE(Enabled(GL_TEXTURE_CUBE_MAP_ARB));
    EXPECT_FALSE(Enabled(GL_TEXTURE_GEN_R));
}

TEST(QelMaterialGL, TextureKindMustFitTheCoordinateMode)
{
    const std::string strDir = TestDir();
    ASSERT_TRUE(WriteImage(strDir + "flat.png", 4, 4, Solid(kRed)));
    DdsSpec s;
    s.nWidth = s.nHeight = 4;
    s.bCube = true;
    ASSERT_TRUE(WriteFile(strDir + "cube.dds", MakeDds(s, [](unsigned, unsigned, unsigned, unsigned) {
                              return uint16_t(k565Green);
                          })));
    QEL_REQUIRE_GL();
    struct Row
    {
        const char* pName;
        const char* pFile;
        int nCoordinates;
        const char* pMessage;
    };
    const Row aRows[] = {
        {"flat_texture_cube_mode", "flat.png", QelTextureLayer::eCoordCubeNormal,
         "<warning> QelMaterial - Texture is not a cube map"},
        {"cube_texture_flat_mode", "cube.dds", QelTextureLayer::eCoordSphereMap,
         "<warning> QelMaterial - Texture is a cube map"},
    };
    for (const Row& r : aRows)
    {
        SCOPED_TRACE(r.pName);
        QelMaterial m = WithLayer(strDir + r.pFile, QelTextureLayer::eFunctionReplace, r.nCoordinates);
        QelCapture cap;
        m.Activate(kOpaqueWhite, 1, 1, 1, 1);
        EXPECT_EQ(cap.Messages(), std::vector<std::string>{r.pMessage});
        EXPECT_FALSE(Enabled(GL_TEXTURE_2D));
        EXPECT_FALSE(Enabled(GL_TEXTURE_CUBE_MAP_ARB));
        m.Deactivate();
    }
}

TEST(QelMaterialGL, TwoLayersMultiplyOnTwoUnitsAndFallBackToOneWithoutMultitexture)
{
    const std::string strDir = TestDir();
    ASSERT_TRUE(WriteImage(strDir + "yellow.png", 4, 4, Solid(0xFF00FFFFu)));
    ASSERT_TRUE(WriteImage(strDir + "cyan.png", 4, 4, Solid(0xFFFFFF00u)));
    QEL_REQUIRE_GL();
    QelMaterial m = WithLayer(strDir + "yellow.png", QelTextureLayer::eFunctionModulate);
    m.m_vLayers.push_back(WithLayer(strDir + "cyan.png", QelTextureLayer::eFunctionModulate).m_vLayers[0]);
    m.Activate(kOpaqueWhite, 1, 1, 1, 1);
    DrawQuad();
    m.Deactivate();
    EXPECT_EQ(PixelAt(0.5f, 0.5f), kGreen);
    glActiveTexture(GL_TEXTURE1);
    EXPECT_FALSE(Enabled(GL_TEXTURE_2D));
    glActiveTexture(GL_TEXTURE0);

    // Without the multitexture entry points only the first layer applies.
    PFNGLACTIVETEXTUREARBPROC pSaved = glActiveTextureARB;
    struct Restore
    {
        PFNGLACTIVETEXTUREARBPROC p;
        ~Restore() { glActiveTextureARB = p; }
    } restore{pSaved};
    glActiveTextureARB = nullptr;
    m.Activate(kOpaqueWhite, 1, 1, 1, 1);
    glActiveTexture(GL_TEXTURE1);
    EXPECT_FALSE(Enabled(GL_TEXTURE_2D));
    glActiveTexture(GL_TEXTURE0);
    EXPECT_TRUE(Enabled(GL_TEXTURE_2D));
    DrawQuad();
    m.Deactivate();
    EXPECT_EQ(PixelAt(0.5f, 0.5f), 0xFF00FFFFu);
}

TEST(QelMaterialGL, LitSphereFollowsTheDiffuseColorAndItsModulation)
{
    QEL_REQUIRE_GL();
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-1, 1, -1, 1, -1, 1); // the eye on +Z, so the lit front hemisphere is the near one
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    glEnable(GL_DEPTH_TEST);
    const GLfloat aDirection[] = {0, 0, 1, 0}, aWhite[] = {1, 1, 1, 1}, aBlack[] = {0, 0, 0, 1};
    glLightfv(GL_LIGHT0, GL_POSITION, aDirection);
    glLightfv(GL_LIGHT0, GL_DIFFUSE, aWhite);
    glLightfv(GL_LIGHT0, GL_AMBIENT, aBlack);
    glLightfv(GL_LIGHT0, GL_SPECULAR, aBlack);
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, aBlack);
    GLUquadric* pQuadric = gluNewQuadric();
    struct Row
    {
        const char* pName;
        QelVec4 vecDiffuse;
        float fDiffuseFactor;
        uint32_t nCenter;
    };
    const Row aRows[] = {
        {"red", QelVec4(1, 0, 0, 1), 1.0f, kRed},
        {"green", QelVec4(0, 1, 0, 1), 1.0f, kGreen},
        {"red_at_half", QelVec4(1, 0, 0, 1), 0.5f, 0xFF000080u},
    };
    for (const Row& r : aRows)
    {
        SCOPED_TRACE(r.pName);
        QelMaterial m;
        m.m_vecAmbient = QelVec4(0, 0, 0, 1);
        m.m_vecDiffuse = r.vecDiffuse;
        glClearColor(0, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        m.Activate(kOpaqueWhite, 1, r.fDiffuseFactor, 1, 1);
        gluSphere(pQuadric, 0.8, 48, 24);
        m.Deactivate();
        EXPECT_TRUE(Near(PixelAt(0.5f, 0.5f), r.nCenter, 3)) << std::hex << PixelAt(0.5f, 0.5f);
        // Toward the rim the surface turns from the light: darker, same hue.
        const uint32_t nRim = PixelAt(0.5f + 0.37f, 0.5f);
        const uint32_t nChannel = r.vecDiffuse.x > 0 ? 0 : 8;
        EXPECT_LT((nRim >> nChannel) & 0xFF, (r.nCenter >> nChannel) & 0xFF);
        EXPECT_GT((nRim >> nChannel) & 0xFF, 0u);
        EXPECT_EQ((nRim >> (nChannel == 0 ? 8 : 0)) & 0xFF, 0u);
    }
    gluDeleteQuadric(pQuadric);
    glDisable(GL_LIGHTING);
    glDisable(GL_DEPTH_TEST);
}

TEST(QelMaterialGL, InterfaceLoadsEditedFilesScalesTilingAndInheritsTheCallersTexture)
{
    const std::string strDir = TestDir();
    ASSERT_TRUE(WriteImage(strDir + "q.png", 4, 4, Quadrants()));
    ASSERT_TRUE(WriteImage(strDir + "g.png", 4, 4, Solid(kGreen)));
    QEL_REQUIRE_GL();
    Painted obj;
    QelMaterial m;
    m.m_vecDiffuse = QelVec4(1, 0, 0, 1);
    m.m_vLayers.resize(1);
    m.m_vLayers[0].m_nFunction = QelTextureLayer::eFunctionReplace;
    obj.m_cMaterial.Set(&m);
    obj.m_cMaterial.CreateProperties(&obj, "M", true, true, true, true, true, true, false);
    obj.GetProperty("M:Texture 1:Filename")->SetAsString(strDir + "q.png");
    obj.GetProperty("M:Name")->GetAsString();
    ASSERT_TRUE(obj.m_cMaterial.HasChanged());
    ASSERT_TRUE(obj.m_cMaterial.GetMaterial().m_vLayers[0].m_cTexture.IsValid());

    auto draw = [&] {
        obj.m_cMaterial.Activate(kOpaqueWhite, 1, 1, 1, 1);
        DrawQuad();
        obj.m_cMaterial.Deactivate(true);
    };
    draw();
    EXPECT_EQ(PixelAt(0.25f, 0.75f), kRed);
    EXPECT_EQ(PixelAt(0.75f, 0.25f), kWhite);
    obj.m_cMaterial.SetUScaleFactor(2.0f); // two copies across
    draw();
    EXPECT_EQ(PixelAt(0.625f, 0.25f), kBlue);
    obj.m_cMaterial.SetUScaleFactor(1.0f);

    obj.m_cMaterial.Enable(false); // colors only
    draw();
    EXPECT_EQ(PixelAt(0.25f, 0.25f), kRed);
    obj.m_cMaterial.Enable(true);

    // Inherit: the layer keeps the caller's texture when the caller has texturing on.
    obj.GetProperty("M:Texture 1:Enabled")->SetAsInt(2);
    obj.GetProperty("M:Name")->GetAsString();
    EXPECT_FALSE(obj.m_cMaterial.GetMaterial().m_vLayers[0].m_cTexture.IsValid());
    QelTexture caller;
    ASSERT_TRUE(caller.LoadFromFile(strDir + "g.png", true));
    caller.Bind();
    glEnable(GL_TEXTURE_2D);
    draw();
    EXPECT_EQ(PixelAt(0.5f, 0.5f), kGreen);
    EXPECT_TRUE(Enabled(GL_TEXTURE_2D)); // the caller's state is given back
    glDisable(GL_TEXTURE_2D);
    draw();
    EXPECT_EQ(PixelAt(0.5f, 0.5f), kRed);
}

TEST(QelMaterialGL, UncompressedCubeMapDdsGoesThroughDevILToTheCubeMapTarget)
{
    // 4 x 4 faces of 32-bit BGRA texels, one color per face: DevIL's kind of cube map.
    std::vector<unsigned char> v = MakeDds(DdsSpec{}, [](unsigned, unsigned, unsigned, unsigned) { return uint16_t(0); });
    v.resize(128);
    const std::pair<size_t, uint32_t> aHeader[] = {{8, 0x100F},        {12, 4},           {16, 4},
                                                    {20, 16},          {28, 0},           {80, 0x41},
                                                    {84, 0},           {88, 32},          {92, 0x00FF0000},
                                                    {96, 0x0000FF00},  {100, 0x000000FF}, {104, 0xFF000000},
                                                    {108, 0x1008},     {112, 0xFE00}};
    for (const auto& [nAt, nValue] : aHeader)
        Put32(v, nAt, nValue);
    const uint32_t aFaces[6] = {0xFFFF0000u, 0xFF00FF00u, 0xFF0000FFu, 0xFFFFFF00u, 0xFF00FFFFu, 0xFFFF00FFu}; // ARGB
    for (uint32_t c : aFaces)
        for (int i = 0; i < 16; ++i)
            for (int k = 0; k < 4; ++k)
                v.push_back((unsigned char)(c >> (8 * k)));
    const std::string strPath = TestDir() + "rgba_cube.dds";
    ASSERT_TRUE(WriteFile(strPath, v));
    QEL_REQUIRE_GL();
    QelMaterial m = WithLayer(strPath, QelTextureLayer::eFunctionReplace, QelTextureLayer::eCoordCubeNormal);
    const QelTexture& t = m.m_vLayers[0].m_cTexture;
    ASSERT_TRUE(t.IsValid());
    EXPECT_TRUE(t.IsCubeMap());
    EXPECT_FALSE(t.IsCompressed());
    ClearToBlack();
    m.Activate(kOpaqueWhite, 1, 1, 1, 1);
    DrawNormalQuad(1, 0, 0); // the +X face
    m.Deactivate();
    EXPECT_EQ(PixelAt(0.5f, 0.5f), kRed) << std::hex << PixelAt(0.5f, 0.5f);
}
