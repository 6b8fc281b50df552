#include "qel/models/CDxfLoader.h"
#include "qel/models/QelModelData.h"
#include "tests/models/QelModelTestSupport.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>
#include <vector>

namespace
{
std::string G(int nCode, const std::string& strValue)
{
    return std::to_string(nCode) + "\n" + strValue + "\n";
}

std::string G(int nCode, double f)
{
    char buf[64];
    std::snprintf(buf, sizeof(buf), "%.17g", f);
    return G(nCode, std::string(buf));
}

/// Point k (groups 1k, 2k, 3k).
std::string P(int k, double x, double y, double z)
{
    return G(10 + k, x) + G(20 + k, y) + G(30 + k, z);
}

std::string Section(const std::string& strName, const std::string& strBody)
{
    return G(0, "SECTION") + G(2, strName) + strBody + G(0, "ENDSEC");
}

std::string Drawing(const std::string& strEntities, const std::string& strBefore = "")
{
    return strBefore + Section("ENTITIES", strEntities) + G(0, "EOF");
}

std::string Face(double fZ, const std::string& strLayer = "0")
{
    return G(0, "3DFACE") + G(8, strLayer) + P(0, 0, 0, fZ) + P(1, 1, 0, fZ) + P(2, 1, 1, fZ) + P(3, 0, 1, fZ);
}

std::string Block(const std::string& strName, double bx, double by, const std::string& strBody)
{
    return G(0, "BLOCK") + G(2, strName) + G(8, "0") + P(0, bx, by, 0) + strBody + G(0, "ENDBLK");
}

std::string Insert(const std::string& strBlock, double x, double y, double fScale = 1.0, double fRot = 0.0,
                   const std::string& strExtra = "")
{
    return G(0, "INSERT") + G(2, strBlock) + G(8, "0") + P(0, x, y, 0) + G(41, fScale) + G(42, fScale) +
           G(43, fScale) + G(50, fRot) + strExtra;
}

std::string Line(double x0, double y0, double x1, double y1, const std::string& strExtra = "")
{
    return G(0, "LINE") + G(8, "0") + strExtra + P(0, x0, y0, 0) + P(1, x1, y1, 0);
}

/// Line number at which text appended to strPrefix starts.
unsigned LineAfter(const std::string& strPrefix)
{
    unsigned n = 1;
    for (char c : strPrefix)
        n += c == '\n';
    return n;
}

void ExpectNear(const QelVec3& a, const QelVec3& b)
{
    EXPECT_NEAR(a.x, b.x, 1e-5f);
    EXPECT_NEAR(a.y, b.y, 1e-5f);
    EXPECT_NEAR(a.z, b.z, 1e-5f);
}

uint32_t Rgb(int r, int g, int b)
{
    return uint32_t(r) | uint32_t(g) << 8 | uint32_t(b) << 16 | 0xFF000000u;
}
} // namespace

TEST(CDxfLoader, FacesSolidsAndMeshesBecomeTriangles)
{
    const std::string strPolyface =
        G(0, "POLYLINE") + G(8, "0") + G(66, "1") + G(70, "64") + G(71, "4") + G(72, "2") +
        G(0, "VERTEX") + G(8, "0") + P(0, 0, 0, 5) + G(70, "192") + G(0, "VERTEX") + G(8, "0") + P(0, 1, 0, 5) +
        G(70, "192") + G(0, "VERTEX") + G(8, "0") + P(0, 1, 1, 5) + G(70, "192") + G(0, "VERTEX") + G(8, "0") +
        P(0, 0, 1, 5) + G(70, "192") + G(0, "VERTEX") + G(8, "0") + P(0, 0, 0, 0) + G(70, "128") + G(71, "1") +
        G(72, "2") + G(73, "-3") + G(74, "4") + G(0, "VERTEX") + G(8, "0") + P(0, 0, 0, 0) + G(70, "128") +
        G(71, "1") + G(72, "2") + G(73, "3") + G(0, "SEQEND") + G(8, "0");
    std::string strMesh = G(0, "POLYLINE") + G(8, "0") + G(66, "1") + G(70, "16") + G(71, "3") + G(72, "3");
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            strMesh += G(0, "VERTEX") + G(8, "0") + P(0, 10 + i, j, 0) + G(70, "64");
    strMesh += G(0, "SEQEND");
    const std::string strText =
        Drawing(Face(0) + G(0, "3DFACE") + G(8, "0") + P(0, 0, 0, 1) + P(1, 1, 0, 1) + P(2, 0, 1, 1) + P(3, 0, 1, 1) +
                G(0, "SOLID") + G(8, "0") + P(0, 0, 0, 2) + P(1, 1, 0, 2) + P(2, 0, 1, 2) + P(3, 1, 1, 2) + strPolyface +
                strMesh);
    QelModelData data;
    ASSERT_TRUE(LoadsCleanly("faces.dxf", strText, data));
    ASSERT_EQ(data.m_vMeshes.size(), 1u);
    const QelModelMesh& m = data.m_vMeshes[0];
    // Quad face 2, triangle face 1, solid 2, polyface 2 + 1, 3 x 3 mesh 8.
    EXPECT_EQ(m.NumTriangles(), 16u);
    EXPECT_EQ(m.NumLines(), 0u);
    EXPECT_EQ(data.m_cBounds, QelBox3(QelVec3(0, 0, 0), QelVec3(12, 2, 5)));
    // The solid's corners run 1 2 4 3: its two triangles cover the unit square once, facing +z.
    bool bPositive = false;
    QelModelMesh solid = m;
    solid.m_vTriangles.assign(m.m_vTriangles.begin() + 9, m.m_vTriangles.begin() + 15);
    EXPECT_NEAR(TriangleAreaSum(solid, QelVec3(0, 0, 1), &bPositive), 2.0, 1e-6);
    EXPECT_TRUE(bPositive);
    for (size_t i = 0; i < m.NumVertices(); ++i)
        ExpectNear(m.m_vNormals[i], QelVec3(0, 0, 1));
    ASSERT_EQ(data.m_vNodes.size(), 1u);
    EXPECT_EQ(data.m_vNodes[0].m_strName, "faces.dxf");
}

TEST(CDxfLoader, CurvesBecomeLineSegmentsAndPointsStayPoints)
{
    const std::string strText = Drawing(
        Line(0, 0, 3, 4) + G(0, "CIRCLE") + G(8, "0") + P(0, 0, 0, 0) + G(40, 2.0) + G(0, "ARC") + G(8, "0") +
        P(0, 0, 0, 0) + G(40, 1.0) + G(50, 0.0) + G(51, 90.0) + G(0, "LWPOLYLINE") + G(8, "0") + G(90, "4") +
        G(70, "1") + G(10, 0.0) + G(20, 0.0) + G(10, 1.0) + G(20, 0.0) + G(10, 1.0) + G(20, 1.0) + G(10, 0.0) +
        G(20, 1.0) + G(0, "POLYLINE") + G(8, "0") + G(66, "1") + G(70, "8") + G(0, "VERTEX") + G(8, "0") +
        P(0, 0, 0, 0) + G(0, "VERTEX") + G(8, "0") + P(0, 0, 0, 7) + G(0, "VERTEX") + G(8, "0") + P(0, 1, 0, 7) +
        G(0, "SEQEND") + G(0, "POINT") + G(8, "0") + P(0, 5, 5, 5) + G(0, "TEXT") + G(8, "0") + G(1, "ignored"));
    QelModelData data;
    ASSERT_TRUE(LoadsCleanly("curves.dxf", strText, data));
    // Line 1, circle 36, quarter arc 9, closed square 4, 3D polyline 2.
    EXPECT_EQ(data.NumLines(), 52u);
    EXPECT_EQ(data.NumPoints(), 1u);
    EXPECT_EQ(data.NumTriangles(), 0u);
    EXPECT_EQ(data.m_cBounds, QelBox3(QelVec3(-2, -2, 0), QelVec3(5, 5, 7)));
    // Every circle point lies on the circle.
    const QelModelMesh& m = data.m_vMeshes[0];
    for (size_t i = 2; i < 38; ++i)
        EXPECT_NEAR(m.m_vPositions[i].Magnitude(), 2.0f, 1e-5f) << i;
}

// A bulge turns the segment after its vertex into an arc: 1 is a half circle counterclockwise,
// -1 clockwise; the closing segment of a closed polyline bends too.
TEST(CDxfLoader, BulgesBendSegmentsIntoArcs)
{
    const std::string strText = Drawing(
        G(0, "LWPOLYLINE") + G(8, "0") + G(90, "2") + G(10, 0.0) + G(20, 0.0) + G(42, 1.0) + G(10, 2.0) + G(20, 0.0) +
        G(0, "POLYLINE") + G(8, "0") + G(66, "1") + G(70, "1") + G(0, "VERTEX") + G(8, "0") + P(0, 10, 0, 0) +
        G(42, -1.0) + G(0, "VERTEX") + G(8, "0") + P(0, 12, 0, 0) + G(42, -1.0) + G(0, "SEQEND"));
    QelModelData data;
    ASSERT_TRUE(LoadsCleanly("bulges.dxf", strText, data));
    // Half circle: 18 segments; the closed one: two half circles.
    EXPECT_EQ(data.NumLines(), 18u + 36u);
    const QelModelMesh& m = data.m_vMeshes[0];
    ASSERT_EQ(m.NumVertices(), 19u + 36u);
    for (size_t i = 0; i < 19; ++i)
        EXPECT_NEAR((m.m_vPositions[i] - QelVec3(1, 0, 0)).Magnitude(), 1.0f, 1e-5f) << i;
    for (size_t i = 19; i < m.NumVertices(); ++i)
        EXPECT_NEAR((m.m_vPositions[i] - QelVec3(11, 0, 0)).Magnitude(), 1.0f, 1e-5f) << i;
    // Counterclockwise from (0, 0) to (2, 0) passes below the chord; clockwise from (10, 0) above it.
    ExpectNear(m.m_vPositions[9], QelVec3(1, -1, 0));
    ExpectNear(m.m_vPositions[19 + 9], QelVec3(11, 1, 0));
    EXPECT_EQ(data.m_cBounds, QelBox3(QelVec3(0, -1, 0), QelVec3(12, 1, 0)));
}

TEST(CDxfLoader, LayersAndColorIndexGiveMaterialsAndVertexColors)
{
    const std::string strTables =
        Section("TABLES", G(0, "TABLE") + G(2, "LAYER") + G(0, "LAYER") + G(2, "Walls") + G(70, "0") + G(62, "1") +
                              G(0, "LAYER") + G(2, "Glass") + G(62, "-5") + G(0, "LAYER") + G(2, "Wood") +
                              G(62, "7") + G(420, std::to_string(0x996633)) + G(0, "ENDTAB"));
    const std::string strBlocks =
        Section("BLOCKS", Block("Door", 0, 0, Line(0, 0, 1, 0, G(62, "0")) + Line(0, 0, 0, 1, G(62, "256"))));
    const std::string strText =
        Drawing(Face(0, "walls") + Line(0, 0, 1, 1, G(8, "Walls") + G(62, "3")) +
                    Line(0, 0, 1, 1, G(8, "WALLS") + G(420, std::to_string(0x102030))) +
                    Face(1, "Glass") + Face(2, "Wood") + Face(3, "unlisted") +
                    Insert("Door", 0, 0, 1, 0, G(8, "Walls") + G(62, "30")),
                strTables + strBlocks);
    QelModelData data;
    ASSERT_TRUE(LoadsCleanly("layers.dxf", strText, data));
    ASSERT_EQ(data.m_vMeshes.size(), 4u);
    ASSERT_EQ(data.m_vMaterials.size(), 4u);
    struct Row
    {
        const char* m_pLayer;
        QelVec4 m_vecDiffuse;
        std::vector<uint32_t> m_vColors;
    };
    const uint32_t kRed = Rgb(255, 0, 0);
    const Row kRows[] = {
        // Layer names match without case; the first spelling names the layer. By block gives the
        // insert's color (index 30), by layer the insert's layer for block entities on layer 0.
        {"Walls", QelVec4(1, 0, 0, 1),
         {kRed, kRed, kRed, kRed, Rgb(0, 255, 0), Rgb(0, 255, 0), Rgb(0x10, 0x20, 0x30), Rgb(0x10, 0x20, 0x30),
          Rgb(255, 127, 0), Rgb(255, 127, 0), kRed, kRed}},
        {"Glass", QelVec4(0, 0, 1, 1), std::vector<uint32_t>(4, Rgb(0, 0, 255))},
        {"Wood", QelVec4(0x99 / 255.0f, 0x66 / 255.0f, 0x33 / 255.0f, 1), std::vector<uint32_t>(4, Rgb(0x99, 0x66, 0x33))},
        {"unlisted", QelVec4(1, 1, 1, 1), std::vector<uint32_t>(4, Rgb(255, 255, 255))},
    };
    for (size_t i = 0; i < 4; ++i)
    {
        SCOPED_TRACE(kRows[i].m_pLayer);
        const QelModelMesh& m = data.m_vMeshes[i];
        EXPECT_EQ(m.m_strName, kRows[i].m_pLayer);
        ASSERT_EQ(m.m_nMaterial, int(i));
        EXPECT_EQ(data.m_vMaterials[i].m_strName, kRows[i].m_pLayer);
        EXPECT_EQ(data.m_vMaterials[i].m_vecDiffuse, kRows[i].m_vecDiffuse);
        EXPECT_EQ(m.m_vColors, kRows[i].m_vColors);
    }
}

TEST(CDxfLoader, ColorIndexTableHasTheStandardEntries)
{
    struct Row
    {
        int m_nIndex;
        uint32_t m_nColor;
    };
    const Row kRows[] = {{1, Rgb(255, 0, 0)},     {7, Rgb(255, 255, 255)}, {8, Rgb(128, 128, 128)},
                         {9, Rgb(192, 192, 192)}, {11, Rgb(255, 127, 127)}, {21, Rgb(255, 159, 127)},
                         {22, Rgb(165, 41, 0)},   {23, Rgb(165, 103, 82)},  {40, Rgb(255, 191, 0)},
                         {95, Rgb(63, 127, 63)}, {150, Rgb(0, 127, 255)},   {249, Rgb(38, 19, 23)},
                         {250, Rgb(51, 51, 51)},  {255, Rgb(255, 255, 255)}};
    std::string strEntities;
    for (const Row& row : kRows)
        strEntities += G(0, "POINT") + G(8, "0") + G(62, std::to_string(row.m_nIndex)) + P(0, 0, 0, 0);
    QelCapture cap;
    QelModelData data;
    const std::string strText = Drawing(strEntities);
    ASSERT_TRUE(CDxfLoader::LoadFromMemory(strText.data(), strText.size(), "aci", data));
    ASSERT_EQ(data.m_vMeshes.size(), 1u);
    for (size_t i = 0; i < sizeof(kRows) / sizeof(kRows[0]); ++i)
    {
        SCOPED_TRACE("index " + std::to_string(kRows[i].m_nIndex));
        EXPECT_EQ(data.m_vMeshes[0].m_vColors[i], kRows[i].m_nColor);
    }
}

TEST(CDxfLoader, InsertsPlaceNestedBlocksByBasePointScaleRotationAndExtrusion)
{
    // Arrow: a line from its base point (1, 0) one unit along x. Pair: the arrow twice, the second
    // shifted up by 5.
    const std::string strBlocks =
        Section("BLOCKS", Block("Arrow", 1, 0, Line(1, 0, 2, 0)) +
                              Block("Pair", 0, 0, Insert("arrow", 0, 0) + Insert("ARROW", 0, 5)));
    const std::string strText = Drawing(
        // Scaled by 2 and turned 90 degrees about (10, 0): the line runs from (10, 0) to (10, 2).
        Insert("Arrow", 10, 0, 2, 90) + Insert("Pair", 20, 0) +
            // Seen along -x from an extrusion of +x: object (x, y, z) is world (z, x, y).
            G(0, "LWPOLYLINE") + G(8, "0") + G(90, "2") + G(38, 3.0) + G(10, 1.0) + G(20, 2.0) + G(10, 4.0) +
            G(20, 5.0) + G(210, 1.0) + G(220, 0.0) + G(230, 0.0) +
            // A circle seen from below: object x is world -x.
            G(0, "CIRCLE") + G(8, "0") + P(0, 30, 0, 0) + G(40, 1.0) + G(210, 0.0) + G(220, 0.0) + G(230, -1.0),
        Section("BLOCKS", "") + strBlocks);
    QelModelData data;
    ASSERT_TRUE(LoadsCleanly("inserts.dxf", strText, data));
    ASSERT_EQ(data.m_vMeshes.size(), 1u);
    const QelModelMesh& m = data.m_vMeshes[0];
    // Inserts come after the other entities: polyline 0-1, circle 2-37, arrow 38-39, pair 40-43.
    ASSERT_EQ(m.NumVertices(), 44u);
    ExpectNear(m.m_vPositions[0], QelVec3(3, 1, 2));
    ExpectNear(m.m_vPositions[1], QelVec3(3, 4, 5));
    ExpectNear(m.m_vPositions[2], QelVec3(-31, 0, 0));
    ExpectNear(m.m_vPositions[38], QelVec3(10, 0, 0));
    ExpectNear(m.m_vPositions[39], QelVec3(10, 2, 0));
    ExpectNear(m.m_vPositions[40], QelVec3(20, 0, 0));
    ExpectNear(m.m_vPositions[41], QelVec3(21, 0, 0));
    ExpectNear(m.m_vPositions[42], QelVec3(20, 5, 0));
    ExpectNear(m.m_vPositions[43], QelVec3(21, 5, 0));
}

// MINSERT repeats its block in columns and rows, spaced along the insert's turned axes.
TEST(CDxfLoader, InsertsRepeatInColumnsAndRows)
{
    const std::string strText = Drawing(G(0, "MINSERT") + G(2, "Arrow") + G(8, "0") + P(0, 0, 0, 0) + G(50, 90.0) +
                                            G(70, "2") + G(71, "3") + G(44, 10.0) + G(45, 20.0),
                                        Section("BLOCKS", Block("Arrow", 1, 0, Line(1, 0, 2, 0))));
    QelModelData data;
    ASSERT_TRUE(LoadsCleanly("array.dxf", strText, data));
    ASSERT_EQ(data.NumLines(), 6u);
    const QelModelMesh& m = data.m_vMeshes[0];
    // Row 2, column 1: (10, 40) along the turned axes is (-40, 10).
    ExpectNear(m.m_vPositions[10], QelVec3(-40, 10, 0));
    ExpectNear(m.m_vPositions[11], QelVec3(-40, 11, 0));
    ExpectNear(data.m_cBounds.m_vecMin, QelVec3(-40, 0, 0));
    ExpectNear(data.m_cBounds.m_vecMax, QelVec3(0, 11, 0));
}

TEST(CDxfLoader, HeaderUnitScalesTheRootNode)
{
    struct Row
    {
        const char* m_pName;
        const char* m_pUnit;
        float m_fScale;
    };
    const Row kRows[] = {{"millimeters", "4", 0.001f}, {"inches", "1", 0.0254f}, {"meters", "6", 1.0f},
                         {"unitless", "0", 1.0f},       {"no header", nullptr, 1.0f}};
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.m_pName);
        const std::string strHeader =
            row.m_pUnit ? Section("HEADER", G(9, "$ACADVER") + G(1, "AC1027") + G(9, "$INSUNITS") + G(70, row.m_pUnit))
                        : "";
        QelModelData data;
        ASSERT_TRUE(LoadsCleanly("units.dxf", Drawing(Line(0, 0, 1000, 2000), strHeader), data));
        ASSERT_EQ(data.m_vNodes.size(), 1u);
        const QelMatrix4& mat = data.m_vNodes[0].m_matLocal;
        EXPECT_EQ(mat.m_fM[0], row.m_fScale);
        EXPECT_EQ(mat.m_fM[5], row.m_fScale);
        EXPECT_EQ(mat.m_fM[10], row.m_fScale);
        EXPECT_EQ(data.m_vNodes[0].m_vMeshes, std::vector<int>{0});
        ExpectNear(data.m_cBounds.m_vecMax, QelVec3(1000 * row.m_fScale, 2000 * row.m_fScale, 0));
    }
}

TEST(CDxfLoader, ValuesOfEveryLengthAndLineEndingAreRead)
{
    // Values from empty to longer than two words, padded with blanks, after codes with CRLF or LF:
    // the line scan reads words of eight characters and must find each line end wherever it falls.
    std::string strEntities;
    for (int n = 0; n < 20; ++n)
    {
        const std::string strZeros(size_t(n), '0');
        const std::string strEnd = n % 2 ? "\r\n" : "\n";
        auto g = [&](int nCode, const std::string& strValue) {
            return std::to_string(nCode) + strEnd + std::string(size_t(n % 3), ' ') + strValue + std::string(size_t(n % 4), ' ') + strEnd;
        };
        strEntities += g(0, "3DFACE") + g(8, "L" + strZeros) + g(10, "0." + strZeros) + g(20, "0") + g(30, std::to_string(n) + "." + strZeros) +
                       g(11, "1" + std::string(n ? "." : "") + strZeros) + g(21, "0") + g(31, std::to_string(n)) + g(12, "0") +
                       g(22, "1") + g(32, std::to_string(n)) + g(999, "");
    }
    QelModelData data;
    ASSERT_TRUE(LoadsCleanly("lengths.dxf", Drawing(strEntities), data));
    ASSERT_EQ(data.m_vMeshes.size(), 20u);
    for (int n = 0; n < 20; ++n)
    {
        SCOPED_TRACE(n);
        EXPECT_EQ(data.m_vMeshes[size_t(n)].m_strName, "L" + std::string(size_t(n), '0'));
        EXPECT_EQ(data.m_vMeshes[size_t(n)].ComputeBounds(), QelBox3(QelVec3(0, 0, float(n)), QelVec3(1, 1, float(n))));
    }
}

TEST(CDxfLoader, BadInputIsReportedWithFileAndLine)
{
    struct Row
    {
        const char* m_pName;
        std::string m_strText;
        bool m_bLoads;
        std::string m_strMessage; // after "<tag> CDxfLoader - [file] "
    };
    const std::string kFace = Face(0);
    const std::string kStart = G(0, "SECTION") + G(2, "ENTITIES") + kFace;
    std::string strDeep = G(0, "SECTION") + G(2, "BLOCKS");
    unsigned nDeepLine = 0; // the insert at the 33rd level
    for (int i = 0; i < 40; ++i)
    {
        const std::string strHead = G(0, "BLOCK") + G(2, "B" + std::to_string(i)) + G(8, "0") + P(0, 0, 0, 0);
        if (i == 31)
            nDeepLine = LineAfter(strDeep + strHead);
        strDeep += strHead + Insert("B" + std::to_string(i + 1), 0, 0) + G(0, "ENDBLK");
    }
    strDeep += Block("B40", 0, 0, kFace) + G(0, "ENDSEC");
    const std::string strPolyface = G(0, "POLYLINE") + G(8, "0") + G(70, "64") + G(0, "VERTEX") + G(8, "0") +
                                    P(0, 0, 0, 0) + G(70, "192") + G(0, "VERTEX") + G(8, "0") + P(0, 1, 0, 0) +
                                    G(70, "192") + G(0, "VERTEX") + G(8, "0") + G(70, "128") + G(71, "1") +
                                    G(72, "2") + G(73, "7");
    const std::string strMesh = G(0, "POLYLINE") + G(8, "0") + G(70, "16") + G(71, "100000") + G(72, "100000") +
                                G(0, "VERTEX") + G(8, "0") + P(0, 0, 0, 0) + G(0, "SEQEND");
    const std::string strBadVertex = G(0, "POLYLINE") + G(8, "0") + G(70, "64") + G(0, "VERTEX") + G(8, "0") +
                                     G(10, "1") + G(20, "2..5");
    const std::string strBadVertexRest = G(30, "0") + G(70, "192") + G(0, "VERTEX") + G(8, "0") + P(0, 1, 0, 0) +
                                         G(70, "192") + G(0, "VERTEX") + G(8, "0") + P(0, 1, 1, 0) + G(70, "192") +
                                         G(0, "VERTEX") + G(8, "0") + G(10, "bad") + G(70, "128") + G(71, "1") +
                                         G(72, "2") + G(73, "3") + G(0, "SEQEND");
    const std::string strCycle = Section("BLOCKS", Block("A", 0, 0, Insert("B", 0, 0)) + Block("B", 0, 0, Insert("a", 0, 0)));
    const Row kRows[] = {
        {"binary", std::string("AutoCAD Binary DXF\r\n\x1a\0", 22) + "junk", false,
         "<error>|is a binary DXF file; save it as ASCII DXF to read it"},
        {"group code not a number", kStart + "x1\nLINE\n", false, "<error>|line " + std::to_string(LineAfter(kStart)) +
                                                                      ": group code expected, found [x1]"},
        {"truncated after a code", kStart + "0\n", true,
         "<warning>|line " + std::to_string(LineAfter(kStart)) + ": the file ends after a group code; what was read is kept"},
        {"truncated before EOF", kStart, true,
         "<warning>|line " + std::to_string(LineAfter(kStart)) + ": the file ends before EOF; what was read is kept"},
        {"not a number", Drawing(G(0, "3DFACE") + G(8, "0") + G(10, "1.5x") + P(1, 1, 0, 0) + P(2, 0, 1, 0)), true,
         "<warning>|line 9: [1.5x] is not a finite number; 0 is used"},
        {"face past the vertices", Drawing(strPolyface + G(0, "SEQEND") + kFace), true,
         "<warning>|line " + std::to_string(LineAfter(G(0, "SECTION") + G(2, "ENTITIES") + strPolyface) - 12) +
             ": face refers to vertex 7 of 2; the face is skipped"},
        {"polyface vertex not a number",
         Drawing(strBadVertex + strBadVertexRest), true,
         "<warning>|line " + std::to_string(LineAfter(G(0, "SECTION") + G(2, "ENTITIES") + strBadVertex) - 2) +
             ": [2..5] is not a finite number; 0 is used"},
        {"mesh larger than its vertices", Drawing(strMesh + kFace), true,
         "<warning>|line 5: polygon mesh of 100000 x 100000 vertices has 1; it is skipped"},
        {"undefined block", Drawing(Insert("Nowhere", 0, 0) + kFace), true,
         "<warning>|line 5: block [Nowhere] is not defined; the insert is skipped"},
        {"block inserting itself", Drawing(Insert("A", 0, 0) + kFace, strCycle), true,
         "<warning>|line " + std::to_string(LineAfter(G(0, "SECTION") + G(2, "BLOCKS") + G(0, "BLOCK") + G(2, "A") +
                                                      G(8, "0") + P(0, 0, 0, 0) + Insert("B", 0, 0) + G(0, "ENDBLK") +
                                                      G(0, "BLOCK") + G(2, "B") + G(8, "0") + P(0, 0, 0, 0))) +
             ": block [a] is inserted into itself; the insert is skipped"},
        {"absurd nesting", Drawing(Insert("B0", 0, 0) + kFace, strDeep), true,
         "<warning>|line " + std::to_string(nDeepLine) + ": blocks nest deeper than 32; the insert is skipped"},
        {"no drawing entities", Drawing(G(0, "TEXT") + G(1, "x")), false, "<error>|draws no faces, lines or points"},
        {"empty", "", false, "<warning>|line 1: the file ends before EOF; what was read is kept"},
        {"well-formed but no sections", G(999, "comment") + G(0, "EOF"), false, "<error>|draws no faces, lines or points"},
    };
    QelModelTempDir dir;
    const std::string strFile = dir.File("bad.dxf");
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.m_pName);
        QelCapture cap;
        QelModelData data;
        EXPECT_EQ(LoadText(dir, "bad.dxf", row.m_strText, data), row.m_bLoads);
        std::string strTag = row.m_strMessage.substr(0, row.m_strMessage.find('|'));
        std::string strRest = row.m_strMessage.substr(row.m_strMessage.find('|') + 1);
        ASSERT_FALSE(cap.Messages().empty());
        EXPECT_EQ(cap.Messages()[0], strTag + " CDxfLoader - [" + strFile + "] " + strRest + "\n");
        EXPECT_EQ(data.Empty(), !row.m_bLoads);
        if (row.m_bLoads)
        {
            EXPECT_GE(data.NumTriangles(), 1u);
        }
    }
}

TEST(CDxfLoader, BlocksThatMultiplyStopAtALimit)
{
    // Each block inserts the next ten times: 10^12 faces if nothing stopped it.
    std::string strBlocks;
    for (int i = 0; i < 12; ++i)
    {
        std::string strBody;
        for (int k = 0; k < 10; ++k)
            strBody += Insert("L" + std::to_string(i + 1), k, 0);
        strBlocks += Block("L" + std::to_string(i), 0, 0, strBody);
    }
    strBlocks += Block("L12", 0, 0, Face(0));
    const std::string strText = Drawing(Insert("L0", 0, 0), Section("BLOCKS", strBlocks));
    struct LimitGuard
    {
        size_t m_nSaved = CDxfLoader::GetInsertLimit();
        ~LimitGuard() { CDxfLoader::SetInsertLimit(m_nSaved); }
    } guard;
    EXPECT_EQ(guard.m_nSaved, size_t(1) << 24);
    CDxfLoader::SetInsertLimit(100000);
    QelCapture cap;
    QelModelData data;
    auto t0 = std::chrono::steady_clock::now();
    ASSERT_TRUE(CDxfLoader::LoadFromMemory(strText.data(), strText.size(), "bomb", data));
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count(), 10.0);
    ASSERT_EQ(cap.Messages().size(), 1u);
    EXPECT_EQ(cap.Messages()[0],
              "<error> CDxfLoader - [bomb] inserted blocks make more than 100000 vertices; the remaining inserts are skipped\n");
    EXPECT_GT(data.NumVertices(), 100000u);
    EXPECT_LT(data.NumVertices(), 100010u);

    // An array of 65,535 columns by a billion rows of an empty block: each copy counts.
    const std::string strArray = Drawing(G(0, "MINSERT") + G(2, "Empty") + G(8, "0") + P(0, 0, 0, 0) +
                                             G(70, "65535") + G(71, "1000000000"),
                                         Section("BLOCKS", Block("Empty", 0, 0, "")));
    QelCapture capArray;
    QelModelData dataArray;
    t0 = std::chrono::steady_clock::now();
    EXPECT_FALSE(CDxfLoader::LoadFromMemory(strArray.data(), strArray.size(), "array", dataArray));
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count(), 10.0);
    EXPECT_EQ(capArray.Joined(),
              "<error> CDxfLoader - [array] inserted blocks make more than 100000 vertices; the remaining inserts are skipped\n"
              "<error> CDxfLoader - [array] draws no faces, lines or points\n");
}

TEST(CDxfLoader, FilesThatCannotBeReadAreReported)
{
    QelModelTempDir dir;
    QelModelFormat& loader = RegisteredLoader("dxf");
    EXPECT_EQ(loader.GetLabel(), "AutoCAD DXF Files");
    QelModelData data;
    {
        QelCapture cap;
        EXPECT_FALSE(loader.Load(dir.Path(), data));
        EXPECT_EQ(cap.Messages(), std::vector<std::string>{"<error> CDxfLoader - [" + dir.Path() + "] is a folder, not a file\n"});
    }
    {
        QelCapture cap;
        EXPECT_FALSE(loader.Load(dir.File("missing.dxf"), data));
        EXPECT_EQ(cap.Messages(),
                  std::vector<std::string>{"<error> CDxfLoader - [" + dir.File("missing.dxf") + "] cannot be opened\n"});
    }
    {
        QelCapture cap;
        EXPECT_FALSE(CDxfLoader::LoadFromMemory(nullptr, 0, "none", data));
    }
}
