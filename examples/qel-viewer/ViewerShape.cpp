#include "ViewerShape.h"

#include "qel/framework/QelPluginAttributes.h"
#include "qel/math/QelBox3.h"
#include "qel/properties/QelInterpColorProperty.h"
#include "qel/properties/QelProperty.h"

#include <GL/glew.h>

const char* const ViewerShape::kTypeName = "Viewer Shape";

namespace
{
const QelPackedColor kDefaultColor = 0xFFD08030; // a light blue: red in the low byte

QelPluginAttributes ShapeAttributes()
{
    return QelPluginAttributes(QelPluginAttributes::kZeroGUID, ViewerShape::kTypeName, "Display Object", "qel-viewer",
                               "A box, pyramid or square in one color", "shape", 0);
}

/// Each face gets the color times a fixed factor, so the faces of a solid stay apart without lights.
void FaceColor(const float* pColor, float fFactor)
{
    glColor4f(pColor[0] * fFactor, pColor[1] * fFactor, pColor[2] * fFactor, pColor[3]);
}
} // namespace

ViewerShape::ViewerShape() : QelDisplayObject(ShapeAttributes())
{
    SetName("Shape");
    AddTransformProperties(true, true, true);
    // The transform starts with a quarter turn about Z; a shape starts upright instead.
    SetRotation(QelVec4(0.0f, 0.0f, 1.0f, 0.0f));

    m_pColor = CreateProperty("Material:Color", eDataColor);
    m_pColor->SetAsColor(kDefaultColor);
    m_pTint = static_cast<QelInterpColorProperty*>(CreateProperty("Material:Tint", eDataInterpColor));
    m_pTint->GetValueProperty()->SetClamp(0.0, 1.0);
    m_pUseTint = CreateProperty("Material:Use tint", eDataBoolean);
    m_pResetMaterial = CreateProperty("Material:Reset", eDataBoolean, false);

    m_pKind = CreateProperty("Shape:Kind", eDataInteger);
    m_pKind->SetEnumerationNames({"Box", "Pyramid", "Square"}, {});
    m_pSize = CreateProperty("Shape:Size", eDataReal);
    m_pSize->SetClamp(0.01, 1000.0);
    m_pSize->SetAsDouble(1.0);
    m_pNotes = CreateProperty("Notes", eDataString);
    Calculate();
}

QelPackedColor ViewerShape::GetDrawColor()
{
    return m_pUseTint->GetAsBool() ? m_pTint->GetAsColor() : m_pColor->GetAsColor();
}

const std::vector<std::string>& ViewerShape::GetCustomCommands() const
{
    static const std::vector<std::string> kCommands = {"Move to origin"};
    return kCommands;
}

bool ViewerShape::CustomCommand(const std::string& strName, std::vector<QelVariant>& vecArguments)
{
    if (strName != GetCustomCommands()[0])
        return QelDisplayObject::CustomCommand(strName, vecArguments);
    AddToUndoBuffer(strName);
    SetTranslation(QelVec3(0.0f, 0.0f, 0.0f));
    return true;
}

bool ViewerShape::IsPropertyButton(QelProperty* pProperty) const
{
    return pProperty == m_pResetMaterial || QelDisplayObject::IsPropertyButton(pProperty);
}

void ViewerShape::ButtonPressed(QelProperty* pProperty)
{
    if (pProperty != m_pResetMaterial)
    {
        QelDisplayObject::ButtonPressed(pProperty);
        return;
    }
    m_pColor->SetAsColor(kDefaultColor);
    m_pUseTint->SetAsBool(false);
}

std::string ViewerShape::GetPropertyDescription(const QelProperty* pProperty)
{
    if (pProperty == m_pColor)
        return "The color of every face (the face toward -Y, which the front view shows, at full strength)";
    if (pProperty == m_pTint)
        return "A color between a low and a high color, used when \"Use tint\" is on";
    if (pProperty == m_pSize)
        return "Edge length in scene units";
    if (pProperty == m_pResetMaterial)
        return "Puts the color back to its default and switches the tint off";
    return QelDisplayObject::GetPropertyDescription(pProperty);
}

void ViewerShape::Calculate()
{
    QelDisplayObject::Calculate();
    if (!m_pSize || !m_pKind)
        return; // a read while the constructor is still making the properties
    float fHalf = 0.5f * float(m_pSize->GetAsVariantWithoutPull());
    float fDepth = m_pKind->GetAsVariantWithoutPull().operator int() == eKindSquare ? 0.0f : fHalf;
    SetExtents(QelBox3(QelVec3(-fHalf, -fHalf, -fDepth), QelVec3(fHalf, fHalf, fDepth)));
}

void ViewerShape::Draw()
{
    QelPackedColor nColor = GetDrawColor();
    const float vColor[4] = {float(nColor & 0xFF) / 255.0f, float((nColor >> 8) & 0xFF) / 255.0f,
                             float((nColor >> 16) & 0xFF) / 255.0f, float((nColor >> 24) & 0xFF) / 255.0f};
    float fHalf = 0.5f * float(m_pSize->GetAsDouble());
    switch (m_pKind->GetAsInt())
    {
    case eKindPyramid:
        DrawPyramid(fHalf, vColor);
        break;
    case eKindSquare:
        DrawSquare(fHalf, vColor);
        break;
    default:
        DrawBox(fHalf, vColor);
        break;
    }
}

void ViewerShape::DrawBox(float h, const float* pColor)
{
    glBegin(GL_QUADS);
    FaceColor(pColor, 1.0f); // -Y, the face the front view shows
    glNormal3f(0.0f, -1.0f, 0.0f);
    glVertex3f(-h, -h, -h); glVertex3f(h, -h, -h); glVertex3f(h, -h, h); glVertex3f(-h, -h, h);
    FaceColor(pColor, 0.9f); // +Z, the top
    glNormal3f(0.0f, 0.0f, 1.0f);
    glVertex3f(-h, -h, h); glVertex3f(h, -h, h); glVertex3f(h, h, h); glVertex3f(-h, h, h);
    FaceColor(pColor, 0.8f); // +X
    glNormal3f(1.0f, 0.0f, 0.0f);
    glVertex3f(h, -h, -h); glVertex3f(h, h, -h); glVertex3f(h, h, h); glVertex3f(h, -h, h);
    FaceColor(pColor, 0.6f); // -X
    glNormal3f(-1.0f, 0.0f, 0.0f);
    glVertex3f(-h, -h, -h); glVertex3f(-h, -h, h); glVertex3f(-h, h, h); glVertex3f(-h, h, -h);
    FaceColor(pColor, 0.5f); // +Y
    glNormal3f(0.0f, 1.0f, 0.0f);
    glVertex3f(-h, h, -h); glVertex3f(-h, h, h); glVertex3f(h, h, h); glVertex3f(h, h, -h);
    FaceColor(pColor, 0.45f); // -Z
    glNormal3f(0.0f, 0.0f, -1.0f);
    glVertex3f(-h, -h, -h); glVertex3f(-h, h, -h); glVertex3f(h, h, -h); glVertex3f(h, -h, -h);
    glEnd();
}

void ViewerShape::DrawPyramid(float h, const float* pColor)
{
    glBegin(GL_TRIANGLES);
    const float vFactor[4] = {1.0f, 0.8f, 0.6f, 0.9f};
    const float vCorner[5][2] = {{-h, -h}, {h, -h}, {h, h}, {-h, h}, {-h, -h}};
    for (int i = 0; i < 4; ++i)
    {
        FaceColor(pColor, vFactor[i]);
        // The side's outward normal: its edge's outward direction tilted up by the slope (1 in 2).
        const float fNx = vCorner[i][1] == vCorner[i + 1][1] ? 0.0f : (vCorner[i][0] > 0.0f ? 0.894f : -0.894f);
        const float fNy = vCorner[i][0] == vCorner[i + 1][0] ? 0.0f : (vCorner[i][1] > 0.0f ? 0.894f : -0.894f);
        glNormal3f(fNx, fNy, 0.447f);
        glVertex3f(vCorner[i][0], vCorner[i][1], -h);
        glVertex3f(vCorner[i + 1][0], vCorner[i + 1][1], -h);
        glVertex3f(0.0f, 0.0f, h);
    }
    glEnd();
    glBegin(GL_QUADS);
    FaceColor(pColor, 0.45f);
    glNormal3f(0.0f, 0.0f, -1.0f);
    glVertex3f(-h, -h, -h); glVertex3f(-h, h, -h); glVertex3f(h, h, -h); glVertex3f(h, -h, -h);
    glEnd();
}

void ViewerShape::DrawSquare(float h, const float* pColor)
{
    glBegin(GL_QUADS);
    FaceColor(pColor, 1.0f);
    glNormal3f(0.0f, 0.0f, 1.0f);
    glVertex3f(-h, -h, 0.0f); glVertex3f(h, -h, 0.0f); glVertex3f(h, h, 0.0f); glVertex3f(-h, h, 0.0f);
    glEnd();
}
