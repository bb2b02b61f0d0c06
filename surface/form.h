#pragma once
// Lays the controls of a surface out as a form: a panel in the middle with a title and tabs at its
// head, rows that scroll, and buttons at its foot.

#include "surface/controls.h"

namespace moxi {

// Ends the list: the controls that were added until then get their places. 200 x 150 units are room
// enough.
void LayOutForm(Surface& surface);

}  // namespace moxi
