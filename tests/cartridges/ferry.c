/* Night Ferry: a whole small game. The ferry crosses a lake at night, gathers the lanterns that
   drift on it and keeps clear of the rocks. Up and down steer, the first button begins; the best
   count of lanterns is kept. */
#include "cartridge.h"

enum { kThings = 8, kShore = 70, kBoatX = 26, kHighest = 80, kLowest = 146, kHurtFrames = 90 };

struct Thing {
    int x, y; /* in 1/16 of a pixel; x below -16 pixels: not there */
    int isRock;
};

static struct Thing things[kThings];
static u32 frame, best, lanterns, lives, hurt;
static int playing, boatY, boatSpeed, way, nextThing;
static u8 before;

/* --- Sounds */

static void PlayLantern(void) {
    tone(70 + (lanterns & 7) * 2, 4 | 10 << 8, 40, 2 | 1 << 6);
}

static void PlayRock(void) {
    tone(400 | 80u << 16, 4 | 24 << 8, 70, 3);
}

static void PlayBeginning(void) {
    tone(262 | 523u << 16, 14 | 20 << 8, 40, 0 | 2 << 2);
}

/* --- The game */

static void Begin(void) {
    for (int i = 0; i < kThings; ++i) things[i].x = -1000;
    lanterns = 0;
    lives = 3;
    hurt = 0;
    boatY = 110 * 16;
    boatSpeed = 0;
    way = 0;
    nextThing = 0;
    playing = 1;
    PlayBeginning();
}

static void End(void) {
    playing = 0;
    if (lanterns <= best) return;
    best = lanterns;
    diskw(&best, sizeof best);
}

static int Speed(void) {
    const int speed = 20 + (int)lanterns / 2;
    return speed < 48 ? speed : 48;
}

static void SendThing(void) {
    for (int i = 0; i < kThings; ++i) {
        struct Thing* const thing = &things[i];
        if (thing->x > -16 * 16) continue;
        thing->x = 168 * 16;
        thing->y = Between(kHighest + 4, kLowest) * 16;
        thing->isRock = Between(0, 4) < 3;
        nextThing = Between(14, 44);
        return;
    }
}

static void Meet(struct Thing* thing) {
    const int dx = thing->x / 16 - kBoatX, dy = thing->y / 16 - boatY / 16;
    if (dx < -12 || dx > 12 || dy < -6 || dy > 6) return;
    if (!thing->isRock) {
        thing->x = -1000;
        ++lanterns;
        PlayLantern();
    } else if (hurt == 0) {
        hurt = kHurtFrames;
        PlayRock();
        if (--lives == 0) End();
    }
}

static void Move(u8 pad) {
    if (pad & 0x40) boatSpeed -= 3;
    if (pad & 0x80) boatSpeed += 3;
    boatSpeed -= boatSpeed / 8;
    boatY += boatSpeed;
    if (boatY < kHighest * 16) boatY = kHighest * 16, boatSpeed = 0;
    if (boatY > kLowest * 16) boatY = kLowest * 16, boatSpeed = 0;
    way += Speed();
    if (hurt > 0) --hurt;
    if (--nextThing < 0) SendThing();
    for (int i = 0; i < kThings && playing; ++i) {
        things[i].x -= Speed();
        Meet(&things[i]);
    }
}

/* --- The picture */

static int Height(int x, int size, u32 seed) {
    /* A hill is a broken line between heights that a number of its place gives. */
    const u32 a = (u32)(x / 16) * 2654435761u + seed, b = (u32)(x / 16 + 1) * 2654435761u + seed;
    const int from = (int)(a >> 16) % size, to = (int)(b >> 16) % size;
    return from + (to - from) * (x % 16) / 16;
}

static void DrawSky(void) {
    static const u8 stars[] = {12, 8,  30,  22, 51,  12, 70, 30, 84, 6,
                               97, 19, 146, 41, 152, 10, 20, 38, 62, 44};
    DRAW_COLOURS = 3;
    for (u32 i = 0; i < sizeof stars; i += 2) {
        if ((frame / 8 + i) % 24 != 0) hline(stars[i], stars[i + 1], 1);
    }
    DRAW_COLOURS = 0x44;
    oval(112, 10, 24, 24);
    DRAW_COLOURS = 0x11;
    oval(106, 7, 22, 22);
}

static void DrawHills(void) {
    for (int x = 0; x < 160; ++x) {
        const int far = Height(x + way / 128, 24, 5), near = Height(x + way / 64, 14, 77);
        DRAW_COLOURS = 2;
        vline(x, kShore - 8 - far, far + 8);
        DRAW_COLOURS = 1;
        vline(x, kShore - near, near);
    }
}

static void DrawLake(void) {
    DRAW_COLOURS = 0x22;
    rect(0, kShore, 160, 160 - kShore);
    DRAW_COLOURS = 1;
    for (int i = 0; i < 26; ++i) {
        const int y = kShore + 2 + i * i / 8;
        const int x = (int)((u32)i * 61 + 3200 - (u32)(way * (i + 8) / 400)) % 200 - 20;
        hline(x, y, 6 + i / 2);
    }
    DRAW_COLOURS = 4;
    for (int y = kShore + 1; y < kShore + 34; y += 3) {
        const int sway = (int)((frame / 6 + (u32)y * 5) % 7) - 3;
        hline(118 + sway, y, 12 - (y - kShore) / 4);
    }
}

static const u8 boat[] = {
    0x00, 0x40, 0x00, 0x00, 0x40, 0x00, 0x07, 0xF8, 0x00, 0x0A, 0xA8, 0x00, 0x0A, 0xA8,
    0x00, 0x0F, 0xF8, 0x00, 0xFF, 0xFF, 0xF0, 0x7F, 0xFF, 0xE0, 0x3F, 0xFF, 0xC0,
};

static void DrawBoat(void) {
    if (hurt / 4 % 2) return;
    const int y = boatY / 16 + ((frame / 20) & 1);
    DRAW_COLOURS = 1;
    hline(kBoatX - 9, y + 6, 20);
    hline(kBoatX - 13, y + 7, 16);
    DRAW_COLOURS = 0x40;
    blit(boat, kBoatX - 12, y - 4, 24, 9, 0);
}

static void DrawThing(const struct Thing* thing) {
    const int x = thing->x / 16, y = thing->y / 16;
    if (thing->isRock) {
        DRAW_COLOURS = 0x11;
        oval(x - 7, y - 5, 15, 10);
        DRAW_COLOURS = 0x33;
        oval(x - 3, y - 4, 6, 3);
        DRAW_COLOURS = 3;
        hline(x - 9, y + 5, 18);
        return;
    }
    const int bob = (int)((frame / 10 + (u32)y) & 1);
    DRAW_COLOURS = 0x34;
    rect(x - 3, y - 5 + bob, 7, 8);
    DRAW_COLOURS = 4;
    hline(x - 1, y - 7 + bob, 3);
    hline(x - 4, y + 5, 9);
    hline(x - 2, y + 7, 5);
}

static u32 PutNumber(u8* out, u32 value) {
    u8 digits[10];
    u32 count = 0, length = 0;
    do digits[count++] = (u8)('0' + value % 10);
    while ((value /= 10) != 0);
    while (count > 0) out[length++] = digits[--count];
    return length;
}

static void DrawNumber(u32 value, int x, int y) {
    u8 digits[10];
    textUtf8(digits, PutNumber(digits, value), x, y);
}

static void DrawWords(void) {
    DRAW_COLOURS = 4;
    DrawNumber(lanterns, 4, 4);
    for (u32 i = 0; i < lives && playing; ++i) {
        DRAW_COLOURS = 0x44;
        rect(150 - (int)i * 8, 5, 5, 5);
    }
    if (playing) return;
    DRAW_COLOURS = 4;
    text("NIGHT FERRY", 36, 40);
    DRAW_COLOURS = 3;
    text("best", 56, 52);
    DrawNumber(best, 96, 52);
    DRAW_COLOURS = 4;
    if (frame / 30 % 2) text("press \x80", 52, 146);
}

EXPORT("start") void Start(void) {
    PALETTE[0] = 0x101830;
    PALETTE[1] = 0x2B4A72;
    PALETTE[2] = 0x7FA6C4;
    PALETTE[3] = 0xFBE7A1;
    diskr(&best, sizeof best);
    boatY = 110 * 16;
    for (int i = 0; i < kThings; ++i) things[i].x = -1000;
}

EXPORT("update") void Update(void) {
    const u8 pad = GAMEPADS[0];
    Random(); /* what comes depends on when the player begins */
    if (playing) {
        Move(pad);
    } else {
        way += 8;
        if (pad & ~before & 1) Begin();
    }
    before = pad;
    ++frame;
    DrawSky();
    DrawHills();
    DrawLake();
    for (int i = 0; i < kThings; ++i) {
        if (things[i].x > -16 * 16) DrawThing(&things[i]);
    }
    DrawBoat();
    DrawWords();
}
