#pragma once
// Modal boxes that we draw ourselves, because the message boxes that come with SDL need fonts or
// programs that many desktops do not have.

#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

// desktop.alert: a warning sign, the text and the button "Sigh".
void ShowAlert(const std::string& utf8);

// desktop.alertOrEnd: with the button "End" besides.
bool ShowAlertOrEnd(const std::string& utf8);

struct BoxText {
    std::string title;                 // of the window
    std::string message;               // wrapped as it needs
    std::vector<std::string> buttons;  // from the right to the left; the first is the default
    int cancelButton = 0;              // the button that Escape and the close button press
};

// Shows the box and returns the index of the pressed button. -1 when it cannot be shown, or when
// `stop` (may be null), which is asked again and again, returns true. The caller is inside the
// gate.
int ShowBox(const BoxText& text, bool (*stop)());

}  // namespace moxi
