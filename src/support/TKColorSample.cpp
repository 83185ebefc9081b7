// The composite.
#include "src/support/TKColorSample.h"

#include "src/support/TKSession.h"

#include <algorithm>

namespace {

constexpr int kLabelHeight = 18;
constexpr int kEyedropperSize = 24;
constexpr int kSwatchHeight = 68;
constexpr int kPopupTop = 93;

BPStatus Identify(TKControlNode* node, TKControlNode* parent, void* control, uint32_t signature, int32_t id)
{
    TKInitNode(node, parent, control);
    return SetControlID(node, {.signature = signature, .id = id});
}

} // namespace

BPStatus TKCreateColorSample(TKColorSample* sample, void* base, uint32_t dataOffset, uint32_t switchOffset,
                             TKSectionID section, int32_t id, TKControlNode* parent, const char* label,
                             const char* objectName)
{
    *sample = {};
    sample->format = tkColorRGB8;
    sample->id = id;
    sample->label = label;
    sample->objectName = objectName;
    TKCreateEyedropper(&sample->eyedropper, base, dataOffset, section, label, objectName);
    sample->eyedropper.switchOffset = switchOffset;
    TKCreateSwatch(&sample->source, base, dataOffset, "Source", objectName);
    TKCreateSwatch(&sample->result, base, dataOffset, "Result", objectName);
    sample->result.showsResult = true;
    // Nothing stands between the two, so that the eye compares them and not two frames.
    sample->source.joinedEdges = kTKEdgeRight;
    sample->result.joinedEdges = kTKEdgeLeft;
    for (TKSwatch* swatch : {&sample->source, &sample->result}) {
        swatch->showsValues = true;
        swatch->format = &sample->format;
    }
    sample->hasCheckbox = switchOffset != kTKNoOffset;
    if (sample->hasCheckbox) {
        TKCreateCheckbox(&sample->checkbox, base, switchOffset, section, label, objectName);
        sample->checkbox.mask = 0xFF; // the engine reads the low byte
    }
    sample->eyedropper.node = &sample->eyedropperNode;

    TKInitNode(&sample->node, parent, sample);
    const struct {
        TKControlNode* node;
        void* control;
        uint32_t signature;
    } parts[] = {{&sample->eyedropperNode, &sample->eyedropper, kTKControlEyedropper},
                 {&sample->sourceNode, &sample->source, kTKControlSwatch},
                 {&sample->resultNode, &sample->result, kTKControlResultSwatch},
                 {&sample->popupNode, sample, kTKControlFormatPopup},
                 {&sample->checkboxNode, &sample->checkbox, kTKControlCheckbox}};
    BPStatus first = bpNoErr;
    for (const auto& part : parts) {
        if (part.signature == kTKControlCheckbox && !sample->hasCheckbox) continue;
        const BPStatus err = Identify(part.node, &sample->node, part.control, part.signature, id);
        if (first == bpNoErr) first = err;
    }
    return first;
}

void TKDisposeColorSample(TKColorSample* sample)
{
    for (TKControlNode* node : {&sample->eyedropperNode, &sample->sourceNode, &sample->resultNode,
                                &sample->checkboxNode, &sample->popupNode, &sample->node})
        TKDisposeNode(node);
}

void TKLinkColorSample(TKColorSample* sample, TKSwatch* linked)
{
    sample->linked = linked;
    sample->eyedropper.linkedOffset = linked ? linked->dataOffset : kTKNoOffset;
    if (linked) linked->format = &sample->format;
}

bool TKSelectColorFormat(TKSession* session, TKColorSample* sample, int32_t index)
{
    (void)CommitOpenEdit(session, true);
    const int32_t format = std::clamp<int32_t>(index, 0, tkColorFormatCount - 1) + 1;
    if (sample->format == format) return false;
    sample->format = format;
    TKShowViews(session);
    for (TKSwatch* swatch : {&sample->source, &sample->result, sample->linked})
        if (swatch && swatch->redraw) swatch->redraw(swatch->window);
    return true;
}

TKColorSampleLayout TKLayOutColorSample()
{
    constexpr int left = kTKColorSampleWidth - 2 * kTKSampleSwatchWidth;
    return {.label = {0, 0, kTKColorSampleWidth, kLabelHeight},
            .eyedropper = {0, kLabelHeight + 2, kEyedropperSize, kEyedropperSize},
            .source = {left, kLabelHeight + 2, kTKSampleSwatchWidth, kSwatchHeight},
            .result = {left + kTKSampleSwatchWidth, kLabelHeight + 2, kTKSampleSwatchWidth, kSwatchHeight},
            .popup = {0, kPopupTop, kTKColorSampleWidth, kTKColorSampleHeight - kPopupTop}};
}
