#include "tests/support/HookInstallation.h"
#include "tests/support/TestProcess.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <iterator>

// The scripts that a user runs, in the layout in which they are installed and in that of a checkout.
namespace pelorin {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

std::string textOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

std::vector<std::string> filesBelow(const fs::path& directory) {
    std::vector<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(directory))
        found.push_back(fs::relative(entry.path(), directory));
    std::sort(found.begin(), found.end());
    return found;
}

struct Result {
    std::optional<ChildExit> exit;
    std::string output;
    std::string errors;
};

Result runScript(const fs::path& script, const std::vector<std::string>& arguments, const fs::path& home,
                 const std::vector<std::string>& environment = {}, const fs::path& directory = "/") {
    std::vector<std::string> command = {"/bin/bash", script};
    command.insert(command.end(), arguments.begin(), arguments.end());
    ChildOptions options{.command = command, .environment = environment, .workingDirectory = directory};
    options.environment.push_back("HOME=" + home.string());
    options.environment.push_back("PATH=/usr/bin:/bin");
    const auto child = TestProcess::start(options);
    EXPECT_TRUE(child);
    Result result{child->waitForExit(), {}, {}};
    result.output = child->output();
    result.errors = child->errors();
    return result;
}

fs::path builtProgram(const std::string& name) {
    return fs::path(PELORIN_BINARY_DIR) / name;
}

const std::pair<std::string, std::string> otherClis[] = {{"codex", ".codex/hooks.json"},
                                                         {"gemini", ".gemini/settings.json"},
                                                         {"opencode", ".config/opencode/plugin/pelorin.js"},
                                                         {"cursor", ".cursor/hooks.json"}};

class InstalledScripts : public testing::Test {
protected:
    fs::path scripts() const { return m_installation.scripts(); }
    fs::path programs() const { return m_installation.programs(); }
    const fs::path& prefix() const { return m_installation.prefix(); }
    const fs::path& home() const { return m_home.path(); }
    fs::path settings() const { return home() / ".claude/settings.json"; }

    Result install(const std::vector<std::string>& arguments, const std::vector<std::string>& environment = {}) const {
        return runScript(scripts() / "install-hooks.sh", arguments, home(), environment);
    }
    Result uninstall(const std::vector<std::string>& arguments,
                     const std::vector<std::string>& environment = {}) const {
        return runScript(scripts() / "uninstall-hooks.sh", arguments, home(), environment);
    }

private:
    HookInstallation m_installation;
    TemporaryDirectory m_home;
};

TEST_F(InstalledScripts, WireClaudeCodeAndUnwireIt) {
    write(settings(), "{\"model\": \"opus\"}");
    const Result installed = install({});
    EXPECT_EQ(installed.exit, exited(0));
    EXPECT_EQ(installed.errors, "");
    EXPECT_THAT(installed.output, StartsWith("Claude Code: installed in " + settings().string() + ".\n"));
    EXPECT_THAT(textOf(settings()), HasSubstr((scripts() / "hooks/claude-permission-hook.sh").string()));
    EXPECT_EQ(uninstall({}).exit, exited(0));
    EXPECT_EQ(textOf(settings()), "{\"model\": \"opus\"}");
    EXPECT_THAT(filesBelow(home()), ElementsAre(".claude", ".claude/settings.json"));
}

TEST_F(InstalledScripts, GoByTheFolderThatClaudeCodeIsGiven) {
    const std::vector<std::string> own = {"CLAUDE_CONFIG_DIR=" + (home() / "own folder").string()};
    EXPECT_EQ(install({}, own).exit, exited(0));
    EXPECT_THAT(textOf(home() / "own folder/settings.json"), HasSubstr("claude-permission-hook.sh"));
    EXPECT_THAT(install({"--status"}, own).output,
                StartsWith("Claude Code: installed in " + (home() / "own folder/settings.json").string() + ".\n"));
    EXPECT_THAT(install({"--status"}).output, StartsWith("Claude Code: not installed.\n"));
    EXPECT_EQ(uninstall({}, own).exit, exited(0));
    EXPECT_THAT(filesBelow(home()), IsEmpty());
    for (const std::string nothing : {"CLAUDE_CONFIG_DIR=", "CLAUDE_CONFIG_DIR=relative"}) {
        EXPECT_EQ(install({}, {nothing}).exit, exited(0));
        EXPECT_THAT(filesBelow(home()), ElementsAre(".claude", ".claude/settings.json"));
        EXPECT_EQ(uninstall({}, {nothing}).exit, exited(0));
        EXPECT_THAT(filesBelow(home()), IsEmpty());
    }
}

TEST_F(InstalledScripts, TakeEverythingAway) {
    write(prefix() / "bin/pelorin", "");
    fs::permissions(prefix() / "bin/pelorin", fs::perms::owner_all);
    EXPECT_EQ(install({"--login"}).exit, exited(0));
    EXPECT_THAT(textOf(home() / ".config/autostart/com.pelorin.manager.desktop"),
                HasSubstr("\nExec=\"" + (prefix() / "bin/pelorin").string() + "\"\n"));
    EXPECT_EQ(install({"--cli", "codex", "--cli", "gemini", "--cli", "opencode", "--cli", "cursor"}).exit, exited(0));
    EXPECT_TRUE(fs::exists(settings()));
    const Result result = uninstall({"--all"});
    EXPECT_EQ(result.exit, exited(0));
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(filesBelow(home()), IsEmpty());
}

TEST_F(InstalledScripts, TakeAwayClaudeCodesHooksAloneUnlessTheyAreToldMore) {
    write(prefix() / "bin/pelorin", "");
    fs::permissions(prefix() / "bin/pelorin", fs::perms::owner_all);
    install({"--login"});
    for (const auto& [cli, file] : otherClis)
        install({"--cli", cli});
    const Result result = uninstall({});
    EXPECT_EQ(result.exit, exited(0));
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.output, "Claude Code: removed from " + settings().string() + ".\n");
    EXPECT_FALSE(fs::exists(home() / ".claude"));
    for (const auto& [cli, file] : otherClis)
        EXPECT_THAT(textOf(home() / file), HasSubstr((scripts() / "hooks/adapters/").string())) << cli;
    EXPECT_TRUE(fs::exists(home() / ".config/autostart/com.pelorin.manager.desktop"));
}

TEST_F(InstalledScripts, TakeAwayOnlyWhatIsNamed) {
    write(prefix() / "bin/pelorin", "");
    fs::permissions(prefix() / "bin/pelorin", fs::perms::owner_all);
    install({"--login"});
    uninstall({"--login"});
    EXPECT_TRUE(fs::exists(settings()));
    EXPECT_FALSE(fs::exists(home() / ".config"));
    install({"--login"});
    uninstall({"--cli", "claude"});
    EXPECT_FALSE(fs::exists(settings()));
    EXPECT_TRUE(fs::exists(home() / ".config/autostart/com.pelorin.manager.desktop"));
}

TEST_F(InstalledScripts, OnlyShowWhatTheyWouldDo) {
    const Result result = install({"--dry-run"});
    EXPECT_EQ(result.exit, exited(0));
    EXPECT_THAT(result.output,
                StartsWith("Claude Code: " + settings().string() + " would be made:\n--- /dev/null\n+++ "));
    EXPECT_THAT(filesBelow(home()), IsEmpty());
    install({});
    const std::string text = textOf(settings());
    EXPECT_THAT(uninstall({"--dry-run"}).output,
                HasSubstr("Claude Code: " + settings().string() + " would be removed:\n--- " + settings().string() +
                          "\n+++ /dev/null\n"));
    EXPECT_EQ(textOf(settings()), text);
}

TEST_F(InstalledScripts, TellTheStatus) {
    const Result before = install({"--status"});
    EXPECT_EQ(before.exit, exited(0));
    EXPECT_THAT(before.output,
                AllOf(HasSubstr("Claude Code: not installed.\n"), HasSubstr("Start at login: not installed.\n")));
    install({});
    EXPECT_EQ(install({"--status", "--cli", "claude"}).output,
              "Claude Code: installed in " + settings().string() + ".\nStart at login: not installed.\n");
}

TEST_F(InstalledScripts, WireTheClisThatAreNamed) {
    for (const auto& [cli, file] : otherClis) {
        SCOPED_TRACE(cli);
        const Result installed = install({"--cli", cli});
        EXPECT_EQ(installed.exit, exited(0));
        EXPECT_EQ(installed.errors, "");
        EXPECT_THAT(textOf(home() / file), HasSubstr((scripts() / "hooks/adapters/").string()));
        EXPECT_FALSE(fs::exists(settings()));
        EXPECT_EQ(uninstall({"--cli", cli}).exit, exited(0));
        EXPECT_THAT(filesBelow(home()), IsEmpty());
    }
    EXPECT_EQ(install({"--cli", "codex", "--cli", "cursor"}).exit, exited(0));
    EXPECT_THAT(filesBelow(home()), ElementsAre(".codex", ".codex/hooks.json", ".cursor", ".cursor/hooks.json"));
}

TEST_F(InstalledScripts, AskBeforeToolsOnlyWhenThatIsAskedFor) {
    install({"--cli", "gemini"});
    EXPECT_THAT(textOf(home() / ".gemini/settings.json"), Not(HasSubstr("BeforeTool")));
    EXPECT_EQ(install({"--cli", "gemini", "--tool-questions"}).exit, exited(0));
    EXPECT_THAT(textOf(home() / ".gemini/settings.json"), HasSubstr("BeforeTool"));
    EXPECT_THAT(filesBelow(home()), ElementsAre(".gemini", ".gemini/settings.json"));
}

TEST_F(InstalledScripts, WireWhatIsThere) {
    const Result alone = install({"--all"});
    EXPECT_EQ(alone.exit, exited(0));
    EXPECT_THAT(alone.output, AllOf(HasSubstr("Claude Code: installed in "),
                                    HasSubstr("codex: not found on this machine, and left out. --cli codex wires it "
                                              "all the same.\n"),
                                    HasSubstr("cursor: not found")));
    EXPECT_THAT(filesBelow(home()), ElementsAre(".claude", ".claude/settings.json"));
    uninstall({});

    std::vector<std::string> before;
    for (const auto& [cli, file] : otherClis)
        fs::create_directories((home() / file).parent_path());
    write(home() / ".codex/hooks.json", "{\"hooks\": {\"Stop\": []}}");
    write(home() / ".gemini/settings.json", "{\r\n\t\"ui\": {\"theme\": \"x\"}\r\n}\r\n");
    before = filesBelow(home());
    const Result all = install({"--all"});
    EXPECT_EQ(all.exit, exited(0));
    for (const auto& [cli, file] : otherClis)
        EXPECT_THAT(textOf(home() / file), HasSubstr((scripts() / "hooks/adapters/").string())) << cli;
    EXPECT_THAT(install({"--status"}).output,
                AllOf(HasSubstr("Claude Code: installed in "), HasSubstr("Codex: installed in "),
                      HasSubstr("Gemini: installed in "), HasSubstr("opencode: installed in "),
                      HasSubstr("Cursor: installed in "), HasSubstr("Start at login: not installed.\n")));
    EXPECT_THAT(install({"--all", "--dry-run"}).output, Not(HasSubstr("+++ ")));
    uninstall({"--all"});
    EXPECT_EQ(filesBelow(home()), before);
    EXPECT_EQ(textOf(home() / ".codex/hooks.json"), "{\"hooks\": {\"Stop\": []}}");
    EXPECT_EQ(textOf(home() / ".gemini/settings.json"), "{\r\n\t\"ui\": {\"theme\": \"x\"}\r\n}\r\n");
}

TEST_F(InstalledScripts, PassOnThatSomethingFailed) {
    write(settings(), "// mine\n{}");
    const Result result = install({});
    EXPECT_EQ(result.exit, exited(1));
    EXPECT_THAT(result.errors, HasSubstr("is left as it is, since line 1 holds a comment."));
}

TEST_F(InstalledScripts, SayThatAProgramIsMissing) {
    fs::remove(programs() / "pelorin-hook");
    const Result without = install({});
    EXPECT_EQ(without.exit, exited(0));
    EXPECT_EQ(without.errors, "The hooks do nothing yet: the program pelorin-hook is not there. In a checkout, "
                              "./dev build makes it.\n");
    fs::remove(programs() / "pelorin-hook-setup");
    for (const Result& result : {install({}), uninstall({})}) {
        EXPECT_EQ(result.exit, exited(1));
        EXPECT_EQ(result.errors, "The program pelorin-hook-setup is not there. In a checkout, ./dev build makes it.\n");
    }
    fs::remove_all(scripts() / "hooks");
    const Result nothing = install({});
    EXPECT_EQ(nothing.exit, exited(1));
    EXPECT_EQ(nothing.errors, "The hook scripts are not there: expected " + (scripts() / "hooks").string() + " or " +
                                  (scripts() / "../hooks").string() + ".\n");
}

TEST_F(InstalledScripts, SayThatThereIsNothingToStartAtLogin) {
    const Result result = install({"--login"});
    EXPECT_EQ(result.exit, exited(1));
    EXPECT_EQ(result.errors, "Start at login: Pelorin itself is not there. In a checkout, ./dev build makes it.\n");
}

TEST_F(InstalledScripts, ExplainThemselves) {
    for (const fs::path& script : {scripts() / "install-hooks.sh", scripts() / "uninstall-hooks.sh"}) {
        const Result help = runScript(script, {"--help"}, home());
        EXPECT_EQ(help.exit, exited(0));
        EXPECT_THAT(help.output, StartsWith("usage: " + script.filename().string() + " [OPTION...]\n"));
        const Result nonsense = runScript(script, {"--nonsense"}, home());
        EXPECT_EQ(nonsense.exit, exited(2));
        EXPECT_EQ(nonsense.errors, help.output);
        for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--cli"}, {"--cli", "clod"}}) {
            const Result unknown = runScript(script, arguments, home());
            EXPECT_EQ(unknown.exit, exited(2));
            EXPECT_EQ(unknown.errors, "--cli needs one of: claude codex gemini opencode cursor\n");
        }
    }
    EXPECT_THAT(filesBelow(home()), IsEmpty());
}

TEST_F(InstalledScripts, GoByTheDirectoryThatTheApplicationNames) {
    const TemporaryDirectory other;
    const fs::path shipped = other.path() / "shipped/share/pelorin";
    fs::copy(prefix(), other.path() / "shipped", fs::copy_options::recursive);
    install({}, {"REPO=" + shipped.string()});
    EXPECT_THAT(textOf(settings()), HasSubstr((shipped / "hooks/claude-clear-hook.sh").string()));
    // The variable may well mean something else to the user.
    install({}, {"REPO=somebody/something", "CDPATH=/tmp"});
    EXPECT_THAT(textOf(settings()),
                AllOf(HasSubstr((scripts() / "hooks/claude-clear-hook.sh").string()), Not(HasSubstr("shipped"))));
}

TEST_F(InstalledScripts, RunFromTheirOwnDirectory) {
    EXPECT_EQ(runScript("install-hooks.sh", {}, home(), {}, scripts()).exit, exited(0));
    EXPECT_THAT(textOf(settings()), HasSubstr("='" + (scripts() / "hooks/claude-clear-hook.sh").string() + "'"));
    EXPECT_EQ(runScript("./uninstall-hooks.sh", {}, home(), {}, scripts()).exit, exited(0));
    EXPECT_THAT(filesBelow(home()), IsEmpty());
}

TEST_F(InstalledScripts, CanBeGivenAnotherProgram) {
    fs::remove(programs() / "pelorin-hook-setup");
    EXPECT_EQ(install({}, {"PELORIN_HOOK_SETUP=" + builtProgram("pelorin-hook-setup").string()}).exit, exited(0));
    EXPECT_TRUE(fs::exists(settings()));
}

TEST(CheckedOutScripts, UseWhatIsBuilt) {
    const TemporaryDirectory checkout;
    const TemporaryDirectory home;
    const fs::path source = PELORIN_SOURCE_DIR;
    fs::copy(source / "hooks", checkout.path() / "hooks", fs::copy_options::recursive);
    fs::copy(source / "scripts", checkout.path() / "scripts", fs::copy_options::recursive);
    const fs::path built = checkout.path() / "build/release/bin";
    fs::create_directories(built);
    for (const std::string name : {"pelorin-hook", "pelorin-hook-setup"})
        fs::copy(builtProgram(name), built / name);
    write(built / "pelorin", "");
    fs::permissions(built / "pelorin", fs::perms::owner_all);
    const Result result = runScript(checkout.path() / "scripts/install-hooks.sh", {"--login"}, home.path());
    EXPECT_EQ(result.exit, exited(0));
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(textOf(home.path() / ".claude/settings.json"),
                HasSubstr("='" + (checkout.path() / "hooks/claude-clear-hook.sh").string() + "'"));
    EXPECT_THAT(textOf(home.path() / ".config/autostart/com.pelorin.manager.desktop"),
                HasSubstr("\nExec=\"" + (built / "pelorin").string() + "\"\n"));
    EXPECT_EQ(runScript(checkout.path() / "scripts/uninstall-hooks.sh", {"--all"}, home.path()).exit, exited(0));
    EXPECT_THAT(filesBelow(home.path()), IsEmpty());
}

} // namespace
} // namespace pelorin
