#include "qel/models/CShpLoader.h"
#include "qel/models/QelModelData.h"
#include "qel/models/QelModelFormat.h"
#include "tests/models/QelModelTestSupport.h"
#include "tests/models/QelShpTestFile.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>
#include <shapefil.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace
{
/// Loads; what loads must also come back bit for bit from the own format.
bool Load(const QelModelTempDir& dir, const std::string& strFile, QelModelData& data)
{
    bool bLoaded = RegisteredLoader("shp").Load(strFile, data);
    if (bLoaded)
        ExpectOwnFormatRoundTrip(data, dir);
    return bLoaded;
}

std::string ReadAll(const std::string& strPath)
{
    std::ifstream f(strPath, std::ios::binary);
    std::ostringstream s;
    s << f.rdbuf();
    return s.str();
}
} // namespace

TEST(CShpLoader, RegisteredWithItsLabel)
{
    QelModelFormat* p = QelModelFormat::GetFileHandlerForFilename("roads.SHP");
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetLabel(), "Shapefiles");
    EXPECT_NE(dynamic_cast<CShpLoader*>(p), nullptr);
}

TEST(CShpLoader, PolygonWithAHoleIsTriangulatedAroundItNearItsOrigin)
{
    // Map coordinates far from zero; the outer ring turns clockwise and the hole the other way.
    const double x0 = 500000.0, y0 = 4000000.0;
    SShape field{"Field", {0, 5}, {}, {}, {}, {}};
    for (auto p : {std::make_pair(0, 0), {0, 10}, {10, 10}, {10, 0}, {0, 0}, {4, 4}, {6, 4}, {6, 6}, {4, 6}, {4, 4}})
    {
        field.vX.push_back(x0 + p.first);
        field.vY.push_back(y0 + p.second);
    }
    QelModelTempDir dir;
    std::string strFile = WriteShapes(dir, "fields", SHPT_POLYGON, {field});
    QelCapture cap;
    QelModelData data;
    ASSERT_TRUE(Load(dir, strFile, data));
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
    ASSERT_EQ(data.m_vMeshes.size(), 1u);
    const QelModelMesh& mesh = data.m_vMeshes[0];
    EXPECT_EQ(mesh.m_strName, "Field");
    bool bAllUp = false;
    // Twice the area of the square less the hole, every triangle facing up.
    EXPECT_NEAR(TriangleAreaSum(mesh, QelVec3(0, 0, 1), &bAllUp), 2 * (100.0 - 4.0), 1e-3);
    EXPECT_TRUE(bAllUp);
    ASSERT_EQ(mesh.m_vNormals.size(), mesh.NumVertices());
    EXPECT_EQ(mesh.m_vNormals[0], QelVec3(0, 0, 1));
    // Small numbers in the mesh, the offset in the root node.
    EXPECT_EQ(mesh.ComputeBounds().m_vecMax, QelVec3(10, 10, 0));
    ASSERT_EQ(data.m_vNodes.size(), 1u);
    EXPECT_EQ(data.m_vNodes[0].m_strName, "fields.shp");
    EXPECT_EQ(data.m_vNodes[0].m_vMeshes, std::vector<int>{0});
    EXPECT_EQ(data.m_cBounds.m_vecMin, QelVec3(float(x0), float(y0), 0));
    EXPECT_EQ(data.m_cBounds.m_vecMax, QelVec3(float(x0 + 10), float(y0 + 10), 0));
}

TEST(CShpLoader, PointsLinesAndMultipatchesWithZ)
{
    QelModelTempDir dir;
    QelModelData data;
    {
        SCOPED_TRACE("points");
        SShape a{"A", {0}, {}, {1}, {2}, {3}}, b{"", {0}, {}, {4}, {5}, {6}};
        ASSERT_TRUE(Load(dir, WriteShapes(dir, "points", SHPT_POINTZ, {a, b}), data));
        ASSERT_EQ(data.m_vMeshes.size(), 2u);
        EXPECT_EQ(data.NumPoints(), 2u);
        // A record with an empty name is named by its number.
        EXPECT_EQ(data.m_vMeshes[1].m_strName, "shape 1");
        EXPECT_EQ(data.m_cBounds.m_vecMax, QelVec3(4, 5, 6));
    }
    {
        SCOPED_TRACE("polyline of two parts");
        SShape road{"Road", {0, 3}, {}, {0, 1, 2, 5, 6}, {0, 0, 1, 5, 5}, {0, 1, 2, 3, 4}};
        ASSERT_TRUE(Load(dir, WriteShapes(dir, "roads", SHPT_ARCZ, {road}), data));
        EXPECT_EQ(data.NumLines(), 3u);
        EXPECT_EQ(data.NumTriangles(), 0u);
        EXPECT_EQ(data.m_cBounds.m_vecMax, QelVec3(6, 5, 4));
    }
    {
        SCOPED_TRACE("multipatch");
        // A strip of four vertices, a fan of five, and a standing wall with a window.
        SShape house{"House", {0, 4, 9, 14}, {SHPP_TRISTRIP, SHPP_TRIFAN, SHPP_OUTERRING, SHPP_INNERRING}, {}, {}, {}};
        double strip[4][3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}};
        double fan[5][3] = {{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}, {-1, 1, 1}};
        double wall[5][3] = {{0, 0, 0}, {4, 0, 0}, {4, 0, 4}, {0, 0, 4}, {0, 0, 0}};
        double window[5][3] = {{1, 0, 1}, {1, 0, 2}, {2, 0, 2}, {2, 0, 1}, {1, 0, 1}};
        for (auto* part : {&strip[0], &fan[0], &wall[0], &window[0]})
            for (int i = 0; i < (part == &strip[0] ? 4 : 5); ++i)
            {
                house.vX.push_back(part[i][0]);
                house.vY.push_back(part[i][1]);
                house.vZ.push_back(part[i][2]);
            }
        ASSERT_TRUE(Load(dir, WriteShapes(dir, "house", SHPT_MULTIPATCH, {house}), data));
        ASSERT_EQ(data.m_vMeshes.size(), 1u);
        const QelModelMesh& mesh = data.m_vMeshes[0];
        bool bUp = false;
        EXPECT_NEAR(TriangleAreaSum(mesh, QelVec3(0, 0, 1), &bUp), 2 * (1.0 + 1.5), 1e-4);
        EXPECT_TRUE(bUp);
        // The wall (16 less the window's 1) stands in the plane y = 0.
        EXPECT_NEAR(std::fabs(TriangleAreaSum(mesh, QelVec3(0, 1, 0), nullptr)), 2 * 15.0, 1e-4);
        EXPECT_EQ(data.m_cBounds.m_vecMax, QelVec3(4, 1, 4));
    }
}

TEST(CShpLoader, DamagedFilesAreReportedWithTheirFault)
{
    SShape square{"Square", {0}, {}, {0, 0, 1, 1, 0}, {0, 1, 1, 0, 0}, {}};
    SShape broken{"Broken", {0}, {}, {0, 0, NAN, 1, 0}, {0, 1, 1, 0, 0}, {}};
    QelModelTempDir dir;
    std::string strFile = WriteShapes(dir, "squares", SHPT_POLYGON, {square, broken, square});
    std::string strShp = ReadAll(strFile), strShx = ReadAll(dir.File("squares.shx"));
    const std::string strPrefix = "[" + dir.File("squares.shp") + "] ";
    {
        SCOPED_TRACE("coordinates that are not numbers");
        QelCapture cap;
        QelModelData data;
        ASSERT_TRUE(Load(dir, strFile, data));
        EXPECT_EQ(data.m_vMeshes.size(), 2u);
        EXPECT_EQ(cap.Messages(), std::vector<std::string>{"<warning> CShpLoader - " + strPrefix +
                                                           "shape 1 [Broken]: it has coordinates that are not numbers; "
                                                           "it is left out\n"});
    }
    {
        SCOPED_TRACE("truncated: the shapes past the end are reported");
        dir.Write("squares.shp", strShp.substr(0, strShp.size() - 20));
        QelCapture cap;
        QelModelData data;
        ASSERT_TRUE(Load(dir, strFile, data));
        EXPECT_EQ(data.m_vMeshes.size(), 1u);
        ASSERT_EQ(cap.Messages().size(), 2u) << cap.Joined();
        EXPECT_EQ(cap.Messages()[1].rfind("<warning> CShpLoader - " + strPrefix + "shape 2 cannot be read", 0), 0u)
            << cap.Messages()[1];
    }
    {
        SCOPED_TRACE("not a shapefile");
        dir.Write("squares.shp", "not a shapefile at all, but long enough to hold a header of one hundred bytes..."
                                 "......................");
        dir.Write("squares.shx", "short");
        QelCapture cap;
        QelModelData data;
        EXPECT_FALSE(Load(dir, strFile, data));
        EXPECT_TRUE(data.Empty());
        ASSERT_EQ(cap.Messages().size(), 1u) << cap.Joined();
        EXPECT_EQ(cap.Messages()[0].rfind("<error> CShpLoader - " + strPrefix + "is not a shapefile", 0), 0u)
            << cap.Messages()[0];
    }
    {
        SCOPED_TRACE("no index beside it; from memory without records");
        std::remove(dir.File("squares.shx").c_str());
        QelCapture cap;
        QelModelData data;
        EXPECT_FALSE(Load(dir, strFile, data));
        ASSERT_TRUE(CShpLoader::LoadFromMemory({strShp.data(), strShp.size()}, {strShx.data(), strShx.size()}, {},
                                               "memory.shp", data));
        EXPECT_EQ(data.m_vMeshes.size(), 2u);
        EXPECT_EQ(data.m_vMeshes[0].m_strName, "shape 0");
        ASSERT_EQ(cap.Messages().size(), 2u) << cap.Joined();
        EXPECT_EQ(cap.Messages()[0], "<error> CShpLoader - " + strPrefix + "has no index (.shx) beside it\n");
        EXPECT_EQ(cap.Messages()[1], "<warning> CShpLoader - [memory.shp] shape 1 [shape 1]: it has coordinates that "
                                     "are not numbers; it is left out\n");
    }
}
