#include "tests/models/QelShpTestFile.h"

#include <shapefil.h>

std::string WriteShapes(const QelModelTempDir& dir, const std::string& strBase, int nType,
                        const std::vector<SShape>& vShapes)
{
    std::string strPath = dir.File(strBase);
    SHPHandle hShp = SHPCreate(strPath.c_str(), nType);
    DBFHandle hDbf = DBFCreate(strPath.c_str());
    DBFAddField(hDbf, "ID", FTInteger, 8, 0);
    DBFAddField(hDbf, "NAME", FTString, 32, 0);
    for (size_t i = 0; i < vShapes.size(); ++i)
    {
        const SShape& s = vShapes[i];
        std::vector<double> vZ = s.vZ.empty() ? std::vector<double>(s.vX.size(), 0.0) : s.vZ;
        SHPObject* pObj = SHPCreateObject(nType, -1, int(s.vPartStarts.size()), s.vPartStarts.data(),
                                          s.vPartTypes.empty() ? nullptr : s.vPartTypes.data(), int(s.vX.size()),
                                          s.vX.data(), s.vY.data(), vZ.data(), nullptr);
        SHPWriteObject(hShp, -1, pObj);
        SHPDestroyObject(pObj);
        DBFWriteIntegerAttribute(hDbf, int(i), 0, int(i) * 10);
        DBFWriteStringAttribute(hDbf, int(i), 1, s.strName.c_str());
    }
    SHPClose(hShp);
    DBFClose(hDbf);
    return strPath + ".shp";
}
