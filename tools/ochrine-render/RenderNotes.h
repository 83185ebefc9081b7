// What a picture tells beside its pixels: timecode, rate, texts, attributes. Carried from source to output.
#pragma once

#include "host/ClipSource.h"

#include <utility>

struct AVFrame;

/// An attribute of an EXR header as it stands there.
struct EXRAttribute {
    std::string name, type;
    std::vector<uint8_t> value;
};

struct PictureNotes {
    std::string timecode; ///< "HH:MM:SS:FF", with ; before the frames when numbers are dropped; empty when unknown
    ClipRate rate = {0, 0};
    double pixelAspect = 1.0;
    std::vector<EXRAttribute> attributes; ///< of an EXR source, without those that describe its pixels
    std::vector<uint8_t> dpxHeader;       ///< of a DPX source: 2,048 bytes, big-endian, or empty
    std::vector<std::pair<std::string, std::string>> texts; ///< key and value, UTF-8
    std::vector<uint8_t> iccProfile;
};

/// Hours, minutes, seconds, frames.
struct TimecodeDigits {
    uint32_t field[4];
    bool isDrop;
};

/// Reads "HH:MM:SS:FF" or "HH:MM:SS;FF" (or .FF); false for anything else.
bool TimecodeFromText(const std::string& text, TimecodeDigits* digits);
std::string TimecodeToText(const TimecodeDigits& digits);

/// The timecode `frames` later, with dropped numbers and the turn of the day; empty when it cannot be read.
std::string TimecodeAfter(const std::string& timecode, ClipRate rate, int64_t frames);

/// Eight binary coded digits, hours on top; false when a field has more than two digits.
bool TimecodeToBCD(const TimecodeDigits& digits, uint32_t* word);
bool TimecodeFromBCD(uint32_t word, TimecodeDigits* digits);

/// Reads the attributes of an EXR file's (first) header: timecode and rate into their fields, those that describe the
/// pixels not at all, the others as they are. Whatever is damaged ends the reading; what was read by then counts.
void NotesFromEXR(const uint8_t* bytes, size_t byteCount, PictureNotes* notes);

/// Reads the header of a DPX file of either byte order. Anything else changes nothing.
void NotesFromDPX(const uint8_t* bytes, size_t byteCount, PictureNotes* notes);

/// Everything that a picture and its file tell.
///
/// bytes   of the file; may be empty
void NotesFromPicture(const AVFrame& picture, const std::vector<uint8_t>& bytes, PictureNotes* notes);
