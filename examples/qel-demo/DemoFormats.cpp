#include "QelDemo.h"

#include "qel/models/QelModel.h"
#include "qel/models/QelModelFormat.h"
#include "qel/platform/QelOffscreenContext.h"

#include <GL/glew.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
#include <utility>

namespace
{
const int kWidth = 512, kHeight = 160;
const int kFormats = 4;

/// Integers of nBytes bytes, least significant first; both binary formats here mostly count that way.
std::string LittleEndian(uint32_t n, int nBytes)
{
    std::string s;
    for (int i = 0; i < nBytes; ++i)
        s += char(n >> (8 * i) & 0xFF);
    return s;
}

/// The shapefile's record framing counts the other way round.
std::string BigEndian(uint32_t n)
{
    return std::string{char(n >> 24), char(n >> 16 & 0xFF), char(n >> 8 & 0xFF), char(n & 0xFF)};
}

template <typename T> std::string Raw(T f)
{
    std::string s(sizeof(T), '\0');
    std::memcpy(&s[0], &f, sizeof(T));
    return s; // the demo's hosts are little-endian, like both formats
}

// --- 3D Studio: a copper pyramid --------------------------------------------------------------

std::string Chunk3ds(uint16_t nId, const std::string& strBody)
{
    return LittleEndian(nId, 2) + LittleEndian(uint32_t(strBody.size() + 6), 4) + strBody;
}

std::string Pyramid3ds()
{
    const float aPoints[5][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0.5f, 0.5f, 0.8f}};
    const uint16_t aFaces[6][3] = {{0, 2, 1}, {0, 3, 2}, {0, 1, 4}, {1, 2, 4}, {2, 3, 4}, {3, 0, 4}};
    std::string strPoints = LittleEndian(5, 2), strFaces = LittleEndian(6, 2), strGroup = "Copper" + std::string(1, '\0');
    for (const auto& p : aPoints)
        strPoints += Raw(p[0]) + Raw(p[1]) + Raw(p[2]);
    strGroup += LittleEndian(6, 2);
    for (uint16_t i = 0; i < 6; ++i)
    {
        strFaces += LittleEndian(aFaces[i][0], 2) + LittleEndian(aFaces[i][1], 2) + LittleEndian(aFaces[i][2], 2) +
                    LittleEndian(7, 2); // all three edges visible
        strGroup += LittleEndian(i, 2);
    }
    const std::string strMaterial =
        Chunk3ds(0xAFFF, Chunk3ds(0xA000, "Copper" + std::string(1, '\0')) +
                             Chunk3ds(0xA020, Chunk3ds(0x0011, std::string{char(200), char(110), char(50)})));
    const std::string strObject =
        Chunk3ds(0x4000, "Pyramid" + std::string(1, '\0') +
                             Chunk3ds(0x4100, Chunk3ds(0x4110, strPoints) +
                                                  Chunk3ds(0x4120, strFaces + Chunk3ds(0x4130, strGroup))));
    return Chunk3ds(0x4D4D, Chunk3ds(0x0002, LittleEndian(3, 4)) + Chunk3ds(0x3D3D, strMaterial + strObject));
}

// --- DXF: a floor and two walls on two layers ---------------------------------------------------

std::string FaceDxf(const char* pLayer, const float aCorners[4][3])
{
    std::string s = "0\n3DFACE\n8\n" + std::string(pLayer) + "\n";
    for (int k = 0; k < 4; ++k)
    {
        char a[96];
        std::snprintf(a, sizeof(a), "1%d\n%g\n2%d\n%g\n3%d\n%g\n", k, aCorners[k][0], k, aCorners[k][1], k,
                      aCorners[k][2]);
        s += a;
    }
    return s;
}

const float kFloor[4][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
const float kBackWall[4][3] = {{0, 1, 0}, {1, 1, 0}, {1, 1, 0.6f}, {0, 1, 0.6f}};
const float kSideWall[4][3] = {{0, 0, 0}, {0, 1, 0}, {0, 1, 0.6f}, {0, 0, 0.6f}};

std::string RoomDxf()
{
    // Layer colors by index: 8 gray, 5 blue; the faces take their layer's.
    return "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nLAYER\n0\nLAYER\n2\nFloor\n70\n0\n62\n8\n"
           "0\nLAYER\n2\nWalls\n70\n0\n62\n5\n0\nENDTAB\n0\nENDSEC\n"
           "0\nSECTION\n2\nENTITIES\n" +
           FaceDxf("Floor", kFloor) + FaceDxf("Walls", kBackWall) + FaceDxf("Walls", kSideWall) + "0\nENDSEC\n0\nEOF\n";
}

// --- COLLADA: a green tetrahedron ----------------------------------------------------------------

const char* const kTetrahedronDae = R"(<?xml version="1.0" encoding="utf-8"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset><unit meter="1"/><up_axis>Z_UP</up_axis></asset>
<library_effects><effect id="green-fx"><profile_COMMON><technique sid="t"><lambert>
 <diffuse><color>0.3 0.75 0.35 1</color></diffuse></lambert></technique></profile_COMMON></effect></library_effects>
<library_materials><material id="green" name="Green"><instance_effect url="#green-fx"/></material></library_materials>
<library_geometries><geometry id="tetra" name="Tetrahedron"><mesh>
 <source id="pos"><float_array id="pos-a" count="12">0 0 0 1 0 0 0.5 0.9 0 0.5 0.3 0.8</float_array>
  <technique_common><accessor source="#pos-a" count="4" stride="3"><param name="X" type="float"/>
   <param name="Y" type="float"/><param name="Z" type="float"/></accessor></technique_common></source>
 <vertices id="v"><input semantic="POSITION" source="#pos"/></vertices>
 <triangles count="4" material="m"><input semantic="VERTEX" source="#v" offset="0"/><p>0 2 1 0 1 3 1 2 3 2 0 3</p></triangles>
</mesh></geometry></library_geometries>
<library_visual_scenes><visual_scene id="s"><node id="n" name="Tetrahedron"><instance_geometry url="#tetra">
 <bind_material><technique_common><instance_material symbol="m" target="#green"/></technique_common></bind_material>
</instance_geometry></node></visual_scene></library_visual_scenes>
<scene><instance_visual_scene url="#s"/></scene>
</COLLADA>
)";

// --- Shapefile: an L-shaped plot, with its index -----------------------------------------------

const double kPlot[][2] = {{0, 0}, {0, 1}, {0.4, 1}, {0.4, 0.4}, {1, 0.4}, {1, 0}, {0, 0}}; // outer ring clockwise
const int kPlotPoints = int(sizeof(kPlot) / sizeof(kPlot[0]));
const int kPolygon = 5;

/// The 100-byte header both files share; lengths count 16-bit words.
std::string ShapeHeader(uint32_t nFileBytes)
{
    std::string s = BigEndian(9994) + std::string(20, '\0') + BigEndian(nFileBytes / 2) + LittleEndian(1000, 4) +
                    LittleEndian(kPolygon, 4);
    for (double f : {0.0, 0.0, 1.0, 1.0, 0.0, 0.0, 0.0, 0.0}) // x, y bounds; z and measure ranges unused
        s += Raw(f);
    return s;
}

/// The .shp and .shx of one polygon record.
std::pair<std::string, std::string> PlotShapes()
{
    std::string strContent = LittleEndian(kPolygon, 4);
    for (double f : {0.0, 0.0, 1.0, 1.0})
        strContent += Raw(f);
    strContent += LittleEndian(1, 4) + LittleEndian(kPlotPoints, 4) + LittleEndian(0, 4);
    for (const auto& p : kPlot)
        strContent += Raw(p[0]) + Raw(p[1]);
    const uint32_t nRecordBytes = uint32_t(8 + strContent.size());
    const std::string strShp = ShapeHeader(100 + nRecordBytes) + BigEndian(1) +
                               BigEndian(uint32_t(strContent.size() / 2)) + strContent;
    const std::string strShx = ShapeHeader(108) + BigEndian(50) + BigEndian(uint32_t(strContent.size() / 2));
    return {strShp, strShx};
}

bool WriteFiles(const std::string& strDir)
{
    const std::pair<std::string, std::string> shapes = PlotShapes();
    return QelDemoWriteFile(strDir + "/pyramid.3ds", Pyramid3ds()) && QelDemoWriteFile(strDir + "/room.dxf", RoomDxf()) &&
           QelDemoWriteFile(strDir + "/tetrahedron.dae", kTetrahedronDae) &&
           QelDemoWriteFile(strDir + "/plot.shp", shapes.first) && QelDemoWriteFile(strDir + "/plot.shx", shapes.second);
}

/// Draws the model framed from the three-quarter view into column nColumn of the frame.
void DrawInColumn(QelModel& model, int nColumn)
{
    const int nWidth = kWidth / kFormats;
    QelDemoDrawModel(model, nColumn * nWidth, 0, nWidth, kHeight);
}

void Run(QelDemoApp&)
{
    if (!QelDemoBeginFrame(kWidth, kHeight))
        return;
    const std::string strDir = QelDemoOutputDir();
    if (!WriteFiles(strDir))
    {
        std::printf("  could not write the demo's models to %s\n", strDir.c_str());
        return;
    }
    glClearColor(0.08f, 0.09f, 0.12f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_DEPTH_TEST);
    const char* const aFiles[kFormats] = {"pyramid.3ds", "room.dxf", "tetrahedron.dae", "plot.shp"};
    for (int i = 0; i < kFormats; ++i)
    {
        const std::string strFile = strDir + "/" + aFiles[i];
        QelModel model;
        if (!model.LoadFile(strFile))
            continue;
        const QelModelFormat* pFormat = QelModelFormat::GetFileHandlerForFilename(strFile);
        const QelModelData& d = model.GetModelData();
        std::printf("  %-16s \"%s\": %zu meshes, %zu vertices, %zu triangles, %zu materials\n", aFiles[i],
                    pFormat ? pFormat->GetLabel().c_str() : "?", d.m_vMeshes.size(), d.NumVertices(), d.NumTriangles(),
                    d.m_vMaterials.size());
        DrawInColumn(model, i);
    }
    glFinish();
    glDisable(GL_DEPTH_TEST);
    glViewport(0, 0, kWidth, kHeight);
    const std::string strPng = strDir + "/formats.png";
    if (QelOffscreenContext::SavePng(strPng))
        std::printf("  drawn side by side, lit by a head light, into %s\n", strPng.c_str());
}

QelDemoSection s_section(105, "Model formats", Run);
} // namespace
