// The session's initial state and its end.
#include "src/support/TKSession.h"

#include "src/platform/BPMemory.h"
#include "src/support/TKHueWheelImage.h"

#include <new>

BPStatus TKCreateSession(const BPPlatform* platform, const TKUserInterface* ui, TKSession** session)
{
    *session = nullptr;
    void* memory = BPAllocate(sizeof(TKSession));
    if (!memory) return bpMemFullErr;
    auto* made = new (memory) TKSession{};
    made->platform = platform;
    if (ui) made->ui = *ui;
    if (BPStatus err = OCCreateEngine(&made->engine); err != bpNoErr) {
        BPFree(memory);
        return err;
    }
    PrefsSetDefaults(&made->prefs, *platform);
    OCResetSettings(&made->liveSettings, kOCResetAll, kOCResetAll, PrefsResetDefaults(made->prefs));
    made->defaultSettings = made->liveSettings;
    made->pixelAspect = 1;
    made->taskCount = 1;
    made->imagePaneMode = -1;
    made->settingsTab = -1;
    made->viewMode = tkViewNormal;
    TKInitViews(&made->views);
    *session = made;
    return bpNoErr;
}

void TKDisposeSession(TKSession* session)
{
    if (!session) return;
    const BPPlatform& platform = *session->platform;
    MPDisposeTasks(session->tasks ? session->taskCount : 0, &session->tasks);
    if (session->frameChannel.handle != 0) platform.frameChannel.close(&session->frameChannel);
    if (session->commBlock.address) platform.sharedMemory.close(&session->commBlock);
    if (session->uiBlock.address) platform.sharedMemory.close(&session->uiBlock);
    platform.stateFile.close(&session->recovery.file);
    if (session->hostWatch.handle != 0) platform.process.unwatch(&session->hostWatch);
    for (ScopeSurface* surface :
         {&session->resultSurface, &session->splitSurface, &session->splitMask, &session->secondarySurface,
          &session->sourceSurface, &session->views.referenceSurface})
        ScopeSurfaceDispose(surface);
    TKForgetWheelImage(session);
    for (FBFrame* frame : {session->sourceFrame, session->resultFrame, session->comparisonFrame})
        if (frame) FBDisposeFrameBuffer(frame);
    BPFree(session->receivedFrame);
    OCDisposeImageTransfer(&session->imageTransfer);
    UndoDispose(session->undoRing);
    OCDisposeStageCache(&session->stageCache);
    OCDisposeEngine(session->engine);
    BPFree(session);
}
