#pragma once

#include <GL/glu.h>

#ifndef CALLBACK
#define CALLBACK
#endif

/// The tessellators the model readers use: independent triangles only (an edge flag callback
/// keeps strips and fans away), odd winding (a ring inside a hole fills again), and the caller's
/// vertex, combine and error callbacks, each handed the polygon data. Null when GLU cannot make one.
inline GLUtesselator* QelNewGluTessellator(_GLUfuncptr fnVertex, _GLUfuncptr fnCombine, _GLUfuncptr fnError)
{
    struct SNone
    {
        static void CALLBACK Begin(GLenum, void*) {}
        static void CALLBACK EdgeFlag(GLboolean, void*) {}
    };
    GLUtesselator* pTess = gluNewTess();
    if (!pTess)
        return nullptr;
    gluTessCallback(pTess, GLU_TESS_BEGIN_DATA, reinterpret_cast<_GLUfuncptr>(SNone::Begin));
    gluTessCallback(pTess, GLU_TESS_EDGE_FLAG_DATA, reinterpret_cast<_GLUfuncptr>(SNone::EdgeFlag));
    gluTessCallback(pTess, GLU_TESS_VERTEX_DATA, fnVertex);
    gluTessCallback(pTess, GLU_TESS_COMBINE_DATA, fnCombine);
    gluTessCallback(pTess, GLU_TESS_ERROR_DATA, fnError);
    gluTessProperty(pTess, GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_ODD);
    return pTess;
}
