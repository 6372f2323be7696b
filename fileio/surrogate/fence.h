// What the process of plug-ins gives up, so that a file that takes one over gains little.
#pragma once

namespace tarn {

/// At the start, with the descriptors up to that one: no new privileges, no core file, bounded memory, and an
/// end with the program.
void RaiseFirstFence(int lastDescriptor);
/// Before the first file, for good: no network, no other program, no look into other processes, nothing
/// written but what is open. False where the system has no such filter.
bool RaiseFence();

}  // namespace tarn
