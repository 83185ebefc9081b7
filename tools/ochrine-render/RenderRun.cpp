// The render: as many threads as wanted, each with a frame of its own from the first byte to the last. Frames of a
// movie are decoded and written in turn; everything between, and all of a sequence, runs side by side. How far the
// fastest thread may be ahead of the writer is bounded, and so is memory, whatever the length of the clip.
#include "tools/ochrine-render/RenderRun.h"

#include "src/OCGradeFile.h"
#include "src/platform/BPFiles.h"
#include "src/platform/BPThreads.h"
#include "tools/ochrine-render/RenderPlan.h"
#include "tools/ochrine-render/RenderWorker.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <map>

namespace {

/// Frames and their buffers take no more than this together.
constexpr uint64_t kMemoryLimit = uint64_t{4} << 30;

class Render {
  public:
    Render(const RenderOptions& options, RenderReport* report) : options_(options), report_(report) {}
    ~Render()
    {
        if (engine_ != nullptr) OCDisposeEngine(engine_);
    }

    int Run();

  private:
    struct Seat {
        Render* render;
        std::unique_ptr<RenderWorker> worker;
        BPThread thread = {};
    };
    enum class Taken { frame, nothing, none };

    int Open();
    bool MakeWorkers();
    int Watch();
    int Conclude(int exit);

    static void WorkEntry(void* argument);
    void Work(RenderWorker* worker);
    bool TakeAndDecode(RenderWorker* worker, int64_t* ordinal);
    bool MayTake(int64_t ordinal);
    Taken Decode(RenderWorker* worker, int64_t number);
    bool Deliver(RenderWorker* worker, int64_t ordinal, bool hasPicture);
    bool DeliverPacket(RenderWorker* worker, int64_t ordinal, bool hasPicture);
    void Count(int64_t RenderSummary::*what);
    void Fail(int exit, int64_t ordinal, const std::string& text);
    void Stop();

    const RenderOptions& options_;
    RenderReport* report_;
    RenderSource source_;
    RenderPlan plan_;
    OCEngine* engine_ = nullptr;
    int threads_ = 1;
    std::vector<Seat> seats_;

    std::atomic<bool> isStopped_{false};
    std::mutex turn_;  ///< who holds it takes the next frame, and of a movie decodes it
    int64_t next_ = 0; ///< ordinal of the next frame; under turn_

    std::mutex mutex_; ///< of everything below
    std::condition_variable changed_;
    RenderSummary summary_;
    int64_t done_ = 0; ///< frames that are out, there already, or left out
    int busy_ = 0;     ///< threads at work
    int exit_ = renderDone;
    int64_t failedOrdinal_ = INT64_MAX;
    std::string failure_;
    // A movie.
    MovieFile movie_;
    int64_t written_ = 0;                  ///< ordinal that the movie takes next
    std::map<int64_t, AVPacketPtr> ready_; ///< encoded before their turn; null for a frame that is left out
};

void Render::Stop()
{
    isStopped_ = true;
    const std::lock_guard<std::mutex> lock(mutex_);
    changed_.notify_all();
}

/// Of several failures the one that lies first in the clip is told.
void Render::Fail(int exit, int64_t ordinal, const std::string& text)
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (ordinal < failedOrdinal_) {
            failedOrdinal_ = ordinal;
            exit_ = exit;
            failure_ = text;
        }
    }
    Stop();
}

void Render::Count(int64_t RenderSummary::*what)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    ++(summary_.*what);
    ++done_;
    changed_.notify_all();
}

/// Waits until the writer of the movie is near enough; false when the render is to stop.
bool Render::MayTake(int64_t ordinal)
{
    std::unique_lock<std::mutex> lock(mutex_);
    const auto window = static_cast<int64_t>(seats_.size()) * 2;
    changed_.wait(lock, [&] { return isStopped_ || !plan_.isMovie || ordinal < written_ + window; });
    return !isStopped_;
}

/// Brings the frame, or the one that is held in its place, into the worker. Counts and tells what goes wrong.
Render::Taken Render::Decode(RenderWorker* worker, int64_t number)
{
    std::string error;
    const double begin = worker->Clock();
    BPStatus err = source_.ReadFrame(number, &worker->Reader(), &worker->Source(), &error);
    // Whatever a frame suffers from, but want of memory, which the frames before it would suffer from too.
    const auto isBad = [&err] { return err != bpNoErr && err != bpMemFullErr; };
    if (isBad() && options_.badFrames == BadFrames::hold) {
        std::string ignored;
        for (int64_t earlier = std::min(number, source_.Last() + 1) - 1; isBad() && earlier >= source_.First();
             --earlier) {
            err = source_.ReadFrame(earlier, &worker->Reader(), &worker->Source(), &ignored);
        }
        const std::string timecode = source_.CountedTimecode(number);
        if (!timecode.empty()) worker->Source().notes.timecode = timecode;
        const std::lock_guard<std::mutex> lock(mutex_);
        ++summary_.held;
    }
    worker->Times().decode += worker->Clock() - begin;
    if (err == bpNoErr) return Taken::frame;
    if (isBad() && options_.badFrames == BadFrames::skip) return Taken::nothing;
    Fail(err == bpMemFullErr ? renderNoMemory : renderBadFrame, number - plan_.first,
         err == bpMemFullErr ? "out of memory" : error);
    return Taken::none;
}

/// Takes frames until one is decoded; false when there is none left.
bool Render::TakeAndDecode(RenderWorker* worker, int64_t* ordinal)
{
    for (;;) {
        std::unique_lock<std::mutex> turn(turn_);
        if (isStopped_ || next_ >= plan_.Count() || !MayTake(next_)) return false;
        *ordinal = next_++;
        const int64_t number = plan_.first + *ordinal;
        if (!plan_.isMovie && options_.skipExisting && RenderExists(plan_.FileOf(number))) {
            turn.unlock();
            Count(&RenderSummary::existing);
            continue;
        }
        // Pictures of a movie come one after the other; files are nobody's turn.
        if (source_.Movie() == nullptr) turn.unlock();
        const Taken taken = Decode(worker, number);
        if (turn.owns_lock()) turn.unlock();
        if (taken == Taken::frame) return true;
        if (taken == Taken::none || !Deliver(worker, *ordinal, false)) return false;
    }
}

bool Render::DeliverPacket(RenderWorker* worker, int64_t ordinal, bool hasPicture)
{
    AVPacketPtr packet(hasPicture ? av_packet_clone(worker->Packet()) : nullptr);
    if (hasPicture && !packet) {
        Fail(renderNoMemory, ordinal, "out of memory");
        return false;
    }
    std::string error;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const double begin = worker->Clock();
        ready_[ordinal] = std::move(packet);
        for (auto at = ready_.begin(); at != ready_.end() && at->first == written_ && error.empty();
             at = ready_.erase(at), ++written_, ++done_) {
            if (!at->second) {
                ++summary_.skipped;
            } else if (movie_.Put(plan_.first + written_, at->second.get()) != bpNoErr) {
                error = movie_.Error();
            } else {
                ++summary_.frames;
            }
        }
        worker->Times().write += worker->Clock() - begin;
        changed_.notify_all();
    }
    if (!error.empty()) Fail(renderNoOutput, ordinal, error);
    return error.empty();
}

bool Render::Deliver(RenderWorker* worker, int64_t ordinal, bool hasPicture)
{
    if (plan_.isMovie) return DeliverPacket(worker, ordinal, hasPicture);
    if (!hasPicture) {
        Count(&RenderSummary::skipped);
        return true;
    }
    const std::string path = plan_.FileOf(plan_.first + ordinal);
    const double begin = worker->Clock();
    const BPStatus err = BPWriteFile(path.c_str(), worker->Bytes().Data(), worker->Bytes().Size());
    worker->Times().write += worker->Clock() - begin;
    if (err != bpNoErr) {
        const char* why = err == bpDiskFullErr       ? ": there is no room"
                          : err == bpPermissionErr   ? ": that is not allowed"
                          : err == bpReadOnlyErr     ? ": nothing can be written there"
                          : err == bpFileTooLargeErr ? ": it would be too large"
                          : err == bpFileNotFoundErr ? ": its folder is gone"
                                                     : "";
        Fail(renderNoOutput, ordinal, "cannot write " + path + why);
        return false;
    }
    Count(&RenderSummary::frames);
    return true;
}

void Render::Work(RenderWorker* worker)
{
    int64_t ordinal = 0;
    while (TakeAndDecode(worker, &ordinal)) {
        if (isStopped_) break;
        std::string error;
        const BPStatus err = worker->Render(&error);
        if (err != bpNoErr) {
            const std::string frame = "frame " + std::to_string(plan_.first + ordinal) + ": ";
            Fail(err == bpMemFullErr ? renderNoMemory : renderBadFrame, ordinal, frame + error);
            break;
        }
        if (!Deliver(worker, ordinal, true)) break;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    --busy_;
    changed_.notify_all();
}

void Render::WorkEntry(void* argument)
{
    Seat* seat = static_cast<Seat*>(argument);
    seat->render->Work(seat->worker.get());
}

int Render::Open()
{
    std::string error;
    threads_ = options_.threads > 0 ? options_.threads : static_cast<int>(BPProcessorCount());
    // What a file does not tell is that of a reset grade.
    OCSettings grade = {};
    OCGradeKind kind = {};
    OCResetSettings(&grade, kOCResetAll, kOCResetAll, kOCResetDefaults);
    if (OCLoadGradeFile(options_.grade.c_str(), &grade, &kind, &error) != bpNoErr) {
        report_->Complain(renderNoGrade, error);
        return renderNoGrade;
    }
    if (!source_.Open(options_.clip, options_.hasRate ? &options_.rate : nullptr, threads_, &error)) {
        report_->Complain(renderNoClip, error);
        return renderNoClip;
    }
    if (RenderExit exit = MakeRenderPlan(options_, source_, &plan_, &error); exit != renderDone) {
        report_->Complain(exit, error);
        return exit;
    }
    if (OCCreateEngine(&engine_) != bpNoErr) {
        report_->Complain(renderNoMemory, "out of memory");
        return renderNoMemory;
    }
    OCUpdateParameters(engine_, &grade);
    if (OCUpdateStatus(engine_) != bpNoErr) {
        report_->Complain(renderNoMemory, "out of memory");
        return renderNoMemory;
    }
    return renderDone;
}

/// One seat a thread, as far as frames and memory go; threads that are left help inside a frame.
bool Render::MakeWorkers()
{
    const ClipInfo& info = source_.Info();
    const uint64_t frameBytes = uint64_t{info.width} * info.height * 48;
    const auto fitting = static_cast<int64_t>(std::max<uint64_t>(kMemoryLimit / frameBytes, 1));
    const int64_t count = std::clamp<int64_t>(std::min<int64_t>(threads_, fitting), 1, plan_.Count());
    const int within = std::max(static_cast<int>(threads_ / count), 1);
    std::string error;
    for (int64_t i = 0; i < count; ++i) {
        auto worker = std::make_unique<RenderWorker>(options_, source_, engine_, within);
        if (!worker->Prepare(&error)) {
            report_->Complain(renderNoMemory, error);
            return false;
        }
        seats_.push_back({this, std::move(worker)});
    }
    summary_.workers = static_cast<int>(count);
    return true;
}

/// The main thread while the others work: tells how far they are and looks for signals.
int Render::Watch()
{
    const double begin = RenderProcessClock();
    busy_ = static_cast<int>(seats_.size());
    for (Seat& seat : seats_) {
        if (BPStartThread(WorkEntry, &seat, &seat.thread) == bpNoErr) continue;
        const std::lock_guard<std::mutex> lock(mutex_);
        --busy_;
    }
    if (seats_.front().thread.handle == 0) Fail(renderNoMemory, 0, "no thread can be started");
    std::unique_lock<std::mutex> lock(mutex_);
    for (bool isOver = false; !isOver;) {
        changed_.wait_for(lock, std::chrono::milliseconds(50));
        isOver = busy_ == 0;
        const int64_t done = done_;
        lock.unlock();
        report_->Progress(done);
        if (RenderSignal() != 0) Stop();
        lock.lock();
    }
    lock.unlock();
    for (Seat& seat : seats_) {
        if (seat.thread.handle != 0) BPJoinThread(&seat.thread);
        const RenderTimes& spent = seat.worker->Times();
        summary_.times.decode += spent.decode;
        summary_.times.bringIn += spent.bringIn;
        summary_.times.grade += spent.grade;
        summary_.times.encode += spent.encode;
        summary_.times.write += spent.write;
    }
    summary_.isProcessorTime = seats_.size() > 1;
    if (source_.Movie() != nullptr && summary_.isProcessorTime) {
        // The decoder has threads of its own: what nobody else has used is theirs.
        const RenderTimes& t = summary_.times;
        const double others = t.bringIn + t.grade + t.encode + t.write;
        summary_.times.decode = std::max(t.decode, RenderProcessClock() - begin - others);
    }
    if (exit_ != renderDone) {
        report_->Complain(exit_, failure_);
        return exit_;
    }
    if (done_ < plan_.Count()) return 128 + RenderSignal();
    return renderDone;
}

/// The movie is completed, and the rest told.
int Render::Conclude(int exit)
{
    if (exit == renderDone && plan_.isMovie && RenderSignal() == 0) {
        const double begin = RenderClock();
        if (movie_.Finish() != bpNoErr) {
            exit = renderNoOutput;
            report_->Complain(exit, movie_.Error());
        }
        summary_.times.write += RenderClock() - begin;
    } else if (exit == renderDone && RenderSignal() != 0 && plan_.isMovie) {
        exit = 128 + RenderSignal();
    }
    if (exit > 128) {
        report_->Complain(exit, "stopped by signal " + std::to_string(exit - 128) + " after " +
                                    std::to_string(summary_.frames) + " frames" +
                                    (plan_.isMovie ? "; no movie was written" : ""));
    }
    if (summary_.skipped > 0) report_->Warn(std::to_string(summary_.skipped) + " bad frames were left out");
    if (summary_.held > 0) report_->Warn(std::to_string(summary_.held) + " bad frames show the one before");
    return exit;
}

int Render::Run()
{
    const double begin = RenderClock();
    if (int exit = Open(); exit != renderDone) return exit;
    report_->Begin(options_.clip, source_.Info(), std::max<int64_t>(plan_.Count(), 0));
    int exit = renderDone;
    if (plan_.Count() < 1) {
        report_->Warn("this part holds no frame");
    } else if (plan_.isMovie && options_.skipExisting && RenderExists(plan_.path)) {
        summary_.existing = plan_.Count();
        report_->Progress(plan_.Count());
    } else if (!MakeWorkers()) {
        return renderNoMemory;
    } else {
        std::string warning;
        if (plan_.isMovie && !movie_.Start(plan_.path, source_, seats_.front().worker->Encoder().Codec(), plan_.first,
                                           plan_.last, options_.keepAudio, &warning)) {
            report_->Complain(renderNoOutput, movie_.Error());
            return renderNoOutput;
        }
        if (!warning.empty()) report_->Warn(warning);
        exit = Conclude(Watch());
    }
    summary_.seconds = RenderClock() - begin;
    report_->End(exit, summary_, options_.showStats);
    return exit;
}

} // namespace

int RunRender(const RenderOptions& options)
{
    RenderReport report(options.progress);
    Render render(options, &report);
    return render.Run();
}
