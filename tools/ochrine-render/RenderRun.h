// One render from the plan to the last file.
#pragma once

#include "tools/ochrine-render/RenderReport.h"

/// Renders what the options ask for, and tells of it. Returns the exit code of the program.   Thread: main.
int RunRender(const RenderOptions& options);
