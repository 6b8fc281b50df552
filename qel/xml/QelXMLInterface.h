#pragma once

#include "qel/platform/QelExport.h"

#include <string>
#include <vector>

class QelXMLInterfaceDef;

/// A cursor over an XML document: moves between elements and reads and writes typed values
/// stored as child elements or attributes of the element it stands on.
/// Documents are created, loaded and saved by QelMasterXMLInterface, which objects receive as this base.
class QEL_EXPORT QelXMLInterface
{
public:
    /// A cursor without a document: IsValid() is false until a QelMasterXMLInterface creates or
    /// loads one.
    QelXMLInterface();
    /// Frees the document the cursor owns, if any.
    virtual ~QelXMLInterface();

    /// A cursor owns its document, so it is neither copied nor assigned.
    ///@{
    QelXMLInterface(const QelXMLInterface&) = delete;
    QelXMLInterface& operator=(const QelXMLInterface&) = delete;
    ///@}

    // Navigation
    /// True when a document, its root element and a current node are all set.
    bool IsValid() const;
    /// Moves to the locked root when one is set, else to the root element.
    bool MoveToRootNode();
    /// Moves to the nearest element after or before the current node, skipping text and comments;
    /// false, cursor kept, when there is none.
    ///@{
    /// Moves to the nearest element after or before the current node, skipping text and comments;
    /// false, cursor kept, when there is none.
    ///@{
    bool MoveToNextSibling();
    bool MoveToPreviousSibling();
    ///@}
    ///@}
    /// Climbs one level; a locked root does not stop the climb, only the root element does.
    bool MoveToParent();
    /// Number of element children of the current node.
    unsigned int GetNumChildNodes() const;
    /// Moves to the first or last element child; false, cursor kept, when there is none.
    ///@{
    /// Moves to the first or last element child; false, cursor kept, when there is none.
    ///@{
    bool MoveToFirstChildNode();
    bool MoveToLastChildNode();
    ///@}
    ///@}
    /// The element child at nIndex, counted among element children only.
    bool MoveToChildNode(unsigned int nIndex);
    /// The first element child named strName; "prefix:local" looks for a namespaced match first.
    bool MoveToChildNode(const std::string& strName);
    /// Appends an empty element as the last child; the cursor stays.
    bool AddChildNode(const std::string& strName);
    /// Appends an empty element as the last child and moves onto it.
    bool AddAndMoveToChildNode(const std::string& strName);
    /// Frees the current node with its sub-tree and moves to its parent; the root element is refused.
    bool RemoveNode();
    /// Line of the current node in the parsed text; 0 when unknown.
    unsigned int GetLineNumber() const;
    /// Saves the current node on a stack and returns to it later, so that a helper can wander
    /// and come back. Pop on an empty stack (or an invalid cursor) is false and leaves the cursor.
    ///@{
    /// Saves the current node on a stack and returns to it later, so that a helper can wander
    /// and come back. Pop on an empty stack (or an invalid cursor) is false and leaves the cursor.
    ///@{
    bool PushPosition();
    bool PopPosition();
    ///@}
    ///@}
    /// Moves the current node behind its next sibling of any node type.
    bool MoveNodeForward();
    /// Moves the current node before its previous sibling of any node type.
    bool MoveNodeBackward();
    /// Appends a deep copy of pSource's current node as the last child of the current node.
    bool CopyNode(QelXMLInterface* pSource);
    /// Name of the locked root, else of the root element, else "".
    std::string GetRootNodeName() const;
    /// Name of the current element, "" when the cursor is invalid.
    /// Name of the current element, "" when the cursor is invalid.
    std::string GetNodeName() const;
    /// Text of the current node's children with entity references substituted.
    std::string GetNodeContent() const;

    // Values stored as child elements; reads return the default when the child or its text is missing.
    /// "true" in any case gives true, any other text false.
    /// "true" in any case gives true, any other text false.
    bool ReadBool(const std::string& strName, bool bDefault) const;
    /// Leading digits as atoi reads them: "12abc" gives 12, "abc" gives 0.
    /// Leading digits as atoi reads them: "12abc" gives 12, "abc" gives 0.
    int ReadInt(const std::string& strName, int nDefault) const;
    /// The first byte of the text.
    /// The first byte of the text.
    char ReadChar(const std::string& strName, char cDefault) const;
    /// The number as atof reads it (0 for text that does not start with one).
    ///@{
    /// The number as atof reads it (0 for text that does not start with one).
    ///@{
    float ReadFloat(const std::string& strName, float fDefault) const;
    double ReadDouble(const std::string& strName, double fDefault) const;
    ///@}
    ///@}
    /// The child's text as it was written.
    /// The text as stored, entities replaced.
    std::string ReadString(const std::string& strName, const std::string& strDefault) const;
    /// Decodes base64 text into pBuffer; fails when the encoded text is shorter than nSize characters.
    bool ReadData(const std::string& strName, char* pBuffer, unsigned int nSize) const;
    /// Decodes base64 text into vecOut, which is left as long as the encoded text.
    bool ReadData(const std::string& strName, std::vector<char>& vecOut) const;

    // Values stored as attributes of the current node.
    /// The attribute's value as stored.
    /// The attribute's value as stored.
    std::string ReadStringAttribute(const std::string& strName, const std::string& strDefault) const;
    /// The attribute read as ReadFloat, ReadInt or ReadBool read child text; the default when the
    /// attribute is missing.
    ///@{
    /// The attribute read as ReadFloat, ReadInt or ReadBool read child text; the default when the
    /// attribute is missing.
    ///@{
    float ReadFloatAttribute(const std::string& strName, const float& fDefault) const;
    int ReadIntAttribute(const std::string& strName, const int& nDefault) const;
    bool ReadBoolAttribute(const std::string& strName, const bool& bDefault) const;
    ///@}
    ///@}

    // Each write appends a new child element; the cursor stays.
    /// Written as "true" or "false".
    /// Written as "true" or "false".
    bool WriteBool(const std::string& strName, bool bValue);
    /// Written with "%d".
    /// Written with "%d".
    bool WriteInt(const std::string& strName, int nValue);
    /// A text of exactly that one character.
    /// A text of exactly that one character.
    bool WriteChar(const std::string& strName, char cValue);
    /// Written with "%g" (six significant digits).
    bool WriteFloat(const std::string& strName, float fValue);
    /// Written with "%lg" (six significant digits).
    bool WriteDouble(const std::string& strName, double fValue);
    /// The string as given; characters XML reserves are escaped on output.
    /// The string as given; characters XML reserves are escaped on output.
    bool WriteString(const std::string& strName, const std::string& strValue);
    /// Base64 without padding or line breaks; blocks of 536,870,912 bytes and more are refused.
    bool WriteData(const std::string& strName, const char* pData, unsigned int nSize);

    // Each attribute write sets or replaces the attribute on the current node.
    /// The string as given.
    /// The string as given.
    bool WriteStringAttribute(const std::string& strName, std::string strValue);
    /// Written with "%f" (six digits after the point).
    bool WriteFloatAttribute(const std::string& strName, float fValue);
    /// Written with "%i", and as "true" or "false".
    ///@{
    /// Written with "%i", and as "true" or "false".
    ///@{
    bool WriteIntAttribute(const std::string& strName, int nValue);
    bool WriteBoolAttribute(const std::string& strName, bool bValue);
    ///@}
    ///@}

protected:
    /// The document, the position and the stack live here; null only when its allocation failed.
    QelXMLInterfaceDef* m_pDef;
};
