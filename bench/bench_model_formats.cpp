// Loading large 3DS files and shapefiles. 3DS: eight meshes of a 181 x 181 grid (the format allows
// 65,535 vertices and faces per mesh), 518,400 triangles with texture coordinates, smoothing groups
// and a material, loaded by the library beside the bare file reader underneath it (read and freed,
// nothing else) and assimp. Shapefiles: 10,000 polygons of 48 vertices with a hole of 12, loaded by
// the library; MB/s and triangles per second are reported. The files are generated into the build
// tree on the first run.
#include "qel/models/C3dsLoader.h"
#include "qel/models/CShpLoader.h"
#include "qel/models/QelModelData.h"
#include "tests/models/Qel3dsTestFile.h"
#include "tests/support/QelSilentApp.h"

#include <benchmark/benchmark.h>
#include <lib3ds/file.h>
#include <shapefil.h>

#ifdef QEL_BENCH_ASSIMP
#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#endif

#include <cmath>
#include <fstream>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace
{
const int kGrid = 181;
const int kMeshes = 8;
const int kPolygons = 10000;

QelSilentApp& App()
{
    static QelSilentApp s_app;
    return s_app;
}

double FileBytes(const std::string& strPath)
{
    struct stat st;
    return ::stat(strPath.c_str(), &st) == 0 ? double(st.st_size) : 0.0;
}

const std::string& File3ds()
{
    static std::string s_strPath;
    if (!s_strPath.empty())
        return s_strPath;
    s_strPath = "bench_grid.3ds";
    if (FileBytes(s_strPath) > 0)
        return s_strPath;
    using namespace Qel3dsBytes;
    std::string strEditor = Material("Clay", MaterialColor(0xA020, 200, 120, 80));
    for (int m = 0; m < kMeshes; ++m)
    {
        std::vector<QelVec3> vPoints;
        std::vector<QelVec2> vTex;
        for (int j = 0; j < kGrid; ++j)
            for (int i = 0; i < kGrid; ++i)
            {
                float x = float(i) / (kGrid - 1), y = float(j) / (kGrid - 1);
                vPoints.emplace_back(x + float(m), y, 0.05f * std::sin(10.0f * x) * std::cos(10.0f * y));
                vTex.emplace_back(x, y);
            }
        std::vector<std::array<uint16_t, 3>> vFaces;
        for (int j = 0; j + 1 < kGrid; ++j)
            for (int i = 0; i + 1 < kGrid; ++i)
            {
                uint16_t a = uint16_t(j * kGrid + i), b = uint16_t(a + 1), c = uint16_t(a + kGrid), d = uint16_t(c + 1);
                vFaces.push_back({a, b, d});
                vFaces.push_back({a, d, c});
            }
        std::vector<uint16_t> vAll(vFaces.size());
        for (size_t f = 0; f < vAll.size(); ++f)
            vAll[f] = uint16_t(f);
        strEditor += Object("Grid" + std::to_string(m),
                            Points(vPoints) + TexCoords(vTex) +
                                Faces(vFaces, MaterialGroup("Clay", vAll) + Smoothing(std::vector<uint32_t>(vFaces.size(), 1))));
    }
    std::ofstream(s_strPath, std::ios::binary) << File(strEditor, "");
    return s_strPath;
}

const std::string& FileShp()
{
    static std::string s_strPath;
    if (!s_strPath.empty())
        return s_strPath;
    s_strPath = "bench_polygons.shp";
    if (FileBytes(s_strPath) > 0)
        return s_strPath;
    SHPHandle hShp = SHPCreate("bench_polygons", SHPT_POLYGON);
    DBFHandle hDbf = DBFCreate("bench_polygons");
    DBFAddField(hDbf, "NAME", FTString, 16, 0);
    for (int p = 0; p < kPolygons; ++p)
    {
        std::vector<double> vX, vY;
        double cx = 500000.0 + 10.0 * (p % 100), cy = 4000000.0 + 10.0 * (p / 100);
        // The outer ring clockwise, the hole counter-clockwise, each closed.
        for (int k = 0; k <= 48; ++k)
        {
            double a = -2.0 * M_PI * (k % 48) / 48.0;
            vX.push_back(cx + 4.0 * std::cos(a));
            vY.push_back(cy + 4.0 * std::sin(a));
        }
        for (int k = 0; k <= 12; ++k)
        {
            double a = 2.0 * M_PI * (k % 12) / 12.0;
            vX.push_back(cx + 1.5 * std::cos(a));
            vY.push_back(cy + 1.5 * std::sin(a));
        }
        int parts[2] = {0, 49};
        SHPObject* pObj = SHPCreateObject(SHPT_POLYGON, -1, 2, parts, nullptr, int(vX.size()), vX.data(), vY.data(),
                                          nullptr, nullptr);
        SHPWriteObject(hShp, -1, pObj);
        SHPDestroyObject(pObj);
        DBFWriteStringAttribute(hDbf, p, 0, ("lot " + std::to_string(p)).c_str());
    }
    SHPClose(hShp);
    DBFClose(hDbf);
    return s_strPath;
}

void BM_3ds_Qel(benchmark::State& state)
{
    App();
    const std::string& strFile = File3ds();
    C3dsLoader loader;
    size_t nTriangles = 0;
    for (auto _ : state)
    {
        QelModelData data;
        loader.Load(strFile, data);
        nTriangles = data.NumTriangles();
    }
    state.counters["triangles"] = double(nTriangles);
    state.counters["MB"] = FileBytes(strFile) / 1e6;
}

void BM_3ds_BareReader(benchmark::State& state)
{
    const std::string& strFile = File3ds();
    for (auto _ : state)
    {
        Lib3dsFile* pFile = lib3ds_file_load(strFile.c_str());
        benchmark::DoNotOptimize(pFile);
        lib3ds_file_free(pFile);
    }
}

#ifdef QEL_BENCH_ASSIMP
void BM_3ds_Assimp(benchmark::State& state)
{
    const std::string& strFile = File3ds();
    for (auto _ : state)
    {
        Assimp::Importer importer;
        const aiScene* pScene = importer.ReadFile(strFile, 0);
        benchmark::DoNotOptimize(pScene);
    }
}
BENCHMARK(BM_3ds_Assimp)->Unit(benchmark::kMillisecond);
#endif

void BM_Shp_Qel(benchmark::State& state)
{
    App();
    const std::string& strFile = FileShp();
    CShpLoader loader;
    size_t nTriangles = 0;
    for (auto _ : state)
    {
        QelModelData data;
        loader.Load(strFile, data);
        nTriangles = data.NumTriangles();
    }
    double fBytes = FileBytes(strFile) + FileBytes("bench_polygons.shx") + FileBytes("bench_polygons.dbf");
    state.counters["triangles"] = double(nTriangles);
    state.counters["MB/s"] = benchmark::Counter(fBytes / 1e6, benchmark::Counter::kIsIterationInvariantRate);
    state.counters["Mtri/s"] = benchmark::Counter(double(nTriangles) / 1e6, benchmark::Counter::kIsIterationInvariantRate);
}
} // namespace

BENCHMARK(BM_3ds_Qel)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_3ds_BareReader)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Shp_Qel)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
