// Texts become small pictures of coverage, which are kept and blended.
#include "src/UI/UIScopeLettersWin.h"

#include <QFont>
#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QHash>
#include <QImage>
#include <QPainter>

#include <algorithm>

namespace {

constexpr int kMostKept = 1024;
constexpr int kLargestSize = 512;

/// Coverage of a text, and where its upper left corner lies from the left end of the baseline.
struct Coverage {
    QImage alpha; ///< 8 bits a pixel
    QPoint corner;
    int width; ///< by which the pen moves
};

QHash<QString, Coverage> gKept;         // main thread
QHash<QByteArray, bool> gFamilies;      // main thread; what is there and what is missing, of the families asked for
QMetaObject::Connection gDatabaseWatch; // main thread; as long as the application object lives

QFont FontOf(const ScopeFont& font)
{
    QFont made(QString::fromLatin1(font.family));
    made.setPixelSize(std::clamp(font.size, 1, kLargestSize));
    made.setBold(font.bold);
    made.setItalic(font.italic);
    made.setStyleStrategy(QFont::NoSubpixelAntialias);
    return made;
}

/// Another font in the system may be a family that was missing, or other letters for a text.
void WatchDatabase()
{
    if (!gDatabaseWatch && qGuiApp)
        gDatabaseWatch = QObject::connect(qGuiApp, &QGuiApplication::fontDatabaseChanged, UIForgetScopeLetters);
}

const Coverage& CoverageOf(const ScopeFont& font, const char* text)
{
    const QString key = QStringLiteral("%1|%2|%3|%4")
                            .arg(QLatin1String(font.family))
                            .arg(font.size)
                            .arg((font.bold ? 1 : 0) + (font.italic ? 2 : 0))
                            .arg(QLatin1String(text));
    const auto known = gKept.constFind(key);
    if (known != gKept.constEnd()) return *known;
    if (gKept.size() >= kMostKept) gKept.clear();
    WatchDatabase();
    const QFont face = FontOf(font);
    const QFontMetrics metrics(face);
    const QString letters = QString::fromLatin1(text);
    const QRect box = metrics.boundingRect(letters).adjusted(-2, -2, 2, 2);
    Coverage made = {.alpha = {}, .corner = box.topLeft(), .width = metrics.horizontalAdvance(letters)};
    QImage picture(box.size(), QImage::Format_ARGB32_Premultiplied);
    if (!picture.isNull()) {
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        painter.setFont(face);
        painter.setPen(Qt::white);
        painter.drawText(-box.topLeft(), letters);
        painter.end();
        made.alpha = picture.convertToFormat(QImage::Format_Alpha8);
    }
    return *gKept.insert(key, made);
}

bool HasFamily(void*, const char* family)
{
    // Every waveform, vectorscope and tone curve asks at each draw, and to list the families takes its time.
    const auto known = gFamilies.constFind(QByteArray::fromRawData(family, static_cast<qsizetype>(qstrlen(family))));
    if (known != gFamilies.constEnd()) return *known;
    WatchDatabase();
    const QStringList families = QFontDatabase::families();
    const QString name = QString::fromLatin1(family);
    // A face with the same metrics counts as the family: fontconfig knows which.
    const bool isThere = families.contains(name) ||
                         (name == QLatin1String("Arial") && families.contains(QStringLiteral("Liberation Sans")));
    if (gFamilies.size() >= kMostKept) gFamilies.clear();
    gFamilies.insert(QByteArray(family), isThere);
    return isThere;
}

ScopeFontMetrics Metrics(void*, const ScopeFont& font)
{
    if (font.size < 1) return {};
    const QFontMetrics metrics(FontOf(font));
    return {.ascent = metrics.ascent(), .descent = metrics.descent()};
}

int32_t Width(void*, const ScopeFont& font, const char* text)
{
    return font.size < 1 ? 0 : CoverageOf(font, text).width;
}

uint8_t Blended(uint8_t below, int above, int coverage)
{
    return static_cast<uint8_t>((below * (255 - coverage) + above * coverage + 127) / 255);
}

void Draw(void*, const ScopeSurface& surface, const ScopeRect& clip, const ScopeFont& font, ScopeColor color, int32_t x,
          int32_t baseline, const char* text)
{
    if (font.size < 1) return;
    const Coverage& coverage = CoverageOf(font, text);
    const int left = x + coverage.corner.x(), top = baseline + coverage.corner.y();
    const int firstRow = std::max<int>(clip.top, top),
              endRow = std::min<int>(clip.bottom, top + coverage.alpha.height());
    const int first = std::max<int>(clip.left, left), end = std::min<int>(clip.right, left + coverage.alpha.width());
    for (int row = firstRow; row < endRow; ++row) {
        const uchar* alpha = coverage.alpha.constScanLine(row - top);
        uint8_t* pixels = surface.pixels + static_cast<size_t>(row) * surface.rowBytes;
        for (int column = first; column < end; ++column) {
            const int covered = alpha[column - left];
            if (covered == 0) continue;
            uint8_t* pixel = pixels + static_cast<size_t>(column) * 4;
            pixel[0] = 0xFF;
            pixel[1] = Blended(pixel[1], color.red >> 8, covered);
            pixel[2] = Blended(pixel[2], color.green >> 8, covered);
            pixel[3] = Blended(pixel[3], color.blue >> 8, covered);
        }
    }
}

constexpr ScopeLetters kLetters = {
    .context = nullptr, .hasFamily = HasFamily, .metrics = Metrics, .width = Width, .draw = Draw};

} // namespace

const ScopeLetters* UIScopeLetters()
{
    return &kLetters;
}

void UIForgetScopeLetters()
{
    gKept.clear();
    gFamilies.clear();
}
