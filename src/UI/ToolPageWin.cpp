// A page and the making of its controls.
#include "src/UI/ToolPageWin.h"

#include "src/UI/UISliderWin.h"
#include "src/support/TKCommands.h"

#include <QScrollBar>
#include <deque>

struct ToolPageRecords {
    TKTabChain chain; ///< of the page's sliders
    std::deque<TKSlider> sliders;
};

ToolPageWin::ToolPageWin(TKSession* session, const TKPageRow& page, QWidget* parent, BPStatus* error)
    : QScrollArea(parent), session_(session), page_(page), content_(new QWidget),
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
    delete takeWidget(); // the controls go before their records
}

QWidget* ToolPageWin::makeControl(const TKControlRow& row, const QString& name, BPStatus* error)
{
    switch (row.kind) {
    case tkRowSlider: return makeSlider(row, name, error);
    case tkRowButton: return makeButton(row, name);
    case tkRowCheckbox:
    case tkRowPopup:
    case tkRowColorSample:
    case tkRowHueWheel:
    case tkRowCurve:
    case tkRowLevels:
    case tkRowLumaRange:
    case tkRowEyedroppers: return nullptr; // its widget comes with its tool
    }
    return nullptr;
}

QWidget* ToolPageWin::makeSlider(const TKControlRow& row, const QString& name, BPStatus* error)
{
    TKSlider* slider = &records_->sliders.emplace_back();
    TKInitSlider(slider, row.bind, &session_->liveSettings, page_.blockOffset, &session_->defaultSettings,
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

void ToolPageWin::updateFrom(const OCSettings*, uint32_t, uint32_t, const OCSettings*, bool) {}

TKPageLayout ToolPageWin::layoutIn(QSize area) const
{
    return TKLayOutPage(page_, area.width(), area.height());
}

void ToolPageWin::layOut()
{
    TKPageLayout layout = layoutIn(size());
    if (!layout.fits) layout = layoutIn(size() - QSize(verticalScrollBar()->sizeHint().width(), 0));
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
