#include "qel/models/detail/QelLoadSteps.h"

#include "qel/models/QelModelData.h"
#include "qel/models/detail/QelLoadLog.h"
#include "qel/platform/QelMappedFile.h"

bool QelOpenModelFile(const std::string& strFile, QelMappedFile& file, QelLoadLog& log)
{
    switch (file.Open(strFile))
    {
    case QelMappedFile::eOpened:
        return true;
    case QelMappedFile::eIsDirectory:
        log.Error("is a folder, not a file");
        return false;
    case QelMappedFile::eNotFound:
        log.Error("cannot be opened");
        return false;
    default:
        log.Error("cannot be read");
        return false;
    }
}

bool QelFinishLoad(bool bRead, QelModelData& data)
{
    if (!bRead)
    {
        data.Clear();
        return false;
    }
    data.ComputeBounds();
    return true;
}
