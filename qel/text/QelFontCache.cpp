#include "qel/text/QelFontCache.h"

#include "qel/text/detail/QelFontResolver.h"
#include "qel/text/detail/QelFontStore.h"

bool QelFontCache::ResolveFont(const QelLogicalFont& cFont, std::string& strFile, std::string& strFamily)
{
    QelResolvedFont cResolved;
    if (!QelResolveFontFamily(cFont, cResolved))
        return false;
    strFile = cResolved.m_strFile;
    strFamily = cResolved.m_strFamily;
    return true;
}

const char* QelFontCache::GetFallbackFamily()
{
    return kQelFallbackFontFamily;
}

size_t QelFontCache::GetFontCount()
{
    return QelLoadedFontCount();
}

void QelFontCache::Clear()
{
    QelReleaseFonts();
    QelReleaseFontConfig();
}
