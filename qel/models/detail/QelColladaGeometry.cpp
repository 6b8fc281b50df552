#include "qel/models/detail/QelColladaGeometry.h"

#include "qel/models/detail/QelLoadLog.h"
#include "qel/models/detail/QelPolygonTessellator.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>

using namespace QelColladaXml;

namespace
{
const uint32_t kBad = 0xFFFFFFFFu;

uint32_t PackColor(float r, float g, float b, float a)
{
    auto byte = [](float f) { return uint32_t((f < 0.0f ? 0.0f : f > 1.0f ? 1.0f : f) * 255.0f); };
    return byte(r) | byte(g) << 8 | byte(b) << 16 | byte(a) << 24;
}
} // namespace

/// The vertices of one primitive element: one per distinct combination of the indices its inputs
/// read, looked up by the offsets that differ.
struct QelColladaGeometry::SBuild
{
    std::vector<SInput> vInputs;
    std::vector<uint32_t> vOffsets; // distinct offsets the inputs read
    // The count of vOffsets and its first two, kept apart for the lookups of every corner.
    size_t nKeys = 0;
    uint32_t nKeyA = 0, nKeyB = 0;
    uint32_t nStride = 1;
    QelModelMesh* pMesh = nullptr;
    /// By the first offset's index: the vertex (one offset) or the head of a chain (two offsets).
    std::vector<uint32_t> vSingle;
    struct SLink
    {
        uint32_t nSecond, nVertex, nNext;
    };
    std::vector<SLink> vChain;
    std::unordered_map<std::string, uint32_t> mapMany;
    std::string strKey;
    uint32_t nBadIndex = 0;
    const SSource* pBadSource = nullptr;

    uint32_t Make(const uint32_t* pTuple)
    {
        QelModelMesh& m = *pMesh;
        for (const SInput& in : vInputs)
            if (pTuple[in.nOffset] >= in.pSource->nCount)
            {
                nBadIndex = pTuple[in.nOffset];
                pBadSource = in.pSource;
                return kBad;
            }
        for (const SInput& in : vInputs)
        {
            const SSource& s = *in.pSource;
            const size_t i = pTuple[in.nOffset];
            switch (in.eKind)
            {
            case ePosition:
                m.m_vPositions.emplace_back(s.At(i, 0, 0.0f), s.At(i, 1, 0.0f), s.At(i, 2, 0.0f));
                break;
            case eNormal:
                m.m_vNormals.emplace_back(s.At(i, 0, 0.0f), s.At(i, 1, 0.0f), s.At(i, 2, 1.0f));
                break;
            case eTexCoord:
                m.m_vTexCoords[size_t(in.nLayer)].emplace_back(s.At(i, 0, 0.0f), s.At(i, 1, 0.0f));
                break;
            case eColor:
                m.m_vColors.push_back(PackColor(s.At(i, 0, 1.0f), s.At(i, 1, 1.0f), s.At(i, 2, 1.0f), s.At(i, 3, 1.0f)));
                break;
            }
        }
        return uint32_t(m.m_vPositions.size() - 1);
    }

    /// The vertex of a corner (nStride indices), or kBad when an index is past its source. Vertices
    /// met before are found here; new ones are made by Add, kept apart so that this stays small.
    uint32_t Vertex(const uint32_t* pTuple)
    {
        if (nKeys == 2)
        {
            // Chains per first index, as few corners share one: no hashing.
            const uint32_t a = pTuple[nKeyA], b = pTuple[nKeyB];
            if (a < vSingle.size())
                for (uint32_t k = vSingle[a]; k != kBad; k = vChain[k].nNext)
                    if (vChain[k].nSecond == b)
                        return vChain[k].nVertex;
        }
        else if (nKeys == 1)
        {
            const uint32_t n = pTuple[nKeyA];
            if (n < vSingle.size() && vSingle[n] != kBad)
                return vSingle[n];
        }
        return Add(pTuple);
    }
    uint32_t Add(const uint32_t* pTuple);
};

uint32_t QelColladaGeometry::SBuild::Add(const uint32_t* pTuple)
{
    if (nKeys == 1)
    {
        const uint32_t n = pTuple[nKeyA];
        const uint32_t v = Make(pTuple);
        if (v != kBad)
        {
            if (n >= vSingle.size())
                vSingle.resize(size_t(n) + 1, kBad);
            vSingle[n] = v;
        }
        return v;
    }
    if (nKeys == 2)
    {
        const uint32_t a = pTuple[nKeyA], b = pTuple[nKeyB];
        const uint32_t v = Make(pTuple);
        if (v != kBad)
        {
            if (a >= vSingle.size())
                vSingle.resize(size_t(a) + 1, kBad);
            vChain.push_back({b, v, vSingle[a]});
            vSingle[a] = uint32_t(vChain.size() - 1);
        }
        return v;
    }
    strKey.clear();
    for (uint32_t o : vOffsets)
        strKey.append(reinterpret_cast<const char*>(&pTuple[o]), sizeof(uint32_t));
    auto it = mapMany.find(strKey);
    if (it != mapMany.end())
        return it->second;
    const uint32_t v = Make(pTuple);
    if (v != kBad)
        mapMany.emplace(strKey, v);
    return v;
}

const QelColladaGeometry::SSource* QelColladaGeometry::Source(const std::string& strUrl, unsigned nLine)
{
    const std::string strId = Fragment(strUrl);
    auto found = m_mapSources.find(strId);
    if (found != m_mapSources.end())
        return found->second.bGood ? &found->second : nullptr;
    SSource& s = m_mapSources[strId];
    auto it = m_ids.find(strId);
    if (it == m_ids.end() || !Is(it->second, "source"))
    {
        m_log.Warn(nLine, "source [" + strId + "] is not defined; the input is not used");
        return nullptr;
    }
    const xmlNode* pSource = it->second;
    const xmlNode* pAccessor = Child(Child(pSource, "technique_common"), "accessor");
    if (!pAccessor)
    {
        m_log.Warn(Line(pSource), "source [" + strId + "] has no accessor; it is not used");
        return nullptr;
    }
    const std::string strArray = Fragment(Attr(pAccessor, "source"));
    auto itArray = m_ids.find(strArray);
    if (itArray == m_ids.end() || !Is(itArray->second, "float_array"))
    {
        m_log.Warn(Line(pAccessor), "accessor of source [" + strId + "] reads no float array; the source is not used");
        return nullptr;
    }
    // Numbers read while parsing are used where they are, not copied.
    const SNumbers* pNumbers = NumbersOf(itArray->second);
    s.pData = pNumbers ? &pNumbers->vFloats : &s.vOwn;
    if (pNumbers ? pNumbers->bBad
                 : !Floats(itArray->second, s.vOwn, size_t(std::strtoull(Attr(itArray->second, "count").c_str(), nullptr, 10))))
        m_log.Warn(Line(itArray->second), "float array [" + strArray + "] holds a word that is not a number; the numbers before it are read");
    auto number = [&](const char* pName, size_t nDefault) {
        const std::string str = Attr(pAccessor, pName);
        return str.empty() ? nDefault : size_t(std::strtoull(str.c_str(), nullptr, 10));
    };
    s.nCount = number("count", 0);
    s.nStride = number("stride", 1);
    s.nOffset = number("offset", 0);
    size_t nParams = 0;
    for (const xmlNode* p : Children(pAccessor, "param"))
        nParams += !Attr(p, "name").empty() || Attr(p, "type").empty() ? 1 : 0;
    s.nComponents = std::min(nParams ? nParams : s.nStride, s.nStride);
    // Counts are checked against the data as read, in a form that cannot overflow.
    const size_t nSize = s.pData->size();
    if (s.nStride == 0 || s.nStride > 64 || s.nOffset > nSize ||
        (s.nCount > 0 && ((nSize - s.nOffset) / s.nStride < s.nCount - 1 ||
                          (nSize - s.nOffset) - (s.nCount - 1) * s.nStride < s.nComponents)))
    {
        m_log.Warn(Line(pAccessor), "accessor of source [" + strId + "] reads past its array of " +
                                        std::to_string(nSize) + " numbers; the source is not used");
        return nullptr;
    }
    s.bGood = true;
    return &s;
}

void QelColladaGeometry::AddInput(std::vector<SInput>& v, const std::string& strSemantic, uint32_t nOffset, int nSet,
                                  const std::string& strSource, unsigned nLine)
{
    static const struct
    {
        const char* pName;
        EKind eKind;
    } kKinds[] = {{"POSITION", ePosition}, {"NORMAL", eNormal}, {"TEXCOORD", eTexCoord}, {"COLOR", eColor}};
    for (const auto& k : kKinds)
        if (strSemantic == k.pName)
        {
            for (const SInput& in : v)
                if (in.eKind == k.eKind && (k.eKind != eTexCoord || in.nSet == nSet))
                    return; // the first of a repeated semantic is used
            if (const SSource* p = Source(strSource, nLine))
                v.push_back({k.eKind, nOffset, nSet, 0, p});
            return;
        }
}

QelColladaGeometry::QelColladaGeometry(const QelColladaXml::IdMap& ids, QelLoadLog& log) : m_ids(ids), m_log(log) {}

QelColladaGeometry::~QelColladaGeometry() = default;

std::vector<QelColladaPrimitive> QelColladaGeometry::Read(const xmlNode* pGeometry)
{
    std::vector<QelColladaPrimitive> v;
    const xmlNode* pMesh = Child(pGeometry, "mesh");
    if (!pMesh)
    {
        m_log.Warn(Line(pGeometry), "geometry [" + Attr(pGeometry, "id") + "] is not a mesh; it is skipped");
        return v;
    }
    static const char* const kPrimitives[] = {"triangles", "polylist", "polygons", "tristrips", "trifans", "lines", "linestrips"};
    for (const xmlNode* p = pMesh->children; p; p = p->next)
        for (const char* pName : kPrimitives)
            if (Is(p, pName))
            {
                QelColladaPrimitive prim;
                prim.strMaterial = Attr(p, "material");
                prim.cMesh.m_strName = Attr(pGeometry, "name").empty() ? Attr(pGeometry, "id") : Attr(pGeometry, "name");
                if (ReadPrimitive(p, prim))
                    v.push_back(std::move(prim));
            }
    return v;
}

bool QelColladaGeometry::ReadPrimitive(const xmlNode* pPrim, QelColladaPrimitive& out)
{
    const std::string strType = reinterpret_cast<const char*>(pPrim->name);
    const unsigned nLine = Line(pPrim);
    SBuild b;
    b.pMesh = &out.cMesh;
    uint32_t nMaxOffset = 0;
    for (const xmlNode* pIn : Children(pPrim, "input"))
    {
        const uint32_t nOffset = uint32_t(std::min<unsigned long long>(std::strtoull(Attr(pIn, "offset").c_str(), nullptr, 10), 255));
        nMaxOffset = std::max(nMaxOffset, nOffset);
        const int nSet = Attr(pIn, "set").empty() ? 0 : std::atoi(Attr(pIn, "set").c_str());
        const std::string strSemantic = Attr(pIn, "semantic");
        if (strSemantic != "VERTEX")
        {
            AddInput(b.vInputs, strSemantic, nOffset, nSet, Attr(pIn, "source"), Line(pIn));
            continue;
        }
        auto it = m_ids.find(Fragment(Attr(pIn, "source")));
        if (it == m_ids.end() || !Is(it->second, "vertices"))
        {
            m_log.Warn(Line(pIn), "vertices [" + Fragment(Attr(pIn, "source")) + "] are not defined");
            continue;
        }
        for (const xmlNode* pV : Children(it->second, "input"))
            AddInput(b.vInputs, Attr(pV, "semantic"), nOffset, nSet, Attr(pV, "source"), Line(pV));
    }
    b.nStride = nMaxOffset + 1;
    auto pos = std::find_if(b.vInputs.begin(), b.vInputs.end(), [](const SInput& in) { return in.eKind == ePosition; });
    if (pos == b.vInputs.end())
    {
        m_log.Warn(nLine, "<" + strType + "> has no positions; it is skipped");
        return false;
    }
    std::rotate(b.vInputs.begin(), pos, pos + 1); // positions first, so a bad index stops before any attribute
    for (SInput& in : b.vInputs)
    {
        if (std::find(b.vOffsets.begin(), b.vOffsets.end(), in.nOffset) == b.vOffsets.end())
            b.vOffsets.push_back(in.nOffset);
        if (in.eKind == eTexCoord)
        {
            auto it = std::find(out.vSets.begin(), out.vSets.end(), in.nSet);
            in.nLayer = int(it - out.vSets.begin());
            if (it == out.vSets.end())
                out.vSets.push_back(in.nSet);
        }
    }
    out.cMesh.m_vTexCoords.resize(out.vSets.size());
    // The table by the first offset's index holds every index its sources reach (their counts
    // were checked against the numbers read).
    size_t nFirstReach = 0;
    for (const SInput& in : b.vInputs)
        if (in.nOffset == b.vOffsets[0])
            nFirstReach = std::max(nFirstReach, in.pSource->nCount);
    b.nKeys = b.vOffsets.size();
    b.nKeyA = b.vOffsets[0];
    b.nKeyB = b.nKeys > 1 ? b.vOffsets[1] : 0;
    if (b.nKeys <= 2)
        b.vSingle.assign(nFirstReach, kBad);
    // Most meshes make about one vertex per position; room for that is made at once.
    const size_t nGuess = std::min<size_t>(b.vInputs[0].pSource->nCount, size_t(1) << 24);
    if (b.nKeys == 2)
        b.vChain.reserve(nGuess);
    for (const SInput& in : b.vInputs)
    {
        QelModelMesh& m = out.cMesh;
        if (in.eKind == ePosition)
            m.m_vPositions.reserve(nGuess);
        else if (in.eKind == eNormal)
            m.m_vNormals.reserve(nGuess);
        else if (in.eKind == eTexCoord)
            m.m_vTexCoords[size_t(in.nLayer)].reserve(nGuess);
        else
            m.m_vColors.reserve(nGuess);
    }

    const bool bLines = strType == "lines" || strType == "linestrips";
    const bool bStrips = strType == "tristrips" || strType == "linestrips";
    const size_t nDeclared = size_t(std::strtoull(Attr(pPrim, "count").c_str(), nullptr, 10));
    std::vector<uint32_t> vIdx, vCounts, vCorner;
    // The indices of the current <p>: read while the document was parsed, or from its text here.
    const std::vector<uint32_t>* pIdx = &vIdx;
    bool bReported = false;
    auto reportBad = [&] {
        if (!bReported)
            m_log.Warn(nLine, "<" + strType + "> index " + std::to_string(b.nBadIndex) + " is past the " +
                                  std::to_string(b.pBadSource->nCount) + " elements of its source; the element is skipped");
        bReported = true;
    };
    // The vertices of nCorners corners starting at index tuple nFirst, into vCorner.
    auto gather = [&](size_t nFirst, size_t nCorners) {
        vCorner.clear();
        for (size_t k = 0; k < nCorners; ++k)
        {
            const uint32_t v = b.Vertex(&(*pIdx)[(nFirst + k) * b.nStride]);
            if (v == kBad)
            {
                reportBad();
                return false;
            }
            vCorner.push_back(v);
        }
        return true;
    };
    // Emits one polygon, strip or fan of nCorners corners starting at index tuple nFirst.
    auto emit = [&](size_t nFirst, size_t nCorners) {
        if (!gather(nFirst, nCorners))
            return;
        std::vector<uint32_t>& vOut = bLines ? out.cMesh.m_vLines : out.cMesh.m_vTriangles;
        for (size_t k = 0; bLines && k + 1 < nCorners; k += bStrips ? 1 : 2)
            vOut.insert(vOut.end(), {vCorner[k], vCorner[k + 1]});
        for (size_t k = 2; !bLines && k < nCorners; ++k)
        {
            if (bStrips)
                vOut.insert(vOut.end(), k % 2 ? std::initializer_list<uint32_t>{vCorner[k - 1], vCorner[k - 2], vCorner[k]}
                                              : std::initializer_list<uint32_t>{vCorner[k - 2], vCorner[k - 1], vCorner[k]});
            else
            {
                vOut.push_back(vCorner[0]);
                vOut.push_back(vCorner[k - 1]);
                vOut.push_back(vCorner[k]);
            }
        }
    };
    auto readIndices = [&](const xmlNode* pP) {
        const SNumbers* pNumbers = NumbersOf(pP);
        vIdx.clear();
        pIdx = pNumbers ? &pNumbers->vIndices : &vIdx;
        if (pNumbers ? pNumbers->bBad : !Indices(pP, vIdx))
            m_log.Warn(Line(pP), "<p> holds a word that is not an index; the indices before it are read");
        return pIdx->size() / b.nStride;
    };
    if (strType == "triangles" || strType == "lines")
    {
        const size_t nPer = strType == "triangles" ? 3 : 2;
        const size_t nHave = readIndices(Child(pPrim, "p")) / nPer;
        (nPer == 3 ? out.cMesh.m_vTriangles : out.cMesh.m_vLines).reserve(nHave * nPer);
        if (nDeclared > nHave)
            m_log.Warn(nLine, "<" + strType + "> count " + std::to_string(nDeclared) + " is more than its indices hold (" +
                                  std::to_string(nHave) + ")");
        const size_t nEmit = std::min(nHave, nDeclared ? nDeclared : nHave);
        if (nPer == 3)
        {
            // Triangles, the bulk of most files, go straight to the output.
            std::vector<uint32_t>& vOut = out.cMesh.m_vTriangles;
            const uint32_t* pTuple = pIdx->data();
            const size_t nStride = b.nStride;
            for (size_t i = 0; i < nEmit; ++i, pTuple += 3 * nStride)
            {
                // A bad corner ends the triangle before the corners after it make vertices.
                const uint32_t v0 = b.Vertex(pTuple);
                const uint32_t v1 = v0 != kBad ? b.Vertex(pTuple + nStride) : kBad;
                const uint32_t v2 = v1 != kBad ? b.Vertex(pTuple + 2 * nStride) : kBad;
                if (v2 == kBad)
                {
                    reportBad();
                    continue;
                }
                vOut.push_back(v0);
                vOut.push_back(v1);
                vOut.push_back(v2);
            }
        }
        else
            for (size_t i = 0; i < nEmit; ++i)
                emit(i * nPer, nPer);
    }
    else if (strType == "polylist")
    {
        const size_t nHave = readIndices(Child(pPrim, "p"));
        if (!Indices(Child(pPrim, "vcount"), vCounts))
            m_log.Warn(nLine, "<vcount> holds a word that is not a count; the counts before it are read");
        size_t nNext = 0, nPolygons = std::min(vCounts.size(), nDeclared ? nDeclared : vCounts.size());
        for (size_t i = 0; i < nPolygons; ++i)
        {
            if (vCounts[i] > nHave - nNext)
            {
                m_log.Warn(nLine, "<polylist> polygon " + std::to_string(i) + " of " + std::to_string(vCounts[i]) +
                                      " corners runs past its indices; the rest is skipped");
                break;
            }
            emit(nNext, vCounts[i]);
            nNext += vCounts[i];
        }
    }
    else
    {
        // polygons, tristrips, trifans, linestrips: one <p> per element, or a <ph> of polygons:
        // an outer <p> and <h> holes.
        for (const xmlNode* p = pPrim->children; p; p = p->next)
            if (Is(p, "p"))
                emit(0, readIndices(p));
            else if (Is(p, "ph") && !bLines)
            {
                // A ring with a bad corner leaves the whole polygon out; one of fewer than three
                // corners encloses nothing.
                std::vector<std::vector<uint32_t>> vRings;
                bool bGood = true;
                for (const xmlNode* r = p->children; r && bGood; r = r->next)
                    if (Is(r, vRings.empty() ? "p" : "h"))
                    {
                        bGood = gather(0, readIndices(r)) && (vCorner.size() >= 3 || !vRings.empty());
                        if (bGood && vCorner.size() >= 3)
                            vRings.push_back(vCorner);
                    }
                if (bGood && !vRings.empty())
                    FillWithHoles(vRings, out.cMesh, Line(p));
            }
    }
    return !out.cMesh.m_vTriangles.empty() || !out.cMesh.m_vLines.empty();
}

void QelColladaGeometry::FillWithHoles(const std::vector<std::vector<uint32_t>>& vRings, QelModelMesh& mesh, unsigned nLine)
{
    if (vRings.size() > 1)
    {
        if (!m_pTessellator)
            m_pTessellator.reset(new QelPolygonTessellator);
        if (m_pTessellator->Triangulate(mesh.m_vPositions, vRings, mesh.m_vTriangles))
            return;
        m_log.Warn(nLine, "<ph> holes could not be cut; the outer boundary is filled");
    }
    for (size_t k = 2; k < vRings[0].size(); ++k)
        mesh.m_vTriangles.insert(mesh.m_vTriangles.end(), {vRings[0][0], vRings[0][k - 1], vRings[0][k]});
}
