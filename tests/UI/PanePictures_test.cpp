// Every page in both palettes. With OC_PICTURES the pictures are written into that folder, as the style guide needs them;
// OC_PICTURES_SIZE gives the window's size, "1280x800".
#include "src/UI/UIStyleWin.h"
#include "tests/UI/UITest.h"

#include <QCoreApplication>
#include <QDir>
#include <set>

namespace {

QSize WantedSize()
{
    const QStringList words = qEnvironmentVariable("OC_PICTURES_SIZE", QStringLiteral("1280x800")).split(u'x');
    return words.size() == 2 ? QSize(words[0].toInt(), words[1].toInt()) : QSize(1280, 800);
}

size_t ColorsOf(const QImage& image)
{
    std::set<QRgb> colors;
    for (int row = 0; row < image.height(); ++row)
        for (int column = 0; column < image.width(); ++column) colors.insert(image.pixel(column, row));
    return colors.size();
}

struct Palette {
    const char* name;
    uint32_t brightness; // 16.16
};

} // namespace

TEST_F(UITest, EveryPagePaintsItsControlsInBothPalettes)
{
    TincturaMainWin* window = windows_->mainWindow();
    window->showNormal();
    window->resize(WantedSize());
    const QString folder = qEnvironmentVariable("OC_PICTURES");
    if (!folder.isEmpty()) QDir().mkpath(folder);
    for (const Palette& palette : {Palette{"dark", 22282}, Palette{"light", 60000}}) {
        PrepareUIPalette(&session_->palette, palette.brightness);
        const TKUserInterface ui = windows_->interface();
        ui.paletteChanged(ui.context);
        for (const TKPagePath& path : TKToolPages()) {
            ShowPageOf(path.page->prefix);
            QCoreApplication::processEvents();
            ToolPageWin* page = window->tools()->shownPage();
            ASSERT_EQ(&page->page(), path.page);
            for (size_t row = 0; row < path.page->rows.size(); ++row) {
                const std::string name = TKRowName(*path.page, path.page->rows[row]);
                QWidget* control = page->control(row);
                ASSERT_NE(control, nullptr) << name;
                EXPECT_GE(ColorsOf(control->grab().toImage()), 3u) << name << ", " << palette.name;
            }
            if (folder.isEmpty()) continue;
            const QString name = QString::fromLatin1(path.page->prefix) + u'-' + QString::fromLatin1(palette.name);
            EXPECT_TRUE(window->tools()->grab().toImage().save(folder + u'/' + name + QStringLiteral(".png")));
        }
    }
    PrepareUIPalette(&session_->palette, 22282);
    UIApplyPalette(session_->palette);
}
