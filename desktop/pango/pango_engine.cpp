#include "desktop/pango/pango_engine.h"

#include <pango/pango.h>

#include "desktop/pango/fits.h"
#include "desktop/pango/labels.h"
#include "desktop/pango/layout_text.h"
#include "desktop/pango/simple_text.h"
#include "desktop/pango/text_font.h"
#include "desktop/pango/typeface.h"
#include "desktop/text_engine.h"

namespace moxi {

namespace {

double Measure(TextFont* font, std::string_view text) {
    return FindLabel(*font, text, false).width;
}

TextFit Fit(TextFont* font, std::string_view text, double width) {
    return FitText(*font, text, width);
}

TextPicture Draw(TextFont* font, std::string_view text, bool underline, i32 columns) {
    Label& label = FindLabel(*font, text, underline);
    DrawLabel(*font, text, underline, columns, label);
    return label.picture;
}

}  // namespace

void StartPangoText() {
    // Pango keeps the language that it finds when it is asked first. Asked here, before the locale
    // is set, it finds the same one for every user, so that the pictures are the same too. The
    // answer is volatile so that the compiler does not leave the call out.
    [[maybe_unused]] static const PangoLanguage* volatile language = pango_language_get_default();
    textEngine = {
        .makeFont = NewTextFont,
        .releaseFont = DeleteTextFont,
        .line = [](const TextFont* font) { return font->line; },
        .measure = Measure,
        .fit = Fit,
        .draw = Draw,
    };
}

void ResetPangoText() {
    ForgetLabels();
    ForgetFits();
    ResetSimpleText();
    ResetLayoutText();
    ResetTypefaces();
}

}  // namespace moxi
