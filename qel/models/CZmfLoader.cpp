#include "qel/models/CZmfLoader.h"

#include "qel/models/QelModelData.h"
#include "qel/models/detail/QelLoadLog.h"
#include "qel/platform/QelString.h"
#include "qel/util/QelPath.h"
#include "qel/xml/QelMasterXMLInterface.h"

#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>

namespace
{
const char* const kLoaderName = "CZmfLoader";
const char* const kRoot = "ZubModel";
/// Raw bytes per data element: libxml2 refuses text nodes past 10 MB unless told otherwise.
const size_t kChunk = size_t(4) << 20;
const int kGzipLevel = 1; // base64 of floats compresses little; speed matters more

static_assert(sizeof(QelVec3) == 12 && sizeof(QelVec2) == 8, "vectors are stored as packed floats");

/// Texts of plain printable ASCII are written as text; anything else as base64 data, so that every
/// byte comes back.
void WriteText(QelXMLInterface& x, const std::string& strName, const std::string& strValue)
{
    bool bPlain = true;
    for (unsigned char c : strValue)
        bPlain = bPlain && c >= 0x20 && c < 0x7F;
    if (bPlain)
        x.WriteString(strName, strValue);
    else
        x.WriteData(strName + "64", strValue.data(), unsigned(strValue.size()));
}

std::string ChunkName(size_t i)
{
    return "D" + std::to_string(i);
}

/// Writes nBytes as one element holding its size and chunks of data.
void WriteBytes(QelXMLInterface& x, const std::string& strName, const void* pData, size_t nBytes, size_t nCount)
{
    x.AddAndMoveToChildNode(strName);
    x.WriteStringAttribute("count", QelFormat("%zu", nCount));
    const char* p = static_cast<const char*>(pData);
    for (size_t nDone = 0, i = 0; nDone < nBytes; nDone += kChunk, ++i)
        x.WriteData(ChunkName(i), p + nDone, unsigned(nBytes - nDone < kChunk ? nBytes - nDone : kChunk));
    x.MoveToParent();
}

template <typename T>
void WriteArray(QelXMLInterface& x, const std::string& strName, const std::vector<T>& v)
{
    static_assert(std::is_trivially_copyable<T>::value, "stored as raw bytes");
    if (!v.empty())
        WriteBytes(x, strName, v.data(), v.size() * sizeof(T), v.size());
}

void WriteFloats(QelXMLInterface& x, const std::string& strName, const std::vector<float>& v)
{
    x.WriteData(strName, reinterpret_cast<const char*>(v.data()), unsigned(v.size() * sizeof(float)));
}

/// Reads a document while remembering what went wrong first.
class Reader
{
public:
    Reader(QelXMLInterface& x, QelLoadLog& log) : m_x(x), m_log(log) {}

    bool Failed() const { return m_bFailed; }
    void Fail(const std::string& strReason)
    {
        if (!m_bFailed)
            m_log.ErrorAt(m_x.GetLineNumber(), strReason);
        m_bFailed = true;
    }

    std::string ReadText(const std::string& strName)
    {
        std::vector<char> v;
        if (HasChild(strName + "64"))
        {
            std::string strText = Content(strName + "64");
            v.resize(strText.size());
            m_x.ReadData(strName + "64", v);
            v.resize(strText.size() * 6 / 8);
            return std::string(v.begin(), v.end());
        }
        return m_x.ReadString(strName, "");
    }

    /// Exactly n floats from a data element; false (and the load fails) when there are fewer.
    /// An optional array that is absent reads nothing and is no failure (older documents lack it).
    bool ReadFloats(const std::string& strName, float* pOut, size_t n, bool bOptional = false)
    {
        std::vector<char> v;
        bool bFound = m_x.ReadData(strName, v);
        if (!bFound && bOptional)
            return false;
        if (!bFound || v.size() * 6 / 8 < n * sizeof(float))
        {
            Fail(QelFormat("[%s] is missing or too short", strName.c_str()));
            return false;
        }
        std::memcpy(pOut, v.data(), n * sizeof(float));
        return true;
    }

    template <typename T>
    void ReadArray(const std::string& strName, std::vector<T>& vOut)
    {
        vOut.clear();
        if (m_bFailed || !HasChild(strName))
            return;
        m_x.PushPosition();
        m_x.MoveToChildNode(strName);
        std::string strCount = m_x.ReadStringAttribute("count", "");
        char* pEnd = nullptr;
        unsigned long long nCount = std::strtoull(strCount.c_str(), &pEnd, 10);
        const unsigned nChunks = m_x.GetNumChildNodes();
        // The chunks must be able to hold what the count claims before anything is allocated.
        if (strCount.empty() || *pEnd || nCount > (unsigned long long)(SIZE_MAX / sizeof(T)) ||
            nCount * sizeof(T) > (unsigned long long)nChunks * kChunk)
        {
            Fail(QelFormat("[%s] claims %s elements, more than it holds", strName.c_str(), strCount.c_str()));
            m_x.PopPosition();
            return;
        }
        // The bytes grow with the chunks actually present, so a count that claims more than the
        // document holds costs no more memory than the document.
        const size_t nBytes = size_t(nCount) * sizeof(T);
        std::vector<char> vBytes, vChunk;
        for (unsigned i = 0; i < nChunks && vBytes.size() < nBytes; ++i)
        {
            const size_t nWant = std::min(nBytes - vBytes.size(), kChunk);
            vChunk.clear();
            if (!m_x.ReadData(ChunkName(i), vChunk) || vChunk.size() * 6 / 8 < nWant)
                break;
            vBytes.insert(vBytes.end(), vChunk.begin(), vChunk.begin() + long(nWant));
        }
        if (vBytes.size() != nBytes)
            Fail(QelFormat("[%s] holds fewer bytes than its count says", strName.c_str()));
        else
        {
            vOut.resize(size_t(nCount));
            if (nBytes)
                std::memcpy(static_cast<void*>(vOut.data()), vBytes.data(), nBytes);
        }
        m_x.PopPosition();
    }

    bool HasChild(const std::string& strName)
    {
        if (!m_x.PushPosition())
            return false;
        bool b = m_x.MoveToChildNode(strName);
        m_x.PopPosition();
        return b;
    }

private:
    std::string Content(const std::string& strName)
    {
        m_x.PushPosition();
        std::string s = m_x.MoveToChildNode(strName) ? m_x.GetNodeContent() : "";
        m_x.PopPosition();
        return s;
    }

    QelXMLInterface& m_x;
    QelLoadLog& m_log;
    bool m_bFailed = false;
};

void WriteMaterial(QelXMLInterface& x, const QelModelMaterial& m, const std::string& strFile)
{
    x.AddAndMoveToChildNode("Material");
    WriteText(x, "Name", m.m_strName);
    WriteFloats(x, "Values",
                {m.m_vecAmbient.x, m.m_vecAmbient.y, m.m_vecAmbient.z, m.m_vecAmbient.w, m.m_vecDiffuse.x,
                 m.m_vecDiffuse.y, m.m_vecDiffuse.z, m.m_vecDiffuse.w, m.m_vecSpecular.x, m.m_vecSpecular.y,
                 m.m_vecSpecular.z, m.m_vecSpecular.w, m.m_vecEmissive.x, m.m_vecEmissive.y, m.m_vecEmissive.z,
                 m.m_vecEmissive.w, m.m_fShininess, m.m_fOpacity});
    x.WriteInt("Illumination", m.m_nIllumination);
    x.WriteBool("TwoSided", m.m_bTwoSided);
    for (const QelModelTextureMap& t : m.m_vTextures)
    {
        x.AddAndMoveToChildNode("Texture");
        x.WriteInt("Channel", int(t.m_eChannel));
        WriteText(x, "Filename", QelPath::MakeRelative(t.m_strFilename, strFile));
        WriteFloats(x, "Values",
                    {t.m_vecOffset.x, t.m_vecOffset.y, t.m_vecOffset.z, t.m_vecScale.x, t.m_vecScale.y,
                     t.m_vecScale.z, t.m_fBumpScale});
        WriteFloats(x, "Rotation", {t.m_fRotation});
        x.WriteBool("Clamp", t.m_bClamp);
        x.WriteInt("Layer", t.m_nTexCoordLayer);
        x.MoveToParent();
    }
    x.MoveToParent();
}

void ReadMaterial(QelXMLInterface& x, Reader& r, QelModelMaterial& m, const std::string& strFile)
{
    m.m_strName = r.ReadText("Name");
    float f[18];
    if (!r.ReadFloats("Values", f, 18))
        return;
    m.m_vecAmbient = QelVec4(f[0], f[1], f[2], f[3]);
    m.m_vecDiffuse = QelVec4(f[4], f[5], f[6], f[7]);
    m.m_vecSpecular = QelVec4(f[8], f[9], f[10], f[11]);
    m.m_vecEmissive = QelVec4(f[12], f[13], f[14], f[15]);
    m.m_fShininess = f[16];
    m.m_fOpacity = f[17];
    m.m_nIllumination = x.ReadInt("Illumination", -1);
    m.m_bTwoSided = x.ReadBool("TwoSided", false);
    for (unsigned i = 0, n = x.GetNumChildNodes(); i < n && !r.Failed(); ++i)
    {
        x.MoveToChildNode(i);
        if (x.GetNodeName() == "Texture")
        {
            QelModelTextureMap t;
            int nChannel = x.ReadInt("Channel", 0);
            t.m_eChannel = nChannel >= 0 && nChannel < QelModelTextureMap::eChannelCount
                               ? QelModelTextureMap::EChannel(nChannel)
                               : QelModelTextureMap::eChannelDiffuse;
            std::string strName = r.ReadText("Filename");
            t.m_strFilename = strName.empty() ? strName : QelPath::MakeAbsolute(strName, strFile);
            float g[7];
            if (r.ReadFloats("Values", g, 7))
            {
                t.m_vecOffset = QelVec3(g[0], g[1], g[2]);
                t.m_vecScale = QelVec3(g[3], g[4], g[5]);
                t.m_fBumpScale = g[6];
            }
            r.ReadFloats("Rotation", &t.m_fRotation, 1, true);
            t.m_bClamp = x.ReadBool("Clamp", false);
            t.m_nTexCoordLayer = x.ReadInt("Layer", 0);
            m.m_vTextures.push_back(t);
        }
        x.MoveToParent();
    }
}

void WriteMesh(QelXMLInterface& x, const QelModelMesh& m)
{
    x.AddAndMoveToChildNode("Mesh");
    WriteText(x, "Name", m.m_strName);
    x.WriteInt("Material", m.m_nMaterial);
    WriteArray(x, "Positions", m.m_vPositions);
    WriteArray(x, "Normals", m.m_vNormals);
    for (const std::vector<QelVec2>& vLayer : m.m_vTexCoords)
    {
        x.AddAndMoveToChildNode("TexCoordLayer");
        WriteArray(x, "TexCoords", vLayer);
        x.MoveToParent();
    }
    WriteArray(x, "Colors", m.m_vColors);
    WriteArray(x, "Triangles", m.m_vTriangles);
    WriteArray(x, "Lines", m.m_vLines);
    WriteArray(x, "Points", m.m_vPoints);
    x.MoveToParent();
}

void ReadMesh(QelXMLInterface& x, Reader& r, QelModelMesh& m)
{
    m.m_strName = r.ReadText("Name");
    m.m_nMaterial = x.ReadInt("Material", -1);
    r.ReadArray("Positions", m.m_vPositions);
    r.ReadArray("Normals", m.m_vNormals);
    for (unsigned i = 0, n = x.GetNumChildNodes(); i < n && !r.Failed(); ++i)
    {
        x.MoveToChildNode(i);
        if (x.GetNodeName() == "TexCoordLayer")
        {
            m.m_vTexCoords.emplace_back();
            r.ReadArray("TexCoords", m.m_vTexCoords.back());
        }
        x.MoveToParent();
    }
    r.ReadArray("Colors", m.m_vColors);
    r.ReadArray("Triangles", m.m_vTriangles);
    r.ReadArray("Lines", m.m_vLines);
    r.ReadArray("Points", m.m_vPoints);
}

void WriteNode(QelXMLInterface& x, const QelModelNode& n)
{
    x.AddAndMoveToChildNode("Node");
    WriteText(x, "Name", n.m_strName);
    x.WriteInt("Parent", n.m_nParent);
    WriteFloats(x, "Matrix", std::vector<float>(n.m_matLocal.m_fM, n.m_matLocal.m_fM + 16));
    WriteArray(x, "Meshes", n.m_vMeshes);
    x.MoveToParent();
}

void ReadNode(QelXMLInterface& x, Reader& r, QelModelNode& n)
{
    n.m_strName = r.ReadText("Name");
    n.m_nParent = x.ReadInt("Parent", -1);
    r.ReadFloats("Matrix", n.m_matLocal.m_fM, 16);
    r.ReadArray("Meshes", n.m_vMeshes);
}

/// Calls fn for each child element named strName of the child strGroup, with the cursor on it.
template <typename Fn>
void ForEach(QelXMLInterface& x, Reader& r, const char* pGroup, const char* pName, Fn fn)
{
    if (!x.PushPosition() || !x.MoveToChildNode(pGroup))
    {
        x.PopPosition();
        return;
    }
    // Sibling by sibling: finding the i-th child walks the list from its start each time, which
    // costs the square of the count for models of many meshes.
    for (bool bOn = x.MoveToFirstChildNode(); bOn && !r.Failed(); bOn = x.MoveToNextSibling())
        if (x.GetNodeName() == pName)
            fn();
    x.PopPosition();
}
} // namespace

CZmfLoader::CZmfLoader()
{
    Register("zmf");
}

std::string CZmfLoader::GetLabel() const
{
    return "ZUB Model Files";
}

bool CZmfLoader::CanSave() const
{
    return true;
}

bool CZmfLoader::WriteDocument(QelMasterXMLInterface& xml, const QelModelData& data, const std::string& strFile)
{
    xml.NewData(kRoot, "ZUB Model File");
    xml.WriteIntAttribute("version", kVersion);
    xml.AddAndMoveToChildNode("Materials");
    for (const QelModelMaterial& m : data.m_vMaterials)
        WriteMaterial(xml, m, strFile);
    xml.MoveToParent();
    xml.AddAndMoveToChildNode("Meshes");
    for (const QelModelMesh& m : data.m_vMeshes)
        WriteMesh(xml, m);
    xml.MoveToParent();
    xml.AddAndMoveToChildNode("Nodes");
    for (const QelModelNode& n : data.m_vNodes)
        WriteNode(xml, n);
    xml.MoveToParent();
    const QelBox3& b = data.m_cBounds;
    WriteFloats(xml, "Bounds", {b.m_vecMin.x, b.m_vecMin.y, b.m_vecMin.z, b.m_vecMax.x, b.m_vecMax.y, b.m_vecMax.z});
    return xml.IsValid();
}

bool CZmfLoader::ReadDocument(QelXMLInterface& xml, QelModelData& data, const std::string& strFile)
{
    data.Clear();
    QelLoadLog log(kLoaderName, strFile);
    if (!xml.MoveToRootNode() || xml.GetNodeName() != kRoot)
    {
        log.Error("is not a ZUB model document");
        return false;
    }
    const int nVersion = xml.ReadIntAttribute("version", 0);
    if (nVersion < 1 || nVersion > kVersion)
    {
        log.Error(QelFormat("has version %d; this library reads versions 1 to %d", nVersion, kVersion));
        return false;
    }
    const std::string strAbsolute = QelPath::Absolute(strFile);
    Reader r(xml, log);
    ForEach(xml, r, "Materials", "Material", [&] {
        data.m_vMaterials.emplace_back();
        ReadMaterial(xml, r, data.m_vMaterials.back(), strAbsolute);
    });
    ForEach(xml, r, "Meshes", "Mesh", [&] {
        data.m_vMeshes.emplace_back();
        ReadMesh(xml, r, data.m_vMeshes.back());
    });
    ForEach(xml, r, "Nodes", "Node", [&] {
        data.m_vNodes.emplace_back();
        ReadNode(xml, r, data.m_vNodes.back());
    });
    float f[6];
    if (!r.Failed() && r.ReadFloats("Bounds", f, 6))
        data.m_cBounds = QelBox3(QelVec3(f[0], f[1], f[2]), QelVec3(f[3], f[4], f[5]));
    if (r.Failed())
    {
        data.Clear();
        return false;
    }
    if (size_t nRepaired = data.Validate())
        log.Note(QelFormat("had %zu bad references; they were dropped", nRepaired));
    return true;
}

bool CZmfLoader::Load(const std::string& strFile, QelModelData& data)
{
    data.Clear();
    if (QelPath::IsDirectory(strFile))
    {
        QelLoadLog(kLoaderName, strFile).Error("is a folder, not a file");
        return false;
    }
    QelMasterXMLInterface xml;
    if (!xml.LoadDataFromFile(strFile))
        return false;
    return ReadDocument(xml, data, strFile);
}

bool CZmfLoader::Save(const std::string& strFile, const QelModelData& data)
{
    QelMasterXMLInterface xml;
    if (!WriteDocument(xml, data, QelPath::Absolute(strFile)))
        return false;
    // The document's own file writer compresses at level 9, which costs more than the whole load of
    // a large model; the text is gzipped here at a faster level instead (the file stays a gzip file).
    unsigned int nSize = 0;
    std::unique_ptr<char[]> pBlock(xml.SaveDataToMemory(nSize, false));
    gzFile gz = pBlock ? gzopen(strFile.c_str(), ("wb" + std::to_string(kGzipLevel)).c_str()) : nullptr;
    bool bOk = gz != nullptr;
    for (size_t nDone = 1; bOk && nDone < nSize;)
    {
        unsigned nPart = unsigned(nSize - nDone < (1u << 30) ? nSize - nDone : (1u << 30));
        bOk = gzwrite(gz, pBlock.get() + nDone, nPart) == int(nPart);
        nDone += nPart;
    }
    if (gz && gzclose(gz) != Z_OK)
        bOk = false;
    if (!bOk)
        QelLoadLog(kLoaderName, strFile).Error("cannot be written");
    return bOk;
}

bool CZmfLoader::LoadFromMemory(const char* pData, size_t nSize, const std::string& strName, QelModelData& data)
{
    data.Clear();
    if (!pData)
        return false;
    QelMasterXMLInterface xml;
    if (!xml.LoadDataFromString(std::string(pData, nSize)))
        return false;
    return ReadDocument(xml, data, strName);
}
