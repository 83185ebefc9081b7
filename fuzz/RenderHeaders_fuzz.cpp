// Headers of EXR and DPX files as a render reads them beside the pixels, and what it writes from them.
#include "tools/ochrine-render/RenderStill.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    PictureNotes notes;
    NotesFromEXR(data, size, &notes);
    NotesFromDPX(data, size, &notes);
    size_t carried = 0;
    for (const EXRAttribute& attribute : notes.attributes) {
        carried += attribute.value.size();
        if (attribute.name.empty() || attribute.name.size() > 255 || attribute.type.empty()) std::abort();
    }
    if (carried > (size_t{1} << 20) || notes.attributes.size() > 256) std::abort();
    TimecodeDigits digits = {};
    if (!notes.timecode.empty() && !TimecodeFromText(notes.timecode, &digits)) std::abort();

    // Whatever was read can be written, and says the same when it is read again.
    static FBFrame* frame = nullptr;
    if (frame == nullptr && FBCreateRGBFrameBuffer(3, 2, &frame, pixFormatRGBYPlanar_Float) != bpNoErr) std::abort();
    PictureBytes bytes;
    PictureNotes again;
    if (EncodeEXR({.frame = frame}, notes, true, true, 1, &bytes) != bpNoErr) std::abort();
    NotesFromEXR(bytes.Data(), bytes.Size(), &again);
    if (again.attributes.size() < notes.attributes.size()) std::abort();
    if (EncodeDPX({.frame = frame}, notes, 10, 1, &bytes) != bpNoErr) std::abort();
    NotesFromDPX(bytes.Data(), bytes.Size(), &again);
    if (again.dpxHeader.size() != 2048) std::abort();
    return 0;
}
