#pragma once

#include "qel/math/QelMatrix4.h"
#include "qel/models/detail/QelColladaGeometry.h"
#include "qel/models/detail/QelColladaXml.h"

#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

class QelModelData;
struct QelModelMaterial;
class QelLoadLog;

/// Builds model data from a parsed COLLADA document: the visual scene's nodes with their
/// transforms, the geometry they instance with the materials bound to it, and the common-profile
/// effects of those materials. The root node turns the asset's unit into meters and its up axis
/// into +y.
class QelColladaScene
{
public:
    /// Nodes nested deeper than this (through children or instance_node) are skipped.
    static constexpr int kMaxDepth = 128;

    QelColladaScene(QelModelData& data, QelLoadLog& log, const std::string& strFolder);

    /// False, with an error, when the document is not COLLADA or draws nothing.
    bool Build(xmlDocPtr pDoc);

private:
    void AddNode(const xmlNode* pNode, int nParent, int nDepth);
    QelMatrix4 LocalMatrix(const xmlNode* pNode);
    void InstanceGeometry(const xmlNode* pInstance, int nNode);
    int Material(const std::string& strId, unsigned nLine);
    void ReadEffect(const xmlNode* pEffect, QelModelMaterial& mat);
    std::string ImageFile(const std::string& strTexture, const xmlNode* pProfile);

    QelModelData& m_data;
    QelLoadLog& m_log;
    std::string m_strFolder;
    QelColladaXml::IdMap m_ids;
    QelColladaGeometry m_cGeometry;
    std::map<std::string, std::vector<QelColladaPrimitive>> m_mapGeometries;
    /// (geometry, primitive, material) to mesh.
    std::map<std::tuple<std::string, size_t, int>, int> m_mapMeshes;
    /// (geometry, primitive) to the mesh that took its geometry.
    std::map<std::pair<std::string, size_t>, int> m_mapFirstMesh;
    std::map<std::string, int> m_mapMaterials;
    std::vector<const xmlNode*> m_vPath;
    bool m_bDepthReported = false;
};
