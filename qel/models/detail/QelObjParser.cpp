#include "qel/models/detail/QelObjParser.h"

#include "qel/models/QelModelData.h"
#include "qel/models/detail/QelLoadLog.h"
#include "qel/models/detail/QelMtlParser.h"
#include "qel/models/detail/QelObjText.h"
#include "qel/platform/QelMappedFile.h"
#include "qel/platform/QelString.h"
#include "qel/util/QelPath.h"

#include <cmath>
#include <cstring>

using namespace QelObjText;

namespace
{
const int32_t kNoNormal = -1;   // lines and points: no normal made
const int32_t kFlatNormal = -2; // smoothing off: every face its own vertices
/// Normal keys below this stand for smoothing group (kFirstGroup - key).
const int32_t kFirstGroup = -3;
const uint32_t kMaxGroup = 0x3FFFFFFF;
const size_t kReleaseStep = size_t(32) << 20;
/// A texture or normal index the corner does not give.
const int64_t kAbsent = INT64_MIN;
/// Far beyond any real polygon; bounds the memory one statement can claim.
const size_t kMaxCorners = size_t(1) << 20;

uint32_t PackColor(float r, float g, float b)
{
    auto byte = [](float f) {
        f = f < 0.0f ? 0.0f : (f > 1.0f ? 1.0f : f);
        return uint32_t(f * 255.0f);
    };
    return byte(r) | byte(g) << 8 | byte(b) << 16 | 0xFF000000u;
}

bool Finite(float f)
{
    return std::isfinite(f);
}

/// Words that belong to free-form geometry and rendering hints; read past without a word.
bool IsIgnoredStatement(const std::string& strWord)
{
    static const char* const kWords[] = {"vp",  "cstype", "deg",   "bmat",  "step",     "curv",     "curv2",
                                         "surf", "parm",  "trim",  "hole",  "scrv",     "sp",       "end",
                                         "con",  "mg",    "bevel", "c_interp", "d_interp", "lod",  "shadow_obj",
                                         "trace_obj", "ctech", "stech", "maplib", "usemap", "call", "csh"};
    for (const char* w : kWords)
        if (strWord == w)
            return true;
    return false;
}
} // namespace

QelObjParser::QelObjParser(QelModelData& data, QelLoadLog& log, const std::string& strFolder)
    : m_data(data), m_log(log), m_strFolder(strFolder)
{
}

bool QelObjParser::CheckEncoding(const char*& p, const char* e)
{
    const size_t n = size_t(e - p);
    const unsigned char* u = reinterpret_cast<const unsigned char*>(p);
    bool bUtf16 = n >= 2 && ((u[0] == 0xFF && u[1] == 0xFE) || (u[0] == 0xFE && u[1] == 0xFF));
    if (!bUtf16 && n >= 4)
    {
        // Without a byte-order mark: ASCII text in UTF-16 has a zero in every other byte.
        bUtf16 = (u[0] && !u[1] && u[2] && !u[3]) || (!u[0] && u[1] && !u[2] && u[3]);
    }
    if (bUtf16)
    {
        m_log.Error("is UTF-16 text; save it as UTF-8 or ASCII to read it");
        return false;
    }
    if (n >= 3 && u[0] == 0xEF && u[1] == 0xBB && u[2] == 0xBF)
        p += 3;
    const size_t nProbe = size_t(e - p) < 65536 ? size_t(e - p) : 65536;
    if (const char* z = static_cast<const char*>(std::memchr(p, 0, nProbe)))
    {
        unsigned nLine = 1;
        for (const char* q = p; q < z; ++q)
            nLine += *q == '\n';
        m_log.ErrorAt(nLine, "binary data (a zero byte) where text was expected");
        return false;
    }
    return true;
}

bool QelObjParser::Parse(const char* pData, size_t nSize, QelMappedFile* pFile)
{
    const char* p = pData;
    const char* const e = pData + nSize;
    if (!CheckEncoding(p, e))
        return false;
    m_data.Clear();
    QelModelNode root;
    root.m_strName = QelPath::FileName(m_log.File());
    m_data.m_vNodes.push_back(root);

    size_t nNextRelease = kReleaseStep;
    while (p < e)
    {
        const char* pEnd = static_cast<const char*>(std::memchr(p, '\n', size_t(e - p)));
        if (!pEnd)
            pEnd = e;
        const char* pLast = pEnd;
        while (pLast > p && (pLast[-1] == '\r'))
            --pLast;
        if (pLast > p && pLast[-1] == '\\')
        {
            // A statement continued on the next line: join the pieces, each break read as a blank.
            unsigned nFirstLine = m_nLine;
            m_strJoined.assign(p, pLast - 1);
            while (pEnd < e)
            {
                const char* q = pEnd + 1;
                pEnd = static_cast<const char*>(std::memchr(q, '\n', size_t(e - q)));
                if (!pEnd)
                    pEnd = e;
                ++m_nLine;
                pLast = pEnd;
                while (pLast > q && pLast[-1] == '\r')
                    --pLast;
                m_strJoined += ' ';
                if (pLast > q && pLast[-1] == '\\')
                {
                    m_strJoined.append(q, pLast - 1);
                    continue;
                }
                m_strJoined.append(q, pLast);
                break;
            }
            unsigned nEndLine = m_nLine;
            m_nLine = nFirstLine;
            ParseLine(m_strJoined.data(), m_strJoined.data() + m_strJoined.size());
            m_nLine = nEndLine;
        }
        else
            ParseLine(p, pLast);
        ++m_nLine;
        p = pEnd + (pEnd < e ? 1 : 0);
        if (pFile && size_t(p - pData) >= nNextRelease)
        {
            pFile->ReleaseBefore(size_t(p - pData));
            nNextRelease += kReleaseStep;
        }
    }
    Finish();
    if (m_nElements == 0)
    {
        m_log.Error("holds no faces, lines or points");
        return false;
    }
    return true;
}

void QelObjParser::ParseLine(const char* p, const char* e)
{
    SkipBlanks(p, e);
    if (p >= e || *p == '#')
        return;
    const char c0 = *p;
    const char c1 = p + 1 < e ? p[1] : ' ';
    // The common one-letter statements go straight to their readers; a lone letter has no arguments.
    const bool bShort = IsBlank(c1);
    const char* pArgs = p + 1 < e ? p + 2 : e;
    if (c0 == 'v' && bShort)
        return ParseVertex(pArgs, e);
    if (c0 == 'f' && bShort)
        return ParseElement(pArgs, e, 3);
    if (c0 == 'v' && c1 == 't' && (p + 2 >= e || IsBlank(p[2])))
        return ParseTexCoord(p + 2, e);
    if (c0 == 'v' && c1 == 'n' && (p + 2 >= e || IsBlank(p[2])))
        return ParseNormal(p + 2, e);

    const char* q = p;
    std::string strWord = ReadWord(q, e);
    if (strWord == "f" || strWord == "fo")
        ParseElement(q, e, 3);
    else if (strWord == "l")
        ParseElement(q, e, 2);
    else if (strWord == "p")
        ParseElement(q, e, 1);
    else if (strWord == "v")
        ParseVertex(q, e);
    else if (strWord == "g" || strWord == "o")
        SetGroup(ReadRest(q, e), strWord == "o");
    else if (strWord == "usemtl")
        SetMaterial(ReadRest(q, e));
    else if (strWord == "mtllib")
        ParseMaterialLibraries(q, e);
    else if (strWord == "s")
    {
        std::string strGroup = ReadWord(q, e);
        int64_t n = 0;
        const char* r = strGroup.data();
        if (strGroup == "off" || strGroup.empty())
            m_nSmoothing = 0;
        else if (ReadIndex(r, r + strGroup.size(), n) && n >= 0)
            m_nSmoothing = uint32_t(n > kMaxGroup ? kMaxGroup : n);
        else
            m_log.Warn(m_nLine, QelFormat("bad smoothing group [%s]", strGroup.c_str()));
    }
    else if (!IsIgnoredStatement(strWord))
        m_log.Warn(m_nLine, QelFormat("unknown statement [%s] skipped", strWord.substr(0, 32).c_str()));
}

int QelObjParser::ReadNumbers(const char* p, const char* e, float* pOut, int nMax, int nNeeded, const char* pShort,
                              const char* pExtra)
{
    int n = 0;
    while (n < nMax && ReadFloat(p, e, pOut[n]))
        ++n;
    SkipBlanks(p, e);
    if (n < nNeeded)
        m_log.Warn(m_nLine, pShort);
    else if (!AtEnd(p, e))
        m_log.Warn(m_nLine, pExtra);
    return n;
}

void QelObjParser::ParseVertex(const char* p, const char* e)
{
    float f[7] = {0, 0, 0, 1, 1, 1, 1};
    const int n = ReadNumbers(p, e, f, 7, 3, "a vertex needs three coordinates; the missing ones are 0",
                              "text after the vertex coordinates skipped");
    for (int i = 0; i < 3; ++i)
        if (!Finite(f[i]))
        {
            m_log.Warn(m_nLine, "coordinate is not a finite number; 0 is used");
            f[i] = 0.0f;
        }
    m_vPos.emplace_back(f[0], f[1], f[2]);
    m_vHead.push_back(0);
    if (n >= 6)
    {
        // x y z r g b, or x y z w r g b
        const float* c = n == 6 ? f + 3 : f + 4;
        if (m_vPosColor.empty())
            m_vPosColor.assign(m_vPos.size() - 1, 0xFFFFFFFFu);
        m_vPosColor.push_back(PackColor(c[0], c[1], c[2]));
    }
    else if (!m_vPosColor.empty())
        m_vPosColor.push_back(0xFFFFFFFFu);
}

void QelObjParser::ParseTexCoord(const char* p, const char* e)
{
    float f[3] = {0, 0, 0};
    ReadNumbers(p, e, f, 3, 1, "a texture coordinate needs a number", "text after the texture coordinates skipped");
    if (!Finite(f[0]) || !Finite(f[1]))
    {
        m_log.Warn(m_nLine, "texture coordinate is not a finite number; 0 is used");
        f[0] = Finite(f[0]) ? f[0] : 0.0f;
        f[1] = Finite(f[1]) ? f[1] : 0.0f;
    }
    m_vTex.emplace_back(f[0], f[1]);
}

void QelObjParser::ParseNormal(const char* p, const char* e)
{
    float f[3] = {0, 0, 0};
    ReadNumbers(p, e, f, 3, 3, "a normal needs three numbers; the missing ones are 0", "text after the normal skipped");
    if (!Finite(f[0]) || !Finite(f[1]) || !Finite(f[2]))
    {
        m_log.Warn(m_nLine, "normal is not a finite vector; (0, 0, 1) is used");
        f[0] = f[1] = 0.0f;
        f[2] = 1.0f;
    }
    m_vNrm.emplace_back(f[0], f[1], f[2]);
}

void QelObjParser::ParseElement(const char* p, const char* e, int nKind)
{
    m_vCorners.clear();
    for (;;)
    {
        SkipBlanks(p, e);
        if (AtEnd(p, e))
            break;
        Corner c{0, kAbsent, kAbsent};
        bool bOk = ReadIndex(p, e, c.p);
        if (bOk && p < e && *p == '/')
        {
            ++p;
            if (p < e && *p != '/')
                bOk = ReadIndex(p, e, c.t);
            if (bOk && p < e && *p == '/')
            {
                ++p;
                bOk = ReadIndex(p, e, c.n);
            }
        }
        if (!bOk || (p < e && !IsBlank(*p) && *p != '#'))
        {
            m_log.Warn(m_nLine, "bad vertex reference; the element is skipped");
            return;
        }
        if (m_vCorners.size() >= kMaxCorners)
        {
            m_log.Warn(m_nLine, QelFormat("an element of more than %zu corners is skipped", kMaxCorners));
            return;
        }
        m_vCorners.push_back(c);
    }
    if (!ResolveCorners(nKind))
        return;
    const int nMesh = CurrentMesh();
    const size_t n = m_vCorners.size();
    ++m_nElements;
    QelModelMesh& mesh = m_data.m_vMeshes[size_t(nMesh)];
    if (nKind == 1)
    {
        for (const Corner& c : m_vCorners)
            mesh.m_vPoints.push_back(VertexFor(nMesh, c, c.n >= 0 ? int32_t(c.n) : kNoNormal));
        return;
    }
    if (nKind == 2)
    {
        auto key = [](const Corner& c) { return c.n >= 0 ? int32_t(c.n) : kNoNormal; };
        uint32_t nPrev = VertexFor(nMesh, m_vCorners[0], key(m_vCorners[0]));
        for (size_t i = 1; i < n; ++i)
        {
            uint32_t nCur = VertexFor(nMesh, m_vCorners[i], key(m_vCorners[i]));
            mesh.m_vLines.push_back(nPrev);
            mesh.m_vLines.push_back(nCur);
            nPrev = nCur;
        }
        return;
    }

    const int32_t nMissing = m_nSmoothing == 0 ? kFlatNormal : kFirstGroup - int32_t(m_nSmoothing);
    bool bAccumulate = false;
    m_vCornerOut.resize(n);
    for (size_t i = 0; i < n; ++i)
    {
        const Corner& c = m_vCorners[i];
        bAccumulate |= c.n < 0;
        m_vCornerOut[i] = VertexFor(nMesh, c, c.n >= 0 ? int32_t(c.n) : nMissing);
    }
    const uint32_t* o = m_vCornerOut.data();
    if (n == 3)
        return EmitTriangle(nMesh, o[0], o[1], o[2], bAccumulate);
    if (n == 4)
    {
        // A quad has at most one reflex corner; the diagonal from it is the one inside.
        const QelVec3& a = m_vPos[size_t(m_vCorners[0].p)];
        const QelVec3& b = m_vPos[size_t(m_vCorners[1].p)];
        const QelVec3& c = m_vPos[size_t(m_vCorners[2].p)];
        const QelVec3& d = m_vPos[size_t(m_vCorners[3].p)];
        QelVec3 N = (c - a).Cross(d - b);
        bool bReflexB = (b - a).Cross(c - b).Dot(N) < 0.0f;
        bool bReflexD = (d - c).Cross(a - d).Dot(N) < 0.0f;
        if (bReflexB || bReflexD)
        {
            EmitTriangle(nMesh, o[0], o[1], o[3], bAccumulate);
            return EmitTriangle(nMesh, o[1], o[2], o[3], bAccumulate);
        }
        EmitTriangle(nMesh, o[0], o[1], o[2], bAccumulate);
        return EmitTriangle(nMesh, o[0], o[2], o[3], bAccumulate);
    }
    m_vCornerPos.resize(n);
    for (size_t i = 0; i < n; ++i)
        m_vCornerPos[i] = m_vPos[size_t(m_vCorners[i].p)];
    m_vSplit.clear();
    if (!m_cTriangulator.Triangulate(m_vCornerPos, m_vSplit))
        m_log.Warn(m_nLine, QelFormat("face of %zu corners too complex to split exactly; split as a fan", n));
    for (size_t i = 0; i + 2 < m_vSplit.size(); i += 3)
        EmitTriangle(nMesh, o[m_vSplit[i]], o[m_vSplit[i + 1]], o[m_vSplit[i + 2]], bAccumulate);
}

bool QelObjParser::ResolveCorners(int nKind)
{
    static const char* const kKinds[] = {"", "a point", "a line", "a face"};
    if (m_vCorners.size() < size_t(nKind == 3 ? 3 : nKind == 2 ? 2 : 1))
    {
        m_log.Warn(m_nLine, QelFormat("%s with %zu corners is skipped", kKinds[nKind], m_vCorners.size()));
        return false;
    }
    // OBJ counts from 1; negative indices count back from the last element read so far.
    auto resolve = [this](int64_t& i, size_t nCount, const char* pWhat, bool bOptional) {
        if (bOptional && i == kAbsent)
        {
            i = -1;
            return true;
        }
        int64_t r = i > 0 ? i - 1 : int64_t(nCount) + i;
        if (i == 0 || r < 0 || r >= int64_t(nCount))
        {
            m_log.Warn(m_nLine, QelFormat("%s index %lld is out of range (1 to %zu); the element is skipped", pWhat,
                                          static_cast<long long>(i), nCount));
            return false;
        }
        i = r;
        return true;
    };
    for (Corner& c : m_vCorners)
        if (!resolve(c.p, m_vPos.size(), "vertex", false) || !resolve(c.t, m_vTex.size(), "texture coordinate", true) ||
            !resolve(c.n, m_vNrm.size(), "normal", true))
            return false;
    return true;
}

int QelObjParser::CurrentMesh()
{
    if (m_nMesh >= 0)
        return m_nMesh;
    auto key = std::make_pair(m_nGroup, m_nMaterial);
    auto it = m_mapMeshes.find(key);
    if (it != m_mapMeshes.end())
        return m_nMesh = it->second;
    m_nMesh = int(m_data.m_vMeshes.size());
    m_mapMeshes.emplace(key, m_nMesh);
    m_data.m_vMeshes.emplace_back();
    m_data.m_vMeshes.back().m_strName = m_data.m_vNodes[size_t(m_nGroup)].m_strName;
    m_data.m_vMeshes.back().m_nMaterial = m_nMaterial;
    m_data.m_vNodes[size_t(m_nGroup)].m_vMeshes.push_back(m_nMesh);
    m_vMeshState.emplace_back();
    return m_nMesh;
}

uint32_t QelObjParser::VertexFor(int nMesh, const Corner& c, int32_t nNormalKey)
{
    if (nNormalKey == kFlatNormal)
        return NewVertex(nMesh, c, true);
    const int32_t nTex = int32_t(c.t);
    uint32_t nEntry = m_vHead[size_t(c.p)];
    while (nEntry)
    {
        const Entry& en = m_vEntries[nEntry - 1];
        if (en.nMesh == uint32_t(nMesh) && en.nTex == nTex && en.nNormal == nNormalKey)
            return en.nOut;
        nEntry = en.nNext;
    }
    uint32_t nOut = NewVertex(nMesh, c, nNormalKey <= kFirstGroup);
    m_vEntries.push_back(Entry{m_vHead[size_t(c.p)], uint32_t(nMesh), nTex, nNormalKey, nOut});
    m_vHead[size_t(c.p)] = uint32_t(m_vEntries.size());
    return nOut;
}

uint32_t QelObjParser::NewVertex(int nMesh, const Corner& c, bool bComputed)
{
    QelModelMesh& mesh = m_data.m_vMeshes[size_t(nMesh)];
    MeshState& state = m_vMeshState[size_t(nMesh)];
    const size_t nIndex = mesh.m_vPositions.size();
    mesh.m_vPositions.push_back(m_vPos[size_t(c.p)]);
    mesh.m_vNormals.push_back(c.n >= 0 ? m_vNrm[size_t(c.n)] : QelVec3());
    state.vComputed.push_back(bComputed);
    if (c.t >= 0 && !state.bHasTex)
    {
        state.bHasTex = true;
        mesh.m_vTexCoords.resize(1);
        mesh.m_vTexCoords[0].resize(nIndex);
    }
    if (state.bHasTex)
        mesh.m_vTexCoords[0].push_back(c.t >= 0 ? m_vTex[size_t(c.t)] : QelVec2());
    if (!m_vPosColor.empty())
    {
        mesh.m_vColors.resize(nIndex, 0xFFFFFFFFu);
        mesh.m_vColors.push_back(m_vPosColor[size_t(c.p)]);
    }
    return uint32_t(nIndex);
}

void QelObjParser::EmitTriangle(int nMesh, uint32_t a, uint32_t b, uint32_t c, bool bAccumulate)
{
    QelModelMesh& mesh = m_data.m_vMeshes[size_t(nMesh)];
    mesh.m_vTriangles.push_back(a);
    mesh.m_vTriangles.push_back(b);
    mesh.m_vTriangles.push_back(c);
    if (!bAccumulate)
        return;
    // Area-weighted: the cross product's length is twice the triangle's area.
    const std::vector<uint8_t>& vComputed = m_vMeshState[size_t(nMesh)].vComputed;
    QelVec3 n = (mesh.m_vPositions[b] - mesh.m_vPositions[a]).Cross(mesh.m_vPositions[c] - mesh.m_vPositions[a]);
    for (uint32_t v : {a, b, c})
        if (vComputed[v])
            mesh.m_vNormals[v] = mesh.m_vNormals[v] + n;
}

void QelObjParser::SetGroup(const std::string& strName, bool bObject)
{
    const int nParent = bObject ? 0 : m_nObject;
    auto it = m_mapGroups.find(std::make_pair(nParent, strName));
    if (it == m_mapGroups.end())
    {
        QelModelNode node;
        node.m_strName = strName;
        node.m_nParent = nParent;
        it = m_mapGroups.emplace(std::make_pair(nParent, strName), int(m_data.m_vNodes.size())).first;
        m_data.m_vNodes.push_back(node);
    }
    if (bObject)
        m_nObject = it->second;
    m_nGroup = it->second;
    m_nMesh = -1;
}

void QelObjParser::SetMaterial(const std::string& strName)
{
    std::map<std::string, int>& mapMaterials = m_cLibraries.mapMaterials;
    auto it = mapMaterials.find(strName);
    if (it == mapMaterials.end())
    {
        // Not defined (yet): a default material under that name, which a later library may fill.
        QelModelMaterial mat;
        mat.m_strName = strName;
        it = mapMaterials.emplace(strName, int(m_data.m_vMaterials.size())).first;
        m_data.m_vMaterials.push_back(mat);
    }
    m_nMaterial = it->second;
    m_nMesh = -1;
}

void QelObjParser::ParseMaterialLibraries(const char* p, const char* e)
{
    // The whole rest may be one name with blanks; otherwise each word names a library.
    const char* q = p;
    std::string strAll = ReadRest(q, e);
    std::vector<std::string> vNames;
    std::string strFound = QelPath::FindFile(strAll, m_strFolder);
    if (!strFound.empty() || strAll.find_first_of(" \t") == std::string::npos)
        vNames.push_back(strAll);
    else
        for (const char* r = strAll.data(); r < strAll.data() + strAll.size();)
        {
            std::string strWord = ReadWord(r, strAll.data() + strAll.size());
            if (!strWord.empty())
                vNames.push_back(strWord);
        }
    for (const std::string& strName : vNames)
    {
        std::string strPath = QelPath::FindFile(strName, m_strFolder);
        if (strPath.empty())
        {
            m_log.Warn(m_nLine, QelFormat("material library [%s] not found; its materials are drawn with the default material",
                                          strName.c_str()));
            continue;
        }
        QelMtlParser::LoadFile(strPath, m_data, m_cLibraries, 0);
    }
}

void QelObjParser::Finish()
{
    for (const auto& entry : m_cLibraries.mapMaterials)
        if (!m_cLibraries.setDefined.count(entry.first))
            m_log.Note(QelFormat("material [%s] is not defined; the default material is used", entry.first.c_str()));
    for (size_t m = 0; m < m_data.m_vMeshes.size(); ++m)
    {
        QelModelMesh& mesh = m_data.m_vMeshes[m];
        const std::vector<uint8_t>& vComputed = m_vMeshState[m].vComputed;
        bool bAnyGiven = false;
        for (size_t v = 0; v < mesh.m_vNormals.size(); ++v)
        {
            if (!vComputed[v])
            {
                bAnyGiven |= !(mesh.m_vNormals[v] == QelVec3());
                continue;
            }
            QelVec3& n = mesh.m_vNormals[v];
            double d = std::sqrt(double(n.x) * n.x + double(n.y) * n.y + double(n.z) * n.z);
            n = d > 0.0 && std::isfinite(d) ? QelVec3(float(n.x / d), float(n.y / d), float(n.z / d))
                                            : QelVec3(0.0f, 0.0f, 1.0f);
        }
        if (mesh.m_vTriangles.empty() && !bAnyGiven)
            mesh.m_vNormals.clear();
    }
    m_data.m_vMeshes.shrink_to_fit();
}
