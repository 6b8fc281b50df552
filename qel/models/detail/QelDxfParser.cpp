#include "qel/models/detail/QelDxfParser.h"

#include "qel/models/QelModelData.h"
#include "qel/models/detail/QelLoadLog.h"
#include "qel/util/QelPath.h"

#include <cstring>

namespace
{
const char kBinarySentinel[] = "AutoCAD Binary DXF";
/// The shortest VERTEX record: its type group and one coordinate group.
const size_t kMinVertexRecord = 16;

struct STypeName
{
    const char* pName;
    QelDxfEntity::EType eType;
};
const STypeName kTypes[] = {{"3DFACE", QelDxfEntity::eFace3D},         {"SOLID", QelDxfEntity::eSolid},
                            {"LINE", QelDxfEntity::eLine},             {"POINT", QelDxfEntity::ePoint},
                            {"CIRCLE", QelDxfEntity::eCircle},         {"ARC", QelDxfEntity::eArc},
                            {"LWPOLYLINE", QelDxfEntity::eLwPolyline}, {"POLYLINE", QelDxfEntity::ePolyline},
                            {"INSERT", QelDxfEntity::eInsert},         {"MINSERT", QelDxfEntity::eInsert}};
// One name per entity type, and MINSERT: an insert repeated in rows and columns, which any insert may be.
static_assert(sizeof(kTypes) / sizeof(kTypes[0]) == QelDxfEntity::eTypeCount + 1, "one name per entity type");
} // namespace

QelDxfParser::QelDxfParser(QelModelData& data, QelLoadLog& log, size_t nInsertLimit)
    : m_data(data), m_log(log), m_cBuilder(data, log, nInsertLimit)
{
}

double QelDxfParser::UnitScale(int64_t nCode)
{
    static const double kScales[] = {1.0,     0.0254,  0.3048, 1609.344, 0.001,   0.01,   1.0,
                                     1000.0,  2.54e-8, 2.54e-5, 0.9144,  1e-10,   1e-9,   1e-6,
                                     0.1,     10.0,    100.0,  1e9,      1.495978707e11, 9.4607304725808e15,
                                     3.0856775814913673e16, 1200.0 / 3937.0};
    const int64_t nCount = int64_t(sizeof(kScales) / sizeof(kScales[0]));
    return nCode >= 0 && nCode < nCount ? kScales[nCode] : 1.0;
}

bool QelDxfParser::EndOfGroups(QelDxfReader::EResult eResult)
{
    switch (eResult)
    {
    case QelDxfReader::eGroup:
        return true;
    case QelDxfReader::eEnd:
        m_log.Warn(m_cReader.Line(), "the file ends before EOF; what was read is kept");
        break;
    case QelDxfReader::eTruncated:
        m_log.Warn(m_cReader.Line(), "the file ends after a group code; what was read is kept");
        break;
    case QelDxfReader::eBadCode:
        m_log.ErrorAt(m_cReader.Line(), "group code expected, found [" + m_cReader.BadCodeText() + "]");
        m_bBroken = true;
        break;
    }
    m_bAtEnd = true;
    return false;
}

bool QelDxfParser::IsZero(const char* pText) const
{
    return m_cReader.Code() == 0 && m_cReader.ValueIs(pText, std::strlen(pText));
}

double QelDxfParser::Number()
{
    return NumberOf({m_cReader.Value(), m_cReader.ValueSize(), m_cReader.Line()});
}

double QelDxfParser::NumberOf(const QelDxfEntity::SText& t)
{
    double f = 0.0;
    if (!QelDxfReader::ParseDouble(t.p, t.p + t.n, f))
    {
        m_log.Warn(t.nLine, "[" + std::string(t.p, t.n < 40 ? t.n : 40) + "] is not a finite number; 0 is used");
        return 0.0;
    }
    return f;
}

int64_t QelDxfParser::NotInteger()
{
    m_log.Warn(m_cReader.Line(), "[" + m_cReader.ValueString().substr(0, 40) + "] is not an integer; 0 is used");
    return 0;
}

bool QelDxfParser::Parse(const char* pData, size_t nSize)
{
    if (nSize >= sizeof(kBinarySentinel) - 1 && std::memcmp(pData, kBinarySentinel, sizeof(kBinarySentinel) - 1) == 0)
    {
        m_log.Error("is a binary DXF file; save it as ASCII DXF to read it");
        return false;
    }
    if (nSize >= 3 && std::memcmp(pData, "\xEF\xBB\xBF", 3) == 0)
    {
        pData += 3;
        nSize -= 3;
    }
    m_cReader = QelDxfReader(pData, nSize);
    bool bEof = false;
    if (Next())
        while (!m_bAtEnd)
        {
            if (IsZero("EOF"))
            {
                bEof = true;
                break;
            }
            if (!IsZero("SECTION"))
            {
                Next();
                continue;
            }
            if (!Next())
                break;
            if (m_cReader.Code() != 2)
                continue; // a section without a name: its groups are read as they come
            std::string strSection = m_cReader.ValueString();
            Next();
            if (strSection == "HEADER")
                ParseHeader();
            else if (strSection == "TABLES")
                ParseTables();
            else if (strSection == "BLOCKS")
                ParseBlocks();
            else if (strSection == "ENTITIES")
                ParseEntities(nullptr);
            else
                SkipSection();
        }
    (void)bEof;
    if (m_bBroken)
    {
        m_data.Clear();
        return false;
    }
    if (m_cBuilder.Finish(m_fUnitScale, QelPath::FileName(m_log.File())) == 0 || m_data.m_vMeshes.empty())
    {
        m_data.Clear();
        m_log.Error("draws no faces, lines or points");
        return false;
    }
    return true;
}

void QelDxfParser::SkipSection()
{
    while (!m_bAtEnd && !IsZero("ENDSEC") && !IsZero("EOF"))
        Next();
}

void QelDxfParser::ParseHeader()
{
    while (!m_bAtEnd && !IsZero("ENDSEC") && !IsZero("EOF"))
    {
        if (m_cReader.Code() == 9 && m_cReader.ValueIs("$INSUNITS", 9))
        {
            if (!Next())
                return;
            if (m_cReader.Code() != 70)
                continue;
            const int64_t n = Integer();
            m_fUnitScale = UnitScale(n);
            if (n < 0 || (m_fUnitScale == 1.0 && n != 0 && n != 6))
                m_log.Warn(m_cReader.Line(), "unknown unit " + std::to_string(n) + "; the drawing is read unscaled");
        }
        Next();
    }
}

void QelDxfParser::ParseTables()
{
    while (!m_bAtEnd && !IsZero("ENDSEC") && !IsZero("EOF"))
    {
        if (IsZero("LAYER"))
            ParseLayer();
        else
            Next();
    }
}

void QelDxfParser::ParseLayer()
{
    std::string strName;
    int nColor = 7;
    uint32_t nTrue = 0;
    while (Next() && m_cReader.Code() != 0)
    {
        switch (m_cReader.Code())
        {
        case 2:
            strName = m_cReader.ValueString();
            break;
        case 62:
            nColor = int(Integer());
            break;
        case 420:
            nTrue = (uint32_t(Integer()) & 0xFFFFFFu) | QelDxfEntity::kTrueColorGiven;
            break;
        default:
            break;
        }
    }
    if (strName.empty())
        return;
    QelDxfBuilder::SLayer& l = m_cBuilder.LayerAt(m_cBuilder.Layer(strName.data(), strName.size()));
    l.nColor = nColor;
    l.nTrueColor = nTrue;
}

void QelDxfParser::ParseBlocks()
{
    while (!m_bAtEnd && !IsZero("ENDSEC") && !IsZero("EOF"))
    {
        if (!IsZero("BLOCK"))
        {
            Next();
            continue;
        }
        const unsigned nLine = m_cReader.Line();
        std::string strName;
        QelDxfVec vecBase;
        while (Next() && m_cReader.Code() != 0)
        {
            switch (m_cReader.Code())
            {
            case 2:
                strName = m_cReader.ValueString();
                break;
            case 10:
                vecBase.x = Number();
                break;
            case 20:
                vecBase.y = Number();
                break;
            case 30:
                vecBase.z = Number();
                break;
            default:
                break;
            }
        }
        QelDxfBuilder::SBlock* pBlock = m_cBuilder.AddBlock(strName, nLine);
        pBlock->vecBase = vecBase;
        ParseEntities(pBlock);
        if (IsZero("ENDBLK"))
            Next();
    }
}

void QelDxfParser::ParseEntities(QelDxfBuilder::SBlock* pBlock)
{
    while (!m_bAtEnd && !IsZero("ENDSEC") && !IsZero("EOF") && !(pBlock && IsZero("ENDBLK")))
    {
        if (m_cReader.Code() != 0)
        {
            Next();
            continue;
        }
        const STypeName* pType = nullptr;
        for (const STypeName& t : kTypes)
            if (m_cReader.ValueSize() > 0 && t.pName[0] == *m_cReader.Value() && m_cReader.ValueIs(t.pName, std::strlen(t.pName)))
            {
                pType = &t;
                break;
            }
        if (!pType)
        {
            // Entities of other types (text, hatches, dimensions) are read past.
            while (Next() && m_cReader.Code() != 0)
            {
            }
            continue;
        }
        m_cEntity.Reset(pType->eType, m_cReader.Line());
        if (pType->eType == QelDxfEntity::ePolyline)
            ReadPolyline(m_cEntity);
        else
            ReadEntity(m_cEntity);
        if (pBlock)
            pBlock->vEntities.push_back(m_cEntity);
        else
            m_cBuilder.Place(m_cEntity);
    }
}

void QelDxfParser::ReadPolyline(QelDxfEntity& e)
{
    ReadEntity(e);
    if (e.nFlags & 64)
    {
        // A polyface states its vertex and face counts; room is made for them at once, as far as
        // the rest of the text could hold such records.
        const size_t nMost = m_cReader.Remaining() / kMinVertexRecord;
        auto most = [nMost](int32_t n) { return n > 0 && size_t(n) < nMost ? size_t(n) : nMost; };
        e.vVertices.reserve(most(e.nIndices[0]));
        e.vVertexFlags.reserve(most(e.nIndices[0]));
        e.vFaces.reserve(most(e.nIndices[1]));
    }
    while (!m_bAtEnd && IsZero("VERTEX"))
    {
        m_cVertex.Reset(QelDxfEntity::ePoint, m_cReader.Line());
        ReadEntity(m_cVertex, true);
        // Face records of a polyface carry flag 128 without 64; every other vertex is a position.
        if ((m_cVertex.nFlags & 128) && !(m_cVertex.nFlags & 64) && (e.nFlags & 64))
        {
            QelDxfEntity::SFace f;
            for (int k = 0; k < 4; ++k)
                f.n[k] = m_cVertex.nIndices[k];
            f.nColor = m_cVertex.nColor;
            f.nTrueColor = m_cVertex.nTrueColor;
            f.nLine = m_cVertex.nLine;
            e.vFaces.push_back(f);
        }
        else
        {
            double* pAxes[3] = {&m_cVertex.p[0].x, &m_cVertex.p[0].y, &m_cVertex.p[0].z};
            for (int k = 0; k < 3; ++k)
                if (m_cVertex.aFirstPoint[k].p)
                    *pAxes[k] = NumberOf(m_cVertex.aFirstPoint[k]);
            e.vVertices.push_back(m_cVertex.p[0]);
            e.vVertexFlags.push_back(m_cVertex.nFlags);
            if (m_cVertex.fBulge != 0.0)
            {
                e.vBulges.resize(e.vVertices.size(), 0.0);
                e.vBulges.back() = m_cVertex.fBulge;
            }
        }
    }
    if (IsZero("SEQEND"))
        while (Next() && m_cReader.Code() != 0)
        {
        }
}

void QelDxfParser::ReadEntity(QelDxfEntity& e, bool bKeepFirstPoint)
{
    const bool bLw = e.eType == QelDxfEntity::eLwPolyline;
    while (Next())
    {
        const int nCode = m_cReader.Code();
        if (nCode == 0)
            return;
        if (nCode >= 10 && nCode <= 33)
        {
            const int nAxis = nCode / 10 - 1, nPoint = nCode % 10;
            if (nPoint > 3)
                continue;
            if (bLw && nPoint == 0)
            {
                // Each 10 starts the next vertex of a light polyline.
                if (nAxis == 0)
                    e.vVertices.emplace_back();
                if (e.vVertices.empty())
                    continue;
                (nAxis == 0 ? e.vVertices.back().x : nAxis == 1 ? e.vVertices.back().y : e.vVertices.back().z) = Number();
                continue;
            }
            if (bKeepFirstPoint && nPoint == 0)
            {
                e.aFirstPoint[nAxis] = {m_cReader.Value(), m_cReader.ValueSize(), m_cReader.Line()};
                e.nPointsGiven |= 1u;
                continue;
            }
            QelDxfVec& v = e.p[nPoint];
            (nAxis == 0 ? v.x : nAxis == 1 ? v.y : v.z) = Number();
            e.nPointsGiven |= 1u << nPoint;
            continue;
        }
        switch (nCode)
        {
        case 8:
            if (m_cReader.ValueSize() != m_strLastLayer.size() ||
                std::memcmp(m_cReader.Value(), m_strLastLayer.data(), m_strLastLayer.size()) != 0)
            {
                m_strLastLayer = m_cReader.ValueString();
                m_nLastLayer = m_cBuilder.Layer(m_strLastLayer.data(), m_strLastLayer.size());
            }
            e.nLayer = m_nLastLayer;
            break;
        case 62:
        {
            const int64_t n = Integer();
            e.nColor = n < -32768 || n > 32767 ? 256 : int(n);
            break;
        }
        case 420:
            e.nTrueColor = (uint32_t(Integer()) & 0xFFFFFFu) | QelDxfEntity::kTrueColorGiven;
            break;
        case 70:
            e.nFlags = int(Integer() & 0xFFFF);
            break;
        case 71:
        case 72:
        case 73:
        case 74:
        {
            const int64_t n = Integer();
            e.nIndices[nCode - 71] = n < -(int64_t(1) << 30) || n > (int64_t(1) << 30) ? int32_t(1) << 30 : int32_t(n);
            break;
        }
        case 210:
            e.vecExtrusion.x = Number();
            break;
        case 220:
            e.vecExtrusion.y = Number();
            break;
        case 230:
            e.vecExtrusion.z = Number();
            break;
        case 38:
            e.fElevation = Number();
            break;
        case 40:
            e.fRadius = Number();
            break;
        case 41:
            e.vecScale.x = Number();
            break;
        case 42:
            // The y scale of an insert; elsewhere the bulge of a vertex (of the last one read, in a
            // light polyline).
            if (e.eType == QelDxfEntity::eInsert)
                e.vecScale.y = Number();
            else if (!bLw)
                e.fBulge = Number();
            else if (!e.vVertices.empty())
            {
                e.vBulges.resize(e.vVertices.size(), 0.0);
                e.vBulges.back() = Number();
            }
            break;
        case 44:
            e.fSpacing[0] = Number();
            break;
        case 45:
            e.fSpacing[1] = Number();
            break;
        case 43:
            e.vecScale.z = Number();
            break;
        case 50:
            (e.eType == QelDxfEntity::eInsert ? e.fRotation : e.fStart) = Number();
            break;
        case 51:
            e.fEnd = Number();
            break;
        case 2:
            if (e.eType == QelDxfEntity::eInsert)
                e.strBlock = m_cReader.ValueString();
            break;
        default:
            break;
        }
    }
}
