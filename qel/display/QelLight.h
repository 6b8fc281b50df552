#pragma once

#include "qel/display/QelSwitchableObject.h"
#include "qel/math/QelMatrix4.h"
#include "qel/math/QelVec3.h"
#include "qel/math/QelVec4.h"
#include "qel/platform/QelExport.h"

#include <vector>

/// A directional, point or spot light of OpenGL's fixed-function lighting. It shines along its
/// local -Z axis from its local origin, both placed by its transform (or, as a head light, from
/// the eye along the view). At most kMaxLights are on at once in the process; turning on one more
/// is refused with a warning naming those that are on.
class QEL_EXPORT QelLight : public QelSwitchableObject
{
public:
    /// The values of the "Light:Type" enumeration property.
    enum ELightType
    {
        eLightDirectional = 0,
        eLightPoint = 1,
        eLightSpot = 2
    };
    /// The lights every OpenGL implementation offers (GL_LIGHT0 to 7).
    static constexpr int kMaxLights = 8;

    QelLight();

    /// Directional lights ignore position and attenuation; only spot lights use the cone.
    ///@{
    ELightType GetType();
    void SetType(ELightType eType);
    ///@}
    /// The three OpenGL light colors as RGBA components in 0..1 (stored packed, so 8 bits each).
    void SetColors(const QelVec4& vAmbient, const QelVec4& vDiffuse, const QelVec4& vSpecular);
    /// Constant, linear and quadratic attenuation of point and spot lights (each at least 0).
    void SetAttenuation(float fConstant, float fLinear, float fQuadratic);
    /// Half-angle of the cone in degrees (0 to 90) and the exponent of its falloff (0 to 128).
    void SetSpot(float fCutOff, float fExponent);
    /// A head light follows the camera: it sits at the eye and shines along the view.
    void SetHeadLight(bool bHeadLight);
    /// Whether the light follows the camera (see SetHeadLight).
    bool IsHeadLight();
    /// Turns the light so that it shines along vDirection; a zero or non-finite vector is refused.
    bool SetDirection(const QelVec3& vDirection);

    /// World position and unit direction; false (warned once until it is valid again) when the
    /// transform gives a zero or non-finite direction or position.
    bool GetWorldPlacement(QelVec3& vPosition, QelVec3& vDirection);

    /// Loads every light that is on into its OpenGL slot under the view matrix, disables the free
    /// slots, and enables lighting (with normalisation of normals) when any light is on.
    static void ApplyAll(const QelMatrix4& mView);
    /// The lights that are on, in slot order.
    static std::vector<QelLight*> GetLightsOn();

    bool Save(QelXMLInterface* pXML) override;
    bool Load(QelXMLInterface* pXML) override;

private:
    void ApplyTo(int nSlot, const QelMatrix4& mView);

    QelProperty* m_pType;
    QelProperty* m_pHeadLight;
    QelProperty* m_pAmbient;
    QelProperty* m_pDiffuse;
    QelProperty* m_pSpecular;
    QelProperty* m_pAttenuation[3];
    QelProperty* m_pCutOff;
    QelProperty* m_pExponent;
};
