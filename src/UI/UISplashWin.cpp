// The splash window. Its picture is drawn here: a frame of ochre light on dark ground.
#include "src/UI/UISplashWin.h"

#include "src/support/TKStartup.h"

#include <QElapsedTimer>
#include <QFont>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QScreen>
#include <QThread>
#include <QWindow>

namespace {

constexpr int kTextBoxWidth = 150;
constexpr int kTextBoxHeight = 16;
constexpr qint64 kExposeLimitMs = 500;

/// Three overlapping discs whose hues mean shadows, midtones and highlights.
void DrawMark(QPainter& painter, QPointF center, qreal radius)
{
    painter.setPen(Qt::NoPen);
    painter.setCompositionMode(QPainter::CompositionMode_Screen);
    const struct {
        QColor color;
        QPointF offset;
    } discs[] = {
        {QColor(196, 106, 22), {0, -0.42}}, {QColor(94, 60, 34), {-0.4, 0.3}}, {QColor(40, 84, 104), {0.4, 0.3}}};
    for (const auto& disc : discs) {
        painter.setBrush(disc.color);
        painter.drawEllipse(center + disc.offset * radius, radius * 0.62, radius * 0.62);
    }
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
}

} // namespace

QPixmap UIProductIcon(int side)
{
    QPixmap icon(side, side);
    icon.fill(Qt::transparent);
    QPainter painter(&icon);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(26, 26, 26));
    painter.drawRoundedRect(QRectF(0, 0, side, side), side * 0.2, side * 0.2);
    DrawMark(painter, QPointF(side / 2.0, side * 0.53), side * 0.36);
    return icon;
}

UISplashWin::UISplashWin() : QWidget(nullptr, Qt::SplashScreen | Qt::FramelessWindowHint)
{
    setObjectName(QStringLiteral("splash"));
    setWindowTitle(QStringLiteral("Ochrine"));
    setFixedSize(static_cast<int>(kTKSplashWidth), static_cast<int>(kTKSplashHeight));
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        const QRect area = screen->availableGeometry();
        move(area.center() - QPoint(width() / 2, height() / 2));
    }
}

void UISplashWin::showAtOnce()
{
    show();
    // Until the window system has put it on the screen nothing that is drawn is seen, and the steps are short.
    QElapsedTimer timer;
    timer.start();
    while (windowHandle() && !windowHandle()->isExposed() && timer.elapsed() < kExposeLimitMs) {
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        QThread::msleep(2);
    }
    showStep({});
}

void UISplashWin::showStep(const QString& text)
{
    text_ = text;
    repaint();
    // The start-up sleeps between its steps, so what the window system sent has to be seen to here.
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

void UISplashWin::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient ground(0, 0, 0, height());
    ground.setColorAt(0, QColor(38, 37, 36));
    ground.setColorAt(1, QColor(17, 17, 17));
    painter.fillRect(rect(), ground);
    DrawMark(painter, QPointF(width() / 2.0, 118), 74);
    QFont name(QStringLiteral("Arial"));
    name.setPixelSize(34);
    name.setLetterSpacing(QFont::AbsoluteSpacing, 3);
    painter.setFont(name);
    painter.setPen(QColor(226, 222, 216));
    painter.drawText(QRect(0, 206, width(), 44), Qt::AlignCenter, QStringLiteral("Ochrine"));
    painter.setPen(QColor(70, 68, 66));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));

    if (text_.isEmpty()) return;
    const QRect box(width() - kTextBoxWidth, height() - kTextBoxHeight, kTextBoxWidth, kTextBoxHeight);
    painter.fillRect(box, QColor(0xFF, 0xCC, 0x00));
    QFont line(QStringLiteral("Arial"));
    line.setPointSizeF(8);
    painter.setFont(line);
    painter.setPen(Qt::black);
    painter.drawText(box, Qt::AlignCenter, text_);
}
