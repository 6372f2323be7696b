// The look of the host's own window, dark or light; the console follows it.
#pragma once

class QApplication;

namespace host {

void ApplyHostTheme(QApplication& app, bool light);

}  // namespace host
