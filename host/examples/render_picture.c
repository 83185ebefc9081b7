/* Renders a picture with a grade (.ocgrade or .ocpreset), through libochrine; render_picture.py does the same.
 *
 *     ffmpeg -i in.png -f rawvideo -pix_fmt bgra - | render_picture GRADE WIDTH HEIGHT > out.bgra
 *
 * Outside of this tree: cc render_picture.c $(pkg-config --cflags --libs ochrine) */
#include "ochrine.h"

#include <stdio.h>
#include <stdlib.h>

static void check(ochrine_result result, const char* what)
{
    if (result == OCHRINE_OK) return;
    fprintf(stderr, "render_picture: %s: %s\n", what, ochrine_error_text(result));
    exit(1);
}

int main(int count, char** arguments)
{
    check(count == 4 ? OCHRINE_OK : OCHRINE_ARGUMENT, "GRADE WIDTH HEIGHT");
    const size_t width = strtoul(arguments[2], NULL, 10), height = strtoul(arguments[3], NULL, 10);
    check(width - 1 < 65535 && height - 1 < 65535 ? OCHRINE_OK : OCHRINE_ARGUMENT, "WIDTH HEIGHT");
    unsigned char* pixels = calloc(width * height, 4); /* a word a pixel: blue, green, red, alpha */
    check(pixels != NULL && fread(pixels, width * 4, height, stdin) == height ? OCHRINE_OK : OCHRINE_ARGUMENT, "input");

    ochrine_grade* grade;
    ochrine_renderer* renderer;
    check(ochrine_grade_create(&grade), "grade");
    check(ochrine_grade_load(grade, arguments[1]), arguments[1]);
    check(ochrine_renderer_create(0, &renderer), "renderer");
    check(ochrine_renderer_set_grade(renderer, grade), "grade");
    const ochrine_image image = {pixels,        width * height * 4, (uint32_t)width, (uint32_t)height,
                                 OCHRINE_ARGB8, OCHRINE_TOP_DOWN,   width * 4,       0};
    check(ochrine_render(renderer, &image, &image, 0), "render"); /* in place */
    ochrine_renderer_destroy(renderer);
    ochrine_grade_destroy(grade);
    check(fwrite(pixels, width * 4, height, stdout) == height ? OCHRINE_OK : OCHRINE_OTHER, "output");
    free(pixels);
}
