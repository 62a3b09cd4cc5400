#pragma once

#include <memory>

class QQmlEngine;

namespace pelorin {

/// An engine that knows our QML module, compiled ahead of time, and draws in software: a third of the memory of a
/// graphics context. One engine may serve every window. Call it on the main thread, once the application object
/// exists and before the first window is made; destroy the engine before the application object.
std::shared_ptr<QQmlEngine> makeInterfaceEngine();

} // namespace pelorin
