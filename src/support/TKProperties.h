// Properties of controls: named blobs that any control can carry, and the identity by which the parts of a composite
// find each other.
//
// A property is addressed by a signature and an id of up to four characters each, joined into one name. Settings that
// every control of a kind has are fields of its record; this store is for what only some carry.
//
// Thread of everything here: main.
#pragma once

#include "src/platform/BPStatus.h"

#include <cstdint>

/// A control in the tree of controls, as far as it carries properties. The record that embeds it keeps it in place.
struct TKControlNode {
    TKControlNode* parent;
    TKControlNode* firstChild;
    TKControlNode* nextSibling;
    struct TKProperty* properties; ///< owned; see TKDisposeNode
    void* control;                 ///< the record that embeds the node
};

/// Four characters as a number, read big-endian.
constexpr uint32_t TKFourCharacters(const char (&text)[5])
{
    uint32_t code = 0;
    for (uint32_t i = 0; i < 4; ++i) code = code << 8 | static_cast<uint8_t>(text[i]);
    return code;
}

inline constexpr uint32_t kTKPropertySignature = TKFourCharacters("BPc3"); ///< of the toolkit's own properties

inline constexpr uint32_t kTKControlCheckbox = TKFourCharacters("VFcb");
inline constexpr uint32_t kTKControlSwatch = TKFourCharacters("VFsw");
inline constexpr uint32_t kTKControlResultSwatch = TKFourCharacters("VFsr");
inline constexpr uint32_t kTKControlEyedropper = TKFourCharacters("VFey");
inline constexpr uint32_t kTKControlFormatPopup = TKFourCharacters("VFdt");

/// The name of a property: the characters of signature and id, each up to its first zero byte.
struct TKPropertyName {
    char text[9];
};
TKPropertyName TKPropertyNameOf(uint32_t signature, uint32_t id);

/// Joins a tree: `node` becomes the last child of `parent` (null: a root of its own).
void TKInitNode(TKControlNode* node, TKControlNode* parent, void* control);

/// Takes a node out of its tree with its properties; its children become roots.
void TKDisposeNode(TKControlNode* node);

/// Keeps a copy of `size` bytes, in place of an older value. bpMemFullErr leaves the older one.
BPStatus SetControlProperty(TKControlNode* node, uint32_t signature, uint32_t id, const void* data, uint32_t size);

/// Copies a property of exactly this size into `data`. When there is none, logs "GetControlProperty failed to find sig
/// '....', id '....'" and zeroes the buffer: bpParamErr, and the caller may go on.
BPStatus GetControlProperty(const TKControlNode* node, uint32_t signature, uint32_t id, void* data, uint32_t size);

/// The second identity of a control, kept as the property "BPCtlID".
struct TKControlID {
    uint32_t signature; ///< what it is: kTKControlSwatch and the like
    int32_t id;         ///< the composite it belongs to
};
BPStatus SetControlID(TKControlNode* node, TKControlID id);

/// Reads it back: bpParamErr and zeros where none was set, which is logged as any missing property.
BPStatus GetControlID(const TKControlNode* node, TKControlID* id);

/// The descendant of `parent` with this identity, the first in depth. When there is none, -5604 and null.
BPStatus FindControlByID(const TKControlNode* parent, TKControlID id, TKControlNode** found);
