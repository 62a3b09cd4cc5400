#pragma once

namespace pelorin {

/// Has the program started again in its place when its Wayland compositor goes, a few times at the most; the new one
/// waits for the compositor to come back. To be called once, after the windowing system was chosen. `arguments` are
/// those of main() and must last.
void startAgainWhenCompositorGoes(char** arguments);

/// Whether this is a start in place of a process that has lost its compositor, and the compositor has not come back:
/// then there is nothing to start for. Waits five seconds for it. To be called before the windowing system is chosen.
bool hasLostCompositorForGood();

} // namespace pelorin
