#include "qel/display/QelGrid.h"

#include "qel/display/detail/QelPropertyHelpers.h"
#include "qel/math/QelMathConstants.h"
#include "qel/properties/QelProperty.h"

#include <GL/glew.h>

#include <algorithm>
#include <cmath>

using namespace QelDisplayDetail;

namespace
{
const float kMinSpacing = 1e-6f;
const float kPi = 3.14159265f;

float RoundTo(float f, float fStep)
{
    return std::round(f / fStep) * fStep;
}
} // namespace

QelGrid::QelGrid()
{
    SetName("Grid");
    AddTransformProperties(true, true, false);
    SetRotation(QelVec4(0.0f, 0.0f, 1.0f, 0.0f));
    m_pGridType = AddEnum(*this, "Grid:Type", eGridRectangular, {"Rectangular", "Polar"});
    m_pSpacing = AddFloat(*this, "Grid:Spacing", 1.0f, kMinSpacing, 1e12f);
    m_pMajorEvery = CreateProperty("Grid:Major line every", eDataInteger);
    m_pMajorEvery->SetClamp(1, 1000);
    m_pMajorEvery->SetAsInt(5);
    m_pLineCount = CreateProperty("Grid:Lines", eDataInteger);
    m_pLineCount->SetClamp(1, 10000);
    m_pLineCount->SetAsInt(10);
    m_pSpokes = CreateProperty("Grid:Spokes", eDataInteger);
    m_pSpokes->SetClamp(1, 3600);
    m_pSpokes->SetAsInt(12);
    m_pMinorColor = AddColor(*this, "Grid:Color", QelVec4(0.35f, 0.35f, 0.38f, 1.0f));
    m_pMajorColor = AddColor(*this, "Grid:Major color", QelVec4(0.6f, 0.6f, 0.65f, 1.0f));
    m_pTransSnap = AddBool(*this, "Grid:Snap translation", false);
    m_pRotSnap = AddBool(*this, "Grid:Snap rotation", false);
    m_pAngleIncrement = AddFloat(*this, "Grid:Angle increment", 15.0f, 0.001f, 360.0f);
}

QelGrid::EGridType QelGrid::GetGridType()
{
    return m_pGridType->GetAsInt() == eGridPolar ? eGridPolar : eGridRectangular;
}

void QelGrid::SetGridType(EGridType eType) { m_pGridType->SetAsInt(eType); }
float QelGrid::GetSpacing() { return ReadFinite(*this, m_pSpacing, 1.0f); }
void QelGrid::SetMajorEvery(int nLines) { m_pMajorEvery->SetAsInt(nLines); }
void QelGrid::SetLineCount(int nLines) { m_pLineCount->SetAsInt(nLines); }
void QelGrid::SetSpokes(int nSpokes) { m_pSpokes->SetAsInt(nSpokes); }
bool QelGrid::IsTranslationSnapOn() { return m_pTransSnap->GetAsBool(); }
void QelGrid::SetTranslationSnap(bool bSnap) { m_pTransSnap->SetAsBool(bSnap); }
bool QelGrid::IsRotationSnapOn() { return m_pRotSnap->GetAsBool(); }
void QelGrid::SetRotationSnap(bool bSnap) { m_pRotSnap->SetAsBool(bSnap); }
float QelGrid::GetAngleIncrement() { return ReadFinite(*this, m_pAngleIncrement, 15.0f); }

void QelGrid::SetSpacing(float fSpacing)
{
    if (!std::isfinite(fSpacing) || fSpacing < kMinSpacing)
        PrintWarning("Spacing %g replaced by %g: it must be a positive number", double(fSpacing),
                     double(kMinSpacing));
    m_pSpacing->SetAsFloat(std::isfinite(fSpacing) ? fSpacing : kMinSpacing);
}

void QelGrid::SetAngleIncrement(float fDegrees)
{
    m_pAngleIncrement->SetAsFloat(std::isfinite(fDegrees) ? fDegrees : 15.0f);
}

void QelGrid::SetColors(const QelVec4& vMinor, const QelVec4& vMajor)
{
    m_pMinorColor->SetAsColor(vMinor.x, vMinor.y, vMinor.z, vMinor.w);
    m_pMajorColor->SetAsColor(vMajor.x, vMajor.y, vMajor.z, vMajor.w);
}

QelVec3 QelGrid::SnapPosition(const QelVec3& vWorld)
{
    return IsTranslationSnapOn() ? SnapPositionAlways(vWorld) : vWorld;
}

QelVec3 QelGrid::SnapPositionAlways(const QelVec3& vWorld)
{
    if (!std::isfinite(vWorld.x) || !std::isfinite(vWorld.y) || !std::isfinite(vWorld.z))
        return vWorld;
    QelMatrix4 mWorld;
    GetWorldTransform(mWorld);
    QelMatrix4 mInverse(mWorld);
    if (!mInverse.Invert())
        return vWorld;
    QelVec3 p = mInverse * vWorld;
    const float fSpacing = GetSpacing();
    if (GetGridType() == eGridPolar)
    {
        const float fRadius = RoundTo(std::sqrt(p.x * p.x + p.y * p.y), fSpacing);
        const float fStep = 360.0f / float(m_pSpokes->GetAsInt());
        const float fAngle = RoundTo(std::atan2(p.y, p.x) * kQelRadToDeg, fStep) * kQelDegToRad;
        p.Set(fRadius * std::cos(fAngle), fRadius * std::sin(fAngle), RoundTo(p.z, fSpacing));
    }
    else
        p.Set(RoundTo(p.x, fSpacing), RoundTo(p.y, fSpacing), RoundTo(p.z, fSpacing));
    const QelVec3 vSnapped = mWorld * p;
    return std::isfinite(vSnapped.x) && std::isfinite(vSnapped.y) && std::isfinite(vSnapped.z) ? vSnapped : vWorld;
}

float QelGrid::SnapAngle(float fDegrees)
{
    return IsRotationSnapOn() && std::isfinite(fDegrees) ? RoundTo(fDegrees, GetAngleIncrement()) : fDegrees;
}

void QelGrid::Draw()
{
    const float s = GetSpacing();
    const int n = m_pLineCount->GetAsInt(), nMajor = m_pMajorEvery->GetAsInt();
    const QelVec4 vMinor = ReadColor(m_pMinorColor), vMajor = ReadColor(m_pMajorColor);
    const float fEdge = s * float(n);
    glPushAttrib(GL_ENABLE_BIT | GL_CURRENT_BIT);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glBegin(GL_LINES);
    if (GetGridType() == eGridRectangular)
        for (int i = -n; i <= n; ++i)
        {
            glColor4fv(i % nMajor == 0 ? &vMajor.x : &vMinor.x);
            const float f = s * float(i);
            glVertex3f(f, -fEdge, 0), glVertex3f(f, fEdge, 0);
            glVertex3f(-fEdge, f, 0), glVertex3f(fEdge, f, 0);
        }
    else
    {
        const int nSpokes = m_pSpokes->GetAsInt();
        glColor4fv(&vMajor.x);
        for (int k = 0; k < nSpokes; ++k)
        {
            const float a = 2.0f * kPi * float(k) / float(nSpokes);
            glVertex3f(0, 0, 0), glVertex3f(fEdge * std::cos(a), fEdge * std::sin(a), 0);
        }
        const int nSegments = 96;
        for (int r = 1; r <= n; ++r)
        {
            glColor4fv(r % nMajor == 0 ? &vMajor.x : &vMinor.x);
            for (int k = 0; k < nSegments; ++k)
            {
                const float a0 = 2.0f * kPi * float(k) / nSegments, a1 = 2.0f * kPi * float(k + 1) / nSegments;
                glVertex3f(s * float(r) * std::cos(a0), s * float(r) * std::sin(a0), 0);
                glVertex3f(s * float(r) * std::cos(a1), s * float(r) * std::sin(a1), 0);
            }
        }
    }
    glEnd();
    glPopAttrib();
}

bool QelGrid::Save(QelXMLInterface* pXML)
{
    return QelDisplayObject::Save(pXML) && QelDisplayDetail::SaveProperties(*this, pXML, "Grid");
}

bool QelGrid::Load(QelXMLInterface* pXML)
{
    return QelDisplayObject::Load(pXML) && QelDisplayDetail::LoadProperties(*this, pXML, "Grid");
}
