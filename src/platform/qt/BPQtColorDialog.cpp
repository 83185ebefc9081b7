// The dialog for a colour. Qt's own is used everywhere, so that it looks the same on every desktop.
#include "src/platform/qt/BPQtColorDialog.h"

#include <QApplication>
#include <QColorDialog>

bool BPQtChooseColor(const char* title, uint8_t rgb[3])
{
    QWidget* parent = QApplication::activeWindow();
    QColorDialog dialog(QColor(rgb[0], rgb[1], rgb[2]), parent);
    dialog.setObjectName(QStringLiteral("colorDialog"));
    dialog.setWindowTitle(QString::fromUtf8(title));
    dialog.setOption(QColorDialog::DontUseNativeDialog);
    dialog.adjustSize();
    if (parent) dialog.move(parent->mapToGlobal(parent->rect().center()) - dialog.rect().center());
    if (dialog.exec() != QDialog::Accepted) return false;
    const QColor answer = dialog.selectedColor();
    if (!answer.isValid()) return false;
    rgb[0] = static_cast<uint8_t>(answer.red());
    rgb[1] = static_cast<uint8_t>(answer.green());
    rgb[2] = static_cast<uint8_t>(answer.blue());
    return true;
}
