#include "qel/models/CDxfLoader.h"

#include "qel/models/QelModelData.h"
#include "qel/models/detail/QelDxfParser.h"
#include "qel/models/detail/QelLoadLog.h"
#include "qel/platform/QelMappedFile.h"

namespace
{
const char* const kLoaderName = "CDxfLoader";

size_t s_nInsertLimit = size_t(1) << 24;

bool ParseInto(const char* pData, size_t nSize, QelLoadLog& log, QelModelData& data)
{
    QelDxfParser parser(data, log, s_nInsertLimit);
    if (!parser.Parse(pData, nSize))
    {
        data.Clear();
        return false;
    }
    data.ComputeBounds();
    return true;
}
} // namespace

CDxfLoader::CDxfLoader()
{
    Register("dxf");
}

std::string CDxfLoader::GetLabel() const
{
    return "AutoCAD DXF Files";
}

bool CDxfLoader::Load(const std::string& strFile, QelModelData& data)
{
    data.Clear();
    QelLoadLog log(kLoaderName, strFile);
    QelMappedFile file;
    if (!log.Open(file))
        return false;
    return ParseInto(file.Data(), file.Size(), log, data);
}

bool CDxfLoader::LoadFromMemory(const char* pData, size_t nSize, const std::string& strName, QelModelData& data)
{
    static const char kEmpty = 0;
    data.Clear();
    QelLoadLog log(kLoaderName, strName);
    return ParseInto(pData ? pData : &kEmpty, pData ? nSize : 0, log, data);
}

void CDxfLoader::SetInsertLimit(size_t nVertices)
{
    s_nInsertLimit = nVertices;
}

size_t CDxfLoader::GetInsertLimit()
{
    return s_nInsertLimit;
}
