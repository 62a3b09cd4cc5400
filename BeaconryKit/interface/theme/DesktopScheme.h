#pragma once

#include <QObject>

#include <memory>

namespace pelorin {

/// Whether the user wants dark windows, where the desktop says so by other means than its palette. Main thread.
class DesktopScheme : public QObject {
    Q_OBJECT

public:
    enum class Scheme {
        /// The desktop does not say; its palette may.
        unspecified,
        dark,
        light
    };

    /// That of the desktop that this process runs on. It may take a moment to be found out.
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
