#include "qel/materials/detail/QelTextureCache.h"

#include "qel/materials/detail/QelTextureDef.h"
#include "qel/platform/QelString.h"

#include <GL/glew.h>

#include <map>
#include <tuple>
#include <unordered_map>

namespace
{
struct ResourceKey
{
    HINSTANCE hModule;
    unsigned int nId;
    std::string strType;

    bool operator<(const ResourceKey& o) const
    {
        return std::tie(hModule, nId, strType) < std::tie(o.hModule, o.nId, o.strType);
    }
};

enum EKind
{
    eKindFile,
    eKindResource,
    eKindMemory
};

struct Record
{
    QelTextureCacheEntry cEntry;
    EKind eKind;
    std::string strFileKey;
    ResourceKey cResourceKey;
};

struct Caches
{
    std::unordered_map<unsigned int, Record> mapByName;
    std::unordered_map<std::string, unsigned int> mapFiles;
    std::map<ResourceKey, unsigned int> mapResources;
    /// Set when a count changed or an entry came or went since the last flush.
    bool bChanged = false;
    unsigned int nNextSerial = 1;
};

Caches& Get()
{
    static Caches s_caches;
    return s_caches;
}

std::string Lower(std::string s)
{
    for (char& c : s)
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
    return s;
}

const QelTextureCacheEntry& Add(Record cRecord)
{
    Caches& c = Get();
    cRecord.cEntry.m_nUsers = 1;
    cRecord.cEntry.m_nFlags &= static_cast<unsigned char>(~QelTextureDef::kCacheBits);
    cRecord.cEntry.m_nSerial = c.nNextSerial++;
    c.bChanged = true;
    const unsigned int nName = cRecord.cEntry.m_nName;
    // A name still listed was deleted behind the cache's back (FlushCache(true) and a reuse by
    // OpenGL): the stale record goes.
    auto it = c.mapByName.find(nName);
    if (it != c.mapByName.end())
    {
        if (it->second.eKind == eKindFile)
            c.mapFiles.erase(it->second.strFileKey);
        else if (it->second.eKind == eKindResource)
            c.mapResources.erase(it->second.cResourceKey);
        c.mapByName.erase(it);
    }
    if (cRecord.eKind == eKindFile)
        c.mapFiles[cRecord.strFileKey] = nName;
    else if (cRecord.eKind == eKindResource)
        c.mapResources[cRecord.cResourceKey] = nName;
    return c.mapByName.emplace(nName, std::move(cRecord)).first->second.cEntry;
}

QelTextureCacheEntry* Entry(unsigned int nName)
{
    auto it = Get().mapByName.find(nName);
    return it == Get().mapByName.end() ? nullptr : &it->second.cEntry;
}
} // namespace

std::string QelTextureCache::FileKey(const std::string& strPath)
{
    return Lower(QelCanonicalizePath(strPath));
}

QelTextureCacheEntry* QelTextureCache::FindFile(const std::string& strKey)
{
    auto it = Get().mapFiles.find(strKey);
    return it == Get().mapFiles.end() ? nullptr : Entry(it->second);
}

QelTextureCacheEntry* QelTextureCache::FindResource(HINSTANCE hModule, unsigned int nId, const std::string& strType)
{
    auto it = Get().mapResources.find(ResourceKey{hModule, nId, Lower(strType)});
    return it == Get().mapResources.end() ? nullptr : Entry(it->second);
}

const QelTextureCacheEntry& QelTextureCache::AddFile(const std::string& strKey, const QelTextureCacheEntry& cEntry)
{
    return Add(Record{cEntry, eKindFile, strKey, ResourceKey{}});
}

const QelTextureCacheEntry& QelTextureCache::AddResource(HINSTANCE hModule, unsigned int nId,
                                                         const std::string& strType,
                                                         const QelTextureCacheEntry& cEntry)
{
    return Add(Record{cEntry, eKindResource, std::string(), ResourceKey{hModule, nId, Lower(strType)}});
}

const QelTextureCacheEntry& QelTextureCache::AddUncached(const QelTextureCacheEntry& cEntry)
{
    return Add(Record{cEntry, eKindMemory, std::string(), ResourceKey{}});
}

void QelTextureCache::AddUser(unsigned int nName, unsigned int nSerial)
{
    QelTextureCacheEntry* p = Entry(nName);
    if (p && p->m_nSerial == nSerial)
    {
        ++p->m_nUsers;
        Get().bChanged = true;
    }
}

void QelTextureCache::Release(unsigned int nName, unsigned int nSerial)
{
    QelTextureCacheEntry* p = Entry(nName);
    if (p && p->m_nSerial == nSerial && p->m_nUsers > 0)
    {
        --p->m_nUsers;
        Get().bChanged = true;
    }
}

void QelTextureCache::Flush(bool bAll)
{
    Caches& c = Get();
    if (!c.bChanged && !bAll)
        return;
    c.bChanged = false;
    for (auto it = c.mapByName.begin(); it != c.mapByName.end();)
    {
        const QelTextureCacheEntry& e = it->second.cEntry;
        if (!bAll && (e.m_nUsers != 0 || (e.m_nFlags & QelTextureDef::kCacheBits)))
        {
            ++it;
            continue;
        }
        GLuint nName = e.m_nName;
        glDeleteTextures(1, &nName);
        if (it->second.eKind == eKindFile)
            c.mapFiles.erase(it->second.strFileKey);
        else if (it->second.eKind == eKindResource)
            c.mapResources.erase(it->second.cResourceKey);
        it = c.mapByName.erase(it);
    }
}

void QelTextureCache::Usage(unsigned int& nFiles, unsigned int& nResources)
{
    nFiles = unsigned(Get().mapFiles.size());
    nResources = unsigned(Get().mapResources.size());
}
