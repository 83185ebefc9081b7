// A page and the making of its controls.
#include "src/UI/ToolPageWin.h"

#include "src/UI/UICheckboxWin.h"
#include "src/UI/UIColorSampleWin.h"
#include "src/UI/UICurveWin.h"
#include "src/UI/UIEyedropperWin.h"
#include "src/UI/UIHueOffsetWin.h"
#include "src/UI/UILevelsWin.h"
#include "src/UI/UILumaRangeWin.h"
#include "src/UI/UIPopupWin.h"
#include "src/UI/UISliderWin.h"
#include "src/support/TKCommands.h"
#include "src/support/TKCurvePoints.h"
#include "src/support/TKToolTips.h"

#include <QScrollBar>
#include <deque>

struct ToolPageRecords {
    TKTabChain chain; ///< of the page's sliders
    std::deque<SliderVars> sliders;
    std::deque<TKCheckbox> checkboxes;
    std::deque<TKPopup> popups;
    std::deque<TKColorSample> samples;
    std::deque<TKCurveEyedropper> eyedroppers;
    std::deque<HueOffsetVars> wheels;
    std::deque<CurveVars> curves;
    std::deque<LevelsVars> levels;
    std::deque<LumaRangeVars> lumaRanges;
};

ToolPageWin::ToolPageWin(TKSession* session, const TKPageRow& page, const int32_t* colorFormat, QWidget* parent,
                         BPStatus* error)
    : QScrollArea(parent), session_(session), page_(page), colorFormat_(colorFormat), content_(new QWidget),
      records_(std::make_unique<ToolPageRecords>())
{
    setObjectName(QString::fromLatin1(page.prefix) + QStringLiteral("_page"));
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    viewport()->setAutoFillBackground(false);
    setWidget(content_);
    content_->setAutoFillBackground(false);
    ResetTabChain(&records_->chain);
    for (const TKControlRow& row : page.rows)
        controls_.push_back(makeControl(row, QString::fromStdString(TKRowName(page, row)), error));
    TKCloseTabChain(&records_->chain);
}

ToolPageWin::~ToolPageWin()
{
    (void)CommitOpenEdit(session_, false);
    delete takeWidget(); // the controls go before their records
    session_->controls.lastTouched = nullptr;
    for (SliderVars& slider : records_->sliders) TKForgetSlider(session_, &slider);
    for (HueOffsetVars& wheel : records_->wheels)
        for (SliderVars* slider : {&wheel.hueSlider, &wheel.strengthSlider}) TKForgetSlider(session_, slider);
    for (TKColorSample& sample : records_->samples) TKDisposeColorSample(&sample);
    for (HueOffsetVars& wheel : records_->wheels) TKDisposeHueOffset(&wheel);
    for (CurveVars& curve : records_->curves) TKDisposeCurve(&curve);
}

QWidget* ToolPageWin::makeControl(const TKControlRow& row, const QString& name, BPStatus* error)
{
    switch (row.kind) {
    case tkRowSlider: return makeSlider(row, name, error);
    case tkRowButton: return makeButton(row, name);
    case tkRowHueWheel: return makeHueWheel(row, name, error);
    case tkRowCurve: return makeCurve(row, name);
    case tkRowLevels: return makeLevels(row, name);
    case tkRowLumaRange: return makeLumaRange(row, name);
    case tkRowCheckbox: return makeCheckbox(row, name);
    case tkRowPopup: return makePopup(row, name, error);
    case tkRowColorSample: return makeColorSample(row, name, error);
    case tkRowEyedroppers: return makeEyedroppers(row, name, error);
    }
    return nullptr;
}

QWidget* ToolPageWin::makeSlider(const TKControlRow& row, const QString& name, BPStatus* error)
{
    SliderVars* slider = &records_->sliders.emplace_back();
    TKCreateSlider(slider, row.bind, &session_->liveSettings, page_.blockOffset, &session_->defaultSettings,
                   TKRowSection(page_, row));
    const BPStatus err = TKRegisterSlider(session_, slider);
    if (*error == bpNoErr) *error = err;
    TKChainSlider(&records_->chain, slider);
    return new UISliderWin(session_, slider, name, content_);
}

QWidget* ToolPageWin::makeButton(const TKControlRow& row, const QString& name)
{
    auto* button = new QPushButton(QString::fromLatin1(row.bind.label), content_);
    button->setObjectName(name);
    // The masks are those of the page that the button stands on, whatever page is in front when the command runs.
    connect(button, &QPushButton::clicked, this, [this, command = row.command] {
        const TKCommandSource source = {.toolMask = page_.toolMask, .curveMask = page_.curveMask};
        DoMenuCommand(session_, command, &source);
    });
    return button;
}

QWidget* ToolPageWin::makeCheckbox(const TKControlRow& row, const QString& name)
{
    TKCheckbox* checkbox = &records_->checkboxes.emplace_back();
    TKCreateCheckbox(checkbox, &session_->liveSettings, page_.blockOffset + row.bind.offset, TKRowSection(page_, row),
                     row.bind.label, row.bind.objectName);
    return UICheckboxWin::create(session_, checkbox, name, content_);
}

QWidget* ToolPageWin::makePopup(const TKControlRow& row, const QString& name, BPStatus* error)
{
    TKPopup* popup = &records_->popups.emplace_back();
    TKCreatePopup(popup, &session_->liveSettings, page_.blockOffset + row.bind.offset, TKRowSection(page_, row),
                  row.bind.label, row.bind.objectName, row.items);
    auto* window = new UIPopupWin(session_, popup, name, content_);
    if (!window->followsRecord() && *error == bpNoErr) *error = bpMemFullErr;
    return window;
}

QWidget* ToolPageWin::makeColorSample(const TKControlRow& row, const QString& name, BPStatus* error)
{
    TKColorSample* sample = &records_->samples.emplace_back();
    const uint32_t at = page_.blockOffset + row.bind.offset;
    const BPStatus err = TKCreateColorSample(sample, &session_->liveSettings, at + offsetof(OCColorSample, red),
                                             at + offsetof(OCColorSample, on), TKRowSection(page_, row),
                                             static_cast<int32_t>(at), nullptr, row.bind.label, row.bind.objectName);
    if (*error == bpNoErr) *error = err;
    auto* window = new UIColorSampleWin(session_, sample, name, content_);
    if (!window->eyedropper()->followsRecord() && *error == bpNoErr) *error = bpMemFullErr;
    return window;
}

QWidget* ToolPageWin::makeEyedroppers(const TKControlRow&, const QString& name, BPStatus* error)
{
    constexpr struct {
        TKCurvePointKind kind;
        const char* name;
    } kPoints[] = {{tkBlackPoint, "black_point"}, {tkGrayPoint, "gray_point"}, {tkWhitePoint, "white_point"}};
    auto* group = new QWidget(content_);
    group->setObjectName(name);
    int x = 0;
    for (const auto& point : kPoints) {
        TKCurveEyedropper* record = &records_->eyedroppers.emplace_back();
        TKInitCurveEyedropper(record, point.kind, point.name);
        auto* eyedropper =
            new UIEyedropperWin(session_, &record->eyedropper,
                                QString::fromLatin1(page_.prefix) + u'_' + QString::fromLatin1(point.name), group);
        if (!eyedropper->followsRecord() && *error == bpNoErr) *error = bpMemFullErr;
        AttachToolTip(eyedropper, kTKToolTipBase, record->toolTip);
        eyedropper->setGeometry(x, 0, UIEyedropperWin::kSize, UIEyedropperWin::kSize);
        x += UIEyedropperWin::kSize + 8;
    }
    return group;
}

QWidget* ToolPageWin::makeHueWheel(const TKControlRow& row, const QString& name, BPStatus* error)
{
    HueOffsetVars* wheel = &records_->wheels.emplace_back();
    const uint32_t triple = page_.blockOffset + row.bind.offset;
    const BPStatus err = TKCreateHueOffset(
        session_, wheel, row.bind.label, row.bind.objectName, triple + TK_FLOAT_FIELD(OCHueOffsetTriple, tintangle),
        triple + TK_FLOAT_FIELD(OCHueOffsetTriple, strength), TKRowSection(page_, row));
    if (*error == bpNoErr) *error = err;
    TKChainSlider(&records_->chain, &wheel->hueSlider);
    TKChainSlider(&records_->chain, &wheel->strengthSlider);
    return new UIHueOffsetWin(session_, wheel, name, content_);
}

QWidget* ToolPageWin::makeCurve(const TKControlRow& row, const QString& name)
{
    CurveVars* curve = &records_->curves.emplace_back();
    TKCreateCurve(session_, curve, row.bind.label, row.bind.objectName, TKRowSection(page_, row));
    curve->displayFormat = colorFormat_;
    return new UICurveWin(session_, curve, name, content_);
}

QWidget* ToolPageWin::makeLevels(const TKControlRow& row, const QString& name)
{
    LevelsVars* vars = &records_->levels.emplace_back();
    InitLevels(vars, &session_->liveSettings, page_.blockOffset + row.bind.offset, static_cast<uint32_t>(row.channel),
               TKRowSection(page_, row), row.bind.objectName);
    return new UILevelsWin(session_, vars, name, content_);
}

QWidget* ToolPageWin::makeLumaRange(const TKControlRow& row, const QString& name)
{
    LumaRangeVars* vars = &records_->lumaRanges.emplace_back();
    InitLumaRange(vars, &session_->liveSettings, page_.blockOffset + row.bind.offset, TKRowSection(page_, row),
                  row.bind.objectName);
    return new UILumaRangeWin(session_, vars, name, content_);
}

void ToolPageWin::updateFrom(const OCSettings* settings, uint32_t toolMask, uint32_t curveMask,
                             const OCSettings* previous, bool force)
{
    for (size_t i = 0; i < controls_.size(); ++i) {
        const TKControlRow& row = page_.rows[i];
        if (!TKGroupIsSelected(TKRowSection(page_, row), toolMask, curveMask)) continue;
        const uint32_t offset = page_.blockOffset + row.bind.offset;
        const auto differs = [&](size_t byteCount) {
            return !previous || force || TKFieldsDiffer(settings, previous, offset, byteCount);
        };
        switch (row.kind) {
        case tkRowHueWheel:
            TKUpdateHueOffset(static_cast<UIHueOffsetWin*>(controls_[i])->vars(), settings, previous, force);
            break;
        case tkRowCurve:
            TKUpdateCurve(static_cast<UICurveWin*>(controls_[i])->vars(), settings, previous, force);
            break;
        case tkRowLevels:
            if (differs(sizeof(OCLevelsBlock))) static_cast<UILevelsWin*>(controls_[i])->updateFrom(settings);
            break;
        case tkRowLumaRange:
            if (differs(sizeof(OCLumaRangeBlock))) static_cast<UILumaRangeWin*>(controls_[i])->updateFrom(settings);
            break;
        case tkRowSlider: // these show the live settings of their own accord
        case tkRowCheckbox:
        case tkRowPopup:
        case tkRowColorSample:
        case tkRowEyedroppers:
        case tkRowButton: break;
        }
    }
}

void ToolPageWin::settle()
{
    for (HueOffsetVars& wheel : records_->wheels) TKSettleHueOffset(session_, &wheel);
    for (CurveVars& curve : records_->curves) TKSettleCurve(session_, &curve);
    for (LevelsVars& levels : records_->levels) (void)FlushLevels(session_, &levels);
    for (LumaRangeVars& lumaRange : records_->lumaRanges) (void)FlushLumaRange(session_, &lumaRange);
}

void ToolPageWin::picturesChanged()
{
    for (QWidget* control : controls_)
        if (auto* levels = dynamic_cast<UILevelsWin*>(control)) levels->sourceChanged();
}

void ToolPageWin::place(const QRect& rect, TKCorner corner)
{
    const bool isSame = corner.width == corner_.width && corner.height == corner_.height && rect.size() == size();
    corner_ = corner;
    setGeometry(rect);
    if (corner.width > 0 && corner.height > 0)
        setMask(QRegion(QRect(QPoint(0, 0), rect.size())) -
                QRect(rect.width() - corner.width, 0, corner.width, corner.height));
    else
        clearMask();
    if (!isSame) layOut();
}

void ToolPageWin::layOut()
{
    TKPageLayout layout = TKLayOutPage(page_, width(), height(), corner_);
    if (!layout.fits) layout = TKLayOutPage(page_, width() - verticalScrollBar()->sizeHint().width(), height());
    for (size_t i = 0; i < controls_.size(); ++i) {
        if (!controls_[i]) continue;
        const TKPlace& place = layout.places[i];
        controls_[i]->setGeometry(place.x, place.y, place.width, place.height);
    }
    content_->resize(layout.width, layout.height);
}

void ToolPageWin::resizeEvent(QResizeEvent* event)
{
    QScrollArea::resizeEvent(event);
    layOut();
}

void ToolPageWin::mousePressEvent(QMouseEvent*)
{
    (void)CommitOpenEdit(session_, true);
}
