#include "qel/platform/QelResources.h"

#include <map>
#include <tuple>

namespace
{
struct Key
{
    HINSTANCE hModule;
    unsigned int nId;
    std::string strType; // folded to lower case

    bool operator<(const Key& o) const
    {
        return std::tie(hModule, nId, strType) < std::tie(o.hModule, o.nId, o.strType);
    }
};

struct Block
{
    const void* pData;
    size_t nSize;
};

std::map<Key, Block>& Registry()
{
    static std::map<Key, Block> s_map;
    return s_map;
}

Key MakeKey(HINSTANCE hModule, unsigned int nId, const std::string& strType)
{
    Key k{hModule, nId, strType};
    for (char& c : k.strType)
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
    return k;
}
} // namespace

void QelResources::Register(HINSTANCE hModule, unsigned int nId, const std::string& strType, const void* pData,
                            size_t nSize)
{
    Registry()[MakeKey(hModule, nId, strType)] = Block{pData, pData ? nSize : 0};
}

bool QelResources::Unregister(HINSTANCE hModule, unsigned int nId, const std::string& strType)
{
    return Registry().erase(MakeKey(hModule, nId, strType)) != 0;
}

bool QelResources::Find(HINSTANCE hModule, unsigned int nId, const std::string& strType, const void*& pData,
                        size_t& nSize)
{
    pData = nullptr;
    nSize = 0;
    auto it = Registry().find(MakeKey(hModule, nId, strType));
    if (it == Registry().end() || !it->second.pData)
        return false;
    pData = it->second.pData;
    nSize = it->second.nSize;
    return true;
}

void QelResources::Clear()
{
    Registry().clear();
}
