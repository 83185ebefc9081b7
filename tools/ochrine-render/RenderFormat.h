// The formats that a render can be written in.
#pragma once

#include <cstdint>
#include <string>

enum class OutputFile : uint8_t { exr, dpx, png, raw, movie };

struct OutputFormat {
    const char* name; ///< as --format takes it
    OutputFile file;
    uint8_t bits;   ///< of a component; 16 and 32 of EXR are half and float
    bool hasAlpha;  ///< it can carry transparency
    bool isDefault; ///< of its suffix
    const char* suffix;
};

inline constexpr OutputFormat kOutputFormats[] = {
    {"exr-half", OutputFile::exr, 16, true, true, ".exr"},
    {"exr-float", OutputFile::exr, 32, true, false, ".exr"},
    {"dpx10", OutputFile::dpx, 10, false, true, ".dpx"},
    {"dpx16", OutputFile::dpx, 16, true, false, ".dpx"},
    {"png8", OutputFile::png, 8, true, false, ".png"},
    {"png16", OutputFile::png, 16, true, true, ".png"},
    {"raw", OutputFile::raw, 32, true, true, ".raw"},
    {"prores422hq", OutputFile::movie, 10, false, true, ".mov"},
    {"prores4444", OutputFile::movie, 12, true, false, ".mov"},
};

/// The format of a name; false for an unknown one.
bool OutputFormatByName(const std::string& name, OutputFormat* format);

/// The usual format of a path's suffix, in any case; false for an unknown one.
bool OutputFormatByPath(const std::string& path, OutputFormat* format);

/// True when the path has the suffix that files of this format have.
bool OutputFormatFits(const OutputFormat& format, const std::string& path);

/// The pattern with its row of # (as many as digits) written as %0Nd; other paths as they are.
std::string PatternFromHashes(const std::string& path);
