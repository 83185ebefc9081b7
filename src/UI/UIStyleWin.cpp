// Shades and application style.
#include "src/UI/UIStyleWin.h"

#include <QApplication>
#include <QFont>
#include <QPalette>
#include <QProxyStyle>

namespace {

constexpr qreal kFontPoints = 8;

UIShades gShades; // main thread

/// Fusion without what looks wrong on dark greys: a second, lighter text below each disabled one, and small pictures on
/// the buttons of boxes.
class FlatStyle : public QProxyStyle {
  public:
    FlatStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* result) const override
    {
        if (hint == SH_EtchDisabledText || hint == SH_DialogButtonBox_ButtonsHaveIcons) return 0;
        return QProxyStyle::styleHint(hint, option, widget, result);
    }
};

QColor FromPalette(TKColor color)
{
    return QColor::fromRgba64(color.red, color.green, color.blue);
}

/// A grey some steps of 255 away, towards the text when positive.
QColor Shifted(const QColor& base, int steps, bool isDark)
{
    const int value = qBound(0, base.red() + (isDark ? steps : -steps), 255);
    return QColor(value, value, value);
}

UIShades ShadesOf(const TKPalette& palette)
{
    UIShades s;
    s.window = FromPalette(palette.grey[kTKGreyWindow]);
    s.text = FromPalette(palette.grey[kTKGreyText]);
    const bool isDark = s.text.red() > s.window.red();
    s.panel = Shifted(s.window, 7, isDark);
    s.groove = Shifted(s.window, -14, isDark);
    const int worn = s.window.red() * 2 / 3;
    s.track = isDark ? s.groove : QColor(worn, worn, worn);
    s.line = Shifted(s.window, -10, isDark);
    // Lighter than the window on either palette: dark text on a darker button could not be read.
    s.control = Shifted(s.window, 34, true);
    s.hover = Shifted(s.window, 50, true);
    s.pressed = Shifted(s.window, 18, true);
    const int dim = (2 * s.text.red() + s.window.red()) / 3;
    s.dimText = QColor(dim, dim, dim);
    s.accent = FromPalette(palette.accent[0]);
    return s;
}

} // namespace

const UIShades& UIShadesNow()
{
    return gShades;
}

void UIApplyPalette(const TKPalette& palette)
{
    gShades = ShadesOf(palette);
    const UIShades& s = gShades;
    QPalette colors;
    colors.setColor(QPalette::Window, s.window);
    colors.setColor(QPalette::WindowText, s.text);
    colors.setColor(QPalette::Base, s.groove);
    colors.setColor(QPalette::AlternateBase, s.panel);
    colors.setColor(QPalette::Text, s.text);
    colors.setColor(QPalette::Button, s.control);
    colors.setColor(QPalette::ButtonText, s.text);
    colors.setColor(QPalette::BrightText, s.text);
    colors.setColor(QPalette::ToolTipBase, s.panel);
    colors.setColor(QPalette::ToolTipText, s.text);
    colors.setColor(QPalette::Highlight, s.accent);
    colors.setColor(QPalette::HighlightedText, Qt::white);
    colors.setColor(QPalette::PlaceholderText, s.dimText);
    const QColor off((s.text.red() + 2 * s.window.red()) / 3, (s.text.green() + 2 * s.window.green()) / 3,
                     (s.text.blue() + 2 * s.window.blue()) / 3);
    for (QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        colors.setColor(QPalette::Disabled, role, off);
    QApplication::setStyle(new FlatStyle); // the application takes it over
    QApplication::setPalette(colors);
    qApp->setStyleSheet(
        QStringLiteral(
            "QPushButton { background: %1; color: %2; border: 1px solid %3; border-radius: 4px; padding: 2px 8px; }"
            "QPushButton:hover { background: %4; }"
            "QPushButton:pressed { background: %5; }"
            "QPushButton:focus { border-color: %6; }"
            "QPushButton:disabled { color: %7; }"
            "QDialogButtonBox QPushButton { min-width: 52px; min-height: 18px; }"
            "QMenuBar { background: %8; }"
            "QMenuBar::item { background: transparent; padding: 3px 9px; }"
            "QMenuBar::item:selected { background: %4; border-radius: 3px; }"
            "QLineEdit { background: %9; selection-background-color: %6; }")
            .arg(s.control.name(), s.text.name(), s.line.name(), s.hover.name(), s.pressed.name(),
                 s.accent.lighter(130).name(), off.name(), s.window.name(), s.groove.name()));
    QFont font(QStringLiteral("Arial"));
    font.setPointSizeF(kFontPoints);
    QApplication::setFont(font);
}
