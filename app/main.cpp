// The application: platform, windows and session are put together here, and the message loop runs.
#include "src/BPXML2Support.h"
#include "src/UI/TKWindowsWin.h"
#include "src/UI/UISplashWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/platform/BPEndRequest.h"
#include "src/platform/BPLog.h"
#include "src/platform/qt/BPQtPlatform.h"
#include "src/support/TKStartup.h"

#include <QApplication>
#include <QIcon>
#include <clocale>
#include <cstdio>
#include <cstdlib>

namespace {

/// Qt ends the process with a signal when there is no display; we say so and end in order. One that is named but does
/// not answer is left to Qt, which tells its name.
bool HasDisplay()
{
    return std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY") || std::getenv("QT_QPA_PLATFORM");
}

void ShowReport(void* context, const char*, const char* text)
{
    static_cast<const BPPlatform*>(context)->alert.alert(bpStop, text);
}

} // namespace

int main(int argc, char** argv)
{
    if (!HasDisplay()) {
        std::fputs("ochrine: there is no display; set DISPLAY or WAYLAND_DISPLAY.\n", stderr);
        return EXIT_FAILURE;
    }
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C"); // every number that is read or written has a point
    application.setApplicationName(QStringLiteral("ochrine"));
    application.setDesktopFileName(QStringLiteral("ochrine"));
    application.setQuitOnLastWindowClosed(false); // a hidden window may come back
    application.setWindowIcon(QIcon(UIProductIcon(128)));

    BPPlatform platform = {};
    BPFillLinuxPlatform(&platform);
    BPFillQtPlatform(&platform);
    BPSetReportHandler(ShowReport, &platform);

    int32_t exitCode = EXIT_SUCCESS;
    {
        TKWindowsWin windows;
        const TKUserInterface ui = windows.interface();
        TKSession* session = nullptr;
        if (TKCreateSession(&platform, &ui, &session) != bpNoErr) {
            BPFatalError("Insufficient memory to start.", "Ochrine 3 UI");
            return EXIT_FAILURE;
        }
        windows.setSession(session);
        windows.watchEndRequests(BPCatchEndRequests());
        UIApplyPalette(session->palette);
        switch (TKStartUp(session)) {
        case tkStartRun:
            application.exec();
            exitCode = TKFinish(session);
            break;
        case tkStartFailed: exitCode = TKFinish(session); break;
        case tkStartEnded: break;
        }
        windows.dispose(); // the widgets look at the session
        TKDisposeSession(session);
    }
    BPXML2_CleanUp();
    BPSetReportHandler(nullptr, nullptr);
    return exitCode;
}
