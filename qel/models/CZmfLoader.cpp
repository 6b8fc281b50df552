#include "qel/models/CZmfLoader.h"

#include "qel/models/QelModelData.h"
#include "qel/models/detail/QelLoadLog.h"
#include "qel/models/detail/QelZmfDocument.h"
#include "qel/platform/QelMappedFile.h"
#include "qel/xml/detail/QelBase64.h"
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
/// Stored without compression: base64 of floats and indices shrinks to about 40% at the fastest
/// level, but deflating costs more than loading the OBJ the model came from, and inflating more than
/// the rest of the read. The file stays a gzip file that any gzip tool opens.
const int kGzipLevel = 0;
/// Bytes of array data encoded at a time while a file is written (a multiple of three).
const size_t kEncodeStep = size_t(3) << 16;

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

/// The chunks a file writer fills in itself, in document order; null when the document holds them.
using Deferred = std::vector<std::pair<const unsigned char*, size_t>>;

/// Writes nBytes as one element holding its size and chunks of data. With pDeferred the chunks are
/// left empty and listed, for the writer to encode straight into the file.
void WriteBytes(QelXMLInterface& x, const std::string& strName, const void* pData, size_t nBytes, size_t nCount,
                Deferred* pDeferred)
{
    x.AddAndMoveToChildNode(strName);
    x.WriteStringAttribute("count", QelFormat("%zu", nCount));
    const unsigned char* p = static_cast<const unsigned char*>(pData);
    for (size_t nDone = 0, i = 0; nDone < nBytes; nDone += kChunk, ++i)
    {
        const size_t nPart = nBytes - nDone < kChunk ? nBytes - nDone : kChunk;
        if (pDeferred)
        {
            x.AddChildNode(ChunkName(i));
            pDeferred->emplace_back(p + nDone, nPart);
        }
        else
            x.WriteData(ChunkName(i), reinterpret_cast<const char*>(p + nDone), unsigned(nPart));
    }
    x.MoveToParent();
}

template <typename T>
void WriteArray(QelXMLInterface& x, const std::string& strName, const std::vector<T>& v, Deferred* pDeferred)
{
    static_assert(std::is_trivially_copyable<T>::value, "stored as raw bytes");
    if (!v.empty())
        WriteBytes(x, strName, v.data(), v.size() * sizeof(T), v.size(), pDeferred);
}

void WriteFloats(QelXMLInterface& x, const std::string& strName, const std::vector<float>& v)
{
    x.WriteData(strName, reinterpret_cast<const char*>(v.data()), unsigned(v.size() * sizeof(float)));
}

/// Reads a document while remembering what went wrong first.
class Reader
{
public:
    /// pDocument, when given, is x itself as the file parser read it, with the arrays' chunks decoded.
    Reader(QelXMLInterface& x, QelLoadLog& log, const QelZmfDocument* pDocument)
        : m_x(x), m_log(log), m_pDocument(pDocument)
    {
    }

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
        // Every chunk is checked before the array is made, so a count that claims more than the
        // document holds costs no more memory than the document.
        const size_t nBytes = size_t(nCount) * sizeof(T);
        std::vector<std::pair<const unsigned char*, size_t>> vParts;
        std::vector<std::vector<unsigned char>> vDecoded;
        size_t nHave = 0;
        for (unsigned i = 0; i < nChunks && nHave < nBytes; ++i)
        {
            const size_t nWant = std::min(nBytes - nHave, kChunk);
            const unsigned char* p = nullptr;
            size_t n = 0, nDamage = 0;
            if (!Chunk(ChunkName(i), vDecoded, p, n, nDamage))
                break;
            if (nDamage)
            {
                Fail(QelFormat("[%s] is damaged: %zu of its characters are not base64", strName.c_str(),
                               nDamage));
                m_x.PopPosition();
                return;
            }
            if (n < nWant)
                break;
            vParts.emplace_back(p, nWant);
            nHave += nWant;
        }
        if (nHave != nBytes)
            Fail(QelFormat("[%s] holds fewer bytes than its count says", strName.c_str()));
        else
        {
            vOut.resize(size_t(nCount));
            unsigned char* pOut = reinterpret_cast<unsigned char*>(vOut.data());
            for (const auto& part : vParts)
            {
                std::memcpy(pOut, part.first, part.second);
                pOut += part.second;
            }
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
    /// The decoded bytes of the chunk element strName, from the parser or decoded here (into a new
    /// entry of vStore); false when there is no such element.
    bool Chunk(const std::string& strName, std::vector<std::vector<unsigned char>>& vStore, const unsigned char*& p,
               size_t& n, size_t& nDamage)
    {
        if (!m_x.PushPosition() || !m_x.MoveToChildNode(strName))
        {
            m_x.PopPosition();
            return false;
        }
        if (const QelZmfDocument::SChunk* pChunk = m_pDocument ? m_pDocument->CurrentChunk() : nullptr)
        {
            p = pChunk->pBytes.get();
            n = pChunk->nSize;
            nDamage = pChunk->nDamage;
        }
        else
        {
            const std::string strText = m_x.GetNodeContent();
            vStore.emplace_back(QelBase64::Decoder::MaxBytes(strText.size()));
            QelBase64::Decoder decoder;
            n = decoder.Feed(strText.data(), strText.size(), vStore.back().data());
            n += decoder.Finish(vStore.back().data() + n);
            p = vStore.back().data();
            nDamage = decoder.Damage();
        }
        m_x.PopPosition();
        return true;
    }

    std::string Content(const std::string& strName)
    {
        m_x.PushPosition();
        std::string s = m_x.MoveToChildNode(strName) ? m_x.GetNodeContent() : "";
        m_x.PopPosition();
        return s;
    }

    QelXMLInterface& m_x;
    QelLoadLog& m_log;
    const QelZmfDocument* m_pDocument;
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

void WriteMesh(QelXMLInterface& x, const QelModelMesh& m, Deferred* d)
{
    x.AddAndMoveToChildNode("Mesh");
    WriteText(x, "Name", m.m_strName);
    x.WriteInt("Material", m.m_nMaterial);
    WriteArray(x, "Positions", m.m_vPositions, d);
    WriteArray(x, "Normals", m.m_vNormals, d);
    for (const std::vector<QelVec2>& vLayer : m.m_vTexCoords)
    {
        x.AddAndMoveToChildNode("TexCoordLayer");
        WriteArray(x, "TexCoords", vLayer, d);
        x.MoveToParent();
    }
    WriteArray(x, "Colors", m.m_vColors, d);
    WriteArray(x, "Triangles", m.m_vTriangles, d);
    WriteArray(x, "Lines", m.m_vLines, d);
    WriteArray(x, "Points", m.m_vPoints, d);
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

void WriteNode(QelXMLInterface& x, const QelModelNode& n, Deferred* d)
{
    x.AddAndMoveToChildNode("Node");
    WriteText(x, "Name", n.m_strName);
    x.WriteInt("Parent", n.m_nParent);
    WriteFloats(x, "Matrix", std::vector<float>(n.m_matLocal.m_fM, n.m_matLocal.m_fM + 16));
    WriteArray(x, "Meshes", n.m_vMeshes, d);
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

bool WriteModel(QelMasterXMLInterface& xml, const QelModelData& data, const std::string& strFile, Deferred* d)
{
    xml.NewData(kRoot, "ZUB Model File");
    xml.WriteIntAttribute("version", CZmfLoader::kVersion);
    xml.AddAndMoveToChildNode("Materials");
    for (const QelModelMaterial& m : data.m_vMaterials)
        WriteMaterial(xml, m, strFile);
    xml.MoveToParent();
    xml.AddAndMoveToChildNode("Meshes");
    for (const QelModelMesh& m : data.m_vMeshes)
        WriteMesh(xml, m, d);
    xml.MoveToParent();
    xml.AddAndMoveToChildNode("Nodes");
    for (const QelModelNode& n : data.m_vNodes)
        WriteNode(xml, n, d);
    xml.MoveToParent();
    const QelBox3& b = data.m_cBounds;
    WriteFloats(xml, "Bounds", {b.m_vecMin.x, b.m_vecMin.y, b.m_vecMin.z, b.m_vecMax.x, b.m_vecMax.y, b.m_vecMax.z});
    return xml.IsValid();
}

/// Reads a model from the document xml stands in; pDocument is xml itself when the file parser read it.
bool ReadModel(QelXMLInterface& xml, const QelZmfDocument* pDocument, QelModelData& data, const std::string& strFile)
{
    data.Clear();
    QelLoadLog log(kLoaderName, strFile);
    if (!xml.MoveToRootNode() || xml.GetNodeName() != kRoot)
    {
        log.Error("is not a ZUB model document");
        return false;
    }
    const int nVersion = xml.ReadIntAttribute("version", 0);
    if (nVersion < 1 || nVersion > CZmfLoader::kVersion)
    {
        log.Error(QelFormat("has version %d; this library reads versions 1 to %d", nVersion, CZmfLoader::kVersion));
        return false;
    }
    const std::string strAbsolute = QelPath::Absolute(strFile);
    Reader r(xml, log, pDocument);
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
    return WriteModel(xml, data, strFile, nullptr);
}

bool CZmfLoader::ReadDocument(QelXMLInterface& xml, QelModelData& data, const std::string& strFile)
{
    return ReadModel(xml, nullptr, data, strFile);
}

bool CZmfLoader::Load(const std::string& strFile, QelModelData& data)
{
    data.Clear();
    QelLoadLog log(kLoaderName, strFile);
    QelMappedFile file;
    if (!log.Open(file))
        return false;
    QelZmfDocument doc;
    if (!doc.Parse(file.Data(), file.Size(), log))
        return false;
    file.Close();
    return ReadModel(doc, &doc, data, strFile);
}

bool CZmfLoader::Save(const std::string& strFile, const QelModelData& data)
{
    QelMasterXMLInterface xml;
    Deferred vDeferred;
    if (!WriteModel(xml, data, QelPath::Absolute(strFile), &vDeferred))
        return false;
    // The document holds everything but the arrays' data, whose chunks are empty elements; the
    // text is written with each of them filled in, encoded straight from the model.
    unsigned int nSize = 0;
    std::unique_ptr<char[]> pBlock(xml.SaveDataToMemory(nSize, false));
    gzFile gz = pBlock ? gzopen(strFile.c_str(), ("wb" + std::to_string(kGzipLevel)).c_str()) : nullptr;
    bool bOk = gz != nullptr && gzbuffer(gz, 1u << 20) == 0;
    auto put = [&](const char* p, size_t n) {
        for (size_t nDone = 0; bOk && nDone < n;)
        {
            const unsigned nPart = unsigned(n - nDone < (1u << 30) ? n - nDone : (1u << 30));
            bOk = gzwrite(gz, p + nDone, nPart) == int(nPart);
            nDone += nPart;
        }
    };
    std::vector<char> vEncoded(QelBase64::EncodedLength(kEncodeStep));
    const char* pText = pBlock ? pBlock.get() + 1 : nullptr;
    const char* const pEnd = pBlock ? pBlock.get() + nSize : nullptr;
    for (const auto& chunk : vDeferred)
    {
        // Chunks are the only elements written empty, named D and a number; text and attribute
        // values cannot hold a '<', so the next such tag in the text is this chunk's.
        const char* pTag = pText;
        const char* pClose = nullptr;
        for (; bOk && (pTag = static_cast<const char*>(std::memchr(pTag, '<', size_t(pEnd - pTag)))) != nullptr; ++pTag)
        {
            const char* q = pTag + 1;
            if (q < pEnd && *q == 'D')
                for (++q; q < pEnd && unsigned(*q - '0') <= 9; ++q)
                {
                }
            if (q > pTag + 2 && pEnd - q >= 2 && q[0] == '/' && q[1] == '>')
            {
                pClose = q;
                break;
            }
        }
        if (!pClose)
        {
            bOk = false;
            break;
        }
        put(pText, size_t(pClose - pText));
        put(">", 1);
        for (size_t nDone = 0; bOk && nDone < chunk.second; nDone += kEncodeStep)
        {
            const size_t nPart = std::min(kEncodeStep, chunk.second - nDone);
            put(vEncoded.data(), QelBase64::Encode(chunk.first + nDone, nPart, vEncoded.data()));
        }
        put("</", 2);
        put(pTag + 1, size_t(pClose - pTag - 1));
        put(">", 1);
        pText = pClose + 2;
    }
    if (bOk && pText)
        put(pText, size_t(pEnd - pText));
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
    QelLoadLog log(kLoaderName, strName);
    QelZmfDocument doc;
    if (!doc.Parse(pData, nSize, log))
        return false;
    return ReadModel(doc, &doc, data, strName);
}
