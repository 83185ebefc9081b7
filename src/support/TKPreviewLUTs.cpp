// Choosing, keeping and applying preview tables.
#include "src/support/TKPreviewLUTs.h"

#include "src/support/TKTableDialog.h"

#include <cstring>
#include <strings.h>

namespace {

constexpr char kProductName[] = "Ochrine 3 UI";

struct OutputRow {
    uint32_t base;
    uint8_t (TKPreferences::*table)[kOCPreviewTableBytes];
    uint32_t TKPreferences::*index;
};

constexpr OutputRow kOutputs[tkPreviewOutputCount] = {
    {14500, &TKPreferences::primaryLUT, &TKPreferences::primaryLUTIndex},
    {14600, &TKPreferences::secondaryLUT, &TKPreferences::secondaryLUTIndex},
    {14700, &TKPreferences::externalLUT, &TKPreferences::externalLUTIndex},
};
constexpr uint32_t kLastPosition = 57;

/// The table of a position of our own, as the preferences want it.
bool BuiltIn(const TKPreferences& prefs, uint32_t index, OCPreviewTable table)
{
    return OCPreviewBuiltIn(OCPreviewTableIndex(index, prefs.useOldStyleGamma != 0), table);
}

/// The kind of a file by the end of its name. The two kinds that share one also share their reader.
const OCPreviewKind& KindOf(const std::string& path)
{
    for (const OCPreviewKind& kind : OCPreviewKinds()) {
        const size_t length = std::strlen(kind.extension);
        if (path.size() >= length && strcasecmp(path.c_str() + path.size() - length, kind.extension) == 0) return kind;
    }
    return OCPreviewKinds()[0];
}

OCLUTRead ReadKind(const OCPreviewKind& kind, const char* path, OCPreviewTable table)
{
    if (kind.read == OCReadArbitraryMap) return ReadArbitraryMap(path, table);
    if (kind.read == OCReadQuantelLUT) return ReadQuantelLUT(path, table);
    return ReadDiscreetLUT(path, table);
}

} // namespace

uint32_t TKPreviewBase(TKPreviewOutput output)
{
    return kOutputs[output].base;
}

std::array<TKPreviewItem, kTKPreviewItems> TKPreviewMenu(const TKPreferences& prefs, TKPreviewOutput output)
{
    std::array<TKPreviewItem, kTKPreviewItems> items = {};
    const int checked = OCPreviewEntryPosition(TKPreviewIndex(prefs, output));
    for (size_t i = 0; i < items.size(); ++i) {
        const OCPreviewEntry& entry = OCPreviewEntries()[i];
        items[i] = {.text = entry.text,
                    .command = TKPreviewBase(output) + entry.index,
                    .checked = static_cast<int>(i) == checked};
    }
    return items;
}

uint32_t TKPreviewIndex(const TKPreferences& prefs, TKPreviewOutput output)
{
    return prefs.*kOutputs[output].index;
}

const uint8_t* TKPreviewTable(const TKPreferences& prefs, TKPreviewOutput output)
{
    return prefs.*kOutputs[output].table;
}

bool TKPreviewIsOn(const TKPreferences& prefs, TKPreviewOutput output)
{
    return !OCPreviewIsIdentity(TKPreviewTable(prefs, output));
}

bool TKSelectPreviewLUT(TKSession* session, TKPreviewOutput output, uint32_t index)
{
    OCPreviewTable table;
    if (index == previewOther) {
        if (LoadPreviewLUT(*session->platform, table) != bpNoErr || session->quitting) return false;
    } else if (!BuiltIn(session->prefs, index, table)) {
        return false;
    }
    std::memcpy(session->prefs.*kOutputs[output].table, table, sizeof table);
    // What stands in for "None" has no entry, and is kept as what it stands for.
    session->prefs.*kOutputs[output].index = index == previewNoneAdjusted ? uint32_t{previewNone} : index;
    RefreshDisplaysOnly(session, true);
    return true;
}

bool TKSelectPreviewCommand(TKSession* session, uint32_t command)
{
    for (uint32_t output = 0; output < tkPreviewOutputCount; ++output) {
        const uint32_t base = kOutputs[output].base;
        if (command > base && command <= base + kLastPosition)
            return TKSelectPreviewLUT(session, static_cast<TKPreviewOutput>(output), command - base);
    }
    return false;
}

bool TKReloadPreviewNone(TKPreferences* prefs)
{
    bool changed = false;
    for (const TKPreviewOutput output : {tkPreviewPrimary, tkPreviewSecondary}) {
        if (TKPreviewIndex(*prefs, output) != previewNone) continue;
        OCPreviewTable table;
        if (!BuiltIn(*prefs, previewNone, table)) continue;
        uint8_t* const own = prefs->*kOutputs[output].table;
        changed |= std::memcmp(own, table, sizeof table) != 0;
        std::memcpy(own, table, sizeof table);
    }
    return changed;
}

BPStatus LoadPreviewLUT(const BPPlatform& platform, OCPreviewTable table)
{
    std::string path;
    if (!TKAskForTable<OCPreviewKind>(platform, "Load LUT", OCPreviewKinds(), &path)) return bpNotFoundErr;
    const OCLUTRead read = ReadKind(KindOf(path), path.c_str(), table);
    if (read.alert) platform.alert.messageBox(kProductName, read.alert);
    return read.status;
}

void TKApplyPreviewLUT(const TKSession* session, TKPreviewOutput output, uint8_t* pixels, uint32_t width,
                       uint32_t height, uint32_t rowBytes, FBPixelFormat format)
{
    if (!TKPreviewIsOn(session->prefs, output)) return;
    FBApplyLUT(pixels, width, height, rowBytes, TKPreviewTable(session->prefs, output), format, session->taskCount,
               session->tasks);
}
