#include "qel/materials/detail/QelDevILModes.h"

#include "qel/platform/detail/QelDevIL.h"

#include <GL/glew.h>
#define ILUT_USE_OPENGL
#include <IL/il.h>
#include <IL/ilu.h>
#include <IL/ilut.h>

namespace
{
enum EMode
{
    eModeNone,
    eModeImage,
    eModeTexture
};
EMode s_eMode = eModeNone;
bool s_bRendererAttached = false;
} // namespace

bool QelGLContextIsCurrent()
{
    return glGetString(GL_VERSION) != nullptr;
}

bool QelDevILAttachOpenGL()
{
    if (!QelGLContextIsCurrent())
        return false;
    if (!s_bRendererAttached)
    {
        QelDevILInit();
        glPushAttrib(GL_ENABLE_BIT);
        glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
        ilutRenderer(ILUT_OPENGL);
        glPopClientAttrib();
        glPopAttrib();
        s_bRendererAttached = true;
    }
    return true;
}

void QelDevILUseImageMode()
{
    QelDevILInit();
    if (s_eMode == eModeImage)
        return;
    s_eMode = eModeImage;
    ilEnable(IL_KEEP_DXTC_DATA);
    ilDisable(IL_FORMAT_SET);
    ilutEnable(ILUT_OPENGL_CONV);
    ilutEnable(ILUT_GL_USE_S3TC);
    ilutEnable(ILUT_GL_AUTODETECT_TEXTURE_TARGET);
}

void QelDevILUseTextureMode()
{
    QelDevILInit();
    if (s_eMode == eModeTexture)
        return;
    s_eMode = eModeTexture;
    ilDisable(IL_KEEP_DXTC_DATA);
    ilEnable(IL_FORMAT_SET);
    ilFormatFunc(IL_RGBA);
    ilutEnable(ILUT_OPENGL_CONV);
    ilutDisable(ILUT_GL_USE_S3TC);
}
