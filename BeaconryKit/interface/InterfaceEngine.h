#pragma once

#include <memory>

class QQmlEngine;

namespace pelorin {

/// The engine behind our windows, made when the first of them is. It knows our QML module, compiled ahead of time, and
/// draws in software: a third of the memory of a graphics context. One may serve every window. Lives on the main thread
/// and is destroyed before the application object.
class InterfaceEngine {
public:
    InterfaceEngine();
    ~InterfaceEngine();
    InterfaceEngine(const InterfaceEngine&) = delete;
    InterfaceEngine& operator=(const InterfaceEngine&) = delete;

    /// The engine, made by the first call, which needs the application object and comes before the first window.
    QQmlEngine& qml();

private:
    std::unique_ptr<QQmlEngine> m_qml;
};

} // namespace pelorin
