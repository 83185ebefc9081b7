// ochrine-render: applies a grade to a clip, without a window.
#include "src/platform/BPLog.h"
#include "tools/ochrine-render/RenderRun.h"

#include <cstdio>

extern "C" {
#include <libavutil/log.h>
}

int main(int count, char** arguments)
{
    RenderOptions options;
    std::string error;
    if (!ParseRenderOptions(count - 1, arguments + 1, &options, &error)) {
        std::fprintf(stderr, "ochrine-render: %s; --help tells the options\n", error.c_str());
        return renderUsage;
    }
    if (options.showHelp) {
        std::fputs(kRenderHelp, stdout);
        return renderDone;
    }
    if (options.showVersion) {
        std::puts("ochrine-render 3.0.9");
        return renderDone;
    }
    av_log_set_level(options.isVerbose ? AV_LOG_ERROR : AV_LOG_FATAL);
    // The engine tells of every image; what a user needs to know is told by the report.
    if (!options.isVerbose) BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
    RenderCatchSignals();
    return RunRender(options);
}
