#include "ViewerFileFilter.h"

#include <cctype>

namespace
{
std::vector<std::string> SplitOn(const std::string& strText, char cSeparator)
{
    std::vector<std::string> vParts;
    size_t nStart = 0;
    for (;;)
    {
        size_t nEnd = strText.find(cSeparator, nStart);
        vParts.push_back(strText.substr(nStart, nEnd == std::string::npos ? std::string::npos : nEnd - nStart));
        if (nEnd == std::string::npos)
            return vParts;
        nStart = nEnd + 1;
    }
}

bool EqualNoCase(const std::string& a, size_t nFrom, const std::string& b)
{
    if (a.size() - nFrom != b.size())
        return false;
    for (size_t i = 0; i < b.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[nFrom + i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}
} // namespace

namespace ViewerFileFilter
{
std::vector<SFilter> Parse(const std::string& strFilters)
{
    std::vector<SFilter> vFilters;
    std::vector<std::string> vParts = SplitOn(strFilters, '|');
    for (size_t i = 0; i + 1 < vParts.size() && !vParts[i].empty(); i += 2)
    {
        SFilter cFilter{vParts[i], {}};
        for (const std::string& strPattern : SplitOn(vParts[i + 1], ';'))
            if (!strPattern.empty())
                cFilter.m_vPatterns.push_back(strPattern);
        if (!cFilter.m_vPatterns.empty())
            vFilters.push_back(std::move(cFilter));
    }
    return vFilters;
}

bool Matches(const SFilter& cFilter, const std::string& strFileName)
{
    for (const std::string& strPattern : cFilter.m_vPatterns)
    {
        if (strPattern == "*" || strPattern == "*.*")
            return true;
        if (strPattern[0] != '*')
        {
            if (EqualNoCase(strFileName, 0, strPattern))
                return true;
            continue;
        }
        std::string strTail = strPattern.substr(1);
        if (strFileName.size() > strTail.size() && EqualNoCase(strFileName, strFileName.size() - strTail.size(), strTail))
            return true;
    }
    return false;
}
} // namespace ViewerFileFilter
