// From the move of a slider to the pixels on the screen, in the running application: its main window on a real display,
// a picture of 1920 x 1080 in it, a slider that is dragged, and the clock between. Every move renders, converts, draws
// the combo of four displays and paints before it returns, so that a move is a frame on the screen.
//
// Wants a display (under a virtual one, say with xvfb-run). The rows are medians, in milliseconds, as a Markdown table;
// beside the clock stands the processor time of all threads, which other programs disturb less.
#include "src/UI/TKWindowsWin.h"
#include "src/UI/TincturaMainWin.h"
#include "tests/support/TKTestSession.h"

#include <QApplication>
#include <QScreen>
#include <algorithm>
#include <cstdio>
#include <ctime>

namespace {

constexpr int kMoves = 40, kWarmUps = 4;

struct Times {
    double wall, processor;
};

Times Now()
{
    const auto of = [](clockid_t clock) {
        timespec time;
        clock_gettime(clock, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
    };
    return {.wall = of(CLOCK_MONOTONIC), .processor = of(CLOCK_PROCESS_CPUTIME_ID)};
}

/// Medians of what `work` takes; it gets the number of its run.
template <class Work> Times Median(Work work)
{
    std::vector<double> wall, processor;
    for (int i = -kWarmUps; i < kMoves; ++i) {
        const Times start = Now();
        work(i);
        const Times end = Now();
        if (i < 0) continue;
        wall.push_back(end.wall - start.wall);
        processor.push_back(end.processor - start.processor);
    }
    const auto middle = [](std::vector<double>& values) {
        std::nth_element(values.begin(), values.begin() + kMoves / 2, values.end());
        return values[kMoves / 2];
    };
    return {.wall = middle(wall), .processor = middle(processor)};
}

void Row(const char* grade, const char* what, Times times)
{
    std::printf("| %s | %s | %.1f | %.1f |\n", grade, what, times.wall, times.processor);
    std::fflush(stdout);
}

/// Every switch that there is, with values that make each stage work.
void TurnEverythingOn(OCSettings* settings)
{
    for (const TKSection& section : TKSections())
        for (uint32_t i = 0; i < section.switchCount; ++i) {
            const uint32_t on = 1;
            std::memcpy(reinterpret_cast<uint8_t*>(settings) + section.switchOffset[i], &on, sizeof on);
        }
    for (OCHSLBlock* block :
         {&settings->hsl.master, &settings->hsl.highlights, &settings->hsl.midtones, &settings->hsl.shadows}) {
        block->saturation = 110;
        block->contrast = 5;
        block->gamma = 1.05f;
    }
}

void TurnPrimaryOn(OCSettings* settings)
{
    settings->primaryOn = settings->hslOn = settings->hsl.master.on = 1;
    settings->hsl.master.saturation = 120;
    settings->hsl.master.contrast = 10;
    settings->rgbOn = 1;
}

/// A move of the slider "RGB Gain" of the HSL master to a place of its own.
void Move(TKSession* session, SliderVars* slider, int i)
{
    (void)TKSliderDrag(session, slider, 65536 + (i + kWarmUps + 1) * 512);
}

void Measure(TKSession* session, SliderVars* slider, const char* grade)
{
    UpdateAllControls(session, &session->liveSettings, kOCResetAll, kOCResetAll, nullptr, true);
    RecomputeAndRefresh(session, true);
    Row(grade, "slider move to pixels on the screen", Median([&](int i) { Move(session, slider, i); }));
    Row(grade, "of it: pipeline and conversion", Median([&](int i) {
            session->liveSettings.hsl.master.gain = 1 + static_cast<float>(i + kWarmUps + 1) / 100;
            TKRenderResult(session);
        }));
    Row(grade, "of it: combo of four, painted", Median([&](int) { UpdateAnalysisPane(session, true); }));
    Row(grade, "of it: picture, painted", Median([&](int) {
            TK_UI(session, refreshResult, true);
            TK_UI(session, repaintPicture, true);
        }));
}

SliderVars* SliderNamed(TKSession* session, const char* name)
{
    for (uint32_t i = 0; i < session->controls.sliderCount; ++i)
        if (std::strcmp(session->controls.slider[i]->objectName, name) == 0) return session->controls.slider[i];
    return nullptr;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    application.setQuitOnLastWindowClosed(false);
    BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
    BPFakeReset();
    gBPFake.alive[kHostProcess] = true;
    BPPlatform platform = {};
    BPFillFakePlatform(&platform);
    TKTestHost host;
    host.width = 1920;
    host.height = 1080;
    host.rowBytes = 1920 * 4;
    host.Make();
    {
        TKWindowsWin windows;
        const TKUserInterface ui = windows.interface();
        TKSession* session = nullptr;
        if (TKCreateSession(&platform, &ui, &session) != bpNoErr) return 1;
        windows.setSession(session);
        if (TKStartUp(session) != tkStartRun) return 1;
        // A window manager may be late or missing; the figures are those of a window as large as the screen.
        TincturaMainWin* window = windows.mainWindow();
        window->showNormal();
        window->setGeometry(window->screen()->availableGeometry());
        for (int i = 0; i < 50; ++i) QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        std::printf("Window %d x %d, picture 1920 x 1080, %u workers\n\n", window->width(), window->height(),
                    session->taskCount);
        std::printf("| grade | what | clock, ms | processor, ms |\n|---|---|---:|---:|\n");
        SliderVars* slider = SliderNamed(session, "hsl_master_gain");
        if (!slider) slider = session->controls.slider[6];
        TurnPrimaryOn(&session->liveSettings);
        Measure(session, slider, "primary");
        TurnEverythingOn(&session->liveSettings);
        Measure(session, slider, "everything on");
        TKEndSession(session, kTKCommandExit);
        (void)TKFinish(session);
        windows.dispose();
        TKDisposeSession(session);
    }
    return 0;
}
