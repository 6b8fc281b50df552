#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A DXF coordinate triple; kept in double until it is placed, as drawings far from the origin need.
struct QelDxfVec
{
    double x = 0.0, y = 0.0, z = 0.0;
};

/// An affine map in double precision: rows of a 3x4 matrix.
struct QelDxfMatrix
{
    double m[3][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}};

    QelDxfVec Apply(const QelDxfVec& v) const
    {
        return {m[0][0] * v.x + m[0][1] * v.y + m[0][2] * v.z + m[0][3],
                m[1][0] * v.x + m[1][1] * v.y + m[1][2] * v.z + m[1][3],
                m[2][0] * v.x + m[2][1] * v.y + m[2][2] * v.z + m[2][3]};
    }
    QelDxfMatrix operator*(const QelDxfMatrix& b) const
    {
        QelDxfMatrix r;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 4; ++j)
                r.m[i][j] = m[i][0] * b.m[0][j] + m[i][1] * b.m[1][j] + m[i][2] * b.m[2][j] + (j == 3 ? m[i][3] : 0.0);
        return r;
    }
    /// The object coordinate system of an extrusion direction (the arbitrary axis algorithm): its
    /// columns are the x, y and z axes in world coordinates.
    static QelDxfMatrix FromExtrusion(const QelDxfVec& vN);
    bool IsIdentity() const;
};

/// One drawing entity as read, before it is placed: what each type needs and nothing parsed twice.
struct QelDxfEntity
{
    enum EType
    {
        eFace3D = 0,
        eSolid,
        eLine,
        ePoint,
        eCircle,
        eArc,
        eLwPolyline,
        ePolyline,
        eInsert,
        eTypeCount
    };
    /// A face record of a polyface mesh: 1-based vertex numbers (negative for a hidden edge, 0 absent).
    struct SFace
    {
        int32_t n[4] = {0, 0, 0, 0};
        int nColor = 256;
        uint32_t nTrueColor = 0;
        unsigned nLine = 0;
    };

    /// True colors carry this bit so that black (0x000000) is told from none.
    static constexpr uint32_t kTrueColorGiven = 0x01000000u;

    EType eType = eFace3D;
    unsigned nLine = 0;
    int nLayer = 0;
    int nColor = 256;
    uint32_t nTrueColor = 0;
    int nFlags = 0;
    /// Which of p[0..3] the file gave (bit k for p[k]).
    unsigned nPointsGiven = 0;
    QelDxfVec p[4];
    QelDxfVec vecExtrusion{0.0, 0.0, 1.0};
    double fRadius = 0.0, fStart = 0.0, fEnd = 360.0, fRotation = 0.0, fElevation = 0.0;
    /// Of a vertex: the tangent of a quarter of the angle the arc to the next vertex turns (0 straight).
    double fBulge = 0.0;
    /// Of an insert: the distances between its columns and between its rows.
    double fSpacing[2] = {0.0, 0.0};
    QelDxfVec vecScale{1.0, 1.0, 1.0};
    /// Groups 71 to 74: the m and n sizes of a polygon mesh, the vertex numbers of a face record, the
    /// row count of an insert (its column count is group 70, nFlags).
    int32_t nIndices[4] = {0, 0, 0, 0};
    /// Texts of the first point's coordinates, when the reader was asked to keep them unread (a
    /// VERTEX record is a position or a face only known at its end, and faces have no use for them).
    struct SText
    {
        const char* p = nullptr;
        size_t n = 0;
        unsigned nLine = 0;
    };
    SText aFirstPoint[3];
    /// Of an insert.
    std::string strBlock;
    /// Of polylines (vertices with their flags) and polyfaces.
    std::vector<QelDxfVec> vVertices;
    std::vector<int> vVertexFlags;
    /// Bulges of the vertices; shorter than vVertices when the last ones are straight.
    std::vector<double> vBulges;
    std::vector<SFace> vFaces;

    /// Back to the defaults of the type, keeping the lists' memory.
    void Reset(EType eNew, unsigned nNewLine);
};
