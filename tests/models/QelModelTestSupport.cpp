#include "tests/models/QelModelTestSupport.h"

#include "qel/models/CZmfLoader.h"
#include "qel/models/QelModelFormat.h"
#include "tests/support/QelTestApp.h"

#include <cstring>
#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
int s_nDirs = 0;

template <typename T>
void ExpectSameBytes(const std::vector<T>& a, const std::vector<T>& b, const char* pWhat)
{
    ASSERT_EQ(a.size(), b.size()) << pWhat;
    if (!a.empty())
    {
        EXPECT_EQ(std::memcmp(a.data(), b.data(), a.size() * sizeof(T)), 0) << pWhat;
    }
}

void ExpectSameBytes(const void* a, const void* b, size_t n, const char* pWhat)
{
    EXPECT_EQ(std::memcmp(a, b, n), 0) << pWhat;
}
} // namespace

QelModelTempDir::QelModelTempDir()
{
    m_strPath = (fs::temp_directory_path() /
                 ("qel_models_" + std::to_string(::getpid()) + "_" + std::to_string(s_nDirs++)))
                    .string();
    fs::remove_all(m_strPath);
    fs::create_directories(m_strPath);
}

QelModelTempDir::~QelModelTempDir()
{
    std::error_code ec;
    fs::remove_all(m_strPath, ec);
}

std::string QelModelTempDir::Write(const std::string& strName, const std::string& strBytes) const
{
    std::string strPath = File(strName);
    fs::create_directories(fs::path(strPath).parent_path());
    std::ofstream f(strPath, std::ios::binary);
    f.write(strBytes.data(), std::streamsize(strBytes.size()));
    return strPath;
}

QelModelFormat& RegisteredLoader(const std::string& strExtension)
{
    QelModelFormat* p = QelModelFormat::GetFileHandlerForFilename("x." + strExtension);
    EXPECT_NE(p, nullptr) << strExtension;
    return *p;
}

void ExpectSameModel(const QelModelData& a, const QelModelData& b)
{
    ASSERT_EQ(a.m_vMeshes.size(), b.m_vMeshes.size());
    ASSERT_EQ(a.m_vMaterials.size(), b.m_vMaterials.size());
    ASSERT_EQ(a.m_vNodes.size(), b.m_vNodes.size());
    ExpectSameBytes(&a.m_cBounds, &b.m_cBounds, sizeof(QelBox3), "bounds");
    for (size_t i = 0; i < a.m_vMeshes.size(); ++i)
    {
        SCOPED_TRACE("mesh " + std::to_string(i));
        const QelModelMesh& m = a.m_vMeshes[i];
        const QelModelMesh& n = b.m_vMeshes[i];
        EXPECT_EQ(m.m_strName, n.m_strName);
        EXPECT_EQ(m.m_nMaterial, n.m_nMaterial);
        ExpectSameBytes(m.m_vPositions, n.m_vPositions, "positions");
        ExpectSameBytes(m.m_vNormals, n.m_vNormals, "normals");
        ASSERT_EQ(m.m_vTexCoords.size(), n.m_vTexCoords.size());
        for (size_t k = 0; k < m.m_vTexCoords.size(); ++k)
            ExpectSameBytes(m.m_vTexCoords[k], n.m_vTexCoords[k], "texture coordinates");
        ExpectSameBytes(m.m_vColors, n.m_vColors, "colors");
        ExpectSameBytes(m.m_vTriangles, n.m_vTriangles, "triangles");
        ExpectSameBytes(m.m_vLines, n.m_vLines, "lines");
        ExpectSameBytes(m.m_vPoints, n.m_vPoints, "points");
    }
    for (size_t i = 0; i < a.m_vMaterials.size(); ++i)
    {
        SCOPED_TRACE("material " + std::to_string(i));
        const QelModelMaterial& m = a.m_vMaterials[i];
        const QelModelMaterial& n = b.m_vMaterials[i];
        EXPECT_EQ(m.m_strName, n.m_strName);
        ExpectSameBytes(&m.m_vecAmbient, &n.m_vecAmbient, 4 * sizeof(QelVec4), "colors");
        ExpectSameBytes(&m.m_fShininess, &n.m_fShininess, sizeof(float), "shininess");
        ExpectSameBytes(&m.m_fOpacity, &n.m_fOpacity, sizeof(float), "opacity");
        EXPECT_EQ(m.m_nIllumination, n.m_nIllumination);
        EXPECT_EQ(m.m_bTwoSided, n.m_bTwoSided);
        ASSERT_EQ(m.m_vTextures.size(), n.m_vTextures.size());
        for (size_t k = 0; k < m.m_vTextures.size(); ++k)
        {
            const QelModelTextureMap& s = m.m_vTextures[k];
            const QelModelTextureMap& t = n.m_vTextures[k];
            EXPECT_EQ(s.m_eChannel, t.m_eChannel);
            EXPECT_EQ(s.m_strFilename, t.m_strFilename);
            ExpectSameBytes(&s.m_vecOffset, &t.m_vecOffset, sizeof(QelVec3), "offset");
            ExpectSameBytes(&s.m_vecScale, &t.m_vecScale, sizeof(QelVec3), "scale");
            ExpectSameBytes(&s.m_fBumpScale, &t.m_fBumpScale, sizeof(float), "bump");
            ExpectSameBytes(&s.m_fRotation, &t.m_fRotation, sizeof(float), "rotation");
            EXPECT_EQ(s.m_bClamp, t.m_bClamp);
            EXPECT_EQ(s.m_nTexCoordLayer, t.m_nTexCoordLayer);
        }
    }
    for (size_t i = 0; i < a.m_vNodes.size(); ++i)
    {
        SCOPED_TRACE("node " + std::to_string(i));
        EXPECT_EQ(a.m_vNodes[i].m_strName, b.m_vNodes[i].m_strName);
        EXPECT_EQ(a.m_vNodes[i].m_nParent, b.m_vNodes[i].m_nParent);
        ExpectSameBytes(a.m_vNodes[i].m_matLocal.m_fM, b.m_vNodes[i].m_matLocal.m_fM, 16 * sizeof(float), "matrix");
        EXPECT_EQ(a.m_vNodes[i].m_vMeshes, b.m_vNodes[i].m_vMeshes);
    }
}

void ExpectOwnFormatRoundTrip(const QelModelData& data, const QelModelTempDir& dir)
{
    SCOPED_TRACE("own format round trip");
    QelModelFormat& zmf = RegisteredLoader("zmf");
    std::string strFile = dir.File("roundtrip.zmf");
    ASSERT_TRUE(zmf.Save(strFile, data));
    QelModelData back;
    ASSERT_TRUE(zmf.Load(strFile, back));
    ExpectSameModel(data, back);
}

double TriangleAreaSum(const QelModelMesh& mesh, const QelVec3& vNormal, bool* pAllPositive)
{
    double fSum = 0.0;
    bool bPositive = true;
    for (size_t t = 0; t < mesh.NumTriangles(); ++t)
    {
        const QelVec3& a = mesh.m_vPositions[mesh.m_vTriangles[3 * t]];
        const QelVec3& b = mesh.m_vPositions[mesh.m_vTriangles[3 * t + 1]];
        const QelVec3& c = mesh.m_vPositions[mesh.m_vTriangles[3 * t + 2]];
        double x1 = double(b.x) - a.x, y1 = double(b.y) - a.y, z1 = double(b.z) - a.z;
        double x2 = double(c.x) - a.x, y2 = double(c.y) - a.y, z2 = double(c.z) - a.z;
        double fArea = (y1 * z2 - z1 * y2) * vNormal.x + (z1 * x2 - x1 * z2) * vNormal.y + (x1 * y2 - y1 * x2) * vNormal.z;
        bPositive = bPositive && fArea > -1e-9;
        fSum += fArea;
    }
    if (pAllPositive)
        *pAllPositive = bPositive;
    return fSum;
}

bool LoadText(const QelModelTempDir& dir, const std::string& strName, const std::string& strText, QelModelData& data)
{
    const bool bLoaded = RegisteredLoader(strName.substr(strName.rfind('.') + 1)).Load(dir.Write(strName, strText), data);
    if (bLoaded)
        ExpectOwnFormatRoundTrip(data, dir);
    return bLoaded;
}

::testing::AssertionResult LoadsCleanly(const std::string& strName, const std::string& strText, QelModelData& data)
{
    QelModelTempDir dir;
    QelCapture cap;
    if (!LoadText(dir, strName, strText, data))
        return ::testing::AssertionFailure() << strName << " did not load: " << cap.Joined();
    if (!cap.Messages().empty())
        return ::testing::AssertionFailure() << strName << " loaded with messages: " << cap.Joined();
    return ::testing::AssertionSuccess();
}
