#include "qel/models/detail/Qel3dsCheck.h"

#include "qel/models/detail/QelLoadLog.h"
#include "qel/platform/QelString.h"

#include <algorithm>
#include <map>

namespace
{
enum : uint16_t
{
    kMain = 0x4D4D,
    kLibrary = 0x3DAA,
    kProject = 0xC23D,
    kEditor = 0x3D3D,
    kObject = 0x4000,
    kTriangles = 0x4100,
    kPoints = 0x4110,
    kFaces = 0x4120,
    kFaceMaterial = 0x4130,
    kTexCoords = 0x4140,
    kSmoothing = 0x4150,
    kMaterial = 0xAFFF,
    kKeyframes = 0xB000,
    kFirstNodeTag = 0xB001,
    kLastNodeTag = 0xB007,
    kNodeHeader = 0xB010,
    kFirstTrack = 0xB020,
    kLastTrack = 0xB029,
    kNodeId = 0xB030
};
const uint16_t kNoParent = 0xFFFF;
/// An identifier the file reader does not know, so it skips the chunk.
const uint16_t kSkippedChunk = 0xFFFF;
/// Bytes of a track chunk before its keys, and what every key starts with (frame and flags).
const uint32_t kTrackHeader = 14;
const uint32_t kMinKeySize = 6;
} // namespace

uint16_t Qel3dsCheck::Word(uint32_t nAt) const
{
    return uint16_t(m_pData[nAt] | m_pData[nAt + 1] << 8);
}

uint32_t Qel3dsCheck::Dword(uint32_t nAt) const
{
    return uint32_t(Word(nAt)) | uint32_t(Word(nAt + 2)) << 16;
}

bool Qel3dsCheck::ReadChunk(uint32_t nAt, uint32_t nParentEnd, SChunk& c)
{
    c.nStart = nAt;
    if (uint64_t(nAt) + 6 > nParentEnd)
    {
        m_log.Error(QelFormat("chunk at offset %u has no room for its header", unsigned(nAt)));
        return false;
    }
    c.nId = Word(nAt);
    uint32_t nSize = Dword(nAt + 2);
    if (nSize < 6 || uint64_t(nAt) + nSize > nParentEnd)
    {
        m_log.Error(QelFormat("chunk 0x%04X at offset %u claims %u bytes, which do not fit its parent", c.nId,
                              unsigned(nAt), unsigned(nSize)));
        return false;
    }
    c.nEnd = nAt + nSize;
    return true;
}

uint32_t Qel3dsCheck::NameLength(uint32_t nAt, uint32_t nEnd) const
{
    for (uint32_t n = 0; n < 64 && nAt + n < nEnd; ++n)
        if (m_pData[nAt + n] == 0)
            return n + 1;
    return 0;
}

bool Qel3dsCheck::BadChunk(const SChunk& c, const char* pWhy)
{
    m_log.Error(QelFormat("chunk 0x%04X at offset %u %s", c.nId, unsigned(c.nStart), pWhy));
    return false;
}

bool Qel3dsCheck::CountEntry(uint32_t& nCount, const char* pWhat)
{
    if (++nCount <= kMaxEntries)
        return true;
    m_log.Error(QelFormat("holds more than %u %s", unsigned(kMaxEntries), pWhat));
    return false;
}

bool Qel3dsCheck::Run()
{
    if (m_nSize < 6 || m_nSize > 0xFFFFFFFFu)
    {
        m_log.Error("is not a 3DS file");
        return false;
    }
    SChunk top;
    top.nId = Word(0);
    uint32_t nSize = Dword(2);
    if ((top.nId != kMain && top.nId != kLibrary && top.nId != kProject) || nSize < 6)
    {
        m_log.Error("is not a 3DS file");
        return false;
    }
    if (nSize > m_nSize)
    {
        m_log.Error(QelFormat("is truncated: it holds %u of the %u bytes it claims", unsigned(m_nSize), unsigned(nSize)));
        return false;
    }
    top.nEnd = nSize;
    if (!Walk(top, top.DataStart()))
        return false;
    std::sort(m_vPatches.begin(), m_vPatches.end());
    return true;
}

void Qel3dsCheck::Hide(const SChunk& c)
{
    m_vPatches.push_back(SPatch{c.nStart, kSkippedChunk});
}

bool Qel3dsCheck::Walk(const SChunk& c, uint32_t nFrom)
{
    for (uint32_t nAt = nFrom; nAt < c.nEnd;)
    {
        SChunk child;
        if (!ReadChunk(nAt, c.nEnd, child))
            return false;
        bool bOk = true;
        // Only the chunks the reader descends into, under the parents where it does so.
        if (child.nId == kEditor && (c.nId == kMain || c.nId == kLibrary || c.nId == kProject))
            bOk = Walk(child, child.DataStart());
        else if (child.nId == kObject && c.nId == kEditor)
            bOk = CheckObject(child);
        else if (child.nId == kMaterial && (c.nId == kEditor || c.nId == kLibrary))
            bOk = CountEntry(m_nMaterials, "materials") && Walk(child, child.DataStart());
        else if (child.nId == kKeyframes && (c.nId == kMain || c.nId == kProject))
            bOk = CheckKeyframes(child);
        if (!bOk)
            return false;
        nAt = child.nEnd;
    }
    return true;
}

bool Qel3dsCheck::CheckObject(const SChunk& c)
{
    uint32_t nName = NameLength(c.DataStart(), c.nEnd);
    if (!nName)
        return BadChunk(c, "has a name that does not end within 64 bytes");
    if (!CountEntry(m_nObjects, "objects"))
        return false;
    for (uint32_t nAt = c.DataStart() + nName; nAt < c.nEnd;)
    {
        SChunk child;
        if (!ReadChunk(nAt, c.nEnd, child) ||
            (child.nId == kTriangles && !CheckTriangles(child, reinterpret_cast<const char*>(m_pData + c.DataStart()))))
            return false;
        nAt = child.nEnd;
    }
    return true;
}

bool Qel3dsCheck::CheckTriangles(const SChunk& c, const char* pObject)
{
    // The reader keeps the last point list of a mesh and checks its faces against that one.
    uint32_t nPoints = 0;
    for (int nPass = 0; nPass < 2; ++nPass)
        for (uint32_t nAt = c.DataStart(); nAt < c.nEnd;)
        {
            SChunk child;
            if (!ReadChunk(nAt, c.nEnd, child))
                return false;
            uint32_t nData = child.nEnd - child.DataStart();
            if (nPass == 0 && (child.nId == kPoints || child.nId == kTexCoords))
            {
                uint32_t nEach = child.nId == kPoints ? 12 : 8;
                if (nData < 2 || 2 + uint64_t(Word(child.DataStart())) * nEach > nData)
                    return BadChunk(child, "counts more entries than it holds");
                if (child.nId == kPoints)
                    nPoints = Word(child.DataStart());
            }
            else if (nPass == 1 && child.nId == kFaces && !CheckFaces(child, nPoints, pObject))
                return false;
            nAt = child.nEnd;
        }
    return true;
}

bool Qel3dsCheck::CheckFaces(const SChunk& c, uint32_t nPoints, const char* pObject)
{
    uint32_t nData = c.nEnd - c.DataStart();
    uint32_t nFaces = nData >= 2 ? Word(c.DataStart()) : 0;
    if (nData < 2 || 2 + uint64_t(nFaces) * 8 > nData)
        return BadChunk(c, "counts more entries than it holds");
    uint32_t nBad = 0;
    for (uint32_t f = 0; f < nFaces; ++f)
    {
        uint32_t nFace = c.DataStart() + 2 + 8 * f;
        if (Word(nFace) < nPoints && Word(nFace + 2) < nPoints && Word(nFace + 4) < nPoints)
            continue;
        ++nBad;
        for (uint32_t k = 0; k < 3; ++k)
            m_vPatches.push_back(SPatch{nFace + 2 * k, 0});
    }
    if (nBad)
    {
        m_log.Note(QelFormat("object [%s]: %u faces index past its %u vertices and are skipped", pObject,
                             unsigned(nBad), unsigned(nPoints)));
        // Without vertices even index 0 is past the end: the reader must not see the faces at all.
        if (nPoints == 0)
            Hide(c);
    }
    for (uint32_t nAt = c.DataStart() + 2 + nFaces * 8; nAt < c.nEnd;)
    {
        SChunk child;
        if (!ReadChunk(nAt, c.nEnd, child))
            return false;
        if (child.nId == kSmoothing && uint64_t(nFaces) * 4 > child.nEnd - child.DataStart())
            return BadChunk(child, "counts more entries than it holds");
        if (child.nId == kFaceMaterial)
        {
            uint32_t nName = NameLength(child.DataStart(), child.nEnd);
            if (!nName)
                return BadChunk(child, "has a name that does not end within 64 bytes");
            uint32_t nList = child.DataStart() + nName;
            if (uint64_t(nList) + 2 > child.nEnd || uint64_t(nList) + 2 + 2 * uint64_t(Word(nList)) > child.nEnd)
                return BadChunk(child, "counts more entries than it holds");
            for (uint32_t i = 0, n = Word(nList); i < n; ++i)
                if (Word(nList + 2 + 2 * i) >= nFaces)
                {
                    m_log.Note(QelFormat("chunk 0x%04X at offset %u names face %u of %u; the material group is skipped",
                                         child.nId, unsigned(child.nStart), unsigned(Word(nList + 2 + 2 * i)),
                                         unsigned(nFaces)));
                    Hide(child);
                    break;
                }
        }
        nAt = child.nEnd;
    }
    return true;
}

bool Qel3dsCheck::CheckKeyframes(const SChunk& c)
{
    for (uint32_t nAt = c.DataStart(); nAt < c.nEnd;)
    {
        SChunk node;
        if (!ReadChunk(nAt, c.nEnd, node))
            return false;
        if (node.nId >= kFirstNodeTag && node.nId <= kLastNodeTag)
        {
            if (!CountEntry(m_nNodes, "nodes"))
                return false;
            for (uint32_t nIn = node.DataStart(); nIn < node.nEnd;)
            {
                SChunk child;
                if (!ReadChunk(nIn, node.nEnd, child))
                    return false;
                uint32_t nData = child.nEnd - child.DataStart();
                if (child.nId == kNodeId && nData < 2)
                    return BadChunk(child, "is too short for its data");
                if (child.nId == kNodeHeader)
                {
                    uint32_t nName = NameLength(child.DataStart(), child.nEnd);
                    if (!nName)
                        return BadChunk(child, "has a name that does not end within 64 bytes");
                    if (nName + 6 > nData)
                        return BadChunk(child, "is too short for its data");
                }
                if (child.nId >= kFirstTrack && child.nId <= kLastTrack && !TrackFits(child))
                    return BadChunk(child, "counts more entries than it holds");
                nIn = child.nEnd;
            }
        }
        nAt = node.nEnd;
    }
    std::string strProblem = KeyframeProblem(c);
    if (!strProblem.empty())
    {
        m_log.Note(QelFormat("keyframes skipped: %s; the meshes are placed as stored", strProblem.c_str()));
        Hide(c);
    }
    return true;
}

bool Qel3dsCheck::TrackFits(const SChunk& c) const
{
    // Bytes of each track's key value, by track from position to hiding; the morph track's is a name.
    static const uint32_t kValueBytes[] = {12, 16, 12, 4, 4, 12, 0, 4, 4, 0};
    static_assert(sizeof(kValueBytes) / sizeof(kValueBytes[0]) == kLastTrack - kFirstTrack + 1, "one per track");
    if (c.nEnd - c.DataStart() < kTrackHeader)
        return false;
    uint32_t nKeys = Dword(c.DataStart() + 10);
    uint64_t nAt = c.DataStart() + kTrackHeader;
    for (uint32_t k = 0; k < nKeys; ++k)
    {
        if (nAt + kMinKeySize > c.nEnd)
            return false;
        uint16_t nFlags = Word(uint32_t(nAt) + 4);
        nAt += kMinKeySize;
        // Each of the five low flags adds a float: tension, continuity, bias, ease to, ease from.
        for (int nBit = 0; nBit < 5; ++nBit)
            nAt += (nFlags >> nBit & 1) * 4;
        if (c.nId == kFirstTrack + 6)
        {
            uint32_t nName = nAt < c.nEnd ? NameLength(uint32_t(nAt), c.nEnd) : 0;
            if (!nName)
                return false;
            nAt += nName;
        }
        else
            nAt += kValueBytes[c.nId - kFirstTrack];
        if (nAt > c.nEnd)
            return false;
    }
    return true;
}

std::string Qel3dsCheck::KeyframeProblem(const SChunk& c)
{
    // The sizes are sound here; this pass reads the node identities and key counts.
    struct SNode
    {
        uint16_t nId;
        uint16_t nParent;
    };
    std::vector<SNode> vNodes;
    std::map<uint16_t, size_t> mapIds;
    uint64_t nKeyWork = 0;
    for (uint32_t nAt = c.DataStart(); nAt < c.nEnd; nAt += Dword(nAt + 2))
    {
        uint16_t nTag = Word(nAt);
        if (nTag < kFirstNodeTag || nTag > kLastNodeTag)
            continue;
        // Without an identity chunk the reader numbers the nodes in file order; without a header
        // the parent is node 0.
        SNode node{uint16_t(vNodes.size()), 0};
        uint32_t nEnd = nAt + Dword(nAt + 2);
        for (uint32_t nIn = nAt + 6; nIn < nEnd; nIn += Dword(nIn + 2))
        {
            uint16_t nId = Word(nIn);
            if (nId == kNodeId)
                node.nId = Word(nIn + 6);
            else if (nId == kNodeHeader)
                node.nParent = Word(nIn + 6 + NameLength(nIn + 6, nEnd) + 4);
            else if (nId >= kFirstTrack && nId <= kLastTrack)
            {
                uint64_t nKeys = Dword(nIn + 16);
                nKeyWork += nKeys * nKeys;
            }
        }
        if (!mapIds.emplace(node.nId, vNodes.size()).second)
            return QelFormat("node id %u is used twice", unsigned(node.nId));
        vNodes.push_back(node);
    }
    if (nKeyWork > kMaxKeyWork)
        return "the animation tracks hold too many keys";
    for (const SNode& node : vNodes)
    {
        uint32_t nDepth = 0;
        for (uint16_t nParent = node.nParent; nParent != kNoParent;)
        {
            auto it = mapIds.find(nParent);
            if (it == mapIds.end())
                break;
            if (it->second == size_t(&node - vNodes.data()))
                return QelFormat("node %u is its own ancestor", unsigned(node.nId));
            if (++nDepth > kMaxNodeDepth)
                return QelFormat("the nodes nest deeper than %u levels", unsigned(kMaxNodeDepth));
            nParent = vNodes[it->second].nParent;
        }
    }
    return "";
}
