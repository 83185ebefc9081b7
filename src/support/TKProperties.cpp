// The store and the walk.
#include "src/support/TKProperties.h"

#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"

#include <cstring>
#include <initializer_list>

/// A value with its name, in a list of the control.
struct TKProperty {
    TKProperty* next;
    TKPropertyName name;
    uint32_t size;
    // `size` bytes follow.
};

namespace {

constexpr uint32_t kIdentitySignature = TKFourCharacters("BPCt");
constexpr uint32_t kIdentityId = static_cast<uint32_t>('l') << 24 | static_cast<uint32_t>('I') << 16 |
                                 static_cast<uint32_t>('D') << 8; // with the signature "BPCtlID"

uint8_t* ValueOf(TKProperty* property)
{
    return reinterpret_cast<uint8_t*>(property + 1);
}

TKProperty** Find(TKProperty** list, const TKPropertyName& name)
{
    while (*list && std::strcmp((*list)->name.text, name.text) != 0) list = &(*list)->next;
    return list;
}

TKProperty* FindIn(const TKControlNode* node, uint32_t signature, uint32_t id)
{
    TKProperty* list = node->properties;
    return *Find(&list, TKPropertyNameOf(signature, id));
}

int CharacterOf(uint32_t code, uint32_t index)
{
    return static_cast<int>(code >> (24 - 8 * index) & 0xFF);
}

bool HasID(const TKControlNode* node, TKControlID id)
{
    TKProperty* property = FindIn(node, kIdentitySignature, kIdentityId);
    return property && property->size == sizeof id && std::memcmp(ValueOf(property), &id, sizeof id) == 0;
}

} // namespace

TKPropertyName TKPropertyNameOf(uint32_t signature, uint32_t id)
{
    TKPropertyName name = {};
    uint32_t length = 0;
    for (const uint32_t code : {signature, id})
        for (uint32_t i = 0; i < 4 && CharacterOf(code, i) != 0; ++i)
            name.text[length++] = static_cast<char>(CharacterOf(code, i));
    return name;
}

void TKInitNode(TKControlNode* node, TKControlNode* parent, void* control)
{
    *node = {};
    node->parent = parent;
    node->control = control;
    if (!parent) return;
    TKControlNode** last = &parent->firstChild;
    while (*last) last = &(*last)->nextSibling;
    *last = node;
}

void TKDisposeNode(TKControlNode* node)
{
    if (node->parent) {
        TKControlNode** link = &node->parent->firstChild;
        while (*link && *link != node) link = &(*link)->nextSibling;
        if (*link) *link = node->nextSibling;
    }
    for (TKControlNode* child = node->firstChild; child;) {
        TKControlNode* next = child->nextSibling;
        child->parent = child->nextSibling = nullptr;
        child = next;
    }
    for (TKProperty* property = node->properties; property;) {
        TKProperty* next = property->next;
        BPFree(property);
        property = next;
    }
    *node = {};
}

BPStatus SetControlProperty(TKControlNode* node, uint32_t signature, uint32_t id, const void* data, uint32_t size)
{
    const TKPropertyName name = TKPropertyNameOf(signature, id);
    auto* made = static_cast<TKProperty*>(BPAllocate(sizeof(TKProperty) + size));
    if (!made) return bpMemFullErr;
    TKProperty** place = Find(&node->properties, name);
    TKProperty* older = *place;
    *made = {.next = older ? older->next : nullptr, .name = name, .size = size};
    if (size != 0) std::memcpy(ValueOf(made), data, size);
    *place = made;
    BPFree(older);
    return bpNoErr;
}

BPStatus GetControlProperty(const TKControlNode* node, uint32_t signature, uint32_t id, void* data, uint32_t size)
{
    TKProperty* property = FindIn(node, signature, id);
    if (!property || property->size != size) {
        // Deliberate: the text has no newline, and readers of the log find it by its words.
        BPDebugLog("GetControlProperty failed to find sig '%c%c%c%c', id '%c%c%c%c'", CharacterOf(signature, 0),
                   CharacterOf(signature, 1), CharacterOf(signature, 2), CharacterOf(signature, 3), CharacterOf(id, 0),
                   CharacterOf(id, 1), CharacterOf(id, 2), CharacterOf(id, 3));
        std::memset(data, 0, size);
        return bpParamErr;
    }
    if (size != 0) std::memcpy(data, ValueOf(property), size);
    return bpNoErr;
}

BPStatus SetControlID(TKControlNode* node, TKControlID id)
{
    return SetControlProperty(node, kIdentitySignature, kIdentityId, &id, sizeof id);
}

BPStatus GetControlID(const TKControlNode* node, TKControlID* id)
{
    return GetControlProperty(node, kIdentitySignature, kIdentityId, id, sizeof *id);
}

BPStatus FindControlByID(const TKControlNode* parent, TKControlID id, TKControlNode** found)
{
    *found = nullptr;
    for (TKControlNode* child = parent->firstChild; child; child = child->nextSibling) {
        if (HasID(child, id)) {
            *found = child;
            return bpNoErr;
        }
        if (FindControlByID(child, id, found) == bpNoErr) return bpNoErr;
    }
    return bpControlNotFoundErr;
}
