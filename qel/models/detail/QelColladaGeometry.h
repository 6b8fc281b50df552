#pragma once

#include "qel/models/QelModelMesh.h"
#include "qel/models/detail/QelColladaXml.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

class QelLoadLog;
class QelPolygonTessellator;

/// One primitive element of a COLLADA mesh (triangles, polylist, polygons, tristrips, trifans,
/// lines, linestrips) as model geometry, with the material symbol it names.
struct QelColladaPrimitive
{
    std::string strMaterial;
    QelModelMesh cMesh;
    /// The texture coordinate set of each layer of cMesh.
    std::vector<int> vSets;
};

/// Reads the mesh of a <geometry>: its sources through their accessors, and each primitive with
/// its inputs and index offsets into vertices made once per distinct index combination.
class QelColladaGeometry
{
public:
    QelColladaGeometry(const QelColladaXml::IdMap& ids, QelLoadLog& log);
    ~QelColladaGeometry();

    /// The primitives of the geometry (none for geometry that is not a mesh, with a warning).
    std::vector<QelColladaPrimitive> Read(const xmlNode* pGeometry);

private:
    struct SSource
    {
        /// The array's numbers: those read while the document was parsed, or vOwn.
        const std::vector<float>* pData = nullptr;
        std::vector<float> vOwn;
        size_t nCount = 0, nStride = 1, nOffset = 0, nComponents = 0;
        bool bGood = false;
        float At(size_t i, size_t k, float fDefault) const
        {
            return k < nComponents ? (*pData)[nOffset + i * nStride + k] : fDefault;
        }
    };
    enum EKind
    {
        ePosition = 0,
        eNormal,
        eTexCoord,
        eColor
    };
    struct SInput
    {
        EKind eKind;
        uint32_t nOffset;
        int nSet;
        int nLayer;
        const SSource* pSource;
    };
    struct SBuild;

    const SSource* Source(const std::string& strUrl, unsigned nLine);
    bool ReadPrimitive(const xmlNode* pPrim, QelColladaPrimitive& out);
    /// Triangles filling the first ring of vertices minus the others; the first ring alone, as a
    /// fan, where the holes cannot be cut (reported).
    void FillWithHoles(const std::vector<std::vector<uint32_t>>& vRings, QelModelMesh& mesh, unsigned nLine);
    void AddInput(std::vector<SInput>& v, const std::string& strSemantic, uint32_t nOffset, int nSet,
                  const std::string& strSource, unsigned nLine);

    const QelColladaXml::IdMap& m_ids;
    QelLoadLog& m_log;
    std::unique_ptr<QelPolygonTessellator> m_pTessellator; ///< made at the first polygon with holes
    std::map<std::string, SSource> m_mapSources;
};
