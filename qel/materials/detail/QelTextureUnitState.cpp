#include "qel/materials/detail/QelTextureUnitState.h"

#include "qel/framework/QelSysApp.h"
#include "qel/materials/QelTextureLayer.h"

#include <GL/glew.h>

namespace
{
const GLenum kEnvModes[] = {0, GL_MODULATE, GL_DECAL, GL_BLEND, GL_REPLACE};
static_assert(sizeof(kEnvModes) / sizeof(kEnvModes[0]) == QelTextureLayer::eFunctionCount,
              "one environment per function");

void Generate(GLenum eCoord, GLenum eCap, GLint nMode)
{
    glTexGeni(eCoord, GL_TEXTURE_GEN_MODE, nMode);
    glEnable(eCap);
}

void SetCoordinates(int nCoordinates)
{
    glDisable(GL_TEXTURE_GEN_S);
    glDisable(GL_TEXTURE_GEN_T);
    glDisable(GL_TEXTURE_GEN_R);
    glDisable(GL_TEXTURE_GEN_Q);
    // Planes map x to u and y to v: a texture lies flat across the object's (or the view's) XY plane.
    static const GLfloat kPlaneS[] = {1, 0, 0, 0}, kPlaneT[] = {0, 1, 0, 0};
    switch (nCoordinates)
    {
    case QelTextureLayer::eCoordCubeNormal:
    case QelTextureLayer::eCoordCubeReflection:
    {
        const GLint nMode =
            nCoordinates == QelTextureLayer::eCoordCubeNormal ? GL_NORMAL_MAP_ARB : GL_REFLECTION_MAP_ARB;
        Generate(GL_S, GL_TEXTURE_GEN_S, nMode);
        Generate(GL_T, GL_TEXTURE_GEN_T, nMode);
        Generate(GL_R, GL_TEXTURE_GEN_R, nMode);
        break;
    }
    case QelTextureLayer::eCoordSphereMap:
        Generate(GL_S, GL_TEXTURE_GEN_S, GL_SPHERE_MAP);
        Generate(GL_T, GL_TEXTURE_GEN_T, GL_SPHERE_MAP);
        break;
    case QelTextureLayer::eCoordObjectLinear:
        glTexGenfv(GL_S, GL_OBJECT_PLANE, kPlaneS);
        glTexGenfv(GL_T, GL_OBJECT_PLANE, kPlaneT);
        Generate(GL_S, GL_TEXTURE_GEN_S, GL_OBJECT_LINEAR);
        Generate(GL_T, GL_TEXTURE_GEN_T, GL_OBJECT_LINEAR);
        break;
    case QelTextureLayer::eCoordEyeLinear:
        // Eye planes are taken through the current modelview: give them under the identity so
        // that they stay fixed to the view.
        glMatrixMode(GL_MODELVIEW);
        glPushMatrix();
        glLoadIdentity();
        glTexGenfv(GL_S, GL_EYE_PLANE, kPlaneS);
        glTexGenfv(GL_T, GL_EYE_PLANE, kPlaneT);
        glPopMatrix();
        Generate(GL_S, GL_TEXTURE_GEN_S, GL_EYE_LINEAR);
        Generate(GL_T, GL_TEXTURE_GEN_T, GL_EYE_LINEAR);
        break;
    default: // a coordinate set of the geometry
        break;
    }
}

void SetWrap(int nTile)
{
    const bool bEdgeClamp = GLEW_EXT_texture_edge_clamp || GLEW_SGIS_texture_edge_clamp;
    const GLint nClamp = bEdgeClamp ? GL_CLAMP_TO_EDGE : GL_CLAMP;
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, (nTile & QelTextureLayer::eTileU) ? GL_REPEAT : nClamp);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, (nTile & QelTextureLayer::eTileV) ? GL_REPEAT : nClamp);
}

void SetMatrix(const QelTextureLayer& c, float fUScale, float fVScale)
{
    GLint nMode = GL_MODELVIEW;
    glGetIntegerv(GL_MATRIX_MODE, &nMode);
    glMatrixMode(GL_TEXTURE);
    glLoadIdentity();
    glTranslatef(c.m_fOffsetU, c.m_fOffsetV, 0.0f);
    glRotatef(c.m_fRotation, 0.0f, 0.0f, 1.0f);
    glScalef(c.m_fTileU * fUScale, c.m_fTileV * fVScale, 1.0f);
    glMatrixMode(GLenum(nMode));
}
} // namespace

int QelTextureUnitCount()
{
    if (!glActiveTextureARB)
        return 1;
    GLint n = 1;
    glGetIntegerv(GL_MAX_TEXTURE_UNITS_ARB, &n);
    return n > 0 ? n : 1;
}

void QelSelectTextureUnit(int nUnit)
{
    if (glActiveTextureARB)
        glActiveTextureARB(GLenum(GL_TEXTURE0_ARB + nUnit));
}

bool QelApplyTextureLayer(const QelTextureLayer& c, bool bCallerTexturing, float fUScale, float fVScale)
{
    const bool bCubeMode = QelTextureLayer::IsCubeMode(c.m_nCoordinates);
    if (c.m_cTexture.IsValid())
    {
        if (bCubeMode && !c.m_cTexture.IsCubeMap())
        {
            QelSysApp::App().PrintToConsole("<warning> QelMaterial - Texture is not a cube map");
            return false;
        }
        if (!bCubeMode && c.m_cTexture.IsCubeMap())
        {
            QelSysApp::App().PrintToConsole("<warning> QelMaterial - Texture is a cube map");
            return false;
        }
        if (bCubeMode && !GLEW_ARB_texture_cube_map)
            return false;
        c.m_cTexture.Bind();
        glEnable(bCubeMode ? GL_TEXTURE_CUBE_MAP_ARB : GL_TEXTURE_2D);
        if (!bCubeMode)
            SetWrap(c.m_nTile);
    }
    else if (bCallerTexturing && !bCubeMode)
        glEnable(GL_TEXTURE_2D);
    else
        return false;
    if (c.m_nFunction > QelTextureLayer::eFunctionCustom && c.m_nFunction < QelTextureLayer::eFunctionCount)
        glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GLint(kEnvModes[c.m_nFunction]));
    if (c.m_nFunction == QelTextureLayer::eFunctionBlend)
    {
        // White: the texture brightens toward white where it is bright, as artists expect of blend.
        static const GLfloat kWhite[] = {1, 1, 1, 1};
        glTexEnvfv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_COLOR, kWhite);
    }
    SetCoordinates(c.m_nCoordinates);
    SetMatrix(c, fUScale, fVScale);
    return true;
}

void QelResetTextureUnit()
{
    glDisable(GL_TEXTURE_2D);
    if (GLEW_ARB_texture_cube_map)
        glDisable(GL_TEXTURE_CUBE_MAP_ARB);
    glDisable(GL_TEXTURE_GEN_S);
    glDisable(GL_TEXTURE_GEN_T);
    glDisable(GL_TEXTURE_GEN_R);
    glDisable(GL_TEXTURE_GEN_Q);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    GLint nMode = GL_MODELVIEW;
    glGetIntegerv(GL_MATRIX_MODE, &nMode);
    glMatrixMode(GL_TEXTURE);
    glLoadIdentity();
    glMatrixMode(GLenum(nMode));
}
