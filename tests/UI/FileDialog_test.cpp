// The dialogs for files and names on the offscreen platform, answered by a hand of ours.
#include "src/platform/qt/BPQtFileDialog.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QInputDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <functional>
#include <gtest/gtest.h>

namespace {

constexpr BPFileType kTypes[] = {
    {.extension = ".xml", .description = "Color Decision List (.xml)"},
    {.extension = ".cdl", .description = "Color Decision List (.cdl)"},
    {.extension = ".*", .description = "All Documents"},
};

class FileDialogTest : public testing::Test {
  protected:
    void SetUp() override
    {
        BPFillQtFileDialog(&ops_);
        ASSERT_TRUE(folder_.isValid());
    }

    /// Does something with the next dialog as soon as it is open.
    template <class Dialog> void Next(std::function<void(Dialog*)> act)
    {
        QTimer::singleShot(0, [this, act] {
            auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
            ASSERT_NE(dialog, nullptr);
            seen_ = true;
            act(dialog);
        });
    }

    std::string Path(const char* name) const { return folder_.filePath(QString::fromLatin1(name)).toStdString(); }
    void Make(const char* name)
    {
        QFile file(folder_.filePath(QString::fromLatin1(name)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }

    BPFileQuestion load_ = {.title = "Load ASC CDL",
                            .button = "Load",
                            .filter = "Color Decision List (*.cdl)",
                            .types = kTypes,
                            .typeCount = 3,
                            .defaultName = nullptr,
                            .defaultExtension = nullptr};
    BPFileQuestion save_ = {.title = "Save ASC CDL",
                            .button = "Save",
                            .filter = "Color Decision Lists (*.cdl)",
                            .types = kTypes + 1,
                            .typeCount = 1,
                            .defaultName = "Untitled ASC CDL",
                            .defaultExtension = "cdl"};
    BPFileDialogOps ops_ = {};
    QTemporaryDir folder_;
    bool seen_ = false;
};

void Choose(QFileDialog* dialog, const std::string& path)
{
    auto* edit = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    ASSERT_NE(edit, nullptr);
    edit->setText(QString::fromStdString(path));
    QTest::keyClick(edit, Qt::Key_Return);
}

TEST_F(FileDialogTest, OpeningShowsTheTextsAndGivesThePath)
{
    Make("a.cdl");
    Next<QFileDialog>([&](QFileDialog* dialog) {
        EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Load ASC CDL"));
        EXPECT_EQ(dialog->labelText(QFileDialog::Accept), QStringLiteral("Load"));
        EXPECT_EQ(dialog->selectedNameFilter(), QStringLiteral("Color Decision List (.cdl)"));
        EXPECT_EQ(dialog->nameFilters(), (QStringList{QStringLiteral("Color Decision List (.xml) (*.xml)"),
                                                      QStringLiteral("Color Decision List (.cdl) (*.cdl)"),
                                                      QStringLiteral("All Documents (*)")}));
        Choose(dialog, Path("a.cdl"));
    });
    std::string path;
    EXPECT_TRUE(ops_.open(load_, &path));
    EXPECT_TRUE(seen_);
    EXPECT_EQ(path, Path("a.cdl"));
}

TEST_F(FileDialogTest, ACancelledDialogGivesNoPath)
{
    Next<QFileDialog>([](QFileDialog* dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
    std::string path = "old";
    EXPECT_FALSE(ops_.open(load_, &path));
    EXPECT_TRUE(seen_);
    EXPECT_EQ(path, "");
}

TEST_F(FileDialogTest, SavingSuggestsANameAndAppendsTheExtension)
{
    Next<QFileDialog>([&](QFileDialog* dialog) {
        EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Save ASC CDL"));
        EXPECT_EQ(dialog->labelText(QFileDialog::Accept), QStringLiteral("Save"));
        EXPECT_EQ(dialog->selectedNameFilter(), QStringLiteral("Color Decision Lists (*.cdl)"));
        const auto* edit = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        ASSERT_NE(edit, nullptr);
        EXPECT_EQ(edit->text(), QStringLiteral("Untitled ASC CDL"));
        Choose(dialog, Path("b"));
    });
    std::string path;
    EXPECT_TRUE(ops_.save(save_, &path));
    EXPECT_TRUE(seen_);
    EXPECT_EQ(path, Path("b.cdl"));
}

TEST_F(FileDialogTest, TheNextDialogBeginsWhereTheLastOneWasLeft)
{
    Make("a.cdl");
    std::string path;
    Next<QFileDialog>([&](QFileDialog* dialog) { Choose(dialog, Path("a.cdl")); });
    ASSERT_TRUE(ops_.open(load_, &path));
    Next<QFileDialog>([&](QFileDialog* dialog) {
        EXPECT_EQ(dialog->directory().canonicalPath(), QDir(folder_.path()).canonicalPath());
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    EXPECT_FALSE(ops_.save(save_, &path));
}

TEST_F(FileDialogTest, ANameIsAskedForWithItsSuggestionSelected)
{
    Next<QInputDialog>([](QInputDialog* dialog) {
        EXPECT_EQ(dialog->windowTitle(), QStringLiteral("User Preset Name"));
        auto* edit = dialog->findChild<QLineEdit*>();
        ASSERT_NE(edit, nullptr);
        EXPECT_EQ(edit->selectedText(), QStringLiteral("Saved Settings"));
        QTest::keyClicks(edit, QStringLiteral("Night"));
        QTest::keyClick(edit, Qt::Key_Return);
    });
    std::string name;
    int32_t h = -1, v = -1;
    EXPECT_TRUE(ops_.askName("User Preset Name", "Saved Settings", &h, &v, &name));
    EXPECT_TRUE(seen_);
    EXPECT_EQ(name, "Night");
    Next<QInputDialog>([](QInputDialog* dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
    EXPECT_FALSE(ops_.askName("User Preset Name", "Saved Settings", &h, &v, &name));
    EXPECT_EQ(name, "");
}

TEST_F(FileDialogTest, TheNameWindowOpensWhereItWasLeft)
{
    std::string name;
    int32_t h = 310, v = 120;
    Next<QInputDialog>([](QInputDialog* dialog) {
        EXPECT_EQ(dialog->pos(), QPoint(310, 120));
        dialog->move(350, 90);
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    EXPECT_FALSE(ops_.askName("User Preset Name", "Saved Settings", &h, &v, &name));
    EXPECT_EQ(QPoint(h, v), QPoint(350, 90));
    Next<QInputDialog>([](QInputDialog* dialog) {
        EXPECT_EQ(dialog->pos(), QPoint(350, 90));
        dialog->move(20, 30);
        QTest::keyClick(dialog->findChild<QLineEdit*>(), Qt::Key_Return);
    });
    EXPECT_TRUE(ops_.askName("User Preset Name", "Saved Settings", &h, &v, &name));
    EXPECT_EQ(QPoint(h, v), QPoint(20, 30));
}

TEST_F(FileDialogTest, ANameWindowThatNoScreenWouldShowOpensCentred)
{
    std::string name;
    for (const QPoint& place : {QPoint(-1, -1), QPoint(-1, 40), QPoint(40, -1), QPoint(90000, 40), QPoint(40, -90000),
                                QPoint(INT32_MAX, INT32_MIN)}) {
        QPoint seen;
        Next<QInputDialog>([&](QInputDialog* dialog) {
            seen = dialog->pos();
            QTest::keyClick(dialog, Qt::Key_Escape);
        });
        int32_t h = place.x(), v = place.y();
        EXPECT_FALSE(ops_.askName("User Preset Name", "Saved Settings", &h, &v, &name));
        EXPECT_NE(QGuiApplication::screenAt(seen), nullptr) << place.x() << ' ' << place.y();
        EXPECT_GT(seen.x(), 100);
        EXPECT_EQ(QPoint(h, v), seen);
    }
}

} // namespace
