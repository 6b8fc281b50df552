#pragma once

#include <string>

class QelLoadLog;
class QelMappedFile;
class QelModelData;

/// Opens a model file for a loader; false, with the reason in the log, when it cannot be read.
bool QelOpenModelFile(const std::string& strFile, QelMappedFile& file, QelLoadLog& log);
/// Ends a load: a failed one leaves the data empty, a good one gets its bounds. Returns bRead.
bool QelFinishLoad(bool bRead, QelModelData& data);
