#include "qel/text/detail/QelFontResolver.h"

#include "qel/framework/QelSysApp.h"

#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cstring>
#include <map>

const char* const kQelFallbackFontFamily = "DejaVu Sans";

namespace
{
/// A remembered lookup: what it found and, for a fallback, the family it used instead.
struct Match
{
    bool bFound = false;
    bool bFallback = false;
    QelResolvedFont cFont;
};

/// The configuration is the library's own (not fontconfig's current one), so freeing it at exit
/// leaves a host's own use of fontconfig alone.
struct ResolverState
{
    ~ResolverState()
    {
        if (pConfig)
            FcConfigDestroy(pConfig);
    }
    bool bConfigTried = false;
    FcConfig* pConfig = nullptr;
    std::map<QelLogicalFont, Match> mapMatches;
};

ResolverState& State()
{
    static ResolverState s;
    return s;
}

/// The configuration, loaded on first use. Only a configuration file that exists counts: fontconfig
/// would otherwise carry on with a bare built-in one and choose fonts nobody configured.
FcConfig* Config()
{
    ResolverState& s = State();
    if (s.bConfigTried)
        return s.pConfig;
    s.bConfigTried = true;
    FcConfig* pConfig = FcConfigCreate();
    if (!pConfig)
        return nullptr;
    FcChar8* pFile = FcConfigGetFilename(pConfig, nullptr);
    if (pFile && FcConfigParseAndLoad(pConfig, pFile, FcTrue) && FcConfigBuildFonts(pConfig))
        s.pConfig = pConfig;
    else
        FcConfigDestroy(pConfig);
    if (pFile)
        FcStrFree(pFile);
    return s.pConfig;
}

/// Generic names are aliases that configuration maps to real families: never "missing".
bool IsGenericFamily(const std::string& strFamily)
{
    static const char* const kGeneric[] = {"sans-serif", "sans", "serif", "monospace", "mono",
                                           "cursive", "fantasy", "system-ui", "emoji", "math"};
    return std::any_of(std::begin(kGeneric), std::end(kGeneric), [&](const char* p) {
        return FcStrCmpIgnoreCase(reinterpret_cast<const FcChar8*>(p),
                                  reinterpret_cast<const FcChar8*>(strFamily.c_str())) == 0;
    });
}

FcPattern* BestMatch(FcConfig* pConfig, const QelLogicalFont& cFont, int nWeight, const std::string& strFamily)
{
    FcPattern* pPattern = FcPatternCreate();
    if (!pPattern)
        return nullptr;
    FcPatternAddString(pPattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(strFamily.c_str()));
    FcPatternAddDouble(pPattern, FC_PIXEL_SIZE, double(cFont.m_nHeight));
    if (nWeight > 0)
        FcPatternAddInteger(pPattern, FC_WEIGHT, FcWeightFromOpenType(nWeight));
    FcPatternAddInteger(pPattern, FC_SLANT, cFont.m_bItalic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    // Outlines are needed for polygonal text and any size; bitmap-only faces would not do.
    FcPatternAddBool(pPattern, FC_SCALABLE, FcTrue);
    FcConfigSubstitute(pConfig, pPattern, FcMatchPattern);
    FcDefaultSubstitute(pPattern);
    FcResult eResult = FcResultNoMatch;
    FcPattern* pMatch = FcFontMatch(pConfig, pPattern, &eResult);
    FcPatternDestroy(pPattern);
    return pMatch;
}

bool HasFamily(FcPattern* pMatch, const std::string& strFamily)
{
    FcChar8* pName = nullptr;
    for (int i = 0; FcPatternGetString(pMatch, FC_FAMILY, i, &pName) == FcResultMatch; ++i)
        if (FcStrCmpIgnoreCase(pName, reinterpret_cast<const FcChar8*>(strFamily.c_str())) == 0)
            return true;
    return false;
}

/// The file and first family name of a match; false when the match names no file.
bool Describe(FcPattern* pMatch, QelResolvedFont& cOut)
{
    FcChar8* pFile = nullptr;
    FcChar8* pFamily = nullptr;
    if (!pMatch || FcPatternGetString(pMatch, FC_FILE, 0, &pFile) != FcResultMatch || !pFile || !*pFile)
        return false;
    cOut.m_strFile = reinterpret_cast<const char*>(pFile);
    cOut.m_strFamily = FcPatternGetString(pMatch, FC_FAMILY, 0, &pFamily) == FcResultMatch && pFamily
                           ? reinterpret_cast<const char*>(pFamily)
                           : std::string();
    return true;
}

Match Lookup(FcConfig* pConfig, const QelLogicalFont& cFont, const std::string& strFamily)
{
    int nWeight = cFont.m_nWeight;
    if (nWeight < 0 || nWeight > 1000)
    {
        nWeight = std::clamp(nWeight, 0, 1000);
        QelSysApp::App().PrintToConsole("<warning> Font weight %d of [%s] is outside 0..1000: using %d\n",
                                        cFont.m_nWeight, strFamily.c_str(), nWeight);
    }
    Match cMatch;
    FcPattern* pMatch = BestMatch(pConfig, cFont, nWeight, strFamily);
    if (pMatch && !IsGenericFamily(strFamily) && !HasFamily(pMatch, strFamily))
    {
        cMatch.bFallback = true;
        FcPattern* pFallback = BestMatch(pConfig, cFont, nWeight, kQelFallbackFontFamily);
        if (pFallback && HasFamily(pFallback, kQelFallbackFontFamily))
            std::swap(pMatch, pFallback);
        if (pFallback)
            FcPatternDestroy(pFallback);
    }
    cMatch.bFound = Describe(pMatch, cMatch.cFont);
    if (pMatch)
        FcPatternDestroy(pMatch);
    return cMatch;
}
} // namespace

bool QelResolveFontFamily(const QelLogicalFont& cFont, QelResolvedFont& cOut)
{
    const std::string strFamily = cFont.m_strFaceName.empty() ? std::string("sans-serif") : cFont.m_strFaceName;
    if (cFont.m_nHeight <= 0)
    {
        QelSysApp::App().PrintToConsole("<warning> Font height %d of [%s] is not positive: no font is used\n",
                                        cFont.m_nHeight, strFamily.c_str());
        return false;
    }
    FcConfig* pConfig = Config();
    if (!pConfig)
    {
        QelSysApp::App().PrintToConsole("<warning> Font family [%s] cannot be looked up: no font configuration "
                                        "could be loaded\n",
                                        strFamily.c_str());
        return false;
    }
    ResolverState& s = State();
    auto it = s.mapMatches.find(cFont);
    if (it == s.mapMatches.end())
        it = s.mapMatches.emplace(cFont, Lookup(pConfig, cFont, strFamily)).first;
    const Match& cMatch = it->second;
    if (!cMatch.bFound)
    {
        QelSysApp::App().PrintToConsole("<warning> No font file was found for family [%s]\n", strFamily.c_str());
        return false;
    }
    if (cMatch.bFallback)
        QelSysApp::App().PrintToConsole("<warning> Font family [%s] was not found: using [%s] instead\n",
                                        strFamily.c_str(), cMatch.cFont.m_strFamily.c_str());
    cOut = cMatch.cFont;
    return true;
}

void QelReleaseFontConfig()
{
    ResolverState& s = State();
    s.mapMatches.clear();
    if (s.pConfig)
        FcConfigDestroy(s.pConfig);
    s.pConfig = nullptr;
    s.bConfigTried = false;
}
