// What a screen reader finds of a control that is a window: name, role, value and range, and how to set the
// value.
#pragma once

class ControlWindow;

/// Lets control windows answer; once for the process.
void InstallControlAccessibility();
/// Tells that the value is another one.
void AnnounceControlValue(ControlWindow& window);
