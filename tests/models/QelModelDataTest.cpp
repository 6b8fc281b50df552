#include "qel/models/QelModelData.h"
#include "tests/models/QelModelTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
/// A unit cube's six faces as twelve triangles over eight shared vertices, without normals.
QelModelMesh SharedCube()
{
    QelModelMesh m;
    for (int i = 0; i < 8; ++i)
        m.m_vPositions.emplace_back(float(i & 1), float((i >> 1) & 1), float((i >> 2) & 1));
    m.m_vTriangles = {0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6, 0, 1, 5, 0, 5, 4,
                      2, 6, 7, 2, 7, 3, 0, 4, 6, 0, 6, 2, 1, 3, 7, 1, 7, 5};
    m.m_vTexCoords.push_back(std::vector<QelVec2>(8, QelVec2(0.5f, 0.5f)));
    return m;
}
} // namespace

TEST(QelModelData, CreaseAngleSplitsSharpEdgesAndSmoothsGentleOnes)
{
    struct Row
    {
        const char* m_pName;
        float m_fCrease;
        size_t m_nVertices;
    };
    for (const Row& row : {Row{"sharp cube edges split", 60.0f, 24}, Row{"everything smooth", 100.0f, 8}})
    {
        SCOPED_TRACE(row.m_pName);
        QelModelData data;
        data.m_vMeshes.push_back(SharedCube());
        data.ComputeMissingNormals(row.m_fCrease);
        const QelModelMesh& m = data.m_vMeshes[0];
        EXPECT_EQ(m.NumVertices(), row.m_nVertices);
        ASSERT_EQ(m.m_vNormals.size(), m.NumVertices());
        EXPECT_EQ(m.m_vTexCoords[0].size(), m.NumVertices());
        for (size_t t = 0; t < m.NumTriangles(); ++t)
        {
            const uint32_t* i = &m.m_vTriangles[3 * t];
            QelVec3 n = (m.m_vPositions[i[1]] - m.m_vPositions[i[0]]).Cross(m.m_vPositions[i[2]] - m.m_vPositions[i[0]]);
            for (int k = 0; k < 3; ++k)
            {
                EXPECT_NEAR(m.m_vNormals[i[k]].Magnitude(), 1.0f, 1e-6f);
                EXPECT_GT(m.m_vNormals[i[k]].Dot(n), 0.0f);
            }
        }
    }
}

TEST(QelModelData, BoundsFollowTheNodeHierarchy)
{
    QelModelData data;
    QelModelMesh m;
    m.m_vPositions = {QelVec3(0, 0, 0), QelVec3(1, 1, 1)};
    data.m_vMeshes = {m, m};
    QelModelNode root, child;
    root.m_matLocal.m_fM[12] = 10.0f; // translate x by 10
    root.m_vMeshes = {0};
    child.m_nParent = 0;
    child.m_matLocal.m_fM[13] = 5.0f; // and y by 5 below it
    child.m_vMeshes = {1};
    data.m_vNodes = {root, child};
    data.ComputeBounds();
    EXPECT_EQ(data.m_cBounds, QelBox3(QelVec3(10, 0, 0), QelVec3(11, 6, 1)));
    EXPECT_EQ(data.WorldMatrix(1).m_fM[12], 10.0f);
    EXPECT_EQ(data.WorldMatrix(1).m_fM[13], 5.0f);
    // A parent that is not listed before the node is cut off rather than followed.
    data.m_vNodes[0].m_nParent = 1;
    EXPECT_EQ(data.Validate(), 1u);
    EXPECT_EQ(data.m_vNodes[0].m_nParent, -1);
}
