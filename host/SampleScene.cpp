// Frames of the sample scene: plates moved against each other, then the camera's own traits: vignette, the curve from
// light to signal, and grain.
#include "host/SampleScene.h"

#include "host/ScenePlates.h"
#include "src/MPTasks.h"
#include "src/platform/BPProcess.h"

#include <list>

namespace {

constexpr int32_t kFrames = 50;
constexpr float kTau = 6.2831853f;
constexpr int kGrainSide = 512;
constexpr size_t kCachedFrames = 8;
constexpr int kCurveEntries = 4096;
constexpr float kCurveRoot = 3.0f; // square root of the highest light in the table

/// Lays a row of a plate over a row of light. Frame column 0 shows the plate at (x, y); a frame column is `step` plate
/// columns. Outside the plate nothing is laid.
void LayRow(const ScenePlate& plate, float x, float y, float step, int width, std::vector<float>& line, float* light)
{
    const float floorY = std::floor(y);
    const int row = static_cast<int>(floorY);
    if (row < 0 || row >= plate.height - 1) return;
    const int first = std::max(0, static_cast<int>(std::ceil(-x / step)));
    const int last = std::min(width, static_cast<int>(std::floor((static_cast<float>(plate.width - 1) - x) / step)));
    if (first >= last) return;
    const float v = y - floorY;
    const int low = static_cast<int>(x + step * static_cast<float>(first));
    const int high = std::min(plate.width, static_cast<int>(x + step * static_cast<float>(last)) + 2);
    const float* top = plate.At(0, row);
    const float* bottom = plate.At(0, row + 1);
    for (int i = low * 4; i < high * 4; ++i) line[static_cast<size_t>(i)] = top[i] + (bottom[i] - top[i]) * v;
    for (int column = first; column < last; ++column) {
        const float at = x + step * static_cast<float>(column);
        const int index = static_cast<int>(at);
        const float u = at - static_cast<float>(index);
        const float* a = line.data() + index * 4;
        float mixed[4];
        for (int c = 0; c < 4; ++c) mixed[c] = a[c] + (a[c + 4] - a[c]) * u;
        float* out = light + column * 4;
        const float keep = 1.0f - mixed[3];
        for (int c = 0; c < 4; ++c) out[c] = out[c] * keep + mixed[c];
    }
}

/// Lays one pixel of a plate over light.
void LayPixel(const ScenePlate& plate, float x, float y, float* out)
{
    const float fx = std::floor(x), fy = std::floor(y);
    const int ix = static_cast<int>(fx), iy = static_cast<int>(fy);
    if (ix < 0 || iy < 0 || ix >= plate.width - 1 || iy >= plate.height - 1) return;
    const float u = x - fx, v = y - fy;
    const float* a = plate.At(ix, iy);
    const float* b = a + static_cast<ptrdiff_t>(plate.width) * 4;
    float mixed[4];
    for (int c = 0; c < 4; ++c) {
        const float top = a[c] + (a[c + 4] - a[c]) * u;
        const float bottom = b[c] + (b[c + 4] - b[c]) * u;
        mixed[c] = top + (bottom - top) * v;
    }
    const float keep = 1.0f - mixed[3];
    for (int c = 0; c < 4; ++c) out[c] = out[c] * keep + mixed[c];
}

class SampleScene final : public ClipSource {
  public:
    SampleScene(uint32_t width, uint32_t height, int threads);
    BPStatus ReadFrame(int32_t frameNumber, uint8_t* pixels) override;

  private:
    void Prepare();
    void Compose(int32_t frameNumber, float* pixels) const;
    float Encode(float light) const;

    int threads_;
    bool isPrepared_ = false;
    ScenePlate sky_, trees_, house_, figure_, shrub_;
    std::vector<float> curve_, grain_;
    struct Cached {
        int32_t number;
        std::vector<float> pixels;
    };
    std::list<Cached> cache_; // the latest first
};

SampleScene::SampleScene(uint32_t width, uint32_t height, int threads)
    : threads_(threads > 0 ? threads : static_cast<int>(MPGetProcessorCount()))
{
    (void)ClipSetFormat(&info_, width, height, pixFormatRGBA32_Float);
    info_.name = "ochrine_sample";
    info_.frameCount = kFrames;
    info_.timecode = "10:00:00:00";
}

void SampleScene::Prepare()
{
    if (isPrepared_) return;
    isPrepared_ = true;
    const float w = static_cast<float>(info_.width), h = static_cast<float>(info_.height);
    const int halfW = static_cast<int>((w + 2.0f * kSceneMargin * h) * 0.5f) + 2;
    const int halfH = static_cast<int>(h * (1.0f + 2.0f * kSceneMargin) * 0.5f) + 2;
    PaintSky(&sky_, halfW + halfH / 8, halfH, threads_);
    PaintTrees(&trees_, halfW, halfH, threads_);
    PaintHouse(&house_, halfW, halfH, threads_);
    PaintFigure(&figure_, static_cast<int>(kFigureBox * kFigureUnit * h), threads_);
    PaintShrub(&shrub_, static_cast<int>(0.74f * h), static_cast<int>(0.52f * h));

    curve_.resize(kCurveEntries + 1);
    for (int i = 0; i <= kCurveEntries; ++i) {
        const float root = kCurveRoot * static_cast<float>(i) / kCurveEntries;
        const float light = root * root;
        curve_[static_cast<size_t>(i)] = light < 0.018f ? 4.5f * light : 1.099f * std::pow(light, 0.45f) - 0.099f;
    }
    // Grain has a size of its own, a little above that of a pixel.
    std::vector<float> raw(static_cast<size_t>(kGrainSide) * kGrainSide);
    grain_.resize(raw.size());
    Dice dice = {4711u};
    for (float& value : raw) value = dice.Roll() + dice.Roll() + dice.Roll() - 1.5f;
    for (int y = 0; y < kGrainSide; ++y) {
        for (int x = 0; x < kGrainSide; ++x) {
            const auto at = [&](int dx, int dy) {
                const int sx = (x + dx) & (kGrainSide - 1), sy = (y + dy) & (kGrainSide - 1);
                return raw[static_cast<size_t>(sy) * kGrainSide + static_cast<size_t>(sx)];
            };
            grain_[static_cast<size_t>(y) * kGrainSide + static_cast<size_t>(x)] =
                0.75f * at(0, 0) + 0.28f * (at(1, 0) + at(-1, 0) + at(0, 1) + at(0, -1));
        }
    }
}

float SampleScene::Encode(float light) const
{
    const float root = std::min(std::sqrt(std::max(light, 0.0f)) * (kCurveEntries / kCurveRoot), kCurveEntries - 0.01f);
    const int index = static_cast<int>(root);
    const float t = root - static_cast<float>(index);
    const float* entry = curve_.data() + index;
    return entry[0] + (entry[1] - entry[0]) * t;
}

void SampleScene::Compose(int32_t frameNumber, float* pixels) const
{
    const float w = static_cast<float>(info_.width), h = static_cast<float>(info_.height);
    const float t = static_cast<float>(frameNumber) / kFrames;
    // A hand-held camera: a slow pan, and the breathing of whoever holds it.
    const float panX =
        h * (0.016f * (t - 0.5f) + 0.0022f * std::sin(kTau * 0.9f * t + 0.4f) + 0.0007f * std::sin(kTau * 3.1f * t));
    const float panY = h * (0.0018f * std::sin(kTau * 0.7f * t + 1.9f) + 0.0006f * std::sin(kTau * 2.7f * t + 0.3f));
    const float margin = kSceneMargin * h;
    // She sways from the hips: the head goes farthest.
    const float sway = h * (0.0075f * std::sin(kTau * 0.55f * t - 0.6f) + 0.002f * std::sin(kTau * 1.3f * t));
    const float figureX = w * kFigureX - static_cast<float>(figure_.width) * 0.5f - panX * 2.0f;
    const float figureY = h * (kFigureY + kFigureDrop * kFigureUnit + 0.0012f * std::sin(kTau * 0.6f * t)) -
                          static_cast<float>(figure_.height) * 0.5f - panY * 2.0f;
    const float shrubX = -0.06f * h - panX * 3.2f, shrubY = h - 0.485f * h - panY * 3.2f;
    Dice dice = {static_cast<uint32_t>(frameNumber) * 2654435761u + 99u};
    (void)dice.Roll();
    int grainX[3], grainY[3];
    for (int c = 0; c < 3; ++c) {
        grainX[c] = static_cast<int>(dice.Roll() * kGrainSide);
        grainY[c] = static_cast<int>(dice.Roll() * kGrainSide);
    }
    const int width = static_cast<int>(info_.width);
    const size_t longest = static_cast<size_t>(std::max({sky_.width, figure_.width, shrub_.width, width})) + 2;
    ForRows(threads_, static_cast<int>(info_.height), [&](int row) {
        thread_local std::vector<float> line;
        line.resize(longest * 4);
        const float y = static_cast<float>(row);
        float* light = pixels + static_cast<size_t>(row) * info_.width * 4;
        std::fill(light, light + static_cast<size_t>(width) * 4, 0.0f);
        const auto layHalf = [&](const ScenePlate& plate, float depth, float moreX, float moreY) {
            LayRow(plate, (margin + panX * depth + moreX) * 0.5f, (y + margin + panY * depth + moreY) * 0.5f, 0.5f,
                   width, line, light);
        };
        // Wind: a slow wave through the trees, a quicker one through the shrub.
        const float gust = h * 0.0016f * std::sin(y / h * 7.0f + kTau * 0.8f * t) *
                           (0.6f + 0.4f * std::sin(y / h * 11.0f - kTau * 1.1f * t));
        layHalf(sky_, 0.5f, h * 0.022f * (1.0f - t), 0.0f);
        layHalf(trees_, 0.8f, gust, 0.3f * gust);
        layHalf(house_, 1.2f, 0.0f, 0.0f);
        const float bodyY = y - figureY;
        const float bodyX = figureX + sway * (1.0f - 0.8f * std::min(1.0f, bodyY / static_cast<float>(figure_.height)));
        LayRow(figure_, -bodyX, bodyY, 1.0f, width, line, light);
        if (y > shrubY) {
            const int end = std::min(width, static_cast<int>(shrubX + static_cast<float>(shrub_.width) + 0.02f * h));
            const float reach = h * 0.012f * (h - y) / h;
            for (int column = 0; column < end; ++column) {
                const float x = static_cast<float>(column);
                const float bend = reach * std::sin(kTau * 0.9f * t + y / h * 3.0f + x / h * 2.0f);
                LayPixel(shrub_, x - shrubX + bend, y - shrubY + 0.25f * bend, light + column * 4);
            }
        }
        const float dy = (y - h * 0.5f) / w;
        for (int column = 0; column < width; ++column) {
            const float dx = (static_cast<float>(column) - w * 0.5f) / w;
            const float exposure = 0.92f - 0.5f * (dx * dx + dy * dy);
            float* out = light + column * 4;
            for (int c = 0; c < 3; ++c) {
                const float signal = Encode(out[c] * exposure);
                const int gx = (column + grainX[c]) & (kGrainSide - 1), gy = (row + grainY[c]) & (kGrainSide - 1);
                const float grain = grain_[static_cast<size_t>(gy) * kGrainSide + static_cast<size_t>(gx)];
                const float room = std::max(0.0f, 1.05f - signal);
                out[c] = signal + grain * (0.006f + 0.022f * std::sqrt(signal) * room);
            }
            out[3] = 1.0f;
        }
    });
}

BPStatus SampleScene::ReadFrame(int32_t frameNumber, uint8_t* pixels)
{
    if (frameNumber < 0 || frameNumber >= info_.frameCount) return bpParamErr;
    auto found = std::find_if(cache_.begin(), cache_.end(), [&](const Cached& c) { return c.number == frameNumber; });
    if (found != cache_.end()) {
        cache_.splice(cache_.begin(), cache_, found);
    } else {
        Prepare();
        if (cache_.size() >= kCachedFrames) {
            cache_.splice(cache_.begin(), cache_, std::prev(cache_.end()));
        } else {
            cache_.emplace_front();
            cache_.front().pixels.resize(static_cast<size_t>(ClipFrameBytes(info_) / sizeof(float)));
        }
        cache_.front().number = frameNumber;
        Compose(frameNumber, cache_.front().pixels.data());
    }
    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(cache_.front().pixels.data());
    std::copy(bytes, bytes + ClipFrameBytes(info_), pixels);
    return bpNoErr;
}

} // namespace

std::unique_ptr<ClipSource> MakeSampleScene(uint32_t width, uint32_t height, int threads)
{
    return std::make_unique<SampleScene>(width, height, threads);
}
