/* ochrine.h compiles alone as C99, and a whole round through it works from C. */
#include "host/ochrine.h"

int OchrineRoundInC(float* rgba, uint32_t width, uint32_t height, double gain);

/* Multiplies a picture by a gain; returns the first error. */
int OchrineRoundInC(float* rgba, uint32_t width, uint32_t height, double gain)
{
    ochrine_grade* grade = NULL;
    ochrine_renderer* renderer = NULL;
    ochrine_value_info info;
    ochrine_image image = {0};
    int result = ochrine_grade_create(&grade);
    if (result == OCHRINE_OK) result = ochrine_value_find("rgb_master_gain", 0, &info);
    if (result == OCHRINE_OK) result = ochrine_grade_set(grade, info.offset, gain);
    if (result == OCHRINE_OK) result = ochrine_grade_switch(grade, info.offset, 1);
    if (result == OCHRINE_OK) result = ochrine_renderer_create(1, &renderer);
    if (result == OCHRINE_OK) result = ochrine_renderer_set_grade(renderer, grade);
    image.pixels = rgba;
    image.size = (size_t)width * height * 16;
    image.width = width;
    image.height = height;
    image.format = OCHRINE_RGBA_FLOAT;
    image.orientation = OCHRINE_TOP_DOWN;
    image.row_bytes = (size_t)width * 16;
    if (result == OCHRINE_OK) result = ochrine_render(renderer, &image, &image, OCHRINE_KEEP_ALPHA);
    ochrine_renderer_destroy(renderer);
    ochrine_grade_destroy(grade);
    return result;
}
