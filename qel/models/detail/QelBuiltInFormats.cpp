#include "qel/models/detail/QelBuiltInFormats.h"

namespace
{
bool s_bStarted = false;
}

QelBuiltInFormats& QelBuiltInFormats::Instance()
{
    s_bStarted = true;
    static QelBuiltInFormats s_formats;
    return s_formats;
}

bool QelBuiltInFormats::Started()
{
    return s_bStarted;
}
