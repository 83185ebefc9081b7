/* Renders a picture with a grade, through libochrine.
 *
 *     render_picture GRADE IN.ppm OUT.ppm
 *
 * GRADE is an .ocgrade or .ocpreset file, the pictures are binary PPM of 8 bits. The same in Python: render_picture.py.
 * Outside of this tree: cc render_picture.c $(pkg-config --cflags --libs ochrine) */
#include "ochrine.h"

#include <stdio.h>
#include <stdlib.h>

/* Ends the program on an error. */
static void check(ochrine_result result, const char* what)
{
    if (result == OCHRINE_OK) return;
    fprintf(stderr, "render_picture: %s: %s\n", what, ochrine_error_text(result));
    exit(1);
}

int main(int count, char** arguments)
{
    unsigned width = 0, height = 0;
    FILE* in = count == 4 ? fopen(arguments[2], "rb") : NULL;
    if (in == NULL || fscanf(in, "P6 %5u %5u 255%*1[ \n]", &width, &height) != 2 || width == 0 || height == 0)
        check(OCHRINE_ARGUMENT, "GRADE IN.ppm OUT.ppm");

    /* A word a pixel, in memory blue, green, red, alpha. */
    const size_t pixels = (size_t)width * height;
    unsigned char* words = calloc(pixels, 4);
    for (size_t i = 0; words != NULL && i < pixels; ++i)
        for (int c = 2; c >= 0; --c) words[4 * i + (size_t)c] = (unsigned char)getc(in);

    ochrine_grade* grade;
    ochrine_renderer* renderer;
    check(ochrine_grade_create(&grade), "grade");
    check(ochrine_grade_load(grade, arguments[1]), arguments[1]);
    check(ochrine_renderer_create(0, &renderer), "renderer");
    check(ochrine_renderer_set_grade(renderer, grade), "renderer");
    const ochrine_image image = {words, pixels * 4, width, height, OCHRINE_ARGB8, OCHRINE_TOP_DOWN, (size_t)width * 4,
                                 0};
    check(ochrine_render(renderer, &image, &image, 0), "render"); /* in place */
    ochrine_renderer_destroy(renderer);
    ochrine_grade_destroy(grade);

    FILE* out = fopen(arguments[3], "wb");
    if (out == NULL || fprintf(out, "P6\n%u %u\n255\n", width, height) < 0) check(OCHRINE_OTHER, arguments[3]);
    for (size_t i = 0; i < pixels; ++i)
        for (int c = 2; c >= 0; --c) putc(words[4 * i + (size_t)c], out);
    free(words);
    check(fclose(in) != 0 || fclose(out) != 0 ? OCHRINE_OTHER : OCHRINE_OK, arguments[3]);
    return 0;
}
