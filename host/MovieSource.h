// A movie as a clip: every frame by number, to the frame.
#pragma once

#include "host/ClipDecoder.h"
#include "host/PictureConvert.h"

/// Makes a clip of an opened movie. The packets are listed once, so that frame n is the n-th by presentation time.
/// error   receives one sentence when null is returned
std::unique_ptr<ClipSource> MakeMovieSource(const std::string& path, ClipDecoder decoder, std::string* error);

/// The clip's name of a path: the file's name without suffix.
std::string ClipNameOf(const std::string& path);
