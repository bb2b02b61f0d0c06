// A checksum of the game's state in every second of it, so that two builds of the engine can be
// compared.

#include <stdint.h>
#include <stdio.h>

#include "engine.h"

#include "d_loop.h"
#include "d_think.h"
#include "doomstat.h"
#include "p_local.h"

static uint32_t sum;

static void Add(int value) {
    sum = (sum ^ (uint32_t)value) * 16777619u;
}

static void AddBody(const mobj_t* body) {
    Add(body->x), Add(body->y), Add(body->z);
    Add(body->momx), Add(body->momy), Add(body->momz);
    Add((int)body->angle);
    Add((int)body->type), Add(body->health), Add(body->tics), Add(body->flags);
}

static void AddPlayer(const player_t* player) {
    Add(player->health), Add(player->armorpoints);
    Add((int)player->readyweapon), Add(player->viewz);
    Add(player->killcount), Add(player->itemcount), Add(player->secretcount);
    for (int i = 0; i < NUMAMMO; ++i) Add(player->ammo[i]);
}

// Every body of the level, and the first random number to come.
static void AddLevel(void) {
    if (gamestate != GS_LEVEL) return;
    for (const thinker_t* at = thinkercap.next; at != NULL && at != &thinkercap; at = at->next) {
        if (at->function.acp1 == (actionf_p1)P_MobjThinker) AddBody((const mobj_t*)at);
    }
    Add(leveltime);
}

void TellState(void) {
    static int told = -1;
    if (gametic % TICRATE != 0 || gametic == told || !HasArgument("-states")) return;
    told = gametic;
    const player_t* const player = &players[consoleplayer];
    sum = 2166136261u;
    AddPlayer(player);
    AddLevel();
    Add(rndindex), Add(prndindex), Add((int)gamestate), Add(gamemap);
    const mobj_t* const body = gamestate == GS_LEVEL ? player->mo : NULL;
    printf("state %d: %08x map %d at %d,%d health %d kills %d\n", gametic, (unsigned)sum, gamemap,
           body ? body->x >> FRACBITS : 0, body ? body->y >> FRACBITS : 0, player->health,
           player->killcount);
}
