#pragma once

#include "BeaconryApp/AskAnswering.h"
#include "tests/support/Eventually.h"
#include "tests/support/MemoryUserDefaults.h"
#include "tests/support/RecordingLauncher.h"
#include "tests/support/RecordingRaiser.h"
#include "tests/support/TestProcess.h"
#include "tests/support/TmuxServer.h"

#include "BeaconryKit/service/EventRouter.h"
#include "BeaconryKit/service/EventServer.h"
#include "BeaconryKit/terminal/ProcessRunner.h"

#include <QJsonArray>
#include <QTemporaryDir>
#include <gmock/gmock.h>

namespace pelorin {

/// How long a CLI may take for what it does.
inline constexpr std::chrono::milliseconds cliPatience = std::chrono::seconds(60);

/// The service with the answers to it, as the application joins them, beside real CLIs in a real tmux. Their models are
/// stood in for, and they have homes of their own. The CLIs are in the folder that PELORIN_CLIS names.
class CliTest : public ::testing::Test {
protected:
    CliTest();
    ~CliTest() override;
    void SetUp() override;

    enum class Hooks { installed, none };

    /// Starts the CLI ("claude", "codex", "gemini" or "opencode") in a session of its own, in that tmux server (the
    /// default one for an empty path), and waits until it takes a prompt. Returns its pane.
    QString startCli(const QString& name, Hooks hooks, const QStringList& arguments = {}, const QString& socket = {});

    /// Has the CLI's model call tools: a list of steps, each a list of calls, each a pair of name and input.
    void prompt(const QString& pane, const QJsonArray& steps, const QString& socket = {});
    /// One step with one call.
    static QJsonArray call(const QString& tool, const QJsonObject& input);

    QString screen(const QString& pane, const QString& socket = {});
    bool waitForScreen(const QString& pane, const QString& text, const QString& socket = {},
                       std::chrono::milliseconds limit = cliPatience);
    void press(const QString& pane, const QString& key, const QString& socket = {});

    /// A row as the helper would post it, for what is tried without its hook.
    AskEvent row(const QString& source, const QString& pane, const QString& message);

    /// Waits for a row of the CLI that says the text, and unfolds it.
    AskEvent unfoldedRow(const QString& text);
    AskEvent unfolded(const AskEvent& ask);
    QStringList labels(const AskEvent& ask);
    bool isShown(const AskEvent& ask) { return store.ask(ask.id()) != nullptr; }
    void pick(const AskEvent& ask, const QString& label);
    void say(const AskEvent& ask, const QString& text);

    /// A file in the folder that the CLIs work in.
    QString workPath(const QString& name) const { return m_folder.filePath("work/" + name); }

    TmuxServer tmux;
    const std::unique_ptr<Dispatch> dispatch = makeSystemDispatch();
    MemoryUserDefaults defaults{{{"relayURL", ""}, {"showPlainNotifications", true}}};
    ProcessRunner runner;
    RecordingLauncher launcher;
    RecordingRaiser raiser;
    AskStore store;
    SessionRegistry registry;
    NotifierSettings settings{defaults};
    DecisionRouter router{*dispatch};
    RequestDetails details{store};
    TerminalFocus focus{launcher, raiser};
    AskAnswering answering{{.store = store,
                            .registry = registry,
                            .settings = settings,
                            .router = router,
                            .focus = focus,
                            .runner = runner,
                            .details = &details,
                            .dispatch = dispatch.get()}};

private:
    void writeFile(const QString& path, const QByteArray& text);
    QString prepareHome(const QString& name, Hooks hooks);
    QStringList tmuxArguments(const QString& socket, const QStringList& arguments) const;

    QTemporaryDir m_folder;
    std::shared_ptr<EventRouter> m_eventRouter;
    std::unique_ptr<EventServer> m_server;
    std::unique_ptr<TestProcess> m_models;
    QString m_modelsAddress;
    QStringList m_sockets;
    int m_count = 0;
};

} // namespace pelorin
