// XML: a thin layer over libxml2 for reading, and a writer that goes forward in a single pass.
//
// Files from outside are hostile: nothing is fetched from a network or from other files, entities are not substituted,
// and the parser's own limits stay in force. What the parser has to say goes to the log.
#pragma once

#include "src/platform/BPStatus.h"

#include <cstddef>
#include <string>
#include <string_view>

struct _xmlDoc;
struct _xmlNode;
using BPXML2Document = _xmlDoc; ///< libxml2's own; made and freed by the functions below
using BPXML2Node = _xmlNode;

/// The largest document that is read.
inline constexpr size_t kBPXML2DocumentLimit = size_t{64} << 20;

/// Parses a document. `name` stands in the parser's messages. Returns null when the bytes are no well-formed XML, when
/// there are none or more than kBPXML2DocumentLimit, or when memory is out; the log tells why. The caller frees the
/// document with BPXML2_FreeDocument.   Thread: any.
BPXML2Document* BPXML2_ReadXMLDocument(const void* bytes, size_t byteCount, const char* name);

/// The same for a file; a file that cannot be read is logged and gives null.
BPXML2Document* BPXML2_ReadXMLDocIntoMemory(const char* path);

/// Null is allowed.
void BPXML2_FreeDocument(BPXML2Document* document);

/// Releases what the parser keeps for the process. Once, at the end of the program.   Thread: main, no other parsing.
void BPXML2_CleanUp();

/// The document as the node whose children a search begins with.
BPXML2Node* BPXML2_DocumentNode(BPXML2Document* document);

/// Searches below `node`, depth first in the order of the document, for an element of that name, in any letter case
/// and without its name space prefix. Returns null when there is none; a null node or key is reported besides.
BPXML2Node* BPXML2_FindElement(BPXML2Node* node, const char* key);

/// The first child of kind text of the element `key` below `node`, or null.
BPXML2Node* BPXML2_FindTextNode(BPXML2Node* node, const char* key);

/// The number at the start of the text of the element `key` below `node`; 0.0 without element, text or number.
float BPXML2_GetFloat(BPXML2Node* node, const char* key);

/// The text of the element `key` below `node`: its first child that is text or a reference to a general entity that
/// the document declares. CDATA does not count. Null when there is none, or the entity lies outside the document. The
/// text belongs to the document.
const char* BPXML2_GetString(BPXML2Node* node, const char* key);

/// A document that is being written: one tab for each level, line ends "\n", UTF-8. Start with `BPXML2Writer writer;`,
/// call the functions below in the order of the document, take `text`.   Thread: one at a time for each record.
struct BPXML2Writer {
    std::string text{};        ///< what has been written so far
    int depth = 0;             ///< levels that are open; from 0 to 50 tabs are written
    BPStatus status = bpNoErr; ///< the first error; later calls go on all the same
};

/// Writes a text as it is.
void BPXML2_WriteText(BPXML2Writer* writer, std::string_view text);

/// Writes a text through BPXML2_Escape. A text that did not fit is written as far as it went and sets bpMemFullErr.
void BPXML2_WriteEscaped(BPXML2Writer* writer, std::string_view text);

/// Writes the tabs of the depth. A negative change of the depth comes before them, a positive one after them.
void BPXML2_WriteIndent(BPXML2Writer* writer, int depthChange);

/// Writes "<name>\n", or "<name attributes>\n", and goes one level deeper. The attributes are written as they are.
void BPXML2_OpenTag(BPXML2Writer* writer, const char* name, std::string_view attributes);

/// Goes one level up and writes "</name>\n".
void BPXML2_CloseTag(BPXML2Writer* writer, const char* name);

/// Writes "<name/>\n" or "<name attributes/>\n".
void BPXML2_EmptyTag(BPXML2Writer* writer, const char* name, std::string_view attributes);

/// Writes "<name>1.000000</name>\n".
void BPXML2_FloatElement(BPXML2Writer* writer, const char* name, double value);

/// Writes "<name>text</name>\n" with & < > and " as entities, whatever the length.
void BPXML2_TextElement(BPXML2Writer* writer, const char* name, std::string_view text);

/// Writes "<name>text</name>\n" with a text of the user: made valid UTF-8, cut at 255 bytes (never inside a character),
/// with & < > " and ~ as entities. Null writes an empty element.
void BPXML2_Utf8Element(BPXML2Writer* writer, const char* name, const char* text);

/// Replaces & < > and " by their entities in a copy of the text that gets at most twice the length of the text. That
/// does not suffice for a text full of ampersands: it ends before the first character that does not fit.
///
/// Returns bpMemFullErr when the copy had to end early.   Thread: any.
BPStatus BPXML2_Escape(std::string_view text, std::string* escaped);

/// The text as valid UTF-8: every byte that belongs to no character, and every character that XML does not allow,
/// becomes U+FFFD.   Thread: any.
std::string BPXML2_ValidUtf8(std::string_view text);
