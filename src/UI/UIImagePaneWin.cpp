// The picture's window.
#include "src/UI/UIImagePaneWin.h"

#include "src/UI/UIImagePane.h"
#include "src/UI/UIStyleWin.h"
#include "src/support/TKPreviewLUTs.h"

#include <QPainter>

UIImagePaneWin::UIImagePaneWin(TKSession* session, QWidget* parent) : QWidget(parent), session_(session)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void UIImagePaneWin::setSurface(const ScopeSurface* surface)
{
    surface_ = surface;
    surfaceChanged();
}

void UIImagePaneWin::surfaceChanged()
{
    stale_ = true;
    update();
}

void UIImagePaneWin::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), UIShadesNow().window);
    if (!surface_ || !surface_->pixels) return;
    const qreal ratio = devicePixelRatioF();
    const int areaWidth = qRound(width() * ratio);
    const int areaHeight = qRound(height() * ratio);
    const TKImageRect fit =
        TKFitPicture(surface_->width, surface_->height, session_->pixelAspect, areaWidth, areaHeight);
    if (stale_) {
        const QSize size(static_cast<int>(surface_->width), static_cast<int>(surface_->height));
        if (words_.size() != size) words_ = QImage(size, QImage::Format_RGB32);
        if (words_.isNull()) return;
        TKSurfaceToWords(*surface_, reinterpret_cast<uint32_t*>(words_.bits()),
                         static_cast<size_t>(words_.bytesPerLine()) / sizeof(uint32_t));
        TKApplyPreviewLUT(session_, tkPreviewPrimary, words_.bits(), surface_->width, surface_->height,
                          static_cast<uint32_t>(words_.bytesPerLine()), pixFormatARGB8);
    }
    const QSize fittedSize(fit.width, fit.height);
    if (stale_ || fitted_.size() != fittedSize) {
        fitted_ = words_.size() == fittedSize
                      ? words_
                      : words_.scaled(fittedSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        fitted_.setDevicePixelRatio(ratio);
    }
    stale_ = false;
    painter.drawImage(QPointF(fit.x / ratio, fit.y / ratio), fitted_);
}

void UIImagePaneWin::mousePressEvent(QMouseEvent*)
{
    (void)CommitOpenEdit(session_, true);
}
