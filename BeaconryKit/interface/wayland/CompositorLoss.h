#pragma once

namespace pelorin {

/// Starts the program again, in the same process, when its Wayland compositor goes: a few times at the most. The new
/// program waits for the compositor to come back. To be called once, after the windowing system was chosen. `arguments`
/// are those of main() and must last.
void startAgainWhenCompositorGoes(char** arguments);

/// Whether this program was started again because its compositor went, and the compositor has not come back: then it
/// should end. Waits five seconds for the compositor. To be called before the windowing system is chosen.
bool hasLostCompositorForGood();

} // namespace pelorin
