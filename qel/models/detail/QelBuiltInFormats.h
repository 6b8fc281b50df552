#pragma once

#include "qel/models/C3dsLoader.h"
#include "qel/models/CColladaLoader.h"
#include "qel/models/CDxfLoader.h"
#include "qel/models/CObjLoader.h"
#include "qel/models/CShpLoader.h"
#include "qel/models/CZmfLoader.h"

/// The one instance of each built-in loader, made when the registry is first needed rather than by
/// static constructors, whose order across the library nobody controls.
class QelBuiltInFormats
{
public:
    static QelBuiltInFormats& Instance();
    /// True from the moment Instance() is first entered, so registrations made while the built-in
    /// loaders are being constructed do not try to construct them again.
    static bool Started();

    CObjLoader m_cObj;
    CZmfLoader m_cZmf;
    C3dsLoader m_c3ds;
    CShpLoader m_cShp;
    CDxfLoader m_cDxf;
    CColladaLoader m_cCollada;

private:
    QelBuiltInFormats() = default;
};
