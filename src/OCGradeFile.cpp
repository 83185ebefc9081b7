// Which kind of grade a file holds, and who reads it.
#include "src/OCGradeFile.h"

#include "src/ASCCDL.h"
#include "src/TincturaFileIO.h"
#include "src/platform/BPFiles.h"

#include <cstring>
#include <string_view>

namespace {

bool IsRecord(const void* bytes, size_t byteCount)
{
    uint32_t signature = 0;
    if (byteCount != sizeof(OCSettings)) return false;
    std::memcpy(&signature, bytes, sizeof signature);
    return signature == kOCSettingsSignature;
}

bool HasSettingsMagic(const void* bytes, size_t byteCount)
{
    constexpr uint8_t magic[] = {0x11, 0x22, 0x33, 0x44};
    return byteCount >= 8 && std::memcmp(static_cast<const uint8_t*>(bytes) + 4, magic, sizeof magic) == 0;
}

/// What stands where the text of an XML document begins: a bracket, blanks, or the mark of an encoding.
bool MayBeXML(const void* bytes, size_t byteCount)
{
    const auto* text = static_cast<const uint8_t*>(bytes);
    size_t at = 0;
    while (at < byteCount && (text[at] == ' ' || text[at] == '\t' || text[at] == '\n' || text[at] == '\r')) ++at;
    return at < byteCount && (text[at] == '<' || text[at] == 0xEF || text[at] == 0xFE || text[at] == 0xFF);
}

} // namespace

BPStatus OCLoadGradeBytes(const void* bytes, size_t byteCount, const char* name, OCSettings* settings,
                          OCGradeKind* kind, std::string* error)
{
    error->clear();
    if (IsRecord(bytes, byteCount)) {
        *kind = OCGradeKind::record;
        std::memcpy(settings, bytes, sizeof *settings);
        return bpNoErr;
    }
    if (HasSettingsMagic(bytes, byteCount)) {
        *kind = OCGradeKind::settingsFile;
        const BPStatus err = LoadSettingsBytes(bytes, byteCount, settings);
        if (err != bpNoErr) *error = std::string(name) + " is a settings file of a version that is not known";
        return err;
    }
    if (!MayBeXML(bytes, byteCount)) {
        *kind = OCGradeKind::settingsFile;
        *error = std::string(name) + " holds no grade";
        return bpInvalidSettingsErr;
    }
    *kind = OCGradeKind::decisionList;
    const ASCCDLProblem problem = ASCCDL_LoadCDL(bytes, byteCount, name, settings);
    if (problem == ASCCDLProblem::none) return bpNoErr;
    const char* text = ASCCDL_ProblemText(problem);
    constexpr std::string_view tilde = "&tilde;";
    const std::string_view content(static_cast<const char*>(bytes), byteCount);
    *error = std::string(name) + ": " + (text != nullptr ? text : "no well-formed XML");
    // Lists that the application saved may be refused for this alone.
    if (problem == ASCCDLProblem::noDocument && content.find(tilde) != content.npos)
        *error += ": &tilde; is no entity of XML; ochrine-settings convert --clean reads it as ~";
    return bpInvalidSettingsErr;
}

BPStatus OCLoadGradeFile(const char* path, OCSettings* settings, OCGradeKind* kind, std::string* error)
{
    std::vector<uint8_t> bytes;
    *kind = OCGradeKind::settingsFile;
    if (const BPStatus err = BPReadFile(path, kOCSettingsFileLimit, &bytes); err != bpNoErr) {
        *error = err == bpFileNotFoundErr || err == bpNotFolderErr ? std::string("there is no file ") + path
                                                                   : std::string(path) + " cannot be read";
        return err;
    }
    return OCLoadGradeBytes(bytes.data(), bytes.size(), path, settings, kind, error);
}
