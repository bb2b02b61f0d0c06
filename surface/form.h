#pragma once
// Lays the controls of a surface out as a form: a panel in the middle with a title and tabs at its
// head, rows that scroll, and buttons at its foot.

#include "surface/controls.h"

namespace moxi {

// To be called after the last AddControl; ends the list. Needs no more room than 200 x 150 units,
// and takes no more than it needs.
void LayOutForm(Surface& surface);

}  // namespace moxi
