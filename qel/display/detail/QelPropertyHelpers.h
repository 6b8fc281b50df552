#pragma once

#include "qel/math/QelVec4.h"

#include <string>
#include <vector>

class QelProperty;
class QelPropertyContainer;
class QelXMLInterface;

/// Small helpers the interaction objects share to declare, read and persist their properties.
namespace QelDisplayDetail
{
/// A Real property clamped to [fMin, fMax], set to fValue.
QelProperty* AddFloat(QelPropertyContainer& c, const char* pName, float fValue, float fMin, float fMax);
QelProperty* AddBool(QelPropertyContainer& c, const char* pName, bool bValue);
/// An Integer property listing vecNames (values 0, 1, ...), set to nValue.
QelProperty* AddEnum(QelPropertyContainer& c, const char* pName, int nValue, const std::vector<std::string>& vecNames);
QelProperty* AddColor(QelPropertyContainer& c, const char* pName, const QelVec4& vColor);

/// The property's float value; a value that is not finite (a NaN typed in or loaded) is replaced by
/// fFallback in the property, with a warning from pOwner naming the property.
float ReadFinite(const QelPropertyContainer& cOwner, QelProperty* p, float fFallback);
QelVec4 ReadColor(QelProperty* p);

/// Writes every auto-saved Real, Integer, Boolean and Color property that is not a button as a "Property" child with
/// "name" and "value" attributes, under a new child element strElement of the cursor's node.
bool SaveProperties(QelPropertyContainer& c, QelXMLInterface* pXML, const std::string& strElement);
/// Reads what SaveProperties wrote; unknown names are skipped and values go through the
/// properties' own clamps. False when the element is missing.
bool LoadProperties(QelPropertyContainer& c, QelXMLInterface* pXML, const std::string& strElement);
} // namespace QelDisplayDetail
