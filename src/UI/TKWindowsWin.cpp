// The windows of the application: what the logic asks, done with Qt.
#include "src/UI/TKWindowsWin.h"

#include "src/UI/LayoutReportWin.h"
#include "src/UI/TincturaMainWin.h"
#include "src/UI/UICursorsWin.h"
#include "src/UI/UIRecoverWin.h"
#include "src/UI/UISplashWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/UI/UIValueWin.h"
#include "src/platform/BPLog.h"
#include "src/platform/qt/BPQtColorDialog.h"
#include "src/platform/qt/BPQtForeground.h"
#include "src/support/TKCommands.h"
#include "src/support/TKRecovery.h"
#include "src/support/TKStartup.h"

#include <QApplication>
#include <QDialog>
#include <QScrollArea>
#include <QSocketNotifier>
#include <QThread>
#include <QWindow>

namespace {

constexpr int kEndStepMs = 20;
constexpr int kSightMargin = 8; // above and below a control that is scrolled to

} // namespace

bool UIToolTipSwitch::eventFilter(QObject* object, QEvent* event)
{
    return (event->type() == QEvent::ToolTip && !enabled) || QObject::eventFilter(object, event);
}

/// The functions of the record; each knows its window by the context.
struct TKWindowsCalls {
    static TKWindowsWin& Self(void* context) { return *static_cast<TKWindowsWin*>(context); }
    static TincturaMainWin* Main(void* context) { return Self(context).main_.get(); }

    static void ShowSplash(void* context)
    {
        Self(context).splash_ = std::make_unique<UISplashWin>();
        Self(context).splash_->showAtOnce();
    }
    static void SplashStep(void* context, uint32_t, const char* text)
    {
        if (auto& splash = Self(context).splash_) splash->showStep(QString::fromUtf8(text));
    }
    static void HideSplash(void* context) { Self(context).splash_.reset(); }

    static BPStatus BuildMainWindow(void* context, TKSession* session)
    {
        TKWindowsWin& self = Self(context);
        BPStatus error = bpNoErr;
        self.main_ = std::make_unique<TincturaMainWin>(session, &error);
        return error;
    }
    static void ShowMainWindow(void* context)
    {
        if (TincturaMainWin* window = Main(context)) {
            // Not the first button: the space bar plays, and would press it too.
            window->setFocus();
            window->showMaximized();
            if (Self(context).session_->views.window.isOpen != 0) window->openScopeWindow(true, false);
            window->activateWindow();
            // Hidden and shown with no event between, the window never lost the focus in the eyes of the window system,
            // and so it would not become active again: its keys would be dead.
            if (window->windowHandle() && QGuiApplication::focusWindow() == window->windowHandle())
                QApplication::setActiveWindow(window);
        }
    }
    static void RaiseMainWindow(void* context)
    {
        if (TincturaMainWin* window = Main(context)) {
            window->raise();
            window->activateWindow();
        }
    }
    static void HideMainWindow(void* context)
    {
        if (TincturaMainWin* window = Main(context)) window->hideAll();
    }
    static void CloseMainWindow(void* context)
    {
        if (TincturaMainWin* window = Main(context))
            QMetaObject::invokeMethod(
                window, [window] { window->close(); }, Qt::QueuedConnection);
        else
            QCoreApplication::quit();
    }
    static void QuitLoop(void*) { QCoreApplication::quit(); }
    static void StartTimer(void* context, uint32_t periodMs)
    {
        TKWindowsWin& self = Self(context);
        self.timer_.setTimerType(Qt::PreciseTimer);
        QObject::connect(&self.timer_, &QTimer::timeout, &self.timer_, [&self] { TKTick(self.session_); });
        self.timer_.start(static_cast<int>(periodMs));
    }
    static void EnableMenus(void* context, bool enable)
    {
        if (TincturaMainWin* window = Main(context)) window->enableMenus(enable);
    }
    static void SetToolTips(void* context, bool enable)
    {
        UIToolTipSwitch& tips = Self(context).toolTips_;
        tips.enabled = enable;
        qApp->installEventFilter(&tips); // once more moves it to the front
    }
    // On Wayland both do nothing: the compositor gives the front to the window below when ours is hidden.
    static void RememberForeground(void* context) { Self(context).foregroundAtStart_ = BPQtForegroundWindow(); }
    static void RestoreForeground(void* context) { BPQtGiveForeground(Self(context).foregroundAtStart_); }
    static void SetCursor(void* context, uint32_t resource)
    {
        if (TincturaMainWin* window = Main(context))
            window->setCursor(UICursorOf(resource, window->devicePixelRatioF()));
    }
    static void PaletteChanged(void* context)
    {
        UIApplyPalette(Self(context).session_->palette);
        if (TincturaMainWin* window = Main(context)) window->applyPalette();
    }
    static void AskRecovery(void* context, const char* text, const char* detail)
    {
        TKWindowsWin& self = Self(context);
        self.recover_ = std::make_unique<UIRecoverWin>(
            Main(context), QString::fromUtf8(text), QString::fromUtf8(detail), [&self](bool recover) {
                if (!self.recover_) return;
                self.recover_.release()->deleteLater(); // we are in one of its signals
                TKRecoveryAnswer(self.session_, recover);
                if (self.main_ && UILayoutReportWanted()) UIReportLayout(self.main_.get());
            });
        self.recover_->open();
    }
    static void WithdrawRecovery(void* context) { Self(context).recover_.reset(); }

    static void FocusMainWindow(void* context)
    {
        if (TincturaMainWin* window = Main(context)) window->setFocus();
    }
    static void ShowAbout(void* context)
    {
        if (TincturaMainWin* window = Main(context)) window->showAbout();
    }
    static void SelectSettingsTab(void* context, int32_t tab, int32_t inner, int32_t innermost)
    {
        if (TincturaMainWin* window = Main(context)) window->tools()->selectTabs(tab, inner, innermost);
    }
    static void SelectRightPane(void* context, int32_t mode)
    {
        if (TincturaMainWin* window = Main(context)) window->selectView(mode);
    }
    static void SurfacesReplaced(void* context)
    {
        if (TincturaMainWin* window = Main(context)) window->picturesChanged();
    }
    static void PixelAspectChanged(void* context, float) { SurfacesReplaced(context); }
    static void RefreshSource(void* context)
    {
        if (TincturaMainWin* window = Main(context)) window->picturesChanged();
    }
    static void RefreshResult(void* context, bool)
    {
        if (TincturaMainWin* window = Main(context)) window->picturesChanged();
    }
    static void RefreshDisplays(void* context, bool)
    {
        if (TincturaMainWin* window = Main(context)) window->picturesChanged();
    }
    static void RepaintPicture(void* context, bool force)
    {
        if (TincturaMainWin* window = Main(context)) window->repaintPicture(force);
    }
    static void ShowAnalysis(void* context, bool force)
    {
        if (TincturaMainWin* window = Main(context)) window->showAnalysis(force);
    }
    static void ScopeWindowOpened(void* context, bool open)
    {
        if (TincturaMainWin* window = Main(context)) window->openScopeWindow(open, true);
    }
    static void ShowScopeWindow(void* context, bool force)
    {
        if (TincturaMainWin* window = Main(context)) window->showScopeWindow(force);
    }
    static void RepaintPanes(void* context, uint32_t mask, bool force)
    {
        if (TincturaMainWin* window = Main(context)) window->repaintPanes(mask, force);
    }
    static void SelectLeftPane(void* context, int32_t tab)
    {
        if (TincturaMainWin* window = Main(context)) window->selectAnalysis(tab);
    }
    static void ShowViewMode(void* context, uint32_t mode)
    {
        if (TincturaMainWin* window = Main(context)) window->showViewMode(mode);
    }
    static void SetPositionText(void* context, const char* text)
    {
        if (TincturaMainWin* window = Main(context)) window->setPositionText(QString::fromUtf8(text));
    }
    static void PlayingChanged(void* context, bool)
    {
        if (TincturaMainWin* window = Main(context)) window->playingChanged();
    }

    static UISliderWin* SliderOf(void* context, const SliderVars* slider)
    {
        TincturaMainWin* window = Main(context);
        return window ? window->sliderOf(slider) : nullptr;
    }
    /// A number without a track, in a composite control.
    static UIValueWin* ValueOf(void* context, const SliderVars* slider)
    {
        TincturaMainWin* window = Main(context);
        return window ? UIValueWin::find(window, slider) : nullptr;
    }
    static void SliderChanged(void* context, SliderVars* slider)
    {
        if (UISliderWin* window = SliderOf(context, slider))
            window->showValue();
        else if (UIValueWin* value = ValueOf(context, slider))
            value->showValue();
    }
    /// Scrolls the page that a control stands on.
    static void BringIntoSight(QWidget* control)
    {
        for (QWidget* up = control->parentWidget(); up; up = up->parentWidget())
            if (auto* page = qobject_cast<QScrollArea*>(up)) page->ensureWidgetVisible(control, 0, kSightMargin);
    }
    static void EditOpened(void* context, SliderVars* slider)
    {
        if (UISliderWin* window = SliderOf(context, slider)) {
            window->showEdit();
            BringIntoSight(window);
        } else if (UIValueWin* value = ValueOf(context, slider)) {
            value->showEdit();
            BringIntoSight(value);
        }
    }
    static void EditClosed(void* context, SliderVars* slider)
    {
        UISliderWin* window = SliderOf(context, slider);
        UIValueWin* value = window ? nullptr : ValueOf(context, slider);
        // A click has given the focus to what was clicked, and it stays there.
        if ((window && window->hideEdit()) || (value && value->hideEdit())) Main(context)->setFocus();
    }
    static void PickModeChanged(void* context)
    {
        if (TincturaMainWin* window = Main(context)) window->pickModeChanged();
    }
    static bool ChooseColor(void*, const char* title, uint8_t rgb[3]) { return BPQtChooseColor(title, rgb); }
    static void SwitchesChanged(void* context)
    {
        if (TincturaMainWin* window = Main(context)) window->tools()->switchesChanged();
    }
    static void UpdateOtherControls(void* context, const OCSettings* settings, uint32_t toolMask, uint32_t curveMask,
                                    const OCSettings* previous, bool force)
    {
        if (TincturaMainWin* window = Main(context))
            window->tools()->updateFrom(settings, toolMask, curveMask, previous, force);
    }
    static void SettleControls(void* context)
    {
        if (TincturaMainWin* window = Main(context)) window->tools()->settle();
    }
};

TKWindowsWin::TKWindowsWin() = default;
TKWindowsWin::~TKWindowsWin() = default;

void TKWindowsWin::setSession(TKSession* session)
{
    session_ = session;
    // The state of the whole application: another window, a menu or a box of our own does not put it into the background.
    QObject::connect(qApp, &QGuiApplication::applicationStateChanged, &timer_, [this](Qt::ApplicationState state) {
        if (session_) TKApplicationActivated(session_, state == Qt::ApplicationActive);
    });
}

void TKWindowsWin::watchEndRequests(int descriptor)
{
    endTimer_.setInterval(kEndStepMs);
    QObject::connect(&endTimer_, &QTimer::timeout, &endTimer_, [this] { endStep(); });
    if (descriptor < 0) return;
    endNotifier_ = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
    QObject::connect(endNotifier_.get(), &QSocketNotifier::activated, &endTimer_, [this] {
        endNotifier_->setEnabled(false); // once is enough, and the descriptor stays readable
        endTimer_.start();
        endStep();
    });
}

void TKWindowsWin::endStep()
{
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* dialog = qobject_cast<QDialog*>(window);
        if (dialog && dialog->isVisible() && dialog->windowModality() == Qt::ApplicationModal) dialog->reject();
    }
    if (QWidget* menu = QApplication::activePopupWidget()) menu->close();
    // What opened a dialog goes on first, and a start-up comes to its end.
    if (!session_ || session_->quitting || !session_->interfaceReady || QThread::currentThread()->loopLevel() > 1)
        return;
    BPDebugLog("The end of the process was asked for\n");
    TKEndSession(session_, kTKCommandExit);
}

void TKWindowsWin::dispose()
{
    session_ = nullptr;
    endNotifier_.reset();
    endTimer_.stop();
    timer_.stop();
    splash_.reset();
    recover_.reset();
    main_.reset();
}

TKUserInterface TKWindowsWin::interface()
{
    TKUserInterface ui = {};
    ui.context = this;
    ui.showSplash = TKWindowsCalls::ShowSplash;
    ui.splashStep = TKWindowsCalls::SplashStep;
    ui.hideSplash = TKWindowsCalls::HideSplash;
    ui.buildMainWindow = TKWindowsCalls::BuildMainWindow;
    ui.showMainWindow = TKWindowsCalls::ShowMainWindow;
    ui.raiseMainWindow = TKWindowsCalls::RaiseMainWindow;
    ui.hideMainWindow = TKWindowsCalls::HideMainWindow;
    ui.closeMainWindow = TKWindowsCalls::CloseMainWindow;
    ui.quitLoop = TKWindowsCalls::QuitLoop;
    ui.startTimer = TKWindowsCalls::StartTimer;
    ui.enableMenus = TKWindowsCalls::EnableMenus;
    ui.setToolTips = TKWindowsCalls::SetToolTips;
    ui.rememberForeground = TKWindowsCalls::RememberForeground;
    ui.restoreForeground = TKWindowsCalls::RestoreForeground;
    ui.setCursor = TKWindowsCalls::SetCursor;
    ui.paletteChanged = TKWindowsCalls::PaletteChanged;
    ui.askRecovery = TKWindowsCalls::AskRecovery;
    ui.withdrawRecovery = TKWindowsCalls::WithdrawRecovery;
    ui.focusMainWindow = TKWindowsCalls::FocusMainWindow;
    ui.showAbout = TKWindowsCalls::ShowAbout;
    ui.selectSettingsTab = TKWindowsCalls::SelectSettingsTab;
    ui.selectRightPane = TKWindowsCalls::SelectRightPane;
    ui.selectLeftPane = TKWindowsCalls::SelectLeftPane;
    ui.showViewMode = TKWindowsCalls::ShowViewMode;
    ui.surfacesReplaced = TKWindowsCalls::SurfacesReplaced;
    ui.pixelAspectChanged = TKWindowsCalls::PixelAspectChanged;
    ui.refreshSource = TKWindowsCalls::RefreshSource;
    ui.refreshResult = TKWindowsCalls::RefreshResult;
    ui.refreshDisplays = TKWindowsCalls::RefreshDisplays;
    ui.repaintPicture = TKWindowsCalls::RepaintPicture;
    ui.showAnalysis = TKWindowsCalls::ShowAnalysis;
    ui.scopeWindowOpened = TKWindowsCalls::ScopeWindowOpened;
    ui.showScopeWindow = TKWindowsCalls::ShowScopeWindow;
    ui.repaintPanes = TKWindowsCalls::RepaintPanes;
    ui.setPositionText = TKWindowsCalls::SetPositionText;
    ui.playingChanged = TKWindowsCalls::PlayingChanged;
    ui.sliderChanged = TKWindowsCalls::SliderChanged;
    ui.editOpened = TKWindowsCalls::EditOpened;
    ui.editClosed = TKWindowsCalls::EditClosed;
    ui.pickModeChanged = TKWindowsCalls::PickModeChanged;
    ui.chooseColor = TKWindowsCalls::ChooseColor;
    ui.switchesChanged = TKWindowsCalls::SwitchesChanged;
    ui.updateOtherControls = TKWindowsCalls::UpdateOtherControls;
    ui.settleControls = TKWindowsCalls::SettleControls;
    return ui;
}
