// The letters of the scopes by the window system. With a folder in OC_SCOPE_PICTURES it also writes each display of
// colour bars and of a scene there, to be looked at.
#include "src/UI/UIImageScale.h"
#include "src/UI/UIScopeLettersWin.h"
#include "tests/ScopesTest.h"

#include <QDirIterator>
#include <QFile>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QImage>

#include <cstdlib>

namespace {

constexpr ScopeFont kFont = {.family = "Arial", .size = 16, .bold = true, .italic = false};

/// The pixels of a text that are not black: their box.
ScopeRect InkOf(const Surface& surface)
{
    ScopeRect ink = {.top = INT16_MAX, .left = INT16_MAX, .bottom = 0, .right = 0};
    for (int32_t y = 0; y < static_cast<int32_t>(surface.height); ++y)
        for (int32_t x = 0; x < static_cast<int32_t>(surface.width); ++x)
            if (surface.At(x, y).red != 0)
                ink = ScopeRectOf(std::min<int32_t>(ink.top, y), std::min<int32_t>(ink.left, x),
                                  std::max<int32_t>(ink.bottom, y + 1), std::max<int32_t>(ink.right, x + 1));
    return ink;
}

/// A face of the system under another name of the same length; empty when it is not there.
QByteArray FaceNamed(const char* family, const char* name)
{
    QDirIterator files(QStringLiteral("/usr/share/fonts"), {QStringLiteral("LiberationSans-Regular.ttf")}, QDir::Files,
                       QDirIterator::Subdirectories);
    if (!files.hasNext()) return {};
    QFile file(files.next());
    if (!file.open(QIODevice::ReadOnly)) return {};
    QByteArray bytes = file.readAll();
    QByteArray from, to; // names in a face are UTF-16, high bytes first, and Latin for another system
    for (const char* c = family; *c != 0; ++c) from.append('\0').append(*c);
    for (const char* c = name; *c != 0; ++c) to.append('\0').append(*c);
    EXPECT_EQ(from.size(), to.size());
    EXPECT_TRUE(bytes.contains(from));
    return bytes.replace(from, to).replace(family, name);
}

ScopeContext WithLetters()
{
    ScopeContext context = ScopeDefaultContext();
    context.letters = UIScopeLetters();
    return context;
}

void Write(const Surface& surface, const std::string& path)
{
    QImage image(static_cast<int>(surface.width), static_cast<int>(surface.height), QImage::Format_RGB32);
    TKSurfaceToWords(surface, reinterpret_cast<uint32_t*>(image.bits()), static_cast<size_t>(image.bytesPerLine()) / 4);
    EXPECT_TRUE(image.save(QString::fromStdString(path))) << path;
}

} // namespace

TEST(ScopeLetters, StandOnTheirBaselineBesideThePen)
{
    Surface surface(200, 60);
    ScopePort port = ScopePortOn(&surface, UIScopeLetters());
    port.color = {0xFFFF, 0xFFFF, 0xFFFF};
    port.font = kFont;
    ScopeMoveTo(&port, 50, 40);
    ScopeDrawText(&port, "100");
    const ScopeRect ink = InkOf(surface);
    EXPECT_NEAR(ink.bottom, 40, 1);
    EXPECT_NEAR(ink.left, 51, 2);
    EXPECT_NEAR(ScopeHeightOf(ink), 12, 2);
    EXPECT_EQ(port.penX, 50 + ScopeTextWidth(port, "100"));
    EXPECT_NEAR(ink.right, port.penX, 2);
    EXPECT_EQ(surface.At(0, 0).alpha, 0) << "only letters are touched";
}

TEST(ScopeLetters, HaveArialsWidths)
{
    // Digits of Arial Bold are 0.556 of the size wide.
    ScopePort port = {};
    port.letters = UIScopeLetters();
    port.font = kFont;
    EXPECT_TRUE(port.letters->hasFamily(nullptr, "Arial"));
    EXPECT_NEAR(ScopeTextWidth(port, "0000000000"), 89, 3);
    EXPECT_FALSE(port.letters->hasFamily(nullptr, "No Such Family"));
    EXPECT_GT(ScopeMetrics(port).ascent, 11);
    EXPECT_GT(ScopeMetrics(port).descent, 1);
}

TEST(ScopeLetters, StayInsideTheClip)
{
    Surface surface(60, 40);
    ScopePort port = ScopePortOn(&surface, UIScopeLetters());
    port.color = {0xFFFF, 0xFFFF, 0xFFFF};
    port.font = {.family = "Arial", .size = 60, .bold = true, .italic = true};
    port.clip = {.top = 10, .left = 12, .bottom = 30, .right = 40};
    for (int32_t x = -100; x < 100; x += 9)
        for (int32_t y = -20; y < 90; y += 7) {
            ScopeMoveTo(&port, x, y);
            ScopeDrawText(&port, "WMW");
        }
    for (int32_t y = 0; y < 40; ++y)
        for (int32_t x = 0; x < 60; ++x)
            if (x < 12 || x >= 40 || y < 10 || y >= 30) {
                ASSERT_EQ(surface.At(x, y), Surface::Pixel{}) << x << ", " << y;
            }
    EXPECT_NE(surface.At(25, 20), Surface::Pixel{});
}

TEST(ScopeLetters, OfNoSizeTakeNoRoom)
{
    Surface surface(60, 40);
    ScopePort port = ScopePortOn(&surface, UIScopeLetters());
    port.font = {.family = "Arial", .size = 0, .bold = false, .italic = false};
    EXPECT_EQ(ScopeTextWidth(port, "abc"), 0);
    EXPECT_EQ(ScopeMetrics(port).ascent, 0);
    ScopeMoveTo(&port, 10, 20);
    ScopeDrawText(&port, "abc");
    EXPECT_EQ(surface.At(12, 15), Surface::Pixel{});
}

TEST(ScopeLetters, AreTheSameFromMemoryAndAnew)
{
    Surface first(320, 240), second(320, 240);
    DrawVectorscopeDisplay(&first, nullptr, nullptr, WithLetters());
    UIForgetScopeLetters();
    DrawVectorscopeDisplay(&second, nullptr, nullptr, WithLetters());
    EXPECT_TRUE(SameSurface(first, second));
}

TEST(ScopeLetters, KnowAFamilyThatComesAndGoesWhileTheyLive)
{
    const char* name = "Ochrinean Names";
    const auto hasIt = [=] { return UIScopeLetters()->hasFamily(nullptr, name); };
    const QByteArray face = FaceNamed("Liberation Sans", name);
    ASSERT_FALSE(face.isEmpty());
    UIForgetScopeLetters();
    EXPECT_FALSE(hasIt());
    // As long as nobody says that the fonts are others, the answer is the one that was given.
    qGuiApp->blockSignals(true);
    const int unseen = QFontDatabase::addApplicationFontFromData(face);
    qGuiApp->blockSignals(false);
    ASSERT_GE(unseen, 0);
    ASSERT_TRUE(QFontDatabase::families().contains(QLatin1String(name)));
    EXPECT_FALSE(hasIt()) << "the families were listed again";
    UIForgetScopeLetters();
    EXPECT_TRUE(hasIt());
    ASSERT_TRUE(QFontDatabase::removeApplicationFont(unseen));
    EXPECT_FALSE(hasIt()) << "the database told of its change";
    const int seen = QFontDatabase::addApplicationFontFromData(face);
    EXPECT_TRUE(hasIt());
    EXPECT_TRUE(UIScopeLetters()->hasFamily(nullptr, "Arial")) << "each name has an answer of its own";
    EXPECT_FALSE(UIScopeLetters()->hasFamily(nullptr, "No Such Family"));
    ASSERT_TRUE(QFontDatabase::removeApplicationFont(seen));
    EXPECT_FALSE(hasIt());
}

TEST(ScopePictures, AreWrittenWhereTheyAreAskedFor)
{
    const char* folder = std::getenv("OC_SCOPE_PICTURES");
    Surface bars(1920, 1080), scene(1920, 1080);
    FillBars(&bars, 191);
    FillScene(&scene);
    EnginePtr engine = MakeEngine();
    OCSettings grade = NeutralGrade();
    grade.rgbOn = grade.rgb.master.on = 1;
    grade.rgb.master.channel[0].gamma = 1.4f;
    grade.rgb.master.channel[2].gain = 0.8f;
    OCUpdateParameters(engine.get(), &grade);
    const struct {
        const char* name;
        const Surface* picture;
        uint32_t system, units;
    } pictures[] = {
        {"bars601", &bars, 2, 0}, {"bars709", &bars, 3, 1}, {"scene", &scene, 3, 0}, {"ntsc", &scene, 1, 0}};
    for (const auto& each : pictures) {
        ScopeContext context = WithLetters();
        context.settings.videoSystem = each.system;
        context.settings.wfmUnitsMV = each.units;
        context.engine = engine.get();
        context.liveSettings = &grade;
        for (int32_t tab = 0; tab < kScopeTabCount; ++tab) {
            if (ScopeTabAt(tab)->isPane) continue;
            Surface target(640, 480);
            ScopeSelection selection = ScopeDefaultSelection();
            selection.analysisSelection = tab;
            DrawAnalysisPane(&target, selection, {each.picture, nullptr, nullptr}, context);
            EXPECT_GT(ScopeWidthOf(InkOf(target)), 300) << ScopeTabAt(tab)->title;
            if (folder) Write(target, std::string(folder) + "/" + each.name + "-" + std::to_string(tab) + ".png");
        }
    }
}

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    UIForgetScopeLetters();
    return status;
}
