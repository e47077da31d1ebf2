#pragma once

namespace tavik {

// From now on, what an assistive tool selects in the list of a combo box is chosen, as by a click:
// else it would be marked there and nothing else. Lists are called as their combo boxes are.
void letToolsChooseInLists();

} // namespace tavik
