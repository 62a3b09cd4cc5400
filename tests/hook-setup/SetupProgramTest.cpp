#include "tests/hook-setup/SettingsFiles.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TestProcess.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sys/stat.h>

// The program as a user runs it, with a home of its own.
namespace pelorin::setup {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const std::string program = PELORIN_BINARY_DIR "/pelorin-hook-setup";
const std::string hooks = "/opt/pelorin/hooks";

std::string textOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

struct Result {
    std::optional<ChildExit> exit;
    std::string output;
    std::string errors;
};

class SetupProgram : public testing::Test {
protected:
    const fs::path& home() const { return m_home.path(); }
    fs::path settings() const { return home() / ".claude/settings.json"; }
    fs::path copy() const { return home() / ".claude/settings.json.before-pelorin"; }

    Result run(const std::vector<std::string>& arguments, const std::vector<std::string>& environment = {}) {
        std::vector<std::string> command = {program};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return runCommand(command, environment);
    }

    Result runCommand(const std::vector<std::string>& command, const std::vector<std::string>& environment = {}) {
        ChildOptions options{.command = command, .environment = environment};
        options.environment.push_back("HOME=" + home().string());
        const auto child = TestProcess::start(options);
        EXPECT_TRUE(child);
        Result result{child->waitForExit(), {}, {}};
        result.output = child->output();
        result.errors = child->errors();
        return result;
    }

    // Installs or uninstalls without a complaint, and gives what is said.
    std::string claude(const std::string& action) { return done({action, "claude", "--hooks", hooks}); }

    std::string done(const std::vector<std::string>& arguments, const std::vector<std::string>& environment = {}) {
        const Result result = run(arguments, environment);
        EXPECT_EQ(result.exit, exited(0)) << result.errors;
        EXPECT_EQ(result.errors, "");
        return result.output;
    }

    std::vector<std::string> filesAtHome() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(home()))
            found.push_back(fs::relative(entry.path(), home()));
        std::sort(found.begin(), found.end());
        return found;
    }

private:
    TemporaryDirectory m_home;
};

TEST_F(SetupProgram, InstallsTheHooksOfClaudeCode) {
    write(settings(), "{\n  \"model\": \"opus\"\n}\n");
    EXPECT_THAT(claude("install"), StartsWith("Claude Code: installed in " + settings().string() + ".\n"));
    const QJsonObject object = QJsonDocument::fromJson(QByteArray::fromStdString(textOf(settings()))).object();
    EXPECT_EQ(object["model"], "opus");
    const auto hook = [](const QString& name, const QJsonObject& more) {
        QJsonObject entry = more;
        entry["type"] = "command";
        entry["command"] =
            "pelorin='/opt/pelorin/hooks/claude-" + name + "-hook.sh'; [ ! -x \"$pelorin\" ] || exec \"$pelorin\"";
        return QJsonArray{QJsonObject{{"hooks", QJsonArray{entry}}}};
    };
    const QJsonObject shortly{{"timeout", 10}};
    const QJsonObject aside{{"timeout", 10}, {"async", true}};
    EXPECT_EQ(object["hooks"], (QJsonObject{{"SessionStart", hook("register", shortly)},
                                            {"SessionEnd", hook("unregister", shortly)},
                                            {"PermissionRequest", hook("permission", {{"timeout", 600}})},
                                            {"Notification", hook("notify", shortly)},
                                            {"UserPromptSubmit", hook("clear", aside)},
                                            {"PostToolUse", hook("clear", aside)},
                                            {"Stop", hook("clear", aside)}}));
}

// What stands in a CLI's file: for every event the words behind the script's path, the matcher and the options.
struct WrittenHook {
    std::string event;
    std::string arguments;
    QString matcher = {};
    QJsonObject options = {};
};

void expectHooks(const QJsonObject& found, bool isGrouped, const std::vector<WrittenHook>& expected) {
    QJsonObject wanted;
    for (const WrittenHook& hook : expected) {
        QJsonObject entry = hook.options;
        entry["command"] = QString::fromStdString(
            "pelorin='/opt/pelorin/hooks/adapters/cli-hook.sh'; [ ! -x \"$pelorin\" ] || exec \"$pelorin\" " +
            hook.arguments);
        if (isGrouped)
            entry["type"] = "command";
        QJsonObject group{{"hooks", QJsonArray{entry}}};
        if (!hook.matcher.isEmpty())
            group["matcher"] = hook.matcher;
        wanted[QString::fromStdString(hook.event)] = QJsonArray{isGrouped ? group : entry};
    }
    EXPECT_EQ(found["hooks"].toObject(), wanted);
}

QJsonObject objectIn(const fs::path& path) {
    return QJsonDocument::fromJson(QByteArray::fromStdString(textOf(path))).object();
}

TEST_F(SetupProgram, InstallsTheHooksOfCodex) {
    const fs::path file = home() / ".codex/hooks.json";
    EXPECT_THAT(done({"install", "codex", "--hooks", hooks}),
                AllOf(StartsWith("Codex: installed in " + file.string() + ".\n"),
                      HasSubstr("only once you have trusted them")));
    const QJsonObject shortly{{"timeout", 10}};
    const QJsonObject atTheEnd{{"timeout", 3}};
    expectHooks(objectIn(file), true,
                {{"SessionStart", "codex register", {}, shortly},
                 {"SessionEnd", "codex unregister", {}, atTheEnd},
                 {"PermissionRequest", "codex permission", {}, {{"timeout", 600}}},
                 {"UserPromptSubmit", "codex clear", {}, shortly},
                 {"PostToolUse", "codex clear", {}, shortly},
                 {"Stop", "codex clear", {}, shortly},
                 {"Interrupt", "codex clear", {}, atTheEnd}});
    // Codex asks for trust again when a byte changes.
    const std::string text = textOf(file);
    done({"install", "codex", "--hooks", hooks});
    EXPECT_EQ(textOf(file), text);
    done({"uninstall", "codex", "--hooks", hooks});
    EXPECT_THAT(filesAtHome(), IsEmpty());
    done({"install", "codex", "--hooks", hooks}, {"CODEX_HOME=" + (home() / "elsewhere").string()});
    EXPECT_EQ(textOf(home() / "elsewhere/hooks.json"), text);
}

TEST_F(SetupProgram, InstallsTheHooksOfGemini) {
    const fs::path file = home() / ".gemini/settings.json";
    EXPECT_THAT(done({"install", "gemini", "--hooks", hooks}),
                AllOf(StartsWith("Gemini: installed in " + file.string() + ".\n"),
                      EndsWith("\nGemini's policies are left as they are.\n")));
    const QJsonObject shortly{{"name", "Pelorin"}, {"timeout", 10000}};
    const std::vector<WrittenHook> notices = {
        {"SessionStart", "gemini register", {}, shortly}, {"SessionEnd", "gemini unregister", {}, shortly},
        {"Notification", "gemini notify", {}, shortly},   {"BeforeAgent", "gemini clear", {}, shortly},
        {"AfterTool", "gemini clear", {}, shortly},       {"AfterAgent", "gemini clear", {}, shortly}};
    expectHooks(objectIn(file), true, notices);
    EXPECT_THAT(filesAtHome(), ElementsAre(".gemini", ".gemini/settings.json"));
    done({"uninstall", "gemini", "--hooks", hooks});
    EXPECT_THAT(filesAtHome(), IsEmpty());
    done({"install", "gemini", "--hooks", hooks}, {"GEMINI_CLI_HOME=" + (home() / "elsewhere").string()});
    expectHooks(objectIn(home() / "elsewhere/.gemini/settings.json"), true, notices);
}

TEST_F(SetupProgram, KeepsTheQuestionsBeforeToolsThatWereOnceAskedFor) {
    const fs::path file = home() / ".gemini/settings.json";
    write(file, "{\"ui\": {}}\n");
    done({"install", "gemini", "--hooks", hooks});
    EXPECT_FALSE(objectIn(file)["hooks"].toObject().contains("BeforeTool"));
    EXPECT_THAT(done({"install", "gemini", "--hooks", hooks, "--tool-questions"}),
                StartsWith("Gemini: put right in " + file.string() + ".\n"));
    const std::string text = textOf(file);
    const QJsonObject group = objectIn(file).value("hooks")["BeforeTool"][0].toObject();
    EXPECT_EQ(group["matcher"], "^(run_shell_command|write_file|replace|web_fetch|mcp_.*)$");
    EXPECT_EQ(group["hooks"][0]["name"], "Pelorin");
    EXPECT_EQ(group["hooks"][0]["timeout"], 600000);
    EXPECT_TRUE(group["hooks"][0]["command"].toString().endsWith("\" gemini permission"));
    EXPECT_EQ(done({"status", "gemini", "--hooks", hooks}), "Gemini: installed in " + file.string() + ".\n");
    EXPECT_THAT(done({"install", "gemini", "--hooks", hooks}), StartsWith("Gemini: was installed in "));
    EXPECT_EQ(textOf(file), text);
    // Another installation has its scripts elsewhere.
    done({"install", "gemini", "--hooks", "/usr/share/pelorin/hooks"});
    EXPECT_TRUE(objectIn(file)["hooks"].toObject().contains("BeforeTool"));
    done({"uninstall", "gemini", "--hooks", hooks});
    EXPECT_EQ(textOf(file), "{\"ui\": {}}\n");
    EXPECT_THAT(filesAtHome(), ElementsAre(".gemini", ".gemini/settings.json"));
}

TEST_F(SetupProgram, InstallsTheHooksOfCursor) {
    const fs::path file = home() / ".cursor/hooks.json";
    EXPECT_THAT(done({"install", "cursor", "--hooks", hooks}),
                AllOf(StartsWith("Cursor: installed in " + file.string() + ".\n"), HasSubstr("has not been tried")));
    const QJsonObject shortly{{"timeout", 10}};
    const QJsonObject lasting{{"timeout", 600}};
    expectHooks(objectIn(file), false,
                {{"sessionStart", "cursor register", {}, shortly},
                 {"sessionEnd", "cursor unregister", {}, shortly},
                 {"beforeShellExecution", "cursor permission", {}, lasting},
                 {"beforeMCPExecution", "cursor permission", {}, lasting},
                 {"beforeSubmitPrompt", "cursor clear", {}, shortly},
                 {"stop", "cursor clear", {}, shortly}});
    EXPECT_EQ(objectIn(file)["version"], 1);
    done({"uninstall", "cursor", "--hooks", hooks});
    EXPECT_THAT(filesAtHome(), IsEmpty());
    const std::string own = R"({"version": 1, "hooks": {"stop": [{"command": "./mine.sh"}]}})";
    write(file, own);
    done({"install", "cursor", "--hooks", hooks});
    EXPECT_EQ(objectIn(file).value("hooks")["stop"].toArray().size(), 2);
    done({"uninstall", "cursor", "--hooks", hooks});
    EXPECT_EQ(textOf(file), own);
}

TEST_F(SetupProgram, InstallsThePluginOfOpencode) {
    const fs::path file = home() / ".config/opencode/plugin/pelorin.js";
    const std::string odd = "/opt/it's \"odd\" $HOME/hooks";
    const auto opencode = [&](const std::string& action, const std::string& directory = hooks) {
        return done({action, "opencode", "--hooks", directory});
    };
    EXPECT_EQ(opencode("status"), "opencode: not installed.\n");
    EXPECT_THAT(opencode("install"), StartsWith("opencode: installed in " + file.string() + ".\n"));
    const std::string text = textOf(file);
    EXPECT_THAT(text, AllOf(StartsWith("// Pelorin in opencode. "),
                            HasSubstr("pathToFileURL(\"/opt/pelorin/hooks/adapters/opencode.mjs\")")));
    EXPECT_EQ(opencode("status"), "opencode: installed in " + file.string() + ".\n");
    EXPECT_THAT(opencode("install"), StartsWith("opencode: was installed in "));
    EXPECT_EQ(textOf(file), text);
    EXPECT_THAT(opencode("status", odd), HasSubstr("not as it should be"));
    EXPECT_THAT(opencode("install", odd), StartsWith("opencode: put right in "));
    EXPECT_THAT(textOf(file), HasSubstr("pathToFileURL(\"/opt/it's \\\"odd\\\" $HOME/hooks/adapters/opencode.mjs\")"));
    EXPECT_EQ(opencode("uninstall"), "opencode: removed from " + file.string() + ".\n");
    EXPECT_THAT(filesAtHome(), IsEmpty());
    write(file, "export const Mine = async () => ({})\n");
    const Result refused = run({"install", "opencode", "--hooks", hooks});
    EXPECT_EQ(refused.exit, exited(1));
    EXPECT_EQ(refused.errors, "opencode: " + file.string() + " is left as it is, since it is not Pelorin's.\n");
    EXPECT_EQ(opencode("uninstall"), "opencode: was not installed.\n");
    EXPECT_EQ(textOf(file), "export const Mine = async () => ({})\n");
}

TEST_F(SetupProgram, LeavesEveryFileAsItWas) {
    for (const SettingsSample& sample : editableSettings()) {
        SCOPED_TRACE(sample.name);
        write(settings(), sample.text);
        claude("install");
        const std::string installed = textOf(settings());
        EXPECT_NE(installed, sample.text);
        EXPECT_EQ(textOf(copy()), sample.text);
        EXPECT_THAT(claude("install"),
                    StartsWith("Claude Code: was installed in " + settings().string() + " already.\n"));
        EXPECT_EQ(textOf(settings()), installed);
        EXPECT_EQ(claude("uninstall"), "Claude Code: removed from " + settings().string() + ".\n");
        EXPECT_EQ(textOf(settings()), sample.text);
        EXPECT_THAT(filesAtHome(), ElementsAre(".claude", ".claude/settings.json"));
        EXPECT_EQ(claude("uninstall"), "Claude Code: was not installed.\n");
        EXPECT_EQ(textOf(settings()), sample.text);
    }
}

TEST_F(SetupProgram, LeavesEveryHomeAsItWas) {
    claude("install");
    EXPECT_THAT(filesAtHome(), ElementsAre(".claude", ".claude/settings.json"));
    claude("uninstall");
    EXPECT_THAT(filesAtHome(), IsEmpty());
    fs::create_directory(home() / ".claude");
    claude("install");
    claude("uninstall");
    EXPECT_THAT(filesAtHome(), ElementsAre(".claude"));
    claude("uninstall");
    EXPECT_THAT(filesAtHome(), ElementsAre(".claude"));
}

TEST_F(SetupProgram, RefusesWhatItCannotEditSafely) {
    for (const RefusedSample& sample : refusedSettings()) {
        SCOPED_TRACE(sample.name);
        write(settings(), sample.text);
        const Result result = run({"install", "claude", "--hooks", hooks});
        EXPECT_EQ(result.exit, exited(1));
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.errors,
                    AllOf(StartsWith("Claude Code: " + settings().string() + " is left as it is, since " +
                                     sample.fault + ".\nTo have the hooks all the same, put this into it:\n{\n"),
                          EndsWith("\n}\n")));
        const std::string lines = result.errors.substr(result.errors.find("\n{\n"));
        EXPECT_EQ(QJsonDocument::fromJson(QByteArray::fromStdString(lines))["hooks"].toObject().size(), 7);
        EXPECT_EQ(textOf(settings()), sample.text);
        EXPECT_THAT(filesAtHome(), ElementsAre(".claude", ".claude/settings.json"));
        EXPECT_EQ(claude("uninstall"), "Claude Code: was not installed.\n");
        EXPECT_EQ(textOf(settings()), sample.text);
    }
}

TEST_F(SetupProgram, SaysHowToBeRidOfHooksThatItCannotTakeOut) {
    claude("install");
    const std::string text = "// mine\n" + textOf(settings());
    write(settings(), text);
    const Result result = run({"uninstall", "claude", "--hooks", hooks});
    EXPECT_EQ(result.exit, exited(1));
    EXPECT_EQ(result.errors,
              "Claude Code: " + settings().string() +
                  " is left as it is, since line 1 holds a comment.\nTo be rid of the hooks, take out every "
                  "entry whose command begins with pelorin=\n");
    EXPECT_EQ(textOf(settings()), text);
}

TEST_F(SetupProgram, KeepsTheVeryFirstOriginal) {
    write(settings(), "{\"a\": 1}");
    claude("install");
    std::string text = textOf(settings());
    text.replace(text.find("\"a\": 1"), 6, "\"a\": 2");
    write(settings(), text);
    EXPECT_EQ(claude("uninstall"), "Claude Code: removed from " + settings().string() +
                                       ".\nThe file as it was before Pelorin is still in " + copy().string() + ".\n");
    EXPECT_EQ(textOf(settings()), "{\"a\": 2}");
    claude("install");
    EXPECT_EQ(textOf(copy()), "{\"a\": 1}");
    claude("uninstall");
    EXPECT_EQ(textOf(settings()), "{\"a\": 2}");
    EXPECT_EQ(textOf(copy()), "{\"a\": 1}");
}

TEST_F(SetupProgram, RepairsWhatIsDamaged) {
    write(settings(), "{\"a\": 1}");
    claude("install");
    const std::string whole = textOf(settings());
    std::string text = whole;
    text.replace(text.find("\"timeout\": 600"), 14, "\"timeout\": 60");
    write(settings(), text);
    EXPECT_EQ(claude("status"), "Claude Code: installed in " + settings().string() +
                                    ", but not as it should be. Install again to put that right.\n");
    EXPECT_THAT(claude("install"), StartsWith("Claude Code: put right in " + settings().string() + ".\n"));
    EXPECT_EQ(textOf(settings()), whole);
}

TEST_F(SetupProgram, TellsTheStatus) {
    EXPECT_EQ(claude("status"), "Claude Code: not installed.\n");
    EXPECT_THAT(filesAtHome(), IsEmpty());
    claude("install");
    EXPECT_EQ(claude("status"), "Claude Code: installed in " + settings().string() + ".\n");
    write(settings(), "{,}");
    const Result result = run({"status", "claude", "--hooks", hooks});
    EXPECT_EQ(result.exit, exited(1));
    EXPECT_EQ(result.errors, "Claude Code: " + settings().string() + " can't be read, since line 1 is not JSON.\n");
}

TEST_F(SetupProgram, OnlyShowsWhatItWouldDo) {
    const auto rehearse = [this](const std::string& action) {
        const Result result = run({action, "claude", "--hooks", hooks, "--dry-run"});
        EXPECT_EQ(result.exit, exited(0));
        return result.output;
    };
    EXPECT_EQ(rehearse("uninstall"), "Claude Code: nothing would change.\n");
    EXPECT_THAT(rehearse("install"),
                StartsWith("Claude Code: " + settings().string() + " would be made:\n--- /dev/null\n+++ " +
                           settings().string() + "\n@@ "));
    EXPECT_THAT(rehearse("install"), HasSubstr(" @@\n+{\n+  \"hooks\": {\n"));
    EXPECT_THAT(filesAtHome(), IsEmpty());
    const std::string original = "{\n  \"model\": \"opus\",\n  \"env\": {}\n}\n";
    write(settings(), original);
    const std::string difference = rehearse("install");
    EXPECT_THAT(difference, StartsWith("Claude Code: " + settings().string() + " would change:\n--- " +
                                       settings().string() + "\n+++ " + settings().string() + "\n@@ -1,4 +1,"));
    // What stays is shown as staying.
    EXPECT_THAT(difference,
                HasSubstr(" @@\n {\n   \"model\": \"opus\",\n-  \"env\": {}\n+  \"env\": {},\n+  \"hooks\": {\n"));
    EXPECT_THAT(difference, EndsWith("\n+  }\n }\n"));
    EXPECT_EQ(textOf(settings()), original);
    EXPECT_THAT(filesAtHome(), ElementsAre(".claude", ".claude/settings.json"));
    claude("install");
    EXPECT_EQ(rehearse("install"), "Claude Code: nothing would change.\n");
    EXPECT_THAT(rehearse("uninstall"), EndsWith("\n+  \"env\": {}\n }\n"));
}

TEST_F(SetupProgram, SaysThatAFileCannotBeWrittenToItsEnd) {
    write(settings(), "{}");
    const Result result =
        runCommand({"/bin/sh", "-c", "ulimit -f 1; exec \"$@\"", "sh", program, "install", "claude", "--hooks", hooks});
    EXPECT_EQ(result.exit, exited(1));
    EXPECT_EQ(result.errors, "Claude Code: " + settings().string() + ": File too large\n");
    EXPECT_EQ(textOf(settings()), "{}");
    EXPECT_THAT(filesAtHome(), ElementsAre(".claude", ".claude/settings.json", ".claude/settings.json.before-pelorin"));
}

TEST_F(SetupProgram, SaysThatAFileIsReadOnly) {
    write(settings(), "{}");
    fs::permissions(settings(), fs::perms::owner_read);
    const Result result = run({"install", "claude", "--hooks", hooks});
    EXPECT_EQ(result.exit, exited(1));
    EXPECT_EQ(result.errors, "Claude Code: " + settings().string() + ": the file is read-only\n");
    EXPECT_THAT(filesAtHome(), ElementsAre(".claude", ".claude/settings.json"));
}

TEST_F(SetupProgram, SaysThatAFolderIsReadOnly) {
    write(settings(), "{}");
    std::vector<std::string> command = {program, "install", "claude", "--hooks", hooks};
    // To the superuser no folder is read-only.
    if (geteuid() == 0) {
        command.insert(command.begin(), {"/usr/bin/setpriv", "--reuid=65534", "--clear-groups"});
        for (const fs::path& path : {home(), settings().parent_path(), settings()})
            ASSERT_EQ(chown(path.c_str(), 65534, 65534), 0);
    }
    fs::permissions(settings().parent_path(), fs::perms::owner_read | fs::perms::owner_exec);
    const Result result = runCommand(command);
    EXPECT_EQ(result.exit, exited(1));
    EXPECT_EQ(result.errors, "Claude Code: " + settings().string() + ": Permission denied\n");
    EXPECT_EQ(textOf(settings()), "{}");
    fs::permissions(settings().parent_path(), fs::perms::owner_all);
}

TEST_F(SetupProgram, WritesTheEntryForTheStartAtLogin) {
    const fs::path entry = home() / ".config/autostart/com.pelorin.manager.desktop";
    const auto login = [&](std::vector<std::string> arguments, const std::vector<std::string>& environment = {}) {
        arguments.insert(arguments.begin() + 1, "login");
        const Result result = run(arguments, environment);
        EXPECT_EQ(result.errors, "");
        EXPECT_EQ(result.exit, exited(0));
        return result.output;
    };
    EXPECT_EQ(login({"status"}), "Start at login: not installed.\n");
    EXPECT_EQ(login({"install", "--program", "/opt/pelorin/pelorin"}),
              "Start at login: installed in " + entry.string() + ".\n");
    EXPECT_THAT(textOf(entry), AllOf(StartsWith("[Desktop Entry]\n"), HasSubstr("\nExec=\"/opt/pelorin/pelorin\"\n")));
    EXPECT_EQ(login({"status"}), "Start at login: installed in " + entry.string() + ".\n");
    EXPECT_EQ(login({"install", "--program", "/opt/pelorin/pelorin"}),
              "Start at login: was installed in " + entry.string() + " already.\n");
    EXPECT_EQ(login({"install", "--program", "/usr/bin/pelorin"}),
              "Start at login: put right in " + entry.string() + ".\n");
    EXPECT_THAT(textOf(entry), HasSubstr("\nExec=\"/usr/bin/pelorin\"\n"));
    EXPECT_EQ(login({"uninstall"}), "Start at login: removed from " + entry.string() + ".\n");
    EXPECT_THAT(filesAtHome(), IsEmpty());
    EXPECT_EQ(login({"uninstall"}), "Start at login: was not installed.\n");
    login({"install", "--program", "/p"}, {"XDG_CONFIG_HOME=" + (home() / "cfg").string()});
    EXPECT_TRUE(fs::exists(home() / "cfg/autostart/com.pelorin.manager.desktop"));
    EXPECT_EQ(run({"install", "login"}).exit, exited(1));
}

TEST_F(SetupProgram, ExplainsItself) {
    const Result help = run({"--help"});
    EXPECT_EQ(help.exit, exited(0));
    EXPECT_THAT(help.output, StartsWith("usage: pelorin-hook-setup install|uninstall|status TARGET"));
    const std::vector<std::vector<std::string>> nonsense = {
        {},
        {"install"},
        {"instal", "claude", "--hooks", hooks},
        {"install", "clod", "--hooks", hooks},
        {"install", "claude", "--hooks"},
        {"install", "claude", "--hooks", ""},
        {"install", "claude", "--hooks", hooks, "more"},
        {"install", "claude", "--hooks", hooks, "--tool-questions"},
    };
    for (const auto& arguments : nonsense) {
        const Result result = run(arguments);
        EXPECT_EQ(result.exit, exited(2));
        EXPECT_EQ(result.errors, help.output);
    }
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"install", "claude"},
                                                      {"install", "claude", "--hooks", "hooks"},
                                                      {"install", "opencode"}}) {
        const Result result = run(arguments);
        EXPECT_EQ(result.exit, exited(2));
        EXPECT_EQ(result.errors,
                  "pelorin-hook-setup: --hooks needs the whole path of the directory of the hook scripts.\n");
    }
    const Result homeless = run({"status", "claude", "--hooks", hooks}, {"HOME="});
    EXPECT_EQ(homeless.exit, exited(2));
    EXPECT_EQ(homeless.errors, "pelorin-hook-setup: HOME is not set to a directory.\n");
    EXPECT_THAT(filesAtHome(), IsEmpty());
}

// What a shell makes of the commands that are written down.
TEST_F(SetupProgram, WritesCommandsThatCostNothingWithoutTheScripts) {
    const fs::path odd = home() / "it's \"odd\" $HOME/hooks";
    const Result result = run({"install", "claude", "--hooks", odd});
    ASSERT_EQ(result.exit, exited(0)) << result.errors;
    const QJsonObject events =
        QJsonDocument::fromJson(QByteArray::fromStdString(textOf(settings())))["hooks"].toObject();
    ASSERT_EQ(events.size(), 7);
    for (const bool isThere : {false, true}) {
        for (const QJsonValue& event : events) {
            const std::string command = event[0]["hooks"][0]["command"].toString().toStdString();
            const std::string name =
                command.substr(command.find("/claude-") + 1, command.find("-hook.sh") - command.find("/claude-") + 7);
            if (isThere) {
                write(odd / name, "#!/bin/sh\necho \"$0\"\nexit 3\n");
                fs::permissions(odd / name, fs::perms::owner_all);
            }
            const Result shell = runCommand({"/bin/sh", "-c", command});
            EXPECT_EQ(shell.exit, exited(isThere ? 3 : 0));
            EXPECT_EQ(shell.output, isThere ? (odd / name).string() + "\n" : "");
            EXPECT_EQ(shell.errors, "");
        }
    }
}

} // namespace
} // namespace pelorin::setup
