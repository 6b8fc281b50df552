#pragma once

#include "qel/math/QelBox3.h"
#include "qel/math/QelMatrix4.h"
#include "qel/math/QelVec3.h"

#include <string>

/// The viewer's orbiting camera: a target, a distance and two angles, with tumble, pan, dolly, view
/// presets and fitting a box. Kept small and local until the library's camera lands; the view only
/// asks it for its two matrices, so the library's camera can take its place.
class ViewerCamera
{
public:
    /// View presets; the front view looks along -Z at the face toward +Z, with +Y up.
    enum EPreset
    {
        ePresetFront = 0,
        ePresetBack,
        ePresetLeft,
        ePresetRight,
        ePresetTop,
        ePresetBottom,
        ePresetIso,
        ePresetCount
    };

    /// The preset's name as scripts and menus spell it ("front" ... "iso").
    static const char* PresetName(EPreset ePreset);
    /// False when the name is none of them.
    static bool PresetFromName(const std::string& strName, EPreset& ePreset);

    ViewerCamera();

    void SetPreset(EPreset ePreset);
    /// Turns about the target by the mouse motion in pixels.
    void Tumble(float fDeltaX, float fDeltaY);
    /// Moves target and eye in the view plane so that the point under the mouse follows it.
    void Pan(float fDeltaX, float fDeltaY, int nViewportHeight);
    /// Moves toward the target (positive steps) or away; the distance never reaches zero.
    void Dolly(float fSteps);
    /// Aims at the box's centre from the current direction, near enough for it to fill the view.
    /// An invalid box leaves the camera as it is.
    void Fit(const QelBox3& cBox, float fAspect);

    /// The camera matrix (world to eye).
    QelMatrix4 GetViewMatrix() const;
    /// The projection for a viewport; a viewport without area gets the identity (nothing is drawn
    /// into it, and nothing divides by its height).
    QelMatrix4 GetProjectionMatrix(int nWidth, int nHeight) const;

    QelVec3 GetTarget() const { return m_vecTarget; }
    float GetDistance() const { return m_fDistance; }
    QelVec3 GetEye() const;
    float GetFieldOfView() const { return m_fFieldOfView; }
    /// Vertical field of view in degrees, kept within 5..150.
    void SetFieldOfView(float fDegrees);

private:
    QelVec3 Direction() const;
    QelVec3 Up() const;

    QelVec3 m_vecTarget;
    float m_fDistance = 5.0f;
    float m_fYaw = 0.0f;
    float m_fPitch = 0.0f;
    float m_fFieldOfView = 40.0f;
};
