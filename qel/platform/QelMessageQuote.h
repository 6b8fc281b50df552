#pragma once

#include "qel/platform/QelExport.h"

#include <cstddef>
#include <string>

/// The most bytes of any outside input that a log message quotes.
constexpr size_t kQelMaxQuotedBytes = 256;

/// Input text as a message quotes it: whole when it is short, otherwise its first
/// kQelMaxQuotedBytes bytes (cut at a character boundary), "..." and the full length, as in
/// "abc... (104857600 bytes)". A 100 MB string must not become a 100 MB log line.
QEL_EXPORT std::string QelQuoteInput(const char* pText, size_t nLength);
/// The same for a whole string.
QEL_EXPORT std::string QelQuoteInput(const std::string& strText);
