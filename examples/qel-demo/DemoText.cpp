#include "QelDemo.h"

#include "qel/display/QelDisplayObject.h"
#include "qel/math/QelVec3.h"
#include "qel/math/QelVec4.h"
#include "qel/platform/QelOffscreenContext.h"
#include "qel/text/QelBitmapText.h"
#include "qel/text/QelFontCache.h"
#include "qel/text/QelPolygonText.h"
#include "qel/text/QelTextureText.h"

#include <GL/glew.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace
{
const int kWidth = 480;
const int kHeight = 320;

/// A flat colored square of side 1 about its origin.
class DemoBlock : public QelDisplayObject
{
public:
    DemoBlock(const char* pName, const QelVec3& vPosition, const QelVec4& vColor) : m_vColor(vColor)
    {
        SetName(pName);
        AddTransformProperties(true, true, true);
        SetTransform(vPosition, QelVec4(0.0f, 0.0f, 1.0f, 0.0f), QelVec3(1.0f, 1.0f, 1.0f));
    }

    void Draw() override
    {
        glColor4f(m_vColor.x, m_vColor.y, m_vColor.z, 1.0f);
        glRectf(-0.5f, -0.5f, 0.5f, 0.5f);
    }

private:
    QelVec4 m_vColor;
};

void Run(QelDemoApp&)
{
    if (!QelDemoBeginFrame(kWidth, kHeight))
        return;

    std::string strFile, strFamily;
    if (QelFontCache::ResolveFont(QelLogicalFont("DejaVu Sans", 14), strFile, strFamily))
        std::printf("  \"DejaVu Sans\" at 14 pixels resolves to %s\n", strFile.c_str());

    // The scene root holds three blocks; each block carries a label anchored just above it.
    QelDisplayObject root;
    struct Item
    {
        const char* pName;
        QelVec3 vPosition;
        QelVec4 vColor;
        const char* pLabel;
    };
    const Item aItems[] = {
        {"Pump", QelVec3(-2.6f, -0.9f, 0.0f), QelVec4(0.85f, 0.25f, 0.20f, 1.0f), "Pump P-101\n3.2 bar"},
        {"Valve", QelVec3(0.0f, -0.3f, 0.0f), QelVec4(0.25f, 0.65f, 0.30f, 1.0f), "Valve \xCE\x94p = 0.4"},
        {"Tank", QelVec3(2.6f, -0.9f, 0.0f), QelVec4(0.25f, 0.45f, 0.90f, 1.0f), "R\xC3\xA9servoir T-2"},
    };
    std::vector<std::unique_ptr<DemoBlock>> vBlocks;
    std::vector<std::unique_ptr<QelBitmapText>> vLabels;
    for (const Item& item : aItems)
    {
        vBlocks.push_back(std::make_unique<DemoBlock>(item.pName, item.vPosition, item.vColor));
        vLabels.push_back(std::make_unique<QelBitmapText>(item.pLabel));
        QelBitmapText& label = *vLabels.back();
        label.SetName(std::string(item.pName) + " label");
        label.SetFont(QelLogicalFont("DejaVu Sans", 14));
        label.SetAlignment(QelTextObject::eAlignCenter, QelTextObject::eAlignBottom);
        label.SetTranslation(QelVec3(0.0f, 0.6f, 0.0f));
        vBlocks.back()->AddChild(&label);
        root.AddChild(vBlocks.back().get());
        QelVec2 vSize;
        if (label.GetTextSize(vSize))
            std::printf("  label of %-5s %3.0f x %2.0f pixels, centered above it: \"%s\"\n", item.pName, vSize.x,
                        vSize.y, label.GetText().substr(0, label.GetText().find('\n')).c_str());
    }

    // The title: extruded outlines, tipped back so that the lit depth shows.
    QelPolygonText title("Plant overview");
    title.SetName("Title");
    title.SetFont(QelLogicalFont("DejaVu Sans", 48, QelLogicalFont::eWeightBold));
    title.SetSceneHeight(0.75f);
    title.SetDepth(0.12f);
    title.SetColor(QelVec4(0.95f, 0.80f, 0.25f, 1.0f));
    title.SetAlignment(QelTextObject::eAlignCenter, QelTextObject::eAlignMiddle);
    title.SetTransform(QelVec3(0.0f, 2.0f, 0.0f), QelVec4(1.0f, 0.0f, 0.0f, -25.0f), QelVec3(1.0f, 1.0f, 1.0f));
    QelVec2 vTitle;
    if (title.GetTextSize(vTitle))
        std::printf("  title \"%s\": %.2f x %.2f scene units, polygonal, extruded %.2f deep\n", title.GetText().c_str(),
                    vTitle.x, vTitle.y, title.GetDepth());

    // A texture-mapped note lying in the scene, turned with it.
    QelTextureText note("texture-mapped text turns with the scene");
    note.SetFont(QelLogicalFont("DejaVu Sans", 32));
    note.SetSceneHeight(0.28f);
    note.SetColor(QelVec4(0.75f, 0.80f, 0.90f, 1.0f));
    note.SetAlignment(QelTextObject::eAlignCenter, QelTextObject::eAlignMiddle);
    note.SetTransform(QelVec3(0.0f, -2.3f, 0.0f), QelVec4(0.0f, 0.0f, 1.0f, 4.0f), QelVec3(1.0f, 1.0f, 1.0f));
    root.AddChild(&note);

    glViewport(0, 0, kWidth, kHeight);
    glClearColor(0.08f, 0.09f, 0.12f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-4.5, 4.5, -3.0, 3.0, -10.0, 10.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    // One light from the upper left front, for the title's faces and walls.
    const GLfloat aLight[4] = {-0.4f, 0.6f, 1.0f, 0.0f};
    glLightfv(GL_LIGHT0, GL_POSITION, aLight);
    glEnable(GL_LIGHT0);
    glEnable(GL_DEPTH_TEST);
    root.Render(); // blocks, labels and the note, unlit
    glEnable(GL_LIGHTING);
    title.Render();
    glDisable(GL_LIGHTING);
    glDisable(GL_DEPTH_TEST);
    glFinish();
    // The labels share one font; the title and the note each load a drawing and a measuring font.
    std::printf("  %zu fonts loaded for %zu text objects (the labels share one)\n", QelFontCache::GetFontCount(),
                vLabels.size() + 2);

    std::string strPath = QelDemoOutputDir() + "/text-scene.png";
    if (QelOffscreenContext::SavePng(strPath))
        std::printf("  frame written to %s\n", strPath.c_str());

    // Unlink before the stack objects go away.
    root.OnDelete();
}

QelDemoSection s_section(120, "Text: labels, a polygonal title and texture-mapped text", Run);
} // namespace
