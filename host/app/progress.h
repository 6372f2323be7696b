// Long work with a window that shows how far it is and ends it.
#pragma once

#include <functional>

class QString;
class QWidget;

namespace host {

/// Returns when the work has ended: true, what it throws, or false where somebody wanted it to end first. It
/// runs on a thread of its own and calls what it is given with 0..1; that answers false from then on. The
/// window comes when the work takes long, or at once. [ui-thread]
bool RunWithProgress(QWidget* parent, const QString& title, const QString& text, bool isLong,
                     const std::function<void(const std::function<bool(double)>&)>& work);

}  // namespace host
