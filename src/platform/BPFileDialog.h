// Asking the user for a file, or for a name. The answer is a path; nothing is opened or written here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// A kind of file that a dialog offers.
struct BPFileType {
    const char* extension; ///< with its point, ".*" for all
    const char* description;
};

/// What a dialog shows. Texts live as long as the call.
struct BPFileQuestion {
    const char* title;
    const char* button;
    const char* filter; ///< title of the list of types, such as "Ochrine Settings (*.ocpreset)"
    const BPFileType* types;
    size_t typeCount;
    const char* defaultName;      ///< for saving; null otherwise
    const char* defaultExtension; ///< for saving, without a point: appended to a name without one; null otherwise
};

/// Each returns false, with an empty path or name, when the user cancelled. They wait for the user in an event loop of
/// their own: the session may have come to its end when they return.   Thread: main.
struct BPFileDialogOps {
    /// One file that is there.
    bool (*open)(const BPFileQuestion& question, std::string* path);

    /// A file that may be written: whether an old one is replaced has been asked.
    bool (*save)(const BPFileQuestion& question, std::string* path);

    /// A line of text; the suggestion is selected. The name may be empty. `h` and `v` are the place of the window on the
    /// desktop: it opens there when a screen is there, else, and with -1, centred on its parent. Where it was left is
    /// stored, cancelled or not; a window system that tells no places leaves them alone.
    bool (*askName)(const char* title, const char* suggestion, int32_t* h, int32_t* v, std::string* name);
};
