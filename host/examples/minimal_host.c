/* The smallest host: one frame, one session, the grade that comes back. Nothing but the header and POSIX.
 *
 *     minimal_host APPLICATION GRADE-FILE
 *
 * It hands a computed picture of ten frames over, starts the application, answers its requests for other frames, and
 * writes the grade into a file after OK. The folder $XDG_RUNTIME_DIR/ochrine must be private: it is made when missing.
 *
 * Exit codes: 0 a changed grade was written, 1 cancelled, 2 the application could not take the data or died, 3 set-up. */
#define _GNU_SOURCE
#include "host/ochrine_host.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

enum {
    width = 640,
    height = 360,
    rowBytes = width * 4,
    frameBytes = rowBytes * height,
    frameCount = 10,
    frameStep = 1
};

extern char** environ;
static char folder[80];

/* A ramp that moves with the frame number: blue, green, red, alpha in memory. */
static void paint(uint8_t* pixels, int frame)
{
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            uint8_t* pixel = pixels + y * rowBytes + x * 4;
            pixel[0] = (uint8_t)(255 * y / height);
            pixel[1] = (uint8_t)(128 + frame * 10);
            pixel[2] = (uint8_t)(255 * x / width);
            pixel[3] = 255;
        }
    }
}

/* True while the process whose id a left-over block names still lives. */
static int lives(uint32_t process)
{
    return process != 0 && (kill((pid_t)process, 0) == 0 || errno == EPERM);
}

/* Makes the block; one that a dead host left is replaced, the block of a live host is respected. */
static OchrineBlock* makeBlock(char* path, size_t pathSize, size_t byteCount)
{
    snprintf(path, pathSize, "%s/" kOchrineBlockName, folder);
    int file = open(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0 && errno == EEXIST) {
        uint32_t owner = 0;
        int old = open(path, O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
        int isKnown = old >= 0 && pread(old, &owner, 4, offsetof(OchrineBlock, hostProcessID)) == 4;
        if (old >= 0) close(old);
        if (!isKnown || lives(owner)) return NULL;
        unlink(path);
        file = open(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    }
    if (file < 0) return NULL;
    void* memory = MAP_FAILED;
    if (ftruncate(file, (off_t)byteCount) == 0) {
        memory = mmap(NULL, byteCount, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    }
    close(file);
    if (memory == MAP_FAILED) {
        unlink(path);
        return NULL;
    }
    return memory;
}

/* Sends a frame over the application's channel and waits until it lets go; 0 when that worked. */
static int sendFrame(const OchrineBlock* block, const uint8_t* pixels)
{
    char name[64];
    struct sockaddr_un address = {.sun_family = AF_UNIX};
    memcpy(name, block->commWindowName, sizeof(name));
    name[63] = 0;
    if (name[0] == 0 || strchr(name, '/') != NULL) return -1;
    const int length = snprintf(address.sun_path, sizeof(address.sun_path), "%s/%s", folder, name);
    if (length >= (int)sizeof(address.sun_path)) return -1;

    int result = -1;
    const int memory = memfd_create("frame", MFD_CLOEXEC);
    const int channel = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (memory >= 0 && channel >= 0 && write(memory, pixels, frameBytes) == frameBytes &&
        connect(channel, (struct sockaddr*)&address, sizeof(address)) == 0) {
        uint32_t words[2] = {kOchrineFrameWord, frameBytes};
        struct iovec text = {words, sizeof(words)};
        union {
            struct cmsghdr head;
            char bytes[CMSG_SPACE(sizeof(int))];
        } control = {0};
        struct msghdr message = {
            .msg_iov = &text, .msg_iovlen = 1, .msg_control = control.bytes, .msg_controllen = sizeof(control.bytes)};
        struct cmsghdr* head = CMSG_FIRSTHDR(&message);
        head->cmsg_level = SOL_SOCKET;
        head->cmsg_type = SCM_RIGHTS;
        head->cmsg_len = CMSG_LEN(sizeof(int));
        memcpy(CMSG_DATA(head), &memory, sizeof(int));
        if (sendmsg(channel, &message, MSG_NOSIGNAL) == sizeof(words)) {
            struct pollfd end = {.fd = channel, .events = POLLRDHUP};
            result = poll(&end, 1, 5000) == 1 ? 0 : -1;
        }
    }
    if (memory >= 0) close(memory);
    if (channel >= 0) close(channel);
    return result;
}

int main(int count, char** arguments)
{
    const char* runtime = getenv("XDG_RUNTIME_DIR");
    if (count != 3 || runtime == NULL || strlen(runtime) > sizeof(folder) - 16) {
        fprintf(stderr, "usage: minimal_host APPLICATION GRADE-FILE, with XDG_RUNTIME_DIR set\n");
        return 3;
    }
    snprintf(folder, sizeof(folder), "%s/ochrine", runtime);
    mkdir(folder, 0700);

    /* 1. The block: everything but the status word. */
    char path[128];
    OchrineBlock* block = makeBlock(path, sizeof(path), kOchrinePixelOffset + frameBytes);
    if (block == NULL) {
        fprintf(stderr, "minimal_host: cannot make the block, or another host has it\n");
        return 3;
    }
    block->version = kOchrineVersion;
    block->hostProcessID = (uint32_t)getpid();
    block->signature = kOchrineSignature;
    block->pixelFlags = kTKUIFlagPixelsInline;
    block->timeDisplayFormat = ochrineTimecode;
    block->dropFrameMode = 1;
    block->frameRate100 = 2500;
    block->frameWidth = width;
    block->frameHeight = height;
    block->frameRowBytes = rowBytes;
    block->framePixelFormat = ochrinePixFormatARGB8;
    block->frameStep = frameStep;
    block->frameTimeMax = (frameCount - 1) * frameStep;
    block->pixelAspect = 1.0f;
    memcpy(block->hostApp, "MINI", 4);
    /* settings[0] stays 0: the application begins with a fresh grade. */
    paint(block->pixels, 0);

    /* 2. The status word last, then the application. */
    OchrineStoreStatus(block, kTKUIStatusDataReady);
    pid_t application = 0;
    char* const child[] = {arguments[1], NULL};
    int exitCode = 3, isOver = posix_spawnp(&application, child[0], NULL, NULL, child, environ) != 0;

    /* 3. The session. Dead is looked at before the status: 4 wins. */
    uint8_t* pixels = malloc(frameBytes);
    while (!isOver && pixels != NULL) {
        const int isDead = waitpid(application, NULL, WNOHANG) != 0;
        const uint32_t status = OchrineLoadStatus(block);
        if (status == kTKUIStatusUIDone) {
            uint32_t grade[kOchrineGradeWords];
            memcpy(grade, block->settings, sizeof(grade));
            exitCode = grade[0] == kOchrineGradeSignature ? 0 : 1; /* we gave none: one is there only after OK */
            FILE* file = exitCode == 0 ? fopen(arguments[2], "wb") : NULL;
            if (exitCode == 0 && (file == NULL || fwrite(grade, sizeof(grade), 1, file) != 1)) exitCode = 3;
            if (file != NULL && fclose(file) != 0) exitCode = 3;
            isOver = 1;
        } else if (status == kTKUIStatusUIFailed || isDead) {
            exitCode = 2;
            isOver = 1;
        } else if (status == kTKUIStatusRequestFrame) {
            int frame = block->frameTime / frameStep;
            frame = frame < 0 ? 0 : frame >= frameCount ? frameCount - 1 : frame;
            paint(pixels, frame);
            if (sendFrame(block, pixels) != 0) OchrineStoreStatus(block, kTKUIStatusRequestFailed);
        } else {
            usleep(5000);
        }
    }
    free(pixels);

    /* 4. The block belongs to the host: it goes when the session is over. */
    munmap(block, kOchrinePixelOffset + frameBytes);
    unlink(path);
    return exitCode;
}
