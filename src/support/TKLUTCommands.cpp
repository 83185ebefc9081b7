// Thin callers of the readers and writers of tables.
#include "src/support/TKLUTCommands.h"

#include "src/OCCurveFile.h"
#include "src/OCSampledCurves.h"
#include "src/platform/BPLog.h"
#include "src/platform/BPSystem.h"
#include "src/support/TKPreviewLUTs.h"
#include "src/support/TKTableDialog.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

constexpr char kProductName[] = "Ochrine 3 UI";
constexpr int kCancelled = -128;

bool AskForNewFile(TKSession* session, const BPFileQuestion& question, std::string* path)
{
    return session->platform->fileDialog.save(question, path) && !session->quitting;
}

} // namespace

BPStatus TKExportLUT(TKSession* session, const OCLUTTarget& target)
{
    const std::string extension = std::string(".") + target.extension;
    const BPFileType type = {.extension = extension.c_str(), .description = target.filterText};
    const BPFileQuestion question = {.title = target.title,
                                     .button = "Save",
                                     .filter = target.filterText,
                                     .types = &type,
                                     .typeCount = 1,
                                     .defaultName = target.defaultName,
                                     .defaultExtension = target.extension};
    std::string path;
    if (!AskForNewFile(session, question, &path)) return bpNoErr;
    const OCLUTJob job = {.engine = session->engine,
                          .settings = &session->liveSettings,
                          .taskCount = session->taskCount,
                          .tasks = session->tasks,
                          .fileName = nullptr, // the export takes it from the path
                          .wallSeconds = session->platform->clock.wallSeconds()};
    const BPStatus err = OCExportLUT(target, job, path.c_str());
    // Deliberate: a file that cannot be made is no error.
    return err == bpMemFullErr || err == bpDiskFullErr ? err : bpNoErr;
}

BPStatus TKSavePreviewLUT(TKSession* session)
{
    const BPFileType type = {.extension = ".lut", .description = "LUT Files (*.lut)"};
    const BPFileQuestion question = {.title = "Save Preview LUT",
                                     .button = "Save",
                                     .filter = "LUT Files (*.lut)",
                                     .types = &type,
                                     .typeCount = 1,
                                     .defaultName = "LUT_Untitled_OC_Preview",
                                     .defaultExtension = "lut"};
    std::string path;
    if (!AskForNewFile(session, question, &path)) return bpNoErr;
    const BPSystemVersion system = BPGetSystemVersion();
    return SavePreviewLUT(session->engine, &session->liveSettings, path.c_str(), kOCPreviewSaveSize,
                          {.wallSeconds = session->platform->clock.wallSeconds(),
                           .systemMajor = system.major,
                           .systemMinor = system.minor},
                          session->taskCount, session->tasks);
}

void CVLoadCurrentCurves(TKSession* session)
{
    std::string path;
    const bool chosen = TKAskForTable<OCCurveKind>(*session->platform, "Load Curve", OCCurveKinds(), &path);
    BPDebugLog("selection returned %d\n", chosen ? int{bpNoErr} : kCancelled);
    if (chosen && !session->quitting) {
        const int kind = OCCurveKindOf(path.c_str());
        OCSettings loaded = session->liveSettings;
        const OCLUTRead read = OCLoadCurveFile(kind < 0 ? 0 : static_cast<uint32_t>(kind), path.c_str(), &loaded);
        if (read.alert) session->platform->alert.messageBox(kProductName, read.alert);
        if (read.status == bpNoErr && !session->quitting) session->liveSettings = loaded;
    }
    BPDebugLog("Leaving CVLoadCurrentCurves\n");
}

void TKSaveCurves(TKSession* session)
{
    const auto& curves = session->liveSettings.rgbCurve;
    if (std::all_of(std::begin(curves), std::end(curves), [](const HCurve& curve) { return curve.curveKind & 1; }))
        return;
    const BPFileType type = {.extension = ".acv", .description = "Curves (*.acv)"};
    const BPFileQuestion question = {.title = "Save Curve",
                                     .button = "Save",
                                     .filter = "Curves (*.acv)",
                                     .types = &type,
                                     .typeCount = 1,
                                     .defaultName = "Untitled Curve",
                                     .defaultExtension = "acv"};
    std::string path;
    if (AskForNewFile(session, question, &path)) (void)SaveACV(path.c_str(), session->liveSettings); // the log tells
}

void TKRunSavePreviewLUT(TKSession* session, const TKCommandSource*)
{
    (void)TKSavePreviewLUT(session);
}

void TKRunSelectPreviewLUT(TKSession* session, const TKCommandSource*)
{
    (void)TKSelectPreviewCommand(session, session->commandID);
}

void TKRunLoadCurves(TKSession* session, const TKCommandSource*)
{
    // Deliberate: the step is opened before the dialog, so a cancelled dialog leaves a step without a change.
    TKChangeAsOneStep(session, [session](OCSettings*) { CVLoadCurrentCurves(session); });
}

void TKRunSaveCurves(TKSession* session, const TKCommandSource*)
{
    TKSaveCurves(session);
}
