#pragma once

/// DevIL keeps its switches process-wide, and images and textures want different ones: images keep
/// DXTC data and let ILUT compress and pick the texture target, textures always reach OpenGL as
/// RGBA without DevIL's own S3TC. Each class selects its set before it calls DevIL; switching is
/// skipped while the set is already the current one.
void QelDevILUseImageMode();
void QelDevILUseTextureMode();

/// Attaches ILUT's OpenGL renderer once a context is current (ILUT queries the context when the
/// renderer is chosen). False when no OpenGL context is current.
bool QelDevILAttachOpenGL();

/// True when an OpenGL context is current on this thread.
bool QelGLContextIsCurrent();
