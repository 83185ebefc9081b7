// Menus of the right button.
#include "src/UI/UIToolMenuWin.h"

QMenu* UIOpenToolMenu(const TKContextMenu& menu, const QPoint& place, QWidget* parent,
                      std::function<void(uint32_t)> choose)
{
    auto* window = new QMenu(parent);
    window->setObjectName(QStringLiteral("menu%1").arg(menu.id));
    window->setAttribute(Qt::WA_DeleteOnClose);
    for (uint32_t i = 0; i < menu.itemCount; ++i) {
        QAction* action = window->addAction(QString::fromLatin1(menu.item[i].text));
        action->setEnabled(menu.item[i].enabled);
        QObject::connect(action, &QAction::triggered, parent, [choose, i] { choose(i); });
    }
    window->popup(place);
    return window;
}
