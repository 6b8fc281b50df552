#pragma once

#include "qel/platform/QelExport.h"

#include <string>

/// Path helpers for files that come from Windows machines: they take '\\' and '/' alike, make paths
/// relative to a document and back, and find a file whatever the case of its name, since files made on
/// Windows name their neighbours in any case while this file system tells cases apart.
class QEL_EXPORT QelPath
{
public:
    /// Backslashes become '/'; nothing else changes.
    static std::string ToForwardSlashes(const std::string& strPath);
    /// The folder part up to (not including) the last separator; "" when there is none.
    static std::string Folder(const std::string& strPath);
    /// The part after the last separator.
    static std::string FileName(const std::string& strPath);
    /// The text after the last '.' of the file name; "" when the name has no '.'.
    static std::string Extension(const std::string& strPath);
    /// Starts with '/' or '\\', or with a drive letter and a colon.
    static bool IsAbsolute(const std::string& strPath);
    /// Joins a folder and a relative path with one '/'; an absolute path is returned as it is.
    static std::string Join(const std::string& strFolder, const std::string& strPath);
    /// Folds "." and ".." segments and repeated separators; separators become '/'.
    static std::string Normalize(const std::string& strPath);

    /// strPath written relative to the folder of strBaseFile ("../textures/a.png"); strPath unchanged
    /// when either is relative or they share no root.
    static std::string MakeRelative(const std::string& strPath, const std::string& strBaseFile);
    /// strPath resolved against the folder of strBaseFile, normalized; absolute paths stay as they are.
    static std::string MakeAbsolute(const std::string& strPath, const std::string& strBaseFile);

    /// strPath made absolute against the current folder, normalized.
    static std::string Absolute(const std::string& strPath);

    /// Whether something exists at strPath, and whether it is a folder or a plain file (links
    /// followed). False for an empty path.
    ///@{
    static bool Exists(const std::string& strPath);
    static bool IsDirectory(const std::string& strPath);
    static bool IsRegularFile(const std::string& strPath);
    ///@}

    /// The existing path whose segments match strPath's without regard to case (the exact spelling
    /// wins when it exists); "" when no such file or folder exists. Separators may be '\\' or '/'.
    static std::string FindIgnoringCase(const std::string& strPath);
    /// Finds a file named by another file (a texture named by a material library, say): strName as
    /// given, then relative to strFolder, each ignoring case, and last its bare file name in strFolder.
    /// "" when none of them is a regular file.
    static std::string FindFile(const std::string& strName, const std::string& strFolder);
};
