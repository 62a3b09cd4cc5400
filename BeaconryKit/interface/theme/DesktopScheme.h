#pragma once

#include <QObject>

#include <memory>

namespace pelorin {

/// Whether the user wants dark windows, as the desktop says it apart from its palette. Main thread.
class DesktopScheme : public QObject {
    Q_OBJECT

public:
    enum class Scheme {
        /// The desktop does not say; its palette may.
        unspecified,
        dark,
        light
    };

    /// The scheme of this process's desktop. It is `unspecified` until the desktop has answered.
    static std::unique_ptr<DesktopScheme> ofDesktop();

    Scheme scheme() const { return m_scheme; }

signals:
    void changed();

protected:
    void setScheme(Scheme scheme);

private:
    Scheme m_scheme = Scheme::unspecified;
};

} // namespace pelorin
