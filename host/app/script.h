// A run without a person: gestures on the page, a while of playing, then picture, render and report.
#pragma once

namespace host {

class MainWindow;
class Project;
struct Options;

/// Returns the exit code: 0 only when all was done. What went wrong goes to stderr, a line each. [ui-thread]
int RunScript(MainWindow& window, Project& project, const Options& options);

}  // namespace host
