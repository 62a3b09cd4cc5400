#include "tests/clis/CliSession.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <csignal>

namespace pelorin {

namespace {

const QString keyEnd = QStringLiteral("0123456789abcdefghij");

/// Where a CLI's program is in the folder of the packages, and when it takes a prompt.
struct Program {
    QString path;
    QString readyText;
    QString environment;
};

Program programOf(const QString& name, const QString& models) {
    if (name == "claude")
        return {"@anthropic-ai/claude-code-linux-x64/claude", "for shortcuts",
                "CLAUDE_CODE_DISABLE_NONESSENTIAL_TRAFFIC=1 ANTHROPIC_API_KEY=sk-ant-api03-" + keyEnd +
                    " ANTHROPIC_BASE_URL=" + models};
    if (name == "codex")
        return {".bin/codex", "Ask Codex to do anything", "MODEL_KEY=none"};
    if (name == "gemini")
        return {".bin/gemini", "Type your message", "GEMINI_API_KEY=none GOOGLE_GEMINI_BASE_URL=" + models};
    return {"opencode-linux-x64/bin/opencode", "Ask anything", "OPENCODE_DISABLE_MODELS_FETCH=1"};
}

} // namespace

CliTest::CliTest() = default;

CliTest::~CliTest() {
    // A CLI may outlive its terminal.
    m_sockets.append(QString());
    for (const QString& socket : m_sockets) {
        const QString panes = tmux.run(tmuxArguments(socket, {"list-panes", "-a", "-F", "#{pane_pid}"}));
        for (const QString& line : panes.split(u'\n', Qt::SkipEmptyParts)) {
            if (const int leader = line.toInt(); leader > 1)
                kill(-leader, SIGKILL);
        }
        tmux.run(tmuxArguments(socket, {"kill-server"}));
    }
}

void CliTest::SetUp() {
    if (qEnvironmentVariable("PELORIN_CLIS").isEmpty())
        GTEST_SKIP() << "PELORIN_CLIS names no folder with the CLIs.";
    QDir().mkpath(workPath("."));
    const QString portFile = m_folder.filePath("models-port");
    m_models = TestProcess::start(
        {.command = {"/usr/bin/env", "node", PELORIN_SOURCE_DIR "/tests/clis/models.mjs", portFile.toStdString()},
         .environment = {"PATH=" + qgetenv("PATH").toStdString()}});
    ASSERT_TRUE(eventually([&] { return QFile::exists(portFile); }));
    QFile port(portFile);
    ASSERT_TRUE(port.open(QIODevice::ReadOnly));
    m_modelsAddress = "http://127.0.0.1:" + port.readAll();

    m_eventRouter = EventRouter::create(*dispatch, store, registry, settings, router, {});
    m_eventRouter->keepDetails(details);
    m_server = std::make_unique<EventServer>(
        0, true, [this](const QByteArray& path, const QByteArray& body, const WaitingHook& hook) {
            dispatch->mainQueue().async([=, this] { m_eventRouter->route(path, body, hook); });
        });
    ASSERT_EQ(m_server->start(), std::nullopt);
}

QString CliTest::startCli(const QString& name, Hooks hooks, const QStringList& arguments, const QString& socket) {
    const QString home = prepareHome(name, hooks);
    const Program program = programOf(name, m_modelsAddress);
    if (!socket.isEmpty() && !m_sockets.contains(socket))
        m_sockets.append(socket);
    QString command =
        QString("cd '%1' && exec env -i PATH=\"$PATH\" TERM=\"$TERM\" TMUX=\"$TMUX\" "
                "TMUX_PANE=\"$TMUX_PANE\" LANG=C.UTF-8 NO_PROXY=127.0.0.1 HOME='%2' BEACONRY_PORT=%3 "
                "PELORIN_HOOK_HELPER='%4' %5 '%6/node_modules/%7'")
            .arg(workPath("."), home, QString::number(m_server->port()), PELORIN_BINARY_DIR "/pelorin-hook",
                 program.environment, qEnvironmentVariable("PELORIN_CLIS"), program.path);
    for (const QString& argument : arguments)
        command += " '" + argument + "'";
    const QString pane =
        tmux.run(tmuxArguments(socket, {"-u", "-f", "/dev/null", "new-session", "-d", "-P", "-F", "#{pane_id}", "-x",
                                        "110", "-y", "45", "-s", QString("cli%1").arg(++m_count), command}));
    EXPECT_NE(pane, "");
    EXPECT_TRUE(waitForScreen(pane, program.readyText, socket)) << screen(pane, socket).toStdString();
    return pane;
}

void CliTest::prompt(const QString& pane, const QJsonArray& steps, const QString& socket) {
    const QString text = "use " + QJsonDocument(steps).toJson(QJsonDocument::Compact);
    // A CLI may say that it takes words before it does. Where it wraps them is its own affair.
    bool isTyped = false;
    for (int attempt = 0; attempt < 6 && !isTyped; ++attempt) {
        tmux.run(tmuxArguments(socket, {"send-keys", "-t", pane, "-l", "--", text}));
        isTyped = waitForScreen(pane, "[[[", socket, cliPatience / 6);
    }
    EXPECT_TRUE(isTyped) << screen(pane, socket).toStdString();
    // A Return that comes with the words could be a new line among them.
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    press(pane, "Enter", socket);
}

QJsonArray CliTest::call(const QString& tool, const QJsonObject& input) {
    return {QJsonArray{QJsonArray{tool, input}}};
}

QString CliTest::screen(const QString& pane, const QString& socket) {
    return tmux.run(tmuxArguments(socket, {"capture-pane", "-p", "-t", pane}));
}

bool CliTest::waitForScreen(const QString& pane, const QString& text, const QString& socket,
                            std::chrono::milliseconds limit) {
    return eventually([&] { return screen(pane, socket).contains(text); }, limit);
}

void CliTest::press(const QString& pane, const QString& key, const QString& socket) {
    tmux.run(tmuxArguments(socket, {"send-keys", "-t", pane, key}));
}

AskEvent CliTest::row(const QString& source, const QString& pane, const QString& message) {
    const AskEvent ask{.sessionId = "by-hand", .message = message, .source = source, .tmuxPane = pane};
    store.upsert(ask);
    details.keep(ask, HelperDetails{.version = 1});
    return ask;
}

AskEvent CliTest::unfoldedRow(const QString& text) {
    SharedAsk found;
    EXPECT_TRUE(eventually(
        [&] {
            for (const SharedAsk& ask : store.asks()) {
                if (ask->displayMessage().contains(text))
                    found = ask;
            }
            return found != nullptr;
        },
        cliPatience))
        << text.toStdString();
    return found ? unfolded(*found) : AskEvent{};
}

AskEvent CliTest::unfolded(const AskEvent& ask) {
    // The hook may be ahead of the CLI's dialog.
    eventually(
        [&] {
            answering.handle(ask, AskAction::expand());
            const SharedAsk row = store.ask(ask.id());
            return !row || !row->options.isEmpty();
        },
        std::chrono::seconds(5));
    const SharedAsk row = store.ask(ask.id());
    return row ? *row : AskEvent{};
}

QStringList CliTest::labels(const AskEvent& ask) {
    QStringList labels;
    if (const SharedAsk row = store.ask(ask.id())) {
        for (const PromptOption& option : row->options)
            labels.append(option.label);
    }
    return labels;
}

void CliTest::pick(const AskEvent& ask, const QString& label) {
    const QStringList all = labels(ask);
    ASSERT_TRUE(all.contains(label)) << all.join(" | ").toStdString();
    answering.handle(*store.ask(ask.id()), AskAction::option(all.indexOf(label)));
}

void CliTest::say(const AskEvent& ask, const QString& text) {
    const SharedAsk row = store.ask(ask.id());
    ASSERT_TRUE(row);
    answering.handle(*row, AskAction::text(text));
}

void CliTest::writeFile(const QString& path, const QByteArray& text) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
}

QString CliTest::prepareHome(const QString& name, Hooks hooks) {
    const QString home = m_folder.filePath(QString("home-%1-%2").arg(name).arg(m_count));
    QDir().mkpath(home);
    if (name == "claude") {
        const QJsonObject state{{"hasCompletedOnboarding", true},
                                {"theme", "dark"},
                                // It would ask whether it may decide by itself from now on.
                                {"hasSeenAutoDefaultNudge", true},
                                {"hasResetAutoModeOptInForDefaultOffer", true},
                                {"customApiKeyResponses", QJsonObject{{"approved", QJsonArray{keyEnd}}}},
                                {"projects", QJsonObject{{QFileInfo(workPath(".")).canonicalFilePath(),
                                                          QJsonObject{{"hasTrustDialogAccepted", true}}}}}};
        writeFile(home + "/.claude.json", QJsonDocument(state).toJson());
        writeFile(home + "/.claude/settings.json", R"({"permissions":{"defaultMode":"default"}})");
    } else if (name == "codex") {
        writeFile(home + "/.codex/config.toml",
                  "model = \"test\"\nmodel_provider = \"test\"\napproval_policy = \"on-request\"\n"
                  "sandbox_mode = \"read-only\"\n[model_providers.test]\nname = \"test\"\nwire_api = \"responses\"\n"
                  "env_key = \"MODEL_KEY\"\nbase_url = \"" +
                      m_modelsAddress.toUtf8() + "/v1\"\n[features]\ndaemon_auto_start = false\n[projects.\"" +
                      QFileInfo(workPath(".")).canonicalFilePath().toUtf8() + "\"]\ntrust_level = \"trusted\"\n");
    } else if (name == "gemini") {
        writeFile(home + "/.gemini/settings.json",
                  R"({"security":{"auth":{"selectedType":"gemini-api-key"},"folderTrust":{"enabled":false}},)"
                  R"("general":{"disableAutoUpdate":true}})");
    } else {
        writeFile(home + "/.config/opencode/opencode.json",
                  R"({"model":"test/test","permission":{"bash":"ask","edit":"ask"},"autoupdate":false,"provider":)"
                  R"({"test":{"npm":"@ai-sdk/openai-compatible","name":"Test","options":{"apiKey":"none","baseURL":")" +
                      m_modelsAddress.toUtf8() + R"(/v1"},"models":{"test":{"name":"Test"}}}}})");
    }
    if (hooks == Hooks::installed) {
        const auto install = TestProcess::start(
            {.command = {PELORIN_SOURCE_DIR "/scripts/install-hooks.sh", "--cli", name.toStdString()},
             .environment = {"PATH=/usr/bin:/bin", "HOME=" + home.toStdString(),
                             "PELORIN_HOOK_SETUP=" PELORIN_BINARY_DIR "/pelorin-hook-setup"}});
        EXPECT_EQ(install->waitForExit(), exited(0)) << install->output() << install->errors();
    }
    return home;
}

QStringList CliTest::tmuxArguments(const QString& socket, const QStringList& arguments) const {
    return socket.isEmpty() ? arguments : QStringList{"-S", socket} + arguments;
}

} // namespace pelorin
