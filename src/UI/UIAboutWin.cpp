// The About box.
#include "src/UI/UIAboutWin.h"

#include "src/OCVersion.h"
#include "src/UI/UISplashWin.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QVBoxLayout>

namespace {

constexpr int kIconSize = 64;
constexpr qreal kNamePoints = 16;

} // namespace

UIAboutWin::UIAboutWin(QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("about"));
    setWindowTitle(QStringLiteral("About Ochrine"));
    auto* icon = new QLabel(this);
    icon->setPixmap(UIProductIcon(kIconSize));
    icon->setAlignment(Qt::AlignTop);
    auto* name = new QLabel(QStringLiteral("Ochrine"), this);
    QFont large = name->font();
    large.setPointSizeF(kNamePoints);
    name->setFont(large);
    auto* version = new QLabel(QStringLiteral("Version ") + QString::fromLatin1(kOCVersion), this);
    version->setObjectName(QStringLiteral("version"));
    version->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* purpose = new QLabel(QStringLiteral("Color correction for editing and compositing hosts."), this);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(4);
    texts->addWidget(name);
    texts->addWidget(version);
    texts->addSpacing(8);
    texts->addWidget(purpose);
    texts->addStretch();
    auto* top = new QHBoxLayout;
    top->setSpacing(18);
    top->addWidget(icon);
    top->addLayout(texts, 1);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(20, 20, 20, 16);
    all->setSpacing(16);
    all->setSizeConstraint(QLayout::SetFixedSize);
    all->addLayout(top);
    all->addWidget(buttons);
}
