#pragma once

#include "qel/models/QelModelData.h"

#include <gtest/gtest.h>

#include <string>

/// A scratch folder of one test, removed at its end.
class QelModelTempDir
{
public:
    QelModelTempDir();
    ~QelModelTempDir();
    const std::string& Path() const { return m_strPath; }
    /// Writes the bytes to a file below the folder (creating sub-folders) and returns its path.
    std::string Write(const std::string& strName, const std::string& strBytes) const;
    std::string File(const std::string& strName) const { return m_strPath + "/" + strName; }

private:
    std::string m_strPath;
};

class QelModelFormat;
/// The registered loader of an extension (the built-in loaders exist once per process).
QelModelFormat& RegisteredLoader(const std::string& strExtension);

/// Fails the test unless both models hold the same data bit for bit.
void ExpectSameModel(const QelModelData& a, const QelModelData& b);
/// Writes the model in the own format into dir, loads it back and expects the same data.
void ExpectOwnFormatRoundTrip(const QelModelData& data, const QelModelTempDir& dir);
/// Writes strText as strName into the folder and loads it with the loader of the name's
/// extension; what loads must also come back bit for bit from the own format.
bool LoadText(const QelModelTempDir& dir, const std::string& strName, const std::string& strText, QelModelData& data);
/// LoadText in a folder of its own, succeeding only when the text loads without a message.
::testing::AssertionResult LoadsCleanly(const std::string& strName, const std::string& strText, QelModelData& data);
/// Twice the signed area of each triangle of the mesh, measured in the plane of the given normal.
double TriangleAreaSum(const QelModelMesh& mesh, const QelVec3& vNormal, bool* pAllPositive);
