#include "qel/util/QelPath.h"

#include "qel/platform/QelString.h"

#include <cctype>
#include <filesystem>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

namespace
{
bool IsSeparator(char c)
{
    return c == '/' || c == '\\';
}

size_t LastSeparator(const std::string& strPath)
{
    return strPath.find_last_of("/\\");
}

/// The root ("/", "C:/", "C:" or "") and the segments of a path.
void Split(const std::string& strPath, std::string& strRoot, std::vector<std::string>& vSegments)
{
    std::string strSlashed = QelPath::ToForwardSlashes(strPath);
    size_t nPos = 0;
    strRoot.clear();
    if (strSlashed.size() >= 2 && strSlashed[1] == ':' && std::isalpha(static_cast<unsigned char>(strSlashed[0])))
    {
        strRoot = strSlashed.substr(0, 2);
        nPos = 2;
    }
    if (nPos < strSlashed.size() && strSlashed[nPos] == '/')
    {
        strRoot += '/';
        ++nPos;
    }
    vSegments.clear();
    while (nPos <= strSlashed.size())
    {
        size_t nEnd = strSlashed.find('/', nPos);
        if (nEnd == std::string::npos)
            nEnd = strSlashed.size();
        if (nEnd > nPos)
            vSegments.push_back(strSlashed.substr(nPos, nEnd - nPos));
        nPos = nEnd + 1;
    }
}

std::string JoinSegments(const std::string& strRoot, const std::vector<std::string>& vSegments)
{
    std::string strOut = strRoot;
    for (size_t i = 0; i < vSegments.size(); ++i)
    {
        if (i)
            strOut += '/';
        strOut += vSegments[i];
    }
    return strOut;
}

std::vector<std::string> Fold(const std::vector<std::string>& vSegments, bool bRooted)
{
    std::vector<std::string> vOut;
    for (const std::string& s : vSegments)
    {
        if (s == ".")
            continue;
        if (s == ".." && !vOut.empty() && vOut.back() != "..")
            vOut.pop_back();
        else if (s == ".." && bRooted)
            continue; // nothing lies above a root
        else
            vOut.push_back(s);
    }
    return vOut;
}
} // namespace

std::string QelPath::ToForwardSlashes(const std::string& strPath)
{
    std::string strOut = strPath;
    for (char& c : strOut)
        if (c == '\\')
            c = '/';
    return strOut;
}

std::string QelPath::Folder(const std::string& strPath)
{
    size_t n = LastSeparator(strPath);
    if (n == std::string::npos)
        return "";
    return n == 0 ? strPath.substr(0, 1) : strPath.substr(0, n);
}

std::string QelPath::FileName(const std::string& strPath)
{
    size_t n = LastSeparator(strPath);
    return n == std::string::npos ? strPath : strPath.substr(n + 1);
}

std::string QelPath::Extension(const std::string& strPath)
{
    std::string strName = FileName(strPath);
    size_t n = strName.rfind('.');
    return n == std::string::npos ? "" : strName.substr(n + 1);
}

bool QelPath::IsAbsolute(const std::string& strPath)
{
    if (!strPath.empty() && IsSeparator(strPath[0]))
        return true;
    return strPath.size() >= 2 && strPath[1] == ':' && std::isalpha(static_cast<unsigned char>(strPath[0]));
}

std::string QelPath::Join(const std::string& strFolder, const std::string& strPath)
{
    if (strFolder.empty() || IsAbsolute(strPath))
        return strPath;
    if (IsSeparator(strFolder.back()))
        return strFolder + strPath;
    return strFolder + "/" + strPath;
}

std::string QelPath::Normalize(const std::string& strPath)
{
    std::string strRoot;
    std::vector<std::string> vSegments;
    Split(strPath, strRoot, vSegments);
    std::string strOut = JoinSegments(strRoot, Fold(vSegments, !strRoot.empty()));
    return strOut.empty() ? "." : strOut;
}

std::string QelPath::MakeRelative(const std::string& strPath, const std::string& strBaseFile)
{
    std::string strFolder = Folder(strBaseFile);
    if (!IsAbsolute(strPath) || !IsAbsolute(strFolder))
        return strPath;
    std::string strRootA, strRootB;
    std::vector<std::string> vA, vB;
    Split(strPath, strRootA, vA);
    Split(strFolder, strRootB, vB);
    if (QelStricmp(strRootA.c_str(), strRootB.c_str()) != 0)
        return strPath;
    vA = Fold(vA, true);
    vB = Fold(vB, true);
    size_t nCommon = 0;
    while (nCommon < vA.size() && nCommon < vB.size() && vA[nCommon] == vB[nCommon])
        ++nCommon;
    std::vector<std::string> vOut(vB.size() - nCommon, "..");
    vOut.insert(vOut.end(), vA.begin() + static_cast<long>(nCommon), vA.end());
    return JoinSegments("", vOut);
}

std::string QelPath::MakeAbsolute(const std::string& strPath, const std::string& strBaseFile)
{
    if (IsAbsolute(strPath))
        return Normalize(strPath);
    return Normalize(Join(Folder(strBaseFile), strPath));
}

std::string QelPath::Absolute(const std::string& strPath)
{
    if (IsAbsolute(strPath))
        return Normalize(strPath);
    std::error_code ec;
    fs::path cwd = fs::current_path(ec);
    return Normalize(ec ? strPath : Join(cwd.string(), strPath));
}

bool QelPath::Exists(const std::string& strPath)
{
    std::error_code ec;
    return !strPath.empty() && fs::exists(strPath, ec);
}

bool QelPath::IsDirectory(const std::string& strPath)
{
    std::error_code ec;
    return !strPath.empty() && fs::is_directory(strPath, ec);
}

bool QelPath::IsRegularFile(const std::string& strPath)
{
    std::error_code ec;
    return !strPath.empty() && fs::is_regular_file(strPath, ec);
}

std::string QelPath::FindIgnoringCase(const std::string& strPath)
{
    std::string strSlashed = ToForwardSlashes(strPath);
    if (Exists(strSlashed))
        return strSlashed;
    std::string strRoot;
    std::vector<std::string> vSegments;
    Split(strSlashed, strRoot, vSegments);
    // Each segment is looked up in the folder found so far: first exactly, then by a scan.
    std::string strFound = strRoot;
    for (const std::string& strSegment : vSegments)
    {
        std::string strFolder = strFound.empty() ? "." : strFound;
        std::string strExact = Join(strFound, strSegment);
        if (strSegment == "." || strSegment == ".." || Exists(strExact))
        {
            strFound = strExact;
            continue;
        }
        std::error_code ec;
        fs::directory_iterator it(strFolder, ec);
        std::string strMatch;
        for (; !ec && it != fs::directory_iterator(); it.increment(ec))
        {
            std::string strName = it->path().filename().string();
            if (QelStricmp(strName.c_str(), strSegment.c_str()) == 0)
            {
                strMatch = strName;
                break;
            }
        }
        if (strMatch.empty())
            return "";
        strFound = Join(strFound, strMatch);
    }
    return strFound;
}

std::string QelPath::FindFile(const std::string& strName, const std::string& strFolder)
{
    if (strName.empty())
        return "";
    std::string strSlashed = ToForwardSlashes(strName);
    std::vector<std::string> vCandidates;
    if (IsAbsolute(strSlashed))
        vCandidates.push_back(strSlashed);
    else
        vCandidates.push_back(Join(strFolder, strSlashed));
    vCandidates.push_back(Join(strFolder, FileName(strSlashed)));
    for (const std::string& strCandidate : vCandidates)
    {
        std::string strFound = FindIgnoringCase(strCandidate);
        if (IsRegularFile(strFound))
            return Normalize(strFound);
    }
    return "";
}
