#include "preferences.h"

#include "chooser.h"
#include "dialogue.h"
#include "play.h"
#include "saving.h"

void SetTheme(bool dark) {
    kept.dark = dark;
    UseTheme(dark);
    ForgetPictures();
    RecolourPlay();
    Redraw();
}

static const char* Accept(config_item* items) {
    kept.wheelUndoes = items[1].u.boolean.bval;
    kept.showsKeys = items[2].u.boolean.bval;
    SetTheme(items[0].u.choices.selected == 1);
    LayOutPlay();
    SavePreferences();
    return NULL;
}

void OpenPreferences(void) {
    config_item* const items = snewn(4, config_item);
    items[0] = (config_item){.name = "Colours", .type = C_CHOICES};
    items[0].u.choices.choicenames = ":Light:Dark";
    items[0].u.choices.selected = kept.dark;
    items[1] = (config_item){.name = "The wheel undoes and redoes", .type = C_BOOLEAN};
    items[1].u.boolean.bval = kept.wheelUndoes;
    items[2] = (config_item){.name = "Keys to click below the puzzle", .type = C_BOOLEAN};
    items[2].u.boolean.bval = kept.showsKeys;
    items[3] = (config_item){.type = C_END};
    OpenDialogue("Preferences", items, Accept);
}
