#include "qel/util/QelFileFinder.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

bool QelFileFinder::Matches(const std::string& strName, const std::string& strPattern)
{
    // Iterative match with one back-track point for the last '*': linear in practice, never exponential.
    size_t n = 0, p = 0, nStar = std::string::npos, nMark = 0;
    auto fold = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
    while (n < strName.size())
    {
        if (p < strPattern.size() && (strPattern[p] == '?' || fold(strPattern[p]) == fold(strName[n])))
        {
            ++n;
            ++p;
        }
        else if (p < strPattern.size() && strPattern[p] == '*')
        {
            nStar = p++;
            nMark = n;
        }
        else if (nStar != std::string::npos)
        {
            p = nStar + 1;
            n = ++nMark;
        }
        else
            return false;
    }
    while (p < strPattern.size() && strPattern[p] == '*')
        ++p;
    return p == strPattern.size();
}

std::vector<std::string> QelFileFinder::List(const std::string& strFolder, const std::string& strPattern,
                                             EEntryKind eKind)
{
    std::vector<std::string> vOut;
    std::error_code ec;
    fs::directory_iterator it(strFolder.empty() ? "." : strFolder, ec);
    for (; !ec && it != fs::directory_iterator(); it.increment(ec))
    {
        std::error_code ecType;
        bool bFolder = it->is_directory(ecType);
        if (!(eKind & (bFolder ? eEntryFolders : eEntryFiles)))
            continue;
        std::string strName = it->path().filename().string();
        if (Matches(strName, strPattern))
            vOut.push_back(strName);
    }
    std::sort(vOut.begin(), vOut.end());
    return vOut;
}

bool QelFileFinder::FindFirst(const std::string& strFolder, const std::string& strPattern, EEntryKind eKind)
{
    m_vNames = List(strFolder, strPattern, eKind);
    m_nNext = 0;
    return !m_vNames.empty();
}

bool QelFileFinder::FindNext(std::string& strName)
{
    if (m_nNext >= m_vNames.size())
        return false;
    strName = m_vNames[m_nNext++];
    return true;
}
