#pragma once

class QFileDialog;

namespace tavik {

// Makes the dialog that comes where the platform brings none fit for use: the list that completes
// names gets a ground, and the columns the width they need. Call it before the dialog is shown.
void furnishFileDialog(QFileDialog& dialog);

} // namespace tavik
