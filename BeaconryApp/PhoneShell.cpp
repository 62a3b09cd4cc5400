#include "BeaconryApp/PhoneShell.h"

namespace pelorin {

PhoneShell::PhoneShell(Dispatch& dispatch, std::shared_ptr<const RelayGate> gate, Output onOutput)
    : m_dispatch(dispatch), m_gate(std::move(gate)), m_onOutput(std::move(onOutput)) {
}

PtyShell& PhoneShell::shell() {
    std::call_once(m_made, [this] {
        m_shell = std::make_unique<PtyShell>(m_dispatch, [this](const QByteArray& bytes) {
            const QString text = m_stream.decode(bytes);
            if (!text.isEmpty())
                m_onOutput(text);
        });
    });
    return *m_shell;
}

void PhoneShell::type(const QString& text) {
    if (!isAllowed())
        return;
    if (!shell().isRunning())
        shell().start(defaultColumns, defaultRows);
    shell().send(text);
}

void PhoneShell::resize(int columns, int rows) {
    if (!isAllowed())
        return;
    if (shell().isRunning())
        shell().resize(columns, rows);
    else
        shell().start(columns, rows);
}

void PhoneShell::restart() {
    if (isAllowed())
        shell().start(defaultColumns, defaultRows);
}

void PhoneShell::stop() {
    shell().stop();
}

} // namespace pelorin
