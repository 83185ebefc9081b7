// What the tests of recovery share: a clip with a name, a change of its grade, and a process that is killed.
#pragma once

#include "tests/support/TKTestSession.h"

#include <cstring>

class TKRecoveryTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        windows_.onBuild = [this](TKSession*) { MakeSliders(); };
    }

    void MakeHost(float gain = 1)
    {
        host_.Make();
        std::strcpy(host_.Block()->clipList[0].path, "/clips/a.mov");
        host_.Block()->clipCount = 1;
        host_.Block()->settings.hsl.master.gain = gain;
    }

    void Begin(float gain = 1)
    {
        MakeHost(gain);
        ASSERT_EQ(TKStartUp(session_), tkStartRun);
        TKTick(session_);
    }

    /// A drag to the gain and the release of the button.
    void Grade(double gain)
    {
        (void)TKSliderDrag(session_, &gain_, static_cast<int32_t>(gain * 65536));
        session_->controls.lastTouched = nullptr;
        TKTick(session_);
    }

    /// The process is killed: what it held is released by the system, and a new one stands there.
    void Die()
    {
        const auto files = gBPFake.stateFiles;
        TKDisposeSession(session_);
        session_ = nullptr;
        gBPFake.channelName.clear();
        gBPFake.blocks.clear();
        const TKTestHost host = host_;
        BPFakeReset();
        SetUp();
        host_ = host;
        gBPFake.stateFiles = files;
    }

    uint32_t Status() const { return host_.Block()->status; }

    std::string JournalName()
    {
        TKJournalClip clip;
        MakeHost();
        TKJournalClipOf(host_.Block(), &clip);
        gBPFake.blocks.clear();
        char name[64];
        TKJournalName(clip, name, sizeof name);
        return name;
    }

    /// Gain of the newest record, or -1.
    static float JournalGain()
    {
        if (gBPFake.stateFiles.size() != 1) return -1;
        const std::vector<uint8_t>& bytes = gBPFake.stateFiles.begin()->second;
        TKJournalHeader header;
        TKJournalContent content;
        if (bytes.size() < sizeof header) return -1;
        std::memcpy(&header, bytes.data(), sizeof header);
        if (TKJournalRead(bytes.data(), bytes.size(), header.clip, &content) != bpNoErr) return -1;
        return content.settings.hsl.master.gain;
    }
};
