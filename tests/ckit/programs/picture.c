// Draws by the services and by its own pixels, and answers messages.
#include <moxi.h>

static moxi_bitmap Dots(void) {
    const moxi_bitmap bitmap = moxi_new_bitmap(64, 64);
    MOXI_WITH_PIXELS(dots, bitmap) {
        for (int y = 0; y < dots.height; ++y) {
            for (int x = 0; x < dots.width; ++x) {
                dots.pixels[y * dots.stride + x] = MOXI_RGB(x * 4, y * 4, 128);
            }
        }
    }
    return bitmap;
}

static void Draw(int width, int height) {
    const moxi_point points[] = {{10, 10}, {20, 10}, {20, 20}};
    const moxi_bitmap dots = Dots();
    moxi_rectangle(MOXI_SCREEN, 0, 0, width, height, MOXI_RGB(20, 28, 60), MOXI_NO_FRAME);
    moxi_blit(MOXI_SCREEN, 100, 50, dots, 0, 0, 64, 64, false, 0, 0);
    moxi_polyline(MOXI_SCREEN, points, 3, MOXI_WHITE);
    moxi_ellipse(MOXI_SCREEN, 300, 50, 40, 40, moxi_ellipse_colour(MOXI_RGB(255, 10, 20)),
                 MOXI_NO_FRAME);
    moxi_free_bitmap(dots);
}

static void Say(const char* what, int number) {
    char line[100];
    moxi_copy_string(line, what);
    moxi_append_number(line, " %d", number);
    moxi_debug_print(line);
}

int moxi_message(int message, int p1, int p2, int p3) {
    switch (message) {
        case MOXI_MSG_START1: Say("pixel", (int)(moxi_get_pixel(MOXI_SCREEN, 0, 0) >> 24)); break;
        case MOXI_MSG_SIZE: Draw(p1, p2); break;
        case MOXI_MSG_DOWN:
            if (p1 == MOXI_BUTTON_LEFT) {
                Say("x", MOXI_POSITION_X(p3));
                Say("y", MOXI_POSITION_Y(p3));
            }
            break;
        case MOXI_MSG_CLOSE: Say("screen", moxi_screen_size().width); return 1;
        default: break;
    }
    return 0;
}
