#pragma once

#include "qel/materials/QelMaterial.h"
#include "qel/models/QelModelMaterial.h"

#include <string>

/// The drawable form of a model material: its colors (the diffuse alpha carrying the opacity), its
/// shininess, render layer 1 when translucent (0 otherwise), and its diffuse map as a modulating
/// texture layer loaded through the texture cache. The map's file is looked for as given and then
/// relative to the model file, whatever the case of its name. A map that cannot be found or read is
/// left out with a warning, so the material is drawn untextured. Needs the OpenGL context.
QelMaterial QelMapModelMaterial(const QelModelMaterial& cModel, const std::string& strModelFile);

/// The part of QelMapModelMaterial that needs no OpenGL: name, colors, shininess and render layer
/// (the texture layers of cOut stay as they are).
void QelMapModelColors(const QelModelMaterial& cModel, QelMaterial& cOut);
