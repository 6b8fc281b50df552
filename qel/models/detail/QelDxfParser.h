#pragma once

#include "qel/models/detail/QelDxfBuilder.h"
#include "qel/models/detail/QelDxfEntity.h"
#include "qel/models/detail/QelDxfReader.h"

#include <string>

class QelModelData;
class QelLoadLog;

/// Reads the sections of an ASCII DXF file: the unit from the header, layer colors from the tables,
/// blocks, and the entities, which it hands to the builder as each one ends.
class QelDxfParser
{
public:
    QelDxfParser(QelModelData& data, QelLoadLog& log, size_t nInsertLimit);

    /// False, with an error, when the text is not ASCII DXF or draws nothing.
    bool Parse(const char* pData, size_t nSize);

    /// Meters per drawing unit of a $INSUNITS code; 1 for unitless and unknown codes.
    static double UnitScale(int64_t nCode);

private:
    /// Reads the next group; false at the end of the text or on a broken group (reported).
    bool Next()
    {
        if (m_bAtEnd)
            return false;
        const QelDxfReader::EResult eResult = m_cReader.Next();
        return eResult == QelDxfReader::eGroup || EndOfGroups(eResult);
    }
    /// Reports why the groups ended and marks the end; false.
    bool EndOfGroups(QelDxfReader::EResult eResult);
    void SkipSection();
    void ParseHeader();
    void ParseTables();
    void ParseLayer();
    void ParseBlocks();
    void ParseEntities(QelDxfBuilder::SBlock* pBlock);
    /// Reads the groups of the entity whose "0" group is current, up to the next "0" group; with
    /// bKeepFirstPoint the first point's coordinates are kept as text in aFirstPoint.
    void ReadEntity(QelDxfEntity& e, bool bKeepFirstPoint = false);
    /// Reads an entity and the VERTEX records that follow a POLYLINE, up to SEQEND.
    void ReadPolyline(QelDxfEntity& e);
    double Number();
    /// A coordinate's text read later; warnings name the line it was on.
    double NumberOf(const QelDxfEntity::SText& t);
    int64_t Integer()
    {
        int64_t n = 0;
        return m_cReader.Int(n) ? n : NotInteger();
    }
    /// Warns that the value is no integer; 0.
    int64_t NotInteger();
    bool IsZero(const char* pText) const;

    QelModelData& m_data;
    QelLoadLog& m_log;
    QelDxfReader m_cReader{nullptr, 0};
    QelDxfBuilder m_cBuilder;
    bool m_bAtEnd = false;
    bool m_bBroken = false;
    double m_fUnitScale = 1.0;
    QelDxfEntity m_cEntity;
    QelDxfEntity m_cVertex;
    std::string m_strLastLayer;
    int m_nLastLayer = 0;
};
