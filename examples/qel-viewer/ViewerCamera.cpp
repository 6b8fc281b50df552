#include "ViewerCamera.h"

#include "qel/math/QelMathConstants.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace
{
struct SPreset
{
    const char* m_pName;
    float m_fYaw;
    float m_fPitch;
};

const SPreset kPresets[] = {
    {"front", 0.0f, 0.0f},  {"back", 180.0f, 0.0f}, {"left", -90.0f, 0.0f},       {"right", 90.0f, 0.0f},
    {"top", 0.0f, 90.0f},   {"bottom", 0.0f, -90.0f}, {"iso", 45.0f, 35.26439f},
};
static_assert(sizeof(kPresets) / sizeof(kPresets[0]) == ViewerCamera::ePresetCount, "one entry per preset");

const float kMinDistance = 1e-4f;
const float kMaxDistance = 1e7f;
const float kDegreesPerPixel = 0.4f;
const float kRadians = 0.017453292f;
} // namespace

const char* ViewerCamera::PresetName(EPreset ePreset)
{
    return ePreset >= 0 && ePreset < ePresetCount ? kPresets[ePreset].m_pName : "";
}

bool ViewerCamera::PresetFromName(const std::string& strName, EPreset& ePreset)
{
    for (int i = 0; i < ePresetCount; ++i)
        if (strName == kPresets[i].m_pName)
        {
            ePreset = EPreset(i);
            return true;
        }
    return false;
}

ViewerCamera::ViewerCamera() { SetPreset(ePresetIso); }

void ViewerCamera::SetPreset(EPreset ePreset)
{
    if (ePreset < 0 || ePreset >= ePresetCount)
        return;
    m_fYaw = kPresets[ePreset].m_fYaw;
    m_fPitch = kPresets[ePreset].m_fPitch;
}

void ViewerCamera::Tumble(float fDeltaX, float fDeltaY)
{
    m_fYaw = std::fmod(m_fYaw - fDeltaX * kDegreesPerPixel, 360.0f);
    m_fPitch = std::clamp(m_fPitch + fDeltaY * kDegreesPerPixel, -90.0f, 90.0f);
}

void ViewerCamera::Pan(float fDeltaX, float fDeltaY, int nViewportHeight)
{
    if (nViewportHeight <= 0)
        return;
    // World units per pixel at the target's depth.
    float fScale = 2.0f * m_fDistance * std::tan(0.5f * m_fFieldOfView * kRadians) / float(nViewportHeight);
    QelVec3 vRight = Direction().Cross(Up());
    m_vecTarget += vRight * (-fDeltaX * fScale) + Up() * (fDeltaY * fScale);
}

void ViewerCamera::Dolly(float fSteps)
{
    m_fDistance = std::clamp(m_fDistance * std::pow(0.85f, fSteps), kMinDistance, kMaxDistance);
}

void ViewerCamera::Fit(const QelBox3& cBox, float fAspect)
{
    if (!cBox.IsValid())
        return;
    m_vecTarget = cBox.Center();
    float fRadius = std::max(0.5f * cBox.Dimensions().Magnitude(), kMinDistance);
    float fHalf = 0.5f * m_fFieldOfView * kRadians;
    // The narrower of the two fields decides; a degenerate aspect counts as square.
    if (fAspect > 0.0f && fAspect < 1.0f)
        fHalf = std::atan(std::tan(fHalf) * fAspect);
    m_fDistance = std::clamp(fRadius / std::sin(fHalf), kMinDistance, kMaxDistance);
}

QelVec3 ViewerCamera::Direction() const
{
    float fYaw = m_fYaw * kRadians, fPitch = m_fPitch * kRadians;
    // From the target toward the eye.
    return QelVec3(std::cos(fPitch) * std::sin(fYaw), std::sin(fPitch), std::cos(fPitch) * std::cos(fYaw));
}

QelVec3 ViewerCamera::Up() const
{
    // The derivative of the direction by pitch: perpendicular to it at every angle, straight up
    // and down included.
    float fYaw = m_fYaw * kRadians, fPitch = m_fPitch * kRadians;
    return QelVec3(-std::sin(fPitch) * std::sin(fYaw), std::cos(fPitch), -std::sin(fPitch) * std::cos(fYaw));
}

QelVec3 ViewerCamera::GetEye() const { return m_vecTarget + Direction() * m_fDistance; }

QelMatrix4 ViewerCamera::GetViewMatrix() const
{
    QelMatrix4 mView(true);
    mView.LookAt(GetEye(), m_vecTarget, Up());
    return mView;
}

QelMatrix4 ViewerCamera::GetProjectionMatrix(int nWidth, int nHeight) const
{
    QelMatrix4 mProjection(true);
    if (nWidth <= 0 || nHeight <= 0)
        return mProjection;
    float fNear = std::max(m_fDistance * 0.01f, kMinDistance);
    float fFar = m_fDistance * 100.0f + 1.0f;
    float fTop = fNear * std::tan(0.5f * m_fFieldOfView * kRadians);
    float fRight = fTop * float(nWidth) / float(nHeight);
    float* m = mProjection;
    std::memset(m, 0, 16 * sizeof(float));
    m[0] = fNear / fRight;
    m[5] = fNear / fTop;
    m[10] = -(fFar + fNear) / (fFar - fNear);
    m[11] = -1.0f;
    m[14] = -2.0f * fFar * fNear / (fFar - fNear);
    return mProjection;
}

void ViewerCamera::SetFieldOfView(float fDegrees)
{
    if (std::isfinite(fDegrees))
        m_fFieldOfView = std::clamp(fDegrees, 5.0f, 150.0f);
}
