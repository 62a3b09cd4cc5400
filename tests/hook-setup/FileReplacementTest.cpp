#include "BeaconrySetup/FileReplacement.h"

#include "BeaconryBase/FileDescriptor.h"
#include "BeaconrySetup/LeftOvers.h"
#include "tests/platform/WithoutSystemCalls.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <fstream>
#include <future>
#include <iterator>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace pelorin::setup {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string textOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// As most programs write: the file keeps its place on the disk.
void writeInPlace(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

// As careful programs write.
void writeSibling(const fs::path& path, const std::string& text) {
    const fs::path sibling = path.string() + ".foreign";
    writeInPlace(sibling, text);
    fs::rename(sibling, path);
}

struct stat statusOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
}

FileEdit appending(const std::string& text) {
    return [text](const FileState& state) {
        return DesiredFile{state.text.value_or("") + text};
    };
}

class EditFile : public testing::Test {
protected:
    const fs::path& folder() const { return m_directory.path(); }
    fs::path file() const { return folder() / "settings.json"; }

    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder()))
            found.push_back(entry.path().filename());
        std::sort(found.begin(), found.end());
        return found;
    }

    // Nobody writes during the pauses unless a test does.
    void expectEdit(
        const fs::path& path, const FileEdit& edit = appending("+"), const Pause& pause = [] {}) {
        const auto change = editFile(path, edit, pause);
        EXPECT_TRUE(change) << (change ? "" : change.error());
    }

    std::string errorOf(
        const fs::path& path, const FileEdit& edit = appending("+"), const Pause& pause = [] {}) {
        const auto change = editFile(path, edit, pause);
        EXPECT_FALSE(change);
        return change ? "" : change.error();
    }

private:
    TemporaryDirectory m_directory;
};

TEST_F(EditFile, WritesWhatIsWantedAndNothingElse) {
    writeInPlace(file(), "a");
    const auto change = editFile(file(), appending("b"));
    ASSERT_TRUE(change);
    EXPECT_EQ(change->before, (FileState{"a"}));
    EXPECT_EQ(change->after, "ab");
    EXPECT_EQ(textOf(file()), "ab");
    EXPECT_THAT(names(), ElementsAre("settings.json"));
}

TEST_F(EditFile, DoesNotTouchAFileThatIsAsWanted) {
    writeInPlace(file(), "a");
    const struct stat before = statusOf(file());
    expectEdit(file(), appending(""));
    const struct stat after = statusOf(file());
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
}

TEST_F(EditFile, KeepsTheMode) {
    for (const mode_t mode : {0600U, 0644U, 0660U, 0755U, 0200U}) {
        writeInPlace(file(), "a");
        ASSERT_EQ(chmod(file().c_str(), mode), 0);
        if (mode == 0200U && geteuid() != 0) {
            EXPECT_THAT(errorOf(file()), HasSubstr("Permission denied"));
            fs::remove(file());
            continue;
        }
        expectEdit(file());
        EXPECT_EQ(statusOf(file()).st_mode & 07777U, mode);
        fs::remove(file());
    }
}

TEST_F(EditFile, GivesANewFileTheUsualMode) {
    const mode_t mask = umask(027);
    expectEdit(file());
    umask(mask);
    EXPECT_EQ(statusOf(file()).st_mode & 07777U, 0640U);
}

TEST_F(EditFile, KeepsTheOwner) {
    writeInPlace(file(), "a");
    // Only the superuser can give a file away; anybody else still sees that the owner stays the same.
    const bool isGivenAway = chown(file().c_str(), 12345, 23456) == 0;
    expectEdit(file());
    EXPECT_EQ(statusOf(file()).st_uid, isGivenAway ? 12345U : geteuid());
    EXPECT_EQ(statusOf(file()).st_gid, isGivenAway ? 23456U : getegid());
}

TEST_F(EditFile, KeepsExtendedAttributes) {
    writeInPlace(file(), "a");
    ASSERT_EQ(setxattr(file().c_str(), "user.pelorin.test", "value", 5, 0), 0) << "the file system has none";
    expectEdit(file());
    char value[16] = {};
    EXPECT_EQ(getxattr(file().c_str(), "user.pelorin.test", value, sizeof value), 5);
    EXPECT_STREQ(value, "value");
}

TEST_F(EditFile, FollowsLinks) {
    fs::create_directories(folder() / "dotfiles/claude");
    writeInPlace(folder() / "dotfiles/claude/real.json", "a");
    fs::create_symlink("claude/real.json", folder() / "dotfiles/middle");
    fs::create_symlink(folder() / "dotfiles/middle", file());
    expectEdit(file());
    EXPECT_EQ(fs::read_symlink(file()), folder() / "dotfiles/middle");
    EXPECT_EQ(fs::read_symlink(folder() / "dotfiles/middle"), "claude/real.json");
    EXPECT_EQ(textOf(folder() / "dotfiles/claude/real.json"), "a+");
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(folder() / "dotfiles/claude/real.json")));
}

TEST_F(EditFile, FollowsALinkToAFolder) {
    fs::create_directory(folder() / "real");
    fs::create_directory_symlink("real", folder() / "linked");
    expectEdit(folder() / "linked/settings.json");
    EXPECT_EQ(textOf(folder() / "real/settings.json"), "+");
    EXPECT_TRUE(fs::is_symlink(folder() / "linked"));
}

TEST_F(EditFile, MakesTheFileThatALinkLeadsTo) {
    fs::create_symlink("elsewhere/real.json", file());
    expectEdit(file());
    EXPECT_TRUE(fs::is_symlink(file()));
    EXPECT_EQ(textOf(folder() / "elsewhere/real.json"), "+");
    expectEdit(file(), [](const FileState&) { return DesiredFile{std::nullopt, 1}; });
    EXPECT_TRUE(fs::is_symlink(file()));
    EXPECT_FALSE(fs::exists(folder() / "elsewhere"));
}

TEST_F(EditFile, TellsOfLinksThatLeadNowhere) {
    fs::create_symlink("two", folder() / "one");
    fs::create_symlink("one", folder() / "two");
    EXPECT_THAT(errorOf(folder() / "one"), HasSubstr(": the links lead in a circle"));
}

TEST_F(EditFile, MakesMissingFoldersAndTakesThemAway) {
    const fs::path deep = folder() / "a/b/c.json";
    std::vector<std::size_t> missing;
    const auto change = editFile(deep, [&](const FileState& state) {
        missing.push_back(state.missingFolders);
        return DesiredFile{"x"};
    });
    ASSERT_TRUE(change) << change.error();
    EXPECT_THAT(missing, testing::Each(2));
    EXPECT_EQ(change->before.missingFolders, 2);
    EXPECT_EQ(textOf(deep), "x");
    expectEdit(deep, [](const FileState&) { return DesiredFile{std::nullopt, 2}; });
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(EditFile, LeavesFoldersThatHoldSomething) {
    fs::create_directories(folder() / "a/b");
    writeInPlace(folder() / "a/other", "");
    writeInPlace(folder() / "a/b/c.json", "x");
    expectEdit(folder() / "a/b/c.json", [](const FileState&) { return DesiredFile{std::nullopt, 2}; });
    EXPECT_FALSE(fs::exists(folder() / "a/b"));
    EXPECT_TRUE(fs::exists(folder() / "a/other"));
}

TEST_F(EditFile, MakesNothingWhenNothingIsWanted) {
    expectEdit(folder() / "a/b/c.json", [](const FileState&) { return DesiredFile{}; });
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(EditFile, TellsOfAReadOnlyFile) {
    writeInPlace(file(), "a");
    ASSERT_EQ(chmod(file().c_str(), 0444), 0);
    EXPECT_EQ(errorOf(file()), file().string() + ": the file is read-only");
    EXPECT_EQ(textOf(file()), "a");
    EXPECT_THAT(names(), ElementsAre("settings.json"));
    // What needs no change needs no right either.
    expectEdit(file(), appending(""));
}

TEST_F(EditFile, LeavesAFileWithTwoNames) {
    writeInPlace(file(), "a");
    fs::create_hard_link(file(), folder() / "second");
    EXPECT_THAT(errorOf(file()),
                HasSubstr(": the file has a second name (a hard link), which writing it would cut off"));
    EXPECT_EQ(textOf(folder() / "second"), "a");
}

TEST_F(EditFile, TellsOfWhatIsNoFile) {
    fs::create_directory(folder() / "directory");
    EXPECT_EQ(errorOf(folder() / "directory"), (folder() / "directory").string() + ": is no file");
    ASSERT_EQ(mkfifo((folder() / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(errorOf(folder() / "pipe"), (folder() / "pipe").string() + ": is no file");
    EXPECT_EQ(errorOf("/dev/null"), "/dev/null: is no file");
    writeInPlace(folder() / "file", "");
    EXPECT_THAT(errorOf(folder() / "file/settings.json"), HasSubstr("Not a directory"));
}

TEST_F(EditFile, TellsOfAFileThatIsTooLarge) {
    writeInPlace(file(), std::string(fileSizeLimit, ' '));
    expectEdit(file(), appending(""));
    writeInPlace(file(), std::string(fileSizeLimit + 1, ' '));
    EXPECT_EQ(errorOf(file(), appending("")), file().string() + ": the file is too large for settings");
}

TEST_F(EditFile, KeepsACopyOnce) {
    writeInPlace(file(), "first");
    ASSERT_EQ(chmod(file().c_str(), 0600), 0);
    const auto edit = [this](const FileState& state) {
        return DesiredFile{*state.text + "+", 0, folder() / "copy"};
    };
    expectEdit(file(), edit);
    expectEdit(file(), edit);
    EXPECT_EQ(textOf(file()), "first++");
    EXPECT_EQ(textOf(folder() / "copy"), "first");
    EXPECT_EQ(statusOf(folder() / "copy").st_mode & 07777U, 0600U);
    EXPECT_THAT(names(), ElementsAre("copy", "settings.json"));
}

// Another program writes, in every way, while the edit thinks.
TEST_F(EditFile, EditsAnewWhatIsChangedMeanwhile) {
    const std::function<void()> foreignWrites[] = {
        [this] { writeInPlace(file(), "foreign"); },
        [this] { writeSibling(file(), "foreign"); },
        [this] {
            fs::remove(file());
            writeInPlace(file(), "foreign");
        },
    };
    for (const auto& write : foreignWrites) {
        writeInPlace(file(), "a");
        int calls = 0;
        expectEdit(file(), [&](const FileState& state) {
            if (++calls == 1)
                write();
            return DesiredFile{*state.text + "+"};
        });
        EXPECT_EQ(calls, 2);
        EXPECT_EQ(textOf(file()), "foreign+");
        EXPECT_THAT(names(), ElementsAre("settings.json"));
    }
}

TEST_F(EditFile, EditsAnewWhatAppearsOrGoesMeanwhile) {
    int calls = 0;
    expectEdit(file(), [&](const FileState& state) {
        if (++calls == 1)
            writeInPlace(file(), "foreign");
        return DesiredFile{state.text.value_or("new") + "+"};
    });
    EXPECT_EQ(textOf(file()), "foreign+");
    calls = 0;
    expectEdit(file(), [&](const FileState& state) {
        if (++calls == 1)
            fs::remove(file());
        return DesiredFile{state.text.value_or("new") + "+"};
    });
    EXPECT_EQ(textOf(file()), "new+");
    EXPECT_THAT(names(), ElementsAre("settings.json"));
}

TEST_F(EditFile, DoesNotTakeAwayWhatIsChangedMeanwhile) {
    writeInPlace(file(), "a");
    int calls = 0;
    expectEdit(file(), [&](const FileState& state) {
        if (++calls == 1)
            writeSibling(file(), "foreign");
        return DesiredFile{state.text == "a" ? std::nullopt : state.text};
    });
    EXPECT_EQ(textOf(file()), "foreign");
    EXPECT_THAT(names(), ElementsAre("settings.json"));
}

TEST_F(EditFile, GivesUpWhenTheFileIsChangedAllTheTime) {
    int calls = 0;
    const std::string error = errorOf(file(), [&](const FileState& state) {
        writeSibling(file(), std::to_string(++calls));
        return DesiredFile{state.text.value_or("") + "+"};
    });
    EXPECT_EQ(error, file().string() + ": another program changes the file all the time");
    EXPECT_EQ(textOf(file()), std::to_string(calls));
    EXPECT_THAT(names(), ElementsAre("settings.json"));
}

// As some programs write: at first the file is empty, and then there is half of it.
TEST_F(EditFile, LooksAgainAtAFileThatIsBeingWritten) {
    const auto edit = [](const FileState& state) -> tl::expected<DesiredFile, std::string> {
        if (state.text == "half")
            return tl::unexpected(std::string("broken"));
        return DesiredFile{*state.text + "+"};
    };
    writeInPlace(file(), "");
    int pauses = 0;
    expectEdit(file(), edit, [&] {
        ++pauses;
        if (pauses == fewFurtherLooks / 2)
            writeInPlace(file(), "half");
        if (pauses == fewFurtherLooks)
            writeInPlace(file(), "whole");
    });
    EXPECT_EQ(pauses, fewFurtherLooks);
    EXPECT_EQ(textOf(file()), "whole+");
    EXPECT_THAT(names(), ElementsAre("settings.json"));
}

TEST_F(EditFile, TakesWhatStaysAsItIsForMeantSo) {
    writeInPlace(file(), "");
    int pauses = 0;
    const auto count = [&] {
        ++pauses;
    };
    expectEdit(file(), appending("+"), count);
    EXPECT_EQ(pauses, fewFurtherLooks);
    EXPECT_EQ(textOf(file()), "+");
    pauses = 0;
    EXPECT_EQ(errorOf(
                  file(),
                  [](const FileState&) -> tl::expected<DesiredFile, std::string> {
                      return tl::unexpected(std::string("broken"));
                  },
                  count),
              "broken");
    EXPECT_EQ(pauses, fewFurtherLooks);
    // What makes sense is not waited for.
    pauses = 0;
    expectEdit(folder() / "new", appending("+"), count);
    expectEdit(folder() / "new", appending("+"), count);
    EXPECT_EQ(pauses, 0);
}

// A program that has opened the file before it is replaced, and writes it after that.
class SlowWriter {
public:
    explicit SlowWriter(fs::path path) : m_path(std::move(path)) {}

    // To be called when the edit thinks, and in each pause. The system may not tell that the file is open.
    void open() {
        if (!m_file.isOpen() && m_pauses == 0)
            m_file = FileDescriptor(::open(m_path.c_str(), O_WRONLY | O_CLOEXEC));
    }
    void pause() {
        if (++m_pauses != fewFurtherLooks - 1)
            return;
        EXPECT_EQ(ftruncate(m_file.number(), 0), 0);
        EXPECT_EQ(write(m_file.number(), "foreign", 7), 7);
        m_file.reset();
    }

private:
    fs::path m_path;
    FileDescriptor m_file;
    int m_pauses = 0;
};

TEST_F(EditFile, LetsTheReplacedFileGoOnlyWhenNobodyWritesItAnyMore) {
    writeInPlace(file(), "a");
    SlowWriter writer(file());
    expectEdit(
        file(),
        [&](const FileState& state) {
            writer.open();
            return DesiredFile{*state.text + "+"};
        },
        [&] { writer.pause(); });
    EXPECT_EQ(textOf(file()), "foreign+");
    EXPECT_THAT(names(), ElementsAre("settings.json"));
}

TEST_F(EditFile, LetsTheReplacedFileGoAsLateWhereFilesCannotChangePlaces) {
    writeInPlace(file(), "a");
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (!denySystemCalls({__NR_renameat2}))
            _exit(1);
        SlowWriter writer(file());
        expectEdit(
            file(),
            [&](const FileState& state) {
                writer.open();
                return DesiredFile{*state.text + "+"};
            },
            [&] { writer.pause(); });
        expectEdit(file(), appending("-"));
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(textOf(file()), "foreign+-");
    EXPECT_THAT(names(), ElementsAre("settings.json"));
}

TEST_F(EditFile, TakesNothingAwayThatIsStillWritten) {
    writeInPlace(file(), "a");
    SlowWriter writer(file());
    expectEdit(
        file(),
        [&](const FileState& state) {
            writer.open();
            return DesiredFile{state.text == "a" ? std::nullopt : state.text};
        },
        [&] { writer.pause(); });
    EXPECT_EQ(textOf(file()), "foreign");
    EXPECT_THAT(names(), ElementsAre("settings.json"));
}

TEST_F(EditFile, HasMorePatienceWithAFileThatIsOpen) {
    writeInPlace(file(), "");
    const FileDescriptor kept(open(file().c_str(), O_RDWR | O_CLOEXEC));
    int pauses = 0;
    const auto state = readFile(
        file(), [](const FileState&) { return true; }, [&] { ++pauses; });
    EXPECT_EQ(state, (FileState{""}));
    EXPECT_THAT(pauses, testing::AnyOf(furtherLooks, fewFurtherLooks));
}

TEST_F(EditFile, DoesNotWaitForEverForWhoKeepsTheFileOpen) {
    writeInPlace(file(), "a");
    const FileDescriptor kept(open(file().c_str(), O_RDWR | O_CLOEXEC));
    int pauses = 0;
    expectEdit(file(), appending("+"), [&] { ++pauses; });
    EXPECT_THAT(pauses, testing::AnyOf(furtherLooks, fewFurtherLooks));
    EXPECT_EQ(textOf(file()), "a+");
}

TEST_F(EditFile, RemovesWhatAKilledRunHasLeft) {
    fs::create_directory(folder() / "real");
    writeInPlace(folder() / "real/settings.json", "a");
    fs::create_symlink("real/settings.json", file());
    const std::string others[] = {".pelorin-short", ".pelorin-AbC1234", ".pelorin-AbC12.", "x.pelorin-AbC123",
                                  ".pelorin-abcdef.json"};
    for (const fs::path& place : {folder(), folder() / "real"}) {
        writeInPlace(place / ".pelorin-AbC123", "left");
        for (const std::string& other : others)
            writeInPlace(place / other, "other");
    }
    fs::create_directory(folder() / ".pelorin-FOLDER");
    fs::create_symlink("real", folder() / ".pelorin-linked");
    expectEdit(file(), appending(""));
    EXPECT_EQ(names().size(), std::size(others) + 4);
    EXPECT_FALSE(fs::exists(folder() / ".pelorin-AbC123"));
    EXPECT_FALSE(fs::exists(folder() / "real/.pelorin-AbC123"));
    for (const std::string& other : others)
        EXPECT_TRUE(fs::exists(folder() / "real" / other)) << other;
}

TEST_F(EditFile, RemovesNothingOfARunThatGoesOn) {
    writeInPlace(folder() / ".pelorin-AbC123", "");
    const FileDescriptor lock(open(folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(flock(lock.number(), LOCK_EX), 0);
    removeLeftOvers(folder());
    EXPECT_TRUE(fs::exists(folder() / ".pelorin-AbC123"));
}

TEST_F(EditFile, PassesOnWhatTheEditRefuses) {
    writeInPlace(file(), "a");
    EXPECT_EQ(errorOf(file(),
                      [](const FileState&) -> tl::expected<DesiredFile, std::string> {
                          return tl::unexpected(std::string("no"));
                      }),
              "no");
    EXPECT_EQ(textOf(file()), "a");
}

// The second edit begins while the first one thinks, and is still made upon the first one's outcome.
TEST_F(EditFile, IsDoneOneAfterTheOther) {
    for (int round = 0; round < 20; ++round) {
        writeInPlace(file(), "");
        std::future<void> second;
        int calls = 0;
        expectEdit(file(), [&](const FileState& state) {
            if (++calls == 1)
                second = std::async(std::launch::async, [this] { expectEdit(file(), appending("2")); });
            return DesiredFile{*state.text + "1"};
        });
        second.get();
        EXPECT_EQ(textOf(file()), "12");
        EXPECT_EQ(calls, 1);
    }
}

// A second program knows nothing of locks and writes all the time, each time with a higher number.
TEST_F(EditFile, LosesNothingThatASecondProgramWrites) {
    constexpr int lastNumber = 2000;
    writeInPlace(file(), "0");
    const pid_t foreign = fork();
    ASSERT_GE(foreign, 0);
    if (foreign == 0) {
        for (int number = 1; number <= lastNumber; ++number)
            writeSibling(file(), std::to_string(number));
        _exit(0);
    }
    const auto numberIn = [](const FileState& state) {
        return state.text->substr(0, state.text->find('+'));
    };
    int edits = 0;
    while (waitpid(foreign, nullptr, WNOHANG) == 0) {
        // Being overtaken for ever is no loss.
        if (editFile(file(), [&](const FileState& state) { return DesiredFile{numberIn(state) + "+"}; }))
            ++edits;
        const auto change = editFile(file(), [&](const FileState& state) { return DesiredFile{numberIn(state)}; });
        edits += change ? 1 : 0;
    }
    EXPECT_GT(edits, 0);
    const auto state = readFile(file());
    ASSERT_TRUE(state && state->text);
    EXPECT_EQ(numberIn(*state), std::to_string(lastNumber));
    EXPECT_THAT(names(), ElementsAre("settings.json"));
}

TEST(ReadFile, TellsWhatStandsThere) {
    const TemporaryDirectory directory;
    const fs::path path = directory.path() / "a/b";
    EXPECT_EQ(readFile(path), (FileState{std::nullopt, 1}));
    fs::create_directory(directory.path() / "a");
    EXPECT_EQ(readFile(path), (FileState{std::nullopt, 0}));
    writeInPlace(path, "x");
    EXPECT_EQ(readFile(path), (FileState{"x"}));
}

TEST(ReadFile, LooksAgainUntilWhatItReadsMakesSense) {
    const TemporaryDirectory directory;
    const fs::path path = directory.path() / "settings.json";
    writeInPlace(path, "");
    const auto isWhole = [](const FileState& state) {
        return state.text == "whole";
    };
    int pauses = 0;
    EXPECT_EQ(readFile(path, isWhole, [&] { writeInPlace(path, ++pauses == 1 ? "half" : "whole"); }),
              (FileState{"whole"}));
    EXPECT_EQ(pauses, 2);
    writeInPlace(path, "half");
    EXPECT_EQ(readFile(path, isWhole, [&] { ++pauses; }), (FileState{"half"}));
    EXPECT_EQ(pauses, 2 + fewFurtherLooks);
}

} // namespace
} // namespace pelorin::setup
