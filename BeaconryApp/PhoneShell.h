#pragma once

#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/relay/RelayGate.h"
#include "BeaconryKit/terminal/PtyShell.h"
#include "BeaconryKit/terminal/Utf8Stream.h"

#include <QString>

#include <functional>
#include <memory>
#include <mutex>

namespace pelorin {

/// The shell that a phone drives, behind the user's switch: as long as the gate holds no configuration for the phone
/// terminal, what comes from a phone does nothing at all. All operations may be called from any thread.
class PhoneShell {
public:
    /// Takes what the shell printed, as text; never cut inside a character. Called on the shell's own queue.
    using Output = std::function<void(const QString& text)>;

    /// The size of a shell that starts before the phone has told its own.
    static constexpr int defaultColumns = 80;
    static constexpr int defaultRows = 24;

    /// The dispatch must outlive the shell. No shell runs, and no queue is made, before the first use.
    PhoneShell(Dispatch& dispatch, std::shared_ptr<const RelayGate> gate, Output onOutput);

    /// Types the text into the shell, which is started if none runs.
    void type(const QString& text);

    /// Changes the size of the shell's terminal, or starts a shell of that size. Each from 0 to
    /// `PtyShell::largestSize`.
    void resize(int columns, int rows);

    /// Starts a shell in place of the one that runs.
    void restart();

    /// Ends the shell. Does nothing when none runs. Not gated.
    void stop();

    /// Counts output as being on its way (see `PtyShell::hold`). For the output callback.
    Task hold(const QString& text) { return m_shell->hold(text.size()); }

private:
    bool isAllowed() const { return m_gate->termConfig().has_value(); }
    PtyShell& shell();

    Dispatch& m_dispatch;
    const std::shared_ptr<const RelayGate> m_gate;
    const Output m_onOutput;
    // Used on the shell's queue only.
    Utf8Stream m_stream;
    std::once_flag m_made;
    // Destroyed first: it waits for output that is being handed on.
    std::unique_ptr<PtyShell> m_shell;
};

} // namespace pelorin
