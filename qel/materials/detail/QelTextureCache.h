#pragma once

#include "qel/platform/QelHandles.h"

#include <string>

/// A cached OpenGL texture: what a texture copies when it is found again, and its count of users.
struct QelTextureCacheEntry
{
    unsigned int m_nName = 0;
    unsigned int m_nUsers = 0;
    unsigned short m_nWidth = 0;
    unsigned short m_nHeight = 0;
    unsigned char m_nFlags = 0;
    unsigned int m_nSerial = 0;
};

/// The process-wide texture caches: one by canonical file path, one by resource, and a list of
/// textures made from memory blocks (found by nobody, kept only so that their names are freed).
class QelTextureCache
{
public:
    /// The key of a path: canonical, every '/' made '\\', letters in lower case (a Windows path
    /// names the same file in any case).
    static std::string FileKey(const std::string& strPath);

    static QelTextureCacheEntry* FindFile(const std::string& strKey);
    static QelTextureCacheEntry* FindResource(HINSTANCE hModule, unsigned int nId, const std::string& strType);
    /// Each adds an entry with one user and returns it.
    static const QelTextureCacheEntry& AddFile(const std::string& strKey, const QelTextureCacheEntry& cEntry);
    static const QelTextureCacheEntry& AddResource(HINSTANCE hModule, unsigned int nId, const std::string& strType,
                                                   const QelTextureCacheEntry& cEntry);
    static const QelTextureCacheEntry& AddUncached(const QelTextureCacheEntry& cEntry);

    /// One more or one less user of the entry the name and serial belong to (nothing when the
    /// entry was flushed meanwhile).
    static void AddUser(unsigned int nName, unsigned int nSerial);
    static void Release(unsigned int nName, unsigned int nSerial);

    static void Flush(bool bAll);
    static void Usage(unsigned int& nFiles, unsigned int& nResources);
};
