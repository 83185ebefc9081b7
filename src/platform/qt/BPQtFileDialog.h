// File dialogs by way of Qt.
#pragma once

#include "src/platform/BPFileDialog.h"

void BPFillQtFileDialog(BPFileDialogOps* fileDialog);
