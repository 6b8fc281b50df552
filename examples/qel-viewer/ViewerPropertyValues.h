#pragma once

#include "qel/platform/QelTypes.h"
#include "qel/properties/QelDataType.h"

#include <string>

class QelProperty;
class QelVariant;

/// Property values as text, the one form shared by the property panel's text fields, scripts and
/// scene documents, so that what a document holds reads back through the same setters an edit uses.
namespace ViewerValues
{
/// The value in its saved form: "true"/"false", "%d", "%.9g", colors as the packed word "0xAABBGGRR",
/// strings as they are. Reads through the property's getters (so a dirty container recalculates).
std::string Format(QelProperty& cProperty);

/// Parses text for the property's declared type into a value of that type, touching nothing.
/// False, with the reason in strWhy, when the text does not fit the type.
bool Parse(QelProperty& cProperty, const std::string& strText, QelVariant& cValue, std::string& strWhy);

/// Stores a parsed value through the setter of the property's declared type.
bool Store(QelProperty& cProperty, const QelVariant& cValue);

/// Parse, then Store: stores text through the typed setter (clamps and
/// enumeration checks apply). Booleans take true/false/1/0/on/off; integers of an enumeration also
/// take an item's name; colors take "0xAABBGGRR" or "#RRGGBB[AA]". False, with the reason in
/// strWhy and nothing stored, when the text does not fit the type.
bool Apply(QelProperty& cProperty, const std::string& strText, std::string& strWhy);

/// Colors as the panel and scripts write them: "0x" and eight hex digits (the packed word), or
/// "#RRGGBB" / "#RRGGBBAA" in reading order. False for anything else.
bool ParseColor(const std::string& strText, QelPackedColor& nColor);

/// A whole-text number: false for empty text, trailing characters, or a value that is not finite.
bool ParseDouble(const std::string& strText, double& dValue);
bool ParseInt(const std::string& strText, int& nValue);

/// Whether a property of this type holds a value text can carry (not the object types).
bool IsTextType(QelDataType eType);
} // namespace ViewerValues
