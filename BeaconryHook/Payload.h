#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace pelorin::hook {

/// The members of a CLI's hook payload that matter here, each as its JSON text; empty where there is none. The text
/// that they were read from must outlive this.
struct Payload {
    std::string_view sessionId;
    std::string_view cwd;
    std::string_view message;
    std::string_view toolName;
    std::string_view toolInput;
    std::string_view notificationType;
    std::string_view agentType;
    // These are not for the application.
    std::string_view agentId;
    std::string_view eventName;
    std::string_view transcriptPath;
};

/// Texts that a payload points to and that no CLI has composed.
struct PayloadTexts {
    std::string message;
    std::string toolInput;
};

/// What the helper itself knows about the session. A text that is empty is not known.
struct HookEnvironment {
    /// The CLI's name.
    std::string_view source = {};
    /// The session's terminal, without "/dev/".
    std::string_view tty = {};
    std::string_view terminalProgram = {};
    std::string_view tmuxPane = {};
    std::string_view weztermPane = {};
    std::string_view kittyWindowId = {};
    /// The socket of the tmux server that the pane belongs to.
    std::string_view tmuxServer = {};
    /// This process; 0 leaves away all that only our own helper tells.
    pid_t helperProcess = 0;
    /// The CLI's process; 0 when it is not known.
    pid_t cliProcess = 0;
    /// When that was started, as `ProcessFacts` has it.
    std::uint64_t cliStartTime = 0;
};

/// The server's socket in what tmux leaves in the variable TMUX: the socket, the server's process and the session's
/// number, parted by commas. Empty when that is not what stands there.
std::string_view tmuxServerIn(std::string_view variable);

/// What a session says of itself when it begins.
struct SessionStart {
    std::string_view label = {};
    /// Whether the user started the session to be followed.
    bool isOptedIn = false;
};

/// Reads a complete object. Of members that stand twice the last one counts.
Payload readPayload(std::string_view object);

/// Composes the JSON bodies that the application takes. What the payload holds under the names of the helper's own
/// members does not get through.
class BodyComposer {
public:
    BodyComposer(const Payload& payload, const HookEnvironment& environment);

    /// Makes it a permission request that is answered under this id.
    void addRequestId(std::string_view requestId);

    void addSessionStart(const SessionStart& start);

    /// The body. Nothing may be added afterwards.
    std::string take();

private:
    void addHelper(const HookEnvironment& environment);
    void addRaw(std::string_view name, std::string_view value);
    void addText(std::string_view name, std::string_view text);
    void addName(std::string_view name);

    std::string m_body = "{";
};

} // namespace pelorin::hook
