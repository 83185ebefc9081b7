// The area's window.
#include "src/UI/UIUserDrawWin.h"

#include "src/UI/UIDevicePixelsWin.h"
#include "src/UI/UIImageScale.h"
#include "src/UI/UIStyleWin.h"

#include <QPainter>

namespace {

void Redraw(void* window)
{
    static_cast<UIUserDrawWin*>(window)->update();
}

} // namespace

UIUserDrawWin::UIUserDrawWin(TKSession* session, TKUserDraw* control, const QString& name, QWidget* parent)
    : QWidget(parent), session_(session), control_(control)
{
    setObjectName(name);
    setAccessibleName(QString::fromUtf8(control->label));
    if (TKRegisterUserDraw(session, control) != bpNoErr) return; // it is drawn when it is painted, but follows nothing
    control_->redraw = Redraw;
    control_->window = this;
}

UIUserDrawWin::~UIUserDrawWin()
{
    TKForgetUserDraw(session_, control_);
    control_->redraw = nullptr;
    control_->window = nullptr;
    ScopeSurfaceDispose(&surface_);
}

void UIUserDrawWin::paintEvent(QPaintEvent*)
{
    const UIShades& shades = UIShadesNow();
    const UIDeviceArea area = UIDeviceAreaOf(this);
    const auto width = static_cast<uint32_t>(qMax(area.size.width(), 0));
    const auto height = static_cast<uint32_t>(qMax(area.size.height(), 0));
    if (surface_.width != width || surface_.height != height) {
        ScopeSurfaceDispose(&surface_);
        if (ScopeSurfaceCreate(width, height, &surface_) != bpNoErr) return;
    }
    TKPaintUserDraw(session_, *control_, shades.window.rgb() & 0xFFFFFF, &surface_);
    char told[128];
    TKUserDrawText(session_, *control_, told, sizeof told);
    if (const QString text = QString::fromUtf8(told); accessibleDescription() != text) setAccessibleDescription(text);
    QImage image(static_cast<int>(width), static_cast<int>(height), QImage::Format_RGB32);
    if (image.isNull()) return;
    TKSurfaceToWords(surface_, reinterpret_cast<uint32_t*>(image.bits()),
                     static_cast<size_t>(image.bytesPerLine()) / 4);
    QPainter painter(this);
    UIEnterDevicePixels(&painter, area);
    painter.drawImage(0, 0, image);
    // The frame of the swatches beside it.
    const bool isDark = shades.text.lightness() > shades.window.lightness();
    painter.setPen(QPen(isDark ? shades.line : shades.hover, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(QRect(0, 0, static_cast<int>(width) - 1, static_cast<int>(height) - 1));
}
