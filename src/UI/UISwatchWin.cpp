// The swatch's window.
#include "src/UI/UISwatchWin.h"

#include "src/UI/UIStyleWin.h"

#include <QPainter>

namespace {

constexpr int kTextInset = 4;
constexpr int kMostRowHeight = 15;

int32_t FormatOf(const TKSwatch& swatch)
{
    return swatch.format ? *swatch.format : tkColorRGB8;
}

} // namespace

UISwatchWin::UISwatchWin(TKSession* session, TKSwatch* swatch, const QString& name, QWidget* parent)
    : QWidget(parent), session_(session), swatch_(swatch)
{
    setObjectName(name);
    setAccessibleName(QString::fromUtf8(swatch->label));
    swatch_->redraw = Redraw;
    swatch_->window = this;
    if (TKRegisterSwatch(session, swatch) == bpNoErr) return;
    swatch_->redraw = nullptr; // it shows its colour when it is painted, but follows nothing
    swatch_->window = nullptr;
}

UISwatchWin::~UISwatchWin()
{
    TKForgetSwatch(session_, swatch_);
    swatch_->redraw = nullptr;
    swatch_->window = nullptr;
}

void UISwatchWin::Redraw(void* window)
{
    auto* self = static_cast<UISwatchWin*>(window);
    if (self->isVisible()) self->update();
}

QString UISwatchWin::valueText() const
{
    float rgb[3];
    TKSwatchColor(session_, *swatch_, rgb);
    QString text;
    for (uint32_t row = 0; row < 3; ++row) {
        const TKSwatchRow made = TKFormatSwatchRow(rgb, FormatOf(*swatch_), row);
        text += QString::fromUtf8(made.label) + u' ' + QString::fromUtf8(made.text);
        if (row < 2) text += QStringLiteral(", ");
    }
    return text;
}

void UISwatchWin::paintEvent(QPaintEvent*)
{
    const UIShades& shades = UIShadesNow();
    float rgb[3];
    TKSwatchColor(session_, *swatch_, rgb);
    uint8_t fill[3];
    TKSwatchFill(rgb, fill);
    QPainter painter(this);
    painter.fillRect(rect(), QColor(fill[0], fill[1], fill[2]));
    const uint32_t joined = swatch_->joinedEdges;
    const bool isDark = shades.text.lightness() > shades.window.lightness();
    const QColor frame = isDark ? shades.line : shades.hover; // the darker one of either palette
    painter.fillRect(0, 0, width(), 1, frame);
    painter.fillRect(0, height() - 1, width(), 1, frame);
    if (!(joined & kTKEdgeLeft)) painter.fillRect(0, 0, 1, height(), frame);
    if (!(joined & kTKEdgeRight)) painter.fillRect(width() - 1, 0, 1, height(), frame);

    const QString announced = valueText();
    if (accessibleDescription() != announced) setAccessibleDescription(announced);
    if (!swatch_->showsValues) return;
    painter.setPen(TKSwatchTextIsWhite(rgb) ? Qt::white : Qt::black);
    const int rowHeight = qMin(kMostRowHeight, (height() - 4) / 3);
    const int top = (height() - 3 * rowHeight) / 2;
    for (uint32_t row = 0; row < 3; ++row) {
        const TKSwatchRow made = TKFormatSwatchRow(rgb, FormatOf(*swatch_), row);
        const QRect line(kTextInset, top + static_cast<int>(row) * rowHeight, width() - 2 * kTextInset, rowHeight);
        const QString label = QString::fromUtf8(made.label);
        painter.drawText(line, Qt::AlignLeft | Qt::AlignVCenter, label);
        const int room = line.width() - fontMetrics().horizontalAdvance(label) - 3;
        painter.drawText(line, Qt::AlignRight | Qt::AlignVCenter,
                         fontMetrics().elidedText(QString::fromUtf8(made.text), Qt::ElideRight, room));
    }
}
