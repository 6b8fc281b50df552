#include "qel/models/CColladaLoader.h"
#include "qel/models/QelModelData.h"
#include "tests/models/QelModelTestSupport.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{
const char* const kHead = R"(<?xml version="1.0" encoding="utf-8"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">)";

/// A unit quad in z = 0 with one normal and four texture coordinates, and the primitives of every
/// kind over it.
const char* const kGeometry = R"(
<library_geometries><geometry id="quad" name="Quad"><mesh>
 <source id="pos"><float_array id="pos-a" count="12">0 0 0 1 0 0 1 1 0 0 1 0</float_array>
  <technique_common><accessor source="#pos-a" count="4" stride="3"><param name="X" type="float"/><param name="Y" type="float"/><param name="Z" type="float"/></accessor></technique_common></source>
 <source id="nrm"><float_array id="nrm-a" count="3">0 0 1</float_array>
  <technique_common><accessor source="#nrm-a" count="1" stride="3"><param name="X" type="float"/><param name="Y" type="float"/><param name="Z" type="float"/></accessor></technique_common></source>
 <source id="uv"><float_array id="uv-a" count="8">0 0 1 0 1 1 0 1</float_array>
  <technique_common><accessor source="#uv-a" count="4" stride="2"><param name="S" type="float"/><param name="T" type="float"/></accessor></technique_common></source>
 <vertices id="v"><input semantic="POSITION" source="#pos"/></vertices>
 <triangles count="2" material="m1"><input semantic="VERTEX" source="#v" offset="0"/><input semantic="NORMAL" source="#nrm" offset="1"/>
  <input semantic="TEXCOORD" source="#uv" offset="2" set="0"/><p>0 0 0 1 0 1 2 0 2 0 0 0 2 0 2 3 0 3</p></triangles>
 <polylist count="1" material="m2"><input semantic="VERTEX" source="#v" offset="0"/><vcount>4</vcount><p>0 1 2 3</p></polylist>
 <tristrips count="1" material="m2"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 3 2</p></tristrips>
 <trifans count="1" material="m2"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 2 3</p></trifans>
 <polygons count="1"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 2 3</p></polygons>
 <lines count="2"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 1 2</p></lines>
</mesh></geometry></library_geometries>)";

const char* const kMaterials = R"(
<library_images><image id="img"><init_from>tex.png</init_from></image></library_images>
<library_effects>
 <effect id="red-fx"><profile_COMMON>
  <newparam sid="surf"><surface type="2D"><init_from>img</init_from></surface></newparam>
  <newparam sid="samp"><sampler2D><source>surf</source></sampler2D></newparam>
  <technique sid="t"><phong><ambient><color>0.1 0.1 0.1 1</color></ambient><diffuse><texture texture="samp" texcoord="UV"/></diffuse>
   <specular><color>1 1 1 1</color></specular><shininess><float>20</float></shininess>
   <transparent opaque="A_ONE"><color>0 0 0 0.5</color></transparent><transparency><float>1</float></transparency></phong></technique>
 </profile_COMMON></effect>
 <effect id="blue-fx"><profile_COMMON><technique sid="t"><lambert><diffuse><color>0 0 1 1</color></diffuse></lambert></technique></profile_COMMON></effect>
</library_effects>
<library_materials><material id="red" name="Red"><instance_effect url="#red-fx"/></material><material id="blue"><instance_effect url="#blue-fx"/></material></library_materials>)";

const char* const kBind = R"(<bind_material><technique_common><instance_material symbol="m1" target="#red"/>
 <instance_material symbol="m2" target="#blue"/></technique_common></bind_material>)";

std::string Scene(const std::string& strNodes, const std::string& strLibraryNodes = "")
{
    return "<library_nodes>" + strLibraryNodes + "</library_nodes><library_visual_scenes><visual_scene id=\"s\">" + strNodes +
           "</visual_scene></library_visual_scenes><scene><instance_visual_scene url=\"#s\"/></scene>";
}

std::string Document(const std::string& strAsset, const std::string& strBody)
{
    return std::string(kHead) + "<asset>" + strAsset + "</asset>" + kMaterials + kGeometry + strBody + "</COLLADA>\n";
}

/// The scene of the main test: a moved node showing the quad, and below it a node that instances
/// a library node showing it again.
std::string MainDocument()
{
    return Document("<unit meter=\"0.01\"/><up_axis>Z_UP</up_axis>",
                    Scene("<node id=\"n1\" name=\"Moved\"><translate>10 0 0</translate><rotate>0 0 1 90</rotate><scale>2 2 2</scale>"
                          "<instance_geometry url=\"#quad\">" + std::string(kBind) + "</instance_geometry>"
                          "<node id=\"child\"><matrix>1 0 0 0 0 1 0 5 0 0 1 0 0 0 0 1</matrix><instance_node url=\"#lib\"/></node></node>",
                          "<node id=\"lib\"><instance_geometry url=\"#quad\">" + std::string(kBind) + "</instance_geometry></node>"));
}

std::string Utf16(const std::string& s, bool bBigEndian)
{
    std::string out = bBigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (char c : s)
    {
        out += bBigEndian ? '\0' : c;
        out += bBigEndian ? c : '\0';
    }
    return out;
}

void ExpectNear(const QelVec3& a, const QelVec3& b)
{
    EXPECT_NEAR(a.x, b.x, 1e-5f);
    EXPECT_NEAR(a.y, b.y, 1e-5f);
    EXPECT_NEAR(a.z, b.z, 1e-5f);
}
} // namespace

TEST(CColladaLoader, SceneGeometryMaterialsAndTransformsInEveryEncoding)
{
    const std::string strDoc = MainDocument();
    std::string strUtf16Doc = strDoc;
    strUtf16Doc.replace(strUtf16Doc.find("utf-8"), 5, "UTF-16");
    struct Row
    {
        const char* m_pName;
        std::string m_strBytes;
    };
    const Row kRows[] = {{"UTF-8", strDoc},
                         {"UTF-8 with byte-order mark", "\xEF\xBB\xBF" + strDoc},
                         {"UTF-16 little-endian", Utf16(strUtf16Doc, false)},
                         {"UTF-16 big-endian", Utf16(strUtf16Doc, true)}};
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.m_pName);
        QelModelTempDir dir;
        dir.Write("tex.png", "not really an image");
        QelCapture cap;
        QelModelData data;
        ASSERT_TRUE(LoadText(dir, "scene.dae", row.m_strBytes, data));
        EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
        // One mesh per primitive and material; the second instance binds the same materials and
        // shares the meshes.
        ASSERT_EQ(data.m_vMeshes.size(), 6u);
        EXPECT_EQ(data.NumTriangles(), 10u);
        EXPECT_EQ(data.NumLines(), 2u);
        const QelModelMesh& tri = data.m_vMeshes[0];
        EXPECT_EQ(tri.m_strName, "Quad");
        EXPECT_EQ(tri.NumVertices(), 4u);
        ASSERT_EQ(tri.m_vTexCoords.size(), 1u);
        EXPECT_EQ(tri.m_vTexCoords[0][2], QelVec2(1, 1));
        EXPECT_EQ(tri.m_vNormals[3], QelVec3(0, 0, 1));
        EXPECT_EQ(data.m_vMeshes[2].m_vTriangles, (std::vector<uint32_t>{0, 1, 2, 2, 1, 3})); // strip winding alternates
        EXPECT_EQ(data.m_vMeshes[4].m_nMaterial, -1);

        ASSERT_EQ(data.m_vMaterials.size(), 2u);
        const QelModelMaterial& red = data.m_vMaterials[size_t(tri.m_nMaterial)];
        EXPECT_EQ(red.m_strName, "Red");
        EXPECT_EQ(red.m_vecAmbient, QelVec4(0.1f, 0.1f, 0.1f, 1));
        EXPECT_EQ(red.m_vecSpecular, QelVec4(1, 1, 1, 1));
        EXPECT_EQ(red.m_fShininess, 20.0f);
        EXPECT_EQ(red.m_fOpacity, 0.5f);
        ASSERT_EQ(red.m_vTextures.size(), 1u);
        EXPECT_EQ(red.m_vTextures[0].m_eChannel, QelModelTextureMap::eChannelDiffuse);
        EXPECT_EQ(red.m_vTextures[0].m_strFilename, dir.File("tex.png"));
        EXPECT_EQ(data.m_vMaterials[size_t(data.m_vMeshes[1].m_nMaterial)].m_vecDiffuse, QelVec4(0, 0, 1, 1));

        // Root (unit and up axis), Moved, child, the instanced library node.
        ASSERT_EQ(data.m_vNodes.size(), 4u);
        EXPECT_EQ(data.m_vNodes[1].m_strName, "Moved");
        EXPECT_EQ(data.m_vNodes[3].m_strName, "lib");
        EXPECT_EQ(data.m_vNodes[3].m_nParent, 2);
        EXPECT_EQ(data.m_vNodes[1].m_vMeshes, data.m_vNodes[3].m_vMeshes);
        const QelMatrix4& moved = data.m_vNodes[1].m_matLocal;
        ExpectNear(moved.GetColumn(0), QelVec3(0, 2, 0));
        ExpectNear(moved.GetColumn(1), QelVec3(-2, 0, 0));
        ExpectNear(moved.GetTranslation(), QelVec3(10, 0, 0));
        ExpectNear(data.m_vNodes[2].m_matLocal.GetTranslation(), QelVec3(0, 5, 0));
        ExpectNear(data.WorldMatrix(0) * QelVec3(0, 0, 100), QelVec3(0, 1, 0));
        ExpectNear(data.m_cBounds.m_vecMin, QelVec3(-0.02f, 0, -0.02f));
        ExpectNear(data.m_cBounds.m_vecMax, QelVec3(0.10f, 0, 0));
    }
}

TEST(CColladaLoader, LookatPlacesTheNodeAtTheEyeFacingThePoint)
{
    QelModelTempDir dir;
    QelCapture cap;
    QelModelData data;
    const std::string strDoc = Document("", Scene("<node id=\"cam\"><lookat>0 0 5  0 0 0  0 1 0</lookat><instance_geometry url=\"#quad\"/></node>"));
    ASSERT_TRUE(LoadText(dir, "lookat.dae", strDoc, data));
    const QelMatrix4& m = data.m_vNodes[1].m_matLocal;
    ExpectNear(m.GetTranslation(), QelVec3(0, 0, 5));
    ExpectNear(m.GetColumn(2), QelVec3(0, 0, 1)); // -z looks toward the origin
    ExpectNear(m.GetColumn(1), QelVec3(0, 1, 0));
}

// A polygon with holes is cut by its holes: a 4 x 4 square less a 2 x 2 one in its middle covers
// 12, and no triangle lies in the hole. A hole of two corners encloses nothing and is left out.
TEST(CColladaLoader, PolygonsWithHolesAreCutByThem)
{
    const std::string strGeometry = R"(<library_geometries><geometry id="holed"><mesh>
 <source id="hp"><float_array id="hp-a" count="24">0 0 0 4 0 0 4 4 0 0 4 0 1 1 0 3 1 0 3 3 0 1 3 0</float_array>
  <technique_common><accessor source="#hp-a" count="8" stride="3"><param name="X" type="float"/><param name="Y" type="float"/><param name="Z" type="float"/></accessor></technique_common></source>
 <vertices id="hv"><input semantic="POSITION" source="#hp"/></vertices>
 <polygons count="1"><input semantic="VERTEX" source="#hv" offset="0"/><ph><p>0 1 2 3</p><h>4 5 6 7</h><h>4 5</h></ph></polygons>
</mesh></geometry></library_geometries>)";
    QelModelData data;
    ASSERT_TRUE(LoadsCleanly("holes.dae", Document("", strGeometry + Scene("<node><instance_geometry url=\"#holed\"/></node>")), data));
    ASSERT_EQ(data.m_vMeshes.size(), 1u);
    const QelModelMesh& m = data.m_vMeshes[0];
    ASSERT_EQ(m.m_vTriangles.size(), 8u * 3u);
    float fArea = 0.0f;
    for (size_t t = 0; t < m.m_vTriangles.size(); t += 3)
    {
        const QelVec3 a = m.m_vPositions[m.m_vTriangles[t]], b = m.m_vPositions[m.m_vTriangles[t + 1]],
                      c = m.m_vPositions[m.m_vTriangles[t + 2]];
        fArea += 0.5f * std::fabs((b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y));
        const QelVec3 center = (a + b + c) / 3.0f;
        EXPECT_FALSE(center.x > 1 && center.x < 3 && center.y > 1 && center.y < 3) << "triangle " << t / 3 << " in the hole";
    }
    EXPECT_NEAR(fArea, 12.0f, 1e-4f);
}

TEST(CColladaLoader, NumbersAreReadWhateverSplitsTheirText)
{
    // The parser hands over the text of arrays and index lists in pieces (at line ends, around
    // references, comments and CDATA sections); numbers must come out whole wherever a piece ends.
    const std::string strPositions = "\n\t-1.5 0 +0.25\r\n  2.5e0 1e-3 0.000001&#32;3\t4 5<!-- x -->.5 6\n"
                                     "<![CDATA[ 7 8 ]]>9 12345678901234567890 -0 1.0000000000000000000001";
    const std::string strText = std::string(kHead) +
        "<library_geometries><geometry id=\"g\"><mesh><source id=\"p\"><float_array id=\"pa\" count=\"15\">" +
        strPositions + "</float_array><technique_common><accessor source=\"#pa\" count=\"5\" stride=\"3\"/>"
        "</technique_common></source><vertices id=\"v\"><input semantic=\"POSITION\" source=\"#p\"/></vertices>"
        "<triangles count=\"2\"><input semantic=\"VERTEX\" source=\"#v\" offset=\"0\"/><p>\n0\r\n0000000000000000000000001&#32;2\t3 <!-- y -->4 "
        "<![CDATA[0]]>\n</p></triangles></mesh></geometry></library_geometries>" +
        Scene("<node id=\"n\"><instance_geometry url=\"#g\"/></node>") + "</COLLADA>";
    QelModelData data;
    ASSERT_TRUE(LoadsCleanly("split.dae", strText, data));
    ASSERT_EQ(data.m_vMeshes.size(), 1u);
    const QelModelMesh& m = data.m_vMeshes[0];
    // "5<!-- x -->.5" is one word, "5.5", as the text around a comment joins.
    const std::vector<QelVec3> vExpected = {QelVec3(-1.5f, 0.0f, 0.25f), QelVec3(2.5f, 0.001f, 0.000001f),
                                            QelVec3(3.0f, 4.0f, 5.5f), QelVec3(6.0f, 7.0f, 8.0f),
                                            QelVec3(9.0f, 12345678901234567890.0f, -0.0f)};
    // The corners of the two triangles, whatever vertices the computed normals split.
    const size_t kCorners[] = {0, 1, 2, 3, 4, 0};
    ASSERT_EQ(m.m_vTriangles.size(), 6u);
    for (size_t i = 0; i < 6; ++i)
    {
        SCOPED_TRACE(i);
        EXPECT_EQ(m.m_vPositions[m.m_vTriangles[i]], vExpected[kCorners[i]]);
    }
}

TEST(CColladaLoader, LongArraysReadTheSameWhateverTheirTextHolds)
{
    // Long number text is read past the XML parser; whatever else the text holds, wherever it
    // falls against the parser's reads (comments, CDATA, references, processing instructions,
    // a child's long attribute), the numbers and the lines of later elements must not change.
    const int nVertices = 6000;
    std::string strFloats = "\n", strIndices = "\n";
    for (int i = 0; i < nVertices; ++i)
    {
        strFloats += std::to_string(i) + ".25 " + std::to_string(i % 97) + " -" + std::to_string(i * 3) + ".5\n";
        strIndices += std::to_string(i) + (i % 8 == 7 ? "\n" : " ");
    }
    auto document = [&](const std::string& strF, const std::string& strI) {
        return std::string(kHead) + "<library_geometries><geometry id=\"g\"><mesh><source id=\"p\"><float_array id=\"pa\" count=\"" +
               std::to_string(3 * nVertices) + "\">" + strF + "</float_array><technique_common><accessor source=\"#pa\" count=\"" +
               std::to_string(nVertices) + "\" stride=\"3\"/></technique_common></source><vertices id=\"v\"><input semantic=\"POSITION\" "
               "source=\"#p\"/></vertices><triangles count=\"" + std::to_string(nVertices / 3) + "\"><input semantic=\"VERTEX\" "
               "source=\"#v\" offset=\"0\"/><p>" + strI + "</p></triangles>\n<triangles count=\"1\"><input semantic=\"VERTEX\" "
               "source=\"#v\" offset=\"0\"/><p>0 1 99999</p></triangles></mesh></geometry></library_geometries>" +
               Scene("<node id=\"n\"><instance_geometry url=\"#g\"/></node>") + "</COLLADA>";
    };
    const std::string strDigits(5000, '7');
    struct Obstacle
    {
        const char* m_pName;
        std::string m_strBefore, m_strAfter; // around a stretch of the text, or put in at one place
        size_t m_nWrap;                      // bytes of the text wrapped
    };
    const Obstacle kObstacles[] = {
        {"short comment", "<!-- 1 2 -->", "", 0},
        {"long comment", "<!--" + strDigits + "-->", "", 0},
        {"CDATA", "<![CDATA[", "]]>", 30},
        {"long CDATA", "<![CDATA[", "]]>", 6000},
        {"reference", "&#32;", "", 0},
        {"own marker", "<?qel-run 0 0000000000000000?>", "", 0},
        {"processing instruction", "<?pi " + strDigits + "?>", "", 0},
        {"child with a long attribute", "<x a=\"" + strDigits + "\"/>", "", 0},
    };
    const std::vector<uint32_t> vFlat = [&] {
        std::vector<uint32_t> v;
        for (uint32_t i = 0; i < uint32_t(nVertices); ++i)
            v.push_back(i);
        return v;
    }();
    auto check = [&](const std::string& strText) {
        QelCapture cap;
        QelModelData data;
        ASSERT_TRUE(CColladaLoader::LoadFromMemory(strText.data(), strText.size(), "long.dae", "", data));
        const size_t nLine = size_t(std::count(strText.begin(), strText.begin() + strText.rfind("<triangles"), '\n')) + 1;
        ASSERT_EQ(cap.Messages().size(), 1u) << cap.Joined();
        EXPECT_EQ(cap.Messages()[0], "<warning> CColladaLoader - [long.dae] line " + std::to_string(nLine) +
                                         ": <triangles> index 99999 is past the " +
                                         std::to_string(nVertices) + " elements of its source; the element is skipped\n");
        ASSERT_EQ(data.m_vMeshes.size(), 1u);
        const QelModelMesh& m = data.m_vMeshes[0];
        ASSERT_EQ(m.m_vTriangles, vFlat);
        for (int i = 0; i < nVertices; i += 5)
            ASSERT_EQ(m.m_vPositions[size_t(i)], QelVec3(float(i) + 0.25f, float(i % 97), -float(i * 3) - 0.5f)) << "vertex " << i;
    };
    check(document(strFloats, strIndices));
    for (const Obstacle& o : kObstacles)
        for (int nText = 0; nText < 2; ++nText)
        {
            const std::string& strText = nText ? strIndices : strFloats;
            for (size_t nAt = 0; nAt < 14000; nAt += 307)
            {
                SCOPED_TRACE(std::string(o.m_pName) + (nText ? " in the indices at " : " in the floats at ") + std::to_string(nAt));
                // At a gap, so that no word is cut in two.
                const size_t nBegin = strText.find_first_of(" \n", nAt);
                const size_t nEnd = o.m_nWrap ? strText.find_first_of(" \n", nBegin + o.m_nWrap) : nBegin;
                ASSERT_NE(nEnd, std::string::npos);
                const std::string strChanged = strText.substr(0, nBegin) + o.m_strBefore + strText.substr(nBegin, nEnd - nBegin) +
                                               o.m_strAfter + strText.substr(nEnd);
                check(nText ? document(strFloats, strChanged) : document(strChanged, strIndices));
                if (HasFatalFailure())
                    return;
            }
        }
    // A character XML forbids, far into the text or in its last word: the parser's verdict, not a
    // short array.
    for (size_t nBadAt : {strFloats.find(' ', 9000), strFloats.size() - 1})
    {
        SCOPED_TRACE(nBadAt);
        std::string strBad = strFloats;
        strBad[nBadAt] = '\x01';
        const std::string strText = document(strBad, strIndices);
        QelCapture cap;
        QelModelData data;
        EXPECT_FALSE(CColladaLoader::LoadFromMemory(strText.data(), strText.size(), "long.dae", "", data));
        const size_t nBadLine = size_t(std::count(strText.begin(), strText.begin() + strText.find('\x01'), '\n')) + 1;
        EXPECT_EQ(cap.Joined(), "<error> CColladaLoader - [long.dae] is not well-formed XML (line " + std::to_string(nBadLine) +
                                    ": PCDATA invalid Char value 1)\n");
    }
}

TEST(CColladaLoader, DecimalsNearAFloatMidpointRoundToTheNearerFloat)
{
    // Each word lies a hair past the midpoint between two floats, so close that its double is the
    // midpoint itself: only the decimal's own digits give the nearer float.
    const char* const kWords[] = {"76.13984298706054", "0.004332275828346610", "1"};
    std::string strPositions;
    for (const char* p : kWords)
        strPositions += std::string(p) + " ";
    const std::string strText = std::string(kHead) +
        "<library_geometries><geometry id=\"g\"><mesh><source id=\"p\"><float_array id=\"pa\" count=\"9\">" +
        strPositions + strPositions + strPositions +
        "</float_array><technique_common><accessor source=\"#pa\" count=\"3\" stride=\"3\"/>"
        "</technique_common></source><vertices id=\"v\"><input semantic=\"POSITION\" source=\"#p\"/></vertices>"
        "<triangles count=\"1\"><input semantic=\"VERTEX\" source=\"#v\" offset=\"0\"/><p>0 1 2</p></triangles>"
        "</mesh></geometry></library_geometries>" +
        Scene("<node id=\"n\"><instance_geometry url=\"#g\"/></node>") + "</COLLADA>";
    QelModelTempDir dir;
    QelCapture cap;
    QelModelData data;
    ASSERT_TRUE(LoadText(dir, "midpoint.dae", strText, data));
    ASSERT_EQ(data.m_vMeshes.size(), 1u);
    ASSERT_FALSE(data.m_vMeshes[0].m_vPositions.empty());
    const QelVec3& v = data.m_vMeshes[0].m_vPositions[0];
    EXPECT_EQ(v.x, std::strtof(kWords[0], nullptr));
    EXPECT_EQ(v.y, std::strtof(kWords[1], nullptr));
}

TEST(CColladaLoader, BadInputIsReportedWithFileAndLine)
{
    struct Row
    {
        const char* m_pName;
        std::string m_strText;
        bool m_bLoads;
        std::string m_strMessage; // after "<tag> CColladaLoader - [file] "
    };
    auto geometry = [](const std::string& strSource, const std::string& strPrimitive) {
        return std::string(kHead) + "<library_geometries><geometry id=\"g\"><mesh>\n" + strSource + "\n" + strPrimitive +
               "\n</mesh></geometry></library_geometries>" + Scene("<node id=\"n\"><instance_geometry url=\"#g\"/></node>") +
               "</COLLADA>";
    };
    const std::string kSource = "<source id=\"p\"><float_array id=\"pa\" count=\"9\">0 0 0 1 0 0 0 1 0</float_array>"
                                "<technique_common><accessor source=\"#pa\" count=\"3\" stride=\"3\"/></technique_common></source>"
                                "<vertices id=\"v\"><input semantic=\"POSITION\" source=\"#p\"/></vertices>";
    const std::string kInput = "<input semantic=\"VERTEX\" source=\"#v\" offset=\"0\"/>";
    std::string strDeep;
    for (int i = 0; i < 200; ++i)
        strDeep += i ? "\n<node>" : "\n<node><instance_geometry url=\"#quad\"/>";
    strDeep += "<instance_geometry url=\"#quad\"/>";
    for (int i = 0; i < 200; ++i)
        strDeep += "</node>";
    const Row kRows[] = {
        {"not well-formed", std::string(kHead) + "<asset>", false,
         "<error>|is not well-formed XML (line 2: Premature end of data in tag asset line 2)"},
        {"empty", "", false, "<error>|is not well-formed XML (line 1: Document is empty)"},
        {"well-formed, not COLLADA", "<?xml version=\"1.0\"?><svg><g/></svg>", false,
         "<error>|is not a COLLADA document (its root element is [svg])"},
        {"zipped archive", std::string("PK\x03\x04\x14\0", 6), false,
         "<error>|is a zipped COLLADA archive (.zae); unpack it and open the .dae document inside"},
        {"no scene", std::string(kHead) + "</COLLADA>", false, "<error>|has no visual scene"},
        {"index past the vertices", geometry(kSource, "<triangles count=\"2\">" + kInput + "<p>0 1 2 0 1 9</p></triangles>"), true,
         "<warning>|line 4: <triangles> index 9 is past the 3 elements of its source; the element is skipped"},
        {"count past the data", geometry(kSource, "<triangles count=\"5\">" + kInput + "<p>0 1 2</p></triangles>"), true,
         "<warning>|line 4: <triangles> count 5 is more than its indices hold (1)"},
        {"polygon past the data", geometry(kSource, "<polylist count=\"2\">" + kInput + "<vcount>3 4000000000</vcount><p>0 1 2</p></polylist>"),
         true, "<warning>|line 4: <polylist> polygon 1 of 4000000000 corners runs past its indices; the rest is skipped"},
        {"word in an index list", geometry(kSource, "<triangles count=\"2\">" + kInput + "<p>0 1 2 0 x 2</p></triangles>"), true,
         "<warning>|line 4: <p> holds a word that is not an index; the indices before it are read"},
        {"word in a float array",
         geometry("<source id=\"p\"><float_array id=\"pa\" count=\"9\">0 0 0 1 0 0 0 1 0 1.5.2</float_array>"
                  "<technique_common><accessor source=\"#pa\" count=\"3\" stride=\"3\"/></technique_common></source>"
                  "<vertices id=\"v\"><input semantic=\"POSITION\" source=\"#p\"/></vertices>",
                  "<triangles count=\"1\">" + kInput + "<p>0 1 2</p></triangles>"),
         true, "<warning>|line 3: float array [pa] holds a word that is not a number; the numbers before it are read"},
        {"accessor past its array",
         geometry("<source id=\"p\"><float_array id=\"pa\" count=\"9\">0 0 0 1 0 0 0 1 0</float_array>"
                  "<technique_common><accessor source=\"#pa\" count=\"4\" stride=\"3\"/></technique_common></source>"
                  "<vertices id=\"v\"><input semantic=\"POSITION\" source=\"#p\"/></vertices>",
                  "<triangles count=\"1\">" + kInput + "<p>0 1 2</p></triangles>"),
         false, "<warning>|line 3: accessor of source [p] reads past its array of 9 numbers; the source is not used"},
        {"node instanced inside itself",
         Document("", Scene("<node id=\"a\"><instance_geometry url=\"#quad\"/>\n<node id=\"b\"><instance_node url=\"#a\"/></node></node>")),
         true, "<warning>|line 31: node [a] is instanced inside itself; the instance is skipped"},
        {"absurd nesting", Document("", Scene(strDeep)), true,
         "<warning>|line 159: nodes nest deeper than 128; the deeper ones are skipped"},
        {"missing texture", MainDocument(), true, "<warning>|line 8: texture [tex.png] not found; the material is drawn without it"},
        {"geometry not defined", Document("", Scene("<node><instance_geometry url=\"#quad\"/>\n<instance_geometry url=\"#nothing\"/></node>")),
         true, "<warning>|line 31: geometry [nothing] is not defined; the instance is skipped"},
    };
    QelModelTempDir dir;
    const std::string strFile = dir.File("bad.dae");
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.m_pName);
        QelCapture cap;
        QelModelData data;
        EXPECT_EQ(LoadText(dir, "bad.dae", row.m_strText, data), row.m_bLoads);
        std::string strTag = row.m_strMessage.substr(0, row.m_strMessage.find('|'));
        std::string strRest = row.m_strMessage.substr(row.m_strMessage.find('|') + 1);
        ASSERT_FALSE(cap.Messages().empty());
        EXPECT_EQ(cap.Messages()[0], strTag + " CColladaLoader - [" + strFile + "] " + strRest + "\n");
        EXPECT_EQ(data.Empty(), !row.m_bLoads);
        if (row.m_bLoads)
        {
            EXPECT_GE(data.NumTriangles(), 1u);
        }
    }
}

TEST(CColladaLoader, FilesThatCannotBeReadAreReported)
{
    QelModelTempDir dir;
    QelModelFormat& loader = RegisteredLoader("dae");
    EXPECT_EQ(loader.GetLabel(), "Collada Files");
    QelCapture cap;
    QelModelData data;
    EXPECT_FALSE(loader.Load(dir.File("missing.dae"), data));
    EXPECT_EQ(cap.Messages(),
              std::vector<std::string>{"<error> CColladaLoader - [" + dir.File("missing.dae") + "] cannot be opened\n"});
    EXPECT_FALSE(CColladaLoader::LoadFromMemory(nullptr, 0, "none", "", data));
}

TEST(CColladaLoader, InstancesWithOtherMaterialsGetTheirOwnMeshes)
{
    QelModelTempDir dir;
    dir.Write("tex.png", "x");
    QelCapture cap;
    QelModelData data;
    const std::string strDoc = Document("", Scene("<node id=\"a\"><instance_geometry url=\"#quad\">" + std::string(kBind) +
                                                  "</instance_geometry></node><node id=\"b\"><instance_geometry url=\"#quad\"/></node>"));
    ASSERT_TRUE(LoadText(dir, "twice.dae", strDoc, data));
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
    // Node b's unbound symbols draw with the default material: the four bound primitives again,
    // the two without a material shared.
    ASSERT_EQ(data.m_vMeshes.size(), 10u);
    ASSERT_EQ(data.m_vNodes[2].m_vMeshes.size(), 6u);
    for (int n : data.m_vNodes[2].m_vMeshes)
    {
        EXPECT_EQ(data.m_vMeshes[size_t(n)].m_nMaterial, -1);
        EXPECT_FALSE(data.m_vMeshes[size_t(n)].m_vPositions.empty());
    }
    EXPECT_EQ(data.m_vMeshes[6].m_vTriangles, data.m_vMeshes[0].m_vTriangles);
}
