/* Ochrine for hosts: the shared block, and a small library that runs a session through it.
 *
 * A host hands one frame of a clip and a grade to Ochrine, and gets the changed grade back. All traffic goes through one
 * block of shared memory whose `status` word says whose turn it is; further frames travel over a local socket. The
 * whole protocol is told in docs/host-protocol.md. This header stands alone: it compiles as C11 and as C++, and a host
 * that wants no library may use the layout below and nothing else.
 *
 * A session with the library (ochrine_hostlib):
 *
 *     OchrineHost* host;
 *     OchrineHostOpen(pixelBytes, &host);              makes the block, with version, signature and process id
 *     OchrineBlock* block = OchrineHostBlock(host);    write timing, hostApp, clips and grade into it
 *     OchrineHostPublish(host, &frame, 0);             puts the frame in and stores status 1
 *     ... start the application, or find it with OchrineFindResident ...
 *     OchrineHostWatch(host, processId);
 *     for (;;) { OchrineHostStep(host, &event); ... }  every 5 ms or so; answers in OchrineHostAnswer
 *     OchrineHostReadGrade(host, grade);               after ochrineEventDone
 *     OchrineHostClose(host);
 *
 * Nothing that the application writes is trusted: times are clamped, names are checked, sizes come from the library's
 * own copies, and an application that dies or stalls ends as an event. All functions belong to one thread a session.
 */
#ifndef OCHRINE_HOST_H
#define OCHRINE_HOST_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#define OCHRINE_ASSERT static_assert
#else
#define OCHRINE_ASSERT _Static_assert
#endif

/* ------------------------------------------------------------------------------------------------ names and numbers */

#define kOchrineBlockName "Ochrine3CommBlock"  /* made and removed by the host */
#define kOchrineResidentName "Ochrine2UIBlock" /* made by the application: OchrineResidentBlock */
#define kOchrineVersion 7u                     /* OchrineBlock.version */
#define kOchrineSignature 0x4F436333u          /* OchrineBlock.signature: OCc3 */
#define kOchrineGradeSignature 0x12343210u     /* first word of a grade */
#define kOchrineGradeBytes 33556u
#define kOchrineGradeWords 8389u
#define kOchrineBlockBytes 86628u /* the least size of the object */
#define kOchrinePixelOffset 86624u
#define kOchrineClipLimit 200u
#define kOchrineFrameWord 9u /* data word of a frame that is sent on request */

/* Bits of pixelFlags. Without either the application takes no frame from another process. Chunked wins over inline. */
enum {
    kTKUIFlagPixelsInline = 1, /* the whole frame lies at `pixels` */
    kTKUIFlagPixelsChunked = 2 /* the frame comes in pieces of whole rows through `pixels` */
};

/* Values of `status`. Each side stores it last, with release order, and reads it with acquire order. */
enum {
    kTKUIStatusDataReady = 1,     /* host: a new frame and grade are in the block */
    kTKUIStatusUIFailed = 2,      /* application: the data could not be taken; it is detached */
    kTKUIStatusUIRunning = 3,     /* application: attached and idle */
    kTKUIStatusUIDone = 4,        /* application: OK or Cancel; `settings` says which. It has closed the block */
    kTKUIStatusChunkConsumed = 5, /* application: the chunk at `pixels` is taken */
    kTKUIStatusChunkReady = 6,    /* host: the next chunk lies at `pixels` */
    kTKUIStatusRequestFrame = 9,  /* application: send the frame at `frameTime` */
    kTKUIStatusRequestFailed = 11 /* host: the request cannot be served */
};

/* Pixel formats a host is likely to hand over. "Word" is a 32-bit little-endian number. */
enum {
    ochrinePixFormatARGB8 = 32,         /* word A R G B from the top: in memory blue, green, red, alpha */
    ochrinePixFormatARGB16_32K = 200,   /* uint16 A, R, G, B; 32768 is white */
    ochrinePixFormatYRGB32_Float = 201, /* float alpha, R, G, B */
    ochrinePixFormatRGBA32_Float = 202, /* float R, G, B, A; 1.0 is white, values beyond survive */
    ochrinePixFormatVUYA8 = 207,        /* word A Y Cb Cr from the top, video range */
    ochrinePixFormatBGRY32_Float = 215, /* float B, G, R, alpha */
    ochrinePixFormatBGRA8 = 0x42475241  /* word B G R A from the top: in memory alpha, red, green, blue */
};

/* Values of timeDisplayFormat. */
enum { ochrineTimecode = 1, ochrineFrames = 2, ochrineFeetAndFrames = 3 };

/* -------------------------------------------------------------------------------------------------------- the block */

typedef struct OchrineClip {
    char path[260]; /* NUL-terminated; an empty path is skipped */
    uint32_t reserved;
} OchrineClip;

typedef struct OchrinePixelAdjust {
    uint32_t adjustMode; /* bit 31 switches the adjustment on */
    uint32_t adjustBlack, adjustWhite;
    float adjustGamma;
    uint32_t reserved[4];
} OchrinePixelAdjust;

/* All numbers are in the machine's byte order. Reserved fields are the host's to use; leave them 0. */
typedef struct OchrineBlock {
    uint32_t version;    /* kOchrineVersion */
    uint32_t signature;  /* kOchrineSignature */
    uint32_t pixelFlags; /* kTKUIFlag… */
    uint32_t status;     /* kTKUIStatus…; only through OchrineLoadStatus and OchrineStoreStatus */
    uint32_t reserved16, reserved20, reserved24;
    uint8_t timeDisplayFormat; /* ochrineTimecode…; 0 gives none: timecode, with dropFrameMode taken as 0 */
    uint8_t framesPerFoot;     /* for feet and frames */
    uint8_t dropFrameMode;     /* 0 drop-frame, 1 non-drop */
    uint8_t reserved31;
    uint16_t frameRate100; /* frames a second times 100: 2997 for 30000/1001 */
    uint16_t startFrame;   /* added to a frame number before it is shown as frames or feet */
    uint8_t reserved36[12];
    OchrineClip clipList[kOchrineClipLimit]; /* clips for the gallery */
    int32_t clipCount;                       /* used records, 0 to 200 */
    uint32_t reserved52852, reserved52856;
    uint32_t frameWidth;    /* pixels */
    uint32_t frameHeight;   /* rows */
    uint32_t frameRowBytes; /* between the starts of two rows; not 0 */
    int32_t frameTime;      /* position in the clip, 0 to frameTimeMax; the application writes it */
    int32_t frameStep;      /* duration of one frame in the same unit, above 0 */
    int32_t frameTimeMax;   /* last valid frameTime */
    uint32_t reserved52884;
    uint32_t framePixelFormat; /* ochrinePixFormat… */
    uint32_t reserved52892;
    uint32_t chunkBytes;    /* size of the chunk at `pixels`, whole rows */
    int32_t bytesRemaining; /* bytes of the frame that come after this chunk */
    uint32_t reserved52904, reserved52908;
    float pixelAspect;        /* width of a pixel by its height */
    uint32_t hostProcessHigh; /* 0 here */
    uint32_t hostProcessID;   /* of the host; 0 means no frame requests and no resident application */
    uint32_t reserved52924;
    char hostApp[4]; /* four characters that name the host, no NUL */
    uint8_t reserved52932[12];
    char commWindowName[64]; /* the application's frame channel; the application writes it */
    OchrinePixelAdjust hostPixelAdjust;
    uint32_t reserved53040;
    uint32_t settings[kOchrineGradeWords]; /* the grade, in and out; any other first word asks for a fresh grade */
    uint8_t reserved86600[24];
    uint8_t pixels[4]; /* the first of as many bytes as the object holds */
} OchrineBlock;

typedef struct OchrineResidentBlock {
    uint32_t handle;    /* the application's own */
    uint32_t processId; /* of the application */
} OchrineResidentBlock;

#define OCHRINE_AT(field, position) OCHRINE_ASSERT(offsetof(OchrineBlock, field) == (position), "offset of " #field)
OCHRINE_AT(version, 0);
OCHRINE_AT(signature, 4);
OCHRINE_AT(pixelFlags, 8);
OCHRINE_AT(status, 12);
OCHRINE_AT(timeDisplayFormat, 28);
OCHRINE_AT(framesPerFoot, 29);
OCHRINE_AT(dropFrameMode, 30);
OCHRINE_AT(frameRate100, 32);
OCHRINE_AT(startFrame, 34);
OCHRINE_AT(clipList, 48);
OCHRINE_AT(clipList[1], 312);
OCHRINE_AT(clipCount, 52848);
OCHRINE_AT(frameWidth, 52860);
OCHRINE_AT(frameHeight, 52864);
OCHRINE_AT(frameRowBytes, 52868);
OCHRINE_AT(frameTime, 52872);
OCHRINE_AT(frameStep, 52876);
OCHRINE_AT(frameTimeMax, 52880);
OCHRINE_AT(framePixelFormat, 52888);
OCHRINE_AT(chunkBytes, 52896);
OCHRINE_AT(bytesRemaining, 52900);
OCHRINE_AT(pixelAspect, 52912);
OCHRINE_AT(hostProcessHigh, 52916);
OCHRINE_AT(hostProcessID, 52920);
OCHRINE_AT(hostApp, 52928);
OCHRINE_AT(commWindowName, 52944);
OCHRINE_AT(hostPixelAdjust, 53008);
OCHRINE_AT(hostPixelAdjust.adjustGamma, 53020);
OCHRINE_AT(reserved53040, 53040);
OCHRINE_AT(settings, 53044);
OCHRINE_AT(reserved86600, 86600);
OCHRINE_AT(pixels, 86624);
#undef OCHRINE_AT
OCHRINE_ASSERT(sizeof(OchrineClip) == 264, "a clip record has 264 bytes");
OCHRINE_ASSERT(sizeof(OchrineBlock) == kOchrineBlockBytes, "the block has 86,628 bytes");
OCHRINE_ASSERT(sizeof(((OchrineBlock*)0)->settings) == kOchrineGradeBytes, "a grade has 33,556 bytes");
OCHRINE_ASSERT(sizeof(OchrineResidentBlock) == 8, "the resident block has 8 bytes");

/* Reads `status`; everything that the application wrote before it is visible afterwards. */
static inline uint32_t OchrineLoadStatus(const OchrineBlock* block)
{
    return __atomic_load_n(&block->status, __ATOMIC_ACQUIRE);
}

/* Stores `status`; everything written before it is visible to whoever reads the new value. */
static inline void OchrineStoreStatus(OchrineBlock* block, uint32_t status)
{
    __atomic_store_n(&block->status, status, __ATOMIC_RELEASE);
}

/* ------------------------------------------------------------------------------------------------------ the library */

/* Results. The first error travels up unchanged. */
typedef int16_t OchrineResult;
enum {
    ochrineOk = 0,
    ochrineNotFoundErr = -43, /* no such application, channel or process */
    ochrineExistsErr = -48,   /* another host that lives has the block */
    ochrineParamErr = -50,
    ochrineMemFullErr = -108,
    ochrineNoGradeErr = -2041 /* the block holds no grade: its signature is wrong */
};

/* A session: the block and what the library remembers. */
typedef struct OchrineHost OchrineHost;

/* A frame in memory. Rows lie rowBytes apart, the last one counts whole: rowBytes * height bytes are read. */
typedef struct OchrineFrame {
    uint32_t width, height;
    uint32_t rowBytes;
    uint32_t pixelFormat; /* ochrinePixFormat… */
    const void* pixels;
} OchrineFrame;

typedef enum OchrineEventKind {
    ochrineEventNone,        /* nothing to do; call again in some milliseconds */
    ochrineEventAttached,    /* once: the application is attached, and has all chunks of a chunked frame */
    ochrineEventFrameWanted, /* answer or refuse the frame at frameTime; repeated until you do */
    ochrineEventDone,        /* OK or Cancel; read the grade */
    ochrineEventFailed,      /* the application could not take the data and let go */
    ochrineEventDied         /* the application ended without a word; `status` tells in which state */
} OchrineEventKind;

typedef struct OchrineEvent {
    OchrineEventKind kind;
    int32_t frameTime;   /* wanted: clamped to 0 and the frameTimeMax that was published */
    int32_t frameNumber; /* wanted: frameTime / frameStep */
    uint32_t status;     /* the status word that the event rests on */
} OchrineEvent;

/* Makes the block with room for pixelBytes bytes of pixels, writes version, signature and this process's id into it and
 * leaves status 0, which no application takes.
 *
 * A block whose host is dead is replaced, as is one that nobody finished within 100 ms; the block of a live host is
 * refused with ochrineExistsErr, as is one without a process id, whose host nobody can watch.
 *
 * host   receives the session, to be closed by the caller; null after a failure */
OchrineResult OchrineHostOpen(uint64_t pixelBytes, OchrineHost** host);

/* Removes the block and everything that belongs to the session. Null is allowed. Not for signal handlers: set a flag
 * there and close from the loop. */
void OchrineHostClose(OchrineHost* host);

/* The block, for the fields that the library does not fill: timing, pixelAspect, hostApp, clips, settings,
 * hostPixelAdjust. Valid until OchrineHostClose. Write only before OchrineHostPublish. */
OchrineBlock* OchrineHostBlock(OchrineHost* host);

/* Puts a frame into the block and stores status 1 last: from now on it is the application's turn.
 *
 * chunkRows   0: the whole frame inline. Otherwise the frame goes over in pieces of so many rows (at most the rows that
 *             are left); then frame->pixels must stay as they are until the application has attached
 *
 * ochrineParamErr for a frame without pixels, a row shorter than width bytes, more than 2^31 - 1 bytes or more than the
 * room given to OchrineHostOpen, or for a frameStep below 1 or a negative frameTimeMax in the block. */
OchrineResult OchrineHostPublish(OchrineHost* host, const OchrineFrame* frame, uint32_t chunkRows);

/* Watches the application's process, so that its end becomes an event. Replaces an earlier watch,
 * and takes a session up again whose application died before it attached. ochrineNotFoundErr when there is no such process. */
OchrineResult OchrineHostWatch(OchrineHost* host, uint32_t processId);

/* One step of the session: looks at the process, then at `status`, hands on the next chunk when one is wanted, and says
 * what happened. Never waits. A finished session (done, failed, died) reports the same event again. */
void OchrineHostStep(OchrineHost* host, OchrineEvent* event);

/* Sends the frame that was wanted: byteCount must be rowBytes * height of the published frame, in its format. The bytes
 * are copied. A channel that nobody listens to, or that fails, refuses the request with 11 and returns the error. The
 * request is over when the application lets go of the connection; OchrineHostStep sees to that, and refuses in your
 * place when the application does not take the frame within five seconds. */
OchrineResult OchrineHostAnswer(OchrineHost* host, const void* pixels, uint32_t byteCount);

/* Refuses the wanted frame with status 11. Does nothing when the application waits no longer. */
void OchrineHostRefuse(OchrineHost* host);

/* Copies the grade out of the block: kOchrineGradeBytes bytes. ochrineNoGradeErr when its signature is wrong. After a
 * Cancel it is what you wrote, byte for byte: compare. */
OchrineResult OchrineHostReadGrade(const OchrineHost* host, void* grade);

/* Finds an application that already runs, and that lives, by the block with which it announces itself.
 * ochrineNotFoundErr when there is none. */
OchrineResult OchrineFindResident(uint32_t* processId);

#ifdef __cplusplus
}
#endif
#endif
