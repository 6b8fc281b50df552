#pragma once

class QelTextureLayer;

/// Fixed-function texture units a material may use: all of them with multitexture, else one.
int QelTextureUnitCount();

/// Selects a texture unit when multitexture exists (unit 0 is the only one otherwise).
void QelSelectTextureUnit(int nUnit);

/// Sets up the selected unit for a layer: texture, environment, coordinate generation, wrapping
/// and the texture matrix. A layer without a texture inherits: it applies only when the caller
/// had texturing on, and then to the caller's texture. False when the unit was left unused.
bool QelApplyTextureLayer(const QelTextureLayer& cLayer, bool bCallerTexturing, float fUScale, float fVScale);

/// Returns the selected unit to its resting state: targets and generation off, identity matrix.
void QelResetTextureUnit();
