#pragma once

#include "qel/math/QelVec2.h"
#include "qel/math/QelVec3.h"
#include "qel/models/detail/QelMtlParser.h"
#include "qel/models/detail/QelPolygonTriangulator.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

class QelModelData;
class QelLoadLog;
class QelMappedFile;

/// One pass over OBJ text that builds model data directly: vertices are made per distinct
/// position/texture/normal triple of each mesh as faces name them, so nothing of the file's own index
/// lists is kept beyond the raw attribute arrays.
class QelObjParser
{
public:
    QelObjParser(QelModelData& data, QelLoadLog& log, const std::string& strFolder);

    /// Parses the text; pFile, when given, is told which bytes are done. False when the text is not
    /// OBJ text at all (UTF-16, binary) or holds no elements.
    bool Parse(const char* pData, size_t nSize, QelMappedFile* pFile);

private:
    struct Corner
    {
        int64_t p, t, n;
    };
    struct Entry
    {
        uint32_t nNext; // entry index + 1, 0 at the end of the chain
        uint32_t nMesh;
        int32_t nTex;
        int32_t nNormal; // the normal key (see VertexFor)
        uint32_t nOut;
    };
    struct MeshState
    {
        std::vector<uint8_t> vComputed;
        bool bHasTex = false;
    };

    bool CheckEncoding(const char*& p, const char* e);
    void ParseLine(const char* p, const char* e);
    /// Up to nMax numbers into pOut; warns (pShort) when fewer than nNeeded, or (pExtra) when other
    /// text follows. Returns how many were read.
    int ReadNumbers(const char* p, const char* e, float* pOut, int nMax, int nNeeded, const char* pShort,
                    const char* pExtra);
    void ParseVertex(const char* p, const char* e);
    void ParseTexCoord(const char* p, const char* e);
    void ParseNormal(const char* p, const char* e);
    /// nKind 3 face, 2 line, 1 point.
    void ParseElement(const char* p, const char* e, int nKind);
    void ParseMaterialLibraries(const char* p, const char* e);
    /// "o" names an object below the root; "g" a group below the current object.
    void SetGroup(const std::string& strName, bool bObject);
    void SetMaterial(const std::string& strName);
    int CurrentMesh();
    bool ResolveCorners(int nKind);
    uint32_t VertexFor(int nMesh, const Corner& c, int32_t nNormalKey);
    uint32_t NewVertex(int nMesh, const Corner& c, bool bComputed);
    void EmitTriangle(int nMesh, uint32_t a, uint32_t b, uint32_t c, bool bAccumulate);
    void Finish();

    QelModelData& m_data;
    QelLoadLog& m_log;
    std::string m_strFolder;
    unsigned m_nLine = 1;

    std::vector<QelVec3> m_vPos;
    std::vector<uint32_t> m_vPosColor;
    std::vector<QelVec2> m_vTex;
    std::vector<QelVec3> m_vNrm;
    std::vector<uint32_t> m_vHead; // per position: first entry + 1
    std::vector<Entry> m_vEntries;

    std::vector<MeshState> m_vMeshState;
    std::map<std::pair<int, int>, int> m_mapMeshes; // (group, material) -> mesh
    std::map<std::pair<int, std::string>, int> m_mapGroups; // (parent node, name) -> node
    QelMtlParser::SState m_cLibraries;
    int m_nObject = 0;
    int m_nGroup = 0;
    int m_nMaterial = -1;
    int m_nMesh = -1;
    uint32_t m_nSmoothing = 0;
    size_t m_nElements = 0;

    std::vector<Corner> m_vCorners;
    std::vector<QelVec3> m_vCornerPos;
    std::vector<uint32_t> m_vCornerOut;
    std::vector<uint32_t> m_vSplit;
    QelPolygonTriangulator m_cTriangulator;
    std::string m_strJoined;
};
