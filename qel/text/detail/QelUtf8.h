#pragma once

#include <cstddef>
#include <string>

/// Decodes UTF-8 into code points, one wchar_t each. Strict: overlong forms, surrogates, code
/// points past U+10FFFF and cut sequences are refused, with the offset of the first bad byte in
/// nBadOffset and out left empty.
bool QelDecodeUtf8(const std::string& strText, std::wstring& strOut, size_t& nBadOffset);
