// The look of the host's own window: dark, to stand beside the console.
#pragma once

class QApplication;

namespace host {

void ApplyHostTheme(QApplication& app);

}  // namespace host
