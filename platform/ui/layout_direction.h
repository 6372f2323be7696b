// Direction in which the process lays out its windows.
#pragma once

/// Right to left for languages written so. Takes effect on the application's windows at once; without an
/// application it does nothing. [page-thread]
void SetProcessDefaultLayout(bool rightToLeft);
