// The reading half of the XML layer: a document from bytes, and the few ways in which readers walk it.
#include "src/BPXML2Support.h"

#include "src/BPNumbers.h"
#include "src/platform/BPFiles.h"
#include "src/platform/BPLog.h"

#include <climits>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>

namespace {

constexpr const char* kSource = "BPXML2Support";

constexpr int kMessageLimit = 20; // of one document: a hostile one could have millions

/// Sends what the parser has to say to the log. Its text ends in a newline of its own.
void LogMessage(void* context, xmlErrorPtr error)
{
    int* count = static_cast<int*>(context);
    if (error == nullptr || error->message == nullptr || ++*count > kMessageLimit) return;
    BPDebugLog("%s:%d: %s", error->file != nullptr ? error->file : "XML", error->line, error->message);
}

xmlNode* FindBelow(const xmlNode* node, const xmlChar* key)
{
    for (xmlNode* child = node->children; child != nullptr; child = child->next) {
        // Only elements are entered: the children of an entity reference are the declaration, which may be anywhere.
        if (child->type != XML_ELEMENT_NODE) continue;
        if (xmlStrcasecmp(child->name, key) == 0) return child;
        if (xmlNode* found = FindBelow(child, key)) return found; // the parser bounds the depth
    }
    return nullptr;
}

} // namespace

BPXML2Document* BPXML2_ReadXMLDocument(const void* bytes, size_t byteCount, const char* name)
{
    if (byteCount == 0 || byteCount > kBPXML2DocumentLimit) {
        BPDebugLog("%s: %zu bytes are no XML document\n", name, byteCount);
        return nullptr;
    }
    xmlParserCtxt* context = xmlNewParserCtxt();
    if (context == nullptr) return nullptr;
    // For this thread, and only while we parse: the program around us may have a handler of its own.
    int messageCount = 0;
    const xmlStructuredErrorFunc handler = xmlStructuredError;
    void* const handlerContext = xmlStructuredErrorContext;
    xmlSetStructuredErrorFunc(&messageCount, LogMessage);
    // No option beside the ban of the network: entities are not substituted, no other file is read, limits hold.
    xmlDoc* document = xmlCtxtReadMemory(context, static_cast<const char*>(bytes), static_cast<int>(byteCount), name,
                                         nullptr, XML_PARSE_NONET);
    xmlSetStructuredErrorFunc(handlerContext, handler);
    xmlFreeParserCtxt(context);
    return document;
}

BPXML2Document* BPXML2_ReadXMLDocIntoMemory(const char* path)
{
    std::vector<uint8_t> bytes;
    if (const BPStatus err = BPReadFile(path, kBPXML2DocumentLimit, &bytes); err != bpNoErr) {
        BPDebugLog("unable to read \"%s\", err=%d\n", path, err);
        return nullptr;
    }
    return BPXML2_ReadXMLDocument(bytes.data(), bytes.size(), path);
}

void BPXML2_FreeDocument(BPXML2Document* document)
{
    if (document != nullptr) xmlFreeDoc(document);
}

void BPXML2_CleanUp()
{
    xmlCleanupParser();
}

BPXML2Node* BPXML2_DocumentNode(BPXML2Document* document)
{
    return reinterpret_cast<xmlNode*>(document); // libxml2 lets a document stand for a node
}

BPXML2Node* BPXML2_FindElement(BPXML2Node* node, const char* keyString)
{
    BP_ASSERT(node != 0, kSource);
    BP_ASSERT(keyString != 0, kSource);
    if (node == nullptr || keyString == nullptr) return nullptr;
    return FindBelow(node, reinterpret_cast<const xmlChar*>(keyString));
}

BPXML2Node* BPXML2_FindTextNode(BPXML2Node* node, const char* key)
{
    const xmlNode* element = BPXML2_FindElement(node, key);
    if (element == nullptr) return nullptr;
    for (xmlNode* child = element->children; child != nullptr; child = child->next)
        if (child->type == XML_TEXT_NODE) return child;
    return nullptr;
}

float BPXML2_GetFloat(BPXML2Node* node, const char* key)
{
    float value = 0;
    const xmlNode* text = BPXML2_FindTextNode(node, key);
    if (text == nullptr || text->content == nullptr) return value;
    BPScanFloats(reinterpret_cast<const char*>(text->content), &value, 1);
    return value;
}

const char* BPXML2_GetString(BPXML2Node* node, const char* key)
{
    const xmlNode* element = BPXML2_FindElement(node, key);
    if (element == nullptr) return nullptr;
    for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
        if (child->type == XML_TEXT_NODE) return reinterpret_cast<const char*>(child->content);
        if (child->type != XML_ENTITY_REF_NODE) continue;
        const xmlEntity* entity = xmlGetDocEntity(child->doc, child->name);
        if (entity == nullptr) continue;
        switch (entity->etype) {
        case XML_INTERNAL_GENERAL_ENTITY:
        case XML_EXTERNAL_GENERAL_PARSED_ENTITY:
        case XML_EXTERNAL_GENERAL_UNPARSED_ENTITY: return reinterpret_cast<const char*>(entity->content);
        default: break;
        }
    }
    return nullptr;
}
