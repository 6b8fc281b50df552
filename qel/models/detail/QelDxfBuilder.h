#pragma once

#include "qel/math/QelVec3.h"
#include "qel/models/detail/QelDxfEntity.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

class QelModelData;
struct QelModelMesh;
class QelLoadLog;

/// Turns DXF entities into model data: one mesh (with a material of the layer's color) per layer,
/// vertex colors from the color index, faces with flat normals, curves as line segments. Blocks are
/// kept as read and placed by each insert, nested inserts included.
class QelDxfBuilder
{
public:
    /// Nesting of inserts beyond this is refused: no real drawing comes near it.
    static constexpr int kMaxDepth = 32;
    /// Segments of a full circle.
    static constexpr int kCircleSegments = 36;

    struct SLayer
    {
        std::string strName;
        int nColor = 7;
        uint32_t nTrueColor = 0;
        int nMesh = -1;
    };
    struct SBlock
    {
        std::string strName;
        QelDxfVec vecBase;
        std::vector<QelDxfEntity> vEntities;
    };

    /// Inserts stop once they have made more than nInsertLimit vertices.
    QelDxfBuilder(QelModelData& data, QelLoadLog& log, size_t nInsertLimit);

    /// The layer of a name (names compare without case); made with white when the tables lack it.
    int Layer(const char* pName, size_t nLength);
    SLayer& LayerAt(int n) { return m_vLayers[size_t(n)]; }
    /// A new block; a second block of a name already defined is read but not used.
    SBlock* AddBlock(const std::string& strName, unsigned nLine);

    /// Places an entity of the drawing itself. Inserts wait until every block is read.
    void Place(const QelDxfEntity& e);
    /// Places the waiting inserts and makes the root node, scaled by fUnitScale. Returns how many
    /// elements the model holds.
    size_t Finish(double fUnitScale, const std::string& strRootName);

private:
    struct SContext
    {
        QelDxfMatrix mat;
        /// The layer that entities of layer "0" take (the insert's), or -1 at the top.
        int nLayer = -1;
        /// What "by block" resolves to.
        uint32_t nBlockColor = 0xFFFFFFFFu;
        int nDepth = 0;
    };

    void Emit(const QelDxfEntity& e, const SContext& c);
    void Insert(const QelDxfEntity& e, const SContext& c, int nLayer, uint32_t nColor);
    uint32_t Resolve(int nColor, uint32_t nTrueColor, int nLayer, const SContext& c) const;
    QelModelMesh& MeshOf(int nLayer);
    uint32_t AddVertex(QelModelMesh& m, const QelDxfVec& p, const QelVec3& n, uint32_t nColor);
    /// A triangle or quad of world corners; a quad whose last two corners meet is a triangle.
    void Face(QelModelMesh& m, const QelDxfVec* pCorners, int nCorners, uint32_t nColor);
    /// Segments through the points (already placed), closed back to the first when asked.
    void Polyline(QelModelMesh& m, const std::vector<QelDxfVec>& v, bool bClosed, uint32_t nColor);
    void Arc(QelModelMesh& m, const QelDxfEntity& e, const SContext& c, uint32_t nColor);
    /// Appends the points inside the arc of a bulge from a to b (object coordinates), placed by mat.
    void BulgePoints(const QelDxfVec& a, const QelDxfVec& b, double fBulge, const QelDxfMatrix& mat);
    /// Reports once when the inserts have made more than the limit allows.
    void SpendBudget();
    void PolylineEntity(QelModelMesh& m, const QelDxfEntity& e, const SContext& c, uint32_t nColor);
    void Polyface(QelModelMesh& m, const QelDxfEntity& e, const SContext& c, uint32_t nColor);
    void PolygonMesh(QelModelMesh& m, const QelDxfEntity& e, const SContext& c, uint32_t nColor);

    QelModelData& m_data;
    QelLoadLog& m_log;
    std::vector<SLayer> m_vLayers;
    std::unordered_map<std::string, int> m_mapLayers;
    std::vector<SBlock> m_vBlocks;
    std::unordered_map<std::string, int> m_mapBlocks;
    std::vector<QelDxfEntity> m_vInserts;
    std::vector<int> m_vActive;
    std::string m_strKey;
    std::vector<QelDxfVec> m_vScratch;
    size_t m_nInsertLimit;
    size_t m_nInserted = 0;
    bool m_bBudgetSpent = false;
    size_t m_nElements = 0;
};
