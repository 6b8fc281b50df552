// Loading a large OBJ file: the library's loader beside tinyobjloader and assimp, on a 1000 x 1000
// grid (2 million triangles, normals, texture coordinates, four materials, about 200 MB) and on its
// quad version. DXF: 500,000 triangles as 3DFACE entities and as one polyface mesh, the library's
// reader beside assimp. COLLADA: the same 500,000 triangles with normals, the library's reader
// beside assimp and beside libxml2's bare parse of the document. The files are generated into the build tree on the first run. Peak memory of each
// loader is measured in a child process of its own (wait4's maximum resident size). The own format
// is written from the loaded model and read back for comparison. Times are process CPU times, since
// the machine running this is usually shared: the best of three in each repetition, and in the
// closing table the median of those over the repetitions (--benchmark_repetitions=5, best with
// --benchmark_enable_random_interleaving=true).
//
// Drawing: a smaller grid of the same kind, loaded into a QelModel and drawn lit frame after frame,
// beside raw glDrawElements calls on the same vertices and indices in buffer objects of their own
// (one material set and one draw per mesh, as a host would write it by hand).
//
// `bench_models --write-grid OUT.obj CELLS` writes the grid at another size and `bench_models
// --obj-load-ms FILE` times the library's OBJ load of any file the way ObjLoad/qel does.
#include "qel/framework/QelSysApp.h"
#include "qel/models/CZmfLoader.h"
#include "qel/models/QelModel.h"
#include "qel/models/QelModelData.h"
#include "qel/models/QelModelFormat.h"
#include "qel/platform/QelOffscreenContext.h"
#include "qel/platform/QelTimer.h"
#include "tests/support/QelSilentApp.h"

#include <GL/glew.h>
#include <benchmark/benchmark.h>

#ifdef QEL_BENCH_TINYOBJLOADER
#include <tiny_obj_loader.h>
#endif
#ifdef QEL_BENCH_ASSIMP
#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#endif

#include <libxml/parser.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace
{
const int kGrid = 1000;
const int kDrawGrid = 300;
const int kFrameSize = 512;

std::string s_strExe;
/// The best time of each repetition of a row, by row.
std::map<std::string, std::vector<double>> s_mapRunsMs;

/// The median over a row's repetitions of their best times: one repetition caught by a busy
/// neighbour neither makes nor breaks a ratio.
double MedianMs(const std::string& strKey)
{
    std::vector<double> v = s_mapRunsMs[strKey];
    std::sort(v.begin(), v.end());
    return v.empty() ? 0.0 : v.size() % 2 ? v[v.size() / 2] : (v[v.size() / 2 - 1] + v[v.size() / 2]) / 2.0;
}
std::map<std::string, double> s_mapPeakMb;
std::map<std::string, double> s_mapFileMb;

/// Process CPU time in milliseconds: the machine is shared, so wall time says little.
double CpuMs()
{
    timespec ts;
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return double(ts.tv_sec) * 1000.0 + double(ts.tv_nsec) / 1e6;
}

long FileSize(const std::string& strPath)
{
    struct stat st;
    return ::stat(strPath.c_str(), &st) == 0 ? long(st.st_size) : -1;
}

/// A gently waved grid with its normals and texture coordinates; four bands of rows use four
/// materials. bQuads writes each cell as one quad instead of two triangles.
void WriteGrid(const std::string& strPath, bool bQuads, int kGrid = ::kGrid)
{
    const int n = kGrid + 1;
    std::string strMtl = strPath.substr(0, strPath.rfind('.')) + ".mtl";
    {
        std::ofstream m(strMtl);
        const char* kColors[] = {"1 0 0", "0 1 0", "0 0 1", "1 1 0"};
        for (int i = 0; i < 4; ++i)
            m << "newmtl band" << i << "\nKd " << kColors[i] << "\nKa 0.1 0.1 0.1\nKs 0.5 0.5 0.5\nNs 100\n";
    }
    FILE* f = std::fopen(strPath.c_str(), "wb");
    if (!f)
        return;
    std::fprintf(f, "# generated grid\nmtllib %s\n", strMtl.substr(strMtl.rfind('/') + 1).c_str());
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
            std::fprintf(f, "v %.6f %.6f %.6f\n", x * 0.01, y * 0.01, 0.05 * std::sin(x * 0.05) * std::cos(y * 0.05));
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
            std::fprintf(f, "vt %.6f %.6f\n", double(x) / kGrid, double(y) / kGrid);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
        {
            double dx = -0.05 * 0.05 / 0.01 * std::cos(x * 0.05) * std::cos(y * 0.05);
            double dy = 0.05 * 0.05 / 0.01 * std::sin(x * 0.05) * std::sin(y * 0.05);
            double l = std::sqrt(dx * dx + dy * dy + 1.0);
            std::fprintf(f, "vn %.6f %.6f %.6f\n", dx / l, dy / l, 1.0 / l);
        }
    for (int y = 0; y < kGrid; ++y)
    {
        if (y % (kGrid / 4) == 0)
            std::fprintf(f, "usemtl band%d\n", y / (kGrid / 4));
        for (int x = 0; x < kGrid; ++x)
        {
            int a = y * n + x + 1, b = a + 1, c = a + n + 1, d = a + n;
            if (bQuads)
                std::fprintf(f, "f %d/%d/%d %d/%d/%d %d/%d/%d %d/%d/%d\n", a, a, a, b, b, b, c, c, c, d, d, d);
            else
                std::fprintf(f, "f %d/%d/%d %d/%d/%d %d/%d/%d\nf %d/%d/%d %d/%d/%d %d/%d/%d\n", a, a, a, b, b, b, c, c,
                             c, a, a, a, c, c, c, d, d, d);
        }
    }
    std::fclose(f);
}

std::string GridFile(bool bQuads)
{
    ::mkdir("bench_models_data", 0755);
    std::string strPath = std::string("bench_models_data/") + (bQuads ? "grid_quads.obj" : "grid_triangles.obj");
    if (FileSize(strPath) < 1000000)
    {
        std::fprintf(stderr, "generating %s\n", strPath.c_str());
        WriteGrid(strPath, bQuads);
    }
    return strPath;
}

/// A 500 x 500 grid of cells, two triangles each (500,000), in one layer: as 3DFACE entities
/// or as one polyface mesh over the shared corners.
void WriteDxf(const std::string& strPath, bool bPolyface)
{
    const int nCells = 500, n = nCells + 1;
    FILE* f = std::fopen(strPath.c_str(), "wb");
    if (!f)
        return;
    std::fprintf(f, "0\nSECTION\n2\nENTITIES\n");
    auto z = [](int x, int y) { return 0.05 * std::sin(x * 0.05) * std::cos(y * 0.05); };
    if (bPolyface)
    {
        std::fprintf(f, "0\nPOLYLINE\n8\n0\n66\n1\n70\n64\n71\n%d\n72\n%d\n", n * n, 2 * nCells * nCells);
        for (int y = 0; y < n; ++y)
            for (int x = 0; x < n; ++x)
                std::fprintf(f, "0\nVERTEX\n8\n0\n10\n%.6f\n20\n%.6f\n30\n%.6f\n70\n192\n", x * 0.01, y * 0.01, z(x, y));
        for (int y = 0; y < nCells; ++y)
            for (int x = 0; x < nCells; ++x)
            {
                int a = y * n + x + 1, b = a + 1, c = a + n + 1, d = a + n;
                std::fprintf(f, "0\nVERTEX\n8\n0\n10\n0.0\n20\n0.0\n30\n0.0\n70\n128\n71\n%d\n72\n%d\n73\n%d\n", a, b, c);
                std::fprintf(f, "0\nVERTEX\n8\n0\n10\n0.0\n20\n0.0\n30\n0.0\n70\n128\n71\n%d\n72\n%d\n73\n%d\n", a, c, d);
            }
        std::fprintf(f, "0\nSEQEND\n8\n0\n");
    }
    else
    {
        for (int y = 0; y < nCells; ++y)
            for (int x = 0; x < nCells; ++x)
                for (int k = 0; k < 2; ++k)
                {
                    int cx[3] = {x, x + 1, k ? x : x + 1}, cy[3] = {y, y + 1, k ? y + 1 : y};
                    std::fprintf(f, "0\n3DFACE\n8\n0\n");
                    for (int i = 0; i < 4; ++i)
                    {
                        int j = i < 3 ? i : 2;
                        std::fprintf(f, "1%d\n%.6f\n2%d\n%.6f\n3%d\n%.6f\n", i, cx[j] * 0.01, i, cy[j] * 0.01, i,
                                     z(cx[j], cy[j]));
                    }
                }
    }
    std::fprintf(f, "0\nENDSEC\n0\nEOF\n");
    std::fclose(f);
}

std::string DxfFile(bool bPolyface)
{
    ::mkdir("bench_models_data", 0755);
    std::string strPath = std::string("bench_models_data/") + (bPolyface ? "grid_polyface.dxf" : "grid_3dfaces.dxf");
    if (FileSize(strPath) < 1000000)
    {
        std::fprintf(stderr, "generating %s\n", strPath.c_str());
        WriteDxf(strPath, bPolyface);
    }
    return strPath;
}

/// The DXF grid as a COLLADA document: positions and normals with their own index offsets.
void WriteCollada(const std::string& strPath)
{
    const int nCells = 500, n = nCells + 1;
    FILE* f = std::fopen(strPath.c_str(), "wb");
    if (!f)
        return;
    std::fprintf(f, "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<COLLADA xmlns=\"http://www.collada.org/2005/11/"
                    "COLLADASchema\" version=\"1.4.1\">\n<asset><unit meter=\"1\"/><up_axis>Y_UP</up_axis></asset>\n"
                    "<library_geometries><geometry id=\"grid\"><mesh>\n<source id=\"p\"><float_array id=\"pa\" count=\"%d\">",
                 3 * n * n);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
            std::fprintf(f, "%.6f %.6f %.6f\n", x * 0.01, y * 0.01, 0.05 * std::sin(x * 0.05) * std::cos(y * 0.05));
    std::fprintf(f, "</float_array><technique_common><accessor source=\"#pa\" count=\"%d\" stride=\"3\"><param name=\"X\" "
                    "type=\"float\"/><param name=\"Y\" type=\"float\"/><param name=\"Z\" type=\"float\"/></accessor>"
                    "</technique_common></source>\n<source id=\"nm\"><float_array id=\"na\" count=\"%d\">",
                 n * n, 3 * n * n);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
            std::fprintf(f, "%.6f %.6f %.6f\n", 0.0, 0.0, 1.0);
    std::fprintf(f, "</float_array><technique_common><accessor source=\"#na\" count=\"%d\" stride=\"3\"><param name=\"X\" "
                    "type=\"float\"/><param name=\"Y\" type=\"float\"/><param name=\"Z\" type=\"float\"/></accessor>"
                    "</technique_common></source>\n<vertices id=\"v\"><input semantic=\"POSITION\" source=\"#p\"/></vertices>\n"
                    "<triangles count=\"%d\"><input semantic=\"VERTEX\" source=\"#v\" offset=\"0\"/><input semantic=\"NORMAL\" "
                    "source=\"#nm\" offset=\"1\"/><p>",
                 n * n, 2 * nCells * nCells);
    for (int y = 0; y < nCells; ++y)
        for (int x = 0; x < nCells; ++x)
        {
            int a = y * n + x, b = a + 1, c = a + n + 1, d = a + n;
            std::fprintf(f, "%d %d %d %d %d %d %d %d %d %d %d %d\n", a, a, b, b, c, c, a, a, c, c, d, d);
        }
    std::fprintf(f, "</p></triangles>\n</mesh></geometry></library_geometries>\n<library_visual_scenes><visual_scene id=\"s\">"
                    "<node id=\"n\"><instance_geometry url=\"#grid\"/></node></visual_scene></library_visual_scenes>\n"
                    "<scene><instance_visual_scene url=\"#s\"/></scene>\n</COLLADA>\n");
    std::fclose(f);
}

std::string ColladaFile()
{
    ::mkdir("bench_models_data", 0755);
    std::string strPath = "bench_models_data/grid.dae";
    if (FileSize(strPath) < 1000000)
    {
        std::fprintf(stderr, "generating %s\n", strPath.c_str());
        WriteCollada(strPath);
    }
    return strPath;
}

/// One load by the named loader; returns a count so that nothing is optimized away.
size_t LoadWith(const std::string& strWho, const std::string& strFile)
{
    if (strWho == "read")
    {
        std::ifstream f(strFile, std::ios::binary);
        std::vector<char> v(size_t(FileSize(strFile)));
        f.read(v.data(), std::streamsize(v.size()));
        return size_t(f.gcount());
    }
    if (strWho == "libxml2")
    {
        std::ifstream f(strFile, std::ios::binary);
        std::vector<char> v(size_t(FileSize(strFile)));
        f.read(v.data(), std::streamsize(v.size()));
        xmlDocPtr pDoc = xmlReadMemory(v.data(), int(v.size()), "bench.dae", nullptr, XML_PARSE_NONET | XML_PARSE_HUGE);
        size_t n = pDoc ? 1 : 0;
        xmlFreeDoc(pDoc);
        return n;
    }
    if (strWho == "qel")
    {
        QelModelData data;
        QelModelFormat::GetFileHandlerForFilename(strFile)->Load(strFile, data);
        return data.NumTriangles();
    }
#ifdef QEL_BENCH_TINYOBJLOADER
    if (strWho == "tinyobjloader")
    {
        tinyobj::attrib_t attrib;
        std::vector<tinyobj::shape_t> shapes;
        std::vector<tinyobj::material_t> materials;
        std::string strWarn, strErr;
        tinyobj::LoadObj(&attrib, &shapes, &materials, &strWarn, &strErr, strFile.c_str(), "bench_models_data/", true);
        size_t n = 0;
        for (const auto& s : shapes)
            n += s.mesh.num_face_vertices.size();
        return n;
    }
#endif
#ifdef QEL_BENCH_ASSIMP
    if (strWho == "assimp")
    {
        Assimp::Importer importer;
        const aiScene* pScene = importer.ReadFile(strFile, aiProcess_Triangulate);
        size_t n = 0;
        for (unsigned i = 0; pScene && i < pScene->mNumMeshes; ++i)
            n += pScene->mMeshes[i]->mNumFaces;
        return n;
    }
#endif
    return 0;
}

/// Peak resident memory of one load, in a child process of its own: the child reports its VmHWM
/// (the peak of its own address space, which neither the fork nor the exec inherit).
double PeakMb(const std::string& strWho, const std::string& strFile)
{
    std::string strCommand = "'" + s_strExe + "' --peak " + strWho + " '" + strFile + "'";
    FILE* p = ::popen(strCommand.c_str(), "r");
    if (!p)
        return -1.0;
    char buf[256];
    double fKb = -1.0;
    while (std::fgets(buf, sizeof(buf), p))
        if (std::strncmp(buf, "VmHWM:", 6) == 0)
            fKb = std::atof(buf + 6);
    ::pclose(p);
    return fKb / 1024.0;
}

/// The OBJ grid (eObjTriangles, eObjQuads) or a DXF file (eDxfFaces, eDxfPolyface).
enum EBenchFile
{
    eObjTriangles = 0,
    eObjQuads = 1,
    eDxfFaces = 2,
    eDxfPolyface = 3,
    eCollada = 4,
    eBenchFileCount = 5
};
const char* const kBenchFileKeys[] = {" triangles", " quads", " dxf 3dfaces", " dxf polyface", " collada"};
static_assert(sizeof(kBenchFileKeys) / sizeof(kBenchFileKeys[0]) == eBenchFileCount, "one key per file");

void BM_Load(benchmark::State& state, std::string strWho, int nFile)
{
    const std::string strFile = nFile == eCollada    ? ColladaFile()
                                : nFile >= eDxfFaces ? DxfFile(nFile == eDxfPolyface)
                                                     : GridFile(nFile == eObjQuads);
    const std::string strKey = strWho + kBenchFileKeys[nFile];
    double fBest = 1e30;
    for (auto _ : state)
    {
        double t0 = CpuMs();
        benchmark::DoNotOptimize(LoadWith(strWho, strFile));
        fBest = std::min(fBest, CpuMs() - t0);
    }
    s_mapRunsMs[strKey].push_back(fBest);
    const double fFileMb = double(FileSize(strFile)) / 1048576.0;
    s_mapFileMb[strKey] = fFileMb;
    state.counters["MB/s"] = fFileMb / (fBest / 1000.0);
    if (!s_mapPeakMb.count(strKey))
        s_mapPeakMb[strKey] = PeakMb(strWho, strFile);
    state.counters["peak_MB"] = s_mapPeakMb[strKey];
    state.counters["peak/file"] = s_mapPeakMb[strKey] / fFileMb;
}

/// The own format of the loaded grid: written once, then read back.
void BM_OwnFormat(benchmark::State& state, bool bWrite)
{
    static QelModelData s_data;
    const std::string strZmf = "bench_models_data/grid_triangles.zmf";
    if (s_data.Empty() && (bWrite || FileSize(strZmf) <= 0))
        QelModelFormat::GetFileHandlerForFilename("x.obj")->Load(GridFile(false), s_data);
    QelModelFormat* pZmf = QelModelFormat::GetFileHandlerForFilename(strZmf);
    if (!bWrite && FileSize(strZmf) <= 0)
        pZmf->Save(strZmf, s_data);
    double fBest = 1e30;
    for (auto _ : state)
    {
        double t0 = CpuMs();
        if (bWrite)
            pZmf->Save(strZmf, s_data);
        else
        {
            QelModelData back;
            pZmf->Load(strZmf, back);
            benchmark::DoNotOptimize(back.NumTriangles());
        }
        fBest = std::min(fBest, CpuMs() - t0);
    }
    s_mapRunsMs[bWrite ? "own format write" : "own format read"].push_back(fBest);
    state.counters["file_MB"] = double(FileSize(strZmf)) / 1048576.0;
}

/// The grid the draw rows show, loaded once.
QelModel* DrawModel()
{
    static QelModel* s_pModel = nullptr;
    if (!s_pModel)
    {
        ::mkdir("bench_models_data", 0755);
        const std::string strFile = "bench_models_data/draw_grid.obj";
        if (FileSize(strFile) < 1000)
            WriteGrid(strFile, false, kDrawGrid);
        s_pModel = new QelModel;
        s_pModel->LoadFile(strFile);
    }
    return s_pModel;
}

/// The grid seen from above under one light, cleared to black.
void BeginLitFrame()
{
    glViewport(0, 0, kFrameSize, kFrameSize);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-0.1, 3.1, -0.1, 3.1, -10, 10);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    const GLfloat aLight[] = {0.3f, 0.4f, 1.0f, 0.0f};
    glLightfv(GL_LIGHT0, GL_POSITION, aLight);
}

/// The raw peer: each mesh's positions, texture coordinates and normals interleaved in a buffer
/// object, its triangles in another, drawn with the material's colors set by hand.
struct RawModel
{
    struct Mesh
    {
        GLuint nVertices = 0, nIndices = 0;
        GLsizei nCount = 0;
        QelModelMaterial cMaterial;
    };
    std::vector<Mesh> vMeshes;

    explicit RawModel(const QelModelData& data)
    {
        for (const QelModelMesh& m : data.m_vMeshes)
        {
            Mesh r;
            r.cMaterial = m.m_nMaterial >= 0 ? data.m_vMaterials[size_t(m.m_nMaterial)] : QelModelMaterial();
            std::vector<float> v;
            for (size_t i = 0; i < m.m_vPositions.size(); ++i)
                v.insert(v.end(), {m.m_vPositions[i].x, m.m_vPositions[i].y, m.m_vPositions[i].z, m.m_vTexCoords[0][i].x,
                                   m.m_vTexCoords[0][i].y, m.m_vNormals[i].x, m.m_vNormals[i].y, m.m_vNormals[i].z});
            glGenBuffers(1, &r.nVertices);
            glBindBuffer(GL_ARRAY_BUFFER, r.nVertices);
            glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(v.size() * 4), v.data(), GL_STATIC_DRAW);
            glGenBuffers(1, &r.nIndices);
            glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, r.nIndices);
            glBufferData(GL_ELEMENT_ARRAY_BUFFER, GLsizeiptr(m.m_vTriangles.size() * 4), m.m_vTriangles.data(),
                         GL_STATIC_DRAW);
            r.nCount = GLsizei(m.m_vTriangles.size());
            vMeshes.push_back(r);
        }
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    }
    ~RawModel()
    {
        for (Mesh& r : vMeshes)
        {
            glDeleteBuffers(1, &r.nVertices);
            glDeleteBuffers(1, &r.nIndices);
        }
    }
    void Draw() const
    {
        glEnableClientState(GL_VERTEX_ARRAY);
        glEnableClientState(GL_TEXTURE_COORD_ARRAY);
        glEnableClientState(GL_NORMAL_ARRAY);
        for (const Mesh& r : vMeshes)
        {
            const QelModelMaterial& c = r.cMaterial;
            glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, &c.m_vecAmbient.x);
            glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, &c.m_vecDiffuse.x);
            glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, &c.m_vecSpecular.x);
            glMaterialfv(GL_FRONT_AND_BACK, GL_EMISSION, &c.m_vecEmissive.x);
            glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, c.m_fShininess);
            glColor4fv(&c.m_vecDiffuse.x);
            glBindBuffer(GL_ARRAY_BUFFER, r.nVertices);
            glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, r.nIndices);
            glVertexPointer(3, GL_FLOAT, 32, nullptr);
            glTexCoordPointer(2, GL_FLOAT, 32, reinterpret_cast<const void*>(size_t(12)));
            glNormalPointer(GL_FLOAT, 32, reinterpret_cast<const void*>(size_t(20)));
            glDrawElements(GL_TRIANGLES, r.nCount, GL_UNSIGNED_INT, nullptr);
        }
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
        glDisableClientState(GL_VERTEX_ARRAY);
        glDisableClientState(GL_TEXTURE_COORD_ARRAY);
        glDisableClientState(GL_NORMAL_ARRAY);
    }
};

/// Frames of the model (bRaw: of the raw peer), each cleared, drawn and waited for; the first
/// frame, which uploads, is drawn before timing.
void BM_Draw(benchmark::State& state, bool bRaw)
{
    if (!QelOffscreenContext::MakeCurrent(kFrameSize, kFrameSize) || !QelOffscreenContext::Resize(kFrameSize, kFrameSize))
    {
        state.SkipWithError("no OpenGL context");
        return;
    }
    QelModel* pModel = DrawModel();
    if (pModel->GetModelData().Empty())
    {
        state.SkipWithError("the grid did not load");
        return;
    }
    RawModel raw(pModel->GetModelData());
    auto fnFrame = [&] {
        BeginLitFrame();
        if (bRaw)
            raw.Draw();
        else
            pModel->Render();
        glFinish();
    };
    fnFrame();
    double fBest = 1e30;
    for (auto _ : state)
    {
        double t0 = QelGetHighResTime();
        fnFrame();
        fBest = std::min(fBest, (QelGetHighResTime() - t0) * 1000.0);
    }
    s_mapRunsMs[bRaw ? "draw raw" : "draw qel"].push_back(fBest);
    state.counters["triangles"] = double(pModel->GetModelData().NumTriangles());
    // The two ways draw the same picture.
    const std::vector<unsigned char> vFrame = QelOffscreenContext::ReadFrame();
    bRaw = !bRaw;
    fnFrame();
    state.counters["same_pixels"] = vFrame == QelOffscreenContext::ReadFrame() ? 1.0 : 0.0;
}

void PrintRatios()
{
    std::printf("\n%-28s %10s %10s %12s %12s\n", "load", "cpu ms", "vs peer", "peak MB", "peak/file");
    for (const char* pShape : kBenchFileKeys)
        for (const char* pWho : {"read", "qel", "tinyobjloader", "assimp", "libxml2"})
        {
            std::string strKey = std::string(pWho) + pShape;
            if (!s_mapRunsMs.count(strKey))
                continue;
            // OBJ against tinyobjloader, DXF against assimp, COLLADA against libxml2's bare parse.
            std::string strPeer = std::string(std::strstr(pShape, "dxf") ? "assimp" : std::strstr(pShape, "collada") ? "libxml2" : "tinyobjloader") + pShape;
            double fPeer = s_mapRunsMs.count(strPeer) ? MedianMs(strPeer) : 0.0;
            std::printf("%-28s %10.1f %10.2f %12.1f %12.2f\n", strKey.c_str(), MedianMs(strKey),
                        fPeer > 0 ? MedianMs(strKey) / fPeer : 0.0, s_mapPeakMb[strKey],
                        s_mapPeakMb[strKey] / s_mapFileMb[strKey]);
        }
    if (s_mapRunsMs.count("own format read") && s_mapRunsMs.count("qel triangles"))
        std::printf("own format: write %.1f ms, read %.1f ms; OBJ load / own read = %.2f, / (write + read) = %.2f\n",
                    MedianMs("own format write"), MedianMs("own format read"),
                    MedianMs("qel triangles") / MedianMs("own format read"),
                    MedianMs("qel triangles") / (MedianMs("own format write") + MedianMs("own format read")));
    if (s_mapRunsMs.count("draw qel") && s_mapRunsMs.count("draw raw"))
        std::printf("draw per frame (best wall ms): model %.2f, raw glDrawElements %.2f, ratio %.2f\n",
                    MedianMs("draw qel"), MedianMs("draw raw"), MedianMs("draw qel") / MedianMs("draw raw"));
}
} // namespace

int main(int argc, char** argv)
{
    static QelSilentApp s_app;
    if (argc == 4 && std::strcmp(argv[1], "--peak") == 0)
    {
        benchmark::DoNotOptimize(LoadWith(argv[2], argv[3]));
        std::ifstream status("/proc/self/status");
        std::string strLine;
        while (std::getline(status, strLine))
            if (strLine.compare(0, 6, "VmHWM:") == 0)
                std::printf("%s\n", strLine.c_str());
        return 0;
    }
    // For bench/viewer_timing.sh: the grid of this benchmark at another size, and the OBJ load
    // measure of ObjLoad/qel (CPU time, best of three) on any file.
    if (argc == 4 && std::strcmp(argv[1], "--write-grid") == 0)
    {
        WriteGrid(argv[2], false, std::max(std::atoi(argv[3]), 1));
        return 0;
    }
    if (argc == 3 && std::strcmp(argv[1], "--obj-load-ms") == 0)
    {
        double fBest = 1e30, fBestWall = 1e30, fFirst = 0.0;
        for (int i = 0; i < 3; ++i)
        {
            const double t0 = CpuMs(), w0 = QelGetHighResTime();
            benchmark::DoNotOptimize(LoadWith("qel", argv[2]));
            fFirst = i == 0 ? CpuMs() - t0 : fFirst;
            fBest = std::min(fBest, CpuMs() - t0);
            fBestWall = std::min(fBestWall, (QelGetHighResTime() - w0) * 1000.0);
        }
        // The first load of a process also pays for the first touch of the memory it fills.
        std::printf("obj load %s: %.1f ms cpu, %.1f ms wall (best of 3); first %.1f ms cpu\n", argv[2], fBest,
                    fBestWall, fFirst);
        return 0;
    }
    char buf[4096];
    ssize_t n = ::readlink("/proc/self/exe", buf, sizeof(buf) - 1);
    s_strExe = n > 0 ? std::string(buf, size_t(n)) : std::string(argv[0]);

    std::vector<std::string> vWho = {"read", "qel"};
#ifdef QEL_BENCH_TINYOBJLOADER
    vWho.push_back("tinyobjloader");
#endif
#ifdef QEL_BENCH_ASSIMP
    vWho.push_back("assimp");
#endif
    for (int nFile : {eObjTriangles, eObjQuads})
        for (const std::string& strWho : vWho)
            benchmark::RegisterBenchmark(("ObjLoad/" + strWho + (nFile == eObjQuads ? "/quads" : "/triangles")).c_str(),
                                         BM_Load, strWho, nFile)
                ->Unit(benchmark::kMillisecond)
                ->Iterations(3);
    for (int nFile : {eDxfFaces, eDxfPolyface})
        for (const std::string& strWho : vWho)
            if (strWho != "tinyobjloader")
                benchmark::RegisterBenchmark(("DxfLoad/" + strWho + (nFile == eDxfFaces ? "/3dfaces" : "/polyface")).c_str(),
                                             BM_Load, strWho, nFile)
                    ->Unit(benchmark::kMillisecond)
                    ->Iterations(3);
    for (const std::string strWho : {"read", "libxml2", "qel", "assimp"})
        if (strWho != "assimp" || std::find(vWho.begin(), vWho.end(), strWho) != vWho.end())
            benchmark::RegisterBenchmark(("ColladaLoad/" + strWho).c_str(), BM_Load, strWho, int(eCollada))
                ->Unit(benchmark::kMillisecond)
                ->Iterations(3);
    benchmark::RegisterBenchmark("OwnFormat/write", BM_OwnFormat, true)->Unit(benchmark::kMillisecond)->Iterations(3);
    benchmark::RegisterBenchmark("OwnFormat/read", BM_OwnFormat, false)->Unit(benchmark::kMillisecond)->Iterations(3);
    benchmark::RegisterBenchmark("Draw/qel", BM_Draw, false)->Unit(benchmark::kMillisecond)->MinTime(1.0);
    benchmark::RegisterBenchmark("Draw/raw", BM_Draw, true)->Unit(benchmark::kMillisecond)->MinTime(1.0);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    PrintRatios();
    benchmark::Shutdown();
    return 0;
}
