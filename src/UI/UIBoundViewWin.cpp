// Tool tips of controls.
#include "src/UI/UIBoundViewWin.h"

void AttachToolTip(QWidget* control, uint32_t base, uint32_t index)
{
    const char* text = TKToolTipText(base, index);
    control->setToolTip(text ? QString::fromUtf8(text) : QString());
}
