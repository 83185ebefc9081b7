// Dialogs for files and names. Qt's own file dialog is used everywhere: the desktop's would hide the text of the button.
#include "src/platform/qt/BPQtFileDialog.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QInputDialog>
#include <QTreeView>
#include <cstring>

namespace {

constexpr int kNameDialogWidth = 360;
constexpr int kFileDialogWidth = 760, kFileDialogHeight = 480; // of a screen that has 1024 x 768 at least

/// Where the last dialog was left.   Thread: main.
QString& LastFolder()
{
    static QString folder;
    return folder;
}

/// "text (*.ext)" for each type. Qt hides the last bracket and shows the text.
QStringList NameFilters(const BPFileQuestion& question)
{
    QStringList filters;
    for (size_t i = 0; i < question.typeCount; ++i) {
        const BPFileType& type = question.types[i];
        const bool all = std::strcmp(type.extension, ".*") == 0;
        const char* text = question.typeCount == 1 ? question.filter : type.description;
        filters += QString::fromUtf8(text) + QStringLiteral(" (*") +
                   (all ? QString() : QString::fromUtf8(type.extension)) + QStringLiteral(")");
    }
    return filters;
}

/// The type that the title of the list names, else the first.
qsizetype FirstType(const BPFileQuestion& question)
{
    for (size_t i = 0; i < question.typeCount; ++i) {
        const std::string bracket = std::string("(*") + question.types[i].extension + ")";
        if (std::strstr(question.filter, bracket.c_str()) != nullptr) return static_cast<qsizetype>(i);
    }
    return 0;
}

/// Gives each column of the list the room for what it holds, and the names the rest. Qt's own widths cut the dates.
void FitColumns(QFileDialog* dialog)
{
    auto* list = dialog->findChild<QTreeView*>(QStringLiteral("treeView"));
    if (!list) return;
    list->header()->setStretchLastSection(false);
    list->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    dialog->resize(qMax(dialog->width(), kFileDialogWidth), qMax(dialog->height(), kFileDialogHeight));
}

bool Ask(QFileDialog::AcceptMode mode, const BPFileQuestion& question, std::string* path)
{
    path->clear();
    QFileDialog dialog(QApplication::activeWindow(), QString::fromUtf8(question.title));
    dialog.setObjectName(QStringLiteral("fileDialog"));
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setOption(QFileDialog::HideNameFilterDetails);
    dialog.setAcceptMode(mode);
    dialog.setFileMode(mode == QFileDialog::AcceptOpen ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
    dialog.setLabelText(QFileDialog::Accept, QString::fromUtf8(question.button));
    const QStringList filters = NameFilters(question);
    dialog.setNameFilters(filters);
    if (!filters.isEmpty()) dialog.selectNameFilter(dialog.nameFilters().at(FirstType(question)));
    if (!LastFolder().isEmpty()) dialog.setDirectory(LastFolder());
    if (question.defaultExtension) dialog.setDefaultSuffix(QString::fromUtf8(question.defaultExtension));
    if (question.defaultName) dialog.selectFile(QString::fromUtf8(question.defaultName));
    FitColumns(&dialog);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return false;
    LastFolder() = QFileInfo(dialog.selectedFiles().constFirst()).absolutePath();
    *path = QFile::encodeName(dialog.selectedFiles().constFirst()).toStdString();
    return !path->empty();
}

bool Open(const BPFileQuestion& question, std::string* path)
{
    return Ask(QFileDialog::AcceptOpen, question, path);
}

bool Save(const BPFileQuestion& question, std::string* path)
{
    return Ask(QFileDialog::AcceptSave, question, path);
}

/// Wayland tells no window where it is, and moves none.
bool WindowsHavePlaces()
{
    return !QGuiApplication::platformName().startsWith(QStringLiteral("wayland"));
}

bool AskName(const char* title, const char* suggestion, int32_t* h, int32_t* v, std::string* name)
{
    name->clear();
    QInputDialog dialog(QApplication::activeWindow());
    dialog.setObjectName(QStringLiteral("nameDialog"));
    dialog.setWindowTitle(QString::fromUtf8(title));
    dialog.setLabelText(QString::fromUtf8(title));
    dialog.setTextValue(QString::fromUtf8(suggestion));          // Qt selects it
    dialog.resize(kNameDialogWidth, dialog.sizeHint().height()); // its title is longer than its text
    const QPoint place(*h, *v);
    if (*h != -1 && *v != -1 && WindowsHavePlaces() && QGuiApplication::screenAt(place)) dialog.move(place);
    const bool accepted = dialog.exec() == QDialog::Accepted;
    if (WindowsHavePlaces()) {
        *h = dialog.pos().x();
        *v = dialog.pos().y();
    }
    if (!accepted) return false;
    *name = QFile::encodeName(dialog.textValue()).toStdString();
    return true;
}

} // namespace

void BPFillQtFileDialog(BPFileDialogOps* fileDialog)
{
    *fileDialog = {.open = Open, .save = Save, .askName = AskName};
}
