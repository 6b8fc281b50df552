#include "qel/materials/QelMaterial.h"
#include "qel/materials/QelMaterialInterface.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/materials/QelMaterialsTestUtil.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

using qeltest::Painted;

namespace
{
void ExpectColor(const QelVec4& a, float r, float g, float b, float al)
{
    EXPECT_FLOAT_EQ(a.x, r);
    EXPECT_FLOAT_EQ(a.y, g);
    EXPECT_FLOAT_EQ(a.z, b);
    EXPECT_FLOAT_EQ(a.w, al);
}

std::vector<std::string> Names(const QelPropertyContainer& c)
{
    std::vector<QelProperty*> v;
    c.GetProperties(v, false);
    std::vector<std::string> out;
    for (QelProperty* p : v)
        out.push_back(p->GetName());
    return out;
}

std::vector<std::string> Choices(QelProperty* p)
{
    std::vector<std::string> vNames;
    std::vector<int> vValues;
    if (p)
        p->GetEnumerationNames(vNames, vValues);
    return vNames;
}
} // namespace

TEST(QelMaterial, ResetGivesOpenGLsDefaultsAndModulateScalesEachColorByItsFactor)
{
    QelMaterial m;
    EXPECT_EQ(m.m_strName, "Material");
    ExpectColor(m.m_vecAmbient, 0.2f, 0.2f, 0.2f, 1);
    ExpectColor(m.m_vecDiffuse, 0.8f, 0.8f, 0.8f, 1);
    ExpectColor(m.m_vecSpecular, 0, 0, 0, 1);
    EXPECT_EQ(m.m_fShininess, 0.0f);
    EXPECT_TRUE(m.m_vLayers.empty());

    m.m_vecAmbient = m.m_vecDiffuse = m.m_vecSpecular = m.m_vecEmissive = QelVec4(1, 1, 1, 1);
    m.m_fShininess = 20;
    m.m_vLayers.resize(1);
    m.Modulate(QelVec4(0.5f, 1.0f, 0.25f, 0.5f), 2.0f, 1.0f, 0.0f, 0.5f);
    ExpectColor(m.m_vecAmbient, 1.0f, 2.0f, 0.5f, 0.5f);
    ExpectColor(m.m_vecDiffuse, 0.5f, 1.0f, 0.25f, 0.5f);
    ExpectColor(m.m_vecSpecular, 0, 0, 0, 0.5f);
    ExpectColor(m.m_vecEmissive, 0.25f, 0.5f, 0.125f, 0.5f);
    EXPECT_EQ(m.m_fShininess, 20.0f);
    EXPECT_EQ(m.m_vLayers.size(), 1u);
    m.Reset();
    ExpectColor(m.m_vecEmissive, 0, 0, 0, 1);
}

TEST(QelMaterial, XmlRoundTripUsesTheElementNamesAndKeepsOnlyFileNames)
{
    QelMaterial m;
    m.m_strName = "Brick";
    m.m_vecAmbient = QelVec4(0.1f, 0.2f, 0.3f, 0.4f);
    m.m_vecDiffuse = QelVec4(0.5f, 0.25f, 0.125f, 1.0f);
    m.m_vecSpecular = QelVec4(1, 1, 1, 1);
    m.m_vecEmissive = QelVec4(0, 0.5f, 0, 1);
    m.m_fShininess = 32;
    m.m_nRenderLayer = 2;
    QelTextureLayer a, b;
    a.m_strFilename = "/data/maps/brick.png";
    a.m_nFunction = QelTextureLayer::eFunctionDecal;
    a.m_nCoordinates = QelTextureLayer::eCoordSphereMap;
    a.m_nTile = QelTextureLayer::eTileU;
    a.m_fTileU = 4;
    a.m_fTileV = 2;
    a.m_fOffsetU = 0.5f;
    a.m_fOffsetV = 0.25f;
    a.m_fRotation = 45;
    b.m_bEnabled = false;
    b.m_strFilename = "maps\\dirt.dds";
    m.m_vLayers = {a, b};

    QelMasterXMLInterface x;
    x.NewData("Material", "");
    m.Save(&x, true);
    const std::string strXml = x.SaveDataToString();
    for (const char* p : {"<Name>Brick</Name>", "<AmbientR>0.1</AmbientR>", "<AmbientA>0.4</AmbientA>",
                          "<DiffuseG>0.25</DiffuseG>", "<SpecularB>1</SpecularB>", "<EmissiveG>0.5</EmissiveG>",
                          "<Shininess>32</Shininess>", "<RenderLayer>2</RenderLayer>", "<Textures>", "<Texture>",
                          "<Enable>true</Enable>", "<Filename>brick.png</Filename>", "<Filename>dirt.dds</Filename>",
                          "<Type>10</Type>", "<Tile>1</Tile>", "<Function>2</Function>", "<TileU>4</TileU>",
                          "<TileV>2</TileV>", "<OffsetU>0.5</OffsetU>", "<OffsetV>0.25</OffsetV>",
                          "<Rotation>45</Rotation>", "<Enable>false</Enable>"})
        EXPECT_NE(strXml.find(p), std::string::npos) << p << " in " << strXml;

    QelMasterXMLInterface y;
    ASSERT_TRUE(y.LoadDataFromString(strXml));
    QelCapture cap;
    QelMaterial n;
    n.Load(&y);
    // No OpenGL here: the files are named, their textures do not load.
    const std::vector<std::string> vExpected = {"<warning> Texture [brick.png] failed to load\n",
                                                "<warning> Texture [dirt.dds] failed to load\n"};
    EXPECT_EQ(cap.Messages(), vExpected);
    EXPECT_EQ(n.m_strName, "Brick");
    ExpectColor(n.m_vecAmbient, 0.1f, 0.2f, 0.3f, 0.4f);
    ExpectColor(n.m_vecDiffuse, 0.5f, 0.25f, 0.125f, 1.0f);
    ExpectColor(n.m_vecEmissive, 0, 0.5f, 0, 1);
    EXPECT_EQ(n.m_fShininess, 32.0f);
    EXPECT_EQ(n.m_nRenderLayer, 2);
    ASSERT_EQ(n.m_vLayers.size(), 2u);
    const QelTextureLayer& c = n.m_vLayers[0];
    EXPECT_TRUE(c.m_bEnabled);
    EXPECT_EQ(c.m_strFilename, "brick.png");
    EXPECT_EQ(c.m_nFunction, QelTextureLayer::eFunctionDecal);
    EXPECT_EQ(c.m_nCoordinates, QelTextureLayer::eCoordSphereMap);
    EXPECT_EQ(c.m_nTile, QelTextureLayer::eTileU);
    EXPECT_EQ(c.m_fTileU, 4.0f);
    EXPECT_EQ(c.m_fOffsetV, 0.25f);
    EXPECT_EQ(c.m_fRotation, 45.0f);
    EXPECT_FALSE(n.m_vLayers[1].m_bEnabled);
    EXPECT_EQ(n.m_vLayers[1].m_strFilename, "dirt.dds");

    // Without layers in the document, and from a document without some values, the rest stays.
    QelMasterXMLInterface z;
    z.NewData("Material", "");
    z.WriteFloat("Shininess", 5);
    z.WriteInt("Type", 99);
    n.Load(&z);
    EXPECT_EQ(n.m_fShininess, 5.0f);
    EXPECT_EQ(n.m_strName, "Brick");
    EXPECT_EQ(n.m_vLayers.size(), 2u);
    z.NewData("Material", "");
    m.Save(&z, false);
    EXPECT_EQ(z.SaveDataToString().find("<Textures>"), std::string::npos);
    n.Load(nullptr);
    m.Save(nullptr, true);
}

TEST(QelMaterialInterface, MakesThePropertiesWithTheirNamesChoicesAndDescriptions)
{
    Painted obj;
    QelMaterial m;
    m.m_vLayers.resize(1);
    obj.m_cMaterial.Set(&m);
    obj.m_cMaterial.CreateProperties(&obj, "Mat", true, true, true, true, true, true, true);
    const std::vector<std::string> vExpected = {
        "Mat:Name", "Mat:Ambient", "Mat:Diffuse", "Mat:Specular", "Mat:Emissive", "Mat:Shininess",
        "Mat:Render layer", "Mat:Textures", "Mat:Texture 1:Enabled", "Mat:Texture 1:Texture",
        "Mat:Texture 1:Filename", "Mat:Texture 1:Function", "Mat:Texture 1:Coordinates", "Mat:Texture 1:Tile",
        "Mat:Texture 1:Tile U", "Mat:Texture 1:Tile V", "Mat:Texture 1:Offset U", "Mat:Texture 1:Offset V",
        "Mat:Texture 1:Rotation"};
    EXPECT_EQ(Names(obj), vExpected);
    EXPECT_EQ(Choices(obj.GetProperty("Mat:Texture 1:Function")),
              (std::vector<std::string>{"Custom", "Modulate", "Decal", "Blend", "Replace"}));
    EXPECT_EQ(Choices(obj.GetProperty("Mat:Texture 1:Tile")), (std::vector<std::string>{"None", "U", "V", "Both"}));
    EXPECT_EQ(Choices(obj.GetProperty("Mat:Texture 1:Enabled")),
              (std::vector<std::string>{"Disabled", "Enabled", "Inherit"}));
    const std::vector<std::string> vCoordinates = Choices(obj.GetProperty("Mat:Texture 1:Coordinates"));
    ASSERT_EQ(vCoordinates.size(), 13u);
    EXPECT_EQ(vCoordinates[0], "TexCoord 0");
    EXPECT_EQ(vCoordinates[7], "TexCoord 7");
    EXPECT_EQ(std::vector<std::string>(vCoordinates.begin() + 8, vCoordinates.end()),
              (std::vector<std::string>{"Cube Normal", "Cube Reflection", "Sphere Map", "Object Linear", "Eye Linear"}));

    struct Row
    {
        const char* pProperty;
        const char* pDescription;
    };
    const Row aRows[] = {
        // The material's own and a layer's, and the neighbours a looser match would confuse.
        {"Mat:Name", "Name of this material"},
        {"Mat:Diffuse", "Diffuse color"},
        {"Mat:Texture 1:Enabled", "Choose to enable, disable, or inherit texturing for this material"},
        {"Mat:Texture 1:Tile", "Choose directions for tiling"},
        {"Mat:Texture 1:Tile U", "Number of times this texture tiles in the U direction"},
    };
    for (const Row& r : aRows)
    {
        SCOPED_TRACE(r.pProperty);
        QelProperty* p = obj.GetProperty(r.pProperty);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(obj.m_cMaterial.GetPropertyDescription(p, false), r.pDescription);
    }
    // Another object's property of the same ending is described only when asked without the prefix.
    QelPropertyContainer other;
    QelProperty* pForeign = other.CreateProperty("Other:Diffuse", eDataColor);
    EXPECT_EQ(obj.m_cMaterial.GetPropertyDescription(pForeign, false), "");
    EXPECT_EQ(obj.m_cMaterial.GetPropertyDescription(pForeign, true), "Diffuse color");

    // The switches leave groups out; destroying removes every property made.
    Painted few;
    few.m_cMaterial.CreateProperties(&few, "M", false, true, false, false, true, false, false);
    EXPECT_EQ(Names(few), (std::vector<std::string>{"M:Ambient", "M:Diffuse", "M:Specular", "M:Emissive",
                                                    "M:Texture 1:Enabled", "M:Texture 1:Texture",
                                                    "M:Texture 1:Filename", "M:Texture 1:Function",
                                                    "M:Texture 1:Coordinates"}));
    few.m_cMaterial.DestroyProperties(&few);
    EXPECT_EQ(few.GetPropertyCount(), 0);
}

TEST(QelMaterialInterface, EditsReachTheMaterialThroughCalculate)
{
    Painted obj;
    obj.m_cMaterial.CreateProperties(&obj, "Mat", true, true, true, true, true, true, true);
    // The properties show the material: reading them back changes nothing.
    obj.GetProperty("Mat:Name")->GetAsString();
    EXPECT_FALSE(obj.m_cMaterial.HasChanged());

    obj.GetProperty("Mat:Diffuse")->SetAsColor(0xFF0000FFu);
    obj.GetProperty("Mat:Shininess")->SetAsDouble(500.0); // clamped to 128
    obj.GetProperty("Mat:Textures")->SetAsInt(2);
    obj.GetProperty("Mat:Name")->GetAsString(); // the read runs the object's Calculate
    EXPECT_TRUE(obj.m_cMaterial.HasChanged());
    EXPECT_FALSE(obj.m_cMaterial.HasChanged());
    const QelMaterial& m = obj.m_cMaterial.GetMaterial();
    ExpectColor(m.m_vecDiffuse, 1, 0, 0, 1);
    EXPECT_EQ(m.m_fShininess, 128.0f);
    ASSERT_EQ(m.m_vLayers.size(), 2u);
    ASSERT_NE(obj.GetProperty("Mat:Texture 2:Rotation"), nullptr);

    obj.GetProperty("Mat:Texture 2:Rotation")->SetAsDouble(30.0);
    obj.GetProperty("Mat:Texture 2:Coordinates")->SetAsInt(QelTextureLayer::eCoordEyeLinear);
    obj.GetProperty("Mat:Texture 1:Enabled")->SetAsInt(0);
    obj.GetProperty("Mat:Name")->GetAsString();
    EXPECT_TRUE(obj.m_cMaterial.HasChanged());
    EXPECT_EQ(m.m_vLayers[1].m_fRotation, 30.0f);
    EXPECT_EQ(m.m_vLayers[1].m_nCoordinates, QelTextureLayer::eCoordEyeLinear);
    EXPECT_FALSE(m.m_vLayers[0].m_bEnabled);

    // Fewer layers take their properties away.
    obj.GetProperty("Mat:Textures")->SetAsInt(1);
    obj.GetProperty("Mat:Name")->GetAsString();
    EXPECT_EQ(m.m_vLayers.size(), 1u);
    EXPECT_EQ(obj.GetProperty("Mat:Texture 2:Rotation"), nullptr);

    // Set shows another material in the properties.
    QelMaterial green;
    green.m_vecDiffuse = QelVec4(0, 1, 0, 1);
    green.m_strName = "Grass";
    obj.m_cMaterial.Set(&green);
    EXPECT_EQ(obj.GetProperty("Mat:Name")->GetAsString(), "Grass");
    EXPECT_EQ(obj.GetProperty("Mat:Diffuse")->GetAsColor(), 0xFF00FF00u);
    EXPECT_EQ(obj.GetProperty("Mat:Textures")->GetAsInt(), 0);

    obj.m_cMaterial.SetUScaleFactor(2.0f);
    obj.m_cMaterial.SetVScaleFactor(3.0f);
    EXPECT_EQ(obj.m_cMaterial.GetUScaleFactor(), 2.0f);
    EXPECT_EQ(obj.m_cMaterial.GetVScaleFactor(), 3.0f);
}

TEST(QelMaterialInterface, AnInterfaceWithStandardTexturesIsNotCopied)
{
    Painted obj;
    obj.m_cMaterial.CreateProperties(&obj, "Mat", true, true, true, true, true, true, false);
    obj.GetProperty("Mat:Name")->SetAsString("Stone");
    obj.GetProperty("Mat:Name")->GetAsString();
    QelMaterial m;
    m.Set(obj.m_cMaterial);
    EXPECT_EQ(m.m_strName, "Stone");

    obj.m_cMaterial.SetStandardTextures({"Checker", "Noise"}, {QelTexture(), QelTexture()});
    EXPECT_EQ(Choices(obj.GetProperty("Mat:Texture 1:Texture")),
              (std::vector<std::string>{"File", "Checker", "Noise"}));
    QelCapture cap;
    QelMaterial n;
    n.Set(obj.m_cMaterial);
    EXPECT_EQ(n.m_strName, "Material");
    EXPECT_EQ(cap.Messages(), std::vector<std::string>{
                                  "<error> QelMaterial - Can not copy QelMaterialInterfaces that use standard textures.\n"});
}
