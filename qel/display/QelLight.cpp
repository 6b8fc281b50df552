#include "qel/display/QelLight.h"

#include "qel/display/detail/QelPropertyHelpers.h"
#include "qel/display/detail/QelSlotTable.h"
#include "qel/math/QelMathConstants.h"
#include "qel/properties/QelProperty.h"

#include <GL/glew.h>

#include <algorithm>
#include <cmath>

using namespace QelDisplayDetail;

namespace
{
QelSlotTable& Lights()
{
    static QelSlotTable s_cLights(QelLight::kMaxLights);
    return s_cLights;
}
} // namespace

QelLight::QelLight() : QelSwitchableObject(Lights(), "Light:On", "lights")
{
    SetName("Light");
    AddTransformProperties(true, true, false);
    m_pType = AddEnum(*this, "Light:Type", eLightDirectional, {"Directional", "Point", "Spot"});
    m_pHeadLight = AddBool(*this, "Light:Head light", false);
    m_pAmbient = AddColor(*this, "Light:Ambient", QelVec4(0.0f, 0.0f, 0.0f, 1.0f));
    m_pDiffuse = AddColor(*this, "Light:Diffuse", QelVec4(1.0f, 1.0f, 1.0f, 1.0f));
    m_pSpecular = AddColor(*this, "Light:Specular", QelVec4(1.0f, 1.0f, 1.0f, 1.0f));
    m_pAttenuation[0] = AddFloat(*this, "Light:Attenuation:Constant", 1.0f, 0.0f, kQelMaxFloat);
    m_pAttenuation[1] = AddFloat(*this, "Light:Attenuation:Linear", 0.0f, 0.0f, kQelMaxFloat);
    m_pAttenuation[2] = AddFloat(*this, "Light:Attenuation:Quadratic", 0.0f, 0.0f, kQelMaxFloat);
    m_pCutOff = AddFloat(*this, "Light:Spot:Cut-off", 30.0f, 0.0f, 90.0f);
    m_pExponent = AddFloat(*this, "Light:Spot:Exponent", 0.0f, 0.0f, 128.0f);
    // Shine straight down the local -Z axis: no turn.
    SetRotation(QelVec4(0.0f, 0.0f, 1.0f, 0.0f));
}

QelLight::ELightType QelLight::GetType()
{
    return ELightType(std::clamp(m_pType->GetAsInt(), 0, 2));
}

void QelLight::SetType(ELightType eType) { m_pType->SetAsInt(eType); }
void QelLight::SetHeadLight(bool bHeadLight) { m_pHeadLight->SetAsBool(bHeadLight); }
bool QelLight::IsHeadLight() { return m_pHeadLight->GetAsBool(); }

void QelLight::SetColors(const QelVec4& vAmbient, const QelVec4& vDiffuse, const QelVec4& vSpecular)
{
    m_pAmbient->SetAsColor(vAmbient.x, vAmbient.y, vAmbient.z, vAmbient.w);
    m_pDiffuse->SetAsColor(vDiffuse.x, vDiffuse.y, vDiffuse.z, vDiffuse.w);
    m_pSpecular->SetAsColor(vSpecular.x, vSpecular.y, vSpecular.z, vSpecular.w);
}

void QelLight::SetAttenuation(float fConstant, float fLinear, float fQuadratic)
{
    const float f[3] = {fConstant, fLinear, fQuadratic};
    for (int i = 0; i < 3; ++i)
        m_pAttenuation[i]->SetAsFloat(std::isfinite(f[i]) ? f[i] : (i == 0 ? 1.0f : 0.0f));
}

void QelLight::SetSpot(float fCutOff, float fExponent)
{
    m_pCutOff->SetAsFloat(std::isfinite(fCutOff) ? fCutOff : 30.0f);
    m_pExponent->SetAsFloat(std::isfinite(fExponent) ? fExponent : 0.0f);
}

bool QelLight::SetDirection(const QelVec3& vDirection)
{
    QelVec3 d = vDirection;
    const float fLength = d.Magnitude();
    if (!(fLength > 0.0f) || !std::isfinite(fLength))
    {
        PrintWarning("Direction %s refused: it needs a finite, non-zero vector", vDirection.String().c_str());
        return false;
    }
    d /= fLength;
    // The turn that takes local -Z onto d; opposite vectors turn half way about X.
    const QelVec3 vDown(0.0f, 0.0f, -1.0f);
    QelVec3 vAxis = vDown.Cross(d);
    const float fAngle = std::acos(std::clamp(vDown.Dot(d), -1.0f, 1.0f)) * kQelRadToDeg;
    if (vAxis.MagnitudeSquared() < 1e-12f)
        vAxis = QelVec3::kUnitX;
    SetRotation(QelVec4(vAxis.x, vAxis.y, vAxis.z, fAngle));
    return true;
}

bool QelLight::GetWorldPlacement(QelVec3& vPosition, QelVec3& vDirection)
{
    QelMatrix4 mWorld;
    GetWorldTransform(mWorld);
    vPosition = mWorld.GetTranslation();
    vDirection = mWorld.GetZAxis() * -1.0f;
    if (!CheckPlacement(vPosition, vDirection, "direction"))
        return false;
    vDirection.Normalize();
    return true;
}

void QelLight::ApplyTo(int nSlot, const QelMatrix4& mView)
{
    const GLenum eLight = GLenum(GL_LIGHT0 + nSlot);
    const ELightType eType = GetType();
    const bool bHead = IsHeadLight();
    QelVec3 vPosition(0.0f, 0.0f, 0.0f), vDirection(0.0f, 0.0f, -1.0f);
    if (!bHead && !GetWorldPlacement(vPosition, vDirection))
    {
        glDisable(eLight);
        return;
    }
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    if (bHead)
        glLoadIdentity();
    else
        glLoadMatrixf(mView.m_fM);
    // OpenGL takes the direction towards a directional light, the opposite of where it shines.
    const GLfloat fPosition[4] = {eType == eLightDirectional ? -vDirection.x : vPosition.x,
                                  eType == eLightDirectional ? -vDirection.y : vPosition.y,
                                  eType == eLightDirectional ? -vDirection.z : vPosition.z,
                                  eType == eLightDirectional ? 0.0f : 1.0f};
    glLightfv(eLight, GL_POSITION, fPosition);
    glLightfv(eLight, GL_SPOT_DIRECTION, &vDirection.x);
    glPopMatrix();

    const QelVec4 vAmbient = ReadColor(m_pAmbient), vDiffuse = ReadColor(m_pDiffuse), vSpecular = ReadColor(m_pSpecular);
    glLightfv(eLight, GL_AMBIENT, &vAmbient.x);
    glLightfv(eLight, GL_DIFFUSE, &vDiffuse.x);
    glLightfv(eLight, GL_SPECULAR, &vSpecular.x);
    glLightf(eLight, GL_CONSTANT_ATTENUATION, ReadFinite(*this, m_pAttenuation[0], 1.0f));
    glLightf(eLight, GL_LINEAR_ATTENUATION, ReadFinite(*this, m_pAttenuation[1], 0.0f));
    glLightf(eLight, GL_QUADRATIC_ATTENUATION, ReadFinite(*this, m_pAttenuation[2], 0.0f));
    glLightf(eLight, GL_SPOT_CUTOFF, eType == eLightSpot ? ReadFinite(*this, m_pCutOff, 30.0f) : 180.0f);
    glLightf(eLight, GL_SPOT_EXPONENT, ReadFinite(*this, m_pExponent, 0.0f));
    glEnable(eLight);
}

void QelLight::ApplyAll(const QelMatrix4& mView)
{
    bool bAny = false;
    for (int i = 0; i < kMaxLights; ++i)
    {
        if (QelLight* pLight = static_cast<QelLight*>(Lights().At(i)))
        {
            pLight->ApplyTo(i, mView);
            bAny = true;
        }
        else
            glDisable(GLenum(GL_LIGHT0 + i));
    }
    if (bAny)
    {
        glEnable(GL_LIGHTING);
        glEnable(GL_NORMALIZE);
    }
    else
        glDisable(GL_LIGHTING);
}

std::vector<QelLight*> QelLight::GetLightsOn()
{
    return Lights().GetObjects<QelLight>();
}

bool QelLight::Save(QelXMLInterface* pXML)
{
    return QelDisplayObject::Save(pXML) && QelDisplayDetail::SaveProperties(*this, pXML, "Light");
}

bool QelLight::Load(QelXMLInterface* pXML)
{
    return QelDisplayObject::Load(pXML) && QelDisplayDetail::LoadProperties(*this, pXML, "Light");
}
