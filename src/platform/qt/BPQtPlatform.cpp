// Keyboard, alerts, clipboard and screens by way of Qt.
#include "src/platform/qt/BPQtPlatform.h"

#include "src/platform/qt/BPQtCapsLock.h"
#include "src/platform/qt/BPQtFileDialog.h"

#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QFileInfo>
#include <QMessageBox>
#include <QMimeData>
#include <QScreen>
#include <QUrl>
#include <cstring>
#include <new>

namespace {

uint32_t ModifierWord()
{
    const Qt::KeyboardModifiers held = QGuiApplication::queryKeyboardModifiers();
    uint32_t word = 0;
    if (held & Qt::ShiftModifier) word |= bpShiftKey;
    if (held & Qt::AltModifier) word |= bpAltKey;
    if (held & Qt::ControlModifier) word |= bpControlKey;
    if (BPQtCapsLockIsOn()) word |= bpCapsLock;
    return word;
}

bool MouseButtonDown()
{
    return (QGuiApplication::mouseButtons() & Qt::LeftButton) != 0;
}

QMessageBox::Icon IconOf(BPSeverity severity)
{
    switch (severity) {
    case bpCaution: return QMessageBox::Warning;
    case bpStop: return QMessageBox::Critical;
    case bpNote: return QMessageBox::Information;
    }
    return QMessageBox::NoIcon;
}

void ShowBox(QMessageBox::Icon icon, const QString& title, const char* text)
{
    QMessageBox box(icon, title, QString::fromUtf8(text), QMessageBox::Ok, QApplication::activeWindow());
    box.setObjectName(QStringLiteral("alert"));
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

void Alert(BPSeverity severity, const char* text)
{
    ShowBox(IconOf(severity), QStringLiteral("Ochrine"), text);
}

void MessageBox(const char* title, const char* text)
{
    ShowBox(QMessageBox::Critical, QString::fromUtf8(title), text);
}

void Beep()
{
    QApplication::beep();
}

BPStatus PutOnClipboard(const char* format, const void* bytes, uint32_t byteCount)
{
    QGuiApplication::clipboard()->clear();
    auto* data = new (std::nothrow) QMimeData; // the clipboard takes it over
    if (!data) return bpMemFullErr;
    data->setData(QString::fromLatin1(format), QByteArray(static_cast<const char*>(bytes), qsizetype{byteCount}));
    QGuiApplication::clipboard()->setMimeData(data);
    return bpNoErr;
}

bool ClipboardHas(const char* format)
{
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    return data && data->hasFormat(QString::fromLatin1(format));
}

BPStatus GetFromClipboard(const char* format, void* bytes, uint32_t capacity, uint32_t* byteCount)
{
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    const QString name = QString::fromLatin1(format);
    if (!data || !data->hasFormat(name)) return bpNotFoundErr;
    const QByteArray block = data->data(name);
    *byteCount = static_cast<uint32_t>(qMin(block.size(), qsizetype{0x7FFFFFFF}));
    const uint32_t copied = *byteCount < capacity ? *byteCount : capacity;
    if (copied > 0) std::memcpy(bytes, block.constData(), copied);
    return bpNoErr;
}

/// Physical pixels of a rectangle that is told in a screen's own.
BPRect ToPhysical(const QRect& rect, qreal ratio)
{
    return {.left = qRound(rect.left() * ratio),
            .top = qRound(rect.top() * ratio),
            .right = qRound((rect.left() + rect.width()) * ratio),
            .bottom = qRound((rect.top() + rect.height()) * ratio)};
}

uint32_t ScreenCount()
{
    return static_cast<uint32_t>(QGuiApplication::screens().size());
}

BPStatus ScreenBounds(uint32_t index, BPRect* bounds)
{
    const QList<QScreen*> screens = QGuiApplication::screens(); // the primary one stands first
    if (index >= static_cast<uint32_t>(screens.size())) return bpParamErr;
    const QScreen* screen = screens.at(static_cast<qsizetype>(index));
    *bounds = ToPhysical(screen->geometry(), screen->devicePixelRatio());
    return bpNoErr;
}

BPStatus WorkArea(BPRect* area)
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen) return bpParamErr;
    *area = ToPhysical(screen->availableGeometry(), screen->devicePixelRatio());
    return bpNoErr;
}

BPStatus OpenFile(const char* path)
{
    const QString name = QString::fromLocal8Bit(path);
    if (!QFileInfo(name).isFile()) return bpFileNotFoundErr;
    return QDesktopServices::openUrl(QUrl::fromLocalFile(name)) ? bpNoErr : bpNotFoundErr;
}

BPStatus OpenAddress(const char* address)
{
    const QUrl url(QString::fromUtf8(address), QUrl::StrictMode);
    if (!url.isValid() || (url.scheme() != u"https" && url.scheme() != u"http")) return bpParamErr;
    return QDesktopServices::openUrl(url) ? bpNoErr : bpNotFoundErr;
}

/// Nothing to do: here the window manager alone decides who comes to the front.
void AllowForeground(uint32_t) {}

} // namespace

void BPFillQtPlatform(BPPlatform* platform)
{
    platform->keyboard = {.modifierWord = ModifierWord, .mouseButtonDown = MouseButtonDown};
    platform->alert = {.alert = Alert, .messageBox = MessageBox, .beep = Beep};
    platform->clipboard = {.put = PutOnClipboard, .has = ClipboardHas, .get = GetFromClipboard};
    platform->screen = {
        .count = ScreenCount, .bounds = ScreenBounds, .workArea = WorkArea, .allowForeground = AllowForeground};
    platform->shell = {.openFile = OpenFile, .openAddress = OpenAddress};
    BPFillQtFileDialog(&platform->fileDialog);
}
