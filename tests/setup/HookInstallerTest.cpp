#include "BeaconryKit/setup/HookInstaller.h"

#include "tests/support/TemporaryDirectory.h"

#include <QDir>
#include <QtCore/private/qabstractfileengine_p.h>
#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <sys/stat.h>

namespace pelorin {
namespace {

namespace fs = std::filesystem;
using testing::Optional;

void write(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

std::string textOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

QString toText(const fs::path& path) {
    return QString::fromStdString(path.string());
}

const Environment usualEnvironment = {{"PATH", "/usr/bin:/bin"}};

class HookInstallerTest : public testing::Test {
protected:
    void SetUp() override { fs::create_directories(folder()); }

    // So deep that no checkout can be found above it.
    fs::path folder() const { return m_directory.path() / "1/2/3/4/5/6"; }

    HookInstaller::Dependencies dependencies(const fs::path& currentDirectory) const {
        return {.home = toText(folder() / "home"),
                .resourceDirectory = std::nullopt,
                .currentDirectory = toText(currentDirectory),
                .environment = usualEnvironment};
    }

    // A checkout with these scripts.
    fs::path makeCheckout(const std::string& installer, const std::string& uninstaller = "") const {
        write(folder() / "checkout/scripts/install-hooks.sh", installer);
        write(folder() / "checkout/scripts/uninstall-hooks.sh", uninstaller);
        return folder() / "checkout";
    }

    std::optional<QString> runText(const std::string& script) const {
        write(folder() / "script.sh", script);
        return HookInstaller::run(toText(folder() / "script.sh"), QStringLiteral("installer"), usualEnvironment);
    }

    bool readsAsInstalled(const std::string& settings) const {
        write(folder() / "home/.claude/settings.json", settings);
        return HookInstaller::isInstalled(dependencies(folder()));
    }

private:
    TemporaryDirectory m_directory;
};

TEST_F(HookInstallerTest, TakesTheResourceDirectoryThatHoldsTheInstaller) {
    const fs::path checkout = makeCheckout("");
    auto shipped = dependencies(checkout);
    shipped.resourceDirectory = toText(folder() / "Resources");
    EXPECT_EQ(HookInstaller::scriptsDir(shipped), toText(checkout));
    // A folder of scripts in it is not the shipped layout.
    write(folder() / "Resources/scripts/install-hooks.sh", "");
    EXPECT_EQ(HookInstaller::scriptsDir(shipped), toText(checkout));
    write(folder() / "Resources/install-hooks.sh", "");
    EXPECT_EQ(HookInstaller::scriptsDir(shipped), toText(folder() / "Resources"));
    EXPECT_EQ(HookInstaller::hooksDir(shipped), toText(folder() / "Resources/hooks"));
}

TEST_F(HookInstallerTest, GoesByTheFolderThatClaudeCodeIsGiven) {
    auto places = dependencies(folder());
    const QString usual = toText(folder() / "home/.claude/settings.json");
    EXPECT_EQ(HookInstaller::settingsPath(places), usual);
    for (const char* nothing : {"", "relative/folder"}) {
        places.environment["CLAUDE_CONFIG_DIR"] = nothing;
        EXPECT_EQ(HookInstaller::settingsPath(places), usual) << nothing;
    }
    places.environment["CLAUDE_CONFIG_DIR"] = (folder() / "own").string().c_str();
    EXPECT_EQ(HookInstaller::settingsPath(places), toText(folder() / "own/settings.json"));
    EXPECT_FALSE(HookInstaller::isInstalled(places));
    write(folder() / "own/settings.json", R"({"hooks": {"Stop": "/somewhere/hooks/claude-clear-hook.sh"}})");
    EXPECT_TRUE(HookInstaller::isInstalled(places));
    places.environment.erase("CLAUDE_CONFIG_DIR");
    EXPECT_FALSE(HookInstaller::isInstalled(places));
}

TEST_F(HookInstallerTest, ReadsNoSettingsThatNeverEnd) {
    fs::create_directories(folder() / "home/.claude");
    const fs::path settings = folder() / "home/.claude/settings.json";
    ASSERT_EQ(mkfifo(settings.c_str(), 0600), 0);
    EXPECT_FALSE(HookInstaller::isInstalled(dependencies(folder())));
    fs::remove(settings);
    fs::create_symlink("/dev/zero", settings);
    EXPECT_FALSE(HookInstaller::isInstalled(dependencies(folder())));
    fs::remove(settings);
    const std::string text = R"({"hooks": {"Stop": "/somewhere/hooks/claude-clear-hook.sh"}})";
    const std::string::size_type limit = 16UL * 1024 * 1024;
    write(settings, text + std::string(limit - text.size(), ' '));
    EXPECT_TRUE(HookInstaller::isInstalled(dependencies(folder())));
    write(settings, text + std::string(limit - text.size() + 1, ' '));
    EXPECT_FALSE(HookInstaller::isInstalled(dependencies(folder())));
}

TEST_F(HookInstallerTest, FindsTheCheckoutFromFiveLevelsBelowAtTheMost) {
    const fs::path checkout = makeCheckout("");
    const std::string below[] = {"", "a", "a/b", "a/b/c", "a/b/c/d", "a/b/c/d/e"};
    for (const std::string& levels : below) {
        const fs::path directory = levels.empty() ? checkout : checkout / levels;
        EXPECT_EQ(HookInstaller::scriptsDir(dependencies(directory)), toText(checkout)) << levels;
    }
    for (const std::string levels : {"a/b/c/d/e/f", "a/b/c/d/e/f/g"})
        EXPECT_EQ(HookInstaller::scriptsDir(dependencies(checkout / levels)), toText(checkout / levels)) << levels;
    EXPECT_EQ(HookInstaller::hooksDir(dependencies(checkout / "a")), toText(checkout / "hooks"));
}

/// Pretends that the file is there.
class PretendedFile : public QAbstractFileEngineHandler {
public:
    explicit PretendedFile(QString path) : m_path(std::move(path)) {}

#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    std::unique_ptr<QAbstractFileEngine> create(const QString& path) const override {
        return QDir::cleanPath(path) == m_path ? std::make_unique<Engine>() : nullptr;
    }
#else
    QAbstractFileEngine* create(const QString& path) const override {
        return QDir::cleanPath(path) == m_path ? new Engine : nullptr;
    }
#endif

private:
    struct Engine : QAbstractFileEngine {
        FileFlags fileFlags(FileFlags type) const override { return (ExistsFlag | FileType) & type; }
    };

    const QString m_path;
};

TEST_F(HookInstallerTest, NeverLooksIntoTheRootFolder) {
    const PretendedFile inRoot("/scripts/install-hooks.sh");
    ASSERT_TRUE(QFileInfo::exists("/scripts/install-hooks.sh"));
    for (const char* directory : {"/nowhere", "/nowhere/a", "/nowhere/a/b/c/d"})
        EXPECT_EQ(HookInstaller::scriptsDir(dependencies(directory)), directory);
    for (const char* root : {"/", ""})
        EXPECT_EQ(HookInstaller::scriptsDir(dependencies(fs::path(root))), root);
    const PretendedFile below("/nowhere/scripts/install-hooks.sh");
    EXPECT_EQ(HookInstaller::scriptsDir(dependencies("/nowhere/a/b/c/d")), "/nowhere");
}

TEST_F(HookInstallerTest, TakesTheNearestCheckout) {
    const fs::path outer = makeCheckout("");
    write(outer / "inner/scripts/install-hooks.sh", "");
    EXPECT_EQ(HookInstaller::scriptsDir(dependencies(outer / "inner/a")), toText(outer / "inner"));
}

TEST_F(HookInstallerTest, StaysWhereItIsWithoutACheckout) {
    EXPECT_EQ(HookInstaller::scriptsDir(dependencies(folder() / "a/b")), toText(folder() / "a/b"));
    EXPECT_EQ(HookInstaller::scriptsDir(dependencies("/")), QStringLiteral("/"));
    EXPECT_EQ(HookInstaller::scriptsDir(dependencies("/none")), QStringLiteral("/none"));
}

TEST_F(HookInstallerTest, LooksAroundTheProgramLastAndOnlyWhereItIsTold) {
    const fs::path checkout = makeCheckout("");
    write(folder() / "other/scripts/install-hooks.sh", "");
    auto told = dependencies(folder() / "nothing");
    told.programDirectory = toText(checkout / "build/release/bin");
    EXPECT_EQ(HookInstaller::scriptsDir(told), toText(checkout));
    EXPECT_EQ(HookInstaller::installerPath(told), toText(checkout / "scripts/install-hooks.sh"));
    told.programDirectory = toText(checkout / "a/b/c/d/e/f");
    EXPECT_EQ(HookInstaller::scriptsDir(told), toText(folder() / "nothing"));
    told.programDirectory = toText(checkout / "build/release/bin");
    told.currentDirectory = toText(folder() / "other/a");
    EXPECT_EQ(HookInstaller::scriptsDir(told), toText(folder() / "other"));
    EXPECT_FALSE(HookInstaller::Dependencies::ofProcess().programDirectory);
}

TEST_F(HookInstallerTest, LooksForTheScriptsDirectlyAndInTheirFolder) {
    const fs::path checkout = makeCheckout("");
    auto places = dependencies(checkout);
    EXPECT_EQ(HookInstaller::installerPath(places), toText(checkout / "scripts/install-hooks.sh"));
    EXPECT_EQ(HookInstaller::uninstallerPath(places), toText(checkout / "scripts/uninstall-hooks.sh"));
    write(checkout / "install-hooks.sh", "");
    write(checkout / "uninstall-hooks.sh", "");
    EXPECT_EQ(HookInstaller::installerPath(places), toText(checkout / "install-hooks.sh"));
    EXPECT_EQ(HookInstaller::uninstallerPath(places), toText(checkout / "uninstall-hooks.sh"));
    // Where there are none, the paths are those in the folder.
    places = dependencies(folder() / "nothing");
    EXPECT_EQ(HookInstaller::installerPath(places), toText(folder() / "nothing/scripts/install-hooks.sh"));
    EXPECT_EQ(HookInstaller::uninstallerPath(places), toText(folder() / "nothing/scripts/uninstall-hooks.sh"));
}

TEST_F(HookInstallerTest, ReadsTheSettingsOfClaudeCode) {
    EXPECT_EQ(HookInstaller::settingsPath(dependencies(folder())), toText(folder() / "home/.claude/settings.json"));
    EXPECT_EQ(HookInstaller::settingsPath(), QDir::homePath() + "/.claude/settings.json");
    EXPECT_FALSE(HookInstaller::isInstalled(dependencies(folder())));
    for (const std::string name : {"permission", "notify", "clear", "register", "unregister"}) {
        EXPECT_TRUE(
            readsAsInstalled(R"({"hooks": {"Stop": [{"command": "/x/hooks/claude-)" + name + R"(-hook.sh"}]}})"))
            << name;
        EXPECT_FALSE(
            readsAsInstalled(R"({"hook": {"Stop": [{"command": "/x/hooks/claude-)" + name + R"(-hook.sh"}]}})"))
            << name;
    }
}

TEST_F(HookInstallerTest, GoesByTheTextOfTheSettings) {
    const std::pair<std::string, bool> table[] = {
        {R"({"hooks": {}})", false},
        {R"({"hooks": {}, "note": "'/my hooks/hooks/claude-notify-hook.sh' --x"})", true},
        {R"({"hooks": null, "note": "/hooks/claude-notify-hook.sh"})", true},
        {R"({"hooks": [], "/hooks/claude-clear-hook.sh": 1})", true},
        {R"({"hooks": {"Stop": "/myhooks/claude-notify-hook.sh"}})", false},
        {R"({"hooks": {"Stop": "/hooks/claude-other-hook.sh"}})", false},
        {R"({"hooks": {"Stop": "\/hooks\/claude-notify-hook.sh"}})", false},
        {R"({"a": {"hooks": "/hooks/claude-notify-hook.sh"}})", false},
        {R"(["hooks", "/hooks/claude-notify-hook.sh"])", false},
        {R"({"hooks": "/hooks/claude-notify-hook.sh",})", false},
        {"{\"hooks\": \"/hooks/claude-notify-hook.sh\", \"a\": \"\xFF\"}", false},
        {"", false},
    };
    for (const auto& [settings, isInstalled] : table)
        EXPECT_EQ(readsAsInstalled(settings), isInstalled) << settings;
}

TEST_F(HookInstallerTest, TakesUnreadableSettingsForNone) {
    fs::create_directories(folder() / "home/.claude/settings.json");
    EXPECT_FALSE(HookInstaller::isInstalled(dependencies(folder())));
}

TEST_F(HookInstallerTest, InstallsWithTheScriptsDirectoryInTheEnvironment) {
    const fs::path checkout = makeCheckout("env >\"$OUT\"; echo \"$# $0\" >>\"$OUT\"\necho told\necho warned >&2\n");
    auto places = dependencies(checkout / "a");
    places.environment["OUT"] = (folder() / "out").string().c_str();
    places.environment["REPO"] = "inherited";
    places.environment["ODD"] = "\xFF = x";
    EXPECT_EQ(HookInstaller::install(places), std::nullopt);
    const std::string out = textOf(folder() / "out");
    EXPECT_THAT(out, testing::HasSubstr("REPO=" + checkout.string() + "\n"));
    EXPECT_THAT(out, testing::HasSubstr("ODD=\xFF = x\n"));
    EXPECT_THAT(out, testing::EndsWith("\n0 " + checkout.string() + "/scripts/install-hooks.sh\n"));
    EXPECT_THAT(out, testing::Not(testing::HasSubstr("HOME=")));
}

TEST_F(HookInstallerTest, UninstallsWithTheEnvironmentAsItIs) {
    const fs::path checkout = makeCheckout("", "echo \"REPO is ${REPO-unset}\"; exit 1");
    auto places = dependencies(checkout);
    EXPECT_THAT(HookInstaller::uninstall(places), Optional(QStringLiteral("REPO is unset")));
    places.environment["REPO"] = "inherited";
    EXPECT_THAT(HookInstaller::uninstall(places), Optional(QStringLiteral("REPO is inherited")));
}

TEST_F(HookInstallerTest, SaysThatAScriptIsMissing) {
    const auto places = dependencies(folder());
    EXPECT_THAT(HookInstaller::install(places),
                Optional(QStringLiteral("Couldn't find the installer in the app bundle.")));
    EXPECT_THAT(HookInstaller::uninstall(places),
                Optional(QStringLiteral("Couldn't find the uninstaller in the app bundle.")));
}

TEST_F(HookInstallerTest, SaysWhyTheShellCannotBeStarted) {
    write(folder() / "script.sh", "");
    EXPECT_THAT(HookInstaller::run(toText(folder() / "script.sh"), "installer", {}, "/no/such/shell"),
                Optional(QStringLiteral("No such file or directory")));
    auto places = dependencies(makeCheckout(""));
    places.shell = toText(folder());
    EXPECT_THAT(HookInstaller::install(places), Optional(QStringLiteral("Permission denied")));
}

TEST_F(HookInstallerTest, TellsWhatAFailedScriptHasSaid) {
    EXPECT_EQ(runText("echo fine"), std::nullopt);
    EXPECT_THAT(runText("exit 2"), Optional(QStringLiteral("The installer exited with code 2.")));
    EXPECT_THAT(runText("printf ' \\n\\tout\\n'; echo err >&2; echo end; exit 1"),
                Optional(QStringLiteral("out\nerr\nend")));
    EXPECT_THAT(runText("printf '\\377'; exit 3"), Optional(QStringLiteral("The installer exited with code 3.")));
    EXPECT_THAT(runText("printf 'caf\\303\\251'; exit 1"), Optional(QStringLiteral("café")));
    EXPECT_THAT(runText("kill -KILL $$"), Optional(QStringLiteral("The installer exited with code 137.")));
}

TEST_F(HookInstallerTest, IsNotHeldUpByMoreOutputThanAPipeHolds) {
    const auto message = runText("line=0123456789012345678901234567890123456789012345678\n"
                                 "for ((i = 0; i < 20000; ++i)); do echo \"$line\"; done\necho end; exit 1");
    ASSERT_TRUE(message);
    EXPECT_EQ(message->size(), 20000 * 50 + 3);
    EXPECT_TRUE(message->endsWith(QStringLiteral("\nend")));
}

TEST_F(HookInstallerTest, DoesNotWaitForWhatAScriptLeavesBehind) {
    const fs::path pipe = folder() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_THAT(runText("read line <'" + pipe.string() + "' &\necho begun; exit 1"), Optional(QStringLiteral("begun")));
    std::ofstream(pipe) << "go\n";
}

TEST_F(HookInstallerTest, GivesTheScriptNothingToRead) {
    EXPECT_THAT(runText("read line; echo \"read $? <$line>\"; exit 1"), Optional(QStringLiteral("read 1 <>")));
}

// The real scripts, by way of the real programs.
TEST_F(HookInstallerTest, DrivesTheShippedScripts) {
    auto places = dependencies(PELORIN_SOURCE_DIR);
    places.environment["HOME"] = (folder() / "home").string().c_str();
    places.environment["PELORIN_HOOK_SETUP"] = PELORIN_BINARY_DIR "/pelorin-hook-setup";
    fs::create_directory(folder() / "home");
    EXPECT_FALSE(HookInstaller::isInstalled(places));
    EXPECT_EQ(HookInstaller::install(places), std::nullopt);
    EXPECT_TRUE(HookInstaller::isInstalled(places));
    EXPECT_EQ(HookInstaller::uninstall(places), std::nullopt);
    EXPECT_FALSE(HookInstaller::isInstalled(places));
    write(folder() / "home/.claude/settings.json", "// mine\n{}");
    const auto message = HookInstaller::install(places);
    ASSERT_TRUE(message);
    EXPECT_TRUE(message->contains(QStringLiteral("is left as it is, since line 1 holds a comment.")));
}

} // namespace
} // namespace pelorin
