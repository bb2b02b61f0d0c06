#pragma once

namespace moxi {

// Closes every descriptor but the standard streams and this one. For helper processes, which are
// copies of the program's and would hold open what others talk through, or what the program was
// started with.
void CloseOthers(int kept);

}  // namespace moxi
