#include "theme.h"

#include <math.h>
#include <stdlib.h>
#include <string.h>

palette theme;
static bool dark;

static const palette lightPalette = {
    .ground = MOXI_RGB(236, 237, 240),
    .panel = MOXI_RGB(249, 249, 251),
    .raised = MOXI_RGB(255, 255, 255),
    .hovered = MOXI_RGB(226, 233, 245),
    .field = MOXI_RGB(255, 255, 255),
    .line = MOXI_RGB(205, 208, 215),
    .text = MOXI_RGB(28, 30, 36),
    .faint = MOXI_RGB(104, 108, 118),
    .accent = MOXI_RGB(38, 98, 196),
    .onAccent = MOXI_RGB(255, 255, 255),
    .warning = MOXI_RGB(190, 30, 30),
    .star = MOXI_RGB(232, 168, 20),
    .shadow = MOXI_RGB(60, 64, 74),
};

static const palette darkPalette = {
    .ground = MOXI_RGB(24, 25, 29),
    .panel = MOXI_RGB(33, 35, 40),
    .raised = MOXI_RGB(46, 48, 55),
    .hovered = MOXI_RGB(58, 66, 84),
    .field = MOXI_RGB(22, 23, 27),
    .line = MOXI_RGB(68, 71, 80),
    .text = MOXI_RGB(230, 231, 235),
    .faint = MOXI_RGB(152, 156, 167),
    .accent = MOXI_RGB(98, 156, 245),
    .onAccent = MOXI_RGB(14, 18, 28),
    .warning = MOXI_RGB(255, 120, 110),
    .star = MOXI_RGB(250, 196, 60),
    .shadow = MOXI_RGB(0, 0, 0),
};

void UseTheme(bool isDark) {
    dark = isDark;
    theme = dark ? darkPalette : lightPalette;
}

bool IsDark(void) {
    return dark;
}

// Games derive their grounds and bevels from this, always for the light theme.
void frontend_default_colour(frontend* fe, float* output) {
    (void)fe;
    output[0] = output[1] = output[2] = 0.9F;
}

// --- From light to dark. Lightness is turned round in a space where it is what the eye takes for
// lightness, so that what could be told apart still can, and hues stay what they were.

typedef struct {
    float light, a, b;
} lab;

static float ToLinear(float part) {
    return part <= 0.04045F ? part / 12.92F : powf((part + 0.055F) / 1.055F, 2.4F);
}

static float FromLinear(float part) {
    return part <= 0.0031308F ? part * 12.92F : 1.055F * powf(part, 1 / 2.4F) - 0.055F;
}

static lab ToLab(const float* rgb) {
    const float r = ToLinear(rgb[0]), g = ToLinear(rgb[1]), b = ToLinear(rgb[2]);
    const float l = cbrtf(0.4122214708F * r + 0.5363325363F * g + 0.0514459929F * b);
    const float m = cbrtf(0.2119034982F * r + 0.6806995451F * g + 0.1073969566F * b);
    const float s = cbrtf(0.0883024619F * r + 0.2817188376F * g + 0.6299787005F * b);
    return (lab){0.2104542553F * l + 0.7936177850F * m - 0.0040720468F * s,
                 1.9779984951F * l - 2.4285922050F * m + 0.4505937099F * s,
                 0.0259040371F * l + 0.7827717662F * m - 0.8086757660F * s};
}

static void FromLab(lab from, float* rgb) {
    const float l = from.light + 0.3963377774F * from.a + 0.2158037573F * from.b;
    const float m = from.light - 0.1055613458F * from.a - 0.0638541728F * from.b;
    const float s = from.light - 0.0894841775F * from.a - 1.2914855480F * from.b;
    const float l3 = l * l * l, m3 = m * m * m, s3 = s * s * s;
    rgb[0] = 4.0767416621F * l3 - 3.3077115913F * m3 + 0.2309699292F * s3;
    rgb[1] = -1.2684380046F * l3 + 2.6097574011F * m3 - 0.3413193965F * s3;
    rgb[2] = -0.0041960863F * l3 - 0.7034186147F * m3 + 1.7076147010F * s3;
    for (int i = 0; i < 3; ++i) rgb[i] = FromLinear(rgb[i] < 0 ? 0 : rgb[i] > 1 ? 1 : rgb[i]);
}

static void Darken(const float* rgb, float* made) {
    lab colour = ToLab(rgb);
    const float chroma = sqrtf(colour.a * colour.a + colour.b * colour.b);
    const float turned = 0.98F - 0.76F * colour.light;
    // Strong colours of a middle lightness mark errors and cursors: they have to shine.
    const bool marks = chroma > 0.1F && colour.light < 0.8F;
    colour.light = marks && turned < 0.62F ? 0.62F : turned;
    // A dark ground carries less colour.
    if (!marks) {
        colour.a *= 0.8F;
        colour.b *= 0.8F;
    }
    FromLab(colour, made);
}

// --- What is kept in the dark, or is another colour there

typedef struct {
    const char* name;
    const char* colours;  // "3 5=20A0F0": 3 is kept, 5 is another
} exception;

#include "dark.inc"

static const char* ExceptionsOf(const char* name) {
    for (size_t i = 0; i < sizeof exceptions / sizeof *exceptions; ++i) {
        if (strcmp(exceptions[i].name, name) == 0) return exceptions[i].colours;
    }
    return "";
}

// Whether a colour is an exception; if it is another one, it is written.
static bool IsException(const char* list, int index, float* colour) {
    while (*list != 0) {
        char* end;
        const bool found = strtol(list, &end, 10) == index;
        if (end == list) return false;
        if (found && *end == '=') {
            const long other = strtol(end + 1, NULL, 16);
            for (int i = 0; i < 3; ++i) colour[i] = (float)(other >> (16 - 8 * i) & 255) / 255;
        }
        if (found) return true;
        list = end + strcspn(end, " ");
    }
    return false;
}

static bool Same(const float* first, const float* second) {
    return memcmp(first, second, 3 * sizeof *first) == 0;
}

// The bevels of a raised tile: its light side has to stay the lighter one.
static void DarkColours(const game* played, frontend* fe, float* colours, int count) {
    float plain[9], bevel[9];
    game_mkhighlight(fe, plain, 0, 1, 2);
    Darken(plain, bevel);
    game_mkhighlight_specific(fe, bevel, 0, 1, 2);
    const char* const list = ExceptionsOf(played->name);
    for (int i = 0; i < count; ++i) {
        float* const colour = colours + 3 * i;
        if (IsException(list, i, colour)) continue;
        if (Same(colour, plain + 3)) {
            memcpy(colour, bevel + 3, 3 * sizeof *colour);
        } else if (Same(colour, plain + 6)) {
            memcpy(colour, bevel + 6, 3 * sizeof *colour);
        } else {
            float made[3];
            Darken(colour, made);
            memcpy(colour, made, sizeof made);
        }
    }
}

static uint32_t Byte(float part) {
    return part <= 0 ? 0 : part >= 1 ? 255 : (uint32_t)(part * 255 + 0.5F);
}

moxi_colour* GameColours(const game* played, frontend* fe, int* count) {
    float* const parts = played->colours(fe, count);
    if (dark) DarkColours(played, fe, parts, *count);
    moxi_colour* const colours = calloc((size_t)*count + 1, sizeof *colours);
    for (int i = 0; i < *count; ++i) {
        colours[i] = MOXI_RGB(Byte(parts[3 * i]), Byte(parts[3 * i + 1]), Byte(parts[3 * i + 2]));
    }
    sfree(parts);
    return colours;
}
