// What the program tells while it works: a bar, lines, or JSON; complaints; where the time went. And signals.
#pragma once

#include "tools/ochrine-render/RenderOptions.h"

/// Where time goes, in seconds: of the processor where each frame has one thread, else of the clock.
struct RenderTimes {
    double decode = 0, bringIn = 0, grade = 0, encode = 0, write = 0;
};

struct RenderSummary {
    int64_t frames = 0;   ///< that were rendered
    int64_t existing = 0; ///< that were there already
    int64_t skipped = 0;  ///< bad ones left out
    int64_t held = 0;     ///< bad ones for which another one stands
    int workers = 1;
    bool isProcessorTime = false; ///< the kind of `times`
    double seconds = 0;
    RenderTimes times; ///< of all threads together
};

/// Thread: main.
class RenderReport {
  public:
    explicit RenderReport(ProgressKind kind);

    /// Tells of the clip and how many frames will be rendered.
    void Begin(const std::string& clip, const ClipInfo& info, int64_t total);
    /// Tells that `done` of the frames are out.
    void Progress(int64_t done);
    /// One line to standard error; in JSON an object too.
    void Complain(int exit, const std::string& text);
    void Warn(const std::string& text);
    void End(int exit, const RenderSummary& summary, bool showStats);

  private:
    void EndBar();

    ProgressKind kind_;
    int64_t total_ = 0, told_ = 0;
    double begin_ = 0;
    bool isBarOpen_ = false;
};

/// Seconds of a clock that only goes forward.   Thread: any.
double RenderClock();

/// Processor time of the calling thread, and of the process with all its threads.   Thread: any.
double RenderThreadClock();
double RenderProcessClock();

/// Most memory that the process has had, in bytes.
uint64_t RenderPeakBytes();

/// A text between quotes as JSON writes it; what is not UTF-8 becomes the replacement character.
std::string JSONText(const std::string& text);

/// Catches interrupt, termination and hang-up from now on; a broken pipe and a file beyond the limit become errors of
/// the call.
void RenderCatchSignals();

/// The number of the signal that came, or 0.   Thread: any.
int RenderSignal();
