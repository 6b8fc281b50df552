// Text drawing: 1,000 labels of 20 characters per frame, as bitmap text and as texture-mapped text,
// and measuring a string's extents. Peer: FTGL used directly with the same font files and sizes,
// drawing the same strings at the same places in the same frame set-up. Compare CPU times: the
// wall time also counts waiting for a core on a shared machine.
#include "qel/display/QelDisplayObject.h"
#include "qel/platform/QelOffscreenContext.h"
#include "qel/text/QelBitmapText.h"
#include "qel/text/QelFontCache.h"
#include "qel/text/QelTextureText.h"
#include "tests/support/QelSilentApp.h"

#include <GL/glew.h>
#include <FTGL/ftgl.h>
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace
{
QelSilentApp s_app;

const int kWidth = 640;
const int kHeight = 480;
const int kLabels = 1000;
const int kPixels = 14;
const float kSceneHeight = 14.0f;

/// Twenty characters, different for each label.
std::string LabelText(int i)
{
    char a[32];
    std::snprintf(a, sizeof(a), "Label %04d abcdefghi", i);
    return a;
}

/// Spreads the labels over the view on a grid, in pixels.
void LabelPosition(int i, float& x, float& y)
{
    x = 4.0f + float((i % 25) * 25);
    y = 4.0f + float((i / 25) * 11 % (kHeight - 20));
}

void BeginFrame()
{
    glViewport(0, 0, kWidth, kHeight);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, kWidth, 0, kHeight, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
}

std::string FontFile()
{
    std::string strFile, strFamily;
    QelFontCache::ResolveFont(QelLogicalFont("DejaVu Sans", kPixels), strFile, strFamily);
    return strFile;
}

bool Ready(benchmark::State& state)
{
    // Mesa's software rasteriser then draws in this thread, so the CPU time counts all the drawing
    // and does not depend on how busy the other cores are.
    setenv("LP_NUM_THREADS", "0", 0);
    if (QelOffscreenContext::MakeCurrent(kWidth, kHeight) && QelOffscreenContext::Resize(kWidth, kHeight))
        return true;
    state.SkipWithError("no OpenGL context");
    return false;
}

/// A root holding kLabels text objects of one kind at the label positions.
template <class TText>
struct Scene
{
    QelDisplayObject cRoot;
    std::vector<std::unique_ptr<TText>> vLabels;
    Scene()
    {
        for (int i = 0; i < kLabels; ++i)
        {
            auto p = std::make_unique<TText>(LabelText(i));
            p->SetFont(QelLogicalFont("DejaVu Sans", kPixels));
            p->SetSceneHeight(kSceneHeight);
            float x, y;
            LabelPosition(i, x, y);
            p->SetTranslation(QelVec3(x, y, 0.0f));
            cRoot.AddChild(p.get());
            vLabels.push_back(std::move(p));
        }
    }
    ~Scene() { cRoot.OnDelete(); }
};

template <class TText>
void DrawScene(benchmark::State& state)
{
    if (!Ready(state))
        return;
    Scene<TText> cScene;
    for (auto _ : state)
    {
        BeginFrame();
        cScene.cRoot.Render();
        glFinish();
    }
    state.counters["labels/s"] = benchmark::Counter(double(kLabels), benchmark::Counter::kIsIterationInvariantRate);
}

void BM_QelBitmapLabels(benchmark::State& state)
{
    DrawScene<QelBitmapText>(state);
}
BENCHMARK(BM_QelBitmapLabels)->Unit(benchmark::kMillisecond);

void BM_QelTextureLabels(benchmark::State& state)
{
    DrawScene<QelTextureText>(state);
}
BENCHMARK(BM_QelTextureLabels)->Unit(benchmark::kMillisecond);

/// The peer: one FTGL font of type TFont, each label drawn by fnPlace (which sets its position) and
/// the font's own Render.
template <class TFont, class FPlace>
void DrawWithFtgl(benchmark::State& state, const FPlace& fnPlace)
{
    if (!Ready(state))
        return;
    TFont cFont(FontFile().c_str());
    cFont.FaceSize(kPixels);
    std::vector<std::string> vText;
    for (int i = 0; i < kLabels; ++i)
        vText.push_back(LabelText(i));
    for (auto _ : state)
    {
        BeginFrame();
        glColor3f(1, 1, 1);
        for (int i = 0; i < kLabels; ++i)
        {
            float x, y;
            LabelPosition(i, x, y);
            glPushMatrix();
            fnPlace(x, y);
            cFont.Render(vText[size_t(i)].c_str());
            glPopMatrix();
        }
        glFinish();
    }
    state.counters["labels/s"] = benchmark::Counter(double(kLabels), benchmark::Counter::kIsIterationInvariantRate);
}

void BM_FtglBitmapLabels(benchmark::State& state)
{
    DrawWithFtgl<FTBitmapFont>(state, [](float x, float y) { glRasterPos2f(x, y); });
}
BENCHMARK(BM_FtglBitmapLabels)->Unit(benchmark::kMillisecond);

/// The same with each label under its own translation, as a scene of labelled objects places them:
/// the changed matrix makes the driver revalidate its state before the raster position, a cost a
/// label in the scene graph cannot avoid.
void BM_FtglBitmapLabelsTranslated(benchmark::State& state)
{
    DrawWithFtgl<FTBitmapFont>(state, [](float x, float y) {
        glTranslatef(x, y, 0.0f);
        glRasterPos2f(0.0f, 0.0f);
    });
}
BENCHMARK(BM_FtglBitmapLabelsTranslated)->Unit(benchmark::kMillisecond);

void BM_FtglTextureLabels(benchmark::State& state)
{
    const float fScale = kSceneHeight / float(kPixels);
    DrawWithFtgl<FTTextureFont>(state, [fScale](float x, float y) {
        glTranslatef(x, y, 0.0f);
        glScalef(fScale, fScale, fScale);
    });
}
BENCHMARK(BM_FtglTextureLabels)->Unit(benchmark::kMillisecond);

void BM_QelMeasureString(benchmark::State& state)
{
    QelBitmapText cLabel;
    cLabel.SetFont(QelLogicalFont("DejaVu Sans", kPixels));
    const std::string strText = LabelText(7);
    QelVec2 vSize;
    for (auto _ : state)
    {
        cLabel.MeasureString(strText, vSize);
        benchmark::DoNotOptimize(vSize);
    }
}
BENCHMARK(BM_QelMeasureString);

void BM_FtglAdvance(benchmark::State& state)
{
    FTBitmapFont cFont(FontFile().c_str());
    cFont.FaceSize(kPixels);
    const std::string strText = LabelText(7);
    for (auto _ : state)
    {
        float f = cFont.Advance(strText.c_str());
        benchmark::DoNotOptimize(f);
    }
}
BENCHMARK(BM_FtglAdvance);
} // namespace

BENCHMARK_MAIN();
