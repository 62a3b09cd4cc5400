// pelorin-hook: the small program that a CLI's hook turns into. It tells the application what the CLI has to say, and
// brings back the user's decision if the CLI waits for one.
//
// A CLI takes every word on the output and every exit status but 0 for an answer or a failure. So all that goes wrong
// here, the application not running first of all, ends in the same way: silence and 0, as if there were no hook.

#include "BeaconryBase/FailedWrites.h"
#include "BeaconryBase/JsonText.h"
#include "BeaconryBase/ServicePort.h"
#include "BeaconryHook/AdapterText.h"
#include "BeaconryHook/CliAdapter.h"
#include "BeaconryHook/HookCall.h"
#include "BeaconryHook/HookPost.h"
#include "BeaconryHook/ObjectInput.h"
#include "BeaconryHook/ProcessTerminal.h"
#include "BeaconryHook/ServiceConnection.h"
#include "BeaconryHook/SessionRecord.h"
#include "BeaconryHook/ShownRecord.h"
#include "BeaconryHook/StandingDialog.h"
#include "BeaconryHook/ToolCall.h"
#include "BeaconryHook/WaitingRecords.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <optional>
#include <poll.h>
#include <unistd.h>
#ifdef __APPLE__
#include <sys/random.h>
#endif

namespace {

using namespace pelorin;
using namespace pelorin::hook;

// All in milliseconds.
constexpr int inputWait = 3'000;
// For connecting, and for a post whose reply says nothing: an application that hangs must not hold up a CLI.
constexpr int serviceWait = 1'000;
// A little less than the time after which the CLIs give up a hook by themselves.
constexpr int decisionWait = 590'000;
// The application answers at once what it does not show, and shows for five seconds at the least what it does.
constexpr int refusalWait = 1'000;
// As much of the end of a session's record as is looked through for the settings that hold. In bytes.
constexpr std::size_t recordTail = 8'000'000;

// Ends without the usual clean-up, which nothing here needs. Safe in a signal handler.
[[noreturn]] void leave() {
    forgetRecord();
    _exit(0);
}

void leaveOnSignal(int) {
    leave();
}

void prepareSignals() {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        std::signal(signal, leaveOnSignal);
    // A CLI that has stopped reading is no reason to die with another status, and neither is a limit on files.
    surviveFailedWrites();
}

std::string_view environmentText(const char* name) {
    const char* value = std::getenv(name);
    return value ? std::string_view(value) : std::string_view();
}

// 128 random bits in hexadecimal; empty when the system has none.
std::string makeRequestId() {
    constexpr std::string_view hexDigits = "0123456789abcdef";
    unsigned char bits[16];
    if (getentropy(bits, sizeof bits) != 0)
        return {};
    std::string id;
    for (const unsigned char byte : bits) {
        id += hexDigits[byte >> 4];
        id += hexDigits[byte & 0xF];
    }
    return id;
}

void printAnswer(std::string_view answer) {
    while (!answer.empty()) {
        const ssize_t count = write(STDOUT_FILENO, answer.data(), answer.size());
        if (count > 0) {
            answer.remove_prefix(static_cast<std::size_t>(count));
        } else if (count < 0 && errno == EAGAIN) {
            pollfd readiness{STDOUT_FILENO, POLLOUT, 0};
            poll(&readiness, 1, -1);
        } else if (count == 0 || errno != EINTR) {
            return;
        }
    }
}

std::string ownRecordDirectory() {
    return recordDirectory(environmentText("XDG_RUNTIME_DIR"), environmentText("TMPDIR"));
}

// Two ways of one request are two CLIs that both run it, or two installations of this program.
std::string originOf(const HookCall& call, std::string_view program) {
    return std::string(call.source) + " " + std::string(program);
}

/// Whether the environment is that of the session, and not of a server that has been started from somewhere else: what
/// points to a terminal must not point to that of another session.
bool isEnvironmentOfTheSession(const CliAdapter* composer, std::string_view terminal) {
    return !composer || composer->environment == CliAdapter::Environment::ofTheSession || !terminal.empty();
}

HookEnvironment hookEnvironment() {
    return {.terminalProgram = environmentText("TERM_PROGRAM"),
            .tmuxPane = environmentText("TMUX_PANE"),
            .weztermPane = environmentText("WEZTERM_PANE"),
            .kittyWindowId = environmentText("KITTY_WINDOW_ID"),
            .tmuxServer = tmuxServerIn(environmentText("TMUX"))};
}

SessionStart sessionStartInEnvironment() {
    return {.label = environmentText("PELORIN_LABEL"), .isOptedIn = environmentText("PELORIN_OPT_IN") == "1"};
}

/// One call of the helper.
struct Run {
    HookCall call;
    std::string_view program;
    const CliAdapter* composer;
    Payload payload;
    HookEnvironment environment;
    std::string directory;
    std::string session;
    Deadline decisionDeadline;
};

/// Whether the CLI shows its own dialogs in a terminal.
bool isInTerminal(const Run& run) {
    const CliAdapter* composer = run.composer;
    return composer && composer->dialogVariable && environmentText(composer->dialogVariable) == composer->dialogValue;
}

/// Whether the dialog stands there while a hook waits, and goes on standing when the hook says nothing. That of a
/// sub-agent is withheld until the hook ends.
bool isDialogStanding(const Run& run) {
    return isInTerminal(run) && run.payload.agentId.empty();
}

/// Records that what the session asks has been posted. Where there is no dialog, nothing is asked again.
void keepGenericNoticesAway(const Run& run) {
    if (isInTerminal(run))
        recordShown(run.directory, run.session);
}

std::uint16_t port() {
    return servicePort(environmentText(servicePortVariable));
}

/// The record of a session tells nothing of what its sub-agents do.
DialogWatch watchDialog(const Run& run) {
    const bool isTold = run.composer && run.composer->useText && run.payload.agentId.empty();
    return DialogWatch(isTold ? run.payload : Payload());
}

/// Waits until the dialog that the posted row tells of is gone, and withdraws the row.
void stayWithDialog(const Run& run, const EndSignals& signals, DialogWatch& watch) {
    if (awaitEndOfDialog(signals, watch, STDOUT_FILENO, run.decisionDeadline) != DialogEnd::gone)
        return;
    // A later hook may have withdrawn it, and another one put another row in its place.
    if (!isShownByThis(run.directory, run.session))
        return;
    forgetShown(run.directory, run.session);
    const auto deadline = Deadline::afterMilliseconds(serviceWait);
    const auto post = planPost({.command = Command::clear, .source = run.call.source}, run.composer, run.payload,
                               run.environment, {}, {});
    auto service = post ? ServiceConnection::open(port(), deadline) : std::nullopt;
    if (service && service->send(post->request, deadline))
        service->awaitReply(deadline);
}

bool isWaitingAlready(const Run& run) {
    return recordWaiting(run.directory, toolCallOf(run.payload), originOf(run.call, run.program)) == Recording::doubled;
}

/// Posts a question, which only the terminal can answer.
void showQuestion(const Run& run, std::optional<ServiceConnection>& service, const HookPost& post,
                  const Deadline& deadline) {
    if (!isDialogStanding(run)) {
        if (!service->send(post.request, deadline))
            return;
        keepGenericNoticesAway(run);
        service->awaitReply(deadline);
        return;
    }
    if (isWaitingAlready(run))
        return;
    const EndSignals signals;
    DialogWatch watch = watchDialog(run);
    keepGenericNoticesAway(run);
    if (!service->send(post.request, deadline))
        return;
    service->awaitReply(deadline);
    service.reset();
    stayWithDialog(run, signals, watch);
}

/// Asks for a decision, and hands it to the CLI.
void askForDecision(const Run& run, const CliAdapter& adapter, std::optional<ServiceConnection>& service,
                    const HookPost& post) {
    if (isWaitingAlready(run))
        return;
    // The request takes the session's row away.
    forgetShown(run.directory, run.session);
    service->resetUnlessAnswered();
    if (!service->send(post.request, run.decisionDeadline))
        return;
    const auto refusalDeadline = Deadline::afterMilliseconds(refusalWait);
    DialogWatch watch = watchDialog(run);
    service->stopWhenAnswered(watch);
    const Decision decision = service->awaitDecision(STDOUT_FILENO, run.decisionDeadline);
    if (decision != Decision::ask) {
        printAnswer(adapter.answer(decision, run.payload));
        return;
    }
    // What is handed back at once has not been shown to anybody.
    if (refusalDeadline.remainingMilliseconds() > 0 || watch.isAnswered())
        return;
    keepGenericNoticesAway(run);
    if (!isDialogStanding(run))
        return;
    service.reset();
    stayWithDialog(run, EndSignals(), watch);
}

/// Makes a notice that says only that something is asked say what, where that is known. False when it has been said.
bool completeNotice(Run& run, PayloadTexts& texts) {
    const CliAdapter* composer = run.composer;
    if (!composer || !composer->isGenericNotice || !composer->isGenericNotice(run.payload))
        return true;
    if (isShown(run.directory, run.session))
        return false;
    const auto use = composer->useText ? onlyPendingUse(run.payload) : std::nullopt;
    if (use) {
        texts.message = jsonString(composer->useText(use->name, use->input));
        run.payload.message = texts.message;
    }
    return true;
}

bool asksNobody(const Run& run) {
    return run.composer && run.composer->asksNobody &&
           run.composer->asksNobody(
               SessionRecord(decodedJsonString(run.payload.transcriptPath), recordTail).readLines());
}

/// Fills in what is known of the session's surroundings.
HookEnvironment surroundings(const Run& run, std::string_view terminal, bool isKnown, pid_t cliProcess) {
    HookEnvironment environment = isKnown ? hookEnvironment() : HookEnvironment();
    environment.source = run.composer ? run.composer->source : run.call.source;
    environment.tty = terminal;
    environment.helperProcess = getpid();
    if (isKnown) {
        const NamedProcess cli = findCli(cliProcess, getpid(), lookUpProcess);
        environment.cliProcess = cli.process;
        environment.cliStartTime = cli.startTime;
    }
    return environment;
}

void run(const HookCall& call, std::string_view program) {
    const auto decisionDeadline = Deadline::afterMilliseconds(decisionWait);
    const CliAdapter* adapter = adapterFor(call.source);
    if (call.command == Command::permission && !adapter)
        return;
    const auto object = readObject(STDIN_FILENO, Deadline::afterMilliseconds(inputWait));
    if (!object)
        return;

    PayloadTexts texts;
    const CliAdapter* composer = composerOf(*object, adapter);
    const Payload payload = readPayload(*object, composer, texts);
    Run run{.call = call,
            .program = program,
            .composer = composer,
            .payload = payload,
            .environment = {},
            .directory = ownRecordDirectory(),
            .session = decodedJsonString(payload.sessionId),
            .decisionDeadline = decisionDeadline};
    if (call.command != Command::permission && call.command != Command::notify)
        forgetShown(run.directory, run.session);
    if (const Ending ending = endingOf(call.command, payload); ending != Ending::none)
        endWaiting(run.directory, toolCallOf(payload), ending);

    const auto serviceDeadline = Deadline::afterMilliseconds(serviceWait);
    auto service = ServiceConnection::open(port(), serviceDeadline);
    if (!service)
        return;
    if (call.command == Command::notify && !completeNotice(run, texts))
        return;
    if (call.command == Command::permission && asksNobody(run))
        return;

    const char* processVariable = composer ? composer->processVariable : nullptr;
    const pid_t cliProcess = processVariable ? processIdIn(environmentText(processVariable)) : 0;
    const std::string terminal = findTerminal(cliProcess, getppid(), lookUpProcess);
    const bool isKnown = isEnvironmentOfTheSession(composer, terminal);
    run.environment = surroundings(run, terminal, isKnown, cliProcess);
    const auto post = planPost(call, composer, run.payload, run.environment, makeRequestId(),
                               isKnown ? sessionStartInEnvironment() : SessionStart());
    if (!post)
        return;
    if (post->reply == HookPost::Reply::awaited)
        askForDecision(run, *adapter, service, *post);
    else if (call.command == Command::permission)
        showQuestion(run, service, *post, serviceDeadline);
    else if (service->send(post->request, serviceDeadline))
        service->awaitReply(serviceDeadline);
}

} // namespace

int main(int count, char** arguments) {
    // The library throws where memory runs out.
    std::set_terminate(leave);
    prepareSignals();
    if (const auto call = parseArguments(count - 1, arguments + 1))
        run(*call, arguments[0]);
    leave();
}
