// Reading and writing for all commands, and what is said when it fails.
#include "tools/ochrine-settings/SettingsTool.h"

#include "src/TincturaFileIO.h"
#include "src/platform/BPFiles.h"
#include "src/platform/BPLog.h"

#include <cstdio>

namespace {

constexpr char kTilde[] = "&tilde;";

/// Keeps what the readers say until it is known whether anyone wants to hear it.
struct LogKeeper {
    std::string text{};

    LogKeeper() { BPSetLogSink(Keep, this); }
    ~LogKeeper() { BPSetLogSink(nullptr, nullptr); }
    static void Keep(void* context, const char* bytes, size_t byteCount)
    {
        static_cast<LogKeeper*>(context)->text.append(bytes, byteCount);
    }
};

} // namespace

void Say(const char* severity, const std::string& text)
{
    fprintf(stderr, "ochrine-settings: %s%s%s\n", severity, *severity != 0 ? ": " : "", text.c_str());
}

const char* KindName(OCGradeKind kind)
{
    switch (kind) {
    case OCGradeKind::settingsFile: return "settings file";
    case OCGradeKind::decisionList: return "colour decision list";
    case OCGradeKind::record: return "record";
    }
    return "";
}

int CleanTildes(std::string* text)
{
    int count = 0;
    for (size_t at = text->find(kTilde); at != std::string::npos; at = text->find(kTilde, at + 1), ++count) {
        text->erase(at, sizeof kTilde - 2);
        (*text)[at] = '~';
    }
    return count;
}

bool ReadGrade(const std::string& path, const ToolOptions& options, ToolGrade* grade)
{
    const BPStatus err = BPReadFile(path.c_str(), kOCSettingsFileLimit, &grade->bytes);
    if (err != bpNoErr) {
        Say("",
            err == bpFileNotFoundErr || err == bpNotFolderErr ? "there is no file " + path : path + " cannot be read");
        return false;
    }
    OCResetSettings(&grade->settings, kOCResetAll, kOCResetAll, kOCResetDefaults);
    std::string error;
    const auto load = [&] {
        return OCLoadGradeBytes(grade->bytes.data(), grade->bytes.size(), path.c_str(), &grade->settings, &grade->kind,
                                &error);
    };
    LogKeeper log;
    if (load() == bpNoErr) return true;

    std::string text(grade->bytes.begin(), grade->bytes.end());
    if (options.clean && grade->kind == OCGradeKind::decisionList && CleanTildes(&text) > 0) {
        grade->bytes.assign(text.begin(), text.end());
        if (load() == bpNoErr) {
            Say("warning", path + " was read with ~ in place of &tilde;, which XML does not declare");
            return true;
        }
    }
    Say("", error);
    if (grade->kind == OCGradeKind::decisionList && !log.text.empty()) fputs(log.text.c_str(), stderr);
    return false;
}

ToolExit WriteBytes(const std::string& path, const void* bytes, size_t byteCount)
{
    if (BPWriteFile(path.c_str(), bytes, byteCount) == bpNoErr) return ToolExit::done;
    Say("", path + " cannot be written");
    return ToolExit::output;
}
