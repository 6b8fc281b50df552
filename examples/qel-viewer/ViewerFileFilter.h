#pragma once

#include <string>
#include <vector>

/// The file dialog's filters, read from the library's filter strings ("Label|*.a;*.b|Label|*.c|||",
/// as QelModel::GetFilenameFilters and QelTexture::GetFilenameFilters give them).
namespace ViewerFileFilter
{
/// One entry of the dialog's list of types.
struct SFilter
{
    std::string m_strLabel;
    /// Patterns such as "*.obj" or "*.*"; only a leading "*" is a wildcard.
    std::vector<std::string> m_vPatterns;
};

/// Reads the label and pattern pairs; the text ends at an empty label. A label without patterns
/// is dropped.
std::vector<SFilter> Parse(const std::string& strFilters);

/// Whether a file name (without folder) matches one of the filter's patterns, without case.
bool Matches(const SFilter& cFilter, const std::string& strFileName);
} // namespace ViewerFileFilter
