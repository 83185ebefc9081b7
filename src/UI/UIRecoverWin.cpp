// The box with its two buttons.
#include "src/UI/UIRecoverWin.h"

#include <QGridLayout>
#include <QPushButton>

namespace {

constexpr int kLeastWidth = 420;

} // namespace

UIRecoverWin::UIRecoverWin(QWidget* parent, const QString& text, const QString& detail,
                           std::function<void(bool)> onAnswer)
    : QMessageBox(QMessageBox::Question, QStringLiteral("Ochrine"), text, QMessageBox::NoButton, parent)
{
    setObjectName(QStringLiteral("recover"));
    setTextFormat(Qt::PlainText); // the clip's name comes from outside
    setInformativeText(detail);
    QPushButton* recover = addButton(QStringLiteral("Recover"), QMessageBox::AcceptRole);
    QPushButton* discard = addButton(QStringLiteral("Discard"), QMessageBox::DestructiveRole);
    recover->setObjectName(QStringLiteral("recover_yes"));
    discard->setObjectName(QStringLiteral("recover_no"));
    setDefaultButton(recover);
    setWindowModality(Qt::WindowModal);
    // As wide as the words want: left to itself the box is as narrow as the question, and breaks the date.
    if (auto* grid = qobject_cast<QGridLayout*>(layout()))
        grid->addItem(new QSpacerItem(kLeastWidth, 0, QSizePolicy::Minimum, QSizePolicy::Fixed), grid->rowCount(), 0, 1,
                      grid->columnCount());
    connect(this, &QDialog::finished, this,
            [this, recover, answer = std::move(onAnswer)] { answer(clickedButton() == recover); });
}
