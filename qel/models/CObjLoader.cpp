#include "qel/models/CObjLoader.h"

#include "qel/models/QelModelData.h"
#include "qel/models/detail/QelLoadLog.h"
#include "qel/models/detail/QelMtlParser.h"
#include "qel/models/detail/QelObjParser.h"
#include "qel/platform/QelMappedFile.h"
#include "qel/util/QelPath.h"

namespace
{
const char* const kLoaderName = "CObjLoader";

bool Finish(bool bParsed, QelModelData& data)
{
    if (!bParsed)
    {
        data.Clear();
        return false;
    }
    data.ComputeBounds();
    return true;
}
} // namespace

CObjLoader::CObjLoader()
{
    Register("obj");
}

std::string CObjLoader::GetLabel() const
{
    return "Wavefront Object Files";
}

bool CObjLoader::Load(const std::string& strFile, QelModelData& data)
{
    data.Clear();
    QelLoadLog log(kLoaderName, strFile);
    QelMappedFile file;
    if (!log.Open(file))
        return false;
    QelObjParser parser(data, log, QelPath::Folder(QelPath::Absolute(strFile)));
    return Finish(parser.Parse(file.Data(), file.Size(), &file), data);
}

bool CObjLoader::LoadFromMemory(const char* pData, size_t nSize, const std::string& strName,
                                const std::string& strFolder, QelModelData& data)
{
    static const char kEmpty = 0;
    data.Clear();
    QelLoadLog log(kLoaderName, strName);
    QelObjParser parser(data, log, strFolder);
    return Finish(parser.Parse(pData ? pData : &kEmpty, pData ? nSize : 0, nullptr), data);
}

bool CObjLoader::LoadMaterialsFromMemory(const char* pData, size_t nSize, const std::string& strName,
                                         const std::string& strFolder, QelModelData& data)
{
    if (!pData)
        return false;
    QelLoadLog log(kLoaderName, strName);
    QelMtlParser::SState state;
    for (size_t i = 0; i < data.m_vMaterials.size(); ++i)
        state.mapMaterials.emplace(data.m_vMaterials[i].m_strName, int(i));
    state.setLibraries.insert(QelPath::Normalize(QelPath::Join(strFolder, strName)));
    QelMtlParser::Parse(pData, pData + nSize, log, strFolder, data, state, 0);
    return true;
}
