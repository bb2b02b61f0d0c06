// The canvas of a game: what it draws on, which is the screen itself until it asks for a size of its
// own, and how that is shown in the view.

#include "game.h"

moxi_bitmap gameCanvas = MOXI_SCREEN;
static int canvasWidth, canvasHeight;
static int viewWidth, viewHeight;
static moxi_area shown;  // where the canvas is on the view

// As large as it goes, in whole multiples from the second on.
static void PlaceCanvas(void) {
    if (canvasWidth <= 0) return;
    const int factorX = viewWidth / canvasWidth;
    const int factorY = viewHeight / canvasHeight;
    const int factor = factorX < factorY ? factorX : factorY;
    shown.width = canvasWidth * factor;
    shown.height = canvasHeight * factor;
    if (factor < 1) {
        const bool wide = viewWidth * canvasHeight < viewHeight * canvasWidth;
        shown.width = wide ? viewWidth : viewHeight * canvasWidth / canvasHeight;
        shown.height = wide ? viewWidth * canvasHeight / canvasWidth : viewHeight;
    }
    shown.x = (viewWidth - shown.width) / 2;
    shown.y = (viewHeight - shown.height) / 2;
}

void SetViewSize(int width, int height) {
    viewWidth = width;
    viewHeight = height;
    PlaceCanvas();
}

void game_canvas(int width, int height) {
    if (gameCanvas != MOXI_SCREEN) moxi_free_bitmap(gameCanvas);
    gameCanvas = MOXI_SCREEN;
    canvasWidth = canvasHeight = 0;
    if (width <= 0 || height <= 0) return;
    canvasWidth = width;
    canvasHeight = height;
    gameCanvas = moxi_new_bitmap((uint32_t)width, (uint32_t)height);
    moxi_rectangle(gameCanvas, 0, 0, width, height, BLACK, MOXI_NO_FRAME);
    PlaceCanvas();
}

int game_width(void) {
    return canvasWidth > 0 ? canvasWidth : viewWidth;
}
int game_height(void) {
    return canvasHeight > 0 ? canvasHeight : viewHeight;
}

void ToCanvas(int* x, int* y) {
    if (canvasWidth <= 0 || shown.width <= 0 || shown.height <= 0) return;
    *x = (int)((long long)(*x - shown.x) * canvasWidth / shown.width);
    *y = (int)((long long)(*y - shown.y) * canvasHeight / shown.height);
}

static void DrawBorders(void) {
    const int right = shown.x + shown.width;
    const int bottom = shown.y + shown.height;
    moxi_rectangle(MOXI_SCREEN, 0, 0, viewWidth, shown.y, BLACK, MOXI_NO_FRAME);
    moxi_rectangle(MOXI_SCREEN, 0, bottom, viewWidth, viewHeight - bottom, BLACK, MOXI_NO_FRAME);
    moxi_rectangle(MOXI_SCREEN, 0, shown.y, shown.x, shown.height, BLACK, MOXI_NO_FRAME);
    moxi_rectangle(MOXI_SCREEN, right, shown.y, viewWidth - right, shown.height, BLACK,
                   MOXI_NO_FRAME);
}

// Blending leaves pixels less than opaque where it was drawn with alpha; they are to hide what is
// below.
void Present(void) {
    moxi_set_alpha(gameCanvas, 0, 0, game_width(), game_height(), MOXI_ALPHA_OF_ALL, 255);
    if (gameCanvas == MOXI_SCREEN) return;
    moxi_scaled_blit(MOXI_SCREEN, shown.x, shown.y, shown.width, shown.height, gameCanvas, 0, 0,
                     canvasWidth, canvasHeight, 0, 0);
    DrawBorders();
}
