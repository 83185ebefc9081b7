// The layout report.
#include "src/UI/LayoutReportWin.h"

#include "src/UI/UICurveWin.h"
#include "src/UI/UIHorizTabWin.h"
#include "src/UI/UIHueOffsetWin.h"
#include "src/UI/UIImagePaneWin.h"
#include "src/UI/UISliderWin.h"
#include "src/UI/UITransportWin.h"
#include "src/platform/BPFiles.h"
#include "src/platform/BPLog.h"

#include <QApplication>
#include <QTextStream>

namespace {

QString ReportPath()
{
    return qEnvironmentVariable("OCHRINE_LAYOUT_FILE");
}

void WriteReport(const QString& path, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    if (BPWriteFile(path.toLocal8Bit().constData(), bytes.constData(), static_cast<size_t>(bytes.size())) != bpNoErr)
        BPDebugLog("The layout report could not be written\n");
}

void WriteLine(QTextStream& out, const QWidget* widget, const QString& name, const QRect& rect)
{
    const qreal ratio = widget->devicePixelRatioF();
    const QPoint origin = widget->mapToGlobal(rect.topLeft());
    // The name may hold spaces; the four numbers are the last words of the line.
    out << name << ' ' << qRound(origin.x() * ratio) << ' ' << qRound(origin.y() * ratio) << ' '
        << qRound(rect.width() * ratio) << ' ' << qRound(rect.height() * ratio) << '\n';
}

void WriteParts(QTextStream& out, QWidget* widget)
{
    if (const auto* slider = dynamic_cast<const UISliderWin*>(widget)) {
        WriteLine(out, widget, widget->objectName() + QStringLiteral(".track"), slider->trackRect());
        WriteLine(out, widget, widget->objectName() + QStringLiteral(".value"), slider->valueRect());
    } else if (const auto* tabs = dynamic_cast<const UIHorizTabWin*>(widget)) {
        for (int i = 0; i < tabs->tabCount(); ++i) {
            WriteLine(out, widget, tabs->tabName(i), tabs->tabRect(i));
            if (!tabs->switchRect(i).isEmpty())
                WriteLine(out, widget, tabs->tabName(i) + QStringLiteral(".switch"), tabs->switchRect(i));
        }
    } else if (const auto* wheel = dynamic_cast<const UIHueOffsetWin*>(widget)) {
        WriteLine(out, widget, widget->objectName() + QStringLiteral(".wheel"), wheel->wheelRect());
    } else if (const auto* curve = dynamic_cast<const UICurveWin*>(widget)) {
        WriteLine(out, widget, widget->objectName() + QStringLiteral(".plot"), curve->plotRect());
    } else if (auto* picture = dynamic_cast<UIImagePaneWin*>(widget)) {
        WriteLine(out, widget, widget->objectName() + QStringLiteral(".image"), picture->pictureRect());
    } else if (const auto* transport = dynamic_cast<const UITransportWin*>(widget)) {
        for (int part = 0; part < UITransportWin::kPartCount; ++part)
            WriteLine(out, widget, UITransportWin::partName(part), transport->partRect(part));
        WriteLine(out, widget, QStringLiteral("transport_scrub"), transport->scrubRect());
    }
}

} // namespace

bool UILayoutReportWanted()
{
    return !ReportPath().isEmpty();
}

void UIReportLayout(QWidget* window)
{
    QString text;
    QTextStream out(&text);
    WriteLine(out, window, window->objectName(), window->rect());
    for (QWidget* widget : window->findChildren<QWidget*>()) {
        if (!widget->isVisible() || widget->objectName().isEmpty() || widget->objectName().startsWith(u"qt_")) continue;
        WriteLine(out, widget, widget->objectName(), widget->rect());
        WriteParts(out, widget);
    }
    out.flush();
    WriteReport(ReportPath(), text);
}

void UIReportFocus()
{
    const QWidget* focus = QApplication::focusWidget();
    WriteReport(ReportPath() + QStringLiteral(".focus"), focus ? focus->objectName() : QString());
}
