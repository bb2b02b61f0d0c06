// For processors that nothing is translated for: the interpreter runs everything.

#include "translate/translator.h"

namespace moxi {

constinit TranslatorCounts translatorCounts;

TranslatorStart StartTranslator(const TranslatorOptions&) {
    return TranslatorStart::Unsupported;
}

void StopTranslator() {}

void SettleTranslatedRun() {}

}  // namespace moxi
