/* Ochrine's engine for hosts: grades, and pictures rendered with them.
 *
 * The application gives a host a grade, never pixels; a host renders the clip itself. Through this interface it renders
 * them with the engine of the application, so that the same grade gives the same bits. docs/c-interface.md is the
 * introduction, host/examples/render_picture.c and render_picture.py are complete programs.
 *
 *     ochrine_grade* grade;
 *     ochrine_renderer* renderer;
 *     ochrine_grade_create(&grade);
 *     ochrine_grade_load(grade, "look.ocpreset");
 *     ochrine_renderer_create(0, &renderer);
 *     ochrine_renderer_set_grade(renderer, grade);
 *     ochrine_render(renderer, &source, &target, 0);
 *
 * Results. Every function that can fail returns OCHRINE_OK or a negative error; what it should have filled is then
 * untouched, except that a pointer to a new object becomes null. Arguments are checked: a null pointer, a format, a
 * size or a number that makes no sense is an error, never a crash. What cannot be checked is that a pointer points at
 * what it should, and that an image really has `size` bytes.
 *
 * Threads. Different objects may be used by different threads at the same time. One object belongs to one thread at a
 * time, except that any number of threads may read a grade that nobody changes. No function calls back, but for the
 * log.
 *
 * Numbers in memory and in files are little-endian, floats are IEEE singles. Functions that take a path take it as the
 * system does: bytes. The header is C99 and C++. */
#ifndef OCHRINE_H
#define OCHRINE_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define OCHRINE_API __attribute__((visibility("default")))
#else
#define OCHRINE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------------ version and errors */

#define OCHRINE_INTERFACE 1u /* grows with each addition; what it had stays */

/* The interface that the library has: OCHRINE_INTERFACE when it was built. */
OCHRINE_API uint32_t ochrine_interface(void);

/* The version of the product, such as "3.0.9". */
OCHRINE_API const char* ochrine_version(void);

typedef int32_t ochrine_result;
enum {
    OCHRINE_OK = 0,
    OCHRINE_DISK_FULL = -34,
    OCHRINE_NO_FILE = -43,    /* no such file, or no such folder */
    OCHRINE_ARGUMENT = -50,   /* a null pointer, a number outside its bounds, an image that does not fit its bytes */
    OCHRINE_PERMISSION = -54, /* the system refuses access to the file */
    OCHRINE_NO_MEMORY = -108, /* of memory or of threads */
    OCHRINE_NO_VALUE = -192,  /* no value has this key, or lies at this offset */
    OCHRINE_FORMAT = -205,    /* pixels of this format cannot be read or cannot be written */
    OCHRINE_OVERLAP = -206,   /* source and target share bytes without being the same image */
    OCHRINE_NO_GRADE = -2041, /* the bytes hold no grade */
    OCHRINE_OTHER = -1        /* the system failed in another way */
};

/* One sentence in English without a full stop; never null, also for a number that is no error. */
OCHRINE_API const char* ochrine_error_text(ochrine_result result);

/* Receives lines of the engine's log, each ending in a newline, on whatever thread they come up. */
typedef void (*ochrine_log)(void* context, const char* text, size_t byte_count);

/* Without a receiver (null, as at the start) the library is silent. Only while no other function runs. */
OCHRINE_API void ochrine_set_log(ochrine_log log, void* context);

/* ------------------------------------------------------------------------------------------------------------ grades */

/* A grade: every value that a user can set. */
typedef struct ochrine_grade ochrine_grade;

#define OCHRINE_RECORD_BYTES 33556u /* a grade as it lies in the block between host and application */

/* The two ways in which a grade is kept. Both are recognised when they are read. */
enum {
    OCHRINE_RECORD = 0, /* the record as it lies in memory: the block's `settings`, files named .ocgrade */
    OCHRINE_PRESET = 1  /* the application's settings file, named .ocpreset; any version is read, today's written */
};

/* Makes a neutral grade, to be released with ochrine_grade_destroy. */
OCHRINE_API ochrine_result ochrine_grade_create(ochrine_grade** grade);
OCHRINE_API void ochrine_grade_destroy(ochrine_grade* grade); /* null is allowed */

/* Makes a grade neutral: every tool off, every value at its default. */
OCHRINE_API ochrine_result ochrine_grade_reset(ochrine_grade* grade);

OCHRINE_API ochrine_result ochrine_grade_copy(ochrine_grade* to, const ochrine_grade* from);

/* Takes a grade from bytes of either kind. What an old settings file does not tell is neutral. Values are not judged:
 * the engine bears all of them. */
OCHRINE_API ochrine_result ochrine_grade_from_bytes(ochrine_grade* grade, const void* bytes, size_t byte_count);

/* Writes a grade as bytes. `needed` (may be null) receives their number; with a capacity below it nothing is written
 * and OCHRINE_ARGUMENT returned. Ask with capacity 0; `bytes` may then be null. */
OCHRINE_API ochrine_result ochrine_grade_to_bytes(const ochrine_grade* grade, uint32_t kind, void* bytes,
                                                  size_t capacity, size_t* needed);

/* The same with files. A file is written whole or not at all. */
OCHRINE_API ochrine_result ochrine_grade_load(ochrine_grade* grade, const char* path);
OCHRINE_API ochrine_result ochrine_grade_save(const ochrine_grade* grade, const char* path, uint32_t kind);

/* ------------------------------------------------------------------------------------------------------------ values */

/* What a value is. All are handed over as double, which holds each of them exactly. */
enum {
    OCHRINE_FLOAT = 0,
    OCHRINE_INTEGER = 1, /* a signed whole number of 32 bits */
    OCHRINE_SWITCH = 2   /* 0 or 1 */
};

/* A row of the catalogue. A key alone does not name a value: the pedestal of each group ("rgb_master_gain" and eleven
 * more) has always borne the key of its gain. So a value is named by its key and the number of the row among those with
 * that key, counted from 0 (0 the gain, 1 the pedestal), or by its offset in the record, which is unique. */
typedef struct ochrine_value_info {
    const char* key;     /* lives as long as the library */
    uint32_t occurrence; /* 0 but for the pedestals of groups */
    uint32_t offset;     /* in the record, bytes */
    uint32_t type;       /* OCHRINE_FLOAT, OCHRINE_INTEGER or OCHRINE_SWITCH */
} ochrine_value_info;

/* The number of rows, and one row, counted from 0. */
OCHRINE_API uint32_t ochrine_value_count(void);
OCHRINE_API ochrine_result ochrine_value_at(uint32_t index, ochrine_value_info* info);

/* The row of a key, OCHRINE_NO_VALUE when there is none. */
OCHRINE_API ochrine_result ochrine_value_find(const char* key, uint32_t occurrence, ochrine_value_info* info);

/* Reads and writes a value by the offset of its row. OCHRINE_NO_VALUE when no row has it. A float must be finite and
 * within a single's range, an integer whole and within 32 bits; a switch is on for every number but 0. Entry ranges are
 * not enforced, the engine computes with whatever stands there. */
OCHRINE_API ochrine_result ochrine_grade_get(const ochrine_grade* grade, uint32_t offset, double* value);
OCHRINE_API ochrine_result ochrine_grade_set(ochrine_grade* grade, uint32_t offset, double value);

/* The same by key, the first row that bears it. */
OCHRINE_API ochrine_result ochrine_grade_get_key(const ochrine_grade* grade, const char* key, double* value);
OCHRINE_API ochrine_result ochrine_grade_set_key(ochrine_grade* grade, const char* key, double value);

/* A value has an effect only while the switches above it are on: those of its block, its tab and its pane. `on` not 0
 * turns all of them on, 0 turns the innermost one off. `offset` is that of any row of the catalogue. */
OCHRINE_API ochrine_result ochrine_grade_switch(ochrine_grade* grade, uint32_t offset, int on);

/* Any 32-bit word of the record, for what the catalogue does not name. `offset` must be a multiple of 4. */
OCHRINE_API ochrine_result ochrine_grade_get_word(const ochrine_grade* grade, uint32_t offset, uint32_t* word);
OCHRINE_API ochrine_result ochrine_grade_set_word(ochrine_grade* grade, uint32_t offset, uint32_t word);

/* The curves of a grade. */
enum {
    OCHRINE_CURVE_MASTER = 0,
    OCHRINE_CURVE_RED = 1,
    OCHRINE_CURVE_GREEN = 2,
    OCHRINE_CURVE_BLUE = 3,
    OCHRINE_CURVE_HUE = 4, /* neutral is y = 0.5, as of the next two */
    OCHRINE_CURVE_SATURATION = 5,
    OCHRINE_CURVE_LIGHTNESS = 6
};
#define OCHRINE_CURVE_POINTS 16u

/* Replaces a curve by 1 to 16 points: x ascending (equal is allowed), both from 0 to 1. The switches of the curves are
 * not touched. */
OCHRINE_API ochrine_result ochrine_grade_set_curve(ochrine_grade* grade, uint32_t curve, uint32_t count, const float* x,
                                                   const float* y);

/* Turns the switches above a curve on; 0 turns its tab off. */
OCHRINE_API ochrine_result ochrine_grade_switch_curve(ochrine_grade* grade, uint32_t curve, int on);

/* --------------------------------------------------------------------------------------------------------- rendering */

/* Pixel formats. "Word" is a 32-bit little-endian number. Floats are signals, not light: 0 is black, 1 white, values
 * beyond survive. */
enum {
    OCHRINE_ARGB8 = 32,         /* word A R G B from the top: in memory blue, green, red, alpha */
    OCHRINE_ARGB16_32K = 200,   /* uint16 A, R, G, B; 32768 is white */
    OCHRINE_YRGB_FLOAT = 201,   /* float alpha or luma, R, G, B */
    OCHRINE_RGBA_FLOAT = 202,   /* float R, G, B, A */
    OCHRINE_PLANAR_FLOAT = 203, /* planes of float R, G, B and, in a target, luma */
    OCHRINE_ABGR8 = 206,        /* word A B G R from the top; target only */
    OCHRINE_VUYA8 = 207,        /* word A Y Cb Cr from the top, video range, ITU-R BT.601 */
    OCHRINE_VUYA_FLOAT = 208,   /* float V, U, Y, A */
    OCHRINE_YUYV10_601 = 209,   /* pairs of pixels in two words, 10 bits shifted up by 6: Y even, Cr; Y odd, Cb */
    OCHRINE_YUYV10_709 = 210,   /* the same in ITU-R BT.709 */
    OCHRINE_BGRA_FLOAT = 215,   /* float B, G, R, A */
    OCHRINE_RGB16_PLANAR = 218, /* three planes of uint16, 65535 is white; source only */
    OCHRINE_BGRA8 = 0x42475241, /* word B G R A from the top: in memory alpha, red, green, blue */
    OCHRINE_UYVA8 = 0x76343038, /* word A V Y U from the top; source only */
    OCHRINE_UYVA8R = 0x72343038 /* the same; source only */
};

enum {
    OCHRINE_TOP_DOWN = 0, /* the first row in memory is the topmost */
    OCHRINE_BOTTOM_UP = 1 /* the first row in memory is the lowest */
};

#define OCHRINE_SIDE_LIMIT 1048576u /* the largest width and height */

/* A picture, or some of its rows, in the caller's memory. Only the pixels are touched, never the bytes between the end
 * of a row and the start of the next. `pixels`, `row_bytes` and `plane_bytes` are multiples of the size of a component:
 * 2 for the formats of 16 bits, 1 for OCHRINE_ARGB8 and the other words of four bytes, 4 for all others. */
typedef struct ochrine_image {
    void* pixels;         /* the first byte of the first row in memory; of a source it is only read */
    size_t size;          /* bytes that may be touched from there on */
    uint32_t width;       /* pixels, 1 to OCHRINE_SIDE_LIMIT; both images have the same */
    uint32_t height;      /* rows, likewise */
    uint32_t format;      /* OCHRINE_ARGB8 … */
    uint32_t orientation; /* OCHRINE_TOP_DOWN or OCHRINE_BOTTOM_UP */
    size_t row_bytes;     /* from the start of a row to the start of the next in memory; at least a row's pixels */
    size_t plane_bytes;   /* planar formats: from the start of a plane to the start of the next; otherwise 0 */
} ochrine_image;

/* The bytes of one row's pixels (of planar formats, of one plane), or 0 when there is no such format. */
OCHRINE_API size_t ochrine_row_bytes(uint32_t width, uint32_t format);

/* 1 when the format can be rendered from, or to; otherwise 0. */
OCHRINE_API int ochrine_can_read(uint32_t format);
OCHRINE_API int ochrine_can_write(uint32_t format);

/* Threads, memory and tables for rendering. */
typedef struct ochrine_renderer ochrine_renderer;

#define OCHRINE_THREAD_LIMIT 256u

/* Makes a renderer with a neutral grade, to be released with ochrine_renderer_destroy.
 *
 * threads   that render together, the caller's among them; 0 for one a processor; at most OCHRINE_THREAD_LIMIT */
OCHRINE_API ochrine_result ochrine_renderer_create(uint32_t threads, ochrine_renderer** renderer);
OCHRINE_API void ochrine_renderer_destroy(ochrine_renderer* renderer); /* null is allowed */

/* Makes the tables of a grade, from which all pictures are rendered from now on. The grade is copied. Tables whose
 * values did not change are kept, so setting a grade of which one value moved is quick. OCHRINE_NO_MEMORY: some tables are still those of the grade
 * before; set the grade again before rendering. */
OCHRINE_API ochrine_result ochrine_renderer_set_grade(ochrine_renderer* renderer, const ochrine_grade* grade);

/* Flags of ochrine_render. */
enum {
    OCHRINE_KEEP_ALPHA = 1 /* the target takes the source's alpha; both have the same format, one with alpha */
};

/* Renders a picture: converts it to the engine's floats, grades it, converts it to the target's format. The bits are
 * those that the application shows and ochrine-host writes, for any number of threads.
 *
 * source, target   may be the same image, otherwise they may not overlap
 * flags            0 or OCHRINE_KEEP_ALPHA. Without it the alpha of the target is opaque
 *
 * Pixels do not depend on their neighbours: rows may be rendered in pieces, in any order. */
OCHRINE_API ochrine_result ochrine_render(ochrine_renderer* renderer, const ochrine_image* source,
                                          const ochrine_image* target, uint32_t flags);

#ifdef __cplusplus
}
#endif
#endif
