#pragma once

#include "qel/xml/QelXMLInterface.h"

#include <string>

/// The cursor together with the document it walks: creates, loads, saves and closes documents in
/// files (plain or gzip), strings and memory blocks, and can lock a sub-tree to act as the root.
class QEL_EXPORT QelMasterXMLInterface : public QelXMLInterface
{
public:
    /// No document yet; call NewData or one of the loaders.
    QelMasterXMLInterface();
    ~QelMasterXMLInterface() override;

    /// Replaces the document with a new one holding an optional comment and an empty root element.
    void NewData(const std::string& strRootName, const std::string& strComment);
    /// Reads a plain or gzip-compressed file; true when it has a root element.
    bool LoadDataFromFile(const std::string& strPath);
    /// Writes the document indented in UTF-8, gzip-compressed when bCompress is set.
    bool SaveDataToFile(const std::string& strPath, bool bCompress);
    /// Parses text in recovering mode; true when it has a root element.
    bool LoadDataFromString(const std::string& strText);
    /// The current element and its descendants as text, without an XML declaration.
    std::string SaveDataToString();
    /// Loads a block made by SaveDataToMemory. Always returns false, success included: this is
    /// deliberate and hosts rely on it, so callers test IsValid() afterwards.
    bool LoadDataFromMemory(char* pData, unsigned int nSize);
    /// A block (flag byte, then the text, or its length and the zlib-compressed text) made with new[];
    /// the caller frees it with delete[]. Null with nSize 0 on failure.
    char* SaveDataToMemory(unsigned int& nSize, bool bCompress);
    /// Frees the document and empties the position stack.
    void CloseData();
    /// Makes the current node stand in for the root, unless a lock is already set.
    void LockRoot();
    /// Clears the lock and returns to the node that was locked.
    void UnlockRoot();
    /// Bytes libxml2 reports as allocated (0 unless its debug allocator is on).
    static int GetMemoryUsed();

    /// The largest document, in bytes of text after inflating, that the loaders accept from any
    /// storage form; larger ones are refused with a message before their memory is taken. Process
    /// wide, 1 GiB until a host changes it.
    static void SetMaxDocumentSize(unsigned long long nBytes);
    /// The limit SetMaxDocumentSize set, in bytes.
    /// The limit SetMaxDocumentSize set, in bytes.
    static unsigned long long GetMaxDocumentSize();
    /// The deepest nesting of elements that is saved and loaded (4096); deeper trees are refused
    /// with a message on both sides, so that every saved document loads back whole.
    static unsigned int GetMaxDocumentDepth();
};
