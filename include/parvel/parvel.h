// Parvel: binary documents in process.
//
// A binary document is an XML-like tree kept as a word dictionary plus small depth-first node records. Get one from
// KestQueryBinDocInterface, load it from a file or from memory, walk and edit it through IBinNode and IAttrPair, save
// it. TransXml2Bin makes a binary document file from an XML file; GetScriptResultParser takes a script's result text
// apart.
//
// Rules that hold throughout:
//  - Texts are zero-terminated UTF-16 (WCHAR). A text that the library returns belongs to the object it was asked of or
//    to that object's document: it is good until the next call that edits, copies, loads, saves or releases. Never free
//    it. A text that is passed in is copied.
//  - An interface pointer stored in an out argument carries one reference for the caller, who gives it back by Release.
//    QueryInterface of nodes and pairs is the exception: it adds none.
//  - A null out argument stores nothing; a null text or object gives the operation's failure, unless told otherwise.
//  - Reference counts are plain integers: one thread at a time for a document with its nodes and pairs, or a parser.
//    Different documents may be in different threads, also when nodes have moved between them or one is a clone.
//  - Nothing throws. Failure is false, null or 0. When memory runs out, the operation fails, nothing is lost, and it
//    can be tried again; the document may count as modified.
//  - A node or pair that outlives its document answers with null, 0 or false.
//  - Operation n of an interface is entry n of its table, with every compiler: the numbers below are promised.
//  - On Windows, initialise COM on any thread that calls TransXml2Bin or ExportToXml.
#pragma once

#include "parvel/types.h"

struct IBinDocument;
struct IBinNode;
struct IAttrPair;
struct IScriptResultParser;

/// {0C7F026B-B9CD-4E9D-A384-EC5AFA072F41}
inline constexpr IID IID_IBinDocument = {0x0C7F026B, 0xB9CD, 0x4E9D, {0xA3, 0x84, 0xEC, 0x5A, 0xFA, 0x07, 0x2F, 0x41}};
/// {2478D89F-3F51-464D-8912-C14A3E363355}
inline constexpr IID IID_IBinNode = {0x2478D89F, 0x3F51, 0x464D, {0x89, 0x12, 0xC1, 0x4A, 0x3E, 0x36, 0x33, 0x55}};
/// {95331DCA-235B-4A0B-A629-003C1D1F8C14}
inline constexpr IID IID_IAttrPair = {0x95331DCA, 0x235B, 0x4A0B, {0xA6, 0x29, 0x00, 0x3C, 0x1D, 0x1F, 0x8C, 0x14}};

/// What IBinNode::GetType answers: the node type numbers of the XML DOM.
enum : std::uint32_t {
    PARVEL_ELEMENT = 1,
    PARVEL_TEXT = 3,
    PARVEL_CDATA = 4,
};

/// One attribute of an element, as it stood when IBinNode::GetAttrPair made the pair: it does not follow later changes
/// of the element. It may name its texts by their place in the document's dictionary, so get pairs anew after the
/// document was loaded, saved or exported. A pair holds no reference on its element.
struct IAttrPair : IUnknown {
    // 0 QueryInterface: IID_IAttrPair stores the pair WITHOUT adding a reference and gives 0; any other identifier
    //   gives 1 and leaves the out pointer alone.
    // 1 AddRef, 2 Release: give the new count.

    /// 3: The attribute's name; null when its word index lies outside the dictionary.
    virtual const WCHAR* PARVEL_CALL GetName() = 0;
    /// 4: The attribute's value; null when it has none, or its word index lies outside the dictionary.
    virtual const WCHAR* PARVEL_CALL GetValue() = 0;
    /// 5: IBinNode::SetAttribute on the element with this pair's name. This pair keeps its own old value. False when
    /// the element is gone, too.
    virtual bool PARVEL_CALL SetValue(const WCHAR* text) = 0;

#ifndef _WIN32
protected:
    ~IAttrPair() = default;
#endif
};

/// One node of a document's tree: an element, a text or a CDATA section; or a bare node, which has no record and is not
/// saved. A parent holds a reference on each child, a document on its root. A node that somebody holds and that loses
/// its parent is detached: it shows what it showed and can be appended again.
///
/// Edits exist in memory until the document is saved or exported. Values are written to the tree at once; names and
/// attributes wait for the rebuild that a save of a modified document begins with.
struct IBinNode : IUnknown {
    // 0 QueryInterface: IID_IBinNode stores the node WITHOUT adding a reference and gives 0; any other identifier
    //   gives 1 and leaves the out pointer alone.
    // 1 AddRef, 2 Release: give the new count. A parent's hold on its child and a document's on its root count as one.

    /// 3: PARVEL_ELEMENT, PARVEL_TEXT or PARVEL_CDATA; 1 also for a bare node.
    virtual std::uint32_t PARVEL_CALL GetType() = 0;
    /// 4: Number of attributes; 0 unless an element.
    virtual std::int32_t PARVEL_CALL GetAttrCount() = 0;
    /// 5: An element's name; the text of a text or CDATA node; null for a bare node. A name that was set goes first.
    virtual const WCHAR* PARVEL_CALL GetName() = 0;
    /// 6: The text of a text or CDATA node, or of an element whose only child is a text node; otherwise null.
    virtual const WCHAR* PARVEL_CALL GetValue() = 0;
    /// 7: Number of children; 0 unless an element.
    virtual std::int32_t PARVEL_CALL GetChildCount() = 0;
    /// 8: Stores the parent, or null for a root or a detached node.
    virtual void PARVEL_CALL GetParent(IBinNode** out) = 0;
    /// 9: Stores child `index` (from 0). Past either end stores null; on anything but an element leaves `out` alone.
    virtual void PARVEL_CALL GetChild(std::int32_t index, IBinNode** out) = 0;
    /// 10: Value of the named attribute, or null. The given name is looked for first, then its lower-case form (A to Z
    /// only); with the setting "Lower" that form alone. Once any attribute of the element was set or removed, or the
    /// node was copied or moved from another document, names are found as they are stored, in lower case, until the
    /// next save.
    virtual const WCHAR* PARVEL_CALL GetAttribute(const WCHAR* name) = 0;
    /// 11: Stores a new pair for attribute `index` (from 0), or null when there is none. After a save attributes stand
    /// in the order of their names, new ones behind them.
    virtual void PARVEL_CALL GetAttrPair(std::int32_t index, IAttrPair** out) = 0;
    /// 12: Renames. False for a null or empty name. A text's or CDATA section's new name lasts until the next save
    /// only.
    virtual bool PARVEL_CALL SetName(const WCHAR* name) = 0;
    /// 13: Sets the attribute of exactly this name, or adds one under the lower-case form of the name. So a name with
    /// capital letters is added each time, and look-ups find the first. False when either text is null or the name is
    /// empty.
    virtual bool PARVEL_CALL SetAttribute(const WCHAR* name, const WCHAR* value) = 0;
    /// 14: Removes the attribute of exactly this (lower-case) name. False when there is none.
    virtual bool PARVEL_CALL RemoveAttribute(const WCHAR* name) = 0;
    /// 15: Makes `*child` the last child of this node, taking it from its present parent; from another document with
    /// all below it, showing what it showed. The parent adds a reference of its own. A root taken from its document
    /// leaves that without one. True and nothing done for a null pointer and for this document's own root; false for
    /// this node itself and for its ancestors. Nodes other than elements keep children too, but neither show nor save
    /// them.
    virtual bool PARVEL_CALL AppendChild(IBinNode** child) = 0;
    /// 16: Unlinks this node from its parent, who drops its reference: hold one of your own. False for the root; true
    /// when there is no parent.
    virtual bool PARVEL_CALL RemoveFromParent() = 0;
    /// 17: Stores a copy without parent, with the whole subtree when `deep`. Names of attributes come in lower case.
    /// Attributes that wait for the next save are not copied, nor are children without a name or text. False, `out`
    /// untouched, for a node without a name.
    virtual bool PARVEL_CALL Clone(IBinNode** out, bool deep) = 0;
    /// 18: Sets the text of a text or CDATA node, or of an element's only text child, making that child when there
    /// are no children. On an element of any other shape the text is dropped. False only for null. A text that the node
    /// has already changes nothing; but the node then shows it until the next save, and that save writes it, whatever
    /// is set on an element's text child meanwhile.
    virtual bool PARVEL_CALL SetValue(const WCHAR* text) = 0;
    /// 19: Compares name, attributes in order and number of children; when `deep`, the children too. Types are not
    /// compared. A null text equals null only. An ordinary member operation on Windows (__thiscall).
    virtual bool IsEqual(IBinNode** other, bool deep) = 0;

#ifndef _WIN32
protected:
    ~IBinNode() = default;
#endif
};

/// One binary document in memory.
struct IBinDocument : IUnknown {
    // 0 QueryInterface: IID_IBinDocument stores the document, adds a reference and gives 0; any other identifier gives
    //   1 and leaves the out pointer alone.
    // 1 AddRef, 2 Release: give the new count; at 0 the document destroys itself, with all of its nodes that nobody
    //   holds.

    /// 3: Loads the file in place of the present tree, of which nodes that somebody holds stay, detached. The path is
    /// remembered for Save if it has fewer than 260 code units. False, and the present tree kept, when the file cannot
    /// be read or is no whole binary document; the dictionary is then empty or holds the words read so far, so the tree
    /// has lost its texts. False and nothing done for a null or empty path. Leaves the modified flag alone.
    virtual bool PARVEL_CALL LoadFromFile(const WCHAR* path) = 0;
    /// 4: Loads the same layout from memory, which is copied. Its length is not known: the bytes must be whole. False
    /// also when its words have more bytes together than the last file that LoadFromFile has opened.
    virtual bool PARVEL_CALL LoadFromBuffer(const void* bytes) = 0;
    /// 5: Stores the root; a document without one gets an element named "root", and is then modified.
    virtual void PARVEL_CALL GetRoot(IBinNode** out) = 0;
    /// 6: Stores a new document that holds a copy of this one's tree, as IBinNode::Clone makes it, and of its
    /// dictionary, option and remembered path. It is modified, if it has a root. Without memory `out` is left alone.
    virtual void PARVEL_CALL Clone(IBinDocument** out) = 0;
    /// 7: Empties the dictionary only; what the tree refers to by index then reads as the empty text.
    virtual void PARVEL_CALL ClearDictionary() = 0;
    /// 8: Stores a new bare node of this document: no record, name, attributes or children.
    virtual void PARVEL_CALL CreateNode(IBinNode** out) = 0;
    /// 9: Stores a new element, which hangs on nothing. Does nothing when the name is null or empty.
    virtual void PARVEL_CALL CreateElement(IBinNode** out, const WCHAR* name) = 0;
    /// 10: Keeps the value of option 1, whose meaning is the host's; other options are ignored.
    virtual void PARVEL_CALL SetOption(std::int32_t option, const std::uint32_t* value) = 0;
    /// 11: Always 0.
    virtual std::uint32_t PARVEL_CALL GetOption(std::int32_t option) = 0;
    /// 12: SaveToFile with the remembered path; false when none is remembered.
    virtual bool PARVEL_CALL Save() = 0;
    /// 13: Rebuilds the document if it is modified, so that the dictionary holds each text of the tree once, and writes
    /// it. False when the file cannot be opened; the modified flag is clear even then. What goes wrong while writing is
    /// not told.
    virtual bool PARVEL_CALL SaveToFile(const WCHAR* path) = 0;
    /// 14: Rebuilds the document if it is modified, then writes its tree as indented UTF-8 XML. An element whose name,
    /// attribute or text XML cannot hold is cut short there, and the result is still true. False when there is no root
    /// or the file cannot be saved; a file that could not be written whole is removed.
    virtual bool PARVEL_CALL ExportToXml(const WCHAR* path) = 0;
    /// 15: True when something changed since the last save or export.
    virtual bool PARVEL_CALL IsModified() = 0;
    /// 16: Sets the modified flag and gives it back. Names and attributes that wait for the next save are not in it
    /// when the flag is taken away.
    virtual bool PARVEL_CALL SetModified(bool modified) = 0;
    /// 17: Destroys the document; Release calls it. Not for hosts.
    virtual void PARVEL_CALL Destroy() = 0;
    /// 18: Compares the number of words and the whole trees. Copying adds the texts of a loaded document once more, so
    /// a copy equals it only when it was modified and saved before. Two documents without a root are equal when they
    /// have as many words. An ordinary member operation on Windows (__thiscall).
    virtual bool IsEqual(IBinDocument** other) = 0;

#ifndef _WIN32
protected:
    ~IBinDocument() = default;
#endif
};

/// A script's result: one value, or a list whose items open as parsers of their own.
struct IScriptResultParser : IUnknown {
    // 0 QueryInterface: always E_NOTIMPL (0x80004001). 1 AddRef, 2 Release: give the new count.

    /// 3: Number of items; 0 for a value.
    virtual std::int32_t PARVEL_CALL GetItemCount() = 0;
    /// 4: Stores a new parser over item `index` (from 0); false, `out` untouched, past either end.
    virtual bool PARVEL_CALL GetItem(std::int32_t index, IScriptResultParser** out) = 0;
    /// 5: True for a value, false for a list.
    virtual bool PARVEL_CALL IsValue() = 0;
    /// 6: True for a value written without double quotes.
    virtual bool PARVEL_CALL IsUnquoted() = 0;
    /// 7: The value's leading decimal integer, saturated; 0 for a list.
    virtual std::int32_t PARVEL_CALL GetInt() = 0;
    /// 8: The value as a floating-point number; 0.0 for a list.
    virtual double PARVEL_CALL GetDouble() = 0;
    /// 9: The value with quotes and escapes resolved; a list's whole text. Lives as long as the parser.
    virtual const WCHAR* PARVEL_CALL GetString() = 0;

#ifndef _WIN32
protected:
    ~IScriptResultParser() = default;
#endif
};

extern "C" {

/// Stores a new document for IID_IBinDocument and gives 0; for any other identifier gives 0x80004005 (E_FAIL) and
/// leaves `out` alone. Ordinal 5.
PARVEL_EXPORT HRESULT PARVEL_CALL KestQueryBinDocInterface(const IID* iid, IBinDocument** out);

/// Converts an XML file to a binary document file. False, and an existing file at `binPath` untouched, when the XML
/// cannot be read or the output cannot be opened. Ordinal 6.
PARVEL_EXPORT bool PARVEL_CALL TransXml2Bin(const WCHAR* xmlPath, const WCHAR* binPath);

/// Always true. Ordinal 7.
PARVEL_EXPORT bool PARVEL_CALL EcSpt(std::uint32_t first, std::uint32_t second);

/// Always 0. Ordinal 8.
PARVEL_EXPORT std::uint32_t PARVEL_CALL DeSpt(std::uint32_t value);

/// Releases a block that came from the library's array allocation; false for null. No operation hands one out.
/// Ordinal 9.
PARVEL_EXPORT bool PARVEL_CALL FreeSpt(void* block);

/// Stores a parser over a copy of `text` (null counts as empty) and gives true. Ordinal 10.
PARVEL_EXPORT bool PARVEL_CALL GetScriptResultParser(const WCHAR* text, IScriptResultParser** out);

}  // extern "C"
