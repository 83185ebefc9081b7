// The command line of ochrine-host.
#pragma once

#include "host/ClipSource.h"

/// Exit codes of the program.
enum HostExit : int {
    hostDone = 0,            ///< rendered, cancelled, or nothing was to be done
    hostUsage = 1,           ///< a wrong command line
    hostNoClip = 2,          ///< the clip or the grade cannot be read
    hostNoApplication = 3,   ///< no application could be started
    hostRefused = 4,         ///< the application could not take the data
    hostApplicationDied = 5, ///< it ended without OK or Cancel
    hostTimeout = 6,         ///< it did not attach in time
    hostNoOutput = 7,        ///< the grade or the graded clip cannot be written
    hostBusy = 8,            ///< another host has the block
    hostInterrupted = 130,
};

/// Ways to break the protocol on purpose, for tests of the application.
enum class Misbehave {
    none,
    // The block as the application finds it.
    version6,       ///< the block has version 6
    wrongSignature, ///< another signature
    swapped,        ///< version and signature are of the other byte order
    lateHeader,     ///< version and signature come 30 ms after the application has mapped the block
    tooLateHeader,  ///< 200 ms after it
    shortObject,    ///< the block has 4,096 bytes
    wrongSizes,     ///< frame size and row bytes lie beyond the block
    clips250,       ///< clipCount says 250
    clipsNegative,  ///< clipCount says -1
    noProcess,      ///< the host gives no process id
    noGrade,        ///< the settings carry no signature
    staleBlock,     ///< finds the block of a dead host
    // Frames.
    dieChunks,     ///< ends after the first chunk; wants --chunk-rows
    status11,      ///< every request is refused
    diePending,    ///< ends at once while a request waits
    neverAnswer,   ///< lets a request wait, and ends after a second
    lateAnswer,    ///< answers after two seconds
    wrongWord,     ///< a message with data word 8 comes before each frame
    twoFrames,     ///< a black frame comes before each frame
    shortFrame,    ///< each frame lacks its last row
    longFrame,     ///< each frame has a row too many
    strangeStatus, ///< values without a meaning are stored before each answer
    // The middle of a session, half a second after the application is up.
    unlinkBlock,   ///< removes the block
    truncateBlock, ///< cuts the block to nothing
    dieIdle,       ///< ends at once
};

struct HostOptions {
    std::string clip;   ///< empty: the sample scene
    std::string output; ///< empty: NAME_graded.mov in outFolder
    std::string outFolder = ".";
    std::string grade;       ///< file to start with
    std::string application; ///< empty: found
    std::string makeSample;  ///< movie to write instead of a session
    uint32_t chunkRows = 0;
    uint32_t timeoutSeconds = 30;
    uint32_t sessions = 1;
    bool serve = false;    ///< sessions until standard input says enough
    bool noRender = false; ///< the grade only
    int threads = 0;
    ClipRate rate = {25, 1};
    bool renderOnly = false, alwaysRender = false, isVerbose = false;
    bool showHelp = false, showVersion = false;
    Misbehave misbehave = Misbehave::none;
};

/// Reads the arguments behind the program's name. error receives one sentence when false is returned.
bool ParseHostOptions(int count, const char* const* arguments, HostOptions* options, std::string* error);

/// The text of --help.
extern const char kHostHelp[];
