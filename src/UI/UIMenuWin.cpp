// The menu with a column of keys.
#include "src/UI/UIMenuWin.h"

#include "src/UI/MainMenu.h"

#include <QStyleOption>

namespace {

constexpr int kColumnGap = 28;

struct Columns {
    QString label, key;
};

Columns ColumnsOf(const QAction* action)
{
    const QByteArray text = action->text().toUtf8();
    const TKMenuColumns columns = TKSplitMenuText({text.constData(), static_cast<size_t>(text.size())});
    return {QString::fromUtf8(columns.label.data(), static_cast<qsizetype>(columns.label.size())),
            QString::fromUtf8(columns.key.data(), static_cast<qsizetype>(columns.key.size()))};
}

} // namespace

UIMenuWin::UIMenuWin(const QString& title, QWidget* parent) : QMenu(title, parent) {}

void UIMenuWin::fitColumns()
{
    const QFontMetrics metrics = fontMetrics();
    int labels = 0, keys = 0, whole = 0;
    for (const QAction* action : actions()) {
        const Columns columns = ColumnsOf(action);
        whole = qMax(whole, metrics.horizontalAdvance(action->text()));
        labels = qMax(labels, metrics.horizontalAdvance(columns.label));
        keys = qMax(keys, metrics.horizontalAdvance(columns.key));
    }
    if (keys == 0) return;
    keyWidth_ = keys;
    setMinimumWidth(sizeHint().width() - whole + labels + kColumnGap + keys);
}

void UIMenuWin::initStyleOption(QStyleOptionMenuItem* option, const QAction* action) const
{
    QMenu::initStyleOption(option, action);
    const Columns columns = ColumnsOf(action);
    option->text = columns.key.isEmpty() ? columns.label : columns.label + u'\t' + columns.key;
    option->reservedShortcutWidth = keyWidth_;
}
