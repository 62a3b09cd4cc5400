#pragma once

#include <QQuickView>

namespace pelorin {

/// The application's one ordinary window. Closing it hides it. Main thread.
class ManagerWindow final : public QQuickView {
    Q_OBJECT

public:
    /// The engine must outlive the window.
    explicit ManagerWindow(QQmlEngine* engine);

signals:
    /// The user holds down the key that reaches controls by a letter of theirs, or has let it go.
    void mnemonicKeyChanged(bool isDown);

protected:
    bool event(QEvent* event) override;
};

} // namespace pelorin
