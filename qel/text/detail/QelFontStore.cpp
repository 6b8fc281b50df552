#include "qel/text/detail/QelFontStore.h"

#include "qel/framework/QelSysApp.h"

#include <FTGL/ftgl.h>

#include <map>
#include <memory>
#include <tuple>

namespace
{
struct Key
{
    std::string strFile;
    int nHeight;
    EQelFontUse eUse;
    float fDepth;
    bool operator<(const Key& o) const
    {
        return std::tie(strFile, nHeight, eUse, fDepth) < std::tie(o.strFile, o.nHeight, o.eUse, o.fDepth);
    }
};

/// A loaded font, or the FreeType error of a load that failed.
struct Entry
{
    std::unique_ptr<FTFont> pFont;
    int nError = 0;
};

struct Store
{
    std::map<Key, Entry> mapFonts;
    unsigned int nGeneration = 1;
};

/// Deliberately never destroyed: FreeType's library object inside FTGL is a static made after the
/// store, so it would be gone before the store's fonts were freed at exit.
Store& TheStore()
{
    static Store* s_pStore = new Store;
    return *s_pStore;
}

std::unique_ptr<FTFont> MakeFont(const std::string& strFile, EQelFontUse eUse)
{
    const char* pFile = strFile.c_str();
    switch (eUse)
    {
    case eFontUseBitmap:
        return std::make_unique<FTBitmapFont>(pFile);
    case eFontUseOutlineMetrics:
    {
        auto pFont = std::make_unique<FTBitmapFont>(pFile);
        pFont->GlyphLoadFlags(FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP);
        return pFont;
    }
    case eFontUsePolygon:
        return std::make_unique<FTPolygonFont>(pFile);
    case eFontUseExtruded:
        return std::make_unique<FTExtrudeFont>(pFile);
    case eFontUseTexture:
        return std::make_unique<FTTextureFont>(pFile);
    case eFontUseCount:
        break;
    }
    return nullptr;
}

Entry Load(const Key& cKey)
{
    Entry cEntry;
    std::unique_ptr<FTFont> pFont = MakeFont(cKey.strFile, cKey.eUse);
    if (!pFont)
        return cEntry;
    if (pFont->Error() == 0 && cKey.eUse != eFontUseTexture && cKey.eUse != eFontUseBitmap)
        // Outline glyphs then hold no GL objects, so they can be made (to measure) without a context.
        pFont->UseDisplayList(false);
    if (pFont->Error() == 0 && cKey.eUse == eFontUseExtruded)
        pFont->Depth(cKey.fDepth);
    if (pFont->Error() == 0 && !pFont->FaceSize(static_cast<unsigned int>(cKey.nHeight)))
        cEntry.nError = pFont->Error() ? pFont->Error() : -1;
    cEntry.nError = cEntry.nError ? cEntry.nError : pFont->Error();
    if (cEntry.nError == 0)
        cEntry.pFont = std::move(pFont);
    return cEntry;
}
} // namespace

FTFont* QelAcquireFont(const std::string& strFile, int nHeight, EQelFontUse eUse, float fDepth)
{
    Store& s = TheStore();
    Key cKey{strFile, nHeight, eUse, eUse == eFontUseExtruded ? fDepth : 0.0f};
    auto it = s.mapFonts.find(cKey);
    if (it == s.mapFonts.end())
        it = s.mapFonts.emplace(cKey, Load(cKey)).first;
    if (!it->second.pFont)
        QelSysApp::App().PrintToConsole("<warning> Font file [%s] could not be loaded at height %d (FreeType error %d)\n",
                                        strFile.c_str(), nHeight, it->second.nError);
    return it->second.pFont.get();
}

size_t QelLoadedFontCount()
{
    size_t n = 0;
    for (const auto& [cKey, cEntry] : TheStore().mapFonts)
        n += cEntry.pFont ? 1 : 0;
    return n;
}

unsigned int QelFontGeneration()
{
    return TheStore().nGeneration;
}

void QelReleaseFonts()
{
    Store& s = TheStore();
    s.mapFonts.clear();
    ++s.nGeneration;
}
