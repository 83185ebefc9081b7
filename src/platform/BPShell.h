// Handing a file or an address to the program that the user has for it.
#pragma once

#include "src/platform/BPStatus.h"

struct BPShellOps {
    /// Opens a file of this machine. bpFileNotFoundErr when there is no such regular file, bpNotFoundErr when nothing
    /// opens it. Does not wait for the program.   Thread: main.
    BPStatus (*openFile)(const char* path);

    /// Opens an address in the browser. bpParamErr when it is none of http or https, bpNotFoundErr when there is no
    /// browser.   Thread: main.
    BPStatus (*openAddress)(const char* address);
};
