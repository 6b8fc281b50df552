#include "qel/models/CColladaLoader.h"

#include "qel/models/QelModelData.h"
#include "qel/models/detail/QelColladaScene.h"
#include "qel/models/detail/QelColladaXml.h"
#include "qel/models/detail/QelLoadLog.h"
#include "qel/platform/QelMappedFile.h"
#include "qel/util/QelPath.h"

#include <cstring>

namespace
{
const char* const kLoaderName = "CColladaLoader";

bool ParseInto(const char* pData, size_t nSize, QelLoadLog& log, const std::string& strFolder, QelModelData& data)
{
    if (nSize >= 4 && std::memcmp(pData, "PK\x03\x04", 4) == 0)
    {
        log.Error("is a zipped COLLADA archive (.zae); unpack it and open the .dae document inside");
        return false;
    }
    QelColladaXml::Captured captured;
    xmlDocPtr pDoc = QelColladaXml::Parse(pData, nSize, log, captured);
    if (!pDoc)
        return false;
    QelColladaScene scene(data, log, strFolder);
    const bool bBuilt = scene.Build(pDoc);
    xmlFreeDoc(pDoc);
    if (!bBuilt)
    {
        data.Clear();
        return false;
    }
    data.ComputeBounds();
    return true;
}
} // namespace

CColladaLoader::CColladaLoader()
{
    Register("dae");
}

std::string CColladaLoader::GetLabel() const
{
    return "Collada Files";
}

bool CColladaLoader::Load(const std::string& strFile, QelModelData& data)
{
    data.Clear();
    QelLoadLog log(kLoaderName, strFile);
    QelMappedFile file;
    if (!log.Open(file))
        return false;
    return ParseInto(file.Data(), file.Size(), log, QelPath::Folder(QelPath::Absolute(strFile)), data);
}

bool CColladaLoader::LoadFromMemory(const char* pData, size_t nSize, const std::string& strName,
                                    const std::string& strFolder, QelModelData& data)
{
    static const char kEmpty = 0;
    data.Clear();
    QelLoadLog log(kLoaderName, strName);
    return ParseInto(pData ? pData : &kEmpty, pData ? nSize : 0, log, strFolder, data);
}
