// For processors that nothing is translated for: the interpreter runs everything.

#include "translate/translator.h"

namespace moxi {

constinit TranslatorCounts translatorCounts;

bool StartTranslator(const TranslatorOptions&) {
    return false;
}

void StopTranslator() {}

void SettleTranslatedRun() {}

}  // namespace moxi
