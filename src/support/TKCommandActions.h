// The functions of the command table. Only the table and its tests call them; everybody else calls DoMenuCommand.
#pragma once

#include "src/support/TKCommands.h"

void TKRunNothing(TKSession* session, const TKCommandSource* source);
void TKRunResetPane(TKSession* session, const TKCommandSource* source);
void TKRunResetGroup(TKSession* session, const TKCommandSource* source);
void TKRunResetAll(TKSession* session, const TKCommandSource* source);
void TKRunViewSingle(TKSession* session, const TKCommandSource* source);
void TKRunViewNormal(TKSession* session, const TKCommandSource* source);
void TKRunUsersGuide(TKSession* session, const TKCommandSource* source);
void TKRunKnowledgeBase(TKSession* session, const TKCommandSource* source);
void TKRunOK(TKSession* session, const TKCommandSource* source);
void TKRunCancel(TKSession* session, const TKCommandSource* source);
void TKRunExit(TKSession* session, const TKCommandSource* source);
void TKRunUndo(TKSession* session, const TKCommandSource* source);
void TKRunRedo(TKSession* session, const TKCommandSource* source);
void TKRunCopy(TKSession* session, const TKCommandSource* source);
void TKRunPaste(TKSession* session, const TKCommandSource* source);
void TKRunLoadSettings(TKSession* session, const TKCommandSource* source);
void TKRunSaveSettings(TKSession* session, const TKCommandSource* source);
void TKRunSaveUserPreset(TKSession* session, const TKCommandSource* source);
void TKRunLoadCDL(TKSession* session, const TKCommandSource* source);
void TKRunSaveCDL(TKSession* session, const TKCommandSource* source);
void TKRunAutoExposure(TKSession* session, const TKCommandSource* source);
void TKRunAutoColor(TKSession* session, const TKCommandSource* source);
void TKRunAbout(TKSession* session, const TKCommandSource* source);
