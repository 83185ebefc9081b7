// Reading and writing of curve files.
#include "src/OCCurveFile.h"

#include "src/platform/BPFiles.h"
#include "src/platform/BPLog.h"

namespace {

constexpr size_t kFileLimit = 1 << 20; // six full curves have 400 bytes
constexpr uint32_t kAllRGBCurves = 30;

/// 16-bit words, big-endian.
struct Words {
    const uint8_t* data;
    size_t count;

    int At(size_t index) const { return data[2 * index] << 8 | data[2 * index + 1]; }
    int SignedAt(size_t index) const { return static_cast<int16_t>(At(index)); }
};

void Put(std::vector<uint8_t>* file, int value)
{
    file->push_back(static_cast<uint8_t>(value >> 8));
    file->push_back(static_cast<uint8_t>(value));
}

/// In floats, as it is read: every value from a file comes back as it was.
int In255ths(float value)
{
    const float scaled = value * 255.0f;
    if (!(scaled > 0)) return 0;
    return scaled < 255 ? static_cast<int>(scaled) : 255;
}

void PutStraight(std::vector<uint8_t>* file)
{
    Put(file, 2);
    for (const int value : {0, 0, 255, 255}) Put(file, value);
}

} // namespace

BPStatus OCLoadCurveBytes(const void* bytes, size_t byteCount, OCSettings* settings)
{
    const Words words = {static_cast<const uint8_t*>(bytes), byteCount / 2};
    if (words.count < 2) return bpInvalidSettingsErr;
    const int version = words.At(0);
    if (version != 1 && version != 4) return bpInvalidSettingsErr;

    OCResetSettings(settings, 0, kAllRGBCurves, kOCResetDefaults);
    const int curveCount = words.At(1);
    if (curveCount == 0) return bpNoErr;
    settings->curvesOn = 1;
    settings->rgbCurvesOn = 1;

    size_t at = 2;
    for (int curve = 0; curve < curveCount && curve < 4; ++curve) {
        if (at >= words.count) return bpNoErr;
        const int pointCount = words.SignedAt(at++);
        if (pointCount < 0 || pointCount > static_cast<int>(kOCCurvePointLimit)) return bpNoErr;
        if (words.count - at < 2 * static_cast<size_t>(pointCount)) return bpNoErr;
        HCurvePoints& points = settings->rgbCurve[curve].points.xy;
        points.pointCount = pointCount;
        for (int i = 0; i < pointCount; ++i, at += 2) {
            points.y[i] = static_cast<float>(words.At(at)) / 255.0f;
            points.x[i] = static_cast<float>(words.At(at + 1)) / 255.0f;
        }
    }
    return bpNoErr;
}

std::vector<uint8_t> OCSaveCurveBytes(const OCSettings& settings)
{
    std::vector<uint8_t> file;
    Put(&file, 1);
    Put(&file, 5);
    for (const HCurve& curve : settings.rgbCurve) {
        const HCurvePoints& points = curve.points.xy;
        const bool sampled = (curve.curveKind & 1) != 0;
        if (sampled || points.pointCount < 1 || points.pointCount > static_cast<int>(kOCCurvePointLimit)) {
            PutStraight(&file);
            continue;
        }
        Put(&file, points.pointCount);
        for (int i = 0; i < points.pointCount; ++i) {
            Put(&file, In255ths(points.y[i]));
            Put(&file, In255ths(points.x[i]));
        }
    }
    PutStraight(&file);
    return file;
}

BPStatus LoadACV(const char* path, OCSettings* settings)
{
    std::vector<uint8_t> bytes;
    if (BPReadFile(path, kFileLimit, &bytes) != bpNoErr) {
        BPDebugLog("unable to open file, err=%d\n", bpFileNotFoundErr);
        return bpFileNotFoundErr;
    }
    return OCLoadCurveBytes(bytes.data(), bytes.size(), settings);
}

BPStatus SaveACV(const char* path, const OCSettings& settings)
{
    const std::vector<uint8_t> bytes = OCSaveCurveBytes(settings);
    const BPStatus err = BPWriteFile(path, bytes.data(), bytes.size());
    if (err != bpNoErr) BPDebugLog("unable to open file \"%s\", err=%d\n", path, err);
    return err;
}
