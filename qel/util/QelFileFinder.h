#pragma once

#include "qel/platform/QelExport.h"

#include <string>
#include <vector>

/// Lists the entries of a folder whose names match a wildcard pattern, as the Windows find-file
/// calls do: '*' matches any run of characters, '?' any one, and letters match without regard to case.
class QEL_EXPORT QelFileFinder
{
public:
    /// Which entries a listing returns.
    enum EEntryKind
    {
        eEntryFiles = 1,
        eEntryFolders = 2,
        eEntryAll = 3
    };

    /// Starts a listing of strFolder for strPattern; false when the folder cannot be read or nothing
    /// matches. The names come back sorted by FindNext.
    bool FindFirst(const std::string& strFolder, const std::string& strPattern, EEntryKind eKind = eEntryFiles);
    /// The next matching name (without folder); false at the end.
    bool FindNext(std::string& strName);

    /// Every matching name of strFolder, sorted; empty when the folder cannot be read.
    static std::vector<std::string> List(const std::string& strFolder, const std::string& strPattern,
                                         EEntryKind eKind = eEntryFiles);
    /// '*' and '?' wildcards, letters compared without case.
    static bool Matches(const std::string& strName, const std::string& strPattern);

private:
    std::vector<std::string> m_vNames;
    size_t m_nNext = 0;
};
