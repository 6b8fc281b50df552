#include "qel/models/CShpLoader.h"

#include "qel/models/QelModelData.h"
#include "qel/models/detail/QelLoadLog.h"
#include "qel/models/detail/QelLoadSteps.h"
#include "qel/models/detail/QelShpMemory.h"
#include "qel/models/detail/QelShpShapes.h"
#include "qel/platform/QelMappedFile.h"
#include "qel/platform/QelString.h"
#include "qel/util/QelPath.h"

#include <cmath>
#include <memory>

namespace
{
const char* const kLoaderName = "CShpLoader";

struct SShpClose
{
    void operator()(SHPInfo* p) const { SHPClose(p); }
};
struct SDbfClose
{
    void operator()(DBFInfo* p) const { DBFClose(p); }
};
struct SObjectFree
{
    void operator()(SHPObject* p) const { SHPDestroyObject(p); }
};

/// The first text field of the records, or -1.
int NameField(DBFHandle hDbf)
{
    for (int i = 0, n = hDbf ? DBFGetFieldCount(hDbf) : 0; i < n; ++i)
        if (DBFGetFieldInfo(hDbf, i, nullptr, nullptr, nullptr) == FTString)
            return i;
    return -1;
}

double Origin(double f)
{
    return std::isfinite(f) ? std::floor(f) : 0.0;
}

bool LoadShapes(CShpLoader::SBytes shp, CShpLoader::SBytes shx, CShpLoader::SBytes dbf, QelLoadLog& log,
                QelModelData& data)
{
    QelShpMemory memory(shp.pData, shp.nSize, shx.pData, shx.nSize, dbf.pData, dbf.nSize);
    std::unique_ptr<SHPInfo, SShpClose> hShp(SHPOpenLL("memory.shp", "rb", memory.Hooks()));
    if (!hShp)
    {
        std::string strWhy = memory.TakeMessage();
        log.Error(strWhy.empty() ? "is not a shapefile" : QelFormat("is not a shapefile: %s", strWhy.c_str()));
        return false;
    }
    std::unique_ptr<DBFInfo, SDbfClose> hDbf(dbf.pData ? DBFOpenLL("memory.dbf", "rb", memory.Hooks()) : nullptr);
    if (dbf.pData && !hDbf)
        log.Note("the records (.dbf) cannot be read; the shapes are named by number");
    int nShapes = 0, nType = 0;
    double fMin[4] = {0, 0, 0, 0}, fMax[4] = {0, 0, 0, 0};
    SHPGetInfo(hShp.get(), &nShapes, &nType, fMin, fMax);
    const int nNameField = NameField(hDbf.get());
    const int nRecords = hDbf ? DBFGetRecordCount(hDbf.get()) : 0;

    QelModelNode root;
    root.m_strName = QelPath::FileName(log.File());
    double fOrigin[3] = {Origin(fMin[0]), Origin(fMin[1]), Origin(fMin[2])};
    root.m_matLocal.Translate(float(fOrigin[0]), float(fOrigin[1]), float(fOrigin[2]));
    QelShpShapes shapes(fOrigin[0], fOrigin[1], fOrigin[2]);
    for (int i = 0; i < nShapes; ++i)
    {
        std::unique_ptr<SHPObject, SObjectFree> pShape(SHPReadObject(hShp.get(), i));
        if (!pShape)
        {
            std::string strWhy = memory.TakeMessage();
            log.Note(QelFormat("shape %d cannot be read%s%s", i, strWhy.empty() ? "" : ": ", strWhy.c_str()));
            continue;
        }
        if (pShape->nSHPType == SHPT_NULL || pShape->nVertices <= 0)
            continue;
        QelModelMesh mesh;
        if (nNameField >= 0 && i < nRecords)
        {
            const char* pName = DBFReadStringAttribute(hDbf.get(), i, nNameField);
            mesh.m_strName = pName ? pName : "";
        }
        if (mesh.m_strName.empty())
            mesh.m_strName = QelFormat("shape %d", i);
        std::string strProblem = shapes.Add(*pShape, mesh);
        if (!strProblem.empty())
            log.Note(QelFormat("shape %d [%s]: %s; it is left out", i, mesh.m_strName.c_str(), strProblem.c_str()));
        if (strProblem.empty() || !mesh.m_vTriangles.empty())
        {
            root.m_vMeshes.push_back(int(data.m_vMeshes.size()));
            data.m_vMeshes.push_back(std::move(mesh));
        }
    }
    data.m_vNodes.push_back(std::move(root));
    data.ComputeMissingNormals(45.0f);
    return true;
}

QelMappedFile::EOpenResult MapBeside(const std::string& strFile, const char* pExtension, QelMappedFile& file)
{
    std::string strBase = strFile.substr(0, strFile.size() - QelPath::Extension(strFile).size());
    std::string strPath = QelPath::FindIgnoringCase(strBase + pExtension);
    return strPath.empty() ? QelMappedFile::eNotFound : file.Open(strPath);
}
} // namespace

CShpLoader::CShpLoader()
{
    Register("shp");
}

std::string CShpLoader::GetLabel() const
{
    return "Shapefiles";
}

bool CShpLoader::Load(const std::string& strFile, QelModelData& data)
{
    data.Clear();
    QelLoadLog log(kLoaderName, strFile);
    QelMappedFile shp, shx, dbf;
    if (!QelOpenModelFile(strFile, shp, log))
        return false;
    if (MapBeside(strFile, "shx", shx) != QelMappedFile::eOpened)
    {
        log.Error("has no index (.shx) beside it");
        return false;
    }
    bool bDbf = MapBeside(strFile, "dbf", dbf) == QelMappedFile::eOpened;
    // An empty mapped file has no data pointer, which would read as an absent file.
    static const char kEmpty = 0;
    auto Bytes = [](const QelMappedFile& f) { return SBytes{f.Data() ? f.Data() : &kEmpty, f.Size()}; };
    return QelFinishLoad(LoadShapes(Bytes(shp), Bytes(shx), bDbf ? Bytes(dbf) : SBytes(), log, data), data);
}

bool CShpLoader::LoadFromMemory(SBytes shp, SBytes shx, SBytes dbf, const std::string& strName, QelModelData& data)
{
    data.Clear();
    QelLoadLog log(kLoaderName, strName);
    return QelFinishLoad(LoadShapes(shp, shx, dbf, log, data), data);
}
