// What the commands for settings files and colour decision lists do.
#include "src/support/TKSettingsFiles.h"

#include "src/ASCCDL.h"
#include "src/OCVersion.h"
#include "src/TincturaFileIO.h"
#include "src/platform/BPFiles.h"
#include "src/platform/BPLog.h"
#include "src/support/TKCommandActions.h"
#include "src/support/TincturaCallback.h"

#include <cstring>
#include <iterator>

namespace {

constexpr char kProductName[] = "Ochrine 3 UI";
constexpr char kPresetExtension[] = ".ocpreset";

constexpr BPFileType kSettingsTypes[] = {{.extension = kPresetExtension, .description = "Ochrine Settings"}};
constexpr char kSettingsFilter[] = "Ochrine Settings (*.ocpreset)";

constexpr BPFileType kCDLLoadTypes[] = {
    {.extension = ".xml", .description = "Color Decision List (.xml)"},
    {.extension = ".cdl", .description = "Color Decision List (.cdl)"},
    {.extension = ".ccc", .description = "Color Decision List (.ccc)"},
    {.extension = ".*", .description = "All Documents"},
};
constexpr BPFileType kCDLSaveTypes[] = {{.extension = ".cdl", .description = "Color Decision List"}};

std::string FolderOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

std::string FileNameOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

/// The path of the source clip, empty when it is not known: with several clips in the list none is known to be it.
std::string SourceClip(const TKSession* session)
{
    const TKUIComm* block = TKBlockOf(session);
    if (!block || TKReadOnce(block->clipCount) != 1) return {};
    char path[sizeof TKClipRecord::path + 1] = {};
    std::memcpy(path, block->clipList[0].path, sizeof TKClipRecord::path);
    return path;
}

} // namespace

BPStatus TKLoadSettings(TKSession* session, const char* path, OCSettings* settings)
{
    const BPStatus err = LoadSettingsFile(path, settings);
    if (err == bpInvalidSettingsErr) session->platform->alert.messageBox(kProductName, "Invalid settings file");
    return err;
}

bool LoadSettingsDialog(TKSession* session, OCSettings* settings)
{
    BPDebugLog("About to call BPGetFileSelectionSingleAsPath\n");
    const BPFileQuestion question = {.title = "Load Correction Settings",
                                     .button = "Load",
                                     .filter = kSettingsFilter,
                                     .types = kSettingsTypes,
                                     .typeCount = std::size(kSettingsTypes),
                                     .defaultName = nullptr,
                                     .defaultExtension = nullptr};
    std::string path;
    if (!session->platform->fileDialog.open(question, &path) || session->quitting) return false;
    return TKLoadSettings(session, path.c_str(), settings) == bpNoErr;
}

void SaveSettingsDialog(TKSession* session, const OCSettings& settings)
{
    const BPFileQuestion question = {.title = "Save Correction Settings As",
                                     .button = "Save",
                                     .filter = kSettingsFilter,
                                     .types = kSettingsTypes,
                                     .typeCount = std::size(kSettingsTypes),
                                     .defaultName = "untitled preset",
                                     .defaultExtension = "ocpreset"};
    std::string path;
    if (!session->platform->fileDialog.save(question, &path)) return;
    if (SaveSettingsFile(path.c_str(), settings) != bpNoErr) return; // the log tells
    if (FolderOf(path) == TKUserPresetFolder()) TK_UI(session, rescanPresets);
}

bool TKLoadCDL(TKSession* session, const char* path, OCSettings* settings)
{
    const ASCCDLProblem problem = ASCCDL_LoadCDLFileFromRef(path, settings);
    if (const char* text = ASCCDL_ProblemText(problem)) session->platform->alert.messageBox(kProductName, text);
    return problem == ASCCDLProblem::none;
}

bool ASCCDL_LoadDialog(TKSession* session, OCSettings* settings, std::string* path)
{
    const BPFileQuestion question = {.title = "Load ASC CDL",
                                     .button = "Load",
                                     .filter = "Color Decision List (*.cdl)",
                                     .types = kCDLLoadTypes,
                                     .typeCount = std::size(kCDLLoadTypes),
                                     .defaultName = nullptr,
                                     .defaultExtension = nullptr};
    std::string chosen;
    if (!session->platform->fileDialog.open(question, &chosen) || session->quitting) return false;
    if (!TKLoadCDL(session, chosen.c_str(), settings)) return false;
    if (path) *path = chosen;
    return true;
}

void ASCCDL_SaveDialog(TKSession* session, const OCSettings& settings)
{
    const BPFileQuestion question = {.title = "Save ASC CDL",
                                     .button = "Save",
                                     .filter = "Color Decision Lists (*.cdl)",
                                     .types = kCDLSaveTypes,
                                     .typeCount = std::size(kCDLSaveTypes),
                                     .defaultName = "Untitled ASC CDL",
                                     .defaultExtension = "cdl"};
    std::string path;
    if (!session->platform->fileDialog.save(question, &path)) return;
    const std::string name = FileNameOf(path), clip = SourceClip(session);
    // Deliberate: a file that cannot be made ends the save without a word.
    (void)ASCCDL_SaveCDLFile(settings, path.c_str(),
                             {.date = OCFileDate(session->platform->clock.wallSeconds()),
                              .clipPath = clip.c_str(),
                              .description = name.c_str(),
                              .number = 0});
}

BPStatus TKApplySettingsFile(TKSession* session, const char* path)
{
    (void)CommitOpenEdit(session, true);
    OCSettings loaded = session->liveSettings;
    if (const BPStatus err = TKLoadSettings(session, path, &loaded); err != bpNoErr) return err;
    if (session->quitting) return bpNoErr;
    TKChangeAsOneStep(session, [&](OCSettings* settings) { *settings = loaded; });
    return bpNoErr;
}

std::string TKUserPresetFolder()
{
    const std::string documents = BPDocumentsFolder();
    return documents.empty() ? std::string() : documents + "/Ochrine Presets";
}

BPStatus TKSaveUserPreset(TKSession* session, const std::string& name)
{
    // A name with a slash would leave the folder; one with a point in front the gallery would not see.
    if (name.empty() || name[0] == '.' || name.find('/') != std::string::npos) return bpParamErr;
    const std::string folder = TKUserPresetFolder();
    if (!BPMakeFolder(folder)) return bpFileNotFoundErr;
    std::string path = folder + "/" + name;
    const size_t length = std::strlen(kPresetExtension);
    if (path.size() < length || path.compare(path.size() - length, length, kPresetExtension) != 0)
        path += kPresetExtension;
    const BPStatus err = SaveSettingsFile(path.c_str(), session->liveSettings);
    if (err == bpNoErr) TK_UI(session, rescanPresets);
    return err;
}

// The functions of the command table. Deliberate: a load opens its step before the dialog, as every command that changes
// settings does, so a cancelled dialog leaves a step without a change.

void TKRunLoadSettings(TKSession* session, const TKCommandSource*)
{
    TKChangeAsOneStep(session, [session](OCSettings* settings) { (void)LoadSettingsDialog(session, settings); });
}

void TKRunSaveSettings(TKSession* session, const TKCommandSource*)
{
    SaveSettingsDialog(session, session->liveSettings);
}

void TKRunLoadCDL(TKSession* session, const TKCommandSource*)
{
    TKChangeAsOneStep(session,
                      [session](OCSettings* settings) { (void)ASCCDL_LoadDialog(session, settings, nullptr); });
}

void TKRunSaveCDL(TKSession* session, const TKCommandSource*)
{
    ASCCDL_SaveDialog(session, session->liveSettings);
}

void TKRunSaveUserPreset(TKSession* session, const TKCommandSource*)
{
    (void)BPMakeFolder(TKUserPresetFolder());
    std::string name;
    if (!session->platform->fileDialog.askName("User Preset Name", "Saved Settings",
                                               &session->prefs.userPresetNameWindowH,
                                               &session->prefs.userPresetNameWindowV, &name) ||
        name.empty())
        return;
    if (TKSaveUserPreset(session, name) != bpNoErr) session->platform->alert.beep();
}
