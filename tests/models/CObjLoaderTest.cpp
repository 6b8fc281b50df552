#include "qel/models/CObjLoader.h"
#include "qel/models/QelModelData.h"
#include "tests/models/QelModelTestSupport.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <cmath>
#include <string>
#include <vector>

namespace
{
const char* const kCube = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 1\nv 1 0 1\nv 1 1 1\nv 0 1 1\n"
                          "vn 0 0 -1\nvn 0 0 1\nvn 0 -1 0\nvn 0 1 0\nvn -1 0 0\nvn 1 0 0\n"
                          "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n"
                          "f 1/1/1 4/4/1 3/3/1 2/2/1\nf 5/1/2 6/2/2 7/3/2 8/4/2\nf 1/1/3 2/2/3 6/3/3 5/4/3\n"
                          "f 4/1/4 8/2/4 7/3/4 3/4/4\nf 1/1/5 5/2/5 8/3/5 4/4/5\nf 2/1/6 3/2/6 7/3/6 6/4/6\n";

/// A polygon as an OBJ face in the plane z = 0 (tilted when bTilt), with its area.
std::string PolygonObj(const std::vector<std::pair<double, double>>& vCorners, bool bTilt)
{
    std::string s;
    for (const auto& c : vCorners)
    {
        // Tilted: the plane through the x axis rotated 30 degrees about it, shifted.
        double y = bTilt ? c.second * std::cos(0.5235987756) : c.second;
        double z = bTilt ? c.second * std::sin(0.5235987756) + 5.0 : 0.0;
        char buf[128];
        std::snprintf(buf, sizeof(buf), "v %.9g %.9g %.9g\n", c.first, y, z);
        s += buf;
    }
    s += "f";
    for (size_t i = 0; i < vCorners.size(); ++i)
        s += " " + std::to_string(i + 1);
    return s + "\n";
}

double ShoelaceArea(const std::vector<std::pair<double, double>>& v)
{
    double a = 0.0;
    for (size_t i = 0; i < v.size(); ++i)
    {
        const auto& p = v[i];
        const auto& q = v[(i + 1) % v.size()];
        a += p.first * q.second - q.first * p.second;
    }
    return a; // twice the area, positive when counter-clockwise
}

std::vector<std::pair<double, double>> Star(int nPoints)
{
    std::vector<std::pair<double, double>> v;
    for (int i = 0; i < 2 * nPoints; ++i)
    {
        double r = i % 2 ? 0.4 : 1.0, a = i * 3.14159265358979 / nPoints;
        v.emplace_back(r * std::cos(a), r * std::sin(a));
    }
    return v;
}

/// A comb: nTeeth narrow teeth along the top of a bar, every tooth gap a pair of reflex corners.
std::vector<std::pair<double, double>> Comb(int nTeeth)
{
    std::vector<std::pair<double, double>> v{{0, 0}, {double(nTeeth), 0}};
    for (int i = nTeeth; i > 0; --i)
    {
        v.emplace_back(i, 2);
        v.emplace_back(i - 0.5, 2);
        v.emplace_back(i - 0.5, 0.5);
        v.emplace_back(i - 1.0, 0.5);
    }
    v.back().second = 2; // the last tooth ends at the left edge
    return v;
}

/// A spiral band: a polygon with many reflex corners around a point.
std::vector<std::pair<double, double>> Spiral(int nTurns)
{
    std::vector<std::pair<double, double>> v;
    const int nSteps = 40 * nTurns;
    for (int i = 0; i <= nSteps; ++i)
    {
        double a = i * 6.28318530718 / 40, r = 1.0 + a;
        v.emplace_back(r * std::cos(a), r * std::sin(a));
    }
    for (int i = nSteps; i >= 0; --i)
    {
        double a = i * 6.28318530718 / 40, r = 1.0 + a + 2.5;
        v.emplace_back(r * std::cos(a), r * std::sin(a));
    }
    return v;
}
} // namespace

TEST(CObjLoader, CubeMakesOneVertexPerDistinctTripleAndSplitsQuads)
{
    QelModelData data;
    ASSERT_TRUE(LoadsCleanly("cube.obj", kCube, data));
    ASSERT_EQ(data.m_vMeshes.size(), 1u);
    const QelModelMesh& m = data.m_vMeshes[0];
    EXPECT_EQ(m.NumVertices(), 24u);
    EXPECT_EQ(m.NumTriangles(), 12u);
    ASSERT_EQ(m.m_vTexCoords.size(), 1u);
    EXPECT_EQ(m.m_vTexCoords[0].size(), 24u);
    EXPECT_EQ(m.m_vNormals.size(), 24u);
    EXPECT_TRUE(m.m_vColors.empty());
    EXPECT_EQ(data.m_cBounds, QelBox3(QelVec3(0, 0, 0), QelVec3(1, 1, 1)));
    // Every triangle faces the way its corners' normals point.
    for (size_t t = 0; t < m.NumTriangles(); ++t)
    {
        const uint32_t* i = &m.m_vTriangles[3 * t];
        QelVec3 n = (m.m_vPositions[i[1]] - m.m_vPositions[i[0]]).Cross(m.m_vPositions[i[2]] - m.m_vPositions[i[0]]);
        EXPECT_GT(n.Dot(m.m_vNormals[i[0]]), 0.0f) << "triangle " << t;
    }
    ASSERT_EQ(data.m_vNodes.size(), 1u);
    EXPECT_EQ(data.m_vNodes[0].m_strName, "cube.obj");
}

TEST(CObjLoader, EveryIndexFormReadsTheSameTriangle)
{
    struct Row
    {
        const char* m_pName;
        const char* m_pFace;
        bool m_bTex, m_bNormal;
    };
    const Row kRows[] = {{"positions", "f 1 2 3", false, false},
                         {"with texture", "f 1/1 2/2 3/3", true, false},
                         {"with normal", "f 1//1 2//1 3//1", false, true},
                         {"all three", "f 1/1/1 2/2/1 3/3/1", true, true},
                         {"negative", "f -3/-3/-1 -2/-2/-1 -1/-1/-1", true, true},
                         {"plus signs and tabs", "f\t+1/+1/+1\t2/2/1  3/3/1 ", true, true}};
    QelModelTempDir dir;
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.m_pName);
        QelCapture cap;
        QelModelData data;
        std::string strText = std::string("v 0 0 0\nv 2 0 0\nv 0 3 0\nvt 0 0\nvt 1 0\nvt 0 1\nvn 0 0 1\n") +
                              row.m_pFace + "\n";
        ASSERT_TRUE(LoadText(dir, "forms.obj", strText, data));
        EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
        const QelModelMesh& m = data.m_vMeshes[0];
        ASSERT_EQ(m.m_vTriangles, (std::vector<uint32_t>{0, 1, 2}));
        EXPECT_EQ(m.m_vPositions[1], QelVec3(2, 0, 0));
        EXPECT_EQ(m.m_vPositions[2], QelVec3(0, 3, 0));
        EXPECT_EQ(m.m_vTexCoords.size(), row.m_bTex ? 1u : 0u);
        if (row.m_bTex)
        {
            EXPECT_EQ(m.m_vTexCoords[0][2], QelVec2(0, 1));
        }
        // Without normals in the file the face's own normal is computed.
        ASSERT_EQ(m.m_vNormals.size(), 3u);
        EXPECT_EQ(m.m_vNormals[0], QelVec3(0, 0, 1));
    }
}

TEST(CObjLoader, ConcavePolygonsSplitIntoTrianglesThatCoverThemExactly)
{
    struct Row
    {
        const char* m_pName;
        std::vector<std::pair<double, double>> m_vCorners;
    };
    const Row kRows[] = {
        {"dart (reflex second corner)", {{0, 0}, {1, 0.3}, {2, 0}, {1, 2}}},
        {"dart (reflex fourth corner)", {{0, 0}, {2, 0}, {1, 2}, {1, 0.5}}},
        {"L shape", {{0, 0}, {2, 0}, {2, 1}, {1, 1}, {1, 2}, {0, 2}}},
        {"five-pointed star", Star(5)},
        {"clockwise star", [] { auto v = Star(7); return std::vector<std::pair<double, double>>(v.rbegin(), v.rend()); }()},
        {"comb of 40 teeth", Comb(40)},
        {"spiral of 5 turns", Spiral(5)},
        {"collinear corners", {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {3, 1}, {2, 1}, {2, 0.5}, {1, 0.5}, {1, 1}, {0, 1}}},
    };
    QelModelTempDir dir;
    for (const Row& row : kRows)
        for (bool bTilt : {false, true})
        {
            SCOPED_TRACE(std::string(row.m_pName) + (bTilt ? ", tilted" : ""));
            QelCapture cap;
            QelModelData data;
            ASSERT_TRUE(LoadText(dir, "poly.obj", PolygonObj(row.m_vCorners, bTilt), data));
            EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
            const QelModelMesh& m = data.m_vMeshes[0];
            EXPECT_EQ(m.NumTriangles(), row.m_vCorners.size() - 2);
            double fArea = ShoelaceArea(row.m_vCorners);
            // Measured about the polygon's own normal, every triangle turns the polygon's way and
            // together they have its area: they cover it without overlap.
            QelVec3 vNormal = bTilt ? QelVec3(0.0f, -std::sin(0.5235987756f), std::cos(0.5235987756f)) : QelVec3(0, 0, 1);
            if (fArea < 0)
                vNormal = vNormal * -1.0f;
            bool bPositive = false;
            EXPECT_NEAR(TriangleAreaSum(m, vNormal, &bPositive), std::fabs(fArea), 1e-4 * std::fabs(fArea));
            EXPECT_TRUE(bPositive);
        }
}

TEST(CObjLoader, FacesOfThousandsOfCornersStayQuick)
{
    QelModelTempDir dir;
    std::vector<std::pair<double, double>> vCircle;
    for (int i = 0; i < 100000; ++i)
        vCircle.emplace_back(std::cos(i * 6.28318530718 / 100000), std::sin(i * 6.28318530718 / 100000));
    for (const auto& row : {std::make_pair("circle of 100000", vCircle), std::make_pair("comb of 2500", Comb(2500))})
    {
        SCOPED_TRACE(row.first);
        QelCapture cap;
        QelModelData data;
        auto t0 = std::chrono::steady_clock::now();
        ASSERT_TRUE(LoadText(dir, "big.obj", PolygonObj(row.second, false), data));
        double fSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
        EXPECT_LT(fSeconds, 60.0); // a guard against quadratic work, loose enough for sanitizer builds
        EXPECT_EQ(data.NumTriangles(), row.second.size() - 2);
        bool bPositive = false;
        double fArea = ShoelaceArea(row.second);
        EXPECT_NEAR(TriangleAreaSum(data.m_vMeshes[0], QelVec3(0, 0, 1), &bPositive), fArea, 1e-6 * fArea);
        EXPECT_TRUE(bPositive);
    }
}

TEST(CObjLoader, LinesPointsColorsGroupsAndMaterialsMakeMeshesAndNodes)
{
    QelModelTempDir dir;
    QelCapture cap;
    QelModelData data;
    const char* kText = "v 0 0 0 1 0 0\nv 1 0 0 0 1 0\nv 1 1 0 0 0 1\nv 0 1 0 2 -1 0.5\n"
                        "o first\nusemtl red\nf 1 2 3\nusemtl blue\nf 1 3 4\nusemtl red\nf 2 3 4\n"
                        "g second part\nl 1 2 3\np 4 1\n";
    ASSERT_TRUE(LoadText(dir, "parts.obj", kText, data));
    // The two materials are named but defined nowhere.
    EXPECT_EQ(cap.Messages(),
              (std::vector<std::string>{
                  "<warning> CObjLoader - [" + dir.File("parts.obj") + "] material [blue] is not defined; the default material is used\n",
                  "<warning> CObjLoader - [" + dir.File("parts.obj") + "] material [red] is not defined; the default material is used\n"}));
    ASSERT_EQ(data.m_vMaterials.size(), 2u);
    ASSERT_EQ(data.m_vMeshes.size(), 3u);
    EXPECT_EQ(data.m_vMeshes[0].m_strName, "first");
    EXPECT_EQ(data.m_vMeshes[0].m_nMaterial, 0);
    EXPECT_EQ(data.m_vMeshes[0].NumTriangles(), 2u); // both "red" faces of "first"
    EXPECT_EQ(data.m_vMeshes[1].m_nMaterial, 1);
    const QelModelMesh& lines = data.m_vMeshes[2];
    EXPECT_EQ(lines.m_strName, "second part");
    EXPECT_EQ(lines.m_vLines.size(), 4u);
    EXPECT_EQ(lines.m_vPoints.size(), 2u);
    EXPECT_TRUE(lines.m_vNormals.empty());
    // Vertex colors: red in the low byte, clamped to 0..1.
    ASSERT_EQ(data.m_vMeshes[0].m_vColors.size(), data.m_vMeshes[0].NumVertices());
    EXPECT_EQ(data.m_vMeshes[0].m_vColors[0], 0xFF0000FFu);
    EXPECT_EQ(lines.m_vColors[lines.m_vPoints[0]], 0xFF7F00FFu);
    ASSERT_EQ(data.m_vNodes.size(), 3u);
    EXPECT_EQ(data.m_vNodes[1].m_strName, "first");
    EXPECT_EQ(data.m_vNodes[1].m_nParent, 0);
    EXPECT_EQ(data.m_vNodes[1].m_vMeshes, (std::vector<int>{0, 1}));
    EXPECT_EQ(data.m_vNodes[2].m_strName, "second part");
    EXPECT_EQ(data.m_vNodes[2].m_nParent, 1); // a group belongs to the object before it
    EXPECT_EQ(data.m_vNodes[2].m_vMeshes, (std::vector<int>{2}));
    EXPECT_EQ(data.NumLines(), 2u);
    EXPECT_EQ(data.NumPoints(), 2u);
}

TEST(CObjLoader, SmoothingGroupsShareNormalsAndOffSplitsThem)
{
    // Two faces meeting at a right angle along the edge from (0,0,0) to (1,0,0).
    const std::string strGeometry = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 -1\nv 1 0 -1\n";
    QelModelTempDir dir;
    {
        SCOPED_TRACE("smoothing group 1");
        QelModelData data;
        ASSERT_TRUE(LoadText(dir, "s.obj", strGeometry + "s 1\nf 1 2 3 4\nf 5 6 2 1\n", data));
        const QelModelMesh& m = data.m_vMeshes[0];
        EXPECT_EQ(m.NumVertices(), 6u);
        // The corner on the shared edge leans towards both faces; the others keep their face's normal.
        EXPECT_LT(m.m_vNormals[0].y, -0.1f);
        EXPECT_GT(m.m_vNormals[0].z, 0.1f);
        EXPECT_NEAR(m.m_vNormals[0].Magnitude(), 1.0f, 1e-6f);
        EXPECT_EQ(m.m_vNormals[2], QelVec3(0, 0, 1));
    }
    {
        SCOPED_TRACE("smoothing off");
        QelModelData data;
        ASSERT_TRUE(LoadText(dir, "s.obj", strGeometry + "s off\nf 1 2 3 4\nf 5 6 2 1\n", data));
        const QelModelMesh& m = data.m_vMeshes[0];
        EXPECT_EQ(m.NumVertices(), 8u);
        EXPECT_EQ(m.m_vNormals[0], QelVec3(0, 0, 1));
        EXPECT_EQ(m.m_vNormals[7], QelVec3(0, -1, 0));
    }
    {
        SCOPED_TRACE("two groups");
        QelModelData data;
        ASSERT_TRUE(LoadText(dir, "s.obj", strGeometry + "s 1\nf 1 2 3 4\ns 2\nf 5 6 2 1\n", data));
        EXPECT_EQ(data.m_vMeshes[0].NumVertices(), 8u);
    }
}

TEST(CObjLoader, WindowsTextReadsAsPlainText)
{
    // Byte-order mark, CR LF, continued statements, comments and blank lines change nothing.
    const std::string strPlain = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n";
    const std::string strWindows = "\xEF\xBB\xBF# made on Windows\r\n\r\nv 0 0 0\r\nv 1 \\\r\n0 0\r\n"
                                   "  v 1 1 0 # a corner\r\nv 0 1 0\r\nf 1 2 \\\r\n3 \\\n4\r\n";
    QelModelTempDir dir;
    QelCapture cap;
    QelModelData a, b;
    ASSERT_TRUE(LoadText(dir, "plain.obj", strPlain, a));
    ASSERT_TRUE(LoadText(dir, "plain.obj", strWindows, b));
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
    ExpectSameModel(a, b);
}

TEST(CObjLoader, BadInputIsReportedWithFileAndLine)
{
    struct Row
    {
        const char* m_pName;
        std::string m_strText;
        bool m_bLoads;
        std::string m_strMessage; // after "<tag> CObjLoader - [file] "
    };
    const std::string kTri = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
    const Row kRows[] = {
        {"index zero", kTri + "f 0 1 2\nf 1 2 3\n", true,
         "<warning>|line 4: vertex index 0 is out of range (1 to 3); the element is skipped"},
        {"index past the end", kTri + "f 1 2 3\nf 1 2 4\n", true,
         "<warning>|line 5: vertex index 4 is out of range (1 to 3); the element is skipped"},
        {"negative index before the first", kTri + "f -4 1 2\nf 1 2 3\n", true,
         "<warning>|line 4: vertex index -4 is out of range (1 to 3); the element is skipped"},
        {"texture index zero", kTri + "vt 0 0\nf 1/0 2/1 3/1\nf 1 2 3\n", true,
         "<warning>|line 5: texture coordinate index 0 is out of range (1 to 1); the element is skipped"},
        {"normal index past the end", kTri + "vn 0 0 1\nf 1//2 2//1 3//1\nf 1 2 3\n", true,
         "<warning>|line 5: normal index 2 is out of range (1 to 1); the element is skipped"},
        {"huge index", kTri + "f 1 2 99999999999999999999\nf 1 2 3\n", true,
         "<warning>|line 4: vertex index 1099511627776 is out of range (1 to 3); the element is skipped"},
        {"not a finite number", "v 0 nan 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", true,
         "<warning>|line 1: coordinate is not a finite number; 0 is used"},
        {"too large for a float", "v 0 1e39 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", true,
         "<warning>|line 1: coordinate is not a finite number; 0 is used"},
        {"face of two corners", kTri + "f 1 2\nf 1 2 3\n", true, "<warning>|line 4: a face with 2 corners is skipped"},
        {"lone letters", kTri + "f 1 2 3\nv", true, "<warning>|line 5: a vertex needs three coordinates; the missing ones are 0"},
        {"garbage in a face", kTri + "f 1 2 x\nf 1 2 3\n", true,
         "<warning>|line 4: bad vertex reference; the element is skipped"},
        {"unknown statement", kTri + "frobnicate 1\nf 1 2 3\n", true, "<warning>|line 4: unknown statement [frobnicate] skipped"},
        {"vertex of two numbers", "v 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", true,
         "<warning>|line 1: a vertex needs three coordinates; the missing ones are 0"},
        {"nothing to draw", kTri, false, "<error>|holds no faces, lines or points"},
        {"empty", "", false, "<error>|holds no faces, lines or points"},
        {"binary", std::string("v 0 0 0\n\x01\x02\x00\x7F", 12), false,
         "<error>|line 2: binary data (a zero byte) where text was expected"},
        {"UTF-16 with byte-order mark", std::string("\xFF\xFEv\0 \0", 6), false,
         "<error>|is UTF-16 text; save it as UTF-8 or ASCII to read it"},
        {"UTF-16 without byte-order mark", std::string("v\0 \0" "0\0", 6), false,
         "<error>|is UTF-16 text; save it as UTF-8 or ASCII to read it"},
        {"truncated in a face", kTri + "f 1 2 3\nf 1 2", true, "<warning>|line 5: a face with 2 corners is skipped"},
        {"face of a million corners", kTri + "f" + [] { std::string s; for (int i = 0; i <= (1 << 20); ++i) s += " 1"; return s; }() + "\nf 1 2 3\n",
         true, "<warning>|line 4: an element of more than 1048576 corners is skipped"},
    };
    QelModelTempDir dir;
    const std::string strFile = dir.File("bad.obj");
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.m_pName);
        QelCapture cap;
        QelModelData data;
        EXPECT_EQ(LoadText(dir, "bad.obj", row.m_strText, data), row.m_bLoads);
        std::string strTag = row.m_strMessage.substr(0, row.m_strMessage.find('|'));
        std::string strRest = row.m_strMessage.substr(row.m_strMessage.find('|') + 1);
        std::string strExpected = strTag + " CObjLoader - [" + strFile + "] " + strRest + "\n";
        ASSERT_FALSE(cap.Messages().empty());
        EXPECT_EQ(cap.Messages()[0], strExpected);
        EXPECT_EQ(data.Empty(), !row.m_bLoads);
        if (row.m_bLoads)
        {
            EXPECT_EQ(data.NumTriangles(), 1u);
        }
    }
}

TEST(CObjLoader, FilesThatCannotBeReadAreReported)
{
    QelModelTempDir dir;
    QelModelFormat& loader = RegisteredLoader("obj");
    QelModelData data;
    {
        QelCapture cap;
        EXPECT_FALSE(loader.Load(dir.Path(), data));
        EXPECT_EQ(cap.Messages(), std::vector<std::string>{"<error> CObjLoader - [" + dir.Path() + "] is a folder, not a file\n"});
    }
    {
        QelCapture cap;
        EXPECT_FALSE(loader.Load(dir.File("missing.obj"), data));
        EXPECT_EQ(cap.Messages(),
                  std::vector<std::string>{"<error> CObjLoader - [" + dir.File("missing.obj") + "] cannot be opened\n"});
    }
}

TEST(CObjLoader, WarningsStopAfterALimit)
{
    std::string strText = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
    for (int i = 0; i < 1000; ++i)
        strText += "f 1 2 9\n";
    QelModelTempDir dir;
    QelCapture cap;
    QelModelData data;
    ASSERT_TRUE(LoadText(dir, "many.obj", strText, data));
    ASSERT_EQ(cap.Messages().size(), 21u);
    EXPECT_EQ(cap.Messages().back(), "<warning> CObjLoader - [" + dir.File("many.obj") + "] 980 more warnings not shown\n");
}

TEST(CObjLoader, ReadsFromMemory)
{
    QelCapture cap;
    QelModelData data;
    EXPECT_TRUE(CObjLoader::LoadFromMemory(kCube, std::strlen(kCube), "cube", "", data));
    EXPECT_EQ(data.NumTriangles(), 12u);
    EXPECT_FALSE(CObjLoader::LoadFromMemory(nullptr, 0, "none", "", data));
    EXPECT_EQ(cap.Messages().back(), "<error> CObjLoader - [none] holds no faces, lines or points\n");
}
