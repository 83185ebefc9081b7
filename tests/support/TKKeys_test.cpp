// Accelerators, the keys of transport and slots, and the letters that select panes.
#include "tests/support/TKTestSession.h"

namespace {

class TKKeysTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        Attach();
        MakeSliders();
        host_.serve = [](TKTestHost* host) { host->SendFrames(); };
        windows_.calls.clear();
    }
    int32_t Time() const { return host_.Block()->frameTime; }
};

TEST_F(TKKeysTest, AcceleratorsWantTheirModifiersExactly)
{
    constexpr uint32_t all = bpShiftKey | bpControlKey | bpAltKey;
    EXPECT_EQ(TKAcceleratorCommand('Q', bpControlKey), 59003u);
    EXPECT_EQ(TKAcceleratorCommand('Z', bpControlKey), 59004u);
    EXPECT_EQ(TKAcceleratorCommand('Z', bpControlKey | bpCapsLock), 59004u);
    EXPECT_EQ(TKAcceleratorCommand('Z', bpControlKey | bpShiftKey), 59005u);
    EXPECT_EQ(TKAcceleratorCommand('Z', 0), 0u);
    EXPECT_EQ(TKAcceleratorCommand('Z', all), 0u);
    EXPECT_EQ(TKAcceleratorCommand('X', bpControlKey), 59006u);
    EXPECT_EQ(TKAcceleratorCommand('C', bpControlKey), 59007u);
    EXPECT_EQ(TKAcceleratorCommand('V', bpControlKey), 59008u);
    EXPECT_EQ(TKAcceleratorCommand('R', all), 13201u);
    EXPECT_EQ(TKAcceleratorCommand('L', all), 13202u);
    EXPECT_EQ(TKAcceleratorCommand('S', all), 13203u);
    EXPECT_EQ(TKAcceleratorCommand('P', all), 13204u);
    EXPECT_EQ(TKAcceleratorCommand('R', bpControlKey | bpAltKey), 13304u);
    EXPECT_EQ(TKAcceleratorCommand('1', bpControlKey), 13101u);
    EXPECT_EQ(TKAcceleratorCommand('2', bpControlKey), 13102u);
    EXPECT_EQ(TKAcceleratorCommand(kTKKeyF1, 0), 13601u);
    EXPECT_EQ(TKAccelerators().size(), 14u);
}

TEST_F(TKKeysTest, TransportKeysWorkWithoutModifiersOnly)
{
    EXPECT_TRUE(TKKeyDown(session_, kTKKeyRight, 0));
    EXPECT_EQ(Time(), 100);
    EXPECT_TRUE(TKKeyDown(session_, kTKKeyRight, bpCapsLock));
    EXPECT_EQ(Time(), 200);
    EXPECT_TRUE(TKKeyDown(session_, kTKKeyLeft, 0));
    EXPECT_EQ(Time(), 100);
    EXPECT_TRUE(TKKeyDown(session_, kTKKeyEnd, 0));
    EXPECT_EQ(Time(), 900);
    EXPECT_TRUE(TKKeyDown(session_, kTKKeyHome, 0));
    EXPECT_EQ(Time(), 0);
    EXPECT_FALSE(TKKeyDown(session_, kTKKeySpace, 0)); // carried out, but it goes on
    EXPECT_TRUE(TKIsPlaying(session_));
    EXPECT_FALSE(TKKeyDown(session_, kTKKeySpace, 0));
    EXPECT_FALSE(TKIsPlaying(session_));
    for (const uint32_t modifier : {uint32_t{bpShiftKey}, uint32_t{bpAltKey}, uint32_t{bpControlKey}})
        for (const uint32_t key : {kTKKeySpace, kTKKeyEnd, kTKKeyHome, kTKKeyLeft, kTKKeyRight}) {
            EXPECT_FALSE(TKKeyDown(session_, key, modifier));
            EXPECT_EQ(Time(), 0);
            EXPECT_FALSE(TKIsPlaying(session_));
        }
}

TEST_F(TKKeysTest, KeysAreLeftAloneWithoutATransportAndInFullScreen)
{
    session_->fullScreenPreview = true;
    EXPECT_FALSE(TKKeyDown(session_, kTKKeyEnd, 0));
    session_->fullScreenPreview = false;
    session_->transport[kTKTransportLeft].visible = false;
    EXPECT_FALSE(TKKeyDown(session_, kTKKeyEnd, 0));
    EXPECT_EQ(host_.Block()->frameTime, 0);
    session_->transport[kTKTransportLeft].visible = true;
    for (const uint32_t key : {0u, 13u, 31u, 33u, 38u, 40u, 65u, 111u, 120u, 0xFFFFFFFFu})
        EXPECT_FALSE(TKKeyDown(session_, key, 0)) << key;
}

TEST_F(TKKeysTest, TheTransportIsTheLastVisibleOfThreePanes)
{
    session_->transport[kTKTransportSingle].visible = true;
    session_->transport[7].visible = true; // none of the panes
    EXPECT_FALSE(TKKeyDown(session_, kTKKeySpace, 0));
    EXPECT_TRUE(session_->transport[kTKTransportSingle].running);
    EXPECT_FALSE(session_->transport[kTKTransportLeft].running);
    EXPECT_FALSE(session_->transport[7].running);
    for (TKTransport& transport : session_->transport) transport = {};
    session_->transport[7].visible = true;
    EXPECT_FALSE(TKKeyDown(session_, kTKKeyEnd, 0));
    EXPECT_EQ(Time(), 0);
}

TEST_F(TKKeysTest, AnOpenEditKeepsTheKeysThatMoveInIt)
{
    OpenEdit(session_, &gain_);
    for (const uint32_t key : {kTKKeyRight, kTKKeyLeft, kTKKeyHome, kTKKeyEnd})
        EXPECT_FALSE(TKKeyDown(session_, key, 0)) << key;
    EXPECT_EQ(Time(), 0);
    EXPECT_FALSE(TKKeyDown(session_, kTKKeySpace, 0)); // no character of a number: it plays
    EXPECT_TRUE(TKIsPlaying(session_));
}

TEST_F(TKKeysTest, AControlWithArrowKeysKeepsThemAndATextFieldKeepsSpaceToo)
{
    for (const uint32_t key : {kTKKeyRight, kTKKeyLeft, kTKKeyHome, kTKKeyEnd}) {
        EXPECT_FALSE(TKKeyDown(session_, key, 0, tkFocusArrows)) << key;
        EXPECT_FALSE(TKKeyDown(session_, key, 0, tkFocusText)) << key;
    }
    EXPECT_EQ(Time(), 0);
    EXPECT_FALSE(TKKeyDown(session_, kTKKeySpace, 0, tkFocusText));
    EXPECT_FALSE(TKIsPlaying(session_));
    EXPECT_FALSE(TKKeyDown(session_, kTKKeySpace, 0, tkFocusArrows));
    EXPECT_TRUE(TKIsPlaying(session_));
}

TEST_F(TKKeysTest, EveryKeyFromF1ToF8HasItsSlotEvenInAnOpenEdit)
{
    for (uint32_t slot = 1; slot <= 8; ++slot) {
        OpenEdit(session_, &gain_);
        TKSetEditText(&gain_, std::to_string(slot).c_str());
        EXPECT_TRUE(TKKeyDown(session_, kTKKeyF1 + slot - 1, bpShiftKey));
        EXPECT_EQ(session_->lastSlot, slot);
        EXPECT_EQ(session_->prefs.savedSettings[slot - 1].settings.hsl.master.gain, static_cast<float>(slot));
    }
    for (uint32_t slot = 8; slot >= 1; --slot) {
        EXPECT_TRUE(TKKeyDown(session_, kTKKeyF1 + slot - 1, bpCapsLock)); // caps lock is no held key
        EXPECT_EQ(session_->liveSettings.hsl.master.gain, static_cast<float>(slot));
    }
    EXPECT_EQ(gBPFake.beeps, 0u);
}

TEST_F(TKKeysTest, SlotKeysWithOtherModifiersAreLeftAlone)
{
    for (const uint32_t modifiers : {uint32_t{bpAltKey}, uint32_t{bpControlKey}, bpShiftKey | bpAltKey,
                                     bpShiftKey | bpControlKey, bpShiftKey | bpControlKey | bpAltKey})
        EXPECT_FALSE(TKKeyDown(session_, kTKKeyF1 + 3, modifiers)) << modifiers;
    EXPECT_EQ(session_->prefs.savedSettings[3].used, 0u);
    EXPECT_EQ(gBPFake.beeps, 0u);
}

// Letters ---------------------------------------------------------------------------------------------------------------

struct Letter {
    char character;
    int32_t current;
    const char* call; // null: nothing
};

TEST_F(TKKeysTest, LettersSelectTheTabsOfTheSettings)
{
    constexpr Letter kLetters[] = {
        {'a', 0, "tab 0 0 0"},    {'a', 1, "tab 1 0 -1"},  {'a', 2, "tab 2 0 -1"},  {'a', 3, "tab 3 0 -1"},
        {'a', 4, nullptr},        {'a', 5, "tab 5 0 -1"},  {'a', 6, nullptr},       {'a', 7, nullptr},
        {'a', 8, nullptr},        {'h', 0, "tab 0 0 1"},   {'h', 1, "tab 1 1 -1"},  {'h', 2, "tab 2 1 -1"},
        {'h', 3, "tab 3 1 -1"},   {'h', 5, nullptr},       {'m', 0, "tab 0 0 2"},   {'m', 1, "tab 1 2 -1"},
        {'m', 2, "tab 2 2 -1"},   {'m', 3, "tab 3 2 -1"},  {'m', 5, nullptr},       {'s', 0, "tab 0 0 3"},
        {'s', 1, "tab 1 3 -1"},   {'s', 2, "tab 2 3 -1"},  {'s', 3, "tab 3 3 -1"},  {'s', 5, nullptr},
        {'r', 5, "tab 5 1 -1"},   {'g', 5, "tab 5 2 -1"},  {'b', 5, "tab 5 3 -1"},  {'r', 0, nullptr},
        {'g', 4, nullptr},        {'b', 8, nullptr},       {'u', 4, "tab 0 -1 -1"}, {'w', 8, "tab 0 1 -1"},
        {'p', 0, "tab 1 -1 -1"},  {'t', 0, "tab 2 -1 -1"}, {'y', 7, "tab 3 -1 -1"}, {'c', 0, "tab 4 -1 -1"},
        {'v', 0, "tab 5 -1 -1"},  {'n', 0, "tab 6 -1 -1"}, {'d', 0, "tab 7 -1 -1"}, {'l', 0, "tab 8 -1 -1"},
        {'u', -1, "tab 0 -1 -1"}, {'a', -1, nullptr},      {'z', 0, nullptr},       {'A', 0, nullptr},
    };
    for (const Letter& letter : kLetters) {
        windows_.calls.clear();
        session_->settingsTab = letter.current;
        EXPECT_EQ(TKShortcutKey(session_, static_cast<uint32_t>(letter.character), 0), letter.call != nullptr)
            << letter.character << letter.current;
        const std::vector<std::string> expected =
            letter.call ? std::vector<std::string>{letter.call} : std::vector<std::string>{};
        EXPECT_EQ(windows_.calls, expected) << letter.character << letter.current;
    }
    EXPECT_EQ(TKSettingsShortcuts().size(), 30u);
}

TEST_F(TKKeysTest, CapitalsWithShiftSelectThePanes)
{
    constexpr Letter kLetters[] = {
        {'R', 0, "right 0"}, {'S', 0, "right 1"}, {'F', 0, "right 2"}, {'I', 0, "right 3"}, {'T', 0, "right 4"},
        {'L', 0, "right 5"}, {'C', 0, "left 0"},  {'E', 0, "left 1"},  {'Q', 0, "left 3"},  {'P', 0, "left 4"},
        {'B', 0, "left 5"},  {'A', 0, "left 6"},  {'M', 0, "left 7"},  {'O', 0, "left 8"},  {'V', 0, "left 9"},
        {'H', 0, "left 10"}, {'N', 0, "left 11"}, {'G', 0, "left 12"},
    };
    for (const Letter& letter : kLetters) {
        windows_.calls.clear();
        EXPECT_TRUE(TKShortcutKey(session_, static_cast<uint32_t>(letter.character), bpShiftKey)) << letter.character;
        EXPECT_EQ(windows_.calls, std::vector<std::string>{letter.call}) << letter.character;
    }
    EXPECT_EQ(TKRightPaneShortcuts().size() + TKLeftPaneShortcuts().size(), std::size(kLetters));
    windows_.calls.clear();
    for (const char character : {'r', 'c', 'D', 'J', 'K', 'U', 'W', 'X', 'Y', 'Z', '1', ' '})
        EXPECT_FALSE(TKShortcutKey(session_, static_cast<uint32_t>(character), bpShiftKey)) << character;
    EXPECT_TRUE(windows_.calls.empty());
}

TEST_F(TKKeysTest, LettersWantTheWholeModifierWord)
{
    session_->settingsTab = 0;
    for (const uint32_t modifiers : {uint32_t{bpCapsLock}, uint32_t{bpAltKey}, uint32_t{bpControlKey},
                                     uint32_t{bpShiftKey}, bpShiftKey | bpCapsLock})
        EXPECT_FALSE(TKShortcutKey(session_, 'u', modifiers)) << modifiers;
    for (const uint32_t modifiers :
         {0u, uint32_t{bpCapsLock}, bpShiftKey | bpCapsLock, bpShiftKey | bpControlKey, bpShiftKey | bpAltKey})
        EXPECT_FALSE(TKShortcutKey(session_, 'R', modifiers)) << modifiers;
    EXPECT_TRUE(windows_.calls.empty());
}

TEST_F(TKKeysTest, LettersAreLeftAloneInTextsAndInFullScreen)
{
    EXPECT_FALSE(TKShortcutKey(session_, 'u', 0, tkFocusText));
    session_->fullScreenPreview = true;
    EXPECT_FALSE(TKShortcutKey(session_, 'u', 0));
    session_->fullScreenPreview = false;
    OpenEdit(session_, &gain_);
    EXPECT_FALSE(TKShortcutKey(session_, 'u', 0));
    EXPECT_FALSE(TKShortcutKey(session_, 'R', bpShiftKey));
    (void)CommitOpenEdit(session_, false);
    EXPECT_TRUE(TKShortcutKey(session_, 'u', 0, tkFocusArrows));
}

} // namespace
