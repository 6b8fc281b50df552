#pragma once

#include "qel/platform/QelLogicalFont.h"

#include <string>

/// The file a logical font was matched to, and the family that file holds.
struct QelResolvedFont
{
    std::string m_strFile;
    std::string m_strFamily;
};

/// Matches a logical font to a scalable font file through fontconfig. A missing family falls back to
/// the library's fallback family (else to fontconfig's own choice) with a warning naming both; every
/// failure is a warning and false. Matches are remembered, and a remembered fallback warns again.
bool QelResolveFontFamily(const QelLogicalFont& cFont, QelResolvedFont& cOut);

/// Forgets the matches and the font configuration; the next lookup loads the configuration anew.
void QelReleaseFontConfig();

/// The family used when the one asked for is not installed.
extern const char* const kQelFallbackFontFamily;
